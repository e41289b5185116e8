// The simulated machine: the kernel's tree of the sample appliance at power-on, and the
// tree after disks and the expansion unit come and go.
#include <gtest/gtest.h>

#include <filesystem>

#include "sim/halsim/machine.h"
#include "tests/support/sandbox_root.h"

namespace bayhal::sim::halsim {
namespace {

namespace fs = std::filesystem;

const std::string kSample = std::string(BAYHAL_SOURCE_DIR) + "/examples/appliances/sample.ini";

Scenario sample() {
  std::string error;
  auto sc = load_scenario(kSample, error);
  EXPECT_TRUE(sc) << error;
  return sc ? *sc : Scenario{};
}

class HalsimMachine : public bayhal::test::SandboxTest {
 protected:
  std::vector<std::string> plugged, unplugged;
  Machine machine{sample(), root.dir(),
                  PlugHooks{[this](const PluggedDisk& pd, const Disk&) { plugged.push_back(pd.slot); },
                            [this](const PluggedDisk& pd) { unplugged.push_back(pd.slot); }}};

  // Where an appliance path really leads, as an appliance path.
  std::string real(const std::string& app) {
    std::error_code ec;
    std::string p = fs::canonical(root.path(app), ec).string();
    return ec ? "" : p.substr(root.dir().size());
  }
  int dangling_links() {
    int n = 0;
    for (auto& e : fs::recursive_directory_iterator(root.path("/sys")))
      if (e.is_symlink() && !fs::exists(e.path())) ++n;
    return n;
  }
  std::string device_of(const std::string& slot) { return machine.visible().at(slot).pd_sys_id; }
};

TEST_F(HalsimMachine, PowerOnShowsEveryPresentDiskWhereTheKernelWould) {
  machine.power_on();
  EXPECT_EQ(machine.visible().size(), 15u);  // 6 system, 1 cache, 1 USB, 7 in the unit
  EXPECT_EQ(plugged.size(), 15u);
  // AHCI ports probe in order: the disk of slot 3 is the third sd device. (That discovery
  // finds each disk in its bay through these trees is the appliance test's.)
  EXPECT_EQ(device_of("root/3"), "sdc");
  EXPECT_FALSE(root.exists("/sys/class/nvme/nvme1"));  // cache slot 2 is empty
  EXPECT_EQ(root.read(fs::path(real("/sys/block/" + device_of("jbod/5"))).parent_path().parent_path().string() +
                      "/sas_address"),
            "0x5000ccab0200e043\n");  // the expander's SATA bridge address for phy 4
  // The unit's enclosure services report its bays and serial.
  std::vector<std::string> encl;
  for (auto& e : fs::directory_iterator(root.path("/sys/class/enclosure"))) encl.push_back(e.path().string());
  ASSERT_EQ(encl.size(), 1u);
  EXPECT_EQ(root.read("/sys/class/enclosure/" + fs::path(encl[0]).filename().string() + "/components"), "12\n");
  EXPECT_TRUE(root.exists("/dev/sdc"));
  EXPECT_EQ(dangling_links(), 0);
}

TEST_F(HalsimMachine, PulledDiskTakesItsNodesAndLinksAndComesBackUnderTheSameName) {
  machine.power_on();
  PluggedDisk before = machine.visible().at("root/3");
  std::string error;
  auto pulled = machine.remove("root/3", error);
  ASSERT_TRUE(pulled) << error;
  EXPECT_EQ(pulled->pd_sys_id, "sdc");
  EXPECT_EQ(unplugged, std::vector<std::string>{"root/3"});
  for (const std::string& gone : std::vector<std::string>{"/sys/block/sdc", "/dev/sdc", "/dev/" + before.sg,
           "/sys/class/scsi_generic/" + before.sg, "/sys/bus/scsi/devices/2:0:0:0"})
    EXPECT_FALSE(root.exists(gone)) << gone;
  EXPECT_TRUE(root.exists("/sys/class/scsi_host/host2"));  // the port stays
  EXPECT_EQ(dangling_links(), 0);

  // Re-inserted without naming the disk: the one pulled, under the lowest free names again.
  auto back = machine.insert("root/3", "", error);
  ASSERT_TRUE(back) << error;
  EXPECT_EQ(back->disk, "hdd3");
  EXPECT_EQ(back->pd_sys_id, "sdc");
  EXPECT_EQ(back->sg, before.sg);
  EXPECT_EQ(real("/sys/block/sdc"), real("/sys/class/scsi_disk/2:0:0:0/device") + "/block/sdc");

  auto spare = machine.insert("root/7", "spare", error);
  ASSERT_TRUE(spare) << error;
  // sda..sdf the system disks, sdg the USB disk, sdh..sdn the unit's: the next free is sdo.
  EXPECT_EQ(spare->pd_sys_id, "sdo");
  EXPECT_EQ(machine.contents().at("root/7"), "spare");
}

TEST_F(HalsimMachine, RefusesImpossibleHotPlug) {
  machine.power_on();
  std::string error;
  struct Case {
    bool insert;
    std::string slot, disk, message;
  };
  for (const Case& c : std::vector<Case>{
           {true, "root/3", "spare", "already holds disk hdd3"},
           {true, "root/7", "", "name the disk to insert"},
           {true, "root/7", "nosuch", "no disk 'nosuch'"},
           {true, "root/7", "hdd1", "disk hdd1 sits in bay root/1"},
           {true, "cache/2", "spare", "does not fit bay cache/2"},
           {true, "root/9", "spare", "no bay root/9"},
           {false, "root/8", "", "bay root/8 is empty"},
           {false, "attic/1", "", "no bay attic/1"},
       }) {
    auto r = c.insert ? machine.insert(c.slot, c.disk, error) : machine.remove(c.slot, error);
    EXPECT_FALSE(r);
    EXPECT_NE(error.find(c.message), std::string::npos) << c.slot << ": " << error;
  }
  EXPECT_EQ(machine.visible().size(), 15u);
  EXPECT_TRUE(unplugged.empty());
}

TEST_F(HalsimMachine, UnpluggedUnitTakesItsDisksAndBringsBackWhatItsBaysHold) {
  machine.power_on();
  std::string error;
  EXPECT_EQ(machine.unplug_unit("jbod", error), "5000ccab0200e07f");
  EXPECT_EQ(unplugged.size(), 7u);
  EXPECT_EQ(machine.visible().size(), 8u);
  EXPECT_FALSE(root.exists("/sys/class/sas_expander/expander-10:0"));
  EXPECT_FALSE(fs::exists(root.path("/sys/class/enclosure")) &&
               !fs::is_empty(root.path("/sys/class/enclosure")));
  EXPECT_EQ(dangling_links(), 0);
  EXPECT_TRUE(machine.unplug_unit("jbod", error).empty());
  EXPECT_NE(error.find("not cabled"), std::string::npos);

  // A disk slid into a bay of the unplugged unit is not seen until the cable is back.
  EXPECT_FALSE(machine.insert("jbod/10", "spare", error));
  EXPECT_TRUE(error.empty()) << error;
  plugged.clear();
  EXPECT_EQ(machine.plug_unit("jbod", error), "5000ccab0200e07f");
  EXPECT_EQ(plugged.size(), 8u);
  EXPECT_TRUE(root.exists("/sys/class/sas_expander/expander-10:1"));  // a new port number
  EXPECT_NE(real("/sys/block/" + device_of("jbod/10")).find("expander-10:1"), std::string::npos);
  EXPECT_EQ(dangling_links(), 0);
}

}  // namespace
}  // namespace bayhal::sim::halsim
