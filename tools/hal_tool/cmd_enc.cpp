// hal_tool enc ...: the enclosure registry as a person sees it.
#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "enclosure/enc_conf.h"
#include "ini/ini_store.h"
#include "tools/hal_tool/tool.h"

namespace hal_tool {
namespace {

std::vector<int> bitmap_ids(const char* file) {
  std::vector<int> ids(4096);
  int n = Ini_Conf_Bitmap_Enumerate(file, bayhal::kIndex, bayhal::kEncBitmap, ids.data(),
                                    static_cast<int>(ids.size()), nullptr, nullptr);
  ids.resize(n > 0 ? static_cast<size_t>(n) : 0);
  return ids;
}

std::string join(const std::vector<int>& ids) {
  std::string out;
  for (int id : ids) out += (out.empty() ? "" : ",") + std::to_string(id);
  return out.empty() ? "-" : out;
}

bool is_number(const std::string& s) {
  return !s.empty() && s.find_first_not_of("0123456789") == std::string::npos;
}

void show_map(Context& ctx) {
  nlohmann::json entries = nlohmann::json::array();
  Table table{{"ID", "UNIQUE ID", "DISPLAY NAME", "IN USE"}, {}};
  std::vector<int> in_use = bitmap_ids(bayhal::kHalConf);
  auto section = bayhal::ini::read_section(bayhal::kEncMap, bayhal::kIndex);
  if (section) {
    for (const auto& [key, value] : section->entries) {
      if (!is_number(key) || value.rfind("enc_uid_", 0) != 0) continue;
      int id = std::stoi(key);
      std::string uid = value.substr(8);
      const std::string* name = section->find("enc_" + key);
      bool used = std::find(in_use.begin(), in_use.end(), id) != in_use.end();
      entries.push_back({{"id", id}, {"unique_id", uid},
                         {"display_name", name ? nlohmann::json(*name) : nlohmann::json()},
                         {"in_use", used}});
      table.rows.push_back({key, uid, name ? *name : "", used ? "yes" : "no"});
    }
  }
  std::vector<int> allocated = bitmap_ids(bayhal::kEncMap);
  nlohmann::json j{{"map_file", bayhal::kEncMap}, {"map_present", section.has_value()},
                   {"allocated", allocated}, {"in_use", in_use}, {"entries", entries}};
  emit(ctx, j, table);
  if (!ctx.json)
    std::cout << "allocated: " << join(allocated) << "\nin use:    " << join(in_use) << '\n';
}

void add_enc(CLI::App& app, Context& ctx) {
  CLI::App* enc = area(app, "enc", "enclosure registry");
  CLI::App* map = enc->add_subcommand("map", "persistent enclosure ids and the in-use bitmap");
  map->callback([&ctx] { show_map(ctx); });
}

}  // namespace

HAL_TOOL_COMMAND(add_enc);

}  // namespace hal_tool
