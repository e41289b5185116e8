#include "disk/disk_blacklist.h"

#include <fnmatch.h>

#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal::disk {

namespace {

// Lists are a few dozen lines; anything far larger is not a list we wrote.
constexpr size_t kMaxListBytes = 256 * 1024;

bool glob_matches(std::string_view pattern, std::string_view text) {
  std::string p(pattern);
  std::string t(text);
  return ::fnmatch(p.c_str(), t.c_str(), FNM_CASEFOLD) == 0;
}

}  // namespace

bool blacklist_matches(std::string_view list_text, std::string_view vendor,
                       std::string_view model) {
  vendor = trim(vendor);
  model = trim(model);
  bool matched = false;
  for_each_line(list_text, [&](std::string_view line) {
    if (size_t hash = line.find('#'); hash != std::string_view::npos) line = line.substr(0, hash);
    line = trim(line);
    if (line.empty()) return true;
    std::string_view vendor_glob = "*";
    std::string_view model_glob = line;
    if (size_t bar = line.find('|'); bar != std::string_view::npos) {
      vendor_glob = trim(line.substr(0, bar));
      model_glob = trim(line.substr(bar + 1));
      if (vendor_glob.empty()) vendor_glob = "*";
    }
    if (model_glob.empty()) return true;
    matched = glob_matches(vendor_glob, vendor) && glob_matches(model_glob, model);
    return !matched;
  });
  return matched;
}

bool is_blacklisted(const char* list_file, const char* vendor, const char* model) {
  auto text = read_file(list_file, kMaxListBytes);
  if (!text) return false;
  return blacklist_matches(*text, vendor != nullptr ? vendor : "", model != nullptr ? model : "");
}

}  // namespace bayhal::disk

BAYHAL_EXPORT int Disk_Is_WWN_Blacklisted(const char* vendor, const char* model) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%s, %s).\n", __func__, vendor ? vendor : "(null)",
            model ? model : "(null)");
  if (model == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: model is null!\n", __func__);
    return 0;
  }
  return bayhal::disk::is_blacklisted(bayhal::disk::kWwnBlacklistFile, vendor, model) ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int Disk_Is_SelfTest_Blacklisted(const char* vendor, const char* model) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%s, %s).\n", __func__, vendor ? vendor : "(null)",
            model ? model : "(null)");
  if (model == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: model is null!\n", __func__);
    return 0;
  }
  return bayhal::disk::is_blacklisted(bayhal::disk::kSelfTestBlacklistFile, vendor, model) ? 1
                                                                                          : 0;
} BAYHAL_C_BOUNDARY(0)
