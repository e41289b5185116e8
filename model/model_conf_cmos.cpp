// Mapping tables that the firmware leaves in bank 1 of the CMOS (index port 0x72, data
// port 0x73) for boards whose slot or bay wiring is decided at power-on. Each block is:
//   signature byte, count n, n unit bytes (1-255), checksum (the block sums to 0 mod 256).
// The PCIe slot block starts at 0x40 (up to 16 slots), the disk block at 0x58 (up to 32).
#include <cerrno>
#include <cstdio>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "transport/port_io.h"
#include "model/model_conf.h"

namespace bayhal {
namespace {

constexpr uint16_t kIndexPort = 0x72;
constexpr uint16_t kDataPort = 0x73;

struct Block {
  const char* what;
  uint8_t offset;
  uint8_t signature;
  uint8_t max_units;
};
constexpr Block kPcieBlock{"PCIe slot mapping", 0x40, 'P', 16};
constexpr Block kDiskBlock{"disk mapping", 0x58, 'D', 32};

uint8_t cmos_read(PortIo& io, uint8_t offset) {
  io.outb(offset & 0x7F, kIndexPort);
  return io.inb(kDataPort);
}

int read_block(const char* who, const Block& b, char* buf, int size) {
  if (buf == nullptr || size <= 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): no buffer given\n", who, __LINE__);
    return -1;
  }
  PortIo& io = port_io();
  if (io.permit(kIndexPort, 2) != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): ioperm(0x%x) failed, errno=%d\n", who, __LINE__,
              kIndexPort, errno);
    return -1;
  }
  uint8_t sig = cmos_read(io, b.offset);
  uint8_t count = cmos_read(io, b.offset + 1);
  if (sig != b.signature || count == 0 || count > b.max_units) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): no %s in CMOS (signature 0x%02x, count %u)\n", who,
              __LINE__, b.what, sig, count);
    return -1;
  }
  uint8_t sum = static_cast<uint8_t>(sig + count);
  std::string text;
  for (uint8_t i = 0; i < count; ++i) {
    uint8_t unit = cmos_read(io, static_cast<uint8_t>(b.offset + 2 + i));
    sum = static_cast<uint8_t>(sum + unit);
    if (unit == 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): %s entry %u is empty\n", who, __LINE__, b.what, i + 1);
      return -1;
    }
    if (!text.empty()) text += ',';
    text += std::to_string(unit);
  }
  sum = static_cast<uint8_t>(sum + cmos_read(io, static_cast<uint8_t>(b.offset + 2 + count)));
  if (sum != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): %s checksum mismatch\n", who, __LINE__, b.what);
    return -1;
  }
  if (text.size() + 1 > static_cast<size_t>(size)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): buffer of %d too small for %s\n", who, __LINE__, size,
              text.c_str());
    return -1;
  }
  std::snprintf(buf, static_cast<size_t>(size), "%s", text.c_str());
  return 0;
}

}  // namespace

int comm_sys_get_pcie_slot_mapping_from_cmos(char* buf, int size) {
  return read_block(__func__, kPcieBlock, buf, size);
}

int comm_sys_get_disk_mapping_from_cmos(char* buf, int size) {
  return read_block(__func__, kDiskBlock, buf, size);
}

}  // namespace bayhal
