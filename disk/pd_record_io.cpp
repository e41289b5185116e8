#include "disk/pd_record_io.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "disk/disk_store.h"
#include "disk/pd_fields.h"
#include "ini/ini_conf_util.h"
#include "ini/key_index.h"

namespace bayhal::disk {

namespace {

enum class Kind : uint8_t { i32, u32, i64, text, wwn, raid_i32 };

// One store key: where it goes in the record, how it is parsed, the reader's byte limit.
struct Field {
  std::string_view key;
  Kind kind;
  size_t offset;
  size_t size;   // field size for texts
  size_t limit;  // the reader's buffer size for texts, terminator included
  bool required;
};

#define PD_FIELD(k, kind, member, limit, req) \
  Field { k, kind, offsetof(PD_INFO, member), sizeof(PD_INFO::member), limit, req }

// In the order the writer stores them.
constexpr std::array kFields = {
    PD_FIELD("port_id", Kind::i32, port_id, 0, true),
    PD_FIELD("att_phy_id", Kind::i32, att_phy_id, 0, true),
    PD_FIELD("pd_sys_id", Kind::text, pd_sys_id, 32, true),
    PD_FIELD("enc_sys_id", Kind::text, enc_sys_id, 32, true),
    PD_FIELD("pd_sys_name", Kind::text, pd_sys_name, 32, false),
    PD_FIELD("pd_ctrl_name", Kind::text, pd_ctrl_name, 32, false),
    PD_FIELD("pd_bus_name", Kind::text, pd_bus_name, 32, false),
    PD_FIELD("pd_driver_name", Kind::text, pd_driver_name, 32, false),
    PD_FIELD("wwn", Kind::wwn, wwn, 33, false),
    PD_FIELD("type", Kind::i32, type, 0, false),
    PD_FIELD("form", Kind::i32, form, 0, false),
    PD_FIELD("vendor", Kind::text, vendor, 32, false),
    PD_FIELD("model", Kind::text, model, 41, false),
    PD_FIELD("serial_no", Kind::text, serial_no, 33, false),
    PD_FIELD("status", Kind::i32, status, 0, false),
    PD_FIELD("capabilities", Kind::u32, capabilities, 0, false),
    PD_FIELD("sector_size", Kind::i32, sector_size, 0, false),
    PD_FIELD("capacity", Kind::i64, capacity, 0, false),
    PD_FIELD("revision", Kind::text, revision, 16, false),
    PD_FIELD("protocol_ver", Kind::i32, protocol_ver, 0, false),
    PD_FIELD("link_speed", Kind::i32, link_speed, 0, false),
    PD_FIELD("max_link_speed", Kind::i32, max_link_speed, 0, false),
    PD_FIELD("pd_max_link_speed", Kind::i32, pd_max_link_speed, 0, false),
    PD_FIELD("read_speed", Kind::text, read_speed, 32, false),
    PD_FIELD("rotation_speed", Kind::i32, rotation_speed, 0, false),
    PD_FIELD("hw_raid_disk_bitmap", Kind::raid_i32, hw_raid_disk_bitmap, 0, false),
    PD_FIELD("hw_raid_spare_bitmap", Kind::raid_i32, hw_raid_spare_bitmap, 0, false),
    PD_FIELD("hw_raid_type", Kind::raid_i32, hw_raid_type, 0, false),
};

#undef PD_FIELD

static_assert(kFields.size() <= 32, "the seen-mask holds 32 fields");

constexpr ini::KeyIndex<64> kIndexOfKey(kFields);

int field_index(std::string_view key) { return kIndexOfKey.find(key); }

void copy_text(unsigned char* field, size_t size, std::string_view text, size_t limit) {
  size_t n = std::min({text.size(), size - 1, limit - 1});
  std::memcpy(field, text.data(), n);
  std::memset(field + n, 0, size - n);
}

// Stores one value; false when a number does not parse (the field is then left alone).
bool store(const Field& f, std::string_view value, PD_INFO* info, bool is_virtual) {
  auto* base = reinterpret_cast<unsigned char*>(info);
  unsigned char* at = base + f.offset;
  long long n = 0;
  switch (f.kind) {
    case Kind::text:
      copy_text(at, f.size, value, f.limit);
      return true;
    case Kind::wwn:
      // The store keeps the index identity as text; the record then carries that text.
      copy_text(at, f.size, value, f.limit);
      info->wwn_len = static_cast<int>(std::min(value.size(), f.limit - 1));
      return true;
    case Kind::raid_i32:
      if (!is_virtual) return true;
      [[fallthrough]];
    case Kind::i32:
      if (!ini::parse_int(value, false, n)) return false;
      *reinterpret_cast<int*>(at) = static_cast<int>(n);
      return true;
    case Kind::u32:
      if (!ini::parse_int(value, false, n)) return false;
      *reinterpret_cast<unsigned*>(at) = static_cast<unsigned>(n);
      return true;
    case Kind::i64:
      if (!ini::parse_int(value, false, n)) return false;
      *reinterpret_cast<long long*>(at) = n;
      return true;
  }
  return false;
}

}  // namespace

bool fill_record(const StoreText& s, std::string_view section, int port_id, PD_INFO* info) {
  uint32_t seen = 0;
  bool virtual_id = is_virtual_id(port_id);
  s.for_each_key(section, [&](std::string_view key, std::string_view value) {
    int i = field_index(key);
    if (i < 0 || (seen & (1u << i))) return;
    seen |= 1u << i;
    if (!store(kFields[static_cast<size_t>(i)], value, info, virtual_id))
      seen &= ~(1u << i);  // an unparsable number counts as absent
  });
  if (!(seen & (1u << field_index("read_speed")))) set_text(info->read_speed, "none");
  for (size_t i = 0; i < kFields.size(); ++i)
    if (kFields[i].required && !(seen & (1u << i))) return false;
  return true;
}

}  // namespace bayhal::disk
