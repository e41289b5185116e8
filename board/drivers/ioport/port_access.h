// Byte access to x86 I/O ports for the board drivers, on the port-I/O seam. Every access
// first asks for permission on exactly the ports it touches; permission is never given
// back (the kernel keeps it for the process, and asking again costs nothing).
#pragma once
#include <cstdint>

namespace bayhal {

// Permission on ports [port, port + count). 0; -1 after logging the refusal under the
// caller's name.
int port_permit(uint16_t port, unsigned count, const char* func);

// One byte to a port. 0, or -1 when permission was refused.
int common_sys_set_ioport(int port, int value);
// The byte read from a port (0..255), or -1 when permission was refused.
int common_sys_get_ioport(int port);
// Read-modify-write of one bit: the pins behind these ports are active-low, so a non-zero
// `value` clears the bit and 0 sets it. 0, or -1 when permission was refused.
int common_sys_set_ioport_bit(int port, int bit, int value);

}  // namespace bayhal
