// The hardware monitor's readings of one enclosure (bayhal_tool_monitor), shared by hal_tool
// temp, fan and metrics, and the OpenMetrics text of them with the disks' health.
#pragma once
#include <optional>
#include <string>
#include <vector>

#include "tools/hal_tool/disk_metrics.h"

namespace hal_tool {

struct Sensor {
  std::string kind;  // "temperature", "region", "fan", "power supply"
  std::string name;
  int index = -1, rc = -1;
  double celsius = 0;
  unsigned rpm = 0;
  int status = 0, pwm_rc = -1, pwm = -1, level = -1;
};

// nullopt when the enclosure is not registered.
std::optional<std::vector<Sensor>> read_sensors(int enc_id);

// The OpenMetrics exposition (text format 1.0.0): one gauge family per kind, labels
// enclosure, index and name, nothing for a sensor that failed, bayhal_sensor_up for every
// sensor, then the disks' families (disk_metrics.h), "# EOF" last.
std::string openmetrics(int enc_id, const std::vector<Sensor>& sensors,
                        const std::vector<DiskHealth>& disks = {});

}  // namespace hal_tool
