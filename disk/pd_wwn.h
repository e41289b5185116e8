// The identity under which a disk is indexed: its WWN when it reports a usable one, else
// its serial number, else its pd_sys_id.
#pragma once
#include <string>

#include "bayhal/PD.h"

namespace bayhal::disk {

// The "wwn" text of a disk. Consults the WWN blacklist when the disk reports a WWN and
// marks a blacklisted model with PD_CAP_WWN_BLACKLISTED in info->capabilities.
std::string pd_wwn_text(int enc_id, int port_id, PD_INFO* info);

// "real_wwn": the drive's own WWN in hexadecimal text, empty when it reports none.
std::string pd_real_wwn(const PD_INFO& info);

// True when the first wwn_len bytes (bounded by the field) are not all zero.
bool wwn_is_valid(const PD_INFO& info);

}  // namespace bayhal::disk
