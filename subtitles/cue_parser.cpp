#include "subtitles/cue_parser.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string_view>

#include "subtitles/number_fields.h"

namespace korvid::subtitles {
namespace {

constexpr std::string_view kArrow = "-->";

// Fields of a timestamp that carry a weight of 60^2, 60^1 and 60^0 seconds.
constexpr int kFirstExponent = 2;

struct Dialect {
  char fractionSeparator;  // "." in WebVTT, "," in SubRip; ":" separates in both
  int32_t (*toInt)(std::string_view field);
};

constexpr Dialect kVtt{'.', &TolerantFieldToInt};
constexpr Dialect kSrt{',', &StrictFieldToInt};

bool IsLineBreak(char c) { return c == '\n' || c == '\r'; }

double TimestampMs(std::string_view stamp, const Dialect& dialect) {
  double totalMs = 0.0;
  int exponent = kFirstExponent;
  std::size_t fieldStart = 0;
  for (std::size_t i = 0; i < stamp.size(); ++i) {
    if (stamp[i] != ':' && stamp[i] != dialect.fractionSeparator) continue;
    const int32_t n = dialect.toInt(stamp.substr(fieldStart, i - fieldStart));
    if (exponent >= 0) {
      totalMs += n * std::pow(60.0, exponent) * 1000.0;
      --exponent;
    } else {
      totalMs += n;
    }
    fieldStart = i + 1;
  }
  totalMs += dialect.toInt(stamp.substr(fieldStart));  // the millisecond part
  return totalMs;
}

// The start timestamp: from the start of the arrow's line to the character
// before the blank in front of the arrow.
std::string_view StartStamp(std::string_view doc, std::size_t arrow) {
  if (arrow < 2) return {};
  const std::size_t last = arrow - 2;  // inclusive
  std::size_t first = last + 1;
  while (first > 0 && !IsLineBreak(doc[first - 1])) --first;
  return doc.substr(first, last + 1 - first);
}

// The end timestamp runs from one blank after the arrow to the end of its
// line; `lineEnd` receives the index of that line break (or the document's end).
std::string_view EndStamp(std::string_view doc, std::size_t arrow, std::size_t* lineEnd) {
  const std::size_t first = std::min(arrow + kArrow.size() + 1, doc.size());
  std::size_t end = first;
  while (end < doc.size() && !IsLineBreak(doc[end])) ++end;
  *lineEnd = end;
  return doc.substr(first, end - first);
}

// A search for one pattern whose start positions only grow from call to call
// (each cue's lies past the previous cue's). It remembers its last answer, so a
// pattern that is far away or absent is scanned for once per document rather
// than once per cue.
class ForwardSearch {
 public:
  ForwardSearch(std::string_view doc, std::string_view pattern) : doc_(doc), pattern_(pattern) {}

  std::size_t from(std::size_t start) {
    const bool reusable = searched_ && start >= lastStart_ && (lastFound_ == std::string_view::npos || lastFound_ >= start);
    if (!reusable) {
      lastFound_ = doc_.find(pattern_, start);
      lastStart_ = start;
      searched_ = true;
    }
    return lastFound_;
  }

 private:
  std::string_view doc_;
  std::string_view pattern_;
  bool searched_ = false;
  std::size_t lastStart_ = 0;
  std::size_t lastFound_ = std::string_view::npos;
};

struct TextSearches {
  explicit TextSearches(std::string_view doc)
      : crlf(doc, "\r\n"), crlfBlank(doc, "\r\n\r\n"), lf(doc, "\n"), lfBlank(doc, "\n\n") {}
  ForwardSearch crlf, crlfBlank, lf, lfBlank;
};

std::string CueText(std::string_view doc, std::size_t lineEnd, TextSearches& search) {
  std::size_t begin;
  std::size_t end;
  if (const std::size_t crlf = search.crlf.from(lineEnd); crlf != std::string_view::npos) {
    begin = crlf + 2;
    end = search.crlfBlank.from(crlf + 1);
  } else if (const std::size_t lf = search.lf.from(lineEnd); lf != std::string_view::npos) {
    begin = lf + 1;
    end = search.lfBlank.from(lf + 1);
  } else {
    // No line break ends the timing line: the text would start past the end.
    throw std::out_of_range("invalid string position");
  }
  if (end == std::string_view::npos) end = doc.size();
  return std::string(doc.substr(begin, end - begin));
}

CueList ParseCues(const std::string& documentText, std::size_t fromPosition, const Dialect& dialect) {
  const std::string_view doc = documentText;
  TextSearches search(doc);
  CueList head;
  std::unique_ptr<SubtitleCue>* tail = &head;
  // Each arrow makes one cue; the search goes on one character after it, so
  // an arrow inside a cue's text starts a cue of its own.
  for (std::size_t arrow = doc.find(kArrow, fromPosition); arrow != std::string_view::npos;
       arrow = doc.find(kArrow, arrow + 1)) {
    auto cue = std::make_unique<SubtitleCue>();
    std::size_t lineEnd = 0;
    const std::string_view endStamp = EndStamp(doc, arrow, &lineEnd);
    cue->startMs = TimestampMs(StartStamp(doc, arrow), dialect);
    cue->endMs = TimestampMs(endStamp, dialect);
    cue->text = CueText(doc, lineEnd, search);
    *tail = std::move(cue);
    tail = &(*tail)->next;
  }
  return head;
}

}  // namespace

CueList ParseVttCues(std::string documentText, std::size_t fromPosition) {
  return ParseCues(documentText, fromPosition, kVtt);
}

CueList ParseSrtCues(std::string documentText, std::size_t fromPosition) {
  return ParseCues(documentText, fromPosition, kSrt);
}

}  // namespace korvid::subtitles
