// The PD_* query interface: getters, enumeration, translations, names.
#include <cstdlib>
#include <set>

#include "bayhal/Ini_Conf.h"
#include "disk/disk_store.h"
#include "disk/pd_fields.h"
#include "disk/pd_speed.h"
#include "disk/pd_store.h"
#include "foundation/err_trace.h"
#include "tests/disk/disk_fixture.h"
#include "tests/enclosure/enc_fakes.h"

namespace bayhal::test {
namespace {

constexpr unsigned kInternal = 0x80000000u;

class PdQuery : public test::DiskTest {
 protected:
  PdQuery() { add_enclosure(0, "root", 8, 0, kInternal); }

  PD_INFO add(int enc_id, int port, const std::string& sys_id, unsigned caps = 0) {
    PD_INFO d = make_disk(sys_id, "SN-" + sys_id, port);
    d.capabilities = caps;
    if (disk::is_virtual_id(port)) d.capabilities |= PD_CAP_VIRTUAL;
    EXPECT_EQ(pd_write_conf(enc_id, port, &d), 0) << sys_id;
    return d;
  }
  std::string name(int (*fn)(int, int, char*, int), int enc, int port) {
    char buf[128];
    int rc = fn(enc, port, buf, sizeof buf);
    return rc < 0 ? "<" + std::to_string(rc) + ">" : std::string(buf);
  }
};

TEST_F(PdQuery, TextGettersCopyBoundedAndReportMissingDisks) {
  add(0, 2, "sdb");
  using Getter = int (*)(int, int, char*, int);
  struct Row {
    Getter get;
    int size;
    int rc;
    const char* text;
  } rows[] = {{PD_Get_Model, 64, 20, "WDC WD40EFRX-68N32N0"}, {PD_Get_Model, 4, 3, "WDC"},
              {PD_Get_Sys_Name, 64, 8, "/dev/sdb"},       {PD_Get_WWN, 64, 6, "SN-sdb"},
              {PD_Get_Sys_Id_By_Port_Id, 64, 3, "sdb"}};
  for (const Row& r : rows) {
    char buf[64];
    EXPECT_EQ(r.get(0, 2, buf, r.size), r.rc);
    EXPECT_STREQ(buf, r.text);
  }
  char buf[64] = "stale";
  EXPECT_LT(PD_Get_Serial_No(0, 3, buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "");
  EXPECT_LT(PD_Get_Serial_No(0, 2, nullptr, 8), 0);
  EXPECT_LT(PD_Get_Serial_No(-1, 2, buf, sizeof buf), 0);
  long long capacity = 0;
  int sector = 0;
  EXPECT_EQ(PD_Get_Capacity(0, 2, &capacity, &sector), 0);
  EXPECT_EQ(capacity * sector, 7814037168LL * 512);
  EXPECT_EQ(PD_Get_Capacity(0, 5, &capacity, &sector), -1);
  int speed = 0;
  EXPECT_EQ(PD_Get_Link_Speed(0, 2, &speed), 0);
  EXPECT_EQ(speed, 3);
  EXPECT_EQ(PD_Get_PD_Max_Link_Speed(0, 2, nullptr), -1);
}

TEST_F(PdQuery, GettersNeverCreateSectionsOrKeys) {
  add(0, 2, "sdb");
  std::string before = root.read("/etc/enclosure_0.conf");
  std::string hal = root.read("/etc/hal.conf");
  char buf[64];
  long long cap;
  int n;
  PD_Get_Serial_No(0, 7, buf, sizeof buf);
  PD_Get_Read_Speed(0, 7, buf, sizeof buf);
  PD_Get_Capacity(0, 7, &cap, &n);
  PD_Get_Sys_Name_From_History(0, 2, buf, sizeof buf);
  PD_Get_Boot_Disk_Serial_No(0, buf, sizeof buf);
  PD_Get_Slot_Name(0, 2, buf, sizeof buf);
  PD_Get_Log_Name(5, 2, buf, sizeof buf);
  PD_Get_ODD_Owner(0, 2, buf, sizeof buf);
  PD_Enumerate(4, nullptr, 0);
  VD_Enumerate(4, nullptr, 0);
  PD_Get_Id_By_Enc_Conf(4, "/dev/sdq");
  EXPECT_EQ(root.read("/etc/enclosure_0.conf"), before);
  EXPECT_EQ(root.read("/etc/hal.conf"), hal);
  EXPECT_FALSE(root.exists("/etc/enclosure_0_del.conf"));
  EXPECT_FALSE(root.exists("/etc/enclosure_4.conf"));
  EXPECT_FALSE(root.exists("/etc/enclosure_5.conf"));
}

TEST(PdSpeedText, StoredKilobytesGetTheirUnitWord) {
  for (auto [stored, shown] : {std::pair{"1023", "1023 KB/sec"}, {"870400", "850.0 MB/sec"},
                               {"1572864", "1.50 GB/sec"}, {"fail", "fail"}, {"12abc", "12abc"}})
    EXPECT_EQ(disk::speed_text(stored), shown);
}

TEST_F(PdQuery, PerformanceGetters) {
  root.write("/etc/config/disk_performance.conf",
             "[SN-sdb]\nread_speed = 204800\nread_iops = 180\nwrite_iops = fail\n");
  add(0, 2, "sdb");
  using Getter = int (*)(int, int, char*, int);
  for (auto [get, want] : std::initializer_list<std::pair<Getter, const char*>>{
           {PD_Get_Read_Speed, "200.0 MB/sec"}, {PD_Get_Write_Speed, "none"},
           {PD_Get_Read_IOPS, "180"}, {PD_Get_Write_IOPS, "fail"}})
    EXPECT_EQ(name(get, 0, 2), want);
  EXPECT_EQ(name(PD_Get_Write_IOPS, 0, 3), "<-1>");
}

std::vector<int> listed(int enc, unsigned mask, int mode, PD_ENUM_CALLBACK cb = nullptr,
                        void* arg = nullptr) {
  int ids[64];
  int n = PD_Enumerate_By_Cap(enc, mask, mode, ids, 64, cb, arg);
  return n < 0 ? std::vector<int>{-1} : std::vector<int>(ids, ids + n);
}

TEST_F(PdQuery, EnumerationModesFilterByCapabilities) {
  add(0, 1, "sda", PD_CAP_SSD | PD_CAP_TRIM);
  add(0, 2, "sdb", PD_CAP_SSD);
  add(0, 3, "sdc", 0);
  using V = std::vector<int>;
  const unsigned both = PD_CAP_SSD | PD_CAP_TRIM;
  EXPECT_EQ(listed(0, both, 0), V{3});
  EXPECT_EQ(listed(0, both, 1), (V{1, 2}));
  EXPECT_EQ(listed(0, both, 2), V{1});
  EXPECT_EQ(listed(0, both, 3), (V{1, 2, 3}));
  EXPECT_EQ(listed(0, both, 4), V{});
  EXPECT_EQ(listed(0, 0, 2), (V{1, 2, 3}));
  EXPECT_EQ(listed(0, 0, 0), (V{1, 2, 3}));
  EXPECT_EQ(listed(0, 0, 1), V{});

  auto skip_two = [](int, int port, void*) { return port == 2 ? 1 : 0; };
  EXPECT_EQ(listed(0, 0, 3, skip_two), (V{1, 3}));
  EXPECT_EQ(PD_Enumerate_By_Cap(0, 0, 3, nullptr, 0, nullptr, nullptr), 3);
  int two[2];
  EXPECT_EQ(PD_Enumerate_By_Cap(0, 0, 3, two, 2, nullptr, nullptr), 2);
  EXPECT_EQ(PD_Enumerate_By_Cap(0, 0, 3, two, -1, nullptr, nullptr), -1);
  EXPECT_EQ(PD_Enumerate(9, two, 2), 0);
  // A section whose number only looks like a port's ("PhysicalDisk_03") is not that disk's.
  root.write("/etc/enclosure_0.conf", "[PhysicalDisk_03]\ncapabilities = " +
                                          std::to_string(PD_CAP_SSD) + "\n" +
                                          root.read("/etc/enclosure_0.conf"));
  EXPECT_EQ(listed(0, PD_CAP_SSD, 0), V{3});
}

TEST_F(PdQuery, MemberGroupsAreListedForTheFirst32PortsOnly) {
  add(0, 2, "sdm", PD_CAP_HAS_MEMBERS);
  add(0, 2000, "sdm0", PD_CAP_SSD);
  add(0, 2003, "sdm3", 0);
  add(0, 40, "sdx", PD_CAP_HAS_MEMBERS);
  Ini_Conf_Bitmap_Set_Bit("/etc/enclosure_0.conf", "Index", "pd40_member_bitmap", 1);
  add(0, 5, "sdn", 0);
  using V = std::vector<int>;
  EXPECT_EQ(listed(0, 0, 3), (V{2, 5, 40, 2000, 2003}));
  EXPECT_EQ(listed(0, PD_CAP_SSD, 1), V{2000});
  int counted = PD_Enumerate_By_Cap(0, 0, 3, nullptr, 0, nullptr, nullptr);
  EXPECT_EQ(counted, 5);
}

TEST_F(PdQuery, EnumerateAllGivesGlobalIdsOfEveryEnclosure) {
  add_enclosure(2, "root_esata", 2, 1, kInternal);
  add(0, 1, "sda");
  add(2, 2, "sdb");
  add(2, 1, "sdc");
  int ids[8];
  ASSERT_EQ(PD_Enumerate_All(ids, 8), 3);
  EXPECT_EQ(std::vector<int>(ids, ids + 3), (std::vector<int>{0x1, 0x20001, 0x20002}));
  EXPECT_EQ(PD_Enumerate_All(nullptr, 0), 3);
  EXPECT_EQ(PD_Enumerate_All(ids, 2), 2);
}

TEST_F(PdQuery, VirtualDisksAreAddressedByTheirNumber) {
  add(0, 105, "vd5");
  add(0, 107, "vd7");
  int numbers[4];
  ASSERT_EQ(VD_Enumerate(0, numbers, 4), 2);
  EXPECT_EQ(std::vector<int>(numbers, numbers + 2), (std::vector<int>{5, 7}));
  EXPECT_EQ(VD_Is_Exist(0, 5) * 100 + VD_Is_Exist(0, 6) * 10 + VD_Is_Exist(0, 900), 100);
  PD_INFO info{};
  ASSERT_EQ(VD_Get_Info(0, 5, &info), 0);
  EXPECT_EQ(info.port_id, 105);
  EXPECT_EQ(VD_Get_Info(0, 6, &info), -1);
}

TEST_F(PdQuery, TranslationsByNameWwnAndIndex) {
  PD_INFO d = make_disk("sdb", "SER", 2);
  set_wwn(d, {0x50, 0, 0x0c, 0x50, 0, 0, 0, 9});
  ASSERT_EQ(pd_write_conf(0, 2, &d), 0);
  backend.names["/dev/sdb"] = "sdb";
  EXPECT_EQ(PD_Get_Id_By_Sys_Name(0, "/dev/sdb"), 2);
  EXPECT_EQ(PD_Get_Id_By_Sys_Name(0, "/dev/sdq"), -1);
  EXPECT_EQ(PD_Get_Id_By_Enc_Conf(0, "/dev/sdb"), 2);
  EXPECT_EQ(PD_Get_Id_By_Enc_Conf(0, "sdb"), 2);
  EXPECT_EQ(PD_Get_Id_By_Sys_Id(0, "bad=key"), -1);
  char buf[32];
  EXPECT_EQ(PD_Get_Sys_Name_By_WWN("50000C5000000009", buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "/dev/sdb");
  EXPECT_EQ(PD_Get_Ctrl_Name_By_WWN("50000C5000000009", buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "/dev/sg3");
  EXPECT_EQ(PD_Get_Sys_Name_By_WWN("5000000000000000", buf, sizeof buf), -1);
  EXPECT_STREQ(buf, "");
}

TEST_F(PdQuery, DeviceNumbersGoThroughTheKernelBlockTable) {
  root.write("/sys/dev/block/8:16/uevent", "MAJOR=8\nMINOR=16\nDEVNAME=sdb\nDEVTYPE=disk\n");
  root.write("/sys/class/block/sdb/dev", "8:16\n");
  root.write("/sys/class/block/xvdb/dev", "202:16\n");
  root.write("/sys/class/block/nvme0n1/dev", "259:0\n");
  root.write("/sys/dev/block/8:32/uevent", "DEVNAME=../etc\n");
  PD_INFO d = add(0, 2, "sdb");
  set_wwn(d, {0x50, 1, 2, 3, 4, 5, 6, 7});
  backend.disks["sdb"] = d;
  backend.names["/dev/sdb"] = "sdb";
  char buf[40];
  EXPECT_EQ(PD_Get_Sys_Name_By_Dev_No(8, 32, buf, sizeof buf), -1);  // not a device name
  int major = 0;
  int minor = 0;
  EXPECT_EQ(PD_Get_Dev_No_By_Sys_Name("/dev/xvdb", &major, &minor), 0);
  EXPECT_EQ(major * 1000 + minor, 202016);
  for (const char* name : {"/dev/nvme0n1", "sdb", "", "sd", "/dev", "/dev/", "/dev/sd", "/de"})
    EXPECT_EQ(PD_Get_Dev_No_By_Sys_Name(name, &major, &minor), -1) << name;
  EXPECT_EQ(root.read(trace_log_path()).find("internal error"), std::string::npos);
  EXPECT_EQ(PD_Get_Dev_No_By_Id(0, 2, &major, &minor), 0);
  EXPECT_EQ(major * 1000 + minor, 8016);
  int enc = -1;
  int port = -1;
  EXPECT_EQ(PD_Get_Id_By_Dev_No(8, 16, &enc, &port), 0);
  EXPECT_EQ(enc * 100 + port, 2);
  EXPECT_EQ(PD_Get_Serial_No_By_Dev_No(8, 16, buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "SN-sdb");
  EXPECT_EQ(PD_Get_WWN_By_Dev_No(8, 16, buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "5001020304050607");
  EXPECT_EQ(PD_Is_In_Root_By_Dev_No(8, 16) * 100 + PD_Is_In_Root_Cache_By_Dev_No(8, 16) * 10 +
                PD_Is_In_Root_PCIe_By_Dev_No(8, 16),
            100);
  EXPECT_EQ(PD_Is_In_Root_By_Dev_No(8, 48), 0);
}

TEST_F(PdQuery, LocationTests) {
  add_enclosure(0, "root", 8, 0, kInternal | 0x8000000u);  // has a cache enclosure
  add_enclosure(23, "root_cache", 4, 1, kInternal);
  add_enclosure(24, "root_pcie_2", 2, 5, kInternal);
  add_enclosure(1, "root_usb", 4, 2);
  add_enclosure(33, "usb0011", 4, 2);
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_33", "enc_parent_sys_id", "root_usb");
  Ini_Conf_Set_Field_Int("/etc/hal.conf", "Enclosure_33", "enc_parent_port_id", 2, 0);
  root.write("/etc/model.conf", "[Usb Port 2]\nFRONT_PORT = 1\n[Usb Port 3]\nDEV_PORT = 1\n");
  // Root, cache and PCIe answers for each enclosure, as three digits.
  for (auto [enc, want] : {std::pair{0, 100}, {23, 10}, {24, 1}, {1, 0}})
    EXPECT_EQ(PD_Is_In_Root(enc) * 100 + PD_Is_In_Root_Cache(enc) * 10 + PD_Is_In_Root_PCIe(enc),
              want) << enc;
  // Front USB ports 2 (a disk) and 2 again (a unit on it), not 3 nor a root slot.
  EXPECT_EQ(PD_Is_In_Front_Of_Root_USB(1, 2) * 1000 + PD_Is_In_Front_Of_Root_USB(1, 3) * 100 +
                PD_Is_In_Front_Of_Root_USB(33, 4) * 10 + PD_Is_In_Front_Of_Root_USB(0, 2),
            1010);

  PD_INFO d = make_disk("sdb", "SAS", 2);
  disk::set_text(d.pd_bus_name, "6:0:3:0");
  ASSERT_EQ(pd_write_conf(0, 2, &d), 0);
  backend.behind_sas["6:0:3:0"] = 1;
  EXPECT_EQ(PD_Is_Attached_Behind_SAS(0, 2), 1);
  EXPECT_EQ(PD_Check_Attach_To_SAS_HBA_Directly(0, 2), 0);
  EXPECT_EQ(PD_Is_Attached_Behind_SAS(0, 3), 0);
}

TEST_F(PdQuery, LogNamesForEveryKindOfEnclosure) {
  add_enclosure(0, "root", 8, 0, kInternal | 0x8000000u);
  add_enclosure(1, "root_usb", 4, 2);
  add_enclosure(2, "root_esata", 2, 1, kInternal);
  add_enclosure(23, "root_cache", 4, 1, kInternal);
  add_enclosure(24, "root_pcie_2", 2, 5, kInternal);
  add_enclosure(25, "root_pcie_x", 2, 5, kInternal);
  add_enclosure(33, "px_0011", 16, 10);
  add_enclosure(34, "mvs_0001", 8, 12);
  Ini_Conf_Set_Field("/etc/hal.conf", "Enclosure_34", "model", "MV-J800");
  add_enclosure(35, "usb0022", 4, 2);
  root.write("/etc/model.conf",
             "[System Disk 3]\nSLOT_NAME = Drive 3\n[System Disk 2]\nDEV_PORT = 2\n"
             "[Usb Port 3]\nSLOT_ID = 7\n"
             "[External Enclosure]\nMAX_SUPPORT_TYPE_COUNT = 2\n"
             "[External Type 1]\nMODEL = OTHER\nSLOT_NAME_4 = wrong\n"
             "[External Type 2]\nMODEL = MV-J800\nSLOT_NAME_4 = Bay 4\n");
  add(35, 1, "sdu");
  struct Row {
    int enc;
    int port;
    const char* want;
  } rows[] = {
      {0, 2001, "Host: Disk 2-2"},       {0, 4, "Host: Disk 4"},
      {0, 3, "Host: Drive 3"},           {0, 3001, "Host: Drive 3-2"},
      {2, 2001, "EXDR#2: Disk 2-2"},     {2, 1, "EXDR#2: Disk 1"},
      {23, 2, "Host: Internal Cache Module 2"},
      {24, 1, "EXDR#24: PCIe 2 SSD 1"},  {25, 1, "EXDR#25: PCIe SSD 1"},
      {1, 3, "USB port 7"},              {1, 2, "USB port 2"},
      {33, 105, "EXDR#33: RAID Group 5"}, {33, 4, "EXDR#33: Disk 4"},
      {34, 4, "EXDR#34: Bay 4"},         {34, 4001, "EXDR#34: Bay 4-2"},
      {35, 1, "ATA WDC WD40EFRX-68N32N0"}, {35, 2, "EXDR#35: Disk 2"},
  };
  for (const Row& r : rows)
    EXPECT_EQ(name(PD_Get_Log_Name, r.enc, r.port), r.want) << r.enc << "," << r.port;

  EXPECT_EQ(name(PD_Get_Slot_Name, 0, 3), "Drive 3");
  EXPECT_EQ(name(PD_Get_Slot_Name, 0, 2), "<-1>");
  EXPECT_EQ(name(PD_Get_Slot_Name, 34, 4), "Bay 4");
  char buf[64];
  // 1 when the model names the slot.
  for (auto [enc, port, rc, text] : {std::tuple{0, 3, 1, "Drive 3"}, {0, 4, 0, "Disk 4"},
                                     {24, 1, 0, "PCIe 2 SSD 1"}, {2, 1, 0, "EXDR#2: Disk 1"}}) {
    EXPECT_EQ(PD_Get_Dev_Slot_Name(enc, port, buf, sizeof buf), rc) << text;
    EXPECT_STREQ(buf, text);
  }
  EXPECT_EQ(PD_Get_Log_Name(0, 1, buf, 0), -1);
  EXPECT_EQ(PD_Get_Log_Name(-1, 1, buf, sizeof buf), -1);
  EXPECT_EQ(PD_Get_Log_Name(40, 1, buf, sizeof buf), -1) << "an enclosure not registered";
}

TEST_F(PdQuery, OpticalDriveOwner) {
  add_enclosure(0, "root", 8, 0, kInternal | 0x200000u);
  add_enclosure(3, "root_odd", 1, 8, kInternal);
  add(3, 1, "sr0");
  EXPECT_EQ(name(PD_Get_ODD_Owner, 3, 1), "DRO");
  for (auto [passthrough, owner] : {std::pair{"FALSE", "vm-7"}, {"TRUE", "vm-1"}}) {
    root.write("/etc/.cdrom.conf", std::string("[sr0]\nowner = vm-7\n[odd_passthrough]\nenabled = ") +
                                       passthrough + "\nowner = vm-1\n");
    EXPECT_EQ(name(PD_Get_ODD_Owner, 3, 1), owner);
  }
  EXPECT_EQ(PD_Get_ODD_Owner(3, 1, nullptr, 4), -1);
}

TEST_F(PdQuery, BootDisk) {
  test::FakeRunner recorder;
  root.write("/etc/hal.conf", "[BootDisk_0]\npd_sys_name = /dev/sda\nserial_no = BOOT\n"
                              "capacity = 7864320\nsector_size = 512\n");
  root.write("/dev/sda", "");
  char buf[32];
  ASSERT_EQ(PD_Get_Boot_Disk(buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "/dev/sda");
  EXPECT_TRUE(recorder.shells.empty());
  EXPECT_GT(PD_Get_Boot_Disk_Serial_No(0, buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "BOOT");
  long long cap = 0;
  int sector = 0;
  EXPECT_EQ(PD_Get_Boot_Disk_Capacity(0, &cap, &sector), 0);
  EXPECT_EQ(cap * sector, 4026531840LL);

  Ini_Conf_Set_Field("/etc/hal.conf", "BootDisk_0", "pd_sys_name", "/dev/sdz");
  ASSERT_EQ(PD_Get_Boot_Disk(buf, sizeof buf), 0);  // unreachable: USB host driver reloaded
  EXPECT_EQ(recorder.shells, (std::vector<std::string>{
                                "/sbin/rmmod ehci-hcd.ko &>/dev/null",
                                "/sbin/insmod /lib/modules/misc/ehci-hcd.ko &>/dev/null"}));
  Ini_Conf_Set_Field("/etc/hal.conf", "BootDisk_0", "pd_sys_name", "/dev/mmcblk0");
  ASSERT_EQ(PD_Get_Boot_Disk(buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "/dev/mmcblk0p");
  char tiny[13];
  EXPECT_EQ(PD_Get_Boot_Disk(tiny, sizeof tiny), -1);  // no room for the "p"

  backend.boot = "sda";
  EXPECT_EQ(PD_Get_Boot_Disk_At_Startup(buf, sizeof buf), 0);
  EXPECT_STREQ(buf, "sda");

  for (const char* dev : {"sdb", "sda", "vda", "xvdc", "nvme0n1", "loop0", "md9"})
    root.mkdir(std::string("/sys/block/") + dev);
  char* names[8] = {};
  int n = PD_Boot_Enumerate(names, 8);
  std::vector<std::string> got;
  for (int i = 0; i < n; ++i) {
    got.emplace_back(names[i]);
    std::free(names[i]);
  }
  EXPECT_EQ(got, (std::vector<std::string>{"nvme0n1", "sda", "sdb", "vda", "xvdc"}));
  EXPECT_EQ(PD_Boot_Enumerate(names, 2), 2);
  std::free(names[0]);
  std::free(names[1]);
}

}  // namespace
}  // namespace bayhal::test
