// A deadline for a call that must return but has no time limit of its own
// (NativeOpenURI waits until the engine plays or fails, however long that is).
#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>

namespace korvid::test {

// Runs `call` on this thread and returns its result. A call still running
// after `limit` can be neither abandoned nor waited for, so a watchdog thread
// names it on standard error and ends the process, which fails the test.
template <typename Call>
auto ReturnsWithin(std::chrono::seconds limit, const std::string& what, Call&& call) {
  std::promise<void> returned;
  std::thread watchdog([&, done = returned.get_future()] {
    if (done.wait_for(limit) == std::future_status::ready) return;
    std::fprintf(stderr, "%s did not return within %lld s\n", what.c_str(), static_cast<long long>(limit.count()));
    std::_Exit(EXIT_FAILURE);
  });
  const auto result = call();
  returned.set_value();
  watchdog.join();
  return result;
}

}  // namespace korvid::test
