// Multi-instance playback on the real engine: four slots side by side, each
// drawing its own clip into its own frame copy, rewound and queried by index,
// then restarted with a live stream and with bad media.

#include "multi/slot_tables.h"
#include "support/engine_session.h"

namespace korvid::test {
namespace {

constexpr int32_t kSlots = 4;

// Each slot's own colour: as ffmpeg names it, then its red, green and blue.
constexpr std::tuple<const char*, int, int, int> kColours[kSlots] = {
    {"red", 255, 0, 0}, {"0x00FF00", 0, 255, 0}, {"blue", 0, 0, 255}, {"white", 255, 255, 255}};

// 30 s: no clip ends while the test looks at it.
std::string Clip(int32_t colour) { return ColourClip(std::get<0>(kColours[colour]), 30, true); }
int32_t Time(int32_t slot) { return NativeMultiInstanceGetCurrentTime(slot); }

class MultiInstance : public EngineTestOf<kSlots> {
 protected:
  bool SlotShows(int32_t slot, int32_t colour, int x = 960, int y = 540) {
    EXPECT_EQ(NativeGetMultipleRawData(frame_.data(), slot), kFrameBytes);
    const auto& [name, r, g, b] = kColours[colour];
    return Shows(frame_, r, g, b, x, y);
  }
  // The copy runs one picture behind the engine: the colour shows some pictures after the start.
  bool WaitForColour(int32_t slot, int32_t colour) { return Until([&] { return SlotShows(slot, colour); }, 20s); }
};

TEST_F(MultiInstance, FourSlotsPlayEachIntoItsOwnCopyAreControlledByIndexAndRestartedWithLiveOrBadMedia) {
  // Index 4 has no lock callback; -1 and 9 have no table entry; a null location is no media.
  for (const int32_t index : {4, -1, 9}) NativeStartChosenPlayer(index, Clip(0).c_str());
  NativeStartChosenPlayer(2, nullptr);
  for (const int32_t index : {0, 2, 4, 9, -5}) {
    EXPECT_EQ(multi::Slots().player(index), nullptr) << index;
    EXPECT_EQ(Time(index), 0) << index;
    EXPECT_EQ(NativeMultiInstanceGetTotalTime(index), 0) << index;
    EXPECT_FALSE(NativeMultiInstanceIsLive(index)) << index;
  }
  EXPECT_EQ(NativeMultiInstanceStop(2), kSlots);  // a slot never started: the number of slots
  // The player exports follow the chosen slot, which has no player here.
  NativeControlInstance(9);
  EXPECT_EQ(NativeGetPlayerState(), 0);
  EXPECT_EQ(NativeSetVolume(0.5f), 0);
  EXPECT_EQ(NativePause(), 0);
  // Nor is there a main player: no audio tracks, nothing to switch, no wait.
  EXPECT_EQ(KORVIDUnity_GetAudioStreamCount(), 0);
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), -1);
  EXPECT_EQ(KORVIDUnity_SetAudioStream(2), 2);

  // Slots 0 to 2 play local files, slot 3 the same kind of file over HTTP.
  HttpServer server;
  server.serve("/white.mp4", ReadFile(Clip(3)));
  for (int32_t slot = 0; slot < 3; ++slot) NativeStartChosenPlayer(slot, Clip(slot).c_str());
  NativeStartChosenPlayer(3, server.url("/white.mp4").c_str());
  for (int32_t slot = 0; slot < kSlots; ++slot) EXPECT_TRUE(WaitForColour(slot, slot)) << slot << " " << PixelText(frame_);
  EXPECT_FALSE(server.requests("/white.mp4").empty());

  // From then on every look at a slot shows its own colour and no other,
  // centre and corners, while all four keep drawing, each through its own
  // lock callback.
  ExpectLoggedWhile(
      [&] {
        for (int32_t slot = 0; slot < kSlots; ++slot) {
          for (const auto& [x, y] : {std::pair{960, 540}, std::pair{0, 0}, std::pair{1919, 1079}}) {
            EXPECT_TRUE(SlotShows(slot, slot, x, y)) << slot << " at " << x << "," << y << ": " << PixelText(frame_, x, y);
          }
          EXPECT_EQ(SlotState(slot), 3) << slot;
        }
      },
      {{"sdl_lock0", 513}, {"sdl_lock1", 523}, {"sdl_lock2", 533}, {"sdl_lock3", 543}, {"VLCtoKorvidState", 2342}});
  for (int32_t slot = 0; slot < kSlots; ++slot) EXPECT_NEAR(NativeMultiInstanceGetTotalTime(slot), 30000, 200) << slot;
  // Single-player queries answer their fixed multi-instance values.
  EXPECT_EQ(NativeGetCurrentTime(), 1);
  EXPECT_EQ(NativeGetTotalTime(), 100000);
  ASSERT_TRUE(Until([&] { return Time(0) >= 1500 && Time(1) >= 1500 && Time(2) >= 1500; })) << Time(0) << " " << Time(1);

  // Auto-play off (start-up's default): rewound and paused.
  EXPECT_EQ(NativeMultiInstanceStop(0), 0);
  ASSERT_TRUE(Until([&] { return SlotState(0) == 4 && Time(0) < 500; })) << SlotState(0) << " " << Time(0);
  // The slots run independently: slot 0 stands still while slot 1 goes on.
  const int32_t held = Time(0);
  const int32_t running = Time(1);
  ASSERT_TRUE(Until([&] { return Time(1) >= running + 1000; })) << Time(1);
  EXPECT_NEAR(Time(0), held, 100);
  EXPECT_EQ(SlotState(0), 4);

  // Side subtitles follow slot 2's clock, whichever slot is chosen: a cue
  // around where slot 2 is paused shows while slot 0 is chosen (and held
  // before the cue's start).
  NativeControlInstance(2);
  EXPECT_EQ(NativePause(), 0);
  ASSERT_TRUE(Until([&] { return SlotState(2) == 4; }));
  const int32_t paused = Time(2);
  NativeControlInstance(0);
  ASSERT_TRUE(NativeOpenSubtitleURI(
      WriteWorkFile("slot-2.srt", "1\n" + Stamp(paused - 400) + " --> " + Stamp(paused + 400) + "\nslot two\n\n").c_str()));
  std::vector<char> text(10000);
  EXPECT_EQ(NativeUpdateSubtitle(text.data()), 8) << paused << " vs " << Time(0);
  EXPECT_EQ(std::string(text.data(), 8), "slot two");

  // Auto-play on: rewound, and it keeps playing from the start.
  NativeSetAutoPlay(true);
  const int32_t before = Time(1);
  EXPECT_EQ(NativeMultiInstanceStop(1), 0);
  ASSERT_TRUE(Until([&] { return Time(1) < before - 1000; })) << before << " -> " << Time(1);
  const int32_t rewound = Time(1);
  ASSERT_TRUE(Until([&] { return Time(1) >= rewound + 500; })) << Time(1);
  EXPECT_EQ(SlotState(1), 3);

  // Past the tables or negative: the number of slots, and no slot is touched.
  for (const int32_t index : {7, 4, -1}) EXPECT_EQ(NativeMultiInstanceStop(index), kSlots) << index;
  EXPECT_EQ(SlotState(0), 4);
  EXPECT_EQ(SlotState(1), 3);

  // Starting a slot again replaces its clip.
  NativeStartChosenPlayer(1, Clip(2).c_str());
  EXPECT_TRUE(WaitForColour(1, 2)) << PixelText(frame_);
  EXPECT_EQ(SlotState(1), 3);

  // The others again: bad media in slots 2 and 3, a live stream in slot 0.
  // Starting returns, the bad slots end up ended or in error (state 1 or 0)
  // and answer, and a live slot reports its length plus one second.
  server.serveDirectory("/hls/", HlsLiveSet());
  server.serve("/gone.mp4", "", 404);
  NativeStartChosenPlayer(2, server.url("/gone.mp4").c_str());
  NativeStartChosenPlayer(3, GarbageFile("slot-garbage.mp4").c_str());
  NativeStartChosenPlayer(0, server.url("/hls/master.m3u8").c_str());
  EXPECT_TRUE(NativeMultiInstanceIsLive(0));
  EXPECT_TRUE(NativeIsLive());  // the last verdict also stands for the single-player query
  for (int32_t slot = 1; slot < kSlots; ++slot) EXPECT_FALSE(NativeMultiInstanceIsLive(slot)) << slot;
  EXPECT_TRUE(Until([&] { return SlotState(2) <= 1 && SlotState(3) <= 1; })) << SlotState(2) << " " << SlotState(3);
  for (int32_t slot = 2; slot < kSlots; ++slot) {
    EXPECT_EQ(NativeGetMultipleRawData(frame_.data(), slot), kFrameBytes) << slot;
    EXPECT_EQ(NativeMultiInstanceStop(slot), 0) << slot;
  }
  libvlc_media_player_t* live = multi::Slots().player(0);
  ASSERT_NE(live, nullptr);
  // The engine may refresh the length between two reads; compare a stable pair.
  EXPECT_TRUE(Until([&] {
    const int64_t length = libvlc_media_player_get_length(live);
    const int32_t total = NativeMultiInstanceGetTotalTime(0);
    return length >= kLeastLiveLength && length == libvlc_media_player_get_length(live) && total == length + 1000;
  })) << NativeMultiInstanceGetTotalTime(0) << " vs " << libvlc_media_player_get_length(live);
}

}  // namespace
}  // namespace korvid::test
