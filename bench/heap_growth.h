// Memory held by the process, as the soak test and bench_soak_growth measure
// it, and the least-squares growth of a series of such samples.
#pragma once

#include <malloc.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <vector>

namespace korvid::bench {

struct HeapSample {
  double resident = 0;   // resident memory, bytes
  double handedOut = 0;  // bytes the allocator has handed out and not had back, small blocks and big ones
  double bigBlocks = 0;  // of those, in blocks of 4 MB or more (each mapped on its own, so counted exactly)
};

// After trimming what the allocator can give back.
inline HeapSample MeasureHeap() {
  malloc_trim(0);
  long pages = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  const struct mallinfo2 info = mallinfo2();
  return {static_cast<double>(resident * sysconf(_SC_PAGESIZE)), static_cast<double>(info.uordblks + info.hblkhd),
          static_cast<double>(info.hblkhd)};
}

// Least-squares growth per sample.
inline double Slope(const std::vector<double>& y) {
  const double n = static_cast<double>(y.size());
  double sx = 0, sy = 0, sxx = 0, sxy = 0;
  for (std::size_t i = 0; i < y.size(); ++i) {
    const double x = static_cast<double>(i);
    sx += x;
    sy += y[i];
    sxx += x * x;
    sxy += x * y[i];
  }
  return (n * sxy - sx * sy) / (n * sxx - sx * sx);
}

}  // namespace korvid::bench
