// The section scans that every store read is built on. Templates, so that a reader's
// per-key work is inlined into the loop: it runs once per key of every record read.
#pragma once
#include <cstdint>
#include <cstring>
#include <string_view>

#include "foundation/text.h"

namespace bayhal::ini {

inline bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

// Equality of two short texts (names, keys) a word at a time, without a library call.
inline bool same_text(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  size_t i = 0;
  for (; i + 8 <= a.size(); i += 8) {
    uint64_t x, y;
    std::memcpy(&x, a.data() + i, 8);
    std::memcpy(&y, b.data() + i, 8);
    if (x != y) return false;
  }
  for (; i < a.size(); ++i)
    if (a[i] != b[i]) return false;
  return true;
}

// The '\n' ending the line at `s`, or `end`.
inline const char* line_end(const char* s, const char* end) {
  const auto* nl = static_cast<const char*>(std::memchr(s, '\n', static_cast<size_t>(end - s)));
  return nl != nullptr ? nl : end;
}

// Start of the body of the first block of `section` (the line after its header), or null
// when no header names it. `section` is a name, not "" (the unnamed leading section).
const char* section_body(const char* begin, const char* end, std::string_view section);

// True when the line [s, le), whose first non-blank character `s` is '[', is a header:
// its last non-blank character is a ']' of its own.
inline bool closes_header(const char* s, const char* le) {
  while (le > s + 1 && is_blank(le[-1])) --le;
  return le - s >= 2 && le[-1] == ']';
}

// Calls on_key(key, value), both trimmed, for the key lines from `p` up to the next header,
// until it returns false. Comments, blank lines and lines that are neither keys nor headers
// are passed over. True when on_key was called.
template <typename OnKey>
bool scan_keys(const char* p, const char* end, OnKey&& on_key) {
  bool any = false;
  while (p < end) {
    const char* s = p;
    while (s < end && is_blank(*s)) ++s;
    if (s == end) break;
    const char c = *s;
    if (c == '\n') {
      p = s + 1;
      continue;
    }
    if (c == '#' || c == ';' || c == '[') {
      const char* le = line_end(s, end);
      p = le < end ? le + 1 : end;
      if (c == '[' && closes_header(s, le)) break;
      continue;
    }
    // A key's '=' is a few bytes in: byte by byte to it, then one jump to the line's end.
    const char* q = s;
    while (q < end && *q != '=' && *q != '\n') ++q;
    if (q == end || *q == '\n') {  // not a key line
      p = q < end ? q + 1 : end;
      continue;
    }
    const char* le = line_end(q + 1, end);
    p = le < end ? le + 1 : end;
    if (q == s) continue;  // a line starting with '=' has no key
    const char* ke = q;
    while (ke > s && is_blank(ke[-1])) --ke;
    const char* v = q + 1;
    while (v < le && is_blank(*v)) ++v;
    const char* ve = le;
    while (ve > v && is_blank(ve[-1])) --ve;
    any = true;
    if (!on_key(std::string_view(s, static_cast<size_t>(ke - s)),
                std::string_view(v, static_cast<size_t>(ve - v))))
      break;
  }
  return any;
}

// Calls fn(name, line, body) for every header line in file order: its trimmed name, the
// offset of the line's first byte and that of the line after it. Jumps from '[' to '['.
template <typename Fn>
void for_each_header(std::string_view text, Fn&& fn) {
  if (text.empty()) return;
  const char* base = text.data();
  const char* end = base + text.size();
  const char* p = base;
  while (p < end) {
    const auto* b = static_cast<const char*>(std::memchr(p, '[', static_cast<size_t>(end - p)));
    if (b == nullptr) return;
    const char* s = b;
    while (s > base && is_blank(s[-1])) --s;
    const char* le = line_end(b, end);
    p = le < end ? le + 1 : end;
    if ((s != base && s[-1] != '\n') || !closes_header(b, le)) continue;
    const char* close = le;
    while (is_blank(close[-1])) --close;  // stops after the ']' closes_header found
    fn(trim(std::string_view(b + 1, static_cast<size_t>(close - 1 - (b + 1)))),
       static_cast<size_t>(s - base), static_cast<size_t>(p - base));
  }
}

// Calls on_key(key, value) for the key lines of `section`'s first block in file order until
// it returns false ("" is the unnamed leading section, up to the first header). True when
// the section exists: its header, or for the unnamed one a key.
template <typename OnKey>
bool scan_section(std::string_view text, std::string_view section, OnKey&& on_key) {
  if (text.empty()) return false;  // an empty view may have no data pointer at all
  const char* begin = text.data();
  const char* end = begin + text.size();
  if (section.empty()) return scan_keys(begin, end, on_key);
  const char* body = section_body(begin, end, section);
  if (body == nullptr) return false;
  scan_keys(body, end, on_key);
  return true;
}

}  // namespace bayhal::ini
