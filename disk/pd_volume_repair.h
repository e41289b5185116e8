// The volume configuration's names of a disk's partitions, kept current across attaches.
#pragma once
#include <string>
#include <string_view>

namespace bayhal {

// Rewrites "raidName"/"mappingName" of the disk's volumes to its current partition names.
void pd_repair_volume_names(int enc_id, int port_id, const char* pd_sys_name);
// "sdb" + 1 -> "sdb1", "nvme0n1" + 1 -> "nvme0n1p1"; partition -1 is the whole disk.
std::string partition_name(std::string_view disk_name, int partition);

}  // namespace bayhal
