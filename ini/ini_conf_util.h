// Argument checks and value parsing shared by the exported calls and the internal store.
#pragma once
#include <string_view>

namespace bayhal::ini {

// Section and key a caller passed: false (traced as `who`) when null or not storable.
bool check_names(const char* who, const char* section, const char* key);

// Reads `key` of `section` from `file` with no lock. 1 found (`value` then points into this
// thread's read buffer until its next read), 0 when file, section or key is missing,
// -1 on bad arguments or an unreadable file (traced as `who`).
int lookup(const char* who, const char* file, const char* section, const char* key,
           std::string_view& value);

// Decimal (optional sign) or hexadecimal (optional 0x, up to 64 bits) text, nothing else
// around it but blanks.
bool parse_int(std::string_view text, bool hex, long long& out);

// The same, limited to what an int holds; hexadecimal up to 0xffffffff, read back as the
// int that Ini_Conf_Set_Field_Int wrote.
bool parse_int32(std::string_view text, bool hex, int& out);

}  // namespace bayhal::ini
