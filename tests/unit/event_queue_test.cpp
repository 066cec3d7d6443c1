#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "core/event_queue.h"
#include "exports/korvid_exports.h"

namespace {

class QueueExports : public testing::Test {
 protected:
  void SetUp() override { korvid::Events().clear(); }
  void TearDown() override { korvid::Events().clear(); }
};

TEST_F(QueueExports, EmptyQueueAnswersMinusOneEverywhere) {
  EXPECT_TRUE(NativeQueueIsEmpty());
  EXPECT_EQ(GetNativeQueueSize(), -1);
  EXPECT_EQ(NativeQueueFrontParamEvent(), -1);
  EXPECT_EQ(NativeQueueFrontParam1(), -1);
  EXPECT_EQ(NativeQueueFrontParam2(), -1);
  EXPECT_EQ(NativeQueueFrontParam3(), -1);
  EXPECT_FALSE(NativeQueueFrontIsString());
  for (int i = 0; i < 5; ++i) NativeQueuePop();
  EXPECT_TRUE(NativeQueueIsEmpty());
  korvid::Events().push(2);
  EXPECT_EQ(GetNativeQueueSize(), 1);
}

TEST_F(QueueExports, FrontAccessorsReadWithoutRemoving) {
  korvid::Events().push(14);
  korvid::Events().push(6);
  EXPECT_EQ(NativeQueueFrontParamEvent(), 14);
  EXPECT_EQ(NativeQueueFrontParamEvent(), 14);
  EXPECT_EQ(NativeQueueFrontParam1(), 0);
  EXPECT_EQ(NativeQueueFrontParam2(), 0);
  EXPECT_EQ(NativeQueueFrontParam3(), 0);
  EXPECT_FALSE(NativeQueueFrontIsString());
  NativeQueueFrontString("ignored");
  EXPECT_EQ(GetNativeQueueSize(), 2);
  NativeQueuePop();
  EXPECT_EQ(NativeQueueFrontParamEvent(), 6);
  NativeQueuePop();
  EXPECT_EQ(GetNativeQueueSize(), -1);
}

// Each producer pushes its own ascending run; the host thread pops while they
// push. Every event arrives once and each producer's run stays in order.
TEST_F(QueueExports, KeepsPushOrderAcrossThreads) {
  constexpr int kPerThread = 20000;
  constexpr int kThreads = 3;
  std::vector<std::thread> producers;
  for (int t = 0; t < kThreads; ++t) {
    producers.emplace_back([t] {
      for (int i = 0; i < kPerThread; ++i) korvid::Events().push(t * kPerThread + i);
    });
  }
  std::vector<int> last(kThreads, -1);
  int received = 0;
  while (received < kThreads * kPerThread) {
    if (NativeQueueIsEmpty()) continue;
    const int code = NativeQueueFrontParamEvent();
    NativeQueuePop();
    const int producer = code / kPerThread;
    ASSERT_GT(code, last[producer]);
    last[producer] = code;
    ++received;
  }
  for (auto& p : producers) p.join();
  EXPECT_EQ(GetNativeQueueSize(), -1);
}

}  // namespace
