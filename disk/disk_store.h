// The per-enclosure disk store: file names, section names and which index bitmap tracks a
// disk. One place for the identifier scheme, so the writer, the reader, removal and the
// query interface cannot disagree about where a port id lives.
#pragma once
#include <string>
#include <string_view>

#include "bayhal/PD.h"
#include "foundation/store_files.h"

namespace bayhal::disk {

using bayhal::kHalConf;
using bayhal::kIndex;
using bayhal::kModelConf;
inline constexpr const char* kPdBitmap = "pd_bitmap";
inline constexpr const char* kVirtualBitmap = "virtual_pd_bitmap";
inline constexpr const char* kPerformanceConf = "/etc/config/disk_performance.conf";

// "/etc/enclosure_<id>.conf", or "<dir>/enclosure_<id>.conf" for a rescan folder.
std::string store_file(int enc_id, const char* dir = nullptr);
// "/etc/enclosure_<id>_del.conf": removed disks, kept so a returning disk is recognised.
std::string history_file(int enc_id);
// "/etc/hal.conf", or "<dir>/hal.conf": where boot-device disks live.
std::string boot_store_file(const char* dir = nullptr);

inline bool is_virtual_id(int port_id) {
  return port_id >= PD_VIRTUAL_PORT_ID_MIN && port_id <= PD_VIRTUAL_PORT_ID_MAX;
}
inline bool is_member_id(int port_id) { return port_id >= PD_MEMBER_PORT_ID_MIN; }

// The section of a port id by the reader's rule: "VirtualDisk_<id-100>" for 101..999,
// else "PhysicalDisk_<id>".
std::string section_for(int port_id);
std::string physical_section(int port_id);
std::string boot_section(int number);

// "pd<slot>_member_bitmap".
std::string member_bitmap_key(int slot);

// The bitmap of "Index" that holds a port id, and the bit in it.
struct IndexBit {
  std::string key;
  int bit = 0;
};
IndexBit index_bit_for(int port_id);

// "pd_sysid_<name>": the index key that maps a disk name to its port id.
std::string sysid_key(std::string_view name);
// The device name of a "/dev/..." path (the text after "/dev/"), empty when there is none.
std::string_view dev_base_name(std::string_view pd_sys_name);

// True when `text` can stand in a store key or section name and read back the same.
bool usable_key_text(std::string_view text);
// A value as the store can keep it: control characters become '?', surrounding blanks go.
std::string store_value(std::string_view text);

}  // namespace bayhal::disk
