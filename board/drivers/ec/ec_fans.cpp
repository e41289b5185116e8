// Temperatures and fans on the embedded controller.
#include "bayhal/ERR_TRACE.h"
#include "board/drivers/ec/ec.h"
#include "board/drivers/ec/ec_regs.h"
#include "board/drivers/ec/ec_session.h"

namespace bayhal {
namespace {

const ec_reg::FanGroup* group_or_error(int index, const char* func) {
  const ec_reg::FanGroup* g = ec_reg::fan_group(index);
  if (g == nullptr) ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", func, __LINE__);
  return g;
}

// A group whose fans the controller drives (power-supply fans are the supplies' own).
const ec_reg::FanGroup* driven_group(int index, const char* func) {
  const ec_reg::FanGroup* g = ec_reg::fan_group(index);
  if (g != nullptr && g->duty != 0) return g;
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", func, __LINE__);
  return nullptr;
}

}  // namespace

int ec_sys_get_temperature(int index, double* celsius) {
  if (celsius == nullptr) return -1;
  *celsius = 0.0;
  auto reg = ec_reg::temperature(index);
  if (!reg) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", __func__, __LINE__);
    return -1;
  }
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  uint8_t v;
  if (int rc = ec.read(*reg, &v); rc != 0) return rc;
  *celsius = v;
  return 0;
}

int ec_sys_get_fan_speed(int index, unsigned* rpm) {
  if (rpm == nullptr) return -1;
  *rpm = 0;
  const ec_reg::FanGroup* g = group_or_error(index, __func__);
  if (g == nullptr) return -1;
  auto k = static_cast<uint16_t>(2 * (index - g->first));
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  uint8_t high, low;
  if (int rc = ec.read(static_cast<uint16_t>(g->speed_high + k), &high); rc != 0) return rc;
  if (int rc = ec.read(static_cast<uint16_t>(g->speed_low + k), &low); rc != 0) return rc;
  *rpm = high * 256u + low;
  return 0;
}

int ec_sys_get_fan_status(int index, int* status) {
  if (status == nullptr) return -1;
  *status = 0;
  const ec_reg::FanGroup* g = ec_reg::fan_group(index);
  if (g == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error, fan_index=%d\n", __func__, __LINE__, index);
    return -1;
  }
  if (g->running == 0) return 0;  // a supply's fan: the supply reports its own failure
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  uint8_t bits;
  if (int rc = ec.read(g->running, &bits); rc != 0) return rc;
  *status = (bits >> (index - g->first) & 1) ? 0 : 1;
  return 0;
}

int ec_sys_get_fan_pwm(int index, int* pwm) {
  if (pwm == nullptr) return -1;
  *pwm = -1;
  const ec_reg::FanGroup* g = driven_group(index, __func__);
  if (g == nullptr) return -1;
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  uint8_t percent;
  if (int rc = ec.read(g->duty, &percent); rc != 0) return rc;
  *pwm = percent * 255 / 100;
  ERR_TRACE(HAL_TRACE_DEVICE, "%s(%d): Get fan%d pwm = %d(%d%%)\n", __func__, __LINE__, index,
            *pwm, percent);
  return 0;
}

int ec_sys_set_fan_speed(int index, int pwm) {
  if (pwm < 0 || pwm > 255) return -1;
  const ec_reg::FanGroup* g = driven_group(index, __func__);
  if (g == nullptr) return -1;
  auto percent = static_cast<uint8_t>(100 * pwm / 255);
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  if (int rc = ec.write(g->mode, ec_reg::kFanManual); rc != 0) return rc;
  if (int rc = ec.write(g->duty, percent); rc != 0) return rc;
  ERR_TRACE(HAL_TRACE_DEVICE, "%s(%d): Set fan%d pwm = %d(%d%%)\n", __func__, __LINE__, index, pwm,
            percent);
  return 0;
}

}  // namespace bayhal
