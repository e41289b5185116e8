// Reading a disk's health by its type, without waking it: a rotating disk is asked its power
// mode first, and one in standby is not read (its cached reading is given instead and the
// read counted as skipped). Self-tests start here too.
#include <cstring>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "disk/smart_cache.h"
#include "disk/smart_settings.h"
#include "disk/smart_warning.h"
#include "disk_sys/disk_backend.h"
#include "enc_sys/enc_kind.h"
#include "foundation/clock.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/pending.h"

namespace bayhal::disk {
namespace {

// The SMART type of a disk record; -1 when it has none. Stores written before NVMe disks had
// their own type code hold them as type 0.
int smart_type_of(const PD_INFO& info) {
  if (std::string_view(info.pd_sys_id).starts_with("nvme")) return PD_SMART_TYPE_NVME;
  switch (info.type) {
    case PD_TYPE_ATA: return PD_SMART_TYPE_ATA;
    case PD_TYPE_SCSI: return PD_SMART_TYPE_SAS;
    case PD_TYPE_NVME: return PD_SMART_TYPE_NVME;
    // A USB disk is read when its bridge passes ATA commands.
    case PD_TYPE_USB: return (info.capabilities & PD_CAP_SMART_ATA) ? PD_SMART_TYPE_ATA : -1;
    default: return -1;
  }
}

bool rotating(const PD_INFO& info) { return !(info.capabilities & PD_CAP_SSD); }

int verdict_of(int reader_verdict) {
  return reader_verdict == 1   ? PD_SMART_VERDICT_ERROR
         : reader_verdict == 0 ? PD_SMART_VERDICT_GOOD
                               : PD_SMART_VERDICT_UNKNOWN;
}

// The cached reading, marked as found asleep once more.
int skip(const char* who, int enc_id, int port_id, SmartInfoPtr& out) {
  int rc = smart_cache_update(who, enc_id, port_id, [](PD_SMART_INFO& i) {
    i.state |= PD_SMART_STATE_STANDBY;
    ++i.skipped;
  });
  ERR_TRACE(HAL_TRACE_INFO, "%s: disk %d-%d is in standby: not read\n", who, enc_id, port_id);
  if (rc != 0) return rc;
  return smart_cache_read(who, enc_id, port_id, out);
}

struct Live {
  PD_INFO info{};
  int type = -1;
  std::string enc_sys_id;
};

// The disk's record and type, the enclosure's identity.
bool find_disk(const char* who, int enc_id, int port_id, Live& d) {
  if (PD_Get_Info(enc_id, port_id, &d.info) != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no disk %d-%d\n", who, enc_id, port_id);
    return false;
  }
  d.type = smart_type_of(d.info);
  d.enc_sys_id = d.info.enc_sys_id;
  return true;
}

// 0 and a reading of the disk; 1 when it sleeps (`cached` then holds what the cache has,
// or the result is -2); -1 when it cannot be read.
int read_awake(const char* who, int enc_id, int port_id, const Live& d, int type, int size,
               SmartReading& r, SmartInfoPtr& cached) {
  if (rotating(d.info) && disk_backend().power_mode(type, d.info.pd_sys_id) == 0) {
    int rc = skip(who, enc_id, port_id, cached);
    return rc == 0 ? 1 : rc;
  }
  // The RAID enclosures' disks are reached only through their controller's library.
  if (type == PD_SMART_TYPE_ATA && enc_is(d.enc_sys_id, EncKind::kPx))
    return not_implemented(who, __LINE__, d.enc_sys_id.c_str());
  return disk_backend().health_read(type, d.enc_sys_id.c_str(), d.info.pd_sys_id, size, r) == 0 ? 0 : -1;
}

// PD_SMART_Get_*_Info: the reader of one type into the caller's outputs.
struct Outputs {
  int* verdict;
  PD_SMART_ATTR* list;
  int size;
  int *test_status, *test_progress, *short_minutes, *extended_minutes;
};

void fill(const Outputs& o, const SmartReading& r) {
  if (o.verdict) *o.verdict = r.verdict;
  size_t n = r.attrs.size() < static_cast<size_t>(o.size) ? r.attrs.size() : static_cast<size_t>(o.size);
  if (n) std::memcpy(o.list, r.attrs.data(), n * sizeof(PD_SMART_ATTR));
  if (o.test_status) *o.test_status = r.test_status;
  if (o.test_progress) *o.test_progress = r.test_progress;
  if (o.short_minutes) *o.short_minutes = r.short_minutes;
  if (o.extended_minutes) *o.extended_minutes = r.extended_minutes;
}

// A cached reading in the readers' form.
SmartReading from_cache(const PD_SMART_INFO& c) {
  SmartReading r;
  r.type = c.type;
  r.verdict = c.verdict == PD_SMART_VERDICT_ERROR ? 1 : c.verdict == PD_SMART_VERDICT_UNKNOWN ? -1 : 0;
  r.temperature = c.temperature;
  r.test_status = c.test_status;
  r.test_progress = c.test_progress;
  r.short_minutes = c.short_minutes;
  r.extended_minutes = c.extended_minutes;
  for (int k = 0; k < c.count; ++k) {
    const PD_SMART_ENTRY& e = c.attrs[k];
    r.add(e.id, e.name, e.raw, e.value, e.worst, e.threshold, e.flags);
  }
  return r;
}

int get_info(const char* who, int type, int enc_id, int port_id, const Outputs& o) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d, %p, %d).\n", who, enc_id, port_id,
            static_cast<void*>(o.list), o.size);
  Live d;
  if (o.list == nullptr || o.size <= 0 || !find_disk(who, enc_id, port_id, d)) return -1;
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): %d-%d, enc_sys_id %s, port %s\n", who, __LINE__, enc_id,
            port_id, d.enc_sys_id.c_str(), d.info.pd_sys_id);
  SmartReading r;
  SmartInfoPtr cached;
  int rc = read_awake(who, enc_id, port_id, d, type, o.size, r, cached);
  if (rc == 1) r = from_cache(*cached);
  else if (rc != 0) return -1;
  r.keep(o.size);
  fill(o, r);
  return static_cast<int>(r.attrs.size());
}

// The cached form of a fresh reading.
SmartInfoPtr to_info(int enc_id, int port_id, const SmartReading& r, int notify_event) {
  SmartInfoPtr info = smart_info_alloc(static_cast<int>(r.attrs.size()));
  if (!info) return nullptr;
  info->type = r.type;
  info->verdict = verdict_of(r.verdict);
  info->temperature = r.temperature;
  info->test_status = r.test_status;
  info->test_progress = r.test_progress;
  info->short_minutes = r.short_minutes;
  info->extended_minutes = r.extended_minutes;
  info->read_time = static_cast<int>(clock().now());
  info->state = r.checksum_ok ? 0 : PD_SMART_STATE_BAD_CHECKSUM;
  info->notify_event = notify_event;
  for (int k = 0; k < info->count; ++k) {
    const PD_SMART_ATTR& a = r.attrs[static_cast<size_t>(k)];
    PD_SMART_ENTRY& e = info->attrs[k];
    e.id = a.id;
    std::memcpy(e.name, a.name, sizeof e.name);
    e.value = a.value;
    e.worst = a.worst;
    e.threshold = a.thresh;
    e.raw = a.raw;
    e.flags = a.status_flag;
  }
  PD_SMART_WARNING_CONF policy{};
  if (PD_SMART_WARNING_GET_CONF(&policy) == 0) info->warnings = smart_warning_bits(policy, r);
  if (r.temperature >= 0 && PD_SMART_Is_Temp_Thresh_Enabled(enc_id, port_id) &&
      r.temperature > smart_temp_threshold(enc_id, port_id))
    info->warnings |= PD_SMART_WARN_TEMPERATURE;
  // A warning makes a good disk "warning"; the policy may make it an error.
  if (info->warnings && info->verdict != PD_SMART_VERDICT_ERROR)
    info->verdict = policy.policy ? PD_SMART_VERDICT_ERROR : PD_SMART_VERDICT_WARNING;
  return info;
}

int update(const char* who, int enc_id, int port_id, SmartInfoPtr& out) {
  Live d;
  if (!find_disk(who, enc_id, port_id, d)) return -1;
  if (d.type < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: disk %d-%d (type %d) has no health to read\n", who, enc_id,
              port_id, d.info.type);
    return -1;
  }
  SmartReading r;
  int rc = read_awake(who, enc_id, port_id, d, d.type, PD_SMART_MAX_ATTRS, r, out);
  if (rc != 0) return rc == 1 ? 0 : rc;
  SmartInfoPtr old;
  int notify = smart_cache_read(who, enc_id, port_id, old) == 0 ? old->notify_event : 0;
  out = to_info(enc_id, port_id, r, notify);
  if (!out) return -1;
  return smart_cache_write(who, enc_id, port_id, *out);
}

}  // namespace
}  // namespace bayhal::disk

using bayhal::disk::Outputs;

BAYHAL_EXPORT int PD_SMART_Get_ATA_Info(int enc_id, int port_id, int* verdict, PD_SMART_ATTR* list,
                                        int size, int* test_status, int* test_progress,
                                        int* short_minutes, int* extended_minutes) try {
  return bayhal::disk::get_info(__func__, PD_SMART_TYPE_ATA, enc_id, port_id,
                                Outputs{verdict, list, size, test_status, test_progress,
                                        short_minutes, extended_minutes});
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Get_NVME_Info(int enc_id, int port_id, int* verdict, PD_SMART_ATTR* list,
                                         int size, int* test_status, int* test_progress,
                                         int* short_minutes, int* extended_minutes) try {
  return bayhal::disk::get_info(__func__, PD_SMART_TYPE_NVME, enc_id, port_id,
                                Outputs{verdict, list, size, test_status, test_progress,
                                        short_minutes, extended_minutes});
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Get_SAS_Info(int enc_id, int port_id, int* verdict, PD_SMART_ATTR* list,
                                        int size, int* test_status, int* test_progress,
                                        int* short_minutes, int* extended_minutes) try {
  return bayhal::disk::get_info(__func__, PD_SMART_TYPE_SAS, enc_id, port_id,
                                Outputs{verdict, list, size, test_status, test_progress,
                                        short_minutes, extended_minutes});
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_SMART_Update_Info(int enc_id, int port_id, PD_SMART_INFO** out) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d).\n", __func__, enc_id, port_id);
  if (out == nullptr) return -1;
  *out = nullptr;
  bayhal::SmartInfoPtr info;
  int rc = bayhal::disk::update(__func__, enc_id, port_id, info);
  if (rc == 0) *out = info.release();
  return rc;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int PD_Set_Self_Test_Mode(int enc_id, int port_id, int mode) try {
  using namespace bayhal;
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d, %d, %d).\n", __func__, enc_id, port_id, mode);
  disk::Live d;
  if (!disk::find_disk(__func__, enc_id, port_id, d)) return -1;
  int type = d.type == PD_SMART_TYPE_NVME ? PD_SMART_TYPE_NVME : d.info.type;
  int rc = disk_backend().self_test(type, d.enc_sys_id.c_str(), d.info.pd_sys_id, mode);
  if (rc == -2) {
    ERR_TRACE(HAL_TRACE_ENTRY, "%s: unknown physical disk type %d.\n", __func__, d.info.type);
    return -1;
  }
  if (rc != 0) return -1;
  disk::smart_record_test(enc_id, port_id, mode, static_cast<long long>(bayhal::clock().now()));
  return 0;
} BAYHAL_C_BOUNDARY(-1)
