// Audio track selection on the main player: counting the tracks, switching
// to one and reading which one plays.
//
// Host thread only. The state kept here (the track recorded at the first
// switch and the described tracks) lives from one start-up to the next; see
// audio_lifecycle.h for what start-up and shut-down do to it.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace korvid::tracks {

// "Not recorded yet": the first switch after start-up records the track then playing.
inline constexpr int32_t kNoInitialTrack = -3;
// The engine's id for "no audio track".
inline constexpr int32_t kNoTrack = -1;
// How long the switch sleeps between two looks at the engine's track.
inline constexpr std::chrono::milliseconds kSwitchPollInterval{5};

// One audio track as the engine described it at the first switch.
struct AudioTrackEntry {
  int32_t id = 0;
  std::string name;
};

// The main player's audio track count; 0 in multi-instance mode or without a player.
int32_t AudioStreamCount();

// The engine id of the main player's current audio track (whatever the mode);
// -1 without a main player or without audio.
int32_t CurrentAudioStreamId();

// Asks the engine for track `trackId` (an engine id, passed on unchanged) and
// blocks until the engine reports a track other than the one recorded at the
// first switch after start-up. That wait has no bound: a switch back to the
// recorded track, or a recorded track the engine never described, does not
// return while the engine keeps playing it. Without a main player nothing
// happens. Returns `trackId`.
int32_t SetAudioStream(int32_t trackId);

// The check the switch repeats ("changeTrackID"): true when the recorded track
// is -1, or when it is among `tracks` and `current` differs from it.
bool HasLeftInitialTrack(const std::vector<AudioTrackEntry>& tracks, int32_t initial, int32_t current);

// The described tracks as cached by the first switch (a copy).
std::vector<AudioTrackEntry> CachedTracks();
// The track recorded at the first switch, or kNoInitialTrack.
int32_t InitialTrack();

}  // namespace korvid::tracks
