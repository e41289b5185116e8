// hal_tool disk ...: the slot map and the hot-plug commands from the command line.
#include <sys/wait.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "disk/pd_store.h"
#include "tests/disk/disk_fixture.h"

namespace bayhal {
namespace {

struct ToolRun {
  int status;
  std::string out;
};

class HalToolDisk : public test::SandboxTest {
 protected:
  HalToolDisk() { test::add_enclosure(0, "root", 4, 0, 0x80000000u); }
  ToolRun tool(const std::string& args) {
    std::string line = std::string(HAL_TOOL_PATH) + " --root '" + root.dir() + "' " + args +
                       " 2>/dev/null";
    ToolRun r{-1, {}};
    FILE* p = ::popen(line.c_str(), "r");
    if (p == nullptr) return r;
    char buf[4096];
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, p)) > 0;) r.out.append(buf, n);
    int status = ::pclose(p);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
  }
};

TEST_F(HalToolDisk, ListAndInfoShowTheSlotMapAsJson) {
  PD_INFO d = test::make_disk("sdc", "WD-3", 3);
  d.capabilities = PD_CAP_WWN | PD_CAP_SSD | 0x100000u;
  ASSERT_EQ(pd_write_conf(0, 3, &d), 0);

  ToolRun list = tool("--json disk list");
  ASSERT_EQ(list.status, 0);
  auto j = nlohmann::json::parse(list.out);
  ASSERT_EQ(j["disks"].size(), 1u);
  const auto& disk = j["disks"][0];
  EXPECT_EQ(disk["slot"], "Host: Disk 3");
  EXPECT_EQ(disk["device"], "/dev/sdc");
  EXPECT_EQ(disk["serial"], "WD-3");
  EXPECT_EQ(disk["capacity"], "4.00 TB");
  EXPECT_EQ(disk["link_speed"], "SATA 6.0 Gb/s");
  EXPECT_EQ(disk["capabilities"], (nlohmann::json{"wwn", "ssd", "0x100000"}));

  ToolRun info = tool("--json disk info 0 3");
  ASSERT_EQ(info.status, 0);
  auto i = nlohmann::json::parse(info.out);
  EXPECT_EQ(i["read_speed"], "none");
  EXPECT_EQ(i["wwn"], "WD-3");

  EXPECT_EQ(tool("disk info 0 2").status, 1);
  EXPECT_EQ(tool("disk info zero 2").status, 2);
  EXPECT_EQ(tool("disk").status, 2);
  EXPECT_EQ(tool("--json disk list 2").out, "{\n  \"disks\": []\n}\n");
}

TEST_F(HalToolDisk, DetachAndUnknownAttach) {
  PD_INFO d = test::make_disk("sdc", "WD-3", 3);
  ASSERT_EQ(pd_write_conf(0, 3, &d), 0);
  ToolRun det = tool("--json disk detach root sdc");
  ASSERT_EQ(det.status, 0);
  EXPECT_EQ(nlohmann::json::parse(det.out)["detached"], true);
  EXPECT_EQ(PD_Is_Exist(0, 3), 0);
  EXPECT_EQ(tool("disk detach root sdc").status, 1);
  EXPECT_EQ(tool("disk attach nowhere sdz").status, 1);
}

}  // namespace
}  // namespace bayhal
