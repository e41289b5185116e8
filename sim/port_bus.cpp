#include "sim/port_bus.h"

#include <cerrno>

namespace bayhal::sim {

void PortBus::attach(uint16_t first, unsigned count, PortDevice& dev) {
  ranges_.push_back({first, count, &dev});
}

int PortBus::permit(uint16_t port, unsigned count) {
  if (refuse_ != 0) {
    errno = refuse_;
    return -1;
  }
  if (port + count > 65536u) {
    errno = EINVAL;
    return -1;
  }
  perms_->grant(port, count);
  return 0;
}

PortDevice* PortBus::find(uint16_t port) const {
  for (const Range& r : ranges_)
    if (port >= r.first && port < r.first + r.count) return r.dev;
  return nullptr;
}

bool PortBus::allowed(uint16_t port) {
  if (perms_->test(port)) return true;
  ++violations_;
  return false;
}

void PortBus::record(uint16_t port, bool write, uint8_t value) {
  if (log_.size() < kLogLimit) log_.push_back({who_, port, write, value});
}

uint8_t PortBus::inb(uint16_t port) {
  if (!allowed(port)) return 0xFF;
  PortDevice* d = find(port);
  uint8_t v = d ? d->in(port) : 0xFF;  // nothing there: the bus floats high
  record(port, false, v);
  return v;
}

void PortBus::outb(uint8_t value, uint16_t port) {
  if (!allowed(port)) return;
  record(port, true, value);
  if (PortDevice* d = find(port)) d->out(port, value);
}

}  // namespace bayhal::sim
