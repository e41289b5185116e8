// How halsim's commands name what they act on, the same way hal_tool does: a bay is
// ENC/PORT with ENC the scenario's name (root, cache, usb, a unit's name), the enclosure
// identity (root_cache, 5000ccab0200e07f) or its registered enclosure id (34); a unit is
// named by any of the same. The daemon's own spelling is the scenario's ("cache/1", "jbod").
#pragma once
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace bayhal::sim::halsim {

// The daemon's spelling of a bay or unit named by `text`, checked against the appliance's
// status; nullopt with a one-line `error` when it names nothing. Enclosure ids are looked up
// in the registry under the current system root.
std::optional<std::string> control_target(const nlohmann::ordered_json& status, const std::string& text,
                                          std::string& error);

}  // namespace bayhal::sim::halsim
