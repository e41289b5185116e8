// What the enclosure registry needs from the disk registry: scanning an enclosure's disks
// when it is attached, removing disks when it goes, and a disk's device id.
//
// The disk registry answers (disk/registry_link.cpp, the one place the two registries are
// wired); a test installs a double with ScopedDiskRegistryLink.
#pragma once
#include "foundation/seam.h"

namespace bayhal {

class DiskRegistryLink {
 public:
  virtual ~DiskRegistryLink() = default;
  // pd_scan: registers the disks of enclosure `enc_id`; `dir` is the store folder of a
  // rescan or null. Its result is the attach's result.
  virtual int scan(int enc_id, const char* dir) = 0;
  // pd_detach_by_dev_id: removes one disk (a port id, or 1000 * port + member).
  virtual int detach_by_dev_id(int enc_id, int dev_id) = 0;
  // The device id recorded for the disk at `port` ("port_id" of its record); a negative
  // one marks a multi-disk adapter. 0, or -1 when there is no record.
  virtual int dev_id_of_port(int enc_id, int port, int* dev_id) = 0;
};

DiskRegistryLink& disk_registry_link();
// Installs `link` (not owned); nullptr restores the disk registry.
void set_disk_registry_link(DiskRegistryLink* link);
using ScopedDiskRegistryLink = ScopedSeam<DiskRegistryLink, set_disk_registry_link>;

}  // namespace bayhal
