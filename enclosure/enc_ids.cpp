// Enclosure ids: unique ids, the persistent map, allocation and release.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <cstdio>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/hal_common.h"
#include "enc_sys/enc_kind.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "ini/ini_store.h"

namespace bayhal {
namespace {

// "enc_uid_<unique id>", with what a store key cannot hold ('=', '[', ']', control bytes,
// blanks at either end) and '%' itself written as %XX: real units report such serials, and
// every unique id must map to its own key and back.
std::string uid_key(std::string_view uid) {
  std::string key = "enc_uid_";
  for (size_t i = 0; i < uid.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(uid[i]);
    bool edge_blank = c == ' ' && (i == 0 || i + 1 == uid.size());
    if (c < 0x20 || c == 0x7f || c == '=' || c == '[' || c == ']' || c == '%' || edge_blank) {
      char hex[4];
      std::snprintf(hex, sizeof hex, "%%%02X", c);
      key += hex;
    } else {
      key += static_cast<char>(c);
    }
  }
  return key;
}

std::string unique_id(const SE_ENC_INFO& info) {
  const EncKindRow* kind = enc_kind_of(text_of(info.enc_sys_id));
  if (kind != nullptr && kind->appliance)
    return std::string(info.enc_sys_id, strnlen(info.enc_sys_id, sizeof info.enc_sys_id));
  // Stored maps depend on this: any non-zero first byte means "hex of the first 8 bytes",
  // even when the wwn field holds text.
  if (info.wwn[0] != '\0') {
    char hex[17];
    num_to_ascii(reinterpret_cast<const unsigned char*>(info.wwn), 8, hex, sizeof hex);
    return hex;
  }
  if (info.serial[0] != '\0') return std::string(info.serial, strnlen(info.serial, sizeof info.serial));
  return std::string(info.enc_sys_id, strnlen(info.enc_sys_id, sizeof info.enc_sys_id));
}

bool keeps_display_name(const SE_ENC_INFO& info) {
  return info.protocol == SE_PROTOCOL_PX || info.protocol == SE_PROTOCOL_MVS ||
         starts_with(info.model, "MV-");
}

std::string display_name_key(int enc_id) { return "enc_" + std::to_string(enc_id); }

bool make_display_name(const SE_ENC_INFO& info, char (&name)[SE_DISPLAY_NAME_SIZE]) {
  return se_sys_make_display_name(info.model, info.serial, name, sizeof name) == 0;
}

void refresh_display_name(int enc_id, const SE_ENC_INFO& info) {
  char name[SE_DISPLAY_NAME_SIZE];
  if (!make_display_name(info, name)) return;
  auto stored = conf_get_text(kEncMap, kIndex, display_name_key(enc_id).c_str());
  int need_update = !stored || *stored != name;
  ERR_TRACE(HAL_TRACE_INFO, "%s: need_update_display_name = %d.\n", __func__, need_update);
  if (need_update) Ini_Conf_Set_Field(kEncMap, kIndex, display_name_key(enc_id).c_str(), name);
}

void set_bit_once(const char* file, int enc_id) {
  if (!Ini_Conf_Bitmap_Is_Bit_Set(file, kIndex, kEncBitmap, enc_id))
    Ini_Conf_Bitmap_Set_Bit(file, kIndex, kEncBitmap, enc_id);
}

}  // namespace

int se_id_start_bit(const SE_ENC_INFO& info) {
  constexpr int kCacheIds = 23;
  const EncKindRow* kind = enc_kind_of(text_of(info.enc_sys_id));
  int first = kind != nullptr ? kind->first_id : -1;
  if (first == kCacheIds) return kCacheIds;
  if (info.capabilities & SE_CAP_INTERNAL) return 0;
  return first >= 0 ? first : 32;
}

int se_lookup_id_in_persistent_mapping(SE_ENC_INFO* info) {
  if (info == nullptr) return -1;
  std::string uid = unique_id(*info);
  if (uid.empty()) return -1;
  auto id = conf_get_int(kEncMap, kIndex, uid_key(uid).c_str());
  if (!id || *id < 0) return -1;
  int enc_id = static_cast<int>(*id);
  Ini_Conf_Bitmap_Set_Bit(kHalConf, kIndex, kEncBitmap, enc_id);
  ERR_TRACE(HAL_TRACE_INFO,
            "%s: Enclosure UID:%s is found in persistent mapping file, last allocated enc_id = %d.\n",
            __func__, uid.c_str(), enc_id);
  if (keeps_display_name(*info)) refresh_display_name(enc_id, *info);
  return enc_id;
}

int se_get_id(const char* enc_sys_id, int* enc_id, SE_ENC_INFO* info) {
  if (enc_sys_id == nullptr || enc_id == nullptr || info == nullptr) return -1;
  int existing = se_lookup_id(enc_sys_id);
  if (existing >= 0) {
    *enc_id = existing;
    ERR_TRACE(HAL_TRACE_WARN, "%s: the enclosure id %d for %s exist!\n", __func__, existing,
              enc_sys_id);
    return -1;
  }
  return se_acquire_id(enc_sys_id, enc_id, info);
}

int se_acquire_id(const char* enc_sys_id, int* enc_id, SE_ENC_INFO* info) {
  if (enc_sys_id == nullptr || enc_id == nullptr || info == nullptr) return -1;
  int start = se_id_start_bit(*info);
  int bit = -1;
  int rc = Ini_Conf_Bitmap_Get_Next_Free_Bit(kEncMap, kIndex, kEncBitmap, &bit, start, 1);
  if (rc != 0) {
    *enc_id = -1;
    return rc;
  }
  *enc_id = bit;
  if (start == 0 && bit > kMaxInternalEncId) {
    Ini_Conf_Bitmap_Reset_Bit(kEncMap, kIndex, kEncBitmap, bit);
    ERR_TRACE(HAL_TRACE_ERROR,
              "%s: the allocated enclosure id %d exceeds the max internal enclosure identifier %d!\n",
              __func__, bit, kMaxInternalEncId);
    *enc_id = -1;
    return -1;
  }
  int ret = se_write_enc_map(bit, info);
  if (ret != 0) {
    // The id was claimed for a record the map cannot hold; give it back.
    Ini_Conf_Bitmap_Reset_Bit(kEncMap, kIndex, kEncBitmap, bit);
    *enc_id = -1;
  }
  return ret;
}

int se_write_enc_map(int enc_id, SE_ENC_INFO* info) {
  if (info == nullptr || enc_id < 0) return -1;
  std::string uid = unique_id(*info);
  if (uid.empty()) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no unique id for enclosure %d\n", __func__, enc_id);
    return -1;
  }
  std::string key = uid_key(uid);
  std::string id_text = std::to_string(enc_id);
  std::vector<std::pair<std::string, std::string>> keys{{key, id_text}, {id_text, key}};
  ERR_TRACE(HAL_TRACE_INFO, "%s: write %s = %s.\n", __func__, key.c_str(), id_text.c_str());
  ERR_TRACE(HAL_TRACE_INFO, "%s: write %s = %s.\n", __func__, id_text.c_str(), key.c_str());
  char name[SE_DISPLAY_NAME_SIZE];
  if (keeps_display_name(*info) && make_display_name(*info, name)) {
    keys.emplace_back(display_name_key(enc_id), name);
    ERR_TRACE(HAL_TRACE_INFO, "%s: write %s = %s.\n", __func__, display_name_key(enc_id).c_str(),
              name);
  }
  ini::write_keys(kEncMap, kIndex, keys);
  set_bit_once(kEncMap, enc_id);
  set_bit_once(kHalConf, enc_id);
  return 0;
}

int se_release_id_in_persistent_mapping(int enc_id) {
  if (enc_id == -1) {
    if (::unlink(sys_path(kEncMap).c_str()) != 0 && errno != ENOENT)
      ERR_TRACE(HAL_TRACE_ERROR, "%s: can't remove %s!\n", __func__, kEncMap);
    return 0;
  }
  if (enc_id < 0 || !Ini_Conf_Bitmap_Is_Bit_Set(kEncMap, kIndex, kEncBitmap, enc_id)) return -1;
  Ini_Conf_Bitmap_Reset_Bit(kEncMap, kIndex, kEncBitmap, enc_id);
  std::string id_text = std::to_string(enc_id);
  std::vector<std::string> remove{id_text, display_name_key(enc_id)};
  if (auto uid_key = conf_get_text(kEncMap, kIndex, id_text.c_str())) remove.push_back(*uid_key);
  ini::write_keys(kEncMap, kIndex, {}, remove);
  return 0;
}

int se_detach_release_bit(int enc_id) {
  if (enc_id < 0) return -1;
  return Ini_Conf_Bitmap_Reset_Bit(kHalConf, kIndex, kEncBitmap, enc_id) == 0 ? 0 : -1;
}

}  // namespace bayhal

BAYHAL_EXPORT int SE_Get_Unique_Id(const SE_ENC_INFO* info, char* uid, int uid_size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p, %p, %d).\n", __func__,
            static_cast<const void*>(info), static_cast<void*>(uid), uid_size);
  if (info == nullptr || uid == nullptr || uid_size < 1) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: bad arguments\n", __func__);
    return -1;
  }
  std::string id = bayhal::unique_id(*info);
  std::strncpy(uid, id.c_str(), static_cast<size_t>(uid_size));
  uid[uid_size - 1] = '\0';
  return 0;
} BAYHAL_C_BOUNDARY(-1)
