// hal_tool disk scan, run as its own process on a sandbox root.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "foundation/command_runner.h"
#include "tests/disk_sys/disk_sys_fixture.h"

namespace bayhal::test {
namespace {

using sim::BlockSpec;

class DiskScanToolTest : public DiskSysTest {
 protected:
  int run(const std::vector<std::string>& args, std::string* out) {
    std::vector<std::string> argv = {HAL_TOOL_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    return runner().exec(argv, out);
  }
};

TEST_F(DiskScanToolTest, ListsEachDiskWithItsSlotAndIdentity) {
  auto ports = b.ahci(ahci_pci("0000:00:17.0"), 4, 2);
  b.ahci_disk(ports[1], BlockSpec("sdb", "ATA", "WDC WD40EFRX-68N").with_size(7814037168ull));
  b.ahci_disk(ports[2], BlockSpec("sdc", "ATA", "ST4000VN008-2DR1").with_size(7814037168ull));
  model_conf(
      "[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 2\n"
      "[System Disk 2]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n");
  std::string out;
  ASSERT_EQ(run({"--json", "disk", "scan", "root"}, &out), 0);
  auto j = nlohmann::json::parse(out);
  EXPECT_EQ(j["enc_sys_id"], "root");
  ASSERT_EQ(j["disks"].size(), 2u);
  EXPECT_EQ(j["disks"][0]["pd_sys_id"], "sdc");
  EXPECT_EQ(j["disks"][0]["port_id"], 1);
  EXPECT_EQ(j["disks"][0]["model"], "ST4000VN008-2DR1");
  EXPECT_EQ(j["disks"][1]["pd_sys_id"], "sdb");
  EXPECT_EQ(j["disks"][1]["port_id"], 2);
  EXPECT_EQ(j["disks"][1]["capacity"], 7814037168ll);
  EXPECT_EQ(j["disks"][1]["getinfo"], 0);
  EXPECT_FALSE(root.exists("/etc/enclosure_0.conf")) << "nothing registered";

  ASSERT_EQ(run({"disk", "scan", "root"}, &out), 0);
  EXPECT_NE(out.find("ST4000VN008-2DR1"), std::string::npos);
}

TEST_F(DiskScanToolTest, UnsupportedEnclosureFailsAndMissingArgumentIsUsage) {
  std::string out;
  EXPECT_EQ(run({"--json", "disk", "scan", "px_1"}, &out), 1);
  EXPECT_EQ(run({"disk", "scan"}, &out), 2);
}

}  // namespace
}  // namespace bayhal::test
