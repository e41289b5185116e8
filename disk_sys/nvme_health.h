// NVMe health, decoded apart from the transport: the SMART / Health Information log (02h)
// as attribute entries with documented names, and the Device Self-test log (06h) as
// ATA-style self-test status codes.
#pragma once
#include <cstddef>
#include <cstdint>

#include "disk_sys/smart_reading.h"

namespace bayhal {

constexpr size_t kNvmeHealthLogSize = 512;
constexpr size_t kNvmeSelfTestLogSize = 564;

// Adds the log's entries (docs/smart.md lists them) and sets the temperature and the
// verdict (1 when any critical warning bit is set). False when the log is short.
bool nvme_parse_health_log(const uint8_t* log, size_t len, SmartReading& out);
// Sets test_status and test_progress from the self-test log: a running test is
// "in progress" with its completion; otherwise the newest result, translated. False when
// the log is short.
bool nvme_parse_self_test_log(const uint8_t* log, size_t len, SmartReading& out);

}  // namespace bayhal
