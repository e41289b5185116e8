// Key readers of the SE_* interface: answers from an enclosure's hal.conf section.
#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "board/board_services.h"
#include "enclosure/disk_registry_link.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_store.h"

using namespace bayhal;

namespace {

void entry(const char* func, int enc_id) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", func, enc_id);
}

template <typename T>
int get_number(int enc_id, const char* key, bool hex, T* out) {
  if (out == nullptr) return -1;
  auto v = enc_get_int(enc_id, key, hex);
  if (!v) return -1;
  *out = static_cast<T>(*v);
  return 0;
}

int get_text(int enc_id, const char* key, char* buf, int size) {
  if (buf == nullptr || size < 1) return -1;
  return Ini_Conf_Get_Field(kHalConf, enc_section(enc_id).c_str(), key, buf, size) > 0 ? 0 : -1;
}

// A count that is simply 0 when the enclosure does not say.
int count_or_zero(int enc_id, const char* key) {
  return static_cast<int>(enc_get_int(enc_id, key).value_or(0));
}

}  // namespace

BAYHAL_EXPORT int SE_Get_Capability(int enc_id, uint32_t* cap) try {
  entry(__func__, enc_id);
  return get_number(enc_id, "capability", true, cap);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Ext_Capability(int enc_id, uint32_t* cap) try {
  entry(__func__, enc_id);
  return get_number(enc_id, "extended_capability", true, cap);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Parent_Sys_Id(int enc_id, char* buf, int size) try {
  entry(__func__, enc_id);
  return get_text(enc_id, "enc_parent_sys_id", buf, size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Parent_Port_Id(int enc_id, int* port) try {
  entry(__func__, enc_id);
  return get_number(enc_id, "enc_parent_port_id", false, port);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_PD_Port_Num(int enc_id) try {
  entry(__func__, enc_id);
  auto v = enc_get_int(enc_id, "max_disk_num");
  if (!v) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: get enc %d %s = %d!\n", __func__, enc_id, "max_disk_num", 0);
    return 0;
  }
  return static_cast<int>(*v);
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Get_TEMP_Num(int enc_id) try {
  entry(__func__, enc_id);
  return count_or_zero(enc_id, "max_temp_num");
} BAYHAL_C_BOUNDARY(0)
BAYHAL_EXPORT int SE_Get_FAN_Num(int enc_id) try {
  entry(__func__, enc_id);
  return count_or_zero(enc_id, "max_fan_num");
} BAYHAL_C_BOUNDARY(0)
BAYHAL_EXPORT int SE_Get_CPU_FAN_Num(int enc_id) try {
  entry(__func__, enc_id);
  return count_or_zero(enc_id, "max_cpu_fan_num");
} BAYHAL_C_BOUNDARY(0)
BAYHAL_EXPORT int SE_Get_Factory_CPU_FAN_Count(int enc_id) try {
  entry(__func__, enc_id);
  return count_or_zero(enc_id, "factory_cpu_fan_count");
} BAYHAL_C_BOUNDARY(0)
BAYHAL_EXPORT int SE_Get_Extran_FAN_Region_Num(int enc_id) try {
  entry(__func__, enc_id);
  return count_or_zero(enc_id, "max_sys_extra_region_count");
} BAYHAL_C_BOUNDARY(0)

// The CPU fans a unit runs with: its default count, or the count it shipped with when no
// default is recorded.
BAYHAL_EXPORT int SE_Get_Default_CPU_FAN_Count(int enc_id) try {
  entry(__func__, enc_id);
  int def = count_or_zero(enc_id, "default_cpu_fan_count");
  return def > 0 ? def : count_or_zero(enc_id, "factory_cpu_fan_count");
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Get_Cacheable_Port_Bitmap(int enc_id, uint32_t* bitmap) try {
  entry(__func__, enc_id);
  return get_number(enc_id, "cache_port_bitmap", true, bitmap);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Model(int enc_id, char* buf, int size) try {
  entry(__func__, enc_id);
  return get_text(enc_id, "model", buf, size);
} BAYHAL_C_BOUNDARY(-1)

// The stored "wwn" text: upper-case hexadecimal digits or the unit's own WWN text.
BAYHAL_EXPORT int SE_Get_WWN(int enc_id, char* buf, int size) try {
  entry(__func__, enc_id);
  return get_text(enc_id, "wwn", buf, size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_Serial_No(int enc_id, char* buf, int size) try {
  entry(__func__, enc_id);
  if (buf == nullptr || size < 1) return -1;
  std::memset(buf, 0, static_cast<size_t>(size));
  auto s = ini::read_section(kHalConf, enc_section(enc_id));
  if (!s || s->find("enc_id") == nullptr) return -1;
  if (s->get_text("serial", buf, static_cast<size_t>(size))) return 0;
  return board_services().se_sys_get_board_sn(buf, size);
} BAYHAL_C_BOUNDARY(-1)

// The appliance's serial also lives on its board; other units keep it only in the store.
BAYHAL_EXPORT int SE_Set_Serial_No(int enc_id, const char* serial) try {
  entry(__func__, enc_id);
  if (serial == nullptr || enc_set_text(__func__, enc_id, "serial", serial) != 0) return -1;
  if (enc_id == 0 && board_services().se_sys_set_board_sn(serial) < 0) return -1;
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Is_Exist(int enc_id) try {
  entry(__func__, enc_id);
  if (enc_get_int(enc_id, "enc_id")) return 1;
  ERR_TRACE(HAL_TRACE_DEVICE, "%s: can't retrieve %s value!\n", __func__, "enc_id");
  return 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int SE_Get_Id_By_Sys_Id(const char* enc_sys_id, int* enc_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with enc_sys_id(%s).\n", __func__,
            enc_sys_id != nullptr ? enc_sys_id : "(null)");
  if (enc_id == nullptr) return -1;
  int id = se_lookup_id(enc_sys_id);
  *enc_id = id;
  return id < 0 ? -1 : 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_PD_Num(int enc_id) try {
  entry(__func__, enc_id);
  auto index = ini::read_section(enc_disk_conf(enc_id), kIndex);
  if (!index) return 0;
  unsigned ports = bitmap_low32(index->find("pd_bitmap"));
  int count = 0;
  for (int port = 0; port < 32; ++port) {
    if (((ports >> port) & 1u) == 0) continue;
    int dev_id = 0;
    if (disk_registry_link().dev_id_of_port(enc_id, port, &dev_id) == 0 && dev_id < 0) {
      std::string key = "pd" + std::to_string(port) + "_member_bitmap";
      count += Ini_Conf_Bitmap_Get_Set_Count(enc_disk_conf(enc_id).c_str(), kIndex, key.c_str());
    } else {
      ++count;
    }
  }
  return count;
} BAYHAL_C_BOUNDARY(0)
