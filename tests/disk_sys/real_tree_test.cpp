// Discovery on sysfs trees captured from real machines (tests/data/external), each used as
// the system root with a model description naming that machine's controllers and ports:
// every disk must land in the slot (and bay) the capture says. No device answers commands
// here, so identities come from the captured sysfs attributes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "disk_sys/comm_sys.h"
#include "enc_sys/enc_discovery.h"
#include "enc_sys/sas_expander.h"
#include "disk_sys/pd_sys.h"
#include "disk_sys/root_lookup.h"
#include "tests/disk_sys/disk_sys_fixture.h"
#include "tests/sim/real_tree.h"
#include "tests/support/test_files.h"

namespace bayhal::test {
namespace {

using ::testing::ElementsAre;

constexpr const char* kJbod = "5000ccab0200947e";  // expander-11:0

class RealTreeTest : public DiskSysTest {
 protected:
  // Unpacks a capture into the sandbox root and adds the kernel's standard links it lacks.
  void load(const char* tarball, int strip = 0) {
    ASSERT_TRUE(unpack_into(tarball, root.dir(), strip));
    add_kernel_links(root.dir());
  }
};

// One end device of the mpt3sas capture as topology-summary.txt lists it.
struct EndDevice {
  std::string name;
  int phy = -1;
  int bay = -1;
  std::string block;
  std::string model;
};

std::vector<EndDevice> summary_end_devices() {
  std::ifstream in(test_data_dir() + "/external/prometheus-procfs-sas-sysfs/topology-summary.txt");
  static const std::regex line(
      R"(^(end_device-[0-9:]+): .*phy_identifier=([0-9]+) bay_identifier=([0-9]+) .*)"
      R"(model='([^']*)' .*block=(sd[a-z]+))");
  std::vector<EndDevice> out;
  std::string text;
  std::smatch m;
  while (std::getline(in, text))
    if (std::regex_search(text, m, line))
      out.push_back({m[1], std::stoi(m[2]), std::stoi(m[3]), m[5], m[4]});
  return out;
}

TEST_F(RealTreeTest, Mpt3sasHbaWithTwoExpandersPutsEachDiskInItsSlotAndBay) {
  load("prometheus-procfs-sas-sysfs/procfs-sas-host11-sysfs.tar.gz");
  auto devices = summary_end_devices();
  ASSERT_EQ(devices.size(), 4u);
  // The slots of this machine: the HBA behind root port 00:03.0, one slot per phy that
  // carries a disk (host phy 7 for the direct SSD, expander phys for the JBOD disks).
  std::string conf;
  for (size_t i = 0; i < devices.size(); ++i)
    conf += "[System Disk " + std::to_string(i + 1) + "]\nDEV_BUS = 00:03.0\nDEV_PORT = " +
            std::to_string(devices[i].phy) + "\n";
  model_conf(conf);

  std::vector<std::string> expected;
  for (const auto& d : devices) expected.push_back(d.block);
  EXPECT_EQ(enumerate("root"), expected);

  std::string ctrl = resolve_controller(0, "00:03.0", "", -1, false);
  EXPECT_EQ(ctrl, "/sys/devices/pci0000:00/0000:00:03.0/0000:03:00.0");
  for (size_t i = 0; i < devices.size(); ++i) {
    const auto& d = devices[i];
    SCOPED_TRACE(d.name);
    EXPECT_EQ(port_of("root", d.block), static_cast<int>(i) + 1);
    auto found = lookup_in_controller(ctrl, d.phy);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].bay, d.bay);
    EXPECT_EQ(found[0].phy, d.phy);
    PD_INFO info;
    ASSERT_EQ(pd_sys_getinfo("root", d.block.c_str(), &info), 0);
    EXPECT_EQ(info.port_id, static_cast<int>(i) + 1);
    EXPECT_EQ(info.att_phy_id, d.phy);
    EXPECT_TRUE(info.capabilities & PD_CAP_ATT_PHY);
    EXPECT_STREQ(info.model, d.model.c_str());
  }

  // The JBOD behind expander-11:0 as an enclosure of its own, named by its SAS address as
  // the enclosure registry names it: slot = bay + 1.
  auto jbod = enumerate(kJbod);
  EXPECT_EQ(jbod.size(), 3u);
  for (const auto& d : devices) {
    if (d.name.rfind("end_device-11:0:", 0) != 0) continue;
    EXPECT_EQ(port_of(kJbod, d.block), d.bay + 1) << d.name;
  }
  EXPECT_TRUE(enumerate("5003048001e8967f").empty()) << "no end devices were captured there";
}

// Enclosure discovery and disk discovery answer "is this an expander" alike, also for an
// expander whose address only its own device folder carries (no sas_device class entry).
TEST_F(RealTreeTest, EnclosureAndDiskDiscoveryAgreeOnWhatIsAnExpander) {
  load("prometheus-procfs-sas-sysfs/procfs-sas-host11-sysfs.tar.gz");
  ::unlink(root.path("/sys/class/sas_device/expander-11:0").c_str());
  struct Case {
    const char* id;
    bool expander;
  } cases[] = {{kJbod, true}, {"5003048001e8967f", true}, {"expander-11:0", false},
               {"0x5000ccab0200947e", false}, {"5000CCAB0200947E", false}, {"root", false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    SE_ENC_INFO enc;
    EXPECT_EQ(se_sys_getinfo(c.id, &enc) == 0 && enc.protocol == SE_PROTOCOL_SAS, c.expander);
    EXPECT_EQ(comm_sys_check_is_sas_expander(c.id), c.expander ? 1 : 0);
  }
  EXPECT_EQ(enumerate(kJbod).size(), 3u);
}

// MODEL, VENDOR and REV of each disk from lsblk's "vendor" output of the same capture.
std::map<std::string, std::vector<std::string>> lsblk_vendor(const std::string& file) {
  std::ifstream in(test_data_dir() + "/external/util-linux-lsblk-dumps/expected/" + file);
  std::string header;
  std::getline(in, header);
  // MODEL is a left-aligned column; VENDOR and REV follow as single words (REV is
  // right-aligned under its header, so it is taken as the last word).
  size_t model = header.find("MODEL"), vendor = header.find("VENDOR");
  std::map<std::string, std::vector<std::string>> out;
  std::string l;
  while (std::getline(in, l)) {
    if (l.empty() || l[0] == '|' || l[0] == '`') continue;
    std::string m = l.size() > model ? l.substr(model, vendor - model) : "";
    m.erase(m.find_last_not_of(' ') + 1);
    for (char& c : m) c = c == '_' ? ' ' : c;  // newer lsblk shows udev's encoded name
    std::istringstream rest(l.size() > vendor ? l.substr(vendor) : "");
    std::vector<std::string> words;
    for (std::string w; rest >> w;) words.push_back(w);
    out[l.substr(0, l.find(' '))] = {m, words.size() >= 2 ? words.front() : "",
                                     words.empty() ? "" : words.back()};
  }
  return out;
}

struct AhciNvmeCase {
  const char* tarball;
  const char* lsblk;
  const char* conf;
  std::vector<const char*> root_disks;
  std::vector<const char*> odd_disks;
};

TEST_F(RealTreeTest, AhciAndNvmeMachinesFromUtilLinuxDumps) {
  const std::vector<AhciNvmeCase> cases = {
      {"util-linux-lsblk-dumps/multi-devs-bcachefs.tar.xz", "lsblk-multi-devs-bcachefs-vendor",
       "[System Disk 1]\nDEV_BUS = 00:1f.2\nDEV_PORT = 0\n"
       "[System Disk 2]\nDEV_BUS = 00:1f.2\nDEV_PORT = 1\n"
       "[System Disk 3]\nDEV_BUS = 00:1c.4\nDEV_PORT = 0\n"
       "[ODD Disk 1]\nDEV_BUS = 00:1f.2\nDEV_PORT = 3\n",
       {"sda", "sdb", "nvme0n1"}, {"sr0"}},
      {"util-linux-lsblk-dumps/simple-nvme.tar.xz", "lsblk-simple-nvme-vendor",
       "[System Disk 1]\nDEV_BUS = 00:1f.2\nDEV_PORT = 0\n"
       "[System Disk 2]\nDEV_BUS = 00:1f.2\nDEV_PORT = 1\n"
       "[System Disk 3]\nDEV_BUS = 00:01.0\nDEV_PORT = 0\n",
       {"sda", "sdb", "nvme0n1"}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.tarball);
    SandboxRoot machine;
    ASSERT_TRUE(unpack_into(c.tarball, machine.dir(), 1));
    add_kernel_links(machine.dir());
    machine.write("/etc/model.conf", c.conf);
    std::vector<std::string> want(c.root_disks.begin(), c.root_disks.end());
    EXPECT_EQ(enumerate("root"), want);
    std::vector<std::string> odd(c.odd_disks.begin(), c.odd_disks.end());
    EXPECT_EQ(enumerate("root_odd"), odd);
    auto oracle = lsblk_vendor(c.lsblk);
    for (size_t i = 0; i < want.size(); ++i) {
      SCOPED_TRACE(want[i]);
      PD_INFO info;
      ASSERT_EQ(pd_sys_getinfo("root", want[i].c_str(), &info), 0);
      EXPECT_EQ(info.port_id, static_cast<int>(i) + 1);
      const auto& row = oracle.at(want[i]);
      // sysfs carries INQUIRY's 16-character product; lsblk may show udev's longer name.
      EXPECT_EQ(row[0].rfind(info.model, 0), 0u) << "[" << row[0] << "] vs [" << info.model << "]";
      EXPECT_GT(std::strlen(info.model), 0u);
      if (want[i].rfind("sd", 0) == 0) {
        EXPECT_EQ(row[1], info.vendor);
        // The kernel keeps INQUIRY's 4-character revision: the end of the firmware name.
        EXPECT_EQ(row[2].substr(row[2].size() - std::strlen(info.revision)), info.revision);
        EXPECT_EQ(std::strlen(info.revision), 4u);
        EXPECT_GT(info.capacity, 0);
      }
    }
  }
}

TEST_F(RealTreeTest, UsbCardReaderOnTheSuperSpeedBusAndALaptopNvme) {
  load("pcp-qa-scsi-map/pcp-scsi-map-usb-nvme-subset.tar.gz");
  model_conf(
      "[System Disk 1]\nDEV_BUS = 00:1c.4\nDEV_PORT = 0\n"
      "[Usb Port 1]\nDEV_BUS = 00:14.0\nDEV_PORT_SS = 3\nDEV_PORT_NS = 3\n"
      "[Usb Port 2]\nDEV_BUS = 00:14.0\nDEV_PORT_NS = 7\n");  // a Bluetooth adapter
  EXPECT_THAT(enumerate("root"), ElementsAre("nvme0n1"));
  EXPECT_THAT(enumerate("root_usb"), ElementsAre("sda"));
  EXPECT_EQ(port_of("root_usb", "sda"), 1);
  model_conf("[Usb Port 1]\nDEV_BUS = 00:14.0\nDEV_PORT_NS = 3\n");
  EXPECT_TRUE(enumerate("root_usb").empty()) << "the reader is on the SuperSpeed bus only";
  int link = 0, max = 0, own = 0;
  ASSERT_EQ(pd_sys_get_conn_speed("root_usb", "sda", &link, &max, &own), 0);
  EXPECT_EQ(link, kUsb5G);
  // The reader holds no card: a removable medium of size 0 is not a disk to register.
  PD_INFO info;
  EXPECT_EQ(pd_sys_getinfo("root_usb", "sda", &info), -2);
}

TEST_F(RealTreeTest, NvmeServerWithPciDomainsAndAMultipathDisk) {
  load("libnvme-sysfs-trees/tree-pcie.tar.xz");
  model_conf(
      "[System Disk 1]\nDEV_DOMAIN = 0x214\nDEV_BUS = 90:00.0\nDEV_PORT = 0\n"
      "[System Disk 2]\nDEV_DOMAIN = 1326\nDEV_BUS = 78:00.0\nDEV_PORT = 0\n"    // 0x52e
      "[System Disk 3]\nDEV_DOMAIN = 0x58e\nDEV_BUS = 78:00.0\nDEV_PORT = 0\n");
  // nvme1 and nvme2 are two paths (nvme1c1n1, nvme1c2n1) to one disk, nvme1n1.
  EXPECT_THAT(enumerate("root"), ElementsAre("nvme0n1", "nvme1n1"));
  EXPECT_EQ(comm_sys_get_root_nvme_port_id("nvme1n1"), 2);
  std::string out = read_file(test_data_dir() + "/external/libnvme-sysfs-trees/tree-pcie.out");
  EXPECT_NE(out.find("\"nvme1n1\""), std::string::npos) << "libnvme groups them the same way";
}

}  // namespace
}  // namespace bayhal::test
