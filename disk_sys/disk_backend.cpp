// The default backend: the discovery layer (pd_sys_*) and the kernel's device tree.
// Questions that only a card or hardware-RAID back-end could answer get "not available"
// (-1): this library has none.
#include "disk_sys/disk_backend.h"

#include <atomic>
#include <cstring>
#include <filesystem>
#include <string>

#include "disk_sys/pd_sys.h"
#include "disk_sys/pd_sys_devno.h"
#include "disk_sys/pd_sys_smart.h"
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

class DiscoveryBackend final : public DiskBackend {
 public:
  int getinfo(const char* enc_sys_id, const char* pd_sys_id, PD_INFO* info) override {
    return pd_sys_getinfo(enc_sys_id, pd_sys_id, info);
  }
  int enumerate(const char* enc_sys_id, char** list, int max) override {
    return pd_sys_enumerate(enc_sys_id, list, max);
  }
  int sys_id_by_sys_name(const char* sys_name, char* sys_id, int size) override {
    return pd_sys_get_sys_id_by_sys_name(sys_name, sys_id, size);
  }
  int boot_disk(char* name, int size) override { return pd_sys_get_boot_disk(name, size); }
  int attached_behind_sas(const char* bus_name) override {
    std::string path = device_path(bus_name);
    if (path.empty()) return -1;
    return path.find("/expander-") != std::string::npos ? 1 : 0;
  }
  int attached_to_sas_hba_directly(const char* bus_name) override {
    std::string path = device_path(bus_name);
    if (path.empty()) return -1;
    return path.find("/end_device-") != std::string::npos &&
                   path.find("/expander-") == std::string::npos
               ? 1
               : 0;
  }
  int power_mode(int type, const char* pd_sys_id) override {
    return pd_sys_health_power_mode(type, pd_sys_id);
  }
  int health_read(int type, const char* enc_sys_id, const char* pd_sys_id, int size,
                  SmartReading& out) override {
    return pd_sys_health_read(type, enc_sys_id, pd_sys_id, size, out);
  }
  int self_test(int type, const char* enc_sys_id, const char* pd_sys_id, int mode) override {
    return pd_sys_health_self_test(type, enc_sys_id, pd_sys_id, mode);
  }
  int check_rw_access(const char* enc_sys_id, const char* pd_sys_id, const PD_INFO* info) override {
    return pd_sys_check_rw_access(enc_sys_id, pd_sys_id, info);
  }
  int set_device_queue(const char* sys_name) override { return pd_sys_set_device_queue(sys_name); }
  int set_io_latency(const char* sys_name, int latency_ms) override {
    return pd_sys_set_io_latency(sys_name, latency_ms);
  }
  int queue_depth(const char* sys_name) override { return pd_sys_get_queue_depth(sys_name); }
  int set_queue_depth(const char* sys_name, int depth) override {
    return pd_sys_set_queue_depth(sys_name, depth);
  }
  int sed_command(const char* const* args, std::span<char> out, size_t* out_len) override {
    return pd_sys_sed_command(args, out, out_len);
  }
  std::string dev_name(int major, int minor) override { return pd_sys_dev_name_of(major, minor); }
  bool dev_no(std::string_view name, int* major, int* minor) override {
    return pd_sys_dev_no_of(name, major, minor);
  }
  std::vector<std::string> block_devices() override { return pd_sys_block_devices(); }
  bool device_present(const char* dev) override { return pd_sys_device_present(dev); }
  void reload_usb_host() override { pd_sys_reload_usb_host(); }
  int sr_mode(int, int) override { return -1; }
  int mvs_card_position(const char*, int*, int*) override { return -1; }
  int hzr_card_description(int, HzrCardDescription*) override { return -1; }
  int lookup_in_pcie_enclosure(int, const char*, int, int, char*, int) override { return -1; }
  int scan_ext_port(const char*, std::vector<std::pair<int, int>>*) override { return -1; }
};

DiscoveryBackend discovery_backend;
std::atomic<DiskBackend*> installed{nullptr};

}  // namespace

DiskBackend& disk_backend() {
  DiskBackend* b = installed.load(std::memory_order_acquire);
  return b != nullptr ? *b : discovery_backend;
}

void set_disk_backend(DiskBackend* b) { installed.store(b, std::memory_order_release); }

}  // namespace bayhal
