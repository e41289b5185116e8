// Block-device tuning: the request size limit and the command-timeout latency after attach,
// the queue depth around a locking change of a self-encrypting drive. All write sysfs
// attributes directly (under the system root) rather than through a shell, since the
// device name is kernel text.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/pd_sys.h"
#include "foundation/command_runner.h"
#include "foundation/sysfs.h"

namespace bayhal {

namespace {

std::string_view base_name(std::string_view path) {
  size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

bool safe_device_name(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

int write_attribute(const std::string& path, int value) {
  return sysfs_write(path, std::to_string(value) + "\n") ? 0 : -1;
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

int pd_sys_set_io_latency(const char* sys_name, int latency_ms) {
  std::string_view name = base_name(sys_name != nullptr ? sys_name : "");
  if (!safe_device_name(name)) return -1;
  return write_attribute("/sys/block/" + std::string(name) + "/device/varn_param_latency",
                         latency_ms);
}

int pd_sys_get_queue_depth(const char* sys_name) {
  std::string_view name = base_name(sys_name != nullptr ? sys_name : "");
  if (!safe_device_name(name)) return -1;
  auto depth = sysfs_read_int("/sys/block/" + std::string(name) + "/device/queue_depth");
  return depth && *depth > 0 && *depth <= 65535 ? static_cast<int>(*depth) : -1;
}

int pd_sys_set_queue_depth(const char* sys_name, int depth) {
  std::string_view name = base_name(sys_name != nullptr ? sys_name : "");
  if (!safe_device_name(name) || depth <= 0) return -1;
  return write_attribute("/sys/block/" + std::string(name) + "/device/queue_depth", depth);
}

}  // namespace bayhal
