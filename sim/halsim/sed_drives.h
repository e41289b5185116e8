// The Opal state of the scenario's self-encrypting drives, which the sedutil-cli stand-in
// reads and writes under the root: one file per drive, kept across power-ons as a drive
// keeps its state ("<state dir>/drives/<disk>"), and while a drive is visible a link from
// its generic device's name ("<state dir>/sg4"), so its state goes where the disk goes.
#pragma once
#include <string>

#include "sim/halsim/machine.h"
#include "sim/halsim/scenario.h"

namespace bayhal::sim::halsim {

// Writes the factory state of each SED the root has none for, drops the device links of
// the previous power-on.
void sed_power_on(const std::string& root, const Scenario& sc);
void sed_plug(const std::string& root, const PluggedDisk& pd, const Disk& d);
void sed_unplug(const std::string& root, const PluggedDisk& pd);

}  // namespace bayhal::sim::halsim
