// A sandbox root with a sysfs builder, a model description and device models, for the
// discovery tests.
#pragma once
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "disk_sys/pd_sys.h"
#include "sim/device_model.h"
#include "sim/sysfs_builder.h"
#include "tests/support/sandbox_root.h"

namespace bayhal::test {

// The identity fields discovery fills, in one line: port, type, vendor, model, serial,
// revision, capacity x sector size, rotation, capabilities, link speed, driver.
inline std::string summary(const PD_INFO& i) {
  char buf[512];
  std::snprintf(buf, sizeof buf, "p%d t%d %s|%s|%s|%s %lldx%d r%d c%x l%d %s", i.port_id, i.type,
                i.vendor, i.model, i.serial_no, i.revision, i.capacity, i.sector_size,
                i.rotation_speed, i.capabilities, i.link_speed, i.pd_driver_name);
  return buf;
}

class DiskSysTest : public SandboxTest {
 protected:
  sim::SysfsBuilder b{root.dir()};
  sim::ModelTransport models;
  ScopedDeviceTransport use_models{models};

  void model_conf(const std::string& text) { root.write("/etc/model.conf", text); }

  // pd_sys_enumerate as a vector (the strings freed here).
  std::vector<std::string> enumerate(const char* enc, int max = 64, int* rc_out = nullptr) {
    std::vector<char*> list(static_cast<size_t>(max), nullptr);
    int rc = pd_sys_enumerate(enc, list.data(), max);
    if (rc_out) *rc_out = rc;
    std::vector<std::string> out;
    for (int i = 0; i < rc && i < max; ++i) {
      out.emplace_back(list[static_cast<size_t>(i)]);
      std::free(list[static_cast<size_t>(i)]);
    }
    return out;
  }

  int port_of(const char* enc, const std::string& name) {
    return pd_sys_get_physical_drive_port(enc, name.c_str());
  }

  std::string ahci_pci(const std::string& addr) {
    return b.pci_device(addr, {}, sim::PciSpec(0x8086, 0xa352, 0x010601, "ahci"));
  }
};

}  // namespace bayhal::test
