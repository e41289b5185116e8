// hal_tool: the appliance's command-line view of the hardware layer. Exit codes: 0 success,
// 1 the operation failed (the reason on stderr), 2 bad usage (one line on stderr).
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tools/hal_tool/tool.h"

#ifndef BAYHAL_VERSION
#define BAYHAL_VERSION "unknown"
#endif

namespace {

constexpr char kFooter[] = R"(Options may also follow the command (hal_tool enc list --json).
ENC names an enclosure by id or identity (0, root, 5000ccab0200e07f); BAY is ENC/PORT
(0/3, root/3); DISK a kernel disk name (sdc).

Exit status: 0 success; 1 the operation failed, the reason on stderr; 2 bad usage.
Environment: HAL_ROOT, the system root (as --root); NO_COLOR turns colour off.
Output formats and the JSON envelope: docs/hal_tool.md.)";

// The root as an absolute directory, so that every path the tool reports names the real
// place; a root that is not there is a failure before anything runs.
bool use_root(hal_tool::Context& ctx, const std::string& given) {
  if (given.empty()) return true;
  std::error_code ec;
  std::filesystem::path abs = std::filesystem::absolute(given, ec).lexically_normal();
  struct stat st {};
  std::string problem = ec                                  ? ec.message()
                        : ::stat(abs.c_str(), &st) != 0    ? std::strerror(errno)
                        : !S_ISDIR(st.st_mode)              ? "not a directory"
                                                            : "";
  if (!problem.empty()) {
    ctx.fail("system root " + given + ": " + problem);
    return false;
  }
  ::setenv("HAL_ROOT", abs.c_str(), 1);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  hal_tool::Context ctx("hal_tool", BAYHAL_VERSION, argc, argv);
  CLI::App app{"hal_tool: inspect and drive the appliance's hardware layer"};
  ctx.add_global_options(app);
  app.require_subcommand(1);
  std::string root;
  if (const char* env = std::getenv("HAL_ROOT")) root = env;
  app.add_option("--root", root, "system root DIR (as HAL_ROOT=DIR)")->type_name("DIR");
  app.parse_complete_callback([&] {
    if (!use_root(ctx, root)) throw CLI::RuntimeError(bayhal::cli::kFailed);
  });
  hal_tool::register_all(app, ctx);
  app.footer(kFooter);  // after the commands, which would otherwise repeat it
  return ctx.execute(app);
}
