// A deadline for a call that must return but has no time limit of its own
// (NativeOpenURI waits until the engine plays or fails, however long that is).
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

namespace korvid::test {

// Runs `call` on this thread and returns its result. A call still running
// after `limit` can be neither abandoned nor waited for, so a watchdog thread
// names it on standard error and ends the process, which fails the test.
template <typename Call>
auto ReturnsWithin(std::chrono::seconds limit, const std::string& what, Call&& call) {
  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;
  std::thread watchdog([&] {
    std::unique_lock lock(mutex);
    if (!finished.wait_for(lock, limit, [&] { return done; })) {
      std::fprintf(stderr, "%s did not return within %lld s\n", what.c_str(), static_cast<long long>(limit.count()));
      std::_Exit(EXIT_FAILURE);
    }
  });
  const auto result = call();
  {
    const std::lock_guard lock(mutex);
    done = true;
  }
  finished.notify_one();
  watchdog.join();
  return result;
}

}  // namespace korvid::test
