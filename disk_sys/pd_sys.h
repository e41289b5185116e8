// Disk discovery ("pd_sys_"): which disks an enclosure holds and what each one is. The disk
// registry reaches these through disk_sys/disk_backend.h. Results: 0 or a count on success, -1
// on failure, -2 for a device that is not a disk to register.
#pragma once
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bayhal/PD.h"

namespace bayhal {

// Fills `list` with up to `max` newly allocated (malloc) pd_sys_id strings of the disks
// present in the enclosure and returns how many were found (more than `max` when they did
// not fit); negative when the enclosure kind is not supported.
int pd_sys_enumerate(const char* enc_sys_id, char** list, int max);

// The disks of an enclosure with the port id of the slot each sits in, as pd_sys_enumerate
// finds them but without tagging them for the device manager; nullopt when the enclosure
// kind is not supported.
struct PdSysDisk {
  std::string pd_sys_id;
  int port_id = -1;
};
std::optional<std::vector<PdSysDisk>> pd_sys_scan(const char* enc_sys_id);

// Clears `info`, sets att_phy_id to -1 and fills it for disk `pd_sys_id` of the enclosure.
int pd_sys_getinfo(const char* enc_sys_id, const char* pd_sys_id, PD_INFO* info);

// Link speed codes of PD_INFO.link_speed, max_link_speed and pd_max_link_speed.
enum PdLinkSpeed {
  kLinkUnknown = 0,
  kSata1_5G = 1, kSata3G = 2, kSata6G = 3, kSas12G = 4, kSas22_5G = 5,
  kUsb12M = 6, kUsb480M = 7, kUsb5G = 8, kUsb10G = 9, kUsb20G = 10,
  kPcie2_5GT = 11, kPcie5GT = 12, kPcie8GT = 13, kPcie16GT = 14, kPcie32GT = 15,
};
// The negotiated speed, the slot's maximum and the disk's own maximum.
int pd_sys_get_conn_speed(const char* enc_sys_id, const char* pd_sys_id, int* link_speed,
                          int* max_link_speed, int* pd_max_link_speed);

// The kernel module bound to the disk's PCI device ("/driver/module"), e.g. "ahci".
int pd_sys_get_driver_name(const char* pd_sys_id, char* buf, int size);

// The port id of the slot that holds `pd_sys_id` in the enclosure; -1 when none.
int pd_sys_get_physical_drive_port(const char* enc_sys_id, const char* pd_sys_id);

// Block device name ("/dev/sdb", "sdb", a partition "/dev/sdb3") to the disk's pd_sys_id.
int pd_sys_get_sys_id_by_sys_name(const char* sys_name, char* sys_id, int size);

// The boot device's disk name.
int pd_sys_get_boot_disk(char* name, int size);

// 0 when the disk answers I/O, -2 for a device that must not be registered (a bridge's
// configuration unit), -1 otherwise. Waits up to three seconds on the clock seam.
int pd_sys_check_rw_access(const char* enc_sys_id, const char* pd_sys_id, const PD_INFO* info);

// Applies the configured max_sectors_kb limit to a block device ("/dev/sdb"). 0 or -1.
int pd_sys_set_device_queue(const char* sys_name);
// Sets the command-timeout latency (milliseconds) of a block device. 0 or -1.
int pd_sys_set_io_latency(const char* sys_name, int latency_ms);

// The queue depth of a block device ("/dev/sdb": its SCSI device's "queue_depth"); -1 when
// it has none that can be read.
int pd_sys_get_queue_depth(const char* sys_name);
// Sets it: 0 or -1.
int pd_sys_set_queue_depth(const char* sys_name, int depth);

// The self-encrypting-drive tool (TCG Opal), and the lock that lets one run of it at a time
// on the appliance.
inline constexpr const char* kSedTool = "/sbin/sedutil-cli";
inline constexpr const char* kSedLockFile = "/tmp/.sed_lock_file";
// Runs the tool with `args` (its option and arguments, null-ended, used in place: they may
// be secrets) under kSedLockFile, never through a shell; standard error is dropped,
// standard output fills `out` (*out_len the bytes kept) or is dropped when `out` is empty.
// The wait status, -1 when the tool could not be started or the lock not taken.
int pd_sys_sed_command(const char* const* args, std::span<char> out, size_t* out_len);
// Sets or clears PD_CAP_SED from what the SED tool says of the disk's control device.
int pd_sys_set_sed_capability(PD_INFO* info);
// 1 when "/sbin/sedutil-cli --isValidSED <device>" reports a self-encrypting drive.
int sed_is_support(const char* device);

}  // namespace bayhal
