// hal_tool enc list|info|scan|attach|detach|map: the enclosure registry as a person sees it.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "enclosure/enc_conf.h"
#include "foundation/store_files.h"
#include "tools/hal_tool/names.h"
#include "tools/hal_tool/words.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {
namespace {

constexpr int kMaxIds = 4096;

std::vector<int> bitmap_ids(const char* file, const std::string& section, const char* key) {
  std::vector<int> ids(kMaxIds);
  int n = Ini_Conf_Bitmap_Enumerate(file, section.c_str(), key, ids.data(), kMaxIds, nullptr, nullptr);
  ids.resize(n > 0 ? static_cast<size_t>(n) : 0);
  return ids;
}

json record_json(int id, const SE_ENC_INFO& info) {
  return {{"enc_id", id},
          {"enc_sys_id", info.enc_sys_id},
          {"protocol", enc_protocol(info.protocol)},
          {"vendor", text_or_null(info.vendor)},
          {"model", text_or_null(info.model)},
          {"serial", text_or_null(info.serial)},
          {"revision", text_or_null(info.revision)},
          {"bays", info.max_disk_num},
          {"disks", std::max(SE_Get_PD_Num(id), 0)},
          {"parent", text_or_null(info.enc_parent_sys_id)},
          {"parent_port", info.enc_parent_port_id},
          {"children", bitmap_ids(bayhal::kHalConf, "Enclosure_" + std::to_string(id), "child_bitmap")},
          {"stack_id", info.stack_id},
          {"status", info.status},
          {"capabilities", enc_capabilities(info.capabilities)},
          {"capability_word", info.capabilities}};
}

std::optional<SE_ENC_INFO> record(int id) {
  SE_ENC_INFO info{};
  if (SE_Get_Info(id, &info) != 0) return std::nullopt;
  return info;
}

void list(Context& ctx) {
  auto ids = registered_ids(ctx);
  if (!ids) return;
  json all = json::array();
  for (int id : *ids)
    if (auto info = record(id)) all.push_back(record_json(id, *info));
  ctx.emit(all, table_of(all, {"enc_id", "enc_sys_id", "protocol", "model", "bays", "disks", "parent", "capabilities"}));
}

void info(Context& ctx, const std::string& name) {
  auto enc = enclosure_arg(ctx, name);
  auto rec = enc ? record(enc->id) : std::nullopt;
  if (!rec) return;
  json j = record_json(enc->id, *rec);
  char uid[SE_UNIQUE_ID_SIZE] = {};
  SE_Get_Unique_Id(&*rec, uid, sizeof uid);
  j["unique_id"] = text_or_null(uid);
  j["extended_capability"] = rec->extended_capability;
  j["real_sys_id"] = text_or_null(rec->real_sys_id);
  j["bsg_name"] = text_or_null(rec->bsg_name);
  ctx.emit(j, fields_of(j));
}

void scan(Context& ctx) {
  std::map<int, std::string> before;
  if (auto ids = registered_ids(ctx)) {
    for (int id : *ids)
      if (auto r = record(id)) before[id] = r->enc_sys_id;
  } else {
    return;
  }
  bool scanned = SE_Scan() == 0;
  std::vector<std::string> present;
  auto add = [](void* arg, const char* name) { static_cast<std::vector<std::string>*>(arg)->push_back(name); };
  if (bayhal_tool_enclosures_present(add, &present) < 0) return ctx.fail("enc scan: discovery failed" + log_hint());
  json rows = json::array(), attached = json::array(), detached = json::array();
  for (const std::string& name : present) {
    int id = -1;
    bool known = SE_Get_Id_By_Sys_Id(name.c_str(), &id) == 0;
    bool is_new = known && !before.contains(id);
    if (is_new) attached.push_back(id);
    rows.push_back({{"enc_id", known ? json(id) : json()}, {"enc_sys_id", name},
                    {"change", is_new ? json("attached") : json()}});
  }
  for (const auto& [id, name] : before)
    if (!record(id)) {
      detached.push_back(id);
      rows.push_back({{"enc_id", id}, {"enc_sys_id", name}, {"change", "detached"}});
    }
  json j{{"present", json::array()}, {"attached", attached}, {"detached", detached}};
  for (const json& r : rows)
    if (r["change"] != "detached") j["present"].push_back({{"enc_sys_id", r["enc_sys_id"]}, {"enc_id", r["enc_id"]}});
  ctx.emit(j, table_of(rows, {"enc_id", "enc_sys_id", "change"}));
  if (!scanned) ctx.fail("enc scan: an enclosure present could not be attached (no enc_id above)" + log_hint());
}

void attach(Context& ctx, const std::string& name) {
  auto identity = identity_arg(ctx, name);
  if (!identity) return;
  json j{{"enc_sys_id", *identity}, {"enc_id", nullptr}};
  ctx.set_result(j);
  if (SE_Sys_Attach(identity->c_str(), 1) != 0)
    return ctx.fail("enc attach: " + *identity + " could not be attached (is it present? hal_tool enc scan lists what is)" + log_hint());
  int id = -1;
  if (SE_Get_Id_By_Sys_Id(identity->c_str(), &id) == 0) j["enc_id"] = id;
  ctx.emit(j, *identity + " attached as enclosure " + bayhal::cli::cell(j["enc_id"]));
}

void detach(Context& ctx, const std::string& name) {
  auto enc = enclosure_arg(ctx, name);
  if (!enc) return;
  json j{{"enc_sys_id", enc->identity}, {"enc_id", enc->id}};
  ctx.set_result(j);
  if (SE_Sys_Detach(enc->identity.c_str()) != 0)
    return ctx.fail("enc detach: " + enc->identity + " could not be detached" + log_hint());
  ctx.emit(j, enc->identity + " (enclosure " + std::to_string(enc->id) + ") detached");
}

void show_map(Context& ctx) {
  auto index = read_section(ctx, "enc map", bayhal::kEncMap, bayhal::kIndex);
  if (!index) return;
  std::vector<int> in_use = bitmap_ids(bayhal::kHalConf, bayhal::kIndex, bayhal::kEncBitmap);
  json entries = json::array();
  for (const auto& [key, value] : index->items()) {
    auto id = parse_number(key, 0, kMaxIds);
    std::string uid = value.get<std::string>();
    if (!id || uid.rfind("enc_uid_", 0) != 0) continue;
    std::string name_key = "enc_" + key;
    entries.push_back({{"enc_id", *id}, {"unique_id", uid.substr(8)},
                       {"display_name", index->contains(name_key) ? (*index)[name_key] : json()},
                       {"in_use", std::find(in_use.begin(), in_use.end(), *id) != in_use.end()}});
  }
  json j{{"file", bayhal::kEncMap}, {"allocated", bitmap_ids(bayhal::kEncMap, bayhal::kIndex, bayhal::kEncBitmap)},
         {"in_use", in_use}, {"entries", entries}};
  ctx.emit(j, table_of(entries, {"enc_id", "unique_id", "display_name", "in_use"}));
}

void add_enc(CLI::App& app, Context& ctx) {
  CLI::App* enc = ctx.area(app, "enc", "enclosure registry");
  ctx.add_command(enc, "list", "registered enclosures", "enclosures", [&ctx] { list(ctx); });
  static std::string info_name, attach_name, detach_name;
  ctx.add_command(enc, "info", "one enclosure's record", "enclosure", [&ctx] { info(ctx, info_name); })
      ->add_option("enc", info_name, "ENC: enclosure id or identity")->required();
  ctx.add_command(enc, "scan", "attach what is present and new, detach what is gone", "scan", [&ctx] { scan(ctx); });
  ctx.add_command(enc, "attach", "attach an enclosure that is present", "enclosure", [&ctx] { attach(ctx, attach_name); })
      ->add_option("enc", attach_name, "ENC: enclosure identity (e.g. root or 5000ccab0200947e)")->required();
  ctx.add_command(enc, "detach", "detach a registered enclosure", "enclosure", [&ctx] { detach(ctx, detach_name); })
      ->add_option("enc", detach_name, "ENC: enclosure id or identity")->required();
  ctx.add_command(enc, "map", "persistent enclosure ids and which are in use", "enclosure_map", [&ctx] { show_map(ctx); });
}

}  // namespace

HAL_TOOL_COMMAND(add_enc);

}  // namespace hal_tool
