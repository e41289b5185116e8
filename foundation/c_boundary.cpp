#include "foundation/c_boundary.h"

#include <exception>

#include "bayhal/ERR_TRACE.h"

namespace bayhal {

void trace_c_boundary(const char* func) noexcept {
  const char* what = "unknown exception";
  try {
    throw;
  } catch (const std::exception& e) {
    what = e.what();
  } catch (...) {
  }
  ERR_TRACE(HAL_TRACE_ERROR, "%s: internal error: %s\n", func, what);
}

}  // namespace bayhal
