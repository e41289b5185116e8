// Mapping between a disk section's keys and the record, shared by every reader.
#pragma once
#include <string_view>

#include "bayhal/PD.h"
#include "disk/store_text.h"

namespace bayhal::disk {

// Fills `info` from the keys of `section` in `store`; absent keys leave their fields alone
// and an absent "read_speed" becomes "none". The RAID keys are read only for virtual ids;
// the first occurrence of a key counts. False when "port_id", "att_phy_id", "pd_sys_id" or
// "enc_sys_id" is missing (the section too).
bool fill_record(const StoreText& store, std::string_view section, int port_id, PD_INFO* info);

}  // namespace bayhal::disk
