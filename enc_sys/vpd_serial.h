// The unit serial number page (VPD 0x80) of a SCSI device, as sysfs hands it out in
// "vpd_pg80": device bytes, parsed with bounds checks.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace bayhal {

// The serial with surrounding blanks and NULs removed; nullopt when the bytes are not a
// serial number page (too short, wrong page code, length past the end, not printable).
std::optional<std::string> parse_vpd_serial(std::string_view page);

}  // namespace bayhal
