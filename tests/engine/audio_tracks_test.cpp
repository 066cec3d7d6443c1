// Audio track listing and switching on the real engine, with a Matroska clip
// that carries two audio tracks.
#include <gtest/gtest.h>

#include <vlc/vlc.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "support/engine_session.h"
#include "support/media_clips.h"
#include "tracks/audio_tracks.h"

namespace korvid::test {
namespace {

// The engine lists a "Disable" entry (id -1) before the media's own tracks.
constexpr int32_t kTwoTracksAndDisable = 3;

std::string Captured(const std::function<void()>& body) {
  testing::internal::CaptureStdout();
  body();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

// Drops the lines the engine's event handlers print: they run on the engine's
// own thread and may land between the lines of the call under test.
std::string WithoutHandlerLines(const std::string& printed) {
  static const char* const kHandlers[] = {"Buffering", "EndOfContent", "Opening", "Paused",
                                          "Playing",   "Stopped",      "TimeChanged"};
  std::string kept;
  std::size_t start = 0;
  while (start < printed.size()) {
    const std::size_t end = std::min(printed.find('\n', start), printed.size() - 1) + 1;
    const std::string line = printed.substr(start, end - start);
    const bool handler = std::any_of(std::begin(kHandlers), std::end(kHandlers), [&](const char* name) {
      return line.rfind(std::string("Korvid Native Windows Log : method : ") + name + " (L ", 0) == 0;
    });
    if (!handler) kept += line;
    start = end;
  }
  return kept;
}

// The audio track ids the engine describes for the main player, in its order.
std::vector<int32_t> EngineTrackIds() {
  std::vector<int32_t> ids;
  libvlc_track_description_t* const list = libvlc_audio_get_track_description(Record().mainPlayer.get());
  for (const libvlc_track_description_t* d = list; d != nullptr; d = d->p_next) ids.push_back(d->i_id);
  libvlc_track_description_list_release(list);
  return ids;
}

std::size_t Occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

class AudioTracks : public testing::Test {
 protected:
  EngineSession session_;
  std::vector<int32_t> events_;

  void OpenTwoTrackClip() {
    NativeSetAutoPlay(true);
    ASSERT_EQ(NativeOpenURI(TwoAudioTrackClip(30.0).c_str()), 0);
    ASSERT_TRUE(WaitUntil([] { return KORVIDUnity_GetAudioStreamCount() == kTwoTracksAndDisable; }, events_))
        << KORVIDUnity_GetAudioStreamCount();
    ASSERT_TRUE(WaitUntil([] { return KORVIDUnity_GetCurrentAudioStreamID() >= 0; }, events_));
  }
};

TEST_F(AudioTracks, SwitchReturnsOnceTheEngineReportsTheOtherTrack) {
  OpenTwoTrackClip();
  const int32_t first = KORVIDUnity_GetCurrentAudioStreamID();
  const std::vector<int32_t> ids = EngineTrackIds();
  ASSERT_EQ(ids.size(), static_cast<std::size_t>(kTwoTracksAndDisable));
  EXPECT_EQ(ids[0], -1);
  EXPECT_EQ(ids[1], first);
  const int32_t other = ids[2];
  EXPECT_EQ(tracks::InitialTrack(), tracks::kNoInitialTrack);

  NativeSetLogLevel(1);
  const std::string printed =
      WithoutHandlerLines(Captured([&] { EXPECT_EQ(KORVIDUnity_SetAudioStream(other), other); }));
  NativeSetLogLevel(0);

  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), other);
  EXPECT_EQ(tracks::InitialTrack(), first);
  std::vector<int32_t> cachedIds;
  for (const tracks::AudioTrackEntry& entry : tracks::CachedTracks()) cachedIds.push_back(entry.id);
  EXPECT_EQ(cachedIds, ids);

  // The export's own line, then one line per run of the check step.
  const std::string call = "Korvid Native Windows Log : method : KORVIDUnity_SetAudioStream (L 2175) \n";
  const std::string check = "Korvid Native Windows Log : method : changeTrackID (L 2156) \n";
  ASSERT_EQ(printed.rfind(call, 0), 0u) << printed;
  const std::size_t checks = Occurrences(printed, check);
  EXPECT_GE(checks, 1u) << printed;
  EXPECT_EQ(printed.size(), call.size() + checks * check.size()) << printed;

  // Later switches still compare with the first recorded track: switching
  // audio off returns because the engine is no longer on `first`.
  EXPECT_EQ(KORVIDUnity_SetAudioStream(-1), -1);
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), -1);
  EXPECT_EQ(tracks::InitialTrack(), first);

  // A new start-up forgets both.
  NativeShutdown();
  ASSERT_EQ(NativeInit(0), 0);
  EXPECT_EQ(tracks::InitialTrack(), tracks::kNoInitialTrack);
  EXPECT_TRUE(tracks::CachedTracks().empty());
}

TEST_F(AudioTracks, MediaWithoutAudioSwitchesAtOnce) {
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(SolidClip("red", 4.0).c_str()), 0);
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), -1);
  // The recorded track is -1, so the check succeeds at its first run.
  EXPECT_EQ(KORVIDUnity_SetAudioStream(7), 7);
  EXPECT_EQ(tracks::InitialTrack(), -1);
}

TEST(AudioTracksMultiInstance, CountIsZeroWhileTheCurrentIdStillReadsTheMainPlayer) {
  std::vector<int32_t> events;
  {
    EngineSession single;
    NativeSetAutoPlay(true);
    ASSERT_EQ(NativeOpenURI(TwoAudioTrackClip(30.0).c_str()), 0);
    ASSERT_TRUE(WaitUntil([] { return KORVIDUnity_GetCurrentAudioStreamID() >= 0; }, events));
    const int32_t current = KORVIDUnity_GetCurrentAudioStreamID();
    // Switching to multi-instance mode after start-up keeps the main player.
    NativeSetMultiStream(2);
    EXPECT_EQ(KORVIDUnity_GetAudioStreamCount(), 0);
    EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), current);
    NativeSetMultiStream(1);  // back to one player, so shut-down releases it
  }
  // A real multi-instance start-up has no main player at all.
  NativeSetMultiStream(2);
  ASSERT_EQ(NativeInit(0), 0);
  EXPECT_EQ(KORVIDUnity_GetAudioStreamCount(), 0);
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), -1);
  EXPECT_EQ(KORVIDUnity_SetAudioStream(2), 2);  // nothing to switch, no wait
  NativeShutdown();
}

}  // namespace
}  // namespace korvid::test
