// The single-function LEDs of the front panel and the LED brightness.
#include "bayhal/ERR_TRACE.h"
#include "board/dispatch/dispatch.h"
#include "board/dispatch/se_sys.h"

namespace bayhal::board {
namespace {

// Front-panel command numbers of the power LED.
constexpr int kPowerLedOn = 77;
constexpr int kPowerLedOff = 75;

int root_led(const char* who, Function f, Led led, int on, bool blink) {
  Selection s = select_function(f);
  if (!s.value) return -1;
  if (s.choice == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): conf_val = %s not implement.\n", who, __LINE__,
              s.value->c_str());
    return -1;
  }
  Family family = family_of(*s.choice);
  Target t;
  t.unit = *s.value;
  if (family == Family::kPic && led == Led::kPower && !blink)
    return call_driver(who, family, &Driver::send_command, t, on ? kPowerLedOn : kPowerLedOff);
  return call_driver(who, family, blink ? &Driver::blink_led : &Driver::set_led, t, led, on);
}

int led_op(const char* who, const char* enc_sys_id, Function f, Led led, int on, bool blink) {
  return dispatch(
      who, enc_sys_id, -1, kAllBranches, Unknown::kNotImplement,
      [&] { return root_led(who, f, led, on, blink); },
      blink ? &Driver::blink_led : &Driver::set_led, led, on);
}

struct Capability {
  int kind = -1;  // 0 on/off only, 1 dimmable
  int levels = 0;
};

Capability brightness_capability() {
  Capability c;
  auto v = model::board_key(model::BoardKey::kLedBvCtrl);
  if (!v) return c;
  if (v->starts_with("GPIO")) {
    c.kind = 0;
  } else if (v->starts_with("PWM")) {
    c.kind = 1;
    c.levels = number_after(*v, ':').value_or(3);
  }
  return c;
}

}  // namespace

int se_sys_set_power_led(const char* e, int on) {
  return led_op(__func__, e, Function::kPowerLed, Led::kPower, on, false);
}
int se_sys_blink_power_led(const char* e, int on) {
  return led_op(__func__, e, Function::kPowerLed, Led::kPower, on, true);
}
int se_sys_set_usb_led(const char* e, int on) {
  return led_op(__func__, e, Function::kUsbLed, Led::kUsb, on, false);
}
int se_sys_blink_usb_led(const char* e, int on) {
  return led_op(__func__, e, Function::kUsbLed, Led::kUsb, on, true);
}
int se_sys_set_breath_led(const char* e, int on) {
  return led_op(__func__, e, Function::kBreathLed, Led::kBreath, on, false);
}
int se_sys_set_breathing_led(const char* e, int on) {
  return led_op(__func__, e, Function::kBreathLed, Led::kBreathing, on, false);
}
int se_sys_blink_breathing_led(const char* e, int on) {
  return led_op(__func__, e, Function::kBreathLed, Led::kBreathing, on, true);
}
int se_sys_set_10G_led(const char* e, int on) {
  return led_op(__func__, e, Function::k10GLed, Led::k10G, on, false);
}
int se_sys_set_JBOD_connect_led(const char* e, int on) {
  return led_op(__func__, e, Function::kJbodConnectLed, Led::kJbodConnect, on, false);
}

int se_sys_set_standby_led(const char* e, int on) {
  return led_op(__func__, e, Function::kStandbyLed, Led::kStandby, on, false);
}
int se_sys_set_ident_led(const char* e, int on) {
  return led_op(__func__, e, Function::kIdentLed, Led::kIdent, on, false);
}

int se_sys_get_led_brightness_ctrl_capability(const char* enc_sys_id, int* kind, int* levels) {
  if (kind == nullptr || levels == nullptr) return -1;
  *kind = -1;
  *levels = 0;
  return root_only(enc_sys_id, [&] {
    Capability c = brightness_capability();
    if (c.kind < 0) return -1;
    *kind = c.kind;
    *levels = c.levels;
    return 0;
  });
}

int se_sys_set_led_brightness_by_pwm(const char* enc_sys_id, int value) {
  return root_only(enc_sys_id, [&] {
    Capability c = brightness_capability();
    if (c.kind != 1 || value < 0 || value > 100) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error: cap = %d, value = %d.\n", __func__,
                __LINE__, c.kind, value);
      return -1;
    }
    Selection s = select_function(Function::kLedBrightness);
    if (s.choice == nullptr) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): conf_val = %s not implement.\n", __func__, __LINE__,
                s.value ? s.value->c_str() : "");
      return -1;
    }
    Target t;
    if (s.value) t.unit = *s.value;
    return call_driver(__func__, family_of(*s.choice), &Driver::set_led_brightness, t, value);
  });
}

}  // namespace bayhal::board

namespace bayhal::board {

int se_sys_set_led_brightness_in_night_mode(const char* enc_sys_id, int on) {
  return root_only(enc_sys_id, [&] {
    if (brightness_capability().kind != 1) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): LED_BV_GPIO not implement.\n", __func__, __LINE__);
      return -1;
    }
    // The Super I/O's night-mode registers are not known here: its table has no brightness
    // operation, so this answers the documented failure.
    Target t;
    return call_driver(__func__, Family::kSio, &Driver::set_led_brightness, t, on ? 0 : 100);
  });
}

int se_sys_check_led_brightness_scrollbar(const char* enc_sys_id) {
  return root_only(enc_sys_id, [] { return model::led_bv_scrollbar().value_or(1) == 0 ? 0 : 1; });
}

}  // namespace bayhal::board
