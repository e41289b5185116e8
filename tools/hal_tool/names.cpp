#include "tools/hal_tool/names.h"

#include <sys/stat.h>

#include <cctype>
#include <cerrno>
#include <cstring>

#include "bayhal/SE.h"
#include "foundation/store_files.h"

namespace hal_tool {
namespace {

constexpr int kMaxEnclosures = 4096;
constexpr long long kMaxPort = 65535;

// Identities and kernel names are one word of these characters.
bool is_name(const std::string& text) {
  if (text.empty() || text.size() >= 32) return false;
  for (char c : text)
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '-' && c != '.' && c != ':') return false;
  return true;
}

bool registry_present(Context& ctx) {
  std::string path = host_path(bayhal::kHalConf);
  struct stat st {};
  if (::stat(path.c_str(), &st) == 0) return true;
  ctx.fail("no enclosure registry: " + path + ": " + std::strerror(errno) +
           " (the appliance has not booted; hal_tool boot does its start-up)");
  return false;
}

}  // namespace

std::string bay_name(int enc_id, int port_id) { return std::to_string(enc_id) + "/" + std::to_string(port_id); }

std::optional<std::vector<int>> registered_ids(Context& ctx) {
  if (!registry_present(ctx)) return std::nullopt;
  std::vector<int> ids(kMaxEnclosures);
  int n = SE_Enumerate(ids.data(), kMaxEnclosures, nullptr, nullptr);
  ids.resize(n > 0 ? static_cast<size_t>(n) : 0);
  return ids;
}

std::optional<Enclosure> enclosure_arg(Context& ctx, const std::string& text) {
  Enclosure e;
  if (auto id = parse_number(text, 0, kMaxEnclosures - 1)) {
    e.id = static_cast<int>(*id);
  } else if (!is_name(text)) {
    ctx.usage("bad enclosure '" + text + "': expected an enclosure id or identity, e.g. 0 or root");
    return std::nullopt;
  } else if (SE_Get_Id_By_Sys_Id(text.c_str(), &e.id) != 0) {
    e.id = -1;
  }
  SE_ENC_INFO info{};
  if (!registry_present(ctx)) return std::nullopt;
  if (e.id < 0 || SE_Get_Info(e.id, &info) != 0) {
    ctx.fail("no enclosure '" + text + "' is registered (hal_tool enc list shows them)");
    return std::nullopt;
  }
  e.identity = info.enc_sys_id;
  return e;
}

std::optional<std::string> identity_arg(Context& ctx, const std::string& text) {
  if (parse_number(text, 0, kMaxEnclosures - 1)) {
    auto e = enclosure_arg(ctx, text);
    return e ? std::optional(e->identity) : std::nullopt;
  }
  if (is_name(text)) return text;
  ctx.usage("bad enclosure '" + text + "': expected an enclosure id or identity, e.g. 0 or root");
  return std::nullopt;
}

std::optional<Bay> bay_arg(Context& ctx, const std::string& text) {
  size_t slash = text.rfind('/');
  std::optional<long long> port;
  if (slash != std::string::npos) port = parse_number(text.substr(slash + 1), 0, kMaxPort);
  if (slash == std::string::npos || slash == 0 || !port) {
    ctx.usage("bad bay '" + text + "': expected ENC/PORT, e.g. 0/3 or root/3 (PORT from 0 to " +
              std::to_string(kMaxPort) + ")");
    return std::nullopt;
  }
  auto enc = enclosure_arg(ctx, text.substr(0, slash));
  if (!enc) return std::nullopt;
  return Bay{*enc, static_cast<int>(*port)};
}

bool disk_name_arg(Context& ctx, const std::string& text) {
  if (is_name(text)) return true;
  ctx.usage("bad disk '" + text + "': expected a kernel disk name, e.g. sdc or nvme0n1");
  return false;
}

}  // namespace hal_tool
