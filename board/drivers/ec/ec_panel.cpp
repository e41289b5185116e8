// The front panel on the embedded controller: status LED, LED brightness, the USB copy
// button, power-supply status and the firmware version.
#include <cstring>

#include "board/drivers/ec/ec.h"
#include "board/drivers/ec/ec_regs.h"
#include "board/drivers/ec/ec_session.h"

namespace bayhal {
namespace {

int write_one(uint16_t reg, uint8_t value, const char* func) {
  EcSession ec(func);
  return ec.ok() ? ec.write(reg, value) : -1;
}

}  // namespace

int ec_sys_get_internal_reg(uint16_t reg, uint8_t* value) {
  if (value == nullptr) return -1;
  *value = 0;
  EcSession ec(__func__);
  return ec.ok() ? ec.read(reg, value) : -1;
}

int ec_sys_set_internal_reg(uint16_t reg, uint8_t value) { return write_one(reg, value, __func__); }

int ec_sys_set_status_led(int led, int on) {
  if (led != 0 && led != 1) return -1;
  ec_reg::StatusLed v = !on ? ec_reg::kLedOff : led == 1 ? ec_reg::kLedGreen : ec_reg::kLedRed;
  return write_one(ec_reg::kStatusLed, v, __func__);
}

int ec_sys_blink_status_led(int led, int on) {
  if (led < 0 || led > 2) return -1;
  constexpr uint8_t kBlink[] = {ec_reg::kLedRedBlink, ec_reg::kLedGreenBlink, ec_reg::kLedBothBlink};
  return write_one(ec_reg::kStatusLed, on ? kBlink[led] : uint8_t{ec_reg::kLedOff}, __func__);
}

int ec_sys_set_led_by_pwm(int level) {
  if (level < 0 || level > 100) return -1;
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  auto v = static_cast<uint8_t>(level);
  uint8_t control;
  int rc = ec.write(ec_reg::kLedBrightness, v);
  if (rc == 0) rc = ec.read(ec_reg::kLedControl, &control);
  if (rc == 0) rc = ec.write(ec_reg::kLedControl, static_cast<uint8_t>(control | ec_reg::kLedByPwmBit));
  if (rc == 0) rc = ec.write(ec_reg::kLedBrightness2, v);
  return rc;
}

int ec_sys_get_power_supply_status(int supply, int* status) {
  if (status == nullptr) return -1;
  *status = -1;
  if (supply != 1 && supply != 2) return -1;
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  uint8_t bits;
  if (int rc = ec.read(ec_reg::kPowerGood, &bits); rc != 0) return rc;
  *status = (bits >> supply & 1) ? 0 : -1;
  return 0;
}

int ec_sys_get_usb_button(int* pressed) {
  if (pressed == nullptr) return -1;
  *pressed = -1;
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  uint8_t bits;
  if (int rc = ec.read(ec_reg::kButtons, &bits); rc != 0) return rc;
  *pressed = (bits & ec_reg::kUsbButtonBit) ? 1 : 0;
  return 0;
}

int ec_sys_get_fw_version(char* buf, size_t size) {
  if (buf == nullptr || size < ec_reg::kFirmwareVersionLen) return -1;
  std::memset(buf, 0, size);
  EcSession ec(__func__);
  if (!ec.ok()) return -1;
  for (int i = 0; i < ec_reg::kFirmwareVersionLen; ++i) {
    uint8_t c;
    if (int rc = ec.read(static_cast<uint16_t>(ec_reg::kFirmwareVersion + i), &c); rc != 0) {
      std::memset(buf, 0, size);
      return rc;
    }
    buf[i] = static_cast<char>(c);
  }
  return 0;
}

}  // namespace bayhal
