// The whole path on a kernel-shaped device tree: real discovery (pd_sys_*) over the sysfs
// builder and device models, the I/O check, the store, the hooks and the PD_* answers.
#include <cstdio>

#include "bayhal/PD.h"
#include "bayhal/SE.h"
#include "disk_sys/disk_backend.h"
#include "enclosure/disk_registry_link.h"
#include "foundation/clock.h"
#include "sim/ata_disk_model.h"
#include "sim/device_model.h"
#include "sim/sysfs_builder.h"
#include "tests/disk/disk_fixture.h"
#include "transport/device_transport.h"

namespace bayhal::test {
namespace {

using sim::BlockSpec;

class PdEndToEnd : public test::SandboxTest {
 protected:
  PdEndToEnd() {
    set_runner(&real);
    add_enclosure(0, "root", 4, 0, 0x80000000u);
    std::string pci = b.pci_device("0000:00:17.0", {}, sim::PciSpec(0x8086, 0xa352, 0x010601, "ahci"));
    ports = b.ahci(pci, 4, 2);  // hosts 2 to 5, one per port
    root.write("/etc/model.conf",
               "[System Enclosure]\nMAX_DISK_NUM = 4\n"
               "[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\n"
               "[System Disk 2]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n"
               "[System Disk 3]\nDEV_BUS = 00:17.0\nDEV_PORT = 2\n"
               "[System Disk 4]\nDEV_BUS = 00:17.0\nDEV_PORT = 3\n");
    for (const char* tool : {"/etc/init.d/pd_attach", "/etc/init.d/pd_detach", "/sbin/udevadm",
                             "/sbin/storage_util", "/sbin/sedutil-cli"})
      root.stand_in(tool);
    root.stand_in("/sbin/syscfg", "512\n");
  }
  ~PdEndToEnd() override { set_runner(nullptr); }

  // Inserts a SATA disk into AHCI port `port` (0-based) with kernel I/O counters.
  void insert(int port, const std::string& name, int sg, const std::string& serial,
              int requests, int done) {
    BlockSpec blk(name);
    blk.with_sg(sg).with_size(7814037168ull);
    b.ahci_disk(ports[static_cast<size_t>(port)], blk);
    models.add("/dev/sg" + std::to_string(sg),
               std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{
                   .model = "WDC WD40EFRX-68N32N0", .serial = serial, .firmware = "82.00A82"}));
    char text[16];
    for (auto [file, n] : {std::pair{"iorequest_cnt", requests}, {"iodone_cnt", done}}) {
      std::snprintf(text, sizeof text, "0x%x\n", n);
      root.write("/sys/class/scsi_generic/sg" + std::to_string(sg) + "/device/" + file, text);
    }
    root.write("/sys/block/" + name + "/device/varn_param_latency", "0\n");
    root.write("/sys/block/" + name + "/queue/max_sectors_kb", "1280\n");
  }

  test::WaitingRunner real;
  sim::SysfsBuilder b{root.dir()};
  sim::ModelTransport models;
  ScopedDeviceTransport use_models{models};
  std::vector<sim::AhciPort> ports;
};

TEST_F(PdEndToEnd, DiskInsertedIntoSlotThreeIsRegisteredAndAnswered) {
  insert(2, "sdc", 2, "WD-WCC7K0000003", 0x60, 0x60);
  ASSERT_EQ(PD_Sys_Attach("root", "sdc"), 0);

  EXPECT_EQ(root.calls("pd_attach"), std::vector<std::string>{"0 3 /dev/sdc"});
  EXPECT_EQ(root.calls("udevadm"), std::vector<std::string>{"control --env=sdc=root"});
  EXPECT_EQ(root.calls("storage_util"),
            std::vector<std::string>{"--ironwolf_disk_info_init dev_id=00000003"});
  EXPECT_EQ(root.read("/sys/block/sdc/device/varn_param_latency"), "1000\n");
  EXPECT_EQ(root.read("/sys/block/sdc/queue/max_sectors_kb"), "512\n");

  PD_INFO info{};
  ASSERT_EQ(PD_Get_Info(0, 3, &info), 0);
  EXPECT_STREQ(info.serial_no, "WD-WCC7K0000003");
  EXPECT_STREQ(info.pd_ctrl_name, "/dev/sg2");
  EXPECT_STREQ(info.pd_driver_name, "ahci");
  EXPECT_EQ(PD_Get_Id_By_Sys_Name(0, "/dev/sdc"), 3);
  EXPECT_EQ(PD_Check_Attach_To_SAS_HBA_Directly(0, 3), 0);

  ASSERT_EQ(PD_Sys_Detach("root", "sdc"), 0);
  EXPECT_EQ(root.calls("pd_detach"), std::vector<std::string>{"0 3 /dev/sdc"});
  EXPECT_EQ(PD_Is_Exist(0, 3), 0);
  EXPECT_EQ(PD_Get_Id_By_Sys_Id_From_History(0, "sdc"), 3);
}

TEST_F(PdEndToEnd, EnclosureScanRegistersEveryDiskThatAnswersIo) {
  insert(0, "sda", 0, "S-A", 0x100, 0x100);
  insert(1, "sdb", 1, "S-B", 5, 0);  // never completes its first requests
  insert(3, "sdd", 3, "S-D", 20, 18);
  VirtualClock clock;
  ScopedClock use_clock(clock);
  EXPECT_EQ(disk_registry_link().scan(0, nullptr), 0);
  int ids[8];
  ASSERT_EQ(PD_Enumerate(0, ids, 8), 2);
  EXPECT_EQ(ids[0], 1);
  EXPECT_EQ(ids[1], 4);
  EXPECT_EQ(clock.sleeps(), 3);  // the disk in slot 2 got its three chances
  EXPECT_EQ(root.calls("pd_attach"), (std::vector<std::string>{"0 1 /dev/sda", "0 4 /dev/sdd"}));
}

// Detaching an enclosure detaches its disks through the disk registry: their hooks run and
// their records go to history (the appliance test sees only that the enclosure is gone).
TEST_F(PdEndToEnd, EnclosureDetachCarriesItsDisksIntoHistory) {
  root.write("/etc/hal.conf", "");
  insert(0, "sda", 0, "S-A", 0x100, 0x100);
  insert(2, "sdc", 2, "S-C", 0x100, 0x100);
  ASSERT_EQ(SE_Sys_Attach("root", 0), 0);
  ASSERT_EQ(SE_Get_PD_Num(0), 2);
  ASSERT_EQ(SE_Sys_Detach("root"), 0);
  EXPECT_EQ(PD_Get_Id_By_Sys_Id_From_History(0, "sdc"), 3);
  EXPECT_EQ(root.calls("pd_detach"), (std::vector<std::string>{"0 1 /dev/sda", "0 3 /dev/sdc"}));
}

}  // namespace
}  // namespace bayhal::test
