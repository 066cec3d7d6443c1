// The byte reorder from the engine's pixels to the host's: for each 4-byte
// pixel s0 s1 s2 s3 the host receives s2 s1 s0 s3 (blue-green-red becomes
// red-green-blue; green and padding stay).
#pragma once

#include <cstddef>
#include <cstdint>

namespace korvid::video {

// `bytes` is a multiple of 8 (two pixels a step). `source` and `target` do not overlap.
void ReorderPixels(const uint8_t* source, uint8_t* target, std::size_t bytes);

// The portable form, kept for platforms without the vector path and for tests.
void ReorderPixelsScalar(const uint8_t* source, uint8_t* target, std::size_t bytes);

}  // namespace korvid::video
