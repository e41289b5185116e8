// What another local user leaves in "/tmp" and "/var" never steers a root process's writes:
// links, FIFOs and files are planted by a child that has dropped to nobody (65534), then
// the library writes as root, and nothing outside the sandbox's own files is touched.
#include <fcntl.h>
#include <signal.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/hal_common.h"
#include "tests/support/child_process.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

using test::join;
using test::Pipe;
using test::SandboxRoot;
using test::spawn;

constexpr uid_t kNobody = 65534;
constexpr const char* kVictim = "/etc/victim.conf";
constexpr const char* kSecret = "[Secret]\nk = v\n";

// A root that nobody can walk into, with world-writable sticky "/tmp" and "/var/lock".
void open_up(const SandboxRoot& r) {
  ::chmod(r.dir().c_str(), 0755);
  for (const char* d : {"/tmp", "/var/lock"}) ::chmod(r.path(d).c_str(), 01777);
  r.write(kVictim, kSecret);
  ::chmod(r.path(kVictim).c_str(), 0600);
}

bool drop_to_nobody() {
  return ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0;
}

// Runs `body` as nobody in a child; its exit code.
int as_nobody(const std::function<int()>& body) {
  return join(spawn([&] { return drop_to_nobody() ? body() : 99; }));
}

struct stat lstat_of(const SandboxRoot& r, const char* p) {
  struct stat st {};
  ::lstat(r.path(p).c_str(), &st);
  return st;
}

bool victim_untouched(const SandboxRoot& r) {
  struct stat st = lstat_of(r, kVictim);
  return r.read(kVictim) == kSecret && st.st_uid == 0 && (st.st_mode & 07777) == 0600;
}

class OtherUsers : public test::SandboxTest {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to act as another user";
  }
};

TEST_F(OtherUsers, PlantedNamesAreNeitherFollowedNorTrusted) {
  struct Case {
    const char* what;
    std::function<int(const SandboxRoot&)> plant;  // as nobody; 0 when planted
    std::function<int()> write;                     // as root
    bool succeeds;
    const char* file;      // what the write must have made (root's, regular), or nullptr
    const char* content;   // its content, or nullptr
  };
  auto link_to = [](const char* target, const char* at) {
    return [=](const SandboxRoot& r) {
      std::string t = target[0] == '/' ? r.path(target) : target;
      return ::symlink(t.c_str(), r.path(at).c_str());
    };
  };
  auto file_at = [](const char* at, mode_t mode) {
    return [=](const SandboxRoot& r) {
      int fd = ::open(r.path(at).c_str(), O_WRONLY | O_CREAT | O_EXCL, mode);
      if (fd < 0) return -1;
      ::fchmod(fd, mode);
      return ::close(fd);
    };
  };
  auto set = [](const char* file) {
    return [=] { return Ini_Conf_Set_Field(file, "Enclosure_33", "detached", "1"); };
  };
  auto trace = [] { return ERR_TRACE(HAL_TRACE_ERROR, "root line\n"); };
  const Case cases[] = {
      {"link at the store", link_to(kVictim, "/tmp/.se_detached"), set("/tmp/.se_detached"),
       false, nullptr, nullptr},
      {"link for a directory on the way", link_to("/etc", "/tmp/smart"),
       set("/tmp/smart/victim.conf"), false, nullptr, nullptr},
      {"root's link hard-linked into /tmp",
       [](const SandboxRoot& r) {
         int rc = ::linkat(AT_FDCWD, r.path("/etc/by_root").c_str(), AT_FDCWD,
                           r.path("/tmp/.se_detached").c_str(), 0);
         return rc != 0 && errno == EPERM ? 2 : rc;  // 2: the kernel protects hard links
       },
       set("/tmp/.se_detached"), false, nullptr, nullptr},
      {"temporary made in advance", file_at("/tmp/.se_detached.tmp", 0666),
       set("/tmp/.se_detached"), true, "/tmp/.se_detached", "[Enclosure_33]\ndetached = 1\n"},
      {"temporary as a link", link_to(kVictim, "/tmp/.se_detached.tmp"), set("/tmp/.se_detached"),
       true, "/tmp/.se_detached", "[Enclosure_33]\ndetached = 1\n"},
      {"lock file as a FIFO",
       [](const SandboxRoot& r) { return ::mkfifo(r.path("/tmp/.se_detached.lck").c_str(), 0666); },
       set("/tmp/.se_detached"), true, "/tmp/.se_detached.lck", ""},
      {"lock file as a link", link_to(kVictim, "/tmp/.se_detached.lck"), set("/tmp/.se_detached"),
       true, "/tmp/.se_detached.lck", ""},
      {"uptime file as a link", link_to(kVictim, "/tmp/last_uptime"),
       [] { return hal_set_last_uptime("/tmp/last_uptime"); }, false, nullptr, nullptr},
      {"trace log as a link", link_to(kVictim, "/tmp/hal.log"), trace, true, "/tmp/hal.log",
       nullptr},
      {"trace log made in advance", file_at("/tmp/hal.log", 0666), trace, true, "/tmp/hal.log",
       nullptr},
      {"trace lock as a link", link_to(kVictim, "/var/lock/hal_lib.log.lck"), trace, true,
       "/var/lock/hal_lib.log.lck", ""},
  };
  for (const Case& c : cases) {
    SandboxRoot r;
    open_up(r);
    r.write("/var/log/hal_lib.log.conf", "0xffff:/tmp/hal.log\n");
    r.symlink(r.path(kVictim), "/etc/by_root");
    int planted = as_nobody([&] { return c.plant(r); });
    if (planted == 2) continue;
    if (planted != 0) {
      ADD_FAILURE() << c.what << ": could not be planted";
      continue;
    }
    int rc = c.write();
    EXPECT_EQ(rc >= 0, c.succeeds) << c.what << ": " << rc;
    EXPECT_TRUE(victim_untouched(r)) << c.what;
    EXPECT_FALSE(r.exists("/etc/victim.conf.tmp")) << c.what;
    if (c.file != nullptr) {
      struct stat st = lstat_of(r, c.file);
      EXPECT_TRUE(S_ISREG(st.st_mode) && st.st_uid == 0 && (st.st_mode & 022) == 0) << c.what;
      EXPECT_EQ(r.read(c.file), c.content != nullptr ? c.content : r.read(c.file)) << c.what;
    } else {
      EXPECT_NE(r.read("/tmp/hal.log").find("symbolic link"), std::string::npos) << c.what;
    }
  }
}

// A user who makes a lock file first and holds it must not be able to stop root's writers
// (of the store or of the trace) for ever.
TEST_F(OtherUsers, ALockFileAnotherUserHoldsDoesNotStarveRoot) {
  struct Case {
    const char* lock;
    std::function<bool()> write;
  } cases[] = {
      {"/tmp/.se_detached.lck",
       [] { return Ini_Conf_Set_Field("/tmp/.se_detached", "Enclosure_1", "detached", "1") > 0; }},
      {"/var/lock/hal_lib.log.lck", [] { return ERR_TRACE(HAL_TRACE_ERROR, "root line\n") == 0; }},
  };
  open_up(root);
  for (const Case& c : cases) {
    Pipe held, release;
    pid_t holder = spawn([&] {
      if (!drop_to_nobody()) return 99;
      int fd = ::open(root.path(c.lock).c_str(), O_RDWR | O_CREAT, 0666);
      ::fchmod(fd, 0666);
      struct flock fl {};
      fl.l_type = F_WRLCK;
      if (fd < 0 || ::fcntl(fd, F_SETLK, &fl) != 0) return 1;
      held.put(1);
      int v = 0;
      release.get(v);
      return 0;
    });
    int v = 0;
    ASSERT_TRUE(held.get(v)) << c.lock;
    pid_t writer = spawn([&] { return c.write() ? 0 : 1; });
    bool starved = false;
    int status = 0;
    while (::waitpid(writer, &status, WNOHANG) == 0) {
      if ((starved = test::someone_waits_for_lock(root.path(c.lock)))) break;
      ::sched_yield();
    }
    if (starved) {
      ::kill(writer, SIGKILL);
      join(writer);
    }
    release.put(1);
    EXPECT_EQ(join(holder), 0);
    EXPECT_FALSE(starved) << c.lock << ": root waits on another user's lock";
    EXPECT_TRUE(!starved && WIFEXITED(status) && WEXITSTATUS(status) == 0) << c.lock;
  }
  EXPECT_NE(root.read("/var/log/hal_lib.log").find("root line"), std::string::npos);
}

// Once root has made the trace lock (0700), other users still trace, to a log they may write.
TEST_F(OtherUsers, UsersStillTraceOnceRootMadeTheLock) {
  open_up(root);
  ASSERT_EQ(ERR_TRACE(HAL_TRACE_ERROR, "root first\n"), 0);
  ASSERT_EQ(lstat_of(root, "/var/lock/hal_lib.log.lck").st_uid, 0u);
  root.write("/var/log/hal_lib.log.conf", "0xffff:/tmp/user.log\n");
  EXPECT_EQ(as_nobody([] { return ERR_TRACE(HAL_TRACE_ERROR, "user line\n"); }), 0);
  EXPECT_NE(root.read("/tmp/user.log").find("user line"), std::string::npos);
}

}  // namespace
}  // namespace bayhal
