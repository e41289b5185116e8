// HM_* temperatures and fans.
#include "bayhal/ERR_TRACE.h"
#include "bayhal/HM.h"
#include "board/dispatch/se_sys.h"
#include "board/dispatch/se_sys_monitor.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "monitor/hm_enclosure.h"

using namespace bayhal;
using bayhal::monitor::on_enclosure;

BAYHAL_EXPORT int HM_Get_Temperature(int enc_id, int index, double* celsius) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, index);
  if (celsius == nullptr) return -1;
  *celsius = 0.0;
  return on_enclosure(enc_id, [&](const char* id) { return board::se_sys_get_temp(id, index, celsius); });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Get_Region_Temperature(int enc_id, int region, double* celsius) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, region);
  if (celsius == nullptr) return -1;
  *celsius = 0.0;
  return on_enclosure(enc_id,
                      [&](const char* id) { return board::se_sys_get_region_temp(id, region, celsius); });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Get_NIC_Temperature(int enc_id, int nic, double* celsius) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, nic);
  if (celsius == nullptr) return -1;
  *celsius = 0.0;
  return on_enclosure(enc_id, [&](const char* id) { return board::se_sys_get_nic_temp(id, nic, celsius); });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Get_Voltage(int enc_id, int index, double* volts) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, index);
  if (volts != nullptr) *volts = 0.0;
  return on_enclosure(enc_id, [&](const char* id) { return board::se_sys_get_voltage(id, index, volts); });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Temperature_Calibrate(int enc_id, int index, double celsius) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, index);
  return on_enclosure(enc_id, [&](const char* id) {
    return board::se_sys_temperature_calibrate(id, index, celsius);
  });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_CPU_Temperature_Feedback(int enc_id, double celsius) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return on_enclosure(enc_id, [&](const char* id) { return board::se_sys_cpu_temp_feedback(id, celsius); });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Init_Temp(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return on_enclosure(enc_id, [&](const char* id) { return board::se_sys_init_temp(id); });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Init_Temp_Offset(int enc_id, int index, int offset) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d, %d).\n", __func__, enc_id, index, offset);
  return on_enclosure(enc_id,
                      [&](const char* id) { return board::se_sys_init_temp_offset(id, index, offset); });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Get_Fan(int enc_id, int index, unsigned int* rpm, int* status) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, index);
  if (rpm == nullptr || status == nullptr) return -1;
  *rpm = 0;
  *status = 0;
  return on_enclosure(enc_id,
                      [&](const char* id) { return board::se_sys_get_fan_speed(id, index, rpm, status); });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_Fan_Speed(int enc_id, int index, int level) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d, %d).\n", __func__, enc_id, index, level);
  return on_enclosure(enc_id, [&](const char* id) { return board::se_sys_set_fan_speed(id, index, level); });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_Fan_Speed_By_PWM(int enc_id, int index, int pwm) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d, %d).\n", __func__, enc_id, index, pwm);
  return on_enclosure(enc_id, [&](const char* id) { return board::se_sys_set_fan_pwm(id, index, pwm); });
} BAYHAL_C_BOUNDARY(-1)
