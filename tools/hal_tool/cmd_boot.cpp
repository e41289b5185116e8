// hal_tool boot: what the appliance's start-up code does with the library, once per boot:
// choose and correct the model description, then attach every enclosure discovery lists
// (each attach registers the enclosure's disks).
#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "bayhal/SE.h"
#include "disk/pd_attach.h"
#include "enc_sys/enc_discovery.h"
#include "model/model_conf.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

using nlohmann::json;

constexpr int kMaxEnclosures = 64;

json model_setup_json(int rc, const char* message, const bayhal::ModelSetupReport& r) {
  json fixups = json::array();
  for (const bayhal::FixupResult& f : r.fixups)
    fixups.push_back({{"name", f.name}, {"changed", f.changed}, {"detail", f.detail}});
  return {{"result", rc},
          {"chosen", r.chosen.empty() ? json() : json(r.chosen)},
          {"message", message != nullptr ? json(message) : json()},
          {"fixups", fixups},
          {"memory_sane", r.memory_sane}};
}

struct Attached {
  std::string enc_sys_id;
  bool already = false;
  int result = 0;
  int enc_id = -1;
  int disks = 0;
};

Attached attach_one(const char* name) {
  Attached a;
  a.enc_sys_id = name;
  int id = -1;
  if (SE_Get_Id_By_Sys_Id(name, &id) == 0) {
    a.already = true;
  } else {
    a.result = SE_Sys_Attach(name, 1);
    if (SE_Get_Id_By_Sys_Id(name, &id) != 0) id = -1;
  }
  a.enc_id = id;
  a.disks = id >= 0 ? SE_Get_PD_Num(id) : 0;
  return a;
}

void boot(Context& ctx) {
  // Enclosure attach scans disks through the disk registry's link; say so explicitly rather
  // than rely on which objects the linker happened to pull into this program.
  bayhal::install_disk_registry_link();
  const char* message = nullptr;
  bayhal::ModelSetupReport report;
  int setup = bayhal::setup_model_conf(&message, &report);
  json j{{"model_setup", model_setup_json(setup, message, report)}};
  Table table{{"ENC_SYS_ID", "ENC_ID", "ATTACH", "DISKS"}, {}};
  if (setup != 0) {
    j["enclosures"] = json::array();
    emit(ctx, j, table);
    return fail(ctx, "boot: se_sys_setup_model_conf failed (the reason is in the library's log)");
  }
  char* names[kMaxEnclosures] = {};
  int found = bayhal::se_sys_enumerate(names, kMaxEnclosures);
  int listed = std::min(found, kMaxEnclosures);
  json enclosures = json::array();
  int failed = 0;
  for (int i = 0; i < listed; ++i) {
    Attached a = attach_one(names[i]);
    failed += a.result < 0 ? 1 : 0;
    enclosures.push_back({{"enc_sys_id", a.enc_sys_id}, {"enc_id", a.enc_id < 0 ? json() : json(a.enc_id)},
                          {"attach", a.already ? json("already registered") : json(a.result)},
                          {"disks", a.disks}});
    table.rows.push_back({a.enc_sys_id, a.enc_id < 0 ? "-" : std::to_string(a.enc_id),
                          a.already ? "registered" : std::to_string(a.result), std::to_string(a.disks)});
  }
  bayhal::free_names(names, listed);
  j["enclosures"] = enclosures;
  j["found"] = found;
  emit(ctx, j, table);
  if (!ctx.json) {
    std::string fixed;
    for (const bayhal::FixupResult& f : report.fixups)
      if (f.changed) fixed += (fixed.empty() ? "" : "; ") + f.name + ": " + f.detail;
    std::cout << "model description: " << (report.chosen.empty() ? "kept" : "linked to " + report.chosen)
              << (fixed.empty() ? "" : "; corrected " + fixed) << '\n';
  }
  if (found > kMaxEnclosures)
    fail(ctx, "boot: discovery found " + std::to_string(found) + " enclosures, only " +
                  std::to_string(kMaxEnclosures) + " were attached");
  else if (failed > 0)
    fail(ctx, "boot: " + std::to_string(failed) + " enclosure(s) failed to attach (see the library's log)");
}

void add_boot(CLI::App& app, Context& ctx) {
  auto* cmd = app.add_subcommand(
      "boot", "start-up: set up the model description, then attach every enclosure present");
  cmd->callback([&ctx] { boot(ctx); });
}

}  // namespace

HAL_TOOL_COMMAND(add_boot);

}  // namespace hal_tool
