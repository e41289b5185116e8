// The hot-swap memory: which slots held disks when an enclosure was detached, so that a disk
// coming back with it is recognised once.
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "enclosure/enc_attach.h"
#include "enclosure/enc_conf.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

namespace bayhal {

int se_hotswap_save_pd_bitmap(int enc_id, unsigned bitmap) {
  return Ini_Conf_Set_Field_Int(kSeDetached, enc_section(enc_id).c_str(), "pd_bitmap",
                                static_cast<int>(bitmap), 1) > 0
             ? 0
             : -1;
}

int se_hotswap_save_pd_member_bitmap(int enc_id, int port, unsigned bitmap) {
  std::string key = "pd" + std::to_string(port) + "_member_bitmap";
  return Ini_Conf_Set_Field_Int(kSeDetached, enc_section(enc_id).c_str(), key.c_str(),
                                static_cast<int>(bitmap), 1) > 0
             ? 0
             : -1;
}

}  // namespace bayhal

using namespace bayhal;

BAYHAL_EXPORT int SE_Hotswap_Check_PD(int enc_id, int dev_id) try {
  // The call's record at level 8 doubles as its entry trace.
  ERR_TRACE(HAL_TRACE_ENTRY | HAL_TRACE_INFO, "%s got called, enc_id = %d, port_id = %d\n", __func__, enc_id, dev_id);
  if (enc_id < 0 || dev_id < 0) return 0;
  INI_CONF_LOCK* lock = Ini_Conf_Write_Lock_File(kSeDetached);
  if (lock == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: can't lock %s\n", __func__, kSeDetached);
    return 0;
  }
  std::string section = enc_section(enc_id);
  int detached = 0;
  int was_set = 0;
  Ini_Conf_Get_Field_Int(kSeDetached, section.c_str(), "detached", &detached, 0);
  if (detached != 0) {
    // Released for good: nothing of it comes back.
    Ini_Conf_Remove_Section(kSeDetached, section.c_str());
  } else {
    std::string key = dev_id >= 1000 ? "pd" + std::to_string(dev_id / 1000) + "_member_bitmap"
                                     : std::string("pd_bitmap");
    int bit = dev_id >= 1000 ? dev_id % 1000 : dev_id;
    was_set = Ini_Conf_Bitmap_Is_Bit_Set(kSeDetached, section.c_str(), key.c_str(), bit) ? 1 : 0;
    if (was_set) Ini_Conf_Bitmap_Reset_Bit(kSeDetached, section.c_str(), key.c_str(), bit);
  }
  Ini_Conf_Unlock_File(lock);
  return was_set;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Hotswap_Clear_Enc(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  return Ini_Conf_Remove_Section(kSeDetached, enc_section(enc_id).c_str());
} BAYHAL_C_BOUNDARY(-1)
