// Playback on the real engine: opening, the automatic pause, transport
// control and the events the host sees, on clips made by ffmpeg.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <vector>

#include "exports/korvid_exports.h"
#include "support/engine_session.h"
#include "support/headless_env.h"
#include "support/media_clips.h"

namespace korvid::test {
namespace {

constexpr int32_t kFrameBytes = 8294400;

class Playback : public testing::Test {
 protected:
  EngineSession session_;
  std::vector<int32_t> events_;

  int32_t Open(const std::string& path, bool autoPlay) {
    NativeSetAutoPlay(autoPlay);
    return NativeOpenURI(path.c_str());
  }
  bool WaitForState(int32_t state) {
    return WaitUntil([&] { return NativeGetPlayerState() == state; }, events_);
  }
  bool WaitForCount(int32_t code, long count) {
    return WaitUntil([&] { return std::count(events_.begin(), events_.end(), code) >= count; }, events_);
  }
};

TEST_F(Playback, AutoPlayOffPausesAfterTheFirstCompletedBuffering) {
  ASSERT_EQ(session_.initResult(), 0);
  ASSERT_EQ(Open(AvClip(), false), 0);
  ASSERT_TRUE(WaitForEvent(9, events_)) << Describe(events_);
  // Opening, buffering, then at 100 percent: buffering, finished, ready, playing, paused.
  EXPECT_EQ(events_.front(), 257) << Describe(events_);
  EXPECT_TRUE(ContainsRun(events_, {14, 6, 1, 2, 9})) << Describe(events_);
  EXPECT_EQ(NativeGetPlayerState(), 4);
  // The engine's own pause report adds one more 9.
  ASSERT_TRUE(WaitForCount(9, 2)) << Describe(events_);
  EXPECT_EQ(NativeGetPlayerState(), 4);
}

TEST_F(Playback, AutoPlayOnKeepsPlayingUntilTheEnd) {
  ASSERT_EQ(Open(SolidClip("red", 2.0), true), 0);
  ASSERT_TRUE(WaitForEvent(3, events_, 20s)) << Describe(events_);
  EXPECT_TRUE(ContainsRun(events_, {14, 6, 1, 2})) << Describe(events_);
  EXPECT_EQ(std::count(events_.begin(), events_.end(), 9), 0) << Describe(events_);
  // The end leaves the state alone; this engine then reports a stop (12, state 2).
  EXPECT_NE(NativeGetPlayerState(), 4);
}

TEST_F(Playback, DeliversTheSourceColoursAtFullFrameSize) {
  std::vector<uint8_t> frame(kFrameBytes);
  for (const auto& [colour, r, g, b] : {std::tuple{"red", 255, 0, 0}, std::tuple{"blue", 0, 0, 255}}) {
    ASSERT_EQ(Open(SolidClip(colour, 6.0, "160x90"), true), 0) << colour;
    // The copy runs one picture behind; wait for a picture of this clip.
    const bool arrived = WaitUntil(
        [&] {
          EXPECT_EQ(NativeGetRawData(frame.data()), kFrameBytes);
          const Pixel p = PixelAt(frame, 960, 540);
          return std::abs(p.r - r) < 40 && std::abs(p.g - g) < 40 && std::abs(p.b - b) < 40;
        },
        events_);
    const Pixel centre = PixelAt(frame, 960, 540);
    EXPECT_TRUE(arrived) << colour << " centre " << centre.r << "," << centre.g << "," << centre.b;
    // A 160 x 90 source is scaled over the whole frame.
    const Pixel corner = PixelAt(frame, 1919, 1079);
    EXPECT_NEAR(corner.r, r, 40) << colour;
    EXPECT_NEAR(corner.b, b, 40) << colour;
  }
}

TEST_F(Playback, SeekWhilePlayingCompletesWithoutReady) {
  ASSERT_EQ(Open(AvClip(), true), 0);
  ASSERT_TRUE(WaitForEvent(2, events_)) << Describe(events_);
  events_.clear();
  ASSERT_EQ(NativeSeek(3000), 0);
  ASSERT_TRUE(WaitForEvent(13, events_)) << Describe(events_);
  EXPECT_TRUE(ContainsRun(events_, {14, 6, 13})) << Describe(events_);
  EXPECT_EQ(std::count(events_.begin(), events_.end(), 1), 0) << Describe(events_);
  // The engine's clock catches up with the jump shortly after it completes.
  EXPECT_TRUE(WaitUntil([] { return NativeGetCurrentTime() >= 2500; }, events_)) << NativeGetCurrentTime();
}

TEST_F(Playback, SeekWhilePausedJumpsAndPausesThere) {
  ASSERT_EQ(Open(AvClip(), false), 0);
  ASSERT_TRUE(WaitForCount(9, 2));  // the automatic pause and the engine's pause report
  // This engine reports one more completed buffering after pausing, which
  // pauses again; seek once it has settled.
  ASSERT_TRUE(WaitForQuiet(events_));
  events_.clear();
  ASSERT_EQ(NativeSeek(4000), 0);
  ASSERT_TRUE(WaitForEvent(13, events_)) << Describe(events_);
  EXPECT_EQ(std::count(events_.begin(), events_.end(), 1), 0) << Describe(events_);
  ASSERT_TRUE(WaitForState(4)) << Describe(events_);
  EXPECT_TRUE(WaitUntil([] { return std::abs(NativeGetCurrentTime() - 4000) <= 600; }, events_))
      << NativeGetCurrentTime();
}

TEST_F(Playback, PauseTogglesTheMainPlayer) {
  ASSERT_EQ(Open(AvClip(), true), 0);
  ASSERT_TRUE(WaitForEvent(2, events_));
  EXPECT_EQ(NativePause(), 0);
  ASSERT_TRUE(WaitForEvent(9, events_)) << Describe(events_);
  EXPECT_EQ(NativeGetPlayerState(), 4);
  EXPECT_EQ(NativePause(), 0);  // a second pause resumes
  ASSERT_TRUE(WaitForEvent(2, events_)) << Describe(events_);
  EXPECT_EQ(NativeGetPlayerState(), 3);
}

TEST_F(Playback, StopIsQueuedAtOnceAndOpeningIsSuppressedAfterIt) {
  ASSERT_EQ(Open(AvClip(), true), 0);
  ASSERT_TRUE(WaitForEvent(2, events_));
  DrainEvents(events_);
  events_.clear();
  EXPECT_EQ(NativeStop(), 0);
  EXPECT_EQ(NativeGetPlayerState(), 2);
  ASSERT_FALSE(NativeQueueIsEmpty());
  EXPECT_EQ(NativeQueueFrontParamEvent(), 12);
  // The engine's own stop report adds a second 12.
  ASSERT_TRUE(WaitUntil([&] { return std::count(events_.begin(), events_.end(), 12) == 2; }, events_))
      << Describe(events_);
  // Restarting: the stop flag keeps opening out of the queue, and ready out
  // of the first completed buffering, which then clears the flag.
  events_.clear();
  EXPECT_EQ(NativeResume(), 0);
  ASSERT_TRUE(WaitForEvent(6, events_)) << Describe(events_);
  EXPECT_EQ(std::count(events_.begin(), events_.end(), 257), 0) << Describe(events_);
  const auto finished = std::find(events_.begin(), events_.end(), 6);
  ASSERT_NE(finished + 1, events_.end()) << Describe(events_);
  EXPECT_EQ(*(finished + 1), 2) << Describe(events_);
}

TEST_F(Playback, CloseKeepsTheEngineStopOutOfTheQueue) {
  ASSERT_EQ(Open(AvClip(), true), 0);
  ASSERT_TRUE(WaitForEvent(2, events_));
  NativeClose();
  EXPECT_EQ(NativeGetPlayerState(), 1);
  events_.clear();
  EXPECT_EQ(NativeStop(), 0);
  // Only NativeStop's own 12; give the engine time to report its stop.
  ASSERT_TRUE(WaitUntil([] { return false; }, events_, 1500ms) == false);
  EXPECT_EQ(std::count(events_.begin(), events_.end(), 12), 1) << Describe(events_);
}

TEST_F(Playback, MediaThatCannotPlayReturnsInsteadOfHanging) {
  EXPECT_EQ(NativeOpenURI((WorkDir() + "/missing-file.mp4").c_str()), -1);
  const int32_t garbage = NativeOpenURI(GarbageFile().c_str());
  EXPECT_TRUE(garbage == 0 || garbage == -1) << garbage;
}

TEST_F(Playback, ReopensOnOnePlayer) {
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(Open(SolidClip(i % 2 == 0 ? "red" : "blue", 4.0), true), 0) << i;
    ASSERT_TRUE(WaitForEvent(2, events_)) << i << Describe(events_);
  }
  EXPECT_GT(NativeGetTotalTime(), 3000);
}

}  // namespace
}  // namespace korvid::test
