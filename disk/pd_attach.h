// Attach and detach of one disk, and the scan the enclosure registry runs through them.
#pragma once

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

}  // namespace bayhal
