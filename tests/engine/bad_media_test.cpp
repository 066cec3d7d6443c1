// Bad media on the real engine: damaged files, garbage under media names,
// servers that fail or cut a body off, and HLS masters whose variants are
// missing. Every call must return what it is documented to return, and the
// process must survive to shut down.

#include "support/engine_session.h"

namespace korvid::test {
namespace {

constexpr int32_t kEventCodes[] = {1, 2, 3, 6, 9, 12, 13, 14, 257};  // the only codes the queue may hold

// The first `fraction` of `path`'s bytes.
std::string Head(const std::string& path, double fraction) {
  const std::string bytes = ReadFile(path);
  return bytes.substr(0, static_cast<std::size_t>(static_cast<double>(bytes.size()) * fraction));
}

std::string Clip(const std::string& extension) { return ColourClip("gray", 6, false, extension); }

using BadMedia = EngineTest;

// Media files are never fetched for the verdict; an HLS playlist that cannot
// be read counts as live, a DASH manifest does not.
TEST_F(BadMedia, DamagedFilesFailingServersCutBodiesAndMissingVariants) {
  HttpServer server;
  const std::string garbage = ReadFile(GarbageFile("garbage.bin"));
  const std::string whole = ReadFile(Clip("faststart.mp4"));
  const std::string set = HlsOnDemandSet();
  const std::string master = ReadFile(set + "/master.m3u8");
  server.serve("/gone.mp4", "", 404);
  server.serve("/broken.mp4", "internal error", 500);
  server.serve("/cut.mp4", whole, 200, static_cast<long>(whole.size() / 3));
  server.serve("/cut-in-header.mp4", whole, 200, 100);
  server.serve("/garbage.mkv", garbage);
  server.serve("/missing.m3u8", "", 404);
  server.serve("/failing.m3u8", "", 500);
  server.serve("/missing.mpd", "", 404);
  server.serve("/none/master.m3u8", master);  // no variant playlist at all
  server.serve("/nosegments/master.m3u8", master);  // the playlist is there, its segments are not
  server.serve("/nosegments/low/index.m3u8", ReadFile(set + "/low/index.m3u8"));
  server.serveDirectory("/cutmaster/", set);
  server.serve("/cutmaster/master.m3u8", master, 200, static_cast<long>(master.size() - 6));  // cut in its variant line
  // Location; whether some of it is media, so that the engine may start on it
  // (otherwise the open fails); and the live verdict.
  const std::tuple<std::string, bool, bool> cases[] = {
      {WriteWorkFile("index-at-end-cut.mp4", Head(Clip("mp4"), 0.5)), true, false},
      {WriteWorkFile("index-in-front-cut.mp4", Head(Clip("faststart.mp4"), 0.5)), true, false},
      {WriteWorkFile("cut.mkv", Head(Clip("mkv"), 0.4)), true, false},
      {WriteWorkFile("cut.ts", Head(Clip("ts"), 0.3)), true, false},
      {WriteWorkFile("empty.mp4", ""), true, false}, {WriteWorkFile("garbage.mkv", garbage), true, false},
      {WriteWorkFile("garbage.mov", garbage), true, false}, {WriteWorkFile("garbage.ts", garbage), true, false},
      {WriteWorkFile("text.mp4", "#EXTM3U\nnot a video at all\n"), true, false},
      {WorkDir() + "/missing-file.mp4", false, false},
      {server.url("/gone.mp4"), false, false}, {server.url("/broken.mp4"), false, false},
      {server.url("/cut.mp4"), true, false}, {server.url("/cut-in-header.mp4"), true, false},
      {server.url("/garbage.mkv"), true, false}, {server.url("/missing.mpd"), false, false},
      {server.url("/missing.m3u8"), false, true}, {server.url("/failing.m3u8"), false, true},
      {server.url("/none/master.m3u8"), true, true}, {server.url("/nosegments/master.m3u8"), true, false},
      {server.url("/cutmaster/master.m3u8"), true, true}};
  // Whatever the open gave, the player's exports go on answering within their
  // documented ranges, and the queue holds only known events. (Whether a
  // failed media can seek is the engine's say: it may still call it seekable.)
  NativeSetAutoPlay(true);
  for (const auto& [location, mayPlay, live] : cases) {
    SCOPED_TRACE(location);
    const int32_t result = NativeOpenURI(location.c_str());
    EXPECT_TRUE(result == -1 || (mayPlay && result == 0)) << result;  // an engine error, or playing
    EXPECT_EQ(NativeIsLive(), live);
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
    for (const int32_t code : events_) {
      EXPECT_NE(std::find(std::begin(kEventCodes), std::end(kEventCodes), code), std::end(kEventCodes)) << Seen();
    }
    events_.clear();
  }
}

}  // namespace
}  // namespace korvid::test
