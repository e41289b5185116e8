#include "disk_sys/scsi_pages.h"

#include "foundation/byte_reader.h"

namespace bayhal {

bool scsi_parse_inquiry(const uint8_t* data, size_t len, InquiryData& out) {
  out = InquiryData{};
  ByteReader r(data, len);
  if (!r.has(0, 36)) return false;
  uint8_t b0 = r.u8(0);
  out.qualifier = b0 >> 5;
  out.peripheral_type = b0 & 0x1f;
  out.removable = r.bit(1, 7);
  out.version = r.u8(2);
  out.vendor = r.ascii(8, 8);
  out.product = r.ascii(16, 16);
  out.revision = r.ascii(32, 4);
  return r.ok();
}

size_t scsi_parse_vpd_naa(const uint8_t* data, size_t len, uint8_t out[16]) {
  ByteReader r(data, len);
  if (!r.has(0, 4) || r.u8(1) != 0x83) return 0;
  size_t end = 4 + static_cast<size_t>(r.be16(2));
  if (end > len) end = len;
  size_t off = 4;
  while (off + 4 <= end) {
    uint8_t assoc_type = r.u8(off + 1);
    size_t dlen = r.u8(off + 3);
    if (off + 4 + dlen > end) return 0;
    bool lun_assoc = ((assoc_type >> 4) & 0x3) == 0;
    bool naa = (assoc_type & 0x0f) == 3;
    if (lun_assoc && naa && (dlen == 8 || dlen == 16)) {
      auto b = r.bytes(off + 4, dlen);
      for (size_t i = 0; i < dlen; ++i) out[i] = b[i];
      return dlen;
    }
    off += 4 + dlen;
  }
  return 0;
}

bool scsi_parse_vpd_block_chars(const uint8_t* data, size_t len, int& rotation, int& form) {
  rotation = -1;
  form = 0;
  ByteReader r(data, len);
  if (!r.has(0, 8) || r.u8(1) != 0xb1) return false;
  uint16_t rate = r.be16(4);
  if (rate == 1)
    rotation = 0;
  else if (rate >= 0x0401 && rate <= 0xfffe)
    rotation = rate;
  form = r.u8(7) & 0x0f;
  return true;
}

bool scsi_parse_read_capacity16(const uint8_t* data, size_t len, uint64_t& blocks,
                                uint32_t& block_len) {
  ByteReader r(data, len);
  if (!r.has(0, 12)) return false;
  uint64_t last = r.be64(0);
  blocks = last == UINT64_MAX ? 0 : last + 1;
  block_len = r.be32(8);
  return true;
}

bool scsi_parse_read_capacity10(const uint8_t* data, size_t len, uint64_t& blocks,
                                uint32_t& block_len) {
  ByteReader r(data, len);
  if (!r.has(0, 8)) return false;
  uint32_t last = r.be32(0);
  blocks = static_cast<uint64_t>(last) + 1;
  block_len = r.be32(4);
  return true;
}

}  // namespace bayhal
