// Internal view of the tracer's process-wide state, for tests and the tool.
#pragma once

namespace bayhal {

// Puts mask, path, rotation and stamp back to their load-time values (tests switch roots).
void trace_reset_state();
// Current mask and log path as the last call left them.
unsigned trace_mask();
const char* trace_log_path();
bool trace_rotation_enabled();

}  // namespace bayhal
