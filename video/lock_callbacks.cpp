#include "video/lock_callbacks.h"

#include "core/log.h"
#include "core/log_lines.h"
#include "core/no_destructor.h"
#include "multi/slot_tables.h"
#include "video/frame_copy.h"
#include "video/frame_geometry.h"
#include "video/picture_memory.h"

namespace korvid::video {
namespace {

// Where a picture goes when a player has no copy (a slot being torn down):
// the engine must always get memory to draw into. Reserved at start-up.
uint8_t* Scratch() {
  static NoDestructor<PictureMemory> scratch(AllocatePictureMemory(kFrameBytes));
  return scratch->get();
}

// Runs on the engine's video thread: no allocation, no exception, no SDL call,
// no wait on anything but the copy's own mutex.
void* LockInto(const char* method, int line, FrameCopy* copy, void** planes) {
  LogMethod(method, line);
  planes[0] = copy != nullptr ? copy->swapForNextPicture() : Scratch();
  return nullptr;
}

template <int Slot>
void* SlotLock(void* /*opaque*/, void** planes) {
  static constexpr const char* kNames[kSlotCallbackCount] = {"sdl_lock0", "sdl_lock1", "sdl_lock2", "sdl_lock3"};
  static constexpr int kLines[kSlotCallbackCount] = {log_line::kSdlLock0, log_line::kSdlLock1, log_line::kSdlLock2,
                                                     log_line::kSdlLock3};
  return LockInto(kNames[Slot], kLines[Slot], multi::Slots().frameTarget(Slot).copy, planes);
}

}  // namespace

void* MainLockCallback(void* /*opaque*/, void** planes) {
  return LockInto("sdl_lock", log_line::kSdlLock, &MainFrameCopy(), planes);
}

void ReserveTeardownScratch() { Scratch(); }

const LockCallback SlotLockCallbacks[kSlotCallbackCount] = {&SlotLock<0>, &SlotLock<1>, &SlotLock<2>, &SlotLock<3>};

void AttachFrameOutput(libvlc_media_player_t* player, LockCallback callback) {
  libvlc_video_set_callbacks(player, callback, nullptr, nullptr, nullptr);
  libvlc_video_set_format(player, kEngineChroma, kFrameWidth, kFrameHeight, kFramePitch);
}

}  // namespace korvid::video
