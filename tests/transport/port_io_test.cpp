#include "transport/port_io.h"

#include <cerrno>

#include "sim/cmos_model.h"
#include "sim/port_bus.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

// Under a sandbox root the machine's ports are never touched: only an installed backend
// serves them, until it is removed.
TEST(PortIo, AnInstalledBackendServesEveryAccessUntilRemoved) {
  test::SandboxRoot root;
  sim::PortBus bus;
  sim::CmosModel cmos;
  cmos.attach_to(bus);
  cmos.at(1, 0x10) = 0x5A;
  {
    ScopedPortIo guard(bus);
    ASSERT_EQ(port_io().permit(0x72, 2), 0);
    port_io().outb(0x10, 0x72);
    EXPECT_EQ(port_io().inb(0x73), 0x5A);
    port_io().outb(0xA5, 0x73);
  }
  EXPECT_EQ(cmos.at(1, 0x10), 0xA5);
  errno = 0;
  EXPECT_EQ(port_io().permit(0x72, 2), -1);  // the sandbox default again
  EXPECT_EQ(errno, EPERM);
  EXPECT_EQ(port_io().inb(0x73), 0xFF);
}

TEST(PortBus, AccessWithoutPermissionIsAViolationAndReachesNoDevice) {
  sim::PortBus bus;
  sim::CmosModel cmos;
  cmos.attach_to(bus);
  cmos.at(0, 0x0A) = 0x26;
  bus.outb(0x0A, 0x70);  // never permitted
  EXPECT_EQ(bus.inb(0x71), 0xFF);
  EXPECT_EQ(bus.violations(), 2);
  ASSERT_EQ(bus.permit(0x70, 2), 0);
  bus.outb(0x8A, 0x70);  // NMI mask bit set: still register 0x0A
  EXPECT_EQ(bus.inb(0x71), 0x26);
  EXPECT_EQ(bus.inb(0x72), 0xFF);  // bank 1 was not permitted
  EXPECT_EQ(bus.violations(), 3);
  bus.refuse_permission(EPERM);
  EXPECT_EQ(bus.permit(0x72, 2), -1);
  EXPECT_EQ(errno, EPERM);
}

}  // namespace
}  // namespace bayhal
