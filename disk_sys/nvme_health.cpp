#include "disk_sys/nvme_health.h"

#include <cstdio>

#include "foundation/byte_reader.h"

namespace bayhal {
namespace {

// The log's 128-bit counters, saturated to what an entry holds.
uint64_t counter(ByteReader& r, size_t off) {
  return r.le64(off + 8) != 0 ? UINT64_MAX : r.le64(off);
}

int celsius(unsigned kelvin) { return kelvin == 0 ? -1 : static_cast<int>(kelvin) - 273; }

struct Counter {
  unsigned id;
  const char* name;
  size_t offset;
  size_t size;  // 16: a 128-bit counter
};

constexpr Counter kCounters[] = {
    {6, "Data Units Read", 32, 16},
    {7, "Data Units Written", 48, 16},
    {8, "Host Read Commands", 64, 16},
    {9, "Host Write Commands", 80, 16},
    {10, "Controller Busy Time", 96, 16},
    {11, "Power Cycles", 112, 16},
    {12, "Power On Hours", 128, 16},
    {13, "Unsafe Shutdowns", 144, 16},
    {14, "Media and Data Integrity Errors", 160, 16},
    {15, "Error Information Log Entries", 176, 16},
    {16, "Warning Composite Temperature Time", 192, 4},
    {17, "Critical Composite Temperature Time", 196, 4},
};

// Results of the self-test log's entries (bits 3:0 of their first byte) as ATA codes.
int ata_code_of(unsigned result) {
  switch (result) {
    case 0x0: return PD_SMART_TEST_DONE;
    case 0x1: return PD_SMART_TEST_ABORTED;     // by a Device Self-test command
    case 0x2:                                   // by a controller reset
    case 0x3:                                   // by a namespace removal
    case 0x4:                                   // by a Format NVM
    case 0x8:                                   // for an unknown reason
    case 0x9: return PD_SMART_TEST_INTERRUPTED; // by a sanitize
    case 0x5: return PD_SMART_TEST_FATAL;
    case 0x6: return 4;                         // a segment that is not known failed
    case 0x7: return 7;                         // a known segment failed
    default: return PD_SMART_TEST_DONE;         // 0xF: entry unused, no test ever ran
  }
}

}  // namespace

bool nvme_parse_health_log(const uint8_t* log, size_t len, SmartReading& out) {
  ByteReader r(log, len);
  if (!r.has(0, kNvmeHealthLogSize)) return false;
  uint8_t warning = r.u8(0);
  int temp = celsius(r.le16(1));
  out.add(1, "Critical Warning", warning);
  out.add(2, "Composite Temperature", temp < 0 ? 0 : static_cast<unsigned>(temp),
          temp < 0 ? 0 : static_cast<unsigned>(temp));
  // Spare and wear as normalised values: the spare against its threshold, as ATA does.
  out.add(3, "Available Spare", r.u8(3), r.u8(3), r.u8(3), r.u8(4));
  out.add(4, "Available Spare Threshold", r.u8(4));
  uint8_t used = r.u8(5);
  out.add(5, "Percentage Used", used, used > 100 ? 0 : 100u - used);
  for (const Counter& c : kCounters)
    out.add(c.id, c.name, c.size == 16 ? counter(r, c.offset) : r.le32(c.offset));
  for (unsigned i = 0; i < 8; ++i) {
    int t = celsius(r.le16(200 + 2 * i));
    if (t < 0) continue;  // the sensor is not there
    char name[32];
    std::snprintf(name, sizeof name, "Temperature Sensor %u", i + 1);
    out.add(18 + i, name, static_cast<unsigned>(t), static_cast<unsigned>(t));
  }
  out.temperature = temp;
  out.verdict = warning != 0 ? 1 : 0;
  return r.ok();
}

bool nvme_parse_self_test_log(const uint8_t* log, size_t len, SmartReading& out) {
  ByteReader r(log, len);
  if (!r.has(0, kNvmeSelfTestLogSize)) return false;
  if ((r.u8(0) & 0x0f) != 0) {  // a test runs now
    out.test_status = PD_SMART_TEST_IN_PROGRESS;
    out.test_progress = r.u8(1) & 0x7f;
    return true;
  }
  out.test_status = ata_code_of(r.u8(4) & 0x0f);
  out.test_progress = 100;
  return r.ok();
}

}  // namespace bayhal
