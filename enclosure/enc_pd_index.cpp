// Global disk ids and the disk WWN index in hal.conf "Index".
#include <cstdio>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"

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
  char value[33];
  if (Ini_Conf_Get_Field(kHalConf, kIndex, key.c_str(), value, sizeof value) <= 0) return -1;
  unsigned global = 0;
  if (std::sscanf(value, "%08x", &global) != 1) return -1;
  return se_get_enc_pd_id(static_cast<int>(global), enc_id, port_id);
}

int se_remove_pd_wwn_index(const char* wwn) {
  std::string key;
  if (!wwn_key(wwn, key)) return -1;
  return Ini_Conf_Remove_Field(kHalConf, kIndex, key.c_str()) < 0 ? -1 : 0;
}

}  // namespace bayhal
