// pd_scan: registers the disks of an enclosure as it is attached.
#include <cstdlib>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_attach.h"
#include "disk_sys/disk_backend.h"
#include "ini/ini_store.h"

namespace bayhal {

namespace {

// The enc_sys_id of an enclosure, from the rescan folder's hal.conf when there is one.
std::string scan_enc_sys_id(int enc_id, const char* dir) {
  if (dir != nullptr && *dir != '\0') {
    auto s = ini::read_section(disk::boot_store_file(dir), "Enclosure_" + std::to_string(enc_id));
    if (const std::string_view* v = s ? s->find("enc_sys_id") : nullptr) return std::string(*v);
  }
  return disk::enc_sys_id_of(enc_id);
}

}  // namespace

int pd_scan(int enc_id, const char* dir) {
  std::string enc_sys_id = scan_enc_sys_id(enc_id, dir);
  if (enc_id < 0 || enc_sys_id.empty()) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): unknown enclosure %d!\n", __func__, __LINE__, enc_id);
    return -1;
  }
  // Room for every disk the enclosure's ids can name (a slot may hold several devices),
  // whatever its stored slot count says.
  constexpr int max = PD_SLOT_PORT_ID_MAX * PD_MEMBER_MAX_COUNT;
  std::vector<char*> list(static_cast<size_t>(max), nullptr);
  int n = disk_backend().enumerate(enc_sys_id.c_str(), list.data(), max);
  if (n < 0) return -1;
  if (n > max) n = max;
  int attached = 0;
  for (int i = 0; i < n; ++i) {
    if (list[i] == nullptr) continue;
    if (pd_attach_in(enc_id, enc_sys_id.c_str(), list[i], dir) == 0) ++attached;
    std::free(list[i]);
  }
  ERR_TRACE(HAL_TRACE_INFO, "%s: enc_id %d (%s): %d of %d disks attached.\n", __func__, enc_id,
            enc_sys_id.c_str(), attached, n);
  return 0;
}

}  // namespace bayhal
