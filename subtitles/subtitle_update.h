// Copying the cue due at the player's time into the host's buffer.
#pragma once

#include <cstdint>

namespace korvid::subtitles {

// Results of an update besides a byte count.
inline constexpr int32_t kNoSubtitleTracks = -1;  // the source gave no track
inline constexpr int32_t kNoCues = -255;          // a loaded file held no cue

// One step of the cue cursor against the player's clock (the main player; the
// slot-2 player in multi-instance mode). On the first call, and whenever the
// cursor is null, the track's file lists are rebuilt from the source (a
// download per media playlist); when a load is due the file at the segment
// index is fetched or read and parsed. Then:
//  - past the current cue: the cursor walks forward; landing on a cue with a
//    successor zeroes the buffer once and returns the previous count; landing
//    on the last cue of the list (or on the second zeroing) moves to the next
//    file, so the last cue of a list of two or more is never shown;
//  - before the current cue: zeroes the buffer and rewinds to the list's head;
//  - inside it: copies min(text length, property 901) bytes, unterminated,
//    and returns that count.
// The other results are the previous copy's count, 0 (just loaded; subtitles
// finished; no player or no buffer; a load is due but the selected track or
// file index is outside the lists) and kNoSubtitleTracks / kNoCues, after
// which every call returns 0 until start-up. SubRip conversion errors leave as
// exceptions (see ParseSrtCues).
int32_t UpdateSubtitle(char* buffer);

}  // namespace korvid::subtitles
