#include "foundation/text.h"

namespace bayhal {

std::optional<long long> parse_number(std::string_view t) {
  t = trim(t);
  bool neg = !t.empty() && t.front() == '-';
  if (neg) t.remove_prefix(1);
  int base = 10;
  if (t.size() > 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) {
    base = 16;
    t.remove_prefix(2);
  }
  long long v = 0;
  auto [p, ec] = std::from_chars(t.data(), t.data() + t.size(), v, base);
  if (t.empty() || ec != std::errc() || p != t.data() + t.size()) return std::nullopt;
  return neg ? -v : v;
}

int index_after(std::string_view name, std::string_view prefix) {
  if (name.substr(0, prefix.size()) != prefix) return -1;
  std::string_view rest = name.substr(prefix.size());
  int v = 0;
  auto [p, ec] = std::from_chars(rest.data(), rest.data() + rest.size(), v);
  if (rest.empty() || ec != std::errc() || p != rest.data() + rest.size() || v < 0) return -1;
  return v;
}

bool starts_with(const char* text, std::string_view prefix) {
  return text != nullptr && std::strncmp(text, prefix.data(), prefix.size()) == 0;
}

bool copy_out(std::string_view text, char* buf, int size) {
  if (buf == nullptr || size < 1) return false;
  size_t n = text.size() < static_cast<size_t>(size) ? text.size() : static_cast<size_t>(size) - 1;
  std::memcpy(buf, text.data(), n);
  buf[n] = '\0';
  return n == text.size();
}

}  // namespace bayhal
