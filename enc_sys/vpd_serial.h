// The unit serial number page (VPD 0x80) of any SCSI device: an enclosure's, as sysfs hands
// it out in "vpd_pg80", and a disk's, as INQUIRY returns it. Device bytes, parsed with bounds
// checks; enclosure and disk discovery share this one decoder.
#pragma once
#include <cstddef>
#include <optional>
#include <string>

namespace bayhal {

// The serial as device text (ByteReader::ascii: blanks and NULs around it removed, other
// unprintable bytes shown as '?'); nullopt when the bytes are not a serial number page (too
// short, wrong page code, length past the end).
std::optional<std::string> parse_vpd_serial(const void* data, size_t len);

}  // namespace bayhal
