// NVMe and SAS health through their standard commands, against the device models: the
// documented entries, the verdict and self-tests followed to their end. That a power mode is
// asked without waking a disk is shown one level up (tests/disk/smart_test.cpp).
#include <gtest/gtest.h>

#include <map>

#include "disk_sys/pd_sys_smart.h"
#include "sim/ata_disk_model.h"
#include "sim/nvme_model.h"
#include "sim/scsi_disk_models.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

std::map<std::string, unsigned long long> raw_by_name(const SmartReading& r) {
  std::map<std::string, unsigned long long> m;
  for (const PD_SMART_ATTR& a : r.attrs) m[a.name] = a.raw;
  return m;
}

class HealthTest : public test::SandboxTest {
 protected:
  sim::ModelTransport models;
  ScopedDeviceTransport use{models};

  SmartReading read(int type) {
    SmartReading r;
    EXPECT_EQ(pd_sys_health_read(type, "root", "disk0", PD_SMART_MAX_ATTRS, r), 0);
    return r;
  }
  // The self-test status and progress of `reads` readings after a start.
  std::vector<std::pair<int, int>> follow(int type, int mode, int reads) {
    EXPECT_EQ(pd_sys_health_self_test(type, "root", "disk0", mode), 0);
    std::vector<std::pair<int, int>> seen;
    for (int i = 0; i < reads; ++i) {
      SmartReading r = read(type);
      seen.emplace_back(r.test_status, r.test_progress);
    }
    return seen;
  }
};

TEST_F(HealthTest, NvmeHealthLogAndSelfTest) {
  sim::NvmeCtrlSpec spec;
  models.add("/dev/disk0", std::make_shared<sim::NvmeModel>(spec));
  SmartReading r = read(PD_SMART_TYPE_NVME);
  auto m = raw_by_name(r);
  EXPECT_EQ(m["Composite Temperature"], 38u);
  EXPECT_EQ(m["Power On Hours"], 4321u);
  EXPECT_EQ(m["Percentage Used"], 3u);
  EXPECT_EQ(m["Data Units Written"], 23456789u);
  EXPECT_EQ(m["Temperature Sensor 1"], 40u);
  EXPECT_EQ(r.verdict, 0);
  EXPECT_EQ(r.temperature, 38);
  EXPECT_EQ(r.short_minutes, 2);
  EXPECT_EQ(r.extended_minutes, 12);
  EXPECT_EQ(follow(PD_SMART_TYPE_NVME, PD_SELF_TEST_SHORT, 3),
            (std::vector<std::pair<int, int>>{{15, 0}, {15, 50}, {0, 100}}));
  follow(PD_SMART_TYPE_NVME, PD_SELF_TEST_EXTENDED, 0);
  EXPECT_EQ(follow(PD_SMART_TYPE_NVME, PD_SELF_TEST_ABORT, 1), (std::vector<std::pair<int, int>>{{1, 100}}));

  spec.critical_warning = 0x04;  // reliability degraded
  models.add("/dev/disk0", std::make_shared<sim::NvmeModel>(spec));
  EXPECT_EQ(read(PD_SMART_TYPE_NVME).verdict, 1);
  EXPECT_EQ(pd_sys_health_power_mode(PD_SMART_TYPE_NVME, "disk0"), 1) << "nothing to spin up";
}

TEST_F(HealthTest, SasLogPagesAndSelfTest) {
  sim::SasDiskSpec spec;
  auto disk = std::make_shared<sim::SasDiskModel>(spec);
  models.add("/dev/disk0", disk);
  SmartReading r = read(PD_SMART_TYPE_SAS);
  auto m = raw_by_name(r);
  EXPECT_EQ(m["Health Status"], 0u);
  EXPECT_EQ(m["Current Temperature"], 34u);
  EXPECT_EQ(m["Reference Temperature"], 68u);
  EXPECT_EQ(m["Power On Hours"], 1234567u / 60);
  EXPECT_EQ(m.count("Read Uncorrected Errors"), 1u);
  EXPECT_EQ(m.count("Write Uncorrected Errors"), 1u);
  EXPECT_EQ(r.verdict, 0);
  EXPECT_EQ(r.extended_minutes, 90);
  EXPECT_EQ(follow(PD_SMART_TYPE_SAS, PD_SELF_TEST_SHORT, 2),
            (std::vector<std::pair<int, int>>{{15, -1}, {0, 100}}));

  spec.failing = true;
  models.add("/dev/disk0", std::make_shared<sim::SasDiskModel>(spec));
  r = read(PD_SMART_TYPE_SAS);
  EXPECT_EQ(r.verdict, 1);
  EXPECT_EQ(raw_by_name(r)["Health Status"], 0x5d00u);
  EXPECT_EQ(pd_sys_health_power_mode(PD_SMART_TYPE_SAS, "disk0"), 1);
}

TEST_F(HealthTest, AtaSelfTest) {
  auto disk = std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{});
  models.add("/dev/disk0", disk);
  EXPECT_EQ(follow(PD_SMART_TYPE_ATA, PD_SELF_TEST_SHORT, 4),
            (std::vector<std::pair<int, int>>{{15, 10}, {15, 40}, {15, 70}, {0, 100}}));
  follow(PD_SMART_TYPE_ATA, PD_SELF_TEST_EXTENDED, 0);
  EXPECT_EQ(follow(PD_SMART_TYPE_ATA, PD_SELF_TEST_ABORT, 1), (std::vector<std::pair<int, int>>{{1, 100}}));
  SmartReading none;
  EXPECT_EQ(pd_sys_health_read(7, "root", "disk0", 30, none), -2) << "a type without readers";
}

}  // namespace
}  // namespace bayhal
