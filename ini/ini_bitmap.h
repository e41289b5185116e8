// The bitmap text form: one key holds "0x" followed by the hexadecimal digits of the
// bitmap read as one unsigned number, most significant digit first, bit 0 the lowest bit
// of the last digit, no leading zeros ("0x0" when empty). So a bitmap with bits 0, 5 and
// 64 set is "0x10000000000000021", and a small bitmap reads back through
// Ini_Conf_Get_Field_Int with the hex flag as the same number. The length is arbitrary;
// on reading, "0X", upper-case digits, leading zeros and no prefix at all are accepted,
// and an empty value is an empty bitmap.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace bayhal::ini {

// Highest bit number the store accepts; keeps a wild bit number from growing a value to
// megabytes.
constexpr int kMaxBit = (1 << 20) - 1;

class Bitmap {
 public:
  // False when the text is not a bitmap.
  bool parse(std::string_view text);
  std::string format() const;

  bool test(int bit) const;
  void set(int bit);
  void reset(int bit);
  int count() const;
  // Lowest clear bit at or above `start`.
  int next_clear(int start) const;
  // Lowest set bit at or above `start`, -1 when none.
  int next_set(int start) const;

 private:
  std::vector<uint64_t> words_;
};

}  // namespace bayhal::ini
