// Self-encrypting drives: the PD_SED_* operations against the sedutil-cli stand-in, which
// keeps each drive's Opal state in a file and records every run byte for byte.
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "bayhal/Ini_Conf.h"
#include "disk/pd_fields.h"
#include "disk/pd_store.h"
#include "foundation/clock.h"
#include "sim/sedutil/opal_drive.h"
#include "tests/disk/disk_fixture.h"
#include "tests/support/child_process.h"

namespace bayhal::test {
namespace {

namespace fs = std::filesystem;
using sim::kOpalStateDir;

constexpr int kSed = 2, kPlain = 3;  // ports
constexpr const char* kPsid = "PSIDLABEL0123456789ABCDEFGHIJKLM";

struct ToolRun {
  std::string kind;  // begin, end, overlap
  std::string pid;
  std::vector<std::string> args;
};

class PdSed : public test::DiskTest {
 protected:
  PdSed() {
    test::add_enclosure(0, "root", 8, 0, 0x80000000u);
    root.write("/var/log/hal_lib.log.conf", "0xffff\n");
    root.mkdir("/sbin");
    fs::copy_file(SEDUTIL_SIM_PATH, root.path("/sbin/sedutil-cli"));
    root.mkdir(kOpalStateDir);
    add(kSed, "sdb", "/dev/sg1", PD_CAP_SED);
    add(kPlain, "sdc", "/dev/sg2", 0);
    factory_drive();
  }
  void add(int port, const char* name, const char* ctrl, unsigned caps) {
    PD_INFO d = test::make_disk(name, std::string("SN-") + name, port);
    disk::set_text(d.pd_ctrl_name, ctrl);
    d.capabilities |= caps;
    d.capacity = 1000000;
    ASSERT_EQ(pd_write_conf(0, port, &d), 0);
    backend.disks[name] = d;
  }
  void factory_drive() {
    root.write(std::string(kOpalStateDir) + "/sg1",
               sim::opal_drive_text(sim::opal_factory_drive("SIM SED", "SN-sdb", kPsid)));
  }
  sim::OpalDrive drive() const {
    return sim::opal_drive_parse(root.read(std::string(kOpalStateDir) + "/sg1")).value();
  }
  std::vector<ToolRun> runs() const {
    std::vector<ToolRun> out;
    std::istringstream in(root.read(std::string(kOpalStateDir) + "/runs.log"));
    for (std::string line; std::getline(in, line);) {
      std::istringstream words(line);
      ToolRun r;
      words >> r.kind >> r.pid;
      for (std::string w; words >> w;) r.args.push_back(r.kind == "begin" ? sim::hex_decode(w).value_or("<bad hex>") : w);
      out.push_back(r);
    }
    return out;
  }
  std::string event_log() const { return root.read("/var/log/sedutil.log"); }
  std::string info(const std::string& key) const { return test::key_of("/tmp/.sedinfo.conf", "enc0", key); }

  VirtualClock clk{1700000000};
  ScopedClock use_clock{clk};
};

using Op = std::function<int(int port, const char* pw)>;
const std::vector<std::pair<const char*, Op>>& every_operation() {
  static const std::vector<std::pair<const char*, Op>> ops = {
      {"Is_Initialized", [](int p, const char*) { return PD_SED_Is_Initialized(0, p); }},
      {"Is_Locked", [](int p, const char*) { return PD_SED_Is_Locked(0, p); }},
      {"Initialize", [](int p, const char* pw) { return PD_SED_Initialize(0, p, pw); }},
      {"MBR_Enable", [](int p, const char* pw) { return PD_SED_MBR_Enable(0, p, 1, pw); }},
      {"Display_Range", [](int p, const char* pw) { long long s, l; return PD_SED_Display_Range(0, p, 1, pw, &s, &l); }},
      {"Setup_Range", [](int p, const char* pw) { return PD_SED_Setup_Range(0, p, 1, 0, 8, pw); }},
      {"Remove_Range", [](int p, const char* pw) { return PD_SED_Remove_Range(0, p, 1, pw); }},
      {"Range_Is_Enabled", [](int p, const char* pw) { return PD_SED_Range_Is_Enabled(0, p, 1, pw); }},
      {"Range_Is_Locked", [](int p, const char* pw) { return PD_SED_Range_Is_Locked(0, p, 1, pw); }},
      {"Enable_Range", [](int p, const char* pw) { return PD_SED_Enable_Range(0, p, 1, pw); }},
      {"Disable_Range", [](int p, const char* pw) { return PD_SED_Disable_Range(0, p, 1, pw); }},
      {"Lock_Range", [](int p, const char* pw) { return PD_SED_Lock_Range(0, p, 1, pw); }},
      {"Unlock_Range", [](int p, const char* pw) { return PD_SED_Unlock_Range(0, p, 1, pw); }},
      {"Change_Password", [](int p, const char* pw) { return PD_SED_Change_Password(0, p, pw, pw); }},
      {"Verify_Password", [](int p, const char* pw) { return PD_SED_Verify_Password(0, p, pw); }},
      {"Reset_With_Password", [](int p, const char* pw) { return PD_SED_Factory_Reset_With_Password(0, p, pw); }},
      {"Reset_With_PSID", [](int p, const char* pw) { return PD_SED_Factory_Reset_With_PSID(0, p, pw); }},
  };
  return ops;
}

TEST_F(PdSed, APlainDiskAndBadArgumentsAreRefusedBeforeAnythingRuns) {
  EXPECT_EQ(PD_SED_Is_Supported(0, kSed), 1);
  EXPECT_EQ(PD_SED_Is_Supported(0, kPlain), 0);
  EXPECT_EQ(PD_SED_Is_Supported(0, 7), 0);  // no disk there
  for (const auto& [name, op] : every_operation()) EXPECT_EQ(op(kPlain, "pw"), -1) << name;
  EXPECT_NE(event_log().find("[PD_SED_Lock_Range]0:3 is not a self-encrypting drive"), std::string::npos);
  long long start = 0;
  struct Row {
    const char* what;
    std::function<int()> call;
    const char* logged;
  } rows[] = {
      {"null password", [] { return PD_SED_Initialize(0, kSed, nullptr); }, "[PD_SED_Initialize]/dev/sg1 passwd = NULL"},
      {"empty password", [] { return PD_SED_Lock_Range(0, kSed, 1, ""); }, "[PD_SED_Lock_Range]/dev/sg1 passwd = NULL"},
      {"empty new password", [] { return PD_SED_Change_Password(0, kSed, "old", ""); }, "passwd = NULL"},
      {"empty PSID", [] { return PD_SED_Factory_Reset_With_PSID(0, kSed, ""); }, "passwd = NULL"},
      {"range 9", [] { return PD_SED_Enable_Range(0, kSed, 9, "pw"); }, "/dev/sg1 range_id=9 error"},
      {"global range set up", [] { return PD_SED_Setup_Range(0, kSed, 0, 0, 8, "pw"); }, "range_id=0 error"},
      {"negative start", [] { return PD_SED_Setup_Range(0, kSed, 1, -1, 8, "pw"); },
       "sector error, start_sector=-1 size_sector=8"},
      {"past the end", [] { return PD_SED_Setup_Range(0, kSed, 1, 999999, 2, "pw"); }, "sector error"},
      {"no length", [] { return PD_SED_Setup_Range(0, kSed, 1, 8, 0, "pw"); }, "sector error"},
      {"no place for the answer", [&] { return PD_SED_Display_Range(0, kSed, 1, "pw", &start, nullptr); },
       "no place for the range"},
  };
  for (const Row& r : rows) {
    EXPECT_EQ(r.call(), -1) << r.what;
    EXPECT_NE(event_log().find(r.logged), std::string::npos) << r.what;
  }
  std::string long_one(1025, 'x');
  EXPECT_EQ(PD_SED_Initialize(0, kSed, long_one.c_str()), -1);
  EXPECT_TRUE(runs().empty());
}

TEST_F(PdSed, TheWholeLifeOfADrive) {
  EXPECT_EQ(PD_SED_Is_Initialized(0, kSed), 0);
  int rescans = backend.getinfo_calls;
  backend.disks["sdb"].capabilities |= PD_CAP_SSD;  // what a rescan finds now
  ASSERT_EQ(PD_SED_Initialize(0, kSed, "first"), 0);
  EXPECT_EQ(backend.getinfo_calls, rescans + 1);
  EXPECT_EQ(test::key_of("/etc/enclosure_0.conf", "PhysicalDisk_2", "capabilities"),
            std::to_string(backend.disks["sdb"].capabilities));
  EXPECT_EQ(PD_SED_Is_Initialized(0, kSed), 1);

  ASSERT_EQ(PD_SED_Setup_Range(0, kSed, 1, 2048, 4096, "first"), 0);
  long long start = -1, length = -1;
  ASSERT_EQ(PD_SED_Display_Range(0, kSed, 1, "first", &start, &length), 0);
  EXPECT_EQ(start, 2048);
  EXPECT_EQ(length, 4096);
  EXPECT_EQ(PD_SED_Range_Is_Enabled(0, kSed, 1, "first"), 0);
  ASSERT_EQ(PD_SED_Enable_Range(0, kSed, 1, "first"), 0);
  EXPECT_EQ(PD_SED_Range_Is_Enabled(0, kSed, 1, "first"), 1);
  ASSERT_EQ(PD_SED_Lock_Range(0, kSed, 1, "first"), 0);
  EXPECT_EQ(PD_SED_Range_Is_Locked(0, kSed, 1, "first"), 1);
  EXPECT_EQ(PD_SED_Is_Locked(0, kSed), 1);
  EXPECT_EQ(info("port2_sed_unlock_time"), "");
  clk.advance_ms(5000);
  ASSERT_EQ(PD_SED_Unlock_Range(0, kSed, 1, "first"), 0);
  EXPECT_EQ(info("port2_sed_unlock_time"), "1700000005");
  EXPECT_EQ(PD_SED_Range_Is_Locked(0, kSed, 1, "first"), 0);
  EXPECT_EQ(PD_SED_Is_Locked(0, kSed), 0);
  ASSERT_EQ(PD_SED_MBR_Enable(0, kSed, 1, "first"), 0);
  EXPECT_TRUE(drive().mbr_enabled);

  ASSERT_EQ(PD_SED_Change_Password(0, kSed, "first", "second"), 0);
  EXPECT_EQ(PD_SED_Verify_Password(0, kSed, "first"), -1);
  EXPECT_EQ(PD_SED_Verify_Password(0, kSed, "second"), 0);
  ASSERT_EQ(PD_SED_Disable_Range(0, kSed, 1, "second"), 0);
  ASSERT_EQ(PD_SED_Remove_Range(0, kSed, 1, "second"), 0);
  ASSERT_EQ(PD_SED_Display_Range(0, kSed, 1, "second", &start, &length), 0);
  EXPECT_EQ(length, 0);

  // Reverting the locking SP keeps the owner: a new initial setup needs the PSID revert.
  ASSERT_EQ(PD_SED_Factory_Reset_With_Password(0, kSed, "second"), 0);
  EXPECT_EQ(PD_SED_Is_Initialized(0, kSed), 0);
  EXPECT_EQ(PD_SED_Initialize(0, kSed, "third"), -1);
  EXPECT_EQ(PD_SED_Factory_Reset_With_PSID(0, kSed, "not the label"), -1);
  ASSERT_EQ(PD_SED_Factory_Reset_With_PSID(0, kSed, kPsid), 0);
  EXPECT_EQ(backend.getinfo_calls, rescans + 3);
  ASSERT_EQ(PD_SED_Initialize(0, kSed, "third"), 0);

  std::string log = event_log();
  for (const char* line : {"[PD_SED_Initialize]/dev/sg1 initial SED successfully",
                           "[PD_SED_Setup_Range]/dev/sg1 setup range successfully",
                           "[PD_SED_Lock_Range]/dev/sg1 lock range successfully",
                           "[PD_SED_Factory_Reset_With_PSID]/dev/sg1 revert with PSID successfully"})
    EXPECT_NE(log.find(line), std::string::npos) << line;
  for (const ToolRun& r : runs()) ASSERT_NE(r.kind, "overlap");
}

TEST_F(PdSed, AWrongPasswordFailsAndPrintsNothing) {
  ASSERT_EQ(PD_SED_Initialize(0, kSed, "right"), 0);
  ASSERT_EQ(PD_SED_Setup_Range(0, kSed, 1, 0, 64, "right"), 0);
  ASSERT_EQ(PD_SED_Enable_Range(0, kSed, 1, "right"), 0);
  fflush(stdout);
  fflush(stderr);
  std::string captured = root.path("/printed");
  int saved_out = ::dup(1), saved_err = ::dup(2);
  int fd = ::open(captured.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  ::dup2(fd, 1);
  ::dup2(fd, 2);
  int verify = PD_SED_Verify_Password(0, kSed, "wrong");
  int lock = PD_SED_Lock_Range(0, kSed, 1, "wrong");
  ::dup2(saved_out, 1);
  ::dup2(saved_err, 2);
  for (int f : {fd, saved_out, saved_err}) ::close(f);
  EXPECT_EQ(verify, -1);
  EXPECT_EQ(lock, -1);
  EXPECT_EQ(root.read("/printed"), "");
  EXPECT_FALSE(drive().ranges[1].read_locked);
  EXPECT_NE(event_log().find("[PD_SED_Lock_Range]Warning: /sbin/sedutil-cli --setLockingRange 1 LK '***' "
                             "/dev/sg1 2>/dev/null Exit status = (1,0)!"),
            std::string::npos);
}

TEST_F(PdSed, HostilePasswordsArriveByteForByteAndAreLoggedNowhere) {
  const std::string hostile[] = {"it's",          "say \"hi\"", "a; touch /tmp/pwned", "$(touch /tmp/pwned)",
                                 "`touch pwned`", "two\nlines", "-n--query",         std::string(200, 'Z')};
  for (const std::string& pw : hostile) {
    factory_drive();
    ASSERT_EQ(PD_SED_Initialize(0, kSed, pw.c_str()), 0) << pw;
    EXPECT_EQ(runs().rbegin()[1].args, (std::vector<std::string>{"--initialSetup", pw, "/dev/sg1"})) << pw;
    ASSERT_EQ(PD_SED_Verify_Password(0, kSed, pw.c_str()), 0) << pw;
    ASSERT_EQ(PD_SED_Change_Password(0, kSed, pw.c_str(), pw.c_str()), 0) << pw;
  }
  // Nothing ran a shell; no file under the root but the drive's own state and the stand-in's
  // record holds a password.
  EXPECT_FALSE(fs::exists(root.path("/tmp/pwned")));
  EXPECT_FALSE(fs::exists("/tmp/pwned"));
  EXPECT_NE(root.read("/var/log/hal_lib.log").find("--initialSetup '***' /dev/sg1"), std::string::npos);
  for (const auto& e : fs::recursive_directory_iterator(root.dir())) {
    if (!e.is_regular_file() || e.path().string().find(kOpalStateDir) != std::string::npos) continue;
    if (e.path().filename() == "sedutil-cli") continue;
    std::ifstream in(e.path());
    std::string text((std::istreambuf_iterator<char>(in)), {});
    for (const std::string& pw : hostile) EXPECT_EQ(text.find(pw), std::string::npos) << e.path() << " holds " << pw;
  }
}

TEST_F(PdSed, LockingChangesBehindSasRunAtQueueDepthOne) {
  backend.behind_sas["0:0:0:0"] = 1;
  root.write("/sys/block/sdb/device/queue_depth", "32\n");
  ASSERT_EQ(PD_SED_Initialize(0, kSed, "pw"), 0);
  ASSERT_EQ(PD_SED_Enable_Range(0, kSed, 1, "pw"), 0);
  std::string gate = root.path(std::string(kOpalStateDir) + "/sg1.gate");
  ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
  std::string during, kept;
  std::thread opener([&] {
    int fd = ::open(gate.c_str(), O_WRONLY);  // the tool is inside once this opens
    during = root.read("/sys/block/sdb/device/queue_depth");
    kept = info("port2_sed_ori_queue_depth");
    ::close(fd);
  });
  EXPECT_EQ(PD_SED_Lock_Range(0, kSed, 1, "pw"), 0);
  opener.join();
  ::unlink(gate.c_str());
  EXPECT_EQ(during, "1\n");
  EXPECT_EQ(kept, "32");
  EXPECT_EQ(root.read("/sys/block/sdb/device/queue_depth"), "32\n");
  EXPECT_EQ(info("port2_sed_ori_queue_depth"), "");
  // A run that died half-way left the depth low; the next one puts the kept depth back.
  Ini_Conf_Set_Field("/tmp/.sedinfo.conf", "enc0", "port2_sed_ori_queue_depth", "32");
  root.write("/sys/block/sdb/device/queue_depth", "1\n");
  ASSERT_EQ(PD_SED_Unlock_Range(0, kSed, 1, "pw"), 0);
  EXPECT_EQ(root.read("/sys/block/sdb/device/queue_depth"), "32\n");
  // Queries change nothing.
  ASSERT_EQ(PD_SED_Range_Is_Locked(0, kSed, 1, "pw"), 0);
  EXPECT_EQ(root.read("/sys/block/sdb/device/queue_depth"), "32\n");
}

// Spins (yielding, no sleep) until `ready` holds; false if it never did.
bool wait_for(const std::function<bool()>& ready) {
  for (long i = 0; i < 50000000; ++i) {
    if (ready()) return true;
    ::sched_yield();
  }
  return false;
}

TEST_F(PdSed, TwoProcessesRunTheToolOneAfterTheOther) {
  ASSERT_EQ(PD_SED_Initialize(0, kSed, "pw"), 0);
  add(4, "sdd", "/dev/sg3", PD_CAP_SED);
  root.write(std::string(kOpalStateDir) + "/sg3",
             sim::opal_drive_text(sim::opal_factory_drive("SIM SED", "SN-sdd", kPsid)));
  std::string gate = root.path(std::string(kOpalStateDir) + "/sg1.gate");
  ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
  size_t before = runs().size();

  pid_t a = test::spawn([] { return PD_SED_Lock_Range(0, kSed, 1, "pw") == 0 ? 0 : 1; });
  int held = ::open(gate.c_str(), O_WRONLY);  // a is inside the tool now
  ASSERT_GE(held, 0);
  pid_t b = test::spawn([held] {
    ::close(held);  // a's gate must open when the test closes it
    return PD_SED_Initialize(0, 4, "pw") == 0 ? 0 : 1;
  });
  // b either waits for the appliance-wide lock or, were it not taken, is inside the tool too.
  std::string lock_file = root.path("/tmp/.sed_lock_file.lck");
  auto b_waits = [&] {
    int fd = ::open(lock_file.c_str(), O_RDONLY);
    struct flock fl {};
    fl.l_type = F_WRLCK;
    fl.l_start = 1;  // waiters announce themselves on byte 1
    fl.l_len = 1;
    bool waiting = fd >= 0 && ::fcntl(fd, F_OFD_GETLK, &fl) == 0 && fl.l_type != F_UNLCK;
    if (fd >= 0) ::close(fd);
    return waiting;
  };
  ASSERT_TRUE(wait_for([&] { return b_waits() || runs().size() > before + 1; }));
  ::close(held);
  EXPECT_EQ(test::join(a), 0);
  EXPECT_EQ(test::join(b), 0);
  ::unlink(gate.c_str());

  std::vector<std::string> order;
  std::vector<ToolRun> all = runs();
  for (size_t i = before; i < all.size(); ++i)
    order.push_back(all[i].kind + (all[i].args.empty() ? "" : " " + all[i].args.back()));
  EXPECT_EQ(order, (std::vector<std::string>{"begin /dev/sg1", "end 0", "begin /dev/sg3", "end 0"}));
}

}  // namespace
}  // namespace bayhal::test
