// After halsim changed the tree, the device manager's side: the hot-plug entry points of the
// library, called in this process under the simulator's system root.
#pragma once
#include <string>

#include <nlohmann/json.hpp>

namespace bayhal::sim::halsim {

// `change` is the daemon's reply to an insert or remove: a disk ("enc_sys_id",
// "pd_sys_id") or a unit ("unit", "enc_sys_id"). Returns {"call": "PD_Sys_Attach(root, sdc)",
// "result": 0}; `ok` is cleared when the library refused.
nlohmann::ordered_json call_hotplug(const std::string& root, bool insert, const nlohmann::ordered_json& change, bool& ok);

}  // namespace bayhal::sim::halsim
