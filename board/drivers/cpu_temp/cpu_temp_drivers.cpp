// CPU temperatures the kernel already reads: the digital thermal sensors through the coretemp
// hardware monitor, and the thermal zones. Both answer in millidegrees; the board speaks
// whole degrees.
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "board/drivers/families.h"
#include "foundation/sysfs.h"

namespace bayhal::board {
namespace {

constexpr char kHwmon[] = "/sys/class/hwmon";

int millidegrees(const char* who, const std::string& path, double* celsius) {
  auto v = sysfs_read_int(path);
  if (!v) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", who, __LINE__);
    return -1;
  }
  *celsius = static_cast<int>(*v / 1000);
  return 0;
}

// The first coretemp monitor: the first package's sensors.
std::string coretemp_dir() {
  for (const std::string& entry : sysfs_list(kHwmon)) {
    std::string dir = std::string(kHwmon) + "/" + entry;
    if (sysfs_read(dir + "/name").value_or("") == "coretemp") return dir;
  }
  return {};
}

int cpu_sys_get_dts_temp(const Target& t, double* celsius) {
  std::string dir = coretemp_dir();
  if (dir.empty() || t.channel < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", __func__, __LINE__);
    return -1;
  }
  return millidegrees(__func__, dir + "/temp" + std::to_string(t.channel) + "_input", celsius);
}

int thermal_zone_get_temp(const Target& t, double* celsius) {
  if (t.channel < 0) return -1;
  return millidegrees(__func__,
                      "/sys/class/thermal/thermal_zone" + std::to_string(t.channel) + "/temp",
                      celsius);
}

}  // namespace

const Driver kDtsDriver{.name = "DTS", .get_temp = cpu_sys_get_dts_temp};
const Driver kThermalZoneDriver{.name = "THERMAL_ZONE", .get_temp = thermal_zone_get_temp};

}  // namespace bayhal::board
