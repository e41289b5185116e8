// Reading one key of any INI file, and the small rules every store shares about keys and
// bitmaps.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace bayhal {

// One key of any INI file and section (model description, sysdef, hal.conf, ...).
std::optional<long long> conf_get_int(const char* file, const char* section, const char* key,
                                      bool hex = false);
std::optional<std::string> conf_get_text(const char* file, const char* section,
                                         const char* key);

// True when `text` can be part of a store key: not empty, no control characters, no '=',
// '[' or ']' and no surrounding blanks (they would not survive a read back).
bool valid_key_text(std::string_view text);

// The low 32 bits (the disk slots) of a store bitmap ("0x" and hexadecimal digits); 0 for
// null.
unsigned bitmap_low32(const std::string_view* text);

}  // namespace bayhal
