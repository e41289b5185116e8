// Finders and tests of the SE_* interface: which registered enclosures are of a kind.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "board/board_services.h"
#include "enc_sys/enc_kind.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_list.h"
#include "enclosure/enc_store.h"
#include "ext_enclosure/ses_services.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

using namespace bayhal;

namespace {

bool internal_with(int enc_id, int protocol) {
  return SE_Is_Internal(enc_id) && SE_Get_Protocol(enc_id) == protocol;
}

bool is_korv(int enc_id) {
  int p = SE_Get_Protocol(enc_id);
  return (p == SE_PROTOCOL_USB || p == SE_PROTOCOL_SAS || p == SE_PROTOCOL_TBT) &&
         SE_Is_Internal(enc_id);
}

bool is_rdisk(int enc_id) { return SE_Get_Protocol(enc_id) == SE_PROTOCOL_ISCSI; }

bool is_pci_cache(int enc_id) {
  int p = SE_Get_Protocol(enc_id);
  return p == SE_PROTOCOL_PCIE || p == SE_PROTOCOL_HZR ||
         (p == SE_PROTOCOL_ZMC && SE_Is_Internal(enc_id));
}

bool sys_id_is(int enc_id, EncKind kind) {
  char sys_id[32];
  return se_lookup_sys_id(enc_id, sys_id, sizeof sys_id) == 0 && enc_is(sys_id, kind);
}

// ORs the ids (below 32) of the listed enclosures the filter keeps into *bitmap.
template <typename Keep>
int collect(uint32_t* bitmap, Keep keep) {
  if (bitmap == nullptr) return -1;
  int ids[kMaxEncList];
  int n = enumerate_ids(ids, kMaxEncList, [&keep](int id) { return keep(id) ? 0 : -ENOENT; });
  for (int i = 0; i < n; ++i)
    if (ids[i] >= 0 && ids[i] < 32) *bitmap |= 1u << ids[i];
  return 0;
}

int root_pseudo_id(uint32_t cap_bit, EncKind kind) {
  uint32_t cap = 0;
  if (SE_Get_Capability(0, &cap) != 0 || (cap & cap_bit) == 0) return -1;
  return se_lookup_id(enc_kind_name(kind));
}

}  // namespace

// The filters the finders use, by their system names.
namespace bayhal {
int se_get_korv_cache_enclosure(int enc_id, void*) { return is_korv(enc_id) ? 0 : -ENOENT; }
int se_get_rdisk_cache_enclosure(int enc_id, void*) { return is_rdisk(enc_id) ? 0 : -ENOENT; }
int se_get_pci_cache_enclosure(int enc_id, void*) { return is_pci_cache(enc_id) ? 0 : -ENOENT; }
}  // namespace bayhal

BAYHAL_EXPORT int SE_Get_Enc_Id_by_Protocol(uint32_t* bitmap, int protocol) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p, %d).\n", __func__,
            static_cast<void*>(bitmap), protocol);
  return collect(bitmap, [protocol](int id) { return SE_Get_Protocol(id) == protocol; });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_KORV_Enc_Id(uint32_t* bitmap) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p).\n", __func__, static_cast<void*>(bitmap));
  return collect(bitmap, is_korv);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_RDISK_Enc_Id(uint32_t* bitmap) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p).\n", __func__, static_cast<void*>(bitmap));
  return collect(bitmap, is_rdisk);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_Pci_Cache_Enc_Id(uint32_t* bitmap) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p).\n", __func__, static_cast<void*>(bitmap));
  return collect(bitmap, is_pci_cache);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Cache_Enc_Id(void) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", __func__);
  return root_pseudo_id(SE_CAP_CACHE, EncKind::kCache);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_ODD_Enc_Id(void) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", __func__);
  return root_pseudo_id(SE_CAP_ODD, EncKind::kOdd);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_MMC_Enc_Id(void) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", __func__);
  return root_pseudo_id(SE_CAP_MMC, EncKind::kMmc);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Is_USB_JBOD(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return internal_with(enc_id, SE_PROTOCOL_USB) ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)
BAYHAL_EXPORT int SE_Is_TB_JBOD(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return internal_with(enc_id, SE_PROTOCOL_TBT) ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)
BAYHAL_EXPORT int SE_Is_ZMC_JBOD(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return internal_with(enc_id, SE_PROTOCOL_ZMC) ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Is_Relinking(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  if (enc_id < 0 || !SE_Is_PX_JBOD(enc_id)) return 0;
  return Ini_Conf_Bitmap_Is_Bit_Set("/tmp/px_config_raid_record.info", kIndex, kEncBitmap, enc_id)
             ? 1
             : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Get_Enc_Type(int enc_id, int* type) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  if (type == nullptr) return -1;
  if (enc_id == 0 || sys_id_is(enc_id, EncKind::kCache) || is_pci_cache(enc_id))
    *type = 0;
  else if (is_korv(enc_id))
    *type = 1;
  else if (is_rdisk(enc_id))
    *type = 2;
  else if (SE_Is_External_JBOD(enc_id))
    *type = 3;
  else
    *type = -1;
  return *type < 0 ? -1 : 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Log_Name(int enc_id, char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  if (buf == nullptr || size < 1) return -1;
  char sys_id[32] = {};
  se_lookup_sys_id(enc_id, sys_id, sizeof sys_id);
  std::string name = "Host";
  auto exdr = [enc_id] { return "EXDR#" + std::to_string(enc_id); };
  bool registered = sys_id[0] != '\0';
  if (SE_Is_ZMC_JBOD(enc_id) || SE_Get_Protocol(enc_id) == SE_PROTOCOL_HZR) {
    int slot = 0;
    board_services().hal_mb_get_pcie_slot_num(sys_id, &slot);
    name = "ZMC (PCIe" + std::to_string(slot) + ")";
  } else if (enc_is(sys_id, EncKind::kUsbPorts)) {
    name = "USB";
  } else if (SE_Is_External_JBOD(enc_id)) {
    char px[64] = {};
    char mapped[SE_DISPLAY_NAME_SIZE] = {};
    if (board_services().se_sys_px_get_display_name(sys_id, px, sizeof px) == 0 && px[0] != '\0')
      name = px;
    else if (SE_Enc_Map_Get_Enc_Name(enc_id, mapped, sizeof mapped) == 0 && mapped[0] != '\0')
      name = mapped;
    else
      name = exdr();
  } else if (registered && enc_id != 0 && !enc_is(sys_id, EncKind::kCache)) {
    name = exdr();
  }
  copy_out(name, buf, size);
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Clear_Real_Sys_Id_by_Enc_ID(int enc_id, const char* real_sys_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %s).\n", __func__, enc_id,
            real_sys_id != nullptr ? real_sys_id : "(null)");
  if (real_sys_id == nullptr || !enc_get_int(enc_id, "enc_id")) return -1;
  auto current = enc_get_text(enc_id, "real_sys_id");
  if (!current || *current != real_sys_id) return 0;
  if (Ini_Conf_Remove_Field(kHalConf, enc_section(enc_id).c_str(), "real_sys_id") < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d) : fail to remove %s real_sys_id!\n", __func__, __LINE__,
              real_sys_id);
    return -1;
  }
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d) : removed real_sys_id %s of enclosure %d\n", __func__, __LINE__,
            real_sys_id, enc_id);
  return 0;
} BAYHAL_C_BOUNDARY(-1)

namespace bayhal {

// Reboots an enclosure that SES can reboot; used as a filter over the listed enclosures.
int se_reboot_sas_enclosure(int enc_id, void*) {
  uint32_t cap = 0;
  SE_Get_Capability(enc_id, &cap);
  if ((cap & SE_CAP_SAS_ATTACHED) == 0 && SE_Get_Protocol(enc_id) != SE_PROTOCOL_SAS) return 0;
  char sys_id[32];
  if (se_lookup_sys_id(enc_id, sys_id, sizeof sys_id) < 0) return 0;
  int ret = ses_services().se_sys_set_reboot(sys_id);
  ERR_TRACE(HAL_TRACE_INFO, "%s: reboot SAS enclosure %d, ret = %d.\n", __func__, enc_id, ret);
  return ret < 0 ? -2 : 0;
}

}  // namespace bayhal

BAYHAL_EXPORT int SE_Reboot(void) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", __func__);
  SE_Enumerate(nullptr, kMaxEncList, se_reboot_sas_enclosure, nullptr);
  return 0;
} BAYHAL_C_BOUNDARY(-1)
