// The boot device. Its disk record lives in /etc/hal.conf ("BootDisk_0"); a USB boot stick
// that dropped off the bus is brought back by reloading the USB host driver once.
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/pd_query.h"
#include "disk_sys/disk_backend.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

namespace {

int boot_name(char* buf, int size) {
  return bayhal::disk::get_text(bayhal::disk::kHalConf, bayhal::disk::boot_section(0),
                                "pd_sys_name", buf, size);
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

BAYHAL_EXPORT int PD_Get_Boot_Disk(char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", __func__);
  if (!bayhal::disk::usable_buffer(buf, size)) return -1;
  if (boot_name(buf, size) <= 0) return -1;
  if (std::strncmp(buf, "/dev/sd", 7) == 0 && !bayhal::disk_backend().device_present(buf)) {
    bayhal::disk_backend().reload_usb_host();
    if (boot_name(buf, size) <= 0) return -1;
  }
  return with_partition_separator(buf, size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Boot_Disk_At_Startup(char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", __func__);
  if (!bayhal::disk::usable_buffer(buf, size)) return -1;
  buf[0] = '\0';
  return bayhal::disk_backend().boot_disk(buf, size) == 0 ? 0 : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Boot_Enumerate(char** names, int max) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p, %d).\n", __func__,
            static_cast<void*>(names), max);
  if (names == nullptr || max < 0) return -1;
  std::vector<std::string> found = bayhal::disk_backend().block_devices();
  int count = 0;
  for (const std::string& n : found) {
    if (count >= max) break;
    names[count] = ::strdup(n.c_str());
    if (names[count] == nullptr) break;
    ++count;
  }
  return count;
} BAYHAL_C_BOUNDARY(-1)
