// Multi-instance control: starting a media in one slot, choosing the slot the
// player exports act on, and the per-slot rewind and queries.
//
// Host thread only. Slot players get no engine event handlers; the host polls
// them. Every function tolerates an index outside the slot tables (and a slot
// whose engine or player does not exist): it does nothing and answers the
// neutral value stated.
#pragma once

#include <cstdint>
#include <string>

namespace korvid::multi {

// The kind handed to live detection for a slot location: the text after the
// last ".", or the whole location when it has none. (The main player's rule
// differs: see UriExtension.)
std::string SlotLocationKind(const std::string& location);

// Opens `location` in slot `index` and starts it without waiting. A location
// whose first four characters are "http" is opened as a network location on
// the slot's engine; anything else is a local path, made on the main engine
// when one exists and on the slot's engine otherwise. A slot started again
// replaces (and releases) its previous media and player. Ignored for an index
// outside 0..3 or the slot tables, a slot without an engine, or a null
// location. A refused start sets the host state to 1 (closed).
void StartChosenPlayer(int32_t index, const char* location);

// Makes slot `index` the one the player exports act on. Not checked: an
// index without a player makes those exports do nothing.
void ChooseInstance(int32_t index);

// Rewinds the slot to 0 and, unless auto-play is on, toggles its pause. 0 when
// done; the number of slots when `index` is not a slot with a player.
int32_t StopSlot(int32_t index);

// The slot's playback time (low 32 bits); 0 without a player.
int32_t SlotCurrentTimeMs(int32_t index);
// The slot's length, plus 1000 (in 32 bits) when the slot is live; 0 without a player.
int32_t SlotTotalTimeMs(int32_t index);
// The slot's live verdict; false outside the tables.
bool SlotIsLive(int32_t index);

}  // namespace korvid::multi
