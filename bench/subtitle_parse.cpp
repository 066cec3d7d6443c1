// Parsing a whole SubRip document into cues: 10,000 cues should take well under
// 20 ms, and ten times the cues at most about ten times as long.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "subtitles/cue_parser.h"

namespace {

// A SubRip document of `cues` numbered two-line cues, one second apart, with
// CR LF breaks or with LF only (where every cue's search for a CR LF pair
// would otherwise run to the end of the document).
std::string SubRipDocument(int64_t cues, const std::string& lineBreak) {
  std::string doc;
  for (int64_t i = 0; i < cues; ++i) {
    const int64_t s = i;  // start second
    auto stamp = [](int64_t second, int ms) {
      char text[32];
      std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld,%03d", static_cast<long long>(second / 3600),
                    static_cast<long long>(second / 60 % 60), static_cast<long long>(second % 60), ms);
      return std::string(text);
    };
    doc += std::to_string(i + 1) + lineBreak + stamp(s, 0) + " --> " + stamp(s, 900) + lineBreak;
    doc += "Line one of cue " + std::to_string(i + 1) + lineBreak + "and its second line" + lineBreak + lineBreak;
  }
  return doc;
}

void ParseDocument(benchmark::State& state, const std::string& lineBreak) {
  const std::string doc = SubRipDocument(state.range(0), lineBreak);
  for (auto _ : state) {
    korvid::subtitles::CueList cues = korvid::subtitles::ParseSrtCues(doc, 0);
    benchmark::DoNotOptimize(cues.get());
  }
  state.SetComplexityN(state.range(0));
  state.counters["bytes"] = static_cast<double>(doc.size());
}
void BM_ParseSrtCuesCrLf(benchmark::State& state) { ParseDocument(state, "\r\n"); }
void BM_ParseSrtCuesLf(benchmark::State& state) { ParseDocument(state, "\n"); }
BENCHMARK(BM_ParseSrtCuesCrLf)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);
BENCHMARK(BM_ParseSrtCuesLf)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

}  // namespace

BENCHMARK_MAIN();
