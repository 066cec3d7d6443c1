// Four 1920 x 1080, 30 fps H.264 clips playing in four slots at once: how many
// pictures each slot's lock callback delivers per second, and how much CPU the
// process uses meanwhile, once with the engine alone and once with a host that
// fetches every slot's picture 30 times a second.
//
// Pictures are counted from the method log: each slot's lock callback logs its
// own name once per picture ("sdl_lock0" ... "sdl_lock3"), so standard output
// is sent to a file while a run lasts and the lines are counted afterwards.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "exports/korvid_exports.h"
#include "video/frame_geometry.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int kSlots = 4;
constexpr int kClipSeconds = 14;
constexpr auto kWarmUp = 1500ms;   // every slot must have played this long first
constexpr auto kWindow = 10s;      // the measured stretch
constexpr auto kHostPeriod = 33ms; // a host drawing at about 30 frames a second

// Distinct pictures per slot, so a slot showing another's picture would not
// go unnoticed in a run by eye.
constexpr std::array<const char*, kSlots> kSources = {"testsrc2", "testsrc", "smptehdbars", "rgbtestsrc"};

std::filesystem::path WorkDir() {
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / "korvid-bench-multi-1080p";
  std::filesystem::create_directories(dir);
  return dir;
}

// Makes the four clips once; later runs reuse them.
std::vector<std::string> Clips() {
  std::vector<std::string> clips;
  for (int i = 0; i < kSlots; ++i) {
    const std::filesystem::path clip = WorkDir() / ("slot" + std::to_string(i) + "-1080p30.mp4");
    if (!std::filesystem::exists(clip)) {
      const std::string command = std::string("ffmpeg -nostdin -loglevel error -y -f lavfi -i ") + kSources[i] +
                                  "=s=1920x1080:r=30 -t " + std::to_string(kClipSeconds) +
                                  " -c:v libx264 -preset veryfast -g 60 -pix_fmt yuv420p '" + clip.string() + "'";
      if (std::system(command.c_str()) != 0) throw std::runtime_error("ffmpeg failed: " + command);
    }
    clips.push_back(clip.string());
  }
  return clips;
}

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Sends standard output to a file for its lifetime.
class StdoutToFile {
 public:
  explicit StdoutToFile(const std::string& path) : path_(path) {
    std::fflush(stdout);
    saved_ = dup(STDOUT_FILENO);
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(fd, STDOUT_FILENO);
    close(fd);
  }
  ~StdoutToFile() {
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
  }
  StdoutToFile(const StdoutToFile&) = delete;
  StdoutToFile& operator=(const StdoutToFile&) = delete;

  // Bytes written so far (after flushing).
  long offset() const {
    std::fflush(stdout);
    return lseek(STDOUT_FILENO, 0, SEEK_CUR);
  }

 private:
  std::string path_;
  int saved_ = -1;
};

// Lock-callback lines per slot in bytes [from, to) of the log file.
std::array<long, kSlots> CountLocks(const std::string& path, long from, long to) {
  std::ifstream in(path, std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  text = text.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from));
  std::array<long, kSlots> counts{};
  for (int slot = 0; slot < kSlots; ++slot) {
    const std::string name = "method : sdl_lock" + std::to_string(slot) + " ";
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + name.size())) {
      ++counts[static_cast<std::size_t>(slot)];
    }
  }
  return counts;
}

void BM_FourSlots1080p(benchmark::State& state) {
  const bool hostPolls = state.range(0) != 0;
  const std::vector<std::string> clips = Clips();
  const std::string logPath = (WorkDir() / "method-log.txt").string();
  std::vector<uint8_t> frame(korvid::video::kFrameBytes);

  for (auto _ : state) {
    NativeSetMultiStream(kSlots);
    NativeInit(0);
    std::array<long, kSlots> locks{};
    long polls = 0;
    double cpu = 0, wall = 0;
    {
      const StdoutToFile redirect(logPath);
      NativeSetLogLevel(1);
      for (int slot = 0; slot < kSlots; ++slot) NativeStartChosenPlayer(slot, clips[static_cast<std::size_t>(slot)].c_str());
      const auto warmUpDeadline = Clock::now() + 20s;
      for (;;) {
        int ready = 0;
        for (int slot = 0; slot < kSlots; ++slot) ready += NativeMultiInstanceGetCurrentTime(slot) >= kWarmUp.count();
        if (ready == kSlots || Clock::now() > warmUpDeadline) break;
        std::this_thread::sleep_for(20ms);
      }
      const long from = redirect.offset();
      const double cpuFrom = CpuSeconds();
      const auto start = Clock::now();
      const auto end = start + kWindow;
      for (auto tick = start; tick < end; tick += hostPolls ? kHostPeriod : 100ms) {
        if (hostPolls) {
          for (int slot = 0; slot < kSlots; ++slot) NativeGetMultipleRawData(frame.data(), slot);
          ++polls;
        }
        std::this_thread::sleep_until(tick);
      }
      wall = std::chrono::duration<double>(Clock::now() - start).count();
      cpu = CpuSeconds() - cpuFrom;
      const long to = redirect.offset();
      NativeSetLogLevel(0);
      locks = CountLocks(logPath, from, to);
    }
    NativeShutdown();

    double total = 0;
    for (int slot = 0; slot < kSlots; ++slot) {
      const double fps = static_cast<double>(locks[static_cast<std::size_t>(slot)]) / wall;
      state.counters["slot" + std::to_string(slot) + "_fps"] = fps;
      total += fps;
    }
    state.counters["all_slots_fps"] = total;
    state.counters["cpu_cores"] = cpu / wall;
    state.counters["cpu_pct_of_machine"] = 100.0 * cpu / wall / std::thread::hardware_concurrency();
    if (hostPolls) state.counters["host_fetches_per_slot_s"] = static_cast<double>(polls) / wall;
  }
}
BENCHMARK(BM_FourSlots1080p)
    ->ArgName("host_fetches")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  // Headless: SDL's dummy video driver, no sound device, and the engine's log
  // file written into the work directory.
  setenv("SDL_VIDEODRIVER", "dummy", 1);
  setenv("SDL_AUDIODRIVER", "dummy", 1);
  std::filesystem::current_path(WorkDir());
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
