// Slot mapping on each controller topology: which disks an enclosure holds and which slot
// each one sits in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "disk_sys/comm_sys.h"
#include "disk_sys/disk_backend.h"
#include "disk_sys/root_lookup.h"
#include "foundation/command_runner.h"
#include "tests/disk_sys/disk_sys_fixture.h"
#include "tests/enclosure/enc_fakes.h"

namespace bayhal::test {
namespace {

using sim::BlockSpec;
using sim::EndDeviceSpec;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(DiskSysTest, AhciHostsStartingAtHostTwoMapPortOneToHostThree) {
  // A first controller takes hosts 0-1, so the appliance's own AHCI starts at host 2.
  auto other = b.ahci(ahci_pci("0000:00:11.4"), 2, 0);
  b.ahci_disk(other[0], BlockSpec("sda"));
  auto ports = b.ahci(ahci_pci("0000:00:17.0"), 4, 2, 3);
  b.ahci_disk(ports[1], BlockSpec("sdb"));  // host3
  b.ahci_disk(ports[3], BlockSpec("sdd"));  // host5
  model_conf(
      "[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n"
      "[System Disk 2]\nDEV_BUS = 00:17.0\nDEV_PORT = 3\n"
      "[System Disk 3]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\n");
  EXPECT_THAT(enumerate("root"), ElementsAre("sdb", "sdd"));
  EXPECT_EQ(port_of("root", "sdb"), 1);
  EXPECT_EQ(port_of("root", "sdd"), 2);
  EXPECT_EQ(port_of("root", "sda"), -1) << "not in a slot";
  std::string name;
  ASSERT_EQ(lookup_disk_in_root(0, "00:17.0", "", 1, -1, name), 0);
  EXPECT_EQ(name, "sdb");
  EXPECT_EQ(lookup_disk_in_root(0, "00:17.0", "", 2, -1, name), -1) << "port 2 is empty";
}

TEST_F(DiskSysTest, SasHbaDisksOnPhysAndBehindAnExpander) {
  std::string bridge = b.pci_bridge("0000:00:01.0", 1);
  std::string pci = b.pci_device("0000:01:00.0", bridge, sim::PciSpec(0x1000, 0x0097, 0x010700,
                                                                     "mpt3sas"));
  auto hba = b.sas_hba(pci, 6, {0, 1, 2, 3, 4, 5, 6, 7});
  b.sas_direct_disk(hba, {0}, EndDeviceSpec("0x5000c500a0000001"), BlockSpec("sdc"));
  EndDeviceSpec libsas("0x5000c500a0000009", -1, "", "sata");
  libsas.channel_target = true;  // "target6:<n>:0"
  b.sas_direct_disk(hba, {1}, libsas, BlockSpec("sdf"));
  b.sas_direct_disk(hba, {2}, EndDeviceSpec("0x5000c500a0000002"),
                    BlockSpec("sr0", "TEAC", "DV-W28S").with_type(5));
  auto exp = b.sas_expander(hba, {4, 5, 6, 7}, 24);
  b.sas_expander_disk(exp, 3, EndDeviceSpec("0x5000c500a0000003", 3, "0x500", "sata"),
                      BlockSpec("sdd"));
  b.sas_expander_disk(exp, 10, EndDeviceSpec("0x5000c500a0000004", 10, "0x500"),
                      BlockSpec("sde"));
  model_conf(
      "[System Disk 1]\nDEV_BUS = 00:01.0\nDEV_PORT = 0\n"
      "[System Disk 2]\nDEV_BUS = 00:01.0\nDEV_PORT = 3\n"     // host phy 3 is unused
      "[System Disk 3]\nDEV_BUS = 00:01.0\nDEV_PORT = 10\n"    // only the expander has it
      "[System Disk 4]\nDEV_BUS = 00:01.0\nDEV_PORT = 2\n"     // an optical drive
      "[System Disk 5]\nDEV_BUS = 00:01.0\nDEV_PORT = 1\n"
      "[System Disk 6]\nDEV_BUS = 00:01.0\nDEV_PORT = 5\n");   // nothing there
  EXPECT_THAT(enumerate("root"), ElementsAre("sdc", "sdd", "sde", "sdf"));
  EXPECT_EQ(port_of("root", "sde"), 3);
  EXPECT_EQ(port_of("root", "sdf"), 5);
  EXPECT_EQ(port_of("root", "sr0"), -1);
  // Behind an expander or on the HBA itself, from the device's place in the tree.
  for (auto [name, behind_direct] : {std::pair{"sdc", 1}, {"sdf", 1}, {"sde", 10}}) {
    PD_INFO info;
    ASSERT_EQ(pd_sys_getinfo("root", name, &info), 0) << name;
    EXPECT_EQ(disk_backend().attached_behind_sas(info.pd_bus_name) * 10 +
                  disk_backend().attached_to_sas_hba_directly(info.pd_bus_name),
              behind_direct) << name;
  }

  auto found = lookup_in_controller(resolve_controller(0, "00:01.0", "", -1, false), 3);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].phy, 3);
  EXPECT_EQ(found[0].bay, 3);

}

TEST_F(DiskSysTest, MultiDeviceSlotIsResolvedThroughItsSubSectionsOnly) {
  auto ports = b.ahci(ahci_pci("0000:00:17.0"), 4, 0);
  b.ahci_disk(ports[0], BlockSpec("sda"));
  b.ahci_disk(ports[1], BlockSpec("sdb"));
  b.ahci_disk(ports[2], BlockSpec("sdc"));
  b.ahci_disk(ports[3], BlockSpec("sdd"));
  model_conf(
      "[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\nMULTI_DEVICE = 2\n"
      "[System Disk 1-1]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n"
      "[System Disk 1-2]\nDEV_BUS = 00:17.0\nDEV_PORT = 2\n"
      "[System Disk 1-3]\nDEV_BUS = 00:17.0\nDEV_PORT = 3\n");
  EXPECT_THAT(enumerate("root"), ElementsAre("sdb", "sdc"));
  EXPECT_EQ(port_of("root", "sdb"), 1000);
  EXPECT_EQ(port_of("root", "sdc"), 1001);
  EXPECT_EQ(port_of("root", "sda"), -1);
}

class UsbSlotTest : public DiskSysTest {
 protected:
  void SetUp() override {
    std::string x = b.pci_device("0000:00:14.0", {}, sim::PciSpec(0x8086, 0xa36d, 0x0c0330,
                                                                 "xhci_hcd", "xhci_pci"));
    auto hs = b.usb_root_hub(x, 1, 480, 6);
    auto ss = b.usb_root_hub(x, 2, 5000, 4);
    b.usb_storage(b.usb_device(hs, 2, sim::UsbSpec(0x0781, 0x5567, "SanDisk", "Cruzer", 480)), 6,
                  {BlockSpec("sdx", "SanDisk", "Cruzer")});
    b.usb_storage(b.usb_device(ss, 2), 7, {BlockSpec("sdy", "Seagate", "Expansion")});
    auto hub = b.usb_device(hs, 1, sim::UsbSpec(0x05e3, 0x0610, "GL", "Hub", 480, 4));
    b.usb_storage(b.usb_device(hub, 3, sim::UsbSpec(0x0bda, 0x0129, "Realtek", "Reader", 480)),
                  8, {BlockSpec("sdm", "Generic-", "SD/MMC").as_removable(),
                      BlockSpec("sdn", "Generic-", "MS/MS-Pro").as_removable()});
  }
};

TEST_F(UsbSlotTest, PortDescribedOnlyForSuperSpeedFindsDisksOnlyThere) {
  model_conf("[Usb Port 1]\nDEV_BUS = 00:14.0\nDEV_PORT_SS = 2\n");
  EXPECT_THAT(enumerate("root_usb"), ElementsAre("sdy"));
  model_conf("[Usb Port 1]\nDEV_BUS = 00:14.0\nDEV_PORT_NS = 2\n");
  EXPECT_THAT(enumerate("root_usb"), ElementsAre("sdx"));
  model_conf("[Usb Port 1]\nDEV_BUS = 00:14.0\nDEV_PORT_SSP = 2\n");
  EXPECT_THAT(enumerate("root_usb"), IsEmpty()) << "no SuperSpeedPlus bus";
  // Both connections of one physical port.
  model_conf("[Usb Port 1]\nDEV_BUS = 00:14.0\nDEV_PORT_SS = 2\nDEV_PORT_NS = 2\n");
  EXPECT_THAT(enumerate("root_usb"), ElementsAre("sdy", "sdx"));
  // The system disks themselves on USB, when the model says so.
  model_conf("[System Enclosure]\nDISK_DRV_TYPE = usb\n[System Disk 1]\nDEV_BUS = 00:14.0\nDEV_PORT_SS = 2\n");
  EXPECT_THAT(enumerate("root"), ElementsAre("sdy"));
}

TEST_F(UsbSlotTest, PortListsHubsAndLuns) {
  model_conf(
      "[Usb Port 1]\nDEV_BUS = 00:14.0\nDEV_PORT = 2,4\n"   // a list searches every bus
      "[Usb Port 2]\nDEV_BUS = 00:14.0\nIN_HUB_NS = 1\nHUB_PORT_NS = 1\nDEV_PORT_NS = 3\n");
  EXPECT_THAT(enumerate("root_usb"), ElementsAre("sdx", "sdy", "sdm", "sdn"));
  EXPECT_EQ(port_of("root_usb", "sdx"), 1);
  EXPECT_EQ(port_of("root_usb", "sdy"), 1001);
  EXPECT_EQ(port_of("root_usb", "sdm"), 2);
  EXPECT_EQ(port_of("root_usb", "sdn"), 2001);
  EXPECT_THAT(comm_sys_get_each_usb_port("1-3, 7;9"), ElementsAre(1, 2, 3, 7, 9));
  EXPECT_THAT(comm_sys_get_each_usb_port("x,-1,2-1"), IsEmpty());
}

TEST_F(DiskSysTest, NvmeSlotsDirectBehindASwitchAndOnAnM2Card) {
  std::string rp = b.pci_bridge("0000:00:1d.0", 3);
  b.nvme(b.pci_device("0000:03:00.0", rp, sim::PciSpec(0x144d, 0xa808, 0x010802, "nvme")), 0);
  // Root port -> switch upstream (bus 4) -> downstream ports 4:01.0 and 4:02.0.
  std::string rp2 = b.pci_bridge("0000:00:1c.0", 4);
  std::string up = b.pci_bridge("0000:04:00.0", 5, rp2);
  std::string d1 = b.pci_bridge("0000:05:01.0", 6, up);
  std::string d2 = b.pci_bridge("0000:05:02.0", 7, up);
  b.nvme(b.pci_device("0000:06:00.0", d1, sim::PciSpec(0x1987, 0x5012, 0x010802, "nvme")), 1);
  b.nvme(b.pci_device("0000:07:00.0", d2, sim::PciSpec(0x1987, 0x5012, 0x010802, "nvme")), 2);
  model_conf(
      "[System Disk 1]\nDEV_BUS = 00:1d.0\nDEV_PORT = 0\n"
      "[System Disk 2]\nDEV_BUS = 00:1c.0\nDEV_PORT = 0\nPCI_SWITCH_PORT = 2\n"
      "[System Disk 3]\nDEV_BUS = 00:1c.0\nDEV_PORT = 0\n");  // a switch without its port
  EXPECT_THAT(enumerate("root"), ElementsAre("nvme0n1", "nvme2n1"));
  EXPECT_EQ(comm_sys_get_root_nvme_port_id("nvme2n1"), 2);
  EXPECT_EQ(comm_sys_get_root_nvme_port_id("nvme1n1"), -1);

  // An M.2 card carries its own bridge between the slot and the drive.
  std::string rp3 = b.pci_bridge("0000:00:1b.0", 8);
  std::string card = b.pci_bridge("0000:08:00.0", 9, rp3);
  b.nvme(b.pci_device("0000:09:00.0", card, sim::PciSpec(0x15b7, 0x5006, 0x010802, "nvme")), 3);
  model_conf(
      "[System Enclosure]\nDISK_DRV_TYPE = M_2\n"
      "[System Disk 1]\nDEV_BUS = 00:1b.0\nDEV_PORT = 0\n");
  EXPECT_THAT(enumerate("root"), ElementsAre("nvme3n1"));
}

TEST_F(DiskSysTest, MissingAndBrokenSlotsAreSkippedWithoutFailingTheEnclosure) {
  auto ports = b.ahci(ahci_pci("0000:00:17.0"), 2, 0);
  b.ahci_disk(ports[0], BlockSpec("sda"));
  b.ahci_disk(ports[1], BlockSpec("sdb"));
  // A controller whose "ata" folder holds two hosts cannot be mapped.
  std::string broken = ahci_pci("0000:00:1f.2");
  b.scsi_host(broken + "/ata1", 7, "ahci");
  b.scsi_host(broken + "/ata1", 8, "ahci");
  model_conf(
      "[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\n"
      "[System Disk 2]\nDEV_BUS = 00:17.0\n"                  // no DEV_PORT
      "[System Disk 3]\nDEV_BUS = 03:00.0\nDEV_PORT = 0\n"    // controller not fitted
      "[System Disk 4]\nDEV_BUS = 00:1f.2\nDEV_PORT = 0\n"    // broken
      "[System Disk 5]\nDEV_BUS = ../../etc\nDEV_PORT = 0\n"  // nonsense
      "[System Disk 7]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n");  // after a gap
  int rc = 0;
  EXPECT_THAT(enumerate("root", 64, &rc), ElementsAre("sda", "sdb"));
  EXPECT_EQ(rc, 2);
  EXPECT_EQ(port_of("root", "sdb"), 7);
  EXPECT_NE(root.read("/var/log/hal_lib.log").find("System Error:host_count = 2"),
            std::string::npos);
  root.write("/etc/model.conf", "");
  EXPECT_THAT(enumerate("root", 64, &rc), IsEmpty());
  EXPECT_EQ(rc, 0);
}

TEST_F(DiskSysTest, EsataPortMultiplierVirtioAndXen) {
  auto ports = b.ahci(ahci_pci("0000:00:17.0"), 2, 0);
  b.ahci_disk(ports[1], BlockSpec("sdb"));
  b.scsi_unit(ports[1].host_dir, ports[1].host, 1, 0, 0, BlockSpec("sdc"));  // PMP link 1
  model_conf("[Esata Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n");
  EXPECT_THAT(enumerate("root_esata"), ElementsAre("sdb", "sdc"));
  EXPECT_EQ(port_of("root_esata", "sdc"), 1001);

  b.virtio_blk(b.pci_device("0000:00:05.0"), 1, "vda", 2048);
  b.virtio_blk(b.pci_device("0000:00:06.0"), 2, "vdb", 2048);
  model_conf(
      "[System Enclosure]\nDISK_DRV_TYPE = Virtio\n"
      "[System Disk 1]\nDEV_BUS = 00:06.0\nDEV_PORT = 0\n"
      "[System Disk 2]\nDEV_PORT = 1\n");  // by virtio index
  EXPECT_THAT(enumerate("root"), ElementsAre("vdb", "vda"));
  b.xen_vbd(51728, "xvdb", 2048);
  model_conf("[System Enclosure]\nDISK_DRV_TYPE = XENVBD\n[System Disk 1]\nDEV_PORT = 51728\n");
  EXPECT_THAT(enumerate("root"), ElementsAre("xvdb"));
}

// An iSCSI login's place in the session list is no slot: the disk store allocates its id.
TEST_F(DiskSysTest, IscsiDisksTakeNoPositionAsTheirId) {
  for (int n : {1, 2}) {
    std::string session = "/sys/devices/platform/host" + std::to_string(6 + n) + "/session" + std::to_string(n);
    b.scsi_unit(session, 6 + n, 0, 0, 0, BlockSpec(n == 1 ? "sdk" : "sdl"));
    std::string entry = session + "/iscsi_session/session" + std::to_string(n);
    b.link(entry + "/device", session);
    b.link("/sys/class/iscsi_session/session" + std::to_string(n), entry);
  }
  EXPECT_THAT(enumerate("root_iscsi"), ElementsAre("sdk", "sdl"));
  EXPECT_EQ(port_of("root_iscsi", "sdl"), -1);
}

TEST_F(DiskSysTest, EnumerationTagsDisksForUdevAndReportsOverflow) {
  auto ports = b.ahci(ahci_pci("0000:00:17.0"), 3, 0);
  for (int i = 0; i < 3; ++i)
    b.ahci_disk(ports[static_cast<size_t>(i)], BlockSpec(std::string("sd") + char('a' + i)));
  model_conf(
      "[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\n"
      "[System Disk 2]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n"
      "[System Disk 3]\nDEV_BUS = 00:17.0\nDEV_PORT = 2\n");
  {
    FakeRunner rec;
    rec.udevd_running = true;
    EXPECT_EQ(enumerate("root").size(), 3u);
    EXPECT_THAT(rec.shells, ElementsAre("pidof udevd 1 > /dev/null 2 >& 1"));
    EXPECT_THAT(rec.execs, ElementsAre("/sbin/udevadm|control|--env=sda=root",
                                       "/sbin/udevadm|control|--env=sdb=root",
                                       "/sbin/udevadm|control|--env=sdc=root"));
    rec.shells.clear();
    rec.execs.clear();
    int rc = 0;
    auto two = enumerate("root", 2, &rc);
    EXPECT_EQ(rc, 3) << "the count that did not fit";
    EXPECT_THAT(two, ElementsAre("sda", "sdb"));
    EXPECT_THAT(rec.execs, IsEmpty()) << "no tagging when the list overflowed";
  }
  EXPECT_NE(root.read("/var/log/hal_lib.log").find("pd_sys_enumerate"), std::string::npos);

  EXPECT_EQ(pd_sys_enumerate("px_1", nullptr, 0), -1);
  EXPECT_EQ(pd_sys_enumerate(nullptr, nullptr, 0), -1);
  char* list[1];
  EXPECT_EQ(pd_sys_enumerate("root", list, -1), -1);
}

}  // namespace
}  // namespace bayhal::test
