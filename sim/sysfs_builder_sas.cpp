// SAS transport-class topologies: host phys, ports, expanders and end devices, in the
// shape of the scsi_transport_sas class (as mpt3sas and the libsas drivers register them).
#include <filesystem>

#include "sim/sysfs_builder.h"

namespace bayhal::sim {

namespace fs = std::filesystem;

void SysfsBuilder::sas_phy(std::string_view parent, std::string_view name, int phy_id,
                           std::string_view sas_address, std::string_view rate) {
  std::string n(name);
  std::string d = std::string(parent) + "/" + n;
  attr(d + "/uevent", "");
  std::string c = d + "/sas_phy/" + n;
  attr(c + "/phy_identifier", std::to_string(phy_id));
  attr(c + "/sas_address", sas_address);
  attr(c + "/negotiated_linkrate", rate);
  attr(c + "/maximum_linkrate", "12.0 Gbit");
  attr(c + "/maximum_linkrate_hw", "12.0 Gbit");
  attr(c + "/minimum_linkrate", "1.5 Gbit");
  attr(c + "/minimum_linkrate_hw", "1.5 Gbit");
  attr(c + "/device_type", "end device");
  attr(c + "/initiator_port_protocols", "smp,stp,ssp");
  attr(c + "/target_port_protocols", "none");
  attr(c + "/enable", "1");
  attr(c + "/invalid_dword_count", "0");
  attr(c + "/running_disparity_error_count", "0");
  attr(c + "/loss_of_dword_sync_count", "0");
  attr(c + "/phy_reset_problem_count", "0");
  link(c + "/device", d);
  link(c + "/subsystem", "/sys/class/sas_phy");
  link("/sys/class/sas_phy/" + n, c);
}

std::string SysfsBuilder::sas_port(std::string_view parent, std::string_view name,
                                   const std::vector<std::string>& phy_names) {
  std::string n(name);
  std::string d = std::string(parent) + "/" + n;
  attr(d + "/uevent", "");
  std::string c = d + "/sas_port/" + n;
  attr(c + "/num_phys", std::to_string(phy_names.size()));
  link(c + "/device", d);
  link("/sys/class/sas_port/" + n, c);
  for (const auto& phy : phy_names) {
    std::string pd = std::string(parent) + "/" + phy;
    link(d + "/" + phy, pd);
    link(pd + "/port", d);
  }
  return d;
}

std::string SysfsBuilder::sas_end_device(std::string_view port_dir, std::string_view name,
                                         int phy, const EndDeviceSpec& end) {
  std::string n(name);
  std::string d = std::string(port_dir) + "/" + n;
  attr(d + "/uevent", "");
  std::string c = d + "/sas_device/" + n;
  attr(c + "/sas_address", end.sas_address);
  attr(c + "/phy_identifier", std::to_string(phy));
  if (end.bay >= 0) attr(c + "/bay_identifier", std::to_string(end.bay));
  if (!end.enclosure_id.empty()) attr(c + "/enclosure_identifier", end.enclosure_id);
  attr(c + "/target_port_protocols", end.protocol);
  attr(c + "/initiator_port_protocols", "none");
  attr(c + "/device_type", "end device");
  link(c + "/device", d);
  link(c + "/subsystem", "/sys/class/sas_device");
  link("/sys/class/sas_device/" + n, c);
  std::string e = d + "/sas_end_device/" + n;
  attr(e + "/ready_led_meaning", "0");
  attr(e + "/I_T_nexus_loss_timeout", "2000");
  attr(e + "/initiator_response_timeout", "2000");
  attr(e + "/tlr_supported", "0");
  attr(e + "/tlr_enabled", "0");
  link(e + "/device", d);
  link("/sys/class/sas_end_device/" + n, e);
  return d;
}

std::string SysfsBuilder::sas_target(SasHba& hba, std::string_view end_dir, int end_index,
                                     const EndDeviceSpec& end, const BlockSpec& spec) {
  BlockSpec s = spec;
  if (s.sas_address.empty()) s.sas_address = end.sas_address;
  if (end.channel_target) return scsi_unit(end_dir, hba.host, end_index, 0, 0, s);
  return scsi_unit(end_dir, hba.host, 0, hba.next_target++, 0, s);
}

SasHba SysfsBuilder::sas_hba(std::string_view pci_dir, int host, const std::vector<int>& phys,
                             std::string_view sas_address, std::string_view proc_name) {
  SasHba hba;
  hba.host = host;
  hba.sas_address = sas_address;
  hba.host_dir = scsi_host(pci_dir, host, proc_name);
  std::string name = "host" + std::to_string(host);
  attr(hba.host_dir + "/scsi_host/" + name + "/host_sas_address", sas_address);
  link(hba.host_dir + "/sas_host/" + name + "/device", hba.host_dir);
  link("/sys/class/sas_host/" + name, hba.host_dir + "/sas_host/" + name);
  for (int p : phys)
    sas_phy(hba.host_dir, "phy-" + std::to_string(host) + ":" + std::to_string(p), p,
            sas_address, "Unknown");
  return hba;
}

std::string SysfsBuilder::sas_direct_disk(SasHba& hba, const std::vector<int>& phys,
                                          const EndDeviceSpec& end, const BlockSpec& spec) {
  std::string h = std::to_string(hba.host);
  int n = hba.next_port++;
  std::vector<std::string> names;
  for (int p : phys) {
    names.push_back("phy-" + h + ":" + std::to_string(p));
    attr(hba.host_dir + "/" + names.back() + "/sas_phy/" + names.back() + "/negotiated_linkrate",
         end.rate);
  }
  std::string port = sas_port(hba.host_dir, "port-" + h + ":" + std::to_string(n), names);
  std::string ed = sas_end_device(port, "end_device-" + h + ":" + std::to_string(n),
                                  phys.empty() ? 0 : phys.front(), end);
  return sas_target(hba, ed, n, end, spec);
}

SasExpander SysfsBuilder::sas_expander(SasHba& hba, const std::vector<int>& host_phys, int phys,
                                       std::string_view sas_address) {
  std::string h = std::to_string(hba.host);
  SasExpander exp;
  exp.hba = &hba;
  exp.channel = hba.next_port++;
  std::string c = std::to_string(exp.channel);
  std::vector<std::string> names;
  for (int p : host_phys) {
    names.push_back("phy-" + h + ":" + std::to_string(p));
    attr(hba.host_dir + "/" + names.back() + "/sas_phy/" + names.back() + "/negotiated_linkrate",
         "12.0 Gbit");
  }
  std::string port = sas_port(hba.host_dir, "port-" + h + ":" + c, names);
  std::string name = "expander-" + h + ":" + c;
  exp.dir = port + "/" + name;
  attr(exp.dir + "/uevent", "");
  std::string dev = exp.dir + "/sas_device/" + name;
  attr(dev + "/sas_address", sas_address);
  attr(dev + "/device_type", "edge expander");
  attr(dev + "/target_port_protocols", "smp");
  attr(dev + "/initiator_port_protocols", "smp");
  attr(dev + "/phy_identifier", "0");
  // An expander has no bay: the kernel's read of these fails, which reads as empty.
  raw(dev + "/bay_identifier", "");
  raw(dev + "/enclosure_identifier", "");
  link(dev + "/device", exp.dir);
  link("/sys/class/sas_device/" + name, dev);
  std::string ex = exp.dir + "/sas_expander/" + name;
  attr(ex + "/vendor_id", "BAYSIM  ");
  attr(ex + "/product_id", "SIM_EXPANDER    ");
  attr(ex + "/product_rev", "0001");
  attr(ex + "/component_vendor_id", "BAYSIM  ");
  attr(ex + "/level", "1");
  link(ex + "/device", exp.dir);
  link("/sys/class/sas_expander/" + name, ex);
  for (int p = 0; p < phys; ++p)
    sas_phy(exp.dir, "phy-" + h + ":" + c + ":" + std::to_string(p), p, sas_address,
            "Unknown");
  return exp;
}

std::string SysfsBuilder::sas_expander_disk(SasExpander& exp, int phy, const EndDeviceSpec& end,
                                            const BlockSpec& spec) {
  std::string pre = std::to_string(exp.hba->host) + ":" + std::to_string(exp.channel) + ":";
  int m = exp.next_port++;
  std::string phy_name = "phy-" + pre + std::to_string(phy);
  attr(exp.dir + "/" + phy_name + "/sas_phy/" + phy_name + "/negotiated_linkrate", end.rate);
  std::string port = sas_port(exp.dir, "port-" + pre + std::to_string(m), {phy_name});
  std::string ed = sas_end_device(port, "end_device-" + pre + std::to_string(m), phy, end);
  return sas_target(*exp.hba, ed, m, end, spec);
}

}  // namespace bayhal::sim
