// The socket backend of the port-I/O seam: under a system root served by halsim
// ($HAL_ROOT/run/halsim.sock exists) and with no backend installed, every permission
// request and byte access goes to the simulator's register models, so processes share one
// board as they would share one machine. Each access waits for its answer: an output is
// done when it returns, as on the bus, so the order the simulator sees is the order the
// process made them in.
#pragma once
#include <sys/types.h>

#include <mutex>

#include "foundation/unique_fd.h"
#include "transport/port_io.h"
#include "transport/transport_frame.h"

namespace bayhal {

class SocketPortIo : public PortIo {
 public:
  int permit(uint16_t port, unsigned count) override;
  uint8_t inb(uint16_t port) override;
  void outb(uint8_t value, uint16_t port) override;

 private:
  // One connection per process, opened on first use (a forked child opens its own, as
  // its accesses must not mix with its parent's on one stream).
  std::mutex mu_;
  UniqueFd conn_;
  pid_t owner_ = 0;
  // The reply to `q`; nullopt when the simulator cannot be reached (errno set).
  std::optional<frame::PortReply> exchange(const frame::PortRequest& q);
};

// The socket backend when the root holds a halsim socket, else nullptr.
PortIo* halsim_port_io();

}  // namespace bayhal
