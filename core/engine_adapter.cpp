#include "core/engine_adapter.h"

#include <cstdlib>
#include <cstring>
#include <deque>
#include <thread>

#include "core/input_gate.h"
#include "core/jump_hold.h"
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
    TheHold().supersede();  // the player is about to be replaced or released: a hold leaves it as it is
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
          // Landed: the clock within a second of the target (it runs a little
          // ahead of the picture). A lost jump reports the old time; now and
          // then a jump's first report after its buffering stands well past
          // the target (1.2 to 1.5 s on a clip with a key frame every second),
          // and a second jump lands near it. The last jump is kept as it lands.
          const bool landed = std::llabs(time - timeMs) <= kLandedWithinMs;
          if (outcome == Hold::Outcome::kHurried || jump == kJumps || landed) {
            TheHold().expectPause();
            SetPauseInCallback(player, true);
            const libvlc_state_t state = libvlc_media_player_get_state(player);
            if (state != libvlc_Paused && !Finished(player)) TheHold().awaitPause(tickets);
            break;
          }
          beforeJump();  // lost, or landed too far past the target: again
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
