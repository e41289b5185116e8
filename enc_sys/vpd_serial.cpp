#include "enc_sys/vpd_serial.h"

#include "foundation/byte_reader.h"

namespace bayhal {

std::optional<std::string> parse_vpd_serial(std::string_view page) {
  ByteReader r(page.data(), page.size());
  if (r.size() < 4 || r.u8(1) != 0x80) return std::nullopt;
  size_t len = r.be16(2);
  auto bytes = r.bytes(4, len);
  if (!r.ok()) return std::nullopt;
  std::string serial;
  for (uint8_t c : bytes) {
    if (c == 0) continue;
    if (c < 0x20 || c > 0x7e) return std::nullopt;
    serial.push_back(static_cast<char>(c));
  }
  size_t start = serial.find_first_not_of(' ');
  if (start == std::string::npos) return std::string();
  size_t end = serial.find_last_not_of(' ');
  return serial.substr(start, end - start + 1);
}

}  // namespace bayhal
