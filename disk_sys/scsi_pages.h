// Decoding of SCSI replies: standard INQUIRY, the VPD pages disk discovery reads (0x83 device
// identification, 0xB1 block device characteristics; the 0x80 serial is enc_sys/vpd_serial.h,
// shared with enclosures) and READ CAPACITY. Every decoder takes the bytes the device
// returned and their count.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace bayhal {

struct InquiryData {
  int qualifier = 0;        // byte 0 bits 7:5
  int peripheral_type = 0;  // byte 0 bits 4:0: 0 disk, 5 CD/DVD, 0x0d enclosure, 0x1f none
  bool removable = false;   // byte 1 bit 7
  int version = 0;          // byte 2
  std::string vendor;       // bytes 8-15
  std::string product;      // bytes 16-31
  std::string revision;     // bytes 32-35
};

// False when fewer than 36 bytes arrived.
bool scsi_parse_inquiry(const uint8_t* data, size_t len, InquiryData& out);

// VPD 0x83: the logical unit's NAA designator (association 0, type 3), 8 or 16 bytes.
// Returns its length, 0 when the page holds none or is malformed.
size_t scsi_parse_vpd_naa(const uint8_t* data, size_t len, uint8_t out[16]);

// VPD 0xB1: rotation (-1 not reported, 0 non-rotating, else rpm) and nominal form factor
// (byte 7 bits 3:0). False when the page is not 0xB1 or too short.
bool scsi_parse_vpd_block_chars(const uint8_t* data, size_t len, int& rotation, int& form);

// READ CAPACITY(16) / (10): number of logical blocks and the block length.
bool scsi_parse_read_capacity16(const uint8_t* data, size_t len, uint64_t& blocks,
                                uint32_t& block_len);
bool scsi_parse_read_capacity10(const uint8_t* data, size_t len, uint64_t& blocks,
                                uint32_t& block_len);

}  // namespace bayhal
