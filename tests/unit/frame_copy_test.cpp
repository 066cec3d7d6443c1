#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "video/frame_copy.h"
#include "video/frame_geometry.h"

namespace {

using korvid::video::FrameCopy;
using korvid::video::kFrameBytes;

// Draws a picture whose every pixel is (blue, green, red, pad) = (v, v+1, v+2, v+3)
// in the engine's byte order.
void Draw(uint8_t* target, uint8_t v) {
  for (std::size_t i = 0; i < kFrameBytes; i += 4) {
    target[i] = v;
    target[i + 1] = static_cast<uint8_t>(v + 1);
    target[i + 2] = static_cast<uint8_t>(v + 2);
    target[i + 3] = static_cast<uint8_t>(v + 3);
  }
}

// True when every pixel of a delivered frame is (red, green, blue, pad) of the
// picture drawn with `v`.
bool Shows(const std::vector<uint8_t>& frame, uint8_t v) {
  for (std::size_t i = 0; i < kFrameBytes; i += 4) {
    if (frame[i] != static_cast<uint8_t>(v + 2) || frame[i + 1] != static_cast<uint8_t>(v + 1) || frame[i + 2] != v ||
        frame[i + 3] != static_cast<uint8_t>(v + 3)) {
      return false;
    }
  }
  return true;
}

bool AllZero(const std::vector<uint8_t>& frame) {
  return std::all_of(frame.begin(), frame.end(), [](uint8_t b) { return b == 0; });
}

TEST(FrameCopy, TheHostReadsThePictureDrawnBeforeTheLastLock) {
  FrameCopy copy;
  std::vector<uint8_t> frame(kFrameBytes, 0xEE);
  copy.deliverTo(frame.data());
  EXPECT_TRUE(AllZero(frame));

  // First lock: nothing was drawn before it, so the host still reads zeros.
  uint8_t* target = copy.swapForNextPicture();
  Draw(target, 10);
  copy.deliverTo(frame.data());
  EXPECT_TRUE(AllZero(frame));

  // Second lock: picture 10 reaches the host; the engine gets the other half.
  uint8_t* next = copy.swapForNextPicture();
  EXPECT_NE(next, target);
  Draw(next, 20);
  copy.deliverTo(frame.data());
  EXPECT_TRUE(Shows(frame, 10));
  EXPECT_EQ(copy.swapForNextPicture(), target);
  copy.deliverTo(frame.data());
  EXPECT_TRUE(Shows(frame, 20));
}

TEST(FrameCopy, DeliveriesNeverMixTwoPictures) {
  FrameCopy copy;
  std::atomic<bool> done{false};
  // The engine's side: draws numbered pictures as fast as it can.
  std::thread engine([&] {
    for (int picture = 1; picture <= 300; ++picture) Draw(copy.swapForNextPicture(), static_cast<uint8_t>(picture * 4));
    copy.swapForNextPicture();
    done = true;
  });
  std::vector<uint8_t> frame(kFrameBytes);
  int deliveries = 0;
  while (!done || deliveries == 0) {
    copy.deliverTo(frame.data());
    ++deliveries;
    EXPECT_TRUE(AllZero(frame) || Shows(frame, frame[2])) << "delivery " << deliveries;
  }
  engine.join();
  copy.deliverTo(frame.data());
  EXPECT_TRUE(Shows(frame, static_cast<uint8_t>(300 * 4)));
}

}  // namespace
