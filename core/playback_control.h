// The host's transport controls. Each acts on the current player, records the
// request in the player record for the event handlers, and returns at once.
#pragma once

#include <cstdint>

namespace korvid {

// Result of a seek on a media that cannot seek.
inline constexpr int32_t kNotSeekable = -3;

// Where a control's engine calls run: on the calling thread, or queued in
// order on the adapter's worker when the caller is the engine's event thread.
enum class EngineCalls { kOnCaller, kOnWorker };

int32_t StartPlayBack();
int32_t Pause(EngineCalls calls = EngineCalls::kOnCaller);
int32_t Resume();
int32_t Stop();
int32_t Seek(int32_t positionMs, EngineCalls calls = EngineCalls::kOnCaller);
void Close();

// The playing handler's deferred seek: start, jump to `positionMs`, pause
// there. Logged and recorded like NativeSeek then NativePause, on the event
// thread; the engine calls run on the worker in the same order.
void SeekThenPauseFromEventThread(int32_t positionMs);

}  // namespace korvid
