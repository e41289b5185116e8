// The text of a SMART cache file: a header line of thirteen numbers and one line per
// attribute ("%u,%s,%u,%u,%u,%llu,%u"). Parsing is strict, because a cache that does not
// hold together is one that a writer has not finished (or a damaged file): every line ends
// in a newline, the attribute lines are exactly as many as the header says, names fit.
#pragma once
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "bayhal/PD_SMART.h"

namespace bayhal {

struct FreeSmartInfo {
  void operator()(PD_SMART_INFO* p) const { std::free(p); }
};
using SmartInfoPtr = std::unique_ptr<PD_SMART_INFO, FreeSmartInfo>;

// A zeroed reading with room for `count` entries (malloc: callers of the C interface
// free() it); null when count is out of range or memory ran out.
SmartInfoPtr smart_info_alloc(int count);
SmartInfoPtr smart_info_copy(const PD_SMART_INFO& info);

// The file's text.
std::string smart_cache_format(const PD_SMART_INFO& info);
// The reading in `text`; null when it does not parse, with `bad_line` (1-based) the line
// that failed (count + 2 for a line too many).
SmartInfoPtr smart_cache_parse(std::string_view text, int* bad_line = nullptr);

}  // namespace bayhal
