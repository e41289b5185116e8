// Measured speeds as people read them. The performance code stores KB/sec as a number, or
// "none" (never measured) / "fail" (the measurement failed), which are shown as they are.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/disk_store.h"
#include "disk/pd_query.h"
#include "disk/pd_speed.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

namespace bayhal::disk {

std::string speed_text(std::string_view stored) {
  std::string text(stored);
  char* end = nullptr;
  long long kb = std::strtoll(text.c_str(), &end, 10);
  if (text.empty() || end == text.c_str() || *end != '\0' || kb < 0) return text;
  char buf[48];
  if (kb < 1024)
    std::snprintf(buf, sizeof buf, "%lld KB/sec", kb);
  else if (kb < 1024LL * 1024)
    std::snprintf(buf, sizeof buf, "%.1f MB/sec", static_cast<double>(kb) / 1024.0);
  else
    std::snprintf(buf, sizeof buf, "%.2f GB/sec", static_cast<double>(kb) / (1024.0 * 1024.0));
  return buf;
}

}  // namespace bayhal::disk

namespace {

int perf_getter(const char* fn, int enc_id, int port_id, const char* key, bool speed, char* buf,
                int size) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", fn, enc_id, port_id);
  if (!bayhal::disk::usable_buffer(buf, size)) return -1;
  buf[0] = '\0';
  if (enc_id < 0 || port_id < 0) return -1;
  char stored[64];
  if (bayhal::disk::get_text(bayhal::disk::store_file(enc_id), bayhal::disk::section_for(port_id),
                             key, stored, sizeof stored) < 0)
    return -1;
  std::string text = speed ? bayhal::disk::speed_text(stored) : std::string(stored);
  std::snprintf(buf, static_cast<size_t>(size), "%s", text.c_str());
  return static_cast<int>(std::strlen(buf));
}

}  // namespace

BAYHAL_EXPORT int PD_Get_Read_Speed(int enc_id, int port_id, char* buf, int size) try {
  return perf_getter(__func__, enc_id, port_id, "read_speed", true, buf, size);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_Write_Speed(int enc_id, int port_id, char* buf, int size) try {
  return perf_getter(__func__, enc_id, port_id, "write_speed", true, buf, size);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_Read_IOPS(int enc_id, int port_id, char* buf, int size) try {
  return perf_getter(__func__, enc_id, port_id, "read_iops", false, buf, size);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int PD_Get_Write_IOPS(int enc_id, int port_id, char* buf, int size) try {
  return perf_getter(__func__, enc_id, port_id, "write_iops", false, buf, size);
} BAYHAL_C_BOUNDARY(-1)
