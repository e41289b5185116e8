// The one bounds-checked reader for bytes that come from devices (IDENTIFY data, VPD and
// SES pages, SMART pages, serial replies). A read outside the buffer returns zero (or an
// empty string) and sets a sticky overflow flag, so a parser reads its fields straight by
// offset and checks ok() once at the end instead of guarding every access.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "foundation/text.h"

namespace bayhal {

class ByteReader {
 public:
  ByteReader() = default;
  ByteReader(const void* data, size_t size)
      : data_(static_cast<const uint8_t*>(data)), size_(data ? size : 0) {}
  explicit ByteReader(std::span<const uint8_t> bytes) : ByteReader(bytes.data(), bytes.size()) {}

  size_t size() const { return size_; }
  // False once any read went past the end.
  bool ok() const { return !overflow_; }
  // True when [off, off + len) lies inside the buffer (does not set the flag).
  bool has(size_t off, size_t len) const { return off <= size_ && len <= size_ - off; }

  // Reads at an absolute offset.
  uint8_t u8(size_t off) { return check(off, 1) ? data_[off] : 0; }
  uint16_t be16(size_t off) { return static_cast<uint16_t>(be(off, 2)); }
  uint32_t be32(size_t off) { return static_cast<uint32_t>(be(off, 4)); }
  uint64_t be64(size_t off) { return be(off, 8); }
  uint16_t le16(size_t off) { return static_cast<uint16_t>(le(off, 2)); }
  uint32_t le32(size_t off) { return static_cast<uint32_t>(le(off, 4)); }
  uint64_t le64(size_t off) { return le(off, 8); }
  // Big-endian unsigned of 1 to 8 bytes (e.g. a 48-bit raw value).
  uint64_t be(size_t off, size_t len) {
    if (len > 8 || !check(off, len)) return 0;
    uint64_t v = 0;
    for (size_t i = 0; i < len; ++i) v = (v << 8) | data_[off + i];
    return v;
  }
  uint64_t le(size_t off, size_t len) {
    if (len > 8 || !check(off, len)) return 0;
    uint64_t v = 0;
    for (size_t i = len; i-- > 0;) v = (v << 8) | data_[off + i];
    return v;
  }
  bool bit(size_t off, unsigned bit) { return (u8(off) >> (bit & 7)) & 1; }

  // The 16-bit little-endian word `index` (ATA IDENTIFY and SMART layouts).
  uint16_t word(size_t index) { return le16(index * 2); }

  // Bytes [off, off + len); empty (and the flag set) when out of range.
  std::span<const uint8_t> bytes(size_t off, size_t len) {
    if (!check(off, len)) return {};
    return {data_ + off, len};
  }
  // A reader over [off, off + len); an empty one (and the flag set here) when out of range.
  ByteReader sub(size_t off, size_t len) {
    if (!check(off, len)) return {};
    return {data_ + off, len};
  }

  // Printable ASCII field, trailing and leading spaces and NULs removed; other bytes below
  // 0x20 or above 0x7e become '?', so device text never carries control characters.
  std::string ascii(size_t off, size_t len) {
    auto b = bytes(off, len);
    std::string out;
    for (uint8_t c : b) out += (c == 0) ? ' ' : (c < 0x20 || c > 0x7e) ? '?' : char(c);
    return std::string(trim(out));
  }
  // ATA string of `words` words from word `index`: each word holds two characters, the
  // first in its high byte.
  std::string ata_string(size_t index, size_t words) {
    auto b = bytes(index * 2, words * 2);
    std::string swapped;
    for (size_t i = 0; i + 1 < b.size(); i += 2) {
      swapped += char(b[i + 1]);
      swapped += char(b[i]);
    }
    ByteReader r(swapped.data(), swapped.size());
    return r.ascii(0, swapped.size());
  }

  // Sequential reading from a cursor.
  size_t pos() const { return pos_; }
  void seek(size_t off) { pos_ = off; }
  void skip(size_t n) { pos_ += n; }
  size_t remaining() const { return pos_ < size_ ? size_ - pos_ : 0; }
  uint8_t next_u8() { return u8(advance(1)); }
  uint16_t next_be16() { return be16(advance(2)); }
  uint32_t next_be32() { return be32(advance(4)); }
  uint64_t next_be64() { return be64(advance(8)); }

 private:
  const uint8_t* data_ = nullptr;
  size_t size_ = 0;
  size_t pos_ = 0;
  bool overflow_ = false;

  bool check(size_t off, size_t len) {
    if (has(off, len)) return true;
    overflow_ = true;
    return false;
  }
  size_t advance(size_t n) {
    size_t at = pos_;
    pos_ = (pos_ > SIZE_MAX - n) ? SIZE_MAX : pos_ + n;
    return at;
  }
};

}  // namespace bayhal
