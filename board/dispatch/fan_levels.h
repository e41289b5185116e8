// The fan level tables: level n (0..8) of a fan means the PWM of FAN_LEVEL_<n> in the fan's
// section. Read once per process and kept per level; an entry of 0 is read again.
#pragma once
#include "model/board_keys.h"

namespace bayhal::board {

inline constexpr int kFanLevels = 9;

// The PWM of `level` in the table of `group` (region 1 or 2 for region fans); -1 (traced)
// when the model description gives none.
int fan_level_pwm(model::FanGroup group, int region, int level);

void reset_fan_levels();

}  // namespace bayhal::board
