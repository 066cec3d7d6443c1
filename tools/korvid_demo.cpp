// A small host for the library that behaves like a Unity script: it uses only
// the exported C interface, polls the event queue and pulls frames each tick,
// prints what happens, and saves a contact sheet of the frames it fetched.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "exports/korvid_exports.h"
#include "tools/contact_sheet.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::size_t kFrameBytes = 8294400;
constexpr auto kTick = std::chrono::milliseconds(40);  // a 25 Hz host loop

struct Options {
  std::string location;
  bool autoPlay = true;
  int seekMs = -1;
  double seconds = 6.0;
  int tiles = 6;
  std::string sheet = "contact-sheet.png";
};

const char* EventName(int32_t code) {
  switch (code) {
    case 1: return "ready";
    case 2: return "playing";
    case 3: return "end of content";
    case 6: return "buffering finished";
    case 9: return "paused";
    case 12: return "stopped";
    case 13: return "seek completed";
    case 14: return "buffering";
    case 257: return "opening";
    default: return "unknown";
  }
}

const char* StateName(int32_t state) {
  switch (state) {
    case 0: return "none";
    case 1: return "closed";
    case 2: return "stopped";
    case 3: return "playing";
    case 4: return "paused";
    default: return "?";
  }
}

void Usage() {
  std::puts(
      "usage: korvid_demo --location PATH_OR_URL [--no-autoplay] [--seek MS] [--seconds S]\n"
      "                   [--tiles N] [--sheet FILE.png]");
}

bool Parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--location" && hasValue) {
      options.location = argv[++i];
    } else if (arg == "--no-autoplay") {
      options.autoPlay = false;
    } else if (arg == "--seek" && hasValue) {
      options.seekMs = std::atoi(argv[++i]);
    } else if (arg == "--seconds" && hasValue) {
      options.seconds = std::atof(argv[++i]);
    } else if (arg == "--tiles" && hasValue) {
      options.tiles = std::max(1, std::atoi(argv[++i]));
    } else if (arg == "--sheet" && hasValue) {
      options.sheet = argv[++i];
    } else {
      return false;
    }
  }
  return !options.location.empty();
}

// Prints and pops every queued event, as a host does once per frame.
void PumpEvents(double elapsed) {
  while (!NativeQueueIsEmpty()) {
    const int32_t code = NativeQueueFrontParamEvent();
    NativeQueuePop();
    std::printf("%6.2fs  event %3d %-18s time %6d ms  duration %6d ms  state %s\n", elapsed, code, EventName(code),
                NativeGetCurrentTime(), NativeGetTotalTime(), StateName(NativeGetPlayerState()));
  }
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!Parse(argc, argv, options)) {
    Usage();
    return 2;
  }

  if (NativeInit(0) != 0) return 1;
  NativeSetAutoPlay(options.autoPlay);
  std::printf("opening %s\n", options.location.c_str());
  const auto start = Clock::now();
  const auto elapsed = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
  const int32_t opened = NativeOpenURI(options.location.c_str());
  std::printf("NativeOpenURI -> %d after %.2fs (live: %s)\n", opened, elapsed(), NativeIsLive() ? "yes" : "no");
  if (opened != 0) {
    NativeShutdown();
    return 1;
  }

  std::vector<uint8_t> frame(kFrameBytes);
  korvid::demo::ContactSheet sheet(3, 400);
  const double tileEvery = options.seconds / options.tiles;
  bool seekDone = options.seekMs < 0;
  while (elapsed() < options.seconds) {
    PumpEvents(elapsed());
    if (!seekDone && elapsed() > 1.0) {
      std::printf("%6.2fs  NativeSeek(%d) -> %d\n", elapsed(), options.seekMs, NativeSeek(options.seekMs));
      seekDone = true;
    }
    NativeGetRawData(frame.data());
    if (sheet.tiles() < static_cast<std::size_t>(options.tiles) && elapsed() >= tileEvery * (sheet.tiles() + 0.5)) {
      sheet.add(frame);
      std::printf("%6.2fs  frame %zu fetched at %d ms (%ux%u source)\n", elapsed(), sheet.tiles(),
                  NativeGetCurrentTime(), NativeGetVideoWidth(), NativeGetVideoHeight());
    }
    std::this_thread::sleep_for(kTick);
  }
  NativeStop();
  PumpEvents(elapsed());
  NativeShutdown();

  if (!sheet.writePng(options.sheet)) {
    std::fprintf(stderr, "could not write %s\n", options.sheet.c_str());
    return 1;
  }
  std::printf("contact sheet: %s (%zu frames)\n", options.sheet.c_str(), sheet.tiles());
  return 0;
}
