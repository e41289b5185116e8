// The scenario format: the sample appliance reads as designed, and every kind of mistake in a
// scenario is refused with a message that names it.
#include <gtest/gtest.h>

#include "sim/halsim/board_models.h"
#include "sim/halsim/model_writer.h"
#include "sim/halsim/scenario.h"
#include "sim/halsim/scenario_util.h"

namespace bayhal::sim::halsim {
namespace {

const std::string kSample = std::string(BAYHAL_SOURCE_DIR) + "/examples/appliances/sample.ini";

// A small valid appliance that the bad cases below break one piece at a time.
const std::string kBase = R"([appliance]
name = T1
[controller sata]
type = ahci
pci = 0000:00:17.0
pci_id = 8086:a352
ports = 2
[controller hba]
type = sas
pci = 0000:01:00.0
bridge = 0000:00:01.0
ports = 8
sas_address = 0x500605b000000000
[unit jb]
controller = hba
host_phys = 0-3
bays = 4
sas_address = 0x5000ccab00000000
[slot root/1-2]
controller = sata
port = 0
[disk a]
slot = root/1
type = sata
model = M
serial = S1
size = 1T
)";

TEST(HalsimScenario, SampleApplianceReadsAsDesigned) {
  std::string error;
  auto sc = load_scenario(kSample, error);
  ASSERT_TRUE(sc) << error;
  EXPECT_EQ(sc->name, "BH-812S");
  std::string counts;
  for (const char* enc : {"root", "cache", "usb", "jbod"}) counts += std::to_string(sc->slots_of(enc).size()) + " ";
  EXPECT_EQ(counts, "8 2 2 12 ");
  // The range section wires slot N to AHCI port N-1.
  EXPECT_EQ(sc->slot("root/8")->port, 7);
  EXPECT_EQ(sc->slot("root/8")->controller, "sata");
  // Bays without a section sit on expander phy bay-1.
  EXPECT_EQ(sc->slot("jbod/12")->port, 11);
  EXPECT_TRUE(sc->slot("usb/1")->front);
  EXPECT_FALSE(sc->slot("usb/2")->front);
  const Disk* x1 = sc->disk("x1");
  ASSERT_NE(x1, nullptr);
  EXPECT_EQ(x1->kind, DiskKind::sas);
  EXPECT_EQ(x1->sectors, 12'000'000'000'000ull / 512);
  EXPECT_EQ(sc->disk("spare")->slot, "");
  EXPECT_EQ(sc->disk("ssd5")->rotation, 0);
  EXPECT_EQ(sas_identity(sc->unit("jbod")->sas_address), "5000ccab0200e07f");
}

struct BadCase {
  const char* what;
  std::string text;
  const char* message;  // a piece of the error
};

std::string with(const std::string& base, const std::string& find, const std::string& repl) {
  std::string s = base;
  size_t at = s.find(find);
  EXPECT_NE(at, std::string::npos) << find;
  if (at != std::string::npos) s.replace(at, find.size(), repl);
  return s;
}

TEST(HalsimScenario, MistakesAreRefusedWithTheirReason) {
  const std::vector<BadCase> cases = {
      {"junk line", kBase + "what is this\n", "line 28: neither"},
      {"key outside sections", "name = x\n" + kBase, "line 1: key outside any section"},
      {"section twice", kBase + "[disk a]\n", "appears twice"},
      {"key twice", with(kBase, "ports = 2\n", "ports = 2\nports = 3\n"), "key 'ports' appears twice"},
      {"unknown section", kBase + "[fan 1]\n", "unknown section [fan 1]"},
      {"unknown key", with(kBase, "ports = 2\n", "ports = 2\ncolour = red\n"), "unknown key 'colour'"},
      {"no appliance name", with(kBase, "name = T1\n", ""), "name is required"},
      {"bad pci address", with(kBase, "0000:00:17.0", "00:17.0"), "not a dddd:bb:dd.f address"},
      {"bad pci function", with(kBase, "0000:00:17.0", "0000:00:17.8"), "not a dddd:bb:dd.f"},
      {"bad pci id", with(kBase, "8086:a352", "8086-a352"), "pci_id '8086-a352'"},
      {"ports not a number", with(kBase, "ports = 2\n", "ports = two\n"), "ports 'two' is not a number from 1 to 64"},
      {"ports out of range", with(kBase, "ports = 2\n", "ports = 65\n"), "is not a number from 1 to 64"},
      {"unknown controller type", with(kBase, "type = ahci", "type = ide"), "type 'ide'"},
      {"controller on its bridge's bus", with(kBase, "0000:01:00.0", "0000:00:02.0"), "secondary bus"},
      {"sas without address", with(kBase, "sas_address = 0x500605b000000000\n", ""), "sas_address"},
      {"unit on missing phy", with(kBase, "host_phys = 0-3", "host_phys = 6-9"), "host phy 8 does not exist"},
      {"unit on ahci", with(kBase, "controller = hba", "controller = sata"), "is not a sas controller"},
      {"unit address in decimal", with(kBase, "0x5000ccab00000000", "5000000000000001"), "must be 0x"},
      {"unit address not a number", with(kBase, "0x5000ccab00000000", "0xfish"), "sas_address '0xfish'"},
      {"bad phy list", with(kBase, "host_phys = 0-3", "host_phys = 3-0"), "host_phys '3-0'"},
      {"slot port beyond controller", with(kBase, "[slot root/1-2]", "[slot root/1-3]"), "port 2 is not on sata"},
      {"slot on wrong controller kind", with(kBase, "controller = sata\nport = 0", "controller = hba\nport = 0"), "is not a ahci controller"},
      {"root slots not from 1", with(kBase, "[slot root/1-2]", "[slot root/2-3]"), "root slots must be numbered 1 to 2"},
      {"unknown enclosure", kBase + "[slot attic/1]\ncontroller = sata\nport = 1\n", "'attic' is not root, cache, usb or a unit"},
      {"bay beyond unit", kBase + "[slot jb/5]\n", "the unit has 4 bays"},
      {"disk in missing slot", with(kBase, "slot = root/1", "slot = root/9"), "slot root/9 is not described"},
      {"disk slot malformed", with(kBase, "slot = root/1", "slot = root/x"), "slot 'root/x'"},
      {"nvme disk in sata slot", with(kBase, "type = sata\nmodel", "type = nvme\nmodel"), "does not fit slot root/1"},
      {"two disks in a slot", kBase + "[disk b]\nslot = root/1\ntype = sata\nmodel = M\nserial = S2\nsize = 1T\n", "already holds a disk"},
      {"serial used twice", kBase + "[disk b]\ntype = sata\nmodel = M\nserial = S1\nsize = 1T\n", "serial S1 used twice"},
      {"disk without size", with(kBase, "size = 1T\n", ""), "model, serial and size are required"},
      {"size with junk", with(kBase, "size = 1T", "size = 1TB"), "size '1TB'"},
      {"name with blank", with(kBase, "[disk a]", "[disk a b]"), "names are letters"},
      {"two board chips", kBase + "[ec]\n[superio]\n", "not both"},
      {"too many cpu fans", kBase + "[ec]\ncpu_fans = 1, 2, 3\n", "at most 2 numbers"},
      {"hotter than a byte", kBase + "[ec]\ncpu_temps = 300\n", "from 0 to 127"},
      {"supply fans without supplies", kBase + "[ec]\npsu_fans = 4000\n", "at most power_supplies"},
      {"unknown chip", kBase + "[superio]\nchip = W83627\n", "chip 'W83627'"},
      {"pin bit 8", kBase + "[superio]\nstatus_red_led = 58\n", "is not a pin"},
      {"pin of another chip", kBase + "[superio]\nchip = F81866A\nreset_button = 52\n", "not a pin of F81866A"},
      {"held without a pin", kBase + "[superio]\nreset_button = 22\nheld = reset, eject\n", "held 'eject'"},
  };
  std::string base_error;
  EXPECT_TRUE(parse_scenario(kBase, base_error)) << base_error;
  for (const BadCase& c : cases) {
    std::string error;
    EXPECT_FALSE(parse_scenario(c.text, error)) << c.what;
    EXPECT_NE(error.find(c.message), std::string::npos) << c.what << ": " << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << c.what;
  }
}

TEST(HalsimScenario, TextParsers) {
  std::vector<int> list;
  EXPECT_TRUE(parse_int_list("1,4-5", list));
  EXPECT_EQ(list, (std::vector<int>{1, 4, 5}));
  EXPECT_FALSE(parse_int_list("1,1", list));
  EXPECT_FALSE(parse_int_list("", list));
  EXPECT_FALSE(parse_int_list("2-", list));
  uint64_t sectors = 0;
  EXPECT_TRUE(parse_size("960G", sectors));
  EXPECT_EQ(sectors, 960'000'000'000ull / 512);
  EXPECT_TRUE(parse_size("4096", sectors));
  EXPECT_EQ(sectors, 8u);
  EXPECT_FALSE(parse_size("100", sectors));  // less than one sector
  EXPECT_FALSE(parse_size("99999999999T", sectors));
  std::string enc;
  int n = 0;
  EXPECT_TRUE(split_slot_id("3", enc, n));
  EXPECT_EQ(enc + "/" + std::to_string(n), "root/3");
  EXPECT_TRUE(split_slot_id("jbod/12", enc, n));
  EXPECT_FALSE(split_slot_id("jbod/1-2", enc, n));
  EXPECT_FALSE(split_slot_id("jbod/0", enc, n));
  EXPECT_FALSE(split_slot_id("/3", enc, n));
}

TEST(HalsimModel, DescriptionWiresEverySlotAndShipsTheFamilyFiles) {
  std::string error;
  auto sc = load_scenario(kSample, error);
  ASSERT_TRUE(sc) << error;
  std::string conf = model_conf_text(*sc);
  auto has = [&](const std::string& piece) {
    EXPECT_NE(conf.find(piece), std::string::npos) << piece << "\n" << conf;
  };
  // Internal, no eSATA, PCIe slots, cache, and the scenario's suspend bit.
  has("[System Enclosure]\nVENDOR = BAYHAL\nMODEL = BH-812S\nCAP = 0x88008240\nMAX_DISK_NUM = 8\n");
  has("MAX_PCIE_SLOT = 1\n");
  has("[System Disk 3]\nDEV_BUS = 00:17.0\nDEV_PORT = 2\n");
  has("[System Disk 8]\nDEV_BUS = 00:17.0\nDEV_PORT = 7\n");
  // Cache slots are wired at their root ports, the bus behind them is the firmware's choice.
  has("[Cache Disk 2]\nDEV_BUS = 00:1b.4\nDEV_PORT = 0\nSLOT_NAME = M.2 Slot 2\n");
  has("[Usb Port 1]\nDEV_BUS = 00:14.0\nDEV_PORT_SS = 1\nDEV_PORT_NS = 1\nFRONT_PORT = 1\n");
  has("[Usb Port 2]\nDEV_BUS = 00:14.0\nDEV_PORT_SS = 2\nDEV_PORT_NS = 2\nSLOT_NAME = Rear USB\n");
  has("[System PCIE SLOT 1]\nDEV_BUS = 00:01.0\n");
  EXPECT_EQ(conf.find("System Disk 9"), std::string::npos);
  EXPECT_EQ(conf.find("Esata"), std::string::npos);

  // A board of a family ships the family file and its board table.
  auto files = description_files(*sc);
  ASSERT_EQ(files.size(), 3u);
  EXPECT_EQ(files[0].first, "/etc/model.conf");
  EXPECT_NE(files[0].second.find("MULTI_CONF = 0x2\n"), std::string::npos) << files[0].second;
  EXPECT_EQ(files[0].second.find("CAP"), std::string::npos);
  EXPECT_EQ(files[1].first, "/etc/model_1.conf");
  EXPECT_EQ(files[1].second, model_conf_text(*sc));
  EXPECT_EQ(files[2].first, "/etc/model_board_table.conf");
  EXPECT_NE(files[2].second.find("HOST_BRIDGE = 8086:3e0f\nBOARD_ID = 1\n"), std::string::npos);

  sc->board_id = -1;
  files = description_files(*sc);
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].second, model_conf_text(*sc));
}

TEST(HalsimModel, PassThroughSectionsOverrideAndExtend) {
  std::string error;
  auto sc = parse_scenario(kBase + "[model System Enclosure]\nCAP = 0x80000000\nMAX_FAN_NUM = 2\n"
                                   "[model System Disk 1]\nSLOT_NAME = Left\n[model System IO]\nBUZZER = EC\n",
                           error);
  ASSERT_TRUE(sc) << error;
  std::string conf = model_conf_text(*sc);
  EXPECT_NE(conf.find("CAP = 0x80000000\n"), std::string::npos) << conf;
  EXPECT_EQ(conf.find("CAP = 0x80000200"), std::string::npos) << conf;
  EXPECT_NE(conf.find("MAX_FAN_NUM = 2\n"), std::string::npos);
  EXPECT_NE(conf.find("[System Disk 1]\nDEV_BUS = 00:17.0\nDEV_PORT = 0\nSLOT_NAME = Left\n"), std::string::npos) << conf;
  EXPECT_NE(conf.find("[System IO]\nBUZZER = EC\n"), std::string::npos);
}

TEST(HalsimModel, TheBoardChipNamesTheUnitOfEveryBoardFunction) {
  std::string error;
  auto ec = parse_scenario(kBase + "[ec]\ncpu_temps = 40\nsystem_fans = 2000, 2000\ncpu_fans = 3000\n"
                                   "power_supplies = 1\n", error);
  ASSERT_TRUE(ec) << error;
  std::string conf = model_conf_text(*ec);
  for (const char* want : {"SIO_DEVICE = IT8528\n", "CPU_TEMP_UNIT = EC\n", "MAX_FAN_NUM = 2\n",
                           "[System FAN]\nFAN_UNIT = EC\nFAN_1 = I1\nFAN_2 = I2\n",
                           "[CPU FAN]\nFAN_UNIT = EC\nFAN_1 = I7\n", "REDUNDANT_POWER_1 = EC\n"})
    EXPECT_NE(conf.find(want), std::string::npos) << want << conf;
  EXPECT_EQ(conf.find("REDUNDANT_POWER_2"), std::string::npos);
  EXPECT_EQ(conf.find("SYSTEM_TEMP_UNIT"), std::string::npos);  // no system sensors fitted

  auto sio = parse_scenario(kBase + "[superio]\ntemps = 40, 30\nfans = 2000, 1500, 1500\nstatus_red_led = 52\n"
                                    "case_cover = 24\nheld = case_cover\n", error);
  ASSERT_TRUE(sio) << error;
  EXPECT_EQ(BoardModels(*sio).status()["buttons"]["CASE_COVER"], true);  // open from power-on
  conf = model_conf_text(*sio);
  for (const char* want : {"SIO_DEVICE = IT87\n", "CPU_TEMP_UNIT = SIO:1\n", "SYSTEM_TEMP_UNIT = SIO:2\n",
                           "[CPU FAN]\nFAN_UNIT = SIO\nFAN_1 = I1\n",
                           "[System FAN]\nFAN_UNIT = SIO\nFAN_1 = I2\nFAN_2 = I3\n", "STATUS_RED_LED = SIO:52\n"})
    EXPECT_NE(conf.find(want), std::string::npos) << want << conf;
}

}  // namespace
}  // namespace bayhal::sim::halsim
