#include "support/engine_session.h"

#include <algorithm>
#include <thread>

#include "exports/korvid_exports.h"

namespace korvid::test {

EngineSession::EngineSession(uint8_t logLevel) : initResult_(NativeInit(logLevel)) {}

EngineSession::~EngineSession() { NativeShutdown(); }

void DrainEvents(std::vector<int32_t>& into) {
  while (!NativeQueueIsEmpty()) {
    into.push_back(NativeQueueFrontParamEvent());
    NativeQueuePop();
  }
}

bool WaitUntil(const std::function<bool()>& condition, std::vector<int32_t>& seen,
               std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    DrainEvents(seen);
    if (condition()) return true;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
}

bool WaitForEvent(int32_t code, std::vector<int32_t>& seen, std::chrono::milliseconds timeout) {
  const std::size_t from = seen.size();
  return WaitUntil([&] { return std::find(seen.begin() + static_cast<long>(from), seen.end(), code) != seen.end(); },
                   seen, timeout);
}

bool WaitForQuiet(std::vector<int32_t>& seen, std::chrono::milliseconds quiet, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  auto lastEvent = std::chrono::steady_clock::now();
  for (;;) {
    const std::size_t before = seen.size();
    DrainEvents(seen);
    const auto now = std::chrono::steady_clock::now();
    if (seen.size() != before) lastEvent = now;
    if (now - lastEvent >= quiet) return true;
    if (now >= deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
}

bool ContainsInOrder(const std::vector<int32_t>& events, const std::vector<int32_t>& sequence) {
  auto at = events.begin();
  for (const int32_t code : sequence) {
    at = std::find(at, events.end(), code);
    if (at == events.end()) return false;
    ++at;
  }
  return true;
}

bool ContainsRun(const std::vector<int32_t>& events, const std::vector<int32_t>& sequence) {
  return std::search(events.begin(), events.end(), sequence.begin(), sequence.end()) != events.end();
}

std::string Describe(const std::vector<int32_t>& events) {
  std::string text;
  for (const int32_t code : events) text += (text.empty() ? "" : " ") + std::to_string(code);
  return "[" + text + "]";
}

Pixel PixelAt(const std::vector<uint8_t>& frame, int x, int y) {
  const std::size_t at = (static_cast<std::size_t>(y) * 1920 + static_cast<std::size_t>(x)) * 4;
  return Pixel{frame[at], frame[at + 1], frame[at + 2], frame[at + 3]};
}

}  // namespace korvid::test
