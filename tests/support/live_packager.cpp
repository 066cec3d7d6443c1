#include "support/live_packager.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include "support/headless_env.h"
#include "support/process.h"

namespace korvid::test {
namespace {

int SegmentsListed(const std::string& playlist) {
  std::ifstream in(playlist);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  int count = 0;
  for (std::size_t at = text.find("#EXTINF"); at != std::string::npos; at = text.find("#EXTINF", at + 1)) ++count;
  return count;
}

}  // namespace

LiveHlsPackager::LiveHlsPackager() {
  static int serial = 0;
  dir_ = WorkDir() + "/live-hls-" + std::to_string(++serial);
  std::filesystem::create_directories(dir_);
  std::ofstream(dir_ + "/master.m3u8") << "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=300000,RESOLUTION=320x240\n"
                                          "index.m3u8\n";
  ffmpeg_ = std::make_unique<BackgroundProcess>(
      "cd " + ShellQuote(dir_) +
          " && exec ffmpeg -nostdin -loglevel error -re -f lavfi -i testsrc=s=320x240:r=25"
          " -f lavfi -i sine=f=440 -c:v libx264 -preset ultrafast -g 25 -c:a aac"
          " -f hls -hls_time 1 -hls_list_size 6 -hls_flags delete_segments index.m3u8",
      dir_ + "/ffmpeg.log");
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (SegmentsListed(dir_ + "/index.m3u8") < 3) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("live packager did not start: " + dir_);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
}

LiveHlsPackager::~LiveHlsPackager() = default;

}  // namespace korvid::test
