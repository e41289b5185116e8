// se_sys_getinfo: dispatch by identity to the back-end that knows that kind of enclosure,
// then start the enclosure's monitors.
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "enclosure/backend_ops.h"
#include "enclosure/enc_conf.h"
#include "enc_sys/enc_discovery.h"
#include "enc_sys/enc_fill.h"
#include "enc_sys/expansion_units.h"
#include "enc_sys/pcie_slots.h"
#include "enc_sys/private_backends.h"
#include "enc_sys/sas_expander.h"

namespace bayhal {
namespace {

using Filler = int (*)(const char*, SE_ENC_INFO*);

struct Branch {
  std::string_view name;  // identity, or its prefix when `prefix`
  bool prefix;
  Filler fill;
  int protocol;
  bool internal;  // capability bit 31 forced on
};

// First match wins; the SAS expander check comes last, outside the table.
constexpr Branch kBranches[] = {
    {"root", false, root_getinfo, SE_PROTOCOL_ROOT, true},
    {"root_boot", false, root_boot_getinfo, SE_PROTOCOL_NONE, false},
    {"root_usb", false, root_usb_getinfo, SE_PROTOCOL_USB, false},
    {"root_esata", false, root_esata_getinfo, SE_PROTOCOL_SATA, false},
    {"root_odd", false, root_odd_getinfo, SE_PROTOCOL_ODD, false},
    {"root_cache", false, root_cache_getinfo, SE_PROTOCOL_SATA, true},
    {"root_mmc", false, root_mmc_getinfo, SE_PROTOCOL_MMC, false},
    {"root_iscsi", false, root_iscsi_getinfo, SE_PROTOCOL_ISCSI, false},
    {"usb", true, usb_expander_getinfo, SE_PROTOCOL_USB, false},
    {"px", true, px_sys_getinfo, SE_PROTOCOL_PX, false},
    {"root_pcie_", true, pcie_slot_getinfo, SE_PROTOCOL_PCIE, true},
    {"tb_", true, tb_enclosure_getinfo, SE_PROTOCOL_TBT, false},
    {"zmc", true, zmc_sys_getinfo, SE_PROTOCOL_ZMC, false},
    {"hzr_", true, hzr_sys_getinfo, SE_PROTOCOL_HZR, false},
    {"mvs_", true, mvs_sys_getinfo, SE_PROTOCOL_MVS, false},
};
constexpr Branch kSasBranch{"", true, sas_expander_getinfo, SE_PROTOCOL_SAS, false};

const Branch* branch_of(const char* enc_sys_id) {
  std::string_view id(enc_sys_id);
  for (const Branch& b : kBranches)
    if (b.prefix ? id.starts_with(b.name) : id == b.name) return &b;
  return comm_sys_check_is_sas_expander(enc_sys_id) ? &kSasBranch : nullptr;
}

// The controller knows the serial of the unit it sits in.
void refresh_serial(SE_ENC_INFO* info) {
  char serial[sizeof info->serial] = {};
  int rc = -1;
  if (std::strcmp(info->enc_sys_id, "root") == 0)
    rc = backend_ops().se_sys_get_board_sn(serial, sizeof serial);
  else if (info->protocol == SE_PROTOCOL_USB)
    rc = backend_ops().se_sys_get_enc_sn(info->enc_sys_id, serial, sizeof serial);
  if (rc >= 0 && serial[0] != '\0') std::memcpy(info->serial, serial, sizeof serial);
}

int start_monitors(SE_ENC_INFO* info) {
  int flag = (info->capabilities & SE_CAP_MONITOR_ARG) ? 1 : 0;
  if (info->capabilities & SE_CAP_PIC) {
    if (backend_ops().pic_sys_start_monitor(info->enc_sys_id, flag) < 0) return -1;
    refresh_serial(info);
    if (starts_with(info->model, "MV-") && info->revision[0] == '\0' &&
        backend_ops().se_sys_get_mv_fw_version(info->enc_sys_id, info->revision, 16 + 1) < 0)
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d):Fail to get MV f/w version info.\n", __func__, __LINE__);
  }
  if (info->capabilities & SE_CAP_MCU) {
    if (backend_ops().mcu_sys_start_monitor(info->enc_sys_id, flag) < 0) return -1;
    refresh_serial(info);
  }
  return 0;
}

}  // namespace

int se_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* info) {
  if (enc_sys_id == nullptr || info == nullptr || !valid_key_text(enc_sys_id) ||
      std::strlen(enc_sys_id) >= sizeof info->enc_sys_id) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: bad arguments (%s, %p)\n", __func__,
              enc_sys_id ? enc_sys_id : "(null)", static_cast<void*>(info));
    return -1;
  }
  std::memset(info, 0, sizeof *info);
  const Branch* b = branch_of(enc_sys_id);
  if (b == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): enc_sys_id = %s not implement.\n", __func__, __LINE__,
              enc_sys_id);
    return -1;
  }
  int ret = b->fill(enc_sys_id, info);
  if (ret < 0) return ret;
  copy_out(enc_sys_id, info->enc_sys_id, sizeof info->enc_sys_id);
  info->protocol = b->protocol;
  if (b->internal) info->capabilities |= SE_CAP_INTERNAL;
  if (start_monitors(info) < 0) return -1;
  return ret;
}

void free_names(char** names, int count) {
  for (int i = 0; i < count; ++i) {
    std::free(names[i]);
    names[i] = nullptr;
  }
}

}  // namespace bayhal
