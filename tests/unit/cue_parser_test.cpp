// The WebVTT and SubRip cue parsers: documents in, cues (or the exception that
// leaves the parser) out.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "subtitles/cue_parser.h"

namespace korvid::subtitles {
namespace {

using Cue = std::tuple<double, double, std::string>;  // start and end in milliseconds, text
using Cues = std::vector<Cue>;
enum Parser { kVtt, kSrt };

Cues Parse(Parser parser, const std::string& doc, std::size_t start = 0) {
  const CueList head = parser == kVtt ? ParseVttCues(doc, start) : ParseSrtCues(doc, start);
  Cues cues;
  for (const SubtitleCue* c = head.get(); c != nullptr; c = c->next.get()) cues.emplace_back(c->startMs, c->endMs, c->text);
  return cues;
}

// The cues of `doc`, or the exception that left the parser.
std::string Outcome(Parser parser, const std::string& doc) {
  try {
    return testing::PrintToString(Parse(parser, doc));
  } catch (const std::invalid_argument& e) {
    return std::string("invalid_argument: ") + e.what();
  } catch (const std::out_of_range& e) {
    return std::string("out_of_range: ") + e.what();
  }
}

const std::string kTwoCues =
    "WEBVTT\n\n1\n00:00:01.000 --> 00:00:02.500\nHello\nWorld\n\n2\n00:00:03.000 --> 00:00:04.000\nBye\n";
const std::string kSrtBlock = "1\r\n00:00:01,000 --> 00:00:02,000\r\nText\r\n\r\n";

TEST(CueParser, DocumentsGiveTheirCuesOrThrow) {
  const auto cues = [](const Cues& expected) { return testing::PrintToString(expected); };
  const std::string kInvalid = "invalid_argument: invalid stoi argument";
  const std::string kPosition = "out_of_range: invalid string position";
  const std::tuple<Parser, std::string, std::string> cases[] = {  // parser, document, cues or exception
      {kVtt, kTwoCues, cues({{1000, 2500, "Hello\nWorld"}, {3000, 4000, "Bye\n"}})},
      {kVtt, "WEBVTT\r\n\r\n1\r\n00:00:01.000 --> 00:00:02.500\r\nHello\r\nWorld\r\n\r\n2\r\n00:00:03.000 --> 00:00:04.000\r\nBye\r\n",
       cues({{1000, 2500, "Hello\r\nWorld"}, {3000, 4000, "Bye\r\n"}})},
      {kSrt, kSrtBlock, cues({{1000, 2000, "Text"}})},
      // The comma is an ordinary character to the WebVTT parser: "01,000" reads as 1 ms; the full stop to SubRip's.
      {kVtt, kSrtBlock, cues({{1, 2, "Text"}})},
      {kSrt, "00:00:01.900 --> 00:00:02.100\nx\n", cues({{1, 2, "x\n"}})},
      // The first field always weighs an hour, so the short form counts as hours and minutes.
      {kVtt, "01:30.500 --> 01:31.000\nx\n", cues({{5400500, 5460000, "x\n"}})},
      // The millisecond field is the integer it spells; cue settings join the end, unweighted.
      {kVtt, "00:00:01.5 --> 00:00:02.05\nx\n", cues({{1005, 2005, "x\n"}})},
      {kVtt, "00:00:01.000 --> 00:00:02.000 align:start position:10%\nx\n", cues({{1000, 2010, "x\n"}})},
      // One character before the arrow is skipped whatever it is; only the arrow's line holds the start.
      {kVtt, "00:00:01.500--> 00:00:02.000\nx\n", cues({{1050, 2000, "x\n"}})},
      {kSrt, "00:00:01,000  --> 00:00:02,000\nx\n", cues({{1000, 2000, "x\n"}})},
      {kSrt, "12\n00:01:00,250 --> 00:01:01,000\nx\n", cues({{60250, 61000, "x\n"}})},
      // Long hours, signs and leading blanks pass through the conversion, as in the C library.
      {kSrt, "100:00:00,000 --> -1:00:00,000\nx\n", cues({{360000000, -3600000, "x\n"}})},
      {kSrt, "00:00: +1,-2147483648 --> 0\nx\n", cues({{1000 - 2147483648.0, 0, "x\n"}})},
      // The WebVTT parser reads bad fields as 0 or saturates, without a throw.
      {kVtt, "00::01.000 --> ab:00:02.\nx\n", cues({{1000, 2000, "x\n"}})},
      {kVtt, "00:00:00.99999999999 --> 0\nx\n", cues({{2147483647, 0, "x\n"}})},
      {kVtt, "--> 00:00:02.000\nx\n", cues({{0, 2000, "x\n"}})},  // an empty start timestamp
      // An arrow inside a text starts a cue of its own, timed from its line.
      {kVtt, "00:00:01.000 --> 00:00:02.000\nsee 00:00:05.000 --> here\n\n",
       cues({{1000, 2000, "see 00:00:05.000 --> here"}, {5000, 0, "\n"}})},
      // A timing line with a blank line after it takes the next block.
      {kVtt, "00:00:01.000 --> 00:00:02.000\n\nnext block\n\nlast", cues({{1000, 2000, "\nnext block"}})},
      // A "\r\n" anywhere later wins over the nearer "\n" that ends the timing line.
      {kVtt, "00:00:01.000 --> 00:00:02.000\nA\nB\r\nC\r\n\r\nD", cues({{1000, 2000, "C"}})},
      {kVtt, "00:00:01.000 --> 00:00:02.000\nno end", cues({{1000, 2000, "no end"}})},  // the text runs to the end
      {kVtt, "", cues({})},
      // The SubRip path's conversion errors, and positions past the document's end, leave as exceptions.
      {kSrt, "00::01,000 --> 00:00:02,000\nx\n", kInvalid},
      {kSrt, "00:00:01, --> 00:00:02,000\nx\n", kInvalid},
      {kSrt, "1\n00:00:01,000 --> 00:00:02,000\nok\n\nab:00 --> 1\n", kInvalid},
      {kSrt, "00:00:01,- 1 --> 00:00:02,000\nx\n", kInvalid},
      {kSrt, "--> 00:00:02,000\nx\n", kInvalid},
      {kSrt, "00:00:01,2147483648 --> 00:00:02,000\nx\n", "out_of_range: stoi argument out of range"},
      {kVtt, "00:00:01.000 --> 00:00:02.000", kPosition},  // the text would begin past the end
      {kVtt, "x -->", kPosition},
      {kSrt, "1\n00:00:01,000 --> 00:00:02,000\nok\n\n00:00:03,000 --> 0", kPosition},
      {kSrt, "WEBVTT\n\n1\n-- > -> x\n", cues({})},
  };
  for (const auto& [parser, doc, outcome] : cases) EXPECT_EQ(Outcome(parser, doc), outcome) << testing::PrintToString(doc);
  // Parsing starts at the given position.
  EXPECT_EQ(Parse(kVtt, kTwoCues, kTwoCues.find("-->") + 1), (Cues{{3000, 4000, "Bye\n"}}));
  EXPECT_TRUE(Parse(kVtt, kTwoCues, kTwoCues.size()).empty());
}

TEST(CueParser, LongListsBuildAndDropInConstantStack) {
  std::string doc;
  for (int i = 0; i < 100000; ++i) doc += std::to_string(i + 1) + "\n00:00:01,000 --> 00:00:02,000\nline\n\n";
  EXPECT_EQ(Parse(kSrt, doc).size(), 100000u);  // a recursive destructor would overflow the stack
}

}  // namespace
}  // namespace korvid::subtitles
