#include "disk_sys/ata_smart.h"

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

// The threshold of attribute `id` at slot `slot`: the thresholds page's slot of the same
// index lists it on every drive seen; else the first slot that does.
uint8_t threshold_of(ByteReader& thresholds, size_t slot, uint8_t id) {
  if (thresholds.u8(kSlotsAt + kSlotSize * slot) == id) return thresholds.u8(kSlotsAt + kSlotSize * slot + 1);
  for (size_t i = 0; i < static_cast<size_t>(kAtaSmartSlots); ++i)
    if (thresholds.u8(kSlotsAt + kSlotSize * i) == id) return thresholds.u8(kSlotsAt + kSlotSize * i + 1);
  return 0;
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

int ata_smart_decode(const uint8_t* data, size_t data_len, const uint8_t* thresholds,
                     size_t thresholds_len, int list_size, int kind, PD_SMART_ATTR* list) {
  if (data == nullptr || thresholds == nullptr || data_len < kAtaSmartPageSize ||
      thresholds_len < kAtaSmartPageSize)
    return -1;
  ByteReader d(data, kAtaSmartPageSize), t(thresholds, kAtaSmartPageSize);
  const SmartName64* names = smart_attr_names64(kind);
  size_t slots = list_size < kAtaSmartSlots ? static_cast<size_t>(list_size < 0 ? 0 : list_size) : kAtaSmartSlots;
  int n = 0;
  for (size_t i = 0; i < slots; ++i) {  // the 30 slots lie within the 512 bytes
    std::span<const uint8_t> slot = d.bytes(kSlotsAt + kSlotSize * i, kSlotSize);
    uint8_t id = slot[0];
    if (id == 0) continue;
    PD_SMART_ATTR& a = list[n++];
    a.id = id;
    std::memcpy(a.name, names[id], sizeof a.name);
    a.status_flag = static_cast<unsigned short>(slot[1] | slot[2] << 8);
    a.reserved = 0xFFFF;
    a.value = slot[3];
    a.worst = slot[4];
    a.thresh = threshold_of(t, i, id);
    a.raw = smart_get_raw_val(id, slot.data() + 5);
  }
  return n;
}

void ata_smart_decode_self_test(const uint8_t* page, SmartReading& out) {
  ByteReader r(page, kAtaSmartPageSize);
  uint8_t st = r.u8(kSelfTestStatus);
  out.test_status = st >> 4;
  out.test_progress = 100 - 10 * (st & 0x0f);
  out.short_minutes = r.u8(kShortPoll);
  out.extended_minutes = r.u8(kExtendedPoll);
  // A test longer than 254 minutes does not fit in the byte; the drive gives a word instead.
  if (out.extended_minutes == 0xff) out.extended_minutes = r.le16(kExtendedPollWord);
}

void ata_smart_decode_extras(const uint8_t* page, SmartReading& out) {
  out.temperature = -1;
  for (unsigned id : {194u, 190u})
    if (const PD_SMART_ATTR* a = out.find(id); a != nullptr && out.temperature < 0)
      out.temperature = static_cast<int>(a->raw & 0xff);
  out.checksum_ok = ata_smart_checksum_ok(page, kAtaSmartPageSize);
}

bool ata_smart_parse_pages(const uint8_t* data, size_t data_len, const uint8_t* thresholds,
                           size_t thresholds_len, int list_size, int kind, SmartReading& out) {
  PD_SMART_ATTR list[kAtaSmartSlots];
  int n = ata_smart_decode(data, data_len, thresholds, thresholds_len, list_size, kind, list);
  if (n < 0) return false;
  out.attrs.insert(out.attrs.end(), list, list + n);
  ata_smart_decode_self_test(data, out);
  ata_smart_decode_extras(data, out);
  return true;
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
