#include "disk_sys/comm_sys.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal {

std::string comm_sys_get_path_from_c_dev_bus(int domain, std::string_view dev_bus) {
  if (dev_bus.empty() || domain < 0 || domain > 0xffff) return {};
  size_t colons = 0;
  for (char c : dev_bus) colons += c == ':';
  std::string addr;
  if (colons >= 2) {
    addr = dev_bus;
  } else {
    char dom[8];
    std::snprintf(dom, sizeof dom, "%04x:", static_cast<unsigned>(domain));
    addr = std::string(dom) + std::string(dev_bus);
  }
  if (addr.find('/') != std::string::npos) return {};  // never leave the PCI folder
  return "/sys/bus/pci/devices/" + addr;
}

std::string comm_sys_get_pci_bus(std::string_view path) {
  for (const auto& e : sysfs_list(std::string(path) + "/pci_bus"))
    if (e.size() == 7 && e[4] == ':') return e;
  return {};
}

std::string comm_sys_search_partial_filename(std::string_view dir, std::string_view prefix) {
  for (const auto& e : sysfs_list(dir))
    if (e.compare(0, prefix.size(), prefix) == 0) return e;
  return {};
}

std::string comm_sys_search_full_filename(std::string_view dir, std::string_view name,
                                          int max_depth) {
  if (max_depth < 0) return {};
  auto entries = sysfs_list(dir);
  for (const auto& e : entries)
    if (e == name) return std::string(dir) + "/" + e;
  for (const auto& e : entries) {
    std::string p = std::string(dir) + "/" + e;
    // Stay in real folders: sysfs links point back up the tree.
    if (!sysfs_link_name(p).empty() || !sysfs_is_dir(p)) continue;
    std::string hit = comm_sys_search_full_filename(p, name, max_depth - 1);
    if (!hit.empty()) return hit;
  }
  return {};
}

std::string comm_sys_get_sdev_target_bus(std::string_view dir, int host, bool channel_zero) {
  std::string prefix = "target" + std::to_string(host) + ":";
  if (channel_zero) prefix += "0:";
  std::string name = comm_sys_search_partial_filename(dir, prefix);
  if (name.empty()) return {};
  return name.substr(6);
}

int comm_sys_get_sdev_type(std::string_view sdev_path) {
  auto t = sysfs_read_int(std::string(sdev_path) + "/type");
  return t ? static_cast<int>(*t) : -1;
}

std::string comm_sys_get_sdev_sysid(std::string_view sdev_path) {
  auto names = sysfs_list(std::string(sdev_path) + "/block");
  return names.empty() ? std::string() : names.front();
}

std::vector<int> comm_sys_get_each_usb_port(std::string_view list) {
  std::vector<int> out;
  std::string item;
  auto flush = [&] {
    if (item.empty()) return;
    size_t dash = item.find('-', 1);
    if (dash != std::string::npos) {
      auto a = parse_number(item.substr(0, dash)), b = parse_number(item.substr(dash + 1));
      if (a && b && *a >= 0 && *b >= *a && *b - *a < 64)
        for (long long p = *a; p <= *b; ++p) out.push_back(static_cast<int>(p));
    } else if (auto v = parse_number(item); v && *v >= 0 && *v < 1000) {
      out.push_back(static_cast<int>(*v));
    }
    item.clear();
  };
  for (char c : list) {
    if (c == ',' || c == ' ' || c == '\t' || c == ';')
      flush();
    else
      item += c;
  }
  flush();
  return out;
}

std::string comm_sys_get_pcie_nvme_name(std::string_view pci_path) {
  for (const char* cls : {"/nvme", "/misc"}) {
    std::string name = comm_sys_search_partial_filename(std::string(pci_path) + cls, "nvme");
    if (!name.empty()) return name;
  }
  return {};
}

namespace {

// "nvme<S>n<N>" -> itself; "nvme<S>c<C>n<N>" (a path of a multipath disk) -> "nvme<S>n<N>";
// anything else -> empty.
std::string nvme_namespace_of(const std::string& e) {
  int s = index_after(e, "nvme");
  if (s >= 0) return {};  // a controller name, no namespace
  size_t i = 4;
  while (i < e.size() && std::isdigit(static_cast<unsigned char>(e[i]))) ++i;
  if (i == 4 || i >= e.size()) return {};
  std::string head = e.substr(0, i);
  std::string rest = e.substr(i);
  if (index_after(rest, "n") >= 0) return e;
  size_t n = rest.find('n');
  if (rest[0] == 'c' && n != std::string::npos && index_after(rest.substr(1, n - 1), "") >= 0 &&
      index_after(rest.substr(n), "n") >= 0)
    return head + rest.substr(n);
  return {};
}

}  // namespace

std::string comm_sys_get_nvme_disk_name(std::string_view pci_path, std::string_view ctrl) {
  std::string c(ctrl);
  for (const char* cls : {"/nvme/", "/misc/"}) {
    std::string dir = std::string(pci_path) + cls + c;
    if (!sysfs_is_dir(dir)) continue;
    for (const auto& e : sysfs_list(dir)) {
      std::string ns = nvme_namespace_of(e);
      if (!ns.empty()) return ns;
    }
  }
  return c + "n1";
}

int common_sys_get_min_index(std::string_view dir, std::string_view prefix, int* count) {
  int min = -1, n = 0;
  for (const auto& e : sysfs_list(dir)) {
    int i = index_after(e, prefix);
    if (i < 0) continue;
    ++n;
    if (min < 0 || i < min) min = i;
  }
  if (count) *count = n;
  return min;
}

}  // namespace bayhal
