#include "board/drivers/ioport/port_access.h"

#include <cerrno>
#include <cstring>

#include "bayhal/ERR_TRACE.h"
#include "transport/port_io.h"

namespace bayhal {

int port_permit(uint16_t port, unsigned count, const char* func) {
  if (port_io().permit(port, count) == 0) return 0;
  int err = errno;
  ERR_TRACE(HAL_TRACE_ERROR,
            "%s(%d): Failed to obtain permission of %d' I/O port based on 0x%x, errno %d means %s\n",
            func, __LINE__, count, port, err, std::strerror(err));
  return -1;
}

int common_sys_set_ioport(int port, int value) {
  if (port < 0 || port > 0xFFFF) return -1;
  auto p = static_cast<uint16_t>(port);
  if (port_permit(p, 1, __func__) != 0) return -1;
  port_io().outb(static_cast<uint8_t>(value), p);
  return 0;
}

int common_sys_get_ioport(int port) {
  if (port < 0 || port > 0xFFFF) return -1;
  auto p = static_cast<uint16_t>(port);
  if (port_permit(p, 1, __func__) != 0) return -1;
  return port_io().inb(p);
}

int common_sys_set_ioport_bit(int port, int bit, int value) {
  if (port < 0 || port > 0xFFFF || bit < 0 || bit > 7) return -1;
  auto p = static_cast<uint16_t>(port);
  if (port_permit(p, 1, __func__) != 0) return -1;
  uint8_t b = port_io().inb(p);
  b = value != 0 ? static_cast<uint8_t>(b & ~(1u << bit)) : static_cast<uint8_t>(b | (1u << bit));
  port_io().outb(b, p);
  return 0;
}

}  // namespace bayhal
