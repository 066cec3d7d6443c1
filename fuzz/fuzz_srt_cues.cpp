// The SubRip cue parser on arbitrary documents: its strict number conversion
// may also raise the two conversion errors.
#include "cue_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  korvid::fuzz::FuzzCueParser(data, size, &korvid::subtitles::ParseSrtCues, korvid::fuzz::Numbers::kStrict);
  return 0;
}
