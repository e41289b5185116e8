#include "sim/halsim/scenario_util.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdio>

#include "foundation/text.h"
#include "sim/halsim/scenario.h"

namespace bayhal::sim::halsim {
namespace {

bool is_hex_digits(std::string_view s, size_t n) {
  return s.size() == n && std::all_of(s.begin(), s.end(), [](char c) {
           return std::isxdigit(static_cast<unsigned char>(c)) != 0;
         });
}

unsigned hex_value(std::string_view s) {
  unsigned v = 0;
  std::from_chars(s.data(), s.data() + s.size(), v, 16);
  return v;
}

}  // namespace

bool parse_u64(std::string_view s, unsigned long long& out) {
  int base = 10;
  if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
    s.remove_prefix(2);
    base = 16;
  }
  if (s.empty()) return false;
  auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), out, base);
  return ec == std::errc() && p == s.data() + s.size();
}

bool parse_number(std::string_view s, long long& out) {
  if (!s.empty() && s[0] == '-') {
    auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), out, 10);
    return ec == std::errc() && p == s.data() + s.size();
  }
  unsigned long long u = 0;
  if (!parse_u64(s, u) || u > static_cast<unsigned long long>(INT64_MAX)) return false;
  out = static_cast<long long>(u);
  return true;
}

bool parse_bool(std::string_view s, bool& out) {
  std::string l(s);
  std::transform(l.begin(), l.end(), l.begin(), [](unsigned char c) { return std::tolower(c); });
  if (l == "yes" || l == "true" || l == "1" || l == "on") return out = true, true;
  if (l == "no" || l == "false" || l == "0" || l == "off") return out = false, true;
  return false;
}

bool valid_pci_address(std::string_view s) {
  if (s.size() != 12 || s[4] != ':' || s[7] != ':' || s[10] != '.') return false;
  if (!is_hex_digits(s.substr(0, 4), 4) || !is_hex_digits(s.substr(5, 2), 2) ||
      !is_hex_digits(s.substr(8, 2), 2) || !is_hex_digits(s.substr(11, 1), 1))
    return false;
  return hex_value(s.substr(8, 2)) < 0x20 && hex_value(s.substr(11, 1)) < 8;
}

bool parse_pci_id(std::string_view s, unsigned& vendor, unsigned& device) {
  if (s.size() != 9 || s[4] != ':' || !is_hex_digits(s.substr(0, 4), 4) ||
      !is_hex_digits(s.substr(5, 4), 4))
    return false;
  vendor = hex_value(s.substr(0, 4));
  device = hex_value(s.substr(5, 4));
  return true;
}

bool parse_int_list(std::string_view s, std::vector<int>& out) {
  out.clear();
  while (!s.empty()) {
    size_t comma = s.find(',');
    std::string item = std::string(trim(s.substr(0, comma)));
    s = comma == std::string_view::npos ? std::string_view() : s.substr(comma + 1);
    long long a = 0, b = 0;
    size_t dash = item.find('-', 1);
    if (dash == std::string::npos) {
      if (!parse_number(item, a)) return false;
      b = a;
    } else if (!parse_number(item.substr(0, dash), a) || !parse_number(item.substr(dash + 1), b)) {
      return false;
    }
    if (a < 0 || b > 255 || a > b) return false;
    for (long long v = a; v <= b; ++v) {
      if (std::find(out.begin(), out.end(), v) != out.end()) return false;
      out.push_back(static_cast<int>(v));
    }
  }
  return !out.empty();
}

bool parse_number_list(std::string_view s, std::vector<int>& out, long long lo, long long hi) {
  out.clear();
  if (trim(s).empty()) return true;
  while (true) {
    size_t comma = s.find(',');
    long long v = 0;
    if (!parse_number(trim(s.substr(0, comma)), v) || v < lo || v > hi) return false;
    out.push_back(static_cast<int>(v));
    if (comma == std::string_view::npos) return true;
    s = s.substr(comma + 1);
  }
}

bool split_slot_range(std::string_view s, std::string& enclosure, int& first, int& last) {
  size_t slash = s.rfind('/');
  if (slash == std::string_view::npos || slash == 0) return false;
  enclosure = std::string(s.substr(0, slash));
  if (enclosure.find_first_of(" \t/") != std::string::npos) return false;
  std::string_view range = s.substr(slash + 1);
  size_t dash = range.find('-');
  long long a = 0, b = 0;
  if (!parse_number(range.substr(0, dash), a)) return false;
  b = a;
  if (dash != std::string_view::npos && !parse_number(range.substr(dash + 1), b)) return false;
  if (a < 1 || b > 100 || a > b) return false;
  first = static_cast<int>(a);
  last = static_cast<int>(b);
  return true;
}

bool split_slot_id(std::string_view text, std::string& enclosure, int& number) {
  std::string t = std::string(trim(text));
  if (t.find('/') == std::string::npos) t = "root/" + t;
  int last = 0;
  return split_slot_range(t, enclosure, number, last) && last == number &&
         t.find('-', t.find('/')) == std::string::npos;
}

bool parse_size(std::string_view s, std::uint64_t& sectors) {
  std::string t = std::string(trim(s));
  unsigned long long unit = 1;
  if (!t.empty()) {
    switch (std::toupper(static_cast<unsigned char>(t.back()))) {
      case 'K': unit = 1000ull; break;
      case 'M': unit = 1000ull * 1000; break;
      case 'G': unit = 1000ull * 1000 * 1000; break;
      case 'T': unit = 1000ull * 1000 * 1000 * 1000; break;
      default: break;
    }
    if (unit != 1) t.pop_back();
  }
  unsigned long long n = 0;
  if (!parse_u64(t, n) || n == 0 || n > UINT64_MAX / unit) return false;
  sectors = n * unit / 512;
  return sectors > 0;
}

std::string sas_identity(std::string_view address) {
  unsigned long long a = 0;
  if (!parse_u64(address, a)) return std::string(address);
  char buf[24];
  std::snprintf(buf, sizeof buf, "%llx", a);
  return buf;
}

}  // namespace bayhal::sim::halsim
