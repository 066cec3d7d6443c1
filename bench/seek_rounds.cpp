// Pause-then-seek rounds on a paused player, the way a host's scrub bar uses
// it: each seek is issued once, as soon as the previous one has landed (so
// often while the engine's pause reports still arrive), alternately before and
// after the current position, on a clip with a key frame every second and on
// one with the encoder's sparse key frames. A seek has landed when its
// completion (13) is queued, the state reads paused (4), the engine is paused
// and the clock stands within a key-frame interval of the target (1 s and
// 10 s); it is lost when the clock stands nearer the previous position.
//
//   bench_seek_rounds [rounds per clip, default 250]
//
// Prints each failed round with the events since its seek, and a summary; the
// exit status is non-zero when any round failed.
#include <vlc/vlc.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "support/headless_env.h"
#include "support/media.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::vector<int32_t> Drain() {
  std::vector<int32_t> events;
  for (; !NativeQueueIsEmpty(); NativeQueuePop()) events.push_back(NativeQueueFrontParamEvent());
  return events;
}

std::string Text(const std::vector<int32_t>& events) {
  std::string text;
  for (const int32_t e : events) text += std::to_string(e) + " ";
  return text;
}

libvlc_state_t EngineState() { return libvlc_media_player_get_state(korvid::Record().mainPlayer.get()); }

// Polls `condition` every 5 ms, collecting events, until it holds or 20 s pass.
bool Until(std::vector<int32_t>& events, const std::function<bool()>& condition) {
  for (const auto deadline = Clock::now() + 20s;; std::this_thread::sleep_for(5ms)) {
    for (const int32_t e : Drain()) events.push_back(e);
    if (condition()) return true;
    if (Clock::now() >= deadline) return false;
  }
}

struct Tally {
  int64_t offSum = 0;  // landed rounds: how far from the target the clock stopped, in ms
  int32_t offMax = 0;
  int rounds = 0;
  int lost = 0;
  int ended = 0;
  int other = 0;
};

Tally Run(const char* label, const std::string& clip, int32_t lengthMs, int32_t keyIntervalMs, int rounds) {
  Tally tally;
  NativeInit(0);
  NativeSetAutoPlay(false);
  if (NativeOpenURI(clip.c_str()) != 0) {
    std::printf("%s: the clip did not open\n", label);
    tally.other = rounds;
    return tally;
  }
  std::vector<int32_t> events;
  Until(events, [] { return NativeGetPlayerState() == 4 && EngineState() == libvlc_Paused; });

  std::mt19937 random(7);
  int32_t position = 0;
  for (int round = 0; round < rounds; ++round) {
    // Alternately before and after the current position, away from both ends.
    const bool forward = round % 2 == 0 || position < 3000;
    const int32_t low = forward ? position + 1000 : 500;
    const int32_t high = forward ? lengthMs - 2000 : position - 1000;
    const int32_t target = low >= high ? lengthMs / 2 : std::uniform_int_distribution<int32_t>(low, high)(random);

    events.clear();
    const int32_t answered = NativeSeek(target);
    int32_t now = -1;
    const bool landed = answered == 0 && Until(events, [&] {
      now = NativeGetCurrentTime();
      return std::count(events.begin(), events.end(), 13) > 0 && NativeGetPlayerState() == 4 &&
             EngineState() == libvlc_Paused && std::abs(now - target) <= keyIntervalMs;
    });
    ++tally.rounds;
    if (landed) {
      tally.offSum += std::abs(now - target);
      tally.offMax = std::max(tally.offMax, std::abs(now - target));
      position = now;
      continue;
    }
    const bool ended = EngineState() == libvlc_Ended || std::count(events.begin(), events.end(), 3) > 0;
    const bool lost = !ended && std::abs(now - position) < std::abs(now - target);
    (ended ? tally.ended : lost ? tally.lost : tally.other) += 1;
    std::printf("%s round %d: seek %d -> %d answered %d, clock %d, state %d, engine %d, events %s\n", label, round,
                position, target, answered, now, NativeGetPlayerState(), static_cast<int>(EngineState()),
                Text(events).c_str());
    std::fflush(stdout);
    if (ended) break;  // nothing to seek any more
    position = now;
  }
  NativeShutdown();
  const int landed = tally.rounds - tally.lost - tally.ended - tally.other;
  std::printf("%-30s rounds %4d  landed %4d  lost %3d  ended %3d  other %3d  clock off the target: mean %lld ms, most %d ms\n",
              label, tally.rounds, landed, tally.lost, tally.ended, tally.other,
              static_cast<long long>(landed > 0 ? tally.offSum / landed : 0), tally.offMax);
  return tally;
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 250;
  korvid::test::EnterHeadlessEnvironment();
  const Tally dense =
      Run("key frame every second, 20 s", korvid::test::ColourClip("red", 20), 20000, 1000, rounds);
  const Tally sparse = Run("sparse key frames, 20 s", korvid::test::SparseKeyFrameClip(20), 20000, 10000, rounds);
  const int failed = dense.lost + dense.ended + dense.other + sparse.lost + sparse.ended + sparse.other;
  std::printf("%d of %d seeks failed\n", failed, dense.rounds + sparse.rounds);
  return failed == 0 ? 0 : 1;
}
