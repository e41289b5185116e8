// hal_tool version
#include "tools/hal_tool/tool.h"

#ifndef BAYHAL_VERSION
#define BAYHAL_VERSION "unknown"
#endif

namespace hal_tool {
namespace {

void add_version(CLI::App& app, Context& ctx) {
  auto* cmd = app.add_subcommand("version", "print the library version");
  cmd->callback([&ctx] {
    emit(ctx, nlohmann::json{{"name", "bayhal"}, {"version", BAYHAL_VERSION}, {"soname", "libbayhal.so.1"}},
         std::string("bayhal ") + BAYHAL_VERSION);
  });
}

}  // namespace

HAL_TOOL_COMMAND(add_version);

}  // namespace hal_tool
