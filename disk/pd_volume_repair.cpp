// Volumes name the partitions they live on. A disk whose device name changed since the
// last boot (sdb became sdc) would leave its volumes pointing at the old names; attach
// rewrites them from the volume map in /etc/volume.conf.
#include <cstdio>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/pd_volume_repair.h"
#include "ini/ini_store.h"

namespace bayhal {

namespace {

constexpr const char* kVolumeConf = "/etc/volume.conf";
constexpr int kPartitions[] = {-1, 1, 2, 3, 4, 5, 6};

std::string vol_bitmap_key(int enc_id, int port_id, int partition) {
  char key[64];
  unsigned id = (static_cast<unsigned>(enc_id) << 16) | (static_cast<unsigned>(port_id) & 0xffffu);
  std::snprintf(key, sizeof key, "pd_%08x_%d_Vol_Bitmap", id, partition);
  return key;
}

}  // namespace

// Device names whose partitions get a "p" before the number.
std::string partition_name(std::string_view disk_name, int partition) {
  std::string name(disk_name);
  if (partition < 0) return name;
  bool p_style = false;
  for (std::string_view s : {"nvme", "mmcblk", "loop", "rbd"})
    if (disk_name.find(s) != std::string_view::npos) p_style = true;
  return name + (p_style ? "p" : "") + std::to_string(partition);
}

void pd_repair_volume_names(int enc_id, int port_id, const char* pd_sys_name) {
  if (pd_sys_name == nullptr || *pd_sys_name == '\0') return;
  auto global = ini::read_section(kVolumeConf, "Global");
  if (!global) return;
  for (int part : kPartitions) {
    auto vol = global->get_int(vol_bitmap_key(enc_id, port_id, part));
    if (!vol || *vol < 1) continue;
    std::string section = "VOL_" + std::to_string(*vol);
    auto volume = ini::read_section(kVolumeConf, section);
    const std::string_view* raid_name = volume ? volume->find("raidName") : nullptr;
    if (raid_name == nullptr) continue;
    std::string want = partition_name(pd_sys_name, part);
    if (*raid_name == want) continue;
    if (ini::write_keys(kVolumeConf, section, {{"raidName", want}, {"mappingName", want}}) != 0)
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Ini_Conf_Set_Field(%s, %s, %s, %s) error!\n", __func__,
                __LINE__, kVolumeConf, section.c_str(), "raidName", want.c_str());
  }
}

}  // namespace bayhal
