#include "disk/enc_access.h"

#include <cstdint>
#include <string>

#include "bayhal/SE.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"

namespace bayhal::disk {

namespace {

constexpr int kMaxEnclosures = 64;

}  // namespace

int enc_max_disk_num(int enc_id) { return SE_Get_PD_Port_Num(enc_id); }

int enc_protocol(int enc_id) { return SE_Get_Protocol(enc_id); }

std::string enc_sys_id_of(int enc_id) {
  char buf[32] = {};
  if (enc_id < 0 || se_lookup_sys_id(enc_id, buf, sizeof buf) != 0) return {};
  return buf;
}

int enc_id_of(const char* enc_sys_id) { return se_lookup_id(enc_sys_id); }

std::vector<int> enc_registered_ids() {
  int ids[kMaxEnclosures];
  int n = SE_Enumerate(ids, kMaxEnclosures, nullptr, nullptr);
  if (n <= 0) return {};
  return std::vector<int>(ids, ids + (n < kMaxEnclosures ? n : kMaxEnclosures));
}

int enc_write_pd_wwn_index(int enc_id, int port_id, const char* wwn) {
  return se_write_pd_wwn_index(enc_id, port_id, wwn);
}

int enc_read_pd_wwn_index(const char* wwn, int* enc_id, int* port_id) {
  return se_read_pd_wwn_index(wwn, enc_id, port_id);
}

int enc_remove_pd_wwn_index(const char* wwn) { return se_remove_pd_wwn_index(wwn); }

int enc_clear_real_sys_id(int enc_id, const char* sys_id) {
  return Clear_Real_Sys_Id_by_Enc_ID(enc_id, sys_id);
}

int enc_cache_id() { return SE_Get_Cache_Enc_Id(); }

int enc_odd_id() { return SE_Get_ODD_Enc_Id(); }

bool enc_is_pci_cache(int enc_id) {
  uint32_t bitmap = 0;
  if (enc_id < 0 || enc_id >= 32 || SE_Get_Pci_Cache_Enc_Id(&bitmap) != 0) return false;
  return (bitmap >> enc_id) & 1u;
}

bool enc_is_internal(int enc_id) { return SE_Is_Internal(enc_id) == 1; }

bool enc_is_external_jbod(int enc_id) { return SE_Is_External_JBOD(enc_id) == 1; }

std::string enc_log_name(int enc_id) {
  char buf[64] = {};
  SE_Get_Log_Name(enc_id, buf, sizeof buf);
  return buf;
}

std::string enc_model(int enc_id) {
  char buf[48] = {};
  return SE_Get_Model(enc_id, buf, sizeof buf) == 0 ? std::string(buf) : std::string();
}

std::string enc_parent_sys_id(int enc_id) {
  char buf[32] = {};
  return SE_Get_Parent_Sys_Id(enc_id, buf, sizeof buf) == 0 ? std::string(buf) : std::string();
}

int enc_parent_port_id(int enc_id) {
  int port = -1;
  return SE_Get_Parent_Port_Id(enc_id, &port) == 0 ? port : -1;
}

}  // namespace bayhal::disk
