// NVMe and SAS health through their standard commands, SAS power conditions, and the
// table of readers by disk type.
#include <string>
#include <vector>

#include "disk_sys/device_commands.h"
#include "disk_sys/nvme_health.h"
#include "disk_sys/nvme_identify.h"
#include "disk_sys/pd_sys_smart.h"
#include "disk_sys/scsi_health.h"

namespace bayhal {
namespace {

constexpr uint32_t kAllNamespaces = 0xffffffffu;
constexpr int kNvmeShortMinutes = 2;  // the short test's limit in the NVMe standard

std::string node(const char* pd_sys_id) { return std::string("/dev/") + (pd_sys_id ? pd_sys_id : ""); }

bool named(const char* pd_sys_id) { return pd_sys_id != nullptr && *pd_sys_id != '\0'; }

// The pages read from a SAS disk, when it lists them.
constexpr uint8_t kSasPages[] = {kLogInfoExceptions, kLogTemperature, kLogBackgroundScan,
                                 kLogReadErrors,     kLogWriteErrors, kLogSelfTest};

}  // namespace

int pd_sys_get_nvme_smart(const char*, const char* pd_sys_id, int size, SmartReading& out) {
  if (!named(pd_sys_id)) return -1;
  std::string dev = node(pd_sys_id);
  std::vector<uint8_t> buf(4096);
  out.type = PD_SMART_TYPE_NVME;
  if (nvme_get_log_page(dev, 0x02, kAllNamespaces, buf.data(), kNvmeHealthLogSize) != 0 ||
      !nvme_parse_health_log(buf.data(), kNvmeHealthLogSize, out))
    return -1;
  NvmeController ctrl;
  if (nvme_identify(dev, 1, 0, buf.data()) == 0 &&
      nvme_parse_identify_ctrl(buf.data(), buf.size(), ctrl) && (ctrl.oacs & kNvmeOacsSelfTest)) {
    out.short_minutes = kNvmeShortMinutes;
    out.extended_minutes = ctrl.edstt > 0 ? ctrl.edstt : -1;
    if (nvme_get_log_page(dev, 0x06, kAllNamespaces, buf.data(), kNvmeSelfTestLogSize) == 0)
      nvme_parse_self_test_log(buf.data(), kNvmeSelfTestLogSize, out);
  }
  out.keep(size);
  return 0;
}

int pd_sys_get_sas_smart(const char*, const char* pd_sys_id, int size, SmartReading& out) {
  if (!named(pd_sys_id)) return -1;
  std::string dev = node(pd_sys_id);
  std::vector<uint8_t> buf(1024);
  size_t got = 0;
  if (scsi_log_sense(dev, kLogSupported, buf.data(), static_cast<uint16_t>(buf.size()), &got) != 0)
    return -1;
  std::vector<uint8_t> listed = scsi_parse_supported_logs(buf.data(), got);
  out.type = PD_SMART_TYPE_SAS;
  for (uint8_t page : kSasPages) {
    bool has = false;
    for (uint8_t p : listed) has = has || p == page;
    if (has && scsi_log_sense(dev, page, buf.data(), static_cast<uint16_t>(buf.size()), &got) == 0)
      scsi_parse_log_page(page, buf.data(), got, out);
  }
  if (scsi_mode_sense6(dev, 0x0a, buf.data(), 255, &got) == 0)
    out.extended_minutes = scsi_parse_extended_test_minutes(buf.data(), got);
  out.keep(size);
  return out.attrs.empty() ? -1 : 0;
}

int pd_sys_set_sas_self_test(const char*, const char* pd_sys_id, int mode) {
  uint8_t code = mode == PD_SELF_TEST_SHORT      ? 1
                 : mode == PD_SELF_TEST_EXTENDED ? 2
                 : mode == PD_SELF_TEST_ABORT    ? 4
                                                 : 0;
  if (code == 0 || !named(pd_sys_id)) return -1;
  return scsi_send_diagnostic(node(pd_sys_id), code);
}

int pd_sys_set_nvme_self_test(const char*, const char* pd_sys_id, int mode) {
  uint8_t stc = mode == PD_SELF_TEST_SHORT      ? 0x1
                : mode == PD_SELF_TEST_EXTENDED ? 0x2
                : mode == PD_SELF_TEST_ABORT    ? 0xf
                                                : 0;
  if (stc == 0 || !named(pd_sys_id)) return -1;
  return nvme_device_self_test(node(pd_sys_id), kAllNamespaces, stc);
}

int pd_sys_get_scsi_power_mode(const char* pd_sys_id) {
  uint8_t sense[64] = {};
  size_t got = 0;
  if (!named(pd_sys_id) || scsi_request_sense(node(pd_sys_id), sense, sizeof sense, &got) != 0)
    return -1;
  return scsi_power_mode_from_sense(sense, got);
}

namespace {

// The readers of one disk type.
struct HealthReader {
  int type;
  int (*read)(const char* enc_sys_id, const char* pd_sys_id, int size, SmartReading& out);
  int (*self_test)(const char* enc_sys_id, const char* pd_sys_id, int mode);
  int (*power_mode)(const char* pd_sys_id);  // nullptr: nothing to spin up
};

constexpr HealthReader kReaders[] = {
    {PD_SMART_TYPE_ATA, pd_sys_read_ata_smart, pd_sys_set_ata_self_test, pd_sys_get_ata_power_mode},
    {PD_SMART_TYPE_SAS, pd_sys_get_sas_smart, pd_sys_set_sas_self_test, pd_sys_get_scsi_power_mode},
    {PD_SMART_TYPE_NVME, pd_sys_get_nvme_smart, pd_sys_set_nvme_self_test, nullptr},
};

const HealthReader* reader_of(int type) {
  for (const HealthReader& r : kReaders)
    if (r.type == type) return &r;
  return nullptr;
}

}  // namespace

int pd_sys_health_power_mode(int type, const char* pd_sys_id) {
  const HealthReader* r = reader_of(type);
  return r == nullptr ? -2 : r->power_mode ? r->power_mode(pd_sys_id) : 1;
}

int pd_sys_health_read(int type, const char* enc_sys_id, const char* pd_sys_id, int size,
                       SmartReading& out) {
  const HealthReader* r = reader_of(type);
  return r ? r->read(enc_sys_id, pd_sys_id, size, out) : -2;
}

int pd_sys_health_self_test(int type, const char* enc_sys_id, const char* pd_sys_id, int mode) {
  const HealthReader* r = reader_of(type);
  return r ? r->self_test(enc_sys_id, pd_sys_id, mode) : -2;
}

}  // namespace bayhal
