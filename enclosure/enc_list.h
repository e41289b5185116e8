// Listing of the registered enclosures (hal.conf "Index"/"enc_bitmap").
#pragma once

#include "bayhal/SE.h"

namespace bayhal {

// The standard filter of SE_Enumerate: keeps internal enclosures that are not being
// removed; -ENOENT skips.
int get_enclosure_list_callback(int enc_id, void* arg);

// SE_Enumerate with a C++ callable as the filter: return 0 to keep an id.
template <typename F>
int enumerate_ids(int* ids, int capacity, F keep) {
  auto trampoline = [](int id, void* arg) -> int { return (*static_cast<F*>(arg))(id); };
  return SE_Enumerate(ids, capacity, trampoline, &keep);
}

}  // namespace bayhal
