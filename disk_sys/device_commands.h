// Commands discovery and the SMART code send to disks, built over the device command
// transport. Each returns 0 when the device answered with good status and -1 otherwise; the
// reply bytes land in the caller's buffer and `got` (where offered) says how many arrived.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "transport/device_transport.h"

namespace bayhal {

// ATA registers of one command sent through ATA PASS-THROUGH(16).
struct AtaTaskfile {
  uint8_t command = 0;
  uint8_t features = 0;
  uint8_t sector_count = 0;
  uint8_t lba_low = 0;
  uint8_t lba_mid = 0;
  uint8_t lba_high = 0;
  uint8_t device = 0;
};

// INQUIRY: standard data (`vpd_page` < 0) or one VPD page.
int scsi_inquiry(std::string_view dev, int vpd_page, uint8_t* buf, uint16_t len,
                 size_t* got = nullptr);
// READ CAPACITY(16), falling back to READ CAPACITY(10) for devices without it.
int scsi_read_capacity(std::string_view dev, uint64_t& blocks, uint32_t& block_len);
// TEST UNIT READY; the command is returned so callers can read the sense.
int scsi_test_unit_ready(std::string_view dev, DeviceCommand* out = nullptr);

// LOG SENSE(10) of `page` (cumulative values), REQUEST SENSE, and MODE SENSE(6) of `page`.
int scsi_log_sense(std::string_view dev, uint8_t page, uint8_t* buf, uint16_t len,
                   size_t* got = nullptr);
int scsi_request_sense(std::string_view dev, uint8_t* buf, uint8_t len, size_t* got = nullptr);
int scsi_mode_sense6(std::string_view dev, uint8_t page, uint8_t* buf, uint8_t len,
                     size_t* got = nullptr);
// SEND DIAGNOSTIC with a self-test code (1 background short, 2 background extended, 4 abort).
int scsi_send_diagnostic(std::string_view dev, uint8_t self_test_code);

// ATA PASS-THROUGH(16). `dir` kNone sends a non-data command with CK_COND set, so that the
// ATA registers come back in the sense data (ATA Status Return descriptor); a data-in
// command reads `len` bytes (a multiple of 512) by PIO.
int ata_pass_through(std::string_view dev, const AtaTaskfile& tf, XferDir dir, uint8_t* buf,
                     uint32_t len, DeviceCommand* out = nullptr);
// ATA IDENTIFY DEVICE (ECh) into a 512-byte buffer.
int ata_identify(std::string_view dev, uint8_t* buf512);

// NVMe Identify (admin 06h) of `cns` for `nsid` into a 4096-byte buffer.
int nvme_identify(std::string_view dev, uint8_t cns, uint32_t nsid, uint8_t* buf4096);
// NVMe Get Log Page (admin 02h) of log `lid` for `nsid` (0xFFFFFFFF: the controller) into
// `len` bytes (a multiple of 4).
int nvme_get_log_page(std::string_view dev, uint8_t lid, uint32_t nsid, uint8_t* buf,
                      uint32_t len);
// NVMe Device Self-test (admin 14h) with code `stc` (1 short, 2 extended, 0xF abort).
int nvme_device_self_test(std::string_view dev, uint32_t nsid, uint8_t stc);

}  // namespace bayhal
