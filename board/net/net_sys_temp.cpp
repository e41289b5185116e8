#include <string>

#include "bayhal/ERR_TRACE.h"
#include "board/net/net_sys.h"
#include "foundation/sysfs.h"

namespace bayhal {

int net_sys_get_temp(int nic, double* celsius) {
  if (celsius == nullptr) return -1;
  *celsius = 0.0;
  if (nic < 0) return -1;
  std::string dir = "/sys/class/net/eth" + std::to_string(nic) + "/device/hwmon";
  for (const std::string& hwmon : sysfs_list(dir)) {
    auto milli = sysfs_read_int(dir + "/" + hwmon + "/temp1_input");
    if (!milli) continue;
    *celsius = static_cast<double>(*milli / 1000);
    return 0;
  }
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", __func__, __LINE__);
  return -1;
}

}  // namespace bayhal
