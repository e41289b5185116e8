// pd_write_conf: adds one disk to its enclosure's store.
//
// The identifier, its index keys and the disk's section go into the store in one atomic
// replacement made under the store's lock: a reader sees either no disk or a complete one,
// and a new disk costs one file write (plus the WWN key in hal.conf).
#include <cinttypes>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_ext_port.h"
#include "disk/pd_fields.h"
#include "disk/pd_store.h"
#include "disk/pd_wwn.h"
#include "ini/ini_bitmap.h"
#include "ini/ini_conf_util.h"
#include "ini/ini_edit.h"
#include "ini/ini_file.h"
#include "ini/ini_store.h"
#include "ini/ini_text.h"

namespace bayhal {

namespace {

using Keys = std::vector<std::pair<std::string, std::string>>;

enum class Kind { boot, virtual_disk, physical };

struct Target {
  Kind kind = Kind::physical;
  std::string file;
};

std::string num(long long v) { return std::to_string(v); }

constexpr int kNoId = -2;      // decide(): no identifier left
constexpr int kDuplicate = -3;  // decide(): the given identifier is taken

struct Claim {
  int enc_id = 0;
  int port_id = -1;
  Kind kind = Kind::physical;
  bool usb = false;
  int start = 0;
  int bound = PD_SLOT_PORT_ID_MAX;
  PD_INFO* info = nullptr;
  const char* file = nullptr;
  // Storage for the edit's views.
  std::string bitmap_key;
  std::string bitmap_text;
  Keys index;
  std::string section;
  std::string wwn;
  Keys keys;
  // The slot of a member disk, registered with it (see register_slot).
  std::string slot_bitmap_text;
  std::string slot_section;
  Keys slot_keys;
};

void no_id_left(const Claim& c) {
  std::string_view sys_id = disk::text_of(c.info->pd_sys_id);
  ERR_TRACE(HAL_TRACE_ERROR,
            "%s: can't allocate a new physical disk identifier for pd_sys_id = %.*s!\n",
            "pd_write_conf", static_cast<int>(sys_id.size()), sys_id.data());
}

ini::Bitmap bitmap_in(std::string_view text, const std::string& key) {
  ini::Bitmap b;
  std::string_view value;
  if (ini::find_value(text, disk::kIndex, key, value)) b.parse(value);
  return b;
}

Keys index_keys(const PD_INFO& info, int port_id);
void fill_section(Claim& c);

constexpr unsigned kHasMembers = PD_CAP_HAS_MEMBERS;

// The capabilities of the record of `port_id` in the store text; nullopt without one.
std::optional<unsigned> caps_in(std::string_view text, int port_id) {
  std::string_view value;
  long long caps = 0;
  if (!ini::find_value(text, disk::section_for(port_id), "capabilities", value) ||
      !ini::parse_int(value, false, caps))
    return std::nullopt;
  return static_cast<unsigned>(caps);
}

// A slot record written only to hold its member disks (no device of its own): a negative
// device id, the has-members mark.
bool is_slot_holder(std::string_view text, int port_id) {
  std::string_view value;
  return ini::find_value(text, disk::section_for(port_id), "port_id", value) && value == "-1" &&
         !ini::find_value(text, disk::section_for(port_id), "pd_sys_id", value);
}

bool slot_has_members(std::string_view text, int slot) {
  return slot <= PD_MEMBER_GROUP_PORT_MAX &&
         bitmap_in(text, disk::member_bitmap_key(slot)).count() > 0;
}

// Readers list member disks behind a slot that is in the bitmap and marked as having
// members: a member disk registers its slot, with a holder record when the slot has no
// disk of its own, or the mark added to the disk that is there.
void register_slot(std::string_view text, ini::Edit& edit, ini::Bitmap& pd, Claim& c) {
  int slot = c.port_id / PD_MEMBER_PORT_ID_FACTOR;
  if (!pd.test(slot)) {
    pd.set(slot);
    c.slot_bitmap_text = pd.format();
    edit.set.emplace_back(disk::kPdBitmap, c.slot_bitmap_text);
    c.slot_keys = {{"port_id", "-1"}, {"capabilities", num(kHasMembers)}};
  } else if (auto caps = caps_in(text, slot); caps && !(*caps & kHasMembers)) {
    c.slot_keys = {{"capabilities", num(*caps | kHasMembers)}};
  } else {
    return;
  }
  c.slot_section = disk::section_for(slot);
  ini::Edit& record = edit.then.emplace_back();
  record.section = c.slot_section;
  for (const auto& [k, v] : c.slot_keys) record.set.emplace_back(k, v);
}

// A slot's own disk keeps the mark while member disks sit behind it.
void keep_member_mark(std::string_view text, Claim& c) {
  if (disk::is_member_id(c.port_id) || !slot_has_members(text, c.port_id)) return;
  for (auto& [k, v] : c.keys)
    if (k == "capabilities") v = num(c.info->capabilities | kHasMembers);
}

// The id this device already holds in the store (index key and bit), or -1.
int held_id(std::string_view text, const PD_INFO& info, const ini::Bitmap& pd) {
  std::string_view sys_id = disk::text_of(info.pd_sys_id);
  std::string_view value;
  int id = -1;
  if (!disk::usable_key_text(sys_id) ||
      !ini::find_value(text, disk::kIndex, disk::sysid_key(sys_id), value) ||
      !ini::parse_int32(value, false, id) || id < 0 || id > PD_SLOT_PORT_ID_MAX || !pd.test(id))
    return -1;
  return id;
}

// Under the store's write lock: picks the identifier and sets its bit, the disk's index keys
// and its section in one replacement of the file, so two writers never get the same id and
// a taken id is refused before anything is written.
int decide_id(std::string_view text, ini::Edit& edit, Claim& c) {
  ini::Bitmap pd = bitmap_in(text, disk::kPdBitmap);
  int id = c.port_id;
  if (c.kind != Kind::boot && c.usb && id >= 0 && pd.test(id)) id = -1;
  int held = c.kind != Kind::boot && id < 0 ? held_id(text, *c.info, pd) : -1;
  if (held >= 0) {
    // The same device again (a repeated add event): its record is rewritten in place, since
    // a second one would be out of detach's reach.
    c.port_id = held;
    edit.section = disk::kIndex;
    c.index = index_keys(*c.info, held);
    for (const auto& [k, v] : c.index) edit.set.emplace_back(k, v);
    fill_section(c);
    keep_member_mark(text, c);
    ini::Edit& record = edit.then.emplace_back();
    record.section = c.section;
    for (const auto& [k, v] : c.keys) record.set.emplace_back(k, v);
    return 0;
  }
  ini::Bitmap bits;
  int bit = 0;
  if (c.kind == Kind::boot || id < 0) {
    id = pd.next_clear(c.start);
    if (id > c.bound) {
      if (c.enc_id == PD_ISCSI_ENC_ID && c.kind != Kind::boot)
        ERR_TRACE(HAL_TRACE_ERROR,
                  "%s: root_iscsi attached disks are more than max disk number!\n",
                  "pd_write_conf");
      else
        no_id_left(c);
      return kNoId;
    }
    c.bitmap_key = disk::kPdBitmap;
    bits = pd;
    bit = id;
  } else {
    disk::IndexBit ib = disk::index_bit_for(id);
    c.bitmap_key = ib.key;
    bits = ib.key == disk::kPdBitmap ? pd : bitmap_in(text, ib.key);
    bit = ib.bit;
    // A slot holder gives way to the slot's own disk.
    if (bits.test(bit) && !(ib.key == disk::kPdBitmap && is_slot_holder(text, id))) {
      ERR_TRACE(HAL_TRACE_WARN,
                "%s(%d):enc_id = %d,port_id = %d,conf_file = %s already exist.\n",
                "pd_write_conf", __LINE__, c.enc_id, id, c.file);
      return kDuplicate;
    }
  }
  bits.set(bit);
  c.port_id = id;
  c.bitmap_text = bits.format();
  edit.section = disk::kIndex;
  edit.set.emplace_back(c.bitmap_key, c.bitmap_text);
  if (c.kind != Kind::boot) c.index = index_keys(*c.info, id);
  for (const auto& [k, v] : c.index) edit.set.emplace_back(k, v);
  fill_section(c);
  if (c.kind != Kind::boot) keep_member_mark(text, c);
  ini::Edit& record = edit.then.emplace_back();
  record.section = c.section;
  for (const auto& [k, v] : c.keys) record.set.emplace_back(k, v);
  if (c.kind == Kind::physical && disk::is_member_id(id)) register_slot(text, edit, pd, c);
  return 0;
}

// A given id must fit the kind the writer was asked for: the reader decides by range.
bool given_id_fits(int port_id, Kind kind) {
  if (kind == Kind::virtual_disk) return disk::is_virtual_id(port_id);
  if (disk::is_virtual_id(port_id)) return false;
  if (disk::is_member_id(port_id))
    return port_id % PD_MEMBER_PORT_ID_FACTOR < PD_MEMBER_MAX_COUNT &&
           port_id / PD_MEMBER_PORT_ID_FACTOR <= PD_SLOT_PORT_ID_MAX;
  return port_id >= 0;
}

void add_performance_keys(Keys& keys, const std::string& wwn_text) {
  static constexpr const char* kPerfKeys[] = {"read_speed", "read_iops", "write_speed",
                                              "write_iops"};
  std::optional<ini::Section> perf;
  if (wwn_text.empty() || disk::usable_key_text(wwn_text))
    perf = ini::read_section(disk::kPerformanceConf, wwn_text);
  for (const char* key : kPerfKeys) {
    const std::string_view* v = perf ? perf->find(key) : nullptr;
    keys.emplace_back(key, v != nullptr && !v->empty() ? disk::store_value(*v) : "none");
  }
}

Keys section_keys(const PD_INFO& info, Kind kind, const std::string* wwn_text,
                  const std::string& real_wwn) {
  using disk::store_value;
  using disk::text_of;
  Keys k;
  k.reserve(36);
  k.emplace_back("port_id", num(info.port_id));
  k.emplace_back("att_phy_id", num(info.att_phy_id));
  k.emplace_back("pd_sys_id", store_value(text_of(info.pd_sys_id)));
  k.emplace_back("enc_sys_id", store_value(text_of(info.enc_sys_id)));
  k.emplace_back("pd_sys_name", store_value(text_of(info.pd_sys_name)));
  k.emplace_back("pd_ctrl_name", store_value(text_of(info.pd_ctrl_name)));
  k.emplace_back("pd_bus_name", store_value(text_of(info.pd_bus_name)));
  if (!text_of(info.pd_driver_name).empty())
    k.emplace_back("pd_driver_name", store_value(text_of(info.pd_driver_name)));
  if (wwn_text != nullptr) {
    k.emplace_back("wwn", store_value(*wwn_text));
    k.emplace_back("real_wwn", real_wwn);
  }
  k.emplace_back("type", num(info.type));
  k.emplace_back("form", num(info.form));
  k.emplace_back("vendor", store_value(text_of(info.vendor)));
  k.emplace_back("model", store_value(text_of(info.model)));
  k.emplace_back("serial_no", store_value(text_of(info.serial_no)));
  k.emplace_back("status", num(info.status));
  k.emplace_back("capabilities", num(info.capabilities));
  k.emplace_back("sector_size", num(info.sector_size));
  k.emplace_back("capacity", num(info.capacity));
  k.emplace_back("revision", store_value(text_of(info.revision)));
  k.emplace_back("protocol_ver", num(info.protocol_ver));
  k.emplace_back("link_speed", num(info.link_speed));
  k.emplace_back("max_link_speed", num(info.max_link_speed));
  k.emplace_back("pd_max_link_speed", num(info.pd_max_link_speed));
  add_performance_keys(k, wwn_text != nullptr ? *wwn_text : std::string());
  k.emplace_back("rotation_speed", num(info.rotation_speed));
  if (kind == Kind::virtual_disk) {
    k.emplace_back("hw_raid_disk_bitmap", num(info.hw_raid_disk_bitmap));
    k.emplace_back("hw_raid_spare_bitmap", num(info.hw_raid_spare_bitmap));
    k.emplace_back("hw_raid_type", num(info.hw_raid_type));
  }
  return k;
}

Keys index_keys(const PD_INFO& info, int port_id) {
  Keys k;
  std::string id = num(port_id);
  std::string_view sys_id = disk::text_of(info.pd_sys_id);
  if (disk::usable_key_text(sys_id)) k.emplace_back(disk::sysid_key(sys_id), id);
  std::string_view dev = disk::dev_base_name(disk::text_of(info.pd_sys_name));
  if (disk::usable_key_text(dev) && dev != sys_id) k.emplace_back(disk::sysid_key(dev), id);
  return k;
}

// The section's name and keys once the identifier is known.
void fill_section(Claim& c) {
  c.info->port_id = c.port_id;
  if (c.kind == Kind::boot) {
    c.section = disk::boot_section(c.port_id);
    c.keys = section_keys(*c.info, c.kind, nullptr, {});
    return;
  }
  c.section = disk::section_for(c.port_id);
  c.wwn = disk::pd_wwn_text(c.enc_id, c.port_id, c.info);
  c.keys = section_keys(*c.info, c.kind, &c.wwn, disk::pd_real_wwn(*c.info));
}

void write_or_log(const std::string& file, const std::string& section, const Keys& keys) {
  if (keys.empty()) return;
  if (ini::write_keys(file, section, keys) != 0)
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Ini_Conf_Set_Field(%s, %s, %s, %s) error!\n",
              "pd_write_conf", __LINE__, file.c_str(), section.c_str(), keys.front().first.c_str(),
              keys.front().second.c_str());
}

}  // namespace

int pd_write_conf(int enc_id, int port_id, PD_INFO* info, const char* dir) {
  ERR_TRACE(HAL_TRACE_WARN, "%s(%d): enc_id = %d,port_id = %d\n", __func__, __LINE__, enc_id,
            port_id);
  if (info == nullptr || enc_id < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): invalid arguments (enc_id %d, info %p)!\n", __func__,
              __LINE__, enc_id, static_cast<void*>(info));
    return -1;
  }
  int max_disk = disk::enc_max_disk_num(enc_id);

  Target t;
  if (info->capabilities & PD_CAP_BOOT_DISK) {
    t.kind = Kind::boot;
    t.file = disk::boot_store_file(dir);
  } else {
    t.kind = (info->capabilities & PD_CAP_VIRTUAL) ? Kind::virtual_disk : Kind::physical;
    t.file = disk::store_file(enc_id, dir);
  }
  if (dir != nullptr && *dir != '\0')
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d): temp conf_file is %s for SE_Rescan!\n", __func__,
              __LINE__, t.file.c_str());

  if (t.kind == Kind::virtual_disk && (port_id < 0 || !given_id_fits(port_id, t.kind))) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): a virtual disk needs its port id (101 to 999)!\n",
              __func__, __LINE__);
    return -1;
  }
  if (t.kind == Kind::physical && port_id >= 0 && !given_id_fits(port_id, t.kind)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): port_id %d is not a physical disk id!\n", __func__,
              __LINE__, port_id);
    return -1;
  }
  Claim c;
  c.enc_id = enc_id;
  c.port_id = port_id;
  c.kind = t.kind;
  // A USB disk never takes over a port id that another disk holds.
  c.usb = info->type == PD_TYPE_USB;
  c.info = info;
  c.file = t.file.c_str();
  if (t.kind == Kind::boot) {
    c.port_id = port_id - 1;
    c.start = 0;
  } else if (enc_id == PD_ISCSI_ENC_ID) {
    // The iSCSI enclosure is deliberately capped at its disk count.
    c.start = 1;
    c.bound = max_disk;
  } else {
    // New ids never collide with slot numbers.
    c.start = max_disk + 1;
  }
  int rc = ini::update_with("pd_write_conf", c.file,
                            [&c](std::string_view text, ini::Edit& e) { return decide_id(text, e, c); });
  if (rc == kNoId || rc == kDuplicate) return -1;
  if (rc < 0) {
    // Without a claimed bit a new id is not ours; a given id is still written.
    if (t.kind == Kind::boot || port_id < 0 || c.port_id != port_id) return -1;
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Ini_Conf_Bitmap_Set_Bit(%d) error!\n", __func__, __LINE__,
              c.port_id);
    if (c.keys.empty()) fill_section(c);
    write_or_log(t.file, c.section, c.keys);
  }
  if (t.kind == Kind::boot) return 0;
  const std::string& wwn = c.wwn;
  if (disk::usable_key_text(wwn)) disk::enc_write_pd_wwn_index(enc_id, c.port_id, wwn.c_str());
  if (disk::enc_protocol(enc_id) == 12) disk::pd_link_ext_port(enc_id, c.port_id, *info, dir);
  return 0;
}

}  // namespace bayhal
