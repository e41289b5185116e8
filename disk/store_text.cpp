#include "disk/store_text.h"

#include <cstring>

#include "foundation/sysroot.h"
#include "ini/ini_text.h"

namespace bayhal::disk {

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

}  // namespace

void StoreText::assign(std::string_view text) {
  indexed_ = false;
  headers_.clear();
  buf_.assign(text);
}

bool StoreText::load(const char* file) {
  indexed_ = false;
  headers_.clear();
  buf_.clear();
  SysPath path(file);
  if (!path.ok()) return false;
  if (buf_.load(path.c_str(), "StoreText") > 0) return true;
  buf_.clear();
  return false;
}

// Section headers are the lines whose first non-blank character is '[': find each '[' with
// memchr and keep those that start their line and, as ini::classify has it, end with ']'
// (blanks aside); the name is what lies between, trimmed.
void StoreText::index_headers() const {
  if (indexed_) return;
  indexed_ = true;
  std::string_view t = text();
  const char* base = t.data();
  const size_t size = t.size();
  size_t pos = 0;
  while (pos < size) {
    const void* hit = std::memchr(base + pos, '[', size - pos);
    if (hit == nullptr) break;
    size_t at = static_cast<size_t>(static_cast<const char*>(hit) - base);
    size_t line = at;
    while (line > 0 && is_blank(base[line - 1])) --line;
    size_t line_end = at;
    while (line_end < size && base[line_end] != '\n') ++line_end;
    pos = line_end;
    if (line > 0 && base[line - 1] != '\n') continue;
    size_t last = line_end;
    while (last > at && is_blank(base[last - 1])) --last;
    if (last - at < 2 || base[last - 1] != ']') continue;
    if (!headers_.empty()) headers_.back().end = line;
    size_t body = line_end < size ? line_end + 1 : size;
    headers_.push_back({ini::trim(t.substr(at + 1, last - 1 - (at + 1))), line, body, size});
  }
}

bool StoreText::find(std::string_view section, std::string_view key,
                     std::string_view& value) const {
  bool got = false;
  for_each_key(section, [&](std::string_view k, std::string_view v) {
    if (!got && k == key) {
      value = v;
      got = true;
    }
  });
  return got;
}

}  // namespace bayhal::disk
