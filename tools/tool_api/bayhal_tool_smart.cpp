// The private interface's SMART page decoding, for reading saved pages.
#include <cstdio>
#include <cstring>

#include "disk_sys/ata_identify.h"
#include "disk_sys/ata_smart.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "tools/tool_api/bayhal_tool.h"

namespace {

int decode(const unsigned char* data, int data_len, const unsigned char* thresholds,
           int thresholds_len, PD_SMART_ATTR* list, int size, BAYHAL_TOOL_SMART_PAGES* out) {
  using namespace bayhal;
  if (data == nullptr || thresholds == nullptr || list == nullptr || out == nullptr || size <= 0 ||
      data_len < static_cast<int>(kAtaSmartPageSize) ||
      thresholds_len < static_cast<int>(kAtaSmartPageSize))
    return -1;
  SmartReading r;
  if (!ata_smart_parse_pages(data, static_cast<size_t>(data_len), thresholds,
                             static_cast<size_t>(thresholds_len), size, 0, r))
    return -1;
  out->verdict = ata_smart_threshold_exceeded(r) ? 1 : 0;
  out->temperature = r.temperature;
  out->test_status = r.test_status;
  out->test_progress = r.test_progress;
  out->short_minutes = r.short_minutes;
  out->extended_minutes = r.extended_minutes;
  out->checksum_ok = r.checksum_ok;
  out->thresholds_checksum_ok = ata_smart_checksum_ok(thresholds, static_cast<size_t>(thresholds_len));
  std::memcpy(list, r.attrs.data(), r.attrs.size() * sizeof(PD_SMART_ATTR));
  return static_cast<int>(r.attrs.size());
}

int identity(const unsigned char* page, int len, BAYHAL_TOOL_ATA_IDENTITY* out) {
  bayhal::AtaIdentity id;
  if (page == nullptr || out == nullptr || len <= 0 ||
      !bayhal::ata_identify_parse(page, static_cast<size_t>(len), id))
    return -1;
  std::snprintf(out->model, sizeof out->model, "%s", id.model.c_str());
  std::snprintf(out->serial, sizeof out->serial, "%s", id.serial.c_str());
  std::snprintf(out->firmware, sizeof out->firmware, "%s", id.firmware.c_str());
  out->rotation = id.rotation_rate;
  return 0;
}

}  // namespace

BAYHAL_EXPORT int bayhal_tool_smart_decode(const unsigned char* data, int data_len,
                                         const unsigned char* thresholds, int thresholds_len,
                                         PD_SMART_ATTR* list, int size,
                                         BAYHAL_TOOL_SMART_PAGES* out) try {
  return decode(data, data_len, thresholds, thresholds_len, list, size, out);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int bayhal_tool_ata_identity(const unsigned char* page, int len,
                                         BAYHAL_TOOL_ATA_IDENTITY* out) try {
  return identity(page, len, out);
} BAYHAL_C_BOUNDARY(-1)
