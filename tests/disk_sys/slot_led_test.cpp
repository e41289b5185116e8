// Disk-slot LEDs: which interface drives each bay, and what setting and reading it does to
// the attributes the kernel offers (the AHCI host's LED message, a PCIe slot's attention).
#include <string>

#include "disk_sys/slot_leds.h"
#include "tests/disk_sys/disk_sys_fixture.h"

namespace bayhal::test {
namespace {

class SlotLedTest : public DiskSysTest {
 protected:
  void SetUp() override {
    auto ports = b.ahci(ahci_pci("0000:00:17.0"), 2, 0);
    b.attr("/sys/class/scsi_host/host1/em_message_type", "sgpio");
    b.pci_bridge("0000:00:1d.0", 3);
    b.pci_slot("5", "0000:03:00");  // an empty NVMe bay: its slot is there without a drive
    std::string rp = b.pci_bridge("0000:00:1c.0", 4);
    b.nvme(b.pci_device("0000:04:00.0", rp, sim::PciSpec(0x144d, 0xa808, 0x010802, "nvme")), 1);
    std::string hba = b.pci_device("0000:01:00.0", {}, sim::PciSpec(0x1000, 0x0097, 0x010700, "mpt3sas"));
    b.sas_hba(hba, 10, {0, 1}, "0x500605b00d3a1f00");
    model_conf(
        "[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\n"
        "[System Disk 2]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n"
        "[System Disk 4]\nDEV_BUS = 01:00.0\nDEV_PORT = 0\n"
        "[Cache Disk 1]\nDEV_BUS = 03:00.0\nDEV_PORT = 0\n"
        "[Cache Disk 2]\nDEV_BUS = 04:00.0\nDEV_PORT = 0\n");
  }
  std::string em() const { return root.read("/sys/class/scsi_host/host0/em_message"); }
  std::string attention() const { return root.read("/sys/bus/pci/slots/5/attention"); }
};

TEST_F(SlotLedTest, EachBayFindsItsPathOrSaysWhyNone) {
  struct Row {
    const char* enc;
    int port;
    SlotLedPath path;
    const char* where_or_why;
  } rows[] = {
      {"root", 1, SlotLedPath::kAhciEm, "host0"},
      {"root_cache", 1, SlotLedPath::kPciSlot, "PCI slot 5"},
      {"root", 2, SlotLedPath::kNone, "takes no LED messages (sgpio)"},
      {"root", 3, SlotLedPath::kNone, "bay 3 is not described"},
      {"root", 4, SlotLedPath::kNone, "is not AHCI"},
      {"root_cache", 2, SlotLedPath::kNone, "sits in no PCIe hot-plug slot"},
      {"usb_2-1", 1, SlotLedPath::kNone, "no LED path for this kind of enclosure"},
  };
  for (const Row& r : rows) {
    SlotLedRoute route = pd_sys_slot_led_route(r.enc, r.port);
    EXPECT_EQ(route.path, r.path) << r.enc << "/" << r.port;
    std::string shown = route.path == SlotLedPath::kNone ? route.why : route.where;
    EXPECT_NE(shown.find(r.where_or_why), std::string::npos) << shown;
    if (route.path == SlotLedPath::kNone) {
      EXPECT_EQ(pd_sys_set_ident_led(r.enc, r.port, 1), -1) << r.enc << "/" << r.port;
      EXPECT_EQ(pd_sys_get_slot_led(r.enc, r.port, SlotLed::kIdent), -1);
    }
  }
}

TEST_F(SlotLedTest, AhciLedMessageKeepsTheOtherLedsAndReadsBack) {
  EXPECT_EQ(pd_sys_set_ident_led("root", 1, 1), 0);
  EXPECT_EQ(em(), "0x80000");
  EXPECT_EQ(pd_sys_set_err_led("root", 1, 1), 0);
  EXPECT_EQ(pd_sys_set_ident_led("root", 1, 0), 0);
  EXPECT_EQ(em(), "0x400000");
  EXPECT_EQ(pd_sys_get_slot_led("root", 1, SlotLed::kFault), 1);
  EXPECT_EQ(pd_sys_get_slot_led("root", 1, SlotLed::kIdent), 0);
  EXPECT_EQ(pd_sys_set_present_led("root", 1, 1), -1);  // the message has no present LED
  // Bays 1 and 2: bay 2 has no path, bay 1 is still set.
  EXPECT_EQ(pd_sys_set_err_leds("root", 0b110, 0), -1);
  EXPECT_EQ(em(), "0x0");
}

TEST_F(SlotLedTest, AttentionIndicatorBlinksToLocateAndStaysOnForAFault) {
  EXPECT_EQ(pd_sys_set_ident_led("root_cache", 1, 1), 0);
  EXPECT_EQ(attention(), "2");
  EXPECT_EQ(pd_sys_get_slot_led("root_cache", 1, SlotLed::kIdent), 1);
  EXPECT_EQ(pd_sys_set_err_led("root_cache", 1, 1), 0);
  EXPECT_EQ(pd_sys_set_ident_led("root_cache", 1, 0), 0);  // not locating any more: the fault stays
  EXPECT_EQ(attention(), "1");
  EXPECT_EQ(pd_sys_get_slot_led("root_cache", 1, SlotLed::kFault), 1);
  EXPECT_EQ(pd_sys_set_err_led("root_cache", 1, 0), 0);
  EXPECT_EQ(attention(), "0");
  EXPECT_EQ(pd_sys_set_active_led("root_cache", 1, 1), -1);
}

}  // namespace
}  // namespace bayhal::test
