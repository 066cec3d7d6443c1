#include "core/player_queries.h"

#include <cmath>
#include <limits>

#include "core/log.h"
#include "core/log_lines.h"
#include "core/player_record.h"

namespace korvid {
namespace {

int32_t LowBits(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value))); }

}  // namespace

int32_t AddWrapping(int64_t length, int32_t margin) {
  return static_cast<int32_t>(static_cast<uint32_t>(LowBits(length)) + static_cast<uint32_t>(margin));
}

int32_t CurrentTimeMs() {
  const PlayerRecord& r = Record();
  if (r.isLive) return (r.isStopped || r.isClosed) ? 0 : r.liveTime.load();
  if (MultiInstanceMode()) return kMultiInstanceCurrentTime;
  libvlc_media_player_t* player = r.mainPlayer.get();
  return player != nullptr ? LowBits(libvlc_media_player_get_time(player)) : 0;
}

int32_t TotalTimeMs() {
  const PlayerRecord& r = Record();
  if (r.isLive) {
    if (r.isStopped || r.isClosed) return 0;
    if (r.isPaused || r.pausedLength != 0) return r.pausedLength;
  }
  if (MultiInstanceMode()) return kMultiInstanceTotalTime;
  libvlc_media_player_t* player = r.mainPlayer.get();
  const int64_t length = player != nullptr ? libvlc_media_player_get_length(player) : 0;
  return r.isLive ? AddWrapping(length, kLiveLengthMarginMs) : LowBits(length);
}

int32_t StateFromEngine(libvlc_state_t state) {
  switch (state) {
    case libvlc_Playing:
      return state_code::kPlaying;
    case libvlc_Paused:
      return state_code::kPaused;
    case libvlc_Stopped:
      return state_code::kStopped;
    case libvlc_Ended:
      return state_code::kClosed;
    default:  // nothing special, opening, buffering, error and any other
      return state_code::kNone;
  }
}

int32_t PlayerState() {
  if (!MultiInstanceMode()) return Record().stateCode;
  libvlc_media_player_t* player = CurrentPlayer();
  if (player == nullptr) return state_code::kNone;
  const libvlc_state_t state = libvlc_media_player_get_state(player);
  LogMethod("VLCtoKorvidState", log_line::kVLCtoKorvidState);
  return StateFromEngine(state);
}

void SetMute(bool mute) {
  if (libvlc_media_player_t* player = CurrentPlayer()) libvlc_audio_set_mute(player, mute ? 1 : 0);
}

void SetVolume(float volume) {
  const float scaled = volume * 100.0f;
  // Truncated toward zero, not clamped; only values no int can hold are pinned.
  int level = 0;
  if (std::isnan(scaled)) {
    level = 0;
  } else if (scaled >= static_cast<float>(std::numeric_limits<int>::max())) {
    level = std::numeric_limits<int>::max();
  } else if (scaled <= static_cast<float>(std::numeric_limits<int>::min())) {
    level = std::numeric_limits<int>::min();
  } else {
    level = static_cast<int>(scaled);
  }
  if (libvlc_media_player_t* player = CurrentPlayer()) libvlc_audio_set_volume(player, level);
}

void SetProperty(int32_t id, int32_t value) {
  if (id == kSubtitleBufferProperty) Record().subtitleBufferSize = static_cast<uint32_t>(value);
}

}  // namespace korvid
