#include "model/fru.h"

#include "foundation/byte_reader.h"

namespace bayhal::fru {
namespace {

constexpr uint8_t kEndOfFields = 0xC1;

bool zero_sum(ByteReader& r, size_t off, size_t len) {
  if (!r.has(off, len)) return false;
  uint8_t sum = 0;
  for (uint8_t b : r.bytes(off, len)) sum = static_cast<uint8_t>(sum + b);
  return sum == 0;
}

// Decodes one type/length-coded field at `pos`; advances `pos` past it.
std::optional<std::string> field(ByteReader& r, size_t& pos, size_t end) {
  if (pos >= end) return std::nullopt;
  uint8_t tl = r.u8(pos);
  if (tl == kEndOfFields) return std::nullopt;
  size_t len = tl & 0x3F;
  size_t at = pos + 1;
  if (at + len > end) return std::nullopt;
  pos = at + len;
  std::string out;
  switch (tl >> 6) {
    case 0: {  // binary: shown as hex
      static const char hex[] = "0123456789ABCDEF";
      for (uint8_t b : r.bytes(at, len)) {
        out += hex[b >> 4];
        out += hex[b & 0xF];
      }
      return out;
    }
    case 1: {  // BCD plus: two digits per byte
      static const char bcd[] = "0123456789 -.???";
      for (uint8_t b : r.bytes(at, len)) {
        out += bcd[b >> 4];
        out += bcd[b & 0xF];
      }
      return out;
    }
    case 2: {  // 6-bit packed ASCII: four characters in three bytes, low bits first
      uint32_t acc = 0;
      int bits = 0;
      for (uint8_t b : r.bytes(at, len)) {
        acc |= static_cast<uint32_t>(b) << bits;
        bits += 8;
        while (bits >= 6) {
          out += static_cast<char>(0x20 + (acc & 0x3F));
          acc >>= 6;
          bits -= 6;
        }
      }
      ByteReader t(out.data(), out.size());
      return t.ascii(0, out.size());
    }
    default:  // 8-bit ASCII
      return r.ascii(at, len);
  }
}

}  // namespace

std::optional<BoardInfo> parse_board(std::span<const uint8_t> bytes) {
  ByteReader r(bytes);
  if (!r.has(0, 8) || r.u8(0) != 0x01 || !zero_sum(r, 0, 8)) return std::nullopt;
  size_t area = size_t{r.u8(3)} * 8;
  if (area == 0 || !r.has(area, 2) || r.u8(area) != 0x01) return std::nullopt;
  size_t area_len = size_t{r.u8(area + 1)} * 8;
  if (area_len < 8 || !zero_sum(r, area, area_len)) return std::nullopt;
  size_t end = area + area_len - 1;  // the last byte is the checksum
  size_t pos = area + 6;             // version, length, language, 3 bytes of time
  BoardInfo b;
  std::string* fields[] = {&b.manufacturer, &b.product, &b.serial, &b.part_number, &b.file_id};
  for (std::string* f : fields) {
    auto v = field(r, pos, end);
    if (!v) break;
    *f = std::move(*v);
  }
  if (!r.ok()) return std::nullopt;
  return b;
}

}  // namespace bayhal::fru
