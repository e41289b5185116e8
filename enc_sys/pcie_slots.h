// Cards in the appliance's PCIe slots that carry disks ("root_pcie_<slot>"): a slot holds
// one when the function at its "DEV_BUS", or a function below it (behind the card's own
// bridge or switch), is a mass-storage controller (PCI class 01xxxx).
#pragma once

#include "bayhal/SE.h"

namespace bayhal {

// Lists "root_pcie_<slot>" when the slot holds such a card; returns 1 then, else 0.
int pcie_enclosure_enumerate(char** names, int capacity, int slot);
// vendor and model are the PCI vendor and device ids ("%04x") of the first storage
// controller; "MAX_DISK_NUM" and "CAP" of the slot's section when present, else one disk per
// storage controller. 0, or -1 when the slot holds no such card.
int pcie_slot_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);

}  // namespace bayhal
