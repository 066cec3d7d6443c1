// Memory growth per cycle: the library's soak rounds against a bare engine
// client that makes and releases the same engine objects.
//
// Six kinds of round, each run in a process of its own:
//   library-single  start-up, open, a second open that replaces the playing
//                   clip, pause, seek, stop, shut-down (as tests/soak does);
//   library-four    start-up with four slots, each started, slot 0 started
//                   again, each sought and paused, stopped two ways, shut-down;
//   bare-single     the engine alone: one instance, one player with video
//                   callbacks, two media played in turn, pause, seek, stop,
//                   everything released (the engine objects of library-single);
//   bare-four       four instances, five players with video callbacks, five
//                   media (those of library-four), the same steps;
//   bare-*-kept     the same with one more instance made before the first
//                   round and held through all of them, so that the engine
//                   never runs out of instances (the library holds one so).
// After every round the allocator is trimmed and three figures are taken:
// resident memory, the bytes the allocator has handed out and not had back
// (its arenas and its separately mapped blocks together), and the bytes of
// separately mapped blocks alone (every block of 4 MB or more: frame copies,
// textures, the engine's picture pools). Each figure's growth per cycle is the
// least-squares slope over the rounds after the warm-up. The bare client's
// slope is the engine's; what the library shows beyond it is the library's.
//
//   bench_soak_growth [cycles [warm-up]]        every kind (default 220 and 20: 200 measured)
//   bench_soak_growth KIND cycles warm-up       one kind, in this process
//
// Measured (2 cores, libvlc 3.0.24; 200 rounds after 20), bytes handed out
// per cycle: bare-single 13,078, bare-four 13,077, and with an instance kept
// 36 and 36: the engine keeps about 13 KB each time its last instance goes
// and it loads its plug-ins again, whatever the number of instances made. The
// library's rounds, before it held an instance, 13,084 and 13,093; since then
// 49 and 56. Big blocks stay the same in every kind.
#include <malloc.h>
#include <unistd.h>
#include <vlc/vlc.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/heap_growth.h"
#include "core/engine_adapter.h"
#include "exports/korvid_exports.h"
#include "support/headless_env.h"
#include "support/media.h"
#include "video/frame_geometry.h"

namespace {

using namespace std::chrono_literals;
using korvid::video::kFrameBytes;

using korvid::bench::HeapSample;
using korvid::bench::Slope;

// Polls `condition` every 10 ms for up to 20 s; false if it never held.
bool Until(const std::function<bool()>& condition) {
  for (const auto deadline = std::chrono::steady_clock::now() + 20s; !condition();) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "round failed: %s\n", what);
  std::exit(1);
}

// ---- the library, through its exports ----

std::vector<int32_t> events;
bool SawEvent(int32_t code) {
  for (; !NativeQueueIsEmpty(); NativeQueuePop()) events.push_back(NativeQueueFrontParamEvent());
  for (const int32_t e : events) {
    if (e == code) return true;
  }
  return false;
}
void WaitForEvent(int32_t code) {
  if (!Until([&] { return SawEvent(code); })) Fail("event");
}
int32_t SlotState(int32_t slot) {
  NativeControlInstance(slot);
  return NativeGetPlayerState();
}
void WaitForSlots(int32_t state) {
  const auto allIn = [&] {
    return SlotState(0) == state && SlotState(1) == state && SlotState(2) == state && SlotState(3) == state;
  };
  if (!Until(allIn)) Fail("slot state");
}

void LibrarySingle(const std::string& clip, const std::string& other) {
  if (NativeInit(0) != 0) Fail("start-up");
  NativeSetAutoPlay(true);
  events.clear();
  if (NativeOpenURI(other.c_str()) != 0) Fail("open");
  WaitForEvent(2);
  events.clear();
  if (NativeOpenURI(clip.c_str()) != 0) Fail("open");
  WaitForEvent(6);
  NativePause();
  WaitForEvent(9);
  NativeSeek(2000);
  WaitForEvent(13);
  NativeStop();
  NativeShutdown();
}

void LibraryFour(const std::string& clip, const std::string& other) {
  static std::vector<uint8_t> frame(kFrameBytes);
  NativeSetMultiStream(4);
  NativeInit(0);
  for (int32_t slot = 0; slot < 4; ++slot) NativeStartChosenPlayer(slot, (slot == 0 ? other : clip).c_str());
  WaitForSlots(3);
  NativeStartChosenPlayer(0, clip.c_str());
  WaitForSlots(3);
  for (int32_t slot = 0; slot < 4; ++slot) {
    NativeGetMultipleRawData(frame.data(), slot);
    NativeControlInstance(slot);
    NativeSeek(2000);
    NativePause();
  }
  WaitForSlots(4);
  NativeMultiInstanceStop(1);
  NativeControlInstance(3);
  NativeStop();
  NativeShutdown();
}

// ---- the bare client: the engine's own calls, nothing of the library ----

using Engine = std::unique_ptr<libvlc_instance_t, decltype(&libvlc_release)>;
using Player = std::unique_ptr<libvlc_media_player_t, decltype(&libvlc_media_player_release)>;
using Media = std::unique_ptr<libvlc_media_t, decltype(&libvlc_media_release)>;

// One picture's memory for every player: the client's own, made once.
void* BareLock(void*, void** planes) {
  static std::vector<uint8_t> picture(kFrameBytes);
  planes[0] = picture.data();
  return nullptr;
}

Engine NewEngine() {
  Engine engine(korvid::engine::NewInstance(), &libvlc_release);
  if (!engine) Fail("engine");
  return engine;
}
Media NewMedia(libvlc_instance_t* engine, const std::string& path) {
  return Media(libvlc_media_new_path(engine, path.c_str()), &libvlc_media_release);
}
Player NewPlayer(libvlc_instance_t* engine) {
  Player player(libvlc_media_player_new(engine), &libvlc_media_player_release);
  libvlc_video_set_callbacks(player.get(), &BareLock, nullptr, nullptr, nullptr);
  libvlc_video_set_format(player.get(), "RV32", korvid::video::kFrameWidth, korvid::video::kFrameHeight,
                          korvid::video::kFramePitch);
  return player;
}
void Play(libvlc_media_player_t* player, libvlc_media_t* media) {
  libvlc_media_player_set_media(player, media);
  libvlc_media_player_play(player);
}
void WaitForState(libvlc_media_player_t* player, libvlc_state_t state) {
  if (!Until([&] { return libvlc_media_player_get_state(player) == state; })) Fail("engine state");
}
void PauseAndSeek(libvlc_media_player_t* player) {
  libvlc_media_player_set_pause(player, 1);
  WaitForState(player, libvlc_Paused);
  libvlc_media_player_set_time(player, 2000);
}

void BareSingle(const std::string& clip, const std::string& other) {
  Engine engine = NewEngine();
  Player player = NewPlayer(engine.get());
  Media first = NewMedia(engine.get(), other);
  Media second = NewMedia(engine.get(), clip);
  Play(player.get(), first.get());
  WaitForState(player.get(), libvlc_Playing);
  Play(player.get(), second.get());
  WaitForState(player.get(), libvlc_Playing);
  PauseAndSeek(player.get());
  libvlc_media_player_stop(player.get());
}

void BareFour(const std::string& clip, const std::string& other) {
  std::vector<Engine> engines;
  std::vector<Player> players;
  std::vector<Media> media;
  for (int slot = 0; slot < 4; ++slot) engines.push_back(NewEngine());
  for (int slot = 0; slot < 4; ++slot) {
    media.push_back(NewMedia(engines[static_cast<std::size_t>(slot)].get(), slot == 0 ? other : clip));
    players.push_back(NewPlayer(engines[static_cast<std::size_t>(slot)].get()));
    Play(players.back().get(), media.back().get());
  }
  for (auto& p : players) WaitForState(p.get(), libvlc_Playing);
  media.push_back(NewMedia(engines[0].get(), clip));  // slot 0 again: a new player with a new media
  players[0] = NewPlayer(engines[0].get());
  Play(players[0].get(), media.back().get());
  WaitForState(players[0].get(), libvlc_Playing);
  for (auto& p : players) PauseAndSeek(p.get());
  for (auto& p : players) libvlc_media_player_stop(p.get());
  players.clear();
  media.clear();
}

int RunKind(const std::string& kind, int cycles, int warmUp) {
  mallopt(M_MMAP_THRESHOLD, 4 << 20);
  mallopt(M_TRIM_THRESHOLD, 1 << 20);
  korvid::test::EnterHeadlessEnvironment();
  const std::string clip = korvid::test::ColourClip("red", 4);
  const std::string other = korvid::test::ColourClip("blue", 4, true);
  const std::array<std::pair<const char*, void (*)(const std::string&, const std::string&)>, 4> kinds{{
      {"library-single", &LibrarySingle},
      {"library-four", &LibraryFour},
      {"bare-single", &BareSingle},
      {"bare-four", &BareFour},
  }};
  void (*round)(const std::string&, const std::string&) = nullptr;
  for (const auto& [name, body] : kinds) {
    if (kind == name || kind == std::string(name) + "-kept") round = body;
  }
  if (round == nullptr) Fail("unknown kind");
  // "-kept": one more instance held through every round, as the library holds one.
  const bool kept = kind.size() > 5 && kind.compare(kind.size() - 5, 5, "-kept") == 0;
  const Engine holder(kept ? NewEngine() : Engine(nullptr, &libvlc_release));
  std::vector<double> resident, handedOut, bigBlocks;
  const auto started = std::chrono::steady_clock::now();
  for (int i = 0; i < cycles; ++i) {
    round(clip, other);
    const HeapSample s = korvid::bench::MeasureHeap();
    if (i < warmUp) continue;
    resident.push_back(s.resident);
    handedOut.push_back(s.handedOut);
    bigBlocks.push_back(s.bigBlocks);
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  std::printf("%-15s %3d cycles after %2d: resident %+9.0f B/cycle, handed out %+9.0f B/cycle, "
              "big blocks %+9.0f B/cycle (last %.0f); %.2f s/cycle\n",
              kind.c_str(), cycles - warmUp, warmUp, Slope(resident), Slope(handedOut), Slope(bigBlocks),
              bigBlocks.back(), seconds / cycles);
  std::error_code ignored;
  std::filesystem::remove_all(korvid::test::WorkDir(), ignored);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4) return RunKind(argv[1], std::atoi(argv[2]), std::atoi(argv[3]));
  const std::string cycles = argc > 1 ? argv[1] : "220";
  const std::string warmUp = argc > 2 ? argv[2] : "20";
  int failures = 0;
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  for (const char* kind :
       {"library-single", "library-four", "bare-single", "bare-four", "bare-single-kept", "bare-four-kept"}) {
    const std::string command = self + " " + kind + " " + cycles + " " + warmUp;
    failures += std::system(command.c_str()) != 0;
  }
  return failures == 0 ? 0 : 1;
}
