// hal_tool disk list|info|attach|detach: the disk registry as a person sees it (the slot
// map), and the hot-plug entry points by hand.
#include <string>
#include <vector>

#include "bayhal/PD.h"
#include "disk/enc_access.h"
#include "disk/pd_describe.h"
#include "disk/pd_fields.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

using bayhal::disk::text_of;

struct DiskView {
  int enc_id;
  int port_id;
  PD_INFO info{};
  std::string slot_name;
};

std::string getter_text(int (*fn)(int, int, char*, int), int enc, int port) {
  char buf[128];
  return fn(enc, port, buf, sizeof buf) >= 0 ? std::string(buf) : std::string();
}

bool load(int enc, int port, DiskView& d) {
  d.enc_id = enc;
  d.port_id = port;
  if (PD_Get_Info(enc, port, &d.info) != 0) return false;
  d.slot_name = getter_text(PD_Get_Log_Name, enc, port);
  return true;
}

nlohmann::json to_json(const DiskView& d, bool full) {
  const PD_INFO& i = d.info;
  nlohmann::json j{
      {"enc_id", d.enc_id},
      {"port_id", d.port_id},
      {"slot", d.slot_name},
      {"device", std::string(text_of(i.pd_sys_name))},
      {"pd_sys_id", std::string(text_of(i.pd_sys_id))},
      {"model", std::string(text_of(i.model))},
      {"serial", std::string(text_of(i.serial_no))},
      {"capacity", bayhal::disk::human_capacity(i.capacity, i.sector_size)},
      {"capacity_sectors", i.capacity},
      {"sector_size", i.sector_size},
      {"link_speed", bayhal::disk::link_speed_text(i.link_speed)},
      {"capabilities", bayhal::disk::capability_names(i.capabilities)},
  };
  if (!full) return j;
  j["vendor"] = std::string(text_of(i.vendor));
  j["revision"] = std::string(text_of(i.revision));
  j["enc_sys_id"] = std::string(text_of(i.enc_sys_id));
  j["ctrl_device"] = std::string(text_of(i.pd_ctrl_name));
  j["bus"] = std::string(text_of(i.pd_bus_name));
  j["driver"] = std::string(text_of(i.pd_driver_name));
  j["wwn"] = getter_text(PD_Get_WWN, d.enc_id, d.port_id);
  j["type"] = i.type;
  j["rotation_speed"] = i.rotation_speed;
  j["max_link_speed"] = bayhal::disk::link_speed_text(i.max_link_speed);
  j["disk_max_link_speed"] = bayhal::disk::link_speed_text(i.pd_max_link_speed);
  j["capabilities_hex"] = i.capabilities;
  j["read_speed"] = getter_text(PD_Get_Read_Speed, d.enc_id, d.port_id);
  j["write_speed"] = getter_text(PD_Get_Write_Speed, d.enc_id, d.port_id);
  j["read_iops"] = getter_text(PD_Get_Read_IOPS, d.enc_id, d.port_id);
  j["write_iops"] = getter_text(PD_Get_Write_IOPS, d.enc_id, d.port_id);
  return j;
}

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& w : words) out += (out.empty() ? "" : ",") + w;
  return out.empty() ? "-" : out;
}

void list_disks(Context& ctx, int only_enc) {
  std::vector<int> encs = bayhal::disk::enc_registered_ids();
  if (only_enc >= 0) encs = {only_enc};
  nlohmann::json all = nlohmann::json::array();
  Table table{{"ENC", "PORT", "SLOT", "DEVICE", "MODEL", "SERIAL", "CAPACITY", "LINK", "CAPS"},
              {}};
  for (int enc : encs) {
    std::vector<int> ports(1200);
    int n = PD_Enumerate(enc, ports.data(), static_cast<int>(ports.size()));
    for (int i = 0; i < n; ++i) {
      DiskView d;
      if (!load(enc, ports[static_cast<size_t>(i)], d)) continue;
      nlohmann::json j = to_json(d, false);
      all.push_back(j);
      table.rows.push_back({std::to_string(enc), std::to_string(d.port_id), d.slot_name,
                            j["device"], j["model"], j["serial"], j["capacity"], j["link_speed"],
                            joined(j["capabilities"])});
    }
  }
  emit(ctx, nlohmann::json{{"disks", all}}, table);
}

void show_disk(Context& ctx, int enc, int port) {
  DiskView d;
  if (!load(enc, port, d)) {
    fail(ctx, "disk info: no disk at enclosure " + std::to_string(enc) + " port " +
                  std::to_string(port));
    return;
  }
  nlohmann::json j = to_json(d, true);
  Table table{{"KEY", "VALUE"}, {}};
  for (auto& [key, value] : j.items())
    table.rows.push_back({key, value.is_string() ? value.get<std::string>()
                              : value.is_array() ? joined(value) : value.dump()});
  emit(ctx, j, table);
}

void attach(Context& ctx, const std::string& enc, const std::string& pd) {
  int rc = PD_Sys_Attach(enc.c_str(), pd.c_str());
  if (rc != 0) {
    fail(ctx, "disk attach " + enc + " " + pd + ": failed (" + std::to_string(rc) +
                  (rc == -2 ? ", not a disk to register)" : ")"));
    return;
  }
  int enc_id = bayhal::disk::enc_id_of(enc.c_str());
  int port = PD_Get_Id_By_Sys_Id(enc_id, pd.c_str());
  nlohmann::json j{{"enc_sys_id", enc}, {"pd_sys_id", pd}, {"enc_id", enc_id},
                   {"registered", port >= 0}, {"port_id", port}};
  emit(ctx, j,
       port >= 0 ? "attached " + pd + " as enclosure " + std::to_string(enc_id) + " port " +
                       std::to_string(port)
                 : "attached " + pd + " without a record (no free identifier)");
}

void detach(Context& ctx, const std::string& enc, const std::string& pd) {
  if (PD_Sys_Detach(enc.c_str(), pd.c_str()) != 0) {
    fail(ctx, "disk detach " + enc + " " + pd + ": no such disk");
    return;
  }
  emit(ctx, nlohmann::json{{"enc_sys_id", enc}, {"pd_sys_id", pd}, {"detached", true}},
       "detached " + pd);
}

void add_disk(CLI::App& app, Context& ctx) {
  CLI::App* disk = area(app, "disk", "disk registry");

  static int list_enc = -1;
  CLI::App* list = disk->add_subcommand("list", "the slot map: every registered disk");
  list->add_option("enc", list_enc, "enclosure id (all when left out)")->check(CLI::NonNegativeNumber);
  list->callback([&ctx] { list_disks(ctx, list_enc); });

  static int info_enc = -1;
  static int info_port = -1;
  CLI::App* info = disk->add_subcommand("info", "one disk's record");
  info->add_option("enc", info_enc, "enclosure id")->required()->check(CLI::NonNegativeNumber);
  info->add_option("port", info_port, "port id")->required()->check(CLI::NonNegativeNumber);
  info->callback([&ctx] { show_disk(ctx, info_enc, info_port); });

  static std::string enc_sys_id;
  static std::string pd_sys_id;
  CLI::App* att = disk->add_subcommand("attach", "register a disk as the hot-plug handler does");
  att->add_option("enc_sys_id", enc_sys_id, "enclosure identity (e.g. root)")->required();
  att->add_option("pd_sys_id", pd_sys_id, "kernel disk name (e.g. sdb)")->required();
  att->callback([&ctx] { attach(ctx, enc_sys_id, pd_sys_id); });

  CLI::App* det = disk->add_subcommand("detach", "remove a disk, keeping its history");
  det->add_option("enc_sys_id", enc_sys_id, "enclosure identity")->required();
  det->add_option("pd_sys_id", pd_sys_id, "kernel disk name")->required();
  det->callback([&ctx] { detach(ctx, enc_sys_id, pd_sys_id); });
}

}  // namespace

HAL_TOOL_COMMAND(add_disk);

}  // namespace hal_tool
