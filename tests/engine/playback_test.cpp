// Playback on the real engine: one clip through a host's whole routine, and a
// clip played to its end and replaced, with the events, their order, the
// picture, the clock and the state the host sees.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "exports/korvid_exports.h"
#include "support/engine_session.h"
#include "support/media.h"

namespace korvid::test {
namespace {

using Playback = EngineTest;

bool LogHas(const std::string& log, const char* method, int line) {
  return log.find(LogLine(method, line)) != std::string::npos;
}

TEST_F(Playback, OneClipThroughPauseSeekResumeStopRestartAndClose) {
  ASSERT_EQ(session_.initResult(), 0);
  NativeSetAutoPlay(false);
  NativeSetLogLevel(1);
  int32_t opened = -2;
  int32_t front = 0;
  int32_t parameters = -1;
  const std::string log = Captured([&] {
    opened = NativeOpenURI(ColourClip("red", 10).c_str());
    front = NativeQueueFrontParamEvent();
    parameters = NativeQueueFrontParam1() | NativeQueueFrontParam2() | NativeQueueFrontParam3();
    WaitFor(9, 2);  // the automatic pause, and the engine's own pause report
  });
  NativeSetLogLevel(0);
  ASSERT_EQ(opened, 0);
  // Opening, buffering, then at 100 percent: buffering, finished, ready, playing, paused.
  EXPECT_EQ(front, 257);
  EXPECT_EQ(parameters, 0);
  EXPECT_TRUE(ContainsRun(events_, {14, 6, 1, 2, 9})) << Seen();
  ASSERT_GE(Count(events_, 9), 2) << Seen();
  EXPECT_EQ(NativeGetPlayerState(), 4);
  for (const auto& [method, line] : {std::pair{"NativeOpenURI", 1140}, std::pair{"Opening", 1087},
                                     std::pair{"Buffering", 1000}, std::pair{"Playing", 1058}, std::pair{"Paused", 1076}}) {
    EXPECT_TRUE(LogHas(log, method, line)) << method;
  }
  EXPECT_NEAR(NativeGetTotalTime(), 10000, 300);
  EXPECT_EQ(NativeGetVideoWidth(), 160u);
  EXPECT_EQ(NativeGetVideoHeight(), 90u);
  EXPECT_FALSE(NativeIsLive());

  // Seek while paused: the engine plays, jumps and pauses there, without ready.
  // This engine reports one more completed buffering after pausing, which
  // pauses again; seek once it has settled.
  ASSERT_TRUE(WaitForQuiet(events_));
  events_.clear();
  ASSERT_EQ(NativeSeek(4000), 0);
  ASSERT_TRUE(WaitFor(13)) << Seen();
  EXPECT_EQ(Count(events_, 1), 0) << Seen();
  ASSERT_TRUE(Until([] { return NativeGetPlayerState() == 4; })) << Seen();
  EXPECT_TRUE(Until([] { return std::abs(NativeGetCurrentTime() - 4000) <= 600; })) << NativeGetCurrentTime();

  // Resume, then pause and pause again, which resumes; the clock runs and the
  // picture arrives red, green, blue, padding, scaled over the whole frame.
  ASSERT_TRUE(WaitForQuiet(events_));
  events_.clear();
  EXPECT_EQ(NativeResume(), 0);
  ASSERT_TRUE(WaitFor(2)) << Seen();
  EXPECT_EQ(NativeGetPlayerState(), 3);
  EXPECT_EQ(NativePause(), 0);
  ASSERT_TRUE(WaitFor(9)) << Seen();
  EXPECT_EQ(NativeGetPlayerState(), 4);
  EXPECT_EQ(NativePause(), 0);
  ASSERT_TRUE(WaitFor(2, 2)) << Seen();
  EXPECT_EQ(NativeGetPlayerState(), 3);
  const int32_t before = NativeGetCurrentTime();
  EXPECT_TRUE(Until([&] { return NativeGetCurrentTime() >= before + 500; })) << before;
  EXPECT_TRUE(Until([&] {
    EXPECT_EQ(NativeGetRawData(frame_.data()), kFrameBytes);
    return Shows(frame_, 255, 0, 0) && Shows(frame_, 255, 0, 0, 1919, 1079) && Shows(frame_, 255, 0, 0, 0, 0);
  })) << PixelText(frame_) << " " << PixelText(frame_, 1919, 1079);

  // Seek while playing: buffering, finished, seek completed, no ready; the
  // clock follows the jump back.
  events_.clear();
  ASSERT_EQ(NativeSeek(2000), 0);
  ASSERT_TRUE(WaitFor(13)) << Seen();
  EXPECT_TRUE(ContainsRun(events_, {14, 6, 13})) << Seen();
  EXPECT_EQ(Count(events_, 1), 0) << Seen();
  EXPECT_TRUE(Until([] { return NativeGetCurrentTime() >= 1500 && NativeGetCurrentTime() < 3500; }))
      << NativeGetCurrentTime();

  // Stop is queued and shown at once; the engine's own stop report adds a
  // second 12. Restarting: the stop flag keeps opening out of the queue, and
  // ready out of the first completed buffering, which then clears the flag.
  NativeSetAutoPlay(true);
  DrainEvents(events_);
  events_.clear();
  EXPECT_EQ(NativeStop(), 0);
  EXPECT_EQ(NativeGetPlayerState(), 2);
  ASSERT_FALSE(NativeQueueIsEmpty());
  EXPECT_EQ(NativeQueueFrontParamEvent(), 12);
  ASSERT_TRUE(WaitFor(12, 2)) << Seen();
  events_.clear();
  EXPECT_EQ(NativeResume(), 0);
  ASSERT_TRUE(WaitFor(2)) << Seen();
  EXPECT_EQ(Count(events_, 257), 0) << Seen();
  const auto finished = std::find(events_.begin(), events_.end(), 6);
  ASSERT_TRUE(finished != events_.end() && finished + 1 != events_.end()) << Seen();
  EXPECT_EQ(finished[1], 2) << Seen();

  // Closed, the engine's stop stays out of the queue: only NativeStop's own 12.
  NativeClose();
  EXPECT_EQ(NativeGetPlayerState(), 1);
  events_.clear();
  EXPECT_EQ(NativeStop(), 0);
  ASSERT_TRUE(WaitForQuiet(events_, 1500ms));
  EXPECT_EQ(Count(events_, 12), 1) << Seen();
}

TEST_F(Playback, AutoPlayRunsToTheEndAndTheNextOpenReplacesTheClip) {
  NativeSetAutoPlay(true);
  NativeSetLogLevel(1);
  const std::string log = Captured([&] {
    EXPECT_EQ(NativeOpenURI(ColourClip("blue", 2, true).c_str()), 0);
    WaitFor(3, 1, 20s) && WaitFor(12);  // the end, then this engine's stop report
  });
  NativeSetLogLevel(0);
  ASSERT_EQ(Count(events_, 3), 1) << Seen();
  EXPECT_TRUE(ContainsRun(events_, {14, 6, 1, 2})) << Seen();
  EXPECT_EQ(Count(events_, 9), 0) << Seen();
  EXPECT_NE(NativeGetPlayerState(), 4);
  for (const auto& [method, line] : {std::pair{"sdl_lock", 500}, std::pair{"TimeChanged", 1135},
                                     std::pair{"EndOfContent", 1110}, std::pair{"Stopped", 1095}}) {
    EXPECT_TRUE(LogHas(log, method, line)) << method;
  }

  ASSERT_EQ(NativeOpenURI(ColourClip("red", 6, true).c_str()), 0);
  ASSERT_TRUE(WaitFor(2, 2)) << Seen();
  EXPECT_NEAR(NativeGetTotalTime(), 6000, 300);
  EXPECT_TRUE(Until([&] {
    NativeGetRawData(frame_.data());
    return Shows(frame_, 255, 0, 0);
  })) << PixelText(frame_);
}

}  // namespace
}  // namespace korvid::test
