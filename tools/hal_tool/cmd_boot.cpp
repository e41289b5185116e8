// hal_tool boot: what the appliance's start-up code does with the library, once per boot:
// choose and correct the model description, then attach every enclosure discovery lists
// (each attach registers the enclosure's disks).
#include <vector>

#include "bayhal/SE.h"
#include "tools/hal_tool/model_setup.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

// One enclosure discovery listed: attached now, registered before, or failed.
json attach_one(const std::string& identity) {
  int id = -1;
  json j{{"enc_sys_id", identity}, {"enc_id", nullptr}, {"state", "registered"}, {"result", nullptr}, {"disks", 0}};
  if (SE_Get_Id_By_Sys_Id(identity.c_str(), &id) != 0) {
    int rc = SE_Sys_Attach(identity.c_str(), 1);
    j["state"] = rc == 0 ? "attached" : "failed";
    j["result"] = rc;
    if (SE_Get_Id_By_Sys_Id(identity.c_str(), &id) != 0) id = -1;
  }
  if (id >= 0) j["enc_id"] = id, j["disks"] = SE_Get_PD_Num(id);
  return j;
}

void boot(Context& ctx) {
  int setup = 0;
  json j{{"model_setup", model_setup(setup)}, {"found", nullptr}, {"enclosures", json::array()}};
  ctx.set_result(j);
  if (setup != 0) return ctx.fail("boot: model set-up failed, nothing attached" + log_hint());
  std::vector<std::string> names;
  auto add = [](void* arg, const char* name) { static_cast<std::vector<std::string>*>(arg)->push_back(name); };
  int found = bayhal_tool_enclosures_present(add, &names);
  j["found"] = found < 0 ? json() : json(found);
  int failed = 0;
  for (const std::string& name : names) {
    j["enclosures"].push_back(attach_one(name));
    failed += j["enclosures"].back()["state"] == "failed" ? 1 : 0;
  }
  ctx.emit(j, table_of(j["enclosures"], {"enc_id", "enc_sys_id", "state", "disks"}));
  ctx.show(model_setup_text(j["model_setup"]));
  if (found < 0)
    ctx.fail("boot: enclosure discovery failed" + log_hint());
  else if (found > static_cast<int>(names.size()))
    ctx.fail("boot: discovery found " + std::to_string(found) + " enclosures, only " +
             std::to_string(names.size()) + " were attached");
  else if (failed > 0)
    ctx.fail("boot: " + std::to_string(failed) + " enclosure(s) failed to attach" + log_hint());
}

void add_boot(CLI::App& app, Context& ctx) {
  ctx.add_command(&app, "boot", "start-up: set up the model description, then attach every enclosure present",
                  "boot", [&ctx] { boot(ctx); });
}

}  // namespace

HAL_TOOL_COMMAND(add_boot);

}  // namespace hal_tool
