// SMBIOS structure tables from firmware: the walker and the record decoders must stay
// inside the bytes whatever the lengths and string sets claim.
#include <cstddef>
#include <cstdint>

#include "model/smbios.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  bayhal::smbios::Table t = bayhal::smbios::parse_table({data, size});
  for (const auto& s : t.structures) {
    (void)bayhal::smbios::memory_device(s);
    (void)bayhal::smbios::power_supply(s);
    for (size_t off = 0; off < s.formatted.size() + 2; ++off) (void)s.string_at(off);
  }
  return 0;
}
