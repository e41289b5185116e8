#include "enc_sys/vpd_serial.h"

#include "foundation/byte_reader.h"

namespace bayhal {

std::optional<std::string> parse_vpd_serial(const void* data, size_t len) {
  ByteReader r(data, len);
  if (!r.has(0, 4) || r.u8(1) != 0x80) return std::nullopt;
  size_t n = r.be16(2);
  if (!r.has(4, n)) return std::nullopt;
  return r.ascii(4, n);
}

}  // namespace bayhal
