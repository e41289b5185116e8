// The enclosure registry as the disk registry sees it: one place for every enclosure fact
// the disk code needs, so the disk code does not depend on how the enclosure side spells it.
#pragma once
#include <string>
#include <vector>

namespace bayhal::disk {

// "max_disk_num" of the enclosure (SE_Get_PD_Port_Num); 0 when unknown.
int enc_max_disk_num(int enc_id);
// "protocol" of the enclosure; -1 when unknown.
int enc_protocol(int enc_id);
// enc_sys_id of an enclosure id; empty when unknown.
std::string enc_sys_id_of(int enc_id);
// Enclosure id of an enc_sys_id; -1 when unknown.
int enc_id_of(const char* enc_sys_id);
// Registered enclosure ids in ascending order.
std::vector<int> enc_registered_ids();

// The WWN index in hal.conf.
int enc_write_pd_wwn_index(int enc_id, int port_id, const char* wwn);
int enc_read_pd_wwn_index(const char* wwn, int* enc_id, int* port_id);
int enc_remove_pd_wwn_index(const char* wwn);

// Forgets the enclosure's "real_sys_id" when it names this disk (Clear_Real_Sys_Id_by_Enc_ID).
int enc_clear_real_sys_id(int enc_id, const char* sys_id);

// The pseudo-enclosures that have fixed roles; -1 when the appliance has none.
int enc_cache_id();       // SE_Get_Cache_Enc_Id
int enc_odd_id();         // SE_Get_ODD_Enc_Id
// True for a PCIe cache enclosure (SE_Get_Pci_Cache_Enc_Id's set).
bool enc_is_pci_cache(int enc_id);
bool enc_is_internal(int enc_id);
bool enc_is_external_jbod(int enc_id);
// The name event logs use for the enclosure (SE_Get_Log_Name).
std::string enc_log_name(int enc_id);
std::string enc_model(int enc_id);
// The enclosure's parent identity and the parent's port it hangs on.
std::string enc_parent_sys_id(int enc_id);
int enc_parent_port_id(int enc_id);

}  // namespace bayhal::disk
