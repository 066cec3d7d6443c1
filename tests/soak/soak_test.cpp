// Soak: the library cycled the way an editor enters and leaves play mode, many
// times in one process, on the real engine. Every open must return (a hung
// run fails at ctest's time limit), nothing may crash, and resident memory
// after the warm-up cycles must stay within a fixed bound, so that whatever a
// cycle makes is released by its shut-down (or by the open or start that
// replaces it).
#include <malloc.h>
#include <unistd.h>

#include <fstream>

#include "support/engine_session.h"

namespace korvid::test {
namespace {

constexpr int kSlots = 4;
// Cycles before the baseline is taken: the engine's plug-ins, fonts, codec
// tables and the allocator's arenas for its threads settle in these.
constexpr int kWarmUpCycles = 20;

// Growth allowed above the baseline, at any later sample. The allocator is set
// (once, at the start) to hand every block of 4 MB or more straight back to the
// system when it is freed: its default raises that threshold to the largest
// block freed so far, 16 MB frame copies here, and then keeps up to hundreds
// of MB of freed frames cached in its per-thread arenas, which malloc_trim
// cannot return. Resident memory is sampled after trimming, so it follows what
// the process still holds; between cycles it varies by a few MB. The bound is
// well below what a leak of any of a cycle's own objects would add over the
// run: one frame copy is 16.6 MB and one texture 8.3 MB, and even 100 KB per
// cycle comes to 18 MB after 180 cycles.
constexpr long kBoundBytes = 16L << 20;

using Soak = EngineTestOf<0>;

TEST_F(Soak, SinglePlayerAndFourSlotCycles) {
  mallopt(M_MMAP_THRESHOLD, 4 << 20) && mallopt(M_TRIM_THRESHOLD, 1 << 20);
  const std::string clip = ColourClip("red", 4);  // with sound, a key frame every second so that seeks land quickly
  const std::string other = ColourClip("blue", 4, true);
  // Slots have no event handlers: each is steered through the chosen-slot exports and watched by polling.
  const auto allSlotsIn = [&](int32_t s) {
    return Until([&] { return SlotState(0) == s && SlotState(1) == s && SlotState(2) == s && SlotState(3) == s; });
  };
  // Resident memory (sampled after trimming) after the warm-up is the
  // baseline; no later sample may exceed it by more than the bound.
  long baseline = 0, peak = 0;
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE("cycle " + std::to_string(i));
    // One player: an open replaced by another, paused, sought, stopped.
    ASSERT_EQ(NativeInit(0), 0);
    NativeSetAutoPlay(true);
    events_.clear();
    ASSERT_EQ(NativeOpenURI(other.c_str()), 0);
    ASSERT_TRUE(WaitFor(2)) << Seen();
    events_.clear();
    ASSERT_EQ(NativeOpenURI(clip.c_str()), 0);  // replaces the playing clip
    ASSERT_TRUE(WaitFor(6)) << Seen();  // the first buffering completes
    EXPECT_EQ(NativePause(), 0);
    ASSERT_TRUE(WaitFor(9)) << Seen();
    EXPECT_EQ(NativeSeek(2000), 0);  // paused: the engine starts again, jumps, and pauses there
    ASSERT_TRUE(WaitFor(13)) << Seen() << " state " << NativeGetPlayerState();
    EXPECT_EQ(NativeStop(), 0);
    NativeShutdown();

    // Four slots: started, one restarted, each sought and paused, stopped two ways.
    ASSERT_EQ(StartUp(kSlots), 0);
    for (int32_t slot = 0; slot < kSlots; ++slot) NativeStartChosenPlayer(slot, (slot == 0 ? other : clip).c_str());
    ASSERT_TRUE(allSlotsIn(3));
    NativeStartChosenPlayer(0, clip.c_str());  // replaces the playing slot's player
    ASSERT_TRUE(allSlotsIn(3));
    for (int32_t slot = 0; slot < kSlots; ++slot) {
      EXPECT_EQ(NativeGetMultipleRawData(frame_.data(), slot), kFrameBytes);
      NativeControlInstance(slot);
      EXPECT_EQ(NativeSeek(2000), 0) << slot;
      EXPECT_EQ(NativePause(), 0);
    }
    ASSERT_TRUE(allSlotsIn(4));
    EXPECT_EQ(NativeMultiInstanceStop(1), 0);
    NativeControlInstance(3);
    EXPECT_EQ(NativeStop(), 0);
    NativeShutdown();

    malloc_trim(0);
    long pages = 0, now = 0;
    std::ifstream("/proc/self/statm") >> pages >> now;
    now *= sysconf(_SC_PAGESIZE);
    if (i + 1 == kWarmUpCycles) baseline = now;
    if (i + 1 > kWarmUpCycles) peak = std::max(peak, now);
  }
  EXPECT_LE(peak - baseline, kBoundBytes) << "baseline " << baseline << ", peak " << peak;
}

}  // namespace
}  // namespace korvid::test
