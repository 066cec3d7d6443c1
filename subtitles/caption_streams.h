// Caption streams: the side-subtitle tracks built from the source (an HLS
// master playlist's renditions, or the one SubRip file), listed and chosen by
// position. The engine is not involved.
#pragma once

#include <cstdint>

namespace korvid::subtitles {

// What the host is told the caption text is encoded as.
inline constexpr int32_t kCaptionEncodingType = 3;

// Selects the track at `index` (stored as given) and drops the cue cursor, so
// the next update rebuilds the track lists. The new track is shown only if a
// file load is due then (before the first cues were loaded, or while a change
// of file is scheduled); otherwise updates show nothing more until start-up.
void SetCaptionStream(int32_t index);

// Tracks built by the updates so far: 0 until the first update after a source
// was opened.
int32_t CaptionStreamCount();

}  // namespace korvid::subtitles
