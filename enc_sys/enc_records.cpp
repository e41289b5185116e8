#include "enc_sys/enc_records.h"

#include <string>

#include "foundation/store_files.h"
#include "ini/conf_read.h"

namespace bayhal {

int se_lookup_id(const char* enc_sys_id) {
  if (enc_sys_id == nullptr || !valid_key_text(enc_sys_id)) return -1;
  auto id = conf_get_int(kHalConf, kIndex, ("enc_sysid_" + std::string(enc_sys_id)).c_str());
  return id && *id >= 0 ? static_cast<int>(*id) : -1;
}

}  // namespace bayhal
