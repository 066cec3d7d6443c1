// The engine's lock callbacks: each time the engine wants memory for its next
// picture, the callback copies what the texture memory holds (the picture the
// engine wrote after the previous lock) into the player's frame copy and hands
// the texture memory back to the engine. The copy therefore runs one picture
// behind the engine.
#pragma once

#include <vlc/vlc.h>

namespace korvid::video {

// The main player's callback ("sdl_lock").
void* MainLockCallback(void* opaque, void** planes);

// Slot 0 to 3's callbacks ("sdl_lock0" ... "sdl_lock3"); there is none for a
// fifth slot.
inline constexpr int kSlotCallbackCount = 4;
using LockCallback = void* (*)(void* opaque, void** planes);
extern const LockCallback SlotLockCallbacks[kSlotCallbackCount];

// Makes, once, the memory a callback hands the engine when its player has
// neither texture nor copy, so that no callback ever allocates. Start-up calls it.
void ReserveTeardownScratch();

// Gives `player` the lock callback and the fixed RV32 1920 x 1080 format.
void AttachFrameOutput(libvlc_media_player_t* player, LockCallback callback);

}  // namespace korvid::video
