// A software x86 I/O port space for tests and halsim: device models claim port ranges, and
// the bus checks that every access was permitted first, as the kernel does with ioperm
// (an access without permission counts as a violation instead of killing the process).
// Every access is logged with who made it, so a test can check the order of accesses.
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

// The ports one process was given (ioperm's bitmap).
class PortPermissions {
 public:
  void grant(uint16_t port, unsigned count) {
    for (unsigned i = 0; i < count && port + i < 65536u; ++i) bits_.set(port + i);
  }
  bool test(uint16_t port) const { return bits_.test(port); }

 private:
  std::bitset<65536> bits_;
};

struct PortAccess {
  uint32_t who;  // the requester (halsim: the process id; in-process tests: 0)
  uint16_t port;
  bool write;
  uint8_t value;  // written, or read back
};

class PortBus : public PortIo {
 public:
  static constexpr size_t kLogLimit = 1u << 20;

  // Routes ports [first, first + count) to `dev` (not owned).
  void attach(uint16_t first, unsigned count, PortDevice& dev);
  // Makes the next permit() calls fail with `err` (0 = grant again).
  void refuse_permission(int err) { refuse_ = err; }

  int permit(uint16_t port, unsigned count) override;
  uint8_t inb(uint16_t port) override;
  void outb(uint8_t value, uint16_t port) override;

  // Accesses to ports never permitted.
  int violations() const { return violations_; }

  // Whose accesses follow, and the permissions they hold (nullptr: the bus's own). halsim
  // switches these per client process.
  void act_for(uint32_t who, PortPermissions* perms) {
    who_ = who;
    perms_ = perms ? perms : &own_;
  }
  // Accesses in order (the first kLogLimit after the last clear).
  const std::vector<PortAccess>& log() const { return log_; }
  void clear_log() { log_.clear(); }

 private:
  struct Range {
    uint16_t first;
    unsigned count;
    PortDevice* dev;
  };
  PortDevice* find(uint16_t port) const;
  bool allowed(uint16_t port);
  void record(uint16_t port, bool write, uint8_t value);

  std::vector<Range> ranges_;
  PortPermissions own_;
  PortPermissions* perms_ = &own_;
  uint32_t who_ = 0;
  std::vector<PortAccess> log_;
  int refuse_ = 0;
  int violations_ = 0;
};

}  // namespace bayhal::sim
