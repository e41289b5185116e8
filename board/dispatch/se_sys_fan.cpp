// Fans: speed, status and PWM through the fan index map, and speed setting by level.
#include "bayhal/ERR_TRACE.h"
#include "board/dispatch/caches.h"
#include "board/dispatch/dispatch.h"
#include "board/dispatch/fan_levels.h"
#include "board/dispatch/se_sys.h"
#include "board/dispatch/se_sys_monitor.h"
#include "model/board_keys.h"

namespace bayhal::board {
namespace {

bool is_supply_fan(int index) { return index == 10 || index == 11; }

// The target of a resolved fan; false when its I2C device cannot be found.
bool fan_target(int index, Slot s, I2cReader reader, Target& t) {
  t.index = index;
  t.channel = s.channel;
  if (s.hm_type == kHmEc) t.channel = s.channel - 1;  // the EC numbers its fans from 0
  if (s.hm_type != kHmI2c) return true;
  t.i2c_bus = cached_i2c_bus(reader);
  t.i2c_addr = cached_i2c_addr(index == 10   ? I2cDevice::kSupply1
                               : index == 11 ? I2cDevice::kSupply2
                                             : I2cDevice::kFanUnit);
  return t.i2c_bus >= 0 && t.i2c_addr >= 0;
}

int root_get_fan_speed(int index, unsigned* rpm, int* status) {
  Slot s = cached_fan_slot(index);
  Target t;
  if (s.hm_type <= 0 || !fan_target(index, s, I2cReader::kFanSpeed, t)) return -1;
  Family f = family_of(s.hm_type);
  if (driver(f).get_fan_status == nullptr)
    return call_driver(__func__, f, &Driver::get_fan_speed, t, rpm, status);
  int rc = call_driver(__func__, f, &Driver::get_fan_status, t, status);
  if (rc != 0) return rc;
  int ignored = 0;
  rc = call_driver(__func__, f, &Driver::get_fan_speed, t, rpm, &ignored);
  if (rc == -1) *status = 1;
  return rc;
}

int root_get_fan_operate_pwm(int index, int* pwm) {
  if (is_supply_fan(index)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Cannot get POWER FAN PWM.\n", __func__, __LINE__);
    return -1;
  }
  Slot s = cached_fan_slot(index);
  Target t;
  if (s.hm_type <= 0 || !fan_target(index, s, I2cReader::kFanPwm, t)) return -1;
  return call_driver(__func__, family_of(s.hm_type), &Driver::get_fan_pwm, t, pwm);
}

bool takes_level(Family f) { return f == Family::kPic || f == Family::kMcu || f == Family::kEmcu; }

// The Super I/O and I2C fans all follow the system fans' table; the EC's fans their own.
LevelTable level_table(Family f, int index) {
  if (f == Family::kEc) return {fan_group(index), fan_region(index)};
  return {model::FanGroup::kSystem, 0};
}

int level_pwm(Family f, int index, int level) {
  LevelTable t = level_table(f, index);
  return fan_level_pwm(t.group, t.region, level);
}

int root_set_fan_speed(int index, int level) {
  Slot s = cached_fan_slot(index);
  Target t;
  if (s.hm_type <= 0 || !fan_target(index, s, I2cReader::kFanPwm, t)) return -1;
  Family f = family_of(s.hm_type);
  if (takes_level(f)) return call_driver(__func__, f, &Driver::set_fan_level, t, level);
  int pwm = level_pwm(f, index, level);
  if (pwm < 0) return -1;
  return call_driver(__func__, f, &Driver::set_fan_pwm, t, pwm);
}

int root_set_fan_pwm(int index, int pwm) {
  Slot s = cached_fan_slot(index);
  Target t;
  if (s.hm_type <= 0 || !fan_target(index, s, I2cReader::kFanPwm, t)) return -1;
  return call_driver(__func__, family_of(s.hm_type), &Driver::set_fan_pwm, t, pwm);
}

int root_set_all_fans(int level) {
  int rc = -1;
  for (int index : configured_fans()) rc = root_set_fan_speed(index, level);
  return rc;
}

}  // namespace

// System fans, CPU fans, then the regions left after those two groups, at most ten fans a
// region and only as far as the fan map reaches.
std::vector<int> configured_fans() {
  std::vector<int> out;
  int system = model::max_fan_num(), cpu = model::max_cpu_fan_num();
  for (int i = 0; i < system; ++i) out.push_back(i);
  for (int i = 0; i < cpu; ++i) out.push_back(6 + i);
  int regions = model::max_region_num() - (system != 0 ? 1 : 0) - (cpu != 0 ? 1 : 0);
  for (int r = 0; r < regions; ++r) {
    int fans = model::region_max_fan_num(r + 1);
    for (int k = 0; k < fans && k < 10; ++k) out.push_back(20 + 10 * r + k);
  }
  return out;
}

int se_sys_get_fan_speed(const char* enc_sys_id, int index, unsigned* rpm, int* status) {
  if (rpm == nullptr || status == nullptr) return -1;
  *rpm = 0;
  *status = 0;
  return dispatch(
      __func__, enc_sys_id, index, kAllBranches, Unknown::kNotImplement,
      [&] { return root_get_fan_speed(index, rpm, status); }, &Driver::get_fan_speed, rpm,
      status);
}

int se_sys_get_fan_pwm(const char* enc_sys_id, int index, int* pwm) {
  if (pwm == nullptr) return -1;
  *pwm = -1;
  return dispatch(
      __func__, enc_sys_id, index, UnitKind::kRoot | UnitKind::kTb | UnitKind::kZmc,
      Unknown::kNotImplement, [&] { return root_get_fan_operate_pwm(index, pwm); },
      &Driver::get_fan_pwm, pwm);
}

int se_sys_set_fan_speed(const char* enc_sys_id, int index, int level) {
  if (level < 0 || level >= kFanLevels) return -1;
  return dispatch(
      __func__, enc_sys_id, index, kAllBranches, Unknown::kNotImplementShort,
      [&] { return index == -1 ? root_set_all_fans(level) : root_set_fan_speed(index, level); },
      &Driver::set_fan_level, level);
}

int se_sys_set_fan_pwm(const char* enc_sys_id, int index, int pwm) {
  if (pwm < 0 || pwm > 255) return -1;
  return dispatch(
      __func__, enc_sys_id, index, kAllBranches, Unknown::kNotImplementShort,
      [&] { return root_set_fan_pwm(index, pwm); }, &Driver::set_fan_pwm, pwm);
}

int se_sys_get_fan_pwm_min_max(int region, int* min_pwm, int* max_pwm) {
  if (min_pwm == nullptr || max_pwm == nullptr) return -1;
  *min_pwm = *max_pwm = 0;
  if (region < 0 || region > 3) return -1;
  std::string section = region == 0   ? model::fan_section(model::FanGroup::kSystem)
                        : region == 1 ? model::fan_section(model::FanGroup::kCpu)
                                      : model::fan_section(model::FanGroup::kRegion, region - 1);
  auto lo = model::fan_min_pwm(section), hi = model::fan_max_pwm(section);
  if (!lo || !hi) return -1;
  *min_pwm = static_cast<int>(*lo);
  *max_pwm = static_cast<int>(*hi);
  return 0;
}

std::optional<LevelTable> se_sys_fan_level_table(int index) {
  Slot s = cached_fan_slot(index);
  if (s.hm_type <= 0) return std::nullopt;
  Family f = family_of(s.hm_type);
  if (takes_level(f)) return std::nullopt;
  return level_table(f, index);
}

int se_sys_ec_fan_index(int index) {
  Slot s = cached_fan_slot(index);
  return s.hm_type == kHmEc ? s.channel - 1 : -1;
}

}  // namespace bayhal::board
