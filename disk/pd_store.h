// The three operations that touch a disk store directly. Callers: attach and detach, the
// enclosure rescan (which passes a folder holding a temporary store) and the query layer.
#pragma once
#include "bayhal/PD.h"

namespace bayhal {

// Adds a disk to enclosure `enc_id`. A negative `port_id` asks for a new identifier (above
// the enclosure's slot count; from 1 and capped at the slot count for the iSCSI
// enclosure); the id used is written back into info->port_id. A given id whose bit is
// already set fails before any key is written. 0 or -1; only the identifier steps fail it.
int pd_write_conf(int enc_id, int port_id, PD_INFO* info, const char* dir = nullptr);

// Fills `info` from the disk's section with one read of the store. Absent keys leave their
// fields alone ("read_speed" becomes "none"). 0, or -1 when "port_id", "att_phy_id",
// "pd_sys_id" or "enc_sys_id" is missing.
int pd_read_conf(int enc_id, int port_id, PD_INFO* info);

// Removes a disk, keeping a copy in the history store. 0, or the store's failure.
int pd_remove_conf(int enc_id, int port_id);

}  // namespace bayhal
