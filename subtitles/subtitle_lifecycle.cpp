#include "subtitles/subtitle_lifecycle.h"

namespace korvid::subtitles {

void ResetOnInit() {}

void ReleaseOnShutdown() {}

}  // namespace korvid::subtitles
