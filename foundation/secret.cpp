#include "foundation/secret.h"

#include <cstring>

namespace bayhal {

void wipe(void* p, size_t n) noexcept {
  if (p != nullptr && n > 0) ::explicit_bzero(p, n);
}

}  // namespace bayhal
