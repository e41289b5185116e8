// The INI text form, with no file access: line classification and the scans that every
// store operation is built from. Pure functions over a buffer, so the fuzzer drives them
// directly and the read path allocates nothing per line.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ini/ini_scan.h"

namespace bayhal::ini {

enum class LineKind { blank, comment, section, key, bad };

struct Line {
  LineKind kind = LineKind::blank;
  std::string_view name;   // section name or key, trimmed
  std::string_view value;  // value of a key line, trimmed
};

// Classifies one line (without its '\n'; a trailing '\r' is ignored).
Line classify(std::string_view line);

// The kind of a line without splitting names and values: enough to validate a line or to
// spot a header, at a fraction of classify's cost.
LineKind quick_kind(std::string_view raw);

// Steps over one line starting at `p`: returns its kind (as quick_kind) and sets `body_end`
// to its '\n' (or `end`). One pass that finds the '=' of a key line on the way to its end,
// for the scans that check every line of a file.
LineKind next_line(const char* p, const char* end, const char*& body_end);

// 1-based number of the first line holding a NUL byte, 0 when there is none.
size_t nul_line(std::string_view text);

// Calls `fn(line_text, line)` for every line in file order, `line_text` without its '\n'.
// Stops early when fn returns false.
template <typename Fn>
void for_each_line(std::string_view text, Fn&& fn) {
  bayhal::for_each_line(text, [&](std::string_view raw) { return fn(raw, classify(raw)); });
}

// The value of `key` in `section` ("" is the unnamed leading section). Only the first
// block of a section named twice counts (the scan stops at its end); the first occurrence
// of a key wins. False when missing.
bool find_value(std::string_view text, std::string_view section, std::string_view key,
                std::string_view& value);

// Every key of `section`'s first block in file order (first occurrence of each key), as
// views into `text`. False when the section is missing; the unnamed leading section exists
// when it holds a key.
bool collect_section(std::string_view text, std::string_view section,
                     std::vector<std::pair<std::string_view, std::string_view>>& out);

// Calls `fn(key, value)` for every key line of `section` in file order, duplicates
// included, without allocating. False when the section is missing.
template <typename Fn>
bool for_each_key(std::string_view text, std::string_view section, Fn&& fn) {
  return scan_section(text, section, [&](std::string_view k, std::string_view v) {
    fn(k, v);
    return true;
  });
}

// Names of the [section] lines in file order, each once.
std::vector<std::string> section_names(std::string_view text);

// True when the text is an INI file: no NUL byte and every line blank, a comment, a
// [section] line or a key = value line. On false, `bad_line` is the 1-based line number.
bool is_ini(std::string_view text, size_t* bad_line = nullptr);

// Names and values a writer can store so that they read back unchanged.
bool valid_section_name(std::string_view s);
bool valid_key(std::string_view k);
bool valid_value(std::string_view v);

}  // namespace bayhal::ini
