// The model description set-up with its report, shared by `model setup` and `boot`.
#pragma once
#include "tools/hal_tool/tool.h"

namespace hal_tool {

// Runs se_sys_setup_model_conf. The report: {"result", "file", "chosen", "target",
// "message", "fixups": [{"name", "changed", "detail"}], "memory": {"sane", "modules"}}.
json model_setup(int& rc);
// One line per fix-up that changed something, or a word when none did.
std::string model_setup_text(const json& report);
// What "/etc/model.conf" links to, as an appliance path; null when it is a plain file.
json model_target();

}  // namespace hal_tool
