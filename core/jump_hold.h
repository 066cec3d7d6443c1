// The state of a jump that waits for the engine's word before it pauses
// (engine::JumpAndHold): what the held player reported since the jump, and
// what ended the wait. One hold runs at a time, on the adapter's worker; the
// engine's event thread feeds it reports, and other threads hurry or
// supersede it.
#pragma once

#include <vlc/vlc.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <utility>

namespace korvid::engine {

class Hold {
 public:
  // What the hold has heard since its jump was made.
  struct Heard {
    bool started = false;   // a buffering report below 100 %: the jump's buffering began
    bool buffered = false;  // after that, one at 100 %
    int unbuffered = 0;     // time reports with no completed buffering
    std::optional<int64_t> time;  // the report that decides
    bool paused = false;    // the engine reported its pause
    bool over = false;      // stopped, ended or failed
  };

  // Marks `player` as held (on the thread that asks for the jump); returns the hold's id.
  uint64_t begin(const libvlc_media_player_t* player) {
    const std::lock_guard lock(mutex_);
    player_ = player;
    return ++id_;
  }
  void end(uint64_t id) {
    const std::lock_guard lock(mutex_);
    if (id_ == id) player_ = nullptr;
  }
  bool holding(const libvlc_media_player_t* player) {
    const std::lock_guard lock(mutex_);
    return player != nullptr && player_ == player;
  }
  // How a hold's wait ends.
  enum class Outcome { kReport, kHurried, kSuperseded, kOver };

  // Ends the wait of the hold under way: hurried, it pauses at once (the
  // task after it then finds the player paused, as the host believes it is);
  // superseded by a newer jump, it leaves the player to that one.
  void hurry() { interrupt(hurries_); }
  void supersede() { interrupt(supersessions_); }
  // The counts a hold compares with once it waits.
  std::pair<uint64_t, uint64_t> tickets() {
    const std::lock_guard lock(mutex_);
    return {hurries_, supersessions_};
  }
  // Forgets what was heard; reports are ignored until listen(true).
  void listen(bool on) {
    const std::lock_guard lock(mutex_);
    if (!on) heard_ = Heard{};
    listening_ = on;
  }
  // Waits for the deciding time report, the end of the player, or an
  // interruption since `tickets`; the report is stored in `time`. No time
  // limit: the reports wake it.
  Outcome await(std::pair<uint64_t, uint64_t> tickets, int64_t& time) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] {
      return supersessions_ != tickets.second || hurries_ != tickets.first || heard_.over || heard_.time;
    });
    if (supersessions_ != tickets.second) return Outcome::kSuperseded;
    if (heard_.over) return Outcome::kOver;
    if (hurries_ != tickets.first) return Outcome::kHurried;
    time = *heard_.time;
    return Outcome::kReport;
  }
  // Forgets an earlier pause report, before the hold pauses.
  void expectPause() {
    const std::lock_guard lock(mutex_);
    heard_.paused = false;
  }
  // Waits for the engine's report of the hold's pause (or the player's end,
  // or a newer jump): a play asked for straight after the pause would
  // otherwise cancel it inside the engine, and the host would see no change.
  void awaitPause(std::pair<uint64_t, uint64_t> tickets) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return supersessions_ != tickets.second || heard_.over || heard_.paused; });
  }

  // The engine's report callback; `self` is the hold.
  static void OnReport(const libvlc_event_t* event, void* self);

  // The reports OnReport listens to.
  static constexpr libvlc_event_type_t kReports[] = {
      libvlc_MediaPlayerBuffering, libvlc_MediaPlayerTimeChanged,   libvlc_MediaPlayerPaused,
      libvlc_MediaPlayerStopped,   libvlc_MediaPlayerEndReached, libvlc_MediaPlayerEncounteredError};

 private:
  void interrupt(uint64_t& count) {
    {
      const std::lock_guard lock(mutex_);
      ++count;
    }
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  const libvlc_media_player_t* player_ = nullptr;
  uint64_t id_ = 0;
  uint64_t hurries_ = 0;
  uint64_t supersessions_ = 0;
  bool listening_ = false;
  Heard heard_;
};

// The process's one hold.
Hold& TheHold();

}  // namespace korvid::engine
