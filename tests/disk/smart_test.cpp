// The PD_SMART_* family: readings by disk type that never wake a sleeping disk, the caches
// (format, failures, several processes at once), the settings store and the warning policy.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "bayhal/PD.h"
#include "disk/pd_store.h"
#include "disk/smart_cache_text.h"
#include "sim/ata_disk_model.h"
#include "sim/nvme_model.h"
#include "sim/scsi_disk_models.h"
#include "tests/disk/disk_fixture.h"
#include "tests/support/child_process.h"
#include "tests/support/test_files.h"

namespace bayhal {
namespace {

using test::add_enclosure;
using test::make_disk;

std::vector<uint8_t> capture(const std::string& drive, const char* page) {
  std::string s = test::read_file(test::test_data_dir() + "/external/libblockdev-smart-dumps/pages/" + drive + page);
  return {s.begin(), s.end()};
}

class Smart : public test::DiskTest {
 protected:
  sim::ModelTransport models;
  ScopedDeviceTransport use{models};

  Smart() { add_enclosure(0, "root", 8, 0, 0x80000000u); }

  // Registers a disk of `type` in `port` answered by `model` under /dev/<name>.
  void add(int port, const std::string& name, int type, std::shared_ptr<sim::DeviceModel> model,
           unsigned caps = PD_CAP_SMART) {
    PD_INFO d = make_disk(name, "SN" + name, port);
    d.type = type;
    d.capabilities = caps;
    ASSERT_EQ(pd_write_conf(0, port, &d), 0);
    models.add("/dev/" + name, std::move(model));
  }
  SmartInfoPtr update(int port, int want = 0) {
    PD_SMART_INFO* info = nullptr;
    EXPECT_EQ(PD_SMART_Update_Info(0, port, &info), want);
    return SmartInfoPtr(info);
  }
  void settings(const std::string& text) { root.write("/etc/config/smart.conf", "[SMART]\n" + text); }
};

TEST_F(Smart, RealFailingAndHealthyDrivesAreReadAndCached) {
  struct Case {
    const char* drive;
    int verdict;
  } cases[] = {{"WDC_WD20EARS-00MVWB0", PD_SMART_VERDICT_ERROR},
               {"Hitachi_HDS721010CLA632", PD_SMART_VERDICT_WARNING},  // one pending sector
               {"TOSHIBA_THNSNH128GBST", PD_SMART_VERDICT_GOOD}};
  for (int port = 1; port <= 3; ++port) {
    const char* drive = cases[port - 1].drive;
    add(port, std::string("sd") + char('a' + port - 1), PD_TYPE_ATA,
        std::make_shared<sim::SataDiskModel>(capture(drive, ".identify.bin"), capture(drive, ".smart_data.bin"),
                                              capture(drive, ".smart_thresholds.bin")));
    EXPECT_EQ(update(port)->verdict, cases[port - 1].verdict) << drive;
    EXPECT_EQ(PD_SMART_Is_Error(0, port), cases[port - 1].verdict == PD_SMART_VERDICT_ERROR);
  }
  auto failing = update(1);
  ASSERT_TRUE(failing);
  EXPECT_EQ(failing->count, 17);
  EXPECT_EQ(failing->temperature, 44);
  EXPECT_EQ(failing->extended_minutes, 397);
  EXPECT_EQ(failing->warnings, PD_SMART_WARN_197 | PD_SMART_WARN_198) << "the default policy";
  unsigned long long hours = 0;
  EXPECT_EQ(PD_SMART_Get_Power_On_Hours(0, 1, &hours), 0);
  EXPECT_EQ(hours, 6684u);

  PD_SMART_INFO* cached = nullptr;
  ASSERT_EQ(PD_SMART_Read_Info(0, 1, &cached), 0);
  SmartInfoPtr keep(cached);
  EXPECT_EQ(smart_cache_format(*cached), smart_cache_format(*failing));
  std::string text = root.read("/tmp/smart/smart_0_1.info");
  EXPECT_EQ(text.substr(0, text.find('\n')),
            "17,0,2,44,1,10,2,397," + std::to_string(failing->read_time) + ",0x0000,0,24,0");
  EXPECT_NE(text.find("\n197,Current_Pending_Sector,1,1,0,65529,50\n"), std::string::npos);
  ASSERT_EQ(PD_SMART_Set_Current_Notify_Event(0, 1, 7), 0);
  auto again = update(1);
  EXPECT_EQ(again->notify_event, 7) << "a new reading keeps the caller's event";
}

TEST_F(Smart, ASleepingDiskIsNeverWoken) {
  auto hdd = std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{});
  auto sas = std::make_shared<sim::SasDiskModel>(sim::SasDiskSpec{});
  add(1, "sda", PD_TYPE_ATA, hdd);
  add(2, "sdb", PD_TYPE_SCSI, sas);
  struct Disk {
    int port;
    sim::SpinningDisk* disk;
    sim::DeviceModel* model;
  };
  for (auto [port, disk, model] : {Disk{1, hdd.get(), hdd.get()}, Disk{2, sas.get(), sas.get()}}) {
    SCOPED_TRACE(port);
    disk->set_standby(true);
    update(port, -2);  // asleep and never read: nothing to give
    disk->set_standby(false);
    auto awake = update(port);
    disk->set_standby(true);
    int before = model->received();
    auto asleep = update(port);
    ASSERT_TRUE(asleep);
    EXPECT_EQ(model->received(), before + 1) << "only the power mode was asked";
    EXPECT_EQ(disk->wakeups(), 0);
    EXPECT_TRUE(asleep->state & PD_SMART_STATE_STANDBY);
    EXPECT_EQ(asleep->skipped, 1);
    EXPECT_EQ(asleep->read_time, awake->read_time) << "the earlier reading, with its age";
    PD_SMART_ATTR list[30];
    EXPECT_EQ(port == 1 ? PD_SMART_Get_ATA_Info(0, 1, nullptr, list, 30, nullptr, nullptr, nullptr, nullptr)
                        : PD_SMART_Get_SAS_Info(0, 2, nullptr, list, 30, nullptr, nullptr, nullptr, nullptr),
              awake->count);
    EXPECT_EQ(disk->wakeups(), 0);
  }
  EXPECT_EQ(hdd->ata_commands().back(), 0xe5) << "CHECK POWER MODE, and nothing after it";
}

TEST_F(Smart, ReadersAndSelfTestsFollowTheDiskType) {
  add(1, "sda", PD_TYPE_ATA, std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{}));
  add(2, "sdb", PD_TYPE_SCSI, std::make_shared<sim::SasDiskModel>(sim::SasDiskSpec{}));
  add(3, "nvme0n1", PD_TYPE_NVME, std::make_shared<sim::NvmeModel>(sim::NvmeCtrlSpec{}), PD_CAP_SMART | PD_CAP_SSD);
  add(4, "sdd", PD_TYPE_USB, std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{}));
  struct Case {
    int port, type;
    unsigned long long hours;
  } cases[] = {{1, PD_SMART_TYPE_ATA, 1234}, {2, PD_SMART_TYPE_SAS, 20576}, {3, PD_SMART_TYPE_NVME, 4321}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.port);
    EXPECT_EQ(update(c.port)->type, c.type);
    unsigned long long hours = 0;
    EXPECT_EQ(PD_SMART_Get_Power_On_Hours(0, c.port, &hours), 0);
    EXPECT_EQ(hours, c.hours);
    EXPECT_EQ(PD_Set_Self_Test_Mode(0, c.port, PD_SELF_TEST_SHORT), 0);
    int type = 0;
    long long when = 0;
    PD_SMART_Get_Last_Test_Type(0, c.port, &type);
    PD_SMART_Get_Last_Test_Time(0, c.port, &when);
    EXPECT_EQ(type, PD_SELF_TEST_SHORT);
    EXPECT_GT(when, 0);
    EXPECT_EQ(update(c.port)->test_status, PD_SMART_TEST_IN_PROGRESS);
  }
  update(4, -1);  // a USB bridge that does not pass ATA commands has no health
  EXPECT_EQ(PD_Set_Self_Test_Mode(0, 4, PD_SELF_TEST_SHORT), -1) << "type 2 has no self-test";
}

TEST_F(Smart, SettingsDefaultsAndStoredValues) {
  add(1, "sda", PD_TYPE_ATA, std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{}));
  add(2, "sdb", PD_TYPE_ATA, std::make_shared<sim::SataDiskModel>(sim::AtaDiskSpec{}), PD_CAP_SMART | PD_CAP_SSD);
  unsigned char c = 0, b[5] = {};
  int f = 0;
  EXPECT_EQ(PD_SMART_Get_Temp_Thres(0, 1, &c), 0);
  EXPECT_EQ(c, 55);
  EXPECT_EQ(PD_SMART_Get_Temp_Thres(0, 2, &c), 0);
  EXPECT_EQ(c, 70) << "a disk that does not rotate";
  EXPECT_EQ(PD_SMART_Get_Test_Schedule(0, 1, 1, &b[0], &b[1], &b[2], &b[3], &b[4]), -1);
  EXPECT_FALSE(root.exists("/etc/config/smart.conf")) << "readers never create the store";

  settings("Temperature Threshold 1 = 60\nEnable Temperature Threshold 1 = 1\n"
           "Short Test Schedule 1 = 0x0102030405\nEnable Short Schedule 1 = 1\n"
           "Extended Test Schedule 1 = 1099511627775\nHD 1 Last Test Type = 2\n");
  EXPECT_EQ(PD_SMART_Get_Temp_Thres(0, 1, &c), 0);
  EXPECT_EQ(c, 60);
  EXPECT_EQ(PD_SMART_Get_Temp_Thres_F(0, 1, &f), 0);
  EXPECT_EQ(f, 140);
  EXPECT_EQ(PD_SMART_Get_Test_Schedule(0, 1, 1, &b[0], &b[1], &b[2], &b[3], &b[4]), 0);
  EXPECT_EQ(std::vector<int>(b, b + 5), (std::vector<int>{1, 2, 3, 4, 5}));
  EXPECT_EQ(PD_SMART_Is_Schedule_Enabled(0, 1, 1), 1);
  EXPECT_EQ(PD_SMART_Is_Schedule_Enabled(0, 1, 2), 0);
  PD_SMART_CONF conf{};
  ASSERT_EQ(PD_SMART_Get_Conf(0, 1, &conf), 0);
  EXPECT_EQ(conf.temp_thres_enabled, 1);
  EXPECT_EQ(conf.short_schedule, 0x0102030405ull);
  EXPECT_EQ(conf.extended_schedule, 0xffffffffffull);
  EXPECT_EQ(conf.last_test_type, 2);
  EXPECT_EQ(PD_SMART_Get_Conf(0, 1, nullptr), -1);

  // Over the enabled threshold: a warning.
  settings("Temperature Threshold 1 = 30\nEnable Temperature Threshold 1 = 1\n");
  auto r = update(1);
  EXPECT_EQ(r->warnings, PD_SMART_WARN_TEMPERATURE);
  EXPECT_EQ(r->verdict, PD_SMART_VERDICT_WARNING);
}

TEST_F(Smart, WarningPolicyDefaultCopyAndEdits) {
  PD_SMART_WARNING_CONF c{};
  ASSERT_EQ(PD_SMART_WARNING_GET_CONF(&c), 0);
  EXPECT_EQ(c.policy, 0);
  for (int i = 0; i < PD_SMART_WARNING_ATTRS; ++i) EXPECT_EQ(c.attr[i].enable, i >= 3) << i;
  EXPECT_EQ(root.read("/tmp/smart_warning.conf"), root.read("/etc/config/smart_warning.conf"));
  EXPECT_NE(root.read("/tmp/smart_warning.conf").find("[S.M.A.R.T. ID #197]"), std::string::npos);

  c.policy = 1;
  c.attr[0] = {1, 8};
  ASSERT_EQ(PD_SMART_WARNING_SET_CONF(&c), 0);
  ::unlink(root.path("/tmp/smart_warning.conf").c_str());  // a reboot clears /tmp
  PD_SMART_WARNING_CONF back{};
  ASSERT_EQ(PD_SMART_WARNING_GET_CONF(&back), 0);
  EXPECT_EQ(std::memcmp(&back, &c, sizeof c), 0);
}

TEST_F(Smart, DamagedCachesFailCleanly) {
  std::string name200(200, 'n');
  struct Case {
    const char* what;
    std::string text;
  } cases[] = {
      {"truncated", "2,0,0,40,0,100,2,60,1,0x0000,0,0,0\n9,Power-On_Hours,99,99,0,12\n"},
      {"a line too many", "1,0,0,40,0,100,2,60,1,0x0000,0,0,0\n9,A,1,1,0,1,0\n9,A,1,1,0,1,0\n"},
      {"a 200-character name", "1,0,0,40,0,100,2,60,1,0x0000,0,0,0\n9," + name200 + ",1,1,0,1,0\n"},
      {"a byte out of range", "1,0,0,40,0,100,2,60,1,0x0000,0,0,0\n9,A,256,1,0,1,0\n"},
      {"a count beyond any disk", "300,0,0,40,0,100,2,60,1,0x0000,0,0,0\n"},
      {"a torn last line", "1,0,0,40,0,100,2,60,1,0x0000,0,0,0\n9,A,1,1,0,1,0"},
      {"hexadecimal where decimal is written", "0,0,0,40,0,100,2,0x3c,1,0x0000,0,0,0\n"},
  };
  PD_SMART_INFO* info = nullptr;
  EXPECT_EQ(PD_SMART_Read_Info(0, 5, &info), -2) << "no cache";
  for (const Case& c : cases) {
    root.write("/tmp/smart/smart_0_5.info", c.text);
    EXPECT_EQ(PD_SMART_Read_Info(0, 5, &info), -1) << c.what;
    EXPECT_EQ(info, nullptr);
  }
  // Fields 10 to 13 are read with automatic base.
  root.write("/tmp/smart/smart_0_5.info", "1,4,0,40,0,100,2,60,1,0x0003,010,0x1,-1\n12,Power On Hours,0,0,0,77,0\n");
  ASSERT_EQ(PD_SMART_Read_Info(0, 5, &info), 0);
  SmartInfoPtr keep(info);
  EXPECT_EQ(std::vector<int>({info->state, info->skipped, info->warnings, info->notify_event}),
            (std::vector<int>{3, 8, 1, -1}));
  EXPECT_EQ(PD_SMART_Clear_Info(0, 5), 0);
  EXPECT_EQ(PD_SMART_Clear_Info(0, 5), 0) << "none is fine";
}

// An older tool's writer: the record lock, then the file rewritten in place, in two writes.
int write_in_place(const std::string& lock, const std::string& path, const std::string& text) {
  int l = ::open(lock.c_str(), O_RDWR | O_CREAT, 0700);
  struct flock fl {};
  fl.l_type = F_WRLCK;
  if (l < 0 || ::fcntl(l, F_SETLKW, &fl) != 0) return 1;
  int fd = ::open(path.c_str(), O_WRONLY | O_TRUNC);
  size_t half = text.size() / 2;
  bool ok = fd >= 0 && ::write(fd, text.data(), half) == static_cast<ssize_t>(half) &&
            ::write(fd, text.data() + half, text.size() - half) == static_cast<ssize_t>(text.size() - half);
  ::close(fd);
  ::close(l);
  return ok ? 0 : 1;
}

// Writers of two readings (ours, and an older tool's that rewrites in place) and readers in
// several processes: a reader sees one of the two, whole, every time.
TEST_F(Smart, ConcurrentWritersAndReadersNeverSeeATornCache) {
  SmartInfoPtr a = smart_info_alloc(30), b = smart_info_alloc(3);
  for (int k = 0; k < 30; ++k) {
    a->attrs[k].id = static_cast<unsigned>(k + 1);
    std::snprintf(a->attrs[k].name, sizeof a->attrs[k].name, "Attribute_Number_%02d_With_A_Long_Name", k);
    a->attrs[k].raw = 1000000007ull * static_cast<unsigned>(k);
  }
  for (int k = 0; k < 3; ++k) std::snprintf(b->attrs[k].name, sizeof b->attrs[k].name, "B%d", k);
  std::string texts[] = {smart_cache_format(*a), smart_cache_format(*b)};
  ASSERT_EQ(PD_SMART_Write_Info(0, 1, a.get()), 0);
  int failed = test::run_children(6, [&](int i) {
    for (int n = 0; n < 150; ++n) {
      if (i == 0 && PD_SMART_Write_Info(0, 1, n % 2 ? b.get() : a.get()) != 0) return 1;
      if (i == 1 && write_in_place(root.path("/var/lock/smart_tmp.lck"), root.path("/tmp/smart/smart_0_1.info"),
                                   texts[n % 2]) != 0)
        return 1;
      if (i < 2) continue;
      PD_SMART_INFO* r = nullptr;
      if (PD_SMART_Read_Info(0, 1, &r) != 0) return 2;
      std::string seen = smart_cache_format(*r);
      std::free(r);
      if (seen != texts[0] && seen != texts[1]) return 3;
    }
    return 0;
  });
  EXPECT_EQ(failed, 0);
}

}  // namespace
}  // namespace bayhal
