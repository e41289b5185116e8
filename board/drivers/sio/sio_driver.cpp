// The Super I/O family's table: sensors and fans by their hwmon channel, LEDs, buttons and
// supplies by the pin their "System IO" value names ("SIO:52" is GP52), power recovery by
// the chip's own register.
#include <optional>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "board/drivers/families.h"
#include "board/drivers/sio/sio.h"
#include "model/board_keys.h"

namespace bayhal::board {
namespace {

// The pin behind "SIO:<pin>" (case as written: "sio" names no chip here).
std::optional<int> pin_of(std::string_view unit) {
  if (!unit.starts_with("SIO")) return std::nullopt;
  size_t colon = unit.find(':');
  if (colon == std::string_view::npos || colon + 1 >= unit.size() || unit.size() - colon > 3)
    return std::nullopt;
  int pin = 0;
  for (char c : unit.substr(colon + 1)) {
    if (c < '0' || c > '9') return std::nullopt;
    pin = pin * 10 + (c - '0');
  }
  return pin;
}

int no_pin(const char* who, std::string_view unit) {
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): conf_val = %.*s not implement.\n", who, __LINE__,
            static_cast<int>(unit.size()), unit.data());
  return -1;
}

int drive(const char* who, std::string_view unit, int on) {
  auto pin = pin_of(unit);
  return pin ? sio_sys_set_gpio_val(*pin, on ? 1 : 0) : no_pin(who, unit);
}

// Blinking hands the pin to a blink engine; stopping takes it back as a pin, switched off.
int blink(const char* who, std::string_view unit, int on, int engine) {
  auto pin = pin_of(unit);
  if (!pin) return no_pin(who, unit);
  return on ? sio_sys_blink_gpio(*pin, engine) : sio_sys_set_gpio_val(*pin, 0);
}

int get_temp(const Target& t, double* celsius) { return sio_sys_get_temperature(t.channel, celsius); }
int get_fan_speed(const Target& t, unsigned* rpm, int* status) {
  return sio_sys_get_fan_speed(t.channel, rpm, status);
}
int get_fan_pwm(const Target& t, int* pwm) { return sio_sys_get_fan_pwm(t.channel, pwm); }
int set_fan_pwm(const Target& t, int pwm) { return sio_sys_set_fan_pwm(t.channel, pwm); }

int set_status_led(const Target& t, int, int on) { return drive(__func__, t.unit, on); }

// Both LEDs blink on the two engines: red (whose value the dispatch hands over) on the
// first, green on the second.
int blink_status_led(const Target& t, int led, int on) {
  if (led != 2) return blink(__func__, t.unit, on, 1);
  auto green = model::board_key(model::BoardKey::kStatusGreenLed);
  int red_rc = blink(__func__, t.unit, on, 1);
  int green_rc = blink(__func__, green.value_or(""), on, 2);
  return red_rc == 0 && green_rc == 0 ? 0 : -1;
}

int set_led(const Target& t, Led, int on) { return drive(__func__, t.unit, on); }
int blink_led(const Target& t, Led, int on) { return blink(__func__, t.unit, on, 1); }

int get_button(const Target& t, Button, int* pressed) {
  auto pin = pin_of(t.unit);
  return pin ? sio_sys_get_gpio_val(*pin, pressed) : no_pin(__func__, t.unit);
}

// A supply's power-good line is high while the supply is good.
int get_power_supply_status(const Target& t, int* status) {
  auto pin = pin_of(t.unit);
  if (!pin) return no_pin(__func__, t.unit);
  int low = 0;
  if (int rc = sio_sys_get_gpio_val(*pin, &low); rc != 0) return rc;
  *status = low ? -1 : 0;
  return 0;
}

int get_power_recovery(const Target&, int* mode) { return sio_sys_get_power_recovery_mode(mode); }
int set_power_recovery(const Target&, int mode) { return sio_sys_set_power_recovery_mode(mode); }

}  // namespace

const Driver kSioDriver{
    .name = "SIO",
    .get_temp = get_temp,
    .get_fan_speed = get_fan_speed,
    .get_fan_pwm = get_fan_pwm,
    .set_fan_pwm = set_fan_pwm,
    .set_status_led = set_status_led,
    .blink_status_led = blink_status_led,
    .set_led = set_led,
    .blink_led = blink_led,
    .get_button = get_button,
    .get_power_supply_status = get_power_supply_status,
    .get_power_recovery = get_power_recovery,
    .set_power_recovery = set_power_recovery,
};

}  // namespace bayhal::board
