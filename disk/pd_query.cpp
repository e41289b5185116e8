// The one-key getters of the PD_* interface.
#include "disk/pd_query.h"

#include <cstring>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/pd_store.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

namespace bayhal::disk {

bool usable_buffer(const char* buf, int size) { return buf != nullptr && size > 0; }

std::string live_section(int port_id) { return section_for(port_id); }

int get_text(const std::string& file, const std::string& section, const char* key, char* buf,
             int size) {
  if (!usable_buffer(buf, size)) return -1;
  buf[0] = '\0';
  if (Ini_Conf_Get_Field(file.c_str(), section.c_str(), key, buf, size) <= 0) {
    buf[0] = '\0';
    return -1;
  }
  buf[size - 1] = '\0';
  return static_cast<int>(std::strlen(buf));
}

std::optional<long long> get_number(const std::string& file, const std::string& section,
                                    const char* key) {
  char buf[33];
  if (get_text(file, section, key, buf, sizeof buf) <= 0) return std::nullopt;
  char* end = nullptr;
  long long v = std::strtoll(buf, &end, 10);
  if (end == buf) return std::nullopt;
  return v;
}

}  // namespace bayhal::disk

namespace {

using bayhal::disk::get_number;
using bayhal::disk::get_text;
using bayhal::disk::history_file;
using bayhal::disk::physical_section;
using bayhal::disk::section_for;
using bayhal::disk::store_file;

bool bad_address(const char* fn, int enc_id, int port_id) {
  if (enc_id >= 0 && port_id >= 0) return false;
  ERR_TRACE(HAL_TRACE_ERROR, "%s: invalid (enc_id, port_id) = (%d, %d)!\n", fn, enc_id, port_id);
  return true;
}

int text_getter(const char* fn, int enc_id, int port_id, const char* key, char* buf, int size,
                bool physical_only = false) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", fn, enc_id, port_id);
  if (bayhal::disk::usable_buffer(buf, size)) buf[0] = '\0';
  if (bad_address(fn, enc_id, port_id)) return -1;
  std::string section = physical_only ? physical_section(port_id) : section_for(port_id);
  return get_text(store_file(enc_id), section, key, buf, size);
}

int int_getter(const char* fn, int enc_id, int port_id, const char* key, int* out) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", fn, enc_id, port_id);
  if (out == nullptr || bad_address(fn, enc_id, port_id)) return -1;
  auto v = get_number(store_file(enc_id), section_for(port_id), key);
  if (!v) return -1;
  *out = static_cast<int>(*v);
  return 0;
}

int capacity_of(const std::string& file, const std::string& section, long long* capacity,
                int* sector_size) {
  if (capacity == nullptr) return -1;
  auto cap = get_number(file, section, "capacity");
  if (!cap) return -1;
  *capacity = *cap;
  if (sector_size != nullptr) {
    auto ss = get_number(file, section, "sector_size");
    if (!ss) return -1;
    *sector_size = static_cast<int>(*ss);
  }
  return 0;
}

}  // namespace

BAYHAL_EXPORT int PD_Get_Info(int enc_id, int port_id, PD_INFO* info) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  if (info == nullptr || bad_address(__func__, enc_id, port_id)) return -1;
  return bayhal::pd_read_conf(enc_id, port_id, info);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Serial_No(int enc_id, int port_id, char* buf, int size) try {
  return text_getter(__func__, enc_id, port_id, "serial_no", buf, size);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_Vendor(int enc_id, int port_id, char* buf, int size) try {
  return text_getter(__func__, enc_id, port_id, "vendor", buf, size, true);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_Model(int enc_id, int port_id, char* buf, int size) try {
  return text_getter(__func__, enc_id, port_id, "model", buf, size);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_Sys_Name(int enc_id, int port_id, char* buf, int size) try {
  return text_getter(__func__, enc_id, port_id, "pd_sys_name", buf, size);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_WWN(int enc_id, int port_id, char* buf, int size) try {
  return text_getter(__func__, enc_id, port_id, "wwn", buf, size);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_Ctrl_Name(int enc_id, int port_id, char* buf, int size) try {
  return text_getter(__func__, enc_id, port_id, "pd_ctrl_name", buf, size, true);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_Bus_Name(int enc_id, int port_id, char* buf, int size) try {
  return text_getter(__func__, enc_id, port_id, "pd_bus_name", buf, size, true);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Sys_Name_From_History(int enc_id, int port_id, char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  if (bayhal::disk::usable_buffer(buf, size)) buf[0] = '\0';
  if (bad_address(__func__, enc_id, port_id)) return -1;
  return get_text(history_file(enc_id), section_for(port_id), "pd_sys_name", buf, size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Capacity(int enc_id, int port_id, long long* capacity,
                                  int* sector_size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  if (bad_address(__func__, enc_id, port_id)) return -1;
  return capacity_of(store_file(enc_id), section_for(port_id), capacity, sector_size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Link_Speed(int enc_id, int port_id, int* speed) try {
  return int_getter(__func__, enc_id, port_id, "link_speed", speed);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_Max_Link_Speed(int enc_id, int port_id, int* speed) try {
  return int_getter(__func__, enc_id, port_id, "max_link_speed", speed);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_PD_Max_Link_Speed(int enc_id, int port_id, int* speed) try {
  return int_getter(__func__, enc_id, port_id, "pd_max_link_speed", speed);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Is_Exist(int enc_id, int port_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  if (enc_id < 0 || port_id < 0) return 0;
  return get_number(store_file(enc_id), section_for(port_id), "port_id") ? 1 : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_Get_Boot_Disk_Serial_No(int number, char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, number);
  if (bayhal::disk::usable_buffer(buf, size)) buf[0] = '\0';
  if (number < 0) return -1;
  return get_text(bayhal::disk::kHalConf, bayhal::disk::boot_section(number), "serial_no",
                  buf, size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Boot_Disk_Capacity(int number, long long* capacity, int* sector_size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", __func__, number);
  if (number < 0) return -1;
  return capacity_of(bayhal::disk::kHalConf, bayhal::disk::boot_section(number), capacity,
                     sector_size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int VD_Is_Exist(int enc_id, int number) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, number);
  if (enc_id < 0 || number < 1 || number > PD_VIRTUAL_PORT_ID_MAX - PD_VIRTUAL_PORT_ID_BASE)
    return 0;
  return PD_Is_Exist(enc_id, number + PD_VIRTUAL_PORT_ID_BASE);
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int VD_Get_Info(int enc_id, int number, PD_INFO* info) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, number);
  if (info == nullptr || enc_id < 0 || number < 1 ||
      number > PD_VIRTUAL_PORT_ID_MAX - PD_VIRTUAL_PORT_ID_BASE)
    return -1;
  return bayhal::pd_read_conf(enc_id, number + PD_VIRTUAL_PORT_ID_BASE, info);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int VD_Get_WWN(int enc_id, int number, char* buf, int size) try {
  if (number < 1 || number > PD_VIRTUAL_PORT_ID_MAX - PD_VIRTUAL_PORT_ID_BASE) {
    // A number in range is traced by the getter, under its port id.
    ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, number);
    if (bayhal::disk::usable_buffer(buf, size)) buf[0] = '\0';
    return -1;
  }
  return text_getter(__func__, enc_id, number + PD_VIRTUAL_PORT_ID_BASE, "wwn", buf, size);
} BAYHAL_C_BOUNDARY(-1)
