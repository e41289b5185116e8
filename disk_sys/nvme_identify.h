// Decoding of NVMe Identify data (4096 bytes): the controller structure (CNS 01h) and the
// namespace structure (CNS 00h).
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace bayhal {

constexpr size_t kNvmeIdentifySize = 4096;
// ONCS bit 2: the Dataset Management command (deallocate, i.e. TRIM) is supported.
constexpr uint16_t kNvmeOncsDsm = 0x4;
constexpr uint16_t kNvmeOacsSelfTest = 0x10;  // Device Self-test

struct NvmeController {
  uint16_t vendor = 0;   // bytes 0-1
  std::string serial;    // bytes 4-23
  std::string model;     // bytes 24-63
  std::string firmware;  // bytes 64-71
  uint16_t oacs = 0;     // bytes 256-257: optional admin commands (bit 0 security send/recv)
  uint16_t oncs = 0;     // bytes 520-521: optional NVM commands
  uint32_t nn = 0;       // bytes 516-519: number of namespaces
  uint16_t edstt = 0;    // bytes 316-317: extended device self-test time, minutes
};

struct NvmeNamespace {
  uint64_t sectors = 0;         // NSZE, bytes 0-7
  uint32_t lba_size = 512;      // 2^LBADS of the format FLBAS selects
};

bool nvme_parse_identify_ctrl(const uint8_t* data, size_t len, NvmeController& out);
bool nvme_parse_identify_ns(const uint8_t* data, size_t len, NvmeNamespace& out);

}  // namespace bayhal
