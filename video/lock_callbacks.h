// The engine's lock callbacks: each time the engine wants memory for its next
// picture, the callback makes the picture the engine drew since the previous
// lock the one the host reads, and hands the engine the other half of the
// player's frame copy for the next picture. What the host reads therefore runs
// one picture behind the engine, as it did when the callback copied the
// texture's previous picture; no picture is copied on the video thread and no
// SDL call is made there (the textures stay as the SDL objects that the
// players' frames belong to).
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

// Makes, once, the memory a callback hands the engine when its player has no
// copy, so that no callback ever allocates. Start-up calls it.
void ReserveTeardownScratch();

// Gives `player` the lock callback and the fixed RV32 1920 x 1080 format.
void AttachFrameOutput(libvlc_media_player_t* player, LockCallback callback);

}  // namespace korvid::video
