#include "enclosure/disk_registry_link.h"

#include <atomic>
#include <string>

#include "enclosure/enc_conf.h"

namespace bayhal {
namespace {

DiskRegistryLink default_link;
std::atomic<DiskRegistryLink*> installed{nullptr};

}  // namespace

int DiskRegistryLink::scan(int /*enc_id*/, const char* /*dir*/) { return 0; }

int DiskRegistryLink::detach_by_dev_id(int /*enc_id*/, int /*dev_id*/) { return 0; }

// The record's key is enough to answer; the disk registry may replace this with its reader.
int DiskRegistryLink::dev_id_of_port(int enc_id, int port, int* dev_id) {
  if (dev_id == nullptr) return -1;
  std::string section = "PhysicalDisk_" + std::to_string(port);
  auto v = conf_get_int(enc_disk_conf(enc_id).c_str(), section.c_str(), "port_id");
  if (!v) return -1;
  *dev_id = static_cast<int>(*v);
  return 0;
}

DiskRegistryLink& disk_registry_link() {
  DiskRegistryLink* link = installed.load(std::memory_order_acquire);
  return link != nullptr ? *link : default_link;
}

void set_disk_registry_link(DiskRegistryLink* link) {
  installed.store(link, std::memory_order_release);
}

}  // namespace bayhal
