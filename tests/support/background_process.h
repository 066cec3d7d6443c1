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

// nginx with its RTMP module on a free loopback port, and an ffmpeg publisher.
class RtmpServer {
 public:
  // Starts nginx; throws std::runtime_error when it does not come up.
  RtmpServer();
  // Pushes a live-encoded solid `colour` with a tone as stream `name`, a key frame every second.
  void publish(const std::string& colour, const std::string& name);
  // "rtmp://127.0.0.1:<port>/live/<name>"
  std::string url(const std::string& name) const;

 private:
  std::string dir_;
  int port_;
  std::unique_ptr<BackgroundProcess> nginx_;
  std::unique_ptr<BackgroundProcess> publisher_;  // declared last: ends before the server it publishes to
};

}  // namespace korvid::test
