// The engine alone, without the library: the same pause-then-seek rounds as
// bench_seek_rounds, made with plain engine calls, to tell the engine's
// behaviour from the library's. Each round resumes the paused player, waits
// for its playing report, jumps and pauses, in one of these ways:
//   pause-at-once  the jump, then the pause straight after it (what a handler
//                  that "seeks then pauses" does);
//   pause-later    the jump, then the pause once a time report from playback
//                  after the jump's buffering has come.
// A round has landed when the paused engine's clock is within a second of the
// target.
//
//   bench_engine_seek_rounds [rounds per way, default 200]
#include <vlc/vlc.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/headless_env.h"
#include "support/media.h"

namespace {

using namespace std::chrono_literals;

// What the player reported, counted, with the last time report.
struct Reports {
  std::mutex mutex;
  std::condition_variable changed;
  long playing = 0, paused = 0, full = 0, times = 0, ended = 0;
  int64_t lastTime = -1;

  static void On(const libvlc_event_t* e, void* self) {
    auto* r = static_cast<Reports*>(self);
    {
      const std::lock_guard lock(r->mutex);
      switch (e->type) {
        case libvlc_MediaPlayerPlaying: ++r->playing; break;
        case libvlc_MediaPlayerPaused: ++r->paused; break;
        case libvlc_MediaPlayerEndReached: ++r->ended; break;
        case libvlc_MediaPlayerBuffering: r->full += e->u.media_player_buffering.new_cache == 100.0f; break;
        case libvlc_MediaPlayerTimeChanged:
          ++r->times;
          r->lastTime = e->u.media_player_time_changed.new_time;
          break;
        default: break;
      }
    }
    r->changed.notify_all();
  }
  // Waits up to 20 s for `condition`, read under the lock.
  bool Await(const std::function<bool()>& condition) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, 20s, condition);
  }
};

bool AwaitState(libvlc_media_player_t* player, libvlc_state_t state) {
  for (int i = 0; i < 4000; ++i) {
    if (libvlc_media_player_get_state(player) == state) return true;
    std::this_thread::sleep_for(5ms);
  }
  return false;
}

int Run(libvlc_instance_t* engine, const std::string& clip, bool pauseLater, int rounds) {
  libvlc_media_t* media = libvlc_media_new_path(engine, clip.c_str());
  libvlc_media_player_t* player = libvlc_media_player_new_from_media(media);
  libvlc_media_release(media);
  // Pictures into memory of our own, in the library's format.
  static std::vector<uint8_t> picture(1920 * 1080 * 4);
  libvlc_video_set_callbacks(
      player, [](void*, void** planes) -> void* { *planes = picture.data(); return nullptr; }, nullptr, nullptr, nullptr);
  libvlc_video_set_format(player, "RV32", 1920, 1080, 7680);
  Reports reports;
  libvlc_event_manager_t* events = libvlc_media_player_event_manager(player);
  for (const libvlc_event_type_t type : {libvlc_MediaPlayerPlaying, libvlc_MediaPlayerPaused, libvlc_MediaPlayerEndReached,
                                         libvlc_MediaPlayerBuffering, libvlc_MediaPlayerTimeChanged}) {
    libvlc_event_attach(events, type, &Reports::On, &reports);
  }
  libvlc_media_player_play(player);
  AwaitState(player, libvlc_Playing);
  libvlc_media_player_set_pause(player, 1);
  AwaitState(player, libvlc_Paused);

  std::mt19937 random(7);
  int lost = 0;
  int64_t position = libvlc_media_player_get_time(player);
  for (int round = 0; round < rounds; ++round) {
    const bool forward = round % 2 == 0 || position < 3000;
    const int64_t target = forward ? std::uniform_int_distribution<int64_t>(position + 1000, 18000)(random)
                                   : std::uniform_int_distribution<int64_t>(500, position - 1000)(random);
    long playing = 0, full = 0;
    {
      const std::lock_guard lock(reports.mutex);
      playing = reports.playing;
      full = reports.full;
    }
    libvlc_media_player_play(player);
    reports.Await([&] { return reports.playing > playing; });
    libvlc_media_player_set_time(player, target);
    if (pauseLater) {
      reports.Await([&] { return reports.full > full; });
      long times = 0;
      {
        const std::lock_guard lock(reports.mutex);
        times = reports.times;
      }
      reports.Await([&] { return reports.times > times; });
    }
    libvlc_media_player_set_pause(player, 1);
    AwaitState(player, libvlc_Paused);
    // Settled: the clock holds still for half a second.
    int64_t now = libvlc_media_player_get_time(player);
    for (int64_t before = -1; before != now; now = libvlc_media_player_get_time(player)) {
      before = now;
      std::this_thread::sleep_for(500ms);
    }
    if (std::llabs(now - target) > 1000) {
      ++lost;
      std::printf("  round %d: %lld -> %lld, clock %lld\n", round, static_cast<long long>(position),
                  static_cast<long long>(target), static_cast<long long>(now));
    }
    position = now;
  }
  libvlc_media_player_stop(player);
  libvlc_media_player_release(player);
  return lost;
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 200;
  korvid::test::EnterHeadlessEnvironment();
  // The library's start-up options, less its log file.
  const char* options[] = {"--ignore-config",   "--no-osd",     "--deinterlace=-1",      "--deinterlace-mode=auto",
                           "--ffmpeg-hw",       "--network-caching=250", "--drop-late-frames", "--skip-frames"};
  libvlc_instance_t* engine = libvlc_new(8, options);
  const std::string clip = korvid::test::ColourClip("red", 20);
  int failed = 0;
  for (const bool later : {false, true}) {
    const int lost = Run(engine, clip, later, rounds);
    std::printf("%-14s rounds %d  lost %d\n", later ? "pause-later" : "pause-at-once", rounds, lost);
    failed += lost;
  }
  libvlc_release(engine);
  return failed == 0 ? 0 : 1;
}
