// The default backend: the discovery layer. Until the discovery layer's entry points are
// linked in, every question answers "not available" so the registry fails cleanly.
#include "disk/disk_backend.h"

#include <atomic>

#include "bayhal/ERR_TRACE.h"

namespace bayhal {

namespace {

class DiscoveryBackend final : public DiskBackend {
 public:
  int getinfo(const char* enc_sys_id, const char* pd_sys_id, PD_INFO*) override {
    return unavailable("pd_sys_getinfo", enc_sys_id, pd_sys_id);
  }
  int enumerate(const char* enc_sys_id, char**, int) override {
    return unavailable("pd_sys_enumerate", enc_sys_id, "");
  }
  int sys_id_by_sys_name(const char* sys_name, char*, int) override {
    return unavailable("pd_sys_get_sys_id_by_sys_name", "", sys_name);
  }
  int boot_disk(char*, int) override { return unavailable("pd_sys_get_boot_disk", "", ""); }
  int attached_behind_sas(const char*) override { return -1; }
  int attached_to_sas_hba_directly(const char*) override { return -1; }
  int sr_mode(int, int) override { return -1; }
  int mvs_card_position(const char*, int*, int*) override { return -1; }
  int hzr_card_description(int, HzrCardDescription*) override { return -1; }
  int lookup_in_pcie_enclosure(int, const char*, int, int, char*, int) override { return -1; }
  int scan_ext_port(const char*, std::vector<std::pair<int, int>>*) override { return -1; }

 private:
  static int unavailable(const char* what, const char* enc_sys_id, const char* pd_sys_id) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: not available (enc_sys_id %s, pd_sys_id %s)!\n", what,
              enc_sys_id != nullptr ? enc_sys_id : "", pd_sys_id != nullptr ? pd_sys_id : "");
    return -1;
  }
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
