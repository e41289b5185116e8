// SAS (SCSI) disk health, decoded apart from the transport: log pages (Supported Pages
// 00h, Write and Read Error Counters 02h/03h, Temperature 0Dh, Self-Test Results 10h,
// Background Scan Results 15h, Informational Exceptions 2Fh), the extended self-test time
// of the Control mode page, and the power condition in REQUEST SENSE data.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "disk_sys/smart_reading.h"

namespace bayhal {

enum ScsiLogPage : uint8_t {
  kLogSupported = 0x00,
  kLogWriteErrors = 0x02,
  kLogReadErrors = 0x03,
  kLogTemperature = 0x0d,
  kLogSelfTest = 0x10,
  kLogBackgroundScan = 0x15,
  kLogInfoExceptions = 0x2f,
};

// The pages a Supported Pages page lists; empty when it does not parse.
std::vector<uint8_t> scsi_parse_supported_logs(const uint8_t* page, size_t len);

// Adds what one log page tells to the reading (docs/smart.md names the entries): the
// failure prediction and temperature (2Fh), current and reference temperature (0Dh),
// power-on hours (15h), uncorrected errors (02h, 03h), the newest self-test (10h). False
// when the page does not parse or is not the one asked for.
bool scsi_parse_log_page(uint8_t page_code, const uint8_t* page, size_t len, SmartReading& out);

// The extended self-test completion time (minutes, rounded up) of MODE SENSE(6) data
// holding the Control mode page; -1 when absent.
int scsi_parse_extended_test_minutes(const uint8_t* data, size_t len);

// From REQUEST SENSE data (fixed or descriptor format): 0 when the disk is in a standby
// power condition or stopped, 1 otherwise, -1 when the data does not parse.
int scsi_power_mode_from_sense(const uint8_t* data, size_t len);

}  // namespace bayhal
