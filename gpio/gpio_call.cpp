#include "gpio/gpio_call.h"

#include "bayhal/ERR_TRACE.h"
#include "enclosure/enc_store.h"

namespace bayhal::gpio {

void trace_entry(const char* func, std::initializer_list<long long> args) {
  const long long* a = args.begin();
  if (args.size() >= 2)
    ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with(%lld, %lld).\n", func, a[0], a[1]);
  else
    ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with(%lld).\n", func, args.size() ? a[0] : 0);
}

bool lookup(int enc_id, char (&sys_id)[32]) {
  return se_lookup_sys_id(enc_id, sys_id, sizeof sys_id) == 0;
}

}  // namespace bayhal::gpio
