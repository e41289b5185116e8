#include "bayhal/ERR_TRACE.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <regex>

#include "foundation/err_trace.h"
#include "tests/foundation/trace_fixture.h"
#include "tests/support/test_files.h"

namespace bayhal {
namespace {

using test::kBak;
using test::kControl;
using test::kLock;
using test::kLog;
using Strings = std::vector<std::string>;

class ErrTrace : public test::TraceTest {};

std::string own_comm() {
  std::string name = test::read_file("/proc/self/comm");
  if (!name.empty() && name.back() == '\n') name.pop_back();
  return name;
}

TEST_F(ErrTrace, DefaultMaskWritesErrorsWarningsInfoAndAlwaysButNotEntryOrDeviceAndZeroNothing) {
  for (unsigned level : {0x4u, 0x10u, 0x20u}) EXPECT_EQ(ERR_TRACE(level, "lvl %#x\n", level), 0);
  // A filtered call touches nothing: no lock file, no log.
  EXPECT_FALSE(root.exists(kLock));
  EXPECT_FALSE(root.exists(kLog));
  for (unsigned level : {0x1u, 0x2u, 0x8u, 0xFFFFu, 0x4u, 0x10u})
    EXPECT_EQ(ERR_TRACE(level, "lvl %#x\n", level), 0);
  EXPECT_EQ(messages(), (Strings{"lvl 0x1", "lvl 0x2", "lvl 0x8", "lvl 0xffff"}));
  EXPECT_TRUE(root.exists(kLock));
  // A control file of 0 silences even the "always" level.
  control("0\n", test::kStart);
  EXPECT_EQ(ERR_TRACE(HAL_TRACE_ALWAYS, "never\n"), 0);
  EXPECT_EQ(trace_mask(), 0u);
  EXPECT_EQ(messages().size(), 4u);
}

TEST_F(ErrTrace, RecordCarriesLocalTimePidAndPaddedProcessName) {
  ERR_TRACE(HAL_TRACE_ERROR, "%s: got called with %d.\n", "SE_Enumerate", 7);
  clk.advance_ms(61'000);
  ERR_TRACE(HAL_TRACE_ERROR, "second");
  char prefix[64];
  std::snprintf(prefix, sizeof prefix, "[%5d %-15s] ", static_cast<int>(::getpid()),
                own_comm().c_str());
  EXPECT_EQ(root.read(kLog),
            std::string("2023-11-14 22:13:20 ") + prefix + "SE_Enumerate: got called with 7.\n" +
                "2023-11-14 22:14:21 " + prefix + "second\n");
}

TEST_F(ErrTrace, MaskIsParsedWithAutomaticBaseAndTheRedirectIsCutToItsBuffer) {
  const std::string longer = "/tmp/" + std::string(200, 'p');
  struct Case {
    std::string first_line;
    unsigned mask;
    std::string path;
  } cases[] = {{"0x8", 0x8, kLog},         {"010", 8, kLog},          {"12", 12, kLog},
               {"0X30\n0x1", 0x30, kLog}, {"0xffff:", 0xFFFF, kLog},
               {"0x1:" + longer, 1, longer.substr(0, 127)}};
  std::time_t mtime = test::kStart;
  for (const Case& c : cases) {
    control(c.first_line, ++mtime);
    ERR_TRACE(HAL_TRACE_ENTRY, "probe\n");  // any call reloads
    EXPECT_EQ(trace_mask(), c.mask) << c.first_line;
    EXPECT_EQ(trace_log_path(), c.path) << c.first_line;
  }
}

TEST_F(ErrTrace, RedirectedLogTakesOnlyTheMaskedLevelsAndIsNeverRotated) {
  control("0x4:/tmp/x.log\n", test::kStart);
  std::string big(0x80000 + 4096, 'x');
  big.back() = '\n';
  root.write("/tmp/x.log", big);

  EXPECT_EQ(ERR_TRACE(HAL_TRACE_ENTRY, "SE_Get_Info: got called.\n"), 0);
  EXPECT_EQ(ERR_TRACE(HAL_TRACE_ERROR, "an error\n"), 0);
  EXPECT_FALSE(trace_rotation_enabled());
  // A later control file without a path keeps the redirect and rotation stays off.
  control("0xffff\n", test::kStart + 1);
  EXPECT_EQ(ERR_TRACE(HAL_TRACE_ERROR, "still redirected\n"), 0);

  EXPECT_FALSE(root.exists("/tmp/x.log.bak"));
  EXPECT_FALSE(root.exists(kLog));
  std::string after = root.read("/tmp/x.log");
  ASSERT_GT(after.size(), big.size());
  EXPECT_EQ(after.substr(0, big.size()), big);
  EXPECT_EQ(messages("/tmp/x.log").back(), "still redirected");
  EXPECT_EQ(messages("/tmp/x.log").end()[-2], "SE_Get_Info: got called.");
}

TEST_F(ErrTrace, TouchReloadsTheControlFileButAnUnchangedStampDoesNot) {
  control("0x8\n", test::kStart);
  ERR_TRACE(HAL_TRACE_INFO, "a\n");
  control("0x1\n", test::kStart);  // new content, same stamp: not read
  ERR_TRACE(HAL_TRACE_INFO, "b\n");
  set_mtime(kControl, test::kStart + 1);  // touch: read again
  ERR_TRACE(HAL_TRACE_INFO, "c\n");
  ERR_TRACE(HAL_TRACE_ERROR, "d\n");
  EXPECT_EQ(messages(), (Strings{"a", "b", "d"}));
}

// A socket at the control file's path: stat succeeds but open fails, even for root.
void make_socket(const std::string& path) {
  int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_GE(fd, 0);
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof addr.sun_path);
  std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
  ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
  ::close(fd);
}

TEST_F(ErrTrace, UnopenableControlFileIsNotRetriedUntilItChangesAgain) {
  control("0x1\n", test::kStart);
  ERR_TRACE(HAL_TRACE_INFO, "filtered\n");
  ::unlink(root.path(kControl).c_str());
  make_socket(root.path(kControl));
  set_mtime(kControl, test::kStart + 5);
  ERR_TRACE(HAL_TRACE_INFO, "still filtered\n");
  EXPECT_EQ(trace_mask(), 0x1u);

  // Readable again, but with the stamp already seen: not read.
  ::unlink(root.path(kControl).c_str());
  control("0x8\n", test::kStart + 5);
  ERR_TRACE(HAL_TRACE_INFO, "not yet\n");
  set_mtime(kControl, test::kStart + 6);
  ERR_TRACE(HAL_TRACE_INFO, "now\n");
  EXPECT_EQ(messages(), Strings{"now"});
}

TEST_F(ErrTrace, MissingControlFileKeepsWhatWasLastRead) {
  control("0x4\n", test::kStart);
  ERR_TRACE(HAL_TRACE_ENTRY, "one\n");
  ::unlink(root.path(kControl).c_str());
  ERR_TRACE(HAL_TRACE_ENTRY, "two\n");
  ERR_TRACE(HAL_TRACE_ERROR, "filtered\n");
  EXPECT_EQ(messages(), (Strings{"one", "two"}));
}

TEST_F(ErrTrace, RotatesOnlyOnceTheLogIsAboveTheLimitAndBeforeTheNextLine) {
  std::string full(0x80000, 'o');
  full.back() = '\n';
  root.write(kLog, full);
  root.write(kBak, "older backup\n");

  ERR_TRACE(HAL_TRACE_ERROR, "first\n");  // exactly at the limit: not rotated
  EXPECT_EQ(root.read(kBak), "older backup\n");
  std::string grown = root.read(kLog);
  ASSERT_GT(grown.size(), full.size());

  ERR_TRACE(HAL_TRACE_ERROR, "second\n");
  EXPECT_EQ(root.read(kBak), grown);  // one generation: the older backup is replaced
  EXPECT_EQ(messages(), Strings{"second"});
}

TEST_F(ErrTrace, LongMessagesAreCutTo1022CharactersPlusNewline) {
  ERR_TRACE(HAL_TRACE_ERROR, "x\n");
  const size_t prefix = lines().at(0).size() - 1;
  ::unlink(root.path(kLog).c_str());

  // Around the cut, with and without the caller's own newline, and far beyond it.
  for (size_t body : {1020 - prefix, 1021 - prefix, 1022 - prefix, 1023 - prefix, 1024 - prefix,
                      size_t{2000}}) {
    for (bool newline : {false, true}) {
      std::string msg(body, 'm');
      if (newline) msg += '\n';
      ERR_TRACE(HAL_TRACE_ERROR, "%s", msg.c_str());
      std::string got = root.read(kLog);
      ::unlink(root.path(kLog).c_str());
      size_t visible = std::min<size_t>(prefix + body, 1022);
      ASSERT_EQ(got.size(), visible + 1) << body << " newline " << newline;
      EXPECT_EQ(got.find('\n'), visible);
      EXPECT_EQ(got.substr(prefix, visible - prefix), std::string(visible - prefix, 'm'));
    }
  }
}

// A record is one line under the process's name as it is now: a line break in an argument
// or in the name cannot forge another record, and a renamed process shows its new name.
TEST_F(ErrTrace, EachRecordIsOneLineUnderTheCurrentName) {
  char before[16] = "";
  ASSERT_EQ(::prctl(PR_GET_NAME, before), 0);
  struct Case {
    const char* rename;  // nullptr: keep the name
    const char* arg;
    const char* name;    // shown; nullptr: the test's own
    const char* message;
  } cases[] = {
      {nullptr, "plain", nullptr, "f(plain)"},
      {nullptr, "x\n2023-11-14 22:13:20 [    1 init           ] forged", nullptr,
       "f(x\\n2023-11-14 22:13:20 [    1 init           ] forged)"},
      {nullptr, "cr\rhere", nullptr, "f(cr\\rhere)"},
      {"hal_renamed", "after", "hal_renamed", "f(after)"},
      {"two\nlines", "n", "two\\nlines", "f(n)"},
  };
  for (const Case& c : cases) {
    if (c.rename != nullptr) {
      ASSERT_EQ(::prctl(PR_SET_NAME, c.rename), 0);
    }
    ::unlink(root.path(kLog).c_str());
    ERR_TRACE(HAL_TRACE_ERROR, "f(%s)\n", c.arg);
    Strings got = lines();
    ASSERT_EQ(got.size(), 1u) << c.arg;
    char prefix[64];
    std::snprintf(prefix, sizeof prefix, "[%5d %-15s] ", static_cast<int>(::getpid()),
                  c.name != nullptr ? c.name : before);
    EXPECT_EQ(got[0].substr(20), prefix + std::string(c.message)) << c.arg;
  }
  ::prctl(PR_SET_NAME, before);
}

// The log is made 0644 whatever the caller's umask: nobody else may rewrite it.
TEST_F(ErrTrace, LogIsNeverMadeWritableForOthers) {
  mode_t old = ::umask(0);
  ERR_TRACE(HAL_TRACE_ERROR, "x\n");
  ::umask(old);
  struct stat st {};
  ASSERT_EQ(::stat(root.path(kLog).c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0644u);
}

TEST_F(ErrTrace, NullFormatWritesAnEmptyMessage) {
  EXPECT_EQ(ERR_TRACE(HAL_TRACE_ERROR, nullptr), 0);
  EXPECT_EQ(messages(), Strings{""});
}

// The logger's own failures land in the kernel log (a plain file under the sandbox).
class ErrTraceKmsg : public test::TraceTest {
 protected:
  std::string kmsg() const { return root.read("/dev/kmsg"); }
  static std::string report(const std::string& what, int err) {
    return "SysCallERR: \\[ERR_TRACE@err_trace:[0-9]+,errno=" + std::to_string(err) + "\\] " +
           what + "\n\n";
  }
};

// The call fails, skips the line and leaves the caller's errno as it was.
TEST_F(ErrTraceKmsg, MissingLockDirectoryFailsTheCallAndSkipsTheLine) {
  ASSERT_EQ(::rmdir(root.path("/var/lock").c_str()), 0);
  errno = EBUSY;
  EXPECT_EQ(ERR_TRACE(HAL_TRACE_ERROR, "lost\n"), -1);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_TRUE(std::regex_match(kmsg(), std::regex(report("open file lock failed", ENOENT))))
      << kmsg();
  EXPECT_FALSE(root.exists(kLog));
}

TEST_F(ErrTraceKmsg, UnopenableLogIsReportedAndTheCallStillSucceeds) {
  control("0xffff:/no/such/dir/x.log", test::kStart);
  EXPECT_EQ(ERR_TRACE(HAL_TRACE_ERROR, "lost\n"), 0);
  EXPECT_TRUE(std::regex_match(kmsg(), std::regex(report("open log file failed", ENOENT))))
      << kmsg();
}

TEST_F(ErrTraceKmsg, FailedBackupIsReportedAndTheLineGoesToTheOldLog) {
  root.write(kLog, std::string(0x80000, 'o') + "\n");
  root.write(std::string(kBak) + "/occupied", "");  // a non-empty directory: rename fails
  EXPECT_EQ(ERR_TRACE(HAL_TRACE_ERROR, "kept\n"), 0);
  EXPECT_TRUE(std::regex_match(kmsg(), std::regex(report("backup log file failed", EISDIR))))
      << kmsg();
  EXPECT_EQ(root.read(kLog).size(), 0x80001 + lines().back().size() + 1);
  EXPECT_EQ(messages().back(), "kept");
}

TEST_F(ErrTraceKmsg, WithoutAKernelLogTheReportIsDropped) {
  ::unlink(root.path("/dev/kmsg").c_str());
  ::rmdir(root.path("/var/lock").c_str());
  EXPECT_EQ(ERR_TRACE(HAL_TRACE_ERROR, "lost\n"), -1);
  EXPECT_FALSE(root.exists("/dev/kmsg"));  // opened "r+": never created
}

}  // namespace
}  // namespace bayhal
