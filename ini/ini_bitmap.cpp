#include "ini/ini_bitmap.h"

#include <algorithm>
#include <bit>

#include "ini/ini_text.h"

namespace bayhal::ini {

bool Bitmap::parse(std::string_view text) {
  words_.clear();
  std::string_view t = trim(text);
  if (t.size() >= 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) t.remove_prefix(2);
  size_t digits = t.size();
  // Leading zeros do not count against the size limit.
  size_t first = t.find_first_not_of('0');
  if (first != std::string_view::npos && (digits - first) * 4 > static_cast<size_t>(kMaxBit) + 1)
    return false;
  for (size_t i = 0; i < digits; ++i) {
    char c = t[digits - 1 - i];
    uint64_t d;
    if (c >= '0' && c <= '9')
      d = static_cast<uint64_t>(c - '0');
    else if (c >= 'a' && c <= 'f')
      d = static_cast<uint64_t>(c - 'a' + 10);
    else if (c >= 'A' && c <= 'F')
      d = static_cast<uint64_t>(c - 'A' + 10);
    else
      return false;
    if (d == 0) continue;
    size_t w = i / 16;
    if (w >= words_.size()) words_.resize(w + 1, 0);
    words_[w] |= d << (4 * (i % 16));
  }
  return true;
}

std::string Bitmap::format() const {
  static constexpr char kHex[] = "0123456789abcdef";
  size_t top = words_.size();
  while (top > 0 && words_[top - 1] == 0) --top;
  if (top == 0) return "0x0";
  std::string out = "0x";
  out.reserve(2 + top * 16);
  bool leading = true;
  for (size_t w = top; w-- > 0;)
    for (int nib = 15; nib >= 0; --nib) {
      unsigned d = static_cast<unsigned>(words_[w] >> (4 * nib)) & 0xf;
      if (leading && d == 0) continue;
      leading = false;
      out.push_back(kHex[d]);
    }
  return out;
}

bool Bitmap::test(int bit) const {
  size_t w = static_cast<size_t>(bit) / 64;
  return w < words_.size() && (words_[w] >> (bit % 64) & 1) != 0;
}

void Bitmap::set(int bit) {
  size_t w = static_cast<size_t>(bit) / 64;
  if (w >= words_.size()) words_.resize(w + 1, 0);
  words_[w] |= uint64_t{1} << (bit % 64);
}

void Bitmap::reset(int bit) {
  size_t w = static_cast<size_t>(bit) / 64;
  if (w < words_.size()) words_[w] &= ~(uint64_t{1} << (bit % 64));
}

int Bitmap::count() const {
  int n = 0;
  for (uint64_t w : words_) n += std::popcount(w);
  return n;
}

int Bitmap::next_clear(int start) const {
  for (size_t w = static_cast<size_t>(start) / 64; w < words_.size(); ++w) {
    uint64_t free = ~words_[w];
    if (w == static_cast<size_t>(start) / 64) free &= ~uint64_t{0} << (start % 64);
    if (free != 0) return static_cast<int>(w * 64) + std::countr_zero(free);
  }
  return std::max(start, static_cast<int>(words_.size() * 64));
}

int Bitmap::next_set(int start) const {
  for (size_t w = static_cast<size_t>(start) / 64; w < words_.size(); ++w) {
    uint64_t bits = words_[w];
    if (w == static_cast<size_t>(start) / 64) bits &= ~uint64_t{0} << (start % 64);
    if (bits != 0) return static_cast<int>(w * 64) + std::countr_zero(bits);
  }
  return -1;
}

}  // namespace bayhal::ini
