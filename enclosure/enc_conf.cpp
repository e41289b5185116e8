#include "enclosure/enc_conf.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "ini/ini_file.h"
#include "ini/ini_store.h"
#include "ini/ini_text.h"

namespace bayhal {

std::string enc_section(int enc_id) { return "Enclosure_" + std::to_string(enc_id); }

std::string hal_conf_in(const char* dir) {
  if (dir == nullptr || *dir == '\0') return kHalConf;
  std::string path = dir;
  if (path.back() != '/') path += '/';
  return path + "hal.conf";
}

std::string enc_disk_conf(int enc_id) {
  return "/etc/enclosure_" + std::to_string(enc_id) + ".conf";
}

std::optional<long long> enc_get_int(int enc_id, const char* key, bool hex) {
  return conf_get_int(kHalConf, enc_section(enc_id).c_str(), key, hex);
}

std::optional<std::string> enc_get_text(int enc_id, const char* key) {
  return conf_get_text(kHalConf, enc_section(enc_id).c_str(), key);
}

int enc_set_text(const char* who, int enc_id, const char* key, std::string_view value) {
  std::string section = enc_section(enc_id);
  int rc = ini::update_with(who, kHalConf, [&](std::string_view text, ini::Edit& edit) {
    std::string_view id;
    if (enc_id < 0 || !ini::find_value(text, section, "enc_id", id)) return -1;
    edit.section = section;
    edit.set.emplace_back(key, value);
    return 0;
  });
  if (rc < 0) ERR_TRACE(HAL_TRACE_ERROR, "%s: no enclosure %d\n", who, enc_id);
  return rc < 0 ? -1 : 0;
}

}  // namespace bayhal
