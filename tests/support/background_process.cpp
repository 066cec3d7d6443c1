#include "support/background_process.h"

#include <signal.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <thread>

#include "support/headless_env.h"
#include "support/http_server.h"
#include "support/media.h"

namespace korvid::test {
namespace {

// Polls `condition` every 50 ms for up to `seconds`; throws `failure` when it never holds.
void AwaitOrThrow(const std::function<bool()>& condition, int seconds, const std::string& failure) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error(failure);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

}  // namespace

// setsid makes the command the leader of a session of its own (it is not a
// group leader, so it does not fork): killing that group ends what it started.
BackgroundProcess::BackgroundProcess(const std::string& command, const std::string& logFile) {
  const std::string launch = "setsid sh -c " + ShellQuote(command) + " >" + ShellQuote(logFile) +
                             " 2>&1 </dev/null & echo $!";
  std::FILE* shell = popen(launch.c_str(), "r");
  if (shell == nullptr || std::fscanf(shell, "%d", &session_) != 1) session_ = 0;
  if (shell != nullptr) pclose(shell);
  if (session_ <= 0) throw std::runtime_error("could not start: " + command);
}

BackgroundProcess::~BackgroundProcess() { kill(-session_, SIGKILL); }

LiveHlsPackager::LiveHlsPackager(const std::string& dir)
    : ffmpeg_("cd " + ShellQuote(dir) +
                  " && exec ffmpeg -nostdin -loglevel error -re -f lavfi -i testsrc=s=320x240:r=25 -f lavfi -i"
                  " sine=f=440 -c:v libx264 -preset ultrafast -g 25 -c:a aac -f hls -hls_time 1 -hls_list_size 6"
                  " -hls_flags delete_segments index.m3u8",
              dir + "/ffmpeg.log") {
  WriteFile(dir + "/master.m3u8", "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=300000,RESOLUTION=320x240\nindex.m3u8\n");
  // The segments are index0.ts, index1.ts and so on; the third is listed once it is complete.
  AwaitOrThrow([&] { return ReadFile(dir + "/index.m3u8").find("index2.ts") != std::string::npos; }, 20,
               "live packager did not start: " + dir);
}

RtmpStream::RtmpStream(const std::string& colour)
    : dir_(WorkDir() + "/rtmp"),
      url_("rtmp://127.0.0.1:" + std::to_string(DeadLoopbackPort()) + "/live/stream"),
      nginx_("exec nginx -p " + ShellQuote(dir_) + " -c " +
                 ShellQuote(WriteFile(dir_ + "/nginx.conf",
                                      "load_module /usr/lib/nginx/modules/ngx_rtmp_module.so;\ndaemon off;\n"
                                      "master_process off;\npid nginx.pid;\nerror_log error.log;\nevents {}\n"
                                      "rtmp { server { listen 127.0.0.1:" + std::to_string(DeadLoopbackPort()) +
                                          "; application live { live on; } } }\n")),
             dir_ + "/nginx.out") {
  // nginx writes its pid file once its listening sockets are open.
  AwaitOrThrow([&] { return std::filesystem::exists(dir_ + "/nginx.pid"); }, 10, "nginx did not start; see " + dir_);
  publisher_ = std::make_unique<BackgroundProcess>(
      "exec ffmpeg -nostdin -loglevel error -re -f lavfi -i color=c=" + colour +
          ":s=320x240:r=25 -f lavfi -i sine=f=440:sample_rate=44100 -c:v libx264 -preset ultrafast -tune zerolatency"
          " -g 25 -c:a aac -f flv " + ShellQuote(url_),
      dir_ + "/publisher.log");
}

}  // namespace korvid::test
