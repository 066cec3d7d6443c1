// Helper programs running beside a test: an RTMP server with its publisher.
// Each runs in a session of its own and is killed with it when its object goes.
#pragma once

#include <sys/types.h>

#include <string>

namespace korvid::test {

class BackgroundProcess {
 public:
  // Starts `command` through the shell; its output goes to `logFile`.
  BackgroundProcess(const std::string& command, const std::string& logFile);
  ~BackgroundProcess();
  BackgroundProcess(const BackgroundProcess&) = delete;
  BackgroundProcess& operator=(const BackgroundProcess&) = delete;

 private:
  pid_t session_ = 0;
};

// nginx with its RTMP module on a free loopback port, and ffmpeg publishing to
// it a live-encoded solid `colour` with a tone, a key frame every second. Both
// run in one session.
class RtmpStream {
 public:
  // Starts both and returns once the stream can be read; throws
  // std::runtime_error when nginx does not come up or nothing is published.
  explicit RtmpStream(const std::string& colour);
  // "rtmp://127.0.0.1:<port>/live/stream"
  const std::string& url() const { return url_; }

 private:
  const std::string dir_;
  const int port_;  // where nginx listens
  const std::string url_;
  BackgroundProcess session_;
};

}  // namespace korvid::test
