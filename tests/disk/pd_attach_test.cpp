// Attach and detach: the hot-plug path from a kernel name to a registered disk and back.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <set>

#include "bayhal/Ini_Conf.h"
#include "bayhal/SE.h"
#include "disk/disk_store.h"
#include "disk/pd_attach.h"
#include "disk/pd_fields.h"
#include "disk/pd_hook.h"
#include "disk/pd_store.h"
#include "disk/pd_volume_repair.h"
#include "disk/sr_raid_conf.h"
#include "disk_sys/pd_sys.h"
#include "enclosure/disk_registry_link.h"
#include "foundation/clock.h"
#include "ini/ini_store.h"
#include "tests/disk/disk_fixture.h"
#include "tests/enclosure/enc_fakes.h"
#include "tests/support/child_process.h"

namespace bayhal::test {
namespace {

constexpr const char* kStore0 = "/etc/enclosure_0.conf";

class PdAttach : public test::DiskTest {
 protected:
  PdAttach() { add_enclosure(0, "root", 8, 0, 0x80000000u); }

  // A disk discovery finds in `port`, with kernel counters that show it answers I/O.
  PD_INFO& plug(const std::string& sys_id, int port, const std::string& serial,
                int requests = 0x80, int done = 0x80) {
    PD_INFO d = make_disk(sys_id, serial, port);
    std::string sg = "/sys/class/scsi_generic/sg" + std::to_string(backend.disks.size() + 1);
    disk::set_text(d.pd_ctrl_name, "/dev/" + sg.substr(sg.rfind('/') + 1));
    char text[16];
    for (auto [file, n] : {std::pair{"iorequest_cnt", requests}, {"iodone_cnt", done}}) {
      std::snprintf(text, sizeof text, "0x%x\n", n);
      root.write(sg + "/device/" + file, text);
    }
    root.write("/sys/block/" + sys_id + "/device/varn_param_latency", "0\n");
    root.write("/sys/block/" + sys_id + "/queue/max_sectors_kb", "1280\n");
    return backend.disks[sys_id] = d;
  }
  // Whether a shell line or a program run (arguments joined by '|') starts with `prefix`.
  bool ran(const std::string& prefix) const {
    for (const auto* lines : {&recorder.shells, &recorder.execs})
      for (const std::string& l : *lines)
        if (l.rfind(prefix, 0) == 0) return true;
    return false;
  }

  test::WaitingRunner real;  // built before the recorder is installed: wraps the real runner
  test::FakeRunner recorder;
};

// Refused disks leave no record and no device tag: bad arguments, a disk discovery does not
// know, and the configuration unit or empty slot a USB bridge shows as a disk.
TEST_F(PdAttach, RefusedDisksAreNeverRegistered) {
  EXPECT_EQ(PD_Sys_Attach(nullptr, "sdb"), -1);
  EXPECT_EQ(PD_Sys_Attach("nowhere", "sdb"), -1);
  EXPECT_EQ(PD_Sys_Attach("root", "unknown-disk"), -1);
  EXPECT_EQ(PD_Sys_Detach(nullptr, nullptr), -1);
  PD_INFO& lun = plug("sdd", -1, "CFG");
  disk::set_text(lun.vendor, "ASMT109x-");
  disk::set_text(lun.model, "Config Disk");
  EXPECT_EQ(PD_Sys_Attach("root", "sdd"), -2);
  PD_INFO& empty = plug("sde", -1, "EMPTY");
  disk::set_text(empty.vendor, "ASMT1051");
  empty.capacity = 0;
  EXPECT_EQ(PD_Sys_Attach("root", "sde"), -2);
  EXPECT_FALSE(root.exists(kStore0));
  EXPECT_FALSE(ran("/sbin/udevadm"));
}

// The I/O check: counters decide, a fresh disk gets three one-second chances, and the
// enclosures and devices without counters are let through.
TEST_F(PdAttach, DiskMustShowItCompletesIo) {
  struct Case {
    const char* enc;
    const char* pd;
    int requests, done;  // -1: no counters at all
    int want, sleeps;
  } cases[] = {
      {"root", "sdf", 41, 0, 0, 0},   {"root", "sdf", 10, 7, 0, 0},
      {"root", "sdf", 8, 0, -1, 3},   {"root", "sdf", 40, 36, -1, 3},
      {"root", "sdz", -1, -1, -1, 0}, {"root", "", -1, -1, -1, 0},
      {"root_boot", "sda", -1, -1, 0, 0}, {"root_pcie_1", "sdq", -1, -1, 0, 0},
      {"root", "nvme0n1", -1, -1, 0, 0},  {"root", "virtio-2", -1, -1, 0, 0},
      {"usb1", "1:0:0:0", -1, -1, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.enc) + "/" + c.pd + " " + std::to_string(c.requests));
    VirtualClock clock;
    ScopedClock use(clock);
    PD_INFO d = make_disk(c.pd, "IO", 2);
    if (c.requests >= 0) d = plug(c.pd, 2, "IO", c.requests, c.done);
    EXPECT_EQ(pd_sys_check_rw_access(c.enc, c.pd, &d), c.want);
    EXPECT_EQ(clock.slept_ms(), c.sleeps * 1000LL);
  }
  EXPECT_EQ(pd_sys_check_rw_access("root", "sdf", nullptr), -1);
  // Without a SCSI generic node discovery names the block device as controller: its own
  // counters decide.
  PD_INFO bare = make_disk("sdg", "IO", 2);
  disk::set_text(bare.pd_ctrl_name, "/dev/sdg");
  root.write("/sys/block/sdg/device/iorequest_cnt", "0x50\n");
  root.write("/sys/block/sdg/device/iodone_cnt", "0x50\n");
  EXPECT_EQ(pd_sys_check_rw_access("root", "sdg", &bare), 0);
}

TEST_F(PdAttach, FullOrdinaryEnclosureAttachesWithoutARecordButFullIscsiFails) {
  add_enclosure(1, "root_usb", 99, 2);
  PD_INFO filler = make_disk("sdu", "FILL", 100);
  ASSERT_EQ(pd_write_conf(1, 100, &filler), 0);
  PD_INFO& usb = plug("sdv", -1, "USB");
  usb.type = PD_TYPE_USB;
  EXPECT_EQ(PD_Sys_Attach("root_usb", "sdv"), 0);
  EXPECT_EQ(PD_Get_Id_By_Sys_Id(1, "sdv"), -1);  // 101 would read back as a virtual disk
  EXPECT_FALSE(bit_of("/etc/enclosure_1.conf", "pd_bitmap", 101));
  EXPECT_TRUE(ran("/sbin/udevadm|control|--env=sdv=root_usb"));

  add_enclosure(31, "root_iscsi", 1, 4);
  plug("sdi", -1, "ISCSI1");
  plug("sdj", -1, "ISCSI2");
  EXPECT_EQ(PD_Sys_Attach("root_iscsi", "sdi"), 0);
  EXPECT_EQ(PD_Get_Id_By_Sys_Id(31, "sdi"), 1);
  EXPECT_EQ(PD_Sys_Attach("root_iscsi", "sdj"), -1);
  EXPECT_EQ(Ini_Conf_Bitmap_Get_Set_Count("/etc/enclosure_31.conf", "Index", "pd_bitmap"), 1);
  EXPECT_FALSE(ran("/sbin/udevadm|control|--env=sdj=root_iscsi"));
}

TEST_F(PdAttach, RepeatedAddEventKeepsOneRecordThatDetachRemoves) {
  add_enclosure(1, "root_usb", 4, 2);
  plug("sdv", -1, "USB").type = PD_TYPE_USB;
  ASSERT_EQ(PD_Sys_Attach("root_usb", "sdv"), 0);
  int id = PD_Get_Id_By_Sys_Id(1, "sdv");
  ASSERT_EQ(PD_Sys_Attach("root_usb", "sdv"), 0);
  EXPECT_EQ(PD_Get_Id_By_Sys_Id(1, "sdv"), id);
  EXPECT_EQ(PD_Sys_Detach("root_usb", "sdv"), 0);
  EXPECT_EQ(root.read("/etc/enclosure_1.conf").find("sdv"), std::string::npos);
}

// Member disks (1000 x slot + k) register their slot, so they are listed and counted; a
// port multiplier's own disk keeps its place among them.
TEST_F(PdAttach, MemberDisksAreListedAndCountedWithTheirSlot) {
  auto listed = [] {
    int ids[16];
    int n = PD_Enumerate(0, ids, 16);
    return std::vector<int>(ids, ids + std::max(n, 0));
  };
  for (auto [name, id] : {std::pair{"sdm", 2000}, {"sdn", 2001}, {"sdo", 3}, {"sdp", 3000}}) {
    plug(name, id, name);
    ASSERT_EQ(PD_Sys_Attach("root", name), 0) << name;
  }
  EXPECT_EQ(listed(), (std::vector<int>{2, 3, 2000, 2001, 3000}));
  EXPECT_EQ(SE_Get_PD_Num(0), 3);  // a slot with a disk of its own counts once
  EXPECT_EQ(PD_Sys_Detach("root", "sdo"), 0);  // takes its member along
  EXPECT_EQ(listed(), (std::vector<int>{2, 2000, 2001}));
  EXPECT_FALSE(bit_of(kStore0, "pd3_member_bitmap", 0));
  for (const char* name : {"sdm", "sdn"}) EXPECT_EQ(PD_Sys_Detach("root", name), 0);
  EXPECT_EQ(listed(), std::vector<int>{});
  EXPECT_EQ(root.read(kStore0).find("PhysicalDisk_2]"), std::string::npos);
}

TEST_F(PdAttach, DiskMovedFromSdbToSdcKeepsItsVolumes) {
  root.write("/etc/volume.conf",
             "[Global]\npd_00000003_-1_Vol_Bitmap = 1\npd_00000003_1_Vol_Bitmap = 2\n"
             "pd_00000003_2_Vol_Bitmap = 0\n"
             "[VOL_1]\nraidName = /dev/sdb\nmappingName = /dev/sdb\n"
             "[VOL_2]\nraidName = /dev/sdb1\nmappingName = /dev/sdb1\nstatus = 0\n");
  plug("sdc", 3, "MOVED");
  ASSERT_EQ(PD_Sys_Attach("root", "sdc"), 0);
  EXPECT_EQ(key_of("/etc/volume.conf", "VOL_1", "raidName"), "/dev/sdc");
  EXPECT_EQ(key_of("/etc/volume.conf", "VOL_1", "mappingName"), "/dev/sdc");
  EXPECT_EQ(key_of("/etc/volume.conf", "VOL_2", "raidName"), "/dev/sdc1");
  EXPECT_EQ(key_of("/etc/volume.conf", "VOL_2", "mappingName"), "/dev/sdc1");
  EXPECT_EQ(key_of("/etc/volume.conf", "VOL_2", "status"), "0");
}

TEST(PdPartitionName, NumberedNamesGetAPWhereTheKernelPutsOne) {
  EXPECT_EQ(partition_name("/dev/sdc", -1), "/dev/sdc");
  EXPECT_EQ(partition_name("/dev/sdc", 3), "/dev/sdc3");
  EXPECT_EQ(partition_name("/dev/nvme0n1", 1), "/dev/nvme0n1p1");
  EXPECT_EQ(partition_name("/dev/mmcblk0", 2), "/dev/mmcblk0p2");
}

TEST_F(PdAttach, DeviceTextNeverReachesAShellUnquoted) {
  set_runner(&real);
  root.stand_in("/etc/init.d/pd_attach");
  root.stand_in("/sbin/udevadm");
  root.stand_in("/sbin/storage_util");
  PD_INFO& d = plug("sdh", 5, "Q");
  disk::set_text(d.pd_sys_name, "/dev/sdh;touch${IFS}PWNED");
  ASSERT_EQ(PD_Sys_Attach("root", "sdh"), 0);
  EXPECT_EQ(root.calls("pd_attach"),
            std::vector<std::string>{"0 5 /dev/sdh;touch${IFS}PWNED"});
  EXPECT_FALSE(root.exists("/PWNED"));
  struct stat st {};
  EXPECT_NE(::stat("PWNED", &st), 0);
}

TEST_F(PdAttach, HookMustBeExecutableByItsOwner) {
  root.write("/etc/init.d/pd_attach", "#!/bin/sh\n");
  ::chmod(root.path("/etc/init.d/pd_attach").c_str(), 0644);
  plug("sdb", 3, "NOEXEC");
  ASSERT_EQ(PD_Sys_Attach("root", "sdb"), 0);
  EXPECT_FALSE(ran("/etc/init.d/pd_attach"));
}

// In one RAID mode of the port the member disks stay when their slot's own disk goes.
TEST_F(PdAttach, DetachLeavesMemberDisksWhenTheRaidModeSaysSo) {
  PD_INFO parent = make_disk("sdm", "PARENT", 2);
  parent.capabilities |= PD_CAP_HAS_MEMBERS;
  ASSERT_EQ(pd_write_conf(0, 2, &parent), 0);
  PD_INFO m = make_disk("sdm0", "M0", 2000);
  ASSERT_EQ(pd_write_conf(0, 2000, &m), 0);
  backend.sr_modes[2] = 4;
  EXPECT_EQ(PD_Sys_Detach("root", "sdm"), 0);
  // The slot stays registered, without a disk of its own, for the member left behind.
  EXPECT_EQ(key_of(kStore0, "PhysicalDisk_2", "pd_sys_id"), "");
  EXPECT_EQ(key_of(kStore0, "PhysicalDisk_2", "port_id"), "-1");
  EXPECT_EQ(PD_Is_Exist(0, 2000), 1);
}

TEST_F(PdAttach, HardwareRaidAdapterDiskRegistersItsArray) {
  PD_INFO& d = plug("sdr", 3, "ARRAY-1");
  d.adapter_kind = PD_ADAPTER_RAID_A;
  d.hw_raid_type = 5;
  ASSERT_EQ(PD_Sys_Attach("root", "sdr"), 0);
  const char* conf = "/etc/config/sr_raid.conf";
  EXPECT_TRUE(Ini_Conf_Bitmap_Is_Bit_Set(conf, "Global", "raidBitmap", 0));
  EXPECT_EQ(key_of(conf, "RAID_0", "uuid"), "ARRAY-1");
  EXPECT_EQ(key_of(conf, "RAID_0", "raidLevel"), "5");
  EXPECT_EQ(key_of(conf, "RAID_0", "dataBitmap"), "0x8");
  EXPECT_EQ(key_of(conf, "RAID_0", "data_3"), "sdr");
  ASSERT_EQ(PD_Sys_Detach("root", "sdr"), 0);
  EXPECT_FALSE(Ini_Conf_Bitmap_Is_Bit_Set(conf, "Global", "raidBitmap", 0));
  EXPECT_EQ(key_of(conf, "RAID_0", "uuid"), "");
}

TEST_F(PdAttach, OnlyAtaDisksGetTheirCommandLatency) {
  struct Row {
    int type;
    unsigned caps;
    const char* model;
    const char* enc;
    int want;
    const char* written;
  } rows[] = {{PD_TYPE_ATA, 0, "WD", "root", 0, "1000\n"},
              {PD_TYPE_ATA, PD_CAP_SSD, "SSD", "root", 0, "300\n"},
              {PD_TYPE_SCSI, 0, "SAS", "root", -1, "0\n"},
              {PD_TYPE_ATA, 0, "BKT-1", "root", -1, "0\n"},
              {PD_TYPE_ATA, 0, "WD", "px_0011", -1, "0\n"}};
  for (const Row& r : rows) {
    SCOPED_TRACE(std::string(r.model) + " " + r.enc);
    PD_INFO d = make_disk("sdl", "L", 1, r.enc);
    root.write("/sys/block/sdl/device/varn_param_latency", "0\n");
    d.type = r.type;
    d.capabilities = r.caps;
    disk::set_text(d.model, r.model);
    EXPECT_EQ(PD_Set_ATA_IO_Latency(&d), r.want);
    EXPECT_EQ(root.read("/sys/block/sdl/device/varn_param_latency"), r.written);
  }
  EXPECT_EQ(PD_Set_ATA_IO_Latency(nullptr), -1);
}

TEST_F(PdAttach, QueueLimitComesFromTheSystemConfiguration) {
  root.write("/sys/block/sdq/queue/max_sectors_kb", "1280\n");
  recorder.read_output = "";
  EXPECT_EQ(pd_sys_set_device_queue("/dev/sdq"), -1);
  recorder.read_output = "256\n";
  EXPECT_EQ(pd_sys_set_device_queue("/dev/sdq"), 0);
  EXPECT_EQ(root.read("/sys/block/sdq/queue/max_sectors_kb"), "256\n");
  EXPECT_EQ(pd_sys_set_device_queue("/dev/../x"), -1);
  EXPECT_EQ(pd_sys_set_device_queue(nullptr), -1);
}

// Many processes attaching and detaching disks of several enclosures at once.
TEST_F(PdAttach, ConcurrentAttachAndDetachLeaveConsistentStores) {
  constexpr int kEnclosures = 3;
  constexpr int kProcs = 6;
  constexpr int kDisks = 6;
  for (int e = 1; e <= kEnclosures; ++e) add_enclosure(e, "usb" + std::to_string(e), 4, 2);
  for (int p = 0; p < kProcs; ++p)
    for (int i = 0; i < kDisks; ++i) {
      std::string id = "p" + std::to_string(p) + "d" + std::to_string(i);
      // Half ask for a slot, half for a new id: slots collide across processes.
      plug(id, i % 2 == 0 ? 1 + i / 2 : -1, "S" + id);
    }
  EXPECT_EQ(test::run_children(kProcs, [](int p) {
              int bad = 0;
              std::string enc = "usb" + std::to_string(1 + p % kEnclosures);
              for (int i = 0; i < kDisks; ++i) {
                std::string id = "p" + std::to_string(p) + "d" + std::to_string(i);
                if (PD_Sys_Attach(enc.c_str(), id.c_str()) != 0) ++bad;
                // A slot disk that lost its slot to the other process has no record to detach.
                if (i % 3 == 2) PD_Sys_Detach(enc.c_str(), id.c_str());
              }
              return bad;
            }),
            0);
  int registered = 0;
  for (int e = 1; e <= kEnclosures; ++e) {
    std::string file = disk::store_file(e);
    std::set<int> bits;
    int ports[128];
    int n = PD_Enumerate(e, ports, 128);
    for (int i = 0; i < n; ++i) bits.insert(ports[i]);
    std::set<int> sections;
    for (const std::string& name : ini::list_sections(file)) {
      int port = -1;
      if (std::sscanf(name.c_str(), "PhysicalDisk_%d", &port) != 1) continue;
      sections.insert(port);
      PD_INFO info{};
      ASSERT_EQ(pd_read_conf(e, port, &info), 0) << name;
      EXPECT_EQ(PD_Get_Id_By_Sys_Id(e, info.pd_sys_id), port) << info.pd_sys_id;
    }
    EXPECT_EQ(bits, sections) << "enclosure " << e;
    registered += static_cast<int>(sections.size());
    auto index = ini::read_section(file, "Index");
    ASSERT_TRUE(index.has_value());
    for (const auto& [key, value] : index->entries)
      if (key.rfind("pd_sysid_", 0) == 0) {
        EXPECT_TRUE(sections.count(std::stoi(std::string(value)))) << key;
      }
  }
  // Detached disks are gone; every kept disk has a record unless its slot was taken.
  EXPECT_GT(registered, 0);
  EXPECT_LE(registered, kProcs * (kDisks - kDisks / 3));
}

}  // namespace
}  // namespace bayhal::test
