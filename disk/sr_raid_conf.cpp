// Arrays of hardware-RAID adapters (adapter kinds 4 and 6) in /etc/config/sr_raid.conf:
// "Global"/"raidBitmap" lists the array numbers in use; "RAID_<n>" holds "id", "uuid",
// "raidLevel", "dataBitmap" and one "data_<port>" per port that carries the array.
// The array is identified by the disk's serial number (its pd_sys_id when it has none);
// "dataBitmap" has a bit per port id of the enclosure through which the array is seen.
#include <cstdio>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "disk/disk_store.h"
#include "disk/pd_fields.h"
#include "disk/sr_raid_conf.h"
#include "ini/ini_store.h"

namespace bayhal {

namespace {

constexpr const char* kSrRaidConf = "/etc/config/sr_raid.conf";
constexpr const char* kRaidBitmap = "raidBitmap";

std::string raid_section(int n) { return "RAID_" + std::to_string(n); }
std::string data_key(int port_id) { return "data_" + std::to_string(port_id); }

std::string hex(unsigned v) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%x", v);
  return buf;
}

// The array number whose section satisfies `match`, or -1.
template <typename Match>
int find_array(Match match) {
  for (const std::string& name : ini::list_sections(kSrRaidConf)) {
    int n = -1;
    if (std::sscanf(name.c_str(), "RAID_%d", &n) != 1 || n < 0 || name != raid_section(n))
      continue;
    if (auto s = ini::read_section(kSrRaidConf, name); s && match(*s)) return n;
  }
  return -1;
}

}  // namespace

int sr_raid_conf_attach(int enc_id, const PD_INFO& info) {
  std::string uuid = disk::store_value(disk::text_of(info.serial_no));
  if (uuid.empty()) uuid = disk::store_value(disk::text_of(info.pd_sys_id));
  if (uuid.empty() || info.port_id < 0) return -1;
  int n = find_array([&](const ini::Section& s) {
    const std::string_view* u = s.find("uuid");
    return u != nullptr && *u == uuid;
  });
  unsigned ports = 0;
  if (n < 0) {
    if (Ini_Conf_Bitmap_Get_Next_Free_Bit(kSrRaidConf, "Global", kRaidBitmap, &n, 0, 1) != 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't allocate an array number for enc %d!\n",
                __func__, __LINE__, enc_id);
      return -1;
    }
  } else if (auto s = ini::read_section(kSrRaidConf, raid_section(n))) {
    ports = static_cast<unsigned>(s->get_int("dataBitmap", true).value_or(0));
  }
  if (info.port_id < 32) ports |= 1u << info.port_id;
  int rc = ini::write_keys(kSrRaidConf, raid_section(n),
                           {{"id", std::to_string(n)},
                            {"uuid", uuid},
                            {"raidLevel", std::to_string(info.hw_raid_type)},
                            {"dataBitmap", hex(ports)},
                            {data_key(info.port_id), std::string(disk::text_of(info.pd_sys_id))}});
  return rc == 0 ? 0 : -1;
}

int sr_raid_conf_detach(int /*enc_id*/, int port_id) {
  std::string key = data_key(port_id);
  int n = find_array([&](const ini::Section& s) { return s.find(key) != nullptr; });
  if (n < 0) return 0;
  auto s = ini::read_section(kSrRaidConf, raid_section(n));
  unsigned ports = s ? static_cast<unsigned>(s->get_int("dataBitmap", true).value_or(0)) : 0;
  if (port_id < 32) ports &= ~(1u << port_id);
  if (ports == 0) {
    Ini_Conf_Remove_Section(kSrRaidConf, raid_section(n).c_str());
    return Ini_Conf_Bitmap_Reset_Bit(kSrRaidConf, "Global", kRaidBitmap, n);
  }
  return ini::write_keys(kSrRaidConf, raid_section(n), {{"dataBitmap", hex(ports)}}, {key});
}

}  // namespace bayhal
