// Discovery: which enclosures exist now (se_sys_enumerate) and what one of them is
// (se_sys_getinfo).
#pragma once

#include <string_view>

#include "bayhal/SE.h"
#include "enc_sys/enc_kind.h"

namespace bayhal {

// Lists the identities present, in the fixed order (strdup'ed; the caller frees them). Returns
// how many were found; with a capacity below 3, 0. When more were found than fit, only
// `capacity` are stored and the udev tagging is skipped.
int se_sys_enumerate(char** names, int capacity);

// Clears `info` and fills it from the back-end of the identity's kind. 0 or more on success,
// negative on failure.
int se_sys_getinfo(const char* enc_sys_id, SE_ENC_INFO* info);

// The kind of an enclosure present now: the row its name matches, else the SAS expander row
// when it names an expander present now; nullptr for anything else.
const EncKindRow* enc_kind_present(std::string_view enc_sys_id);

// Frees what se_sys_enumerate stored.
void free_names(char** names, int count);

}  // namespace bayhal
