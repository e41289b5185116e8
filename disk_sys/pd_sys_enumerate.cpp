// pd_sys_enumerate: the disks present in an enclosure, by enclosure kind, tagged for the
// device manager with their enclosure.
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "disk_sys/comm_sys.h"
#include "disk_sys/pd_sys.h"
#include "disk_sys/root_slots.h"
#include "disk_sys/sas_expander_enc.h"
#include "enc_sys/enc_discovery.h"
#include "enc_sys/sas_expander.h"
#include "foundation/udev_tag.h"

namespace bayhal {
namespace {

// nullopt for the enclosure kinds whose protocols this library does not speak.
std::optional<std::vector<SlotHit>> disks_of(std::string_view e) {
  const EncKindRow* kind = enc_kind_present(e);
  if (kind == nullptr || !kind->own_disks) return std::nullopt;
  if (kind->kind == EncKind::kSasExpander) return sas_expander_disks(e);
  return root_enclosure_disks(e);
}

// The device manager learns each disk's enclosure, when it runs.
void tag_for_udev(const char* enc_sys_id, const std::vector<std::string>& names) {
  if (names.empty() || !udevd_running()) return;
  for (const auto& name : names) {
    std::string line = udev_tag(name, enc_sys_id);
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d):enc_sys_id = %s,pd_sys_id = %s attach, run udev cmd = %s\n",
              "pd_sys_enumerate", __LINE__, enc_sys_id, name.c_str(), line.c_str());
  }
}

}  // namespace

std::optional<std::vector<PdSysDisk>> pd_sys_scan(const char* enc_sys_id) {
  if (enc_sys_id == nullptr) return std::nullopt;
  auto hits = disks_of(enc_sys_id);
  if (!hits) return std::nullopt;
  // One disk reached through two slots (two paths of a multipath NVMe disk) is listed once.
  std::vector<PdSysDisk> out;
  for (const auto& h : *hits) {
    bool seen = h.disk.name.empty();
    for (const auto& d : out) seen = seen || d.pd_sys_id == h.disk.name;
    if (!seen) out.push_back({h.disk.name, h.port_id});
  }
  return out;
}

int pd_sys_enumerate(const char* enc_sys_id, char** list, int max) {
  if (enc_sys_id == nullptr || (list == nullptr && max > 0) || max < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): bad argument\n", __func__, __LINE__);
    return -1;
  }
  auto disks = pd_sys_scan(enc_sys_id);
  if (!disks) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): enc_sys_id = %s not supported.\n", __func__, __LINE__,
              enc_sys_id);
    return -1;
  }
  std::vector<std::string> names;
  for (const auto& d : *disks) names.push_back(d.pd_sys_id);
  int count = static_cast<int>(names.size());
  for (int i = 0; i < count && i < max; ++i) list[i] = ::strdup(names[i].c_str());
  if (count > max) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System error\n", __func__, __LINE__);
    return count;
  }
  tag_for_udev(enc_sys_id, names);
  return count;
}

int pd_sys_get_physical_drive_port(const char* enc_sys_id, const char* pd_sys_id) {
  if (enc_sys_id == nullptr || pd_sys_id == nullptr) return -1;
  auto hits = disks_of(enc_sys_id);
  if (!hits) return -1;
  for (const auto& h : *hits)
    if (h.disk.name == pd_sys_id) return h.port_id;
  return -1;
}

}  // namespace bayhal
