// Enclosure ids: allocation, the persistent map (/etc/config/enclosure.map), stacking, and
// the disk-id helpers built on them. This header is used by the disk registry too: keep it
// stable.
#pragma once
#include <cstdint>

#include "bayhal/SE.h"
#include "enc_sys/display_name.h"
#include "enc_sys/enc_records.h"

namespace bayhal {

// ---- Lookups ----
// se_lookup_id (enc_sys/enc_records.h): the registered id of an identity.
// The id the persistent map remembers for the record's unique id, or -1. A hit marks the id
// in use in hal.conf and refreshes the display name of the JBOD series.
int se_lookup_id_in_persistent_mapping(SE_ENC_INFO* info);

// ---- Allocation ----
// -1 with *enc_id set when the identity is already registered; else se_acquire_id.
int se_get_id(const char* enc_sys_id, int* enc_id, SE_ENC_INFO* info);
// Claims the lowest free id at or above the start bit of the record's kind; 0, or -1 (then
// *enc_id is -1 and no bit is left claimed).
int se_acquire_id(const char* enc_sys_id, int* enc_id, SE_ENC_INFO* info);
// Records enc_id <-> unique id in the persistent map and marks the id in use in both
// bitmaps. 0, or -1 when the unique id cannot be used as a key.
int se_write_enc_map(int enc_id, SE_ENC_INFO* info);
// Forgets an id in the persistent map (-1: deletes the map). 0, or -1 when not allocated.
int se_release_id_in_persistent_mapping(int enc_id);
// Seeds a missing persistent map from hal.conf's in-use bitmap. 0.
int se_sync_enc_bitmap();
// Clears the id in hal.conf's in-use bitmap only. 0 or -1.
int se_detach_release_bit(int enc_id);
// The start bit for a record's kind (internal 0, cache/PCIe 23, iSCSI 31, others 32).
int se_id_start_bit(const SE_ENC_INFO& info);

// ---- Stacking ----
// "stack_id" of the enclosure; -1 when unknown.
int se_get_stack_id(const char* enc_sys_id);
// How deep a daisy chain of this protocol may go.
int se_get_max_stack_num(int protocol);
// The id choice of an attach: persistent map, then the stack rule, then allocation. Sets
// info->stack_id. Returns the id, or -1 when the enclosure must not be attached. With
// `notify`, a refused chain is reported to the event log.
int se_choose_enc_id(SE_ENC_INFO* info, int notify);

// ---- Disk ids ----
// (enc_id << 16) | (port & 0xFFFF).
int se_gen_global_pd_id(int enc_id, int port_id);
// Splits a global disk id; -1 when an output is null.
int se_get_enc_pd_id(int global_pd_id, int* enc_id, int* port_id);
// "Index"/"pd_wwn_<wwn>" of hal.conf = "%08x" of the global disk id.
int se_write_pd_wwn_index(int enc_id, int port_id, const char* wwn);
int se_read_pd_wwn_index(const char* wwn, int* enc_id, int* port_id);
int se_remove_pd_wwn_index(const char* wwn);

}  // namespace bayhal
