// Decoding of the 512-byte ATA IDENTIFY DEVICE data (ACS-4 layout: 256 little-endian words,
// strings with two characters per word, first in the high byte).
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace bayhal {

constexpr size_t kAtaIdentifySize = 512;

struct AtaIdentity {
  std::string model;     // words 27-46
  std::string serial;    // words 10-19
  std::string firmware;  // words 23-26
  bool atapi = false;              // word 0 bit 15: a packet device (optical drive)
  bool removable = false;          // word 0 bit 7
  uint64_t lba28_sectors = 0;      // words 60-61
  uint64_t lba48_sectors = 0;      // words 100-103, when 48-bit addressing is supported
  uint64_t sectors = 0;            // capacity in logical sectors
  uint32_t logical_sector_size = 512;  // words 106, 117-118
  int rotation_rate = -1;          // word 217: -1 not reported, 0 non-rotating, else rpm
  int form_factor = 0;             // word 168 bits 3:0 (0 not reported, 2 3.5", 3 2.5", ...)
  bool wwn_supported = false;      // word 84/87 bit 8
  uint8_t wwn[8] = {};             // words 108-111, big-endian as the NAA identifier reads
  bool smart_supported = false;    // word 82 bit 0
  bool smart_enabled = false;      // word 85 bit 0
  bool self_test_supported = false;  // word 84/87 bit 1
  bool trim_supported = false;     // word 169 bit 0
  bool trusted_computing = false;  // word 48 bit 0
  int sata_max_gen = 0;            // word 76: highest of gen 1/2/3 (1.5/3/6 Gbit/s)
  int sata_cur_gen = 0;            // word 77 bits 3:1: negotiated gen
  bool checksum_present = false;   // word 255 low byte 0xA5
  bool checksum_ok = false;        // all 512 bytes sum to 0 mod 256

  // The WWN as 16 lower-case hex digits ("50014ee6aadfd43a"); empty when not supported.
  std::string wwn_hex() const;
};

// Decodes `data` (at least 512 bytes). Returns false when the page is too short or is all
// zeros or all ones (no device answered); `out` then holds nothing useful.
bool ata_identify_parse(const uint8_t* data, size_t len, AtaIdentity& out);

}  // namespace bayhal
