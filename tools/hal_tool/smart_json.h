// A disk's health as hal_tool shows it: the same keys in `smart` and the metrics export.
#pragma once
#include <ctime>

#include "bayhal/PD.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {

// verdict, type, temperature_c, power ("active" or "standby": found asleep and not read),
// read_time (UTC, ISO 8601), age_seconds, skipped, self_test {status, status_text, progress,
// short_minutes, extended_minutes}, warnings, checksum_ok, attributes [{id, name, value,
// worst, threshold, raw, flags}].
json smart_json(const PD_SMART_INFO& info, std::time_t now);
// The attribute table's columns.
inline const std::vector<std::string> kSmartColumns = {"id", "name", "value", "worst", "threshold", "raw", "flags"};
// {id, name, value, worst, threshold, raw, flags} of one entry.
json smart_attr_json(unsigned id, const char* name, int value, int worst, int threshold,
                     unsigned long long raw, unsigned flags);
// "2024-05-01T12:00:00Z".
std::string utc_time(std::time_t t);

}  // namespace hal_tool
