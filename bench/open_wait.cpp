// How much CPU NativeOpenURI's wait burns: the calling thread's CPU time
// against the call's wall time, for network sources on loopback servers.
// The wait wakes on the engine's reports, so the share should stay far below 10%.
#include <time.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "exports/korvid_exports.h"
#include "support/background_process.h"
#include "support/headless_env.h"
#include "support/http_server.h"
#include "support/media.h"

namespace {

double ThreadCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void Measure(const char* label, const std::string& location) {
  NativeInit(0);
  NativeSetAutoPlay(true);
  const double cpuBefore = ThreadCpuSeconds();
  const auto wallBefore = std::chrono::steady_clock::now();
  const int32_t result = NativeOpenURI(location.c_str());
  const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallBefore).count();
  const double cpu = ThreadCpuSeconds() - cpuBefore;
  NativeShutdown();
  std::printf("%-28s result %d  wall %7.3f s  thread CPU %6.3f s  share %5.2f%%\n", label, result, wall, cpu,
              100.0 * cpu / wall);
}

}  // namespace

int main() {
  korvid::test::EnterHeadlessEnvironment();
  korvid::test::HttpServer server;
  server.serveDirectory("/vod/", korvid::test::HlsOnDemandSet());
  server.serveDirectory("/live/", korvid::test::HlsLiveSet());
  const korvid::test::RtmpStream rtmp("blue");

  for (int round = 0; round < 3; ++round) {
    Measure("HLS on demand (loopback)", server.url("/vod/master.m3u8"));
    Measure("HLS live (loopback)", server.url("/live/master.m3u8"));
    Measure("rtmp live (nginx)", rtmp.url());
  }
  return 0;
}
