// The unit serial number page of SES devices: device bytes into the enclosure record.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "enc_sys/vpd_serial.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto serial = bayhal::parse_vpd_serial(std::string_view(reinterpret_cast<const char*>(data), size));
  if (serial && serial->size() + 4 > size) __builtin_trap();  // never longer than the page
  return 0;
}
