// The one place where the two registries meet: the enclosure registry asks for disk scans,
// removals and device ids through DiskRegistryLink (enclosure/disk_registry_link.h), and
// this file answers with the disk registry. Defining the accessor here, rather than
// installing an object at start-up, wires every program that uses enclosures.
#include <atomic>
#include <string>

#include "bayhal/Ini_Conf.h"
#include "disk/disk_store.h"
#include "disk/pd_attach.h"
#include "enclosure/disk_registry_link.h"

namespace bayhal {

namespace {

class DiskRegistry final : public DiskRegistryLink {
 public:
  int scan(int enc_id, const char* dir) override { return pd_scan(enc_id, dir); }
  int detach_by_dev_id(int enc_id, int dev_id) override {
    return pd_detach_by_dev_id(enc_id, dev_id);
  }
  int dev_id_of_port(int enc_id, int port, int* dev_id) override {
    if (dev_id == nullptr) return -1;
    int v = 0;
    std::string file = disk::store_file(enc_id);
    std::string section = disk::physical_section(port);
    if (Ini_Conf_Get_Field_Int(file.c_str(), section.c_str(), "port_id", &v, 0) <= 0) return -1;
    *dev_id = v;
    return 0;
  }
};

DiskRegistry registry;
std::atomic<DiskRegistryLink*> installed{nullptr};

}  // namespace

DiskRegistryLink& disk_registry_link() {
  DiskRegistryLink* link = installed.load(std::memory_order_acquire);
  return link != nullptr ? *link : registry;
}

void set_disk_registry_link(DiskRegistryLink* link) {
  installed.store(link, std::memory_order_release);
}

}  // namespace bayhal
