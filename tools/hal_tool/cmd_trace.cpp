// hal_tool trace LEVEL MESSAGE: writes one trace line as any library caller would.
#include "bayhal/ERR_TRACE.h"
#include "foundation/err_trace.h"
#include "foundation/sysroot.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

void add_trace(CLI::App& app, Context& ctx) {
  auto* cmd = app.add_subcommand("trace", "write a trace line (LEVEL is a bit mask, e.g. 1 or 0x8)");
  static std::string level_text;
  static std::string message;
  cmd->add_option("level", level_text, "level bit mask")->required();
  cmd->add_option("message", message, "message text")->required();
  cmd->callback([&ctx] {
    char* end = nullptr;
    unsigned long level = std::strtoul(level_text.c_str(), &end, 0);
    if (level_text.empty() || *end != '\0' || level > 0xFFFFFFFFul) {
      std::cerr << "hal_tool: trace: bad level '" << level_text << "'\n";
      ctx.exit_code = kUsage;
      return;
    }
    int rc = ERR_TRACE(static_cast<unsigned>(level), "%s\n", message.c_str());
    bool written = (level & bayhal::trace_mask()) != 0 && rc == 0;
    std::string log = bayhal::sys_path(bayhal::trace_log_path());
    nlohmann::json j{{"level", level}, {"mask", bayhal::trace_mask()}, {"written", written},
                     {"log", log}};
    emit(ctx, j, written ? "written to " + log : "filtered out by mask");
    if (rc != 0) fail(ctx, "trace: cannot open the lock file");
  });
}

}  // namespace

HAL_TOOL_COMMAND(add_trace);

}  // namespace hal_tool
