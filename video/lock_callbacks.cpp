#include "video/lock_callbacks.h"

#include <SDL.h>

#include <vector>

#include "core/no_destructor.h"

#include "core/log.h"
#include "core/log_lines.h"
#include "multi/slot_tables.h"
#include "video/frame_copy.h"
#include "video/frame_geometry.h"
#include "video/preview_objects.h"

namespace korvid::video {
namespace {

// Where a picture goes when a player has neither texture nor copy (a slot
// being torn down): the engine must always get memory to draw into. Reserved
// at start-up.
uint8_t* Scratch() {
  static NoDestructor<std::vector<uint8_t>> scratch(kFrameBytes);
  return scratch->data();
}

// Runs on the engine's video thread: no allocation, no exception, no wait on
// anything but the copy's own mutex.
void* LockInto(const char* method, int line, SDL_Texture* texture, FrameCopy* copy, void** planes) {
  LogMethod(method, line);
  int pitch = 0;
  if (texture == nullptr || SDL_LockTexture(texture, nullptr, planes, &pitch) != 0 || planes[0] == nullptr) {
    // No texture memory: the engine draws into the copy's spare half instead,
    // which keeps the one-behind copy going and never leaves it a stray pointer.
    planes[0] = copy != nullptr ? copy->spareHalf() : Scratch();
    texture = nullptr;
  }
  if (copy != nullptr) copy->storeFrom(static_cast<const uint8_t*>(planes[0]));
  if (texture != nullptr) SDL_UnlockTexture(texture);
  return nullptr;
}

template <int Slot>
void* SlotLock(void* /*opaque*/, void** planes) {
  static constexpr const char* kNames[kSlotCallbackCount] = {"sdl_lock0", "sdl_lock1", "sdl_lock2", "sdl_lock3"};
  static constexpr int kLines[kSlotCallbackCount] = {log_line::kSdlLock0, log_line::kSdlLock1, log_line::kSdlLock2,
                                                     log_line::kSdlLock3};
  const multi::FrameTarget target = multi::Slots().frameTarget(Slot);
  return LockInto(kNames[Slot], kLines[Slot], target.texture, target.copy, planes);
}

}  // namespace

void* MainLockCallback(void* /*opaque*/, void** planes) {
  return LockInto("sdl_lock", log_line::kSdlLock, MainFrameTexture(), &MainFrameCopy(), planes);
}

void ReserveTeardownScratch() { Scratch(); }

const LockCallback SlotLockCallbacks[kSlotCallbackCount] = {&SlotLock<0>, &SlotLock<1>, &SlotLock<2>, &SlotLock<3>};

void AttachFrameOutput(libvlc_media_player_t* player, LockCallback callback) {
  libvlc_video_set_callbacks(player, callback, nullptr, nullptr, nullptr);
  libvlc_video_set_format(player, kEngineChroma, kFrameWidth, kFrameHeight, kFramePitch);
}

}  // namespace korvid::video
