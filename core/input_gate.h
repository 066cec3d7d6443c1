// Keeps the engine's event callbacks away from a player's input lock while a
// call that holds that lock waits for the same callbacks to return.
//
// The engine's stop, media change and last release take the player's input
// lock and then wait for every callback running on that player's input. A
// callback that asks for the input lock meanwhile (a seekable or length query,
// a pause) never gets it, and neither side returns. Those waiting calls close
// the player's gate first: the gate waits for queries already inside, then
// turns new ones away until it opens again.
#pragma once

#include <condition_variable>
#include <mutex>
#include <unordered_map>

namespace korvid::engine {

class InputGate {
 public:
  // Closed from construction to destruction; blocks until no query on
  // `player` is running.
  class Closed {
   public:
    Closed(InputGate& gate, const void* player);
    ~Closed();
    Closed(const Closed&) = delete;
    Closed& operator=(const Closed&) = delete;

   private:
    InputGate& gate_;
    const void* player_;
  };

  // Runs `query` unless the gate of `player` is closed. True if it ran.
  template <typename Query>
  bool tryQuery(const void* player, Query&& query) {
    if (!enter(player)) return false;
    struct Leave {
      InputGate& gate;
      const void* player;
      ~Leave() { gate.leave(player); }
    } const leave{*this, player};
    query();
    return true;
  }

 private:
  struct State {
    int queries = 0;
    int closers = 0;
  };

  bool enter(const void* player);
  void leave(const void* player);

  std::mutex mutex_;
  std::condition_variable idle_;
  std::unordered_map<const void*, State> players_;  // only players with a query or a closer
};

}  // namespace korvid::engine
