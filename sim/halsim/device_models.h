// The device models halsim serves: one firmware stand-in per visible disk, reachable under
// each of its device nodes. Board models (embedded controller, Super I/O, front-panel
// microcontrollers on pseudo-terminals, enclosure services, PoE) join here as they are
// written: each is built from its own scenario sections and answers for its own nodes.
#pragma once
#include <memory>
#include <optional>
#include <string_view>

#include "sim/device_model.h"
#include "sim/halsim/machine.h"

namespace bayhal::sim::halsim {

// The model of a scenario disk, as its slot presents it (a USB disk answers through its
// bridge).
std::shared_ptr<DeviceModel> make_disk_model(const Scenario& sc, const Disk& d);

class DeviceModels {
 public:
  explicit DeviceModels(const Scenario& sc) : sc_(sc) {}
  void plug(const PluggedDisk& pd, const Disk& d);
  void unplug(const PluggedDisk& pd);
  // The transport's answer for `device`: 0, or -ENODEV for a node nothing answers for.
  int submit(std::string_view device, DeviceCommand& cmd) { return models_.submit(device, cmd); }
  int commands(std::string_view device) const { return models_.commands(device); }
  // A rotating disk's spindle: spun down to standby, or up (`standby` empty: left as it
  // is). The commands its nodes received and the times a command had to wake it; nullopt
  // for a disk without one (solid state, NVMe, behind a USB bridge).
  struct Spindle {
    bool standby;
    int commands, wakeups;
  };
  std::optional<Spindle> spindle(const PluggedDisk& pd, std::optional<bool> standby);

 private:
  const Scenario& sc_;
  ModelTransport models_;
};

}  // namespace bayhal::sim::halsim
