// Mapping between a disk section's keys and the record, shared by every reader.
#pragma once
#include "bayhal/PD.h"
#include "ini/ini_store.h"

namespace bayhal::disk {

// Fills `info` from the keys of a disk section; absent keys leave their fields alone and
// an absent "read_speed" becomes "none". The RAID keys are read only for virtual ids.
// False when "port_id", "att_phy_id", "pd_sys_id" or "enc_sys_id" is missing.
bool fill_record(const ini::Section& s, int port_id, PD_INFO* info);

}  // namespace bayhal::disk
