// Model lists that change how a disk is treated, kept as data files so that a new bad model
// is a one-line change in the field, not a new build. Format: docs/disks.md.
#pragma once
#include <string_view>

namespace bayhal::disk {

inline constexpr const char* kWwnBlacklistFile = "/etc/disk_wwn_blacklist.list";
inline constexpr const char* kSelfTestBlacklistFile = "/etc/disk_selftest_blacklist.list";

// True when a line of `list_text` matches (vendor, model). Each line is
// "VENDOR-GLOB | MODEL-GLOB" or just "MODEL-GLOB" (any vendor); '#' starts a comment;
// globs are shell patterns compared without regard to case, after trimming both sides.
bool blacklist_matches(std::string_view list_text, std::string_view vendor,
                       std::string_view model);

// Reads the list file (under the system root) and matches; a missing file lists nothing.
bool is_blacklisted(const char* list_file, const char* vendor, const char* model);

}  // namespace bayhal::disk
