#include "core/video_size.h"

#include <vlc/vlc.h>

#include <algorithm>
#include <atomic>

#include "core/player_record.h"

namespace korvid {
namespace {

// The pair the engine last wrote, shared by both queries, and the reported
// values (for a DASH manifest the largest rendition seen so far).
std::atomic<unsigned> lastWidth{0};
std::atomic<unsigned> lastHeight{0};
std::atomic<uint32_t> videoWidth{0};
std::atomic<uint32_t> videoHeight{0};

// Asks the engine for track `track`'s size; on failure the previous pair stands.
void ReadSize(libvlc_media_player_t* player, unsigned track) {
  unsigned width = lastWidth;
  unsigned height = lastHeight;
  libvlc_video_get_size(player, track, &width, &height);
  lastWidth = width;
  lastHeight = height;
}

template <bool Height>
uint32_t Query() {
  std::atomic<uint32_t>& reported = Height ? videoHeight : videoWidth;
  const std::atomic<unsigned>& last = Height ? lastHeight : lastWidth;
  if (MultiInstanceMode()) return 0;
  libvlc_media_player_t* player = Record().mainPlayer.get();
  if (player == nullptr) return reported;
  if (!Record().isManifestMpd) {
    ReadSize(player, 0);
    reported = last.load();
    return reported;
  }
  // An adaptive manifest reports its largest rendition; the value only grows.
  const int tracks = libvlc_video_get_track_count(player);
  for (int i = 0; i < tracks; ++i) {
    ReadSize(player, static_cast<unsigned>(i));
    reported = std::max<uint32_t>(reported, last.load());
  }
  return reported;
}

}  // namespace

void ResetVideoSize() {
  lastWidth = 0;
  lastHeight = 0;
  videoWidth = 0;
  videoHeight = 0;
}

uint32_t QueryVideoWidth() { return Query<false>(); }
uint32_t QueryVideoHeight() { return Query<true>(); }

}  // namespace korvid
