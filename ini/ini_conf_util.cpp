#include "ini/ini_conf_util.h"

#include <climits>
#include <cstdint>

#include "bayhal/ERR_TRACE.h"
#include "ini/ini_file.h"
#include "ini/ini_text.h"

namespace bayhal::ini {

bool check_names(const char* who, const char* section, const char* key) {
  if (section == nullptr || key == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: section or key missing\n", who);
    return false;
  }
  if (!valid_section_name(section) || !valid_key(key)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot store key(%s) of section [%s]\n", who, key, section);
    return false;
  }
  return true;
}

int lookup(const char* who, const char* file, const char* section, const char* key,
           std::string_view& value) {
  if (section == nullptr || key == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: section or key missing\n", who);
    return -1;
  }
  if (!check_file(who, file)) return -1;
  SysPath path(file);
  if (!check_resolved(who, file, path)) return -1;
  FileBuffer& buf = read_buffer();
  int rc = buf.load(path.c_str(), who);
  if (rc <= 0) return rc;
  if (find_value(buf.view(), section, key, value)) return 1;
  // Only a miss pays for checking the whole file.
  note_foreign_lines(who, file, buf.view());
  return 0;
}

bool parse_int(std::string_view text, bool hex, long long& out) {
  // The store's own numbers first: up to 18 plain decimal digits cannot overflow.
  if (!hex && !text.empty() && text.size() <= 18) {
    unsigned long long v = 0;
    size_t i = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
      v = v * 10 + static_cast<unsigned>(text[i] - '0');
    if (i == text.size()) {
      out = static_cast<long long>(v);
      return true;
    }
  }
  std::string_view t = trim(text);
  bool neg = false;
  if (!hex && !t.empty() && (t.front() == '-' || t.front() == '+')) {
    neg = t.front() == '-';
    t.remove_prefix(1);
  }
  if (hex && t.size() >= 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) t.remove_prefix(2);
  if (t.empty()) return false;
  unsigned long long v = 0;
  unsigned base = hex ? 16 : 10;
  for (char c : t) {
    unsigned d;
    if (c >= '0' && c <= '9')
      d = static_cast<unsigned>(c - '0');
    else if (hex && c >= 'a' && c <= 'f')
      d = static_cast<unsigned>(c - 'a' + 10);
    else if (hex && c >= 'A' && c <= 'F')
      d = static_cast<unsigned>(c - 'A' + 10);
    else
      return false;
    if (v > (ULLONG_MAX - d) / base) return false;
    v = v * base + d;
  }
  if (hex) {
    out = static_cast<long long>(v);
    return true;
  }
  if (neg ? v > static_cast<unsigned long long>(LLONG_MAX) + 1 : v > LLONG_MAX) return false;
  out = neg ? static_cast<long long>(0 - v) : static_cast<long long>(v);
  return true;
}

bool parse_int32(std::string_view text, bool hex, int& out) {
  long long v = 0;
  if (!parse_int(text, hex, v)) return false;
  if (hex) {
    if (static_cast<unsigned long long>(v) > 0xffffffffULL) return false;
    out = static_cast<int>(static_cast<uint32_t>(v));
    return true;
  }
  if (v < INT_MIN || v > INT_MAX) return false;
  out = static_cast<int>(v);
  return true;
}

}  // namespace bayhal::ini
