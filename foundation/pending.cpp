#include "foundation/pending.h"

#include "bayhal/ERR_TRACE.h"

namespace bayhal {

int not_implemented(const char* op, int line, const char* enc_sys_id) {
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): enc_sys_id = %s not implement.\n", op, line,
            enc_sys_id != nullptr ? enc_sys_id : "");
  return -1;
}

}  // namespace bayhal
