// The board back-end: every board operation by enclosure identity. Stage 1 picks the kind
// of enclosure, stage 2 (the root board) the chip named by the model description; the chip's
// driver does the work (docs/board.md).
//
// Each returns 0 (or a non-negative value) on success and -1, or the chip's negative code,
// on failure. Outputs are set to their neutral values before anything else: temperatures
// 0.0, fan speed and status 0, PWM -1, button state -1.
#pragma once

namespace bayhal::board {

// ---- temperatures and fans (indexes: docs/board.md) ----
int se_sys_get_temp(const char* enc_sys_id, int index, double* celsius);
// The integer average of a temperature region's sensors (region from 0).
int se_sys_get_region_temp(const char* enc_sys_id, int region, double* celsius);
int se_sys_get_fan_speed(const char* enc_sys_id, int index, unsigned* rpm, int* status);
int se_sys_get_fan_pwm(const char* enc_sys_id, int index, int* pwm);
// Level 0..8; index -1 sets every fan the model description configures.
int se_sys_set_fan_speed(const char* enc_sys_id, int index, int level);

// ---- LEDs: led 0 red, 1 green, 2 both (blink only) ----
int se_sys_set_status_led(const char* enc_sys_id, int led, int on);
int se_sys_blink_status_led(const char* enc_sys_id, int led, int on);
int se_sys_set_power_led(const char* enc_sys_id, int on);
int se_sys_blink_power_led(const char* enc_sys_id, int on);
int se_sys_set_usb_led(const char* enc_sys_id, int on);
int se_sys_blink_usb_led(const char* enc_sys_id, int on);
int se_sys_set_breath_led(const char* enc_sys_id, int on);
int se_sys_set_breathing_led(const char* enc_sys_id, int on);
int se_sys_blink_breathing_led(const char* enc_sys_id, int on);
int se_sys_set_10G_led(const char* enc_sys_id, int on);
int se_sys_set_JBOD_connect_led(const char* enc_sys_id, int on);
int se_sys_set_standby_led(const char* enc_sys_id, int on);
// The enclosure's ident (locate) LED: IDENT_LED on the root board, the unit's own otherwise.
int se_sys_set_ident_led(const char* enc_sys_id, int on);
// LED_BV_CTRL: kind 0 on/off only ("GPIO"), 1 dimmable ("PWM[:levels]", levels default 3).
int se_sys_get_led_brightness_ctrl_capability(const char* enc_sys_id, int* kind, int* levels);
int se_sys_set_led_brightness_by_pwm(const char* enc_sys_id, int value);
// Night mode dims the LEDs; only a dimmable board's Super I/O carries it.
int se_sys_set_led_brightness_in_night_mode(const char* enc_sys_id, int on);
// 1 unless LED_BV_SCROLLBAR says 0; -1 for an identity other than "root".
int se_sys_check_led_brightness_scrollbar(const char* enc_sys_id);

// ---- buttons (1 pressed) and power supplies (n 1 or 2; 0 good, -1 failed) ----
int se_sys_get_reset_button(const char* enc_sys_id, int* state);
int se_sys_get_usb_button(const char* enc_sys_id, int* state);
int se_sys_get_ejt_button(const char* enc_sys_id, int* state);
// The case cover: 1 open, 0 closed.
int se_sys_get_case_status(const char* enc_sys_id, int* state);
// MAX_BUTTON_NUM of "System IO" (0 when absent).
int se_sys_get_button_count(const char* enc_sys_id, int* count);
int se_sys_get_power_supply_status(const char* enc_sys_id, int n, int* status);

// ---- chip facts and settings ----
// Always 0; *support 1 when the board has the embedded controller.
int se_sys_check_ec_support(const char* enc_sys_id, int* support);
// The MCU spec: 0 CPLD, 1 MCU, 2-4 SPEC2-4, -1 legacy MCU by CAP bit 16.
int se_sys_ck_mcu_sp_and_get_spec(const char* enc_sys_id, int* spec);
int se_sys_get_power_recovery_mode(const char* enc_sys_id, int* mode);
int se_sys_set_power_recovery_mode(const char* enc_sys_id, int mode);
int se_sys_get_eup(const char* enc_sys_id, int* on);
int se_sys_set_eup(const char* enc_sys_id, int on);
int se_sys_get_ec_version(const char* enc_sys_id, char* buf, int size);
// Plays a buzzer pattern on the device the board has for it.
int se_sys_set_buzzer(const char* enc_sys_id, int pattern);

}  // namespace bayhal::board
