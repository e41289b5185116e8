// The enclosure record's store: section "Enclosure_<id>" of hal.conf.
#pragma once
#include <string>

#include "bayhal/SE.h"

namespace bayhal {

// Writes `info` as enclosure `enc_id` (info->enc_id is set first). Without `dir` the file is
// /etc/hal.conf, with it "<dir>/hal.conf". Also links the record into its parent's
// "child_bitmap" and "Index"/"enc_sysid_<enc_sys_id>". 0, or -1 when the identity is
// rejected (nothing is written then).
int se_write_conf(int enc_id, SE_ENC_INFO* info, const char* dir = nullptr);

// Fills `info` from /etc/hal.conf; absent keys leave fields alone (except the documented
// defaults). 0, or -1 for a null record or when "enc_id"/"enc_sys_id" are missing.
// `traced`: the caller has just called ERR_TRACE, so the tracer's mask is current and a
// filtered-out trace need not be called (each call checks the control file).
int se_read_conf(int enc_id, SE_ENC_INFO* info, bool traced = false);

// "enc_sys_id" of the enclosure into `buf`. 0, or -1 when absent.
int se_lookup_sys_id(int enc_id, char* buf, int size);

// The "wwn" text the writer stores for a record; empty when it writes none.
std::string se_wwn_store_text(const SE_ENC_INFO& info);

}  // namespace bayhal
