#include "core/event_handlers.h"

#include <cstdint>

#include "core/engine_adapter.h"
#include "core/event_queue.h"
#include "core/log.h"
#include "core/log_lines.h"
#include "core/player_record.h"
#include "core/playback_control.h"
#include "multi/slot_tables.h"

namespace korvid {
namespace {

// Handlers run on the engine's event thread: nothing may escape into the engine.
template <typename Body>
void Guarded(Body&& body) noexcept {
  try {
    body();
  } catch (...) {
  }
}

void SetStopFlag(bool value) {
  if (MultiInstanceMode()) {
    multi::Slots().setStoppedFlag(Record().currentInstance.load(), value);
  } else {
    Record().isStopped = value;
  }
}

void PauseCurrentPlayer() {
  PlayerRecord& r = Record();
  libvlc_media_player_t* player = CurrentPlayer();
  // A held jump pauses the player itself once it has landed; and a pause now
  // would cancel the play of a seek that waits for the player to play.
  if (!engine::HoldingJump(player) && r.pendingSeekMs < 0) engine::SetPauseInCallback(player, true);
  Events().push(event_code::kPaused);
  r.stateCode = state_code::kPaused;
}

void OnOpening(const libvlc_event_t*, void*) {
  Guarded([] {
    LogMethod("Opening", log_line::kOpening);
    if (!StopFlag()) Events().push(event_code::kOpening);
  });
}

void OnBuffering(const libvlc_event_t* event, void*) {
  Guarded([event] {
    LogMethod("Buffering", log_line::kBuffering);
    PlayerRecord& r = Record();
    r.stateCode = state_code::kNone;
    Events().push(event_code::kBuffering);
    r.bufferingComplete = false;
    if (event->u.media_player_buffering.new_cache != 100.0f) return;

    Events().push(event_code::kBufferingFinished);
    if (!StopFlag() && !r.seekInProgress) Events().push(event_code::kReady);
    if (r.seekInProgress) {
      libvlc_media_player_t* player = CurrentPlayer();
      const bool playing = player != nullptr && libvlc_media_player_is_playing(player) != 0;
      r.stateCode = playing ? state_code::kPlaying : state_code::kPaused;
      Events().push(event_code::kSeekCompleted);
    } else {
      Events().push(event_code::kPlaying);
      r.stateCode = state_code::kPlaying;
    }

    // With auto-play off both pauses may act on one report, giving two pause
    // calls and two events 9.
    if (r.isPaused && !r.autoPlay) PauseCurrentPlayer();
    if (!r.autoPlay && !r.seekInProgress && !r.startRequested) {
      PauseCurrentPlayer();
      if (r.isLive) r.autoPlay = true;  // a live stream pauses by itself only once
    }

    SetStopFlag(false);
    r.seekInProgress = false;
    r.startRequested = false;
    r.bufferingComplete = true;
  });
}

void OnPlaying(const libvlc_event_t*, void*) {
  Guarded([] {
    LogMethod("Playing", log_line::kPlaying);
    PlayerRecord& r = Record();
    const int32_t pending = r.pendingSeekMs;
    if (pending >= 0) {
      // A seek asked for while the player was not playing: jump there now and
      // pause. The flags change here, before any later report; the engine
      // calls themselves go to the worker (a seek from this thread deadlocks).
      SeekThenPauseFromEventThread(pending);
      return;
    }
    if (!r.bufferingComplete && !r.isPaused) return;  // the buffering handler reports the first play
    r.isPaused = false;
    Events().push(event_code::kPlaying);
    r.stateCode = state_code::kPlaying;
  });
}

void OnPaused(const libvlc_event_t*, void*) {
  Guarded([] {
    LogMethod("Paused", log_line::kPaused);
    PlayerRecord& r = Record();
    if (!r.startRequested) {
      Events().push(event_code::kPaused);
      r.stateCode = state_code::kPaused;
    }
    r.startRequested = false;
  });
}

void OnStopped(const libvlc_event_t*, void*) {
  Guarded([] {
    LogMethod("Stopped", log_line::kStopped);
    PlayerRecord& r = Record();
    if (r.isPaused && r.isLive && !r.isStopped) {
      // A live stream is paused by stopping it; the host is told it paused.
      Events().push(event_code::kPaused);
      r.stateCode = state_code::kPaused;
      return;
    }
    if (!r.isClosed) {
      Events().push(event_code::kStopped);
      r.stateCode = state_code::kStopped;
    }
  });
}

void OnEndOfContent(const libvlc_event_t*, void*) {
  Guarded([] {
    LogMethod("EndOfContent", log_line::kEndOfContent);
    if (!Record().isPaused) Events().push(event_code::kEndOfContent);
  });
}

void OnTimeChanged(const libvlc_event_t* event, void*) {
  Guarded([event] {
    LogMethod("TimeChanged", log_line::kTimeChanged);
    const auto time = static_cast<uint64_t>(event->u.media_player_time_changed.new_time);
    Record().liveTime = static_cast<int32_t>(static_cast<uint32_t>(time));
  });
}

struct Binding {
  libvlc_event_type_t type;
  libvlc_callback_t handler;
};

constexpr Binding kBindings[] = {
    {libvlc_MediaPlayerOpening, &OnOpening},         {libvlc_MediaPlayerBuffering, &OnBuffering},
    {libvlc_MediaPlayerPlaying, &OnPlaying},         {libvlc_MediaPlayerPaused, &OnPaused},
    {libvlc_MediaPlayerStopped, &OnStopped},         {libvlc_MediaPlayerEndReached, &OnEndOfContent},
    {libvlc_MediaPlayerTimeChanged, &OnTimeChanged},
};

}  // namespace

bool StopFlag() {
  if (MultiInstanceMode()) return multi::Slots().stoppedFlag(Record().currentInstance.load());
  return Record().isStopped;
}

void AttachEventHandlers(libvlc_event_manager_t* events) {
  for (const Binding& b : kBindings) libvlc_event_attach(events, b.type, b.handler, nullptr);
}

void DetachEventHandlers(libvlc_event_manager_t* events) {
  for (const Binding& b : kBindings) libvlc_event_detach(events, b.type, b.handler, nullptr);
}

}  // namespace korvid
