// The display name discovery gives an enclosure from what the unit reports.
#pragma once

namespace bayhal {

// Display name of an enclosure from its model and serial (rule in docs/enclosures.md);
// 0 when made, -1 otherwise.
int se_sys_make_display_name(const char* model, const char* serial, char* name, int size);

}  // namespace bayhal
