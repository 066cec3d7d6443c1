#include "core/player_record.h"

#include "core/no_destructor.h"
#include "multi/slot_tables.h"

namespace korvid {

PlayerRecord& Record() {
  // Never destroyed: engine threads may still read it while the process exits.
  static NoDestructor<PlayerRecord> record;
  return *record;
}

bool MultiInstanceMode() { return Record().instanceCount.load() >= 2; }

libvlc_media_player_t* CurrentPlayer() {
  if (!MultiInstanceMode()) return Record().mainPlayer.get();
  return multi::Slots().player(Record().currentInstance.load());
}

}  // namespace korvid
