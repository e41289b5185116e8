// SE_Scan and SE_Rescan: bring the registry in line with what discovery lists.
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/SE.h"
#include "enclosure/enc_attach.h"
#include "enclosure/enc_conf.h"
#include "enc_sys/enc_discovery.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"

namespace bayhal {
namespace {

constexpr int kMaxPresent = 128;

struct Present {
  std::vector<char*> names = std::vector<char*>(kMaxPresent, nullptr);
  int found = 0;
  int stored() const { return std::min(found, kMaxPresent); }
  bool complete() const { return found <= kMaxPresent; }
  bool has(const char* id) const {
    for (int i = 0; i < stored(); ++i)
      if (std::strcmp(names[static_cast<size_t>(i)], id) == 0) return true;
    return false;
  }
  ~Present() { free_names(names.data(), stored()); }
};

}  // namespace

}  // namespace bayhal

using namespace bayhal;

BAYHAL_EXPORT int SE_Scan(void) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", __func__);
  Present present;
  present.found = se_sys_enumerate(present.names.data(), kMaxPresent);
  int missed = 0;
  for (int i = 0; i < present.stored(); ++i) {
    const char* name = present.names[static_cast<size_t>(i)];
    if (se_lookup_id(name) >= 0) continue;
    SE_Sys_Attach(name, 1);
    // Its disks may fail on their own; the scan fails only for an enclosure left out.
    if (se_lookup_id(name) < 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: %s is present but could not be attached!\n", __func__, name);
      ++missed;
    }
  }
  int rc = missed > 0 ? -1 : 0;
  // Only a complete listing can say that an enclosure is gone.
  if (!present.complete()) return rc;
  std::vector<int> ids(256);
  int n = SE_Enumerate(ids.data(), static_cast<int>(ids.size()), nullptr, nullptr);
  for (int i = 0; i < n; ++i) {
    char sys_id[32];
    if (se_lookup_sys_id(ids[static_cast<size_t>(i)], sys_id, sizeof sys_id) < 0) continue;
    if (!present.has(sys_id) && se_lookup_id(sys_id) >= 0) SE_Sys_Detach(sys_id);
  }
  return rc;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Rescan(const char* dir) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%s).\n", __func__, dir ? dir : "(null)");
  if (dir == nullptr || *dir == '\0') return SE_Scan();
  std::error_code ec;
  std::filesystem::create_directories(sys_path(dir), ec);
  if (ec) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: can't create %s!\n", __func__, dir);
    return -1;
  }
  Present present;
  present.found = se_sys_enumerate(present.names.data(), kMaxPresent);
  int written = 0;
  for (int i = 0; i < present.stored(); ++i)
    if (se_attach(present.names[static_cast<size_t>(i)], 0, dir) >= 0) ++written;
  return written;
} BAYHAL_C_BOUNDARY(-1)
