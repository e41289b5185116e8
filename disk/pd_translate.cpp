// Translations between the names by which the system knows a disk: (enclosure, port),
// pd_sys_id, the block device name and the WWN.
#include <cstring>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/enc_access.h"
#include "disk/pd_query.h"
#include "disk_sys/disk_backend.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

namespace bayhal::disk {

int port_by_index_key(const std::string& file, std::string_view name) {
  if (!usable_key_text(name)) return -1;
  auto v = get_number(file, kIndex, sysid_key(name).c_str());
  return v && *v >= 0 ? static_cast<int>(*v) : -1;
}

// pd_sys_id of a block device name through discovery; empty when unknown.
std::string sys_id_of_name(const char* sys_name) {
  char id[PD_NAME_LEN] = {};
  if (sys_name == nullptr || disk_backend().sys_id_by_sys_name(sys_name, id, sizeof id) != 0)
    return {};
  id[sizeof id - 1] = '\0';
  return id;
}

std::string_view without_dev(std::string_view name) {
  return name.substr(0, 5) == "/dev/" ? name.substr(5) : name;
}

}  // namespace bayhal::disk

using bayhal::disk::history_file;
using bayhal::disk::port_by_index_key;
using bayhal::disk::store_file;

BAYHAL_EXPORT int PD_Get_Id_By_Sys_Id(int enc_id, const char* pd_sys_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %s).\n", __func__, enc_id,
            pd_sys_id != nullptr ? pd_sys_id : "(null)");
  if (enc_id < 0 || pd_sys_id == nullptr) return -1;
  return port_by_index_key(store_file(enc_id), pd_sys_id);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Id_By_Sys_Id_From_History(int enc_id, const char* pd_sys_id) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %s).\n", __func__, enc_id,
            pd_sys_id != nullptr ? pd_sys_id : "(null)");
  if (enc_id < 0 || pd_sys_id == nullptr) return -1;
  return port_by_index_key(history_file(enc_id), pd_sys_id);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Sys_Id_By_Port_Id(int enc_id, int port_id, char* buf, int size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  if (bayhal::disk::usable_buffer(buf, size)) buf[0] = '\0';
  if (enc_id < 0 || port_id < 0) return -1;
  return bayhal::disk::get_text(store_file(enc_id), bayhal::disk::section_for(port_id),
                                "pd_sys_id", buf, size);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Id_By_Sys_Name(int enc_id, const char* sys_name) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %s).\n", __func__, enc_id,
            sys_name != nullptr ? sys_name : "(null)");
  std::string id = bayhal::disk::sys_id_of_name(sys_name);
  return id.empty() ? -1 : PD_Get_Id_By_Sys_Id(enc_id, id.c_str());
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Id_By_Sys_Name_From_History(int enc_id, const char* sys_name) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %s).\n", __func__, enc_id,
            sys_name != nullptr ? sys_name : "(null)");
  std::string id = bayhal::disk::sys_id_of_name(sys_name);
  return id.empty() ? -1 : PD_Get_Id_By_Sys_Id_From_History(enc_id, id.c_str());
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Id_By_Enc_Conf(int enc_id, const char* dev_name) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %s).\n", __func__, enc_id,
            dev_name != nullptr ? dev_name : "(null)");
  if (enc_id < 0 || dev_name == nullptr) return -1;
  std::string_view name = bayhal::disk::without_dev(dev_name);
  int port = port_by_index_key(store_file(enc_id), name);
  return port >= 0 ? port : port_by_index_key(history_file(enc_id), name);
} BAYHAL_C_BOUNDARY(-1)

namespace {

int name_by_wwn(const char* fn, const char* wwn, char* buf, int size,
                int (*getter)(int, int, char*, int)) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%s).\n", fn, wwn != nullptr ? wwn : "(null)");
  if (!bayhal::disk::usable_buffer(buf, size)) return -1;
  buf[0] = '\0';
  int enc_id = -1;
  int port_id = -1;
  if (wwn == nullptr || !bayhal::disk::usable_key_text(wwn) ||
      bayhal::disk::enc_read_pd_wwn_index(wwn, &enc_id, &port_id) != 0)
    return -1;
  return getter(enc_id, port_id, buf, size) >= 0 ? 0 : -1;
}

}  // namespace

BAYHAL_EXPORT int PD_Get_Sys_Name_By_WWN(const char* wwn, char* buf, int size) try {
  return name_by_wwn(__func__, wwn, buf, size, PD_Get_Sys_Name);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Get_Ctrl_Name_By_WWN(const char* wwn, char* buf, int size) try {
  return name_by_wwn(__func__, wwn, buf, size, PD_Get_Ctrl_Name);
} BAYHAL_C_BOUNDARY(-1)
