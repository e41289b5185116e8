// Block-device tuning after attach: the command-timeout latency of ATA disks and the
// request size limit. Both write sysfs attributes directly (under the system root) rather
// than through a shell, since the device name is kernel text.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/pd_attach.h"
#include "disk/pd_fields.h"
#include "enc_sys/enc_kind.h"
#include "foundation/command_runner.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"
#include "foundation/unique_fd.h"

namespace bayhal {

namespace {

constexpr int kSsdLatency = 300;
constexpr int kHddLatency = 1000;

std::string_view base_name(std::string_view path) {
  size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

bool safe_device_name(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

int write_attribute(const std::string& path, int value) {
  UniqueFd fd(::open(SysPath(path).c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
  if (!fd) return -1;
  std::string text = std::to_string(value) + "\n";
  return ::write(fd.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : -1;
}

}  // namespace

int pd_sys_set_device_queue(const char* sys_name) {
  std::string_view name = base_name(sys_name != nullptr ? sys_name : "");
  if (!safe_device_name(name)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): invalid device %s!\n", __func__, __LINE__,
              sys_name != nullptr ? sys_name : "(null)");
    return -1;
  }
  std::string out;
  int status = runner().shell_read("/sbin/syscfg -g Limitation HDD_MAX_SECTORS_KB 2>/dev/null", out);
  if (status == -1) return -1;
  int limit = std::atoi(out.c_str());
  if (limit <= 0) return -1;
  std::string path = "/sys/block/" + std::string(name) + "/queue/max_sectors_kb";
  ERR_TRACE(HAL_TRACE_INFO, "%s: /bin/echo %d >%s\n", __func__, limit, path.c_str());
  return write_attribute(path, limit);
}

}  // namespace bayhal

BAYHAL_EXPORT int PD_Set_ATA_IO_Latency(const PD_INFO* info) {
  if (info == nullptr || info->type != PD_TYPE_ATA) return -1;
  std::string_view model = bayhal::disk::text_of(info->model);
  std::string_view enc = bayhal::disk::text_of(info->enc_sys_id);
  std::string sys_name(bayhal::disk::text_of(info->pd_sys_name));
  if (model.substr(0, 4) == "BKT-") {
    ERR_TRACE(HAL_TRACE_WARN, "%s: %s not support BKT \n", __func__, sys_name.c_str());
    return -1;
  }
  if (bayhal::enc_is(enc, bayhal::EncKind::kPx)) {
    ERR_TRACE(HAL_TRACE_WARN, "%s: %s not support PX \n", __func__, sys_name.c_str());
    return -1;
  }
  std::string_view name = bayhal::base_name(sys_name);
  if (!bayhal::safe_device_name(name)) return -1;
  std::string enc_text(enc);
  ERR_TRACE(HAL_TRACE_ENTRY, "set pd latency:(%s, %s)\n", enc_text.c_str(), sys_name.c_str());
  int latency = (info->capabilities & PD_CAP_SSD) ? bayhal::kSsdLatency : bayhal::kHddLatency;
  return bayhal::write_attribute(
      "/sys/block/" + std::string(name) + "/device/varn_param_latency", latency);
}
