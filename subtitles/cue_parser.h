// WebVTT and SubRip cue parsers: a subtitle document becomes a linked list of
// cues, found only by their "-->" arrows (no header, identifier, NOTE, STYLE or
// REGION handling; settings and tags are not interpreted).
//
// For every arrow at index A, in document order, searching again from A + 1:
//  - the start timestamp is the text from the start of the arrow's line up to
//    A - 2 (exactly one blank in front of the arrow is skipped, whatever it is);
//  - the end timestamp is the text from A + 4 to the end of the line, cue
//    settings included;
//  - each timestamp is summed field by field: the first three separated fields
//    weigh 60^2, 60^1 and 60^0 seconds (so the short form mm:ss.mmm counts as
//    hours and minutes), every later field, and the final one, is added as
//    plain milliseconds;
//  - the text starts after the first "\r\n" from the end of the timing line
//    and ends at the next "\r\n\r\n"; with no "\r\n" left it starts after the
//    next "\n" and ends at the next "\n\n"; with no end marker it runs to the
//    end of the document. Nothing is trimmed.
#pragma once

#include <cstddef>
#include <string>

#include "subtitles/subtitle_cue.h"

namespace korvid::subtitles {

// Separators ":" and "."; fields convert tolerantly (no number reads as 0).
// Throws std::out_of_range("invalid string position") when a timing line has
// no line break after it, so the cue text would begin past the document's end.
CueList ParseVttCues(std::string documentText, std::size_t fromPosition);

// Separators ":" and ","; fields convert strictly and throw
// std::invalid_argument("invalid stoi argument") or
// std::out_of_range("stoi argument out of range") on a bad field, as well as
// the error above. A throw abandons the whole parse.
CueList ParseSrtCues(std::string documentText, std::size_t fromPosition);

}  // namespace korvid::subtitles
