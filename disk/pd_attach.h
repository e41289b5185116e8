// Attach and detach of one disk, and the scans the enclosure registry runs through them.
#pragma once
#include <string>
#include <string_view>

#include "bayhal/PD.h"

namespace bayhal {

// Registers a disk: identifiers, discovery, I/O check, store, hook, tuning. `dir` is the
// folder of a rescan's temporary store or null. 0 or negative (-2: not a disk to register).
int pd_attach(const char* enc_sys_id, const char* pd_sys_id, const char* dir = nullptr);
// The same with the enclosure id already known (enclosure scans, where the id may not be in
// the live hal.conf yet).
int pd_attach_in(int enc_id, const char* enc_sys_id, const char* pd_sys_id, const char* dir);

// Removes a disk and its member disks. The detach result; -1 for an unknown disk.
int pd_detach(const char* enc_sys_id, const char* pd_sys_id);
// Removes one disk by port id (or member id) and runs the detach hook. pd_remove_conf's result.
int pd_detach_by_dev_id(int enc_id, int port_id);

// Registers every disk discovery finds in enclosure `enc_id`. 0, or -1 when the enclosure
// is unknown or cannot be listed; single disks that fail do not fail the scan.
int pd_scan(int enc_id, const char* dir);
// Makes the enclosure registry call pd_scan and pd_detach_by_dev_id. Runs when the library
// is loaded (any program that can attach a disk has it linked in).
void install_disk_registry_link();

// 0 when the disk answers I/O, -2 for a device that must not be registered (a bridge's
// configuration unit), -1 otherwise. Waits up to three seconds on the clock seam.
int pd_sys_check_rw_access(const char* enc_sys_id, const char* pd_sys_id, const PD_INFO* info);

// Applies the configured max_sectors_kb limit to a block device ("/dev/sdb"). 0 or -1.
int pd_sys_set_device_queue(const char* sys_name);

// Rewrites "raidName"/"mappingName" of the disk's volumes to its current partition names.
void pd_repair_volume_names(int enc_id, int port_id, const char* pd_sys_name);
// "sdb" + 1 -> "sdb1", "nvme0n1" + 1 -> "nvme0n1p1"; partition -1 is the whole disk.
std::string partition_name(std::string_view disk_name, int partition);

// Hardware-RAID adapter arrays in /etc/config/sr_raid.conf.
int sr_raid_conf_attach(int enc_id, const PD_INFO& info);
int sr_raid_conf_detach(int enc_id, int port_id);

// Runs a site hook "<script> <enc_id> <port_id> <name> &" when the script exists and its
// owner may execute it. True when it was started.
bool pd_run_hook(const char* script, int enc_id, int port_id, const char* name);

}  // namespace bayhal
