#include "tracks/audio_lifecycle.h"

#include "tracks/audio_track_state.h"

namespace korvid::tracks {

void ResetOnInit() {
  AudioTrackState& s = State();
  const std::lock_guard lock(s.mutex);
  s.initialTrack = kNoInitialTrack;
  s.cache.clear();
}

void ReleaseOnShutdown() {
  AudioTrackState& s = State();
  const std::lock_guard lock(s.mutex);
  s.descriptions.reset();
}

}  // namespace korvid::tracks
