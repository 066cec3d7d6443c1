// Audio and embedded subtitle tracks on the real engine, with Matroska clips
// that carry two audio tracks and two SubRip tracks.
#include <vlc/vlc.h>

#include <regex>

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

using AudioTracks = EngineTest;

TEST_F(AudioTracks, SwitchReturnsOnceTheEngineReportsTheOtherTrack) {
  NativeSetAutoPlay(true);
  ASSERT_EQ(NativeOpenURI(TwoAudioTrackClip().c_str()), 0);
  // The engine lists a "Disable" entry (id -1) before the media's own tracks.
  ASSERT_TRUE(Until([] { return KORVIDUnity_GetAudioStreamCount() == 3; })) << KORVIDUnity_GetAudioStreamCount();
  ASSERT_TRUE(Until([] { return KORVIDUnity_GetCurrentAudioStreamID() >= 0; }));
  const int32_t first = KORVIDUnity_GetCurrentAudioStreamID();
  const std::vector<int32_t> ids = Ids(libvlc_audio_get_track_description(Player()));
  ASSERT_EQ(ids.size(), 3u);
  const int32_t other = ids[2];
  EXPECT_EQ(ids, (std::vector<int32_t>{-1, first, other}));
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

  // Media without audio: the recorded track is -1, so the check succeeds at its first run.
  ASSERT_EQ(NativeOpenURI(ColourClip("red", 4, true).c_str()), 0);
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), -1);
  EXPECT_EQ(KORVIDUnity_SetAudioStream(7), 7);
  EXPECT_EQ(tracks::InitialTrack(), -1);

  // A real multi-instance start-up has no main player at all: nothing to switch, no wait.
  NativeShutdown();
  ASSERT_EQ(StartUp(2), 0);
  EXPECT_EQ(KORVIDUnity_GetAudioStreamCount(), 0);
  EXPECT_EQ(KORVIDUnity_GetCurrentAudioStreamID(), -1);
  EXPECT_EQ(KORVIDUnity_SetAudioStream(2), 2);
}

using SpuTracks = EngineTest;

TEST_F(SpuTracks, EnablePicksTheSmallestPositiveIdAndDisableSelectsNone) {
  // Before any media: disabling still asks for -1; nothing is counted.
  EXPECT_FALSE(NativeCheckSpuContent());
  NativeSetActiveSpuContent(false);
  NativeSetActiveSpuContent(true);

  NativeSetAutoPlay(false);
  ASSERT_EQ(NativeOpenURI(TwoSubtitleTrackClip().c_str()), 0);
  ASSERT_TRUE(Until([] { return libvlc_video_get_spu_count(Player()) >= 3; }));
  const std::vector<int32_t> ids = Ids(libvlc_video_get_spu_description(Player()));  // "Disable" and two tracks
  ASSERT_EQ(ids.size(), 3u);
  const int32_t expected = *std::min_element(ids.begin() + 1, ids.end());
  ASSERT_GT(expected, 0);

  ASSERT_TRUE(NativeCheckSpuContent());
  NativeSetActiveSpuContent(true);
  EXPECT_EQ(libvlc_video_get_spu(Player()), expected);
  NativeSetActiveSpuContent(false);
  EXPECT_EQ(libvlc_video_get_spu(Player()), -1);
  // The first walk used up the list: enabling again without a new check finds
  // no positive id, and the engine refuses the placeholder.
  NativeSetActiveSpuContent(true);
  EXPECT_EQ(libvlc_video_get_spu(Player()), -1);
  ASSERT_TRUE(NativeCheckSpuContent());
  NativeSetActiveSpuContent(true);
  EXPECT_EQ(libvlc_video_get_spu(Player()), expected);

  // Multi-instance mode: neither export touches the main player.
  Record().instanceCount = 2;
  EXPECT_FALSE(NativeCheckSpuContent());
  NativeSetActiveSpuContent(false);
  Record().instanceCount = 1;
  EXPECT_EQ(libvlc_video_get_spu(Player()), expected);
}

}  // namespace
}  // namespace korvid::test
