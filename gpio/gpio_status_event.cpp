// GPIO_Set_NAS_Status_LED: the appliance's status LED follows a persistent set of system
// events, the most important group deciding the colour and blinking.
#include "bayhal/ERR_TRACE.h"
#include "bayhal/GPIO.h"
#include "foundation/c_boundary.h"
#include "foundation/clock.h"
#include "foundation/export.h"
#include "gpio/gpio_call.h"
#include "gpio/status_event_files.h"

using namespace bayhal;
using namespace bayhal::gpio;

namespace {

constexpr int kRed = 0, kGreen = 1, kBoth = 2;
constexpr long kThenBothAfterMs = 5000;

enum class Look { kGreenOff, kBothBlink, kRed, kRedBlink, kGreenBlink, kGreen };

// The first group with an event set decides; none set is normal (green steady).
struct Priority {
  unsigned mask;
  Look look;
};
constexpr Priority kPriority[] = {
    {GPIO_EVENT_GREEN_OFF_FIRST, Look::kGreenOff}, {GPIO_EVENT_BOTH_BLINK, Look::kBothBlink},
    {GPIO_EVENT_RED, Look::kRed},                  {GPIO_EVENT_RED_BLINK, Look::kRedBlink},
    {GPIO_EVENT_GREEN_BLINK, Look::kGreenBlink},   {GPIO_EVENT_GREEN_OFF, Look::kGreenOff},
};

Look look_of(unsigned bitmap) {
  for (const Priority& p : kPriority)
    if (bitmap & p.mask) return p.look;
  return Look::kGreen;
}

EventState apply(EventState s, unsigned event, int status) {
  if (event == GPIO_EVENT_FORMATTING) {
    s.formatting = status ? s.formatting + 1 : (s.formatting > 0 ? s.formatting - 1 : 0);
    status = s.formatting > 0;
  }
  if (event == 0) {
    s.bitmap = 0;
    s.formatting = 0;
  } else if (event == GPIO_EVENT_EXCLUSIVE && status) {
    s.bitmap = GPIO_EVENT_EXCLUSIVE;
  } else {
    s.bitmap = status ? s.bitmap | event : s.bitmap & ~event;
  }
  return s;
}

int drive(Look look, unsigned bitmap) {
  switch (look) {
    case Look::kGreenOff: return GPIO_Enable_Status_LED(0, kGreen, 0);
    case Look::kBothBlink: return GPIO_Enable_Status_LED_BLINK(0, kBoth, 1);
    case Look::kRed:
      GPIO_Enable_Status_LED(0, kGreen, 0);
      return GPIO_Enable_Status_LED(0, kRed, 1);
    case Look::kRedBlink:
      GPIO_Enable_Status_LED(0, kGreen, 0);
      return GPIO_Enable_Status_LED_BLINK(0, kRed, 1);
    case Look::kGreenBlink: {
      int rc = GPIO_Enable_Status_LED_BLINK(0, kGreen, 1);
      if (!(bitmap & GPIO_EVENT_GREEN_BLINK_THEN_BOTH)) return rc;
      // The caller waits: the both-blinking look must follow this one, not race a later call.
      bayhal::clock().sleep_ms(kThenBothAfterMs);
      return GPIO_Enable_Status_LED_BLINK(0, kBoth, 1);
    }
    case Look::kGreen:
      GPIO_Enable_Status_LED(0, kRed, 0);
      return GPIO_Enable_Status_LED(0, kGreen, 1);
  }
  return -1;
}

}  // namespace

BAYHAL_EXPORT int GPIO_Set_NAS_Status_LED(int event, int status) try {
  trace_entry(__func__, {event, status});
  auto u = update_event_state(__func__, [&](EventState s) {
    ERR_TRACE(HAL_TRACE_INFO, "%s: event = 0x%x,status = %d, value = 0x%x, formatting_count = %d\n",
              "GPIO_Set_NAS_Status_LED", static_cast<unsigned>(event), status, s.bitmap, s.formatting);
    return apply(s, static_cast<unsigned>(event), status);
  });
  if (!u) return -1;
  if (u->after.bitmap == u->before.bitmap && u->after.bitmap != 0) return 0;
  return drive(look_of(u->after.bitmap), u->after.bitmap);
} BAYHAL_C_BOUNDARY(-1)
