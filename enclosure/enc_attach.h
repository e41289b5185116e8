// Attach, detach and hot-swap memory of enclosures.
#pragma once

namespace bayhal {

// Registers an enclosure (parent first), writes its record and scans its disks. Returns the
// disk scan's result, 0 for the "_type_" form, or -1. With `dir`, the record goes to the
// store folder of a rescan, and an identity already registered is written again.
int se_attach(const char* enc_sys_id, int notify, const char* dir = nullptr);
// Marks the enclosure and its children as being removed; SE_Set_Status's result.
int se_pre_detach(const char* enc_sys_id);
// Removes the enclosure, its children (first) and their disks; remembers which slots held
// disks. 0, or -1.
int se_detach(const char* enc_sys_id);
// The registry forgets the enclosure in one write of hal.conf (its identity index, its
// in-use bit, its parent link and its section), then its disk store is deleted: a failure
// leaves it either registered with its store or gone. 0, or -1 when it stays registered.
int se_remove_conf(int enc_id);

// The hot-swap memory in /tmp/.se_detached (hexadecimal bitmaps).
int se_hotswap_save_pd_bitmap(int enc_id, unsigned bitmap);
int se_hotswap_save_pd_member_bitmap(int enc_id, int port, unsigned bitmap);

}  // namespace bayhal
