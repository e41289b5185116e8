// The SE_* query and control interface over registered enclosures.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "board/dispatch/se_sys.h"
#include "enc_sys/enc_discovery.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_list.h"
#include "enclosure/enc_store.h"
#include "tests/enclosure/enc_fakes.h"
#include "tests/enclosure/enc_test_util.h"
#include "tests/support/child_process.h"

namespace bayhal::test {
namespace {

using Names = std::vector<std::string>;

class SeQueryTest : public SandboxTest {
 protected:
  void add(int id, const char* sys_id, uint32_t cap, int protocol, const char* model = "",
           int status = 0) {
    SE_ENC_INFO info = make_record(sys_id, cap, protocol, "root");
    std::strncpy(info.model, model, sizeof info.model - 1);
    info.status = status;
    info.max_disk_num = 8;
    ASSERT_EQ(se_write_conf(id, &info), 0);
    Ini_Conf_Bitmap_Set_Bit(kHalConf, "Index", "enc_bitmap", id);
  }
  // A typical appliance: root, cache, a PCIe card, USB, a JBOD being removed, iSCSI, a PX
  // unit, an MV unit and a SAS JBOD.
  void populate() {
    add(0, "root", SE_CAP_INTERNAL | SE_CAP_CACHE | SE_CAP_ODD, 0);
    add(1, "root_cache", SE_CAP_INTERNAL, 1);
    add(2, "root_odd", 0, 8);
    add(23, "root_pcie_1", SE_CAP_INTERNAL, 5);
    add(31, "root_iscsi", 0, 4);
    add(32, "root_usb", 0, 2);
    add(33, "usb_2-1", SE_CAP_INTERNAL, 2, "", SE_STATUS_REMOVING);
    add(34, "px_1", SE_CAP_INTERNAL, 10);
    add(35, "usb_2-2", SE_CAP_INTERNAL, 2, "MV-J4");
    add(36, "5000ccab0200947e", SE_CAP_SAS_ATTACHED, 3);
  }
  std::vector<int> listed(SE_ENUM_CALLBACK filter) {
    std::vector<int> ids(kMaxEncList);
    int n = SE_Enumerate(ids.data(), static_cast<int>(ids.size()), filter, nullptr);
    ids.resize(static_cast<size_t>(n));
    return ids;
  }
};

TEST_F(SeQueryTest, StandardFilterKeepsInternalEnclosuresNotBeingRemoved) {
  populate();
  EXPECT_EQ(listed(get_enclosure_list_callback), (std::vector<int>{0, 1, 23, 31}));
  EXPECT_EQ(listed(nullptr).size(), 10u);
  int visits = 0;
  auto count = [](int, void* arg) { ++*static_cast<int*>(arg); return 0; };
  EXPECT_EQ(SE_Enumerate(nullptr, 0, count, &visits), 0);
  EXPECT_EQ(visits, 10);
  std::vector<int> two(2);
  EXPECT_EQ(SE_Enumerate(two.data(), 2, nullptr, nullptr), 2);
  EXPECT_EQ(two, (std::vector<int>{0, 1}));
}

// The standard listing reads hal.conf in one pass; any other filter reads each enclosure's
// section on its own. On a hand-edited store the two must still agree: a bit without a
// section, sections out of order, a repeated block, a name that only looks like an id.
TEST_F(SeQueryTest, StandardListingAgreesWithTheSectionBySectionPath) {
  root.write(kHalConf,
             "[Index]\nenc_bitmap = 0x12a9\n"
             "[Enclosure_9]\nprotocol = 5\ncapability = 0x80000000\n"
             "[Enclosure_03]\nprotocol = 5\ncapability = 0x80000000\n"
             "[ Enclosure_5 ]\n# moved by hand\nprotocol = 5\ncapability = 0x80000000\nstatus = 0\n"
             "[Enclosure_0]\nprotocol = 0\ncapability = 0x80000000\n"
             "[Enclosure_7]\n"
             "[Enclosure_12]\nprotocol = 10\ncapability = 0x80000000\n"
             "[Enclosure_7]\nprotocol = 0\ncapability = 0x80000000\n"
             "[Enclosure_9]\nstatus = 4\n");
  auto each_section = [](int id, void* arg) { return get_enclosure_list_callback(id, arg); };
  EXPECT_EQ(listed(get_enclosure_list_callback), (std::vector<int>{0, 5, 9}));
  EXPECT_EQ(listed(each_section), listed(get_enclosure_list_callback));
}

TEST_F(SeQueryTest, FindersAndTests) {
  populate();
  uint32_t bitmap = 0x80000000u;
  EXPECT_EQ(SE_Get_Enc_Id_by_Protocol(&bitmap, 2), 0);
  EXPECT_EQ(bitmap, 0x80000000u);  // USB ids are all above 31: nothing to OR in
  uint32_t cache = 0, rdisk = 0, pci_cache = 0;
  SE_Get_Enc_Id_by_Protocol(&cache, 1);
  SE_Get_RDISK_Enc_Id(&rdisk);
  SE_Get_Pci_Cache_Enc_Id(&pci_cache);
  EXPECT_EQ(std::vector<uint32_t>({cache, rdisk, pci_cache}),
            std::vector<uint32_t>({1u << 1, 1u << 31, 1u << 23}));
  EXPECT_EQ(SE_Get_KORV_Enc_Id(nullptr), -1);
  EXPECT_EQ(SE_Get_Cache_Enc_Id(), 1);
  EXPECT_EQ(SE_Get_ODD_Enc_Id(), 2);
  EXPECT_EQ(SE_Get_MMC_Enc_Id(), -1);  // root has no MMC capability

  struct Row { int id, usb, internal, removing, external, px, mv, type; };
  for (Row r : {Row{0, 0, 1, 0, 0, 0, 0, 0}, Row{1, 0, 1, 0, 0, 0, 0, 0},
                Row{23, 0, 1, 0, 0, 0, 0, 0}, Row{31, 0, 1, 0, 0, 0, 0, 2},
                Row{32, 0, 0, 0, 0, 0, 0, -1}, Row{33, 1, 1, 1, 0, 0, 0, 1},
                Row{34, 0, 0, 0, 1, 1, 0, 3}, Row{35, 0, 0, 0, 1, 0, 1, 3},
                Row{36, 0, 0, 0, 0, 0, 0, -1}, Row{9, 0, 0, 0, 0, 0, 0, -1}}) {
    SCOPED_TRACE(r.id);
    EXPECT_EQ(SE_Is_USB_JBOD(r.id), r.usb);
    EXPECT_EQ(SE_Is_Internal(r.id), r.internal);
    EXPECT_EQ(SE_Is_Removing(r.id), r.removing);
    EXPECT_EQ(SE_Is_External_JBOD(r.id), r.external);
    EXPECT_EQ(SE_Is_PX_JBOD(r.id), r.px);
    EXPECT_EQ(SE_Is_MV_JBOD(r.id), r.mv);
    int type = 99;
    EXPECT_EQ(SE_Get_Enc_Type(r.id, &type), r.type < 0 ? -1 : 0);
    EXPECT_EQ(type, r.type);
  }
  EXPECT_EQ(SE_Set_Status(34, SE_STATUS_REMOVING), 0);
  EXPECT_EQ(SE_Is_Removing(34), 1);
  EXPECT_EQ(SE_Get_Status(9) * 10 + SE_Set_Status(-2, 1), -11);
  EXPECT_EQ(SE_Is_Relinking(34), 0);
  Ini_Conf_Bitmap_Set_Bit("/tmp/px_config_raid_record.info", "Index", "enc_bitmap", 34);
  EXPECT_EQ(SE_Is_Relinking(34), 1);
  Ini_Conf_Bitmap_Set_Bit("/tmp/px_config_raid_record.info", "Index", "enc_bitmap", 35);
  EXPECT_EQ(SE_Is_Relinking(35), 0);  // not a PX unit
}

TEST_F(SeQueryTest, LogNames) {
  populate();
  Ini_Conf_Set_Field("/etc/config/enclosure.map", "Index", "enc_35", "MV-J4-0001");
  struct Row { int id; const char* name; };
  for (Row r : {Row{0, "Host"}, Row{1, "Host"}, Row{2, "EXDR#2"}, Row{32, "USB"},
                Row{33, "EXDR#33"}, Row{34, "EXDR#34"}, Row{35, "MV-J4-0001"},
                Row{77, "Host"}}) {
    SCOPED_TRACE(r.id);
    char name[32];
    ASSERT_EQ(SE_Get_Log_Name(r.id, name, sizeof name), 0);
    EXPECT_STREQ(name, r.name);
  }
  char tiny[4];
  ASSERT_EQ(SE_Get_Log_Name(33, tiny, sizeof tiny), 0);
  EXPECT_STREQ(tiny, "EXD");
  EXPECT_EQ(SE_Get_Log_Name(33, nullptr, 4), -1);
  EXPECT_EQ(SE_Get_Log_Name(33, tiny, 0), -1);
}

TEST_F(SeQueryTest, KeyReaders) {
  SE_ENC_INFO info = make_record("root", 0x80400000u, 0);
  info.extended_capability = 5;
  info.max_temp_num = 3;
  info.max_fan_num = 2;
  info.max_cpu_fan_num = 1;
  info.factory_cpu_fan_count = 2;
  info.cache_port_bitmap = 0x3;
  info.enc_parent_port_id = 4;
  std::strcpy(info.model, "BX-8");
  std::strcpy(info.serial, "SN1");
  std::strcpy(info.wwn, "5000c500aa");
  se_write_conf(0, &info);
  uint32_t cap = 7, ext = 0, cacheable = 0;
  EXPECT_EQ(SE_Get_Capability(0, &cap) + SE_Get_Ext_Capability(0, &ext) +
                SE_Get_Cacheable_Port_Bitmap(0, &cacheable),
            0);
  EXPECT_EQ(std::vector<uint32_t>({cap, ext, cacheable}), std::vector<uint32_t>({0x80400000u, 5, 3}));
  EXPECT_EQ(SE_Get_Capability(9, &ext), -1);
  EXPECT_EQ(ext, 5u);  // untouched
  EXPECT_EQ(SE_Get_Capability(0, nullptr), -1);
  char parent[32], model[32], wwn[32];
  int port = 0;
  EXPECT_EQ(SE_Get_Parent_Sys_Id(0, parent, sizeof parent) + SE_Get_Parent_Port_Id(0, &port) +
                SE_Get_Model(0, model, sizeof model) + SE_Get_WWN(0, wwn, sizeof wwn),
            0);
  EXPECT_EQ(std::string(parent) + " " + std::to_string(port) + " " + model + " " + wwn,
            "root 4 BX-8 5000C500AA");
  // Counts; no default CPU fan count recorded: the factory count.
  EXPECT_EQ(std::vector<int>({SE_Get_TEMP_Num(0), SE_Get_FAN_Num(0), SE_Get_CPU_FAN_Num(0),
                              SE_Get_Factory_CPU_FAN_Count(0), SE_Get_Default_CPU_FAN_Count(0),
                              SE_Get_Extran_FAN_Region_Num(0)}),
            std::vector<int>({3, 2, 1, 2, 2, 0}));
  EXPECT_EQ(SE_Get_PD_Port_Num(0) + SE_Get_PD_Port_Num(5) + SE_Get_TEMP_Num(5), 0);
  EXPECT_NE(trace_log(root).find("get enc 5 max_disk_num = 0!"), std::string::npos);
  EXPECT_EQ(SE_Is_Exist(0) * 10 + SE_Is_Exist(5), 10);
  int id = 9;
  EXPECT_EQ(SE_Get_Id_By_Sys_Id("root", &id), 0);
  EXPECT_EQ(id, 0);
  EXPECT_EQ(SE_Get_Id_By_Sys_Id("nope", &id), -1);
  EXPECT_EQ(id, -1);
}

TEST_F(SeQueryTest, SerialNumberFallsBackToTheBoard) {
  SE_ENC_INFO info = make_record("root", SE_CAP_INTERNAL, 0);
  se_write_conf(0, &info);
  char buf[33];
  std::memset(buf, 'x', sizeof buf);
  EXPECT_EQ(SE_Get_Serial_No(0, buf, sizeof buf), -1);  // pending board back-end
  EXPECT_EQ(buf[0], '\0');
  EXPECT_EQ(SE_Get_Serial_No(4, buf, sizeof buf), -1);
  {
    FakeBackend backend;
    backend.board_sn = "BOARD9";
    EXPECT_EQ(SE_Get_Serial_No(0, buf, sizeof buf), 0);
    EXPECT_STREQ(buf, "BOARD9");
  }
  EXPECT_EQ(SE_Set_Serial_No(0, "NEW1"), -1);  // the board write is pending
  EXPECT_EQ(SE_Get_Serial_No(0, buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "NEW1");
  EXPECT_EQ(SE_Set_Serial_No(4, "X"), -1);
}

TEST_F(SeQueryTest, DiskCountFollowsTheStoreAndMultiDiskAdapters) {
  RecordingDiskLink disks;
  root.write("/etc/enclosure_3.conf",
             "[Index]\npd_bitmap = 0x10000000000000016\npd2_member_bitmap = 0xb\n"
             "[PhysicalDisk_4]\nport_id = -1\n");
  // Slots 1, 2 and 4 are in use (the bit above 32 is not a slot).
  disks.dev_ids[2] = -1;  // slot 2 holds an adapter with three members
  disks.dev_ids[4] = 4;
  EXPECT_EQ(SE_Get_PD_Num(3), 1 + 3 + 1);
  EXPECT_EQ(SE_Get_PD_Num(4), 0);
  // Without the disk registry's answer the record is read: slot 4 is an adapter without
  // members, slots 1 and 2 have no record and count one disk each.
  disks.dev_ids.clear();
  EXPECT_EQ(SE_Get_PD_Num(3), 1 + 1 + 0);
}

TEST_F(SeQueryTest, FanRegionEnumerationReadsOnePastTheCount) {
  root.write(kHalConf,
             "[Enclosure_0]\nenc_id = 0\nenc_sys_id = root\nmax_fan_num = 2\nmax_cpu_fan_num = 0\n"
             "max_sys_extra_region_count = 1\nregion1_max_fan_num = 3\nregion2_max_fan_num = 1\n"
             "[Enclosure_1]\nenc_id = 1\nenc_sys_id = root_x\nmax_fan_num = 0\n"
             "max_cpu_fan_num = 1\nmax_sys_extra_region_count = 2\nregion1_max_fan_num = 0\n"
             "region2_max_fan_num = 4\n");
  int regions[SE_MAX_FAN_REGIONS] = {};
  int count = -1;
  ASSERT_EQ(SE_Get_FAN_Region_Enum(0, regions, &count), 0);
  // The count says one extra region, but the key after it (region 2) is read as well.
  EXPECT_EQ(count, 3);
  EXPECT_EQ(std::vector<int>(regions, regions + count), (std::vector<int>{0, 2, 3}));
  ASSERT_EQ(SE_Get_FAN_Region_Enum(1, regions, &count), 0);
  EXPECT_EQ(std::vector<int>(regions, regions + count), (std::vector<int>{1, 3}));
  EXPECT_EQ(SE_Get_FAN_Region_Enum(7, regions, &count), -1);
  EXPECT_EQ(SE_Get_FAN_Region_Enum(0, nullptr, &count), -1);
  EXPECT_EQ(SE_Get_FAN_Region_FAN_Count(0, 1) * 10 + SE_Get_FAN_Region_FAN_Count(0, 5), 30);
  EXPECT_NE(trace_log(root).find("get enc 0 region5_max_fan_num = 0!"), std::string::npos);
}

// A hand-edited count never drives a loop or an allocation past what it counts.
TEST_F(SeQueryTest, CountsReadFromStoresAreBounded) {
  constexpr const char* kHuge = "2000000000";
  root.write(kHalConf, std::string("[Enclosure_0]\nenc_id = 0\nenc_sys_id = root\nmax_disk_num = ") +
                           kHuge + "\nmax_sys_extra_region_count = " + kHuge +
                           "\n[Index]\nenc_sysid_root = 0\n");
  root.write(kModelConf, std::string("[System Enclosure]\nCAP = 0x8200\nMAX_PCIE_SLOT = ") + kHuge +
                             "\nMAX_FAN_NUM = " + kHuge + "\nMAX_CPU_FAN_NUM = " + kHuge +
                             "\n[FAN Region]\nMAX_REGION_NUM = " + kHuge + "\n");
  int regions[SE_MAX_FAN_REGIONS];
  int count = 0;
  char* names[8] = {};
  struct Row { const char* what; std::function<void()> call; };
  for (const Row& r : {Row{"fan regions", [&] { SE_Get_FAN_Region_Enum(0, regions, &count); }},
                       Row{"PCIe slots", [&] { se_sys_enumerate(names, 8); }},
                       Row{"every fan", [&] { board::se_sys_set_fan_speed("root", -1, 1); }},
                       Row{"disk slots", [&] { disk_registry_link().scan(0, nullptr); }}})
    EXPECT_TRUE(returns_with_cpu_limit(10, r.call)) << r.what;
}

TEST_F(SeQueryTest, TemperatureRegions) {
  root.write("/etc/model.conf", "[System Temp Region 1]\nREGION_NAME = CPU\n"
                                "[System Temp Region 3]\nREGION_NAME = Disks\n");
  int regions[SE_MAX_TEMP_REGIONS] = {0, 0, 0};
  int count = -1;
  EXPECT_EQ(SE_Get_Temp_Region_Num(0), 0);
  FakeBackend backend;
  backend.temp_regions = 3;
  EXPECT_EQ(SE_Get_Temp_Region_Num(0), 3);
  EXPECT_EQ(SE_Get_Temp_Region_Num(1), 0);
  ASSERT_EQ(SE_Get_Temp_Region_Enum(0, regions, &count), 0);
  EXPECT_EQ(count, 3);  // the region count, not the number of names
  EXPECT_EQ(std::vector<int>(regions, regions + 3), (std::vector<int>{1, 0, 3}));
}

TEST_F(SeQueryTest, FanSteppingReadsSettingsAndSetsPwmBetweenTheBounds) {
  root.write("/etc/config/sysdef.conf",
             "[MISC]\nFAN speed = 35\nRegion1 FAN speed = 50\n");
  struct Get { int region, percent; };
  // Regions 2 and 3 are the first and second extra regions: "Region1" and "Region2".
  for (Get g : {Get{0, 35}, Get{1, 20}, Get{2, 50}, Get{3, 20}}) {
    int percent = -1;
    ASSERT_EQ(SE_Get_FAN_Region_Stepping(0, g.region, &percent), 0) << g.region;
    EXPECT_EQ(percent, g.percent) << g.region;
  }
  int percent = 0;
  EXPECT_EQ(SE_Get_FAN_Region_Stepping(0, 4, &percent) + SE_Get_FAN_Region_Stepping(1, 0, &percent), -2);

  FakeBackend backend;
  struct Set { int region, percent, min, max; std::string call; };
  for (const Set& s : {Set{0, 50, 60, 255, "pwm 0 0 157"},   // 60 + 50 * 195 / 100 = 157.5
                       Set{1, 1, 0, 255, "pwm 0 6 2"},       // 255 / 100 truncates to 2
                       Set{2, 100, 10, 200, "pwm 0 20 200"},
                       Set{3, 33, 100, 100, "pwm 0 30 100"}}) {
    SCOPED_TRACE(s.call);
    backend.calls.clear();
    backend.pwm_min = s.min;
    backend.pwm_max = s.max;
    ASSERT_EQ(SE_Set_FAN_Region_Stepping(0, s.region, s.percent), 0);
    EXPECT_EQ(backend.calls, (Names{"minmax " + std::to_string(s.region), s.call}));
  }
  backend.calls.clear();
  for (auto [enc, region, percent] : {std::tuple{1, 0, 50}, {0, 0, 0}, {0, 0, 101}, {0, 4, 50}})
    EXPECT_EQ(SE_Set_FAN_Region_Stepping(enc, region, percent), -1) << enc << region << percent;
  EXPECT_TRUE(backend.calls.empty());
  backend.pwm_min = 200;
  backend.pwm_max = 100;
  EXPECT_EQ(SE_Set_FAN_Region_Stepping(0, 0, 50), -1);
  EXPECT_NE(trace_log(root).find("Error min pwm 200, max pwm 100."), std::string::npos);
  backend.pwm_result = -1;
  EXPECT_EQ(SE_Set_FAN_Region_Stepping(0, 0, 50), -1);
  EXPECT_EQ(backend.calls, (Names{"minmax 0", "minmax 0"}));
  EXPECT_EQ(root.read("/etc/config/sysdef.conf"), "[MISC]\nFAN speed = 35\nRegion1 FAN speed = 50\n");
}

TEST_F(SeQueryTest, ForwardersResolveTheIdentityAndPassArgumentsAndResults) {
  populate();
  Ini_Conf_Set_Field(kHalConf, "Enclosure_36", "bsg_name", "expander-2:0");
  // Pending back-end: -1 and the "not implement" trace naming the operation.
  EXPECT_EQ(SE_Send_Heartbeat(0), -1);
  EXPECT_NE(trace_log(root).find("se_sys_send_heartbeat("), std::string::npos);
  EXPECT_NE(trace_log(root).find("enc_sys_id = root not implement."), std::string::npos);
  EXPECT_EQ(SE_Discover_Exp(), -1);
  FakeBackend backend;
  EXPECT_EQ(SE_Set_Buzzer(36, 3), 7);
  EXPECT_EQ(SE_Set_Buzzer(77, 3), -1);  // unknown enclosure: the back-end is not asked
  EXPECT_EQ(SE_Control_SMP_Phy(36, 5, 2), 0);
  EXPECT_EQ(SE_Control_SMP_Phy(0, 5, 2), -1);  // root has no bsg node
  EXPECT_EQ(SE_Reboot(), 0);  // the SAS enclosures only
  EXPECT_EQ(backend.calls,
            (Names{"buzzer 5000ccab0200947e 3", "smp expander-2:0 5 2", "reboot 5000ccab0200947e"}));
  backend.reboot_result = -1;
  EXPECT_EQ(se_reboot_sas_enclosure(36, nullptr) * 10 + se_reboot_sas_enclosure(0, nullptr), -20);
  uint32_t status = 0;
  EXPECT_EQ(SE_Get_Connector_Status(0, 1, nullptr), -1);
  EXPECT_EQ(SE_Get_Connector_Status(0, 1, &status), -1);
  int rates[4];
  EXPECT_EQ(SE_Get_SAS_All_Ports_Linkrate("no_such", rates, 4), -1);
}

TEST_F(SeQueryTest, RealSysIdIsClearedOnlyWhenItMatches) {
  SE_ENC_INFO info = make_record("root", SE_CAP_INTERNAL, 0);
  std::strcpy(info.real_sys_id, "sg4");
  se_write_conf(0, &info);
  EXPECT_EQ(Clear_Real_Sys_Id_by_Enc_ID(0, "sg5"), 0);
  EXPECT_EQ(ini_get(kHalConf, "Enclosure_0", "real_sys_id"), "sg4");
  EXPECT_EQ(Clear_Real_Sys_Id_by_Enc_ID(0, "sg4"), 0);
  EXPECT_EQ(ini_get(kHalConf, "Enclosure_0", "real_sys_id"), "<absent>");
  EXPECT_EQ(Clear_Real_Sys_Id_by_Enc_ID(0, nullptr), -1);
}

}  // namespace
}  // namespace bayhal::test
