#include "support/background_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>

#include "support/headless_env.h"
#include "support/http_server.h"
#include "support/media.h"
#include "support/process.h"

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

BackgroundProcess::BackgroundProcess(const std::string& command, const std::string& logFile) {
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ == 0) {
    setpgid(0, 0);
    const int log = open(logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    dup2(log, 1);
    dup2(log, 2);
    dup2(open("/dev/null", O_RDONLY), 0);
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  setpgid(pid_, pid_);
}

BackgroundProcess::~BackgroundProcess() {
  kill(-pid_, SIGTERM);
  for (int i = 0; i < 100; ++i) {
    if (waitpid(pid_, nullptr, WNOHANG) == pid_) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  kill(-pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

LiveHlsPackager::LiveHlsPackager() {
  static int serial = 0;
  dir_ = WorkDir() + "/live-hls-" + std::to_string(++serial);
  std::filesystem::create_directories(dir_);
  std::ofstream(dir_ + "/master.m3u8") << "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=300000,RESOLUTION=320x240\nindex.m3u8\n";
  ffmpeg_ = std::make_unique<BackgroundProcess>(
      "cd " + ShellQuote(dir_) +
          " && exec ffmpeg -nostdin -loglevel error -re -f lavfi -i testsrc=s=320x240:r=25 -f lavfi -i sine=f=440"
          " -c:v libx264 -preset ultrafast -g 25 -c:a aac -f hls -hls_time 1 -hls_list_size 6"
          " -hls_flags delete_segments index.m3u8",
      dir_ + "/ffmpeg.log");
  // The segments are index0.ts, index1.ts and so on; the third is listed once it is complete.
  AwaitOrThrow([&] { return ReadFile(dir_ + "/index.m3u8").find("index2.ts") != std::string::npos; }, 20,
               "live packager did not start: " + dir_);
}

// nginx writes its pid file once its listening sockets are open.
RtmpServer::RtmpServer() : dir_(WorkDir() + "/rtmp"), port_(DeadLoopbackPort()) {
  std::filesystem::create_directories(dir_);
  std::ofstream(dir_ + "/nginx.conf") << "load_module /usr/lib/nginx/modules/ngx_rtmp_module.so;\n"
                                      << "daemon off;\nmaster_process off;\npid " << dir_ << "/nginx.pid;\n"
                                      << "error_log " << dir_ << "/error.log;\nevents {}\n"
                                      << "rtmp { server { listen 127.0.0.1:" << port_
                                      << "; application live { live on; } } }\n";
  nginx_ = std::make_unique<BackgroundProcess>(
      "exec nginx -p " + ShellQuote(dir_) + " -c " + ShellQuote(dir_ + "/nginx.conf"), dir_ + "/nginx.out");
  AwaitOrThrow([&] { return std::filesystem::exists(dir_ + "/nginx.pid"); }, 10, "nginx did not start; see " + dir_);
}

void RtmpServer::publish(const std::string& colour, const std::string& name) {
  publisher_ = std::make_unique<BackgroundProcess>(
      "exec ffmpeg -nostdin -loglevel error -re -f lavfi -i color=c=" + colour +
          ":s=320x240:r=25 -f lavfi -i sine=f=440:sample_rate=44100 -c:v libx264 -preset ultrafast -tune zerolatency"
          " -g 25 -c:a aac -f flv " + ShellQuote(url(name)),
      dir_ + "/publisher.log");
}

std::string RtmpServer::url(const std::string& name) const {
  return "rtmp://127.0.0.1:" + std::to_string(port_) + "/live/" + name;
}

}  // namespace korvid::test
