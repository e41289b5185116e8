#include "disk_sys/root_lookup.h"

#include <cstdio>

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/comm_sys.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal {
namespace {

bool pci_name(const std::string& n) {
  return n.size() == 12 && n[4] == ':' && n[7] == ':' && n[10] == '.';
}

// PCI functions on a bridge's secondary bus: the kernel places them in the bridge's folder.
std::vector<std::string> pci_children(std::string_view bridge) {
  std::vector<std::string> out;
  for (const auto& e : sysfs_list(bridge))
    if (pci_name(e) && sysfs_is_dir(std::string(bridge) + "/" + e)) out.push_back(e);
  return out;
}

bool is_bridge(std::string_view path) {
  return !comm_sys_get_pci_bus(path).empty() || !pci_children(path).empty();
}

// The function 00.0 on a bridge's secondary bus (the first function when the bus has no
// 00.0, as some trees are captured).
std::string below_bridge(std::string_view bridge) {
  std::string bus = comm_sys_get_pci_bus(bridge);
  if (!bus.empty()) {
    std::string dev = sysfs_resolve("/sys/bus/pci/devices/" + bus + ":00.0");
    if (!dev.empty()) return dev;
  }
  auto children = pci_children(bridge);
  return children.empty() ? std::string() : std::string(bridge) + "/" + children.front();
}

// Downstream port `port` (its device number) on a switch's internal bus.
std::string switch_downstream(std::string_view upstream, int port) {
  if (port < 0 || port > 31) return {};
  char dev[8];
  std::snprintf(dev, sizeof dev, ":%02x.0", port);
  for (const auto& child : pci_children(upstream))
    if (child.compare(7, 5, dev) == 0) return std::string(upstream) + "/" + child;
  std::string bus = comm_sys_get_pci_bus(upstream);
  if (bus.empty()) return {};
  return sysfs_resolve("/sys/bus/pci/devices/" + bus + dev);
}

std::string host_dir(std::string_view ctrl, int host) {
  std::string h = "host" + std::to_string(host);
  std::string via_class = sysfs_resolve("/sys/class/scsi_host/" + h + "/device");
  if (!via_class.empty()) return via_class;
  // Captures and minimal trees may lack the class folder; the host sits below the controller.
  std::string direct = std::string(ctrl) + "/" + h;
  if (sysfs_is_dir(direct)) return sysfs_resolve(direct);
  for (const auto& e : sysfs_list(ctrl))
    if (e.rfind("ata", 0) == 0 && sysfs_is_dir(std::string(ctrl) + "/" + e + "/" + h))
      return sysfs_resolve(std::string(ctrl) + "/" + e + "/" + h);
  return {};
}

struct HostInfo {
  int min = -1;
  int count = 0;
};

// get_sdev_host: hosts straight below the controller, else one in each "ata" folder.
bool get_sdev_host(std::string_view ctrl, HostInfo& out) {
  out.min = common_sys_get_min_index(ctrl, "host", &out.count);
  if (out.count > 0) return true;
  for (const auto& e : sysfs_list(ctrl)) {
    if (e.rfind("ata", 0) != 0) continue;
    int n = 0;
    int min = common_sys_get_min_index(std::string(ctrl) + "/" + e, "host", &n);
    if (n != 1) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d):System Error:host_count = %d\n", "get_sdev_host",
                __LINE__, n);
      return false;
    }
    if (out.min < 0 || min < out.min) out.min = min;
    ++out.count;
  }
  return out.count > 0;
}

FoundDisk unit_disk(const std::string& unit) {
  FoundDisk d;
  d.unit_path = unit;
  d.name = comm_sys_get_sdev_sysid(unit);
  return d;
}

// The unit of an end device: "target<H>:0:<T>" first, "target<H>:<C>:0" second.
std::string end_device_unit(const std::string& ed, int host) {
  std::string bus = comm_sys_get_sdev_target_bus(ed, host, true);
  if (bus.empty()) {
    bus = comm_sys_get_sdev_target_bus(ed, host, false);
    if (bus.size() < 2 || bus.compare(bus.size() - 2, 2, ":0") != 0) bus.clear();
  }
  if (bus.empty()) return {};
  return ed + "/target" + bus + "/" + bus + ":0";
}

// The end device reached through a port folder, empty when the port leads elsewhere.
std::string end_device_in(const std::string& port, const std::string& prefix) {
  std::string ed = comm_sys_search_partial_filename(port, prefix);
  return ed.empty() ? std::string() : port + "/" + ed;
}

std::vector<FoundDisk> sas_lookup(const std::string& hdir, int host, int phy) {
  std::string h = std::to_string(host);
  std::string phy_dir = hdir + "/phy-" + h + ":" + std::to_string(phy);
  std::string ed;
  std::string port = sysfs_resolve(phy_dir + "/port");
  if (!port.empty()) ed = end_device_in(port, "end_device-" + h + ":");
  if (ed.empty()) {
    // Behind an expander: each host port that carries one, its phy and that phy's port.
    for (const auto& p : sysfs_list(hdir)) {
      int channel = index_after(p, "port-" + h + ":");
      if (channel < 0) continue;
      std::string c = std::to_string(channel);
      std::string exp = hdir + "/" + p + "/expander-" + h + ":" + c;
      std::string eport = sysfs_resolve(exp + "/phy-" + h + ":" + c + ":" + std::to_string(phy) +
                                        "/port");
      if (eport.empty()) continue;
      ed = end_device_in(eport, "end_device-" + h + ":" + c + ":");
      if (!ed.empty()) break;
    }
  }
  if (ed.empty()) {
    ERR_TRACE(HAL_TRACE_DEVICE,
              "%s(%d):phy_id = %d path = %s maybe not directly connect to SAS host\n",
              "lookup_disk_in_root", __LINE__, phy, phy_dir.c_str());
    return {};
  }
  std::string unit = end_device_unit(ed, host);
  if (unit.empty() || !sysfs_is_dir(unit)) return {};
  if (comm_sys_get_sdev_type(unit) == 5) return {};  // optical drives are not slots' disks
  FoundDisk d = unit_disk(unit);
  std::string edname = ed.substr(ed.rfind('/') + 1);
  std::string attrs = ed + "/sas_device/" + edname;
  if (auto v = sysfs_read_int(attrs + "/phy_identifier")) d.phy = static_cast<int>(*v);
  if (auto v = sysfs_read_int(attrs + "/bay_identifier")) d.bay = static_cast<int>(*v);
  if (d.name.empty()) return {};
  return {d};
}

}  // namespace

std::string resolve_controller(int domain, std::string_view dev_bus, std::string_view bridge_bus,
                               int switch_port, bool m2) {
  std::string path = sysfs_resolve(comm_sys_get_path_from_c_dev_bus(domain, dev_bus));
  if (path.empty()) return {};
  if (!bridge_bus.empty()) {
    // A bridge bus given as "bb:dd.f" or with its domain: the function below DEV_BUS.
    std::string child = comm_sys_get_path_from_c_dev_bus(domain, bridge_bus);
    std::string name = child.substr(child.rfind('/') + 1);
    if (!child.empty() && sysfs_is_dir(path + "/" + name)) path = path + "/" + name;
  }
  if (is_bridge(path)) path = below_bridge(path);
  if (m2 && !path.empty() && is_bridge(path)) path = below_bridge(path);
  if (!path.empty() && is_bridge(path)) {
    if (switch_port < 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d):System Error\n", "lookup_disk_in_root", __LINE__);
      return {};
    }
    path = switch_downstream(path, switch_port);
    if (!path.empty() && is_bridge(path)) path = below_bridge(path);
  }
  return path;
}

std::vector<FoundDisk> lookup_in_controller(std::string_view ctrl, int dev_port,
                                            bool all_targets) {
  std::string nvme = comm_sys_get_pcie_nvme_name(ctrl);
  if (!nvme.empty()) {
    FoundDisk d;
    d.name = comm_sys_get_nvme_disk_name(ctrl, nvme);
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d):sysid = %s\n", "lookup_disk_in_root", __LINE__,
              d.name.c_str());
    return {d};
  }
  HostInfo hosts;
  if (dev_port < 0 || !get_sdev_host(ctrl, hosts)) return {};
  int host = hosts.min;
  std::string hdir;
  bool sas = false;
  if (hosts.count == 1) {
    hdir = host_dir(ctrl, host);
    // A single host with phys is a SAS controller; one without is a one-port SATA controller.
    sas = !comm_sys_search_partial_filename(hdir, "phy-").empty();
  }
  if (sas) return sas_lookup(hdir, host, dev_port);
  host = hosts.min + dev_port;
  hdir = host_dir(ctrl, host);
  if (hdir.empty()) return {};
  std::vector<FoundDisk> out;
  for (const auto& t : sysfs_list(hdir)) {
    int th = index_after(t.substr(0, t.find(':')), "target");
    if (th != host) continue;
    std::string bus = t.substr(6);
    std::string unit = hdir + "/" + t + "/" + bus + ":0";
    FoundDisk d = unit_disk(unit);
    if (d.name.empty()) continue;
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d):sysid = %s\n", "lookup_disk_in_root", __LINE__,
              d.name.c_str());
    out.push_back(d);
    if (!all_targets) break;
  }
  return out;
}

int ahci_port_host(std::string_view ctrl, int dev_port) {
  HostInfo hosts;
  if (dev_port < 0 || !comm_sys_get_pcie_nvme_name(ctrl).empty() || !get_sdev_host(ctrl, hosts))
    return -1;
  if (hosts.count == 1 && !comm_sys_search_partial_filename(host_dir(ctrl, hosts.min), "phy-").empty())
    return -1;  // SAS: one host, the ports are its phys
  return dev_port < hosts.count ? hosts.min + dev_port : -1;
}

std::vector<int> controller_ports(std::string_view ctrl) {
  HostInfo hosts;
  std::vector<int> out;
  if (!get_sdev_host(ctrl, hosts)) return out;
  if (hosts.count == 1) {
    std::string hdir = host_dir(ctrl, hosts.min);
    std::string prefix = "phy-" + std::to_string(hosts.min) + ":";
    for (const auto& e : sysfs_list(hdir))
      if (int p = index_after(e, prefix); p >= 0) out.push_back(p);
    if (!out.empty()) return out;
  }
  for (int p = 0; p < hosts.count; ++p) out.push_back(p);
  return out;
}

int lookup_disk_in_root(int domain, std::string_view dev_bus, std::string_view bridge_bus,
                        int dev_port, int switch_port, std::string& name) {
  std::string ctrl = resolve_controller(domain, dev_bus, bridge_bus, switch_port, false);
  if (ctrl.empty()) return -1;
  auto disks = lookup_in_controller(ctrl, dev_port);
  if (disks.empty()) return -1;
  name = disks.front().name;
  return 0;
}

}  // namespace bayhal
