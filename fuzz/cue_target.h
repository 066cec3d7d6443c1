// The body shared by the two cue-parser targets: parse the input as a whole
// document and check the list against the document.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_checks.h"
#include "subtitles/cue_parser.h"

namespace korvid::fuzz {

using CueParser = subtitles::CueList (*)(std::string, std::size_t);

inline void FuzzCueParser(const uint8_t* data, std::size_t size, CueParser parse, Numbers numbers) {
  const std::string document = AsText(data, size);
  RunAllowingNamedErrors(numbers, [&] {
    const subtitles::CueList cues = parse(document, 0);
    // One cue per arrow, each text cut from the document, every time a number.
    std::size_t count = 0;
    for (const subtitles::SubtitleCue* cue = cues.get(); cue != nullptr; cue = cue->next.get()) {
      ++count;
      Require(cue->text.size() <= document.size(), "a cue text is longer than its document");
      Require(std::isfinite(cue->startMs) && std::isfinite(cue->endMs), "a cue time is not a finite number");
    }
    Require(count == CountOccurrences(document, "-->"), "cue count differs from the number of arrows");
  });
}

}  // namespace korvid::fuzz
