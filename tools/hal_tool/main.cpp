// hal_tool: the appliance's command-line view of the hardware layer. Exit codes: 0 success,
// 1 the operation failed (the library's reason on stderr), 2 bad usage (one line on stderr).
#include <sys/stat.h>

#include <cstdlib>
#include <exception>
#include <iostream>

#include "tools/hal_tool/tool.h"

namespace hal_tool {
void register_all(CLI::App& app, Context& ctx);
}

namespace {

// CLI11 messages can run over several lines; the tool's usage errors are one line.
std::string first_line(const std::string& text) {
  std::string line = text.substr(0, text.find('\n'));
  return line.empty() ? "bad usage" : line;
}

// "A subcommand is required" also comes for a word that names no command: say which.
std::string usage_message(CLI::App& app, const CLI::ParseError& e) {
  CLI::App* deepest = &app;
  for (bool descended = true; descended;) {
    descended = false;
    for (CLI::App* sub : deepest->get_subcommands())
      if (sub->parsed()) {
        deepest = sub;
        descended = true;
        break;
      }
  }
  std::vector<std::string> rest = deepest->remaining();
  if (!rest.empty() && rest.front().rfind("-", 0) != 0) {
    std::string where = deepest == &app ? "" : " for '" + deepest->get_name() + "'";
    bool takes_commands = !deepest->get_subcommands([](CLI::App*) { return true; }).empty();
    return (takes_commands ? "unknown command '" : "unexpected argument '") + rest.front() + "'" +
           where;
  }
  return first_line(e.what());
}

}  // namespace

int main(int argc, char** argv) {
  hal_tool::Context ctx;
  CLI::App app{"hal_tool: inspect and drive the appliance's hardware layer"};
  app.require_subcommand(1);
  std::string root;
  app.add_flag("--json", ctx.json, "machine-readable output (schemas in docs/hal_tool.md)");
  app.add_option("--root", root, "system root (same as HAL_ROOT)");
  app.parse_complete_callback([&] {
    if (root.empty()) return;
    struct stat st {};
    if (::stat(root.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
      throw CLI::ValidationError("--root", root + " is not a directory");
    ::setenv("HAL_ROOT", root.c_str(), 1);
  });
  hal_tool::register_all(app, ctx);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    std::cerr << "hal_tool: " << usage_message(app, e) << " (see hal_tool --help)\n";
    return hal_tool::kUsage;
  } catch (const std::exception& e) {
    std::cerr << "hal_tool: internal error: " << first_line(e.what()) << '\n';
    return hal_tool::kFailed;
  }
  return ctx.exit_code;
}
