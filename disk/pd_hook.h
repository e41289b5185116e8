// The site's attach and detach hooks.
#pragma once

namespace bayhal {

// Runs a site hook "<script> <enc_id> <port_id> <name> &" when the script exists and its
// owner may execute it. True when it was started.
bool pd_run_hook(const char* script, int enc_id, int port_id, const char* name);

}  // namespace bayhal
