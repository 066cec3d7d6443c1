// Start-up, shut-down in both modes, the calls a host may make before
// start-up, and the method log, on the real engine.

#include "multi/slot_tables.h"
#include "support/engine_session.h"

namespace korvid::test {
namespace {

using Lifecycle = EngineTestOf<0>;

TEST_F(Lifecycle, StartUpAndShutDownCycleInBothModesAndResetTheRecord) {
  for (const auto& [before, after] : {std::pair{20000, 10000u}, std::pair{5000, 5000u}, std::pair{-1, 10000u}}) {
    NativeSetProperty(901, before);  // the subtitle buffer's size, bounded at start-up
    Record().isLive = true;
    Record().isClosed = true;
    Record().stateCode = 3;
    NativeSetAutoPlay(true);
    ASSERT_EQ(NativeInit(0), 0);  // the way an editor enters and leaves play mode
    EXPECT_EQ(Record().subtitleBufferSize, after) << before;
    EXPECT_FALSE(NativeIsLive());
    EXPECT_FALSE(Record().isClosed);
    EXPECT_FALSE(Record().autoPlay);
    EXPECT_EQ(NativeGetPlayerState(), 0);
    NativeShutdown();
    EXPECT_EQ(GetNativeQueueSize(), -1);
  }
  NativeSetProperty(902, 1);  // unknown properties change nothing
  EXPECT_EQ(Record().subtitleBufferSize, 10000u);

  // Multi-instance: a texture per slot (the slots' engines and frame copies
  // show in the MultiInstance test's colours), no main player; shut down with
  // two slots playing.
  const std::string clip = ColourClip("blue", 6, true);
  multi::SlotTables& slots = multi::Slots();
  for (int cycle = 0; cycle < 3; ++cycle) {
    NativeSetLogLevel(1);
    EXPECT_EQ(Captured([] { NativeSetMultiStream(3); }), LogLine("NativeSetMultiStream", 2244));
    ASSERT_EQ(NativeInit(0), 0);  // which turns logging off again
    ASSERT_EQ(slots.size(), 3);
    for (int i = 0; i < 3; ++i) EXPECT_NE(slots.frameTarget(i).texture, nullptr) << i;
    EXPECT_EQ(slots.frameTarget(3).copy, nullptr);
    EXPECT_EQ(Record().mainPlayer.get(), nullptr);
    NativeStartChosenPlayer(0, clip.c_str());
    NativeStartChosenPlayer(2, clip.c_str());
    EXPECT_TRUE(Until([] { return SlotState(0) == 3 && SlotState(2) == 3; }));  // slot 2 is left the chosen one
    NativeShutdown();
    EXPECT_EQ(Record().instanceCount, 1);
    EXPECT_EQ(Record().currentInstance, 0);
    EXPECT_EQ(slots.size(), 0);
    EXPECT_EQ(GetNativeQueueSize(), -1);
  }
  // Back in single-player mode.
  ASSERT_EQ(StartUp(), 0);
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(clip.c_str()), 0);
  EXPECT_NEAR(NativeGetTotalTime(), 6000, 200);  // the main player's length, not the slot placeholder
  EXPECT_TRUE(Until([&] { return NativeGetRawData(frame_.data()) == kFrameBytes && Shows(frame_, 0, 0, 255); }));
}

// Every export that needs no media, called before start-up (nothing may
// crash): its answer, and the one log line it prints while logging is on.
TEST_F(Lifecycle, ExportsAnswerBeforeStartUpAndLogTheirOwnLines) {
  std::vector<uint8_t> frame(kFrameBytes, 0xAB);
  using Case = std::tuple<const char*, int, std::function<int64_t()>, int64_t>;
  // An export with its arguments, the line it logs (0: none), and its answer (0 for one without).
#define ANSWER(name, args, line, answer) Case{#name, line, [&] { return static_cast<int64_t>(name args); }, answer}
#define DO(name, args, line) Case{#name, line, [&] { return name args, int64_t{0}; }, 0}
  const Case cases[] = {
      ANSWER(NativeGetVersionMajor, (), 0, 1), ANSWER(NativeGetVersionMinor, (), 0, 0),
      ANSWER(NativeGetVersionPatch, (), 0, 0), ANSWER(NativeGetRawData, (frame.data()), 713, kFrameBytes),
      ANSWER(NativeGetMultipleRawData, (frame.data(), 5), 738, kFrameBytes),
      ANSWER(NativeSetTextureFromUnity, (nullptr), 705, 0), DO(NativeSetHWND, (nullptr), 689),
      ANSWER(NativeOpenURI, ("/nowhere.mp4"), 1140, 666), ANSWER(NativeSeek, (1000), 1473, -3),
      ANSWER(NativePause, (), 1396, 0), ANSWER(NativeResume, (), 1422, 0), ANSWER(NativeStartPlayBack, (), 1365, 0),
      ANSWER(NativeGetCurrentTime, (), 1621, 0), ANSWER(NativeGetTotalTime, (), 1656, 0),
      ANSWER(NativeGetVideoWidth, (), 1725, 0), ANSWER(NativeGetVideoHeight, (), 1698, 0),
      ANSWER(NativeGetPlayerState, (), 2002, 0), ANSWER(NativeSetVolume, (0.5f), 1971, 0),
      ANSWER(NativeSetMute, (true), 1956, 0), ANSWER(NativeSetAutoPlay, (false), 1993, 0),
      ANSWER(NativeSetProperty, (902, 1), 2031, 0), ANSWER(NativeSetLoop, (true), 1986, 0),
      ANSWER(NativeSetLowLatency, (true), 2083, 0), ANSWER(NativeGetMilisecondsEndBuffered, (), 1950, 0),
      DO(NativeSetContentInfo, ("x"), 1342), ANSWER(NativeGetContentInfo, (), 1359, 0),
      ANSWER(NativeIsLive, (), 693, 0), DO(NativeQueuePop, (), 1558), ANSWER(NativeQueueIsEmpty, (), 1552, 1),
      ANSWER(NativeQueueFrontIsString, (), 1566, 0), DO(NativeQueueFrontString, ("x"), 1572),
      ANSWER(NativeQueueFrontParamEvent, (), 1577, -1), ANSWER(NativeQueueFrontParam1, (), 1586, -1),
      ANSWER(NativeQueueFrontParam2, (), 1595, -1), ANSWER(NativeQueueFrontParam3, (), 1604, -1),
      ANSWER(GetNativeQueueSize, (), 1612, -1), DO(NativeSetMultiPaths, ("x"), 2257),
      DO(NativeSetMultiProperty, (), 2327), DO(NativeSetMultiHTTPHeader, (0, "x"), 2332),
      DO(NativeStartChosenPlayer, (0, "/nowhere.mp4"), 2268), DO(NativeControlInstance, (0), 2263),
      ANSWER(NativeMultiInstanceStop, (0), 1461, 0), ANSWER(NativeMultiInstanceGetCurrentTime, (0), 1643, 0),
      ANSWER(NativeMultiInstanceGetTotalTime, (0), 1682, 0), ANSWER(NativeMultiInstanceIsLive, (0), 699, 0),
      ANSWER(KORVIDUnity_GetAudioStreamCount, (), 2146, 0), ANSWER(KORVIDUnity_GetCurrentAudioStreamID, (), 2193, -1),
      ANSWER(NativeGetCaptionEncodingType, (), 2089, 3), ANSWER(KORVIDUnity_GetCaptionStreamID, (-2), 2126, -2),
      ANSWER(KORVIDUnity_GetCaptionStreamID, (7), 2126, 7), ANSWER(KORVIDUnity_GetCaptionStreamCount, (), 2120, 0),
      DO(KORVIDUnity_SetCaptionStream, (0), 2113),
      ANSWER(NativeUpdateSubtitle, (reinterpret_cast<char*>(frame.data())), 806, 0),
      ANSWER(NativeUpdateSubtitle, (nullptr), 806, 0), ANSWER(NativeCheckSpuContent, (), 767, 0),
      DO(NativeSetActiveSpuContent, (true), 783), ANSWER(NativeOpenSubtitleURI, ("x.vtt"), 1221, 0),
      ANSWER(NativeSetTimedMetadta_CustomTags, ("x"), 2095, 0),
      ANSWER(NativeGetTimedMetadta_EncodingType, (0, "x"), 2101, 0),
      ANSWER(NativeGetTimedMetadta_DataByte, (0, "x"), 2107, 0), ANSWER(NativeStop, (), 1439, 0),
      DO(NativeClose, (), 1502), DO(NativeShutdown, (), 1258),
  };
#undef ANSWER
#undef DO
  NativeSetLogLevel(1);
  for (const auto& [method, line, call, expected] : cases) {
    int64_t result = 0;
    EXPECT_EQ(Captured([&, &call = call] { result = call(); }), line > 0 ? LogLine(method, line) : "");
    EXPECT_EQ(result, expected) << method;
  }
  // NativeInit logs under the previous switch and turns logging off; the
  // switch itself never logs.
  EXPECT_EQ(Captured([] { NativeInit(0); }), LogLine("NativeInit", 1753));
  EXPECT_EQ(Captured([] { NativeShutdown(); }), "");
  EXPECT_EQ(Captured([] { NativeSetLogLevel(7), NativeSetLogLevel(0); }), "");
}

}  // namespace
}  // namespace korvid::test
