// The engine's own subtitle (SPU) tracks of the main player: listing them and
// switching them on or off. In multi-instance mode neither call acts.
#pragma once

namespace korvid::subtitles {

// Counts the main player's SPU tracks (the engine's "Disable" entry included);
// when there is at least one, keeps their description list for the next
// enabling call and answers true. False with no track (the kept list stays).
bool CheckSpuContent();

// Disabling, or enabling with no counted track, selects -1 (no subtitle).
// Enabling walks up to the counted number of entries of the kept list from
// where the previous walk stopped, and selects the smallest positive id among
// them (2147483647 when there is none); the next walk starts after the last
// entry visited, so CheckSpuContent comes before each enabling call.
void SetActiveSpuContent(bool enable);

}  // namespace korvid::subtitles
