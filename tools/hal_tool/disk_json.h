// A disk record as hal_tool shows it: the same keys in `disk list`, `disk info` and
// `disk scan`, numbers beside their human forms.
#pragma once
#include "bayhal/PD.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {

// bay, enc_id, port_id, label, enc_sys_id, pd_sys_id, device, model, serial, capacity
// (+ _bytes, _sectors, sector_size), link_speed (+ _gbps), type, capabilities.
json disk_json(const PD_INFO& info, int enc_id, int port_id, const std::string& label);
// The rest of the record: vendor, revision, wwn, rotation_rpm, the slot's and the disk's
// maximum link speeds, controller device, bus, driver, capability_word.
void add_disk_details(json& j, const PD_INFO& info, json wwn);
// The WWN (hex) of a record discovery just read, and of a registered disk; null when the
// disk has none the registry trusts.
json probed_wwn(const PD_INFO& info);
json registered_wwn(const PD_INFO& info, int enc_id, int port_id);
// The columns of a disk table, most telling first.
inline const std::vector<std::string> kDiskColumns = {"bay", "label", "device", "model", "serial", "capacity", "link_speed"};

}  // namespace hal_tool
