// Disk attach: the hot-plug entry point and the steps that register one disk.
#include "disk/pd_attach.h"

#include <cstdio>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/enc_access.h"
#include "disk/pd_fields.h"
#include "disk/pd_hook.h"
#include "disk/pd_store.h"
#include "disk/pd_volume_repair.h"
#include "disk/sr_raid_conf.h"
#include "disk_sys/disk_backend.h"
#include "enc_sys/enc_kind.h"
#include "foundation/command_runner.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/udev_tag.h"

namespace bayhal {

namespace {

constexpr const char* kAttachHook = "/etc/init.d/pd_attach";

// Enclosures whose devices keep the kernel's default request size.
bool keeps_default_queue(std::string_view enc) {
  const EncKindRow* kind = enc_kind_of(enc);
  return kind != nullptr && kind->default_queue;
}

bool present(const char* s) { return s != nullptr && *s != '\0'; }

}  // namespace

int pd_attach(const char* enc_sys_id, const char* pd_sys_id, const char* dir) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", __func__);
  ERR_TRACE(HAL_TRACE_ENTRY, "%-30s: enc_sys_id = %s, pd_sys_id = %s\n", __func__,
            enc_sys_id != nullptr ? enc_sys_id : "(null)",
            pd_sys_id != nullptr ? pd_sys_id : "(null)");
  int enc_id = present(enc_sys_id) && present(pd_sys_id) ? disk::enc_id_of(enc_sys_id) : -1;
  if (enc_id < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Erorr..enc_sys_id = %s,pd_sys_id=%s,enc_id = %d\n",
              __func__, __LINE__, enc_sys_id != nullptr ? enc_sys_id : "(null)",
              pd_sys_id != nullptr ? pd_sys_id : "(null)", enc_id);
    return -1;
  }
  return pd_attach_in(enc_id, enc_sys_id, pd_sys_id, dir);
}

int pd_attach_in(int enc_id, const char* enc_sys_id, const char* pd_sys_id, const char* dir) {
  if (enc_id < 0 || !present(enc_sys_id) || !present(pd_sys_id)) return -1;
  PD_INFO info{};
  int rc = disk_backend().getinfo(enc_sys_id, pd_sys_id, &info);
  if (rc < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error..\n", "pd_attach", __LINE__);
    return rc;
  }
  rc = disk_backend().check_rw_access(enc_sys_id, pd_sys_id, &info);
  if (rc != 0) {
    if (rc == -1)
      ERR_TRACE(HAL_TRACE_ERROR,
                "%s(%d): System Error,pd_sys_check_rw_access error..pd_sys_id = %s\n",
                "pd_attach", __LINE__, pd_sys_id);
    return rc;
  }
  if (info.adapter_kind == PD_ADAPTER_RAID_A || info.adapter_kind == PD_ADAPTER_RAID_B)
    sr_raid_conf_attach(enc_id, info);

  std::string sys_name(disk::text_of(info.pd_sys_name));
  if (pd_write_conf(enc_id, info.port_id, &info, dir) == 0) {
    pd_run_hook(kAttachHook, enc_id, info.port_id, sys_name.c_str());
    if (enc_id <= PD_MAX_INTERNAL_ENC_ID) PD_Set_ATA_IO_Latency(&info);
  } else if (enc_id == PD_ISCSI_ENC_ID) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error, write configure error\n", "pd_attach",
              __LINE__);
    return -1;
  }
  // A disk the store had no room for is still usable; attach goes on without a record.
  if (!keeps_default_queue(enc_sys_id) && !sys_name.empty())
    disk_backend().set_device_queue(sys_name.c_str());
  char util[128];
  std::snprintf(util, sizeof util, "/sbin/storage_util --ironwolf_disk_info_init dev_id=%04x%04x",
                static_cast<unsigned>(enc_id) & 0xffffu,
                static_cast<unsigned>(info.port_id) & 0xffffu);
  runner().shell(util);
  pd_repair_volume_names(enc_id, info.port_id, sys_name.c_str());
  ERR_TRACE(HAL_TRACE_ENTRY, "%-30s: exit enc_sys_id = %s, pd_sys_id = %s\n", "pd_attach",
            enc_sys_id, pd_sys_id);
  return 0;
}

}  // namespace bayhal

BAYHAL_EXPORT int PD_Sys_Attach(const char* enc_sys_id, const char* pd_sys_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with enc_sys_id(%s), pd_sys_id(%s).\n", __func__,
            enc_sys_id != nullptr ? enc_sys_id : "(null)",
            pd_sys_id != nullptr ? pd_sys_id : "(null)");
  int rc = bayhal::pd_attach(enc_sys_id, pd_sys_id);
  if (rc < 0) return rc;
  std::string line = bayhal::udev_tag(pd_sys_id, enc_sys_id);
  ERR_TRACE(HAL_TRACE_INFO,
            "%s(%d):enc_sys_id = %s, pd_sys_id = %s attach, run udev cmd = \"%s\"\n", __func__,
            __LINE__, enc_sys_id, pd_sys_id, line.c_str());
  return 0;
} BAYHAL_C_BOUNDARY(-1)
