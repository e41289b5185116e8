// hal_tool trace LEVEL MESSAGE: writes one trace line as any library caller would.
#include "bayhal/ERR_TRACE.h"
#include "tools/hal_tool/tool.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

struct Args {
  std::string level, message;
};

void trace(Context& ctx, const Args& a) {
  long long level = 0;
  if (!number_arg(ctx, "trace level", a.level, 0, 0xFFFFFFFFll, level)) return;
  int rc = ERR_TRACE(static_cast<unsigned>(level), "%s\n", a.message.c_str());
  char log[4096] = "";
  unsigned mask = 0;
  bayhal_tool_trace_log(log, sizeof log, &mask);
  bool written = (static_cast<unsigned>(level) & mask) != 0 && rc == 0;
  ctx.emit(json{{"level", level}, {"mask", mask}, {"written", written}, {"log", log}},
           written ? std::string("written to ") + log : "filtered out by the mask");
  if (rc != 0) ctx.fail("trace: cannot write " + std::string(log) + " (its lock file could not be opened)");
}

void add_trace(CLI::App& app, Context& ctx) {
  static Args args;
  auto* cmd = ctx.add_command(&app, "trace", "write a trace line (LEVEL is a bit mask, e.g. 1 or 0x8)",
                              "trace", [&ctx] { trace(ctx, args); });
  cmd->add_option("level", args.level, "level bit mask")->required();
  cmd->add_option("message", args.message, "message text")->required();
}

}  // namespace

HAL_TOOL_COMMAND(add_trace);

}  // namespace hal_tool
