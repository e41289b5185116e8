// The status LED's event state, kept across processes under /var: the event bitmap in
// "/var/ledvalue" ("0x%08x") and the formatting counter in "/var/ledvalue_formatting_count"
// ("%d"), read and rewritten under an exclusive flock on the first.
#pragma once
#include <functional>
#include <optional>

namespace bayhal::gpio {

struct EventState {
  unsigned bitmap = 0;
  int formatting = 0;  // disks being formatted (event 0x80)
};

// Opens (creating, mode 0700) both files, takes the flock, reads the state, lets `change`
// compute the new one, writes it and releases the lock. Returns {old, new}; nullopt when a
// file cannot be opened or locked (nothing is changed then). The counter is renamed into
// place and the bitmap rewritten by one write of fixed length, so a writer that dies midway
// leaves no torn value.
struct EventUpdate {
  EventState before, after;
};
std::optional<EventUpdate> update_event_state(const char* who,
                                              const std::function<EventState(EventState)>& change);

}  // namespace bayhal::gpio
