// NativeGetRawData against a plain memcpy of one frame on the same machine.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "exports/korvid_exports.h"
#include "video/frame_geometry.h"

namespace {

void BM_PlainMemcpy(benchmark::State& state) {
  std::vector<uint8_t> source(korvid::video::kFrameBytes, 7), target(korvid::video::kFrameBytes);
  for (auto _ : state) {
    std::memcpy(target.data(), source.data(), source.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(source.size()));
}
BENCHMARK(BM_PlainMemcpy)->Unit(benchmark::kMicrosecond);

void BM_NativeGetRawData(benchmark::State& state) {
  std::vector<uint8_t> target(korvid::video::kFrameBytes);
  for (auto _ : state) {
    benchmark::DoNotOptimize(NativeGetRawData(target.data()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(target.size()));
}
BENCHMARK(BM_NativeGetRawData)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
