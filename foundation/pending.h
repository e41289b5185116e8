// The answer of an operation whose layer has not landed, or whose protocol is private: -1
// and the "%s(%d): enc_sys_id = %s not implement.\n" trace.
#pragma once

namespace bayhal {

int not_implemented(const char* op, int line, const char* enc_sys_id);

}  // namespace bayhal
