// Buttons and power-supply status: the chip is chosen once per process.
#include "board/dispatch/caches.h"
#include "board/dispatch/dispatch.h"
#include "board/dispatch/se_sys.h"
#include "model/board_keys.h"

namespace bayhal::board {
namespace {

int root_button(const char* who, Function f, Button button, int* state) {
  Selection s = cached_function(f);
  if (s.choice == nullptr) return -1;
  Target t;
  t.channel = s.channel;
  t.unit = *s.value;
  return call_driver(who, family_of(*s.choice), &Driver::get_button, t, button, state);
}

int root_power_supply(int n, int* status) {
  Selection s = cached_function(n == 1 ? Function::kPowerSupply1 : Function::kPowerSupply2);
  if (s.choice == nullptr) return -1;
  Target t;
  t.index = n;
  t.channel = s.channel;
  t.unit = *s.value;
  if (s.choice->family == Family::kI2c) {
    t.channel = -1;
    t.i2c_bus = cached_i2c_bus(I2cReader::kPowerSupply);
    t.i2c_addr = cached_i2c_addr(n == 1 ? I2cDevice::kSupply1 : I2cDevice::kSupply2);
    if (t.i2c_bus < 0 || t.i2c_addr < 0) return -1;
  }
  return call_driver(__func__, family_of(*s.choice), &Driver::get_power_supply_status, t, status);
}

}  // namespace

int se_sys_get_reset_button(const char* enc_sys_id, int* state) {
  if (state == nullptr) return -1;
  *state = -1;
  return root_only(enc_sys_id,
                   [&] { return root_button(__func__, Function::kResetButton, Button::kReset, state); });
}

int se_sys_get_usb_button(const char* enc_sys_id, int* state) {
  if (state == nullptr) return -1;
  *state = -1;
  return root_only(enc_sys_id, [&] {
    return root_button(__func__, Function::kUsbCopyButton, Button::kUsbCopy, state);
  });
}

int se_sys_get_ejt_button(const char* enc_sys_id, int* state) {
  if (state == nullptr) return -1;
  *state = -1;
  return root_only(enc_sys_id,
                   [&] { return root_button(__func__, Function::kEjectButton, Button::kEject, state); });
}

int se_sys_get_case_status(const char* enc_sys_id, int* state) {
  if (state == nullptr) return -1;
  *state = -1;
  return root_only(enc_sys_id,
                   [&] { return root_button(__func__, Function::kCaseCover, Button::kCaseCover, state); });
}

int se_sys_get_button_count(const char* enc_sys_id, int* count) {
  if (count == nullptr) return -1;
  *count = 0;
  return root_only(enc_sys_id, [&] {
    *count = model::max_button_num();
    return 0;
  });
}

int se_sys_get_power_supply_status(const char* enc_sys_id, int n, int* status) {
  if (status == nullptr) return -1;
  *status = -1;
  if (n != 1 && n != 2) return -1;
  return dispatch(
      __func__, enc_sys_id, n, kAllBranches, Unknown::kNotImplement,
      [&] { return root_power_supply(n, status); }, &Driver::get_power_supply_status, status);
}

}  // namespace bayhal::board
