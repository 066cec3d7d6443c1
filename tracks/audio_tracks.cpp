#include "tracks/audio_tracks.h"

#include <vlc/vlc.h>

#include <algorithm>
#include <mutex>
#include <thread>

#include "core/log.h"
#include "core/log_lines.h"
#include "core/no_destructor.h"
#include "core/player_record.h"
#include "tracks/audio_track_state.h"

namespace korvid::tracks {

AudioTrackState& State() {
  static NoDestructor<AudioTrackState> state;
  return *state;
}

namespace {

// Fills the cache from the engine's description list, once per start-up.
void CacheDescriptions(libvlc_media_player_t* player) {
  AudioTrackState& s = State();
  const std::lock_guard lock(s.mutex);
  if (!s.cache.empty()) return;
  s.descriptions.reset(libvlc_audio_get_track_description(player));
  for (const libvlc_track_description_t* d = s.descriptions.get(); d != nullptr; d = d->p_next) {
    s.cache.push_back(AudioTrackEntry{d->i_id, d->psz_name != nullptr ? d->psz_name : ""});
  }
}

int32_t RecordInitialTrack(libvlc_media_player_t* player) {
  AudioTrackState& s = State();
  const std::lock_guard lock(s.mutex);
  if (s.initialTrack == kNoInitialTrack) s.initialTrack = libvlc_audio_get_track(player);
  return s.initialTrack;
}

// One run of the check step, on a copy of the cache taken under the lock.
bool ChangeTrackId(libvlc_media_player_t* player, int32_t initial) {
  LogMethod("changeTrackID", log_line::kChangeTrackID);
  return HasLeftInitialTrack(CachedTracks(), initial, libvlc_audio_get_track(player));
}

}  // namespace

bool HasLeftInitialTrack(const std::vector<AudioTrackEntry>& tracks, int32_t initial, int32_t current) {
  if (initial == kNoTrack) return true;
  const auto described =
      std::find_if(tracks.begin(), tracks.end(), [&](const AudioTrackEntry& t) { return t.id == initial; });
  return described != tracks.end() && current != initial;
}

std::vector<AudioTrackEntry> CachedTracks() {
  AudioTrackState& s = State();
  const std::lock_guard lock(s.mutex);
  return s.cache;
}

int32_t InitialTrack() {
  AudioTrackState& s = State();
  const std::lock_guard lock(s.mutex);
  return s.initialTrack;
}

int32_t AudioStreamCount() {
  if (MultiInstanceMode()) return 0;
  libvlc_media_player_t* const player = Record().mainPlayer.get();
  return player != nullptr ? libvlc_audio_get_track_count(player) : 0;
}

int32_t CurrentAudioStreamId() {
  libvlc_media_player_t* const player = Record().mainPlayer.get();
  return player != nullptr ? libvlc_audio_get_track(player) : kNoTrack;
}

int32_t SetAudioStream(int32_t trackId) {
  libvlc_media_player_t* const player = Record().mainPlayer.get();
  if (player == nullptr) return trackId;
  CacheDescriptions(player);
  const int32_t initial = RecordInitialTrack(player);
  libvlc_audio_set_track(player, trackId);
  // No bound on purpose: the host expects the call to return only once the
  // engine has left the recorded track. The engine switches on its own
  // threads, so a short sleep between looks costs nothing noticeable.
  while (!ChangeTrackId(player, initial)) std::this_thread::sleep_for(kSwitchPollInterval);
  return trackId;
}

}  // namespace korvid::tracks
