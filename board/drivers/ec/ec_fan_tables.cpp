// The controller's automatic fan tables: the host loads a scheme's PWM and temperature
// points and hands fan groups to a scheme through their mode registers (layout: ec_regs.h).
#include "bayhal/ERR_TRACE.h"
#include "board/drivers/ec/ec.h"
#include "board/drivers/ec/ec_regs.h"
#include "board/drivers/ec/ec_session.h"

namespace bayhal {
namespace {

const ec_reg::FanScheme& scheme_of(EcScheme s) {
  switch (s) {
    case EcScheme::kQFan: return ec_reg::kQFan;
    case EcScheme::kTFan: return ec_reg::kTFan;
    case EcScheme::k7Level: break;
  }
  return ec_reg::k7Level;
}

// Writes `count` points from `first`, each checked against [0, hi] and scaled by `scale`
// before any access, so a bad table leaves the controller's untouched.
int load(const char* func, uint16_t first, int points, const int* values, int count, int hi,
         int (*scale)(int)) {
  if (values == nullptr || count != points) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error, %d points (expected %d)\n", func, __LINE__,
              count, points);
    return -1;
  }
  for (int i = 0; i < count; ++i) {
    if (values[i] < 0 || values[i] > hi) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error, point %d = %d\n", func, __LINE__, i,
                values[i]);
      return -1;
    }
  }
  EcSession ec(func);
  if (!ec.ok()) return -1;
  for (int i = 0; i < count; ++i) {
    auto reg = static_cast<uint16_t>(first + i);
    if (int rc = ec.write(reg, static_cast<uint8_t>(scale(values[i]))); rc != 0) return rc;
  }
  return 0;
}

int to_percent(int pwm) { return 100 * pwm / 255; }
int as_is(int celsius) { return celsius; }

}  // namespace

int ec_sys_load_fan_pwm_table(EcScheme scheme, const int* pwm, int count) {
  const ec_reg::FanScheme& s = scheme_of(scheme);
  return load(__func__, s.pwm, s.points, pwm, count, 255, to_percent);
}

int ec_sys_load_fan_temp_table(EcScheme scheme, const int* celsius, int count) {
  const ec_reg::FanScheme& s = scheme_of(scheme);
  return load(__func__, s.temp, s.points, celsius, count, 127, as_is);
}

int ec_sys_set_fan_scheme(EcScheme scheme, int index, bool custom) {
  const ec_reg::FanGroup* g = ec_reg::fan_group(index);
  if (g == nullptr || g->mode == 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error, fan_index=%d\n", __func__, __LINE__, index);
    return -1;
  }
  const ec_reg::FanScheme& s = scheme_of(scheme);
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  return ec.write(g->mode, custom ? s.custom_mode : s.auto_mode);
}

}  // namespace bayhal
