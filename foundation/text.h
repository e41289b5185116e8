// Text helpers every layer shares: one trim, one line splitter, one number parser.
#pragma once
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>
#include <type_traits>

namespace bayhal {

// Blanks as the C locale's isspace sees them.
constexpr bool is_space(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

// `s` without its leading and trailing blanks.
constexpr std::string_view trim(std::string_view s) {
  size_t b = 0, e = s.size();
  while (b < e && is_space(s[b])) ++b;
  while (e > b && is_space(s[e - 1])) --e;
  return s.substr(b, e - b);
}

// Calls fn(line) for every line of `text` in order, without its '\n' (a last line without
// one counts too). When fn returns bool, false stops the walk.
template <typename Fn>
void for_each_line(std::string_view text, Fn&& fn) {
  size_t pos = 0;
  while (pos < text.size()) {
    size_t nl = text.find('\n', pos);
    size_t end = nl == std::string_view::npos ? text.size() : nl;
    std::string_view line = text.substr(pos, end - pos);
    pos = end + 1;
    if constexpr (std::is_same_v<std::invoke_result_t<Fn&, std::string_view>, bool>) {
      if (!fn(line)) return;
    } else {
      fn(line);
    }
  }
}

// The first line of `text`, without its '\n'.
constexpr std::string_view first_line(std::string_view text) {
  return text.substr(0, text.find('\n'));
}

// The text of a fixed-size character field, which a device may have filled to the brim
// without a terminator.
template <size_t N>
std::string_view text_of(const char (&field)[N]) {
  return {field, ::strnlen(field, N)};
}

// An integer written in decimal, or in hexadecimal with "0x", optionally negative and
// surrounded by blanks; nullopt for anything else.
std::optional<long long> parse_number(std::string_view text);

// True when the C string `text` (null: false) begins with `prefix`.
bool starts_with(const char* text, std::string_view prefix);

// Copies `text` into a caller buffer, truncating and terminating; false when it did not fit
// or the buffer is unusable.
bool copy_out(std::string_view text, char* buf, int size);

// n of a name "<prefix><n>" (e.g. 3 for "host3" with "host"); -1 when it is not one.
int index_after(std::string_view name, std::string_view prefix);

}  // namespace bayhal
