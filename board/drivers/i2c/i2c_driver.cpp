// I2C family: the board's environment sensors (one byte a sensor, in degrees), PMBus power
// supplies (status, temperature, fan) and PMBus fan controllers (a page per fan), through the
// I2C seam (i2c-dev).
#include "bayhal/ERR_TRACE.h"
#include "board/drivers/families.h"
#include "board/drivers/i2c/pmbus.h"
#include "transport/i2c_bus.h"

namespace bayhal::board {
namespace {

constexpr uint8_t kNoSensor = 255;

bool is_supply(const Target& t) { return t.index == 10 || t.index == 11; }

int system_error(const char* who, int line, int rc) {
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", who, line);
  return rc;
}

// Board fan controllers serve one fan a page; a supply has its one fan on its own page.
int select_fan(const Target& t) {
  if (is_supply(t)) return 0;
  if (t.channel < 0 || t.channel > 0xFF) return -1;
  return smbus_write_byte(t.i2c_bus, t.i2c_addr, pmbus::kPage, static_cast<uint8_t>(t.channel));
}

int i2c_sys_get_temp(const Target& t, double* celsius) {
  if (is_supply(t)) {
    uint16_t raw = 0;
    int rc = smbus_read_word(t.i2c_bus, t.i2c_addr, pmbus::kReadTemperature1, &raw);
    if (rc < 0) return system_error(__func__, __LINE__, -1);
    *celsius = static_cast<int>(pmbus::from_linear11(raw));
    return 0;
  }
  ERR_TRACE(HAL_TRACE_DEVICE, "%s(%d): i2c_num: %d, i2c_addr: %d, data_addr: %d\n", __func__,
            __LINE__, t.i2c_bus, t.i2c_addr, t.channel);
  uint8_t value = 0;
  if (t.channel < 0 || smbus_read_byte(t.i2c_bus, t.i2c_addr, static_cast<uint8_t>(t.channel),
                                       &value) < 0)
    return system_error(__func__, __LINE__, -1);
  if (value == kNoSensor) return -1;
  *celsius = value;
  return 0;
}

int i2c_sys_read_fan_speed(const Target& t, unsigned* rpm, int* status) {
  uint16_t raw = 0;
  uint8_t faults = 0;
  if (select_fan(t) < 0 || smbus_read_word(t.i2c_bus, t.i2c_addr, pmbus::kReadFanSpeed1, &raw) < 0 ||
      smbus_read_byte(t.i2c_bus, t.i2c_addr, pmbus::kStatusFans12, &faults) < 0)
    return system_error(__func__, __LINE__, -1);
  double speed = pmbus::from_linear11(raw);
  *rpm = speed > 0 ? static_cast<unsigned>(speed) : 0;
  *status = (faults & pmbus::kFan1Fault) ? 1 : 0;
  return 0;
}

int i2c_sys_get_fan_pwm(const Target& t, int* pwm) {
  uint16_t raw = 0;
  if (select_fan(t) < 0 || smbus_read_word(t.i2c_bus, t.i2c_addr, pmbus::kFanCommand1, &raw) < 0)
    return system_error(__func__, __LINE__, -1);
  int percent = static_cast<int>(pmbus::from_linear11(raw));
  if (percent < 0 || percent > 100) return system_error(__func__, __LINE__, -1);
  *pwm = percent * 255 / 100;
  return 0;
}

// Duty-cycle mode first, so the command is read as percent and not as rpm.
int i2c_sys_set_root_fan_pwm(const Target& t, int pwm) {
  if (pwm < 0 || pwm > 255) return -1;
  uint8_t config = 0;
  if (select_fan(t) < 0 || smbus_read_byte(t.i2c_bus, t.i2c_addr, pmbus::kFanConfig12, &config) < 0)
    return system_error(__func__, __LINE__, -1);
  if ((config & pmbus::kFan1InRpm) &&
      smbus_write_byte(t.i2c_bus, t.i2c_addr, pmbus::kFanConfig12,
                       static_cast<uint8_t>(config & ~pmbus::kFan1InRpm)) < 0)
    return system_error(__func__, __LINE__, -1);
  if (smbus_write_word(t.i2c_bus, t.i2c_addr, pmbus::kFanCommand1,
                       pmbus::to_linear11(pwm * 100 / 255)) < 0)
    return system_error(__func__, __LINE__, -1);
  return 0;
}

int i2c_sys_read_pmbus_status(const Target& t, int* status) {
  uint16_t word = 0;
  if (smbus_read_word(t.i2c_bus, t.i2c_addr, pmbus::kStatusWord, &word) < 0)
    return system_error(__func__, __LINE__, -1);
  *status = (word & (pmbus::kPowerGoodNegated | pmbus::kOff)) ? -1 : 0;
  return 0;
}

}  // namespace

const Driver kI2cDriver{
    .name = "I2C",
    .get_temp = i2c_sys_get_temp,
    .get_fan_speed = i2c_sys_read_fan_speed,
    .get_fan_pwm = i2c_sys_get_fan_pwm,
    .set_fan_pwm = i2c_sys_set_root_fan_pwm,
    .get_power_supply_status = i2c_sys_read_pmbus_status,
};

}  // namespace bayhal::board
