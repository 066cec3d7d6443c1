// Times, state and the simple settings the host reads and writes.
#pragma once

#include <vlc/vlc.h>

#include <cstdint>

namespace korvid {

// Stand-ins multi-instance mode answers: slot times come from the slot exports.
inline constexpr int32_t kMultiInstanceCurrentTime = 1;
inline constexpr int32_t kMultiInstanceTotalTime = 100000;
// Added to a live stream's length, here and for a live slot.
inline constexpr int32_t kLiveLengthMarginMs = 1000;
// Property 901: the host's subtitle buffer size.
inline constexpr int32_t kSubtitleBufferProperty = 901;

int32_t CurrentTimeMs();
int32_t TotalTimeMs();
int32_t PlayerState();
// The host's state code for an engine state.
int32_t StateFromEngine(libvlc_state_t state);
void SetMute(bool mute);
void SetVolume(float volume);
void SetProperty(int32_t id, int32_t value);

// Adds in 32 bits, wrapping as the host's 32-bit times do.
int32_t AddWrapping(int64_t length, int32_t margin);

}  // namespace korvid
