// The port-I/O seam: x86 I/O ports (CMOS, Super I/O, embedded controller) are reached only
// through port_io(), so tests and halsim put register models behind the same calls.
//
// Every access first asks for permission on exactly the ports it touches (permit), then
// uses single-byte in/out. Argument order follows <sys/io.h>: outb(value, port).
#pragma once
#include <cstdint>

#include "foundation/seam.h"

namespace bayhal {

class PortIo {
 public:
  virtual ~PortIo() = default;
  // Permission for ports [port, port + count) (ioperm). 0, or -1 with errno set.
  virtual int permit(uint16_t port, unsigned count) = 0;
  virtual uint8_t inb(uint16_t port) = 0;
  virtual void outb(uint8_t value, uint16_t port) = 0;
};

// The backend in force. Without an installed one: the machine's ports when the system
// root is "/"; under any other root the board of the halsim serving it (its socket), or
// else a backend that refuses every permission, so a sandbox never touches the ports of
// the machine it runs on.
PortIo& port_io();
// Installs `p` (not owned); nullptr restores the default.
void set_port_io(PortIo* p);

using ScopedPortIo = ScopedSeam<PortIo, set_port_io>;

}  // namespace bayhal
