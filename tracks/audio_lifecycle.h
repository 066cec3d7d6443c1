// What engine start-up and shut-down do to the audio track state.
#pragma once

namespace korvid::tracks {

// Start-up: the recorded first track back to -3, the track cache emptied.
void ResetOnInit();

// Shut-down: the engine's audio track description list is released.
void ReleaseOnShutdown();

}  // namespace korvid::tracks
