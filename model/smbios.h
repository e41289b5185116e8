// SMBIOS structure table as the kernel exposes it (/sys/firmware/dmi/tables/DMI): the
// structures one after another, each a formatted area followed by its string set. Bytes
// from firmware are untrusted: every field is read through ByteReader, and a table that
// runs past its end or lacks string terminators is reported as not well formed.
#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace bayhal::smbios {

struct Structure {
  uint8_t type = 0;
  uint16_t handle = 0;
  std::vector<uint8_t> formatted;  // header included: formatted[0] is the type
  std::vector<std::string> strings;

  // The string a formatted byte at `offset` points to; "" for index 0, a bad index or an
  // offset beyond the formatted area.
  std::string string_at(size_t offset) const;
};

struct Table {
  std::vector<Structure> structures;
  // False when a structure was cut short or malformed; the structures before it are kept.
  bool well_formed = true;
  std::vector<const Structure*> of_type(uint8_t type) const;
};

Table parse_table(std::span<const uint8_t> bytes);
// Reads and parses the table under the system root; nullopt when it cannot be read.
std::optional<Table> read_table(const char* path = "/sys/firmware/dmi/tables/DMI");

// Type 17, Memory Device.
struct MemoryDevice {
  uint16_t handle = 0;
  bool installed = false;   // size word not 0
  bool size_known = false;  // size word not 0xFFFF
  uint64_t size_mb = 0;
  std::string locator, bank, manufacturer, serial, part_number;
  std::string type;          // "DDR4", ... or "Unknown"
  unsigned speed_mts = 0;    // 0 = unknown
  unsigned configured_mts = 0;
  unsigned rank = 0;         // 0 = unknown
};
std::optional<MemoryDevice> memory_device(const Structure& s);

// Type 39, System Power Supply.
struct PowerSupply {
  std::string location, name, manufacturer, serial, part_number;
  bool present = false;
  bool hot_replaceable = false;
  unsigned max_watts = 0;  // 0 = unknown
};
std::optional<PowerSupply> power_supply(const Structure& s);

}  // namespace bayhal::smbios
