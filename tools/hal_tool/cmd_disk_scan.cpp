// hal_tool disk scan ENC: what discovery finds in an enclosure, each disk with its slot and
// identity, without registering anything.
#include <cstdio>
#include <string>

#include "disk_sys/pd_sys.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

std::string wwn_hex(const PD_INFO& info) {
  std::string out;
  char b[3];
  for (int i = 0; i < info.wwn_len && i < PD_WWN_LEN; ++i) {
    std::snprintf(b, sizeof b, "%02x", info.wwn[i]);
    out += b;
  }
  return out;
}

const char* type_name(int type) {
  switch (type) {
    case PD_TYPE_ATA: return "ata";
    case PD_TYPE_SCSI: return "scsi";
    case PD_TYPE_USB: return "usb";
    default: return "unknown";
  }
}

void scan(Context& ctx, const std::string& enc) {
  auto disks = bayhal::pd_sys_scan(enc.c_str());
  if (!disks) return fail(ctx, "disk scan: enclosure kind of '" + enc + "' is not supported");
  nlohmann::json list = nlohmann::json::array();
  Table table{{"SLOT", "DISK", "TYPE", "MODEL", "SERIAL", "CAPACITY", "LINK"}, {}};
  for (const auto& d : *disks) {
    PD_INFO info;
    int rc = bayhal::pd_sys_getinfo(enc.c_str(), d.pd_sys_id.c_str(), &info);
    nlohmann::json j{{"pd_sys_id", d.pd_sys_id}, {"port_id", d.port_id}, {"getinfo", rc}};
    if (rc == 0) {
      j.update({{"type", type_name(info.type)},
                {"vendor", info.vendor},
                {"model", info.model},
                {"serial_no", info.serial_no},
                {"revision", info.revision},
                {"capacity", info.capacity},
                {"sector_size", info.sector_size},
                {"rotation_speed", info.rotation_speed},
                {"wwn", wwn_hex(info)},
                {"capabilities", info.capabilities},
                {"att_phy_id", info.att_phy_id},
                {"pd_sys_name", info.pd_sys_name},
                {"pd_ctrl_name", info.pd_ctrl_name},
                {"pd_bus_name", info.pd_bus_name},
                {"pd_driver_name", info.pd_driver_name},
                {"link_speed", info.link_speed},
                {"max_link_speed", info.max_link_speed},
                {"pd_max_link_speed", info.pd_max_link_speed}});
    }
    list.push_back(j);
    table.rows.push_back({std::to_string(d.port_id), d.pd_sys_id,
                          rc == 0 ? type_name(info.type) : (rc == -2 ? "(skipped)" : "(error)"),
                          rc == 0 ? info.model : "", rc == 0 ? info.serial_no : "",
                          rc == 0 ? std::to_string(info.capacity) : "",
                          rc == 0 ? std::to_string(info.link_speed) : ""});
  }
  emit(ctx, nlohmann::json{{"enc_sys_id", enc}, {"disks", list}}, table);
}

void add_disk_scan(CLI::App& app, Context& ctx) {
  CLI::App* disk = area(app, "disk", "disk registry and discovery");
  CLI::App* cmd = disk->add_subcommand(
      "scan", "list the disks discovery finds in ENC (e.g. root, root_usb) with slot and identity");
  static std::string enc;
  cmd->add_option("enc", enc, "enclosure identity (enc_sys_id)")->required();
  cmd->callback([&ctx] { scan(ctx, enc); });
}

}  // namespace

HAL_TOOL_COMMAND(add_disk_scan);

}  // namespace hal_tool
