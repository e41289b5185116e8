#include "disk_sys/sas_expander_enc.h"

#include <string>

#include "disk_sys/comm_sys.h"
#include "enc_sys/sas_expander.h"
#include "foundation/sysfs.h"
#include "foundation/text.h"

namespace bayhal {
namespace {

void walk(const std::string& dir, int depth, std::vector<SlotHit>& out) {
  if (depth > 8) return;
  for (const auto& e : sysfs_list(dir)) {
    std::string p = dir + "/" + e;
    if (!sysfs_link_name(p).empty() || !sysfs_is_dir(p)) continue;
    if (e.rfind("end_device-", 0) == 0) {
      for (const auto& t : sysfs_list(p)) {
        if (t.rfind("target", 0) != 0) continue;
        std::string bus = t.substr(6);
        std::string unit = p + "/" + t + "/" + bus + ":0";
        FoundDisk d;
        d.name = comm_sys_get_sdev_sysid(unit);
        if (d.name.empty() || comm_sys_get_sdev_type(unit) == 5) continue;
        d.unit_path = unit;
        std::string attrs = p + "/sas_device/" + e;
        d.phy = static_cast<int>(sysfs_read_int(attrs + "/phy_identifier").value_or(-1));
        d.bay = static_cast<int>(sysfs_read_int(attrs + "/bay_identifier").value_or(-1));
        int port = d.bay >= 0 ? d.bay + 1 : d.phy >= 0 ? d.phy + 1 : -1;
        out.push_back({port, d});
      }
      continue;
    }
    if (e.rfind("port-", 0) == 0 || e.rfind("expander-", 0) == 0) walk(p, depth + 1, out);
  }
}

}  // namespace

std::vector<SlotHit> sas_expander_disks(std::string_view enc_sys_id) {
  std::vector<SlotHit> out;
  if (auto e = find_sas_expander(enc_sys_id)) walk(e->dir, 0, out);
  return out;
}

}  // namespace bayhal
