// ATA SMART pages, decoded apart from any transport so that saved pages read the same as
// a live disk: SMART READ DATA (30 attribute slots, self-test state, polling times),
// SMART READ THRESHOLDS, and the verdict of SMART RETURN STATUS from the sense data that
// ATA PASS-THROUGH returns with the registers.
#pragma once
#include <cstddef>
#include <cstdint>

#include "disk_sys/smart_reading.h"

namespace bayhal {

constexpr size_t kAtaSmartPageSize = 512;
constexpr int kAtaSmartSlots = 30;

// The raw value of an attribute from its six raw bytes (little-endian, 48 bits). For
// attribute 194 only the low 16 bits count: the other bytes of a temperature hold its
// minimum and maximum.
inline uint64_t smart_get_raw_val(unsigned id, const uint8_t* raw6) {
  // Written so that the compiler reads each part with one load.
  uint32_t low = raw6[0] | raw6[1] << 8 | raw6[2] << 16 | uint32_t{raw6[3]} << 24;
  if (id == 194) return low & 0xffff;
  return low | uint64_t{static_cast<uint16_t>(raw6[4] | raw6[5] << 8)} << 32;
}

// True when the page's bytes sum to 0 modulo 256 (its last byte is the checksum).
bool ata_smart_checksum_ok(const uint8_t* page, size_t len);

// The attributes of a SMART READ DATA page, each with its threshold from the READ THRESHOLDS
// page, straight into `list` (room for min(list_size, 30) entries) in one pass: the slots
// whose index is below `list_size` (slots, not entries, are counted) and whose id is not 0,
// named in `kind`. An entry's threshold is that of the thresholds slot at the same index
// when it holds the same id, else of the first slot holding it, else 0. The number written,
// or -1 when a page is shorter than 512 bytes.
int ata_smart_decode(const uint8_t* data, size_t data_len, const uint8_t* thresholds,
                     size_t thresholds_len, int list_size, int kind, PD_SMART_ATTR* list);
// The self-test status, progress and polling times of a data page (of 512 bytes) into `out`.
void ata_smart_decode_self_test(const uint8_t* page, SmartReading& out);
// The temperature of `out`'s entries (194, else 190) and the data page's checksum into `out`.
void ata_smart_decode_extras(const uint8_t* page, SmartReading& out);
// All of the above into a SmartReading (entries appended). False when a page is short.
bool ata_smart_parse_pages(const uint8_t* data, size_t data_len, const uint8_t* thresholds,
                           size_t thresholds_len, int list_size, int kind, SmartReading& out);

// Whether a drive with these attributes reports its threshold exceeded, by the ATA rule: a
// pre-failure attribute (flags bit 0) whose value has fallen to its threshold; threshold 00h
// never trips, FFh always does. What RETURN STATUS says of the pages when only they are
// at hand.
bool ata_smart_threshold_exceeded(const SmartReading& r);

// The verdict of SMART RETURN STATUS from its sense data: 0 passed, 1 threshold exceeded,
// -1 anything else (fixed-format sense, a length that does not add up, another descriptor,
// an extended or aborted return, other register values).
int ata_smart_status_from_sense(const uint8_t* sense, size_t sense_len);

// The power mode CHECK POWER MODE returned in its sense data (the count register): 0 in
// standby (spun down), 1 active or idle, -1 when there is no ATA Status Return descriptor.
int ata_power_mode_from_sense(const uint8_t* sense, size_t sense_len);

}  // namespace bayhal
