// Enclosure families whose identification needs a vendor-private protocol: the PX RAID
// enclosure (its controller library), ZMC and HZR PCIe cards and the MVS JBODs behind HZR
// cards. Nothing standard tells them apart, so their enumerators find none and their
// fillers fail; only the identity grammar of MVS enclosures is checked.
#pragma once

#include "bayhal/SE.h"

namespace bayhal {

// "mvs_" followed by letters, digits and '_', ':', '.', '-' (at most 31 characters in all).
// 0 when acceptable, -1 otherwise.
int mvs_validate_enc_sys_id(const char* enc_sys_id);

int px_expander_enumerate(char** names, int capacity);
// 1 when a ZMC card in `slot` was listed; 0 here.
int zmc_sys_enumerate(char** names, int capacity, int slot);
// 0 when an HZR card in `slot` was listed; -1 here.
int hzr_enclosure_enumerate(char** names, int capacity, int slot);
int comm_sys_get_hzr_index(int slot);
int mvs_enclosure_enumerate(char** names, int capacity, int hzr_index);
// Registered id of the HZR card in `slot`, or -1.
int se_sys_find_hzr_by_pcie_slot(int slot, char* hzr_sys_id, int size);

int px_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int zmc_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int hzr_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int mvs_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);

}  // namespace bayhal

namespace bayhal {

// The enclosures on the external ports of an HZR card: for port n (0-based) the attached
// enclosure id and its port, -1 when none. Returns the number of ports, or -1.
int se_sys_scan_ext_port(const char* hzr_sys_id, int* enc_ids, int* enc_ports, int max_ports);

}  // namespace bayhal
