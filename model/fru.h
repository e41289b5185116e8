// Board information of an IPMI FRU record (Platform Management FRU Information Storage
// Definition 1.0), the layout backplane EEPROMs carry: an 8-byte common header whose
// byte 3 gives the board area offset in 8-byte units, then the board area: version,
// length, language, manufacturing time, and type/length-coded fields (manufacturer, product
// name, serial number, part number, FRU file id) ending with 0xC1. Header and area carry
// zero-sum checksums. Every byte is read through ByteReader.
#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace bayhal::fru {

struct BoardInfo {
  std::string manufacturer;
  std::string product;
  std::string serial;
  std::string part_number;
  std::string file_id;
};

// nullopt when the header or the board area is missing, cut short or fails its checksum.
std::optional<BoardInfo> parse_board(std::span<const uint8_t> bytes);

}  // namespace bayhal::fru
