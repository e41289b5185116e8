// Text fields of the disk record: they may come straight from a device, so they are read
// bounded (never assuming a terminator) and written truncated and terminated.
#pragma once
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "foundation/text.h"

namespace bayhal::disk {

using bayhal::text_of;

template <size_t N>
void set_text(char (&field)[N], std::string_view text) {
  size_t n = text.size() < N - 1 ? text.size() : N - 1;
  std::memcpy(field, text.data(), n);
  std::memset(field + n, 0, N - n);
}

// Copies into a caller buffer of `limit` bytes (the store reader's per-key limits), then
// into the field: the shorter of the two wins.
template <size_t N>
void set_text_limited(char (&field)[N], std::string_view text, size_t limit) {
  if (limit > 0 && text.size() > limit - 1) text = text.substr(0, limit - 1);
  set_text(field, text);
}

// Upper-case hexadecimal text of `len` bytes.
std::string hex_text(const unsigned char* bytes, size_t len);

}  // namespace bayhal::disk
