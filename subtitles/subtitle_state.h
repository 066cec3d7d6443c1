// The side-subtitle and embedded-track state: one set for the whole library,
// touched only from the host's thread (no lock). NativeInit resets it.
#pragma once

#include <vlc/vlc.h>

#include <cstdint>
#include <memory>
#include <string>

#include "core/handles.h"
#include "subtitles/subtitle_cue.h"
#include "subtitles/subtitle_tracks.h"

namespace korvid::subtitles {

// What kind of source NativeOpenSubtitleURI accepted last.
enum class SourceMode : int32_t {
  kHlsMaster = 0,   // WebVTT segments of an HLS master playlist's renditions
  kDirectFile = 1,  // one SubRip file, by path or URL
};

using TrackDescriptionList =
    std::unique_ptr<libvlc_track_description_t, ReleaseWith<&libvlc_track_description_list_release>>;

struct SubtitleState {
  // The source (NativeOpenSubtitleURI).
  std::string subtitleUri;
  SourceMode sourceMode = SourceMode::kHlsMaster;
  TrackList tracks;

  // The files per track and the walk through them (NativeUpdateSubtitle).
  SegmentLists segmentLists;       // the caption streams the host can list
  int32_t selectedTrack = 0;       // index into segmentLists (KORVIDUnity_SetCaptionStream)
  int32_t segmentIndex = 0;        // index into the selected track's segmentUrls
  CueList cueListHead;             // the most recently loaded cue list
  const SubtitleCue* currentCue = nullptr;  // cursor into cueListHead's list, or null
  uint64_t lastCopiedLength = 0;   // bytes written into the host buffer by the last copy
  bool needSegmentLoad = true;     // the next update parses the file at segmentIndex
  bool bufferCleared = true;       // the host buffer was zeroed since the cursor last moved
  bool subtitlesFinished = false;  // updates do nothing until the next start-up

  // The engine's own subtitle (SPU) tracks on the main player.
  int32_t spuTrackCount = 0;
  TrackDescriptionList spuDescriptions;  // the list fetched last, owned until replaced or shut down
  const libvlc_track_description_t* spuCursor = nullptr;  // where the next enabling walk starts
};

SubtitleState& State();

}  // namespace korvid::subtitles
