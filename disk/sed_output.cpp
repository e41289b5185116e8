#include "disk/sed_output.h"

#include <cstdio>
#include <string>

#include "foundation/text.h"

namespace bayhal::disk {

std::string_view sed_line_with(std::string_view text, std::string_view needle) {
  std::string_view found;
  for_each_line(text, [&](std::string_view line) {
    if (line.find(needle) == std::string_view::npos) return true;
    found = line;
    return false;
  });
  return found;
}

namespace {

// True when `line` holds `word` as a whole word.
bool holds_word(std::string_view line, std::string_view word) {
  for (size_t at = line.find(word); at != std::string_view::npos; at = line.find(word, at + 1))
    if (at == 0 || is_space(line[at - 1])) return true;
  return false;
}

}  // namespace

int sed_flag(std::string_view text, std::string_view flag) {
  std::string yes = std::string(flag) + " = Y", no = std::string(flag) + " = N";
  int answer = -1;
  for_each_line(text, [&](std::string_view line) {
    if (holds_word(line, yes)) answer = 1;
    else if (holds_word(line, no)) answer = 0;
    return answer < 0;
  });
  return answer;
}

SedRange sed_range(std::string_view text, std::string_view device, int range_id) {
  SedRange r;
  std::string header = "Locking Range Configuration for " + std::string(device);
  size_t at = text.find(header);
  if (at == std::string_view::npos) return r;
  text.remove_prefix(at + header.size());
  std::string tag = "LR" + std::to_string(range_id) + " Begin ";
  for (size_t pos = text.find(tag); pos != std::string_view::npos; pos = text.find(tag, pos + 1)) {
    if (pos > 0 && !is_space(text[pos - 1])) continue;
    size_t end = text.find('\n', pos);
    std::string line(text.substr(pos, end == std::string_view::npos ? std::string_view::npos : end - pos));
    int n = -1;
    if (std::sscanf(line.c_str(), "LR%d Begin %lli for %lli", &n, &r.start, &r.length) != 3 || n != range_id) return r;
    if (end != std::string_view::npos) r.flags = first_line(text.substr(end + 1));
    r.found = true;
    return r;
  }
  return r;
}

}  // namespace bayhal::disk
