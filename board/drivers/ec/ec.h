// The embedded-controller driver ("ec_sys_"): the IT8528 of boards whose SIO_DEVICE is
// "IT8528", reached through its mailbox (docs/board.md). Every operation takes the EC lock
// around its port accesses. Results: 0 on success; -1 for a bad argument, a refused lock or
// a refused port permission; -EBUSY when the controller did not answer within the poll
// budget; -ENXIO for a port outside its interfaces. Outputs are set to neutral values first.
//
// Temperature and fan indexes are the board's (0-1 CPU, 5-7 system, 10-11 power supplies,
// 15-38 environment; fans 0-4 system, 6-7 CPU, 10-11 power supplies, 20-25 and 30-35
// regions). PWM is 0..255 here; the controller works in percent.
#pragma once
#include <cstddef>
#include <cstdint>

namespace bayhal {

// One register of the 16-bit register space.
int ec_sys_get_internal_reg(uint16_t reg, uint8_t* value);
int ec_sys_set_internal_reg(uint16_t reg, uint8_t value);

// Degrees Celsius.
int ec_sys_get_temperature(int index, double* celsius);
// rpm, high byte first.
int ec_sys_get_fan_speed(int index, unsigned* rpm);
// 0 running, 1 stopped; power-supply fans always report 0.
int ec_sys_get_fan_status(int index, int* status);
// The group's duty as 0..255 (percent x 255 / 100).
int ec_sys_get_fan_pwm(int index, int* pwm);
// Manual mode for the fan's group at 100 x pwm / 255 percent.
int ec_sys_set_fan_speed(int index, int pwm);

// led 0 red, 1 green (blink also 2, both); on 0 switches the LED off.
int ec_sys_set_status_led(int led, int on);
int ec_sys_blink_status_led(int led, int on);
// Brightness 0..100 driven by PWM.
int ec_sys_set_led_by_pwm(int level);

// supply 1 or 2: 0 when the supply reports power good, -1 when not.
int ec_sys_get_power_supply_status(int supply, int* status);
// 1 while the USB copy button is pressed.
int ec_sys_get_usb_button(int* pressed);
// The eight bytes of firmware version text; `size` must hold them (a terminator is added
// when there is room).
int ec_sys_get_fw_version(char* buf, size_t size);

// AC power recovery: 0 power on when AC returns, 2 restore the last state, 3 stay off.
int ec_sys_set_power_recovery_mode(int mode);
int ec_sys_get_power_recovery_mode(int* mode);

// EuP (low standby power): -1 with "EUP not supported" when the controller lacks it.
int ec_sys_get_eup_state(int* on);
int ec_sys_set_eup_state(int on);

// Sounds the buzzer at "System IO"/SYSTEM_BUZZER_FREQ: mode 0 for 500 ms, 1 for 1 s.
int ec_sys_set_buzzer(int mode);

// The controller's automatic fan tables (layout: ec_regs.h). A table holds exactly the
// scheme's points (QFan and TFan 4, 7-level 7): PWM 0..255, written as percent, or degrees
// 0..127. Setting a scheme takes any fan of a driven group and switches the whole group: to
// the scheme's own table (custom false) or to the tables loaded (custom true).
enum class EcScheme : int { kQFan, kTFan, k7Level };
int ec_sys_load_fan_pwm_table(EcScheme scheme, const int* pwm, int count);
int ec_sys_load_fan_temp_table(EcScheme scheme, const int* celsius, int count);
int ec_sys_set_fan_scheme(EcScheme scheme, int index, bool custom);

}  // namespace bayhal
