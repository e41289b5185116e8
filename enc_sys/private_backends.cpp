#include "enc_sys/private_backends.h"

#include <cctype>
#include <cstring>

#include "enc_sys/enc_kind.h"
#include "foundation/pending.h"

namespace bayhal {

int mvs_validate_enc_sys_id(const char* enc_sys_id) {
  if (enc_sys_id == nullptr || !enc_is(enc_sys_id, EncKind::kMvs)) return -1;
  size_t n = strnlen(enc_sys_id, 32);
  if (n <= 4 || n > 31) return -1;
  for (size_t i = 4; i < n; ++i) {
    unsigned char c = static_cast<unsigned char>(enc_sys_id[i]);
    if (!std::isalnum(c) && c != '_' && c != ':' && c != '.' && c != '-') return -1;
  }
  return 0;
}

int px_expander_enumerate(char** /*names*/, int /*capacity*/) { return 0; }
int zmc_sys_enumerate(char** /*names*/, int /*capacity*/, int /*slot*/) { return 0; }
int hzr_enclosure_enumerate(char** /*names*/, int /*capacity*/, int /*slot*/) { return -1; }
int comm_sys_get_hzr_index(int /*slot*/) { return -1; }
int mvs_enclosure_enumerate(char** /*names*/, int /*capacity*/, int /*hzr_index*/) { return 0; }
int se_sys_find_hzr_by_pcie_slot(int /*slot*/, char* /*hzr_sys_id*/, int /*size*/) { return -1; }

int px_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* /*info*/) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int zmc_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* /*info*/) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int hzr_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* /*info*/) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}
int mvs_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* /*info*/) {
  return not_implemented(__func__, __LINE__, enc_sys_id);
}

}  // namespace bayhal

namespace bayhal {

int se_sys_scan_ext_port(const char* hzr_sys_id, int* /*enc_ids*/, int* /*enc_ports*/,
                         int /*max_ports*/) {
  return not_implemented(__func__, __LINE__, hzr_sys_id);
}

}  // namespace bayhal
