// The exported persistent-map operations and the in-use bitmap seeding.
#include <unistd.h>

#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_list.h"
#include "enclosure/enc_store.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"
#include "ini/ini_store.h"

namespace bayhal {
namespace {

bool file_exists(const char* path) { return ::access(sys_path(path).c_str(), F_OK) == 0; }

std::optional<std::string> bitmap_text(const char* file) {
  auto s = ini::read_section(file, kIndex);
  if (!s) return std::nullopt;
  const std::string_view* v = s->find(kEncBitmap);
  if (v == nullptr) return std::nullopt;
  return std::string(*v);
}

}  // namespace

int se_sync_enc_bitmap() {
  if (file_exists(kEncMap)) return 0;
  if (auto bits = bitmap_text(kHalConf)) ini::write_keys(kEncMap, kIndex, {{kEncBitmap, *bits}});
  return 0;
}

}  // namespace bayhal

using namespace bayhal;

BAYHAL_EXPORT int SE_Release_Id(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  // An id never handed out has no hot-swap memory to end: marking it would later make a
  // returning disk of a real enclosure with that id forget it was there.
  if (enc_id >= 0 && !Ini_Conf_Bitmap_Is_Bit_Set(kEncMap, kIndex, kEncBitmap, enc_id)) return -1;
  if (enc_id >= 0) Ini_Conf_Set_Field(kSeDetached, enc_section(enc_id).c_str(), "detached", "1");
  return se_release_id_in_persistent_mapping(enc_id);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Is_Id_Available(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  if (enc_id >= 0) return Ini_Conf_Bitmap_Is_Bit_Set(kEncMap, kIndex, kEncBitmap, enc_id) ? 0 : 1;
  if (enc_id != -1) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: bad enclosure id %d\n", __func__, enc_id);
    return 0;
  }
  long long max_id = conf_get_int(kSysdefConf, "MISC", "Max Enclosure Id").value_or(31);
  // One look for the lowest free id, however large a hand-edited maximum is.
  int free_id = -1;
  if (Ini_Conf_Bitmap_Get_Next_Free_Bit(kEncMap, kIndex, kEncBitmap, &free_id, 1, 0) != 0) return 0;
  return free_id <= max_id ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Import_Enc_Map(void) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", __func__);
  if (!file_exists(kEncMap)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: can't find %s!\n", __func__, kEncMap);
    return -1;
  }
  if (auto bits = bitmap_text(kEncMap)) ini::write_keys(kHalConf, kIndex, {{kEncBitmap, *bits}});
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Export_Enc_Map(void) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", __func__);
  int ids[kMaxEncList];
  int n = SE_Enumerate(ids, kMaxEncList, nullptr, nullptr);
  for (int i = 0; i < n; ++i) {
    SE_ENC_INFO info;
    std::memset(&info, 0, sizeof info);
    if (se_read_conf(ids[i], &info) == 0) se_write_enc_map(ids[i], &info);
  }
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Enc_Map_Get_Enc_Name(int enc_id, char* name, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  if (enc_id < 0 || name == nullptr || size < 1) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: bad arguments (%d, %p, %d)\n", __func__, enc_id,
              static_cast<void*>(name), size);
    return -1;
  }
  std::string key = "enc_" + std::to_string(enc_id);
  return Ini_Conf_Get_Field(kEncMap, kIndex, key.c_str(), name, size) > 0 ? 0 : -1;
} BAYHAL_C_BOUNDARY(-1)
