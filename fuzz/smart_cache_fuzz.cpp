// A SMART cache file as any writer (or damage) may leave it: what parses must write back
// to text that parses to the same reading.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "disk/smart_cache_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  bayhal::SmartInfoPtr info = bayhal::smart_cache_parse(text);
  if (!info) return 0;
  std::string again = bayhal::smart_cache_format(*info);
  bayhal::SmartInfoPtr back = bayhal::smart_cache_parse(again);
  if (!back || bayhal::smart_cache_format(*back) != again) std::abort();
  return 0;
}
