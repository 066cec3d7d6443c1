// Side subtitles against a real player paused at known times: the cue cursor,
// the bytes written into the host's buffer and the results the host sees.
#include <vlc/vlc.h>

#include <array>
#include <cstring>
#include <stdexcept>

#include "core/player_record.h"
#include "support/engine_session.h"
#include "support/http_server.h"
#include "support/media.h"

namespace korvid::test {
namespace {

constexpr uint8_t kSentinel = 0x7F;
constexpr std::size_t kBufferSize = 10000;
const std::string kEnd(1, static_cast<char>(kSentinel));  // what follows a copy: it is not terminated

// Cues A, B and C with two-second gaps between them.
const std::string kThreeCues =
    "1\r\n00:00:01,000 --> 00:00:03,000\r\nAlpha one\r\n\r\n"
    "2\r\n00:00:05,000 --> 00:00:07,000\r\nBravo\r\n\r\n"
    "3\r\n00:00:09,000 --> 00:00:11,000\r\nCharlie\r\n\r\n";

bool EnginePaused() { return libvlc_media_player_get_state(Record().mainPlayer.get()) == libvlc_Paused; }
int64_t Clock() { return libvlc_media_player_get_time(Record().mainPlayer.get()); }

class SubtitleUpdate : public EngineTest {
 protected:
  SubtitleUpdate() { buffer_.fill(kSentinel); }
  ~SubtitleUpdate() override { NativeSetProperty(901, static_cast<int32_t>(kBufferSize)); }

  // Opens `clip` paused at its start; from the second call on, after a new
  // start-up, which drops the cues and the subtitle source.
  void OpenPaused(const std::string& clip = SparseKeyFrameClip(14)) {
    ASSERT_EQ(std::exchange(opened_, true) ? NativeInit(0) : 0, 0);
    NativeSetAutoPlay(false);
    ASSERT_EQ(NativeOpenURI(clip.c_str()), 0);
    ASSERT_TRUE(Until([] { return NativeGetPlayerState() == 4; })) << Seen();
  }

  // Seeks the paused player to `ms`, waits for the seek to complete, the
  // player to settle in its pause and its clock to hold still within `near` of
  // `ms`, and
  // returns the time the subtitle clock reads. The engine does not always get
  // there: the deferred jump can be lost (playing is reported without a seek),
  // and when the pause lands right after the jump the clock keeps the old time
  // until playback moves again. Either way the seek is simply repeated, once
  // the engine's pause reports (one more buffering round follows a pause) have
  // settled.
  int64_t PauseAt(int32_t ms, int64_t near = 900) {
    events_.clear();
    for (int attempt = 0; attempt < 4; ++attempt) {
      const long seeks = Count(13);
      WaitForQuiet();  // a seek issued while the pause reports still come can be lost
      EXPECT_EQ(NativeSeek(ms), 0);
      int64_t now = Clock();
      const auto settled = [&] {  // the clock holds still near `ms`
        const int64_t before = std::exchange(now, Clock());
        return before == now && std::llabs(now - ms) < near;
      };
      if (WaitFor(13, seeks + 1, 5s) && Until([] { return NativeGetPlayerState() == 4 && EnginePaused(); }) && Until(settled, 3s)) {
        return now;
      }
      if (libvlc_media_player_is_playing(Record().mainPlayer.get()) != 0) NativePause();
      Until(EnginePaused);
    }
    ADD_FAILURE() << "the player did not pause near " << ms << " ms: " << Seen() << ", engine state "
                  << libvlc_media_player_get_state(Record().mainPlayer.get()) << " at " << Clock() << " ms";
    return -1;
  }

  int32_t Update() { return NativeUpdateSubtitle(reinterpret_cast<char*>(buffer_.data())); }
  // One update's result, and what the buffer starts with after it.
  void Expect(int32_t result, const std::string& shown) {
    EXPECT_EQ(Update(), result);
    EXPECT_EQ(Shown(shown.size()), shown);
  }
  std::string Shown(std::size_t n) const { return std::string(buffer_.begin(), buffer_.begin() + static_cast<long>(n)); }
  bool ZeroedThrough(std::size_t n) const {
    return std::all_of(buffer_.begin(), buffer_.begin() + static_cast<long>(n), [](uint8_t b) { return b == 0; });
  }

  std::array<uint8_t, kBufferSize + 16> buffer_{};
  bool opened_ = false;
};

TEST_F(SubtitleUpdate, WalksCuesOfASubRipFileFromDisk) {
  OpenPaused();
  ASSERT_TRUE(NativeOpenSubtitleURI(WriteWorkFile("walk.srt", kThreeCues).c_str()));
  EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 0);

  // Inside A: the first call loads the file and copies A, unterminated.
  ASSERT_NEAR(PauseAt(2000), 2000, 900);
  Expect(9, "Alpha one" + kEnd);
  EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 1);

  // In the gap: the cursor moves to B and the buffer is zeroed; then, B being
  // ahead, zeroed again and back to A; the calls alternate, answering A's length.
  ASSERT_NEAR(PauseAt(4000), 4000, 900);
  for (int i = 0; i < 4; ++i) {
    buffer_.fill(kSentinel);
    EXPECT_EQ(Update(), 9);
    EXPECT_TRUE(ZeroedThrough(kBufferSize)) << i;
    EXPECT_EQ(buffer_[kBufferSize], kSentinel);  // only property 901's bytes are touched
  }

  // Inside B: one more zeroing step (the cursor walks from A), then B's text.
  ASSERT_NEAR(PauseAt(6000), 6000, 900);
  EXPECT_EQ(Update(), 9);
  Expect(5, "Bravo");
  EXPECT_EQ(Update(), 5);

  // Inside C, the list's last cue: never shown. The cursor runs off the only
  // file, and from then on every call answers B's length with the buffer kept.
  ASSERT_NEAR(PauseAt(10000), 10000, 900);
  buffer_.fill(kSentinel);
  std::memcpy(buffer_.data(), "Bravo", 5);
  EXPECT_EQ(Update(), 5);
  ASSERT_NEAR(PauseAt(2000), 2000, 900);
  for (int i = 0; i < 3; ++i) Expect(5, "Bravo" + kEnd);
}

// A SubRip timestamp for `ms` (under a minute).
std::string Stamp(int64_t ms) {
  return "00:00:" + std::to_string(ms / 1000) + "," + std::to_string(1000 + ms % 1000).substr(1);
}

TEST_F(SubtitleUpdate, CueBoundsAreInclusiveAndProperty901CutsTheCopy) {
  // A cue starting exactly now, then (after a new start-up) one ending exactly now.
  OpenPaused();
  const int64_t t = PauseAt(3000);
  ASSERT_TRUE(NativeOpenSubtitleURI(
      WriteWorkFile("starts-now.srt", "1\n" + Stamp(t) + " --> 00:00:20,000\nstarts now\n\n").c_str()));
  Expect(10, "starts now");

  OpenPaused();
  const int64_t u = PauseAt(3000);
  ASSERT_TRUE(NativeOpenSubtitleURI(
      WriteWorkFile("ends-now.srt", "1\n00:00:00,000 --> " + Stamp(u) + "\nends now, longer text\n\n").c_str()));
  EXPECT_EQ(NativeSetProperty(901, 4), 0);
  buffer_.fill(kSentinel);
  Expect(4, "ends" + kEnd);
  EXPECT_EQ(NativeSetProperty(901, 9), 0);
  Expect(9, "ends now," + kEnd);
}

TEST_F(SubtitleUpdate, SubRipOverHttpAndTheTerminalResults) {
  HttpServer server;
  server.serve("/subs/walk.srt", kThreeCues);
  server.serve("/subs/none.srt", "1\nno timing line at all\n");
  server.serve("/no-subtitles.m3u8", "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nv.m3u8\n");
  OpenPaused();
  ASSERT_NEAR(PauseAt(6000), 6000, 900);
  ASSERT_TRUE(NativeOpenSubtitleURI(server.url("/subs/walk.srt").c_str()));
  EXPECT_EQ(Update(), 0);  // loaded, walked past A to B and zeroed: count 0
  Expect(5, "Bravo");
  // The file is requested once by the track list build and once for its text.
  EXPECT_EQ(server.requestsFor("/subs/walk.srt").size(), 2u);

  // A file without any arrow: -255, then 0 until the next start-up.
  OpenPaused();
  ASSERT_TRUE(NativeOpenSubtitleURI(server.url("/subs/none.srt").c_str()));
  for (const int32_t expected : {-255, 0, 0}) EXPECT_EQ(Update(), expected);

  // A master playlist without subtitle renditions: -1, then 0.
  OpenPaused();
  EXPECT_FALSE(NativeOpenSubtitleURI(server.url("/no-subtitles.m3u8").c_str()));
  EXPECT_EQ(Update(), -1);
  EXPECT_EQ(Update(), 0);
  EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 0);
}

TEST_F(SubtitleUpdate, BadSubRipTimestampsLeaveAsExceptionsAndSelectionsStopUpdates) {
  OpenPaused();
  ASSERT_TRUE(NativeOpenSubtitleURI(WriteWorkFile("bad.srt", "1\n00::01,000 --> 00:00:02,000\nx\n\n").c_str()));
  EXPECT_THROW(Update(), std::invalid_argument);
  EXPECT_THROW(Update(), std::invalid_argument);  // nothing changed, so it fails the same way
  ASSERT_TRUE(NativeOpenSubtitleURI(WriteWorkFile("huge.srt", "1\n00:00:01,99999999999 --> 2\nx\n\n").c_str()));
  EXPECT_THROW(Update(), std::out_of_range);

  OpenPaused();
  ASSERT_NEAR(PauseAt(2000), 2000, 900);
  ASSERT_TRUE(NativeOpenSubtitleURI(WriteWorkFile("change.srt", kThreeCues).c_str()));
  // Before the first load a selection outside the list loads nothing and harms nothing.
  for (const int32_t outside : {5, -1}) {
    KORVIDUnity_SetCaptionStream(outside);
    EXPECT_EQ(Update(), 0) << outside;
    EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 1);
  }
  KORVIDUnity_SetCaptionStream(0);
  EXPECT_EQ(Update(), 9);
  // After a load, with no change of file due, a selection stops the updates:
  // each call rebuilds the list and answers the previous count.
  KORVIDUnity_SetCaptionStream(0);
  ASSERT_NEAR(PauseAt(6000), 6000, 900);
  buffer_.fill(kSentinel);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Update(), 9);
  EXPECT_EQ(buffer_[0], kSentinel);
  EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 1);
}

// ffmpeg writes WebVTT times in the short form mm:ss.mmm, which counts as hours
// and minutes: its cues at 1, 3, 5 and 7 s fall due at 60, 180, 300 and 420 s.
TEST_F(SubtitleUpdate, HlsRenditionsSegmentBySegment) {
  HttpServer server;
  server.serveDirectory("/hls/", HlsSubtitleSet());
  OpenPaused(ColourClip("black", 500, true));
  ASSERT_TRUE(NativeOpenSubtitleURI(server.url("/hls/master.m3u8").c_str()));
  KORVIDUnity_SetCaptionStream(1);  // before the first load: takes effect

  ASSERT_NEAR(PauseAt(90000, 2000), 90000, 2000);
  Expect(4, "Eins");  // load and copy in one call
  EXPECT_EQ(KORVIDUnity_GetCaptionStreamCount(), 2);

  // Zwei is its segment's last cue: the cursor lands on it and the next segment
  // is scheduled; Zwei is never shown and the buffer keeps Eins.
  ASSERT_NEAR(PauseAt(200000, 2000), 200000, 2000);
  Expect(4, "Eins");
  EXPECT_EQ(Update(), 0);  // the second segment loads; Drei lies ahead: zeroed
  EXPECT_TRUE(ZeroedThrough(kBufferSize));

  ASSERT_NEAR(PauseAt(330000, 2000), 330000, 2000);
  Expect(4, "Drei");

  // Past Vier the third segment, which has no cues, ends the updates.
  ASSERT_NEAR(PauseAt(450000, 2000), 450000, 2000);
  for (const int32_t expected : {4, -255, 0}) EXPECT_EQ(Update(), expected);
  EXPECT_EQ(server.requestsFor("/hls/out_Deutsch2.vtt").size(), 1u);
  EXPECT_TRUE(server.requestsFor("/hls/out_English0.vtt").empty());
}

}  // namespace
}  // namespace korvid::test
