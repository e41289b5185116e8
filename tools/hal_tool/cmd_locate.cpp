// The locate forms the system runs: "/sbin/hal_tool buzzer_locate on", "lcm_locate on",
// "speaker_locate on [voice]". Their arguments are checked now; acting on them needs the
// board services (buzzer, front-panel display, speaker), which this build does not have, so
// each reports that and exits 1.
#include <memory>

#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

struct LocateArgs {
  std::string state;
  std::string voice;
};

void locate(Context& ctx, const std::string& name, const LocateArgs& a) {
  bool on = false;
  if (!on_off_arg(ctx, name + " state", a.state, on)) return;
  if (a.voice.find_first_of("\n\r") != std::string::npos) return ctx.usage("bad voice: one line of text expected");
  ctx.set_result({{"command", name}, {"state", on ? "on" : "off"},
                  {"voice", a.voice.empty() ? json() : json(a.voice)}, {"supported", false}});
  ctx.fail(name + ": not supported on this board yet (it needs the board services)");
}

void add_form(CLI::App& app, Context& ctx, const std::string& name, const std::string& what,
              bool with_voice) {
  auto args = std::make_shared<LocateArgs>();
  auto* cmd = ctx.add_command(&app, name, what, "locate", [&ctx, name, args] { locate(ctx, name, *args); });
  cmd->add_option("state", args->state, "on or off")->required();
  if (with_voice) cmd->add_option("voice", args->voice, "voice prompt to play");
}

void add_locate(CLI::App& app, Context& ctx) {
  add_form(app, ctx, "buzzer_locate", "sound the buzzer to locate the appliance", false);
  add_form(app, ctx, "lcm_locate", "flash the front-panel display to locate the appliance", false);
  add_form(app, ctx, "speaker_locate", "play a voice prompt to locate the appliance", true);
}

}  // namespace

HAL_TOOL_COMMAND(add_locate);

}  // namespace hal_tool
