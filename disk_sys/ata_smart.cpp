#include "disk_sys/ata_smart.h"

#include <array>
#include <cstring>

#include "disk_sys/smart_names.h"
#include "foundation/byte_reader.h"

namespace bayhal {
namespace {

constexpr size_t kSlotsAt = 2;
constexpr size_t kSlotSize = 12;
constexpr size_t kSelfTestStatus = 363;
constexpr size_t kShortPoll = 372;
constexpr size_t kExtendedPoll = 373;
constexpr size_t kExtendedPollWord = 375;  // when byte 373 reads 0xFF

// The temperature a reading reports: attribute 194, else the airflow temperature (190).
int temperature_of(const PD_SMART_ATTR* list, int n) {
  for (unsigned id : {194u, 190u})
    for (int k = 0; k < n; ++k)
      if (list[k].id == id) return static_cast<int>(list[k].raw & 0xff);
  return -1;
}

}  // namespace

bool ata_smart_checksum_ok(const uint8_t* page, size_t len) {
  if (page == nullptr || len < kAtaSmartPageSize) return false;
  // Eight bytes at a time, in 16-bit lanes: 64 words of 255s cannot overflow a lane.
  constexpr uint64_t kLow = 0x00ff00ff00ff00ffull;
  uint64_t lanes = 0;
  for (size_t i = 0; i < kAtaSmartPageSize; i += 8) {
    uint64_t w;
    std::memcpy(&w, page + i, 8);
    lanes += (w & kLow) + ((w >> 8) & kLow);
  }
  uint64_t sum = (lanes & 0xffff) + ((lanes >> 16) & 0xffff) + ((lanes >> 32) & 0xffff) + (lanes >> 48);
  return (sum & 0xff) == 0;
}

int ata_smart_decode_slots(const uint8_t* page, size_t len, int list_size, int kind,
                           PD_SMART_ATTR* list) {
  ByteReader r(page, len);
  if (!r.has(0, kAtaSmartPageSize)) return -1;
  int slots = list_size < kAtaSmartSlots ? list_size : kAtaSmartSlots;
  int n = 0;
  for (int i = 0; i < slots; ++i) {
    size_t at = kSlotsAt + kSlotSize * static_cast<size_t>(i);
    unsigned id = r.u8(at);
    if (id == 0) continue;
    PD_SMART_ATTR& a = list[n++];
    a.id = id;
    std::memcpy(a.name, smart_attr_name64(id, kind), sizeof a.name);
    a.status_flag = r.le16(at + 1);
    a.reserved = 0xFFFF;
    a.value = r.u8(at + 3);
    a.worst = r.u8(at + 4);
    a.thresh = 0;
    a.raw = smart_get_raw_val(id, page + at + 5);
  }
  return n;
}

bool ata_smart_decode_thresholds(const uint8_t* page, size_t len, PD_SMART_ATTR* list, int n) {
  ByteReader r(page, len);
  if (!r.has(0, kAtaSmartPageSize)) return false;
  std::array<uint8_t, 256> by_id{};
  for (int i = kAtaSmartSlots - 1; i >= 0; --i) {  // the first slot of an id wins
    size_t at = kSlotsAt + kSlotSize * static_cast<size_t>(i);
    by_id[r.u8(at)] = r.u8(at + 1);
  }
  for (int k = 0; k < n; ++k) list[k].thresh = list[k].id < 256 ? by_id[list[k].id] : 0;
  return true;
}

void ata_smart_decode_state(const uint8_t* page, const PD_SMART_ATTR* list, int n, SmartReading& out) {
  ByteReader r(page, kAtaSmartPageSize);
  uint8_t st = r.u8(kSelfTestStatus);
  out.test_status = st >> 4;
  out.test_progress = 100 - 10 * (st & 0x0f);
  out.short_minutes = r.u8(kShortPoll);
  out.extended_minutes = r.u8(kExtendedPoll);
  // A test longer than 254 minutes does not fit in the byte; the drive gives a word instead.
  if (out.extended_minutes == 0xff) out.extended_minutes = r.le16(kExtendedPollWord);
  out.temperature = temperature_of(list, n);
  out.checksum_ok = ata_smart_checksum_ok(page, kAtaSmartPageSize);
}

bool ata_smart_parse_data(const uint8_t* page, size_t len, int list_size, int kind,
                          SmartReading& out) {
  PD_SMART_ATTR list[kAtaSmartSlots];
  int n = ata_smart_decode_slots(page, len, list_size, kind, list);
  if (n < 0) return false;
  out.attrs.insert(out.attrs.end(), list, list + n);
  ata_smart_decode_state(page, list, n, out);
  return true;
}

bool ata_smart_apply_thresholds(const uint8_t* page, size_t len, SmartReading& out) {
  return ata_smart_decode_thresholds(page, len, out.attrs.data(), static_cast<int>(out.attrs.size()));
}

bool ata_smart_threshold_exceeded(const SmartReading& r) {
  for (const PD_SMART_ATTR& a : r.attrs)
    if ((a.status_flag & 0x01) && a.thresh != 0 && (a.thresh == 0xff || a.value <= a.thresh))
      return true;
  return false;
}

int ata_smart_status_from_sense(const uint8_t* sense, size_t sense_len) {
  ByteReader s(sense, sense_len);
  if (sense_len < 8 || s.u8(0) != 0x72 || static_cast<size_t>(s.u8(7)) + 8 != sense_len)
    return -1;
  ByteReader d = s.sub(8, sense_len - 8);
  if (!d.has(0, 14) || d.u8(0) != 0x09) return -1;
  if ((d.u8(2) & 0x01) != 0 || (d.u8(3) & 0x04) != 0) return -1;  // extended, or aborted
  uint8_t mid = d.u8(9), high = d.u8(11);
  if (mid == 0x4f && high == 0xc2) return 0;
  if (mid == 0xf4 && high == 0x2c) return 1;
  return -1;
}

int ata_power_mode_from_sense(const uint8_t* sense, size_t sense_len) {
  ByteReader s(sense, sense_len);
  if ((s.u8(0) & 0x7f) != 0x72 || s.u8(8) != 0x09 || !s.has(8, 14)) return -1;
  switch (s.u8(8 + 5)) {
    case 0x00:  // standby
    case 0x01:  // standby_y
    case 0x40:  // NV cache power mode, spindle spun down
    case 0x41:
      return 0;
    default:
      return 1;
  }
}

}  // namespace bayhal
