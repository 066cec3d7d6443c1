// The WebVTT cue parser on arbitrary documents. Its number conversion is
// tolerant, so only the cue-text position error may leave it.
#include "cue_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  korvid::fuzz::FuzzCueParser(data, size, &korvid::subtitles::ParseVttCues, korvid::fuzz::Numbers::kTolerant);
  return 0;
}
