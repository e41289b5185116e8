// Enclosures that are SAS expanders (a JBOD reached through an HBA): the end devices below
// the kernel's expander, each in the slot of its bay.
#pragma once
#include <string_view>
#include <vector>

#include "disk_sys/root_slots.h"

namespace bayhal {

// Disks below the expander enclosure `enc_sys_id` (its SAS address) and cascaded expanders below it. The
// port id is bay_identifier + 1 (bays count from 0), or the expander phy + 1 when the
// expander reports no bay.
std::vector<SlotHit> sas_expander_disks(std::string_view enc_sys_id);

}  // namespace bayhal
