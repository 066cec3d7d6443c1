// Helpers for tests that drive the real engine through the exported interface.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace korvid::test {

using namespace std::chrono_literals;

// NativeInit on construction, NativeShutdown on destruction.
class EngineSession {
 public:
  explicit EngineSession(uint8_t logLevel = 0);
  ~EngineSession();
  EngineSession(const EngineSession&) = delete;
  EngineSession& operator=(const EngineSession&) = delete;

  int32_t initResult() const { return initResult_; }

 private:
  int32_t initResult_;
};

// Pops every queued event, in order, into `into`.
void DrainEvents(std::vector<int32_t>& into);

// Pops events into `seen` until `code` has been popped or `timeout` passes.
// Returns whether it arrived.
bool WaitForEvent(int32_t code, std::vector<int32_t>& seen, std::chrono::milliseconds timeout = 10s);

// Polls `condition` (draining events into `seen`) until it holds or `timeout` passes.
bool WaitUntil(const std::function<bool()>& condition, std::vector<int32_t>& seen,
               std::chrono::milliseconds timeout = 10s);

// Pops events into `seen` until none has arrived for `quiet` (the engine has
// settled) or `timeout` passes. Returns whether it settled.
bool WaitForQuiet(std::vector<int32_t>& seen, std::chrono::milliseconds quiet = 700ms,
                  std::chrono::milliseconds timeout = 10s);

// True when `sequence` occurs in `events` in order, not necessarily adjacent.
bool ContainsInOrder(const std::vector<int32_t>& events, const std::vector<int32_t>& sequence);
// True when `sequence` occurs in `events` as one adjacent run.
bool ContainsRun(const std::vector<int32_t>& events, const std::vector<int32_t>& sequence);

std::string Describe(const std::vector<int32_t>& events);

// The pixel (red, green, blue, padding) at (x, y) of a delivered frame.
struct Pixel {
  int r, g, b, a;
};
Pixel PixelAt(const std::vector<uint8_t>& frame, int x, int y);

}  // namespace korvid::test
