#include "board/drivers/ec/ec_mailbox.h"

#include <cerrno>
#include <optional>

#include "bayhal/ERR_TRACE.h"
#include "board/drivers/ioport/port_access.h"
#include "foundation/clock.h"
#include "transport/port_io.h"

namespace bayhal {
namespace {

// The status port of the interface a port belongs to.
std::optional<uint16_t> status_port(uint16_t port) {
  if (port == kEcData || port == kEcCommand) return kEcCommand;
  if (port == kEcData1 || port == kEcCommand1) return kEcCommand1;
  return std::nullopt;
}

// Polls `status` until (status & mask) == want, kEcPolls times at most, kEcPollUs apart.
int wait_status(uint16_t status, uint8_t mask, uint8_t want) {
  for (int i = 0; i < kEcPolls; ++i) {
    if ((port_io().inb(status) & mask) == want) return 0;
    clock().sleep_us(kEcPollUs);
  }
  return -EBUSY;
}

int permit(uint16_t port, uint16_t status, const char* func) {
  if (port_permit(status, 1, func) != 0) return -1;
  return port == status ? 0 : port_permit(port, 1, func);
}

}  // namespace

int ec_send_byte(uint16_t port, uint8_t value) {
  auto status = status_port(port);
  if (!status) return -ENXIO;
  if (permit(port, *status, __func__) != 0) return -1;
  if (int rc = wait_status(*status, kEcStatusInputFull, 0); rc != 0) return rc;
  port_io().outb(value, port);
  return 0;
}

int ec_recv_byte(uint16_t port, uint8_t* value) {
  auto status = status_port(port);
  if (!status) return -ENXIO;
  if (permit(port, *status, __func__) != 0) return -1;
  if (int rc = wait_status(*status, kEcStatusOutputFull, kEcStatusOutputFull); rc != 0) return rc;
  *value = port_io().inb(port);
  return 0;
}

int ec_get_single_byte(uint8_t func, uint8_t index, uint8_t* value) {
  *value = 0;
  if (permit(kEcData, kEcCommand, __func__) != 0) return -1;
  // An answer nobody collected (a reader that died mid-exchange) would be taken for ours.
  if (port_io().inb(kEcCommand) & kEcStatusOutputFull) {
    unsigned stale = port_io().inb(kEcData);
    ERR_TRACE(HAL_TRACE_INFO, "%s(%d): Clear read buffer, tmp=0x%x\n", __func__, __LINE__, stale);
  }
  int rc = ec_send_byte(kEcCommand, kEcCmdRegister);
  if (rc == 0) rc = ec_send_byte(kEcData, func);
  if (rc == 0) rc = ec_send_byte(kEcData, index);
  if (rc == 0) rc = ec_recv_byte(kEcData, value);
  if (rc != 0) return rc;
  ERR_TRACE(HAL_TRACE_VERBOSE, "%s: func=0x%x, index=0x%x, data=0x%x\n", __func__, func, index,
            *value);
  return 0;
}

int ec_set_single_byte(uint8_t func, uint8_t index, uint8_t value) {
  int rc = ec_send_byte(kEcCommand, kEcCmdRegister);
  if (rc == 0) rc = ec_send_byte(kEcData, static_cast<uint8_t>(func | kEcWriteFlag));
  if (rc == 0) rc = ec_send_byte(kEcData, index);
  if (rc == 0) rc = ec_send_byte(kEcData, value);
  return rc;
}

}  // namespace bayhal
