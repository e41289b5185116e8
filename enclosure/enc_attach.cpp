// se_attach: register an enclosure, parent first, and scan its disks.
#include <cstdio>
#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "board/board_services.h"
#include "enc_sys/enc_discovery.h"
#include "enclosure/disk_registry_link.h"
#include "enclosure/enc_attach.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_hzr.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/udev_tag.h"
#include "mcu/mcu_services.h"

namespace bayhal {
namespace {

// Parents are attached recursively; a description that names a loop of parents stops here.
constexpr int kMaxParentDepth = 8;

void trace_typed(const char* base, int ret, const char* field, const std::string& value) {
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d): create a specific enclosure %s: ret = %d, enc_info.%s = %s\n",
            "se_attach", __LINE__, base, ret, field, value.c_str());
}

// "<base>_type_<type id>_<type value>": an MV-series unit on USB whose bus speed the
// hot-plug rule already knows.
int attach_typed(const std::string& full) {
  size_t pos = full.find("_type_");
  std::string base = full.substr(0, pos);
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d): Restore enc_sys_id to %s\n", "se_attach", __LINE__, base.c_str());
  int type_id = 0, type_value = 0;
  char tail = 0;
  int parsed = std::sscanf(full.c_str() + pos + 6, "%d_%d%c", &type_id, &type_value, &tail);
  if (parsed != 2 || type_id != 1 || type_value < 1) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Fix Me, System Internal Error! enc_sys_id = %s\n",
              "se_attach", __LINE__, full.c_str());
    return 0;
  }
  SE_ENC_INFO info;
  int enc_id = se_lookup_id(base.c_str());
  int ret = se_sys_getinfo(base.c_str(), &info);
  if (ret < 0) std::memset(&info, 0, sizeof info);
  char cap[16];
  std::snprintf(cap, sizeof cap, "0x%x", info.capabilities);
  trace_typed(base.c_str(), ret, "capabilities", cap);
  trace_typed(base.c_str(), ret, "protocol", std::to_string(info.protocol));
  trace_typed(base.c_str(), ret, "link_speed", std::to_string(info.link_speed));
  trace_typed(base.c_str(), ret, "status", std::to_string(info.status));
  trace_typed(base.c_str(), ret, "model", info.model);
  trace_typed(base.c_str(), ret, "mv_bus_speed", std::to_string(info.mv_bus_speed));
  info.mv_bus_speed = type_value;
  if (!starts_with(info.model, "MV-") || info.protocol != SE_PROTOCOL_USB) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Internal Error!\n", "se_attach", __LINE__);
    return -1;
  }
  mcu_services().pic_sys_get_info_early(base.c_str());
  enc_id = se_lookup_id_in_persistent_mapping(&info);
  if (enc_id < 0) se_get_id(base.c_str(), &enc_id, &info);
  if (se_write_conf(enc_id, &info) == 0)
    ERR_TRACE(HAL_TRACE_INFO,
              "%s(%d): update config file done for a specific enclosure %s enc_id = %d\n",
              "se_attach", __LINE__, base.c_str(), enc_id);
  else
    ERR_TRACE(HAL_TRACE_ERROR,
              "%s(%d): update config file failed for a specific enclosure %s enc_id = %d\n",
              "se_attach", __LINE__, base.c_str(), enc_id);
  return 0;
}

void after_write(const SE_ENC_INFO& info, int enc_id) {
  if (info.protocol == SE_PROTOCOL_SAS || info.protocol == SE_PROTOCOL_TBT)
    board_services().se_sys_set_7_segment_led(info.enc_sys_id, enc_id);
  if (info.protocol == SE_PROTOCOL_MVS) hzr_link_all_ext_ports();
}

int attach(const char* enc_sys_id, int notify, const char* dir, int depth) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s(%s) entering...\n", "se_attach", enc_sys_id);
  if (std::strstr(enc_sys_id, "_type_") != nullptr) return attach_typed(enc_sys_id);
  SE_ENC_INFO info;
  std::memset(&info, 0, sizeof info);
  if ((se_lookup_id(enc_sys_id) >= 0 && dir == nullptr) || se_sys_getinfo(enc_sys_id, &info) < 0)
    return -1;
  const char* parent = info.enc_parent_sys_id;
  if (std::strncmp(parent, enc_sys_id, std::strlen(parent)) != 0 && se_lookup_id(parent) < 0) {
    if (depth < kMaxParentDepth)
      attach(parent, notify, dir, depth + 1);
    else
      ERR_TRACE(HAL_TRACE_ERROR, "%s: parent chain of %s is too deep\n", "se_attach", enc_sys_id);
  }
  int enc_id = se_choose_enc_id(&info, notify);
  int ret = -1;
  if (enc_id >= 0) {
    if (se_write_conf(enc_id, &info, dir) == 0) ret = disk_registry_link().scan(enc_id, dir);
    after_write(info, enc_id);
  }
  if (enc_id == 0) {
    board_services().prt_scan();
    board_services().fc_scan();
  }
  ERR_TRACE(HAL_TRACE_ENTRY, "%s(%s) with enc_id = %d leave.\n", "se_attach", enc_sys_id, enc_id);
  return ret;
}

bool usable_identity(const char* enc_sys_id, const char* func) {
  if (enc_sys_id != nullptr && valid_key_text(enc_sys_id) && std::strlen(enc_sys_id) < 64)
    return true;
  ERR_TRACE(HAL_TRACE_ERROR, "%s: enc_sys_id = %s is invalid!\n", func,
            enc_sys_id != nullptr ? enc_sys_id : "(null)");
  return false;
}

}  // namespace

int se_attach(const char* enc_sys_id, int notify, const char* dir) {
  if (!usable_identity(enc_sys_id, __func__)) return -1;
  return attach(enc_sys_id, notify, dir, 0);
}

}  // namespace bayhal

using namespace bayhal;

BAYHAL_EXPORT int SE_Sys_Attach(const char* enc_sys_id, int notify) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%s, %d).\n", __func__,
            enc_sys_id != nullptr ? enc_sys_id : "(null)", notify);
  if (!usable_identity(enc_sys_id, __func__)) return -1;
  int ret = se_attach(enc_sys_id, notify, nullptr);
  if (ret < 0) return ret;
  std::string cmd = udev_tag(enc_sys_id, "enc");
  ERR_TRACE(HAL_TRACE_INFO, "%s(%d):enc_sys_id = %s attach, run udevadm = %s\n", __func__,
            __LINE__, enc_sys_id, cmd.c_str());
  return 0;
} BAYHAL_C_BOUNDARY(-1)
