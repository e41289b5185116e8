#include "board/drivers/ioport/port_access.h"

#include <cerrno>

#include "tests/board/chip_fixture.h"

namespace bayhal {
namespace {

// One byte behind one port, as an I/O-port LED latch is.
struct Latch : sim::PortDevice {
  uint8_t byte = 0;
  uint8_t in(uint16_t) override { return byte; }
  void out(uint16_t, uint8_t v) override { byte = v; }
};

class PortAccessTest : public test::ChipTest {
 protected:
  PortAccessTest() { bus.attach(0x80, 1, latch); }
  Latch latch;
};

TEST_F(PortAccessTest, BitsAreActiveLowAndTheOtherBitsStay) {
  latch.byte = 0xF0;
  struct Case {
    int bit, value;
    uint8_t after;
  };
  for (Case c : {Case{4, 1, 0xE0}, Case{0, 0, 0xE1}, Case{0, 7, 0xE0}, Case{4, 0, 0xF0}}) {
    ASSERT_EQ(common_sys_set_ioport_bit(0x80, c.bit, c.value), 0);
    EXPECT_EQ(latch.byte, c.after) << c.bit << "=" << c.value;
  }
  EXPECT_EQ(common_sys_set_ioport_bit(0x80, 8, 1), -1);
  ASSERT_EQ(common_sys_set_ioport(0x80, 2), 0);
  EXPECT_EQ(common_sys_get_ioport(0x80), 2);
  EXPECT_EQ(bus.violations(), 0);
}

TEST_F(PortAccessTest, ARefusedPermissionTouchesNoPort) {
  bus.refuse_permission(EPERM);
  EXPECT_EQ(common_sys_set_ioport(0x80, 2), -1);
  EXPECT_EQ(common_sys_get_ioport(0x80), -1);
  EXPECT_EQ(common_sys_set_ioport_bit(0x80, 1, 1), -1);
  EXPECT_EQ(accesses(), 0u);
  EXPECT_NE(root.read("/var/log/hal_lib.log").find("Failed to obtain permission of 1' I/O port based on 0x80, errno 1"),
            std::string::npos);
}

}  // namespace
}  // namespace bayhal
