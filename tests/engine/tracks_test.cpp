// Audio and embedded subtitle tracks on the real engine: a Matroska clip that
// carries two audio tracks, then one with two SubRip tracks and no audio.
#include <vlc/vlc.h>

#include <regex>
#include <tuple>

#include "core/player_record.h"
#include "support/engine_session.h"
#include "support/media.h"
#include "tracks/audio_tracks.h"

namespace korvid::test {
namespace {

// The ids of a track description list, in the engine's order; releases the list.
std::vector<int32_t> Ids(libvlc_track_description_t* list) {
  std::vector<int32_t> ids;
  for (const libvlc_track_description_t* d = list; d != nullptr; d = d->p_next) ids.push_back(d->i_id);
  libvlc_track_description_list_release(list);
  return ids;
}

libvlc_media_player_t* Player() { return Record().mainPlayer.get(); }

using Tracks = EngineTest;

TEST_F(Tracks, AudioSwitchWaitsForTheEngineAndSpuEnablePicksTheSmallestPositiveId) {
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(TwoAudioTrackClip().c_str()), 0);
  // The engine lists a "Disable" entry (id -1) before the media's own tracks.
  ASSERT_TRUE(
      Until([] { return KORVIDUnity_GetAudioStreamCount() == 3 && KORVIDUnity_GetCurrentAudioStreamID() >= 0; }));
  const int32_t first = KORVIDUnity_GetCurrentAudioStreamID();
  const std::vector<int32_t> ids = Ids(libvlc_audio_get_track_description(Player()));
  const int32_t other = ids.empty() ? 0 : ids.back();
  ASSERT_EQ(ids, (std::vector<int32_t>{-1, first, other}));
  EXPECT_EQ(tracks::InitialTrack(), tracks::kNoInitialTrack);

  const std::string printed = LoggedBy([&] { EXPECT_EQ(KORVIDUnity_SetAudioStream(other), other); });
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), other);
  EXPECT_EQ(tracks::InitialTrack(), first);
  std::vector<int32_t> cached;
  for (const tracks::AudioTrackEntry& entry : tracks::CachedTracks()) cached.push_back(entry.id);
  EXPECT_EQ(cached, ids);
  // The export's own line, then one line per run of the check step. Lines the
  // engine's threads print (handlers, lock callbacks) may land in between.
  const std::regex engineThreads(".* : (Buffering|EndOfContent|Opening|Paused|Playing|Stopped|TimeChanged|sdl_lock) .*\n");
  EXPECT_TRUE(std::regex_match(std::regex_replace(printed, engineThreads, ""),
                               std::regex("Korvid Native Windows Log : method : KORVIDUnity_SetAudioStream \\(L 2175\\) \n"
                                          "(Korvid Native Windows Log : method : changeTrackID \\(L 2156\\) \n)+")))
      << printed;

  // Switching to multi-instance mode after start-up keeps the main player:
  // no tracks are counted, the current id still reads the main player.
  NativeSetMultiStream(2);
  EXPECT_EQ(KORVIDUnity_GetAudioStreamCount(), 0);
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), other);
  NativeSetMultiStream(1);

  // Later switches still compare with the first recorded track: switching
  // audio off returns because the engine is no longer on `first`.
  EXPECT_EQ(KORVIDUnity_SetAudioStream(-1), -1);
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), -1);
  EXPECT_EQ(tracks::InitialTrack(), first);

  // A new start-up forgets the recorded track and the list.
  NativeShutdown();
  ASSERT_EQ(NativeInit(0), 0);
  EXPECT_EQ(tracks::InitialTrack(), tracks::kNoInitialTrack);
  EXPECT_TRUE(tracks::CachedTracks().empty());
  // Subtitle tracks before any media: nothing is counted.
  EXPECT_FALSE(NativeCheckSpuContent());

  // Media without audio: the recorded track is -1, so the check succeeds at its first run.
  ASSERT_EQ(NativeOpenURI(TwoSubtitleTrackClip().c_str()), 0);
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), -1);
  EXPECT_EQ(KORVIDUnity_SetAudioStream(7), 7);
  EXPECT_EQ(tracks::InitialTrack(), -1);

  ASSERT_TRUE(Until([] { return libvlc_video_get_spu_count(Player()) >= 3; }));
  const std::vector<int32_t> spus = Ids(libvlc_video_get_spu_description(Player()));  // "Disable" and two tracks
  ASSERT_EQ(spus.size(), 3u);
  const int32_t smallest = *std::min_element(spus.begin() + 1, spus.end());
  // Enabling walks the list a check took and picks its smallest positive id;
  // the walk uses the list up, so enabling again without a new check finds no
  // positive id, and the engine refuses the placeholder.
  for (const auto& [check, enable, selected] : {std::tuple{true, true, smallest}, std::tuple{false, false, -1},
                                                std::tuple{false, true, -1}, std::tuple{true, true, smallest}}) {
    ASSERT_TRUE(!check || NativeCheckSpuContent());  // a check finds the tracks
    NativeSetActiveSpuContent(enable);
    EXPECT_EQ(libvlc_video_get_spu(Player()), selected) << check << enable;
  }

  // Multi-instance mode: disabling leaves the main player alone (the check
  // answers false there: CaptionExports.NoClockNoUpdate).
  Record().instanceCount = 2;
  NativeSetActiveSpuContent(false);
  Record().instanceCount = 1;
  EXPECT_EQ(libvlc_video_get_spu(Player()), smallest);
}

}  // namespace
}  // namespace korvid::test
