// INQUIRY, VPD 0x83/0xB1 and READ CAPACITY replies: every decoder gets the same bytes.
#include <cstddef>
#include <cstdint>
#include <string>

#include "disk_sys/scsi_pages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  bayhal::InquiryData inq;
  bayhal::scsi_parse_inquiry(data, size, inq);
  uint8_t naa[16];
  bayhal::scsi_parse_vpd_naa(data, size, naa);
  int rotation = 0, form = 0;
  bayhal::scsi_parse_vpd_block_chars(data, size, rotation, form);
  uint64_t blocks = 0;
  uint32_t len = 0;
  bayhal::scsi_parse_read_capacity16(data, size, blocks, len);
  bayhal::scsi_parse_read_capacity10(data, size, blocks, len);
  return 0;
}
