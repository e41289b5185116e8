#include "disk/enc_access.h"

#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"

namespace bayhal::disk {

namespace {

constexpr int kMaxEnclosures = 64;
constexpr unsigned kCapOdd = 0x200000u;
constexpr unsigned kCapCache = 0x8000000u;

unsigned capability_of(int enc_id) {
  return static_cast<unsigned>(enc_get_int(enc_id, "capability", true).value_or(0));
}

}  // namespace

// The enclosure key readers of SE_Get_PD_Port_Num, SE_Get_Model and SE_Get_Parent_*: one
// key of the enclosure's hal.conf section, read through the enclosure registry's accessor.
int enc_max_disk_num(int enc_id) {
  auto v = enc_get_int(enc_id, "max_disk_num");
  if (!v) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: get enc %d %s = %d!\n", "SE_Get_PD_Port_Num", enc_id,
              "max_disk_num", 0);
    return 0;
  }
  return static_cast<int>(*v);
}

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
  auto current = enc_get_text(enc_id, "real_sys_id");
  if (!current || sys_id == nullptr || *current != sys_id) return 0;
  if (Ini_Conf_Remove_Field(kHalConf, enc_section(enc_id).c_str(), "real_sys_id") < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d) : fail to remove %s real_sys_id!\n",
              "Clear_Real_Sys_Id_by_Enc_ID", __LINE__, sys_id);
    return -1;
  }
  return 0;
}

int enc_cache_id() {
  return (capability_of(0) & kCapCache) ? se_lookup_id("root_cache") : -1;
}

int enc_odd_id() { return (capability_of(0) & kCapOdd) ? se_lookup_id("root_odd") : -1; }

bool enc_is_pci_cache(int enc_id) {
  int p = SE_Get_Protocol(enc_id);
  return p == SE_PROTOCOL_PCIE || p == SE_PROTOCOL_HZR ||
         (p == SE_PROTOCOL_ZMC && SE_Is_Internal(enc_id));
}

bool enc_is_internal(int enc_id) { return SE_Is_Internal(enc_id) == 1; }

bool enc_is_external_jbod(int enc_id) { return SE_Is_External_JBOD(enc_id) == 1; }

std::string enc_log_name(int enc_id) {
  std::string sys = enc_sys_id_of(enc_id);
  if (sys == "root_usb") return "USB";
  if (enc_id == 0 || enc_id == enc_cache_id()) return "Host";
  return "EXDR#" + std::to_string(enc_id);
}

std::string enc_model(int enc_id) { return enc_get_text(enc_id, "model").value_or(""); }

std::string enc_parent_sys_id(int enc_id) {
  return enc_get_text(enc_id, "enc_parent_sys_id").value_or("");
}

int enc_parent_port_id(int enc_id) {
  return static_cast<int>(enc_get_int(enc_id, "enc_parent_port_id").value_or(-1));
}

}  // namespace bayhal::disk
