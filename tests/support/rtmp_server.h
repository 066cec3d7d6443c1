// A real RTMP server for tests: nginx with its RTMP module on a loopback port,
// with its own configuration, started here and stopped with the object, plus
// an ffmpeg publisher pushing a clip into it in a loop.
#pragma once

#include <memory>
#include <string>

#include "support/background_process.h"

namespace korvid::test {

class RtmpServer {
 public:
  // Starts nginx; throws std::runtime_error when it does not come up.
  RtmpServer();
  ~RtmpServer();

  // Starts pushing a live-encoded solid `colour` (as ffmpeg names colours) as
  // stream `name` with a tone, at its own pace, with a key frame every second.
  void publish(const std::string& colour, const std::string& name);
  // "rtmp://127.0.0.1:<port>/live/<name>"
  std::string url(const std::string& name) const;

 private:
  std::string dir_;
  int port_ = 0;
  std::unique_ptr<BackgroundProcess> nginx_;
  std::unique_ptr<BackgroundProcess> publisher_;
};

}  // namespace korvid::test
