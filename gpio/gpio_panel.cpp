// The GPIO_* members that hand an LED, a button, the cover or a supply to the board
// back-end operation of the same meaning.
#include "bayhal/GPIO.h"
#include "board/dispatch/se_sys.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "gpio/gpio_call.h"

using namespace bayhal;
using namespace bayhal::gpio;
namespace b = bayhal::board;

namespace {

// An LED operation of (identity, state).
int led(const char* func, int enc_id, int state, int (*op)(const char*, int)) {
  return by_identity(func, enc_id, {enc_id, state}, [&](const char* id) { return op(id, state); });
}

// A status-LED operation of (identity, led, state).
int status_led(const char* func, int enc_id, int which, int state, int (*op)(const char*, int, int)) {
  return by_identity(func, enc_id, {enc_id, which},
                     [&](const char* id) { return op(id, which, state); });
}

}  // namespace

BAYHAL_EXPORT int GPIO_Enable_Status_LED(int enc_id, int led_no, int state) try {
  return status_led(__func__, enc_id, led_no, state, b::se_sys_set_status_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_Status_LED_BLINK(int enc_id, int led_no, int state) try {
  return status_led(__func__, enc_id, led_no, state, b::se_sys_blink_status_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_Power_LED(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_set_power_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_Power_LED_BLINK(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_blink_power_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_Standby_LED(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_set_standby_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_USB_LED(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_set_usb_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_USB_LED_BLINK(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_blink_usb_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_Breath_LED(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_set_breath_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_BREATHING_LED(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_set_breathing_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_BREATHING_LED_BLINK(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_blink_breathing_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_10G_Present_LED(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_set_10G_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_EXP_Present_LED(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_set_JBOD_connect_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Set_LED_Brightness(int enc_id, int percent) try {
  return led(__func__, enc_id, percent, b::se_sys_set_led_brightness_by_pwm);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_LED_In_Night_Mode(int enc_id, int state) try {
  return led(__func__, enc_id, state, b::se_sys_set_led_brightness_in_night_mode);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int GPIO_Does_Eject_Button_Press(int enc_id) try {
  return state_of(__func__, enc_id, b::se_sys_get_ejt_button);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Does_Copy_Button_Press(int enc_id) try {
  return state_of(__func__, enc_id, b::se_sys_get_usb_button);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Does_Reset_Button_Press(int enc_id) try {
  return state_of(__func__, enc_id, b::se_sys_get_reset_button);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Does_Case_Cover_Open(int enc_id) try {
  return state_of(__func__, enc_id, b::se_sys_get_case_status);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Get_Power_Status(int enc_id, int supply, int* status) try {
  if (status != nullptr) *status = -1;
  return by_identity(__func__, enc_id, {enc_id, supply}, [&](const char* id) {
    return status == nullptr ? -1 : b::se_sys_get_power_supply_status(id, supply, status);
  });
} BAYHAL_C_BOUNDARY(-1)
