// Fan and temperature regions of an enclosure.
#include <algorithm>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/SE.h"
#include "board/board_services.h"
#include "enclosure/enc_conf.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_store.h"

using namespace bayhal;

namespace {

std::string region_key(int n) { return "region" + std::to_string(n) + "_max_fan_num"; }

// The first fan of each region in the board's fan index space.
constexpr int kRegionFirstFan[] = {0, 6, 20, 30};

const char* stepping_key(int region, std::string& scratch) {
  if (region == 0) return "FAN speed";
  if (region == 1) return "CPU FAN speed";
  scratch = "Region" + std::to_string(region - 1) + " FAN speed";
  return scratch.c_str();
}

}  // namespace

BAYHAL_EXPORT int SE_Get_FAN_Region_Enum(int enc_id, int* regions, int* count) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  if (regions == nullptr || count == nullptr) return -1;
  auto s = ini::read_section(kHalConf, enc_section(enc_id));
  if (!s) return -1;
  int n = 0;
  if (s->get_int("max_fan_num").value_or(0) >= 1) regions[n++] = 0;
  if (s->get_int("max_cpu_fan_num").value_or(0) >= 1) regions[n++] = 1;
  // The record holds two extra regions, whatever a hand-edited count says.
  long long extra = std::min<long long>(s->get_int("max_sys_extra_region_count").value_or(0),
                                        SE_MAX_EXTRA_FAN_REGION);
  // Deliberately one step past the count: the key after the last region is read as well.
  for (long long k = 0; extra > 0 && k <= extra; ++k)
    if (s->get_int(region_key(static_cast<int>(k + 1))).value_or(0) >= 1)
      regions[n++] = static_cast<int>(k + 2);
  *count = n;
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_FAN_Region_FAN_Count(int enc_id, int region) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, region);
  std::string key = region_key(region);
  auto v = enc_get_int(enc_id, key.c_str());
  if (!v) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: get enc %d %s = %d!\n", __func__, enc_id, key.c_str(), 0);
    return 0;
  }
  return static_cast<int>(*v);
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Get_FAN_Region_Name(int enc_id, int region, char* name, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, region);
  if (enc_id != 0 || name == nullptr || size < 1) return -1;
  int type = 0;
  return board_services().se_sys_get_fan_region_name_id(region, name, size, &type);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_FAN_Region_Type(int enc_id, int region, int* type) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, region);
  if (enc_id != 0 || type == nullptr) return -1;
  char name[64];
  return board_services().se_sys_get_fan_region_name_id(region, name, sizeof name, type);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Temp_Region_Num(int enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  if (enc_id != 0) return 0;
  int count = 0;
  return board_services().hal_mb_is_temp_region_support(&count) == 1 ? count : 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Temp_Region_Enum(int enc_id, int* regions, int* count) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, enc_id);
  if (regions == nullptr || count == nullptr) return -1;
  int n = SE_Get_Temp_Region_Num(enc_id);
  if (n > SE_MAX_TEMP_REGIONS) n = SE_MAX_TEMP_REGIONS;
  for (int k = 1; k <= n; ++k) {
    std::string section = "System Temp Region " + std::to_string(k);
    if (conf_get_text(kModelConf, section.c_str(), "REGION_NAME")) regions[k - 1] = k;
  }
  *count = n;
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_FAN_Region_Stepping(int enc_id, int region, int* percent) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, region);
  if (enc_id != 0 || region < 0 || region > 3 || percent == nullptr) return -1;
  std::string scratch;
  *percent = static_cast<int>(
      conf_get_int(kSysdefConf, "MISC", stepping_key(region, scratch)).value_or(20));
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Set_FAN_Region_Stepping(int enc_id, int region, int percent) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d, %d).\n", __func__, enc_id, region,
            percent);
  if (enc_id != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): enc_id %d.\n", __func__, __LINE__, enc_id);
    return -1;
  }
  if (percent < 1 || percent > 100) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Error stepping %d.\n", __func__, __LINE__, percent);
    return -1;
  }
  if (region < 0 || region > 3) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Error region %d.\n", __func__, __LINE__, region);
    return -1;
  }
  int min_pwm = 0, max_pwm = 0;
  if (board_services().se_sys_get_fan_pwm_min_max(region, &min_pwm, &max_pwm) < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Fail to obtain the min-max pwm.\n", __func__, __LINE__);
    return -1;
  }
  if (max_pwm < min_pwm) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): Error min pwm %d, max pwm %d.\n", __func__, __LINE__,
              min_pwm, max_pwm);
    return -1;
  }
  int pwm = min_pwm + percent * (max_pwm - min_pwm) / 100;
  return board_services().hm_set_fan_speed_by_pwm(0, kRegionFirstFan[region], pwm);
} BAYHAL_C_BOUNDARY(-1)
