// hal_tool: the appliance's command-line view of the hardware layer.
#include <cstdlib>
#include <iostream>

#include "tools/hal_tool/tool.h"

namespace hal_tool {
void register_all(CLI::App& app, Context& ctx);
}

int main(int argc, char** argv) {
  hal_tool::Context ctx;
  CLI::App app{"hal_tool: inspect and drive the appliance's hardware layer"};
  app.require_subcommand(1);
  std::string root;
  app.add_flag("--json", ctx.json, "machine-readable output");
  app.add_option("--root", root, "system root (same as HAL_ROOT)");
  app.parse_complete_callback([&] {
    if (!root.empty()) ::setenv("HAL_ROOT", root.c_str(), 1);
  });
  hal_tool::register_all(app, ctx);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    app.exit(e);
    return hal_tool::kUsage;
  }
  return ctx.exit_code;
}
