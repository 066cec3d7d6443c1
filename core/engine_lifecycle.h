// Engine start-up and shut-down, for one player or for multi-instance slots.
#pragma once

#include <cstdint>

namespace korvid {

// 0 on success; -1 when the single-player engine cannot be made.
int32_t StartEngine(uint8_t logLevel);
void ShutdownEngine();

// Stops the main player's events and releases it (after any queued engine
// calls on it have run).
void RetireMainPlayer();

}  // namespace korvid
