// Start-up, shut-down and the method log on the real engine.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "multi/slot_tables.h"
#include "video/preview_objects.h"

namespace korvid::test {
namespace {

std::string Captured(void (*body)()) {
  testing::internal::CaptureStdout();
  body();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

TEST(Lifecycle, InitAndShutdownLeaveAnEmptyQueue) {
  EXPECT_EQ(NativeInit(0), 0);
  EXPECT_NE(Record().mainPlayer.get(), nullptr);
  NativeShutdown();
  EXPECT_EQ(GetNativeQueueSize(), -1);
  EXPECT_TRUE(NativeQueueIsEmpty());
  // Cycled, the way an editor enters and leaves play mode.
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(NativeInit(0), 0);
    NativeShutdown();
  }
  NativeShutdown();  // a second shut-down finds nothing to release
}

TEST(Lifecycle, MultiInstanceStartUpMakesOneEngineCopyAndTexturePerSlot) {
  NativeSetMultiStream(3);
  EXPECT_EQ(NativeInit(0), 0);
  multi::SlotTables& slots = multi::Slots();
  ASSERT_EQ(slots.size(), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_NE(slots.engine(i), nullptr) << i;
    EXPECT_NE(slots.frameTarget(i).texture, nullptr) << i;
    EXPECT_NE(slots.frameTarget(i).copy, nullptr) << i;
    EXPECT_EQ(slots.player(i), nullptr) << i;
  }
  EXPECT_EQ(slots.frameTarget(3).copy, nullptr);
  EXPECT_NE(video::MainPreview().renderer, nullptr);
  EXPECT_EQ(Record().mainPlayer.get(), nullptr);
  NativeShutdown();
  EXPECT_EQ(Record().instanceCount, 1);
  EXPECT_EQ(Record().currentInstance, 0);
  EXPECT_EQ(slots.size(), 0);
  EXPECT_EQ(GetNativeQueueSize(), -1);
  // Back in single-player mode.
  EXPECT_EQ(NativeInit(0), 0);
  EXPECT_NE(Record().mainPlayer.get(), nullptr);
  NativeShutdown();
}

TEST(Lifecycle, LogLinesCarryNameAndLineOnlyWhileLoggingIsOn) {
  NativeSetLogLevel(1);
  // NativeInit logs under the previous switch, then turns logging off.
  EXPECT_EQ(Captured([] { NativeInit(0); }), "Korvid Native Windows Log : method : NativeInit (L 1753) \n");
  EXPECT_EQ(Captured([] {
              NativeQueueIsEmpty();
              NativeGetRawData(nullptr);
              NativeShutdown();
            }),
            "");
  NativeSetLogLevel(7);
  EXPECT_EQ(Captured([] {
              NativeQueuePop();
              GetNativeQueueSize();
              NativeSetTimedMetadta_CustomTags("x");
              NativeSetMultiProperty();
            }),
            "Korvid Native Windows Log : method : NativeQueuePop (L 1558) \n"
            "Korvid Native Windows Log : method : GetNativeQueueSize (L 1612) \n"
            "Korvid Native Windows Log : method : NativeSetTimedMetadta_CustomTags (L 2095) \n"
            "Korvid Native Windows Log : method : NativeSetMultiProperty (L 2327) \n");
  // The switch itself and the version exports never log.
  EXPECT_EQ(Captured([] {
              NativeSetLogLevel(1);
              NativeGetVersionMajor();
              NativeSetLogLevel(0);
            }),
            "");
  EXPECT_EQ(NativeGetVersionMajor(), 1);
  EXPECT_EQ(NativeGetVersionMinor(), 0);
  EXPECT_EQ(NativeGetVersionPatch(), 0);
}

TEST(Lifecycle, StartUpResetsTheRecordAndBoundsTheSubtitleBuffer) {
  for (const auto& [before, after] : {std::pair{20000, 10000u}, std::pair{5000, 5000u}, std::pair{-1, 10000u}}) {
    NativeSetProperty(901, before);
    Record().isLive = true;
    Record().isClosed = true;
    Record().stateCode = 3;
    NativeSetAutoPlay(true);
    ASSERT_EQ(NativeInit(0), 0);
    EXPECT_EQ(Record().subtitleBufferSize, after) << before;
    EXPECT_FALSE(NativeIsLive());
    EXPECT_FALSE(Record().isClosed);
    EXPECT_FALSE(Record().autoPlay);
    EXPECT_EQ(NativeGetPlayerState(), 0);
    NativeShutdown();
  }
  NativeSetProperty(902, 1);  // unknown properties change nothing
  EXPECT_EQ(Record().subtitleBufferSize, 10000u);
}

TEST(Lifecycle, CallsBeforeStartUpDoNotCrash) {
  std::vector<uint8_t> frame(8294400, 0xAB);
  EXPECT_EQ(NativeGetRawData(frame.data()), 8294400);
  EXPECT_EQ(NativeGetMultipleRawData(frame.data(), 5), 8294400);
  EXPECT_EQ(NativeOpenURI("/nowhere.mp4"), 666);
  EXPECT_EQ(NativeSeek(1000), -3);
  EXPECT_EQ(NativePause(), 0);
  EXPECT_EQ(NativeResume(), 0);
  EXPECT_EQ(NativeStartPlayBack(), 0);
  EXPECT_EQ(NativeGetCurrentTime(), 0);
  EXPECT_EQ(NativeGetTotalTime(), 0);
  EXPECT_EQ(NativeGetVideoWidth(), 0u);
  EXPECT_EQ(NativeSetVolume(0.5f), 0);
  EXPECT_EQ(NativeSetMute(true), 0);
  EXPECT_EQ(NativeStop(), 0);
  NativeQueuePop();
  NativeShutdown();
}

}  // namespace
}  // namespace korvid::test
