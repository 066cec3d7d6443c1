// The engine's embedded subtitle tracks on a Matroska clip with two SubRip tracks.
#include <gtest/gtest.h>

#include <vlc/vlc.h>

#include <climits>
#include <vector>

#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "support/engine_session.h"
#include "support/subtitle_media.h"

namespace korvid::test {
namespace {

libvlc_media_player_t* Player() { return Record().mainPlayer.get(); }

// The ids of the main player's subtitle tracks as the engine lists them.
std::vector<int> EngineSpuIds() {
  std::vector<int> ids;
  libvlc_track_description_t* list = libvlc_video_get_spu_description(Player());
  for (const libvlc_track_description_t* d = list; d != nullptr; d = d->p_next) ids.push_back(d->i_id);
  libvlc_track_description_list_release(list);
  return ids;
}

int SmallestPositive(const std::vector<int>& ids) {
  int smallest = INT_MAX;
  for (const int id : ids) {
    if (id > 0 && id < smallest) smallest = id;
  }
  return smallest;
}

TEST(SpuTracks, EnablePicksTheSmallestPositiveIdAndDisableSelectsNone) {
  EngineSession session;
  std::vector<int32_t> events;
  // Before any media: disabling still asks for -1; nothing is counted.
  EXPECT_FALSE(NativeCheckSpuContent());
  NativeSetActiveSpuContent(false);
  NativeSetActiveSpuContent(true);

  NativeSetAutoPlay(false);
  ASSERT_EQ(NativeOpenURI(TwoSubtitleTrackClip().c_str()), 0);
  ASSERT_TRUE(WaitUntil([] { return libvlc_video_get_spu_count(Player()) >= 3; }, events));
  const std::vector<int> ids = EngineSpuIds();  // the engine's "Disable" entry and the two tracks
  ASSERT_EQ(ids.size(), 3u);
  const int expected = SmallestPositive(ids);
  ASSERT_NE(expected, INT_MAX);

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
