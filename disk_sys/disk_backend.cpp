#include "disk_sys/disk_backend.h"

#include <atomic>
#include <cstring>
#include <filesystem>
#include <string>

#include "foundation/sysroot.h"

namespace bayhal {

namespace {

// The kernel's device folder of a SCSI address ("6:0:3:0"): its path through the SAS
// transport classes tells whether an expander or only an end device lies in between.
std::string device_path(const char* bus_name) {
  if (bus_name == nullptr || *bus_name == '\0' || std::strchr(bus_name, '/') != nullptr)
    return {};
  std::error_code ec;
  auto real = std::filesystem::canonical(
      sys_path(std::string("/sys/class/scsi_device/") + bus_name), ec);
  return ec ? std::string() : real.string();
}

DiscoveryBackend discovery_backend;
std::atomic<DiskBackend*> installed{nullptr};

}  // namespace

int DiscoveryBackend::attached_behind_sas(const char* bus_name) {
  std::string path = device_path(bus_name);
  if (path.empty()) return -1;
  return path.find("/expander-") != std::string::npos ? 1 : 0;
}
int DiscoveryBackend::attached_to_sas_hba_directly(const char* bus_name) {
  std::string path = device_path(bus_name);
  if (path.empty()) return -1;
  return path.find("/end_device-") != std::string::npos &&
                 path.find("/expander-") == std::string::npos
             ? 1
             : 0;
}

DiskBackend& disk_backend() {
  DiskBackend* b = installed.load(std::memory_order_acquire);
  return b != nullptr ? *b : discovery_backend;
}

void set_disk_backend(DiskBackend* b) { installed.store(b, std::memory_order_release); }

}  // namespace bayhal
