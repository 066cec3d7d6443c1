#include "subtitles/subtitle_lifecycle.h"

#include "subtitles/subtitle_state.h"

namespace korvid::subtitles {

void ResetOnInit() {
  SubtitleState& s = State();
  s.subtitleUri.clear();
  s.sourceMode = SourceMode::kHlsMaster;
  s.segmentLists.clear();
  s.selectedTrack = 0;
  s.segmentIndex = 0;
  s.currentCue = nullptr;
  s.cueListHead.reset();
  s.lastCopiedLength = 0;
  s.needSegmentLoad = true;
  s.bufferCleared = true;
  s.subtitlesFinished = false;
  s.spuTrackCount = 0;
  // The source's track list stays: a source opened before start-up is still
  // picked up by the first update after it.
}

void ReleaseOnShutdown() {
  SubtitleState& s = State();
  s.spuCursor = nullptr;
  s.spuDescriptions.reset();
  // The count goes with the list, so an enabling call after shut-down cannot
  // walk a released list.
  s.spuTrackCount = 0;
}

}  // namespace korvid::subtitles
