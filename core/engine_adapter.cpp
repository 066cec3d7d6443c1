#include "core/engine_adapter.h"

#include <cstdlib>
#include <cstring>
#include <deque>
#include <optional>
#include <thread>

#include "core/input_gate.h"
#include "core/no_destructor.h"
#include "core/platform.h"

namespace korvid::engine {
namespace {

constexpr const char* kOptions[kFixedOptionCount] = {
    "--ignore-config",
    "--file-logging",
    "--logfile=C:\\REPOS\\vlclog.log",
    "--verbose=2",
    "--no-osd",
    "--deinterlace=-1",
    "--deinterlace-mode=auto",
    "--ffmpeg-hw",
    "--directx-hw-yuv",
    "--low-delay",
    "--network-caching=250",
    "--drop-late-frames",
    "--skip-frames",
};

// A jump that waits for the engine's word before it pauses (JumpAndHold).
// One runs at a time, on the worker; the event thread feeds it reports.
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
  // Waits for the engine's report of the hold's pause (or the player's end,
  // or a newer jump): a play asked for straight after the pause would
  // otherwise cancel it inside the engine, and the host would see no change.
  void awaitPause(std::pair<uint64_t, uint64_t> tickets) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return supersessions_ != tickets.second || heard_.over || heard_.paused; });
  }

  static void OnReport(const libvlc_event_t* event, void* self) {
    auto* hold = static_cast<Hold*>(self);
    {
      const std::lock_guard lock(hold->mutex_);
      if (!hold->listening_) return;
      Heard& heard = hold->heard_;
      switch (event->type) {
        case libvlc_MediaPlayerBuffering:
          if (event->u.media_player_buffering.new_cache < 100.0f) {
            heard.started = true;
          } else if (heard.started) {
            heard.buffered = true;
          }
          break;
        case libvlc_MediaPlayerPaused:
          heard.paused = true;
          break;
        case libvlc_MediaPlayerTimeChanged:
          // A jump that buffers nothing is judged on its fourth report.
          if (!heard.time && (heard.buffered || ++heard.unbuffered >= 4)) {
            heard.time = event->u.media_player_time_changed.new_time;
          }
          break;
        default:
          heard.over = true;
          break;
      }
    }
    hold->changed_.notify_all();
  }

  static constexpr libvlc_event_type_t kReports[] = {libvlc_MediaPlayerBuffering, libvlc_MediaPlayerTimeChanged,
                                                     libvlc_MediaPlayerPaused,    libvlc_MediaPlayerStopped, libvlc_MediaPlayerEndReached,
                                                     libvlc_MediaPlayerEncounteredError};

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

Hold& TheHold() {
  static NoDestructor<Hold> hold;
  return *hold;
}

// Runs queued engine calls in order on one thread of its own.
class Worker {
 public:
  // A posted task hurries a hold under way, unless it is a hold itself.
  void post(std::function<void()> task, bool hurriesHold = true) {
    if (hurriesHold) TheHold().hurry();
    {
      const std::lock_guard lock(mutex_);
      if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
      tasks_.push_back(std::move(task));
      ++posted_;
    }
    wake_.notify_one();
  }

  void drain() {
    std::unique_lock lock(mutex_);
    if (!thread_.joinable() || std::this_thread::get_id() == thread_.get_id()) return;
    const uint64_t target = posted_;
    TheHold().hurry();
    finished_.wait(lock, [&] { return done_ >= target; });
  }

 private:
  void run() {
    std::unique_lock lock(mutex_);
    for (;;) {
      wake_.wait(lock, [&] { return !tasks_.empty(); });
      std::function<void()> task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      try {
        task();
      } catch (...) {
        // A failing task must not end the worker; its caller has long returned.
      }
      task = nullptr;  // release what the task held before counting it done
      lock.lock();
      ++done_;
      finished_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable finished_;
  std::deque<std::function<void()>> tasks_;
  uint64_t posted_ = 0;
  uint64_t done_ = 0;
  std::thread thread_;  // lives as long as the process; never joined
};

Worker& TheWorker() {
  static NoDestructor<Worker> worker;
  return *worker;
}

InputGate& TheGate() {
  static NoDestructor<InputGate> gate;
  return *gate;
}

}  // namespace

const char* const* FixedOptions() { return kOptions; }

std::vector<const char*> AcceptedOptions(const char* engineVersion, bool windows) {
  const bool edition3 = engineVersion == nullptr || std::atoi(engineVersion) < 4;
  std::vector<const char*> accepted;
  for (const char* option : kOptions) {
    if (edition3 && std::strcmp(option, "--low-delay") == 0) continue;
    if (edition3 && !windows && std::strcmp(option, "--directx-hw-yuv") == 0) continue;
    accepted.push_back(option);
  }
  return accepted;
}

libvlc_instance_t* NewInstance() {
  const std::vector<const char*> options = AcceptedOptions(libvlc_get_version(), platform::kIsWindows);
  return libvlc_new(static_cast<int>(options.size()), options.data());
}

void StopAsync(libvlc_media_player_t* player) {
  if (player == nullptr) return;
#if LIBVLC_VERSION_MAJOR >= 4
  libvlc_media_player_stop_async(player);
#else
  RunOffEventThread(player, [](libvlc_media_player_t* p) {
    const InputGate::Closed closed(TheGate(), p);
    libvlc_media_player_stop(p);
  });
#endif
}

void SetMedia(libvlc_media_player_t* player, libvlc_media_t* media) {
  if (player == nullptr) return;
  const InputGate::Closed closed(TheGate(), player);
  libvlc_media_player_set_media(player, media);
}

void ReleasePlayer(libvlc_media_player_t* player) {
  if (player == nullptr) return;
  const InputGate::Closed closed(TheGate(), player);
  libvlc_media_player_release(player);
}

bool IsSeekableInCallback(libvlc_media_player_t* player) {
  bool seekable = false;
  if (player != nullptr) {
    TheGate().tryQuery(player, [&] { seekable = libvlc_media_player_is_seekable(player) != 0; });
  }
  return seekable;
}

int64_t LengthInCallback(libvlc_media_player_t* player) {
  int64_t length = -1;
  if (player != nullptr) TheGate().tryQuery(player, [&] { length = libvlc_media_player_get_length(player); });
  return length;
}

void SetPauseInCallback(libvlc_media_player_t* player, bool pause) {
  if (player != nullptr) TheGate().tryQuery(player, [&] { libvlc_media_player_set_pause(player, pause ? 1 : 0); });
}

int SetTime(libvlc_media_player_t* player, int64_t timeMs, bool fast) {
  if (player == nullptr) return -1;
#if LIBVLC_VERSION_MAJOR >= 4
  return libvlc_media_player_set_time(player, timeMs, fast);
#else
  (void)fast;  // this edition always jumps exactly
  libvlc_media_player_set_time(player, timeMs);
  return 0;
#endif
}

int SetPosition(libvlc_media_player_t* player, double position, bool fast) {
  if (player == nullptr) return -1;
#if LIBVLC_VERSION_MAJOR >= 4
  return libvlc_media_player_set_position(player, position, fast);
#else
  (void)fast;
  libvlc_media_player_set_position(player, static_cast<float>(position));
  return 0;
#endif
}

namespace {

// Whether the engine is done with `player` (never started, stopped, ended or
// failed): it sends a hold no more reports. A stop the host asked for just
// before a playing report started the hold runs ahead of it on the worker.
bool Finished(libvlc_media_player_t* player) {
  const libvlc_state_t state = libvlc_media_player_get_state(player);
  return state == libvlc_NothingSpecial || state == libvlc_Stopped || state == libvlc_Ended || state == libvlc_Error;
}

}  // namespace

void JumpAndHold(libvlc_media_player_t* player, int64_t timeMs, std::function<void()> beforeJump) {
  if (player == nullptr) return;
  TheHold().supersede();  // an earlier hold leaves the player to this one
  const uint64_t id = TheHold().begin(player);
  const std::pair<uint64_t, uint64_t> tickets = TheHold().tickets();
  libvlc_media_player_retain(player);
  TheWorker().post(
      [player, timeMs, id, tickets, beforeJump = std::move(beforeJump)] {
        constexpr int kJumps = 3;
        constexpr int64_t kLandedWithinMs = 1000;
        libvlc_event_manager_t* events = libvlc_media_player_event_manager(player);
        for (const libvlc_event_type_t type : Hold::kReports) libvlc_event_attach(events, type, &Hold::OnReport, &TheHold());
        for (int jump = 1;; ++jump) {
          TheHold().listen(false);
          SetTime(player, timeMs, false);
          TheHold().listen(true);  // the jump's own echo of the target, sent while it was made, is not a report
          if (Finished(player)) break;
          int64_t time = 0;
          const Hold::Outcome outcome = TheHold().await(tickets, time);
          if (outcome == Hold::Outcome::kOver || outcome == Hold::Outcome::kSuperseded) break;
          if (outcome == Hold::Outcome::kHurried || jump == kJumps || std::llabs(time - timeMs) <= kLandedWithinMs) {
            SetPauseInCallback(player, true);
            if (!Finished(player)) TheHold().awaitPause(tickets);
            break;
          }
          beforeJump();  // the jump was lost: again
        }
        TheHold().listen(false);
        for (const libvlc_event_type_t type : Hold::kReports) libvlc_event_detach(events, type, &Hold::OnReport, &TheHold());
        TheHold().end(id);
        ReleasePlayer(player);
      },
      false);
}

bool HoldingJump(const libvlc_media_player_t* player) { return TheHold().holding(player); }

void RunOffEventThread(std::function<void()> task) { TheWorker().post(std::move(task)); }

void RunOffEventThread(libvlc_media_player_t* player, std::function<void(libvlc_media_player_t*)> call) {
  if (player == nullptr) return;
  libvlc_media_player_retain(player);
  TheWorker().post([player, call = std::move(call)] {
    call(player);
    ReleasePlayer(player);
  });
}

void DrainWorker() { TheWorker().drain(); }

PlaybackWatch::PlaybackWatch(libvlc_media_player_t* player)
    : events_(player != nullptr ? libvlc_media_player_event_manager(player) : nullptr) {
  if (events_ == nullptr) return;
  libvlc_event_attach(events_, libvlc_MediaPlayerPlaying, &PlaybackWatch::OnEvent, this);
  libvlc_event_attach(events_, libvlc_MediaPlayerEncounteredError, &PlaybackWatch::OnEvent, this);
}

PlaybackWatch::~PlaybackWatch() {
  if (events_ == nullptr) return;
  libvlc_event_detach(events_, libvlc_MediaPlayerPlaying, &PlaybackWatch::OnEvent, this);
  libvlc_event_detach(events_, libvlc_MediaPlayerEncounteredError, &PlaybackWatch::OnEvent, this);
}

void PlaybackWatch::OnEvent(const libvlc_event_t* event, void* self) {
  auto* watch = static_cast<PlaybackWatch*>(self);
  {
    const std::lock_guard lock(watch->mutex_);
    if (!watch->outcome_) {
      watch->outcome_ = event->type == libvlc_MediaPlayerPlaying ? Outcome::kPlaying : Outcome::kError;
    }
    ++watch->reports_;
  }
  watch->changed_.notify_all();
}

std::optional<PlaybackWatch::Outcome> PlaybackWatch::outcome() const {
  const std::lock_guard lock(mutex_);
  return outcome_;
}

uint64_t PlaybackWatch::reports() const {
  const std::lock_guard lock(mutex_);
  return reports_;
}

void PlaybackWatch::waitBeyond(uint64_t seen) const {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return reports_ > seen; });
}

}  // namespace korvid::engine
