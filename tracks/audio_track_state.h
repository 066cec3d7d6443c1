// The audio track switch's memory between calls, shared by the switch and by
// start-up and shut-down.
#pragma once

#include <vlc/vlc.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "core/handles.h"
#include "tracks/audio_tracks.h"

namespace korvid::tracks {

using DescriptionList =
    std::unique_ptr<libvlc_track_description_t, ReleaseWith<&libvlc_track_description_list_release>>;

// Guarded so that a shut-down can never free the list under a reader; the
// switch's wait works on copies taken under the lock.
struct AudioTrackState {
  std::mutex mutex;
  int32_t initialTrack = kNoInitialTrack;
  std::vector<AudioTrackEntry> cache;
  // The engine's description list behind `cache`. Kept until shut-down (or a
  // later fetch replaces it) so it is released exactly once.
  DescriptionList descriptions;
};

AudioTrackState& State();

}  // namespace korvid::tracks
