#include "subtitles/subtitle_state.h"

namespace korvid::subtitles {

SubtitleState& State() {
  static SubtitleState state;
  return state;
}

}  // namespace korvid::subtitles
