// Bad media on the real engine: damaged files, garbage under media names,
// servers that fail or cut a body off, and HLS masters whose variants are
// missing. Every call must return what it is documented to return, and the
// process must survive to shut down.
#include <cstring>
#include <tuple>

#include "support/engine_session.h"
#include "support/headless_env.h"
#include "support/http_server.h"
#include "support/media.h"

namespace korvid::test {
namespace {

constexpr int32_t kPlaying = 0;
constexpr int32_t kEngineError = -1;
constexpr int32_t kEventCodes[] = {1, 2, 3, 6, 9, 12, 13, 14, 257};  // the only codes the queue may hold

// The first `fraction` of `path`'s bytes.
std::string Head(const std::string& path, double fraction) {
  const std::string bytes = ReadFile(path);
  return bytes.substr(0, static_cast<std::size_t>(static_cast<double>(bytes.size()) * fraction));
}

std::string Clip(const std::string& extension) { return ColourClip("gray", 6, false, extension); }

struct Case {
  std::string location;
  bool mayPlay;  // some of it is media, so the engine may start on it; otherwise the open fails
  bool live;
};

class BadMedia : public EngineTest {
 protected:
  // Whatever the open gave, the player's exports go on answering within their
  // documented ranges, and the queue holds only known events. (Whether a
  // failed media can seek is the engine's say: it may still call it seekable.)
  void Check(const std::vector<Case>& cases) {
    NativeSetAutoPlay(true);
    for (const Case& c : cases) {
      SCOPED_TRACE(c.location);
      const int32_t result = OpenWithin(c.location);
      EXPECT_TRUE(result == kEngineError || (c.mayPlay && result == kPlaying)) << result;
      EXPECT_EQ(NativeIsLive(), c.live);
      EXPECT_EQ(NativeGetRawData(frame_.data()), kFrameBytes);
      const int32_t state = NativeGetPlayerState();
      EXPECT_TRUE(state >= 0 && state <= 4) << state;
      NativeGetCurrentTime();
      NativeGetTotalTime();
      const int32_t seek = NativeSeek(1000);
      EXPECT_TRUE(seek == 0 || seek == -1 || seek == -3) << seek;
      EXPECT_EQ(NativePause(), 0);
      EXPECT_EQ(NativeResume(), 0);
      EXPECT_EQ(NativeStop(), 0);
      EXPECT_EQ(NativeGetPlayerState(), 2);
      Drain();
      for (const int32_t code : events_) EXPECT_NE(std::find(std::begin(kEventCodes), std::end(kEventCodes), code), std::end(kEventCodes)) << Seen();
      events_.clear();
    }
  }
};

TEST_F(BadMedia, DamagedFakeAndMissingLocalFiles) {
  const std::string garbage = ReadFile(GarbageFile("garbage.bin"));
  Check({{WriteWorkFile("index-at-end-cut.mp4", Head(Clip("mp4"), 0.5)), true, false},
         {WriteWorkFile("index-in-front-cut.mp4", Head(Clip("faststart.mp4"), 0.5)), true, false},
         {WriteWorkFile("cut.mkv", Head(Clip("mkv"), 0.4)), true, false},
         {WriteWorkFile("cut.ts", Head(Clip("ts"), 0.3)), true, false},
         {WriteWorkFile("empty.mp4", ""), true, false},
         {WriteWorkFile("garbage.mkv", garbage), true, false},
         {WriteWorkFile("garbage.mov", garbage), true, false},
         {WriteWorkFile("garbage.ts", garbage), true, false},
         {WriteWorkFile("text.mp4", "#EXTM3U\nnot a video at all\n"), true, false},
         {WorkDir() + "/missing-file.mp4", false, false}});
}

// Media files are never fetched for the verdict; an HLS playlist that cannot
// be read counts as live, a DASH manifest does not.
TEST_F(BadMedia, ServerFailuresCutBodiesAndMissingVariants) {
  HttpServer server;
  const std::string whole = ReadFile(Clip("faststart.mp4"));
  server.serve("/gone.mp4", "", 404);
  server.serve("/broken.mp4", "internal error", 500);
  server.serve("/cut.mp4", whole, 200, static_cast<long>(whole.size() / 3));
  server.serve("/cut-in-header.mp4", whole, 200, 100);
  server.serve("/garbage.mkv", ReadFile(GarbageFile("garbage.bin")));
  server.serve("/missing.m3u8", "", 404);
  server.serve("/failing.m3u8", "", 500);
  server.serve("/missing.mpd", "", 404);
  const std::string set = HlsOnDemandSet();
  const std::string master = ReadFile(set + "/master.m3u8");
  server.serve("/none/master.m3u8", master);  // no variant playlist at all
  server.serve("/nosegments/master.m3u8", master);  // the playlist is there, its segments are not
  server.serve("/nosegments/low/index.m3u8", ReadFile(set + "/low/index.m3u8"));
  server.serveDirectory("/cutmaster/", set);
  server.serve("/cutmaster/master.m3u8", master, 200, static_cast<long>(master.size() - 6));  // cut in its variant line
  Check({{server.url("/gone.mp4"), false, false},
         {server.url("/broken.mp4"), false, false},
         {server.url("/cut.mp4"), true, false},
         {server.url("/cut-in-header.mp4"), true, false},
         {server.url("/garbage.mkv"), true, false},
         {server.url("/missing.m3u8"), false, true},
         {server.url("/failing.m3u8"), false, true},
         {server.url("/missing.mpd"), false, false},
         {server.url("/none/master.m3u8"), true, true},
         {server.url("/nosegments/master.m3u8"), true, false},
         {server.url("/cutmaster/master.m3u8"), true, true}});
}

TEST_F(BadMedia, SubtitleSourcesThatFail) {
  HttpServer server;
  const std::string subRip = "1\n00:00:00,000 --> 00:00:09,000\nfirst cue\n\n2\n00:00:09,000 --> 00:00:10,000\nsecond\n\n";
  server.serve("/missing.srt", "", 404);
  server.serve("/cut.srt", subRip, 200, static_cast<long>(subRip.find("first") + 3));
  std::vector<char> text(10000);
  // Nothing arrives: no cue, and updates end until the next start-up. A body
  // cut inside the first cue's text: that cue runs to where the body ends (the
  // clock is inside it). A local file that is not there: no cue.
  for (const auto& [source, first, shown, second] : {std::tuple{server.url("/missing.srt"), -255, "", 0},
                                                     std::tuple{server.url("/cut.srt"), 3, "fir", 3},
                                                     std::tuple{WorkDir() + "/no-such.srt", -255, "", 0}}) {
    ASSERT_EQ(NativeInit(0), 0);
    NativeSetAutoPlay(true);
    ASSERT_EQ(OpenWithin(Clip("mp4")), kPlaying);
    ASSERT_TRUE(NativeOpenSubtitleURI(source.c_str()));
    EXPECT_EQ(NativeUpdateSubtitle(text.data()), first) << source;
    EXPECT_EQ(std::string(text.data(), std::strlen(shown)), shown);
    EXPECT_EQ(NativeUpdateSubtitle(text.data()), second) << source;
  }
}

// Four slots, three of them given bad media: starting returns, the good slot
// plays, every slot's frame and queries answer.
using BadMediaSlots = EngineTestOf<4>;

TEST_F(BadMediaSlots, BadSlotsLeaveTheGoodOnePlaying) {
  HttpServer server;
  server.serve("/gone.mp4", "", 404);
  const std::string locations[4] = {server.url("/gone.mp4"), GarbageFile("slot-garbage.mp4"),
                                    WriteWorkFile("slot-cut.mp4", Head(Clip("mp4"), 0.5)), Clip("faststart.mp4")};
  for (int32_t slot = 0; slot < 4; ++slot) {
    ReturnsWithin(60s, "NativeStartChosenPlayer(" + locations[slot] + ")",
                  [&] { return NativeStartChosenPlayer(slot, locations[slot].c_str()), 0; });
  }
  // The good slot plays; the others end up ended or in error (state 1 or 0).
  EXPECT_TRUE(Until([&] { return SlotState(3) == 3; })) << SlotState(3);
  EXPECT_TRUE(Until([&] { return SlotState(0) <= 1 && SlotState(1) <= 1 && SlotState(2) <= 1; }))
      << SlotState(0) << " " << SlotState(1) << " " << SlotState(2);
  for (int32_t slot = 0; slot < 4; ++slot) {
    EXPECT_EQ(NativeGetMultipleRawData(frame_.data(), slot), kFrameBytes) << slot;
    EXPECT_FALSE(NativeMultiInstanceIsLive(slot)) << slot;
    NativeMultiInstanceGetCurrentTime(slot);
    EXPECT_EQ(NativeMultiInstanceStop(slot), 0) << slot;
  }
  EXPECT_NEAR(NativeMultiInstanceGetTotalTime(3), 6000, 200);
}

}  // namespace
}  // namespace korvid::test
