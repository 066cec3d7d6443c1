// Soak: the library cycled the way an editor enters and leaves play mode, many
// times in one process, on the real engine. Every open must return, nothing may
// crash, and resident memory after the warm-up cycles must stay within a fixed
// bound, so that whatever a cycle makes is released by its shut-down.
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "support/engine_session.h"
#include "support/media.h"

namespace korvid::test {
namespace {

constexpr int kSlots = 4;
// Cycles before the baseline is taken: the engine's plug-ins, fonts, codec
// tables and the allocator's arenas for its threads settle in these.
constexpr int kWarmUpCycles = 20;

// Growth allowed above the baseline, at any later sample. The allocator is set
// (once, below) to hand every block of 4 MB or more straight back to the
// system when it is freed: its default raises that threshold to the largest
// block freed so far, 16 MB frame copies here, and then keeps up to hundreds
// of MB of freed frames cached in its per-thread arenas, which malloc_trim
// cannot return. Resident memory is sampled after trimming, so it follows what
// the process still holds; between cycles it varies by a few MB. The bound is
// well below what a leak of any of a cycle's own objects would add over the
// run: one frame copy is 16.6 MB and one texture 8.3 MB, and even 100 KB per
// cycle comes to 18 MB after 180 cycles.
constexpr long kBoundBytes = 16L << 20;

long ResidentBytes() {
  malloc_trim(0);
  long pages = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

class Soak : public EngineTestOf<0> {
 protected:
  static void SetUpTestSuite() { mallopt(M_MMAP_THRESHOLD, 4 << 20) && mallopt(M_TRIM_THRESHOLD, 1 << 20); }

  // Runs `cycle` `count` times; resident memory after the warm-up is the
  // baseline, and no later sample may exceed it by more than the bound.
  void Cycles(const char* name, int count, const std::function<void(int)>& cycle) {
    long baseline = 0, peak = 0;
    for (int i = 0; i < count && !HasFatalFailure(); ++i) {
      SCOPED_TRACE(std::string(name) + ", cycle " + std::to_string(i));
      events_.clear();
      cycle(i);
      const long now = ResidentBytes();
      if (i + 1 == kWarmUpCycles) baseline = now;
      if (i + 1 > kWarmUpCycles) peak = std::max(peak, now);
    }
    std::printf("%s: baseline %.1f MB, peak %.1f MB\n", name, baseline / 1048576.0, peak / 1048576.0);
    EXPECT_LE(peak - baseline, kBoundBytes) << name;
  }
  bool AllSlotsIn(int32_t state) {
    return Until(
        [&] { return SlotState(0) == state && SlotState(1) == state && SlotState(2) == state && SlotState(3) == state; });
  }

  const std::string clip_ = ColourClip("red", 4);  // with sound, a key frame every second so that seeks land quickly
};

TEST_F(Soak, StartUpOpenPauseSeekStopShutDown) {
  Cycles("single player, full cycles", 200, [&](int) {
    ASSERT_EQ(NativeInit(0), 0);
    NativeSetAutoPlay(true);
    ASSERT_EQ(OpenWithin(clip_, 30s), 0);
    ASSERT_TRUE(WaitFor(6)) << Seen();  // the first buffering completes
    EXPECT_EQ(NativeGetRawData(frame_.data()), kFrameBytes);
    EXPECT_EQ(NativePause(), 0);
    ASSERT_TRUE(WaitFor(9)) << Seen();
    EXPECT_EQ(NativeSeek(2000), 0);  // paused: the engine starts again, jumps, and pauses there
    ASSERT_TRUE(WaitFor(13)) << Seen() << " state " << NativeGetPlayerState();
    EXPECT_EQ(NativeStop(), 0);
    EXPECT_EQ(NativeGetPlayerState(), 2);
    NativeShutdown();
  });
}

TEST_F(Soak, ReopensOnOnePlayer) {
  ASSERT_EQ(StartUp(), 0);
  NativeSetAutoPlay(true);
  const std::string other = ColourClip("blue", 4, true);
  Cycles("single player, re-opens", 100, [&](int i) {
    ASSERT_EQ(OpenWithin(i % 2 == 0 ? clip_ : other, 30s), 0);
    ASSERT_TRUE(WaitFor(2)) << Seen();
  });
}

// Slots have no event handlers: each is steered through the chosen-slot exports and watched by polling.
TEST_F(Soak, FourSlotsStartControlShutDown) {
  Cycles("four slots, full cycles", 200, [&](int) {
    ASSERT_EQ(StartUp(kSlots), 0);
    for (int32_t slot = 0; slot < kSlots; ++slot) NativeStartChosenPlayer(slot, clip_.c_str());
    ASSERT_TRUE(AllSlotsIn(3));
    for (int32_t slot = 0; slot < kSlots; ++slot) {
      EXPECT_EQ(NativeGetMultipleRawData(frame_.data(), slot), kFrameBytes);
      NativeControlInstance(slot);
      EXPECT_EQ(NativeSeek(2000), 0) << slot;
      EXPECT_EQ(NativePause(), 0);
    }
    ASSERT_TRUE(AllSlotsIn(4));
    EXPECT_EQ(NativeMultiInstanceStop(1), 0);
    NativeControlInstance(3);
    EXPECT_EQ(NativeStop(), 0);
    NativeShutdown();
  });
}

TEST_F(Soak, RestartsInOneSlot) {
  ASSERT_EQ(StartUp(kSlots), 0);
  for (int32_t slot = 1; slot < kSlots; ++slot) NativeStartChosenPlayer(slot, clip_.c_str());
  Cycles("four slots, restarts in slot 0", 100, [&](int) {
    NativeStartChosenPlayer(0, clip_.c_str());
    ASSERT_TRUE(Until([] { return SlotState(0) == 3; }));
    EXPECT_EQ(NativeGetMultipleRawData(frame_.data(), 0), kFrameBytes);
  });
}

}  // namespace
}  // namespace korvid::test
