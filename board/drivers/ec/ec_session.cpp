#include "board/drivers/ec/ec_session.h"

#include "bayhal/ERR_TRACE.h"
#include "board/drivers/ec/ec_mailbox.h"

namespace bayhal {

EcSession::EcSession(const char* func) : lock_(BoardLockId::kEc), func_(func) {
  if (!lock_.held()) ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", func_, __LINE__);
}

int EcSession::failed(int rc, int line) {
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", func_, line);
  return rc;
}

int EcSession::read(uint16_t reg, uint8_t* value) {
  int rc = ec_get_single_byte(static_cast<uint8_t>(reg >> 8), static_cast<uint8_t>(reg), value);
  return rc == 0 ? 0 : failed(rc, __LINE__);
}

int EcSession::write(uint16_t reg, uint8_t value) {
  int rc = ec_set_single_byte(static_cast<uint8_t>(reg >> 8), static_cast<uint8_t>(reg), value);
  return rc == 0 ? 0 : failed(rc, __LINE__);
}

}  // namespace bayhal
