// The subtitle side short of playing: the WebVTT and SubRip cue parsers
// (documents in, cues or the exception that leaves the parser out), the HLS
// scans for renditions and segments, what opening a source records, the
// segment lists built from its tracks, and the whole-file read. How these
// play (ffmpeg's HLS renditions included) is the engine's SubtitleUpdate tests.
#include <gtest/gtest.h>

#include <stdexcept>

#include "core/player_record.h"
#include "exports/korvid_exports.h"
#include "subtitles/cue_parser.h"
#include "subtitles/hls_playlists.h"
#include "subtitles/playlist_scan.h"
#include "subtitles/subtitle_lifecycle.h"
#include "subtitles/subtitle_source.h"
#include "subtitles/subtitle_state.h"
#include "support/http_server.h"
#include "support/media.h"

namespace korvid::subtitles {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

using Cues = std::vector<std::tuple<double, double, std::string>>;  // start and end in milliseconds, text
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

const std::string kTwoCues = "WEBVTT\n\n1\n00:00:01.000 --> 00:00:02.500\nHello\nWorld\n\n2\n00:00:03.000 --> 00:00:04.000\nBye\n";
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

  // A long list builds and drops in constant stack: a recursive destructor would overflow it.
  std::string doc;
  for (int i = 0; i < 100000; ++i) doc += std::to_string(i + 1) + "\n00:00:01,000 --> 00:00:02,000\nline\n\n";
  EXPECT_EQ(Parse(kSrt, doc).size(), 100000u);
}

// The label and location of each track.
Pairs Labelled(const TrackList& tracks) {
  Pairs out;
  for (const auto& t : tracks) out.emplace_back(t.label, t.uri);
  return out;
}

// A master playlist's subtitle renditions and a media playlist's segment names.
TEST(PlaylistScan, MasterRenditionsAndMediaSegments) {
  const std::pair<std::string, Pairs> masters[] = {
      {"#EXTM3U\n#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"s\",NAME=\"English\",LANGUAGE=\"en\",URI=\"subs/en.m3u8\"\n"
       "#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID=\"s\",NAME=\"Deutsch\",URI=\"subs/de.m3u8\"\n"
       "#EXT-X-STREAM-INF:BANDWIDTH=1000,SUBTITLES=\"s\"\nvideo.m3u8\n",
       {{"en", "subs/en.m3u8"}, {"Deutsch", "subs/de.m3u8"}}},
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"a.m3u8\"\n", {{"Unknown", "a.m3u8"}}},
      {"#EXTM3U\r\n#EXT-X-MEDIA:TYPE=SUBTITLES,LANGUAGE=\"fr\",URI=\"fr.m3u8\"\r\n", {{"fr", "fr.m3u8"}}},
      // Searches run past the tag's line: LANGUAGE and URI come from the audio line below.
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,NAME=\"Sub\"\n#EXT-X-MEDIA:TYPE=AUDIO,LANGUAGE=\"es\",URI=\"audio.m3u8\"\n"
       "#EXT-X-MEDIA:TYPE=SUBTITLES,NAME=\"Other\",URI=\"other.m3u8\"\n",
       {{"es", "audio.m3u8"}, {"Other", "other.m3u8"}}},
      // The value starts one past the "=" whatever is there; no closing quote runs to the end.
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,LANGUAGE=xen\",URI=\"tail", {{"en", "tail"}}},
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"u\" LANGUAGE=", {{"", "u"}}},  // an empty label
      {"", {}},
      {"#EXTM3U\n#EXT-X-MEDIA:TYPE=AUDIO,URI=\"a.m3u8\"\n", {}},
      // The scan ends at the first tag without URI, and its name is matched in any case.
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"1\"\n#EXT-X-MEDIA:TYPE=SUBTITLES\n#ext-x-media:type=subtitles,URI=\"lower\"\n",
       {{"Unknown", "1"}, {"Unknown", "lower"}}},
      {"#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"1\"\n#EXT-X-MEDIA:TYPE=SUBTITLES\n", {{"Unknown", "1"}}},
  };
  for (const auto& [master, expected] : masters) EXPECT_EQ(Labelled(ScanMasterPlaylist(master)), expected) << master;

  const std::pair<std::string, std::vector<std::string>> mediaPlaylists[] = {
      {"#EXTM3U\n#EXT-X-TARGETDURATION:6\n#EXTINF:6,\nseg1.vtt\n#EXTINF:6,\nseg2.vtt\n#EXT-X-ENDLIST\n", {"seg1.vtt", "seg2.vtt"}},
      {"#EXTM3U\r\n#EXTINF:6,\r\nseg1.vtt\r\n#EXTINF:6,\r\nseg2.vtt\r\n#EXT-X-ENDLIST\r\n", {"seg1.vtt", "seg2.vtt"}},
      // What follows the marker is dropped; duplicates are kept; a first line has no line feed before it.
      {"a.vtt?tok=1\nhttp://h/b.vtt\na.vtt", {"a.vtt", "http://h/b.vtt", "a.vtt"}},
      {"#EXTINF:4,\nsub-0.webvtt\nsub-1.webvtt\n", {"sub-0.webvtt", "sub-1.webvtt"}},
      // One ".vtt" anywhere (a comment here) shuts out every ".webvtt" entry.
      {"#EXTM3U\n# made from in.vtt\nsub-0.webvtt\nsub-1.webvtt\n", {"# made from in.vtt"}},
      {"#EXTM3U\nseg1.ts\nseg2.srt\n", {}},
      {"", {}},
  };
  for (const auto& [playlist, expected] : mediaPlaylists) EXPECT_EQ(ScanMediaPlaylistSegments(playlist), expected) << playlist;
}

// Label, files and visited flag of each list.
using Lists = std::vector<std::tuple<std::string, std::vector<std::string>, bool>>;
Lists Describe(const SegmentLists& lists) {
  Lists out;
  for (const auto& list : lists) out.emplace_back(list.label, list.segmentUrls, list.visited);
  return out;
}

TEST(SubtitleSources, TheExtensionDecidesWhatAnOpenRecordsAndTracksBecomeSegmentLists) {
  ResetOnInit();  // the source a start-up leaves
  test::HttpServer& server = test::SharedServer();
  server.serve("/hls/master.m3u8",
               "#EXTM3U\n#EXT-X-MEDIA:TYPE=SUBTITLES,LANGUAGE=\"en\",NAME=\"English\",URI=\"subs/en.m3u8\"\n"
               "#EXT-X-MEDIA:TYPE=SUBTITLES,NAME=\"Other\",URI=\"/abs/../x.m3u8\"\n");
  server.serve("/abs.m3u8",
               "#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"http://elsewhere/a.m3u8\"\n#EXT-X-MEDIA:TYPE=SUBTITLES,URI=\"b.m3u8\"\n");
  server.serve("/plain.m3u8", "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nv.m3u8\n");
  const std::string base = server.url("/hls/");
  const Pairs direct{{"?", "subs/en.srt"}};
  constexpr SourceMode kFile = SourceMode::kDirectFile;
  constexpr SourceMode kHls = SourceMode::kHlsMaster;
  // location, opened, then the source's mode and tracks
  const std::tuple<std::string, bool, SourceMode, Pairs> cases[] = {
      {"subs/first.srt", true, kFile, {{"?", "subs/first.srt"}}},
      {"subs/en.srt", true, kFile, direct},
      // Unknown extensions (case and query text count) replace the location only.
      {"subs/en.vtt", false, kFile, direct}, {"subs/en.SRT", false, kFile, direct},
      {"list.M3U8", false, kFile, direct}, {"list.m3u8?a=b", false, kFile, direct},
      {"no-dot", false, kFile, direct}, {"", false, kFile, direct},
      // A master's tracks are resolved against its directory...
      {server.url("/hls/master.m3u8"), true, kHls, {{"en", base + "subs/en.m3u8"}, {"Other", base + "/abs/../x.m3u8"}}},
      // ...unless its first track is absolute: then a relative second one stays as it is.
      {server.url("/abs.m3u8"), true, kHls, {{"Unknown", "http://elsewhere/a.m3u8"}, {"Unknown", "b.m3u8"}}},
      {server.url("/plain.m3u8"), false, kHls, {}},  // no subtitle rendition
      {test::DeadLocation("/m.m3u8"), false, kHls, {}},
  };
  for (const auto& [location, opened, mode, tracks] : cases) {
    EXPECT_EQ(NativeOpenSubtitleURI(location.c_str()), opened) << location;
    EXPECT_EQ(State().subtitleUri, location);
    EXPECT_EQ(State().sourceMode, mode) << location;
    EXPECT_EQ(Labelled(State().tracks), tracks) << location;
  }
  EXPECT_FALSE(NativeOpenSubtitleURI(nullptr));

  // The segment lists built from the tracks of a master and of a direct file.
  server.serve("/a/en.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\nseg1.vtt?t=1\n#EXTINF:4,\nseg2.vtt\n");
  server.serve("/b/de.m3u8", "#EXTM3U\n#EXTINF:4,\nts-only.ts\n");
  server.serve("/direct.srt", "1\n00:00:01,000 --> 00:00:02,000\nx\n\n");
  server.clearRequests();
  const auto url = [&server](const char* path) { return server.url(path); };
  EXPECT_EQ(Describe(ParseSubtitleMediaPlaylists(
                {{"en", url("/a/en.m3u8")}, {"de", url("/b/de.m3u8")}, {"gone", url("/missing.m3u8")}}, "unused")),
            (Lists{{"en", {url("/a/seg1.vtt"), url("/a/seg2.vtt")}, false}, {"de", {}, false}, {"gone", {}, false}}));
  // A direct file's list is its location, which is requested once (and printed).
  EXPECT_EQ(Describe(BuildDirectTrackLists({{"?", url("/direct.srt")}, {"?", "/no/such/local.srt"}})),
            (Lists{{"?", {url("/direct.srt")}, false}, {"?", {"/no/such/local.srt"}, false}}));
  EXPECT_EQ(server.requests("/direct.srt").size(), 1u);
}

TEST(ReadWholeFile, ReadsEveryChunk) {
  std::string text;  // over two chunks and a part, with a NUL inside
  for (int i = 0; i < 10000; ++i) text += i == 5000 ? '\0' : static_cast<char>('a' + i % 26);
  EXPECT_EQ(ReadWholeFile(test::WriteWorkFile("whole.srt", text)), text);
  EXPECT_EQ(ReadWholeFile("/no/such/file.srt"), "");
}

// The caption exports' answers and log lines with no player are the lifecycle
// table of the engine tests. Here, multi-instance mode without a third slot:
// no clock, so no update, and no check of the engine's own tracks.
TEST(CaptionExports, NoClockNoUpdate) {
  Record().instanceCount = 2;
  EXPECT_EQ(NativeUpdateSubtitle(std::string(16, '\0').data()), 0);
  EXPECT_FALSE(NativeCheckSpuContent());
  Record().instanceCount = 1;
}

}  // namespace
}  // namespace korvid::subtitles
