// Fillers of the appliance's own enclosures, from the model description: "root" and its
// pseudo-enclosures. Each fills a zeroed record and returns 0 or -1.
#pragma once

#include "bayhal/SE.h"

namespace bayhal {

int root_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int root_boot_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int root_usb_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int root_esata_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int root_odd_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int root_cache_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int root_mmc_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);
int root_iscsi_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);

}  // namespace bayhal
