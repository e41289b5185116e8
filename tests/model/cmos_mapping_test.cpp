// The CMOS mapping readers against the register model: good blocks, and every way a block
// can be missing or damaged, each a clear -1 with nothing written to the caller's buffer.
#include <cerrno>

#include "transport/port_io.h"
#include "model/model_conf.h"
#include "sim/cmos_model.h"
#include "sim/port_bus.h"
#include "tests/foundation/trace_fixture.h"
#include "tests/model/blob_builders.h"

namespace bayhal {
namespace {

class CmosMapping : public test::TraceTest {
 protected:
  CmosMapping() : ports(bus) { cmos.attach_to(bus); }
  void block(uint8_t offset, char sig, const test::Bytes& units, int fix = 0) {
    cmos.put(1, offset, test::cmos_block(sig, units, fix));
  }
  sim::PortBus bus;
  sim::CmosModel cmos;
  ScopedPortIo ports;
};

TEST_F(CmosMapping, GoodBlocksReadAsUnitLists) {
  block(0x40, 'P', {3, 1, 2});
  std::vector<uint8_t> bays;
  for (uint8_t i = 32; i >= 1; --i) bays.push_back(i);
  block(0x58, 'D', bays);
  char buf[160];
  ASSERT_EQ(comm_sys_get_pcie_slot_mapping_from_cmos(buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "3,1,2");
  ASSERT_EQ(comm_sys_get_disk_mapping_from_cmos(buf, sizeof buf), 0);
  EXPECT_EQ(std::string(buf).substr(0, 9), "32,31,30,");
  EXPECT_EQ(bus.violations(), 0);
  EXPECT_EQ(cmos.at(0, 0), 0);  // bank 0 (the clock) is never written
}

TEST_F(CmosMapping, DamagedOrMissingBlocksAreRefused) {
  struct Case {
    const char* why;
    char sig;
    test::Bytes units;
    int fix;
  } cases[] = {
      {"erased", 0, {}, 0},
      {"wrong signature", 'D', {1, 2}, 0},
      {"checksum", 'P', {1, 2}, 1},
      {"empty entry", 'P', {1, 0, 2}, 0},
      {"too many slots", 'P', std::vector<uint8_t>(17, 1), 0},
  };
  for (const Case& c : cases) {
    for (uint8_t i = 0; i < 0x18; ++i) cmos.at(1, 0x40 + i) = 0;
    if (c.sig != 0) block(0x40, c.sig, c.units, c.fix);
    char buf[64] = "unchanged";
    EXPECT_EQ(comm_sys_get_pcie_slot_mapping_from_cmos(buf, sizeof buf), -1) << c.why;
    EXPECT_STREQ(buf, "unchanged") << c.why;
  }
}

TEST_F(CmosMapping, RefusedPortsOrSmallBufferFail) {
  block(0x40, 'P', {12, 11, 10});
  char small[5] = "xxxx";
  EXPECT_EQ(comm_sys_get_pcie_slot_mapping_from_cmos(small, sizeof small), -1);
  EXPECT_STREQ(small, "xxxx");
  EXPECT_EQ(comm_sys_get_pcie_slot_mapping_from_cmos(nullptr, 10), -1);
  bus.refuse_permission(EPERM);
  char buf[32];
  EXPECT_EQ(comm_sys_get_pcie_slot_mapping_from_cmos(buf, sizeof buf), -1);
  EXPECT_NE(root.read(test::kLog).find("ioperm(0x72) failed, errno=1"), std::string::npos);
}

}  // namespace
}  // namespace bayhal
