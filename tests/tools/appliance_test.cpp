// The demo scenario end to end, every part its own process over the real socket: halsim
// serves the sample appliance, hal_tool boots it and answers queries, halsim pulls and pushes
// disks and the expansion unit and calls the hot-plug entry points.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/tools/appliance.h"

namespace bayhal::test {
namespace {

namespace fs = std::filesystem;

constexpr char kUnit[] = "5000ccab0200e07f";

std::string serial_at(const std::vector<std::pair<std::pair<int, int>, std::string>>& map, int enc, int port) {
  for (const auto& [where, serial] : map)
    if (where == std::make_pair(enc, port)) return serial;
  return {};
}

size_t disks_in(const std::vector<std::pair<std::pair<int, int>, std::string>>& map, int enc) {
  return static_cast<size_t>(std::count_if(map.begin(), map.end(), [&](const auto& e) { return e.first.first == enc; }));
}

// The examples of a document: each ```console block holds "$ COMMAND" and what it prints.
struct Example {
  size_t at, size;  // the output's place in the document
  std::string command;
};

std::vector<Example> examples(const std::string& doc) {
  std::vector<Example> out;
  const std::string open = "```console\n$ ";
  for (size_t at = doc.find(open); at != std::string::npos; at = doc.find(open, at)) {
    size_t line = at + open.size(), nl = doc.find('\n', line), close = doc.find("```\n", nl);
    if (nl == std::string::npos || close == std::string::npos) break;
    out.push_back({nl + 1, close - nl - 1, doc.substr(line, nl - line)});
    at = close;
  }
  return out;
}

class Appliance : public ApplianceTest {
 protected:
  void boot() {
    ProcessResult r = hal_tool({"--json", "boot"});
    ASSERT_EQ(r.exit_code, 0) << r.err << r.out;
    boot_json = nlohmann::json::parse(r.out)["boot"];
  }
  nlohmann::json boot_json;
};

// Brought to life by a caller whose umask lets the group write (as a desktop's 002 does):
// the appliance's files keep their own modes and the model description's link is followed.
TEST_F(Appliance, BootRegistersEveryEnclosureAndDisk) {
  fs::remove_all(root.path("/etc"));  // made by halsim, not by the sandbox
  mode_t caller = ::umask(002);
  start();
  ::umask(caller);
  boot();
  // Model set-up picked this board's description by its host bridge and took suspend to RAM
  // off because of the SAS HBA.
  EXPECT_EQ(boot_json["model_setup"]["chosen"], "/etc/model_1.conf");
  bool suspend_fixed = false;
  for (const auto& f : boot_json["model_setup"]["fixups"])
    if (f["name"] == "suspend to RAM") suspend_fixed = f["changed"].get<bool>();
  EXPECT_TRUE(suspend_fixed) << boot_json.dump(2);
  EXPECT_EQ(fs::read_symlink(root.path("/etc/model.conf")).string(), "model_1.conf");

  auto map = slot_map();
  ASSERT_EQ(enc_id("root"), 0);
  EXPECT_EQ(disks_in(map, 0), 6u);
  EXPECT_EQ(serial_at(map, 0, 3), "BD8K0000A103");
  EXPECT_EQ(serial_at(map, 0, 6), "OD4T00000606");
  EXPECT_EQ(serial_at(map, 0, 7), "");
  int cache = enc_id("root_cache"), usb = enc_id("root_usb"), unit = enc_id(kUnit);
  ASSERT_GE(cache, 0);
  ASSERT_GE(usb, 0);
  ASSERT_GE(unit, 0);
  EXPECT_EQ(serial_at(map, cache, 1), "NV1T00000C01");
  EXPECT_EQ(serial_at(map, usb, 1), "BP2T0000U001");
  EXPECT_EQ(disks_in(map, unit), 7u);
  EXPECT_EQ(serial_at(map, unit, 1), "BS12K000X001");
  EXPECT_EQ(serial_at(map, unit, 9), "BF19T000X009");

  // Every attached disk was tagged for the device manager.
  std::string udev = root.read("/calls/udevadm.log");
  EXPECT_NE(udev.find("control --env="), std::string::npos) << udev;

  EXPECT_EQ(stop(), 0);
}

// docs/hal_tool.md shows real output: every example is run, in order, on the sample
// appliance, and must print what the document says. BAYHAL_UPDATE_DOCS=1 rewrites them.
TEST_F(Appliance, DocumentedExamplesAreWhatTheToolPrints) {
  start();
  const std::string path = std::string(BAYHAL_SOURCE_DIR) + "/docs/hal_tool.md";
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  std::string doc = text.str();
  const char* update = std::getenv("BAYHAL_UPDATE_DOCS");
  std::vector<Example> all = examples(doc);
  ASSERT_GE(all.size(), 5u) << path;
  std::string tool_dir = fs::path(HAL_TOOL_PATH).parent_path().string();
  std::string rewritten = doc;
  long shift = 0;
  for (const Example& ex : all) {
    std::istringstream words(ex.command);
    std::vector<std::string> argv;
    for (std::string w; words >> w;) argv.push_back(w);
    ProcessResult r = run_process(argv, {"HAL_ROOT=" + root.dir(), "PATH=" + tool_dir + ":" + std::getenv("PATH")});
    std::string printed = normalised(r.out);
    std::string shown = doc.substr(ex.at, ex.size);
    if (update != nullptr && std::string(update) == "1") {
      rewritten.replace(static_cast<size_t>(static_cast<long>(ex.at) + shift), ex.size, printed);
      shift += static_cast<long>(printed.size()) - static_cast<long>(ex.size);
    } else {
      EXPECT_EQ(printed, shown) << "$ " << ex.command << " (exit " << r.exit_code << ")\n" << r.err;
    }
  }
  if (update != nullptr && std::string(update) == "1") std::ofstream(path) << rewritten;
}

TEST_F(Appliance, DiskPulledAndPushedBackReturnsToItsSlot) {
  start();
  boot();
  ProcessResult out = halsim({"--json", "remove", "0/3"});  // enclosure 0 is root
  ASSERT_EQ(out.exit_code, 0) << out.err;
  auto pulled = nlohmann::json::parse(out.out)["hotplug"];
  EXPECT_EQ(pulled["pd_sys_id"], "sdc");
  EXPECT_EQ(pulled["call"], "PD_Sys_Detach(root, sdc)");
  EXPECT_EQ(pulled["result"], 0);
  auto map = slot_map();
  EXPECT_EQ(serial_at(map, 0, 3), "");
  EXPECT_EQ(disks_in(map, 0), 5u);
  // The history store remembers who sat in slot 3.
  EXPECT_NE(root.read("/etc/enclosure_0_del.conf").find("BD8K0000A103"), std::string::npos);

  ProcessResult in = halsim({"--json", "insert", "root/3"});
  ASSERT_EQ(in.exit_code, 0) << in.err;
  EXPECT_EQ(nlohmann::json::parse(in.out)["hotplug"]["call"], "PD_Sys_Attach(root, sdc)");
  EXPECT_EQ(serial_at(slot_map(), 0, 3), "BD8K0000A103");
  // The same by hand, as the hot-plug handler would: by bay, or by enclosure and disk.
  EXPECT_EQ(query({"disk", "detach", "0/3"})["detach"]["pd_sys_id"], "sdc");
  EXPECT_EQ(serial_at(slot_map(), 0, 3), "");
  EXPECT_EQ(query({"disk", "attach", "root", "sdc"})["attach"]["bay"], "0/3");

  // A new disk into an empty bay takes that bay's slot.
  ProcessResult spare = halsim({"insert", "root/7", "spare"});
  ASSERT_EQ(spare.exit_code, 0) << spare.err;
  EXPECT_EQ(serial_at(slot_map(), 0, 7), "BD8K0000A199");
}

TEST_F(Appliance, UnitUnpluggedAndPluggedBackKeepsItsIdAndRemembersItsBays) {
  start();
  boot();
  int unit = enc_id(kUnit);
  ASSERT_GE(unit, 32);  // an external enclosure
  ProcessResult out = halsim({"--json", "remove", "jbod"});
  ASSERT_EQ(out.exit_code, 0) << out.err;
  EXPECT_EQ(nlohmann::json::parse(out.out)["hotplug"]["call"],
            std::string("SE_Sys_Pre_Detach(") + kUnit + "), SE_Sys_Detach(" + kUnit + ")");
  EXPECT_EQ(enc_id(kUnit), -1);
  EXPECT_EQ(disks_in(slot_map(), unit), 0u);
  // The hot-swap memory holds the bays that had disks: 1-6 and 9.
  auto saved = query({"conf", "get", "/tmp/.se_detached", "Enclosure_" + std::to_string(unit), "pd_bitmap"});
  EXPECT_EQ(saved["conf"]["value"], "0x27e") << saved.dump();

  ProcessResult in = halsim({"--json", "insert", "jbod"});
  ASSERT_EQ(in.exit_code, 0) << in.err;
  EXPECT_EQ(enc_id(kUnit), unit);
  auto map = slot_map();
  EXPECT_EQ(disks_in(map, unit), 7u);
  EXPECT_EQ(serial_at(map, unit, 5), "BD8K0000X005");
}

TEST_F(Appliance, HotPlugRefusalsBadNamesAndAMissingDaemonAreErrors) {
  start();
  // The machine's own refusals are its tests' (halsim_machine_test); here one of them, and
  // what the tool adds: bays by enclosure id, units, usage.
  struct Case {
    std::vector<std::string> args;
    int code;
    const char* says;
  };
  for (const Case& c : std::vector<Case>{
           {{"insert", "root/1", "spare"}, 1, "already holds disk hdd1"},
           {{"remove", "0/8"}, 1, "no enclosure 0 is registered"},  // not booted
           {{"remove", "root_cache/2"}, 1, "bay cache/2 is empty"},
           {{"remove", "root"}, 1, "'root' is not an expansion unit"},
           {{"remove", "0-3"}, 1, "no unit '0-3'"},
           {{"remove", "jbod", "extra"}, 2, "unexpected argument 'extra' for 'remove'"},
           {{"insert"}, 2, "bay is required"},
           {{"stauts"}, 2, "did you mean 'status'?"},
           {{"start", kSampleScenario}, 1, "already serving"},
       }) {
    ProcessResult r = halsim(c.args);
    EXPECT_EQ(r.exit_code, c.code) << c.args[0] << ": " << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
  }
  EXPECT_EQ(stop(), 0);
  ProcessResult r = halsim({"status"});
  EXPECT_EQ(r.exit_code, 1);
  EXPECT_NE(r.err.find("no halsim serving"), std::string::npos) << r.err;
  EXPECT_FALSE(root.exists("/run/halsim.sock"));
}

// Two units, so that a unit missing at the next boot would free a lower id if ids were not
// persistent.
const char kTwoUnits[] = R"(
[unit second]
controller = hba
host_phys = 0-3
bays = 4
sas_address = 0x5000ccab0300a000
model = BX-400S
serial = BX4S0000001
)";

TEST_F(Appliance, RestartWithTheSameRootKeepsThePersistentIds) {
  std::string text;
  {
    std::ifstream in(kSampleScenario);
    std::stringstream s;
    s << in.rdbuf();
    text = s.str() + kTwoUnits;
  }
  root.write("/scenario.ini", text);
  // The sample's SMART pages are named relative to the scenario file.
  root.symlink(kSampleScenario.substr(0, kSampleScenario.rfind('/')) + "/smart", "/smart");
  start(root.path("/scenario.ini"));
  boot();
  int first = enc_id(kUnit), second = enc_id("5000ccab0300a000");
  int cache = enc_id("root_cache"), usb = enc_id("root_usb");
  ASSERT_GE(first, 32);
  ASSERT_GE(second, 32);
  ASSERT_NE(first, second);
  auto map = slot_map();
  ASSERT_EQ(stop(), 0);

  // Reboot without the first unit's cable: the registries are rebuilt from nothing, yet every
  // enclosure gets its old id and the missing unit's id stays reserved.
  std::string without = text;
  without.replace(without.find("serial = BX12S00077\n"), 20, "serial = BX12S00077\ncabled = no\n");
  root.write("/scenario.ini", without);
  start(root.path("/scenario.ini"));
  EXPECT_FALSE(root.exists("/etc/hal.conf"));
  boot();
  EXPECT_EQ(enc_id("root"), 0);
  EXPECT_EQ(enc_id("root_cache"), cache);
  EXPECT_EQ(enc_id("root_usb"), usb);
  EXPECT_EQ(enc_id(kUnit), -1);
  EXPECT_EQ(enc_id("5000ccab0300a000"), second);
  // The unit cabled again takes its old id, though a lower one is free.
  ASSERT_EQ(halsim({"insert", "jbod"}).exit_code, 0);
  EXPECT_EQ(enc_id(kUnit), first);
  EXPECT_EQ(slot_map(), map);
}

// The record of a multi-disk adapter (device id -1) only leads the registry to the member
// disks behind it: the disk list shows those, not the adapter. Stores written by hand, no
// appliance running.
TEST_F(ApplianceTest, DiskListShowsMemberDisksButNotTheirAdapter) {
  root.write("/etc/hal.conf",
             "[Index]\nenc_bitmap = 0x1\nenc_sysid_root = 0\n[Enclosure_0]\nenc_id = 0\nenc_sys_id = root\n");
  const std::string disk = "att_phy_id = -1\nenc_sys_id = root\n";
  root.write("/etc/enclosure_0.conf",
             "[Index]\npd_bitmap = 0x6\npd2_member_bitmap = 0x2\n"
             "[PhysicalDisk_1]\nport_id = 1\npd_sys_id = sdb\nserial_no = S1\n" + disk +
             "[PhysicalDisk_2]\nport_id = -1\npd_sys_id = card\nserial_no = CARD\ncapabilities = 2147483648\n" +
             disk + "[PhysicalDisk_2001]\nport_id = 2001\npd_sys_id = sdm1\nserial_no = S2\n" + disk);
  using Map = std::vector<std::pair<std::pair<int, int>, std::string>>;
  EXPECT_EQ(slot_map(), (Map{{{0, 1}, "S1"}, {{0, 2001}, "S2"}}));
}

}  // namespace
}  // namespace bayhal::test
