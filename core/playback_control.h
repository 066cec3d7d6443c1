// The host's transport controls. Each acts on the current player, records the
// request in the player record for the event handlers, and returns at once.
#pragma once

#include <cstdint>

namespace korvid {

// Result of a seek on a media that cannot seek.
inline constexpr int32_t kNotSeekable = -3;

int32_t StartPlayBack();
int32_t Pause();
int32_t Resume();
int32_t Stop();
int32_t Seek(int32_t positionMs);
void Close();

}  // namespace korvid
