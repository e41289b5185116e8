// The one read discovery makes of the enclosure registry's records: whether an identity
// is registered, by the "Index" section of hal.conf. The registry writes that section.
#pragma once

namespace bayhal {

// "Index"/"enc_sysid_<enc_sys_id>" of hal.conf; -1 when absent.
int se_lookup_id(const char* enc_sys_id);

}  // namespace bayhal
