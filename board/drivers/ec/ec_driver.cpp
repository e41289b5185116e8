// The embedded controller's table: every board function the controller's register map
// carries. The dispatch hands temperatures over by board index and fans by the controller's
// own fan index (docs/board.md).
#include "bayhal/ERR_TRACE.h"
#include "board/drivers/ec/ec.h"
#include "board/drivers/families.h"

namespace bayhal::board {
namespace {

int get_temp(const Target& t, double* celsius) { return ec_sys_get_temperature(t.channel, celsius); }
int get_fan_status(const Target& t, int* status) { return ec_sys_get_fan_status(t.channel, status); }
int get_fan_speed(const Target& t, unsigned* rpm, int*) { return ec_sys_get_fan_speed(t.channel, rpm); }
int get_fan_pwm(const Target& t, int* pwm) { return ec_sys_get_fan_pwm(t.channel, pwm); }
int set_fan_pwm(const Target& t, int pwm) { return ec_sys_set_fan_speed(t.channel, pwm); }
int set_status_led(const Target&, int led, int on) { return ec_sys_set_status_led(led, on); }
int blink_status_led(const Target&, int led, int on) { return ec_sys_blink_status_led(led, on); }
int set_led_brightness(const Target&, int percent) { return ec_sys_set_led_by_pwm(percent); }

// The controller's register map has the USB copy button only.
int get_button(const Target&, Button button, int* pressed) {
  if (button == Button::kUsbCopy) return ec_sys_get_usb_button(pressed);
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): hm_type = %d not implement.\n", __func__, __LINE__, kHmEc);
  return -1;
}

int get_power_supply_status(const Target& t, int* status) {
  return ec_sys_get_power_supply_status(t.index, status);
}
int get_power_recovery(const Target&, int* mode) { return ec_sys_get_power_recovery_mode(mode); }
int set_power_recovery(const Target&, int mode) { return ec_sys_set_power_recovery_mode(mode); }
int beep(const Target&, int mode) { return ec_sys_set_buzzer(mode); }
int get_eup(const Target&, int* on) { return ec_sys_get_eup_state(on); }
int set_eup(const Target&, int on) { return ec_sys_set_eup_state(on); }
int get_fw_version(const Target&, char* buf, int size) {
  return size < 0 ? -1 : ec_sys_get_fw_version(buf, static_cast<size_t>(size));
}

}  // namespace

const Driver kEcDriver{
    .name = "EC",
    .get_temp = get_temp,
    .get_fan_speed = get_fan_speed,
    .get_fan_status = get_fan_status,
    .get_fan_pwm = get_fan_pwm,
    .set_fan_pwm = set_fan_pwm,
    .set_status_led = set_status_led,
    .blink_status_led = blink_status_led,
    .set_led_brightness = set_led_brightness,
    .get_button = get_button,
    .get_power_supply_status = get_power_supply_status,
    .get_power_recovery = get_power_recovery,
    .set_power_recovery = set_power_recovery,
    .beep = beep,
    .get_eup = get_eup,
    .set_eup = set_eup,
    .get_fw_version = get_fw_version,
};

}  // namespace bayhal::board
