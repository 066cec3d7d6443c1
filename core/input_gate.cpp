#include "core/input_gate.h"

namespace korvid::engine {

InputGate::Closed::Closed(InputGate& gate, const void* player) : gate_(gate), player_(player) {
  std::unique_lock lock(gate_.mutex_);
  State& state = gate_.players_[player_];  // element references survive rehashing
  ++state.closers;
  gate_.idle_.wait(lock, [&] { return state.queries == 0; });
}

InputGate::Closed::~Closed() {
  const std::lock_guard lock(gate_.mutex_);
  const auto it = gate_.players_.find(player_);
  if (--it->second.closers == 0 && it->second.queries == 0) gate_.players_.erase(it);
}

bool InputGate::enter(const void* player) {
  const std::lock_guard lock(mutex_);
  State& state = players_[player];
  if (state.closers > 0) return false;
  ++state.queries;
  return true;
}

void InputGate::leave(const void* player) {
  const std::lock_guard lock(mutex_);
  const auto it = players_.find(player);
  if (--it->second.queries > 0) return;
  idle_.notify_all();
  if (it->second.closers == 0) players_.erase(it);
}

}  // namespace korvid::engine
