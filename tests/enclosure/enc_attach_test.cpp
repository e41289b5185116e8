// Attach, detach and hot-swap of enclosures on sandbox roots.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "enclosure/enc_attach.h"
#include "bayhal/Ini_Conf.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "foundation/store_files.h"
#include "ini/ini_store.h"
#include "sim/sysfs_builder.h"
#include "tests/enclosure/enc_fakes.h"
#include "tests/enclosure/enc_test_util.h"
#include "tests/support/child_process.h"

namespace bayhal::test {
namespace {

using Names = std::vector<std::string>;

class EncAttachTest : public SandboxTest {
 protected:
  EncAttachTest() {
    root.write("/etc/model.conf", "[System Enclosure]\nVENDOR = Bay\nCAP = 0x200\nMAX_DISK_NUM = 4\n");
    std::string hba_dir = sysfs.pci_device("0000:03:00.0", {}, sim::PciSpec(0x1000, 0x97, 0x010700));
    hba = sysfs.sas_hba(hba_dir, 2, {0, 1, 2, 3, 4, 5, 6, 7});
  }
  // The identity of expander <n>: its address 0x50000000000000<nn> without the "0x".
  static std::string id_of(int n) {
    char id[32];
    std::snprintf(id, sizeof id, "50000000000000%02d", n);
    return id;
  }
  // An expander below the HBA.
  std::string top_expander(int n) { return sysfs.sas_expander(hba, {n}, 8, "0x" + id_of(n)).dir; }
  // An expander daisy-chained below the expander folder `up`.
  std::string chained_expander(const std::string& up, int n) {
    std::string name = "expander-2:" + std::to_string(n);
    std::string dir = up + "/port-2:" + std::to_string(n) + ":0/" + name;
    sysfs.attr(dir + "/sas_device/" + name + "/sas_address", "0x" + id_of(n));
    sysfs.attr(dir + "/sas_expander/" + name + "/vendor_id", "BAYSIM");
    sysfs.attr(dir + "/sas_expander/" + name + "/product_id", "CHAINED");
    sysfs.link("/sys/class/sas_expander/" + name, dir + "/sas_expander/" + name);
    sysfs.link("/sys/class/sas_device/" + name, dir + "/sas_device/" + name);
    return dir;
  }
  bool has_section(int enc_id) {
    return ini::read_section(kHalConf, "Enclosure_" + std::to_string(enc_id)).has_value();
  }
  void attach_root() { ASSERT_EQ(SE_Sys_Attach("root", 0), 0); }

  sim::SysfsBuilder sysfs{root.dir()};
  sim::SasHba hba;
  FakeRunner runner;
  RecordingDiskLink disks;
};

TEST_F(EncAttachTest, RootAttachRegistersScansAndTagsForUdev) {
  disks.scan_result = 3;
  EXPECT_EQ(SE_Sys_Attach("root", 0), 0);
  EXPECT_EQ(se_lookup_id("root"), 0);
  EXPECT_EQ(disks.scans, Names{"0"});
  EXPECT_EQ(runner.execs_of("/sbin/udevadm"), Names{"/sbin/udevadm|control|--env=root=enc"});
  std::string before = root.read(kHalConf);
  EXPECT_EQ(SE_Sys_Attach("root", 0), -1);  // already registered
  EXPECT_EQ(se_attach("root", 0), -1);
  EXPECT_EQ(SE_Sys_Attach("bad=id", 0), -1);
  EXPECT_EQ(SE_Sys_Detach("5999999999999999"), -1);
  EXPECT_EQ(SE_Sys_Pre_Detach("5999999999999999"), -1);
  EXPECT_EQ(SE_Sys_Detach(nullptr), -1);
  EXPECT_EQ(root.read(kHalConf), before);
  EXPECT_EQ(disks.scans.size(), 1u);
  EXPECT_TRUE(disks.detaches.empty());
}

// A chained unit's parent is attached before it; a detach takes the children first.
TEST_F(EncAttachTest, ParentIsAttachedFirstAndDetachTakesChildrenFirstWithTheirDisks) {
  FakeBackend backend;
  attach_root();
  std::string up = top_expander(1);
  chained_expander(up, 7);
  chained_expander(up, 8);
  ASSERT_EQ(SE_Sys_Attach(id_of(7).c_str(), 0), 0);
  int parent = se_lookup_id(id_of(1).c_str());
  int c1 = se_lookup_id(id_of(7).c_str());
  ASSERT_EQ(parent * 100 + c1, 3233);
  EXPECT_EQ(se_get_stack_id(id_of(1).c_str()) * 10 + se_get_stack_id(id_of(7).c_str()), 12);
  EXPECT_TRUE(Ini_Conf_Bitmap_Is_Bit_Set(kHalConf, "Enclosure_32", "child_bitmap", 33));
  EXPECT_TRUE(Ini_Conf_Bitmap_Is_Bit_Set(kHalConf, "Enclosure_0", "child_bitmap", 32));
  EXPECT_EQ(backend.calls, (Names{"7seg " + id_of(1) + " 32", "7seg " + id_of(7) + " 33"}));
  ASSERT_EQ(SE_Sys_Attach(id_of(8).c_str(), 0), 0);
  int c2 = se_lookup_id(id_of(8).c_str());
  for (int id : {parent, c1, c2})
    root.write("/etc/enclosure_" + std::to_string(id) + ".conf", "[Index]\npd_bitmap = 0x6\n");
  std::vector<std::string> seen;
  disks.on_detach = [&](int enc, int dev) {
    // When the parent's disks go, its children are already gone and it is still there.
    if (enc == parent)
      seen.push_back(std::string(has_section(c1) ? "c1 " : "") + (has_section(c2) ? "c2 " : "") +
                     (has_section(parent) ? "parent" : "") + ":" + std::to_string(dev));
  };
  ASSERT_EQ(SE_Sys_Pre_Detach(id_of(1).c_str()), 0);
  EXPECT_EQ(SE_Get_Status(c1), 1);
  EXPECT_EQ(SE_Get_Status(c2), 1);
  EXPECT_EQ(SE_Get_Status(parent), 1);
  EXPECT_EQ(SE_Sys_Detach(id_of(1).c_str()), 0);
  EXPECT_EQ(seen, (Names{"parent:1", "parent:2"}));
  std::vector<std::pair<int, int>> expected{{c1, 1}, {c1, 2}, {c2, 1}, {c2, 2}, {parent, 1}, {parent, 2}};
  EXPECT_EQ(disks.detaches, expected);
  for (int id : {parent, c1, c2}) {
    EXPECT_FALSE(has_section(id));
    EXPECT_FALSE(bit_set(kHalConf, id));
    EXPECT_TRUE(bit_set("/etc/config/enclosure.map", id));  // kept for their return
    EXPECT_FALSE(root.exists("/etc/enclosure_" + std::to_string(id) + ".conf"));
  }
  EXPECT_FALSE(Ini_Conf_Bitmap_Is_Bit_Set(kHalConf, "Enclosure_0", "child_bitmap", 32));
  EXPECT_EQ(ini_get(kHalConf, "Index", ("enc_sysid_" + id_of(7)).c_str()), "<absent>");
  EXPECT_EQ(se_lookup_id("root"), 0);
}

TEST_F(EncAttachTest, MemberDiskIsReportedReturningExactlyOnce) {
  attach_root();
  top_expander(1);
  ASSERT_EQ(SE_Sys_Attach(id_of(1).c_str(), 0), 0);
  int id = se_lookup_id(id_of(1).c_str());
  root.write("/etc/enclosure_" + std::to_string(id) + ".conf",
             "[Index]\npd_bitmap = 0x4\npd2_member_bitmap = 0x8\n");
  root.write("/etc/config/.jbod_roaming_status", "[ENCLOSURE_20]\nENC_SAFE_REMOVE = 1\nOTHER = 2\n");
  ASSERT_EQ(SE_Sys_Detach(id_of(1).c_str()), 0);
  EXPECT_EQ(disks.detaches, (std::vector<std::pair<int, int>>{{id, 2003}, {id, 2}}));
  EXPECT_EQ(ini_get("/etc/config/.jbod_roaming_status", "ENCLOSURE_20", "ENC_SAFE_REMOVE"), "<absent>");
  EXPECT_EQ(ini_get("/etc/config/.jbod_roaming_status", "ENCLOSURE_20", "OTHER"), "2");

  ASSERT_EQ(SE_Sys_Attach(id_of(1).c_str(), 0), 0);
  EXPECT_EQ(se_lookup_id(id_of(1).c_str()), id);
  EXPECT_EQ(SE_Hotswap_Check_PD(id, 2003), 1);
  EXPECT_EQ(SE_Hotswap_Check_PD(id, 2003), 0);
  EXPECT_EQ(SE_Hotswap_Check_PD(id, 2), 1);
  EXPECT_EQ(SE_Hotswap_Check_PD(id, 2), 0);
  EXPECT_EQ(SE_Hotswap_Check_PD(id, 1002), 0);
  EXPECT_EQ(SE_Hotswap_Check_PD(id, 5), 0);
  EXPECT_GE(SE_Hotswap_Clear_Enc(id), 0);
  EXPECT_EQ(ini::read_section("/tmp/.se_detached", "Enclosure_" + std::to_string(id)), std::nullopt);
  // A released enclosure forgets its disks.
  root.write(enc_disk_conf(id), "[Index]\npd_bitmap = 0x2\n");
  ASSERT_EQ(SE_Sys_Detach(id_of(1).c_str()), 0);
  ASSERT_EQ(SE_Release_Id(id), 0);
  EXPECT_EQ(SE_Hotswap_Check_PD(id, 1), 0);
  EXPECT_EQ(ini::read_section("/tmp/.se_detached", "Enclosure_" + std::to_string(id)), std::nullopt);
}

TEST_F(EncAttachTest, TypedFormOnlyForAnMvUnitOverUsb) {
  root.write("/etc/expansion_units.conf",
             "[MV]\nBUS = usb\nVENDOR_ID = 0x1e4e\nPRODUCT_ID = 0x0104\nMODEL = MV-J4\n"
             "[Other]\nBUS = usb\nVENDOR_ID = 0x1e4e\nPRODUCT_ID = 0x0200\nMODEL = TR-4\n");
  std::string xhci = sysfs.pci_device("0000:00:14.0", {}, sim::PciSpec(0x8086, 0xa36d, 0x0c0330));
  sim::UsbDev hub = sysfs.usb_root_hub(xhci, 2, 5000, 4);
  sim::UsbSpec mv(0x1e4e, 0x0104, "Bay", "J4");
  mv.serial = "MVSER0001";
  sysfs.usb_device(hub, 1, mv);
  sysfs.usb_device(hub, 2, sim::UsbSpec(0x1e4e, 0x0200, "Bay", "TR"));
  attach_root();
  std::string before = root.read(kHalConf);
  for (const char* ignored : {"usb_2-1_type_2_5", "usb_2-1_type_1_0", "usb_2-1_type_x"}) {
    SCOPED_TRACE(ignored);
    EXPECT_EQ(se_attach(ignored, 0), 0);
    EXPECT_EQ(root.read(kHalConf), before);
  }
  EXPECT_EQ(se_attach("usb_2-2_type_1_5", 0), -1);  // not an MV model
  EXPECT_EQ(root.read(kHalConf), before);
  EXPECT_EQ(se_attach("usb_2-1_type_1_5", 0), 0);
  int id = se_lookup_id("usb_2-1");
  ASSERT_EQ(id, 32);
  SE_ENC_INFO info;
  std::memset(&info, 0, sizeof info);
  ASSERT_EQ(SE_Get_Info(id, &info), 0);
  EXPECT_EQ(info.mv_bus_speed, 5);
  EXPECT_STREQ(info.model, "MV-J4");
  EXPECT_EQ(disks.scans, Names{"0"});  // no disk scan for the typed form
  EXPECT_EQ(ini_get("/etc/config/enclosure.map", "Index", "enc_32"), "MV-J4-0001");
  // Again, after the unit is registered: the record is updated in place.
  EXPECT_EQ(se_attach("usb_2-1_type_1_3", 0), 0);
  EXPECT_EQ(ini_get(kHalConf, "Enclosure_32", "mv_bus_speed"), "3");
  EXPECT_EQ(se_lookup_id("usb_2-1"), 32);
}

TEST_F(EncAttachTest, ScanAttachesWhatIsNewAndDetachesWhatIsGone) {
  top_expander(1);
  top_expander(2);
  EXPECT_EQ(SE_Scan(), 0);
  for (const char* id : {"root", "root_boot", "root_usb"}) EXPECT_GE(se_lookup_id(id), 0) << id;
  // root_boot and root_usb are not internal: like the expanders they take ids from 32.
  EXPECT_EQ(se_lookup_id("root_boot"), 32);
  EXPECT_EQ(se_lookup_id(id_of(2).c_str()), 35);
  EXPECT_EQ(se_lookup_id(id_of(1).c_str()), 34);
  ::unlink(root.path("/sys/class/sas_expander/expander-2:1").c_str());
  EXPECT_EQ(SE_Scan(), 0);
  EXPECT_EQ(se_lookup_id(id_of(2).c_str()), -1);
  EXPECT_EQ(se_lookup_id(id_of(1).c_str()), 34);
  EXPECT_EQ(se_lookup_id("root"), 0);

  // A rescan rewrites each registered enclosure and scans its disks in the folder.
  disks.scans.clear();
  EXPECT_EQ(SE_Rescan("/tmp/rescan"), 4);
  EXPECT_EQ(ini_get("/tmp/rescan/hal.conf", "Index", ("enc_sysid_" + id_of(1)).c_str()),
            std::to_string(se_lookup_id(id_of(1).c_str())));
  EXPECT_EQ(ini_get("/tmp/rescan/hal.conf", "Enclosure_0", "enc_sys_id"), "root");
  EXPECT_EQ(disks.scans.front(), "0@/tmp/rescan");
}

// A fresh root has no /etc/config: the store makes it. An enclosure that still cannot be
// registered fails the scan.
TEST_F(EncAttachTest, ScanMakesStoreFoldersAndFailsForAnEnclosureLeftOut) {
  std::filesystem::remove_all(root.path("/etc/config"));
  top_expander(1);
  EXPECT_EQ(SE_Scan(), 0);
  EXPECT_EQ(se_lookup_id(id_of(1).c_str()), 34);
  EXPECT_TRUE(root.exists(kEncMap));
  std::filesystem::remove_all(root.path("/etc/config"));
  root.write("/etc/config", "");
  top_expander(2);
  EXPECT_EQ(SE_Scan(), -1);
  EXPECT_EQ(se_lookup_id(id_of(2).c_str()), -1);
}

// Whatever step of a detach fails, the enclosure is either registered with its disk store
// or gone with it: a disk that cannot be detached does not stop the rest, and a hal.conf
// that cannot be written (here: reached through another user's link) keeps everything.
TEST_F(EncAttachTest, DetachLeavesTheRegistryConsistentWhicheverStepFails) {
  attach_root();
  top_expander(1);
  const std::string unit = id_of(1);
  struct Case {
    const char* step;
    int disk_result;
    bool registry_fails;
  } cases[] = {{"none", 0, false}, {"a disk", -1, false}, {"hal.conf", 0, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.step);
    ASSERT_EQ(SE_Sys_Attach(unit.c_str(), 0), 0);
    int id = se_lookup_id(unit.c_str());
    std::string store = enc_disk_conf(id);
    root.write(store, "[Index]\npd_bitmap = 0x6\n");
    disks.detach_result = c.disk_result;
    std::string real = root.path(kHalConf) + ".real";
    if (c.registry_fails) {
      std::filesystem::rename(root.path(kHalConf), real);
      ASSERT_EQ(::symlink("hal.conf.real", root.path(kHalConf).c_str()), 0);
      ASSERT_EQ(::lchown(root.path(kHalConf).c_str(), 65534, 65534), 0);
    }
    EXPECT_EQ(SE_Sys_Detach(unit.c_str()), c.registry_fails ? -1 : 0);
    if (c.registry_fails) std::filesystem::rename(real, root.path(kHalConf));
    bool stays = c.registry_fails;
    EXPECT_EQ(se_lookup_id(unit.c_str()) == id, stays);
    EXPECT_EQ(has_section(id), stays);
    EXPECT_EQ(Ini_Conf_Bitmap_Is_Bit_Set(kHalConf, kIndex, kEncBitmap, id) == 1, stays);
    EXPECT_EQ(Ini_Conf_Bitmap_Is_Bit_Set(kHalConf, "Enclosure_0", "child_bitmap", id) == 1, stays);
    EXPECT_EQ(root.exists(store), stays);
    if (stays) {
      ASSERT_EQ(SE_Sys_Detach(unit.c_str()), 0);
    }
  }
}

TEST_F(EncAttachTest, ConcurrentAttachAndDetachLeaveAConsistentStore) {
  attach_root();
  constexpr int kProcs = 3;
  for (int n = 1; n <= 2 * kProcs; ++n) top_expander(n);
  EXPECT_EQ(test::run_children(kProcs, [this](int p) {
              set_disk_registry_link(nullptr);
              int a = 2 * p + 1, b = 2 * p + 2;
              bool ok = se_attach(id_of(a).c_str(), 0) == 0 &&
                        se_attach(id_of(b).c_str(), 0) == 0 && se_detach(id_of(a).c_str()) == 0;
              return ok ? 0 : 1;
            }),
            0);
  std::vector<int> ids(64);
  int n = SE_Enumerate(ids.data(), 64, nullptr, nullptr);
  ids.resize(static_cast<size_t>(n));
  EXPECT_EQ(n, 1 + kProcs);
  for (int id : ids) {
    char sys_id[32];
    ASSERT_EQ(se_lookup_sys_id(id, sys_id, sizeof sys_id), 0) << id;
    EXPECT_EQ(se_lookup_id(sys_id), id);
  }
  for (int p = 0; p < kProcs; ++p) {
    EXPECT_EQ(se_lookup_id(id_of(2 * p + 1).c_str()), -1);
    EXPECT_GE(se_lookup_id(id_of(2 * p + 2).c_str()), 32);
  }
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count("/etc/config/enclosure.map", "Index", "enc_bitmap"),
            1 + 2 * kProcs);
  auto sections = ini::list_sections(kHalConf);
  EXPECT_EQ(std::count_if(sections.begin(), sections.end(),
                          [](const std::string& s) { return s.rfind("Enclosure_", 0) == 0; }),
            1 + kProcs);
  // Every detached child is gone from root's child list, every remaining one is in it.
  for (int p = 0; p < kProcs; ++p) {
    int kept = se_lookup_id(id_of(2 * p + 2).c_str());
    EXPECT_TRUE(Ini_Conf_Bitmap_Is_Bit_Set(kHalConf, "Enclosure_0", "child_bitmap", kept));
  }
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count(kHalConf, "Enclosure_0", "child_bitmap"), kProcs);
}

}  // namespace
}  // namespace bayhal::test
