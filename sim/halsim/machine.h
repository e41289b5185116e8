// The simulated machine: the kernel's view of a scenario's hardware under a system root.
// It builds the sysfs tree at power-on and changes it on hot-plug the way the kernel
// would (a disk pulled takes its block device, generic device, class links and device
// nodes with it). Device models attach through the plug hooks; the machine itself knows
// nothing of commands.
#pragma once
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sim/halsim/scenario.h"
#include "sim/sysfs_builder.h"

namespace bayhal::sim::halsim {

// A disk the kernel sees now.
struct PluggedDisk {
  std::string disk;                // scenario disk name
  std::string slot;                // slot id ("root/3")
  std::string enc_sys_id;          // enclosure identity of the slot ("root", "root_cache", ...)
  std::string pd_sys_id;           // kernel name: "sdc", "nvme0n1"
  std::string sg;                  // "sg2"; empty for NVMe
  std::vector<std::string> remove_dirs;  // appliance paths removed when the disk goes
  std::vector<std::string> nodes;  // device nodes its model answers for ("/dev/sg2", "/dev/sdc")
};

struct PlugHooks {
  std::function<void(const PluggedDisk&, const Disk&)> plugged;
  std::function<void(const PluggedDisk&)> unplugged;
};

class Machine {
 public:
  // `host_root` is the directory that stands for "/".
  Machine(Scenario sc, std::string host_root, PlugHooks hooks = {});

  const Scenario& scenario() const { return sc_; }
  // Builds the whole tree as the kernel shows it after power-on.
  void power_on();

  // Hot-plug of one disk. `disk` empty: the disk last pulled from that slot. On success the
  // disk as the kernel now shows it; with the slot's unit uncabled the disk sits in the bay
  // unseen (nullopt and an empty error).
  std::optional<PluggedDisk> insert(const std::string& slot, std::string disk, std::string& error);
  // The disk that was visible in the slot (nullopt with an error when the slot is empty).
  std::optional<PluggedDisk> remove(const std::string& slot, std::string& error);
  // Cable of an expansion unit. Return the unit's enclosure identity, or empty with an error.
  std::string plug_unit(const std::string& unit, std::string& error);
  std::string unplug_unit(const std::string& unit, std::string& error);

  // Disks visible now, by slot id.
  const std::map<std::string, PluggedDisk>& visible() const { return visible_; }
  // What sits in each slot (visible or not), by slot id: the disk name.
  const std::map<std::string, std::string>& contents() const { return contents_; }
  bool cabled(const std::string& unit) const { return expanders_.count(unit) != 0; }
  // Enclosure identity of the enclosure a slot belongs to.
  std::string enc_sys_id(const Slot& slot) const;

 private:
  Scenario sc_;
  SysfsBuilder b_;
  PlugHooks hooks_;
  std::map<std::string, std::string> pci_dirs_;  // controller name -> PCI function folder
  std::map<std::string, std::vector<AhciPort>> ahci_;
  std::map<std::string, SasHba> hbas_;
  std::map<std::string, SasExpander> expanders_;  // cabled units
  std::map<std::string, UsbDev> usb3_;
  std::map<std::string, std::string> contents_;
  std::map<std::string, std::string> last_pulled_;
  std::map<std::string, PluggedDisk> visible_;
  std::map<std::string, int> unit_sg_;  // SES generic device of each cabled unit
  std::set<int> sd_in_use_, sg_in_use_;
  int next_host_ = 0;

  void build_host_bridge();
  void build_controller(const Controller& c);
  std::string bridge_dir(const Controller& c);
  bool reachable(const Slot& s) const;
  std::optional<PluggedDisk> show(const Slot& s, const Disk& d);
  // Takes the disk out of the tree; `sweep` false leaves dangling links for one sweep later.
  void hide(const std::string& slot, bool sweep = true);
  PluggedDisk show_sata(const Slot& s, const Disk& d);
  PluggedDisk show_nvme(const Slot& s, const Disk& d);
  PluggedDisk show_usb(const Slot& s, const Disk& d);
  PluggedDisk show_bay(const Slot& s, const Disk& d);
  void build_ses(const Unit& u, SasExpander& exp);
  std::string take_sd();
  int take_sg();
};

// Removes `dirs` (appliance paths) and then every symbolic link under /sys that no longer
// resolves, as the kernel's class and bus entries go with their device.
void remove_device_dirs(const std::string& host_root, const std::vector<std::string>& dirs,
                        bool sweep = true);

}  // namespace bayhal::sim::halsim
