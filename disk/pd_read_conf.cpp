// pd_read_conf: one read of the store fills the record.
#include "bayhal/ERR_TRACE.h"
#include "disk/disk_store.h"
#include "disk/pd_fields.h"
#include "disk/pd_record_io.h"
#include "disk/pd_store.h"
#include "disk/store_text.h"

namespace bayhal {

int pd_read_conf(int enc_id, int port_id, PD_INFO* info) {
  if (info == nullptr || enc_id < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): invalid arguments (enc_id %d, info %p)!\n", __func__,
              __LINE__, enc_id, static_cast<void*>(info));
    return -1;
  }
  // One buffer per thread: record reads are the registry's hot path.
  thread_local disk::StoreText store;
  std::string section = disk::section_for(port_id);
  if (!store.load(disk::store_file(enc_id).c_str())) {
    disk::set_text(info->read_speed, "none");
    return -1;
  }
  return disk::fill_record(store, section, port_id, info) ? 0 : -1;
}

}  // namespace bayhal
