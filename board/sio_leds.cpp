// LEDs and buttons on Super I/O pins: "System IO" names each one's pin as "SIO:<pin>".
#include <string_view>

#include "board/sio.h"
#include "foundation/store_files.h"
#include "ini/ini_store.h"

namespace bayhal {
namespace {

// The pin a "System IO" key gives; -1 when the key is missing or names another chip.
int pin_of(const char* key) {
  auto io = ini::read_section(kModelConf, "System IO");
  const std::string_view* v = io ? io->find(key) : nullptr;
  if (v == nullptr || !v->starts_with("SIO")) return -1;
  size_t colon = v->find(':');
  if (colon == std::string_view::npos) return -1;
  int n = 0;
  std::string_view digits = v->substr(colon + 1);
  if (digits.empty() || digits.size() > 2) return -1;
  for (char c : digits) {
    if (c < '0' || c > '9') return -1;
    n = n * 10 + (c - '0');
  }
  return n;
}

const char* status_key(int led) {
  return led == 0 ? "STATUS_RED_LED" : led == 1 ? "STATUS_GREEN_LED" : nullptr;
}

int set_led(const char* key, int on) {
  int pin = key ? pin_of(key) : -1;
  return pin < 0 ? -1 : sio_sys_set_gpio_val(pin, on ? 1 : 0);
}

// Blinking hands the pin to engine `engine`; stopping takes it back as a pin, switched off.
int blink_led(const char* key, int on, int engine) {
  int pin = key ? pin_of(key) : -1;
  if (pin < 0) return -1;
  return on ? sio_sys_blink_gpio(pin, engine) : sio_sys_set_gpio_val(pin, 0);
}

int button(const char* key, int* pressed) {
  if (pressed == nullptr) return -1;
  *pressed = -1;
  int pin = pin_of(key);
  return pin < 0 ? -1 : sio_sys_get_gpio_val(pin, pressed);
}

}  // namespace

int sio_sys_set_status_led(int led, int on) { return set_led(status_key(led), on); }

int sio_sys_blink_status_led(int led, int on) {
  if (led != 2) return blink_led(status_key(led), on, 1);
  int red = blink_led(status_key(0), on, 1);
  int green = blink_led(status_key(1), on, 2);
  return red == 0 && green == 0 ? 0 : -1;
}

int sio_sys_set_power_led(int on) { return set_led("POWER_LED", on); }
int sio_sys_blink_power_led(int on) { return blink_led("POWER_LED", on, 1); }
int sio_sys_set_usb_led(int on) { return set_led("FRONT_USB_LED", on); }
int sio_sys_blink_usb_led(int on) { return blink_led("FRONT_USB_LED", on, 1); }
int sio_sys_get_usb_button(int* pressed) { return button("USB_COPY_BUTTON", pressed); }
int sio_sys_get_reset_button(int* pressed) { return button("RESET_BUTTON", pressed); }

}  // namespace bayhal
