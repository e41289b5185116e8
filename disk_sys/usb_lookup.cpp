// USB ports: root hubs of a controller, the devices on their ports (directly or on an
// internal hub), and the disks of the mass-storage interfaces below them.
#include <algorithm>

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/root_lookup.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal {
namespace {

// Speed class of a root hub from its "speed" (Mbit/s): 3 USB 2 and slower, 4 SuperSpeed,
// 6 SuperSpeedPlus.
int speed_class_of(long long mbps) {
  if (mbps >= 10000) return 6;
  if (mbps >= 5000) return 4;
  return 3;
}

bool is_unit_name(const std::string& n) {
  int colons = 0;
  for (char c : n) {
    if (c == ':')
      ++colons;
    else if (c < '0' || c > '9')
      return false;
  }
  return colons == 3;
}

void collect(const std::string& dir, int depth, std::vector<FoundDisk>& out) {
  if (depth > 12) return;
  for (const auto& e : sysfs_list(dir)) {
    std::string p = dir + "/" + e;
    if (!sysfs_link_name(p).empty() || !sysfs_is_dir(p)) continue;
    if (is_unit_name(e)) {
      for (const auto& b : sysfs_list(p + "/block")) {
        FoundDisk d;
        d.name = b;
        d.unit_path = p;
        out.push_back(d);
      }
      continue;
    }
    // An NVMe namespace sits in its controller's folder ("nvme0/nvme0n1").
    if (e.rfind("nvme", 0) == 0 && sysfs_exists(p + "/size") && sysfs_exists(p + "/dev")) {
      FoundDisk d;
      d.name = e;
      out.push_back(d);
      continue;
    }
    collect(p, depth + 1, out);
  }
}

}  // namespace

std::vector<FoundDisk> disks_below(std::string_view dir) {
  std::vector<FoundDisk> out;
  collect(std::string(dir), 0, out);
  return out;
}

std::vector<FoundDisk> lookup_usb_ports(std::string_view ctrl, const std::vector<int>& ports,
                                        int in_hub, int hub_port, int speed_class) {
  std::vector<FoundDisk> out;
  for (const auto& hub : sysfs_list(ctrl)) {
    int bus = index_after(hub, "usb");
    if (bus < 0) continue;
    std::string hub_dir = std::string(ctrl) + "/" + hub;
    auto speed = sysfs_read_int(hub_dir + "/speed");
    if (speed_class != 0 && (!speed || speed_class_of(*speed) != speed_class)) continue;
    for (int port : ports) {
      std::string dev = std::to_string(bus) + "-";
      std::string dir = hub_dir;
      if (in_hub) {
        dev += std::to_string(hub_port);
        dir += "/" + dev;
        dev += "." + std::to_string(port);
      } else {
        dev += std::to_string(port);
      }
      dir += "/" + dev;
      if (!sysfs_is_dir(dir)) continue;
      auto found = disks_below(dir);
      for (const auto& d : found)
        ERR_TRACE(HAL_TRACE_INFO, "%s(%d):usb port %s sysid = %s\n", "lookup_usb_ports",
                  __LINE__, dev.c_str(), d.name.c_str());
      out.insert(out.end(), found.begin(), found.end());
    }
  }
  return out;
}

}  // namespace bayhal
