// PD_Set_ATA_IO_Latency: which disks get a command-timeout latency, and which one.
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/pd_fields.h"
#include "disk_sys/disk_backend.h"
#include "enc_sys/enc_kind.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"

namespace {

constexpr int kSsdLatency = 300;
constexpr int kHddLatency = 1000;

}  // namespace

BAYHAL_EXPORT int PD_Set_ATA_IO_Latency(const PD_INFO* info) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%.*s).\n", __func__,
            info != nullptr ? static_cast<int>(sizeof info->pd_sys_name) : 6,
            info != nullptr ? info->pd_sys_name : "(null)");
  if (info == nullptr || info->type != PD_TYPE_ATA) return -1;
  std::string_view model = bayhal::disk::text_of(info->model);
  std::string enc(bayhal::disk::text_of(info->enc_sys_id));
  std::string sys_name(bayhal::disk::text_of(info->pd_sys_name));
  if (model.substr(0, 4) == "BKT-") {
    ERR_TRACE(HAL_TRACE_WARN, "%s: %s not support BKT \n", __func__, sys_name.c_str());
    return -1;
  }
  if (bayhal::enc_is(enc, bayhal::EncKind::kPx)) {
    ERR_TRACE(HAL_TRACE_WARN, "%s: %s not support PX \n", __func__, sys_name.c_str());
    return -1;
  }
  ERR_TRACE(HAL_TRACE_ENTRY, "set pd latency:(%s, %s)\n", enc.c_str(), sys_name.c_str());
  int latency = (info->capabilities & PD_CAP_SSD) ? kSsdLatency : kHddLatency;
  return bayhal::disk_backend().set_io_latency(sys_name.c_str(), latency);
} BAYHAL_C_BOUNDARY(-1)
