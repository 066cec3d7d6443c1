// One parsed subtitle cue and the singly linked list the parsers build.
#pragma once

#include <memory>
#include <string>

namespace korvid::subtitles {

struct SubtitleCue {
  double startMs = 0.0;  // milliseconds on the document's own time line
  double endMs = 0.0;
  std::string text;  // the payload as written, inner line breaks kept
  std::unique_ptr<SubtitleCue> next;  // the cue whose arrow follows this one's; null for the last

  SubtitleCue() = default;
  SubtitleCue(const SubtitleCue&) = delete;
  SubtitleCue& operator=(const SubtitleCue&) = delete;

  // Unlinks the rest of the list one cue at a time, so that dropping a list of
  // any length uses constant stack.
  ~SubtitleCue() {
    std::unique_ptr<SubtitleCue> rest = std::move(next);
    while (rest) rest = std::move(rest->next);
  }
};

// The head of a cue list owns the whole list.
using CueList = std::unique_ptr<SubtitleCue>;

}  // namespace korvid::subtitles
