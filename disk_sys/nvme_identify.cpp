#include "disk_sys/nvme_identify.h"

#include "foundation/byte_reader.h"

namespace bayhal {

bool nvme_parse_identify_ctrl(const uint8_t* data, size_t len, NvmeController& out) {
  out = NvmeController{};
  ByteReader r(data, len);
  if (!r.has(0, 522)) return false;
  out.vendor = r.le16(0);
  out.serial = r.ascii(4, 20);
  out.model = r.ascii(24, 40);
  out.firmware = r.ascii(64, 8);
  out.oacs = r.le16(256);
  out.edstt = r.le16(316);
  out.nn = r.le32(516);
  out.oncs = r.le16(520);
  return r.ok();
}

bool nvme_parse_identify_ns(const uint8_t* data, size_t len, NvmeNamespace& out) {
  out = NvmeNamespace{};
  ByteReader r(data, len);
  if (!r.has(0, 192)) return false;
  out.sectors = r.le64(0);
  uint8_t flbas = r.u8(26);
  // Bits 3:0 index the format; bits 6:5 extend it past 16 formats.
  unsigned index = (flbas & 0x0f) | ((flbas >> 1) & 0x30);
  uint8_t lbads = r.u8(128 + 4 * index + 2);
  if (lbads >= 9 && lbads <= 16) out.lba_size = 1u << lbads;
  return r.ok();
}

}  // namespace bayhal
