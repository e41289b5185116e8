// The self-encrypting-drive tool: one run at a time on the appliance, never through a
// shell, and whether it calls a device a SED.
#include <array>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/pd_sys.h"
#include "foundation/command_runner.h"
#include "ini/named_lock.h"

namespace bayhal {

namespace {

// The longest command the library builds: the option, three numbers, two secrets, the device.
constexpr size_t kMaxArgs = 8;

}  // namespace

int pd_sys_sed_command(const char* const* args, std::span<char> out, size_t* out_len) {
  if (out_len != nullptr) *out_len = 0;
  std::array<const char*, kMaxArgs + 2> argv{};
  argv[0] = kSedTool;
  for (size_t n = 0; args != nullptr && args[n] != nullptr; ++n) {
    if (n == kMaxArgs) return -1;
    argv[n + 1] = args[n];
  }
  ini::NamedLock lock(__func__, kSedLockFile, true);
  if (!lock.ok()) return -1;
  return runner().exec_secret(argv.data(), out, out_len);
}

int sed_is_support(const char* device) {
  if (device == nullptr || *device == 0) return 0;
  ERR_TRACE(HAL_TRACE_INFO, "%s %s %s %s\n", kSedTool, "--isValidSED", device, "2>/dev/null");
  std::array<char, 1024> out{};
  size_t len = 0;
  const char* args[] = {"--isValidSED", device, nullptr};
  if (pd_sys_sed_command(args, out, &len) < 0) return 0;
  std::string_view text(out.data(), len);
  if (text.find(" NO --- ") != std::string_view::npos) return 0;
  return text.find(" SED ") != std::string_view::npos ? 1 : 0;
}

int pd_sys_set_sed_capability(PD_INFO* info) {
  if (info == nullptr) return -1;
  if (sed_is_support(info->pd_ctrl_name))
    info->capabilities |= PD_CAP_SED;
  else
    info->capabilities &= ~PD_CAP_SED;
  return 0;
}

}  // namespace bayhal
