// pd_sys_getinfo: the disk record as discovery fills it, from device models answering
// through the transport and from sysfs where a device does not answer.
#include <gtest/gtest.h>

#include <cstring>

#include "disk_sys/pd_sys.h"
#include "sim/ata_disk_model.h"
#include "sim/nvme_model.h"
#include "sim/scsi_disk_models.h"
#include "tests/disk_sys/disk_sys_fixture.h"

namespace bayhal::test {
namespace {

using sim::BlockSpec;

class GetinfoTest : public DiskSysTest {
 protected:
  std::vector<sim::AhciPort> ports;
  void SetUp() override {
    ports = b.ahci(ahci_pci("0000:00:17.0"), 4, 0);
    model_conf(
        "[System Enclosure]\nSYSTEM_DISK_CACHEABLE_BITMAP = 0x2\n"
        "[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\n"
        "[System Disk 2]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n");
  }
};

TEST_F(GetinfoTest, SataDiskFromIdentifyWithTrimSwitchAndLinkSpeeds) {
  BlockSpec blk("sdb");
  blk.with_sg(1).with_size(7814037168ull);
  blk.sata_spd = "3.0 Gbps";
  b.ahci_disk(ports[1], blk);
  models.add("/dev/sg1", std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{
                             .model = "WDC WD40EFRX-68N32N0", .serial = "WD-WCC7K0000001",
                             .firmware = "82.00A82", .rotation = 5400, .trim = true}));
  root.stand_in("/sbin/sedutil-cli", "/dev/sg1 SATA  No  WDC WD40EFRX\n");

  PD_INFO info;
  ASSERT_EQ(pd_sys_getinfo("root", "sdb", &info), 0);
  EXPECT_EQ(summary(info), "p2 t0 ATA|WDC WD40EFRX-68N32N0|WD-WCC7K0000001|82.00A82 7814037168x512 r5400 c657 l2 ahci");
  EXPECT_EQ(std::string(info.pd_sys_name) + " " + info.pd_ctrl_name + " " + info.pd_bus_name + " " +
                info.enc_sys_id + " " + info.read_speed,
            "/dev/sdb /dev/sg1 1:0:0:0 root none");
  EXPECT_EQ(info.att_phy_id * 100 + info.form * 10 + info.adapter_kind, -100 + 20 + PD_ADAPTER_DEFAULT);
  EXPECT_EQ(info.wwn_len, 8);
  EXPECT_EQ(info.max_link_speed, kSata6G);
  EXPECT_EQ(info.pd_max_link_speed, kSata6G);
  EXPECT_EQ(root.read("/sys/class/scsi_disk/1:0:0:0/provisioning_mode"), "sata_trim");
  EXPECT_EQ(root.calls("sedutil-cli").size(), 1u);
  EXPECT_EQ(root.calls("sedutil-cli")[0], "--isValidSED /dev/sg1");
}

TEST_F(GetinfoTest, SelfEncryptingSsdWithoutTrimKeepsItsProvisioningMode) {
  b.ahci_disk(ports[0], BlockSpec("sda").with_sg(0).as_ssd());
  models.add("/dev/sg0", std::make_shared<sim::SataDiskModel>(
                             sim::AtaDiskSpec{.rotation = 0, .wwn = 0, .self_test = false}));
  root.stand_in("/sbin/sedutil-cli", "/dev/sg0 SATA  12  SED  BAYSIM\n");
  root.write("/etc/model.conf", root.read("/etc/model.conf") +
                                    "[System Enclosure]\nDISK_DEFAULT_MAX_LINK_SPEED = 2\n");
  PD_INFO info;
  ASSERT_EQ(pd_sys_getinfo("root", "sda", &info), 0);
  // SED and SSD; no wwn, self-test or TRIM; not cacheable (bitmap 0x2 names slot 2 only).
  EXPECT_EQ(summary(info), "p1 t0 ATA|BAYSIM HDD 4000|BSA0000000001|SIM01A 7814037168x512 r0 c4000005a l3 ahci");
  EXPECT_EQ(info.wwn_len, 0);
  EXPECT_EQ(root.read("/sys/class/scsi_disk/0:0:0:0/provisioning_mode"), "full\n");
}

TEST_F(GetinfoTest, SelfTestBlacklistedModelLosesTheSelfTestMark) {
  b.ahci_disk(ports[0], BlockSpec("sda").with_sg(0));
  models.add("/dev/sg0", std::make_shared<sim::SataDiskModel>(
                             sim::AtaDiskSpec{.model = "BAYSIM NOSELFTEST 1"}));
  PD_INFO info;
  ASSERT_EQ(pd_sys_getinfo("root", "sda", &info), 0);
  EXPECT_TRUE(info.capabilities & PD_CAP_SELF_TEST);
  root.write("/etc/disk_selftest_blacklist.list", "ATA | BAYSIM NOSELFTEST*\n");
  ASSERT_EQ(pd_sys_getinfo("root", "sda", &info), 0);
  EXPECT_FALSE(info.capabilities & PD_CAP_SELF_TEST);
  EXPECT_TRUE(info.capabilities & PD_CAP_SMART) << "SMART itself stays";
}

TEST_F(GetinfoTest, SasDiskFromInquiryAndVpd) {
  std::string pci = b.pci_device("0000:02:00.0", {}, sim::PciSpec(0x1000, 0x0097, 0x010700,
                                                                  "mpt3sas"));
  auto hba = b.sas_hba(pci, 6, {0, 1, 2, 3});
  auto exp = b.sas_expander(hba, {0, 1, 2, 3}, 12);
  b.sas_expander_disk(exp, 7, sim::EndDeviceSpec("0x5000cca0506b5f1d", 6, "0x5000ccab02"),
                      BlockSpec("sdk", "HITACHI", "HUSMM111CLAR1600").with_sg(9));
  models.add("/dev/sg9", std::make_shared<sim::SasDiskModel>(sim::SasDiskSpec{
                             .vendor = "HITACHI", .product = "HUSMM111CLAR1600",
                             .serial = "0QV0X1AA", .blocks = 390721968, .block_len = 4096,
                             .rotation = 0}));
  model_conf("[System Disk 3]\nDEV_BUS = 02:00.0\nDEV_PORT = 7\n");
  PD_INFO info;
  ASSERT_EQ(pd_sys_getinfo("root", "sdk", &info), 0);
  EXPECT_EQ(summary(info), "p3 t1 HITACHI|HUSMM111CLAR1600|0QV0X1AA|E002 390721968x4096 r0 c301f l4 mpt3sas");
  EXPECT_EQ(info.att_phy_id, 7);
  EXPECT_EQ(info.wwn_len * 1000 + info.wwn[0], 8080);
}

TEST_F(GetinfoTest, NvmeDiskFromIdentify) {
  std::string rp = b.pci_bridge("0000:00:1d.0", 3);
  std::string nv = b.pci_device("0000:03:00.0", rp, sim::PciSpec(0x144d, 0xa808, 0x010802, "nvme"));
  b.attr(nv + "/current_link_speed", "8.0 GT/s PCIe");
  b.attr(nv + "/max_link_speed", "16.0 GT/s PCIe");
  b.nvme(nv, 0, sim::NvmeSpec{});
  models.add("/dev/nvme0n1", std::make_shared<sim::NvmeModel>(sim::NvmeCtrlSpec{
                                 .oncs = 0x0004, .namespaces = {244190646ull}, .lbads = 12}));
  model_conf("[System Disk 4]\nDEV_BUS = 00:1d.0\nDEV_PORT = 0\n");
  PD_INFO info;
  ASSERT_EQ(pd_sys_getinfo("root", "nvme0n1", &info), 0);
  EXPECT_EQ(summary(info), "p4 t4 NVMe|BAYSIM NVME SSD 1TB|S5H9NS0N000001|2B2QEXM7 244190646x4096 r0 c21e l13 nvme");
  EXPECT_EQ(std::string(info.pd_ctrl_name) + " " + info.pd_sys_name + " " + info.pd_bus_name,
            "/dev/nvme0n1 /dev/nvme0n1 0000:03:00.0");
  EXPECT_EQ(info.pd_max_link_speed, kPcie16GT);
}

TEST_F(GetinfoTest, SilentDevicesAndAnEmptyOpticalDriveAreDescribed) {
  b.ahci_disk(ports[1], BlockSpec("sdb", "ATA", "ST8000DM004-2CX1", "0001").with_size(15628053168ull));
  PD_INFO info;
  ASSERT_EQ(pd_sys_getinfo("root", "sdb", &info), 0);  // no model answers for /dev/sg*
  EXPECT_EQ(summary(info), "p2 t0 ATA|ST8000DM004-2CX1||0001 15628053168x512 r-1 c400 l3 ahci");  // rotation unknown (-1), not zero
  // An optical drive without a disc is described, not refused.
  b.ahci_disk(ports[2], BlockSpec("sr0", "HL-DT-ST", "DVD+-RW GH82N").with_type(5).with_sg(2)
                            .as_removable());
  models.add("/dev/sg2", std::make_shared<sim::OpticalDriveModel>(sim::OpticalSpec{}));
  model_conf("[ODD Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 2\n");
  ASSERT_EQ(pd_sys_getinfo("root_odd", "sr0", &info), 0);
  EXPECT_EQ(summary(info), "p1 t0 HL-DT-ST|DVD+-RW GH82N||A101 0x512 r-1 c0 l3 ahci");
}

class UsbGetinfoTest : public DiskSysTest {
 protected:
  sim::UsbDev ss;
  void SetUp() override {
    std::string x = b.pci_device("0000:00:14.0", {}, sim::PciSpec(0x8086, 0xa36d, 0x0c0330,
                                                                 "xhci_hcd", "xhci_pci"));
    ss = b.usb_root_hub(x, 2, 5000, 4);
    model_conf("[Usb Port 1]\nDEV_BUS = 00:14.0\nDEV_PORT = 1,2,3\n");
  }
};

TEST_F(UsbGetinfoTest, RemovableMediaWithoutCapacityOrBelowOneGibAreRefused) {
  b.usb_storage(b.usb_device(ss, 1), 0,
                {BlockSpec("sda", "Generic-", "SD/MMC CRW").as_removable().with_sg(0)});
  sim::UsbBridgeSpec reader{.removable = true};
  models.add("/dev/sg0", std::make_shared<sim::UsbBridgeModel>(reader, nullptr));
  PD_INFO info;
  EXPECT_EQ(pd_sys_getinfo("root_usb", "sda", &info), -2);
  EXPECT_NE(root.read("/var/log/hal_lib.log").find("pd_sys_id = sda, capacity = 0, return -2."),
            std::string::npos);

  b.usb_storage(b.usb_device(ss, 2), 1,
                {BlockSpec("sdb").as_removable().with_sg(1).with_size(2097152)});  // 1 GiB
  // One sector short of 1 GiB: capacity x sector size <= 0x3fffffff.
  models.add("/dev/sg1", std::make_shared<sim::UsbBridgeModel>(
                             reader, std::make_shared<sim::SataDiskModel>(
                                         sim::AtaDiskSpec{.sectors = 2097151})));
  EXPECT_EQ(pd_sys_getinfo("root_usb", "sdb", &info), -2);
  EXPECT_NE(root.read("/var/log/hal_lib.log").find("pd_sys_id = sdb is removable disk"),
            std::string::npos);
}

TEST_F(UsbGetinfoTest, UsbDiskBehindASatBridgeHasTheDrivesIdentityAndWithoutSatTheBridges) {
  b.usb_storage(b.usb_device(ss, 3, sim::UsbSpec(0x0bc2, 0x2322, "Seagate", "Expansion", 5000)),
                2, {BlockSpec("sdc", "Seagate", "Expansion").with_sg(2)});
  models.add("/dev/sg2", std::make_shared<sim::UsbBridgeModel>(
                             sim::UsbBridgeSpec{.vendor = "Seagate", .product = "Expansion"},
                             std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{
                                 .model = "ST2000LM015-2E8174", .serial = "ZDZ00000"})));
  PD_INFO info;
  ASSERT_EQ(pd_sys_getinfo("root_usb", "sdc", &info), 0);
  EXPECT_EQ(summary(info), "p1 t2 Seagate|ST2000LM015-2E8174|ZDZ00000|SIM01A 7814037168x512 r7200 c57 l8 xhci_pci");

  // A bridge that does not pass ATA commands through: the bridge's own identity.
  b.usb_storage(b.usb_device(ss, 1, sim::UsbSpec(0x152d, 0x0578, "JMicron", "Generic", 5000)),
                3, {BlockSpec("sdd", "JMicron", "Generic").with_sg(3)});
  models.add("/dev/sg3", std::make_shared<sim::UsbBridgeModel>(
                             sim::UsbBridgeSpec{.sat_passthrough = false},
                             std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{})));
  ASSERT_EQ(pd_sys_getinfo("root_usb", "sdd", &info), 0);
  EXPECT_EQ(summary(info), "p1 t2 JMicron|Generic|0123456789AB|0508 7814037168x512 r-1 c10 l8 xhci_pci");
}

TEST_F(GetinfoTest, BadArgumentsAndUnknownDisks) {
  PD_INFO info;
  EXPECT_EQ(pd_sys_getinfo(nullptr, "sda", &info), -1);
  EXPECT_EQ(pd_sys_getinfo("root", "sda", nullptr), -1);
  EXPECT_EQ(pd_sys_getinfo("root", "../../etc/passwd", &info), -1);
  EXPECT_EQ(pd_sys_getinfo("root", "sdq", &info), -1) << "no such block device";
  EXPECT_EQ(pd_sys_getinfo("px_3", "sda", &info), -1);
  EXPECT_EQ(pd_sys_getinfo("hzr_1_2", "sda", &info), -1);
}

TEST_F(GetinfoTest, NamesDriversAndTheBootDisk) {
  std::string unit = b.ahci_disk(ports[1], BlockSpec("sdb"));
  b.partition(unit + "/block/sdb", "sdb3", 3, 1024);
  char id[32];
  ASSERT_EQ(pd_sys_get_sys_id_by_sys_name("/dev/sdb3", id, sizeof id), 0);
  EXPECT_STREQ(id, "sdb");
  ASSERT_EQ(pd_sys_get_sys_id_by_sys_name("sdb", id, sizeof id), 0);
  EXPECT_STREQ(id, "sdb");
  EXPECT_EQ(pd_sys_get_sys_id_by_sys_name("/dev/../sdb", id, sizeof id), -1);
  EXPECT_EQ(pd_sys_get_sys_id_by_sys_name("sdz", id, sizeof id), -1);
  EXPECT_EQ(pd_sys_get_sys_id_by_sys_name("sdb", id, 3), -1) << "buffer too small";

  char drv[32];
  ASSERT_EQ(pd_sys_get_driver_name("sdb", drv, sizeof drv), 0);
  EXPECT_STREQ(drv, "ahci");

  EXPECT_EQ(pd_sys_get_boot_disk(id, sizeof id), -1);
  root.write("/proc/mounts", "rootfs / rootfs rw 0 0\n/dev/sdb3 /boot ext2 ro 0 0\n");
  ASSERT_EQ(pd_sys_get_boot_disk(id, sizeof id), 0);
  EXPECT_STREQ(id, "sdb");
  auto boot = enumerate("root_boot");
  ASSERT_EQ(boot.size(), 1u);
  EXPECT_EQ(boot[0], "sdb");
  // A model that names the boot device's port wins over the mounts.
  b.ahci_disk(ports[3], BlockSpec("sdd"));
  model_conf("[Boot Enclosure]\nDEV_BUS = 00:17.0\nDEV_PORT = 3\n");
  ASSERT_EQ(pd_sys_get_boot_disk(id, sizeof id), 0);
  EXPECT_STREQ(id, "sdd");
}

}  // namespace
}  // namespace bayhal::test
