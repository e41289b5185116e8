// A registered disk's capabilities asked of discovery again, after a change that can alter
// them (a self-encrypting drive initialised or reverted); and its queue depth.
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/pd_store.h"
#include "disk_sys/disk_backend.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

namespace {

// Bits the registry sets itself at attach, not discovery: they stay as they are.
constexpr unsigned kRegistryBits = PD_CAP_WWN_BLACKLISTED | PD_CAP_BOOT_DISK | PD_CAP_VIRTUAL | PD_CAP_HAS_MEMBERS;

}  // namespace

BAYHAL_EXPORT int PD_Rescan_Capabilities(int enc_id, int port_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  PD_INFO rec{};
  if (enc_id < 0 || port_id < 0 || bayhal::pd_read_conf(enc_id, port_id, &rec) != 0) return -1;
  PD_INFO fresh{};
  int rc = bayhal::disk_backend().getinfo(rec.enc_sys_id, rec.pd_sys_id, &fresh);
  if (rc != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: %d:%d (%s) not rescanned: %d\n", __func__, enc_id, port_id, rec.pd_sys_id, rc);
    return -1;
  }
  unsigned caps = (rec.capabilities & kRegistryBits) | (fresh.capabilities & ~kRegistryBits);
  if (caps == rec.capabilities) return 0;
  ERR_TRACE(HAL_TRACE_INFO, "%s: %d:%d capabilities 0x%x -> 0x%x\n", __func__, enc_id, port_id, rec.capabilities, caps);
  std::string file = bayhal::disk::store_file(enc_id), section = bayhal::disk::section_for(port_id);
  return Ini_Conf_Set_Field(file.c_str(), section.c_str(), "capabilities", std::to_string(caps).c_str()) > 0 ? 0 : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Reconfig_Queue_Depth(int enc_id, int port_id, int depth) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d, %d).\n", __func__, enc_id, port_id, depth);
  char sys_name[PD_NAME_LEN];
  if (depth <= 0 || PD_Get_Sys_Name(enc_id, port_id, sys_name, sizeof sys_name) <= 0) return -1;
  return bayhal::disk_backend().set_queue_depth(sys_name, depth) == 0 ? 0 : -1;
} BAYHAL_C_BOUNDARY(-1)
