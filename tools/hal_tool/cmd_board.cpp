// hal_tool board [--all] [--read]: which chip and channel serve each board function of the
// appliance, as the model description names them, and whether this build can drive it.
#include <cmath>
#include <cstdio>

#include "tools/hal_tool/tool.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

json null_or(const char* text) { return text != nullptr ? json(text) : json(); }

json hex_or_null(int address) {
  if (address < 0) return nullptr;
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%x", address);
  return buf;
}

json function_json(const BAYHAL_TOOL_BOARD_FUNCTION& f) {
  return {{"name", f.name},
          {"group", f.group},
          {"index", f.index >= 0 ? json(f.index) : json()},
          {"section", text_or_null(f.section)},
          {"key", text_or_null(f.key)},
          {"value", null_or(f.value)},
          {"slot", null_or(f.slot)},
          {"chip", null_or(f.chip)},
          {"channel", f.channel >= 0 ? json(f.channel) : json()},
          {"address", hex_or_null(f.address)},
          {"supported", f.supported != 0},
          {"reason", null_or(f.reason)},
          {"reading", nullptr},
          {"celsius", nullptr},
          {"rpm", nullptr},
          {"fan_status", nullptr}};
}

// The live value of a supported temperature or fan; a failed read stays null.
void read_value(json& f) {
  const std::string group = f["group"];
  int index = f["index"].is_null() ? -1 : f["index"].get<int>();
  if (!f["supported"].get<bool>() || index < 0) return;
  double value = 0;
  int status = 0;
  if (group == "temperature" && bayhal_tool_board_temp(index, &value) == 0) {
    f["celsius"] = std::lround(value);
    f["reading"] = std::to_string(std::lround(value)) + " °C";
  } else if (group == "fan" && bayhal_tool_board_fan(index, &value, &status) == 0) {
    f["rpm"] = std::lround(value);
    f["fan_status"] = status == 0 ? "running" : "failed";
    f["reading"] = std::to_string(std::lround(value)) + " rpm" + (status == 0 ? "" : ", failed");
  }
}

void board(Context& ctx, bool all, bool read) {
  int ec = 0, spec = -2;
  bayhal_tool_board_facts(&ec, &spec);
  json r{{"ec", ec == 1}, {"mcu_spec", spec == -2 ? json() : json(spec)}, {"functions", json::array()}};
  auto add = [](void* arg, const BAYHAL_TOOL_BOARD_FUNCTION* f) {
    static_cast<json*>(arg)->push_back(function_json(*f));
  };
  json functions = json::array();
  if (bayhal_tool_board_map(add, &functions) < 0) {
    ctx.set_result(r);
    return ctx.fail("board: the model description could not be read" + log_hint());
  }
  for (json& f : functions) {
    bool described = !f["value"].is_null() || f["reason"].is_null() ||
                      f["reason"].get<std::string>() != "not described";
    if (!all && !described) continue;
    if (read) read_value(f);
    r["functions"].push_back(f);
  }
  Table t = table_of(r["functions"], {"name", "key", "value", "chip", "channel", "address", "supported", "reason"});
  if (read) t = table_of(r["functions"], {"name", "value", "chip", "channel", "supported", "reading"});
  ctx.emit(r, t);
}

void add_board(CLI::App& app, Context& ctx) {
  static bool all = false, read = false;
  CLI::App* cmd = ctx.add_command(&app, "board", "the chip and channel behind each board function",
                                  "board", [&ctx] { board(ctx, all, read); });
  cmd->add_flag("--all", all, "also the functions the model description does not describe");
  cmd->add_flag("--read", read, "read each supported temperature and fan now");
}

}  // namespace

HAL_TOOL_COMMAND(add_board);

}  // namespace hal_tool
