// SE_Enumerate: the registered enclosures, from hal.conf's in-use bitmap.
#include <cerrno>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_list.h"
#include "foundation/export.h"
#include "ini/ini_store.h"

namespace bayhal {

bool section_is_internal(const ini::Section& s) {
  auto protocol = s.get_int("protocol");
  if (protocol && *protocol == SE_PROTOCOL_ISCSI) return true;
  auto cap = s.get_int("capability", true);
  if (!cap || (static_cast<uint32_t>(*cap) & SE_CAP_INTERNAL) == 0) return false;
  bool px = protocol && *protocol == SE_PROTOCOL_PX;
  const std::string* model = s.find("model");
  bool mv = model != nullptr && model->rfind("MV-", 0) == 0;
  return !px && !mv;
}

}  // namespace bayhal

using namespace bayhal;

BAYHAL_EXPORT int SE_Enumerate(int* enc_ids, int capacity, SE_ENUM_CALLBACK filter, void* arg) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p, %d, %p, %p).\n", __func__,
            static_cast<void*>(enc_ids), capacity, reinterpret_cast<void*>(filter), arg);
  if (capacity < 0 || (enc_ids == nullptr && filter == nullptr)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: bad arguments\n", __func__);
    return 0;
  }
  return Ini_Conf_Bitmap_Enumerate(kHalConf, kIndex, kEncBitmap, enc_ids,
                                   enc_ids == nullptr ? 0 : capacity, filter, arg);
}

BAYHAL_EXPORT int SE_Is_Internal(int enc_id) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  auto s = ini::read_section(kHalConf, enc_section(enc_id));
  return s && section_is_internal(*s) ? 1 : 0;
}

int bayhal::get_enclosure_list_callback(int enc_id, void* /*arg*/) {
  // One section read answers both questions: this filter runs for every listed enclosure.
  auto s = ini::read_section(kHalConf, enc_section(enc_id));
  if (!s || !section_is_internal(*s)) return -ENOENT;
  auto status = s->get_int("status");
  if (status && *status == SE_STATUS_REMOVING) return -ENOENT;
  return 0;
}
