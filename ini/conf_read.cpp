#include "ini/conf_read.h"

#include <cstdlib>

#include "bayhal/Ini_Conf.h"

namespace bayhal {

std::optional<long long> conf_get_int(const char* file, const char* section, const char* key,
                                      bool hex) {
  int value = 0;
  if (Ini_Conf_Get_Field_Int(file, section, key, &value, hex ? 1 : 0) <= 0) return std::nullopt;
  return value;
}

std::optional<std::string> conf_get_text(const char* file, const char* section,
                                         const char* key) {
  char buf[256];
  if (Ini_Conf_Get_Field(file, section, key, buf, sizeof buf) <= 0) return std::nullopt;
  return std::string(buf);
}

bool valid_key_text(std::string_view text) {
  if (text.empty() || text.front() == ' ' || text.back() == ' ') return false;
  for (unsigned char c : text)
    if (c < 0x20 || c == 0x7f || c == '=' || c == '[' || c == ']') return false;
  return true;
}

unsigned bitmap_low32(const std::string_view* text) {
  if (text == nullptr) return 0;
  std::string_view digits(*text);
  if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
  if (digits.size() > 8) digits.remove_prefix(digits.size() - 8);
  return static_cast<unsigned>(std::strtoul(std::string(digits).c_str(), nullptr, 16));
}

}  // namespace bayhal
