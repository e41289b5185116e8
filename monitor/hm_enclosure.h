// What every HM_* function does first: its enclosure id turned into the identity the board
// back-end takes.
#pragma once
#include "enclosure/enc_store.h"

namespace bayhal::monitor {

// body(enc_sys_id) for a registered enclosure; -1 for any other id.
template <typename Body>
int on_enclosure(int enc_id, Body body) {
  char enc_sys_id[32];
  if (enc_id < 0 || se_lookup_sys_id(enc_id, enc_sys_id, sizeof enc_sys_id) != 0) return -1;
  return body(enc_sys_id);
}

}  // namespace bayhal::monitor
