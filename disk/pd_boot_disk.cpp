// The boot device. Its disk record lives in /etc/hal.conf ("BootDisk_0"); a USB boot stick
// that dropped off the bus is brought back by reloading the USB host driver once.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_backend.h"
#include "disk/disk_store.h"
#include "disk/pd_query.h"
#include "foundation/command_runner.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"

namespace {

int boot_name(char* buf, int size) {
  return bayhal::disk::get_text(bayhal::disk::kHalConf, bayhal::disk::boot_section(0),
                                "pd_sys_name", buf, size);
}

bool reachable(const char* dev) {
  struct stat st {};
  return ::stat(bayhal::SysPath(dev).c_str(), &st) == 0;
}

// Callers append partition numbers; "mmcblk0" needs "p" before them.
int with_partition_separator(char* buf, int size) {
  size_t len = std::strlen(buf);
  if (len > 0 && buf[len - 1] >= '0' && buf[len - 1] <= '9') {
    if (len + 2 > static_cast<size_t>(size)) return -1;
    buf[len] = 'p';
    buf[len + 1] = '\0';
  }
  return 0;
}

}  // namespace

BAYHAL_EXPORT int PD_Get_Boot_Disk(char* buf, int size) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", __func__);
  if (!bayhal::disk::usable_buffer(buf, size)) return -1;
  if (boot_name(buf, size) <= 0) return -1;
  if (std::strncmp(buf, "/dev/sd", 7) == 0 && !reachable(buf)) {
    bayhal::runner().shell("/sbin/rmmod ehci-hcd.ko &>/dev/null");
    bayhal::runner().shell("/sbin/insmod /lib/modules/misc/ehci-hcd.ko &>/dev/null");
    if (boot_name(buf, size) <= 0) return -1;
  }
  return with_partition_separator(buf, size);
}

BAYHAL_EXPORT int PD_Get_Boot_Disk_At_Startup(char* buf, int size) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", __func__);
  if (!bayhal::disk::usable_buffer(buf, size)) return -1;
  buf[0] = '\0';
  return bayhal::disk_backend().boot_disk(buf, size) == 0 ? 0 : -1;
}

BAYHAL_EXPORT int PD_Boot_Enumerate(char** names, int max) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p, %d).\n", __func__,
            static_cast<void*>(names), max);
  if (names == nullptr || max < 0) return -1;
  DIR* dir = ::opendir(bayhal::SysPath("/sys/block").c_str());
  if (dir == nullptr) return 0;
  std::vector<std::string> found;
  while (dirent* e = ::readdir(dir)) {
    std::string_view n = e->d_name;
    if (n == "." || n == "..") continue;
    for (std::string_view p : {"sd", "vd", "xvd", "nvme"})
      if (n.substr(0, p.size()) == p) {
        found.emplace_back(n);
        break;
      }
  }
  ::closedir(dir);
  std::sort(found.begin(), found.end());
  int count = 0;
  for (const std::string& n : found) {
    if (count >= max) break;
    names[count] = ::strdup(n.c_str());
    if (names[count] == nullptr) break;
    ++count;
  }
  return count;
}
