#include "board/dispatch/selector.h"

#include <charconv>
#include <strings.h>

#include "foundation/text.h"

namespace bayhal::board {

const Choice* select_choice(std::string_view value, std::span<const Choice> accepted, Case c) {
  for (const Choice& choice : accepted) {
    if (value.size() < choice.token.size()) continue;
    std::string_view head = value.substr(0, choice.token.size());
    bool same = c == Case::kSensitive
                    ? head == choice.token
                    : ::strncasecmp(head.data(), choice.token.data(), head.size()) == 0;
    if (same) return &choice;
  }
  return nullptr;
}

std::optional<int> number_after(std::string_view value, char mark) {
  size_t at = value.find(mark);
  if (at == std::string_view::npos) return std::nullopt;
  const char* first = value.data() + at + 1;
  const char* last = value.data() + value.size();
  unsigned n = 0;
  auto [end, ec] = std::from_chars(first, last, n);
  if (ec != std::errc() || end == first || n > 0xFFFF) return std::nullopt;
  return static_cast<int>(n);
}

std::optional<int> address_behind(std::string_view value, const Choice& token, int lo, int hi) {
  if (value.size() < token.token.size()) return std::nullopt;
  std::string_view text = value.substr(token.token.size());
  if (text.starts_with(':')) text.remove_prefix(1);
  auto n = parse_number(text);
  if (!n || *n < lo || *n > hi) return std::nullopt;
  return static_cast<int>(*n);
}

}  // namespace bayhal::board
