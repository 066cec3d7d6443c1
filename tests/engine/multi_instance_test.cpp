// Multi-instance playback on the real engine: four slots side by side, each
// drawing its own clip into its own frame copy, rewound and queried by index.
#include <gtest/gtest.h>

#include <vlc/vlc.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "exports/korvid_exports.h"
#include "multi/slot_tables.h"
#include "support/engine_session.h"
#include "support/headless_env.h"
#include "support/http_server.h"
#include "support/media_clips.h"
#include "support/stream_sets.h"

namespace korvid::test {
namespace {

constexpr int32_t kFrameBytes = 8294400;
constexpr int32_t kSlotCount = 4;
// Long enough that no clip ends while a test looks at it.
constexpr double kClipSeconds = 30.0;

struct Colour {
  const char* name;  // as ffmpeg names it
  int r, g, b;
};
constexpr Colour kColours[kSlotCount] = {
    {"red", 255, 0, 0}, {"0x00FF00", 0, 255, 0}, {"blue", 0, 0, 255}, {"white", 255, 255, 255}};

bool Matches(const Pixel& p, const Colour& c) {
  constexpr int kTolerance = 48;  // the clips pass through 4:2:0 YUV and back
  return std::abs(p.r - c.r) < kTolerance && std::abs(p.g - c.g) < kTolerance && std::abs(p.b - c.b) < kTolerance;
}

std::string Show(const Pixel& p) {
  return std::to_string(p.r) + "," + std::to_string(p.g) + "," + std::to_string(p.b);
}

// Sizes the slot tables; declared before the engine session, which reads the count.
struct SlotCount {
  explicit SlotCount(int32_t count) { NativeSetMultiStream(count); }
};

int32_t SlotState(int32_t slot) {
  NativeControlInstance(slot);
  return NativeGetPlayerState();
}

class MultiInstance : public testing::Test {
 protected:
  SlotCount count_{kSlotCount};
  EngineSession session_;
  std::vector<int32_t> events_;
  std::vector<uint8_t> frame_ = std::vector<uint8_t>(kFrameBytes);

  void Start(int32_t slot, const std::string& location) { NativeStartChosenPlayer(slot, location.c_str()); }
  void StartColour(int32_t slot, const Colour& colour) { Start(slot, SolidClip(colour.name, kClipSeconds)); }

  Pixel SlotPixel(int32_t slot, int x, int y) {
    EXPECT_EQ(NativeGetMultipleRawData(frame_.data(), slot), kFrameBytes);
    return PixelAt(frame_, x, y);
  }
  // The copy runs one picture behind the engine, so a slot's colour shows up
  // some pictures after the start.
  bool WaitForColour(int32_t slot, const Colour& colour) {
    return WaitUntil([&] { return Matches(SlotPixel(slot, 960, 540), colour); }, events_, 20s);
  }
  bool WaitUntilTrue(const std::function<bool()>& condition) { return WaitUntil(condition, events_, 15s); }
  int32_t Time(int32_t slot) { return NativeMultiInstanceGetCurrentTime(slot); }
};

TEST_F(MultiInstance, FourSlotsPlayAtOnceEachIntoItsOwnCopy) {
  ASSERT_EQ(session_.initResult(), 0);
  // Slots 0 to 2 play local files, slot 3 the same kind of file over HTTP.
  HttpServer server;
  const std::string httpClip = SolidClip(kColours[3].name, kClipSeconds);
  server.serveDirectory("/media/", WorkDir());
  for (int32_t slot = 0; slot < 3; ++slot) StartColour(slot, kColours[slot]);
  Start(3, server.url("/media/" + std::filesystem::path(httpClip).filename().string()));

  for (int32_t slot = 0; slot < kSlotCount; ++slot) {
    EXPECT_TRUE(WaitForColour(slot, kColours[slot]))
        << "slot " << slot << " centre " << Show(SlotPixel(slot, 960, 540));
  }
  EXPECT_FALSE(server.requestsFor("/media/" + std::filesystem::path(httpClip).filename().string()).empty());

  // From then on every look at a slot shows its own colour and no other,
  // centre and corners, while all four keep drawing.
  for (int round = 0; round < 10; ++round) {
    for (int32_t slot = 0; slot < kSlotCount; ++slot) {
      for (const auto& [x, y] : {std::pair{960, 540}, std::pair{0, 0}, std::pair{1919, 1079}}) {
        const Pixel p = SlotPixel(slot, x, y);
        EXPECT_TRUE(Matches(p, kColours[slot])) << "slot " << slot << " at " << x << "," << y << ": " << Show(p);
      }
    }
  }
  for (int32_t slot = 0; slot < kSlotCount; ++slot) {
    EXPECT_EQ(SlotState(slot), 3) << slot;
    EXPECT_FALSE(NativeMultiInstanceIsLive(slot)) << slot;
    EXPECT_NEAR(NativeMultiInstanceGetTotalTime(slot), kClipSeconds * 1000, 200) << slot;
  }
  // Single-player queries answer their fixed multi-instance values.
  EXPECT_EQ(NativeGetCurrentTime(), 1);
  EXPECT_EQ(NativeGetTotalTime(), 100000);
}

TEST_F(MultiInstance, StopRewindsAndPausesUnlessAutoPlayIsOn) {
  StartColour(0, kColours[0]);
  StartColour(1, kColours[1]);
  ASSERT_TRUE(WaitUntilTrue([&] { return Time(0) >= 1500 && Time(1) >= 1500; }))
      << Time(0) << " " << Time(1);

  // Auto-play off (start-up's default): rewound and paused.
  EXPECT_EQ(NativeMultiInstanceStop(0), 0);
  ASSERT_TRUE(WaitUntilTrue([&] { return SlotState(0) == 4 && Time(0) < 500; }))
      << "state " << SlotState(0) << " time " << Time(0);
  // The slots run independently: slot 0 stands still while slot 1 goes on.
  const int32_t held = Time(0);
  const int32_t running = Time(1);
  ASSERT_TRUE(WaitUntilTrue([&] { return Time(1) >= running + 1000; })) << Time(1);
  EXPECT_NEAR(Time(0), held, 100);
  EXPECT_EQ(SlotState(0), 4);

  // Auto-play on: rewound, and it keeps playing from the start.
  NativeSetAutoPlay(true);
  const int32_t before = Time(1);
  EXPECT_EQ(NativeMultiInstanceStop(1), 0);
  ASSERT_TRUE(WaitUntilTrue([&] { return Time(1) < before - 1000; })) << before << " -> " << Time(1);
  const int32_t rewound = Time(1);
  ASSERT_TRUE(WaitUntilTrue([&] { return Time(1) >= rewound + 500; })) << Time(1);
  EXPECT_EQ(SlotState(1), 3);
  EXPECT_EQ(SlotState(0), 4);

  // Past the tables, negative, and a slot that exists but was never started:
  // the number of slots, and no slot is touched.
  for (const int32_t index : {7, 4, -1, 3}) EXPECT_EQ(NativeMultiInstanceStop(index), kSlotCount) << index;
  EXPECT_EQ(SlotState(0), 4);
  EXPECT_EQ(SlotState(1), 3);
}

TEST_F(MultiInstance, LiveSlotReportsItsLengthPlusOneSecond) {
  HttpServer server;
  server.serveDirectory("/hls/", HlsLiveSet());
  StartColour(1, kColours[1]);
  Start(0, server.url("/hls/master.m3u8"));
  EXPECT_TRUE(NativeMultiInstanceIsLive(0));
  EXPECT_FALSE(NativeMultiInstanceIsLive(1));
  EXPECT_TRUE(NativeIsLive());  // the last verdict also stands for the single-player query

  libvlc_media_player_t* live = multi::Slots().player(0);
  ASSERT_NE(live, nullptr);
  ASSERT_TRUE(WaitUntilTrue([&] { return libvlc_media_player_get_length(live) > 0; }));
  // The engine may refresh the length between two reads; compare a stable pair.
  ASSERT_TRUE(WaitUntilTrue([&] {
    const int64_t length = libvlc_media_player_get_length(live);
    const int32_t total = NativeMultiInstanceGetTotalTime(0);
    return length == libvlc_media_player_get_length(live) && total == length + 1000;
  })) << NativeMultiInstanceGetTotalTime(0) << " vs " << libvlc_media_player_get_length(live);

  ASSERT_TRUE(WaitUntilTrue([&] { return Time(1) > 0; }));
  EXPECT_EQ(NativeMultiInstanceGetTotalTime(1), libvlc_media_player_get_length(multi::Slots().player(1)));
}

TEST_F(MultiInstance, IndicesWithoutSlotOrPlayerDoNothing) {
  const std::string clip = SolidClip(kColours[0].name, kClipSeconds);
  // Index 4 has no lock callback; -1 and 9 have no table entry; a null location is no media.
  for (const int32_t index : {4, -1, 9}) Start(index, clip);
  NativeStartChosenPlayer(2, nullptr);
  for (const int32_t index : {0, 2, 4, 9, -5}) {
    EXPECT_EQ(multi::Slots().player(index), nullptr) << index;
    EXPECT_EQ(Time(index), 0) << index;
    EXPECT_EQ(NativeMultiInstanceGetTotalTime(index), 0) << index;
    EXPECT_FALSE(NativeMultiInstanceIsLive(index)) << index;
  }
  // The player exports follow the chosen slot, which has no player here.
  NativeControlInstance(9);
  EXPECT_EQ(NativeGetPlayerState(), 0);
  EXPECT_EQ(NativeSetVolume(0.5f), 0);
  EXPECT_EQ(NativePause(), 0);
  EXPECT_EQ(KORVIDUnity_GetAudioStreamCount(), 0);
}

TEST_F(MultiInstance, StartingASlotAgainReplacesItsClip) {
  StartColour(2, kColours[0]);
  ASSERT_TRUE(WaitForColour(2, kColours[0])) << Show(SlotPixel(2, 960, 540));
  StartColour(2, kColours[2]);
  EXPECT_TRUE(WaitForColour(2, kColours[2])) << Show(SlotPixel(2, 960, 540));
  EXPECT_EQ(SlotState(2), 3);
}

TEST_F(MultiInstance, ExportsLogTheirOwnLines) {
  NativeSetLogLevel(1);
  testing::internal::CaptureStdout();
  NativeStartChosenPlayer(5, "none");
  NativeControlInstance(0);
  NativeMultiInstanceStop(5);
  NativeMultiInstanceGetCurrentTime(5);
  NativeMultiInstanceGetTotalTime(5);
  NativeMultiInstanceIsLive(5);
  std::fflush(stdout);
  const std::string printed = testing::internal::GetCapturedStdout();
  NativeSetLogLevel(0);
  EXPECT_EQ(printed,
            "Korvid Native Windows Log : method : NativeStartChosenPlayer (L 2268) \n"
            "Korvid Native Windows Log : method : NativeControlInstance (L 2263) \n"
            "Korvid Native Windows Log : method : NativeMultiInstanceStop (L 1461) \n"
            "Korvid Native Windows Log : method : NativeMultiInstanceGetCurrentTime (L 1643) \n"
            "Korvid Native Windows Log : method : NativeMultiInstanceGetTotalTime (L 1682) \n"
            "Korvid Native Windows Log : method : NativeMultiInstanceIsLive (L 699) \n");
}

TEST(MultiInstanceLifetime, CyclesThenStartsUpAgainAsOnePlayer) {
  // Before any start-up the tables are empty: nothing to start, stop or read.
  NativeStartChosenPlayer(0, SolidClip("red", kClipSeconds).c_str());
  EXPECT_EQ(NativeMultiInstanceStop(0), 0);  // the slot count, which is 0
  EXPECT_EQ(NativeMultiInstanceGetCurrentTime(0), 0);

  std::vector<int32_t> events;
  for (int cycle = 0; cycle < 3; ++cycle) {
    NativeSetMultiStream(2);
    ASSERT_EQ(NativeInit(0), 0);
    NativeStartChosenPlayer(0, SolidClip("red", kClipSeconds).c_str());
    NativeStartChosenPlayer(1, SolidClip("blue", kClipSeconds).c_str());
    EXPECT_TRUE(WaitUntil([] { return NativeMultiInstanceGetCurrentTime(0) > 0 &&
                                      NativeMultiInstanceGetCurrentTime(1) > 0; },
                          events))
        << cycle;
    NativeShutdown();  // shuts down with both slots playing
  }

  EngineSession single;
  ASSERT_EQ(single.initResult(), 0);
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(SolidClip("blue", 6.0).c_str()), 0);
  EXPECT_NEAR(NativeGetTotalTime(), 6000, 200);  // the main player's length, not the slot placeholder
  std::vector<uint8_t> frame(kFrameBytes);
  EXPECT_TRUE(WaitUntil(
      [&] {
        NativeGetRawData(frame.data());
        return Matches(PixelAt(frame, 960, 540), kColours[2]);
      },
      events));
  EXPECT_EQ(NativeMultiInstanceGetCurrentTime(0), 0);  // no slots any more
}

}  // namespace
}  // namespace korvid::test
