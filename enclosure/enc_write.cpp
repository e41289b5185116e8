// se_write_conf: one enclosure record into its hal.conf section.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/hal_common.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "enc_sys/private_backends.h"
#include "ini/ini_file.h"
#include "ini/ini_store.h"

namespace bayhal {
namespace {

using Keys = std::vector<std::pair<std::string, std::string>>;

std::string hex(uint32_t v) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%x", v);
  return buf;
}

std::string text(const char* field, size_t size) { return std::string(field, strnlen(field, size)); }

template <size_t N>
std::string text(const char (&field)[N]) {
  return text(field, N);
}

void add_counts(Keys& k, const SE_ENC_INFO& info) {
  auto num = [&k](const char* key, long v) { k.emplace_back(key, std::to_string(v)); };
  num("max_disk_num", info.max_disk_num);
  num("max_fan_num", info.max_fan_num);
  num("max_cpu_fan_num", info.max_cpu_fan_num);
  num("default_cpu_fan_count", info.default_cpu_fan_count);
  num("factory_cpu_fan_count", info.factory_cpu_fan_count);
  if (info.max_sys_extra_region_count != 0) {
    num("max_sys_extra_region_count", info.max_sys_extra_region_count);
    // The record has room for two extra regions, whatever the count says.
    for (int r = 1; r <= info.max_sys_extra_region_count && r <= SE_MAX_EXTRA_FAN_REGION; ++r)
      num(("region" + std::to_string(r) + "_max_fan_num").c_str(), info.region_max_fan_num[r - 1]);
  }
  num("max_temp_num", info.max_temp_num);
  num("max_sys_temp_region", info.max_sys_temp_region);
  num("max_pcie_num", info.max_pcie_num);
  num("max_nic_num", info.max_nic_num);
  num("max_conn_num", info.max_conn_num);
  num("max_ujbod_num", info.max_ujbod_num);
  num("max_cpu_num", info.max_cpu_num);
}

std::string conn_status_text(const SE_ENC_INFO& info) {
  std::string out;
  int n = info.max_conn_num < SE_MAX_CONN_NUM ? info.max_conn_num : SE_MAX_CONN_NUM;
  for (int i = 0; i < n; ++i) {
    if (i > 0) out += ',';
    out += hex(info.conn_status[i]);
  }
  return out;
}

Keys record_keys(int enc_id, const SE_ENC_INFO& info) {
  Keys k;
  auto num = [&k](const char* key, long long v) { k.emplace_back(key, std::to_string(v)); };
  num("enc_id", enc_id);
  k.emplace_back("enc_sys_id", text(info.enc_sys_id));
  if (info.real_sys_id[0] != '\0') k.emplace_back("real_sys_id", text(info.real_sys_id));
  if (info.bsg_name[0] != '\0') k.emplace_back("bsg_name", text(info.bsg_name));
  if (std::string wwn = se_wwn_store_text(info); !wwn.empty()) k.emplace_back("wwn", wwn);
  if (info.serial[0] != '\0') k.emplace_back("serial", text(info.serial));
  k.emplace_back("vendor", text(info.vendor));
  k.emplace_back("model", text(info.model));
  num("status", info.status);
  num("protocol", info.protocol);
  k.emplace_back("capability", hex(info.capabilities));
  k.emplace_back("extended_capability", hex(info.extended_capability));
  add_counts(k, info);
  k.emplace_back("enc_parent_sys_id", text(info.enc_parent_sys_id));
  num("enc_parent_port_id", info.enc_parent_port_id);
  num("stack_id", info.stack_id);
  k.emplace_back("revision", text(info.revision, 16));
  k.emplace_back("cache_port_bitmap", hex(info.cache_port_bitmap));
  if (info.protocol == SE_PROTOCOL_SAS) num("sas_jbod_link_speed", info.link_speed);
  if (enc_id == 0 && info.ss_max_channels >= 0 && info.ss_free_channels >= 0) {
    num("ss_max_channels", info.ss_max_channels);
    num("ss_free_channels", info.ss_free_channels);
  }
  if (info.max_conn_num != 0) k.emplace_back("conn_status", conn_status_text(info));
  if (info.protocol == SE_PROTOCOL_PX) num("px_bus_speed", info.px_bus_speed);
  if (info.protocol == SE_PROTOCOL_USB && starts_with(info.model, "MV-")) {
    num("mv_bus_speed", info.mv_bus_speed);
    num("link_err_type", info.link_err_type);
  }
  return k;
}

// The parent keeps a bitmap of the enclosures hanging from it; a top-level record (one whose
// identity starts with its parent's) is nobody's child.
void link_parent(const SE_ENC_INFO& info, const std::string& file) {
  size_t own = strnlen(info.enc_sys_id, sizeof info.enc_sys_id);
  if (std::strncmp(info.enc_sys_id, info.enc_parent_sys_id, own) == 0) return;
  int parent = se_lookup_id(text(info.enc_parent_sys_id).c_str());
  if (parent < 0) return;
  Ini_Conf_Bitmap_Set_Bit(file.c_str(), enc_section(parent).c_str(), "child_bitmap", info.enc_id);
}

}  // namespace

std::string se_wwn_store_text(const SE_ENC_INFO& info) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(info.wwn);
  unsigned char first = bytes[0];
  if (std::isdigit(first)) {
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d): The wwn decode rule used %d because of 0x%x\n", __func__,
              __LINE__, 1, first);
    std::string out = text(info.wwn);
    for (char& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
  }
  bool any = first != 0;
  for (size_t i = 1; !any && i < sizeof info.wwn; ++i) any = bytes[i] != 0;
  if (!any) return {};
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d): The wwn decode rule used %d because of 0x%x\n", __func__,
            __LINE__, 2, first);
  char hexbuf[17];
  num_to_ascii(bytes, 8, hexbuf, sizeof hexbuf);
  return hexbuf;
}

int se_write_conf(int enc_id, SE_ENC_INFO* info, const char* dir) {
  if (info == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: null record for enclosure %d\n", __func__, enc_id);
    return -1;
  }
  info->enc_id = enc_id;
  std::string sys_id = text(info->enc_sys_id);
  if (sys_id.find("mvs_") != std::string::npos && mvs_validate_enc_sys_id(sys_id.c_str()) != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: enc_sys_id = %s is rejected\n", __func__, sys_id.c_str());
    return -1;
  }
  if (enc_id < 0 || !valid_key_text(sys_id)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: bad enclosure %d / enc_sys_id \"%s\"\n", __func__, enc_id,
              sys_id.c_str());
    return -1;
  }
  std::string file = hal_conf_in(dir);
  std::string section = enc_section(enc_id);
  Keys keys = record_keys(enc_id, *info);
  std::string index_key = "enc_sysid_" + sys_id;
  std::string id_text = std::to_string(enc_id);
  // The record and the index entry that finds it land together or not at all.
  int rc = ini::update_with(__func__, file.c_str(), [&](std::string_view, ini::Edit& e) {
    e.section = section;
    for (const auto& [k, v] : keys) e.set.emplace_back(k, v);
    ini::Edit& index = e.then.emplace_back();
    index.section = kIndex;
    index.set.emplace_back(index_key, id_text);
    return 0;
  });
  if (rc < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: can't write enclosure %d to %s!\n", __func__, enc_id, file.c_str());
    return -1;
  }
  link_parent(*info, file);
  return 0;
}

}  // namespace bayhal
