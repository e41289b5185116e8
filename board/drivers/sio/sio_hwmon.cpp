// The Super I/O's hardware monitor is read through the kernel's driver, not through the
// ports: the driver owns the chip's environment-controller registers. The attributes sit
// under "/sys/class/hwmon/hwmon0/device" (always hwmon0: the board's driver loads first).
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "board/drivers/sio/sio.h"
#include "board/drivers/sio/sio_chip.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal {
namespace {

std::string attr(const char* format, int channel) {
  char name[64];
  std::snprintf(name, sizeof name, format, channel);
  return std::string("/sys/class/hwmon/hwmon0/device/") + name;
}

// get_sys_sio_value: a number of at most 32 bytes; anything else (missing, empty, longer, not
// a number, beyond 64 bits) is a failure.
std::optional<long long> get_sys_sio_value(const char* format, int channel, const char* func) {
  constexpr size_t kMax = 32;
  auto text = read_head(attr(format, channel), kMax + 1);
  std::optional<long long> v;
  if (text && text->size() <= kMax) v = parse_number(first_line(*text));
  if (!v) ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", func, __LINE__);
  return v;
}

bool set_sys_sio_value(const char* format, int channel, long long value) {
  return sysfs_write(attr(format, channel), std::to_string(value));
}

bool is_fintek(const SioChip* chip) { return chip && (chip->family == 0 || chip->family == 2); }

}  // namespace

int sio_sys_get_temperature(int channel, double* celsius) {
  if (celsius == nullptr) return -1;
  *celsius = 0.0;
  auto milli = get_sys_sio_value("temp%d_input", channel, __func__);
  if (!milli) return -1;
  *celsius = static_cast<int8_t>(static_cast<uint8_t>(*milli / 1000));
  return 0;
}

int sio_sys_get_fan_pwm(int channel, int* pwm) {
  if (pwm == nullptr) return -1;
  *pwm = -1;
  auto v = get_sys_sio_value("pwm%d", channel, __func__);
  if (!v || *v < 0 || *v > 255) return -1;
  *pwm = static_cast<int>(*v);
  return 0;
}

int sio_sys_set_fan_pwm(int channel, int pwm) {
  if (pwm < 0 || pwm > 255) return -1;
  if (is_fintek(sio_board_chip(nullptr)) && !set_sys_sio_value("pwm%d_enable", channel, 1)) {
    ERR_TRACE(HAL_TRACE_WARN, "%s(%d): Fan%d is in auto mode, fail to change manual mode\n",
              __func__, __LINE__, channel);
    return -1;
  }
  if (set_sys_sio_value("pwm%d", channel, pwm)) return 0;
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", __func__, __LINE__);
  return -1;
}

// Fintek chips raise an alarm for a failed fan; on the others a fan switched off on purpose
// (PWM 0) counts as running and a driven fan that does not turn as failed.
int sio_sys_get_fan_speed(int channel, unsigned* rpm, int* status) {
  if (rpm == nullptr || status == nullptr) return -1;
  *rpm = 0;
  *status = 0;
  auto speed = get_sys_sio_value("fan%d_input", channel, __func__);
  if (!speed || *speed < 0 || *speed > UINT32_MAX) return -1;
  *rpm = static_cast<unsigned>(*speed);
  const SioChip* chip = sio_board_chip(nullptr);
  if (is_fintek(chip)) {
    auto alarm = get_sys_sio_value("fan%d_alarm", channel, __func__);
    if (!alarm) return -1;
    *status = *alarm != 0 ? 1 : 0;
  } else if (chip && (chip->name == "IT87" || chip->name == "NCT5523")) {
    auto pwm = get_sys_sio_value("pwm%d", channel, __func__);
    if (!pwm) return -1;
    *status = *pwm != 0 && *speed == 0 ? 1 : 0;
  } else {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): NOT implement.\n", __func__, __LINE__);
  }
  return 0;
}

}  // namespace bayhal
