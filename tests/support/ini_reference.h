// The plain reading of a section that the store's fast scan must agree with: every line
// classified in turn. Shared by the text tests and the parser fuzzer.
#pragma once
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ini/ini_text.h"

namespace bayhal::ini {

using KeyList = std::vector<std::pair<std::string, std::string>>;

// Every key line of `section`'s first block, duplicates included; `found` as the scan has it
// (the header, or for the unnamed leading section a key).
inline KeyList read_line_by_line(std::string_view text, std::string_view section, bool& found) {
  KeyList keys;
  bool inside = section.empty();
  found = false;
  for_each_line(text, [&](std::string_view, const Line& l) {
    if (l.kind == LineKind::section) {
      if (inside) return false;  // the first block ends at any header
      inside = found = l.name == section;
    } else if (l.kind == LineKind::key && inside) {
      keys.emplace_back(l.name, l.value);
      found = true;
    }
    return true;
  });
  return keys;
}

// The name of every header line in file order, repeats included.
inline std::vector<std::string> headers_line_by_line(std::string_view text) {
  std::vector<std::string> names;
  for_each_line(text, [&](std::string_view, const Line& l) {
    if (l.kind == LineKind::section) names.emplace_back(l.name);
    return true;
  });
  return names;
}

}  // namespace bayhal::ini
