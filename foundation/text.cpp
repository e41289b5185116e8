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

}  // namespace bayhal
