// The device models halsim serves: one firmware stand-in per visible disk, reachable under
// each of its device nodes. Board models (embedded controller, Super I/O, front-panel
// microcontrollers on pseudo-terminals, enclosure services, PoE) join here as they are
// written: each is built from its own scenario sections and answers for its own nodes.
#pragma once
#include <memory>
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

 private:
  const Scenario& sc_;
  ModelTransport models_;
};

}  // namespace bayhal::sim::halsim
