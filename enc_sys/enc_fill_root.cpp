// The appliance's own enclosure record, from "System Enclosure" of the model description.
#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "board/board_services.h"
#include "enc_sys/enc_fill.h"
#include "enc_sys/enc_kind.h"
#include "ext_enclosure/ses_services.h"
#include "foundation/text.h"
#include "ini/conf_read.h"
#include "ini/ini_store.h"
#include "model/model_conf.h"
#include "model/model_keys.h"

namespace bayhal {
namespace {

template <typename T>
void set(T& field, const ini::Section& s, const char* key, long long fallback = 0,
         bool hex = false) {
  field = static_cast<T>(s.get_int(key, hex).value_or(fallback));
}

ini::Section section(const char* name) {
  auto s = ini::read_section(kModelConf, name);
  return s ? std::move(*s) : ini::Section{};
}

void fill_counts(const ini::Section& se, SE_ENC_INFO* info) {
  set(info->max_disk_num, se, "MAX_DISK_NUM");
  set(info->max_fan_num, se, "MAX_FAN_NUM");
  set(info->max_cpu_fan_num, se, "MAX_CPU_FAN_NUM");
  set(info->default_cpu_fan_count, se, "DEFAULT_CPU_FAN_COUNT");
  set(info->factory_cpu_fan_count, se, "FACTORY_CPU_FAN_COUNT");
  set(info->max_temp_num, se, "MAX_TEMP_NUM");
  info->max_pcie_num = model::max_pcie_slot();
  set(info->max_nic_num, se, "INTERNAL_NET_PORT_NUM");
  info->cache_port_bitmap = model::cacheable_bitmap(kSystemEnclosure);
  set(info->ss_max_channels, se, "SS_MAX_CHANNELS", -1);
  set(info->ss_free_channels, se, "SS_FREE_CHANNELS", -1);
  info->max_ujbod_num = -1;
  if (info->capabilities & SE_CAP_USB_JBOD) set(info->max_ujbod_num, se, "MAX_UJBOD_NUM", -1);
  set(info->max_cpu_num, se, "MAX_CPU_NUM", 1);
}

// Regions beyond the system-fan and CPU-fan regions are the extra ones; the record keeps two.
void fill_regions(SE_ENC_INFO* info) {
  set(info->max_fan_region, section("FAN Region"), "MAX_REGION_NUM");
  set(info->max_sys_temp_region, section("Temp Region"), "MAX_REGION_NUM");
  int extra = info->max_fan_region - (info->max_fan_num != 0) - (info->max_cpu_fan_num != 0);
  if (extra <= 0) return;
  info->max_sys_extra_region_count = extra;
  for (int r = 1; r <= extra && r <= SE_MAX_EXTRA_FAN_REGION; ++r)
    set(info->region_max_fan_num[r - 1], section(("System FAN Region " + std::to_string(r)).c_str()),
        "MAX_FAN_NUM");
}

// A SAS-attached appliance is also reached through its own SES device.
void fill_sas_attached(SE_ENC_INFO* info) {
  if (ses_services().se_sys_get_real_enc_sys_id(enc_kind_name(EncKind::kRoot), info->real_sys_id, sizeof info->real_sys_id) < 0)
    std::memset(info->real_sys_id, 0, sizeof info->real_sys_id);
  if (ses_services().pd_sys_get_bsg_name_by_sg(info->real_sys_id, info->bsg_name, sizeof info->bsg_name) < 0)
    std::memset(info->bsg_name, 0, sizeof info->bsg_name);
  std::memcpy(info->saved_real_sys_id, info->real_sys_id, sizeof info->real_sys_id);
  std::memcpy(info->saved_bsg_name, info->bsg_name, sizeof info->bsg_name);
  uint64_t address = 0;
  if (ses_services().se_sys_get_root_sas_address(info->real_sys_id, &address) == 0 && address != 0) {
    std::snprintf(info->wwn, sizeof info->wwn, "%llx", static_cast<unsigned long long>(address));
    info->sas_address = address;
  }
}

}  // namespace

int root_getinfo(const char* /*enc_sys_id*/, SE_ENC_INFO* info) {
  ini::Section se = section(kSystemEnclosure);
  info->enc_id = -1;
  copy_out(enc_kind_name(EncKind::kRoot), info->enc_sys_id, sizeof info->enc_sys_id);
  copy_out(enc_kind_name(EncKind::kRoot), info->enc_parent_sys_id, sizeof info->enc_parent_sys_id);
  se.get_text("VENDOR", info->vendor, sizeof info->vendor);
  // The display name the platform settled on; the description's own model name otherwise.
  if (auto name = conf_get_text("/etc/platform.conf", "MISC", "DISPLAY_NAME"))
    copy_out(*name, info->model, sizeof info->model);
  else
    se.get_text("MODEL", info->model, sizeof info->model);
  info->capabilities = model::system_cap();
  info->capabilities |= SE_CAP_INTERNAL;
  set(info->extended_capability, se, "CAP_EXT", 0, true);
  fill_counts(se, info);
  fill_regions(info);
  if (info->capabilities & SE_CAP_SAS_ATTACHED) fill_sas_attached(info);
  if ((info->capabilities & (SE_CAP_MCU | SE_CAP_PIC)) == 0 &&
      board_services().se_sys_get_board_sn(info->serial, sizeof info->serial) < 0)
    std::memset(info->serial, 0, sizeof info->serial);
  return 0;
}

}  // namespace bayhal
