// Setting and reading a bay's LEDs on the path its route names.
#include <cstdio>
#include <cstdlib>

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/slot_leds.h"
#include "foundation/pending.h"
#include "foundation/sysfs.h"

namespace bayhal {
namespace {

// The libata LED message: fault, locate and activity bits of the port's LED value.
unsigned em_bit(SlotLed led) {
  switch (led) {
    case SlotLed::kFault: return 0x400000;
    case SlotLed::kIdent: return 0x80000;
    case SlotLed::kActive: return 0x10000;
    case SlotLed::kPresent: break;
  }
  return 0;
}

// A PCIe slot's attention indicator: 0 off, 1 on (fault), 2 blinking (locate).
int attention_code(SlotLed led) { return led == SlotLed::kIdent ? 2 : 1; }

// The host keeps the port's last message, shown as hexadecimal ("%lx").
unsigned em_value(const std::string& attribute) {
  auto text = sysfs_read(attribute);
  return text ? static_cast<unsigned>(std::strtoul(text->c_str(), nullptr, 16)) : 0;
}

int set_led(const char* who, const char* enc_sys_id, int port, SlotLed led, int on) {
  SlotLedRoute r = pd_sys_slot_led_route(enc_sys_id, port);
  if (r.path == SlotLedPath::kSes) return not_implemented(who, __LINE__, enc_sys_id);
  if (!slot_led_offered(r, led)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): enc_sys_id = %s, port %d: no LED path: %s.\n", who, __LINE__,
              enc_sys_id ? enc_sys_id : "(null)", port, r.why.c_str());
    return -1;
  }
  char text[16];
  if (r.path == SlotLedPath::kAhciEm) {
    unsigned v = em_value(r.attribute);
    v = on ? v | em_bit(led) : v & ~em_bit(led);
    std::snprintf(text, sizeof text, "0x%x", v);
  } else {
    int now = static_cast<int>(sysfs_read_int(r.attribute).value_or(0));
    int code = attention_code(led);
    std::snprintf(text, sizeof text, "%d", on ? code : now == code ? 0 : now);
  }
  if (!sysfs_write(r.attribute, text)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't write %s to %s.\n", who, __LINE__, text, r.attribute.c_str());
    return -1;
  }
  return 0;
}

int set_leds(const char* who, const char* enc_sys_id, unsigned long long ports, SlotLed led, int on) {
  int rc = 0;
  for (int p = 1; p < 64; ++p)
    if ((ports >> p & 1) && set_led(who, enc_sys_id, p, led, on) != 0) rc = -1;
  return rc;
}

}  // namespace

int pd_sys_get_slot_led(const char* enc_sys_id, int port, SlotLed led) {
  SlotLedRoute r = pd_sys_slot_led_route(enc_sys_id, port);
  if (!r.reads_back || !slot_led_offered(r, led)) return -1;
  if (r.path == SlotLedPath::kAhciEm) {
    if (!sysfs_exists(r.attribute)) return -1;
    return (em_value(r.attribute) & em_bit(led)) ? 1 : 0;
  }
  auto now = sysfs_read_int(r.attribute);
  if (!now) return -1;
  return *now == attention_code(led) ? 1 : 0;
}

int pd_sys_set_err_led(const char* e, int port, int on) { return set_led(__func__, e, port, SlotLed::kFault, on); }
int pd_sys_set_ident_led(const char* e, int port, int on) { return set_led(__func__, e, port, SlotLed::kIdent, on); }
int pd_sys_set_present_led(const char* e, int port, int on) {
  return set_led(__func__, e, port, SlotLed::kPresent, on);
}
int pd_sys_set_active_led(const char* e, int port, int on) { return set_led(__func__, e, port, SlotLed::kActive, on); }
int pd_sys_set_err_leds(const char* e, unsigned long long ports, int on) {
  return set_leds(__func__, e, ports, SlotLed::kFault, on);
}
int pd_sys_set_present_leds(const char* e, unsigned long long ports, int on) {
  return set_leds(__func__, e, ports, SlotLed::kPresent, on);
}

}  // namespace bayhal
