#include "disk_sys/pd_sys_devno.h"

#include <algorithm>
#include <cstdio>

#include "foundation/command_runner.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal {

namespace {

bool safe_name(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

}  // namespace

std::string devname_from_uevent(std::string_view text) {
  std::string dev;
  for_each_line(text, [&](std::string_view line) {
    if (!line.starts_with("DEVNAME=")) return true;
    std::string_view name = line.substr(8);
    if (safe_name(name)) dev = "/dev/" + std::string(name);
    return false;
  });
  return dev;
}

std::string pd_sys_dev_name_of(int major, int minor) {
  if (major < 0 || minor < 0) return {};
  char path[64];
  std::snprintf(path, sizeof path, "/sys/dev/block/%d:%d/uevent", major, minor);
  return devname_from_uevent(read_head(path, 4096).value_or(""));
}

bool pd_sys_dev_no_of(std::string_view name, int* major, int* minor) {
  bool accepted = false;
  for (std::string_view prefix : {"/dev/sd", "/dev/vd", "/dev/xvd"})
    if (name.starts_with(prefix)) accepted = true;
  if (!accepted) return false;
  std::string_view base = name.substr(5);
  if (!safe_name(base)) return false;
  std::string text = sysfs_read("/sys/class/block/" + std::string(base) + "/dev").value_or("");
  int ma = -1;
  int mi = -1;
  if (std::sscanf(text.c_str(), "%d:%d", &ma, &mi) != 2 || ma < 0 || mi < 0) return false;
  *major = ma;
  *minor = mi;
  return true;
}

std::vector<std::string> pd_sys_block_devices() {
  std::vector<std::string> found;
  for (const std::string& n : sysfs_list("/sys/block"))
    for (std::string_view p : {"sd", "vd", "xvd", "nvme"})
      if (n.starts_with(p)) {
        found.push_back(n);
        break;
      }
  std::sort(found.begin(), found.end());
  return found;
}

bool pd_sys_device_present(const char* dev) { return dev != nullptr && sysfs_exists(dev); }

void pd_sys_reload_usb_host() {
  runner().shell("/sbin/rmmod ehci-hcd.ko &>/dev/null");
  runner().shell("/sbin/insmod /lib/modules/misc/ehci-hcd.ko &>/dev/null");
}

}  // namespace bayhal
