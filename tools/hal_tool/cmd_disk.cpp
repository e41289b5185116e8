// hal_tool disk list|info|attach|detach: the disk registry as a person sees it (the slot
// map), and the hot-plug entry points by hand.
#include <string>
#include <vector>

#include "bayhal/PD.h"
#include "bayhal/SE.h"
#include "tools/hal_tool/disk_json.h"
#include "tools/hal_tool/names.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

constexpr int kMaxPorts = 1200;

std::string label_of(int enc, int port) {
  char buf[128];
  return PD_Get_Log_Name(enc, port, buf, sizeof buf) >= 0 ? std::string(buf) : std::string();
}

// A record with device id -1 (a multi-disk adapter, or the holder of a multi-device slot) is
// listed by the registry only to lead to the member disks behind it, which the list shows.
std::optional<json> registered_disk(int enc, int port) {
  PD_INFO info{};
  if (PD_Get_Info(enc, port, &info) != 0 || info.port_id < 0) return std::nullopt;
  return disk_json(info, enc, port, label_of(enc, port));
}

void list(Context& ctx, const std::string& only) {
  std::vector<int> encs;
  if (!only.empty()) {
    auto e = enclosure_arg(ctx, only);
    if (!e) return;
    encs = {e->id};
  } else if (auto ids = registered_ids(ctx)) {
    encs = *ids;
  } else {
    return;
  }
  json all = json::array();
  for (int enc : encs) {
    std::vector<int> ports(kMaxPorts);
    int n = PD_Enumerate(enc, ports.data(), kMaxPorts);
    for (int i = 0; i < n && i < kMaxPorts; ++i)
      if (auto d = registered_disk(enc, ports[static_cast<size_t>(i)])) all.push_back(*d);
  }
  ctx.emit(all, table_of(all, kDiskColumns));
}

void info(Context& ctx, const std::string& bay_text, const std::string& extra) {
  // The two-word form of older versions gets the one-word spelling back.
  if (!extra.empty())
    return ctx.usage("disk info takes one BAY, ENC/PORT: did you mean '" + bay_text + "/" + extra + "'?");
  auto bay = bay_arg(ctx, bay_text);
  if (!bay) return;
  PD_INFO rec{};
  if (PD_Get_Info(bay->enc.id, bay->port, &rec) != 0) {
    std::string label = label_of(bay->enc.id, bay->port);
    return ctx.fail("disk info: no disk in bay " + bay_name(bay->enc.id, bay->port) +
                    (label.empty() ? "" : " (" + label + ")") + " of " + bay->enc.identity);
  }
  json j = disk_json(rec, bay->enc.id, bay->port, label_of(bay->enc.id, bay->port));
  add_disk_details(j, rec, registered_wwn(rec, bay->enc.id, bay->port));
  // Measured performance: speeds as the library words them, IOPS as numbers; never measured
  // ("none") is null.
  static constexpr struct {
    const char* key;
    int (*get)(int, int, char*, int);
    bool number;
  } kPerformance[] = {{"read_speed", PD_Get_Read_Speed, false}, {"write_speed", PD_Get_Write_Speed, false},
                      {"read_iops", PD_Get_Read_IOPS, true},    {"write_iops", PD_Get_Write_IOPS, true}};
  for (const auto& p : kPerformance) {
    char text[64];
    bool measured = p.get(bay->enc.id, bay->port, text, sizeof text) >= 0 && std::string_view(text) != "none";
    auto n = measured && p.number ? parse_number(text, 0, INT64_MAX) : std::nullopt;
    j[p.key] = !measured ? json() : p.number ? (n ? json(*n) : json()) : json(text);
  }
  ctx.emit(j, fields_of(j));
}

// The enclosure and kernel name a hot-plug command acts on: ENC DISK as the device manager
// names them, or the BAY the disk is in (discovery tells which disk that is for attach,
// the registry for detach).
struct Target {
  std::string enc_sys_id, pd_sys_id;
  json bay;
};

std::optional<Target> target(Context& ctx, const std::string& what, const std::string& first,
                             const std::string& disk, bool attaching) {
  if (!disk.empty()) {
    auto identity = identity_arg(ctx, first);
    if (!identity || !disk_name_arg(ctx, disk)) return std::nullopt;
    return Target{*identity, disk, nullptr};
  }
  auto bay = bay_arg(ctx, first);
  if (!bay) return std::nullopt;
  Target t{bay->enc.identity, "", bay_name(bay->enc.id, bay->port)};
  if (attaching) {
    struct Find {
      int port;
      std::string name;
    } find{bay->port, ""};
    auto match = [](void* arg, int port, const char* name, int, const PD_INFO*) {
      auto* f = static_cast<Find*>(arg);
      if (port == f->port) f->name = name;
    };
    bayhal_tool_disks_present(t.enc_sys_id.c_str(), match, &find);
    t.pd_sys_id = find.name;
  } else if (PD_INFO rec{}; PD_Get_Info(bay->enc.id, bay->port, &rec) == 0) {
    t.pd_sys_id = rec.pd_sys_id;
  }
  if (t.pd_sys_id.empty()) {
    ctx.fail(what + ": no disk " + (attaching ? "present" : "registered") + " in bay " + first);
    return std::nullopt;
  }
  return t;
}

void attach(Context& ctx, const std::string& first, const std::string& disk) {
  auto t = target(ctx, "disk attach", first, disk, true);
  if (!t) return;
  json j{{"bay", t->bay}, {"enc_sys_id", t->enc_sys_id}, {"pd_sys_id", t->pd_sys_id}, {"registered", false}};
  ctx.set_result(j);
  int rc = PD_Sys_Attach(t->enc_sys_id.c_str(), t->pd_sys_id.c_str());
  if (rc != 0)
    return ctx.fail("disk attach: " + t->pd_sys_id + " of " + t->enc_sys_id +
                    (rc == -2 ? " is not a disk to register" : " could not be attached") + log_hint());
  int enc = -1;
  int port = SE_Get_Id_By_Sys_Id(t->enc_sys_id.c_str(), &enc) == 0 ? PD_Get_Id_By_Sys_Id(enc, t->pd_sys_id.c_str()) : -1;
  j["registered"] = port >= 0;
  if (port >= 0) j["bay"] = bay_name(enc, port);
  ctx.emit(j, port >= 0 ? "attached " + t->pd_sys_id + " in bay " + bay_name(enc, port)
                        : "attached " + t->pd_sys_id + " without a record (no free identifier)");
}

void detach(Context& ctx, const std::string& first, const std::string& disk) {
  auto t = target(ctx, "disk detach", first, disk, false);
  if (!t) return;
  json j{{"bay", t->bay}, {"enc_sys_id", t->enc_sys_id}, {"pd_sys_id", t->pd_sys_id}, {"detached", false}};
  ctx.set_result(j);
  if (PD_Sys_Detach(t->enc_sys_id.c_str(), t->pd_sys_id.c_str()) != 0)
    return ctx.fail("disk detach: no disk " + t->pd_sys_id + " registered in " + t->enc_sys_id);
  j["detached"] = true;
  ctx.emit(j, "detached " + t->pd_sys_id);
}

void add_disk(CLI::App& app, Context& ctx) {
  CLI::App* disk = ctx.area(app, "disk", "disk registry and discovery");
  static std::string list_enc, info_bay, info_extra, first, name;
  ctx.add_command(disk, "list", "the slot map: every registered disk", "disks", [&ctx] { list(ctx, list_enc); })
      ->add_option("enc", list_enc, "ENC: only this enclosure (id or identity)");
  CLI::App* i = ctx.add_command(disk, "info", "one disk's record", "disk", [&ctx] { info(ctx, info_bay, info_extra); });
  i->add_option("bay", info_bay, "BAY: ENC/PORT, e.g. 0/3 or root/3")->required();
  i->add_option("port", info_extra)->group("");
  for (bool attaching : {true, false}) {
    CLI::App* cmd = ctx.add_command(
        disk, attaching ? "attach" : "detach",
        attaching ? "register a disk as the hot-plug handler does" : "remove a disk, keeping its history",
        attaching ? "attach" : "detach",
        [&ctx, attaching] { attaching ? attach(ctx, first, name) : detach(ctx, first, name); });
    cmd->add_option("bay_or_enc", first, "BAY (ENC/PORT), or ENC followed by DISK")->required();
    cmd->add_option("disk", name, "DISK: kernel disk name (sdc), after ENC");
  }
}

}  // namespace

HAL_TOOL_COMMAND(add_disk);

}  // namespace hal_tool
