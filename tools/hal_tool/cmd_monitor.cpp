// The hardware monitor of an enclosure's board (enclosure 0, the appliance, when none is named):
//   hal_tool temp [ENC]                     temperatures and region averages
//   hal_tool fan [ENC]                      fans: speed, status, PWM and level
//   hal_tool fan set INDEX|all LEVEL [--enc ENC]   a fan, or every configured fan, to a level
//   hal_tool metrics [ENC]                  everything above and the disks' cached SMART health
//                                           in the OpenMetrics text format
#include <cmath>
#include <utility>

#include "bayhal/HM.h"
#include "tools/hal_tool/monitor_readings.h"
#include "tools/hal_tool/names.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

struct Args {
  std::string enc = "0", index, level;
};

struct Board {
  int enc_id;
  std::vector<Sensor> sensors;
};

// The enclosure the arguments name and every sensor of its board, or a failure already told.
std::optional<Board> board_of(Context& ctx, const Args& a) {
  auto e = enclosure_arg(ctx, a.enc);
  if (!e) return std::nullopt;
  auto s = read_sensors(e->id);
  if (!s) {
    ctx.fail("enclosure " + std::to_string(e->id) + " is not registered");
    return std::nullopt;
  }
  return Board{e->id, std::move(*s)};
}

json reading(const Sensor& s, json value) { return s.rc == 0 ? value : json(); }

void temp(Context& ctx, const Args& a) {
  auto b = board_of(ctx, a);
  if (!b) return;
  json rows = json::array();
  for (const Sensor& s : b->sensors) {
    if (s.kind != "temperature" && s.kind != "region") continue;
    rows.push_back({{"kind", s.kind},
                    {"index", s.index},
                    {"name", s.name},
                    {"celsius", reading(s, std::lround(s.celsius))},
                    {"ok", s.rc == 0}});
  }
  ctx.emit(json{{"enclosure", b->enc_id}, {"temperatures", rows}},
           table_of(rows, {"kind", "index", "name", "celsius", "ok"}));
}

void fan(Context& ctx, const Args& a) {
  auto b = board_of(ctx, a);
  if (!b) return;
  json rows = json::array();
  for (const Sensor& s : b->sensors) {
    if (s.kind != "fan") continue;
    rows.push_back({{"index", s.index},
                    {"name", s.name},
                    {"rpm", reading(s, s.rpm)},
                    {"fan_status", reading(s, s.status == 0 ? "running" : "failed")},
                    {"pwm", s.pwm_rc == 0 ? json(s.pwm) : json()},
                    {"level", s.pwm_rc == 0 && s.level >= 0 ? json(s.level) : json()},
                    {"ok", s.rc == 0}});
  }
  ctx.emit(json{{"enclosure", b->enc_id}, {"fans", rows}},
           table_of(rows, {"index", "name", "rpm", "fan_status", "pwm", "level"}));
}

void fan_set(Context& ctx, const Args& a) {
  long long index = -1, level;
  if (a.index != "all" && !number_arg(ctx, "fan index", a.index, 0, 35, index)) return;
  if (!number_arg(ctx, "level", a.level, 0, 8, level)) return;
  auto e = enclosure_arg(ctx, a.enc);
  if (!e) return;
  json r{{"enclosure", e->id}, {"index", index < 0 ? json("all") : json(index)}, {"level", level}};
  if (HM_Set_Fan_Speed(e->id, static_cast<int>(index), static_cast<int>(level)) != 0) {
    ctx.set_result(r);
    return ctx.fail("fan set " + a.index + " " + a.level + ": failed" + log_hint());
  }
  ctx.emit(r, "fan " + a.index + " set to level " + a.level);
}

void metrics(Context& ctx, const Args& a) {
  auto b = board_of(ctx, a);
  if (!b) return;
  std::string text = openmetrics(b->enc_id, b->sensors, read_disk_health(b->enc_id));
  ctx.emit(json{{"enclosure", b->enc_id}, {"openmetrics", text}}, text.substr(0, text.size() - 1));
}

void add_monitor(CLI::App& app, Context& ctx) {
  static Args args;
  CLI::App* t = ctx.add_command(&app, "temp", "the board's temperatures and region averages", "temp",
                                [&ctx] { temp(ctx, args); });
  t->add_option("enc", args.enc, "enclosure (default 0)");
  CLI::App* f = ctx.add_command(&app, "fan", "the board's fans: speed, status, PWM and level", "fan",
                                [&ctx] { fan(ctx, args); });
  f->add_option("enc", args.enc, "enclosure (default 0)");
  CLI::App* set = ctx.add_command(f, "set", "set a fan, or every configured fan (all), to a level 0-8",
                                  "fan", [&ctx] { fan_set(ctx, args); });
  set->add_option("index", args.index, "fan index or all")->required();
  set->add_option("level", args.level, "level 0-8")->required();
  set->add_option("--enc", args.enc, "enclosure (default 0)")->type_name("ENC");
  CLI::App* m = ctx.add_command(&app, "metrics", "every reading of the monitor and the disks' cached SMART health in the OpenMetrics text format",
                                "metrics", [&ctx] { metrics(ctx, args); });
  m->add_option("enc", args.enc, "enclosure (default 0)");
}

}  // namespace

HAL_TOOL_COMMAND(add_monitor);

}  // namespace hal_tool
