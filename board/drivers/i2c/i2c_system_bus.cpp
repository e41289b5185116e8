#include "board/drivers/i2c/i2c_system_bus.h"

#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal::board {

int common_sys_get_system_i2c_num(const char* enc_sys_id) {
  if (enc_sys_id == nullptr || std::string_view(enc_sys_id) != "root") return -1;
  constexpr std::string_view kAdapters = "/sys/bus/i2c/devices";
  for (const std::string& entry : sysfs_list(kAdapters)) {
    int n = index_after(entry, "i2c-");
    if (n < 0) continue;
    auto name = sysfs_read(std::string(kAdapters) + "/" + entry + "/name");
    if (name && name->starts_with("SMBus")) return n;
  }
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): no SMBus adapter in %s\n", __func__, __LINE__,
            std::string(kAdapters).c_str());
  return -1;
}

}  // namespace bayhal::board
