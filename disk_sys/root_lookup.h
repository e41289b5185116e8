// From a slot's controller to its disks: the PCI descent through bridges and switch ports,
// the SCSI host of the port (AHCI: one host per port; SAS: one host, the port is a phy),
// SAS end devices on host phys or behind an expander, NVMe controllers, USB ports.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace bayhal {

// A disk found below a controller.
struct FoundDisk {
  std::string name;       // pd_sys_id: block device or NVMe namespace name
  std::string unit_path;  // SCSI unit folder ("/sys/devices/.../H:C:T:L"); empty for NVMe
  int phy = -1;           // SAS: the phy the end device hangs on (host or expander phy)
  int bay = -1;           // SAS: the end device's bay_identifier, -1 when not reported
};

// The controller's folder for DEV_BUS (and bridge bus), through a bridge, an M.2 card's
// own bridge (`m2`) and a PCIe switch's downstream port; empty when it cannot be reached.
std::string resolve_controller(int domain, std::string_view dev_bus, std::string_view bridge_bus,
                               int switch_port, bool m2);

// The disk on port `dev_port` of the controller at `ctrl` (already resolved). With
// `all_targets` every target of an AHCI port is listed (an eSATA port multiplier). Empty
// when the port holds no disk.
std::vector<FoundDisk> lookup_in_controller(std::string_view ctrl, int dev_port,
                                            bool all_targets = false);

// The SCSI host number of port `dev_port` of a controller with one host per port (AHCI);
// -1 for a SAS or NVMe controller, or when the port has no host.
int ahci_port_host(std::string_view ctrl, int dev_port);

// The port numbers of a controller: 0 to n-1 for n hosts (AHCI), the host phys of a SAS
// controller.
std::vector<int> controller_ports(std::string_view ctrl);

// lookup_disk_in_root: resolve the controller of a slot and look up its port. 0 with the
// disk's name in `name`, -1 when there is none.
int lookup_disk_in_root(int domain, std::string_view dev_bus, std::string_view bridge_bus,
                        int dev_port, int switch_port, std::string& name);

// Disks on the USB ports `ports` of the controller at `ctrl`: root hub ports, or ports of
// the internal hub on root port `hub_port` when `in_hub`. `speed_class` 0 takes every root
// hub, 3 only USB 2 and slower, 4 SuperSpeed, 6 SuperSpeedPlus. One entry per LUN.
std::vector<FoundDisk> lookup_usb_ports(std::string_view ctrl, const std::vector<int>& ports,
                                        int in_hub, int hub_port, int speed_class);

// Every disk below `dir` (block devices of SCSI units and NVMe namespaces), in tree order.
std::vector<FoundDisk> disks_below(std::string_view dir);

}  // namespace bayhal
