// The FIFO of events the host polls. The library never calls the host back:
// engine threads push here and the host pops on its own thread.
#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

namespace korvid {

// Event codes as the host's scripts know them; the gaps are part of the
// interface (no other code is ever queued).
namespace event_code {
inline constexpr int32_t kReady = 1;              // first completed buffering after an open or restart
inline constexpr int32_t kPlaying = 2;
inline constexpr int32_t kEndOfContent = 3;
inline constexpr int32_t kBufferingFinished = 6;
inline constexpr int32_t kPaused = 9;
inline constexpr int32_t kStopped = 12;
inline constexpr int32_t kSeekCompleted = 13;
inline constexpr int32_t kBuffering = 14;
inline constexpr int32_t kOpening = 257;
}  // namespace event_code

// One entry: 16 bytes, four 32-bit fields; the parameters are always 0 for
// the events this library produces.
struct QueuedEvent {
  int32_t eventCode = 0;
  int32_t param1 = 0;
  int32_t param2 = 0;
  int32_t param3 = 0;
};

// Thread-safe: pushes come from the engine's event thread and the host's
// thread, reads and pops from the host's thread.
class EventQueue {
 public:
  void push(int32_t code);
  void pop();
  void clear();
  bool empty() const;
  std::size_t size() const;
  std::optional<QueuedEvent> front() const;

 private:
  mutable std::mutex mutex_;
  std::deque<QueuedEvent> entries_;
};

// The one process-wide queue.
EventQueue& Events();

}  // namespace korvid
