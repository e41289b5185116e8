// pd_sys_check_rw_access: a disk is registered only once it has shown that it completes
// I/O. The kernel's per-device request and completion counters tell without sending a
// command of our own; a fresh disk gets three one-second chances to catch up.
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/pd_sys.h"
#include "enc_sys/enc_kind.h"
#include "foundation/clock.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal {

namespace {

constexpr long kBusyDiskRequests = 41;  // a disk that served this many requests answers I/O
constexpr long kPendingSlack = 3;       // requests still in flight that do not count as lost
constexpr int kTries = 3;
constexpr long kWaitMs = 1000;

bool starts_with(std::string_view s, std::string_view prefix) {
  return s.substr(0, prefix.size()) == prefix;
}

bool skips_check(std::string_view enc, std::string_view pd) {
  const EncKindRow* kind = enc_kind_of(enc);
  RwCheck rule = kind != nullptr ? kind->rw_check : RwCheck::kAlways;
  if (rule == RwCheck::kNever) return true;
  for (std::string_view p : {"virtual", "kxa4", "virtio", "vbd-"})
    if (starts_with(pd, p)) return true;
  if (pd.find(':') != std::string_view::npos) return true;
  // NVMe disks of the appliance itself, system and cache slots alike: NVMe has no SCSI
  // midlayer and so no request counters to read.
  return rule == RwCheck::kNotNvme && starts_with(pd, "nvme");
}

// The kernel writes these counters as "0x%x".
std::optional<long> read_counter(const std::string& dir, const char* name) {
  auto v = sysfs_read_int(dir + "/" + name);
  if (!v || *v < 0) return std::nullopt;
  return static_cast<long>(*v);
}

// The device folder that holds the counters: through the disk's SCSI generic node, or its
// block device when it has none (discovery then names the block device as its controller).
std::string counter_dir(const PD_INFO& info, std::string_view pd_sys_id) {
  std::string_view ctrl = text_of(info.pd_ctrl_name);
  if (size_t slash = ctrl.rfind('/'); slash != std::string_view::npos) ctrl = ctrl.substr(slash + 1);
  if (!ctrl.empty() && ctrl != pd_sys_id && ctrl.find("..") == std::string_view::npos)
    return "/sys/class/scsi_generic/" + std::string(ctrl) + "/device";
  return "/sys/block/" + std::string(pd_sys_id) + "/device";
}

}  // namespace

int pd_sys_check_rw_access(const char* enc_sys_id, const char* pd_sys_id, const PD_INFO* info) {
  std::string_view enc = enc_sys_id != nullptr ? enc_sys_id : "";
  std::string_view pd = pd_sys_id != nullptr ? pd_sys_id : "";
  if (info == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error.\n", __func__, __LINE__);
    return -1;
  }
  if (skips_check(enc, pd)) return 0;
  if (pd.empty() || pd.find('/') != std::string_view::npos) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error.\n", __func__, __LINE__);
    return -1;
  }
  std::string_view vendor = text_of(info->vendor);
  std::string_view model = text_of(info->model);
  if (starts_with(vendor, "ASMT") && info->capacity == 0) return -2;
  if (starts_with(vendor, "ASMT109x-") && starts_with(model, "Config")) {
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d): enc_sys_id %.*s, pd_sys_id %.*s. vendor %.*s, model %.*s.\n",
              __func__, __LINE__, static_cast<int>(enc.size()), enc.data(),
              static_cast<int>(pd.size()), pd.data(), static_cast<int>(vendor.size()),
              vendor.data(), static_cast<int>(model.size()), model.data());
    return -2;
  }
  std::string dir = counter_dir(*info, pd);
  auto requests = read_counter(dir, "iorequest_cnt");
  if (!requests) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't read %s/iorequest_cnt!\n", __func__, __LINE__,
              dir.c_str());
    return -1;
  }
  bool ok = *requests >= kBusyDiskRequests;
  for (int i = 0; !ok && i < kTries; ++i) {
    auto done = read_counter(dir, "iodone_cnt");
    if (!done) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't read %s/iodone_cnt!\n", __func__, __LINE__,
                dir.c_str());
      return -1;
    }
    ok = *done + kPendingSlack >= *requests;
    if (!ok) clock().sleep_ms(kWaitMs);
  }
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d):%.*s R/W access:%s\n", __func__, __LINE__,
            static_cast<int>(pd.size()), pd.data(), ok ? "OK" : "FAIL");
  return ok ? 0 : -1;
}

}  // namespace bayhal
