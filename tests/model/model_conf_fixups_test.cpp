// Each fix-up on a sandbox appliance: once where the hardware disagrees with the
// description (the file changes) and once where it agrees (the file is left alone).
#include "transport/port_io.h"
#include "sim/cmos_model.h"
#include "sim/port_bus.h"
#include "sim/sysfs_builder.h"
#include "tests/model/model_conf_fixture.h"

namespace bayhal {
namespace {

using test::DmiBuilder;

const char kModel[] =
    "[System Enclosure]\nVENDOR = Sample\nCAP = 0x8000c0\nMAX_DISK_NUM = 3\nMAX_CPU_FAN_NUM = 2\n"
    "[System IO]\nREDUNDANT_POWER_1 = I2C:0x58\nREDUNDANT_POWER_2 = I2C:0x59\n"
    "[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\n"
    "[System Disk 2]\nDEV_BUS = 00:17.0\nDEV_PORT = 1\n"
    "[System Disk 3]\nDEV_BUS = 00:17.0\nDEV_PORT = 2\nPCI_SWITCH_PORT = 1\n"
    "[Thunderbolt Enclosure]\nSUPPORT_LIST = TR-004\nFORCE_ENABLE_SAS_ENC = yes\n"
    "[System Memory]\nMAX_CHANNEL_NUM = 2\nMAX_SLOT_NUM = 2\nVARN_SUPPORT = TRUE\n";

class Fixups : public test::ModelConfTest {
 protected:
  Fixups() {
    model(kModel);
    // Thunderbolt present through a domain, so that only the tests about it see it go.
    root.mkdir("/sys/bus/thunderbolt/devices/domain0");
  }
  const FixupResult& run(const std::string& name) {
    report = {};
    EXPECT_EQ(setup_model_conf(nullptr, &report), 0);
    const FixupResult* f = fixup(report, name);
    if (f == nullptr) ADD_FAILURE() << "no fix-up " << name;
    static FixupResult none;
    return f ? *f : none;
  }
  ModelSetupReport report;
};

TEST_F(Fixups, NothingChangesWhenTheHardwareMatches) {
  std::string before = root.read("/etc/model.conf");
  setup_model_conf(nullptr, &report);
  for (const FixupResult& f : report.fixups) EXPECT_FALSE(f.changed) << f.name << ": " << f.detail;
  EXPECT_EQ(report.fixups.size(), 9u);
  EXPECT_EQ(root.read("/etc/model.conf"), before);
}

TEST_F(Fixups, PowerSupplyListedOnceDropsTheSecondSupply) {
  DmiBuilder two;
  two.power_supply(0x2700, true).power_supply(0x2701, true).end_of_table();
  firmware(two);
  EXPECT_FALSE(run("power supply").changed);
  EXPECT_EQ(get("System IO", "REDUNDANT_POWER_2"), "I2C:0x59");

  DmiBuilder one;
  one.power_supply(0x2700, true).power_supply(0x2701, false).end_of_table();
  firmware(one);
  EXPECT_TRUE(run("power supply").changed);
  EXPECT_EQ(get("System IO", "REDUNDANT_POWER_2"), "<absent>");
  EXPECT_EQ(get("System IO", "REDUNDANT_POWER_1"), "I2C:0x58");
}

TEST_F(Fixups, ThunderboltBitGoesOnlyWhenNeitherOptionNorDomainShowsIt) {
  ::rmdir(root.path("/sys/bus/thunderbolt/devices/domain0").c_str());
  root.stand_in("/sbin/dmidecode", "\tOption 1: Thunderbolt 3 add-in card\n");
  EXPECT_FALSE(run("thunderbolt").changed);
  EXPECT_EQ(get("System Enclosure", "CAP"), "0x8000c0");

  root.stand_in("/sbin/dmidecode", "\tOption 1: SATA DOM\n");
  EXPECT_TRUE(run("thunderbolt").changed);
  EXPECT_EQ(get("System Enclosure", "CAP"), "0xc0");
  EXPECT_EQ(get("TBTnet", "T2E_SUPPORT"), "0");
  EXPECT_EQ(root.calls("dmidecode"), (std::vector<std::string>{"-q -t 12", "-q -t 12"}));
}

TEST_F(Fixups, SuspendBitGoesWithTheSasAdaptersThatBlockIt) {
  pci_function("0000:01:00.0", 0x1000, 0x0087, 0x010700);  // another SAS2308: fine
  EXPECT_FALSE(run("suspend to RAM").changed);
  EXPECT_EQ(get("System Enclosure", "CAP"), "0x8000c0");
  pci_function("0000:02:00.0", 0x1000, 0x0072, 0x010700);
  EXPECT_TRUE(run("suspend to RAM").changed);
  EXPECT_EQ(get("System Enclosure", "CAP"), "0x800080");
}

TEST_F(Fixups, CpuFanCountFollowsTheTurningLabelledFans) {
  root.write("/sys/class/hwmon/hwmon1/fan1_label", "CPU Fan\n");
  root.write("/sys/class/hwmon/hwmon1/fan1_input", "1250\n");
  root.write("/sys/class/hwmon/hwmon1/fan2_label", "CPU Fan 2\n");
  root.write("/sys/class/hwmon/hwmon1/fan2_input", "1190\n");
  root.write("/sys/class/hwmon/hwmon1/fan3_label", "SYS Fan\n");
  root.write("/sys/class/hwmon/hwmon1/fan3_input", "900\n");
  EXPECT_FALSE(run("cpu fans").changed);
  root.write("/sys/class/hwmon/hwmon1/fan2_input", "0\n");
  EXPECT_TRUE(run("cpu fans").changed);
  EXPECT_EQ(get("System Enclosure", "MAX_CPU_FAN_NUM"), "1");
}

TEST_F(Fixups, VirtualMachineDescribesItsParavirtualDisks) {
  sim::SysfsBuilder b(root.dir());
  b.virtio_blk(b.pci_device("0000:00:05.0"), 3, "vdb", 2048);
  b.virtio_blk(b.pci_device("0001:00:04.0"), 1, "vda", 4096);
  cpu("Intel Core Processor (Skylake)");  // no hypervisor flag: a real machine
  EXPECT_FALSE(run("virtual disks").changed);
  EXPECT_EQ(get("System Disk 1", "DEV_BUS"), "00:17.0");

  cpu("QEMU Virtual CPU", "fpu sse2 hypervisor lahf_lm");
  EXPECT_TRUE(run("virtual disks").changed);
  std::string got;
  for (auto [section, key] : {std::pair{"System Enclosure", "MAX_DISK_NUM"},
                              {"System Enclosure", "DISK_DRV_TYPE"}, {"System Disk 1", "DEV_BUS"},
                              {"System Disk 1", "DEV_DOMAIN"}, {"System Disk 1", "DEV_PORT"},
                              {"System Disk 2", "DEV_BUS"}, {"System Disk 2", "DEV_PORT"},
                              {"System Disk 2", "DISK_DRV_TYPE"}, {"System Disk 2", "DEV_DOMAIN"},
                              {"System Disk 3", "DEV_BUS"}})
    got += get(section, key) + " ";
  EXPECT_EQ(got, "2 VIRTIO 00:04.0 1 1 00:05.0 3 VIRTIO <absent> <absent> ");
  // A second start finds the description already right.
  EXPECT_FALSE(run("virtual disks").changed);
}

TEST_F(Fixups, DynamicMappingsComeFromCmosOnlyWhenAsked) {
  sim::PortBus bus;
  sim::CmosModel cmos;
  cmos.attach_to(bus);
  ScopedPortIo ports(bus);
  cmos.put(1, 0x40, test::cmos_block('P', {2, 1}));
  cmos.put(1, 0x58, test::cmos_block('D', {1, 2, 4, 3, 5, 6, 8, 7}));
  EXPECT_FALSE(run("pcie slot mapping").changed);
  EXPECT_EQ(get("System Enclosure", "PCIE_SLOT_MAPPING_UNIT"), "<absent>");

  model("[System Enclosure]\nCAP = 0x8000c0\nDYNAMIC_PCIE_SLOT_MAPPING = yes\n"
        "DYNAMIC_DISK_MAPPING = YES\n[Thunderbolt Enclosure]\nSUPPORT_LIST = x\n"
        "FORCE_ENABLE_SAS_ENC = yes\n");
  run("pcie slot mapping");
  EXPECT_TRUE(fixup(report, "pcie slot mapping")->changed);
  EXPECT_TRUE(fixup(report, "disk mapping")->changed);
  EXPECT_EQ(get("System Enclosure", "PCIE_SLOT_MAPPING_UNIT"), "2,1");
  EXPECT_EQ(get("System Enclosure", "DISK_MAPPING_UNIT"), "1,2,4,3,5,6,8,7");
  EXPECT_FALSE(run("disk mapping").changed);  // already there
  EXPECT_EQ(bus.violations(), 0);

  cmos.at(1, 0x58 + 3) ^= 0x10;  // corrupt: the key stays as it was
  EXPECT_FALSE(run("disk mapping").changed);
  EXPECT_EQ(get("System Enclosure", "DISK_MAPPING_UNIT"), "1,2,4,3,5,6,8,7");
}

TEST_F(Fixups, UsbJbodBitNeedsTheModelsAllowanceAndAnXhciController) {
  pci_function("0000:00:14.0", 0x8086, 0xa36d, 0x0c0330);
  EXPECT_FALSE(run("usb jbod").changed);  // MAX_UJBOD_NUM not given
  model("[System Enclosure]\nCAP = 0x8000c0\nMAX_UJBOD_NUM = 4\n");
  EXPECT_TRUE(run("usb jbod").changed);
  EXPECT_EQ(get("System Enclosure", "CAP"), "0x9000c0");
  ::unlink(root.path("/sys/bus/pci/devices/0000:00:14.0/class").c_str());
  pci_function("0000:00:14.0", 0x8086, 0xa36d, 0x0c0320);  // EHCI only
  model("[System Enclosure]\nCAP = 0x8000c0\nMAX_UJBOD_NUM = 4\n");
  EXPECT_FALSE(run("usb jbod").changed);
}

TEST_F(Fixups, ThunderboltSasEnclosureBitGoesUnlessForcedOn) {
  EXPECT_FALSE(run("thunderbolt sas enclosure").changed);
  model("[System Enclosure]\nCAP = 0x8000c0\n[Thunderbolt Enclosure]\nSUPPORT_LIST = TR-004\n"
        "FORCE_ENABLE_SAS_ENC = no\n");
  EXPECT_TRUE(run("thunderbolt sas enclosure").changed);
  EXPECT_EQ(get("System Enclosure", "CAP"), "0x800040");
}

using MemoryStep = Fixups;

TEST_F(MemoryStep, SaneTablesGiveEachSlotsModuleOnce) {
  ModelSetupReport r;
  EXPECT_EQ(setup_model_conf(nullptr, &r), 0);
  EXPECT_TRUE(r.memory_sane);
  ASSERT_EQ(r.memory.size(), 2u);
  EXPECT_EQ(r.memory[0].locator, "DIMM_A1");
  EXPECT_EQ(r.memory[1].locator, "DIMM_B1");
  EXPECT_EQ(r.memory[1].size_mb, 8192u);
  EXPECT_EQ(get("System Memory", "MAX_SLOT_NUM"), "2");
  EXPECT_EQ(get("System Memory", "VARN_SUPPORT"), "TRUE");
}

TEST_F(MemoryStep, FailedCheckLeavesMinusOneAndNoVarn) {
  DmiBuilder one_dimm;  // fewer records than slots
  one_dimm.memory_device(0x1100, {}).end_of_table();
  DmiBuilder cut;
  cut.memory_device(0x1100, {}).memory_device(0x1101, {});
  std::string cut_bytes = cut.str().substr(0, cut.str().size() - 5);
  for (const std::string& dmi : {one_dimm.str(), cut_bytes, std::string("none")}) {
    model(kModel);
    if (dmi == "none")
      ::unlink(root.path("/sys/firmware/dmi/tables/DMI").c_str());
    else
      root.write("/sys/firmware/dmi/tables/DMI", dmi);
    ModelSetupReport r;
    EXPECT_EQ(setup_model_conf(nullptr, &r), 0);
    EXPECT_FALSE(r.memory_sane);
    EXPECT_TRUE(r.memory.empty());
    EXPECT_EQ(get("System Memory", "VARN_SUPPORT"), "FALSE");
    EXPECT_EQ(get("System Memory", "MAX_CHANNEL_NUM"), "-1");
    EXPECT_EQ(get("System Memory", "MAX_SLOT_NUM"), "-1");
  }
}

TEST_F(MemoryStep, UnwritableDescriptionFailsTheCall) {
  ::unlink(root.path("/sys/firmware/dmi/tables/DMI").c_str());
  ::unlink(root.path("/etc/model.conf").c_str());
  root.write("/etc/model.conf/occupied", "");  // a directory: nothing can be written
  EXPECT_EQ(setup_model_conf(nullptr, nullptr), -1);
  EXPECT_TRUE(log_has("): ERROR: Can't create VARN_SUPPORT for System Memory in /etc/model.conf\n"));
}

}  // namespace
}  // namespace bayhal
