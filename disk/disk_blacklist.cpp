#include "disk/disk_blacklist.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <unistd.h>

#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"
#include "foundation/unique_fd.h"

namespace bayhal::disk {

namespace {

// Lists are a few dozen lines; anything far larger is not a list we wrote.
constexpr size_t kMaxListBytes = 256 * 1024;

std::string_view trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r'))
    s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
    s.remove_suffix(1);
  return s;
}

bool glob_matches(std::string_view pattern, std::string_view text) {
  std::string p(pattern);
  std::string t(text);
  return ::fnmatch(p.c_str(), t.c_str(), FNM_CASEFOLD) == 0;
}

bool read_list(const char* list_file, std::string& out) {
  UniqueFd fd(::open(SysPath(list_file).c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd) return false;
  char buf[4096];
  for (;;) {
    ssize_t n = ::read(fd.get(), buf, sizeof buf);
    if (n < 0) return false;
    if (n == 0) return true;
    out.append(buf, static_cast<size_t>(n));
    if (out.size() > kMaxListBytes) return false;
  }
}

}  // namespace

bool blacklist_matches(std::string_view list_text, std::string_view vendor,
                       std::string_view model) {
  vendor = trim(vendor);
  model = trim(model);
  size_t pos = 0;
  while (pos < list_text.size()) {
    size_t nl = list_text.find('\n', pos);
    if (nl == std::string_view::npos) nl = list_text.size();
    std::string_view line = list_text.substr(pos, nl - pos);
    pos = nl + 1;
    if (size_t hash = line.find('#'); hash != std::string_view::npos) line = line.substr(0, hash);
    line = trim(line);
    if (line.empty()) continue;
    std::string_view vendor_glob = "*";
    std::string_view model_glob = line;
    if (size_t bar = line.find('|'); bar != std::string_view::npos) {
      vendor_glob = trim(line.substr(0, bar));
      model_glob = trim(line.substr(bar + 1));
      if (vendor_glob.empty()) vendor_glob = "*";
    }
    if (model_glob.empty()) continue;
    if (glob_matches(vendor_glob, vendor) && glob_matches(model_glob, model)) return true;
  }
  return false;
}

bool is_blacklisted(const char* list_file, const char* vendor, const char* model) {
  std::string text;
  if (!read_list(list_file, text)) return false;
  return blacklist_matches(text, vendor != nullptr ? vendor : "", model != nullptr ? model : "");
}

}  // namespace bayhal::disk

BAYHAL_EXPORT int Disk_Is_WWN_Blacklisted(const char* vendor, const char* model) {
  if (model == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: model is null!\n", __func__);
    return 0;
  }
  return bayhal::disk::is_blacklisted(bayhal::disk::kWwnBlacklistFile, vendor, model) ? 1 : 0;
}

BAYHAL_EXPORT int Disk_Is_SelfTest_Blacklisted(const char* vendor, const char* model) {
  if (model == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: model is null!\n", __func__);
    return 0;
  }
  return bayhal::disk::is_blacklisted(bayhal::disk::kSelfTestBlacklistFile, vendor, model) ? 1
                                                                                          : 0;
}
