#include "tools/hal_tool/monitor_readings.h"

#include "tools/hal_tool/openmetrics_text.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

void add(void* arg, const BAYHAL_TOOL_SENSOR* s) {
  static_cast<std::vector<Sensor>*>(arg)->push_back(
      {s->kind, s->name, s->index, s->rc, s->celsius, s->rpm, s->status, s->pwm_rc, s->pwm, s->level});
}

struct Family {
  const char* name;
  const char* unit;  // nullptr: none
  const char* help;
  const char* kind;  // the sensors it has a sample of
  // The sample's value; false when the sensor gives none.
  bool (*value)(const Sensor&, double&);
};

const Family kFamilies[] = {
    {"bayhal_temperature_celsius", "celsius", "Temperature of a board sensor.", "temperature",
     [](const Sensor& s, double& v) { return v = s.celsius, s.rc == 0; }},
    {"bayhal_region_temperature_celsius", "celsius",
     "Average temperature of a region's sensors (index: the region from 0).", "region",
     [](const Sensor& s, double& v) { return v = s.celsius, s.rc == 0; }},
    {"bayhal_fan_speed_rpm", "rpm", "Fan speed.", "fan",
     [](const Sensor& s, double& v) { return v = s.rpm, s.rc == 0; }},
    {"bayhal_fan_failed", nullptr, "1 when the fan is driven but does not turn.", "fan",
     [](const Sensor& s, double& v) { return v = s.status == 1 ? 1 : 0, s.rc == 0; }},
    {"bayhal_fan_pwm", nullptr, "Fan PWM duty, 0-255.", "fan",
     [](const Sensor& s, double& v) { return v = s.pwm, s.pwm_rc == 0; }},
    {"bayhal_fan_level", nullptr, "The fan level (0-8) whose PWM the fan runs at.", "fan",
     [](const Sensor& s, double& v) { return v = s.level, s.pwm_rc == 0 && s.level >= 0; }},
    {"bayhal_power_supply_good", nullptr, "1 when the power supply reports power good.",
     "power supply", [](const Sensor& s, double& v) { return v = s.status == 0 ? 1 : 0, s.rc == 0; }},
};

void labels(std::string& out, const std::string& enc, const Sensor& s, const char* kind = nullptr) {
  out += "{enclosure=\"" + enc + "\"";
  if (kind != nullptr) out += std::string(",kind=\"") + kind + "\"";
  out += ",index=\"" + std::to_string(s.index) + "\",name=\"";
  om_escaped(out, s.name);
  out += "\"}";
}

}  // namespace

std::optional<std::vector<Sensor>> read_sensors(int enc_id) {
  std::vector<Sensor> out;
  if (bayhal_tool_monitor(enc_id, add, &out) < 0) return std::nullopt;
  return out;
}

std::string openmetrics(int enc_id, const std::vector<Sensor>& sensors,
                        const std::vector<DiskHealth>& disks) {
  std::string out, enc = std::to_string(enc_id);
  out.reserve(256 + sensors.size() * 160);
  for (const Family& f : kFamilies) {
    om_header(out, f.name, f.unit, f.help);
    for (const Sensor& s : sensors) {
      double v = 0;
      if (s.kind != f.kind || !f.value(s, v)) continue;
      out += f.name;
      labels(out, enc, s);
      om_value(out, v);
    }
  }
  om_header(out, "bayhal_sensor_up", nullptr,
            "1 when the sensor was read, 0 when reading it failed (kind fan_pwm: the fan's PWM).");
  for (const Sensor& s : sensors) {
    out += "bayhal_sensor_up";
    labels(out, enc, s, s.kind.c_str());
    om_value(out, s.rc == 0 ? 1 : 0);
    if (s.kind == "fan" && s.index != 10 && s.index != 11) {
      out += "bayhal_sensor_up";
      labels(out, enc, s, "fan_pwm");
      om_value(out, s.pwm_rc == 0 ? 1 : 0);
    }
  }
  disk_openmetrics(out, enc, disks);
  out += "# EOF\n";
  return out;
}

}  // namespace hal_tool
