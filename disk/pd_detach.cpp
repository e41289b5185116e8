// Disk detach: the hot-plug entry point, the removal of a disk with its member disks, and
// the detach hook.
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/PD.h"
#include "bayhal/SE.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_attach.h"
#include "disk/pd_hook.h"
#include "disk/pd_store.h"
#include "disk/sr_raid_conf.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_store.h"

namespace bayhal {

namespace {

constexpr const char* kDetachHook = "/etc/init.d/pd_detach";
// Above this hardware-RAID mode a disk is detached on its own, without member disks.
constexpr int kStandaloneSrMode = 3;

int port_of(int enc_id, const char* pd_sys_id) {
  int port = -1;
  std::string file = disk::store_file(enc_id);
  std::string key = disk::sysid_key(pd_sys_id);
  if (!disk::usable_key_text(pd_sys_id) ||
      Ini_Conf_Get_Field_Int(file.c_str(), disk::kIndex, key.c_str(), &port, 0) <= 0)
    return -1;
  return port;
}

// True when member section `id` exists and names itself (a stale section does not).
bool member_present(int enc_id, int id) {
  auto s = ini::read_section(disk::store_file(enc_id), disk::physical_section(id));
  auto port = s ? s->get_int("port_id") : std::nullopt;
  return port && *port == id;
}

}  // namespace

int pd_detach_by_dev_id(int enc_id, int port_id) {
  char name[PD_NAME_LEN] = {};
  bool known = PD_Get_Sys_Name(enc_id, port_id, name, sizeof name) > 0;
  int rc = pd_remove_conf(enc_id, port_id);
  if (known) pd_run_hook(kDetachHook, enc_id, port_id, name);
  return rc;
}

int pd_detach(const char* enc_sys_id, const char* pd_sys_id) {
  int enc_id = enc_sys_id != nullptr ? disk::enc_id_of(enc_sys_id) : -1;
  int port_id = enc_id >= 0 && pd_sys_id != nullptr ? port_of(enc_id, pd_sys_id) : -1;
  if (enc_id < 0 || port_id < 0) {
    ERR_TRACE(HAL_TRACE_ERROR,
              "%s: (enc_sys_id, pd_sys_id, enc_id, port_id) = (%s, %s, %d, %d) is invalid!\n",
              __func__, enc_sys_id != nullptr ? enc_sys_id : "(null)",
              pd_sys_id != nullptr ? pd_sys_id : "(null)", enc_id, port_id);
    return -1;
  }
  int rc = 0;
  if (PD_Get_SR_Mode(enc_id, port_id) > kStandaloneSrMode) {
    rc = pd_detach_by_dev_id(enc_id, port_id);
  } else {
    sr_raid_conf_detach(enc_id, port_id);
    rc = pd_detach_by_dev_id(enc_id, port_id);
    if (port_id <= PD_SLOT_PORT_ID_MAX) {
      for (int k = 0; k < PD_MEMBER_MAX_COUNT; ++k) {
        int id = PD_MEMBER_PORT_ID_FACTOR * port_id + k;
        if (member_present(enc_id, id)) rc += pd_detach_by_dev_id(enc_id, id);
      }
    }
  }
  if (disk::enc_protocol(enc_id) == SE_PROTOCOL_MVS) disk::enc_clear_real_sys_id(enc_id, pd_sys_id);
  return rc;
}

}  // namespace bayhal

BAYHAL_EXPORT int PD_Sys_Detach(const char* enc_sys_id, const char* pd_sys_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with(%s,%s).\n", __func__,
            enc_sys_id != nullptr ? enc_sys_id : "(null)",
            pd_sys_id != nullptr ? pd_sys_id : "(null)");
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d):enc_sys_id = %s,pd_sys_id = %s\n", __func__, __LINE__,
            enc_sys_id != nullptr ? enc_sys_id : "(null)",
            pd_sys_id != nullptr ? pd_sys_id : "(null)");
  int rc = bayhal::pd_detach(enc_sys_id, pd_sys_id);
  return rc >= 0 ? 0 : rc;
} BAYHAL_C_BOUNDARY(-1)
