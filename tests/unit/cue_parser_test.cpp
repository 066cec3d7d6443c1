#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "subtitles/cue_parser.h"

namespace {

using korvid::subtitles::CueList;
using korvid::subtitles::ParseSrtCues;
using korvid::subtitles::ParseVttCues;
using korvid::subtitles::SubtitleCue;

struct Cue {
  double startMs;
  double endMs;
  std::string text;
  bool operator==(const Cue& o) const { return startMs == o.startMs && endMs == o.endMs && text == o.text; }
};

std::ostream& operator<<(std::ostream& out, const Cue& c) {
  return out << "{" << c.startMs << "-" << c.endMs << " \"" << testing::PrintToString(c.text) << "\"}";
}

std::vector<Cue> Flatten(const CueList& head) {
  std::vector<Cue> cues;
  for (const SubtitleCue* c = head.get(); c != nullptr; c = c->next.get()) cues.push_back({c->startMs, c->endMs, c->text});
  return cues;
}

std::vector<Cue> Vtt(const std::string& doc) { return Flatten(ParseVttCues(doc, 0)); }
std::vector<Cue> Srt(const std::string& doc) { return Flatten(ParseSrtCues(doc, 0)); }

// Replaces every LF by CR LF.
std::string Crlf(const std::string& lf) {
  std::string out;
  for (const char c : lf) {
    if (c == '\n') out += '\r';
    out += c;
  }
  return out;
}

// Runs `parse` and returns the message of the exception of type E it throws.
template <typename E, typename F>
std::string MessageOf(F parse) {
  try {
    parse();
  } catch (const E& e) {
    return e.what();
  }
  return "(nothing thrown)";
}

const std::string kTwoCues =
    "WEBVTT\n\n1\n00:00:01.000 --> 00:00:02.500\nHello\nWorld\n\n2\n00:00:03.000 --> 00:00:04.000\nBye\n";

TEST(CueParser, WebVttWithLfAndCrLf) {
  EXPECT_EQ(Vtt(kTwoCues), (std::vector<Cue>{{1000, 2500, "Hello\nWorld"}, {3000, 4000, "Bye\n"}}));
  EXPECT_EQ(Vtt(Crlf(kTwoCues)), (std::vector<Cue>{{1000, 2500, "Hello\r\nWorld"}, {3000, 4000, "Bye\r\n"}}));
}

TEST(CueParser, SubRipBlockByBothParsers) {
  const std::string block = "1\r\n00:00:01,000 --> 00:00:02,000\r\nText\r\n\r\n";
  EXPECT_EQ(Srt(block), (std::vector<Cue>{{1000, 2000, "Text"}}));
  // The comma is an ordinary character to the WebVTT parser: "01,000" reads as 1 ms.
  EXPECT_EQ(Vtt(block), (std::vector<Cue>{{1, 2, "Text"}}));
  // And the full stop is one to the SubRip parser.
  EXPECT_EQ(Srt("00:00:01.900 --> 00:00:02.100\nx\n"), (std::vector<Cue>{{1, 2, "x\n"}}));
}

TEST(CueParser, TimestampArithmetic) {
  // The first field always weighs an hour, so the short form counts as hours and minutes.
  EXPECT_EQ(Vtt("01:30.500 --> 01:31.000\nx\n"), (std::vector<Cue>{{5400500, 5460000, "x\n"}}));
  // The millisecond field is the integer it spells.
  EXPECT_EQ(Vtt("00:00:01.5 --> 00:00:02.05\nx\n")[0].startMs, 1005);
  EXPECT_EQ(Vtt("00:00:01.5 --> 00:00:02.05\nx\n")[0].endMs, 2005);
  // Cue settings join the end timestamp: later fields are added unweighted.
  EXPECT_EQ(Vtt("00:00:01.000 --> 00:00:02.000 align:start position:10%\nx\n")[0].endMs, 2010);
  // One character before the arrow is skipped whatever it is.
  EXPECT_EQ(Vtt("00:00:01.500--> 00:00:02.000\nx\n")[0].startMs, 1050);
  EXPECT_EQ(Srt("00:00:01,000  --> 00:00:02,000\nx\n")[0].startMs, 1000);
  // Only the arrow's own line holds the start: an identifier line above is not read.
  EXPECT_EQ(Srt("12\n00:01:00,250 --> 00:01:01,000\nx\n")[0].startMs, 60250);
  // Hours beyond two digits and a leading sign pass through the conversion.
  EXPECT_EQ(Srt("100:00:00,000 --> -1:00:00,000\nx\n"), (std::vector<Cue>{{360000000, -3600000, "x\n"}}));
}

TEST(CueParser, TextRules) {
  // An arrow inside a text starts a cue of its own, timed from its line.
  EXPECT_EQ(Vtt("00:00:01.000 --> 00:00:02.000\nsee 00:00:05.000 --> here\n\n"),
            (std::vector<Cue>{{1000, 2000, "see 00:00:05.000 --> here"}, {5000, 0, "\n"}}));
  // A timing line with a blank line after it takes the next block.
  EXPECT_EQ(Vtt("00:00:01.000 --> 00:00:02.000\n\nnext block\n\nlast"),
            (std::vector<Cue>{{1000, 2000, "\nnext block"}}));
  // A "\r\n" anywhere later wins over the nearer "\n" that ends the timing line.
  EXPECT_EQ(Vtt("00:00:01.000 --> 00:00:02.000\nA\nB\r\nC\r\n\r\nD"), (std::vector<Cue>{{1000, 2000, "C"}}));
  // Without an end marker the text runs to the end of the document.
  EXPECT_EQ(Vtt("00:00:01.000 --> 00:00:02.000\nno end"), (std::vector<Cue>{{1000, 2000, "no end"}}));
}

TEST(CueParser, NoArrowAndStartPosition) {
  EXPECT_EQ(ParseVttCues("", 0), nullptr);
  EXPECT_EQ(ParseSrtCues("WEBVTT\n\n1\n-- > -> x\n", 0), nullptr);
  EXPECT_EQ(Flatten(ParseVttCues(kTwoCues, kTwoCues.find("-->") + 1)), (std::vector<Cue>{{3000, 4000, "Bye\n"}}));
  EXPECT_EQ(ParseVttCues(kTwoCues, kTwoCues.size()), nullptr);
}

TEST(CueParser, SubRipConversionErrors) {
  using Invalid = std::invalid_argument;
  using OutOfRange = std::out_of_range;
  EXPECT_EQ(MessageOf<Invalid>([] { Srt("00::01,000 --> 00:00:02,000\nx\n"); }), "invalid stoi argument");
  EXPECT_EQ(MessageOf<Invalid>([] { Srt("00:00:01, --> 00:00:02,000\nx\n"); }), "invalid stoi argument");
  EXPECT_EQ(MessageOf<Invalid>([] { Srt("1\n00:00:01,000 --> 00:00:02,000\nok\n\nab:00 --> 1\n"); }),
            "invalid stoi argument");
  EXPECT_EQ(MessageOf<OutOfRange>([] { Srt("00:00:01,2147483648 --> 00:00:02,000\nx\n"); }),
            "stoi argument out of range");
  EXPECT_EQ(MessageOf<Invalid>([] { Srt("00:00:01,- 1 --> 00:00:02,000\nx\n"); }), "invalid stoi argument");
  // Leading white space and a sign are part of the number, as in the C library.
  EXPECT_EQ(Srt("00:00: +1,-2147483648 --> 0\nx\n")[0].startMs, 1000 - 2147483648.0);
  // The WebVTT parser reads the same fields as 0 or saturates, without a throw.
  EXPECT_EQ(Vtt("00::01.000 --> ab:00:02.\nx\n"), (std::vector<Cue>{{1000, 2000, "x\n"}}));
  EXPECT_EQ(Vtt("00:00:00.99999999999 --> 0\nx\n")[0].startMs, 2147483647);
}

TEST(CueParser, StopsAtTheDocumentsBounds) {
  // An arrow at the very start: an empty start timestamp.
  EXPECT_EQ(Vtt("--> 00:00:02.000\nx\n"), (std::vector<Cue>{{0, 2000, "x\n"}}));
  EXPECT_EQ(MessageOf<std::invalid_argument>([] { Srt("--> 00:00:02,000\nx\n"); }), "invalid stoi argument");
  // A timing line with no line break after it: the text would begin past the end.
  EXPECT_EQ(MessageOf<std::out_of_range>([] { Vtt("00:00:01.000 --> 00:00:02.000"); }), "invalid string position");
  EXPECT_EQ(MessageOf<std::out_of_range>([] { Vtt("x -->"); }), "invalid string position");
  EXPECT_EQ(MessageOf<std::out_of_range>([] { Srt("1\n00:00:01,000 --> 00:00:02,000\nok\n\n00:00:03,000 --> 0"); }),
            "invalid string position");
}

TEST(CueParser, LongListsBuildAndDropInConstantStack) {
  std::string doc;
  constexpr int kCues = 100000;
  for (int i = 0; i < kCues; ++i) doc += std::to_string(i + 1) + "\n00:00:01,000 --> 00:00:02,000\nline\n\n";
  CueList head = ParseSrtCues(doc, 0);
  int count = 0;
  for (const SubtitleCue* c = head.get(); c != nullptr; c = c->next.get()) ++count;
  EXPECT_EQ(count, kCues);
  head.reset();  // a recursive destructor would overflow the stack here
}

}  // namespace
