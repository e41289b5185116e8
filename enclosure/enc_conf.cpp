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

bool valid_key_text(std::string_view text) {
  if (text.empty() || text.front() == ' ' || text.back() == ' ') return false;
  for (unsigned char c : text)
    if (c < 0x20 || c == 0x7f || c == '=' || c == '[' || c == ']') return false;
  return true;
}

std::optional<long long> conf_get_int(const char* file, const char* section, const char* key,
                                      bool hex) {
  int value = 0;
  if (Ini_Conf_Get_Field_Int(file, section, key, &value, hex ? 1 : 0) <= 0) return std::nullopt;
  return value;
}

std::optional<std::string> conf_get_text(const char* file, const char* section,
                                         const char* key) {
  char buf[256];
  if (Ini_Conf_Get_Field(file, section, key, buf, sizeof buf) <= 0) return std::nullopt;
  return std::string(buf);
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

bool starts_with(const char* text, std::string_view prefix) {
  return text != nullptr && std::strncmp(text, prefix.data(), prefix.size()) == 0;
}

unsigned bitmap_low32(const std::string_view* text) {
  if (text == nullptr) return 0;
  std::string_view digits(*text);
  if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
  if (digits.size() > 8) digits.remove_prefix(digits.size() - 8);
  return static_cast<unsigned>(std::strtoul(std::string(digits).c_str(), nullptr, 16));
}

bool copy_out(std::string_view text, char* buf, int size) {
  if (buf == nullptr || size < 1) return false;
  size_t n = text.size() < static_cast<size_t>(size) ? text.size() : static_cast<size_t>(size) - 1;
  std::memcpy(buf, text.data(), n);
  buf[n] = '\0';
  return n == text.size();
}

}  // namespace bayhal
