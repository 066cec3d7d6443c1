#include "tracks/audio_lifecycle.h"

namespace korvid::tracks {

void ResetOnInit() {}

void ReleaseOnShutdown() {}

}  // namespace korvid::tracks
