// pd_read_conf: one read of the disk's section fills the record.
#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "disk/disk_store.h"
#include "disk/pd_fields.h"
#include "disk/pd_record_io.h"
#include "disk/pd_store.h"
#include "ini/ini_store.h"

namespace bayhal {

namespace disk {

namespace {

// Byte limits of the reader's buffers, terminator included.
constexpr size_t kNameLimit = 32;
constexpr size_t kWwnLimit = 33;
constexpr size_t kModelLimit = 41;
constexpr size_t kRevisionLimit = 16;

template <typename T>
bool read_int(const ini::Section& s, const char* key, T& field) {
  auto v = s.get_int(key);
  if (!v) return false;
  field = static_cast<T>(*v);
  return true;
}

template <size_t N>
bool read_text(const ini::Section& s, const char* key, char (&field)[N], size_t limit) {
  const std::string* v = s.find(key);
  if (v == nullptr) return false;
  set_text_limited(field, *v, limit);
  return true;
}

}  // namespace

bool fill_record(const ini::Section& s, int port_id, PD_INFO* info) {
  bool complete = read_int(s, "port_id", info->port_id);
  complete &= read_int(s, "att_phy_id", info->att_phy_id);
  complete &= read_text(s, "pd_sys_id", info->pd_sys_id, kNameLimit);
  complete &= read_text(s, "enc_sys_id", info->enc_sys_id, kNameLimit);
  read_text(s, "pd_sys_name", info->pd_sys_name, kNameLimit);
  read_text(s, "pd_ctrl_name", info->pd_ctrl_name, kNameLimit);
  read_text(s, "pd_bus_name", info->pd_bus_name, kNameLimit);
  read_text(s, "pd_driver_name", info->pd_driver_name, kNameLimit);
  // The store keeps the index identity as text; the record then carries that text.
  if (const std::string* w = s.find("wwn")) {
    std::string_view text(*w);
    if (text.size() > kWwnLimit - 1) text = text.substr(0, kWwnLimit - 1);
    std::memset(info->wwn, 0, sizeof info->wwn);
    std::memcpy(info->wwn, text.data(), text.size());
    info->wwn_len = static_cast<int>(text.size());
  }
  read_int(s, "type", info->type);
  read_int(s, "form", info->form);
  read_text(s, "vendor", info->vendor, kNameLimit);
  read_text(s, "model", info->model, kModelLimit);
  read_text(s, "serial_no", info->serial_no, kWwnLimit);
  read_int(s, "status", info->status);
  if (auto caps = s.get_int("capabilities")) info->capabilities = static_cast<unsigned>(*caps);
  read_int(s, "sector_size", info->sector_size);
  read_int(s, "capacity", info->capacity);
  read_text(s, "revision", info->revision, kRevisionLimit);
  read_int(s, "protocol_ver", info->protocol_ver);
  read_int(s, "link_speed", info->link_speed);
  read_int(s, "max_link_speed", info->max_link_speed);
  read_int(s, "pd_max_link_speed", info->pd_max_link_speed);
  if (!read_text(s, "read_speed", info->read_speed, kNameLimit))
    set_text(info->read_speed, "none");
  read_int(s, "rotation_speed", info->rotation_speed);
  if (is_virtual_id(port_id)) {
    read_int(s, "hw_raid_disk_bitmap", info->hw_raid_disk_bitmap);
    read_int(s, "hw_raid_spare_bitmap", info->hw_raid_spare_bitmap);
    read_int(s, "hw_raid_type", info->hw_raid_type);
  }
  return complete;
}

}  // namespace disk

int pd_read_conf(int enc_id, int port_id, PD_INFO* info) {
  if (info == nullptr || enc_id < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): invalid arguments (enc_id %d, info %p)!\n", __func__,
              __LINE__, enc_id, static_cast<void*>(info));
    return -1;
  }
  auto s = ini::read_section(disk::store_file(enc_id), disk::section_for(port_id));
  if (!s) {
    disk::set_text(info->read_speed, "none");
    return -1;
  }
  return disk::fill_record(*s, port_id, info) ? 0 : -1;
}

}  // namespace bayhal
