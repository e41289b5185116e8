// Who owns an optical drive: a virtual machine it is passed through to, a named owner of
// the drive, or the NAS itself.
#include <cstdio>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_query.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_store.h"

namespace {

constexpr const char* kCdromConf = "/etc/.cdrom.conf";

std::string owner_of(int enc_id, int port_id) {
  if (enc_id == bayhal::disk::enc_odd_id()) {
    auto pass = bayhal::ini::read_section(kCdromConf, "odd_passthrough");
    const std::string_view* enabled = pass ? pass->find("enabled") : nullptr;
    if (enabled != nullptr && *enabled == "TRUE") {
      if (const std::string_view* owner = pass->find("owner")) return std::string(*owner);
    }
  }
  char name[PD_NAME_LEN];
  if (PD_Get_Sys_Name(enc_id, port_id, name, sizeof name) > 0) {
    std::string_view dev = name;
    if (size_t slash = dev.rfind('/'); slash != std::string_view::npos) dev = dev.substr(slash + 1);
    if (bayhal::disk::usable_key_text(dev)) {
      auto drive = bayhal::ini::read_section(kCdromConf, dev);
      if (const std::string_view* owner = drive ? drive->find("owner") : nullptr) return std::string(*owner);
    }
  }
  return "DRO";
}

}  // namespace

BAYHAL_EXPORT int PD_Get_ODD_Owner(int enc_id, int port_id, char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  if (!bayhal::disk::usable_buffer(buf, size) || enc_id < 0 || port_id < 0) return -1;
  std::snprintf(buf, static_cast<size_t>(size), "%s", owner_of(enc_id, port_id).c_str());
  return 0;
} BAYHAL_C_BOUNDARY(-1)
