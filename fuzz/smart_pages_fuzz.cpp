// ATA SMART pages and pass-through sense from a drive or a saved file: the first byte picks
// the slot bound and the name kind, then a SMART READ DATA page, a READ THRESHOLDS page and
// sense data, each of whatever length arrived.
#include <cstddef>
#include <cstdint>

#include "disk_sys/ata_smart.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  int slots = data[0] % 40;
  int kind = data[0] >> 6;  // name kinds 0 to 3
  ++data, --size;
  size_t page = size < 512 ? size : 512;
  size_t thresholds = size - page < 512 ? size - page : 512;
  bayhal::SmartReading r;
  if (bayhal::ata_smart_parse_pages(data, page, data + page, thresholds, slots, kind, r))
    (void)bayhal::ata_smart_threshold_exceeded(r);
  const uint8_t* sense = data + page + thresholds;
  size_t sense_len = size - page - thresholds;
  (void)bayhal::ata_smart_status_from_sense(sense, sense_len);
  (void)bayhal::ata_power_mode_from_sense(sense, sense_len);
  (void)bayhal::ata_smart_checksum_ok(data, page);
  return 0;
}
