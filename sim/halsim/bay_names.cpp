#include "sim/halsim/bay_names.h"

#include <cctype>
#include <charconv>
#include <map>

#include "bayhal/SE.h"

namespace bayhal::sim::halsim {
namespace {

using json = nlohmann::ordered_json;

std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

std::optional<int> number(const std::string& text) {
  int v = -1;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
  if (ec != std::errc() || end != text.data() + text.size() || v < 0) return std::nullopt;
  return v;
}

// Every name of each enclosure the appliance has, lower-cased, to its scenario name.
std::map<std::string, std::string> enclosure_names(const json& status) {
  std::map<std::string, std::string> names;
  for (const json& b : status.value("bays", json::array())) {
    std::string bay = b.value("bay", "");
    std::string enc = bay.substr(0, bay.rfind('/'));
    names[lower(enc)] = enc;
    if (b["enc_sys_id"].is_string()) names[lower(b["enc_sys_id"].get<std::string>())] = enc;
  }
  for (const json& u : status.value("units", json::array())) {
    std::string unit = u.value("unit", "");
    names[lower(unit)] = unit;
    if (u["enc_sys_id"].is_string()) names[lower(u["enc_sys_id"].get<std::string>())] = unit;
  }
  return names;
}

std::optional<std::string> enclosure(const json& status, const std::string& text, std::string& error) {
  std::string key = lower(text);
  if (auto id = number(text)) {
    SE_ENC_INFO info{};
    if (SE_Get_Info(*id, &info) != 0) {
      error = "no enclosure " + text + " is registered (hal_tool enc list shows them)";
      return std::nullopt;
    }
    key = lower(info.enc_sys_id);
  }
  auto names = enclosure_names(status);
  auto it = names.find(key);
  if (it == names.end()) {
    error = "no enclosure '" + text + "' in this appliance";
    return std::nullopt;
  }
  return it->second;
}

bool is_unit(const json& status, const std::string& name) {
  for (const json& u : status.value("units", json::array()))
    if (u.value("unit", "") == name) return true;
  return false;
}

}  // namespace

std::optional<std::string> control_target(const json& status, const std::string& text, std::string& error) {
  size_t slash = text.rfind('/');
  if (slash == std::string::npos) {
    auto enc = enclosure(status, text, error);
    if (!enc) error = "no unit '" + text + "' in this appliance (a bay is ENC/PORT, e.g. root/3)";
    if (enc && !is_unit(status, *enc)) {
      error = "'" + text + "' is not an expansion unit; a bay is ENC/PORT, e.g. root/3";
      return std::nullopt;
    }
    return enc;
  }
  auto port = number(text.substr(slash + 1));
  if (slash == 0 || !port) {
    error = "bad bay '" + text + "': expected ENC/PORT, e.g. root/3, 0/3 or jbod/5";
    return std::nullopt;
  }
  auto enc = enclosure(status, text.substr(0, slash), error);
  if (!enc) return std::nullopt;
  std::string bay = *enc + "/" + std::to_string(*port);
  for (const json& b : status.value("bays", json::array()))
    if (b.value("bay", "") == bay) return bay;
  error = "no bay " + text + (bay == text ? "" : " (" + bay + ")") + " in this appliance";
  return std::nullopt;
}

}  // namespace bayhal::sim::halsim
