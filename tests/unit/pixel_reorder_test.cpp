#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "video/pixel_reorder.h"

namespace korvid::video {
namespace {

TEST(PixelReorder, SwapsFirstAndThirdByteOfEveryPixel) {
  const std::vector<uint8_t> source = {10, 20, 30, 40, 1, 2, 3, 4};
  std::vector<uint8_t> target(8);
  ReorderPixels(source.data(), target.data(), 8);
  EXPECT_EQ(target, (std::vector<uint8_t>{30, 20, 10, 40, 3, 2, 1, 4}));
}

// The vector path and the portable path agree on every length, including the
// tails the vector path leaves to the portable one.
TEST(PixelReorder, VectorPathMatchesPortablePath) {
  std::mt19937 random(7);
  for (const std::size_t bytes : {8u, 56u, 64u, 72u, 1000u, 4096u + 8u}) {
    std::vector<uint8_t> source(bytes);
    for (auto& b : source) b = static_cast<uint8_t>(random());
    std::vector<uint8_t> fast(bytes), portable(bytes);
    ReorderPixels(source.data(), fast.data(), bytes);
    ReorderPixelsScalar(source.data(), portable.data(), bytes);
    EXPECT_EQ(fast, portable) << bytes;
  }
}

}  // namespace
}  // namespace korvid::video

namespace korvid::video {
namespace {

// Host buffers need not be 16-byte aligned: every offset gives the same bytes.
TEST(PixelReorder, AnyTargetAlignmentGivesTheSameBytes) {
  std::vector<uint8_t> source(4096);
  for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(i * 7);
  std::vector<uint8_t> expected(source.size());
  ReorderPixelsScalar(source.data(), expected.data(), source.size());
  std::vector<uint8_t> storage(source.size() + 32);
  for (std::size_t offset = 0; offset < 16; offset += 4) {
    ReorderPixels(source.data(), storage.data() + offset, source.size());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), storage.begin() + static_cast<long>(offset))) << offset;
  }
}

}  // namespace
}  // namespace korvid::video
