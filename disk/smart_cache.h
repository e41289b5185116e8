// The per-disk SMART caches under "/tmp/smart", shared by every process through the record
// lock on "/var/lock/smart_tmp.lck". Writers replace a cache whole (a rename) under the write
// lock, so a reader normally reads without waiting; what does not parse (a writer that
// rewrites in place, as older tools do) is read again under the read lock.
#pragma once
#include <functional>

#include "disk/smart_cache_text.h"

namespace bayhal::disk {

// 0; -2 when there is no cache file; -1 when it cannot be read or does not parse.
int smart_cache_read(const char* who, int enc_id, int port_id, SmartInfoPtr& out);
// 0 or -1; creates "/tmp/smart" when missing.
int smart_cache_write(const char* who, int enc_id, int port_id, const PD_SMART_INFO& info);
// Reads, lets `change` edit the reading in place and writes it back, all under the write
// lock: 0, -2 (no cache) or -1.
int smart_cache_update(const char* who, int enc_id, int port_id,
                       const std::function<void(PD_SMART_INFO&)>& change);

}  // namespace bayhal::disk
