#include "support/engine_session.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>


namespace korvid::test {

EngineSession::EngineSession(int32_t slots) {
  if (slots > 1) NativeSetMultiStream(slots);
  initResult_ = NativeInit(0);
}

EngineSession::~EngineSession() { NativeShutdown(); }

void DrainEvents(std::vector<int32_t>& into) {
  for (; !NativeQueueIsEmpty(); NativeQueuePop()) into.push_back(NativeQueueFrontParamEvent());
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

bool WaitForEvent(int32_t code, std::vector<int32_t>& seen, std::chrono::milliseconds timeout, long count) {
  return WaitUntil([&] { return Count(seen, code) >= count; }, seen, timeout);
}

bool WaitForQuiet(std::vector<int32_t>& seen, std::chrono::milliseconds quiet) {
  auto last = std::chrono::steady_clock::now();
  std::size_t before = seen.size();
  return WaitUntil(
      [&] {
        if (seen.size() != std::exchange(before, seen.size())) last = std::chrono::steady_clock::now();
        return std::chrono::steady_clock::now() - last >= quiet;
      },
      seen);
}

bool ContainsRun(const std::vector<int32_t>& events, const std::vector<int32_t>& run) {
  return std::search(events.begin(), events.end(), run.begin(), run.end()) != events.end();
}

long Count(const std::vector<int32_t>& events, int32_t code) { return std::count(events.begin(), events.end(), code); }

std::string Describe(const std::vector<int32_t>& events) {
  std::string text;
  for (const int32_t code : events) text += (text.empty() ? "" : " ") + std::to_string(code);
  return "[" + text + "]";
}

bool Shows(const std::vector<uint8_t>& frame, int r, int g, int b, int x, int y) {
  const uint8_t* p = &frame[(static_cast<std::size_t>(y) * 1920 + static_cast<std::size_t>(x)) * 4];
  return std::abs(p[0] - r) < 48 && std::abs(p[1] - g) < 48 && std::abs(p[2] - b) < 48;
}

std::string PixelText(const std::vector<uint8_t>& frame, int x, int y) {
  const uint8_t* p = &frame[(static_cast<std::size_t>(y) * 1920 + static_cast<std::size_t>(x)) * 4];
  return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]) + "," + std::to_string(p[3]);
}

int32_t SlotState(int32_t slot) {
  NativeControlInstance(slot);
  return NativeGetPlayerState();
}

std::string Captured(const std::function<void()>& body) {
  testing::internal::CaptureStdout();
  body();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

std::string LogLine(const std::string& method, int line) {
  return "Korvid Native Windows Log : method : " + method + " (L " + std::to_string(line) + ") \n";
}

bool Logged(const std::string& log, const std::string& method, int line) {
  return log.find(LogLine(method, line)) != std::string::npos;
}

void ExpectLogged(const std::string& log, std::initializer_list<std::pair<const char*, int>> lines) {
  for (const auto& [method, line] : lines) EXPECT_TRUE(Logged(log, method, line)) << method << " " << line;
}

}  // namespace korvid::test
