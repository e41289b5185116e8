// The hardware monitor's operations beyond readings and levels: the NIC sensor, voltages,
// the embedded controller's automatic fan control, and the functions of private chips.
#include "board/dispatch/se_sys_monitor.h"

#include "bayhal/ERR_TRACE.h"
#include "board/dispatch/dispatch.h"
#include "board/dispatch/se_sys.h"
#include "board/net/net_sys.h"
#include "foundation/pending.h"

namespace bayhal::board {
namespace {

bool has_ec() {
  int ec = 0;
  se_sys_check_ec_support("root", &ec);
  return ec == 1;
}

// Root with an embedded controller: body(); anything else -1 without a message.
template <typename Body>
int with_ec(const char* enc_sys_id, Body body) {
  return root_only(enc_sys_id, [&] { return has_ec() ? body() : -1; });
}

// A function only the embedded controller has, through registers its maker keeps private.
int ec_private(const char* op, int line, const char* enc_sys_id) {
  return with_ec(enc_sys_id, [&] { return not_implemented(op, line, enc_sys_id); });
}

}  // namespace

int se_sys_get_voltage(const char* enc_sys_id, int index, double* volts) {
  if (volts != nullptr) *volts = 0.0;
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): got called,enc_sys_id = %s, index = %d, NOT implement\n",
            __func__, __LINE__, enc_sys_id != nullptr ? enc_sys_id : "(null)", index);
  return -1;
}

int se_sys_get_nic_temp(const char* enc_sys_id, int nic, double* celsius) {
  if (celsius == nullptr) return -1;
  *celsius = 0.0;
  return root_only(enc_sys_id, [&] { return net_sys_get_temp(nic, celsius); });
}

int se_sys_init_ec_fan_table(const char* enc_sys_id, EcScheme scheme, EcTable table,
                             const int* values, int count) {
  return with_ec(enc_sys_id, [&] {
    return table == EcTable::kPwm ? ec_sys_load_fan_pwm_table(scheme, values, count)
                                  : ec_sys_load_fan_temp_table(scheme, values, count);
  });
}

int se_sys_set_ec_fan_mode(const char* enc_sys_id, EcScheme scheme, int index, EcFanMode mode,
                           int pwm) {
  const char* who = __func__;
  return with_ec(enc_sys_id, [&] {
    int fan = se_sys_ec_fan_index(index);
    if (fan < 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error, fan_index=%d\n", who, __LINE__, index);
      return -1;
    }
    if (mode == EcFanMode::kManual) return ec_sys_set_fan_speed(fan, pwm);
    return ec_sys_set_fan_scheme(scheme, fan, mode == EcFanMode::kCustom);
  });
}

// The controller's calibration, CPU feedback and sensor set-up registers are its maker's.
int se_sys_temperature_calibrate(const char* enc_sys_id, int, double) {
  return ec_private(__func__, __LINE__, enc_sys_id);
}
int se_sys_cpu_temp_feedback(const char* enc_sys_id, double) {
  return ec_private(__func__, __LINE__, enc_sys_id);
}
int se_sys_init_temp(const char* enc_sys_id) {
  return ec_private(__func__, __LINE__, enc_sys_id);
}
int se_sys_init_temp_offset(const char* enc_sys_id, int, int) {
  return ec_private(__func__, __LINE__, enc_sys_id);
}

// No model-description key names the chip of these; the boards that have them drive them
// through their makers' controllers.
int se_sys_set_fan_led(const char* enc_sys_id, int) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int se_sys_set_fanerror_led(const char* enc_sys_id, int) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int se_sys_set_overheat_led(const char* enc_sys_id, int) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int se_sys_set_pwb_mode(const char* enc_sys_id, int) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int se_sys_get_pwb_status(const char* enc_sys_id, int* status) {
  if (status != nullptr) *status = 0;
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int se_sys_set_wol(const char* enc_sys_id, int) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int se_sys_get_wol(const char* enc_sys_id, int* on) {
  if (on != nullptr) *on = 0;
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int se_sys_set_c2f_to_cmos(const char* enc_sys_id, int) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int se_sys_get_c2f_from_cmos(const char* enc_sys_id, int* value) {
  if (value != nullptr) *value = 0;
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int se_sys_init_audio_board(const char* enc_sys_id) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}

}  // namespace bayhal::board
