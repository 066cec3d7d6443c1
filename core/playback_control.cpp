#include "core/playback_control.h"

#include "core/engine_adapter.h"
#include "core/event_queue.h"
#include "core/player_record.h"
#include "multi/slot_tables.h"

namespace korvid {

int32_t StartPlayBack() {
  PlayerRecord& r = Record();
  r.startRequested = true;  // no automatic pause, and the next paused report is not queued
  libvlc_media_player_t* player = CurrentPlayer();
  if (player == nullptr) return 0;
  engine::SetPosition(player, 0.0, false);
  const bool playing = libvlc_media_player_is_playing(player) != 0;
  if (MultiInstanceMode()) {
    if (playing) {
      libvlc_media_player_set_pause(player, 0);
    } else {
      libvlc_media_player_play(player);
    }
    return 0;
  }
  if (playing) libvlc_media_player_set_pause(player, 0);
  libvlc_media_player_play(player);
  return 0;
}

int32_t Pause() {
  PlayerRecord& r = Record();
  if (r.isLive) {
    // A live stream cannot hold still: it is stopped, and the stopped handler
    // reports it as paused.
    libvlc_media_player_t* main = r.mainPlayer.get();
    r.pausedLength = main != nullptr ? static_cast<int32_t>(libvlc_media_player_get_length(main) + 1000) : 1000;
    r.isPaused = true;
    engine::StopAsync(main);
    return 0;
  }
  if (MultiInstanceMode()) {
    if (libvlc_media_player_t* player = CurrentPlayer()) libvlc_media_player_set_pause(player, 1);
    r.isPaused = true;
    return 0;
  }
  if (libvlc_media_player_t* main = r.mainPlayer.get()) libvlc_media_player_pause(main);  // toggles
  r.isPaused = true;
  return 0;
}

int32_t Resume() {
  if (libvlc_media_player_t* player = CurrentPlayer()) libvlc_media_player_play(player);
  return 0;
}

int32_t Stop() {
  PlayerRecord& r = Record();
  if (MultiInstanceMode()) {
    const int32_t slot = r.currentInstance;
    if (multi::Slots().media(slot) != nullptr) engine::StopAsync(multi::Slots().player(slot));
    multi::Slots().setStoppedFlag(slot, true);
  } else {
    engine::StopAsync(r.mainPlayer.get());
    r.isPaused = false;
    r.isStopped = true;
  }
  Events().push(event_code::kStopped);
  r.stateCode = state_code::kStopped;
  return 0;
}

int32_t Seek(int32_t positionMs) {
  PlayerRecord& r = Record();
  libvlc_media_player_t* player = CurrentPlayer();
  if (player == nullptr || libvlc_media_player_is_seekable(player) == 0) return kNotSeekable;
  if (libvlc_media_player_is_playing(player) != 0) {
    r.seekInProgress = true;
    r.pendingSeekMs = -1;
    return engine::SetTime(player, positionMs, false);
  }
  // Not playing: start it; the playing handler jumps there and pauses.
  r.pendingSeekMs = positionMs;
  return libvlc_media_player_play(player);
}

void Close() {
  Record().isClosed = true;
  Record().stateCode = state_code::kClosed;
}

}  // namespace korvid
