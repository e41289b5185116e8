// hal_tool model setup: choose and correct the model description, say what was done.
// hal_tool model show [--section NAME]: the sections and keys of the live description.
#include <unistd.h>

#include <iostream>
#include <sstream>

#include "model/model_conf.h"
#include "foundation/sysroot.h"
#include "ini/ini_store.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

using nlohmann::json;

// What "/etc/model.conf" links to, as an appliance path; empty when it is a plain file.
std::string live_target() {
  char buf[4096];
  ssize_t n = ::readlink(bayhal::sys_path(bayhal::kModelConf).c_str(), buf, sizeof buf - 1);
  if (n <= 0) return {};
  return bayhal::strip_root(std::string(buf, static_cast<size_t>(n)));
}

json module_json(const bayhal::smbios::MemoryDevice& m) {
  return {{"locator", m.locator},           {"bank", m.bank},
          {"installed", m.installed},       {"size_mb", m.size_mb},
          {"type", m.type},                 {"speed_mts", m.speed_mts},
          {"manufacturer", m.manufacturer}, {"part_number", m.part_number},
          {"serial", m.serial}};
}

void print_setup(int rc, const bayhal::ModelSetupReport& r) {
  std::ostringstream out;
  if (!r.chosen.empty())
    out << "model description: " << bayhal::kModelConf << " -> " << r.chosen << '\n';
  else
    out << "model description: " << bayhal::kModelConf << " kept as it is\n";
  if (!r.message.empty()) out << "message: " << r.message << '\n';
  if (rc != 0 && r.fixups.empty()) {
    std::cout << out.str();
    return;
  }
  out << "fix-ups:\n";
  for (const auto& f : r.fixups) {
    std::string name = f.name;
    name.resize(26, ' ');
    out << "  " << name << (f.changed ? "CHANGED    " : "unchanged  ") << f.detail << '\n';
  }
  if (r.memory_sane) {
    out << "memory: " << r.memory.size() << " slot(s) read\n";
    for (const auto& m : r.memory)
      out << "  " << m.locator << ": " << (m.installed ? std::to_string(m.size_mb) + " MB " + m.type
                                                     : std::string("empty"))
          << (m.part_number.empty() ? "" : " " + m.part_number) << '\n';
  } else {
    out << "memory: no usable SMBIOS memory records; System Memory marked unavailable\n";
  }
  std::cout << out.str();
}

void add_setup(CLI::App& model, Context& ctx) {
  auto* cmd = model.add_subcommand("setup", "choose /etc/model.conf and correct it to the hardware");
  cmd->callback([&ctx] {
    bayhal::ModelSetupReport r;
    int rc = bayhal::setup_model_conf(nullptr, &r);
    if (ctx.json) {
      json fixups = json::array();
      for (const auto& f : r.fixups)
        fixups.push_back({{"name", f.name}, {"changed", f.changed}, {"detail", f.detail}});
      json modules = json::array();
      for (const auto& m : r.memory) modules.push_back(module_json(m));
      json j{{"result", rc},
             {"file", bayhal::kModelConf},
             {"chosen", r.chosen.empty() ? json(nullptr) : json(r.chosen)},
             {"target", live_target()},
             {"message", r.message.empty() ? json(nullptr) : json(r.message)},
             {"fixups", fixups},
             {"memory", {{"sane", r.memory_sane}, {"modules", modules}}}};
      std::cout << j.dump(2) << '\n';
    } else {
      print_setup(rc, r);
    }
    if (rc != 0) fail(ctx, "model setup failed (the trace log says why)");
  });
}

void add_show(CLI::App& model, Context& ctx) {
  auto* cmd = model.add_subcommand("show", "sections and keys of the live model description");
  static std::string only;
  cmd->add_option("--section", only, "show only this section");
  cmd->callback([&ctx] {
    std::vector<std::string> names = bayhal::ini::list_sections(bayhal::kModelConf);
    if (names.empty()) {
      fail(ctx, std::string("no model description at ") + bayhal::kModelConf);
      return;
    }
    // File order matters to a reader of the description: keep it in the JSON too.
    nlohmann::ordered_json sections = nlohmann::ordered_json::array();
    std::ostringstream text;
    std::string target = live_target();
    text << "# " << bayhal::kModelConf << (target.empty() ? "" : " -> " + target) << '\n';
    bool found = false;
    for (const std::string& name : names) {
      if (!only.empty() && name != only) continue;
      auto s = bayhal::ini::read_section(bayhal::kModelConf, name);
      if (!s) continue;
      found = true;
      nlohmann::ordered_json keys = nlohmann::ordered_json::object();
      text << '[' << name << "]\n";
      for (const auto& [k, v] : s->entries) {
        keys[k] = v;
        text << k << " = " << v << '\n';
      }
      sections.push_back({{"name", name}, {"keys", keys}});
    }
    if (!found) {
      fail(ctx, "no section [" + only + "] in " + bayhal::kModelConf);
      return;
    }
    if (ctx.json) {
      nlohmann::ordered_json j{{"file", bayhal::kModelConf}, {"target", target}, {"sections", sections}};
      std::cout << j.dump(2) << '\n';
    } else {
      std::cout << text.str();
    }
  });
}

void add_model(CLI::App& app, Context& ctx) {
  CLI::App* model = area(app, "model", "the model description (/etc/model.conf)");
  add_setup(*model, ctx);
  add_show(*model, ctx);
}

}  // namespace

HAL_TOOL_COMMAND(add_model);

}  // namespace hal_tool
