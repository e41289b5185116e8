// The C boundary: no C++ exception ever reaches a C caller. Every exported definition is a
// function-try-block that ends in BAYHAL_C_BOUNDARY with the function's failure value:
//
//   BAYHAL_EXPORT int SE_Get_Status(int enc_id) try {
//     ...
//   } BAYHAL_C_BOUNDARY(-1)
//
// An exception (an allocation that failed, a library call that threw) then becomes that
// failure value and a level-1 trace naming the function.
#pragma once

namespace bayhal {

// Traces "%s: internal error: %s\n" with the function and what the exception says; call it
// only inside a handler.
void trace_c_boundary(const char* func) noexcept;

template <typename T>
T c_boundary_failure(const char* func, T failure) noexcept {
  trace_c_boundary(func);
  return failure;
}

}  // namespace bayhal

#define BAYHAL_C_BOUNDARY(failure) \
  catch (...) { return ::bayhal::c_boundary_failure(__func__, failure); }
