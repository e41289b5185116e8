// se_read_conf: one enclosure record from its hal.conf section, read in one go.
#include <cstdlib>
#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "enclosure/backend_ops.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_store.h"
#include "ini/ini_store.h"

namespace bayhal {
namespace {

// Copies a text key into a fixed field, leaving the field alone when the key is absent.
bool get_text(const ini::Section& s, const char* key, char* field, size_t limit) {
  const std::string* v = s.find(key);
  if (v == nullptr) return false;
  size_t n = v->size() < limit - 1 ? v->size() : limit - 1;
  std::memcpy(field, v->data(), n);
  field[n] = '\0';
  return true;
}

template <typename T>
bool get_num(const ini::Section& s, const char* key, T& field, bool hex = false) {
  auto v = s.get_int(key, hex);
  if (!v) return false;
  field = static_cast<T>(*v);
  return true;
}

void read_counts(const ini::Section& s, SE_ENC_INFO* info) {
  get_num(s, "max_disk_num", info->max_disk_num);
  get_num(s, "max_fan_num", info->max_fan_num);
  get_num(s, "max_cpu_fan_num", info->max_cpu_fan_num);
  get_num(s, "default_cpu_fan_count", info->default_cpu_fan_count);
  get_num(s, "factory_cpu_fan_count", info->factory_cpu_fan_count);
  get_num(s, "max_sys_extra_region_count", info->max_sys_extra_region_count);
  get_num(s, "region1_max_fan_num", info->region_max_fan_num[0]);
  get_num(s, "region2_max_fan_num", info->region_max_fan_num[1]);
  get_num(s, "max_temp_num", info->max_temp_num);
  get_num(s, "max_sys_temp_region", info->max_sys_temp_region);
  get_num(s, "max_pcie_num", info->max_pcie_num);
  get_num(s, "max_nic_num", info->max_nic_num);
  get_num(s, "max_conn_num", info->max_conn_num);
  if (!get_num(s, "max_ujbod_num", info->max_ujbod_num)) info->max_ujbod_num = -1;
  if (!get_num(s, "max_cpu_num", info->max_cpu_num)) info->max_cpu_num = 1;
}

void read_conn_status(const ini::Section& s, SE_ENC_INFO* info) {
  const std::string* v = s.find("conn_status");
  if (info->max_conn_num == 0 || v == nullptr) return;
  int limit = info->max_conn_num < SE_MAX_CONN_NUM ? info->max_conn_num : SE_MAX_CONN_NUM;
  const char* p = v->c_str();
  for (int i = 0; i < limit && *p != '\0'; ++i) {
    char* end = nullptr;
    info->conn_status[i] = static_cast<uint32_t>(std::strtoul(p, &end, 16));
    p = std::strchr(end, ',');
    if (p == nullptr) break;
    ++p;
  }
}

// An empty revision of a RAID enclosure is asked from the device and kept for next time.
void fill_px_revision(int enc_id, SE_ENC_INFO* info) {
  if (info->revision[0] != '\0') return;
  char rev[sizeof info->revision] = {};
  if (backend_ops().px_get_fw_version(info->enc_sys_id, rev, 16 + 1) < 0 || rev[0] == '\0') return;
  std::memcpy(info->revision, rev, sizeof rev);
  info->revision[16] = '\0';
  Ini_Conf_Set_Field(kHalConf, enc_section(enc_id).c_str(), "revision", info->revision);
}

}  // namespace

int se_read_conf(int enc_id, SE_ENC_INFO* info) {
  if (info == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: null record for enclosure %d\n", __func__, enc_id);
    return -1;
  }
  auto section = ini::read_section(kHalConf, enc_section(enc_id));
  const ini::Section empty;
  const ini::Section& s = section ? *section : empty;
  int ret = 0;
  if (!get_num(s, "enc_id", info->enc_id)) ret = -1;
  if (!get_text(s, "enc_sys_id", info->enc_sys_id, 32)) ret = -1;
  for (auto [key, field] : {std::pair{"real_sys_id", info->real_sys_id},
                            std::pair{"bsg_name", info->bsg_name}}) {
    if (!get_text(s, key, field, 32))
      ERR_TRACE(HAL_TRACE_VERBOSE, "%s: can't retrieve %s value!\n", __func__, key);
  }
  get_text(s, "wwn", info->wwn, 33);
  get_text(s, "serial", info->serial, 33);
  get_text(s, "vendor", info->vendor, 32);
  get_text(s, "model", info->model, 41);
  get_text(s, "revision", info->revision, 16 + 1);
  get_num(s, "status", info->status);
  get_num(s, "protocol", info->protocol);
  get_num(s, "capability", info->capabilities, true);
  get_num(s, "extended_capability", info->extended_capability, true);
  read_counts(s, info);
  get_text(s, "enc_parent_sys_id", info->enc_parent_sys_id, 32);
  get_num(s, "enc_parent_port_id", info->enc_parent_port_id);
  get_num(s, "stack_id", info->stack_id);
  if (!get_num(s, "cache_port_bitmap", info->cache_port_bitmap, true)) info->cache_port_bitmap = 0;
  read_conn_status(s, info);
  if (info->protocol == SE_PROTOCOL_PX) {
    get_num(s, "px_bus_speed", info->px_bus_speed);
    if (ret == 0) fill_px_revision(enc_id, info);
  }
  if (info->protocol == SE_PROTOCOL_USB && starts_with(info->model, "MV-")) {
    get_num(s, "mv_bus_speed", info->mv_bus_speed);
    get_num(s, "link_err_type", info->link_err_type);
  }
  return ret;
}

int se_lookup_sys_id(int enc_id, char* buf, int size) {
  if (buf == nullptr || size < 1) return -1;
  return Ini_Conf_Get_Field(kHalConf, enc_section(enc_id).c_str(), "enc_sys_id", buf, size) > 0
             ? 0
             : -1;
}

}  // namespace bayhal
