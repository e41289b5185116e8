#include "disk_sys/ata_identify.h"

#include <cstdio>

#include "foundation/byte_reader.h"

namespace bayhal {
namespace {

// Words 48, 83, 84, 87 and 106 carry meaning only when bits 15:14 read 01.
bool valid_word(uint16_t w) { return (w & 0xc000) == 0x4000; }

int highest_gen(uint16_t w76) {
  if (w76 == 0 || w76 == 0xffff) return 0;
  for (int gen = 3; gen >= 1; --gen)
    if (w76 & (1u << gen)) return gen;
  return 0;
}

}  // namespace

std::string AtaIdentity::wwn_hex() const {
  if (!wwn_supported) return {};
  char buf[17];
  for (int i = 0; i < 8; ++i) std::snprintf(buf + 2 * i, 3, "%02x", wwn[i]);
  return buf;
}

bool ata_identify_parse(const uint8_t* data, size_t len, AtaIdentity& out) {
  out = AtaIdentity{};
  ByteReader r(data, len);
  if (!r.has(0, kAtaIdentifySize)) return false;
  bool all_zero = true, all_ones = true;
  for (uint8_t b : r.bytes(0, kAtaIdentifySize)) {
    all_zero = all_zero && b == 0;
    all_ones = all_ones && b == 0xff;
  }
  if (all_zero || all_ones) return false;

  uint16_t w0 = r.word(0);
  out.atapi = (w0 & 0x8000) != 0;
  out.removable = (w0 & 0x0080) != 0;
  out.serial = r.ata_string(10, 10);
  out.firmware = r.ata_string(23, 4);
  out.model = r.ata_string(27, 20);

  out.lba28_sectors = r.le32(120);
  uint16_t w83 = r.word(83);
  if (valid_word(w83) && (w83 & (1u << 10))) out.lba48_sectors = r.le64(200);
  out.sectors = out.lba48_sectors ? out.lba48_sectors : out.lba28_sectors;

  // Logical sectors longer than 256 words give their length in words 117-118.
  uint16_t w106 = r.word(106);
  if (valid_word(w106) && (w106 & (1u << 12))) {
    uint32_t words = r.le32(234);
    if (words >= 256 && words <= 32768) out.logical_sector_size = words * 2;
  }

  uint16_t w217 = r.word(217);
  if (w217 == 1)
    out.rotation_rate = 0;
  else if (w217 >= 0x0401 && w217 <= 0xfffe)
    out.rotation_rate = w217;
  out.form_factor = r.word(168) & 0x0f;

  uint16_t w82 = r.word(82), w84 = r.word(84), w85 = r.word(85), w87 = r.word(87);
  bool ok84 = valid_word(w84), ok87 = valid_word(w87);
  out.wwn_supported = (ok84 && (w84 & (1u << 8))) || (ok87 && (w87 & (1u << 8)));
  if (out.wwn_supported) {
    for (int i = 0; i < 4; ++i) {
      uint16_t w = r.word(108 + i);
      out.wwn[2 * i] = static_cast<uint8_t>(w >> 8);
      out.wwn[2 * i + 1] = static_cast<uint8_t>(w);
    }
  }
  if (w82 != 0xffff && valid_word(w83)) {
    out.smart_supported = (w82 & 1u) != 0;
    out.smart_enabled = (w85 & 1u) != 0;
  }
  out.self_test_supported = (ok84 && (w84 & 2u)) || (ok87 && (w87 & 2u));
  out.trim_supported = (r.word(169) & 1u) != 0;
  uint16_t w48 = r.word(48);
  out.trusted_computing = valid_word(w48) && (w48 & 1u);
  out.sata_max_gen = highest_gen(r.word(76));
  uint16_t w77 = r.word(77);
  out.sata_cur_gen = (w77 == 0xffff) ? 0 : (w77 >> 1) & 0x7;

  uint16_t w255 = r.word(255);
  out.checksum_present = (w255 & 0xff) == 0xa5;
  if (out.checksum_present) {
    unsigned sum = 0;
    for (uint8_t b : r.bytes(0, kAtaIdentifySize)) sum += b;
    out.checksum_ok = (sum & 0xff) == 0;
  }
  return r.ok();
}

}  // namespace bayhal
