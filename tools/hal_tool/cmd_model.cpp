// hal_tool model setup: choose and correct the model description, say what was done.
// hal_tool model show [--section NAME]: the sections and keys of the live description.
#include "foundation/store_files.h"
#include "tools/hal_tool/model_setup.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

void setup(Context& ctx) {
  int rc = 0;
  json r = model_setup(rc);
  std::string text = model_setup_text(r);
  const json& mem = r["memory"];
  if (!mem["sane"].get<bool>()) text += "\nmemory: no usable SMBIOS memory records; System Memory marked unavailable";
  for (const json& m : mem["modules"])
    text += "\nmemory " + bayhal::cli::cell(m["locator"]) + ": " +
            (m["installed"].get<bool>() ? bayhal::cli::cell(m["size_mb"]) + " MB " + bayhal::cli::cell(m["type"]) : "empty");
  ctx.emit(r, text);
  if (rc != 0) ctx.fail("model setup: se_sys_setup_model_conf failed" + log_hint());
}

void show(Context& ctx, const std::string& only) {
  const std::string file = bayhal::kModelConf;
  json j{{"file", file}, {"target", model_target()}, {"sections", json::array()}};
  ctx.set_result(j);
  std::vector<std::string> names;
  int err = 0;
  auto add = [](void* arg, const char* name) { static_cast<std::vector<std::string>*>(arg)->push_back(name); };
  if (bayhal_tool_section_names(file.c_str(), add, &names, &err) != 1) {
    read_section(ctx, "model show", file, "");  // says why
    return;
  }
  std::string text = "# " + file + (j["target"].is_null() ? "" : " -> " + j["target"].get<std::string>());
  for (const std::string& name : names) {
    if (!only.empty() && name != only) continue;
    auto keys = read_section(ctx, "model show", file, name);
    if (!keys) return;
    text += "\n[" + name + "]";
    for (const auto& [k, v] : keys->items()) text += "\n" + k + " = " + v.get<std::string>();
    j["sections"].push_back({{"name", name}, {"keys", *keys}});
  }
  if (!only.empty() && j["sections"].empty()) {
    ctx.set_result(j);
    return ctx.fail("model show: no section [" + only + "] in " + host_path(file));
  }
  ctx.emit(j, text);
}

void add_model(CLI::App& app, Context& ctx) {
  CLI::App* model = ctx.area(app, "model", "the model description (/etc/model.conf)");
  ctx.add_command(model, "setup", "choose /etc/model.conf and correct it to the hardware", "model_setup",
                  [&ctx] { setup(ctx); });
  static std::string only;
  ctx.add_command(model, "show", "sections and keys of the live model description", "model",
                  [&ctx] { show(ctx, only); })
      ->add_option("--section", only, "show only this section");
}

}  // namespace

HAL_TOOL_COMMAND(add_model);

}  // namespace hal_tool
