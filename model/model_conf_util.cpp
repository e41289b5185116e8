#include "model/model_conf_util.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "foundation/sysroot.h"
#include "foundation/unique_fd.h"

namespace bayhal::model {

std::string lower(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

std::string trim(std::string_view s) {
  size_t b = s.find_first_not_of(" \t\r\n");
  if (b == std::string_view::npos) return {};
  size_t e = s.find_last_not_of(" \t\r\n");
  return std::string(s.substr(b, e - b + 1));
}

std::optional<std::string> read_file(const std::string& path, size_t max) {
  UniqueFd fd(::open(sys_path(path).c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd) return std::nullopt;
  std::string out(max, '\0');
  size_t got = 0;
  while (got < max) {
    ssize_t n = ::read(fd.get(), out.data() + got, max - got);
    if (n < 0) return std::nullopt;
    if (n == 0) break;
    got += static_cast<size_t>(n);
  }
  out.resize(got);
  return out;
}

bool file_exists(const std::string& path) {
  struct stat st {};
  return ::stat(sys_path(path).c_str(), &st) == 0;
}

std::optional<ini::Section> system_enclosure() {
  return ini::read_section(kModelConf, kSystemEnclosure);
}

std::optional<unsigned> read_cap() {
  auto sys = system_enclosure();
  if (!sys) return std::nullopt;
  auto cap = sys->get_int("CAP", true);
  if (!cap) return std::nullopt;
  return static_cast<unsigned>(*cap);
}

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
