#include "sim/halsim/hotplug_call.h"

#include <cstdlib>

#include "bayhal/PD.h"
#include "bayhal/SE.h"

namespace bayhal::sim::halsim {

nlohmann::ordered_json call_hotplug(const std::string& root, bool insert, const nlohmann::ordered_json& change, bool& ok) {
  ::setenv("HAL_ROOT", root.c_str(), 1);
  std::string enc = change.value("enc_sys_id", "");
  std::string call;
  int rc;
  if (change.contains("unit")) {
    // A unit arriving is an enclosure attach (its disks follow in the same call); leaving is
    // pre-detach then detach, which remembers which bays held disks.
    if (insert) {
      rc = SE_Sys_Attach(enc.c_str(), 1);
      call = "SE_Sys_Attach(" + enc + ", 1)";
    } else {
      SE_Sys_Pre_Detach(enc.c_str());
      rc = SE_Sys_Detach(enc.c_str());
      call = "SE_Sys_Pre_Detach(" + enc + "), SE_Sys_Detach(" + enc + ")";
    }
  } else {
    std::string pd = change.value("pd_sys_id", "");
    rc = insert ? PD_Sys_Attach(enc.c_str(), pd.c_str()) : PD_Sys_Detach(enc.c_str(), pd.c_str());
    call = std::string(insert ? "PD_Sys_Attach(" : "PD_Sys_Detach(") + enc + ", " + pd + ")";
  }
  if (rc < 0) ok = false;
  return {{"call", call}, {"result", rc}};
}

}  // namespace bayhal::sim::halsim
