// The status LED: set and blink, by the chip STATUS_RED_LED and STATUS_GREEN_LED name.
#include "bayhal/ERR_TRACE.h"
#include "board/dispatch/dispatch.h"
#include "board/dispatch/se_sys.h"

namespace bayhal::board {
namespace {

// Front-panel command numbers of the status LEDs.
constexpr int kAllOff = 89;
constexpr int kSetCommand[] = {87, 86};        // red, green
constexpr int kBlinkCommand[] = {84, 85, 88};  // red, green, both

// The command-protocol controllers: everything off first, then the LED asked for.
int command_status_led(const char* who, Family f, int led, int on, bool blink) {
  Target t;
  t.index = led;
  int rc = call_driver(who, f, &Driver::send_command, t, kAllOff);
  if (rc < 0) return rc;
  if (on) return call_driver(who, f, &Driver::send_command, t, blink ? kBlinkCommand[led] : kSetCommand[led]);
  // The legacy MCU misses a lone "off" now and then; it gets it twice, deliberately.
  if (f == Family::kMcu && !blink) return call_driver(who, f, &Driver::send_command, t, kAllOff);
  return rc;
}

int root_status_led(const char* who, int led, int on, bool blink) {
  Selection s = select_function(status_led_function(led), blink);
  if (!s.value) return -1;
  if (s.choice == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): conf_val = %s not implement.\n", who, __LINE__,
              s.value->c_str());
    return -1;
  }
  Family f = family_of(*s.choice);
  if (f == Family::kPic || f == Family::kMcu) return command_status_led(who, f, led, on, blink);
  Target t;
  t.index = led;
  t.unit = *s.value;
  if (f == Family::kIoPort) {
    if (s.channel < 0) return -1;
    t.channel = s.channel;
  }
  int rc = call_driver(who, f, blink ? &Driver::blink_status_led : &Driver::set_status_led, t,
                       led, on);
  return f == Family::kEmcu && rc > 0 ? 0 : rc;
}

// Both LEDs blink together only when both are described and neither is wired to an I/O
// port, which cannot blink.
bool both_blinkable(const char* who) {
  for (int led : {0, 1}) {
    auto v = model::board_key(function_info(status_led_function(led)).key);
    if (!v) return false;
    if (v->starts_with("IOPORT")) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): hybrid_method = 1 not implement.\n", who, __LINE__);
      return false;
    }
  }
  return true;
}

}  // namespace

int se_sys_set_status_led(const char* enc_sys_id, int led, int on) {
  if (led != 0 && led != 1) return -1;
  return dispatch(
      __func__, enc_sys_id, led,
      UnitKind::kRoot | UnitKind::kUsb | UnitKind::kMvs | UnitKind::kTb, Unknown::kNotImplement,
      [&] { return root_status_led(__func__, led, on, false); }, &Driver::set_status_led, led, on);
}

int se_sys_blink_status_led(const char* enc_sys_id, int led, int on) {
  if (led < 0 || led > 2) return -1;
  return dispatch(
      __func__, enc_sys_id, led, UnitKind::kRoot | UnitKind::kUsb | UnitKind::kTb,
      Unknown::kNotImplement,
      [&] {
        if (led == 2 && !both_blinkable(__func__)) return -1;
        return root_status_led(__func__, led, on, true);
      },
      &Driver::blink_status_led, led, on);
}

}  // namespace bayhal::board
