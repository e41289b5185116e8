// Linux GPIO lines of the board's GPIO chip, through the GPIO seam (the GPIO character
// device): buttons pull their line low when pressed; a supply's power-good line is high
// while it delivers.
#include "bayhal/ERR_TRACE.h"
#include "board/drivers/families.h"
#include "transport/gpio_lines.h"

namespace bayhal::board {
namespace {

constexpr char kBoardChip[] = "/dev/gpiochip0";

int read_line(const char* who, const Target& t, bool active_low, int* value) {
  if (t.channel < 0) return -1;
  int rc = gpio_lines().get_value(kBoardChip, static_cast<unsigned>(t.channel), active_low, value);
  if (rc < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", who, __LINE__);
    return -1;
  }
  return 0;
}

int common_sys_get_gpiolib_button(const Target& t, Button, int* pressed) {
  return read_line(__func__, t, true, pressed);
}

int common_sys_get_gpiolib_power(const Target& t, int* status) {
  int good = 0;
  if (read_line(__func__, t, false, &good) < 0) return -1;
  *status = good ? 0 : -1;
  return 0;
}

}  // namespace

const Driver kGpioDriver{
    .name = "GPIO",
    .get_button = common_sys_get_gpiolib_button,
    .get_power_supply_status = common_sys_get_gpiolib_power,
};

}  // namespace bayhal::board
