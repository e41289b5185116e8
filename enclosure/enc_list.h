// Listing of the registered enclosures (hal.conf "Index"/"enc_bitmap").
#pragma once

#include "bayhal/SE.h"

namespace bayhal {

// The standard filter of SE_Enumerate: keeps internal enclosures that are not being
// removed; -ENOENT skips.
int get_enclosure_list_callback(int enc_id, void* arg);
// Filters of the finders: KORV (internal USB, SAS or Thunderbolt units), RDISK (iSCSI) and
// PCIe cache enclosures (PCIe slot cards, internal ZMC cards, HZR cards).
int se_get_korv_cache_enclosure(int enc_id, void* arg);
int se_get_rdisk_cache_enclosure(int enc_id, void* arg);
int se_get_pci_cache_enclosure(int enc_id, void* arg);
// Reboots the enclosure through SES when it is SAS-attached; -2 when the back-end fails.
int se_reboot_sas_enclosure(int enc_id, void* arg);

// SE_Enumerate with a C++ callable as the filter: return 0 to keep an id.
template <typename F>
int enumerate_ids(int* ids, int capacity, F keep) {
  auto trampoline = [](int id, void* arg) -> int { return (*static_cast<F*>(arg))(id); };
  return SE_Enumerate(ids, capacity, trampoline, &keep);
}

}  // namespace bayhal
