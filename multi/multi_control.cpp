#include "multi/multi_control.h"

#include <vlc/vlc.h>

#include "core/engine_adapter.h"
#include "core/open_media.h"
#include "core/player_queries.h"
#include "core/player_record.h"
#include "multi/slot_tables.h"
#include "net/live_detection.h"
#include "video/lock_callbacks.h"

namespace korvid::multi {
namespace {

// Only slots 0 to 3 have a lock callback, so only they can play.
bool IsPlayableSlot(int32_t index) {
  return index >= 0 && index < video::kSlotCallbackCount && index < Slots().size();
}

// The slot's media for `location`. A local path is made on the main engine
// (the slot's player accepts media from any engine); multi-instance mode never
// makes a main engine, so there the slot's own engine stands in.
libvlc_media_t* NewSlotMedia(libvlc_instance_t* slotEngine, const char* location) {
  if (HasSchemePrefix(location, "http")) return libvlc_media_new_location(slotEngine, location);
  libvlc_instance_t* const mainEngine = Record().mainEngine.get();
  const std::string path = EnginePath(location);
  return libvlc_media_new_path(mainEngine != nullptr ? mainEngine : slotEngine, path.c_str());
}

}  // namespace

std::string SlotLocationKind(const std::string& location) {
  const std::size_t dot = location.rfind('.');
  return dot == std::string::npos ? location : location.substr(dot + 1);
}

void ChooseInstance(int32_t index) { Record().currentInstance = index; }

void StartChosenPlayer(int32_t index, const char* location) {
  if (location == nullptr || !IsPlayableSlot(index)) return;
  SlotTables& slots = Slots();
  libvlc_instance_t* const engine = slots.engine(index);
  if (engine == nullptr) return;

  libvlc_media_t* const media = NewSlotMedia(engine, location);
  if (media == nullptr) return;

  net::CheckLiveStreaming(location, SlotLocationKind(location));
  slots.setLiveFlag(index, Record().isLive.load());

  libvlc_media_player_t* player = slots.player(index);
  engine::DrainWorker();  // a stop still queued for the slot's player runs first
  if (player == nullptr) {
    player = libvlc_media_player_new(engine);
    if (player == nullptr) {
      libvlc_media_release(media);
      return;
    }
    video::AttachFrameOutput(player, video::SlotLockCallbacks[index]);
    slots.setPlayer(index, player);
  }
  // A slot started again keeps its player, which takes the new media: the
  // engine hands the running video output to the new input instead of closing
  // it and making another.
  engine::SetMedia(player, media);
  slots.setMedia(index, media);

  if (libvlc_media_player_play(player) == -1) Record().stateCode = state_code::kClosed;
}

int32_t StopSlot(int32_t index) {
  SlotTables& slots = Slots();
  libvlc_media_player_t* const player = slots.player(index);
  if (player == nullptr) return slots.size();
  engine::SetTime(player, 0, true);
  if (!Record().autoPlay) libvlc_media_player_pause(player);
  return 0;
}

int32_t SlotCurrentTimeMs(int32_t index) {
  libvlc_media_player_t* const player = Slots().player(index);
  return player != nullptr ? AddWrapping(libvlc_media_player_get_time(player), 0) : 0;
}

int32_t SlotTotalTimeMs(int32_t index) {
  libvlc_media_player_t* const player = Slots().player(index);
  if (player == nullptr) return 0;
  const int64_t length = libvlc_media_player_get_length(player);
  return AddWrapping(length, SlotIsLive(index) ? kLiveLengthMarginMs : 0);
}

bool SlotIsLive(int32_t index) { return Slots().liveFlag(index); }

}  // namespace korvid::multi
