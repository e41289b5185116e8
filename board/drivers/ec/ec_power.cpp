// Power behaviour on the embedded controller: AC power recovery, EuP, the buzzer.
#include "bayhal/ERR_TRACE.h"
#include "board/drivers/ec/ec.h"
#include "board/drivers/ec/ec_regs.h"
#include "board/drivers/ec/ec_session.h"
#include "foundation/clock.h"
#include "model/board_keys.h"

namespace bayhal {
namespace {

// The library's modes 0, 2, 3 as the controller's register values 2, 1, 0.
constexpr int kModeOfRegister[] = {3, 2, 0};

int register_of_mode(int mode) { return mode == 0 ? 2 : mode == 2 ? 1 : mode == 3 ? 0 : -1; }

// EuP is a capability of some controllers only.
int eup_supported(EcSession& ec, const char* func) {
  uint8_t cap;
  if (int rc = ec.read(ec_reg::kCapability, &cap); rc != 0) return rc;
  if (cap & ec_reg::kEupBit) return 0;
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): EUP not supported\n", func, __LINE__);
  return -1;
}

}  // namespace

int ec_sys_set_power_recovery_mode(int mode) {
  int value = register_of_mode(mode);
  if (value < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", __func__, __LINE__);
    return -1;
  }
  EcSession ec(__func__);
  return ec.ok() ? ec.write(ec_reg::kPowerRecovery, static_cast<uint8_t>(value)) : -1;
}

int ec_sys_get_power_recovery_mode(int* mode) {
  if (mode == nullptr) return -1;
  *mode = -1;
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  uint8_t v;
  if (int rc = ec.read(ec_reg::kPowerRecovery, &v); rc != 0) return rc;
  if (v > 2) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", __func__, __LINE__);
    return -1;
  }
  *mode = kModeOfRegister[v];
  return 0;
}

int ec_sys_get_eup_state(int* on) {
  if (on == nullptr) return -1;
  *on = 0;
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  if (int rc = eup_supported(ec, __func__); rc != 0) return rc;
  uint8_t v;
  if (int rc = ec.read(ec_reg::kEupState, &v); rc != 0) return rc;
  *on = (v & ec_reg::kEupBit) ? 1 : 0;
  return 0;
}

int ec_sys_set_eup_state(int on) {
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  if (int rc = eup_supported(ec, __func__); rc != 0) return rc;
  uint8_t v;
  if (int rc = ec.read(ec_reg::kEupState, &v); rc != 0) return rc;
  v = static_cast<uint8_t>(v & ~ec_reg::kEupBit);
  if (on) v |= ec_reg::kEupBit;
  return ec.write(ec_reg::kEupState, v);
}

// The lock is held through the beep as well: the buzzer register is one more shared thing
// that another process must not switch off halfway.
int ec_sys_set_buzzer(int mode) {
  if (mode != 0 && mode != 1) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error. Buzzer mode is not supported\n", __func__,
              __LINE__);
    return -1;
  }
  long long freq = model::system_buzzer_freq().value_or(0);
  if (freq < 0 || freq > 100) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", __func__, __LINE__);
    return -1;
  }
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  if (int rc = ec.write(ec_reg::kBuzzer, static_cast<uint8_t>(freq)); rc != 0) return rc;
  clock().sleep_ms(mode == 0 ? 500 : 1000);
  return ec.write(ec_reg::kBuzzer, 0);
}

}  // namespace bayhal
