// Which description fits this board: the board identifier (host bridge PCI identity and
// processor, matched against the board table) and the backplane's choice (its FRU EEPROM).
// The table is data in "/etc/model_board_table.conf" (docs/model_description.md); nothing
// about any model is compiled in.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "foundation/sysfs.h"
#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "foundation/unique_fd.h"
#include "ini/ini_store.h"
#include "model/fru.h"
#include "model/model_conf.h"
#include "model/model_conf_util.h"
#include "model/pci_identity.h"

namespace bayhal {
namespace {

constexpr char kHostBridge[] = "0000:00:00.0";
constexpr char kDefaultVpd[] = "/sys/bus/i2c/devices/0-0057/eeprom";
constexpr size_t kMaxVpd = 4096;
constexpr unsigned kMaxModel = 31;  // a model number is a bit of MULTI_CONF

// The first processor's "model name" from /proc/cpuinfo under the root; empty if none.
std::string cpu_model_name() {
  std::string info = read_head("/proc/cpuinfo", 64 * 1024).value_or("");
  std::string name;
  for_each_line(info, [&](std::string_view line) {
    size_t colon = line.find(':');
    if (!line.starts_with("model name") || colon == std::string_view::npos) return true;
    name = trim(line.substr(colon + 1));
    return false;
  });
  return name;
}

// "vvvv:dddd" in hexadecimal.
bool parse_id_pair(const std::string& text, unsigned& a, unsigned& b) {
  unsigned x = 0, y = 0;
  char tail = 0;
  if (std::sscanf(text.c_str(), "%x:%x%c", &x, &y, &tail) != 2 || x > 0xFFFF || y > 0xFFFF)
    return false;
  a = x;
  b = y;
  return true;
}

bool board_matches(const ini::Section& s, const PciIdentity& bridge, const std::string& cpu) {
  const std::string_view* hb = s.find("HOST_BRIDGE");
  unsigned v = 0, d = 0;
  if (hb == nullptr || !parse_id_pair(std::string(*hb), v, d) || v != bridge.vendor || d != bridge.device)
    return false;
  if (const std::string_view* sub = s.find("SUBSYSTEM")) {
    if (!parse_id_pair(std::string(*sub), v, d) || v != bridge.subsystem_vendor ||
        d != bridge.subsystem_device)
      return false;
  }
  if (const std::string_view* want = s.find("CPU")) {
    if (want->empty() || model::lower(cpu).find(model::lower(*want)) == std::string::npos) return false;
  }
  return true;
}

// A table value naming a description: a model number, or "model.conf" for the live file.
bool model_path(const std::string& value, std::string& path) {
  if (value == "model.conf") {
    path = kModelConf;
    return true;
  }
  char* end = nullptr;
  unsigned long n = std::strtoul(value.c_str(), &end, 10);
  if (value.empty() || *end != '\0' || n > kMaxModel) return false;
  path = "/etc/model_" + std::to_string(n) + ".conf";
  return true;
}

}  // namespace

std::optional<unsigned> se_sys_get_board_id() {
  auto bridge = read_pci_config(kHostBridge);
  if (!bridge) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): can't read the host bridge's config space\n", __func__,
              __LINE__);
    return std::nullopt;
  }
  std::string cpu = cpu_model_name();
  for (const std::string& name : ini::list_sections(kBoardTable)) {
    if (!name.starts_with("Board")) continue;
    auto s = ini::read_section(kBoardTable, name);
    if (!s || !board_matches(*s, *bridge, cpu)) continue;
    const std::string_view* text = s->find("BOARD_ID");
    std::string id_text(text ? *text : std::string_view());
    char* end = nullptr;
    long id = text ? std::strtol(id_text.c_str(), &end, 0) : -1;  // decimal or 0x hexadecimal
    if (text == nullptr || text->empty() || *end != '\0' || id < 0 || id > long{kMaxModel}) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): [%s] of %s has no usable BOARD_ID\n", __func__,
                __LINE__, name.c_str(), kBoardTable);
      return std::nullopt;
    }
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d): host bridge %04x:%04x (%04x:%04x), cpu \"%s\" is [%s]\n",
              __func__, __LINE__, bridge->vendor, bridge->device, bridge->subsystem_vendor,
              bridge->subsystem_device, cpu.c_str(), name.c_str());
    return static_cast<unsigned>(id);
  }
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): host bridge %04x:%04x, cpu \"%s\" not in %s\n", __func__,
            __LINE__, bridge->vendor, bridge->device, cpu.c_str(), kBoardTable);
  return std::nullopt;
}

int se_sys_get_backplane_model_conf(const char* enc_sys_id, char* buf, int size, int format) {
  if (enc_sys_id == nullptr || std::strcmp(enc_sys_id, "root") != 0 || buf == nullptr ||
      size <= 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): bad arguments\n", __func__, __LINE__);
    return -1;
  }
  std::string vpd_path = kDefaultVpd;
  if (auto sys = ini::read_section(kModelConf, kSystemEnclosure))
    if (const std::string_view* p = sys->find("BACKPLANE_VPD"); p && !p->empty()) vpd_path = *p;
  std::string raw = read_head(vpd_path, kMaxVpd).value_or("");
  auto board = fru::parse_board(
      {reinterpret_cast<const uint8_t*>(raw.data()), raw.size()});
  if (!board) {
    ERR_TRACE(HAL_TRACE_WARN, "%s(%d): no readable backplane VPD at %s\n", __func__, __LINE__,
              vpd_path.c_str());
    return -1;
  }
  std::string value;
  if (format == 1) {
    auto table = ini::read_section(kBoardTable, "Backplane");
    const std::string_view* v = table ? table->find(board->part_number) : nullptr;
    if (v != nullptr) value = *v;
  } else if (format == 2) {
    value = board->file_id;
  }
  std::string path;
  if (!model_path(value, path) || !sysfs_exists(path)) {
    ERR_TRACE(HAL_TRACE_WARN, "%s(%d): backplane \"%s\" (file id \"%s\", format %d) names no model file\n",
              __func__, __LINE__, board->part_number.c_str(), board->file_id.c_str(), format);
    return -1;
  }
  if (path.size() + 1 > static_cast<size_t>(size)) return -1;
  std::snprintf(buf, static_cast<size_t>(size), "%s", path.c_str());
  return 0;
}

}  // namespace bayhal
