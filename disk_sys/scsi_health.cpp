#include "disk_sys/scsi_health.h"

#include "foundation/byte_reader.h"
#include "transport/device_transport.h"

namespace bayhal {
namespace {

// Calls `each(code, value)` for every parameter of a log page; the walk stops at the
// page's stated length or the bytes that arrived, whichever comes first.
template <typename Each>
bool each_parameter(const uint8_t* page, size_t len, uint8_t page_code, Each&& each) {
  ByteReader r(page, len);
  if (!r.has(0, 4) || (r.u8(0) & 0x3f) != page_code) return false;
  size_t end = 4 + static_cast<size_t>(r.be16(2));
  if (end > len) end = len;
  for (size_t at = 4; at + 4 <= end;) {
    size_t plen = r.u8(at + 3);
    size_t take = at + 4 + plen <= end ? plen : end - at - 4;
    ByteReader value = r.sub(at + 4, take);
    each(r.be16(at), value);
    at += 4 + plen;
  }
  return true;
}

// Results of the self-test log (bits 3:0 of a parameter's first byte) as ATA codes; the
// segment failures 5-7 all read as a failed read element.
int ata_code_of(unsigned result) {
  switch (result) {
    case 0x0: return PD_SMART_TEST_DONE;
    case 0x1: return PD_SMART_TEST_ABORTED;
    case 0x2: return PD_SMART_TEST_INTERRUPTED;
    case 0x3: return PD_SMART_TEST_FATAL;
    case 0x4: return 4;
    case 0x5:
    case 0x6:
    case 0x7: return 7;
    case 0xf: return PD_SMART_TEST_IN_PROGRESS;
    default: return PD_SMART_TEST_DONE;
  }
}

void add_temperature(SmartReading& out, unsigned id, const char* name, uint8_t celsius) {
  if (celsius == 0xff) return;  // not available
  out.add(id, name, celsius, celsius, celsius);
  if (id == 2 || out.temperature < 0) out.temperature = celsius;
}

void parse_ie(uint16_t code, ByteReader& v, SmartReading& out) {
  if (code != 0 || !v.has(0, 2)) return;
  uint8_t asc = v.u8(0), ascq = v.u8(1);
  out.add(1, "Health Status", (static_cast<unsigned>(asc) << 8) | ascq);
  // ASC 5Dh: a failure prediction threshold was exceeded.
  out.verdict = asc == 0x5d ? 1 : 0;
  if (v.has(2, 1) && out.find(2) == nullptr) add_temperature(out, 2, "Current Temperature", v.u8(2));
}

void parse_temperature(uint16_t code, ByteReader& v, SmartReading& out) {
  if (!v.has(1, 1)) return;
  if (code == 0 && out.find(2) == nullptr) add_temperature(out, 2, "Current Temperature", v.u8(1));
  if (code == 1) add_temperature(out, 3, "Reference Temperature", v.u8(1));
}

void parse_self_test(uint16_t code, ByteReader& v, SmartReading& out) {
  if (code != 1 || !v.has(0, 4)) return;  // parameter 1 is the newest
  uint8_t b = v.u8(0);
  bool empty = b == 0 && v.u8(1) == 0 && v.be16(2) == 0;
  out.test_status = empty ? PD_SMART_TEST_DONE : ata_code_of(b & 0x0f);
  // Progress of a running test is not in the log; it is not known here.
  out.test_progress = out.test_status == PD_SMART_TEST_IN_PROGRESS ? -1 : 100;
}

void parse_counter(uint16_t code, ByteReader& v, unsigned id, const char* name, SmartReading& out) {
  // Parameter 6: total uncorrected errors, a counter of the length the disk gives.
  if (code != 6 || v.size() == 0 || v.size() > 8) return;
  out.add(id, name, v.be(0, v.size()));
}

}  // namespace

std::vector<uint8_t> scsi_parse_supported_logs(const uint8_t* page, size_t len) {
  ByteReader r(page, len);
  std::vector<uint8_t> pages;
  if (!r.has(0, 4) || (r.u8(0) & 0x3f) != kLogSupported) return pages;
  size_t end = 4 + static_cast<size_t>(r.be16(2));
  for (size_t at = 4; at < end && at < len; ++at) pages.push_back(r.u8(at) & 0x3f);
  return pages;
}

bool scsi_parse_log_page(uint8_t page_code, const uint8_t* page, size_t len, SmartReading& out) {
  return each_parameter(page, len, page_code, [&](uint16_t code, ByteReader& v) {
    switch (page_code) {
      case kLogInfoExceptions: return parse_ie(code, v, out);
      case kLogTemperature: return parse_temperature(code, v, out);
      case kLogSelfTest: return parse_self_test(code, v, out);
      case kLogReadErrors: return parse_counter(code, v, 5, "Read Uncorrected Errors", out);
      case kLogWriteErrors: return parse_counter(code, v, 6, "Write Uncorrected Errors", out);
      case kLogBackgroundScan:
        // Parameter 0: accumulated power-on minutes.
        if (code == 0 && v.has(0, 4)) out.add(4, "Power On Hours", v.be32(0) / 60);
        return;
      default: return;
    }
  });
}

int scsi_parse_extended_test_minutes(const uint8_t* data, size_t len) {
  ByteReader r(data, len);
  if (!r.has(0, 4)) return -1;
  size_t page = 4 + static_cast<size_t>(r.u8(3));  // past the block descriptors
  if (!r.has(page, 12) || (r.u8(page) & 0x3f) != 0x0a) return -1;
  unsigned seconds = r.be16(page + 10);
  return static_cast<int>((seconds + 59) / 60);
}

int scsi_power_mode_from_sense(const uint8_t* data, size_t len) {
  SenseFields f = sense_fields(data, len);
  if (!f.valid) return -1;
  // LOW POWER CONDITION ON: standby by timer or command, standby_y by timer or command.
  if (f.asc == 0x5e && (f.ascq == 0x02 || f.ascq == 0x04 || f.ascq == 0x09 || f.ascq == 0x0a))
    return 0;
  // A stopped unit (NOT READY, initializing command required) would spin up for a read.
  if (f.key == 0x02 && f.asc == 0x04 && f.ascq == 0x02) return 0;
  return 1;
}

}  // namespace bayhal
