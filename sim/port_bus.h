// A software x86 I/O port space for tests and halsim: device models claim port ranges, and
// the bus checks that every access was permitted first, as the kernel does with ioperm
// (an access without permission counts as a violation instead of killing the process).
#pragma once
#include <bitset>
#include <cstdint>
#include <vector>

#include "transport/port_io.h"

namespace bayhal::sim {

// One register-level device behind a range of ports.
class PortDevice {
 public:
  virtual ~PortDevice() = default;
  virtual uint8_t in(uint16_t port) = 0;
  virtual void out(uint16_t port, uint8_t value) = 0;
};

class PortBus : public PortIo {
 public:
  // Routes ports [first, first + count) to `dev` (not owned).
  void attach(uint16_t first, unsigned count, PortDevice& dev);
  // Makes the next permit() calls fail with `err` (0 = grant again).
  void refuse_permission(int err) { refuse_ = err; }

  int permit(uint16_t port, unsigned count) override;
  uint8_t inb(uint16_t port) override;
  void outb(uint8_t value, uint16_t port) override;

  // Accesses to ports never permitted.
  int violations() const { return violations_; }

 private:
  struct Range {
    uint16_t first;
    unsigned count;
    PortDevice* dev;
  };
  PortDevice* find(uint16_t port) const;
  bool allowed(uint16_t port);

  std::vector<Range> ranges_;
  std::bitset<65536> permitted_;
  int refuse_ = 0;
  int violations_ = 0;
};

}  // namespace bayhal::sim
