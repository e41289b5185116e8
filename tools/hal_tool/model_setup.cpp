#include "tools/hal_tool/model_setup.h"

#include <unistd.h>

#include <filesystem>

#include "foundation/store_files.h"
#include "tools/tool_api/bayhal_tool.h"

namespace hal_tool {

json model_target() {
  char buf[4096];
  ssize_t n = ::readlink(host_path(bayhal::kModelConf).c_str(), buf, sizeof buf - 1);
  if (n <= 0) return nullptr;
  std::string target(buf, static_cast<size_t>(n));
  if (target.front() != '/') return (std::filesystem::path(bayhal::kModelConf).parent_path() / target).string();
  return appliance_path(target);
}

json model_setup(int& rc) {
  json j{{"result", 0}, {"file", bayhal::kModelConf}, {"chosen", nullptr}, {"target", nullptr},
         {"message", nullptr}, {"fixups", json::array()}, {"memory", {{"sane", false}, {"modules", json::array()}}}};
  BAYHAL_TOOL_SETUP_REPORT report{
      [](void* arg, const char* file) { (*static_cast<json*>(arg))["chosen"] = file ? json(file) : json(); },
      [](void* arg, const char* name, int changed, const char* detail) {
        (*static_cast<json*>(arg))["fixups"].push_back({{"name", name}, {"changed", changed != 0}, {"detail", detail}});
      },
      [](void* arg, int sane, const BAYHAL_TOOL_MODULE* m, int count) {
        json& memory = (*static_cast<json*>(arg))["memory"];
        memory["sane"] = sane != 0;
        for (int i = 0; i < count; ++i)
          memory["modules"].push_back({{"locator", text_or_null(m[i].locator)}, {"bank", text_or_null(m[i].bank)},
                                       {"installed", m[i].installed != 0},
                                       {"size_mb", m[i].installed ? json(m[i].size_mb) : json()},
                                       {"type", text_or_null(m[i].type)}, {"speed_mts", m[i].speed_mts > 0 ? json(m[i].speed_mts) : json()},
                                       {"manufacturer", text_or_null(m[i].manufacturer)},
                                       {"part_number", text_or_null(m[i].part_number)},
                                       {"serial", text_or_null(m[i].serial)}});
      }};
  const char* message = nullptr;
  rc = bayhal_tool_model_setup(&message, &report, &j);
  j["result"] = rc;
  j["target"] = model_target();
  if (message != nullptr && *message != '\0') j["message"] = message;
  return j;
}

std::string model_setup_text(const json& r) {
  std::string out = std::string(bayhal::kModelConf) +
                    (r["chosen"].is_null() ? " kept as it is" : " -> " + r["chosen"].get<std::string>());
  if (!r["message"].is_null()) out += "\nmessage: " + r["message"].get<std::string>();
  for (const json& f : r["fixups"])
    if (f["changed"].get<bool>()) out += "\ncorrected " + f["name"].get<std::string>() + ": " + f["detail"].get<std::string>();
  return out;
}

}  // namespace hal_tool
