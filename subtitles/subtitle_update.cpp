#include "subtitles/subtitle_update.h"

#include <vlc/vlc.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "core/player_record.h"
#include "multi/slot_tables.h"
#include "net/http_fetch.h"
#include "subtitles/cue_parser.h"
#include "subtitles/hls_playlists.h"
#include "subtitles/subtitle_source.h"
#include "subtitles/subtitle_state.h"

namespace korvid::subtitles {
namespace {

// In multi-instance mode side subtitles follow the clock of the player in this
// slot, whichever slot the host controls.
constexpr int32_t kMultiInstanceClockSlot = 2;

libvlc_media_player_t* ClockPlayer() {
  return MultiInstanceMode() ? multi::Slots().player(kMultiInstanceClockSlot) : Record().mainPlayer.get();
}

void RebuildSegmentLists(SubtitleState& s) {
  switch (s.sourceMode) {
    case SourceMode::kDirectFile:
      s.segmentLists = BuildDirectTrackLists(s.tracks);
      break;
    case SourceMode::kHlsMaster:
      // Fetched again on every rebuild, so a live playlist's new segments appear.
      s.segmentLists = ParseSubtitleMediaPlaylists(s.tracks, s.subtitleUri);
      break;
  }
}

// The selected track's files; null when the selection is outside the list.
const std::vector<std::string>* SelectedSegments(const SubtitleState& s) {
  if (s.selectedTrack < 0 || static_cast<std::size_t>(s.selectedTrack) >= s.segmentLists.size()) return nullptr;
  return &s.segmentLists[static_cast<std::size_t>(s.selectedTrack)].segmentUrls;
}

bool IsHttpLocation(const std::string& location) {
  return location.compare(0, 7, "http://") == 0 || location.compare(0, 8, "https://") == 0;
}

CueList LoadSegment(SourceMode mode, const std::string& location) {
  if (mode == SourceMode::kHlsMaster) return ParseVttCues(net::HttpGetToString(location), 0);
  std::string text = IsHttpLocation(location) ? net::HttpGetToString(location) : ReadWholeFile(location);
  return ParseSrtCues(std::move(text), 0);
}

}  // namespace

int32_t UpdateSubtitle(char* buffer) {
  SubtitleState& s = State();
  if (s.subtitlesFinished) return 0;
  libvlc_media_player_t* const player = ClockPlayer();
  if (player == nullptr || buffer == nullptr) return 0;
  const double t = static_cast<double>(libvlc_media_player_get_time(player));

  if (s.currentCue == nullptr) {
    RebuildSegmentLists(s);
    s.segmentIndex = 0;
    if (s.segmentLists.empty()) {
      s.subtitlesFinished = true;
      return kNoSubtitleTracks;
    }
  }

  if (s.needSegmentLoad) {
    const std::vector<std::string>* const segments = SelectedSegments(s);
    if (segments == nullptr || s.segmentIndex < 0 || static_cast<std::size_t>(s.segmentIndex) >= segments->size()) {
      return 0;  // nothing to load for this selection (yet)
    }
    CueList cues = LoadSegment(s.sourceMode, (*segments)[static_cast<std::size_t>(s.segmentIndex)]);
    if (!cues) {
      s.currentCue = nullptr;
      s.subtitlesFinished = true;
      return kNoCues;
    }
    // The previous list goes here: the cursor never points into it again.
    s.cueListHead = std::move(cues);
    s.currentCue = s.cueListHead.get();
    s.lastCopiedLength = 0;
    s.needSegmentLoad = false;
  }
  // Whatever this call shows, without a copy it answers the previous copy's count.
  const auto count = static_cast<int32_t>(s.lastCopiedLength);
  if (s.currentCue == nullptr) return count;

  const std::size_t bufferSize = Record().subtitleBufferSize.load();
  const SubtitleCue* cue = s.currentCue;
  if (t > cue->endMs) {
    if (cue->next) {
      while (t > cue->endMs && cue->next) {
        cue = cue->next.get();
        s.bufferCleared = false;
      }
      s.currentCue = cue;
    }
    if (cue->next && !s.bufferCleared) {
      std::memset(buffer, 0, bufferSize);
      s.bufferCleared = true;
      return count;
    }
    // On the list's last cue: go on with the next file, or rebuild after the last one.
    ++s.segmentIndex;
    const std::vector<std::string>* const segments = SelectedSegments(s);
    if (segments == nullptr || static_cast<std::size_t>(s.segmentIndex) >= segments->size()) {
      s.currentCue = nullptr;
    } else {
      s.needSegmentLoad = true;
    }
    return count;
  }
  if (cue->startMs > t) {
    // Behind the cursor (a backward seek): walk again from the list's head.
    std::memset(buffer, 0, bufferSize);
    s.currentCue = s.cueListHead.get();
    return count;
  }
  const std::size_t n = std::min(cue->text.size(), bufferSize);
  s.lastCopiedLength = n;
  std::memcpy(buffer, cue->text.data(), n);
  return static_cast<int32_t>(n);
}

}  // namespace korvid::subtitles
