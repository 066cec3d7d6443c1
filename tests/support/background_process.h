// Helper programs running beside a test: a live HLS packager and an RTMP
// server with its publisher. Each runs in a process group of its own and is
// ended with the group when its object goes.
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
  pid_t pid_ = -1;
};

// ffmpeg packaging a test pattern with a tone in real time into a sliding
// window of 1-second segments (no end marker), index.m3u8, beside a
// master.m3u8 naming it, in a directory of its own to serve with HttpServer.
class LiveHlsPackager {
 public:
  // Starts and waits (bounded) for three segments; throws std::runtime_error when they do not come.
  LiveHlsPackager();
  const std::string& directory() const { return dir_; }

 private:
  std::string dir_;
  std::unique_ptr<BackgroundProcess> ffmpeg_;
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
