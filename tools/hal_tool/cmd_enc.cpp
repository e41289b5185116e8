// hal_tool enc ...: the enclosure registry as a person sees it.
#include <algorithm>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "enclosure/enc_conf.h"
#include "enc_sys/enc_discovery.h"
#include "enclosure/enc_ids.h"
#include "ini/ini_store.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

using nlohmann::json;

std::vector<int> bitmap_ids(const char* file, const std::string& section, const char* key) {
  std::vector<int> ids(4096);
  int n = Ini_Conf_Bitmap_Enumerate(file, section.c_str(), key, ids.data(),
                                    static_cast<int>(ids.size()), nullptr, nullptr);
  ids.resize(n > 0 ? static_cast<size_t>(n) : 0);
  return ids;
}

std::string join(const std::vector<std::string>& items) {
  std::string out;
  for (const auto& s : items) out += (out.empty() ? "" : ",") + s;
  return out.empty() ? "-" : out;
}

std::string join(const std::vector<int>& ids) {
  std::vector<std::string> s;
  for (int id : ids) s.push_back(std::to_string(id));
  return join(s);
}

const char* protocol_name(int protocol) {
  static const char* const names[] = {"root", "sata", "usb",  "sas", "iscsi", "pcie", "thunderbolt",
                                      "mmc",  "odd",  "zmc",  "px",  "hzr",   "mvs"};
  if (protocol == -1) return "none";
  if (protocol < 0 || protocol > 12) return "unknown";
  return names[protocol];
}

std::vector<std::string> capability_names(uint32_t cap) {
  static const std::pair<uint32_t, const char*> bits[] = {
      {SE_CAP_S3, "suspend_to_ram"},  {SE_CAP_NO_ESATA, "no_esata"},
      {SE_CAP_SAS_ATTACHED, "sas_attached"}, {SE_CAP_PCIE_SLOTS, "pcie_slots"},
      {SE_CAP_MCU, "mcu"},            {SE_CAP_MMC, "mmc"},
      {SE_CAP_USB_JBOD, "usb_jbod"},  {SE_CAP_ODD, "odd"},
      {SE_CAP_PIC, "front_panel"},    {SE_CAP_TBT, "thunderbolt"},
      {SE_CAP_MONITOR_ARG, "monitor_flag"}, {SE_CAP_CACHE, "cache"},
      {SE_CAP_INTERNAL, "internal"}};
  std::vector<std::string> out;
  uint32_t known = 0;
  for (auto [mask, name] : bits) {
    known |= mask;
    if (cap & mask) out.push_back(name);
  }
  for (int b = 0; b < 32; ++b)
    if ((cap & ~known) & (1u << b)) out.push_back("bit" + std::to_string(b));
  return out;
}

json record_json(int id, const SE_ENC_INFO& info) {
  return {{"id", id},
          {"identity", info.enc_sys_id},
          {"protocol", protocol_name(info.protocol)},
          {"protocol_code", info.protocol},
          {"capabilities", capability_names(info.capabilities)},
          {"capability_word", info.capabilities},
          {"parent", info.enc_parent_sys_id},
          {"parent_port", info.enc_parent_port_id},
          {"children", bitmap_ids(bayhal::kHalConf, bayhal::enc_section(id), "child_bitmap")},
          {"stack_id", info.stack_id},
          {"status", info.status},
          {"vendor", info.vendor},
          {"model", info.model},
          {"serial", info.serial},
          {"revision", info.revision},
          {"max_disk_num", info.max_disk_num}};
}

bool read_record(int id, SE_ENC_INFO& info) {
  std::memset(&info, 0, sizeof info);
  return SE_Get_Info(id, &info) == 0;
}

void list(Context& ctx) {
  json all = json::array();
  Table table{{"ID", "IDENTITY", "PROTOCOL", "PARENT", "CHILDREN", "MODEL", "CAPABILITIES"}, {}};
  for (int id : bitmap_ids(bayhal::kHalConf, bayhal::kIndex, bayhal::kEncBitmap)) {
    SE_ENC_INFO info;
    if (!read_record(id, info)) continue;
    json j = record_json(id, info);
    all.push_back(j);
    table.rows.push_back({std::to_string(id), info.enc_sys_id, protocol_name(info.protocol),
                          info.enc_parent_sys_id, join(j["children"].get<std::vector<int>>()),
                          info.model, join(capability_names(info.capabilities))});
  }
  emit(ctx, all, table);
}

void info(Context& ctx, int id) {
  SE_ENC_INFO rec;
  if (!read_record(id, rec)) return fail(ctx, "enc info: no enclosure " + std::to_string(id));
  json j = record_json(id, rec);
  char uid[SE_UNIQUE_ID_SIZE] = {};
  SE_Get_Unique_Id(&rec, uid, sizeof uid);
  j["unique_id"] = uid;
  j["extended_capability"] = rec.extended_capability;
  j["real_sys_id"] = rec.real_sys_id;
  j["bsg_name"] = rec.bsg_name;
  Table t{{"FIELD", "VALUE"}, {}};
  for (auto& [k, v] : j.items()) t.rows.push_back({k, v.is_string() ? v.get<std::string>() : v.dump()});
  emit(ctx, j, t);
}

void scan(Context& ctx) {
  std::vector<int> before = bitmap_ids(bayhal::kHalConf, bayhal::kIndex, bayhal::kEncBitmap);
  SE_Scan();
  std::vector<char*> names(128, nullptr);
  int n = bayhal::se_sys_enumerate(names.data(), static_cast<int>(names.size()));
  json present = json::array();
  Table t{{"IDENTITY", "ID"}, {}};
  for (int i = 0; i < n && i < static_cast<int>(names.size()); ++i) {
    int id = bayhal::se_lookup_id(names[static_cast<size_t>(i)]);
    present.push_back({{"identity", names[static_cast<size_t>(i)]}, {"id", id}});
    t.rows.push_back({names[static_cast<size_t>(i)], id < 0 ? "-" : std::to_string(id)});
  }
  bayhal::free_names(names.data(), std::min(n, static_cast<int>(names.size())));
  std::vector<int> after = bitmap_ids(bayhal::kHalConf, bayhal::kIndex, bayhal::kEncBitmap);
  std::vector<int> added, removed;
  for (int id : after)
    if (std::find(before.begin(), before.end(), id) == before.end()) added.push_back(id);
  for (int id : before)
    if (std::find(after.begin(), after.end(), id) == after.end()) removed.push_back(id);
  emit(ctx, json{{"present", present}, {"attached", added}, {"detached", removed}}, t);
}

void attach(Context& ctx, const std::string& identity) {
  if (SE_Sys_Attach(identity.c_str(), 1) != 0)
    return fail(ctx, "enc attach: " + identity + " could not be attached");
  int id = bayhal::se_lookup_id(identity.c_str());
  emit(ctx, json{{"identity", identity}, {"id", id}},
       identity + " attached as enclosure " + std::to_string(id));
}

void detach(Context& ctx, const std::string& identity) {
  int id = bayhal::se_lookup_id(identity.c_str());
  if (SE_Sys_Detach(identity.c_str()) != 0)
    return fail(ctx, "enc detach: " + identity + " is not registered");
  emit(ctx, json{{"identity", identity}, {"id", id}},
       identity + " (enclosure " + std::to_string(id) + ") detached");
}

void show_map(Context& ctx) {
  json entries = json::array();
  Table table{{"ID", "UNIQUE ID", "DISPLAY NAME", "IN USE"}, {}};
  std::vector<int> in_use = bitmap_ids(bayhal::kHalConf, bayhal::kIndex, bayhal::kEncBitmap);
  auto section = bayhal::ini::read_section(bayhal::kEncMap, bayhal::kIndex);
  if (section) {
    for (const auto& [key_view, value_view] : section->entries) {
      std::string key(key_view), value(value_view);
      if (key.empty() || key.find_first_not_of("0123456789") != std::string::npos ||
          value.rfind("enc_uid_", 0) != 0)
        continue;
      int id = std::stoi(key);
      std::string uid = value.substr(8);
      const std::string_view* name = section->find("enc_" + key);
      bool used = std::find(in_use.begin(), in_use.end(), id) != in_use.end();
      entries.push_back({{"id", id}, {"unique_id", uid},
                         {"display_name", name ? json(*name) : json()}, {"in_use", used}});
      table.rows.push_back({key, uid, name ? std::string(*name) : "", used ? "yes" : "no"});
    }
  }
  std::vector<int> allocated = bitmap_ids(bayhal::kEncMap, bayhal::kIndex, bayhal::kEncBitmap);
  json j{{"map_file", bayhal::kEncMap}, {"map_present", section.has_value()},
         {"allocated", allocated}, {"in_use", in_use}, {"entries", entries}};
  emit(ctx, j, table);
  if (!ctx.json) std::cout << "allocated: " << join(allocated) << "\nin use:    " << join(in_use) << '\n';
}

void add_enc(CLI::App& app, Context& ctx) {
  CLI::App* enc = area(app, "enc", "enclosure registry");
  enc->add_subcommand("list", "registered enclosures")->callback([&ctx] { list(ctx); });
  static int info_id = -1;
  CLI::App* i = enc->add_subcommand("info", "one enclosure's record");
  i->add_option("id", info_id, "enclosure id")->required();
  i->callback([&ctx] { info(ctx, info_id); });
  enc->add_subcommand("scan", "attach what is present and new, detach what is gone")
      ->callback([&ctx] { scan(ctx); });
  static std::string attach_id, detach_id;
  CLI::App* a = enc->add_subcommand("attach", "attach an enclosure by identity");
  a->add_option("identity", attach_id, "enc_sys_id, e.g. root or 5000ccab0200947e")->required();
  a->callback([&ctx] { attach(ctx, attach_id); });
  CLI::App* d = enc->add_subcommand("detach", "detach an enclosure by identity");
  d->add_option("identity", detach_id, "enc_sys_id")->required();
  d->callback([&ctx] { detach(ctx, detach_id); });
  enc->add_subcommand("map", "persistent enclosure ids and the in-use bitmap")
      ->callback([&ctx] { show_map(ctx); });
}

}  // namespace

HAL_TOOL_COMMAND(add_enc);

}  // namespace hal_tool
