// Global disk ids and the disk WWN index in hal.conf "Index".
#include <strings.h>

#include <cstdio>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "ini/ini_store.h"

namespace bayhal {
namespace {

bool wwn_key(const char* wwn, std::string& key) {
  if (wwn == nullptr || !valid_key_text(wwn)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: unusable wwn \"%s\"\n", __func__, wwn ? wwn : "(null)");
    return false;
  }
  key = std::string("pd_wwn_") + wwn;
  return true;
}

bool same_ignoring_case(std::string_view a, std::string_view b) {
  return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

int se_gen_global_pd_id(int enc_id, int port_id) {
  return static_cast<int>((static_cast<unsigned>(enc_id) << 16) |
                          (static_cast<unsigned>(port_id) & 0xFFFFu));
}

int se_get_enc_pd_id(int global_pd_id, int* enc_id, int* port_id) {
  if (enc_id == nullptr || port_id == nullptr) return -1;
  *enc_id = static_cast<int>(static_cast<unsigned>(global_pd_id) >> 16);
  *port_id = global_pd_id & 0xFFFF;
  return 0;
}

int se_write_pd_wwn_index(int enc_id, int port_id, const char* wwn) {
  std::string key;
  if (!wwn_key(wwn, key)) return -1;
  char value[16];
  std::snprintf(value, sizeof value, "%08x",
                static_cast<unsigned>(se_gen_global_pd_id(enc_id, port_id)));
  return Ini_Conf_Set_Field(kHalConf, kIndex, key.c_str(), value) > 0 ? 0 : -1;
}

int se_read_pd_wwn_index(const char* wwn, int* enc_id, int* port_id) {
  std::string key;
  if (enc_id == nullptr || port_id == nullptr || !wwn_key(wwn, key)) return -1;
  auto index = ini::read_section(kHalConf, kIndex);
  if (!index) return -1;
  // A WWN is hexadecimal: callers spell it in either case, the index in the case it was
  // written. The exact spelling wins.
  const std::string_view* value = index->find(key);
  for (size_t i = 0; value == nullptr && i < index->entries.size(); ++i)
    if (same_ignoring_case(index->entries[i].first, key)) value = &index->entries[i].second;
  unsigned global = 0;
  if (value == nullptr || std::sscanf(std::string(*value).c_str(), "%08x", &global) != 1) return -1;
  return se_get_enc_pd_id(static_cast<int>(global), enc_id, port_id);
}

int se_remove_pd_wwn_index(const char* wwn) {
  std::string key;
  if (!wwn_key(wwn, key)) return -1;
  return Ini_Conf_Remove_Field(kHalConf, kIndex, key.c_str()) < 0 ? -1 : 0;
}

}  // namespace bayhal
