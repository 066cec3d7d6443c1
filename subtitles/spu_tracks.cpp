#include "subtitles/spu_tracks.h"

#include <vlc/vlc.h>

#include <cstdint>
#include <limits>

#include "core/player_record.h"
#include "subtitles/subtitle_state.h"

namespace korvid::subtitles {
namespace {

constexpr int kNoSpuTrack = -1;
// Selected when no visited entry has a positive id.
constexpr int kNoPositiveId = std::numeric_limits<int32_t>::max();

}  // namespace

bool CheckSpuContent() {
  if (MultiInstanceMode()) return false;
  libvlc_media_player_t* const player = Record().mainPlayer.get();
  if (player == nullptr) return false;
  SubtitleState& s = State();
  s.spuTrackCount = libvlc_video_get_spu_count(player);
  if (s.spuTrackCount < 1) return false;
  s.spuDescriptions.reset(libvlc_video_get_spu_description(player));
  s.spuCursor = s.spuDescriptions.get();
  return true;
}

void SetActiveSpuContent(bool enable) {
  if (MultiInstanceMode()) return;
  libvlc_media_player_t* const player = Record().mainPlayer.get();
  if (player == nullptr) return;
  SubtitleState& s = State();
  if (s.spuTrackCount <= 0 || !enable) {
    libvlc_video_set_spu(player, kNoSpuTrack);
    return;
  }
  int chosen = kNoPositiveId;
  const libvlc_track_description_t* entry = s.spuCursor;
  // The walk ends early where the list does: the count may exceed what is left.
  for (int32_t i = 0; i < s.spuTrackCount && entry != nullptr; ++i, entry = entry->p_next) {
    if (entry->i_id > 0 && entry->i_id < chosen) chosen = entry->i_id;
  }
  s.spuCursor = entry;
  libvlc_video_set_spu(player, chosen);
}

}  // namespace korvid::subtitles
