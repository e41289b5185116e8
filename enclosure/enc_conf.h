// Paths and small helpers shared by the enclosure registry's store code.
#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "foundation/store_files.h"
#include "foundation/text.h"
#include "ini/conf_read.h"

namespace bayhal {

inline constexpr const char* kEncMap = "/etc/config/enclosure.map";
inline constexpr const char* kSeDetached = "/tmp/.se_detached";
inline constexpr const char* kSysdefConf = "/etc/config/sysdef.conf";
inline constexpr const char* kEncBitmap = "enc_bitmap";

// The largest id an internal enclosure allocated from bit 0 may get.
inline constexpr int kMaxInternalEncId = 31;
// Callers list registered enclosures in arrays of this size.
inline constexpr int kMaxEncList = 24;

// "Enclosure_<id>".
std::string enc_section(int enc_id);
// The hal.conf of a store folder ("<dir>/hal.conf"), or /etc/hal.conf without one.
std::string hal_conf_in(const char* dir);
// "/etc/enclosure_<id>.conf".
std::string enc_disk_conf(int enc_id);

// One key of an enclosure's hal.conf section.
std::optional<long long> enc_get_int(int enc_id, const char* key, bool hex = false);
std::optional<std::string> enc_get_text(int enc_id, const char* key);
// Sets one key of a registered enclosure's section, checked and written under one lock, so
// an unknown id (or one detached meanwhile) gets no stray section. 0, or -1 with a trace.
int enc_set_text(const char* who, int enc_id, const char* key, std::string_view value);

}  // namespace bayhal
