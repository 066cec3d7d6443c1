#include "core/playback_control.h"

#include "core/engine_adapter.h"
#include "core/event_queue.h"
#include "core/log.h"
#include "core/log_lines.h"
#include "core/player_record.h"
#include "multi/slot_tables.h"

namespace korvid {
namespace {

// Makes one engine call on the thread `calls` names. On the worker the result
// is not known to the caller, who gets 0.
int Call(EngineCalls calls, libvlc_media_player_t* player, int (*call)(libvlc_media_player_t*)) {
  if (player == nullptr) return -1;
  if (calls == EngineCalls::kOnCaller) return call(player);
  engine::RunOffEventThread(player, [call](libvlc_media_player_t* p) { call(p); });
  return 0;
}

int PlayCall(libvlc_media_player_t* player) { return libvlc_media_player_play(player); }
int PauseToggleCall(libvlc_media_player_t* player) {
  libvlc_media_player_pause(player);
  return 0;
}
int PauseOnCall(libvlc_media_player_t* player) {
  libvlc_media_player_set_pause(player, 1);
  return 0;
}

// Jumps and pauses there once the jump has landed; a jump made again is a
// seek in progress again for the buffering handler.
void HoldJump(libvlc_media_player_t* player, int32_t positionMs) {
  engine::JumpAndHold(player, positionMs, [] { Record().seekInProgress = true; });
}

// Where the host's engine calls on `player` run: on the worker while a held
// jump has yet to pause it, so that they come after that pause.
EngineCalls HostCalls(const libvlc_media_player_t* player) {
  return engine::HoldingJump(player) ? EngineCalls::kOnWorker : EngineCalls::kOnCaller;
}

// From the start: an exact jump there, then the player runs on. The extra
// play of the single player is kept.
void StartFromTheBeginning(libvlc_media_player_t* player) {
  engine::SetPosition(player, 0.0, false);
  const bool playing = libvlc_media_player_is_playing(player) != 0;
  if (playing) libvlc_media_player_set_pause(player, 0);
  if (!playing || !MultiInstanceMode()) libvlc_media_player_play(player);
}

}  // namespace

int32_t StartPlayBack() {
  PlayerRecord& r = Record();
  r.startRequested = true;  // no automatic pause, and the next paused report is not queued
  libvlc_media_player_t* player = CurrentPlayer();
  if (player == nullptr) return 0;
  if (HostCalls(player) == EngineCalls::kOnWorker) {
    engine::RunOffEventThread(player, &StartFromTheBeginning);
  } else {
    StartFromTheBeginning(player);
  }
  return 0;
}

int32_t Pause(EngineCalls calls) {
  PlayerRecord& r = Record();
  if (calls == EngineCalls::kOnCaller) calls = HostCalls(CurrentPlayer());
  if (r.isLive) {
    // A live stream cannot hold still: it is stopped, and the stopped handler
    // reports it as paused.
    libvlc_media_player_t* main = r.mainPlayer.get();
    if (main == nullptr) {
      r.pausedLength = 1000;
    } else {
      const int64_t length = calls == EngineCalls::kOnCaller ? libvlc_media_player_get_length(main)
                                                             : engine::LengthInCallback(main);
      r.pausedLength = static_cast<int32_t>(length + 1000);
    }
    r.isPaused = true;
    engine::StopAsync(main);
    return 0;
  }
  if (MultiInstanceMode()) {
    Call(calls, CurrentPlayer(), &PauseOnCall);
    r.isPaused = true;
    return 0;
  }
  Call(calls, r.mainPlayer.get(), &PauseToggleCall);  // a paused player resumes
  r.isPaused = true;
  return 0;
}

int32_t Resume() {
  if (libvlc_media_player_t* player = CurrentPlayer()) Call(HostCalls(player), player, &PlayCall);
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

int32_t Seek(int32_t positionMs, EngineCalls calls) {
  PlayerRecord& r = Record();
  libvlc_media_player_t* player = CurrentPlayer();
  if (player == nullptr) return kNotSeekable;
  const bool seekable = calls == EngineCalls::kOnCaller ? libvlc_media_player_is_seekable(player) != 0
                                                        : engine::IsSeekableInCallback(player);
  if (!seekable) return kNotSeekable;
  if (libvlc_media_player_is_playing(player) != 0) {
    r.seekInProgress = true;
    r.pendingSeekMs = -1;
    if (engine::HoldingJump(player)) {
      // Still playing only until a held jump pauses it: the host sees it
      // paused, so this jump is held in its place.
      HoldJump(player, positionMs);
      return 0;
    }
    if (calls == EngineCalls::kOnCaller) return engine::SetTime(player, positionMs, false);
    engine::RunOffEventThread(player, [positionMs](libvlc_media_player_t* p) { engine::SetTime(p, positionMs, false); });
    return 0;
  }
  // Not playing: start it; the playing handler jumps there and pauses.
  r.pendingSeekMs = positionMs;
  return Call(calls, player, &PlayCall);
}

void SeekThenPauseFromEventThread(int32_t positionMs) {
  PlayerRecord& r = Record();
  libvlc_media_player_t* player = CurrentPlayer();
  const bool holdable = !r.isLive && !MultiInstanceMode() && player != nullptr &&
                        engine::IsSeekableInCallback(player) && libvlc_media_player_is_playing(player) != 0;
  LogMethod("NativeSeek", log_line::kNativeSeek);
  if (!holdable) {
    Seek(positionMs, EngineCalls::kOnWorker);
    r.pendingSeekMs = -1;
    LogMethod("NativePause", log_line::kNativePause);
    Pause(EngineCalls::kOnWorker);
    return;
  }
  // Recorded as that seek and pause; the engine jumps and pauses once the
  // jump is seen to have landed.
  r.seekInProgress = true;
  r.pendingSeekMs = -1;
  LogMethod("NativePause", log_line::kNativePause);
  r.isPaused = true;
  HoldJump(player, positionMs);
}

void Close() {
  Record().isClosed = true;
  Record().stateCode = state_code::kClosed;
}

}  // namespace korvid
