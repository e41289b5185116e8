// Discovery: the listing of what is present and the records the back-ends fill.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "enc_sys/enc_discovery.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "enc_sys/sas_expander.h"
#include "enc_sys/vpd_serial.h"
#include "foundation/command_runner.h"
#include "sim/sysfs_builder.h"
#include "tests/enclosure/enc_fakes.h"
#include "tests/enclosure/enc_test_util.h"
#include "tests/support/test_files.h"

namespace bayhal::test {
namespace {

using Names = std::vector<std::string>;

class EncDiscoveryTest : public SandboxTest {
 protected:
  Names list(int capacity = 64, int* count = nullptr) {
    std::vector<char*> names(static_cast<size_t>(capacity), nullptr);
    int n = se_sys_enumerate(names.data(), capacity);
    if (count) *count = n;
    Names out;
    for (int i = 0; i < capacity && i < n; ++i) out.push_back(names[static_cast<size_t>(i)]);
    free_names(names.data(), std::min(n, capacity));
    return out;
  }
  void model(const std::string& text) { root.write("/etc/model.conf", text); }
  void unpack_real_sas_tree() {
    std::string tarball =
        test_data_dir() + "/external/prometheus-procfs-sas-sysfs/procfs-sas-host11-sysfs.tar.gz";
    std::string cmd = "tar -xf " + shell_quote(tarball) + " -C " + shell_quote(root.dir());
    ASSERT_EQ(std::system(cmd.c_str()), 0);
  }
  sim::SysfsBuilder sysfs{root.dir()};
  FakeRunner runner;
};

// The fields of a record that discovery fills, in one line.
std::string summary(const SE_ENC_INFO& i) {
  char buf[512];
  std::snprintf(buf, sizeof buf, "%s|%s|%s|%s|p%d|d%d|c%x|<%s:%d>", i.vendor, i.model, i.revision,
                i.serial, i.protocol, i.max_disk_num, i.capabilities, i.enc_parent_sys_id,
                i.enc_parent_port_id);
  return buf;
}

TEST_F(EncDiscoveryTest, CapabilityWordChoosesThePseudoEnclosures) {
  struct Row { const char* cap; Names expected; };
  Names base{"root", "root_boot", "root_usb"};
  auto with = [&base](Names more) { Names n = base; n.insert(n.end(), more.begin(), more.end()); return n; };
  for (const Row& r : {Row{nullptr, with({"root_esata"})},
                       Row{"0x200", base},
                       Row{"0x200200", with({"root_odd"})},
                       Row{"0x8000000", with({"root_esata", "root_cache"})},
                       Row{"0x80200", with({"root_mmc"})},
                       Row{"0x8280000", with({"root_esata", "root_odd", "root_cache", "root_mmc"})},
                       // PCIe and Thunderbolt bits with nothing fitted list nothing more.
                       Row{"0x808200", base}}) {
    SCOPED_TRACE(r.cap ? r.cap : "no CAP");
    model(r.cap ? std::string("[System Enclosure]\nCAP = ") + r.cap + "\nMAX_PCIE_SLOT = 2\n"
                : "[System Enclosure]\nVENDOR = Bay\n");
    EXPECT_EQ(list(), r.expected);
  }
  root.write("/etc/enclosure_iscsi.bak", "");
  model("[System Enclosure]\nCAP = 0x200\n");
  EXPECT_EQ(list(), with({"root_iscsi"}));
}

TEST_F(EncDiscoveryTest, RealSasTreeListsBothExpandersTagsThemAndKeepsToTheCapacity) {
  model("[System Enclosure]\nCAP = 0x0\n");
  char* two[2] = {nullptr, nullptr};
  EXPECT_EQ(se_sys_enumerate(two, 2), 0);
  EXPECT_EQ(two[0], nullptr);
  EXPECT_EQ(se_sys_enumerate(nullptr, 10), 0);

  unpack_real_sas_tree();
  runner.udevd_running = true;
  int count = 0;
  Names stored = list(4, &count);
  EXPECT_EQ(count, 6);
  EXPECT_EQ(stored, (Names{"root", "root_boot", "root_usb", "root_esata"}));
  EXPECT_TRUE(runner.execs_of("/sbin/udevadm").empty());
  EXPECT_NE(trace_log(root).find("count(6) > max_count(4)"), std::string::npos);

  model("[System Enclosure]\nCAP = 0x200\n");
  runner.shells.clear();
  EXPECT_EQ(list(), (Names{"root", "root_boot", "root_usb", "5000ccab0200947e", "5003048001e8967f"}));
  EXPECT_EQ(runner.execs_of("/sbin/udevadm"),
            (Names{"/sbin/udevadm|control|--env=5000ccab0200947e=enc",
                   "/sbin/udevadm|control|--env=5003048001e8967f=enc"}));
  EXPECT_EQ(runner.shells.front(), "pidof udevd 1 > /dev/null 2 >& 1");
  runner.execs.clear();
  runner.udevd_running = false;
  list();
  EXPECT_TRUE(runner.execs_of("/sbin/udevadm").empty());
}

TEST_F(EncDiscoveryTest, SasExpanderInAPcieSlotIsNotProbedAsACard) {
  model("[System Enclosure]\nCAP = 0x8200\nMAX_PCIE_SLOT = 3\n"
        "[System PCIE SLOT 1]\nDEV_BUS = 03:00.0\n"
        "[System PCIE SLOT 2]\nDEV_BUS = 0000:04:00.0\n"
        "[System PCIE SLOT 3]\nDEV_BUS = 05:00.0\nDEV_DOMAIN = 0\n");
  std::string hba_dir = sysfs.pci_device("0000:03:00.0", {}, sim::PciSpec(0x1000, 0x0097, 0x010700, "mpt3sas"));
  sim::SasHba hba = sysfs.sas_hba(hba_dir, 2, {0, 1, 2, 3});
  sysfs.sas_expander(hba, {0, 1, 2, 3}, 12, "0x5000ccab02000000");
  // Slot 2: the same kind of HBA, nothing behind it: a card of its own.
  std::string lone = sysfs.pci_device("0000:04:00.0", {}, sim::PciSpec(0x1000, 0x0097, 0x010700, "mpt3sas"));
  sysfs.sas_hba(lone, 3, {0});
  // Slot 3: a bridge with an NVMe controller behind it; slot 4 does not exist.
  std::string bridge = sysfs.pci_bridge("0000:05:00.0", 6);
  sysfs.pci_device("0000:06:00.0", bridge, sim::PciSpec(0x144d, 0xa808, 0x010802, "nvme"));
  EXPECT_EQ(list(), (Names{"root", "root_boot", "root_usb", "5000ccab02000000", "root_pcie_2",
                           "root_pcie_3"}));
  char* names[1] = {const_cast<char*>("5000ccab02000000")};
  EXPECT_TRUE(sas_expander_in_pci_slot(names, 1, 1));
  EXPECT_FALSE(sas_expander_in_pci_slot(names, 1, 2));
  EXPECT_FALSE(sas_expander_in_pci_slot(names, 1, 9));

  SE_ENC_INFO info;
  ASSERT_EQ(se_sys_getinfo("root_pcie_3", &info), 0);
  EXPECT_EQ(summary(info), "144d|a808|||p5|d1|c80000000|<root:3>");
  EXPECT_LT(se_sys_getinfo("root_pcie_1x", &info), 0);
  EXPECT_LT(se_sys_getinfo("root_pcie_4", &info), 0);
}

constexpr const char* kUnits =
    "[MV-J4 USB]\nBUS = usb\nVENDOR_ID = 0x1e4e\nPRODUCT_ID = 0x0104\nVENDOR = Bay\n"
    "MODEL = MV-J4\nMAX_DISK_NUM = 4\nCAP = 0x400000\n"
    "[TL-R6 TB]\nBUS = thunderbolt\nVENDOR_ID = 0x1e4e\nPRODUCT_ID = 0x8601\nMAX_DISK_NUM = 6\n";

TEST_F(EncDiscoveryTest, UsbUnitsFromTheTableAndTheirArrivalMessages) {
  model("[System Enclosure]\nCAP = 0x200\n");
  root.write("/etc/expansion_units.conf", kUnits);
  std::string xhci = sysfs.pci_device("0000:00:14.0", {}, sim::PciSpec(0x8086, 0xa36d, 0x0c0330, "xhci_hcd"));
  sim::UsbDev hub = sysfs.usb_root_hub(xhci, 2, 5000, 4);
  sim::UsbSpec unit(0x1e4e, 0x0104, "Bay Inc.", "Expansion", 5000);
  unit.serial = "Q00AB1234";
  sysfs.usb_device(hub, 1, unit);
  sysfs.usb_device(hub, 2, sim::UsbSpec(0x0bda, 0x0328, "Generic", "Card reader"));
  EXPECT_EQ(list(), (Names{"root", "root_boot", "root_usb", "usb_2-1"}));
  EXPECT_EQ(runner.shells.front(), "/sbin/hwclock -s");
  EXPECT_EQ(runner.execs_of("/sbin/log_tool"),
            Names{"/sbin/log_tool|-a|Expansion unit MV-J4 connected through USB (usb_2-1).|-t|0"});

  runner.shells.clear();
  runner.execs.clear();
  root.write("/tmp/jbod_update_progress", "[Global]\nMask Log = 1\n");
  list();
  EXPECT_EQ(runner.shells.front(), "/sbin/hwclock -s");
  EXPECT_TRUE(runner.execs_of("/sbin/log_tool").empty());

  // A unit already registered is no arrival.
  SE_ENC_INFO info;
  ASSERT_EQ(se_sys_getinfo("usb_2-1", &info), -1);  // its monitor cannot start yet
  root.write("/etc/expansion_units.conf", std::string(kUnits).replace(
                                              std::string(kUnits).find("0x400000"), 8, "0x0"));
  ASSERT_EQ(se_sys_getinfo("usb_2-1", &info), 0);
  EXPECT_EQ(summary(info), "Bay|MV-J4||Q00AB1234|p2|d4|c0|<root:1>");
  se_write_conf(32, &info);
  runner.shells.clear();
  list();
  EXPECT_TRUE(runner.shells.empty() || runner.shells.front() != "/sbin/hwclock -s");
  EXPECT_LT(se_sys_getinfo("usb_../../etc", &info), 0);
  EXPECT_LT(se_sys_getinfo("usb_2-2", &info), 0);  // present but not in the table
}

TEST_F(EncDiscoveryTest, ThunderboltUnitsAndTheirChain) {
  model("[System Enclosure]\nCAP = 0x800200\n");
  root.write("/etc/expansion_units.conf", kUnits);
  auto tb_device = [this](const std::string& dir, const std::string& name) {
    sysfs.attr(dir + "/vendor", "0x1e4e");
    sysfs.attr(dir + "/device", "0x8601");
    sysfs.attr(dir + "/vendor_name", "Bay");
    sysfs.attr(dir + "/device_name", "TL-R6");
    sysfs.attr(dir + "/unique_id", "d1c2b3a4-0000-1111-2222-333344445555");
    sysfs.link("/sys/bus/thunderbolt/devices/" + name, dir);
  };
  std::string host = "/sys/devices/pci0000:00/0000:00:0d.2/domain0/0-0";
  sysfs.attr(host + "/vendor", "0x8086");
  sysfs.attr(host + "/device", "0x9a1b");
  sysfs.link("/sys/bus/thunderbolt/devices/0-0", host);
  tb_device(host + "/0-1", "0-1");
  tb_device(host + "/0-1/0-301", "0-301");
  EXPECT_EQ(list(), (Names{"root", "root_boot", "root_usb", "tb_0-1", "tb_0-301"}));
  SE_ENC_INFO info;
  ASSERT_EQ(se_sys_getinfo("tb_0-301", &info), 0);
  EXPECT_EQ(summary(info), "Bay|TL-R6||d1c2b3a4000011112222333344445555|p6|d6|c0|<tb_0-1:301>");
  ASSERT_EQ(se_sys_getinfo("tb_0-1", &info), 0);
  EXPECT_STREQ(info.enc_parent_sys_id, "root");
  model("[System Enclosure]\nCAP = 0x200\n");
  EXPECT_EQ(list().size(), 3u);
}

TEST_F(EncDiscoveryTest, RootRecordFromTheModelDescription) {
  FakeBackend backend;
  backend.board_sn = "Q123ABC";
  model("[System Enclosure]\nVENDOR = Bay\nMODEL = BX-8\nCAP = 0x100040\nCAP_EXT = 0x3\n"
        "MAX_DISK_NUM = 8\nMAX_FAN_NUM = 2\nMAX_CPU_FAN_NUM = 1\nMAX_TEMP_NUM = 3\n"
        "MAX_PCIE_SLOT = 2\nINTERNAL_NET_PORT_NUM = 4\nSYSTEM_DISK_CACHEABLE_BITMAP = 0xc0\n"
        "MAX_UJBOD_NUM = 2\nSS_MAX_CHANNELS = 16\n"
        "[FAN Region]\nMAX_REGION_NUM = 5\n[Temp Region]\nMAX_REGION_NUM = 2\n"
        "[System FAN Region 1]\nMAX_FAN_NUM = 3\n[System FAN Region 2]\nMAX_FAN_NUM = 1\n");
  root.write("/etc/platform.conf", "[MISC]\nDISPLAY_NAME = BX-873A\n");
  SE_ENC_INFO info;
  ASSERT_EQ(se_sys_getinfo("root", &info), 0);
  EXPECT_EQ(info.enc_id, -1);
  EXPECT_EQ(summary(info), "Bay|BX-873A||Q123ABC|p0|d8|c80100040|<root:0>");
  // Extra fan regions: 5 - system fans - CPU fans.
  EXPECT_EQ(std::vector<long long>({info.extended_capability, info.max_pcie_num, info.max_nic_num,
                                    info.cache_port_bitmap, info.max_ujbod_num, info.ss_max_channels,
                                    info.ss_free_channels, info.max_cpu_num, info.max_fan_region,
                                    info.max_sys_temp_region, info.max_sys_extra_region_count,
                                    info.region_max_fan_num[0], info.region_max_fan_num[1]}),
            std::vector<long long>({3, 2, 4, 0xc0, 2, 16, -1, 1, 5, 2, 3, 3, 1}));
  EXPECT_TRUE(backend.calls.empty());  // no monitor to start

  model("[System Enclosure]\nMAX_UJBOD_NUM = 2\n");
  root.write("/etc/platform.conf", "");
  ASSERT_EQ(se_sys_getinfo("root", &info), 0);
  EXPECT_EQ(info.max_ujbod_num, -1);  // USB JBODs not supported: the key is not read
  EXPECT_EQ(info.cache_port_bitmap, 1u);
  EXPECT_EQ(info.max_sys_extra_region_count, 0);
}

TEST_F(EncDiscoveryTest, MonitorsStartAfterTheFillAndASasRootTakesItsSesIdentity) {
  model("[System Enclosure]\nCAP = 0x400000\n");
  SE_ENC_INFO info;
  {
    // No front-panel monitor yet: an appliance that needs one cannot be described.
    EXPECT_EQ(se_sys_getinfo("root", &info), -1);
    EXPECT_NE(trace_log(root).find("pic_sys_start_monitor"), std::string::npos);
  }
  FakeBackend backend;
  backend.board_sn = "SN-FROM-BOARD";
  ASSERT_EQ(se_sys_getinfo("root", &info), 0);
  EXPECT_EQ(backend.calls, Names{"pic_start root 0"});
  EXPECT_STREQ(info.serial, "SN-FROM-BOARD");  // refreshed after the monitor came up
  model("[System Enclosure]\nCAP = 0x1410000\n");
  backend.calls.clear();
  ASSERT_EQ(se_sys_getinfo("root", &info), 0);
  EXPECT_EQ(backend.calls, (Names{"pic_start root 1", "mcu_start root 1"}));
  backend.monitor_result = -1;
  EXPECT_EQ(se_sys_getinfo("root", &info), -1);

  // A SAS-attached root takes its SES identity.
  backend.monitor_result = 0;
  model("[System Enclosure]\nCAP = 0x10400\n");
  ASSERT_EQ(se_sys_getinfo("root", &info), 0);
  EXPECT_EQ(std::string(info.real_sys_id) + " " + info.bsg_name + " " + info.saved_real_sys_id +
                " " + info.saved_bsg_name + " " + info.wwn,
            "sg9 bsg-of-sg9 sg9 bsg-of-sg9 500605b0000272bf");
  EXPECT_EQ(info.sas_address, 0x500605b0000272bfULL);
}

TEST_F(EncDiscoveryTest, PseudoEnclosures) {
  model("[System Enclosure]\nVENDOR = Bay\nCAP = 0x0\n"
        "[Esata Enclosure]\nVENDOR = Ext\nMODEL = eSATA-2\nMAX_DISK_NUM = 2\nCAP = 0x4\n"
        "[Cache Enclosure]\nCAP = 0x1\n[Cache Disk 1]\n[Cache Disk 2]\n"
        "[MMC Enclosure]\nCAP = 0xff\n[MMC Port 1]\n"
        "[ODD Disk 1]\n[ODD Disk 1-1]\n");
  for (auto [id, want] : {std::pair{"root_boot", "Bay|Boot|||p-1|d1|c0|<root:0>"},
                          {"root_usb", "Bay|USB|||p2|d0|c0|<root:0>"},
                          {"root_esata", "Ext|eSATA-2|||p1|d2|c4|<root:0>"},
                          {"root_odd", "Bay|ODD|||p8|d1|c0|<root:0>"},
                          {"root_cache", "Bay|Cache|||p1|d2|c80000001|<root:0>"},
                          {"root_mmc", "Bay|MMC|||p7|d1|c0|<root:0>"},
                          {"root_iscsi", "Bay|iSCSI|||p4|d16|c0|<root:0>"}}) {
    SE_ENC_INFO info;
    ASSERT_EQ(se_sys_getinfo(id, &info), 0) << id;
    EXPECT_STREQ(info.enc_sys_id, id);
    EXPECT_EQ(summary(info), want);
  }
  SE_ENC_INFO info;
  ASSERT_EQ(se_sys_getinfo("root_cache", &info), 0);
  EXPECT_EQ(info.cache_port_bitmap, 1u);
  for (const char* bad : {"nothing_known", "px_1", "zmc1", "hzr_1", "mvs_1_1", ""}) {
    SCOPED_TRACE(bad);
    EXPECT_LT(se_sys_getinfo(bad, &info), 0);
  }
  EXPECT_LT(se_sys_getinfo(nullptr, &info), 0);
  EXPECT_LT(se_sys_getinfo("root", nullptr), 0);
}

TEST_F(EncDiscoveryTest, RealExpanderRecordWithItsSesDevice) {
  unpack_real_sas_tree();
  std::string exp = "/sys/devices/pci0000:00/0000:00:03.0/0000:03:00.0/host11/port-11:0/expander-11:0";
  std::string unit = exp + "/port-11:0:9/end_device-11:0:9/target11:0:10/11:0:10:0";
  sysfs.attr(unit + "/type", "13");
  sysfs.dir(unit + "/scsi_generic/sg30");
  sysfs.raw(unit + "/vpd_pg80", std::string("\x0d\x80\x00\x0a  SES00A1  ", 14));
  sysfs.attr("/sys/class/enclosure/11:0:10:0/components", "60");
  SE_ENC_INFO info;
  ASSERT_EQ(se_sys_getinfo("5000ccab0200947e", &info), 0);
  EXPECT_EQ(summary(info), "HGST|4U60_STOR_ENCL|0210|SES00A1|p3|d60|c400|<root:0>");
  char uid[SE_UNIQUE_ID_SIZE];
  SE_Get_Unique_Id(&info, uid, sizeof uid);
  EXPECT_STREQ(uid, "5000CCAB0200947E");  // the address as the wwn's eight raw bytes
  EXPECT_EQ(info.sas_address, 0x5000ccab0200947eULL);
  EXPECT_EQ(std::string(info.bsg_name) + " " + info.real_sys_id, "expander-11:0 sg30");
  EXPECT_EQ(info.link_speed, 12);

  ASSERT_EQ(se_sys_getinfo("5003048001e8967f", &info), 0);
  EXPECT_STREQ(info.vendor, "LSI");
  EXPECT_STREQ(info.real_sys_id, "");  // no SES device captured for it
  EXPECT_EQ(info.link_speed, 6);
}

TEST(VpdSerialTest, ParsesOnlyWellFormedPagesAsDeviceText) {
  using namespace std::string_literals;
  struct Row { std::string bytes; std::optional<std::string> serial; };
  for (const Row& r : {Row{"\x00\x80\x00\x04" "AB12"s, "AB12"},
                       Row{"\x00\x80\x00\x06" " Z9  \x00"s, "Z9"},
                       Row{"\x00\x80\x00\x00"s, ""},
                       Row{"\x00\x83\x00\x04" "AB12"s, std::nullopt},
                       Row{"\x00\x80\x00\x09" "AB12"s, std::nullopt},
                       Row{"\x00\x80\x00\x04" "A\x01\x00" "B"s, "A? B"},
                       Row{"\x00\x80\x00"s, std::nullopt},
                       Row{""s, std::nullopt}}) {
    EXPECT_EQ(parse_vpd_serial(r.bytes.data(), r.bytes.size()), r.serial);
  }
}

}  // namespace
}  // namespace bayhal::test
