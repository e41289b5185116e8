// se_sys_getinfo: dispatch by identity to the back-end that knows that kind of enclosure,
// then start the enclosure's monitors.
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "bayhal/ERR_TRACE.h"
#include "board/board_services.h"
#include "enc_sys/enc_discovery.h"
#include "enc_sys/enc_fill.h"
#include "enc_sys/enc_kind.h"
#include "enc_sys/expansion_units.h"
#include "enc_sys/pcie_slots.h"
#include "enc_sys/private_backends.h"
#include "enc_sys/sas_expander.h"
#include "foundation/pending.h"
#include "foundation/text.h"
#include "ini/conf_read.h"
#include "mcu/mcu_services.h"

namespace bayhal {
namespace {

using Filler = int (*)(const char*, SE_ENC_INFO*);

// The back-end that fills each kind's record.
constexpr std::pair<EncKind, Filler> kFillers[] = {
    {EncKind::kRoot, root_getinfo},         {EncKind::kBoot, root_boot_getinfo},
    {EncKind::kUsbPorts, root_usb_getinfo}, {EncKind::kEsata, root_esata_getinfo},
    {EncKind::kOdd, root_odd_getinfo},      {EncKind::kCache, root_cache_getinfo},
    {EncKind::kMmc, root_mmc_getinfo},      {EncKind::kIscsi, root_iscsi_getinfo},
    {EncKind::kUsbUnit, usb_expander_getinfo}, {EncKind::kPx, px_sys_getinfo},
    {EncKind::kPcieSlot, pcie_slot_getinfo}, {EncKind::kTbUnit, tb_enclosure_getinfo},
    {EncKind::kZmc, zmc_sys_getinfo},       {EncKind::kHzr, hzr_sys_getinfo},
    {EncKind::kMvs, mvs_sys_getinfo},       {EncKind::kSasExpander, sas_expander_getinfo},
};

Filler filler_of(EncKind kind) {
  for (const auto& [k, fill] : kFillers)
    if (k == kind) return fill;
  return nullptr;
}

// The controller knows the serial of the unit it sits in.
void refresh_serial(SE_ENC_INFO* info) {
  char serial[sizeof info->serial] = {};
  int rc = -1;
  if (enc_is(info->enc_sys_id, EncKind::kRoot))
    rc = board_services().se_sys_get_board_sn(serial, sizeof serial);
  else if (info->protocol == SE_PROTOCOL_USB)
    rc = mcu_services().se_sys_get_enc_sn(info->enc_sys_id, serial, sizeof serial);
  if (rc >= 0 && serial[0] != '\0') std::memcpy(info->serial, serial, sizeof serial);
}

int start_monitors(SE_ENC_INFO* info) {
  int flag = (info->capabilities & SE_CAP_MONITOR_ARG) ? 1 : 0;
  if (info->capabilities & SE_CAP_PIC) {
    if (mcu_services().pic_sys_start_monitor(info->enc_sys_id, flag) < 0) return -1;
    refresh_serial(info);
    if (starts_with(info->model, "MV-") && info->revision[0] == '\0' &&
        mcu_services().se_sys_get_mv_fw_version(info->enc_sys_id, info->revision, 16 + 1) < 0)
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d):Fail to get MV f/w version info.\n", __func__, __LINE__);
  }
  if (info->capabilities & SE_CAP_MCU) {
    if (mcu_services().mcu_sys_start_monitor(info->enc_sys_id, flag) < 0) return -1;
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
  const EncKindRow* kind = enc_kind_present(enc_sys_id);
  Filler fill = kind != nullptr ? filler_of(kind->kind) : nullptr;
  if (fill == nullptr) {
    return not_implemented(__func__, __LINE__, enc_sys_id);
  }
  int ret = fill(enc_sys_id, info);
  if (ret < 0) return ret;
  copy_out(enc_sys_id, info->enc_sys_id, sizeof info->enc_sys_id);
  info->protocol = kind->protocol;
  if (kind->internal) info->capabilities |= SE_CAP_INTERNAL;
  if (start_monitors(info) < 0) return -1;
  return ret;
}

const EncKindRow* enc_kind_present(std::string_view enc_sys_id) {
  if (const EncKindRow* row = enc_kind_of(enc_sys_id)) return row;
  return find_sas_expander(enc_sys_id) ? &enc_kind_row(EncKind::kSasExpander) : nullptr;
}

void free_names(char** names, int count) {
  for (int i = 0; i < count; ++i) {
    std::free(names[i]);
    names[i] = nullptr;
  }
}

}  // namespace bayhal
