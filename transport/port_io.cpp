#include "transport/port_io.h"

#include <cerrno>
#include <atomic>

#include "foundation/sysroot.h"
#include "transport/socket_port_io.h"

#if defined(__x86_64__) || defined(__i386__)
#include <sys/io.h>
#define BAYHAL_HAVE_PORT_IO 1
#endif

namespace bayhal {
namespace {

class MachinePorts : public PortIo {
 public:
  int permit(uint16_t port, unsigned count) override {
#ifdef BAYHAL_HAVE_PORT_IO
    return ::ioperm(port, count, 1);
#else
    (void)port;
    (void)count;
    errno = ENOSYS;
    return -1;
#endif
  }
  uint8_t inb(uint16_t port) override {
#ifdef BAYHAL_HAVE_PORT_IO
    return ::inb(port);
#else
    (void)port;
    return 0xFF;
#endif
  }
  void outb(uint8_t value, uint16_t port) override {
#ifdef BAYHAL_HAVE_PORT_IO
    ::outb(value, port);
#else
    (void)value;
    (void)port;
#endif
  }
};

// Under a sandbox root there are no ports: permission is refused, reads float high.
class NoPorts : public PortIo {
 public:
  int permit(uint16_t, unsigned) override {
    errno = EPERM;
    return -1;
  }
  uint8_t inb(uint16_t) override { return 0xFF; }
  void outb(uint8_t, uint16_t) override {}
};

MachinePorts g_machine;
NoPorts g_none;
std::atomic<PortIo*> g_installed{nullptr};

}  // namespace

PortIo& port_io() {
  if (PortIo* p = g_installed.load(std::memory_order_acquire)) return *p;
  if (sys_root().empty()) return g_machine;
  // Under a system root that halsim serves, its board answers instead.
  if (PortIo* sim = halsim_port_io()) return *sim;
  return g_none;
}

void set_port_io(PortIo* p) { g_installed.store(p, std::memory_order_release); }

}  // namespace bayhal
