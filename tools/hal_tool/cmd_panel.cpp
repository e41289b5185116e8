// hal_tool led|buzzer|button: the front panel's LEDs, the status LED's events, brightness,
// the buzzer's patterns, and the buttons, case cover and power supplies.
#include <fstream>
#include <map>
#include <memory>
#include <vector>

#include "bayhal/GPIO.h"
#include "bayhal/SE.h"
#include "tools/hal_tool/names.h"

namespace hal_tool {
namespace {

struct Args {
  std::string enc = "0";
  std::string what;
  std::vector<std::string> rest;
};

// An LED that may be set (and blinked, when `blink` is given).
struct SingleLed {
  int (*set)(int, int);
  int (*blink)(int, int);
};
const std::map<std::string, SingleLed> kLeds = {
    {"power", {GPIO_Enable_Power_LED, GPIO_Enable_Power_LED_BLINK}},
    {"usb", {GPIO_Enable_USB_LED, GPIO_Enable_USB_LED_BLINK}},
    {"breathing", {GPIO_Enable_BREATHING_LED, GPIO_Enable_BREATHING_LED_BLINK}},
    {"breath", {GPIO_Enable_Breath_LED, nullptr}},
    {"standby", {GPIO_Enable_Standby_LED, nullptr}},
    {"10g", {GPIO_Enable_10G_Present_LED, nullptr}},
    {"exp", {GPIO_Enable_EXP_Present_LED, nullptr}},
};

bool args_count(Context& ctx, const Args& a, size_t n, const std::string& form) {
  if (a.rest.size() == n) return true;
  ctx.usage("led " + a.what + ": expected " + form);
  return false;
}

// "on", "off" or (where the LED blinks) "blink": 1, 0 or 2.
bool state_arg(Context& ctx, const std::string& text, bool blinks, int& state) {
  if (text == "on" || text == "off") {
    state = text == "on";
    return true;
  }
  if (blinks && text == "blink") {
    state = 2;
    return true;
  }
  ctx.usage("bad state '" + text + "': expected on, off" + (blinks ? " or blink" : ""));
  return false;
}

void done(Context& ctx, json r, int rc, const std::string& what) {
  r["result"] = rc;
  if (rc != 0) {
    ctx.set_result(r);
    return ctx.fail(what + ": the board cannot do it" + log_hint());
  }
  ctx.emit(r, what + ": done");
}

void status_led(Context& ctx, const Enclosure& enc, const Args& a) {
  if (!args_count(ctx, a, 2, "red|green|both on|off|blink")) return;
  static const std::map<std::string, int> colours = {{"red", 0}, {"green", 1}, {"both", 2}};
  auto c = colours.find(a.rest[0]);
  if (c == colours.end()) return ctx.usage("bad colour '" + a.rest[0] + "': expected red, green or both");
  int state = 0;
  if (!state_arg(ctx, a.rest[1], true, state)) return;
  if (c->second == 2 && state == 1) return ctx.usage("both LEDs can only blink together");
  int rc = state == 2 || c->second == 2 ? GPIO_Enable_Status_LED_BLINK(enc.id, c->second, state != 0)
                                        : GPIO_Enable_Status_LED(enc.id, c->second, state);
  done(ctx, {{"enc_id", enc.id}, {"led", "status"}, {"colour", a.rest[0]}, {"state", a.rest[1]}}, rc,
       "led status " + a.rest[0] + " " + a.rest[1]);
}

void single_led(Context& ctx, const Enclosure& enc, const Args& a, const SingleLed& led) {
  if (!args_count(ctx, a, 1, led.blink ? "on|off|blink" : "on|off")) return;
  int state = 0;
  if (!state_arg(ctx, a.rest[0], led.blink != nullptr, state)) return;
  // Off also ends a blink: the LED is driven off as a plain LED.
  int rc = state == 2 ? led.blink(enc.id, 1) : led.set(enc.id, state);
  done(ctx, {{"enc_id", enc.id}, {"led", a.what}, {"state", a.rest[0]}}, rc, "led " + a.what + " " + a.rest[0]);
}

void event(Context& ctx, const Args& a) {
  if (!args_count(ctx, a, 2, "EVENT on|off")) return;
  long long ev = 0;
  bool on = false;
  if (!number_arg(ctx, "event", a.rest[0], 0, 0xFFFFF, ev) || !on_off_arg(ctx, "event state", a.rest[1], on)) return;
  int rc = GPIO_Set_NAS_Status_LED(static_cast<int>(ev), on ? 1 : 0);
  std::string bitmap;
  std::ifstream(host_path("/var/ledvalue")) >> bitmap;
  done(ctx, {{"event", ev}, {"state", a.rest[1]}, {"bitmap", text_or_null(bitmap)}}, rc,
       "led event " + a.rest[0] + " " + a.rest[1] + " (events now " + bitmap + ")");
}

void brightness(Context& ctx, const Enclosure& enc, const Args& a) {
  if (!args_count(ctx, a, 1, "PERCENT (0-100)")) return;
  long long pct = 0;
  if (!number_arg(ctx, "brightness", a.rest[0], 0, 100, pct)) return;
  int kind = -1, levels = 0;
  SE_Get_LED_BV_Ctrl_Capability(enc.id, &kind, &levels);
  json r{{"enc_id", enc.id}, {"percent", pct}, {"dimmable", kind == 1},
         {"levels", kind == 1 ? json(levels) : json()}};
  done(ctx, r, GPIO_Set_LED_Brightness(enc.id, static_cast<int>(pct)), "led brightness " + a.rest[0]);
}

void night(Context& ctx, const Enclosure& enc, const Args& a) {
  if (!args_count(ctx, a, 1, "on|off")) return;
  bool on = false;
  if (!on_off_arg(ctx, "night mode", a.rest[0], on)) return;
  done(ctx, {{"enc_id", enc.id}, {"night_mode", on}}, GPIO_Enable_LED_In_Night_Mode(enc.id, on), "led night " + a.rest[0]);
}

void led(Context& ctx, const Args& a) {
  if (a.what == "event") return event(ctx, a);
  auto enc = enclosure_arg(ctx, a.enc);
  if (!enc) return;
  if (a.what == "status") return status_led(ctx, *enc, a);
  if (a.what == "brightness") return brightness(ctx, *enc, a);
  if (a.what == "night") return night(ctx, *enc, a);
  if (auto l = kLeds.find(a.what); l != kLeds.end()) return single_led(ctx, *enc, a, l->second);
  ctx.usage("bad LED '" + a.what + "': expected status, power, usb, standby, breath, breathing, 10g, exp, "
            "brightness, night or event");
}

void buzzer(Context& ctx, const std::string& enc_text, const std::string& pattern_text) {
  auto enc = enclosure_arg(ctx, enc_text);
  long long pattern = 0;
  if (!enc || !number_arg(ctx, "pattern", pattern_text, 0, 255, pattern)) return;
  done(ctx, {{"enc_id", enc->id}, {"pattern", pattern}}, SE_Set_Buzzer(enc->id, static_cast<int>(pattern)),
       "buzzer pattern " + pattern_text);
}

// A button or the cover: true/false, null when the board cannot tell.
json pressed(int state) { return state < 0 ? json() : json(state == 1); }

void buttons(Context& ctx, const std::string& enc_text) {
  auto enc = enclosure_arg(ctx, enc_text);
  if (!enc) return;
  json r{{"enc_id", enc->id},
         {"reset", pressed(GPIO_Does_Reset_Button_Press(enc->id))},
         {"usb_copy", pressed(GPIO_Does_Copy_Button_Press(enc->id))},
         {"eject", pressed(GPIO_Does_Eject_Button_Press(enc->id))},
         {"case_cover_open", pressed(GPIO_Does_Case_Cover_Open(enc->id))},
         {"power_supplies", json::array()}};
  for (int n : {1, 2}) {
    int status = -1;
    bool known = GPIO_Get_Power_Status(enc->id, n, &status) == 0;
    r["power_supplies"].push_back({{"supply", n}, {"status", known ? json(status == 0 ? "good" : "failed") : json()}});
  }
  Table t{{"input", "state"}, {}};
  auto word = [](const json& v, const char* yes, const char* no) {
    return v.is_null() ? std::string("-") : v.get<bool>() ? yes : no;
  };
  t.rows.push_back({"reset button", word(r["reset"], "pressed", "released")});
  t.rows.push_back({"USB copy button", word(r["usb_copy"], "pressed", "released")});
  t.rows.push_back({"eject button", word(r["eject"], "pressed", "released")});
  t.rows.push_back({"case cover", word(r["case_cover_open"], "open", "closed")});
  for (const json& s : r["power_supplies"])
    t.rows.push_back({"power supply " + std::to_string(s["supply"].get<int>()),
                      s["status"].is_null() ? "-" : s["status"].get<std::string>()});
  ctx.emit(r, t);
}

void add_panel(CLI::App& app, Context& ctx) {
  static Args a;
  CLI::App* l = ctx.add_command(&app, "led", "switch a front-panel LED, set brightness or a status-LED event",
                                "led", [&ctx] { led(ctx, a); });
  l->add_option("led", a.what, "status, power, usb, standby, breath, breathing, 10g, exp, brightness, night, event")
      ->required();
  l->add_option("args", a.rest, "status: red|green|both on|off|blink; power, usb, breathing: on|off|blink; "
                                 "others on|off; brightness PERCENT; event EVENT on|off");
  l->add_option("--enc", a.enc, "ENC: the enclosure (default 0, the appliance)");

  static std::string b_enc = "0", pattern;
  CLI::App* b = ctx.add_command(&app, "buzzer", "sound a buzzer pattern (0 short, 1 long, 2-20 the system's)",
                                "buzzer", [&ctx] { buzzer(ctx, b_enc, pattern); });
  b->add_option("pattern", pattern, "PATTERN number")->required();
  b->add_option("--enc", b_enc, "ENC: the enclosure (default 0)");

  static std::string k_enc = "0";
  ctx.add_command(&app, "button", "the buttons, the case cover and the power supplies now", "inputs",
                  [&ctx] { buttons(ctx, k_enc); })
      ->add_option("enc", k_enc, "ENC: the enclosure (default 0)");
}

}  // namespace

HAL_TOOL_COMMAND(add_panel);

}  // namespace hal_tool
