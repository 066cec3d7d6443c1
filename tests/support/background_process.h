// Helper programs running beside a test: a live HLS packager and an RTMP
// server with its publisher. Each runs in a session of its own and is killed
// with it when its object goes.
#pragma once

#include <sys/types.h>

#include <memory>
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

// ffmpeg packaging a test pattern with a tone in real time into the folder
// `dir` (a server's folder, which must exist): a sliding window of 1-second segments without an end
// marker, index.m3u8, and a master.m3u8 naming it. Starts and waits (bounded)
// for three segments; throws std::runtime_error when they do not come.
class LiveHlsPackager {
 public:
  explicit LiveHlsPackager(const std::string& dir);

 private:
  BackgroundProcess ffmpeg_;
};

// nginx with its RTMP module on a free loopback port, and ffmpeg publishing to
// it a live-encoded solid `colour` with a tone, a key frame every second.
class RtmpStream {
 public:
  // Starts both; throws std::runtime_error when nginx does not come up.
  explicit RtmpStream(const std::string& colour);
  // "rtmp://127.0.0.1:<port>/live/stream"
  const std::string& url() const { return url_; }

 private:
  const std::string dir_;
  const int port_;  // where nginx listens
  const std::string url_;
  BackgroundProcess nginx_;
  std::unique_ptr<BackgroundProcess> publisher_;  // declared last: ends before the server it publishes to
};

}  // namespace korvid::test
