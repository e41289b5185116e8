// The disk store: identifiers, sections, index keys, WWN identity, history.
#include <set>

#include "bayhal/Ini_Conf.h"
#include "disk/disk_store.h"
#include "disk/pd_fields.h"
#include "disk/pd_store.h"
#include "ini/ini_store.h"
#include "tests/disk/disk_fixture.h"
#include "tests/support/child_process.h"

namespace bayhal::test {
namespace {

constexpr const char* kStore0 = "/etc/enclosure_0.conf";

class PdStore : public test::DiskTest {
 protected:
  PdStore() { add_enclosure(0, "root", 8, 0, 0x80000000u); }
};

TEST_F(PdStore, NewDisksTakeIdsAboveTheSlotsReuseFreedOnesAndNeverAnOccupiedPort) {
  PD_INFO a = make_disk("sdx", "S1");
  PD_INFO b = make_disk("sdy", "S2");
  PD_INFO c = make_disk("sdz", "S3");
  ASSERT_EQ(pd_write_conf(0, -1, &a), 0);
  ASSERT_EQ(pd_write_conf(0, -1, &b), 0);
  EXPECT_EQ(a.port_id, 9);
  EXPECT_EQ(b.port_id, 10);
  ASSERT_EQ(pd_remove_conf(0, 9), 0);
  ASSERT_EQ(pd_write_conf(0, -1, &c), 0);
  EXPECT_EQ(c.port_id, 9);
  EXPECT_EQ(key_of(kStore0, "PhysicalDisk_9", "pd_sys_id"), "sdz");
  // A USB disk asking for an occupied port takes a new id instead.
  PD_INFO first = make_disk("sdb", "A", 2);
  ASSERT_EQ(pd_write_conf(0, 2, &first), 0);
  PD_INFO usb = make_disk("sdc", "B", 2);
  usb.type = PD_TYPE_USB;
  ASSERT_EQ(pd_write_conf(0, 2, &usb), 0);
  EXPECT_EQ(usb.port_id, 11);
  EXPECT_EQ(key_of(kStore0, "PhysicalDisk_2", "serial_no"), "A");
}

TEST_F(PdStore, SlotDiskWritesSectionIndexAndBit) {
  PD_INFO d = make_disk("sdb", "WD-1", 3);
  disk::set_text(d.pd_sys_name, "/dev/sdc");  // the kernel renamed it since discovery
  ASSERT_EQ(pd_write_conf(0, 3, &d), 0);
  EXPECT_TRUE(bit_of(kStore0, "pd_bitmap", 3));
  EXPECT_EQ(key_of(kStore0, "Index", "pd_sysid_sdb"), "3");
  EXPECT_EQ(key_of(kStore0, "Index", "pd_sysid_sdc"), "3");
  EXPECT_EQ(key_of(kStore0, "PhysicalDisk_3", "capacity"), "7814037168");
  EXPECT_EQ(key_of(kStore0, "PhysicalDisk_3", "read_speed"), "none");
  EXPECT_EQ(key_of(kStore0, "PhysicalDisk_3", "pd_driver_name"), "");  // empty: not written
  // The section's keys come in the documented order.
  auto s = ini::read_section(kStore0, "PhysicalDisk_3");
  ASSERT_TRUE(s.has_value());
  std::vector<std::string> order;
  for (auto& [k, v] : s->entries) order.emplace_back(k);
  std::vector<std::string> expected = {
      "port_id", "att_phy_id", "pd_sys_id", "enc_sys_id", "pd_sys_name", "pd_ctrl_name",
      "pd_bus_name", "wwn", "real_wwn", "type", "form", "vendor", "model", "serial_no",
      "status", "capabilities", "sector_size", "capacity", "revision", "protocol_ver",
      "link_speed", "max_link_speed", "pd_max_link_speed", "read_speed", "read_iops",
      "write_speed", "write_iops", "rotation_speed"};
  EXPECT_EQ(order, expected);

  PD_INFO back{};
  ASSERT_EQ(pd_read_conf(0, 3, &back), 0);
  EXPECT_EQ(back.port_id, 3);
  EXPECT_EQ(back.att_phy_id, -1);
  EXPECT_STREQ(back.model, "WDC WD40EFRX-68N32N0");
  EXPECT_EQ(back.capacity, 7814037168LL);
  EXPECT_EQ(back.capabilities, d.capabilities);
  EXPECT_STREQ(back.read_speed, "none");
}

TEST_F(PdStore, MemberAndVirtualIdsLandInTheirSectionsAndBitmaps) {
  PD_INFO member = make_disk("sdm", "M3", 1003);
  ASSERT_EQ(pd_write_conf(0, 1003, &member), 0);
  EXPECT_EQ(key_of(kStore0, "PhysicalDisk_1003", "port_id"), "1003");
  EXPECT_TRUE(bit_of(kStore0, "pd1_member_bitmap", 3));
  EXPECT_FALSE(bit_of(kStore0, "pd_bitmap", 1003));

  PD_INFO vd = make_disk("sdv", "V5", 105);
  vd.capabilities |= PD_CAP_VIRTUAL;
  vd.hw_raid_disk_bitmap = 0x6;
  vd.hw_raid_spare_bitmap = 0x8;
  vd.hw_raid_type = 5;
  ASSERT_EQ(pd_write_conf(0, 105, &vd), 0);
  EXPECT_EQ(key_of(kStore0, "VirtualDisk_5", "port_id"), "105");
  EXPECT_EQ(key_of(kStore0, "VirtualDisk_5", "hw_raid_type"), "5");
  EXPECT_TRUE(bit_of(kStore0, "virtual_pd_bitmap", 5));
  EXPECT_FALSE(bit_of(kStore0, "pd_bitmap", 105));

  PD_INFO back{};
  ASSERT_EQ(pd_read_conf(0, 105, &back), 0);
  EXPECT_EQ(back.hw_raid_disk_bitmap, 0x6);
  EXPECT_EQ(back.hw_raid_spare_bitmap, 0x8);
  ASSERT_EQ(pd_read_conf(0, 1003, &back), 0);
  EXPECT_EQ(back.port_id, 1003);
}

TEST_F(PdStore, IdsThatDisagreeWithTheKindAreRefused) {
  PD_INFO vd = make_disk("sdv", "V", -1);
  vd.capabilities |= PD_CAP_VIRTUAL;
  EXPECT_EQ(pd_write_conf(0, -1, &vd), -1);   // a new id cannot be virtual
  EXPECT_EQ(pd_write_conf(0, 42, &vd), -1);   // outside 101..999
  PD_INFO pd = make_disk("sdp", "P");
  EXPECT_EQ(pd_write_conf(0, 150, &pd), -1);  // would read back as VirtualDisk_50
  EXPECT_EQ(pd_write_conf(0, 1004, &pd), -1); // member index 4 of slot 1 does not exist
  EXPECT_EQ(pd_write_conf(0, 3, nullptr), -1);
  EXPECT_EQ(pd_write_conf(-1, 3, &pd), -1);
  EXPECT_FALSE(root.exists(kStore0));
}

TEST_F(PdStore, IdentityFallsBackFromWwnToSerialToSysId) {
  root.write("/etc/disk_wwn_blacklist.list", "# shared WWNs\nBADVEND | CLONE*\n");
  struct Row {
    std::vector<unsigned char> wwn;  // empty: the disk reports none
    const char* serial;
    const char* model;
    const char* want_wwn;
    const char* want_real;
  } rows[] = {
      {{0x50, 0x01, 0x4e, 0xe2, 0xb5, 0x6d, 0x1f, 0x3a}, "SER1", "M", "50014EE2B56D1F3A",
       "50014EE2B56D1F3A"},
      {{0, 0, 0, 0, 0, 0, 0, 0}, "SER2", "M", "SER2", ""},
      {{}, "SER3", "M", "SER3", ""},
      {{}, "", "M", "sdw", ""},
      {{0x50, 0, 0, 0, 0, 0, 0, 1}, "SER5", "CLONE-1", "SER5", "5000000000000001"},  // listed
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.want_wwn);
    PD_INFO d = make_disk("sdw", r.serial, 4);
    disk::set_text(d.model, r.model);
    disk::set_text(d.vendor, "BADVEND");
    if (!r.wwn.empty()) set_wwn(d, r.wwn);
    ASSERT_EQ(pd_write_conf(0, 4, &d), 0);
    EXPECT_EQ(key_of(kStore0, "PhysicalDisk_4", "wwn"), r.want_wwn);
    EXPECT_EQ(key_of(kStore0, "PhysicalDisk_4", "real_wwn"), r.want_real);
    EXPECT_EQ(key_of("/etc/hal.conf", "Index", std::string("pd_wwn_") + r.want_wwn), "00000004");
    auto caps = std::stoul(key_of(kStore0, "PhysicalDisk_4", "capabilities"));
    EXPECT_EQ((caps & PD_CAP_WWN_BLACKLISTED) != 0, r.model == std::string("CLONE-1"));
    ASSERT_EQ(pd_remove_conf(0, 4), 0);
  }
}

TEST_F(PdStore, DuplicateIdIsRefusedBeforeAnyKeyIsWritten) {
  PD_INFO first = make_disk("sdb", "FIRST", 3);
  ASSERT_EQ(pd_write_conf(0, 3, &first), 0);
  std::string before = root.read(kStore0);
  std::string hal_before = root.read("/etc/hal.conf");
  PD_INFO second = make_disk("sdc", "SECOND", 3);
  EXPECT_EQ(pd_write_conf(0, 3, &second), -1);
  EXPECT_EQ(root.read(kStore0), before);
  EXPECT_EQ(root.read("/etc/hal.conf"), hal_before);
  EXPECT_NE(root.read("/var/log/hal_lib.log").find("already exist"), std::string::npos);
}

TEST_F(PdStore, BootDiskLivesInHalConf) {
  PD_INFO boot = make_disk("sda", "BOOT1", 1);
  boot.capabilities |= PD_CAP_BOOT_DISK;
  ASSERT_EQ(pd_write_conf(0, 1, &boot), 0);
  EXPECT_EQ(boot.port_id, 0);
  EXPECT_EQ(key_of("/etc/hal.conf", "BootDisk_0", "serial_no"), "BOOT1");
  EXPECT_EQ(key_of("/etc/hal.conf", "BootDisk_0", "wwn"), "");
  EXPECT_TRUE(bit_of("/etc/hal.conf", "pd_bitmap", 0));
  EXPECT_EQ(key_of("/etc/hal.conf", "Index", "pd_sysid_sda"), "");
  EXPECT_FALSE(root.exists(kStore0));
}

TEST_F(PdStore, RescanFolderHoldsTheTemporaryStore) {
  root.mkdir("/tmp/rescan");
  PD_INFO d = make_disk("sdb", "R1", 2);
  ASSERT_EQ(pd_write_conf(0, 2, &d, "/tmp/rescan"), 0);
  EXPECT_TRUE(root.exists("/tmp/rescan/enclosure_0.conf"));
  EXPECT_FALSE(root.exists(kStore0));
}

TEST_F(PdStore, ReadFailsOnMissingIdentityKeysButFillsTheRest) {
  root.write(kStore0, "[PhysicalDisk_5]\nport_id = 5\npd_sys_id = sdf\nmodel = M5\n");
  PD_INFO d{};
  d.att_phy_id = 77;
  EXPECT_EQ(pd_read_conf(0, 5, &d), -1);
  EXPECT_EQ(d.port_id, 5);
  EXPECT_EQ(d.att_phy_id, 77);  // absent: left alone
  EXPECT_STREQ(d.model, "M5");
  EXPECT_STREQ(d.read_speed, "none");
  EXPECT_EQ(pd_read_conf(0, 6, &d), -1);
}

// A section written twice by hand reads as the store's getters read it: its first block.
TEST_F(PdStore, RecordReadSeesTheFirstBlockLikeTheGetters) {
  PD_INFO d = make_disk("sdb", "WD-1", 2);
  ASSERT_EQ(pd_write_conf(0, 2, &d), 0);
  std::string text = root.read(kStore0);
  root.write(kStore0, text + "\n[PhysicalDisk_2]\nmodel = LATE\npd_driver_name = late\n");
  PD_INFO got{};
  ASSERT_EQ(pd_read_conf(0, 2, &got), 0);
  char model[41] = "";
  ASSERT_GT(Ini_Conf_Get_Field(kStore0, "PhysicalDisk_2", "model", model, sizeof model), 0);
  EXPECT_STREQ(got.model, model);
  EXPECT_STRNE(got.model, "LATE");
  EXPECT_STREQ(got.pd_driver_name, "") << "a key only in the second block is not the disk's";
}

TEST_F(PdStore, RemovalKeepsAHistoryCopy) {
  PD_INFO d = make_disk("sdb", "HIST", 3);
  set_wwn(d, {0x50, 0, 0, 0, 0, 0, 0, 7});
  ASSERT_EQ(pd_write_conf(0, 3, &d), 0);
  Ini_Conf_Set_Field(kStore0, "PhysicalDisk_3", "pd_sysid_%s", "legacy");
  ASSERT_EQ(pd_remove_conf(0, 3), 0);

  EXPECT_FALSE(bit_of(kStore0, "pd_bitmap", 3));
  EXPECT_EQ(key_of(kStore0, "PhysicalDisk_3", "port_id"), "");
  EXPECT_EQ(key_of(kStore0, "Index", "pd_sysid_sdb"), "");
  EXPECT_EQ(key_of("/etc/hal.conf", "Index", "pd_wwn_5000000000000007"), "");

  const char* hist = "/etc/enclosure_0_del.conf";
  EXPECT_TRUE(bit_of(hist, "pd_bitmap", 3));
  EXPECT_EQ(key_of(hist, "Index", "pd_sysid_sdb"), "3");
  EXPECT_EQ(key_of(hist, "PhysicalDisk_3", "serial_no"), "HIST");
  EXPECT_EQ(key_of(hist, "PhysicalDisk_3", "wwn"), "5000000000000007");
  EXPECT_EQ(key_of(hist, "PhysicalDisk_3", "pd_sysid_%s"), "legacy");
  EXPECT_EQ(key_of(hist, "PhysicalDisk_3", "att_phy_id"), "");  // not part of history
  EXPECT_EQ(key_of(hist, "PhysicalDisk_3", "rotation_speed"), "5400");
  char name[32];
  EXPECT_EQ(PD_Get_Sys_Name_From_History(0, 3, name, sizeof name), 8);
  EXPECT_STREQ(name, "/dev/sdb");
  backend.names["/dev/sdb"] = "sdb";
  EXPECT_EQ(PD_Get_Id_By_Sys_Name_From_History(0, "/dev/sdb"), 3);
  EXPECT_EQ(PD_Get_Id_By_Enc_Conf(0, "/dev/sdb"), 3);  // falls back to history
  EXPECT_EQ(pd_remove_conf(0, 3), -1);  // already gone
  EXPECT_EQ(PD_Remove_and_Backup_Section(0, 4), -1);
  EXPECT_EQ(PD_Remove_and_Backup_Section(-1, 4), -1);
  EXPECT_FALSE(bit_of(hist, "pd_bitmap", 4));

  // A virtual disk leaves its own bitmap, for its own history.
  PD_INFO vd = make_disk("sdv", "V7", 107);
  vd.capabilities |= PD_CAP_VIRTUAL;
  ASSERT_EQ(pd_write_conf(0, 107, &vd), 0);
  ASSERT_EQ(pd_remove_conf(0, 107), 0);
  EXPECT_FALSE(bit_of(kStore0, "virtual_pd_bitmap", 7));
  EXPECT_TRUE(bit_of(hist, "virtual_pd_bitmap", 7));
  EXPECT_EQ(key_of(kStore0, "VirtualDisk_7", "port_id"), "");
}

TEST_F(PdStore, ConcurrentWritersFromManyProcessesNeverShareAnId) {
  constexpr int kProcs = 6;
  constexpr int kEach = 8;
  EXPECT_EQ(test::run_children(kProcs, [](int p) {
              int bad = 0;
              for (int i = 0; i < kEach; ++i) {
                std::string name = "sd" + std::to_string(p) + "_" + std::to_string(i);
                PD_INFO d = make_disk(name, "S" + name);
                if (pd_write_conf(0, -1, &d) != 0) ++bad;
              }
              return bad;
            }),
            0);
  std::set<int> ids;
  for (int p = 0; p < kProcs; ++p) {
    for (int i = 0; i < kEach; ++i) {
      std::string name = "sd" + std::to_string(p) + "_" + std::to_string(i);
      std::string id = key_of(kStore0, "Index", "pd_sysid_" + name);
      ASSERT_FALSE(id.empty()) << name;
      int n = std::stoi(id);
      EXPECT_TRUE(ids.insert(n).second) << "id " << n << " given twice";
      EXPECT_EQ(key_of(kStore0, disk::section_for(n), "pd_sys_id"), name);
    }
  }
  EXPECT_EQ(static_cast<int>(ids.size()), kProcs * kEach);
  EXPECT_EQ(*ids.begin(), 9);
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count(kStore0, "Index", "pd_bitmap"), kProcs * kEach);
}

}  // namespace
}  // namespace bayhal::test
