#include "board/dispatch/fan_levels.h"

#include <array>
#include <atomic>

#include "bayhal/ERR_TRACE.h"

namespace bayhal::board {
namespace {

// System, CPU, region 1, region 2.
std::array<std::array<std::atomic<int>, kFanLevels>, 4> g_pwm{};

size_t table_of(model::FanGroup group, int region) {
  if (group == model::FanGroup::kSystem) return 0;
  if (group == model::FanGroup::kCpu) return 1;
  return region == 2 ? 3 : 2;
}

}  // namespace

int fan_level_pwm(model::FanGroup group, int region, int level) {
  if (level < 0 || level >= kFanLevels) return -1;
  auto& entry = g_pwm[table_of(group, region)][static_cast<size_t>(level)];
  if (int pwm = entry.load(std::memory_order_relaxed); pwm != 0) return pwm;
  std::string section = model::fan_section(group, region);
  auto pwm = model::fan_level_pwm(section, level);
  if (!pwm || *pwm < 0 || *pwm > 255) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): no PWM for FAN_LEVEL_%d in [%s]\n", __func__, __LINE__,
              level, section.c_str());
    return -1;
  }
  entry.store(static_cast<int>(*pwm), std::memory_order_relaxed);
  return static_cast<int>(*pwm);
}

void reset_fan_levels() {
  for (auto& table : g_pwm)
    for (auto& e : table) e.store(0);
}

}  // namespace bayhal::board
