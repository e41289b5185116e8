#include "ini/ini_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <unordered_set>

namespace bayhal::ini {
namespace {

// Section name of a line whose first non-blank character is '['; false when the line does
// not close with ']'.
bool header_name(std::string_view t, std::string_view& name) {
  if (t.size() < 2 || t.back() != ']') return false;
  name = trim(t.substr(1, t.size() - 2));
  return true;
}

}  // namespace

LineKind quick_kind(std::string_view raw) {
  const char* s = raw.data();
  const char* e = s + raw.size();
  while (s < e && is_blank(*s)) ++s;
  if (s == e) return LineKind::blank;
  if (*s == '#' || *s == ';') return LineKind::comment;
  if (*s == '[') {
    while (e > s && is_blank(e[-1])) --e;
    return e - s >= 2 && e[-1] == ']' ? LineKind::section : LineKind::bad;
  }
  if (*s == '=') return LineKind::bad;
  return std::memchr(s, '=', static_cast<size_t>(e - s)) != nullptr ? LineKind::key
                                                                     : LineKind::bad;
}

LineKind next_line(const char* p, const char* end, const char*& body_end) {
  auto to_eol = [&](const char* from) {
    const void* nl = std::memchr(from, '\n', static_cast<size_t>(end - from));
    body_end = nl != nullptr ? static_cast<const char*>(nl) : end;
  };
  const char* s = p;
  while (s < end && is_blank(*s)) ++s;
  if (s == end || *s == '\n') {
    body_end = s;
    return LineKind::blank;
  }
  char c = *s;
  if (c == '#' || c == ';') {
    to_eol(s);
    return LineKind::comment;
  }
  if (c == '[') {
    to_eol(s);
    const char* e = body_end;
    while (e > s && is_blank(e[-1])) --e;
    return e - s >= 2 && e[-1] == ']' ? LineKind::section : LineKind::bad;
  }
  // A key's '=' is usually a few bytes in: look for it byte by byte, then jump to the end.
  const char* q = s;
  while (q < end && *q != '=' && *q != '\n') ++q;
  if (q == end || *q == '\n') {
    body_end = q;
    return LineKind::bad;
  }
  to_eol(q);
  return q == s ? LineKind::bad : LineKind::key;
}

size_t nul_line(std::string_view text) {
  if (text.empty()) return 0;  // an empty view may have no data pointer at all
  const void* z = std::memchr(text.data(), '\0', text.size());
  if (z == nullptr) return 0;
  std::string_view before = text.substr(0, static_cast<size_t>(static_cast<const char*>(z) - text.data()));
  return static_cast<size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
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

const char* section_body(const char* begin, const char* end, std::string_view section) {
  // Header names are trimmed and single-line: no other name can match one.
  if (section.empty() || is_blank(section.front()) || is_blank(section.back()) ||
      section.find('\n') != std::string_view::npos)
    return nullptr;
  // Only header lines matter here, so the scan jumps from '[' to '[' and checks each in
  // place, without looking for its line's end unless the name matches.
  const size_t n = section.size();
  const char* p = begin;
  while (p < end) {
    const auto* b = static_cast<const char*>(std::memchr(p, '[', static_cast<size_t>(end - p)));
    if (b == nullptr) return nullptr;
    p = b + 1;
    const char* s = b;
    while (s > begin && is_blank(s[-1])) --s;
    if (s != begin && s[-1] != '\n') continue;  // not the line's first character
    const char* q = b + 1;
    while (q < end && is_blank(*q)) ++q;
    if (static_cast<size_t>(end - q) <= n || !same_text({q, n}, section)) continue;
    q += n;
    while (q < end && is_blank(*q)) ++q;
    if (q == end || *q != ']') continue;
    ++q;
    while (q < end && is_blank(*q)) ++q;
    if (q == end) return end;
    if (*q == '\n') return q + 1;
  }
  return nullptr;
}

bool find_value(std::string_view text, std::string_view section, std::string_view key,
                std::string_view& value) {
  bool hit = false;
  scan_section(text, section, [&](std::string_view k, std::string_view v) {
    if (k != key) return true;
    value = v;
    hit = true;
    return false;
  });
  return hit;
}

namespace {

// A cheap hash of a short key: its length and its first and last eight bytes.
uint64_t key_hash(std::string_view k) {
  uint64_t head = 0, tail = 0;
  size_t n = k.size() < 8 ? k.size() : 8;
  std::memcpy(&head, k.data(), n);
  std::memcpy(&tail, k.data() + k.size() - n, n);
  uint64_t h = (head * 0x9E3779B97F4A7C15ull) ^ (tail + k.size()) * 0xC2B2AE3D27D4EB4Full;
  return h >> 40;
}

}  // namespace

bool collect_section(std::string_view text, std::string_view section,
                     std::vector<std::pair<std::string_view, std::string_view>>& out) {
  size_t first = out.size();
  // A 256-bit filter of the keys seen so far spares nearly all duplicate checks.
  uint64_t seen[4] = {};
  return scan_section(text, section, [&](std::string_view k, std::string_view v) {
    uint64_t h = key_hash(k);
    uint64_t& word = seen[(h >> 6) & 3];
    uint64_t bit = uint64_t{1} << (h & 63);
    if ((word & bit) != 0)
      for (size_t i = first; i < out.size(); ++i)
        if (out[i].first == k) return true;
    word |= bit;
    out.emplace_back(k, v);
    return true;
  });
}

std::vector<std::string> section_names(std::string_view text) {
  std::vector<std::string> names;
  std::unordered_set<std::string_view> seen;
  for_each_header(text, [&](std::string_view name, size_t, size_t) {
    if (seen.insert(name).second) names.emplace_back(name);
  });
  return names;
}

bool is_ini(std::string_view text, size_t* bad_line) {
  size_t bad = nul_line(text);
  size_t n = 0;
  const char* p = text.data();
  const char* end = p + text.size();
  while (p < end && (bad == 0 || n + 1 < bad)) {
    const char* body_end;
    ++n;
    if (next_line(p, end, body_end) == LineKind::bad) {
      bad = n;
      break;
    }
    p = body_end + 1;
  }
  if (bad != 0 && bad_line != nullptr) *bad_line = bad;
  return bad == 0;
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
