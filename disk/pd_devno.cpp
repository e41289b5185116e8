// Device numbers and names of registered disks: the kernel's block-device table (through
// the disk back-end) names the device, the store says which disk it is.
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_fields.h"
#include "disk/pd_query.h"
#include "disk/pd_wwn.h"
#include "disk_sys/disk_backend.h"
#include "enc_sys/enc_kind.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

namespace bayhal::disk {

// The registered disk with that device name: 0 with its address, or -1.
int find_by_dev_name(std::string_view dev_name, int* enc_id, int* port_id) {
  std::string_view base = dev_name.substr(0, 5) == "/dev/" ? dev_name.substr(5) : dev_name;
  if (!usable_key_text(base)) return -1;
  for (int id : enc_registered_ids()) {
    auto port = get_number(store_file(id), kIndex, sysid_key(base).c_str());
    if (port && *port >= 0) {
      *enc_id = id;
      *port_id = static_cast<int>(*port);
      return 0;
    }
  }
  return -1;
}

// The registered disk of a device number, read from the device itself.
int device_info_by_dev_no(int major, int minor, PD_INFO* info, std::string* enc_sys_id) {
  std::string name = disk_backend().dev_name(major, minor);
  int enc_id = -1;
  int port_id = -1;
  if (name.empty() || find_by_dev_name(name, &enc_id, &port_id) != 0) return -1;
  std::string enc = enc_sys_id_of(enc_id);
  if (enc_sys_id != nullptr) *enc_sys_id = enc;
  if (info == nullptr) return 0;
  char id[PD_NAME_LEN] = {};
  if (disk_backend().sys_id_by_sys_name(name.c_str(), id, sizeof id) != 0) return -1;
  id[sizeof id - 1] = '\0';
  *info = PD_INFO{};
  return disk_backend().getinfo(enc.c_str(), id, info) == 0 ? 0 : -1;
}

}  // namespace bayhal::disk

namespace {

int copy_out(const std::string& text, char* buf, int size) {
  if (!bayhal::disk::usable_buffer(buf, size)) return -1;
  std::snprintf(buf, static_cast<size_t>(size), "%s", text.c_str());
  return 0;
}

}  // namespace

BAYHAL_EXPORT int PD_Get_Sys_Name_By_Dev_No(int major, int minor, char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, major, minor);
  if (bayhal::disk::usable_buffer(buf, size)) buf[0] = '\0';
  std::string name = bayhal::disk_backend().dev_name(major, minor);
  return name.empty() ? -1 : copy_out(name, buf, size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Dev_No_By_Sys_Name(const char* sys_name, int* major, int* minor) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%s).\n", __func__,
            sys_name != nullptr ? sys_name : "(null)");
  if (sys_name == nullptr || major == nullptr || minor == nullptr) return -1;
  return bayhal::disk_backend().dev_no(sys_name, major, minor) ? 0 : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Dev_No_By_Id(int enc_id, int port_id, int* major, int* minor) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  char name[PD_NAME_LEN];
  if (major == nullptr || minor == nullptr || PD_Get_Sys_Name(enc_id, port_id, name, sizeof name) <= 0)
    return -1;
  return bayhal::disk_backend().dev_no(name, major, minor) ? 0 : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Id_By_Dev_No(int major, int minor, int* enc_id, int* port_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, major, minor);
  if (enc_id == nullptr || port_id == nullptr) return -1;
  std::string name = bayhal::disk_backend().dev_name(major, minor);
  return name.empty() ? -1 : bayhal::disk::find_by_dev_name(name, enc_id, port_id);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Serial_No_By_Dev_No(int major, int minor, char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, major, minor);
  if (bayhal::disk::usable_buffer(buf, size)) buf[0] = '\0';
  PD_INFO info{};
  if (bayhal::disk::device_info_by_dev_no(major, minor, &info, nullptr) != 0) return -1;
  return copy_out(std::string(bayhal::disk::text_of(info.serial_no)), buf, size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_WWN_By_Dev_No(int major, int minor, char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, major, minor);
  if (bayhal::disk::usable_buffer(buf, size)) buf[0] = '\0';
  PD_INFO info{};
  if (bayhal::disk::device_info_by_dev_no(major, minor, &info, nullptr) != 0) return -1;
  std::string wwn = bayhal::disk::pd_real_wwn(info);
  return wwn.empty() ? -1 : copy_out(wwn, buf, size);
} BAYHAL_C_BOUNDARY(-1)

namespace {

// 1 when the disk with this device number is in an enclosure of one of `kinds`.
int enc_of_dev_no_is(int major, int minor, std::initializer_list<bayhal::EncKind> kinds) {
  std::string enc;
  if (bayhal::disk::device_info_by_dev_no(major, minor, nullptr, &enc) != 0) return 0;
  for (bayhal::EncKind k : kinds)
    if (bayhal::enc_is(enc, k)) return 1;
  return 0;
}

}  // namespace

BAYHAL_EXPORT int PD_Is_In_Root_By_Dev_No(int major, int minor) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, major, minor);
  return enc_of_dev_no_is(major, minor, {bayhal::EncKind::kRoot});
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_Is_In_Root_Cache_By_Dev_No(int major, int minor) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, major, minor);
  return enc_of_dev_no_is(major, minor, {bayhal::EncKind::kCache});
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_Is_In_Root_PCIe_By_Dev_No(int major, int minor) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, major, minor);
  return enc_of_dev_no_is(major, minor, {bayhal::EncKind::kPcieSlot, bayhal::EncKind::kZmc});
} BAYHAL_C_BOUNDARY(0)
