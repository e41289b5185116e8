// The PD_SMART_* calls on the per-disk caches.
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/smart_cache.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"

namespace bayhal::disk {
namespace {

void entry(const char* fn, int enc_id, int port_id) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", fn, enc_id, port_id);
}

std::string identity_of(const PD_INFO& pd) {
  auto text = [](const char* f, size_t n) { return std::string(f, strnlen(f, n)); };
  return text(pd.vendor, sizeof pd.vendor) + " " + text(pd.model, sizeof pd.model) + " " +
         text(pd.serial_no, sizeof pd.serial_no);
}

const PD_SMART_ENTRY* power_on_entry(const PD_SMART_INFO& info) {
  for (int k = 0; k < info.count; ++k) {
    const PD_SMART_ENTRY& e = info.attrs[k];
    if (info.type == PD_SMART_TYPE_ATA ? e.id == 9 : std::strcmp(e.name, "Power On Hours") == 0)
      return &e;
  }
  return nullptr;
}

}  // namespace
}  // namespace bayhal::disk

using bayhal::SmartInfoPtr;
using bayhal::disk::smart_cache_read;

BAYHAL_EXPORT int PD_SMART_Read_Info(int enc_id, int port_id, PD_SMART_INFO** out) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  if (out == nullptr) return -1;
  *out = nullptr;
  SmartInfoPtr info;
  int rc = smart_cache_read(__func__, enc_id, port_id, info);
  if (rc == 0) *out = info.release();
  return rc;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Write_Info(int enc_id, int port_id, const PD_SMART_INFO* info) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  if (info == nullptr) return -1;
  return bayhal::disk::smart_cache_write(__func__, enc_id, port_id, *info);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Clear_Info(int enc_id, int port_id) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  char name[64];
  std::snprintf(name, sizeof name, "/tmp/smart/smart_%d_%d.info", enc_id, port_id);
  std::string path = bayhal::sys_path(name);
  return ::unlink(path.c_str()) == 0 || errno == ENOENT ? 0 : -1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Get_Power_On_Hours(int enc_id, int port_id, unsigned long long* hours) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  SmartInfoPtr info;
  if (hours == nullptr || smart_cache_read(__func__, enc_id, port_id, info) != 0) return -1;
  if (info->type != PD_SMART_TYPE_ATA && info->type != PD_SMART_TYPE_SAS &&
      info->type != PD_SMART_TYPE_NVME)
    return -1;
  const PD_SMART_ENTRY* e = bayhal::disk::power_on_entry(*info);
  if (e == nullptr) return -1;
  *hours = e->raw;
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Get_Current_Notify_Event(int enc_id, int port_id, int* event) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  SmartInfoPtr info;
  if (event == nullptr) return -1;
  int rc = smart_cache_read(__func__, enc_id, port_id, info);
  if (rc == 0) *event = info->notify_event;
  return rc;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Set_Current_Notify_Event(int enc_id, int port_id, int event) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  return bayhal::disk::smart_cache_update(__func__, enc_id, port_id,
                                          [event](PD_SMART_INFO& i) { i.notify_event = event; });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Is_Error(int enc_id, int port_id) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  SmartInfoPtr info;
  return smart_cache_read(__func__, enc_id, port_id, info) == 0 &&
                 info->verdict == PD_SMART_VERDICT_ERROR
             ? 1
             : 0;
} BAYHAL_C_BOUNDARY(0)

BAYHAL_EXPORT int PD_SMART_Get_Summary(int enc_id, int port_id, PD_SMART_SUMMARY* summary) try {
  bayhal::disk::entry(__func__, enc_id, port_id);
  if (summary == nullptr) return -1;
  SmartInfoPtr info;
  int rc = smart_cache_read(__func__, enc_id, port_id, info);
  if (rc != 0) return rc;
  PD_INFO pd{};
  if (PD_Get_Info(enc_id, port_id, &pd) != 0) return -1;
  *summary = PD_SMART_SUMMARY{};
  summary->port_id = port_id;
  // Cut to the summary's 64 bytes.
  std::string identity = bayhal::disk::identity_of(pd);
  std::snprintf(summary->identity, sizeof summary->identity, "%s", identity.c_str());
  summary->temperature = info->temperature;
  summary->capacity_gb = pd.capacity * pd.sector_size / 1000000000LL;
  PD_SMART_Get_Last_Test_Type(enc_id, port_id, &summary->last_test_type);
  PD_SMART_Get_Last_Test_Time(enc_id, port_id, &summary->last_test_time);
  summary->verdict = info->verdict;
  summary->test_status = info->test_status;
  return 0;
} BAYHAL_C_BOUNDARY(-1)
