// Byte images of firmware data for tests: SMBIOS structure tables and IPMI FRU records,
// built field by field the way the standards lay them out.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace bayhal::test {

using Bytes = std::vector<uint8_t>;

class DmiBuilder {
 public:
  // One structure: header (type, length, handle), `body` (the formatted bytes after the
  // header) and its strings.
  DmiBuilder& add(uint8_t type, uint16_t handle, const Bytes& body,
                  const std::vector<std::string>& strings);

  struct Dimm {
    uint16_t size_word = 8192;  // MB; 0 = empty slot; 0x7FFF = see ext_size_mb
    uint32_t ext_size_mb = 0;
    std::string locator = "DIMM_A1";
    std::string bank = "BANK 0";
    std::string manufacturer = "Acme Memory";
    std::string serial = "0000A1B2";
    std::string part = "AM4-8G-2666";
    uint16_t speed = 2666;
    uint8_t type = 0x1A;    // DDR4
    uint8_t length = 0x28;  // SMBIOS 2.8 layout
  };
  DmiBuilder& memory_device(uint16_t handle, const Dimm& d);
  DmiBuilder& power_supply(uint16_t handle, bool present, const std::string& name = "PSU");
  DmiBuilder& end_of_table(uint16_t handle = 0xFEFF);

  const Bytes& bytes() const { return bytes_; }
  std::string str() const { return {bytes_.begin(), bytes_.end()}; }

 private:
  Bytes bytes_;
};

// A FRU image with a common header and a board area holding 8-bit ASCII fields.
struct FruBoard {
  std::string manufacturer = "Acme Backplanes";
  std::string product = "8-bay SATA backplane";
  std::string serial = "BP0001";
  std::string part = "BP-8SATA-A";
  std::string file_id = "";
};
Bytes fru_image(const FruBoard& b);
std::string fru_string(const FruBoard& b);

// A mapping block of CMOS bank 1 as the firmware leaves it: signature, count, units and a
// zero-sum checksum (off by `fix`).
Bytes cmos_block(char signature, const Bytes& units, int fix = 0);

}  // namespace bayhal::test
