#include "disk/smart_warning.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysfs.h"
#include "foundation/sysroot.h"
#include "foundation/trusted_path.h"
#include "foundation/unique_fd.h"
#include "ini/ini_edit.h"
#include "ini/ini_file.h"
#include "ini/ini_store.h"

namespace bayhal::disk {
namespace {

constexpr char kConf[] = "/etc/config/smart_warning.conf";
constexpr char kCopy[] = "/tmp/smart_warning.conf";

std::string section_of(unsigned id) { return "S.M.A.R.T. ID #" + std::to_string(id); }

// 1 the store exists, 0 it does not, -1 it cannot be opened (a link is not followed).
int store_exists() {
  UniqueFd fd(::open(sys_path(kConf).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (fd) return 1;
  return errno == ENOENT ? 0 : -1;
}

int copy_to_tmp(const char* who) {
  auto text = read_file(kConf);
  if (!text) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot read %s\n", who, kConf);
    return -1;
  }
  // "/tmp" is everyone's: the copy is never written through another user's link or file.
  Place place;
  std::string copy = sys_path(kCopy);
  if (resolve_place(copy.c_str(), false, place) != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot write %s\n", who, kCopy);
    return -1;
  }
  return replace_at(who, kCopy, place, *text, 0644, false);
}

int write_policy(const char* who, const PD_SMART_WARNING_CONF& c) {
  std::vector<std::string> values = {std::to_string(c.policy)};
  std::vector<std::string> sections;
  for (int i = 0; i < PD_SMART_WARNING_ATTRS; ++i) {
    values.push_back(std::to_string(c.attr[i].enable));
    values.push_back(std::to_string(c.attr[i].value));
    sections.push_back(section_of(kWarningIds[i]));
  }
  ini::Edit edit;
  edit.section = "";
  edit.set = {{"policy", values[0]}};
  for (size_t i = 0; i < sections.size(); ++i) {
    ini::Edit e;
    e.section = sections[i];
    e.set = {{"enable", values[1 + 2 * i]}, {"value", values[2 + 2 * i]}};
    edit.then.push_back(std::move(e));
  }
  if (ini::update(who, kConf, edit) < 0) return -1;
  return copy_to_tmp(who);
}

int number_in(const std::optional<ini::Section>& s, const char* key) {
  return s ? static_cast<int>(s->get_int(key).value_or(0)) : 0;
}

}  // namespace

int smart_warning_bits(const PD_SMART_WARNING_CONF& conf, const SmartReading& r) {
  if (r.type != PD_SMART_TYPE_ATA) return 0;
  int bits = 0;
  for (int i = 0; i < PD_SMART_WARNING_ATTRS; ++i) {
    const PD_SMART_ATTR* a = r.find(kWarningIds[i]);
    if (conf.attr[i].enable && a != nullptr &&
        a->raw > static_cast<unsigned long long>(conf.attr[i].value < 0 ? 0 : conf.attr[i].value))
      bits |= 1 << i;
  }
  return bits;
}

}  // namespace bayhal::disk

BAYHAL_EXPORT int PD_SMART_WARNING_SET_CONF(const PD_SMART_WARNING_CONF* conf) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", __func__);
  if (conf == nullptr) return -1;
  return bayhal::disk::write_policy(__func__, *conf);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_WARNING_GET_CONF(PD_SMART_WARNING_CONF* conf) try {
  using namespace bayhal;
  using namespace bayhal::disk;
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", __func__);
  if (conf == nullptr) return -1;
  int exists = store_exists();
  if (exists < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot open %s\n", __func__, kConf);
    return -1;
  }
  if (exists == 0) {
    // First use on this appliance: the default record, warnings for 197 and 198 only.
    PD_SMART_WARNING_CONF def{};
    def.attr[3].enable = def.attr[4].enable = 1;
    if (write_policy(__func__, def) != 0) return -1;
  } else if (!sysfs_exists(kCopy) && copy_to_tmp(__func__) != 0) {
    return -1;
  }
  conf->policy = number_in(ini::read_section(kCopy, ""), "policy");
  for (int i = 0; i < PD_SMART_WARNING_ATTRS; ++i) {
    auto s = ini::read_section(kCopy, section_of(kWarningIds[i]));
    conf->attr[i].enable = number_in(s, "enable");
    conf->attr[i].value = number_in(s, "value");
  }
  return 0;
} BAYHAL_C_BOUNDARY(-1)
