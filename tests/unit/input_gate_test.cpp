#include "core/input_gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace {

using korvid::engine::InputGate;

// Stand-ins for two players: the gate only tells them apart by address.
int kPlayerA = 1;
int kPlayerB = 2;

TEST(InputGate, ClosedGateTurnsQueriesOnThatPlayerAwayUntilItOpens) {
  InputGate gate;
  bool ran = false;
  {
    const InputGate::Closed closed(gate, &kPlayerA);
    EXPECT_FALSE(gate.tryQuery(&kPlayerA, [&] { ran = true; }));
    EXPECT_FALSE(ran);
    // Another player's callbacks go on as before.
    EXPECT_TRUE(gate.tryQuery(&kPlayerB, [&] { ran = true; }));
    EXPECT_TRUE(ran);
  }
  ran = false;
  EXPECT_TRUE(gate.tryQuery(&kPlayerA, [&] { ran = true; }));
  EXPECT_TRUE(ran);
}

TEST(InputGate, ClosingWaitsForTheQueryAlreadyInside) {
  InputGate gate;
  std::promise<void> inside;
  std::promise<void> release;
  std::atomic<bool> queryDone{false};
  std::thread callback([&] {
    gate.tryQuery(&kPlayerA, [&] {
      inside.set_value();
      release.get_future().wait();
      queryDone = true;
    });
  });
  inside.get_future().wait();

  std::atomic<bool> closedWhileQueryRan{false};
  std::thread closer([&] {
    const InputGate::Closed closed(gate, &kPlayerA);
    closedWhileQueryRan = !queryDone;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  release.set_value();
  closer.join();
  callback.join();
  EXPECT_FALSE(closedWhileQueryRan);
}

TEST(InputGate, TwoClosersKeepTheGateClosedUntilBothAreDone) {
  InputGate gate;
  auto first = std::make_unique<InputGate::Closed>(gate, &kPlayerA);
  auto second = std::make_unique<InputGate::Closed>(gate, &kPlayerA);
  first.reset();
  EXPECT_FALSE(gate.tryQuery(&kPlayerA, [] {}));
  second.reset();
  EXPECT_TRUE(gate.tryQuery(&kPlayerA, [] {}));
}

}  // namespace
