#include "model/smbios.h"

#include "foundation/byte_reader.h"
#include "foundation/sysfs.h"

namespace bayhal::smbios {
namespace {

constexpr uint8_t kEndOfTable = 127;
constexpr size_t kMaxTable = 1 << 20;  // firmware tables are a few KiB; refuse anything huge

const char* memory_type_name(uint8_t t) {
  switch (t) {
    case 0x12: return "DDR";
    case 0x13: return "DDR2";
    case 0x18: return "DDR3";
    case 0x1A: return "DDR4";
    case 0x1B: return "LPDDR";
    case 0x1C: return "LPDDR2";
    case 0x1D: return "LPDDR3";
    case 0x1E: return "LPDDR4";
    case 0x22: return "DDR5";
    case 0x23: return "LPDDR5";
    case 0x01: return "Other";
    default: return "Unknown";
  }
}

// The string set after a formatted area: NUL-terminated strings ending with an empty one.
// Returns the offset just past it, or nothing when the terminator is missing.
std::optional<size_t> read_strings(ByteReader& r, size_t at, std::vector<std::string>& out) {
  // An empty set is written as two NULs.
  if (r.has(at, 2) && r.u8(at) == 0 && r.u8(at + 1) == 0) return at + 2;
  size_t pos = at;
  while (r.has(pos, 1)) {
    size_t start = pos;
    while (r.has(pos, 1) && r.u8(pos) != 0) ++pos;
    if (!r.has(pos, 1)) return std::nullopt;
    out.push_back(r.ascii(start, pos - start));
    ++pos;
    if (!r.has(pos, 1)) return std::nullopt;
    if (r.u8(pos) == 0) return pos + 1;
  }
  return std::nullopt;
}

}  // namespace

std::string Structure::string_at(size_t offset) const {
  if (offset >= formatted.size()) return {};
  uint8_t index = formatted[offset];
  if (index == 0 || index > strings.size()) return {};
  return strings[index - 1];
}

std::vector<const Structure*> Table::of_type(uint8_t type) const {
  std::vector<const Structure*> out;
  for (const Structure& s : structures)
    if (s.type == type) out.push_back(&s);
  return out;
}

Table parse_table(std::span<const uint8_t> bytes) {
  Table t;
  ByteReader r(bytes);
  size_t pos = 0;
  while (r.has(pos, 1)) {
    uint8_t len = r.has(pos, 4) ? r.u8(pos + 1) : 0;
    if (len < 4 || !r.has(pos, len)) {
      t.well_formed = false;
      break;
    }
    Structure s;
    s.type = r.u8(pos);
    s.handle = r.le16(pos + 2);
    auto area = r.bytes(pos, len);
    s.formatted.assign(area.begin(), area.end());
    auto next = read_strings(r, pos + len, s.strings);
    if (!next) {
      t.well_formed = false;
      break;
    }
    pos = *next;
    bool end = s.type == kEndOfTable;
    t.structures.push_back(std::move(s));
    if (end) break;
  }
  return t;
}

std::optional<Table> read_table(const char* path) {
  auto data = read_file(path, kMaxTable);
  if (!data) return std::nullopt;
  return parse_table({reinterpret_cast<const uint8_t*>(data->data()), data->size()});
}

std::optional<MemoryDevice> memory_device(const Structure& s) {
  // The SMBIOS 2.1 layout is the smallest that carries the size and the locators.
  if (s.type != 17 || s.formatted.size() < 0x15) return std::nullopt;
  ByteReader r(s.formatted.data(), s.formatted.size());
  size_t len = s.formatted.size();
  MemoryDevice m;
  m.handle = s.handle;
  uint16_t size = r.le16(0x0C);
  m.installed = size != 0;
  m.size_known = size != 0xFFFF;
  if (size == 0x7FFF && len >= 0x20)
    m.size_mb = r.le32(0x1C) & 0x7FFFFFFF;
  else if (m.size_known)
    m.size_mb = (size & 0x8000) ? (size & 0x7FFF) / 1024 : size;
  m.locator = s.string_at(0x10);
  m.bank = s.string_at(0x11);
  m.type = memory_type_name(r.u8(0x12));
  if (len >= 0x17) m.speed_mts = r.le16(0x15);
  if (m.speed_mts == 0xFFFF) m.speed_mts = len >= 0x58 ? r.le32(0x54) : 0;
  if (len >= 0x1B) {
    m.manufacturer = s.string_at(0x17);
    m.serial = s.string_at(0x18);
    m.part_number = s.string_at(0x1A);
  }
  if (len >= 0x1C) m.rank = r.u8(0x1B) & 0x0F;
  if (len >= 0x22) m.configured_mts = r.le16(0x20);
  if (m.configured_mts == 0xFFFF) m.configured_mts = len >= 0x5C ? r.le32(0x58) : 0;
  return m;
}

std::optional<PowerSupply> power_supply(const Structure& s) {
  if (s.type != 39 || s.formatted.size() < 0x10) return std::nullopt;
  ByteReader r(s.formatted.data(), s.formatted.size());
  PowerSupply p;
  p.location = s.string_at(0x05);
  p.name = s.string_at(0x06);
  p.manufacturer = s.string_at(0x07);
  p.serial = s.string_at(0x08);
  p.part_number = s.string_at(0x0A);
  uint16_t watts = r.le16(0x0C);
  p.max_watts = watts == 0x8000 ? 0 : watts;
  uint16_t ch = r.le16(0x0E);
  p.hot_replaceable = ch & 0x1;
  p.present = ch & 0x2;
  return p;
}

}  // namespace bayhal::smbios
