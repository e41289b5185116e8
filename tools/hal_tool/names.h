// The one way to name things on hal_tool's command line, the same in every command:
// ENC is an enclosure id (0, 34) or identity (root, root_usb, 5000ccab0200e07f); BAY is
// ENC/PORT (0/3, root/3); DISK a disk's kernel name (sdc, nvme0n1). Malformed text is bad
// usage (exit 2); a well-formed name of nothing is a failure (exit 1). Both are one line.
#pragma once
#include <optional>
#include <string>
#include <vector>

#include "tools/hal_tool/tool.h"

namespace hal_tool {

struct Enclosure {
  int id = -1;
  std::string identity;
};

struct Bay {
  Enclosure enc;
  int port = -1;
};

// "0/3".
std::string bay_name(int enc_id, int port_id);

// The registered enclosure ids in ascending order; a failure (nullopt) when the registry
// itself is missing, i.e. the appliance has not booted.
std::optional<std::vector<int>> registered_ids(Context& ctx);
// A registered enclosure named by id or identity.
std::optional<Enclosure> enclosure_arg(Context& ctx, const std::string& text);
// An enclosure identity, registered or not: an id is looked up in the registry, other text
// is taken as the identity.
std::optional<std::string> identity_arg(Context& ctx, const std::string& text);
// ENC/PORT of a registered enclosure.
std::optional<Bay> bay_arg(Context& ctx, const std::string& text);
// A disk's kernel name.
bool disk_name_arg(Context& ctx, const std::string& text);

}  // namespace hal_tool
