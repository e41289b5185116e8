#include "ini/ini_text.h"

#include <cstring>
#include <unordered_set>

namespace bayhal::ini {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

// Section name of a line whose first non-blank character is '['; false when the line does
// not close with ']'.
bool header_name(std::string_view t, std::string_view& name) {
  if (t.size() < 2 || t.back() != ']') return false;
  name = trim(t.substr(1, t.size() - 2));
  return true;
}

}  // namespace

std::string_view trim(std::string_view s) {
  size_t b = 0, e = s.size();
  while (b < e && is_blank(s[b])) ++b;
  while (e > b && is_blank(s[e - 1])) --e;
  return s.substr(b, e - b);
}

Line classify(std::string_view raw) {
  Line l;
  std::string_view t = trim(raw);
  if (t.empty()) return l;
  if (t.front() == '#' || t.front() == ';') {
    l.kind = LineKind::comment;
    return l;
  }
  if (t.front() == '[') {
    l.kind = header_name(t, l.name) ? LineKind::section : LineKind::bad;
    return l;
  }
  size_t eq = t.find('=');
  if (eq == std::string_view::npos || eq == 0) {
    l.kind = LineKind::bad;
    return l;
  }
  l.kind = LineKind::key;
  l.name = trim(t.substr(0, eq));
  l.value = trim(t.substr(eq + 1));
  return l;
}

bool find_value(std::string_view text, std::string_view section, std::string_view key,
                std::string_view& value) {
  // Hot path of every get: one pass, no allocation, key lines outside the wanted section
  // are not even split.
  const char* p = text.data();
  const char* end = p + text.size();
  bool inside = section.empty();
  while (p < end) {
    const char* nl = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
    const char* le = nl != nullptr ? nl : end;
    const char* s = p;
    while (s < le && is_blank(*s)) ++s;
    if (s < le) {
      if (*s == '[') {
        std::string_view name;
        if (header_name(trim(std::string_view(s, static_cast<size_t>(le - s))), name))
          inside = name == section;
      } else if (inside && *s != '#' && *s != ';') {
        std::string_view t(s, static_cast<size_t>(le - s));
        size_t eq = t.find('=');
        if (eq != std::string_view::npos && eq != 0 && trim(t.substr(0, eq)) == key) {
          value = trim(t.substr(eq + 1));
          return true;
        }
      }
    }
    p = le + 1;
  }
  return false;
}

bool collect_section(std::string_view text, std::string_view section,
                     std::vector<std::pair<std::string, std::string>>& out) {
  bool inside = section.empty();
  bool found = false;
  for_each_line(text, [&](std::string_view, const Line& l) {
    if (l.kind == LineKind::section) {
      inside = l.name == section;
      found = found || inside;
    } else if (inside && l.kind == LineKind::key) {
      found = true;
      for (const auto& [k, v] : out)
        if (k == l.name) return true;
      out.emplace_back(l.name, l.value);
    }
    return true;
  });
  return found;
}

std::vector<std::string> section_names(std::string_view text) {
  std::vector<std::string> names;
  std::unordered_set<std::string_view> seen;
  for_each_line(text, [&](std::string_view, const Line& l) {
    if (l.kind == LineKind::section && seen.insert(l.name).second) names.emplace_back(l.name);
    return true;
  });
  return names;
}

bool is_ini(std::string_view text, size_t* bad_line) {
  size_t n = 0;
  bool ok = true;
  for_each_line(text, [&](std::string_view raw, const Line& l) {
    ++n;
    if (l.kind == LineKind::bad || raw.find('\0') != std::string_view::npos) {
      ok = false;
      return false;
    }
    return true;
  });
  if (!ok && bad_line != nullptr) *bad_line = n;
  return ok;
}

bool valid_section_name(std::string_view s) {
  if (s.find_first_of(std::string_view("\n\r\0", 3)) != std::string_view::npos) return false;
  return trim(s) == s;
}

bool valid_key(std::string_view k) {
  if (k.empty() || trim(k) != k) return false;
  if (k.front() == '[' || k.front() == '#' || k.front() == ';') return false;
  return k.find_first_of(std::string_view("=\n\r\0", 4)) == std::string_view::npos;
}

bool valid_value(std::string_view v) {
  return v.find_first_of(std::string_view("\n\r\0", 3)) == std::string_view::npos;
}

}  // namespace bayhal::ini
