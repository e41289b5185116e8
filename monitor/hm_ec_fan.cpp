// HM_* of the embedded controller's automatic fan control: QFan, TFan and 7-level schemes,
// each a PWM and a temperature table the host loads, and the mode of a fan group.
#include "bayhal/ERR_TRACE.h"
#include "bayhal/HM.h"
#include "board/dispatch/se_sys_monitor.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "monitor/hm_enclosure.h"

using namespace bayhal;
using bayhal::board::EcFanMode;
using bayhal::board::EcTable;
using bayhal::monitor::on_enclosure;

namespace {

int load(const char* func, int enc_id, EcScheme scheme, EcTable table, const int* values, int count) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %p, %d).\n", func, enc_id,
            static_cast<const void*>(values), count);
  return on_enclosure(enc_id, [&](const char* id) {
    return board::se_sys_init_ec_fan_table(id, scheme, table, values, count);
  });
}

int mode(const char* func, int enc_id, EcScheme scheme, int index, EcFanMode m, int pwm = 0) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d, %d).\n", func, enc_id, index, pwm);
  return on_enclosure(enc_id, [&](const char* id) {
    return board::se_sys_set_ec_fan_mode(id, scheme, index, m, pwm);
  });
}

constexpr EcScheme kQ = EcScheme::kQFan, kT = EcScheme::kTFan, k7 = EcScheme::k7Level;

}  // namespace

BAYHAL_EXPORT int HM_Init_EC_QFan_PWM(int enc_id, const int* pwm, int count) try {
  return load(__func__, enc_id, kQ, EcTable::kPwm, pwm, count);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Init_EC_QFan_Auto_Temp(int enc_id, const int* celsius, int count) try {
  return load(__func__, enc_id, kQ, EcTable::kTemp, celsius, count);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_QFan_Auto(int enc_id, int index) try {
  return mode(__func__, enc_id, kQ, index, EcFanMode::kAuto);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_QFan_Custom(int enc_id, int index) try {
  return mode(__func__, enc_id, kQ, index, EcFanMode::kCustom);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_QFan_Manual(int enc_id, int index, int pwm) try {
  return mode(__func__, enc_id, kQ, index, EcFanMode::kManual, pwm);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Init_EC_TFan_PWM(int enc_id, const int* pwm, int count) try {
  return load(__func__, enc_id, kT, EcTable::kPwm, pwm, count);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Init_EC_TFan_Parameter(int enc_id, const int* celsius, int count) try {
  return load(__func__, enc_id, kT, EcTable::kTemp, celsius, count);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_TFan_Auto(int enc_id, int index) try {
  return mode(__func__, enc_id, kT, index, EcFanMode::kAuto);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_TFan_Custom(int enc_id, int index) try {
  return mode(__func__, enc_id, kT, index, EcFanMode::kCustom);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_TFan_Manual(int enc_id, int index, int pwm) try {
  return mode(__func__, enc_id, kT, index, EcFanMode::kManual, pwm);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_TFAN_Parameters(int enc_id, const int* pwm, const int* celsius,
                                            int count) try {
  int rc = load(__func__, enc_id, kT, EcTable::kPwm, pwm, count);
  return rc != 0 ? rc : load(__func__, enc_id, kT, EcTable::kTemp, celsius, count);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Init_EC_7Level_PWM(int enc_id, const int* pwm, int count) try {
  return load(__func__, enc_id, k7, EcTable::kPwm, pwm, count);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Init_EC_7Level_Temp(int enc_id, const int* celsius, int count) try {
  return load(__func__, enc_id, k7, EcTable::kTemp, celsius, count);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_7Level_Auto(int enc_id, int index) try {
  return mode(__func__, enc_id, k7, index, EcFanMode::kAuto);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_7Level_Custom(int enc_id, int index) try {
  return mode(__func__, enc_id, k7, index, EcFanMode::kCustom);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int HM_Set_EC_7Level_Manual(int enc_id, int index, int pwm) try {
  return mode(__func__, enc_id, k7, index, EcFanMode::kManual, pwm);
} BAYHAL_C_BOUNDARY(-1)
