// The hand-offs between the engine's threads and the host's: the event queue,
// the frame copy (with the pixel reorder on its way to the host), the input
// gate that keeps engine callbacks off a player while a stop, media change or
// release waits for them, and the rule that ends the audio switch's wait
// (including the cases in which it never ends, which the engine tests cannot
// wait for). The empty queue's answers are checked with the other exports' in
// the engine's lifecycle test.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <random>
#include <thread>

#include "core/event_queue.h"
#include "core/input_gate.h"
#include "exports/korvid_exports.h"
#include "tracks/audio_tracks.h"
#include "video/frame_copy.h"
#include "video/frame_geometry.h"
#include "video/pixel_reorder.h"

namespace korvid {
namespace {

using engine::InputGate;
using video::kFrameBytes;

TEST(EventQueue, FrontIsReadWithoutRemovingAndPushOrderHoldsAcrossThreads) {
  Events().clear();
  Events().push(14);
  Events().push(6);
  EXPECT_EQ(GetNativeQueueSize(), 2);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(NativeQueueFrontParamEvent(), 14);
  EXPECT_EQ(NativeQueueFrontParam1() | NativeQueueFrontParam2() | NativeQueueFrontParam3(), 0);
  EXPECT_FALSE(NativeQueueFrontIsString());
  NativeQueuePop();
  EXPECT_EQ(NativeQueueFrontParamEvent(), 6);
  EXPECT_EQ(GetNativeQueueSize(), 1);
  NativeQueuePop();

  // Each producer pushes its own ascending run; the host thread pops while they
  // push. Every event arrives once and each producer's run stays in order.
  constexpr int kPerThread = 20000;
  constexpr int kThreads = 3;
  std::vector<std::thread> producers;
  for (int t = 0; t < kThreads; ++t) {
    producers.emplace_back([t] { for (int i = 0; i < kPerThread; ++i) Events().push(t * kPerThread + i); });
  }
  std::vector<int> last(kThreads, -1);
  for (int received = 0; received < kThreads * kPerThread;) {
    if (NativeQueueIsEmpty()) continue;
    const int code = NativeQueueFrontParamEvent();
    NativeQueuePop();
    ASSERT_GT(code, last[code / kPerThread]);
    last[code / kPerThread] = code;
    ++received;
  }
  for (auto& p : producers) p.join();
  EXPECT_EQ(GetNativeQueueSize(), -1);
}

// Draws a picture whose every pixel is (blue, green, red, pad) = (v, v+1, v+2, v+3), the engine's byte order.
void Draw(uint8_t* target, uint8_t v) {
  for (std::size_t i = 0; i < kFrameBytes; ++i) target[i] = static_cast<uint8_t>(v + i % 4);
}

// True when every pixel of a delivered frame is (red, green, blue, pad) of the picture drawn with `v`.
bool Shows(const std::vector<uint8_t>& frame, uint8_t v) {
  const uint8_t expected[4] = {static_cast<uint8_t>(v + 2), static_cast<uint8_t>(v + 1), v, static_cast<uint8_t>(v + 3)};
  for (std::size_t i = 0; i < kFrameBytes; ++i) if (frame[i] != expected[i % 4]) return false;
  return true;
}

TEST(FrameCopy, TheHostReadsThePictureDrawnBeforeTheLastLockAndNeverTwoPicturesMixed) {
  video::FrameCopy copy;
  std::vector<uint8_t> frame(kFrameBytes, 0xEE);
  const auto delivered = [&]() -> const std::vector<uint8_t>& {
    copy.deliverTo(frame.data());
    return frame;
  };
  const std::vector<uint8_t> zeros(kFrameBytes, 0);
  EXPECT_TRUE(delivered() == zeros);
  // First lock: nothing was drawn before it, so the host still reads zeros.
  uint8_t* target = copy.swapForNextPicture();
  Draw(target, 10);
  EXPECT_TRUE(delivered() == zeros);
  // Second lock: picture 10 reaches the host; the engine gets the other half.
  Draw(copy.swapForNextPicture(), 20);
  EXPECT_TRUE(Shows(delivered(), 10));
  EXPECT_EQ(copy.swapForNextPicture(), target);
  EXPECT_TRUE(Shows(delivered(), 20));

  // The engine draws numbered pictures as fast as it can while the host reads.
  std::atomic<bool> done{false};
  std::thread engine([&] {
    for (int picture = 1; picture <= 300; ++picture) Draw(copy.swapForNextPicture(), static_cast<uint8_t>(picture * 4));
    copy.swapForNextPicture();
    done = true;
  });
  for (int deliveries = 1; !done || deliveries == 1; ++deliveries) {
    const std::vector<uint8_t>& shown = delivered();
    EXPECT_TRUE(Shows(shown, shown[2])) << "delivery " << deliveries;
  }
  engine.join();
  EXPECT_TRUE(Shows(delivered(), static_cast<uint8_t>(300 * 4)));
}

// The vector path and the portable path swap the first and third byte of
// every pixel alike (the frame copy tests above check the order itself), on
// every length (including the tails the vector path leaves to the portable
// one) and at every alignment of the host's buffer.
TEST(PixelReorder, VectorAndPortablePathsSwapRedAndBlue) {
  std::mt19937 random(7);
  std::vector<uint8_t> source(4096 + 8);
  for (auto& b : source) b = static_cast<uint8_t>(random());
  for (const std::size_t bytes : {8u, 56u, 64u, 72u, 1000u, 4096u, 4096u + 8u}) {
    std::vector<uint8_t> portable(bytes);
    video::ReorderPixelsScalar(source.data(), portable.data(), bytes);
    for (std::size_t offset = 0; offset < 16; offset += 4) {
      std::vector<uint8_t> storage(bytes + 16);
      video::ReorderPixels(source.data(), storage.data() + offset, bytes);
      EXPECT_TRUE(std::equal(portable.begin(), portable.end(), storage.begin() + static_cast<long>(offset)))
          << bytes << " bytes at offset " << offset;
    }
  }
}

// Stand-ins for two players: the gate only tells them apart by address.
int kPlayerA = 1;
int kPlayerB = 2;

TEST(InputGate, ClosedGateTurnsQueriesAwayUntilEveryCloserIsDoneAndClosingWaitsForTheQueryInside) {
  InputGate gate;
  bool ran = false;
  auto first = std::make_unique<InputGate::Closed>(gate, &kPlayerA);
  auto second = std::make_unique<InputGate::Closed>(gate, &kPlayerA);
  EXPECT_FALSE(gate.tryQuery(&kPlayerA, [] {}));
  EXPECT_TRUE(gate.tryQuery(&kPlayerB, [&] { ran = true; }));  // another player's callbacks go on
  EXPECT_TRUE(ran);
  first.reset();
  EXPECT_FALSE(gate.tryQuery(&kPlayerA, [] {}));
  second.reset();
  EXPECT_TRUE(gate.tryQuery(&kPlayerA, [] {}));

  std::promise<void> inside;
  std::atomic<bool> queryDone{false};
  std::thread callback([&] {
    gate.tryQuery(&kPlayerA, [&] {
      inside.set_value();
      std::this_thread::sleep_for(std::chrono::milliseconds(50));  // gives a gate that does not wait the time to close
      queryDone = true;
    });
  });
  inside.get_future().wait();
  {
    const InputGate::Closed closed(gate, &kPlayerA);
    EXPECT_TRUE(queryDone);
  }
  callback.join();
}

// HasLeftInitialTrack(described tracks, recorded track, current track).
TEST(AudioTrackCheck, SucceedsOnlyOnceTheEngineLeavesADescribedRecordedTrack) {
  const std::vector<tracks::AudioTrackEntry> described = {{-1, "Disable"}, {1, "Track 1"}, {2, "Track 2"}};
  EXPECT_TRUE(tracks::HasLeftInitialTrack(described, 1, 2));
  EXPECT_TRUE(tracks::HasLeftInitialTrack(described, 1, -1));
  EXPECT_FALSE(tracks::HasLeftInitialTrack(described, 1, 1));  // a switch back to it waits for ever
  EXPECT_FALSE(tracks::HasLeftInitialTrack(described, 7, 2));  // never described: never left
  EXPECT_FALSE(tracks::HasLeftInitialTrack({}, 1, 2));
  EXPECT_TRUE(tracks::HasLeftInitialTrack({}, -1, -1));  // no track at the first switch: at once
}

}  // namespace
}  // namespace korvid
