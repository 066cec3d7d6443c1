// Side subtitles against a real player paused at known times: the cue cursor,
// the bytes written into the host's buffer and the results the host sees.

#include <array>
#include <stdexcept>

#include "support/engine_session.h"

namespace korvid::test {
namespace {

constexpr uint8_t kSentinel = 0x7F;
constexpr std::size_t kBufferSize = 10000;
const std::string kEnd(1, static_cast<char>(kSentinel));  // what follows a copy: it is not terminated
const std::string kZeroed = std::string(kBufferSize, '\0') + kEnd;  // property 901's bytes, and no more

// Cues A, B and C of four seconds with four-second gaps between them: wider
// than the lead of the engine's clock after a seek.
const std::string kThreeCues = "1\r\n00:00:01,000 --> 00:00:05,000\r\nAlpha one\r\n\r\n"
                               "2\r\n00:00:09,000 --> 00:00:13,000\r\nBravo\r\n\r\n"
                               "3\r\n00:00:17,000 --> 00:00:21,000\r\nCharlie\r\n\r\n";

int64_t Clock() { return libvlc_media_player_get_time(Record().mainPlayer.get()); }

class SubtitleUpdate : public EngineTestOf<0> {
 protected:
  ~SubtitleUpdate() override { NativeSetProperty(901, static_cast<int32_t>(kBufferSize)); }

  // Starts up (again), which drops the cues and the subtitle source, and opens `clip` paused at its start.
  void OpenPaused(const std::string& clip = SparseKeyFrameClip(24)) {
    ASSERT_EQ(NativeInit(0), 0);
    NativeSetAutoPlay(false);
    ASSERT_EQ(NativeOpenURI(clip.c_str()), 0);
    ASSERT_TRUE(Until([] { return NativeGetPlayerState() == 4 && MainState() == libvlc_Paused; })) << Seen();
    pausedAt_ = 0;
  }

  // Seeks the paused player to `ms` once, waits until the seek has completed
  // and the engine holds still in its pause, its clock from 0.2 s before `ms`
  // to `ahead` after it, and returns the time the subtitle clock reads. The
  // clock leads the picture by what the engine has read ahead: a few hundred
  // ms, seconds on a starved machine.
  int64_t PauseAt(int32_t ms, int64_t ahead = 3500) {
    if (std::exchange(pausedAt_, ms) == ms) return Clock();  // paused there already
    events_.clear();
    EXPECT_EQ(NativeSeek(ms), 0);
    EXPECT_TRUE(Until([&] {
      return Count(13) > 0 && NativeGetPlayerState() == 4 && MainState() == libvlc_Paused && Clock() >= ms - 200 && Clock() < ms + ahead;
    }, 20s)) << "the player did not pause near " << ms << " ms: " << Seen() << ", clock at " << Clock() << " ms";
    return Clock();
  }

  int32_t Update() { return NativeUpdateSubtitle(reinterpret_cast<char*>(buffer_.data())); }
  // One update on a buffer full of kSentinel: its result, and what the buffer starts with after it.
  void Expect(int32_t result, const std::string& shown) {
    buffer_.fill(kSentinel);
    EXPECT_EQ(Update(), result);
    EXPECT_EQ(std::string(buffer_.begin(), buffer_.begin() + static_cast<long>(shown.size())), shown);
  }
  // Expect for each step (clock in ms, result, what the buffer starts with),
  // with the player paused at the step's time.
  void Walk(const std::vector<std::tuple<int32_t, int32_t, std::string>>& steps, int64_t ahead = 3500) {
    for (const auto& [ms, result, shown] : steps) {
      SCOPED_TRACE(std::to_string(ms) + " ms");
      const int64_t at = PauseAt(ms, ahead);
      ASSERT_TRUE(at >= ms - 200 && at < ms + ahead) << at;
      Expect(result, shown);
    }
  }

  std::array<uint8_t, kBufferSize + 16> buffer_{};
  int32_t pausedAt_ = 0;
};

TEST_F(SubtitleUpdate, WalksCuesOfASubRipFileFromDisk) {
  OpenPaused();
  ASSERT_TRUE(NativeOpenSubtitleURI(NativeSeparators(WriteWorkFile("walk.srt", kThreeCues)).c_str()));
  EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 0);
  // Before the first load a selection outside the list loads nothing and harms nothing.
  for (const int32_t outside : {5, -1}) {
    KORVIDUnity_SetCaptionStream(outside);
    Walk({{1200, 0, kEnd}});
    EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 1);
  }
  KORVIDUnity_SetCaptionStream(0);
  Walk({// Inside A: the first call loads the file and copies A, unterminated.
        {1200, 9, "Alpha one" + kEnd},
        // In the gap: the cursor moves to B and the buffer is zeroed; then, B
        // being ahead, zeroed again and back to A; the calls alternate,
        // answering A's length.
        {5200, 9, kZeroed}, {5200, 9, kZeroed}, {5200, 9, kZeroed}, {5200, 9, kZeroed},
        // Inside B: one more zeroing step (the cursor walks from A), then B's text.
        {9200, 9, kZeroed}, {9200, 5, "Bravo" + kEnd}, {9200, 5, "Bravo" + kEnd},
        // Back before B: zeroed, never B's text ahead of its start; the cursor
        // walks again from the head, A and B show in their turn.
        {5200, 5, kZeroed}, {1200, 9, "Alpha one" + kEnd}, {9200, 9, kZeroed}, {9200, 5, "Bravo" + kEnd},
        // Inside C, the list's last cue: never shown. The cursor runs off the
        // only file, and from then on every call answers B's length and leaves
        // the buffer alone.
        {17200, 5, kEnd}, {1200, 5, kEnd}, {1200, 5, kEnd}, {1200, 5, kEnd}});
}

TEST_F(SubtitleUpdate, TerminalResultsCueBoundsProperty901AndSelectionsAfterALoad) {
  // Each source after a new start-up, the clock at its start. A master
  // playlist without subtitle renditions is refused and answers -1; sources
  // that give no cue (no arrow, not there) -255; then 0 until the next
  // start-up. A body cut inside the first cue's text: that cue runs to where
  // the body ends (the clock is inside it).
  HttpServer server;
  const std::string subRip = "1\n00:00:00,000 --> 00:00:09,000\nfirst cue\n\n"
                             "2\n00:00:09,000 --> 00:00:10,000\nsecond\n\n";
  server.serve("/subs/none.srt", "1\nno timing line at all\n");
  server.serve("/subs/missing.srt", "", 404);
  server.serve("/subs/cut.srt", subRip, 200, static_cast<long>(subRip.find("first") + 3));
  server.serve("/no-subtitles.m3u8", "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nv.m3u8\n");
  for (const auto& [source, opens, first, shown, then] :
       {std::tuple{server.url("/no-subtitles.m3u8"), false, -1, kEnd, 0},
        std::tuple{server.url("/subs/none.srt"), true, -255, kEnd, 0},
        std::tuple{server.url("/subs/missing.srt"), true, -255, kEnd, 0},
        std::tuple{WorkDir() + "/no-such.srt", true, -255, kEnd, 0},
        std::tuple{server.url("/subs/cut.srt"), true, 3, "fir" + kEnd, 3}}) {
    SCOPED_TRACE(source);
    OpenPaused();
    EXPECT_EQ(NativeOpenSubtitleURI(source.c_str()), opens);
    Expect(first, shown);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(Update(), then);
    EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), opens ? 1 : 0);
  }

  // A cue starting exactly now, then (after a new start-up) one ending exactly now.
  OpenPaused();
  const int64_t t = PauseAt(3000);
  ASSERT_TRUE(NativeOpenSubtitleURI(
      WriteWorkFile("starts-now.srt", "1\n" + Stamp(t) + " --> 00:00:20,000\nstarts now\n\n").c_str()));
  Expect(10, "starts now" + kEnd);

  OpenPaused();
  const int64_t u = PauseAt(3000);
  ASSERT_TRUE(NativeOpenSubtitleURI(
      WriteWorkFile("ends-now.srt", "1\n00:00:00,000 --> " + Stamp(u) + "\nends now, longer text\n\n").c_str()));
  EXPECT_EQ(NativeSetProperty(901, 4), 0);
  Expect(4, "ends" + kEnd);
  EXPECT_EQ(NativeSetProperty(901, 9), 0);
  Expect(9, "ends now," + kEnd);
  // After a load, with no change of file due, a selection stops the updates:
  // each call rebuilds the list, answers the previous count and leaves the
  // buffer alone.
  KORVIDUnity_SetCaptionStream(0);
  for (int i = 0; i < 3; ++i) Expect(9, kEnd);
  EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 1);

  // Bad SubRip timestamps leave as exceptions; nothing changed, so a second call fails the same way.
  OpenPaused();
  ASSERT_TRUE(NativeOpenSubtitleURI(WriteWorkFile("bad.srt", "1\n00::01,000 --> 00:00:02,000\nx\n\n").c_str()));
  EXPECT_THROW(Update(), std::invalid_argument);
  EXPECT_THROW(Update(), std::invalid_argument);
}

// ffmpeg writes WebVTT times in the short form mm:ss.mmm, which counts as hours
// and minutes: its cues at 1, 3, 5 and 7 s fall due at 60, 180, 300 and 420 s.
TEST_F(SubtitleUpdate, HlsRenditionsSegmentBySegment) {
  HttpServer server;
  server.serveDirectory("/hls/", HlsSubtitleSet());
  OpenPaused(ColourClip("black", 500, true));
  ASSERT_TRUE(NativeOpenSubtitleURI(server.url("/hls/master.m3u8").c_str()));
  KORVIDUnity_SetCaptionStream(1);  // before the first load: takes effect
  Walk({{90000, 4, "Eins" + kEnd},  // load and copy in one call
        // Zwei is its segment's last cue: the cursor lands on it and the next
        // segment is scheduled; Zwei is never shown and the buffer is left alone.
        {200000, 4, kEnd},
        {200000, 0, kZeroed},  // the second segment loads; Drei lies ahead: zeroed
        {330000, 4, "Drei" + kEnd},
        // Vier is the last cue too: the third segment is due.
        {450000, 4, kEnd}});
  // A switch to English now starts again from its first segment; each of its
  // two lists loads, runs onto its last cue and schedules the next; the
  // third, which has no cues, ends the updates.
  KORVIDUnity_SetCaptionStream(0);
  Walk({{450000, 0, kEnd}, {450000, 0, kEnd}, {450000, -255, kEnd}, {450000, 0, kEnd}});
  EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 2);
  for (const char* file : {"English0", "English1", "English2"}) {
    EXPECT_EQ(server.requests("/hls/out_" + std::string(file) + ".vtt").size(), 1u) << file;
  }
  EXPECT_TRUE(server.requests("/hls/out_Deutsch2.vtt").empty());
}

}  // namespace
}  // namespace korvid::test
