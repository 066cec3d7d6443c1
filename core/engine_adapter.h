// The one place that knows which edition of the media engine is linked.
//
// The library is written against the engine's 4.x calls; on 3.x a few differ:
// stopping is synchronous (and deadlocks on the engine's own event thread),
// the time and position setters have no fast flag and return nothing, and
// seeking from the event thread deadlocks. This module maps those calls, owns
// the worker thread that runs, in order, the engine calls that must not run on
// the event thread, and keeps event callbacks off a player's input lock while
// a stop, media change or release waits for them.
#pragma once

#include <vlc/vlc.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace korvid::engine {

// The options the engine is always started with, in their fixed order.
inline constexpr int kFixedOptionCount = 13;
const char* const* FixedOptions();

// The fixed options less those the linked edition on this platform does not
// define (the engine refuses to start on an unknown option).
std::vector<const char*> AcceptedOptions(const char* engineVersion, bool windows);

// A new engine instance with the accepted options, or null.
libvlc_instance_t* NewInstance();

// Stops the player without waiting for it; safe from any thread.
void StopAsync(libvlc_media_player_t* player);

// A media change and a player's release. Both may wait for the player's event
// callbacks, so callbacks must not take the player's input lock meanwhile
// (core/input_gate.h); these close the player's gate around the call.
void SetMedia(libvlc_media_player_t* player, libvlc_media_t* media);
void ReleasePlayer(libvlc_media_player_t* player);

// The same queries and pause, for use inside an event callback. While a stop,
// media change or release of the player is under way they answer what the
// player answers once its input is gone: not seekable, length -1, no pause.
bool IsSeekableInCallback(libvlc_media_player_t* player);
int64_t LengthInCallback(libvlc_media_player_t* player);
void SetPauseInCallback(libvlc_media_player_t* player, bool pause);

// Exact or fast jumps. Result 0 on success, -1 when the engine refuses.
int SetTime(libvlc_media_player_t* player, int64_t timeMs, bool fast);
int SetPosition(libvlc_media_player_t* player, double position, bool fast);

// Jumps the playing `player` to `timeMs` on the worker, then pauses it there
// once a time report from playback after the jump's buffering shows that it
// got there; a report far from the target means the jump was lost, and it is
// made again (three jumps at most). This edition now and then loses a jump
// that a pause follows at once, and a pause that lands while the jump still
// buffers leaves the clock and the picture at the old position: the bare
// engine shows both (bench/engine_seek_rounds.cpp). `beforeJump` runs before
// each jump made again. The wait has no time limit: it wakes on the player's
// reports; it pauses at once when another task is posted or the worker is
// drained, and gives up without pausing when the player stops, ends or fails
// or a newer JumpAndHold takes over.
void JumpAndHold(libvlc_media_player_t* player, int64_t timeMs, std::function<void()> beforeJump);
// Whether a JumpAndHold of `player` has yet to pause it. A pause wanted
// meanwhile is left to it, and other engine calls on the player go to the
// worker, after that pause.
bool HoldingJump(const libvlc_media_player_t* player);

// Runs `task` on the worker thread after every task posted before it.
void RunOffEventThread(std::function<void()> task);

// Runs `call` with `player` on the worker thread, keeping the player alive
// until the call is done. Does nothing for a null player.
void RunOffEventThread(libvlc_media_player_t* player, std::function<void(libvlc_media_player_t*)> call);

// Waits until every task posted so far has run. Called before a player is
// released or replaced. Does nothing on the worker thread itself.
void DrainWorker();

// Latches the first of the player's "playing" and "error" reports while it
// exists. The engine shows its error state only briefly (and a short media can
// play and end between two looks), so a wait on the state alone can miss both.
class PlaybackWatch {
 public:
  enum class Outcome { kPlaying, kError };

  explicit PlaybackWatch(libvlc_media_player_t* player);
  ~PlaybackWatch();
  PlaybackWatch(const PlaybackWatch&) = delete;
  PlaybackWatch& operator=(const PlaybackWatch&) = delete;

  // The first report seen, if any.
  std::optional<Outcome> outcome() const;
  // Number of reports seen so far (of any kind the watch listens to).
  uint64_t reports() const;
  // Blocks until more than `seen` reports have arrived. No time limit.
  void waitBeyond(uint64_t seen) const;

 private:
  static void OnEvent(const libvlc_event_t* event, void* self);

  libvlc_event_manager_t* events_ = nullptr;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::optional<Outcome> outcome_;
  uint64_t reports_ = 0;
};

}  // namespace korvid::engine
