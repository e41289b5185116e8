// Reading disks' health through the device command transport ("pd_sys_"): ATA SMART by
// ATA PASS-THROUGH(16), NVMe health and self-test logs by admin commands, SAS log pages;
// self-tests; and the power mode, asked before a rotating disk is read so that a sleeping
// one is never woken. The disk registry reaches these through disk_sys/disk_backend.h.
// The page decoding lives apart (ata_smart.h, nvme_health.h, scsi_health.h).
#pragma once
#include <string>

#include "disk_sys/smart_reading.h"

namespace bayhal {

// SMART of an ATA disk: the verdict (0 passed, 1 threshold exceeded; -1 when RETURN
// STATUS failed, which does not stop the reading), up to `size` entries (slots at or
// beyond `size` are not read), the self-test status and progress and the polling times.
// Returns the number of entries, or -1 (the device, the data page or the thresholds page
// could not be read, or no attribute was listed). Disks of RAID enclosures ("px") answer
// the documented failure.
int pd_sys_get_ata_smart(const char* enc_sys_id, const char* pd_sys_id, int* verdict,
                         PD_SMART_ATTR* list, int size, int* test_status, int* test_progress,
                         int* short_minutes, int* extended_minutes);

// The three commands: one request each on the device node. The pages are 512 bytes;
// get_ata_smart_status gives the verdict (0, 1) or -1.
int get_ata_smart_value(const std::string& dev, uint8_t* page);
int get_ata_smart_threshold(const std::string& dev, uint8_t* page);
int get_ata_smart_status(const std::string& dev);

// One reading per disk type, as the disk registry caches it, with at most `size` entries
// (ATA: slots): 0 or -1.
int pd_sys_read_ata_smart(const char* enc_sys_id, const char* pd_sys_id, int size, SmartReading& out);
int pd_sys_get_nvme_smart(const char* enc_sys_id, const char* pd_sys_id, int size, SmartReading& out);
int pd_sys_get_sas_smart(const char* enc_sys_id, const char* pd_sys_id, int size, SmartReading& out);

// Self-tests (PD_SELF_TEST_SHORT, _EXTENDED or _ABORT): 0 or -1.
int pd_sys_set_ata_self_test(const char* enc_sys_id, const char* pd_sys_id, int mode);
int pd_sys_set_sas_self_test(const char* enc_sys_id, const char* pd_sys_id, int mode);
int pd_sys_set_nvme_self_test(const char* enc_sys_id, const char* pd_sys_id, int mode);

// Power modes: 1 active or idle, 0 standby (or stopped), -1 unknown.
int pd_sys_get_ata_power_mode(const char* pd_sys_id);
int pd_sys_get_scsi_power_mode(const char* pd_sys_id);

// By the disk's SMART type (PD_SMART_TYPE_*), through the readers of that type; -2 for a
// type that has none. The power mode is 1 for a disk with nothing to spin up.
int pd_sys_health_power_mode(int type, const char* pd_sys_id);
int pd_sys_health_read(int type, const char* enc_sys_id, const char* pd_sys_id, int size,
                       SmartReading& out);
int pd_sys_health_self_test(int type, const char* enc_sys_id, const char* pd_sys_id, int mode);

}  // namespace bayhal
