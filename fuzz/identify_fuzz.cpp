// ATA IDENTIFY DEVICE data from a drive: any bytes, any length.
#include <cstddef>
#include <cstdint>

#include "disk_sys/ata_identify.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  bayhal::AtaIdentity id;
  if (bayhal::ata_identify_parse(data, size, id)) (void)id.wwn_hex();
  return 0;
}
