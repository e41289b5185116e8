// The unit serial number page of enclosures and disks: device bytes into their records.
#include <cstddef>
#include <cstdint>

#include "enc_sys/vpd_serial.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto serial = bayhal::parse_vpd_serial(data, size);
  if (serial && serial->size() + 4 > size) __builtin_trap();  // never longer than the page
  return 0;
}
