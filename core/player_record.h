// The one process-wide record of the main player and the plug-in's switches.
// No handle crosses the interface: every export reads and writes this record.
//
// Fields are written by the host's thread (the exports), the engine's event
// thread (the handlers) and the adapter's worker, so every field is atomic;
// handles are published atomically by SharedHandle. Other modules keep their
// own state (frames, slots, subtitles, tracks) beside their code.
#pragma once

#include <vlc/vlc.h>

#include <atomic>
#include <cstdint>

#include "core/handles.h"

namespace korvid {

// The player's state as the host sees it.
namespace state_code {
inline constexpr int32_t kNone = 0;  // none, opening, buffering or error
inline constexpr int32_t kClosed = 1;  // closed, ended or failed to start
inline constexpr int32_t kStopped = 2;
inline constexpr int32_t kPlaying = 3;
inline constexpr int32_t kPaused = 4;
}  // namespace state_code

// The library's version, given by the build from CMake's project(VERSION).
inline constexpr uint8_t kVersionMajor = KORVID_VERSION_MAJOR;
inline constexpr uint8_t kVersionMinor = KORVID_VERSION_MINOR;
inline constexpr uint8_t kVersionPatch = KORVID_VERSION_PATCH;

// Property 901: the size of the host's subtitle buffer, at most this after start-up.
inline constexpr uint32_t kDefaultSubtitleBufferSize = 10000;

struct PlayerRecord {
  // Main engine, player and media. The library keeps its engine reference until
  // shut-down and releases it after the player that runs on it.
  EngineHandle mainEngine;
  PlayerHandle mainPlayer;
  MediaHandle mainMedia;
  std::atomic<libvlc_event_manager_t*> eventManager{nullptr};

  std::atomic<int32_t> stateCode{state_code::kNone};
  std::atomic<int32_t> liveTime{0};  // low 32 bits of the engine's last reported time
  std::atomic<bool> autoPlay{false};
  std::atomic<bool> isManifestMpd{false};
  std::atomic<bool> isLive{false};
  std::atomic<bool> seekInProgress{false};
  std::atomic<bool> bufferingComplete{false};
  std::atomic<bool> startRequested{false};
  std::atomic<bool> isStopped{false};
  std::atomic<bool> isClosed{false};
  std::atomic<bool> isPaused{false};
  std::atomic<int32_t> pendingSeekMs{-1};  // -1: no deferred seek
  std::atomic<int32_t> pausedLength{0};    // a paused live stream's length + 1000

  std::atomic<int32_t> instanceCount{1};  // 2 or more: multi-instance mode
  std::atomic<int32_t> currentInstance{0};
  std::atomic<uint32_t> subtitleBufferSize{kDefaultSubtitleBufferSize};
};

PlayerRecord& Record();

// True when the host asked for two or more players before start-up.
bool MultiInstanceMode();

// The player the exports act on: the main player in single-player mode,
// otherwise the slot chosen with NativeControlInstance (may be null).
libvlc_media_player_t* CurrentPlayer();

}  // namespace korvid
