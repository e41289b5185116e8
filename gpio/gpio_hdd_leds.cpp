// The disk-slot LED members: the enclosure id becomes its identity, and disk discovery's
// slot-LED operations light the bay on the path its hardware offers.
#include <cstring>
#include <string>

#include "bayhal/GPIO.h"
#include "disk_sys/slot_leds.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "gpio/gpio_call.h"

using namespace bayhal;
using namespace bayhal::gpio;

namespace {

int one(const char* func, int enc_id, int port, int state, int (*op)(const char*, int, int)) {
  return by_identity(func, enc_id, {enc_id, port}, [&](const char* id) { return op(id, port, state); });
}

int many(const char* func, int enc_id, unsigned long long ports, int state,
         int (*op)(const char*, unsigned long long, int)) {
  return by_identity(func, enc_id, {enc_id, static_cast<long long>(ports)},
                     [&](const char* id) { return op(id, ports, state); });
}

constexpr std::pair<int, SlotLed> kLeds[] = {{GPIO_HDD_LED_ERR, SlotLed::kFault},
                                             {GPIO_HDD_LED_IDENT, SlotLed::kIdent},
                                             {GPIO_HDD_LED_PRESENT, SlotLed::kPresent},
                                             {GPIO_HDD_LED_ACTIVE, SlotLed::kActive}};

std::string described(const SlotLedRoute& r) {
  switch (r.path) {
    case SlotLedPath::kAhciEm: return "AHCI em_message of " + r.where;
    case SlotLedPath::kPciSlot: return r.where + " attention";
    case SlotLedPath::kSes: return "SES of " + r.where + ": " + r.why;
    case SlotLedPath::kNone: break;
  }
  return "no LED path: " + r.why;
}

}  // namespace

BAYHAL_EXPORT int GPIO_Enable_HDD_ERR_LED(int enc_id, int port_id, int state) try {
  return one(__func__, enc_id, port_id, state, pd_sys_set_err_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_HDD_ERR_LEDS(int enc_id, unsigned long long port_bitmap, int state) try {
  return many(__func__, enc_id, port_bitmap, state, pd_sys_set_err_leds);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_HDD_Ident_LED(int enc_id, int port_id, int state) try {
  return one(__func__, enc_id, port_id, state, pd_sys_set_ident_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_HDD_Present_LED(int enc_id, int port_id, int state) try {
  return one(__func__, enc_id, port_id, state, pd_sys_set_present_led);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_HDD_Present_LEDS(int enc_id, unsigned long long port_bitmap, int state) try {
  return many(__func__, enc_id, port_bitmap, state, pd_sys_set_present_leds);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int GPIO_Enable_HDD_Active_LED(int enc_id, int port_id, int state) try {
  return one(__func__, enc_id, port_id, state, pd_sys_set_active_led);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int GPIO_Get_HDD_LED_Capability(int enc_id, int port_id, char* how, int size) try {
  if (how != nullptr && size > 0) how[0] = '\0';
  return by_identity(__func__, enc_id, {enc_id, port_id}, [&](const char* id) {
    SlotLedRoute r = pd_sys_slot_led_route(id, port_id);
    int caps = 0;
    for (auto [bit, led] : kLeds)
      if (slot_led_offered(r, led)) caps |= bit;
    if (caps != 0 && r.reads_back) caps |= GPIO_HDD_LED_READ_BACK;
    if (how != nullptr && size > 0) {
      std::string text = described(r);
      size_t n = std::min(text.size(), static_cast<size_t>(size) - 1);
      std::memcpy(how, text.data(), n);
      how[n] = '\0';
    }
    return caps;
  });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int GPIO_Get_HDD_LED(int enc_id, int port_id, int led) try {
  return by_identity(__func__, enc_id, {enc_id, port_id}, [&](const char* id) {
    for (auto [bit, which] : kLeds)
      if (bit == led) return pd_sys_get_slot_led(id, port_id, which);
    return -1;
  });
} BAYHAL_C_BOUNDARY(-1)
