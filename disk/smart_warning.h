// The appliance-wide SMART warning policy: "/etc/config/smart_warning.conf", mirrored to
// "/tmp/smart_warning.conf" where every read goes. The mirror is the library's own atomic
// copy (no shell, no /bin/cp).
#pragma once
#include "bayhal/PD_SMART.h"
#include "disk_sys/smart_reading.h"

namespace bayhal::disk {

// The attribute numbers of the policy, in record order.
inline constexpr unsigned kWarningIds[PD_SMART_WARNING_ATTRS] = {5, 187, 188, 197, 198};

// The PD_SMART_WARN_* bits of the policy's attributes that exceed their values in an ATA
// reading (other types carry other numbering: none).
int smart_warning_bits(const PD_SMART_WARNING_CONF& conf, const SmartReading& r);

}  // namespace bayhal::disk
