// NVMe health and self-test logs and SAS log pages, mode data and REQUEST SENSE data from a
// disk: the first byte picks the parser (and the SAS page code), the rest is the reply.
#include <cstddef>
#include <cstdint>

#include "disk_sys/nvme_health.h"
#include "disk_sys/scsi_health.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  uint8_t pick = data[0];
  ++data, --size;
  bayhal::SmartReading r;
  switch (pick & 7) {
    case 0: bayhal::nvme_parse_health_log(data, size, r); break;
    case 1: bayhal::nvme_parse_self_test_log(data, size, r); break;
    case 2: (void)bayhal::scsi_parse_supported_logs(data, size); break;
    case 3: (void)bayhal::scsi_parse_extended_test_minutes(data, size); break;
    case 4: (void)bayhal::scsi_power_mode_from_sense(data, size); break;
    default: bayhal::scsi_parse_log_page(static_cast<uint8_t>(pick >> 2), data, size, r); break;
  }
  return 0;
}
