// A live HLS stream for tests: ffmpeg packages a test pattern in real time into
// a sliding-window media playlist (no end marker) in a directory of its own,
// beside a master playlist naming it. Serve the directory with HttpServer.
#pragma once

#include <memory>
#include <string>

#include "support/background_process.h"

namespace korvid::test {

class LiveHlsPackager {
 public:
  // Starts packaging and waits (bounded) until the window holds three segments;
  // throws std::runtime_error when it does not.
  LiveHlsPackager();
  ~LiveHlsPackager();

  // The directory holding master.m3u8, index.m3u8 and the segments.
  const std::string& directory() const { return dir_; }

 private:
  std::string dir_;
  std::unique_ptr<BackgroundProcess> ffmpeg_;
};

}  // namespace korvid::test
