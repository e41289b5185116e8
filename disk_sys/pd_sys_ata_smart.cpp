// ATA SMART through ATA PASS-THROUGH(16): the three SMART commands, the self-tests and the
// power mode.
#include <cerrno>
#include <cstring>

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/ata_smart.h"
#include "disk_sys/device_commands.h"
#include "disk_sys/pd_sys_smart.h"
#include "enc_sys/enc_kind.h"
#include "foundation/err_trace.h"
#include "foundation/pending.h"

namespace bayhal {
namespace {

constexpr unsigned kTraceEntries = 8;

enum class Smart { kReadData, kReadThresholds, kReturnStatus };

// The CDB of one of the three commands: all bytes 0 but these.
DeviceCommand smart_command(Smart which, uint8_t* page) {
  DeviceCommand cmd;
  cmd.cdb_len = 16;
  cmd.cdb[0] = 0x85;
  bool data = which != Smart::kReturnStatus;
  cmd.cdb[1] = data ? 0x08 : 0x06;  // PIO data-in / non-data
  cmd.cdb[2] = data ? 0x0e : 0x20;  // from device, length in blocks of the sector count / CK_COND
  cmd.cdb[4] = which == Smart::kReadData ? 0xd0 : which == Smart::kReadThresholds ? 0xd1 : 0xda;
  cmd.cdb[6] = data ? 1 : 0;
  cmd.cdb[10] = 0x4f;
  cmd.cdb[12] = 0xc2;
  cmd.cdb[14] = 0xb0;
  if (data) {
    cmd.dir = XferDir::kFromDevice;
    cmd.data = page;
    cmd.data_len = kAtaSmartPageSize;
  }
  return cmd;
}

// One request: it succeeds when it was delivered, the host status is 0 and the driver status
// 0 or 8 (sense attached, as pass-through reports it). A page that did not arrive at all is
// no page either.
bool request(const std::string& dev, DeviceCommand& cmd) {
  int rc = device_command(dev, cmd);
  if (rc != 0) {
    ERR_TRACE(1, "%s(%d): System internal error.errno = %d\n", __func__, __LINE__, -rc);
    return false;
  }
  if (cmd.host_status != 0 || (cmd.driver_status != 0 && cmd.driver_status != 8) ||
      (cmd.dir == XferDir::kFromDevice && cmd.transferred() == 0)) {
    ERR_TRACE(1, "%s(%d): Status Error, status 0x%x, host status 0x%x, driver status 0x%x\n",
              __func__, __LINE__, cmd.status, cmd.host_status, cmd.driver_status);
    return false;
  }
  return true;
}

int read_page(const std::string& dev, Smart which, uint8_t* page) {
  DeviceCommand cmd = smart_command(which, page);
  if (!request(dev, cmd)) return -1;
  uint32_t got = cmd.transferred();
  if (got < kAtaSmartPageSize) std::memset(page + got, 0, kAtaSmartPageSize - got);  // what did not arrive reads as 0
  return 0;
}

bool is_raid_enclosure(const char* enc_sys_id) {
  return enc_sys_id != nullptr && enc_is(enc_sys_id, EncKind::kPx);
}

// The direct path: up to `size` slots into `list` (room for min(size, 30)); the number of
// entries or -1, the verdict and self-test state into `state`, the data page into `data`.
int read_ata(const char* enc_sys_id, const char* pd_sys_id, int size, PD_SMART_ATTR* list,
             SmartReading& state, uint8_t (&data)[kAtaSmartPageSize]) {
  if (is_raid_enclosure(enc_sys_id)) return not_implemented("pd_sys_get_ata_smart", __LINE__, enc_sys_id);
  if (pd_sys_id == nullptr || *pd_sys_id == '\0') return -1;
  std::string dev = std::string("/dev/") + pd_sys_id;
  uint8_t thresholds[kAtaSmartPageSize];
  if (get_ata_smart_value(dev, data) != 0) return -1;
  state.type = PD_SMART_TYPE_ATA;
  state.verdict = get_ata_smart_status(dev);
  if (state.verdict < 0)
    ERR_TRACE(1, "%s(%d): pd_sys_id = %s: System Internal Error\n", __func__, __LINE__, pd_sys_id);
  if (get_ata_smart_threshold(dev, thresholds) != 0) return -1;
  int n = ata_smart_decode(data, sizeof data, thresholds, sizeof thresholds, size, 0, list);
  ata_smart_decode_self_test(data, state);
  // The caller's own trace has just brought the mask up to date: no second look at the
  // control file for the detail lines.
  if (trace_mask() & kTraceEntries)
    for (int k = 0; k < n; ++k)
      ERR_TRACE(kTraceEntries,
                "%s(%d): id = %d, name = %s, status_flag = 0x%x, value = %d,worst = %d, thresh = %d,raw = %llu\n",
                __func__, __LINE__, list[k].id, list[k].name, list[k].status_flag, list[k].value,
                list[k].worst, list[k].thresh, list[k].raw);
  return n > 0 ? n : -1;
}

}  // namespace

int get_ata_smart_value(const std::string& dev, uint8_t* page) {
  return read_page(dev, Smart::kReadData, page);
}

int get_ata_smart_threshold(const std::string& dev, uint8_t* page) {
  return read_page(dev, Smart::kReadThresholds, page);
}

int get_ata_smart_status(const std::string& dev) {
  DeviceCommand cmd = smart_command(Smart::kReturnStatus, nullptr);
  if (!request(dev, cmd)) return -1;
  return ata_smart_status_from_sense(cmd.sense, cmd.sense_len);
}

int pd_sys_get_ata_smart(const char* enc_sys_id, const char* pd_sys_id, int* verdict,
                         PD_SMART_ATTR* list, int size, int* test_status, int* test_progress,
                         int* short_minutes, int* extended_minutes) {
  if (list == nullptr || size <= 0) return -1;
  SmartReading r;
  uint8_t data[kAtaSmartPageSize];
  int n = read_ata(enc_sys_id, pd_sys_id, size, list, r, data);
  if (verdict) *verdict = r.verdict;
  if (test_status) *test_status = r.test_status;
  if (test_progress) *test_progress = r.test_progress;
  if (short_minutes) *short_minutes = r.short_minutes;
  if (extended_minutes) *extended_minutes = r.extended_minutes;
  return n;
}

int pd_sys_read_ata_smart(const char* enc_sys_id, const char* pd_sys_id, int size, SmartReading& out) {
  if (size <= 0) return -1;
  PD_SMART_ATTR list[kAtaSmartSlots];
  uint8_t data[kAtaSmartPageSize];
  int n = read_ata(enc_sys_id, pd_sys_id, size, list, out, data);
  out.attrs.clear();
  if (n <= 0) return -1;
  out.attrs.assign(list, list + n);
  ata_smart_decode_extras(data, out);
  return 0;
}

int pd_sys_set_ata_self_test(const char* enc_sys_id, const char* pd_sys_id, int mode) {
  if (is_raid_enclosure(enc_sys_id)) return not_implemented(__func__, __LINE__, enc_sys_id);
  if (mode != PD_SELF_TEST_SHORT && mode != PD_SELF_TEST_EXTENDED && mode != PD_SELF_TEST_ABORT)
    return -1;
  AtaTaskfile tf;
  tf.command = 0xb0;
  tf.features = 0xd4;  // EXECUTE OFF-LINE IMMEDIATE, off-line mode
  tf.lba_low = static_cast<uint8_t>(mode);
  tf.lba_mid = 0x4f;
  tf.lba_high = 0xc2;
  return ata_pass_through(std::string("/dev/") + pd_sys_id, tf, XferDir::kNone, nullptr, 0);
}

int pd_sys_get_ata_power_mode(const char* pd_sys_id) {
  AtaTaskfile tf;
  tf.command = 0xe5;  // CHECK POWER MODE: answered without touching the media
  DeviceCommand cmd;
  if (ata_pass_through(std::string("/dev/") + pd_sys_id, tf, XferDir::kNone, nullptr, 0, &cmd) != 0)
    return -1;
  return ata_power_mode_from_sense(cmd.sense, cmd.sense_len);
}

}  // namespace bayhal
