// Helpers for tests that drive the real engine through the exported interface
// (included with it and the standard headers every such test uses).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "exports/korvid_exports.h"

namespace korvid::test {

using namespace std::chrono_literals;

inline constexpr int32_t kFrameBytes = 8294400;

// NativeSetMultiStream(slots) when `slots` is above 1, then NativeInit on
// construction; NativeShutdown on destruction.
class EngineSession {
 public:
  explicit EngineSession(int32_t slots = 1);
  ~EngineSession();
  EngineSession(const EngineSession&) = delete;
  EngineSession& operator=(const EngineSession&) = delete;
  int32_t initResult() const { return initResult_; }

 private:
  int32_t initResult_;
};

// Pops every queued event, in order, into `into`.
void DrainEvents(std::vector<int32_t>& into);
// Polls `condition` every 10 ms (popping events into `seen`) until it holds or `timeout` passes.
bool WaitUntil(const std::function<bool()>& condition, std::vector<int32_t>& seen,
               std::chrono::milliseconds timeout = 10s);
// Until `seen` holds `count` events `code` (or `timeout` passes).
bool WaitForEvent(int32_t code, std::vector<int32_t>& seen, std::chrono::milliseconds timeout = 10s, long count = 1);
// Until no event has arrived for `quiet`: the engine has settled.
bool WaitForQuiet(std::vector<int32_t>& seen, std::chrono::milliseconds quiet = 700ms);
// True when `run` occurs in `events` as one adjacent run.
bool ContainsRun(const std::vector<int32_t>& events, const std::vector<int32_t>& run);
long Count(const std::vector<int32_t>& events, int32_t code);
std::string Describe(const std::vector<int32_t>& events);

// Whether the pixel at (x, y) of a delivered frame is within 48 of (r, g, b)
// in each channel: the clips pass through 4:2:0 YUV and back.
bool Shows(const std::vector<uint8_t>& frame, int r, int g, int b, int x = 960, int y = 540);
std::string PixelText(const std::vector<uint8_t>& frame, int x = 960, int y = 540);

// NativeGetPlayerState of `slot`, chosen with NativeControlInstance.
int32_t SlotState(int32_t slot);

// What `body` printed to standard output (the log lines).
std::string Captured(const std::function<void()>& body);
// The log line `method` prints with logging on, and whether `log` holds it.
std::string LogLine(const std::string& method, int line);
bool Logged(const std::string& log, const std::string& method, int line);
// Expects `log` to hold the line of each (method, line).
void ExpectLogged(const std::string& log, std::initializer_list<std::pair<const char*, int>> lines);

// A fixture with a started engine, the events popped so far and a frame buffer.
class EngineTest : public testing::Test {
 protected:
  explicit EngineTest(int32_t slots = 1) : session_(slots) { EXPECT_EQ(session_.initResult(), 0); }
  bool Until(const std::function<bool()>& condition, std::chrono::milliseconds timeout = 10s) {
    return WaitUntil(condition, events_, timeout);
  }
  bool WaitFor(int32_t code, long count = 1, std::chrono::milliseconds timeout = 10s) {
    return WaitForEvent(code, events_, timeout, count);
  }
  std::string Seen() const { return Describe(events_); }

  EngineSession session_;
  std::vector<int32_t> events_;
  std::vector<uint8_t> frame_ = std::vector<uint8_t>(kFrameBytes);
};

}  // namespace korvid::test
