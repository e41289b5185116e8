// The per-process answers of stage 2, filled on first use and never invalidated: a change of
// the model description reaches a process only when it restarts. A slot that once failed to
// resolve is remembered as unsupported and never tried again.
#pragma once
#include "board/dispatch/resolve.h"

namespace bayhal::board {

Slot cached_temp_slot(int index);
Slot cached_fan_slot(int index);

// The board's I2C bus, one cache per reader; -1 when it cannot be found.
enum class I2cReader : int { kTemp, kFanPwm, kFanSpeed, kPowerSupply, kCount };
int cached_i2c_bus(I2cReader reader);

// The I2C device address of a supply's REDUNDANT_POWER_<n>, of ENV_TEMP_UNIT and of the
// system fans' FAN_UNIT; -1 when the value carries none.
enum class I2cDevice : int { kSupply1, kSupply2, kEnvSensor, kFanUnit, kCount };
int cached_i2c_addr(I2cDevice device);

// SYS_TEMP_MONITOR_BITMAP of "System Temp Region <region>" (from 1); nullopt when absent.
std::optional<long long> cached_region_bitmap(int region);

// The chip of the reset and USB copy buttons and of each supply's status, as selected.
Selection cached_function(Function f);

// Forgets every answer, as a new process would start; for tests and tools only.
void reset_board_caches();

}  // namespace bayhal::board
