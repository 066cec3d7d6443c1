#include "subtitles/caption_streams.h"

#include "subtitles/subtitle_state.h"

namespace korvid::subtitles {

void SetCaptionStream(int32_t index) {
  SubtitleState& s = State();
  s.selectedTrack = index;
  s.currentCue = nullptr;
}

int32_t CaptionStreamCount() { return static_cast<int32_t>(State().segmentLists.size()); }

}  // namespace korvid::subtitles
