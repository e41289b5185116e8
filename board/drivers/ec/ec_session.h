// One embedded-controller operation: the EC lock for its lifetime and register access
// that logs a failure as "System Error" under the operation's name.
#pragma once
#include <cstdint>

#include "board/drivers/board_lock.h"

namespace bayhal {

class EcSession {
 public:
  // A lock that cannot be taken is traced as "System Error" under `func`.
  explicit EcSession(const char* func);
  bool ok() const { return lock_.held(); }
  // 0, or the mailbox's code (-EBUSY, -ENXIO, -1).
  int read(uint16_t reg, uint8_t* value);
  int write(uint16_t reg, uint8_t value);

 private:
  BoardLock lock_;
  const char* func_;
  int failed(int rc, int line);
};

}  // namespace bayhal
