// HM_* LEDs and power-on settings.
#include "bayhal/ERR_TRACE.h"
#include "bayhal/HM.h"
#include "board/dispatch/se_sys.h"
#include "board/dispatch/se_sys_monitor.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "monitor/hm_enclosure.h"

using namespace bayhal;
using bayhal::monitor::on_enclosure;

namespace {

// The traced entry and the enclosure lookup of a setter taking one int.
int set(const char* func, int enc_id, int value, int (*op)(const char*, int)) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", func, enc_id, value);
  return on_enclosure(enc_id, [&](const char* id) { return op(id, value); });
}

// The same for a getter; *out is 0 before anything else.
int get(const char* func, int enc_id, int* out, int (*op)(const char*, int*)) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", func, enc_id);
  if (out == nullptr) return -1;
  *out = 0;
  return on_enclosure(enc_id, [&](const char* id) { return op(id, out); });
}

}  // namespace

BAYHAL_EXPORT int HM_Set_Fan_Led(int enc_id, int on) try {
  return set(__func__, enc_id, on, board::se_sys_set_fan_led);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_FanError_Led(int enc_id, int on) try {
  return set(__func__, enc_id, on, board::se_sys_set_fanerror_led);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_Overheat_Led(int enc_id, int on) try {
  return set(__func__, enc_id, on, board::se_sys_set_overheat_led);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_LED_Brightness_By_PWM(int enc_id, int value) try {
  return set(__func__, enc_id, value, board::se_sys_set_led_brightness_by_pwm);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EUP_State(int enc_id, int on) try {
  return set(__func__, enc_id, on, board::se_sys_set_eup);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Get_EUP_State(int enc_id, int* on) try {
  return get(__func__, enc_id, on, board::se_sys_get_eup);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_Power_Recovery_Mode(int enc_id, int mode) try {
  return set(__func__, enc_id, mode, board::se_sys_set_power_recovery_mode);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Get_Power_Recovery_Mode(int enc_id, int* mode) try {
  return get(__func__, enc_id, mode, board::se_sys_get_power_recovery_mode);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_Power_Button_Mode(int enc_id, int mode) try {
  return set(__func__, enc_id, mode, board::se_sys_set_pwb_mode);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Get_Power_Button_Status(int enc_id, int* status) try {
  return get(__func__, enc_id, status, board::se_sys_get_pwb_status);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_WOL(int enc_id, int on) try {
  return set(__func__, enc_id, on, board::se_sys_set_wol);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Get_WOL(int enc_id, int* on) try {
  return get(__func__, enc_id, on, board::se_sys_get_wol);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_C2F_Param(int enc_id, int value) try {
  return set(__func__, enc_id, value, board::se_sys_set_c2f_to_cmos);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Get_C2F_Param(int enc_id, int* value) try {
  return get(__func__, enc_id, value, board::se_sys_get_c2f_from_cmos);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Init_Audio_Board(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return on_enclosure(enc_id, [](const char* id) { return board::se_sys_init_audio_board(id); });
} BAYHAL_C_BOUNDARY(-1)
