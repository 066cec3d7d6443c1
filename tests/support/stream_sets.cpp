#include "support/stream_sets.h"

#include <filesystem>
#include <mutex>

#include "support/headless_env.h"
#include "support/process.h"

namespace korvid::test {
namespace {

// Two seconds of a 160x120 test pattern, one key frame per second.
constexpr const char* kSource =
    "ffmpeg -nostdin -loglevel error -y -f lavfi -i testsrc=size=160x120:rate=10 -t 2"
    " -c:v libx264 -preset ultrafast -pix_fmt yuv420p -b:v 100k -g 10 ";

// Makes the set `name` with ffmpeg `arguments` and `output` (relative to the
// set's directory) unless it is there already.
std::string MakeSet(const std::string& name, const std::string& arguments, const std::string& output) {
  static std::mutex mutex;
  const std::lock_guard<std::mutex> lock(mutex);
  const std::filesystem::path dir = std::filesystem::path(WorkDir()) / "streams" / name;
  if (!std::filesystem::exists(dir)) {
    std::filesystem::create_directories(dir);
    RunCommand(kSource + arguments + " " + ShellQuote((dir / output).string()));
  }
  return dir.string();
}

std::string MakeHlsSet(const std::string& name, const std::string& playlistArguments) {
  return MakeSet(name,
                 "-f hls -hls_time 1 " + playlistArguments +
                     " -master_pl_name master.m3u8 -var_stream_map v:0,name:low",
                 "%v/index.m3u8");
}

}  // namespace

std::string HlsOnDemandSet() { return MakeHlsSet("hls-vod", "-hls_playlist_type vod"); }

std::string HlsLiveSet() { return MakeHlsSet("hls-live", "-hls_list_size 2 -hls_flags omit_endlist"); }

std::string DashSet() { return MakeSet("dash", "-f dash -seg_duration 1", "manifest.mpd"); }

}  // namespace korvid::test
