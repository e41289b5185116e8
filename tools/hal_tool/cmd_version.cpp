// hal_tool version: the tool's version and the library it runs on, as the loader found it.
#include <dlfcn.h>

#include <filesystem>

#include "bayhal/SE.h"
#include "tools/hal_tool/tool.h"

#ifndef BAYHAL_VERSION
#define BAYHAL_VERSION "unknown"
#endif

namespace hal_tool {
namespace {

json library_json() {
  Dl_info where{};
  if (::dladdr(reinterpret_cast<void*>(&SE_Get_Info), &where) == 0 || where.dli_fname == nullptr)
    return nullptr;
  std::error_code ec;
  std::filesystem::path file = std::filesystem::canonical(where.dli_fname, ec);
  std::string name = (ec ? std::filesystem::path(where.dli_fname) : file).filename().string();
  // libbayhal.so.1.0.0: the soname is the name up to the major number.
  constexpr std::string_view kStem = "libbayhal.so.";
  std::string version = name.rfind(kStem, 0) == 0 ? name.substr(kStem.size()) : "";
  return {{"path", ec ? std::string(where.dli_fname) : file.string()},
          {"soname", version.empty() ? json() : json(std::string(kStem) + version.substr(0, version.find('.')))},
          {"version", version.empty() ? json() : json(version)}};
}

void add_version(CLI::App& app, Context& ctx) {
  ctx.add_command(&app, "version", "the tool's version and the library it runs on", "version", [&ctx] {
    json lib = library_json();
    json j{{"hal_tool", BAYHAL_VERSION}, {"library", lib}};
    std::string text = std::string("hal_tool ") + BAYHAL_VERSION;
    if (!lib.is_null()) text += "\nlibrary " + bayhal::cli::cell(lib["version"]) + " (" + lib["path"].get<std::string>() + ")";
    ctx.emit(j, text);
    if (lib.is_null()) ctx.fail("version: cannot tell which libbayhal was loaded");
  });
}

}  // namespace

HAL_TOOL_COMMAND(add_version);

}  // namespace hal_tool
