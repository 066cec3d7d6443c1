// What engine start-up and shut-down do to the subtitle state.
#pragma once

namespace korvid::subtitles {

// Start-up: counts and indices to 0, the load and cleared flags set, the
// subtitle location emptied, the caption track list emptied, cues dropped.
void ResetOnInit();

// Shut-down: the engine's subtitle track description list is released and the
// cue count goes to 0.
void ReleaseOnShutdown();

}  // namespace korvid::subtitles
