// Bad media on the real engine: damaged files, garbage under media names,
// servers that fail or cut a body off, and HLS masters whose variants are
// missing. Every call must return what it is documented to return, and the
// process must survive to shut down.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "exports/korvid_exports.h"
#include "support/call_deadline.h"
#include "support/engine_session.h"
#include "support/headless_env.h"
#include "support/http_server.h"
#include "support/media_clips.h"
#include "support/process.h"
#include "support/stream_sets.h"

namespace korvid::test {
namespace {

constexpr int32_t kFrameBytes = 8294400;
constexpr int32_t kOpenPlaying = 0;
constexpr int32_t kOpenEngineError = -1;
constexpr int32_t kNotSeekable = -3;
constexpr int32_t kNoCues = -255;

// The only codes the queue may hold.
constexpr int32_t kEventCodes[] = {1, 2, 3, 6, 9, 12, 13, 14, 257};

// An open on loopback or local media settles in well under this; the limit
// only turns a call that never returns into a failure.
constexpr std::chrono::seconds kOpenLimit{60};

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string WriteWorkFile(const std::string& name, const std::string& bytes) {
  const std::string path = WorkDir() + "/" + name;
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

// Six seconds of moving picture and sound in `container`; "mp4-faststart" puts
// the index in front, as a file meant for progressive download has it.
std::string Clip(const std::string& container) {
  const bool faststart = container == "mp4-faststart";
  const std::string path = WorkDir() + "/clip-" + container + (faststart ? ".mp4" : "." + container);
  if (!std::filesystem::exists(path)) {
    RunCommand("ffmpeg -nostdin -loglevel error -y -f lavfi -i testsrc=s=160x120:r=25 -f lavfi -i sine=f=440 -t 6"
               " -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25 -c:a aac -shortest" +
               std::string(faststart ? " -movflags +faststart " : " ") + ShellQuote(path));
  }
  return path;
}

// The first `fraction` of `path`'s bytes.
std::string Head(const std::string& path, double fraction) {
  const std::string bytes = ReadFile(path);
  return bytes.substr(0, static_cast<std::size_t>(static_cast<double>(bytes.size()) * fraction));
}

bool IsKnownEvent(int32_t code) {
  return std::find(std::begin(kEventCodes), std::end(kEventCodes), code) != std::end(kEventCodes);
}

class BadMedia : public testing::Test {
 protected:
  EngineSession session_;
  std::vector<int32_t> events_;
  std::vector<uint8_t> frame_ = std::vector<uint8_t>(kFrameBytes);

  int32_t Open(const std::string& location) {
    NativeSetAutoPlay(true);
    return ReturnsWithin(kOpenLimit, "NativeOpenURI(" + location + ")",
                         [&] { return NativeOpenURI(location.c_str()); });
  }

  // Whatever the open gave, the player's exports go on answering within their
  // documented ranges, and the queue holds only known events. (Whether a
  // failed media can seek is the engine's say: it may still call it seekable.)
  void ExpectExportsAnswer(const std::string& what) {
    SCOPED_TRACE(what);
    EXPECT_EQ(NativeGetRawData(frame_.data()), kFrameBytes);
    const int32_t state = NativeGetPlayerState();
    EXPECT_TRUE(state >= 0 && state <= 4) << state;
    NativeGetCurrentTime();
    NativeGetTotalTime();
    const int32_t seek = NativeSeek(1000);
    EXPECT_TRUE(seek == 0 || seek == -1 || seek == kNotSeekable) << seek;
    EXPECT_EQ(NativePause(), 0);
    EXPECT_EQ(NativeResume(), 0);
    EXPECT_EQ(NativeStop(), 0);
    EXPECT_EQ(NativeGetPlayerState(), 2);
    DrainEvents(events_);
    for (const int32_t code : events_) EXPECT_TRUE(IsKnownEvent(code)) << Describe(events_);
    events_.clear();
  }
};

TEST_F(BadMedia, DamagedAndFakeLocalFiles) {
  struct Case {
    std::string name;
    std::string bytes;
  };
  const std::vector<Case> cases = {
      {"index-at-end-cut.mp4", Head(Clip("mp4"), 0.5)},
      {"index-in-front-cut.mp4", Head(Clip("mp4-faststart"), 0.5)},
      {"cut.mkv", Head(Clip("mkv"), 0.4)},
      {"cut.ts", Head(Clip("ts"), 0.3)},
      {"empty.mp4", ""},
      {"garbage.mkv", ReadFile(GarbageFile("garbage-source.bin"))},
      {"garbage.mov", ReadFile(GarbageFile("garbage-source.bin"))},
      {"garbage.ts", ReadFile(GarbageFile("garbage-source.bin"))},
      {"text.mp4", "#EXTM3U\nnot a video at all\n"},
  };
  for (const Case& c : cases) {
    const int32_t result = Open(WriteWorkFile(c.name, c.bytes));
    EXPECT_TRUE(result == kOpenPlaying || result == kOpenEngineError) << c.name << " " << result;
    EXPECT_FALSE(NativeIsLive()) << c.name;
    ExpectExportsAnswer(c.name);
  }
}

TEST_F(BadMedia, ServerFailuresAndCutBodies) {
  HttpServer server;
  const std::string whole = ReadFile(Clip("mp4-faststart"));
  server.serveStatus("/gone.mp4", 404);
  server.serveStatus("/broken.mp4", 500, "internal error");
  server.serveTruncated("/cut.mp4", whole, whole.size() / 3);
  server.serveTruncated("/cut-in-header.mp4", whole, 100);
  server.serve("/garbage.mkv", ReadFile(GarbageFile("garbage-source.bin")), "video/x-matroska");
  struct Case {
    const char* path;
    bool mayPlay;  // some of the body arrived, so the engine may start on it
  };
  for (const Case c : {Case{"/gone.mp4", false}, Case{"/broken.mp4", false}, Case{"/cut.mp4", true},
                       Case{"/cut-in-header.mp4", true}, Case{"/garbage.mkv", true}}) {
    const int32_t result = Open(server.url(c.path));
    if (c.mayPlay) {
      EXPECT_TRUE(result == kOpenPlaying || result == kOpenEngineError) << c.path << " " << result;
    } else {
      EXPECT_EQ(result, kOpenEngineError) << c.path;
    }
    EXPECT_FALSE(NativeIsLive()) << c.path;  // media files are never fetched for the verdict
    ExpectExportsAnswer(c.path);
  }
}

TEST_F(BadMedia, MissingManifests) {
  HttpServer server;
  server.serveStatus("/missing.m3u8", 404);
  server.serveStatus("/failing.m3u8", 500);
  server.serveStatus("/missing.mpd", 404);
  struct Case {
    const char* path;
    bool live;  // an HLS playlist that cannot be read counts as live, a DASH manifest does not
  };
  for (const Case c : {Case{"/missing.m3u8", true}, Case{"/failing.m3u8", true}, Case{"/missing.mpd", false}}) {
    const int32_t result = Open(server.url(c.path));
    EXPECT_EQ(result, kOpenEngineError) << c.path;
    EXPECT_EQ(NativeIsLive(), c.live) << c.path;
    ExpectExportsAnswer(c.path);
  }
}

TEST_F(BadMedia, HlsMastersWithMissingVariants) {
  HttpServer server;
  const std::string set = HlsOnDemandSet();
  const std::string master = ReadFile(set + "/master.m3u8");
  // No variant playlist at all.
  server.serve("/none/master.m3u8", master, "application/vnd.apple.mpegurl");
  // The playlist is there but its segments are not.
  server.serve("/nosegments/master.m3u8", master, "application/vnd.apple.mpegurl");
  server.serve("/nosegments/low/index.m3u8", ReadFile(set + "/low/index.m3u8"), "application/vnd.apple.mpegurl");
  // The master itself is cut off in its variant line.
  server.serveTruncated("/cutmaster/master.m3u8", master, master.size() - 6);
  server.serveDirectory("/cutmaster/", set);
  struct Case {
    const char* path;
    bool live;
  };
  for (const Case c : {Case{"/none/master.m3u8", true}, Case{"/nosegments/master.m3u8", false},
                       Case{"/cutmaster/master.m3u8", true}}) {
    const int32_t result = Open(server.url(c.path));
    EXPECT_TRUE(result == kOpenPlaying || result == kOpenEngineError) << c.path << " " << result;
    EXPECT_EQ(NativeIsLive(), c.live) << c.path;
    ExpectExportsAnswer(c.path);
  }
}

TEST_F(BadMedia, SubtitleSourcesThatFail) {
  HttpServer server;
  const std::string subRip = "1\n00:00:00,000 --> 00:00:09,000\nfirst cue\n\n2\n00:00:09,000 --> 00:00:10,000\nsecond\n\n";
  server.serveStatus("/missing.srt", 404);
  server.serveTruncated("/cut.srt", subRip, subRip.find("first") + 3);
  ASSERT_EQ(Open(Clip("mp4")), kOpenPlaying);
  std::vector<char> text(10000);

  // Nothing arrives: no cue, and updates end until the next start-up.
  ASSERT_TRUE(NativeOpenSubtitleURI(server.url("/missing.srt").c_str()));
  EXPECT_EQ(NativeUpdateSubtitle(text.data()), kNoCues);
  EXPECT_EQ(NativeUpdateSubtitle(text.data()), 0);

  // A body cut off inside the first cue's text: that cue runs to where the
  // body ends (the clock is inside it).
  ASSERT_EQ(NativeInit(0), 0);
  ASSERT_EQ(Open(Clip("mp4")), kOpenPlaying);
  ASSERT_TRUE(NativeOpenSubtitleURI(server.url("/cut.srt").c_str()));
  EXPECT_EQ(NativeUpdateSubtitle(text.data()), 3);
  EXPECT_EQ(std::string(text.data(), 3), "fir");

  // A local file that is not there.
  ASSERT_EQ(NativeInit(0), 0);
  ASSERT_EQ(Open(Clip("mp4")), kOpenPlaying);
  ASSERT_TRUE(NativeOpenSubtitleURI((WorkDir() + "/no-such.srt").c_str()));
  EXPECT_EQ(NativeUpdateSubtitle(text.data()), kNoCues);
}

// Four slots, three of them given bad media: starting returns, the good slot
// plays, every slot's frame and queries answer.
TEST(BadMediaSlots, BadSlotsLeaveTheGoodOnePlaying) {
  NativeSetMultiStream(4);
  const EngineSession session;
  HttpServer server;
  server.serveStatus("/gone.mp4", 404);
  const std::string locations[4] = {server.url("/gone.mp4"), WriteWorkFile("slot-garbage.mp4", ReadFile(GarbageFile("g.bin"))),
                                    WriteWorkFile("slot-cut.mp4", Head(Clip("mp4"), 0.5)), Clip("mp4-faststart")};
  for (int32_t slot = 0; slot < 4; ++slot) {
    ReturnsWithin(kOpenLimit, "NativeStartChosenPlayer(" + locations[slot] + ")", [&] {
      NativeStartChosenPlayer(slot, locations[slot].c_str());
      return 0;
    });
  }
  std::vector<int32_t> events;
  const auto state = [](int32_t slot) {
    NativeControlInstance(slot);
    return NativeGetPlayerState();
  };
  // The good slot plays; the others end up ended or in error (state 1 or 0).
  EXPECT_TRUE(WaitUntil([&] { return state(3) == 3; }, events)) << state(3);
  EXPECT_TRUE(WaitUntil([&] { return state(0) <= 1 && state(1) <= 1 && state(2) <= 1; }, events))
      << state(0) << " " << state(1) << " " << state(2);
  std::vector<uint8_t> frame(kFrameBytes);
  for (int32_t slot = 0; slot < 4; ++slot) {
    EXPECT_EQ(NativeGetMultipleRawData(frame.data(), slot), kFrameBytes) << slot;
    EXPECT_FALSE(NativeMultiInstanceIsLive(slot)) << slot;
    NativeMultiInstanceGetCurrentTime(slot);
    NativeMultiInstanceGetTotalTime(slot);
    EXPECT_EQ(NativeMultiInstanceStop(slot), 0) << slot;
  }
  EXPECT_NEAR(NativeMultiInstanceGetTotalTime(3), 6000, 200);
}

}  // namespace
}  // namespace korvid::test
