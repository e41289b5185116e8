// Everything the hardware monitor can read of the root board in one pass: the temperatures,
// the temperature regions, the fans (speed, status, PWM and the level that PWM is) and the
// power supplies the model description describes. hal_tool's temp, fan and metrics show it.
#pragma once
#include <string>
#include <vector>

namespace bayhal::board {

struct Reading {
  enum class Kind { kTemperature, kRegion, kFan, kSupply };
  Kind kind;
  int index;         // temperature or fan index, region from 0, supply 1 or 2
  std::string name;  // "CPU 1", "system 2", "region 1 fan 3", a region's REGION_NAME, ...
  int rc = -1;       // the reading's result: 0, or the failure
  double celsius = 0;
  unsigned rpm = 0;
  int status = 0;    // fans: 0 running, 1 failed; supplies: 0 good, -1 failed
  int pwm_rc = -1;   // fans: the PWM reading's result (supply fans have none: -1)
  int pwm = -1;
  int level = -1;    // the fan level whose PWM that is (within the chip's rounding), or -1
};

// The sensors are chosen once per process (reset_board_caches forgets them), the readings
// taken now. Empty for anything but "root".
std::vector<Reading> read_board(const char* enc_sys_id);

void reset_board_readings();

}  // namespace bayhal::board
