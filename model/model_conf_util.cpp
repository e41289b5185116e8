#include "model/model_conf_util.h"

#include <cctype>
#include <cstdio>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "foundation/sysroot.h"
#include "model/model_keys.h"

namespace bayhal::model {

std::string lower(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

std::optional<ini::Section> system_enclosure() {
  return ini::read_section(kModelConf, kSystemEnclosure);
}

std::optional<unsigned> read_cap() { return read_system_cap(); }

bool write_cap(const char* who, unsigned cap) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", cap);
  if (Ini_Conf_Set_Field(kModelConf, kSystemEnclosure, "CAP", text) > 0) return true;
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't write CAP = %s to %s\n", who, __LINE__, text,
            kModelConf);
  return false;
}

FixupResult change_cap(const char* name, unsigned clear, unsigned set, const std::string& why) {
  auto cap = read_cap();
  if (!cap) return unchanged(name, "no CAP");
  unsigned next = (*cap & ~clear) | set;
  if (next == *cap) {
    char already[32];
    std::snprintf(already, sizeof already, "CAP already 0x%x", *cap);
    return unchanged(name, already);
  }
  if (!write_cap(name, next)) return unchanged(name, "CAP write failed");
  char detail[96];
  std::snprintf(detail, sizeof detail, "CAP 0x%x -> 0x%x", *cap, next);
  ERR_TRACE(HAL_TRACE_INFO, "%s: %s (%s)\n", name, detail, why.c_str());
  return {name, true, std::string(detail) + ": " + why};
}

FixupResult unchanged(const char* name, std::string why) { return {name, false, std::move(why)}; }

}  // namespace bayhal::model
