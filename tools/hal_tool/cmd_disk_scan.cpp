// hal_tool disk scan ENC: what discovery finds in an enclosure, each disk with its bay and
// identity, registering nothing.
#include <unistd.h>

#include <string>
#include <vector>

#include "bayhal/SE.h"
#include "tools/hal_tool/disk_json.h"
#include "tools/hal_tool/names.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

struct Found {
  std::string identity;
  int enc_id;
  json disks = json::array();
  int failed = 0;
  std::vector<std::string> partial;  // read, but without the identity device commands give
};

void each_disk(void* arg, int port, const char* name, int probe, const PD_INFO* info) {
  auto* f = static_cast<Found*>(arg);
  json j;
  if (probe == 0) {
    j = disk_json(*info, f->enc_id, port, "");
    add_disk_details(j, *info, probed_wwn(*info));
  } else {
    j = {{"bay", nullptr}, {"port_id", port}, {"pd_sys_id", name}};
  }
  // An enclosure not registered yet is named by its identity.
  j["bay"] = f->enc_id >= 0 ? bay_name(f->enc_id, port) : f->identity + "/" + std::to_string(port);
  bool partial = probe == 0 && !(info->capabilities & PD_CAP_SERIAL);
  j["probe"] = partial ? "partial" : probe == 0 ? "ok" : probe == -2 ? "skipped" : "failed";
  f->failed += probe == -1 ? 1 : 0;
  if (partial) f->partial.push_back(name);
  f->disks.push_back(j);
}

void scan(Context& ctx, const std::string& enc) {
  auto identity = identity_arg(ctx, enc);
  if (!identity) return;
  Found found{*identity, -1, json::array(), 0, {}};
  if (SE_Get_Id_By_Sys_Id(identity->c_str(), &found.enc_id) != 0) found.enc_id = -1;
  json j{{"enc_sys_id", *identity}, {"enc_id", found.enc_id >= 0 ? json(found.enc_id) : json()}, {"disks", nullptr}};
  ctx.set_result(j);
  if (bayhal_tool_disks_present(identity->c_str(), each_disk, &found) < 0)
    return ctx.fail("disk scan: no disk discovery for enclosure '" + *identity + "' (unknown or unsupported kind)");
  // Nothing found under a root without the kernel's device tree says nothing about disks.
  std::string tree = host_path("/sys/block");
  if (found.disks.empty() && ::access(tree.c_str(), F_OK) != 0)
    return ctx.fail("disk scan: no kernel device tree at " + tree + " (a simulated appliance needs halsim start)");
  j["disks"] = found.disks;
  ctx.emit(j, table_of(found.disks, {"bay", "pd_sys_id", "type", "model", "serial", "capacity", "link_speed", "probe"}));
  if (!found.partial.empty())
    ctx.warn("disk scan: " + bayhal::cli::cell(found.partial) + " gave no identity (no serial number)" + log_hint());
  if (found.failed > 0)
    ctx.fail("disk scan: " + std::to_string(found.failed) + " disk(s) could not be read" + log_hint());
}

void add_disk_scan(CLI::App& app, Context& ctx) {
  CLI::App* disk = ctx.area(app, "disk", "disk registry and discovery");
  static std::string enc;
  ctx.add_command(disk, "scan", "the disks discovery finds in an enclosure, registering nothing", "scan",
                  [&ctx] { scan(ctx, enc); })
      ->add_option("enc", enc, "ENC: enclosure identity (root, root_usb) or id")->required();
}

}  // namespace

HAL_TOOL_COMMAND(add_disk_scan);

}  // namespace hal_tool
