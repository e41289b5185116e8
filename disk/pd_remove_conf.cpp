// pd_remove_conf and PD_Remove_and_Backup_Section: a removed disk leaves the live store
// and is kept in the history store, so a disk that comes back is recognised.
#include <string>
#include <utility>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_ext_port.h"
#include "disk/pd_store.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_bitmap.h"
#include "ini/ini_store.h"

namespace bayhal {

namespace {

using Keys = std::vector<std::pair<std::string, std::string>>;

// The keys a history section keeps, in order. "pd_sysid_%s" is a literal key name.
constexpr const char* kHistoryKeys[] = {
    "port_id",     "pd_sys_id",   "enc_sys_id", "pd_sys_name",    "pd_ctrl_name", "pd_bus_name",
    "wwn",         "type",        "form",       "vendor",         "model",        "serial_no",
    "status",      "capabilities", "sector_size", "capacity",     "revision",     "protocol_ver",
    "link_speed",  "max_link_speed", "read_speed", "read_iops",   "write_speed",  "write_iops",
    "pd_sysid_%s", "rotation_speed"};

void write_logged(const std::string& file, const std::string& section, const Keys& keys,
                  const char* fn) {
  if (keys.empty()) return;
  if (ini::write_keys(file, section, keys) != 0)
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Ini_Conf_Set_Field(%s, %s, %s, %s) error!\n", fn,
              __LINE__, file.c_str(), section.c_str(), keys.front().first.c_str(),
              keys.front().second.c_str());
}

int backup_section(int enc_id, int port_id) {
  std::string live = disk::store_file(enc_id);
  std::string history = disk::history_file(enc_id);
  std::string section = disk::section_for(port_id);
  auto disk_keys = ini::read_section(live, section);
  const std::string_view* sys_id = disk_keys ? disk_keys->find("pd_sys_id") : nullptr;
  if (sys_id == nullptr) return -1;

  auto index = ini::read_section(live, disk::kIndex);
  Keys index_copy;
  std::string sys_id_key = disk::sysid_key(*sys_id);
  std::string name_key;
  if (const std::string_view* name = disk_keys->find("pd_sys_name"))
    if (auto dev = disk::dev_base_name(*name); !dev.empty()) name_key = disk::sysid_key(dev);
  bool name_key_found = false;
  if (index) {
    if (const std::string_view* v = index->find(sys_id_key)) index_copy.emplace_back(sys_id_key, *v);
    if (!name_key.empty() && name_key != sys_id_key) {
      if (const std::string_view* v = index->find(name_key)) {
        index_copy.emplace_back(name_key, *v);
        name_key_found = true;
      }
    }
  }
  write_logged(history, disk::kIndex, index_copy, "PD_Remove_and_Backup_Section");
  disk::IndexBit ib = disk::index_bit_for(port_id);
  if (Ini_Conf_Bitmap_Set_Bit(history.c_str(), disk::kIndex, ib.key.c_str(), ib.bit) != 0)
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Ini_Conf_Bitmap_Set_Bit(%d) error!\n",
              "PD_Remove_and_Backup_Section", __LINE__, ib.bit);

  Keys copy;
  for (const char* key : kHistoryKeys)
    if (const std::string_view* v = disk_keys->find(key)) copy.emplace_back(key, *v);
  write_logged(history, section, copy, "PD_Remove_and_Backup_Section");

  if (name_key_found) {
    ERR_TRACE(HAL_TRACE_WARN, "%s:pd_sys_name_key %s\n", "PD_Remove_and_Backup_Section",
              name_key.c_str());
    Ini_Conf_Remove_Field(live.c_str(), disk::kIndex, name_key.c_str());
  }
  return 0;
}

// What a slot holding only member disks keeps (pd_write_conf writes the same).
const Keys kSlotHolder = {{"port_id", "-1"}, {"capabilities", std::to_string(PD_CAP_HAS_MEMBERS)}};

bool members_behind(const std::string& file, int slot) {
  if (slot > PD_MEMBER_GROUP_PORT_MAX) return false;
  auto index = ini::read_section(file, disk::kIndex);
  const std::string_view* v = index ? index->find(disk::member_bitmap_key(slot)) : nullptr;
  ini::Bitmap members;
  return v != nullptr && members.parse(*v) && members.count() > 0;
}

// The last member disk gone, a slot holder goes too.
void drop_empty_holder(const std::string& file, int slot) {
  if (members_behind(file, slot)) return;
  std::string section = disk::section_for(slot);
  auto keys = ini::read_section(file, section);
  const std::string_view* id = keys ? keys->find("port_id") : nullptr;
  if (id == nullptr || *id != "-1" || keys->find("pd_sys_id") != nullptr) return;
  if (Ini_Conf_Remove_Section(file.c_str(), section.c_str()) >= 0)
    Ini_Conf_Bitmap_Reset_Bit(file.c_str(), disk::kIndex, disk::kPdBitmap, slot);
}

}  // namespace

int pd_remove_conf(int enc_id, int port_id) {
  if (enc_id < 0 || port_id < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): invalid enc_id %d port_id %d!\n", __func__, __LINE__,
              enc_id, port_id);
    return -1;
  }
  backup_section(enc_id, port_id);
  if (disk::enc_protocol(enc_id) == 12) disk::pd_unlink_ext_port(enc_id, port_id);

  std::string file = disk::store_file(enc_id);
  std::string section = disk::section_for(port_id);
  auto keys = ini::read_section(file, section);
  const std::string_view* sys_id = keys ? keys->find("pd_sys_id") : nullptr;
  if (sys_id == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: can't retrieve %s value!\n", __func__, "pd_sys_id");
    return -1;
  }
  if (const std::string_view* wwn = keys->find("wwn"); wwn != nullptr && !wwn->empty())
    disk::enc_remove_pd_wwn_index(std::string(*wwn).c_str());
  else
    ERR_TRACE(HAL_TRACE_ERROR, "%s: can't retrieve wwn of (%d,%d)!\n", __func__, enc_id, port_id);
  std::string key = disk::sysid_key(*sys_id);
  if (Ini_Conf_Remove_Field(file.c_str(), disk::kIndex, key.c_str()) < 0)
    ERR_TRACE(HAL_TRACE_ERROR, "%s: can't remove field %s!\n", __func__, key.c_str());
  // A slot's own disk leaves a holder behind while member disks remain there.
  if (!disk::is_member_id(port_id) && members_behind(file, port_id)) {
    std::vector<std::string> others;
    for (const auto& [k, v] : keys->entries)
      if (k != "port_id" && k != "capabilities") others.emplace_back(k);
    return ini::write_keys(file, section, kSlotHolder, others) == 0 ? 0 : -1;
  }
  // The section goes before its bit is freed: once the bit is clear another process may
  // claim the port and write a new section that a later removal would delete.
  int rc = Ini_Conf_Remove_Section(file.c_str(), section.c_str());
  if (rc < 0) return rc;
  disk::IndexBit ib = disk::index_bit_for(port_id);
  rc = Ini_Conf_Bitmap_Reset_Bit(file.c_str(), disk::kIndex, ib.key.c_str(), ib.bit);
  if (rc != 0) return rc;
  if (disk::is_member_id(port_id)) drop_empty_holder(file, port_id / PD_MEMBER_PORT_ID_FACTOR);
  return 0;
}

}  // namespace bayhal

BAYHAL_EXPORT int PD_Remove_and_Backup_Section(int enc_id, int port_id) try {
  // Its level-1 start record doubles as the entry trace.
  ERR_TRACE(HAL_TRACE_ERROR | HAL_TRACE_ENTRY, "%s(%d): enc_id %d port_id %d Start\n", __func__, __LINE__, enc_id,
            port_id);
  if (enc_id < 0 || port_id < 0) return -1;
  return bayhal::backup_section(enc_id, port_id);
} BAYHAL_C_BOUNDARY(-1)
