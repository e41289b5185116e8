// hal_tool disk led [ENC] and disk led ENC PORT ident|fault|present|active on|off: what drives
// each bay's LEDs, whether they read back, and switching one.
#include <map>
#include <vector>

#include "bayhal/GPIO.h"
#include "bayhal/SE.h"
#include "tools/hal_tool/names.h"

namespace hal_tool {
namespace {

const std::map<std::string, int> kLedBits = {{"fault", GPIO_HDD_LED_ERR},
                                             {"ident", GPIO_HDD_LED_IDENT},
                                             {"present", GPIO_HDD_LED_PRESENT},
                                             {"active", GPIO_HDD_LED_ACTIVE}};

json bay_json(int enc_id, int port) {
  char how[160] = "";
  int caps = GPIO_Get_HDD_LED_Capability(enc_id, port, how, sizeof how);
  json leds = json::array();
  json state = json::object();
  for (const auto& [name, bit] : kLedBits) {
    if (caps <= 0 || !(caps & bit)) continue;
    leds.push_back(name);
    int on = GPIO_Get_HDD_LED(enc_id, port, bit);
    state[name] = on < 0 ? json() : json(on == 1);
  }
  return {{"bay", bay_name(enc_id, port)}, {"path", how}, {"leds", leds},
          {"reads_back", caps > 0 && (caps & GPIO_HDD_LED_READ_BACK) != 0}, {"state", state}};
}

void show(Context& ctx, const std::string& enc_text) {
  std::vector<int> ids;
  if (!enc_text.empty()) {
    auto enc = enclosure_arg(ctx, enc_text);
    if (!enc) return;
    ids.push_back(enc->id);
  } else if (auto all = registered_ids(ctx)) {
    ids = *all;
  } else {
    return;
  }
  json bays = json::array();
  for (int id : ids) {
    SE_ENC_INFO info{};
    if (SE_Get_Info(id, &info) != 0) continue;
    for (int port = 1; port <= info.max_disk_num && port <= 100; ++port) bays.push_back(bay_json(id, port));
  }
  Table t = table_of(bays, {"bay", "leds", "reads_back", "path"});
  ctx.emit(bays, t);
}

void set(Context& ctx, const std::vector<std::string>& a) {
  auto bay = bay_arg(ctx, a[0] + "/" + a[1]);
  if (!bay) return;
  auto led = kLedBits.find(a[2]);
  if (led == kLedBits.end()) return ctx.usage("bad LED '" + a[2] + "': expected ident, fault, present or active");
  bool on = false;
  if (!on_off_arg(ctx, "LED state", a[3], on)) return;
  int enc = bay->enc.id, port = bay->port;
  int rc = -1;
  switch (led->second) {
    case GPIO_HDD_LED_ERR: rc = GPIO_Enable_HDD_ERR_LED(enc, port, on); break;
    case GPIO_HDD_LED_IDENT: rc = GPIO_Enable_HDD_Ident_LED(enc, port, on); break;
    case GPIO_HDD_LED_PRESENT: rc = GPIO_Enable_HDD_Present_LED(enc, port, on); break;
    case GPIO_HDD_LED_ACTIVE: rc = GPIO_Enable_HDD_Active_LED(enc, port, on); break;
  }
  json r = bay_json(enc, port);
  r["set"] = {{"led", a[2]}, {"state", a[3]}};
  if (rc != 0) {
    ctx.set_result(r);
    return ctx.fail("disk led " + bay_name(enc, port) + " " + a[2] + ": " + r["path"].get<std::string>());
  }
  json shown = r["state"].contains(a[2]) ? r["state"][a[2]] : json();
  ctx.emit(r, "bay " + bay_name(enc, port) + " " + a[2] + " " + a[3] + " (" + r["path"].get<std::string>() +
                  (shown.is_null() ? ")" : shown.get<bool>() ? ", reads on)" : ", reads off)"));
}

void disk_led(Context& ctx, const std::vector<std::string>& a) {
  if (a.size() <= 1) return show(ctx, a.empty() ? "" : a[0]);
  if (a.size() != 4) return ctx.usage("disk led: expected [ENC], or ENC PORT ident|fault|present|active on|off");
  set(ctx, a);
}

void add_disk_led(CLI::App& app, Context& ctx) {
  CLI::App* disk = ctx.area(app, "disk", "disk registry and discovery");
  static std::vector<std::string> args;
  ctx.add_command(disk, "led", "the bays' LEDs: what drives them, and switching one", "leds",
                  [&ctx] { disk_led(ctx, args); })
      ->add_option("args", args, "[ENC], or ENC PORT ident|fault|present|active on|off");
}

}  // namespace

HAL_TOOL_COMMAND(add_disk_led);

}  // namespace hal_tool
