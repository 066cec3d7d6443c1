// A small host for the library that behaves like a Unity script: it uses only
// the exported C interface, polls the event queue and pulls frames each tick,
// prints what happens, and saves a contact sheet of the frames it fetched.
// The engine's own messages (decoder warnings and the like, on standard error)
// go to a log file beside the sheet, so the output is the demo's lines only.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string.h>
#include <string>
#include <thread>
#include <vector>

#include "exports/korvid_exports.h"
#include "tools/contact_sheet.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::size_t kFrameBytes = 8294400;
constexpr auto kTick = std::chrono::milliseconds(40);  // a 25 Hz host loop

constexpr int kMaxSlots = 4;

struct Options {
  std::string location;
  std::string subtitles;
  std::vector<std::string> slots;
  bool autoPlay = true;
  int seekMs = -1;
  double seconds = 6.0;
  int tiles = 6;
  std::string sheet = "contact-sheet.png";
  std::string engineLog;  // default: engine.log beside the sheet
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
      "usage: korvid_demo --location PATH_OR_URL [--subtitles FILE.srt|MASTER.m3u8] [--no-autoplay]\n"
      "                   [--seek MS] [--seconds S] [--tiles N] [--sheet FILE.png] [--engine-log FILE]\n"
      "       korvid_demo --multi PATH_OR_URL [--multi ...] (up to four, side by side) [--seconds S]");
}

bool Parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--location" && hasValue) {
      options.location = argv[++i];
    } else if (arg == "--subtitles" && hasValue) {
      options.subtitles = argv[++i];
    } else if (arg == "--multi" && hasValue && options.slots.size() < kMaxSlots) {
      options.slots.push_back(argv[++i]);
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
    } else if (arg == "--engine-log" && hasValue) {
      options.engineLog = argv[++i];
    } else {
      return false;
    }
  }
  return !options.location.empty() || !options.slots.empty();
}

// Sends standard error (the engine, SDL and the audio output write there) to
// `path`; the demo itself prints only to standard output.
bool RedirectEngineMessages(const std::string& path) {
  if (std::freopen(path.c_str(), "w", stderr) != nullptr) return true;
  std::printf("could not open %s for the engine's messages\n", path.c_str());
  return false;
}

std::string BesideSheet(const std::string& sheet, const char* name) {
  const std::size_t slash = sheet.find_last_of("/\\");
  return slash == std::string::npos ? name : sheet.substr(0, slash + 1) + name;
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

// Prints the cue due now when it changes. The library returns the length of
// the text it copied (not terminated), or the previous length after clearing
// the buffer between cues.
class SubtitlePrinter {
 public:
  void update(double elapsed) {
    const int32_t length = NativeUpdateSubtitle(buffer_.data());
    if (length <= 0) return;
    const std::string text(buffer_.data(), strnlen(buffer_.data(), static_cast<std::size_t>(length)));
    if (text == shown_) return;
    shown_ = text;
    if (!text.empty()) std::printf("%6.2fs  subtitle at %6d ms: \"%s\"\n", elapsed, NativeGetCurrentTime(), Oneline(text).c_str());
  }

 private:
  static std::string Oneline(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    for (char& c : text) {
      if (c == '\n') c = '|';
      if (c == '\r') c = ' ';
    }
    return text;
  }

  std::vector<char> buffer_ = std::vector<char>(10000, 0);
  std::string shown_;
};

// Up to four slots playing side by side; one row of the sheet per sampling time.
int RunSlots(const Options& options) {
  const int count = static_cast<int>(options.slots.size());
  NativeSetMultiStream(count < 2 ? 2 : count);
  if (NativeInit(0) != 0) return 1;
  NativeSetAutoPlay(true);
  for (int i = 0; i < count; ++i) {
    std::printf("slot %d: %s\n", i, options.slots[static_cast<std::size_t>(i)].c_str());
    NativeStartChosenPlayer(i, options.slots[static_cast<std::size_t>(i)].c_str());
  }
  const auto start = Clock::now();
  const auto elapsed = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
  std::vector<uint8_t> frame(kFrameBytes);
  korvid::demo::ContactSheet sheet(count, 320);
  const int rows = 3;
  for (int row = 0; row < rows; ++row) {
    while (elapsed() < options.seconds * (row + 0.5) / rows) std::this_thread::sleep_for(kTick);
    for (int i = 0; i < count; ++i) {
      NativeControlInstance(i);
      NativeGetMultipleRawData(frame.data(), i);
      sheet.add(frame);
      std::printf("%6.2fs  slot %d  time %6d ms  duration %6d ms  state %s%s\n", elapsed(), i,
                  NativeMultiInstanceGetCurrentTime(i), NativeMultiInstanceGetTotalTime(i),
                  StateName(NativeGetPlayerState()), NativeMultiInstanceIsLive(i) ? "  live" : "");
    }
  }
  NativeShutdown();
  if (!sheet.writePng(options.sheet)) return 1;
  std::printf("contact sheet: %s (%d slots x %d times)\n", options.sheet.c_str(), count, rows);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!Parse(argc, argv, options)) {
    Usage();
    return 2;
  }
  if (options.engineLog.empty()) options.engineLog = BesideSheet(options.sheet, "engine.log");
  if (!RedirectEngineMessages(options.engineLog)) return 1;
  std::printf("engine messages go to %s\n", options.engineLog.c_str());
  if (!options.slots.empty()) return RunSlots(options);

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

  SubtitlePrinter subtitles;
  const bool withSubtitles = !options.subtitles.empty();
  if (withSubtitles) {
    std::printf("subtitles %s -> %s\n", options.subtitles.c_str(),
                NativeOpenSubtitleURI(options.subtitles.c_str()) ? "accepted" : "not accepted");
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
    if (withSubtitles) subtitles.update(elapsed());
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
    std::printf("could not write %s\n", options.sheet.c_str());
    return 1;
  }
  std::printf("contact sheet: %s (%zu frames)\n", options.sheet.c_str(), sheet.tiles());
  return 0;
}
