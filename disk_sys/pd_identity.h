// Fills a disk record with what the disk says of itself: SCSI INQUIRY and VPD pages, ATA
// IDENTIFY data, NVMe Identify, and, where a device does not answer, the kernel's sysfs
// attributes.
#pragma once
#include <string>

#include "bayhal/PD.h"

namespace bayhal {

struct DiskPaths {
  std::string name;      // pd_sys_id
  std::string block;     // "/sys/devices/.../block/sdb" or ".../nvme0n1"
  std::string unit;      // SCSI unit folder; empty for NVMe
  bool usb = false;      // the disk sits below a USB controller
  bool nvme = false;
};

// Kind of device as INQUIRY showed it: -1 when it did not answer.
struct IdentityResult {
  int scsi_type = -1;
};

// Fills identity, capacity and capability fields; `ctrl` is the pass-through node.
IdentityResult fill_identity(const DiskPaths& p, const std::string& ctrl, PD_INFO* info);

// Copies `s` into a fixed field, cut to fit.
void copy_field(char* dst, size_t size, const std::string& s);

}  // namespace bayhal
