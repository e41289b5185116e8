// The model description and its companion files, derived from a scenario: what the
// appliance's firmware image would ship for this board.
#pragma once
#include <string>
#include <utility>
#include <vector>

#include "sim/halsim/scenario.h"

namespace bayhal::sim::halsim {

// The description files as the firmware ships them, (appliance path, text): "/etc/model.conf"
// alone, or for a board of a family (board_id set) the family's "/etc/model.conf" naming its
// candidates in "MULTI_CONF", this board's "/etc/model_<id>.conf" and the board table that
// model set-up matches the host bridge against.
std::vector<std::pair<std::string, std::string>> description_files(const Scenario& sc);

// The board's description: the appliance enclosure, one section per slot wired to its controller
// port, the pseudo-enclosures and PCIe slots, then the scenario's pass-through sections.
std::string model_conf_text(const Scenario& sc);
// "/etc/platform.conf": the display name (set-up removes it; board services make it again).
std::string platform_conf_text(const Scenario& sc);
// "/etc/config/sysdef.conf": the server name pushed to expansion units.
std::string sysdef_conf_text(const Scenario& sc);

// The capability mask written as "CAP" of "System Enclosure".
unsigned model_cap(const Scenario& sc);
// "bb:dd.f" of a "dddd:bb:dd.f" address.
std::string dev_bus(const std::string& pci);

}  // namespace bayhal::sim::halsim
