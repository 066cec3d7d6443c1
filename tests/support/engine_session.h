// Helpers for tests that drive the real engine through the exported interface
// (included with it, the engine's own interface, the player record, the
// media, the loopback server and the standard headers such tests use).
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <vlc/vlc.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>
#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "support/headless_env.h"
#include "support/http_server.h"
#include "support/media.h"

namespace korvid::test {

using namespace std::chrono_literals;

inline constexpr int32_t kFrameBytes = 8294400;

// The least length the engine gives a live HLS window once it plays. Debian's
// engine (3.0.24) measures the window; the engine's Windows release 3.0.2
// answers 0 for a playlist without an end marker (its own behaviour: the
// library only reads the value).
#ifdef _WIN32
inline constexpr int64_t kLeastLiveLength = 0;
#else
inline constexpr int64_t kLeastLiveLength = 1;
#endif

// `path` with the platform's own separators: "\\" on Windows, where the other
// paths the tests open keep the "/" of WorkDir, as Unity's path properties give them.
inline std::string NativeSeparators(std::string path) {
#ifdef _WIN32
  std::replace(path.begin(), path.end(), '/', '\\');
#endif
  return path;
}

// NativeSetMultiStream(slots) when `slots` is above 1, then NativeInit.
inline int32_t StartUp(int32_t slots = 1) {
  if (slots > 1) NativeSetMultiStream(slots);
  return NativeInit(0);
}

// Whether the pixel at (x, y) of a delivered frame is within 48 of (r, g, b)
// in each channel: the clips pass through 4:2:0 YUV and back.
inline const uint8_t* Pixel(const std::vector<uint8_t>& frame, int x, int y) {
  return &frame[(static_cast<std::size_t>(y) * 1920 + static_cast<std::size_t>(x)) * 4];
}
inline bool Shows(const std::vector<uint8_t>& frame, int r, int g, int b, int x = 960, int y = 540) {
  const uint8_t* p = Pixel(frame, x, y);
  return std::abs(p[0] - r) < 48 && std::abs(p[1] - g) < 48 && std::abs(p[2] - b) < 48;
}
inline std::string PixelText(const std::vector<uint8_t>& frame, int x = 960, int y = 540) {
  return testing::PrintToString(std::vector<int>(Pixel(frame, x, y), Pixel(frame, x, y) + 4));
}

// The engine's own state of the main player.
inline libvlc_state_t MainState() { return libvlc_media_player_get_state(Record().mainPlayer.get()); }

// A SubRip timestamp for `ms` (under a minute).
inline std::string Stamp(int64_t ms) {
  return "00:00:" + std::to_string(ms / 1000) + "," + std::to_string(1000 + ms % 1000).substr(1);
}

// NativeGetPlayerState of `slot`, chosen with NativeControlInstance.
inline int32_t SlotState(int32_t slot) {
  NativeControlInstance(slot);
  return NativeGetPlayerState();
}

// What `body` printed to standard output (the log lines).
inline std::string Captured(const std::function<void()>& body) {
  testing::internal::CaptureStdout();
  body();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}
// The same with logging switched on for `body`.
inline std::string LoggedBy(const std::function<void()>& body) {
  NativeSetLogLevel(1);
  std::string log = Captured(body);
  NativeSetLogLevel(0);
  return log;
}
// The log line `method` prints with logging on.
inline std::string LogLine(const std::string& method, int line) {
  return "Korvid Native Windows Log : method : " + method + " (L " + std::to_string(line) + ") \n";
}
using LogLines = std::initializer_list<std::pair<const char*, int>>;
// Expects `log` to hold the line of each (method, line).
inline void ExpectLogged(const std::string& log, LogLines lines) {
  for (const auto& [method, line] : lines) EXPECT_NE(log.find(LogLine(method, line)), std::string::npos) << method << " " << line;
}
// Runs `body` again and again with logging on until what the process printed
// meanwhile holds the line of each (method, line), or 20 s pass; expects them
// all. Standard output goes to a file for the whole wait and is read as it
// grows: redirecting it again and again while the engine's threads print can
// deadlock in the Windows C runtime.
inline void ExpectLoggedWhile(const std::function<void()>& body, LogLines lines) {
  const std::string path = WorkDir() + "/logged-while.txt";
  std::fflush(stdout);
  const int saved = dup(1);
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  dup2(file, 1);
  close(file);
  NativeSetLogLevel(1);
  std::string log;
  const auto missing = [&] {
    return std::any_of(lines.begin(), lines.end(), [&](const auto& l) { return log.find(LogLine(l.first, l.second)) == std::string::npos; });
  };
  for (const auto deadline = std::chrono::steady_clock::now() + 20s; missing() && std::chrono::steady_clock::now() < deadline;) {
    body();
    std::fflush(stdout);
    log = ReadFile(path);
    log.erase(std::remove(log.begin(), log.end(), '\r'), log.end());  // the Windows C runtime's text mode
    std::this_thread::sleep_for(20ms);
  }
  NativeSetLogLevel(0);
  std::fflush(stdout);
  dup2(saved, 1);
  close(saved);
  ExpectLogged(log, lines);
}

// A fixture with the events popped so far, a frame buffer and, unless `Slots`
// is 0, an engine started with that many slots. The engine is shut down when
// the test ends (a second shut-down finds nothing to release).
template <int32_t Slots = 1>
class EngineTestOf : public testing::Test {
 protected:
  EngineTestOf() { EXPECT_EQ(Slots > 0 ? StartUp(Slots) : 0, 0); }
  ~EngineTestOf() override { NativeShutdown(); }

  // Pops every queued event, in order, into events_.
  void Drain() { for (; !NativeQueueIsEmpty(); NativeQueuePop()) events_.push_back(NativeQueueFrontParamEvent()); }
  // Polls `condition` every 10 ms, popping events, until it holds or `timeout` passes.
  bool Until(const std::function<bool()>& condition, std::chrono::milliseconds timeout = 10s) {
    for (const auto deadline = std::chrono::steady_clock::now() + timeout;; std::this_thread::sleep_for(10ms)) {
      Drain();
      if (condition()) return true;
      if (std::chrono::steady_clock::now() >= deadline) return false;
    }
  }
  // Until events_ holds `count` events `code`.
  bool WaitFor(int32_t code, long count = 1, std::chrono::milliseconds timeout = 10s) {
    return Until([&] { return Count(code) >= count; }, timeout);
  }
  long Count(int32_t code) const { return std::count(events_.begin(), events_.end(), code); }
  // True when `run` occurs in events_ as one adjacent run.
  bool HasRun(const std::vector<int32_t>& run) const {
    return std::search(events_.begin(), events_.end(), run.begin(), run.end()) != events_.end();
  }
  std::string Seen() const { return testing::PrintToString(events_); }

  std::vector<int32_t> events_;
  std::vector<uint8_t> frame_ = std::vector<uint8_t>(kFrameBytes);
};
using EngineTest = EngineTestOf<>;

}  // namespace korvid::test
