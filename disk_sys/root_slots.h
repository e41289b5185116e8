// The disks of the appliance's own enclosures ("root" and its family), each with the port id
// of the slot it sits in: the one walk behind enumeration and the slot of a disk.
#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "disk_sys/root_lookup.h"

namespace bayhal {

struct SlotHit {
  int port_id = -1;  // slot n; sub-device d of slot n, or its k-th extra disk: 1000 * n + k
  FoundDisk disk;
};

// All disks of root-family enclosure `enc_sys_id`, in slot order. A missing or broken slot
// is skipped.
std::vector<SlotHit> root_enclosure_disks(std::string_view enc_sys_id);

// The disks of one USB port description (DEV_PORT list, or its SSP/SS/NS variants).
namespace model {
struct SlotDesc;
}
std::vector<FoundDisk> usb_slot_disks(const model::SlotDesc& slot, bool with_bridge);

// iSCSI disks: those below the kernel's iSCSI sessions.
std::vector<FoundDisk> enumerate_pd_in_iscsi_enclousre();

}  // namespace bayhal
