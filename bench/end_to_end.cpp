// End to end: the library against a minimal engine client, both decoding the
// same 10-second 1920 x 1080 60 fps clip.
//
// The client uses the engine directly with the options the library starts it
// with (engine::AcceptedOptions), its own RV32 1920 x 1080 buffer and video
// callbacks that only hand the buffer out and count pictures. The library is
// driven the way a host drives it: NativeOpenURI, then a loop at the clip's
// display rate (60 Hz) that fetches the picture with NativeGetRawData each
// time and drains the event queue, until end of content.
//
// Three clips, the same test pattern each time: "flat", whose large even areas
// make decoding unusually cheap; "streaming", under light moving grain at the
// 8 Mbit/s a 1080p60 stream commonly has; and "detailed", under heavier grain
// at a camera-like bit rate. A fetch costs the same on all three (8 MB read,
// 8 MB written), so the cheaper a clip decodes, the higher its ratio.
//
// Each run is a child process of its own, so that CPU time is the process's
// alone and no engine state carries over; runs alternate between the sides.
// Per run: the process CPU time (all threads) from just before the open or
// play to the end of content, divided by the wall time of that span (the
// played seconds), and the number of pictures delivered.
//
// Pictures: the client counts its lock callbacks. For the library the parent
// counts the "sdl_lock" lines its method log prints, one per lock callback,
// that is one per picture the engine delivers into the library's frame copy;
// the child's standard output is a pipe the parent reads, so the counting
// costs the child only the print itself. Each round also plays the library
// under a host that never fetches: what the library costs apart from the
// fetch. Checks on the flat clip, kept out of the runs whose CPU time counts:
// a run with the log off (does printing distort the figure?) and a run that
// compares each fetched frame with the one before it and counts the distinct
// frames a 60 Hz host sees.
//
// Targets: the library costs at most 1.15 x the client's CPU per played second
// and delivers at least 98% of the client's pictures (medians of the rounds).
//
//   bench_end_to_end [rounds]        (default 5)
#include <time.h>
#include <unistd.h>
#include <vlc/vlc.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "core/engine_adapter.h"
#include "core/platform.h"
#include "exports/korvid_exports.h"
#include "support/headless_env.h"
#include "video/frame_geometry.h"

namespace {

using Clock = std::chrono::steady_clock;
using korvid::video::kFrameBytes;
using korvid::video::kFrameHeight;
using korvid::video::kFramePitch;
using korvid::video::kFrameWidth;

constexpr int kClipSeconds = 10;
constexpr int kClipRate = 60;
constexpr auto kDisplayInterval = std::chrono::nanoseconds(1'000'000'000 / kClipRate);
constexpr double kCpuRatioTarget = 1.15;
constexpr double kPictureShareTarget = 0.98;
constexpr const char* kLockLogLine = "Korvid Native Windows Log : method : sdl_lock (L 500)";

double ProcessCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

struct RunResult {
  double cpuSeconds = 0;
  double playedSeconds = 0;
  long pictures = 0;          // lock callbacks (client) or "sdl_lock" lines (library)
  long distinctFetched = -1;  // library only
  double cpuPerPlayedSecond() const { return cpuSeconds / playedSeconds; }
};

// --- the minimal client -------------------------------------------------------

class MinimalClient {
 public:
  explicit MinimalClient(const std::string& clip) : buffer_(kFrameBytes) {
    const std::vector<const char*> options =
        korvid::engine::AcceptedOptions(libvlc_get_version(), korvid::platform::kIsWindows);
    engine_.reset(libvlc_new(static_cast<int>(options.size()), options.data()));
    if (!engine_) throw std::runtime_error("the engine did not start");
    std::unique_ptr<libvlc_media_t, void (*)(libvlc_media_t*)> media(libvlc_media_new_path(engine_.get(), clip.c_str()),
                                                                      &libvlc_media_release);
    player_.reset(libvlc_media_player_new_from_media(media.get()));
    libvlc_video_set_callbacks(player_.get(), &Lock, &Unlock, &Display, this);
    libvlc_video_set_format(player_.get(), "RV32", kFrameWidth, kFrameHeight, kFramePitch);
    libvlc_event_manager_t* events = libvlc_media_player_event_manager(player_.get());
    libvlc_event_attach(events, libvlc_MediaPlayerEndReached, &OnEnd, this);
    libvlc_event_attach(events, libvlc_MediaPlayerEncounteredError, &OnEnd, this);
  }
  ~MinimalClient() {
    // Stopped before release, so no callback runs into a half-destroyed client.
    if (player_) libvlc_media_player_stop(player_.get());
  }

  RunResult play() {
    RunResult result;
    const double cpuBefore = ProcessCpuSeconds();
    const Clock::time_point start = Clock::now();
    libvlc_media_player_play(player_.get());
    {
      std::unique_lock lock(mutex_);
      ended_.wait(lock, [&] { return end_; });
    }
    result.playedSeconds = SecondsSince(start);
    result.cpuSeconds = ProcessCpuSeconds() - cpuBefore;
    result.pictures = pictures_;
    return result;
  }

 private:
  static void* Lock(void* self, void** planes) {
    auto* client = static_cast<MinimalClient*>(self);
    ++client->pictures_;
    planes[0] = client->buffer_.data();
    return nullptr;
  }
  static void Unlock(void*, void*, void* const*) {}
  static void Display(void*, void*) {}
  static void OnEnd(const libvlc_event_t*, void* self) {
    auto* client = static_cast<MinimalClient*>(self);
    {
      const std::lock_guard lock(client->mutex_);
      client->end_ = true;
    }
    client->ended_.notify_all();
  }

  std::vector<uint8_t> buffer_;
  long pictures_ = 0;  // video thread only until the end is reported
  std::mutex mutex_;
  std::condition_variable ended_;
  bool end_ = false;
  // Released player first, engine last.
  std::unique_ptr<libvlc_instance_t, void (*)(libvlc_instance_t*)> engine_{nullptr, &libvlc_release};
  std::unique_ptr<libvlc_media_player_t, void (*)(libvlc_media_player_t*)> player_{nullptr,
                                                                                  &libvlc_media_player_release};
};

// --- the library under a host loop ----------------------------------------------

// How a library run's host loop treats what it fetches.
enum class HostLoop {
  kFetchOnly,      // the host's work: fetch, drain the queue
  kCountDistinct,  // also compare each frame with the previous one
  kNoFetch,        // only drain the queue
};

RunResult PlayThroughLibrary(const std::string& clip, bool log, HostLoop loop) {
  RunResult result;
  std::vector<uint8_t> frames[2] = {std::vector<uint8_t>(kFrameBytes), std::vector<uint8_t>(kFrameBytes)};
  NativeInit(log ? 1 : 0);
  NativeSetAutoPlay(true);
  const double cpuBefore = ProcessCpuSeconds();
  const Clock::time_point start = Clock::now();
  if (NativeOpenURI(clip.c_str()) != 0) throw std::runtime_error("the library did not open the clip");
  long distinct = 0;
  long fetches = 0;
  bool ended = false;
  for (Clock::time_point tick = Clock::now(); !ended; tick += kDisplayInterval) {
    std::this_thread::sleep_until(tick);
    // One buffer, as a host has; the distinct count alternates two to compare.
    std::vector<uint8_t>& frame = frames[loop == HostLoop::kCountDistinct ? fetches % 2 : 0];
    if (loop != HostLoop::kNoFetch) NativeGetRawData(frame.data());
    if (loop == HostLoop::kCountDistinct && (fetches == 0 || frame != frames[(fetches + 1) % 2])) ++distinct;
    ++fetches;
    while (!NativeQueueIsEmpty()) {
      ended = ended || NativeQueueFrontParamEvent() == 3;
      NativeQueuePop();
    }
  }
  result.playedSeconds = SecondsSince(start);
  result.cpuSeconds = ProcessCpuSeconds() - cpuBefore;
  if (loop == HostLoop::kCountDistinct) result.distinctFetched = distinct;
  std::fflush(stdout);
  NativeShutdown();
  return result;
}

// --- runs in child processes --------------------------------------------------

// Child side: plays once and writes its result to `resultFile`.
int RunSide(const std::string& side, const std::string& clip, const std::string& resultFile) {
  RunResult result;
  if (side == "client") {
    MinimalClient client(clip);
    result = client.play();
  } else {
    const HostLoop loop = side == "library-distinct" ? HostLoop::kCountDistinct
                          : side == "library-nofetch" ? HostLoop::kNoFetch
                                                      : HostLoop::kFetchOnly;
    result = PlayThroughLibrary(clip, side == "library-log", loop);
  }
  std::ofstream(resultFile) << result.cpuSeconds << ' ' << result.playedSeconds << ' ' << result.pictures << ' '
                            << result.distinctFetched << '\n';
  return 0;
}

// Parent side: runs one side in a child, counting the library's lock lines on
// the way.
RunResult RunChild(const std::string& side, const std::string& clip) {
  const std::string resultFile = korvid::test::WorkDir() + "/result-" + side;
  const std::string command = "exec " + korvid::test::ShellQuote(std::filesystem::read_symlink("/proc/self/exe")) +
                              " --side " + side + " " + korvid::test::ShellQuote(clip) + " " +
                              korvid::test::ShellQuote(resultFile) + " 2>/dev/null";
  const std::unique_ptr<FILE, int (*)(FILE*)> child(popen(command.c_str(), "r"), &pclose);
  if (!child) throw std::runtime_error("cannot start " + command);
  long lockLines = 0;
  char line[512];
  while (std::fgets(line, sizeof line, child.get()) != nullptr) {
    if (std::strncmp(line, kLockLogLine, std::strlen(kLockLogLine)) == 0) ++lockLines;
  }
  RunResult result;
  std::ifstream(resultFile) >> result.cpuSeconds >> result.playedSeconds >> result.pictures >> result.distinctFetched;
  if (side != "client") result.pictures = lockLines;
  if (result.playedSeconds <= 0) throw std::runtime_error(side + " run gave no result");
  return result;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

struct Clip {
  const char* name;
  const char* filters;  // ffmpeg's lavfi source and filters
  const char* quality;  // encoder settings
};

constexpr Clip kClips[] = {
    {"flat", "testsrc2=s=1920x1080:r=60", "-preset veryfast"},
    {"streaming", "testsrc2=s=1920x1080:r=60,noise=alls=6:allf=t+u",
     "-preset veryfast -b:v 8M -maxrate 8M -bufsize 16M"},
    {"detailed", "testsrc2=s=1920x1080:r=60,noise=alls=12:allf=t+u", "-preset veryfast -crf 20"},
};

std::string MakeClip(const Clip& clip) {
  const std::string path = korvid::test::WorkDir() + "/" + clip.name + "-1080p60.mp4";
  std::printf("making the %s clip (%d s of 1920x1080 at 60 fps, H.264)...\n", clip.name, kClipSeconds);
  std::fflush(stdout);
  korvid::test::RunCommand("ffmpeg -nostdin -loglevel error -y -f lavfi -i " + korvid::test::ShellQuote(clip.filters) +
                           " -t " + std::to_string(kClipSeconds) + " -c:v libx264 " + clip.quality +
                           " -pix_fmt yuv420p -g 120 " + korvid::test::ShellQuote(path));
  return path;
}

void Print(const char* label, const RunResult& r) {
  std::printf("  %-9s played %6.2f s  CPU %6.2f s  CPU/played s %5.3f  pictures %4ld", label, r.playedSeconds,
              r.cpuSeconds, r.cpuPerPlayedSecond(), r.pictures);
  if (r.distinctFetched >= 0) std::printf("  distinct fetched %4ld", r.distinctFetched);
  std::printf("\n");
  std::fflush(stdout);
}

struct Verdict {
  double clientCpu, libraryCpu, noFetchCpu, cpuRatio, pictureShare;
  bool met() const { return cpuRatio <= kCpuRatioTarget && pictureShare >= kPictureShareTarget; }
};

Verdict Compare(const std::string& path, int rounds) {
  std::vector<double> clientCpu, libraryCpu, noFetchCpu, clientPictures, libraryPictures;
  for (int round = 0; round < rounds; ++round) {
    std::printf("round %d\n", round + 1);
    const RunResult client = RunChild("client", path);
    Print("client", client);
    const RunResult library = RunChild("library-log", path);
    Print("library", library);
    const RunResult noFetch = RunChild("library-nofetch", path);
    Print("no fetch", noFetch);
    noFetchCpu.push_back(noFetch.cpuPerPlayedSecond());
    clientCpu.push_back(client.cpuPerPlayedSecond());
    libraryCpu.push_back(library.cpuPerPlayedSecond());
    clientPictures.push_back(static_cast<double>(client.pictures));
    libraryPictures.push_back(static_cast<double>(library.pictures));
  }
  const Verdict v{Median(clientCpu), Median(libraryCpu), Median(noFetchCpu), Median(libraryCpu) / Median(clientCpu),
                  Median(libraryPictures) / Median(clientPictures)};
  std::printf("medians: client %.3f CPU s per played s, %.0f pictures; library %.3f, %.0f pictures\n", v.clientCpu,
              Median(clientPictures), v.libraryCpu, Median(libraryPictures));
  std::printf("library without fetching: %.3f, %.3fx the client's; the fetches cost %.3f CPU s per played s\n",
              v.noFetchCpu, v.noFetchCpu / v.clientCpu, v.libraryCpu - v.noFetchCpu);
  std::printf("CPU ratio %.3f (target at most %.2f): %s\n", v.cpuRatio, kCpuRatioTarget,
              v.cpuRatio <= kCpuRatioTarget ? "met" : "NOT MET");
  std::printf("pictures %.1f%% of the client's (target at least %.0f%%): %s\n\n", 100 * v.pictureShare,
              100 * kPictureShareTarget, v.pictureShare >= kPictureShareTarget ? "met" : "NOT MET");
  return v;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 5 && std::string(argv[1]) == "--side") return RunSide(argv[2], argv[3], argv[4]);

  const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
  korvid::test::EnterHeadlessEnvironment();
  std::vector<std::string> paths;
  for (const Clip& clip : kClips) paths.push_back(MakeClip(clip));

  bool allMet = true;
  Verdict flat{};
  for (std::size_t i = 0; i < paths.size(); ++i) {
    std::printf("\n== %s clip\n", kClips[i].name);
    const Verdict v = Compare(paths[i], rounds);
    if (i == 0) flat = v;
    allMet = allMet && v.met();
  }

  std::printf("== checks on the flat clip\n");
  const RunResult quiet = RunChild("library-quiet", paths[0]);
  Print("log off", quiet);
  const RunResult distinct = RunChild("library-distinct", paths[0]);
  Print("distinct", distinct);
  std::printf("log off: %.3f CPU s per played s (log on: %.3f)\n", quiet.cpuPerPlayedSecond(), flat.libraryCpu);
  std::printf("distinct frames fetched by a 60 Hz host: %ld\n", distinct.distinctFetched);

  std::error_code ignored;
  std::filesystem::remove_all(korvid::test::WorkDir(), ignored);
  return allMet ? 0 : 1;
}
