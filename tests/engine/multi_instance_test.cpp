// Multi-instance playback on the real engine: four slots side by side, each
// drawing its own clip into its own frame copy, rewound and queried by index.
#include <vlc/vlc.h>

#include "multi/slot_tables.h"
#include "support/engine_session.h"
#include "support/http_server.h"
#include "support/media.h"

namespace korvid::test {
namespace {

constexpr int32_t kSlots = 4;
constexpr double kClipSeconds = 30.0;  // no clip ends while a test looks at it

struct Colour {
  const char* name;  // as ffmpeg names it
  int r, g, b;
};
constexpr Colour kColours[kSlots] = {{"red", 255, 0, 0}, {"0x00FF00", 0, 255, 0}, {"blue", 0, 0, 255},
                                     {"white", 255, 255, 255}};

std::string Clip(int32_t colour) { return ColourClip(kColours[colour].name, kClipSeconds, true); }
int32_t Time(int32_t slot) { return NativeMultiInstanceGetCurrentTime(slot); }

class MultiInstance : public EngineTestOf<kSlots> {
 protected:
  bool SlotShows(int32_t slot, int32_t colour, int x = 960, int y = 540) {
    EXPECT_EQ(NativeGetMultipleRawData(frame_.data(), slot), kFrameBytes);
    return Shows(frame_, kColours[colour].r, kColours[colour].g, kColours[colour].b, x, y);
  }
  // The copy runs one picture behind the engine: the colour shows some pictures after the start.
  bool WaitForColour(int32_t slot, int32_t colour) { return Until([&] { return SlotShows(slot, colour); }, 20s); }
};

TEST_F(MultiInstance, FourSlotsPlayAtOnceEachIntoItsOwnCopy) {
  // Slots 0 to 2 play local files, slot 3 the same kind of file over HTTP.
  HttpServer server;
  server.serve("/white.mp4", ReadFile(Clip(3)));
  for (int32_t slot = 0; slot < 3; ++slot) NativeStartChosenPlayer(slot, Clip(slot).c_str());
  NativeStartChosenPlayer(3, server.url("/white.mp4").c_str());
  for (int32_t slot = 0; slot < kSlots; ++slot) EXPECT_TRUE(WaitForColour(slot, slot)) << slot << " " << PixelText(frame_);
  EXPECT_FALSE(server.requestsFor("/white.mp4").empty());

  // From then on every look at a slot shows its own colour and no other,
  // centre and corners, while all four keep drawing.
  const std::string log = LoggedBy([&] {
    for (int round = 0; round < 10; ++round) {
      for (int32_t slot = 0; slot < kSlots; ++slot) {
        for (const auto& [x, y] : {std::pair{960, 540}, std::pair{0, 0}, std::pair{1919, 1079}}) {
          EXPECT_TRUE(SlotShows(slot, slot, x, y)) << slot << " at " << x << "," << y << ": " << PixelText(frame_, x, y);
        }
      }
    }
    for (int32_t slot = 0; slot < kSlots; ++slot) EXPECT_EQ(SlotState(slot), 3) << slot;
  });
  ExpectLogged(log, {{"sdl_lock0", 513}, {"sdl_lock1", 523}, {"sdl_lock2", 533}, {"sdl_lock3", 543},
                     {"VLCtoKorvidState", 2342}});
  for (int32_t slot = 0; slot < kSlots; ++slot) {
    EXPECT_FALSE(NativeMultiInstanceIsLive(slot)) << slot;
    EXPECT_NEAR(NativeMultiInstanceGetTotalTime(slot), kClipSeconds * 1000, 200) << slot;
  }
  // Single-player queries answer their fixed multi-instance values.
  EXPECT_EQ(NativeGetCurrentTime(), 1);
  EXPECT_EQ(NativeGetTotalTime(), 100000);
}

TEST_F(MultiInstance, BadIndicesDoNothingStopRewindsAndPausesUnlessAutoPlayIsOnARestartReplacesTheClip) {
  // Index 4 has no lock callback; -1 and 9 have no table entry; a null location is no media.
  for (const int32_t index : {4, -1, 9}) NativeStartChosenPlayer(index, Clip(0).c_str());
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

  NativeStartChosenPlayer(0, Clip(0).c_str());
  NativeStartChosenPlayer(1, Clip(1).c_str());
  ASSERT_TRUE(Until([&] { return Time(0) >= 1500 && Time(1) >= 1500; })) << Time(0) << " " << Time(1);

  // Auto-play off (start-up's default): rewound and paused.
  EXPECT_EQ(NativeMultiInstanceStop(0), 0);
  ASSERT_TRUE(Until([&] { return SlotState(0) == 4 && Time(0) < 500; })) << SlotState(0) << " " << Time(0);
  // The slots run independently: slot 0 stands still while slot 1 goes on.
  const int32_t held = Time(0);
  const int32_t running = Time(1);
  ASSERT_TRUE(Until([&] { return Time(1) >= running + 1000; })) << Time(1);
  EXPECT_NEAR(Time(0), held, 100);
  EXPECT_EQ(SlotState(0), 4);

  // Auto-play on: rewound, and it keeps playing from the start.
  NativeSetAutoPlay(true);
  const int32_t before = Time(1);
  EXPECT_EQ(NativeMultiInstanceStop(1), 0);
  ASSERT_TRUE(Until([&] { return Time(1) < before - 1000; })) << before << " -> " << Time(1);
  const int32_t rewound = Time(1);
  ASSERT_TRUE(Until([&] { return Time(1) >= rewound + 500; })) << Time(1);
  EXPECT_EQ(SlotState(1), 3);

  // Past the tables, negative, and a slot never started: the number of slots, and no slot is touched.
  for (const int32_t index : {7, 4, -1, 3}) EXPECT_EQ(NativeMultiInstanceStop(index), kSlots) << index;
  EXPECT_EQ(SlotState(0), 4);
  EXPECT_EQ(SlotState(1), 3);

  // Starting a slot again replaces its clip.
  NativeStartChosenPlayer(1, Clip(2).c_str());
  EXPECT_TRUE(WaitForColour(1, 2)) << PixelText(frame_);
  EXPECT_EQ(SlotState(1), 3);
}

TEST_F(MultiInstance, LiveSlotReportsItsLengthPlusOneSecond) {
  HttpServer server;
  server.serveDirectory("/hls/", HlsLiveSet());
  NativeStartChosenPlayer(1, Clip(1).c_str());
  NativeStartChosenPlayer(0, server.url("/hls/master.m3u8").c_str());
  EXPECT_TRUE(NativeMultiInstanceIsLive(0));
  EXPECT_FALSE(NativeMultiInstanceIsLive(1));
  EXPECT_TRUE(NativeIsLive());  // the last verdict also stands for the single-player query

  libvlc_media_player_t* live = multi::Slots().player(0);
  ASSERT_NE(live, nullptr);
  // The engine may refresh the length between two reads; compare a stable pair.
  ASSERT_TRUE(Until([&] {
    const int64_t length = libvlc_media_player_get_length(live);
    const int32_t total = NativeMultiInstanceGetTotalTime(0);
    return length > 0 && length == libvlc_media_player_get_length(live) && total == length + 1000;
  })) << NativeMultiInstanceGetTotalTime(0) << " vs " << libvlc_media_player_get_length(live);
  ASSERT_TRUE(Until([&] { return Time(1) > 0; }));
  EXPECT_EQ(NativeMultiInstanceGetTotalTime(1), libvlc_media_player_get_length(multi::Slots().player(1)));
}

using MultiInstanceLifetime = EngineTestOf<0>;

TEST_F(MultiInstanceLifetime, CyclesThenStartsUpAgainAsOnePlayer) {
  for (int cycle = 0; cycle < 3; ++cycle) {
    NativeSetLogLevel(1);
    EXPECT_EQ(Captured([] { NativeSetMultiStream(2); }), LogLine("NativeSetMultiStream", 2244));
    ASSERT_EQ(NativeInit(0), 0);  // which turns logging off again
    NativeStartChosenPlayer(0, Clip(0).c_str());
    NativeStartChosenPlayer(1, Clip(2).c_str());
    EXPECT_TRUE(Until([] { return Time(0) > 0 && Time(1) > 0; })) << cycle;
    NativeShutdown();  // with both slots playing
  }
  ASSERT_EQ(StartUp(), 0);
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(ColourClip("blue", 6, true).c_str()), 0);
  EXPECT_NEAR(NativeGetTotalTime(), 6000, 200);  // the main player's length, not the slot placeholder
  EXPECT_TRUE(Until([&] { return NativeGetRawData(frame_.data()) == kFrameBytes && Shows(frame_, 0, 0, 255); }));
  EXPECT_EQ(Time(0), 0);  // no slots any more
}

}  // namespace
}  // namespace korvid::test
