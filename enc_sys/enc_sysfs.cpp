#include "enc_sys/enc_sysfs.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "enclosure/enc_conf.h"
#include "foundation/sysroot.h"

namespace bayhal {

namespace fs = std::filesystem;

std::optional<std::string> read_attr(std::string_view path) {
  std::ifstream in(sys_path(path));
  if (!in) return std::nullopt;
  std::string line;
  if (!std::getline(in, line) && !in.eof()) return std::nullopt;
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r' || line.back() == ' '))
    line.pop_back();
  return line;
}

std::optional<std::string> read_trimmed(std::string_view path) {
  auto v = read_attr(path);
  if (!v) return v;
  size_t start = v->find_first_not_of(" \t");
  return start == std::string::npos ? std::string() : v->substr(start);
}

std::string read_bytes(std::string_view path, size_t limit) {
  std::ifstream in(sys_path(path), std::ios::binary);
  if (!in) return {};
  std::string out(limit, '\0');
  in.read(out.data(), static_cast<std::streamsize>(limit));
  out.resize(static_cast<size_t>(in.gcount()));
  return out;
}

std::vector<std::string> list_dir(std::string_view path) {
  std::vector<std::string> names;
  std::error_code ec;
  for (fs::directory_iterator it(sys_path(path), ec), end; !ec && it != end; it.increment(ec))
    names.push_back(it->path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

bool path_exists(std::string_view path) {
  std::error_code ec;
  return fs::exists(sys_path(path), ec);
}

std::string resolve(std::string_view path) {
  std::error_code ec;
  fs::path real = fs::canonical(sys_path(path), ec);
  if (ec) return {};
  return strip_root(real.string());
}

std::string pci_slot_address(int slot) {
  std::string section = "System PCIE SLOT " + std::to_string(slot);
  auto bus = conf_get_text(kModelConf, section.c_str(), "DEV_BUS");
  if (!bus || bus->empty()) return {};
  if (std::count(bus->begin(), bus->end(), ':') >= 2) return *bus;
  int domain = static_cast<int>(conf_get_int(kModelConf, section.c_str(), "DEV_DOMAIN").value_or(0));
  char prefix[16];
  std::snprintf(prefix, sizeof prefix, "%04x:", domain & 0xffff);
  return prefix + *bus;
}

bool path_has_component(std::string_view path, std::string_view component) {
  size_t pos = 0;
  while ((pos = path.find(component, pos)) != std::string_view::npos) {
    bool starts = pos == 0 || path[pos - 1] == '/';
    size_t end = pos + component.size();
    if (starts && (end == path.size() || path[end] == '/')) return true;
    pos = end;
  }
  return false;
}

}  // namespace bayhal
