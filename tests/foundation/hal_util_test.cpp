#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <thread>

#include "bayhal/hal_common.h"
#include "tests/foundation/trace_fixture.h"
#include "tests/support/child_process.h"
#include "tests/support/test_files.h"

namespace bayhal {
namespace {

using Strings = std::vector<std::string>;

// Upper-case hex pairs, the rest of the output cleared, and never past its size.
TEST(NumToAscii, WritesHexPairsInsideTheOutput) {
  const unsigned char wwn[8] = {0x50, 0x00, 0xc5, 0x00, 0xab, 0x0f, 0xff, 0x01};
  char out[33];
  std::memset(out, '#', sizeof out);
  EXPECT_EQ(num_to_ascii(wwn, 8, out, sizeof out), out);
  EXPECT_STREQ(out, "5000C500AB0FFF01");
  EXPECT_EQ(std::string(out + 16, sizeof out - 16), std::string(sizeof out - 16, '\0'));
  EXPECT_STREQ(num_to_ascii(wwn, 0, out, sizeof out), "");
  std::memset(out, '#', sizeof out);
  num_to_ascii(wwn, 4, out, 5);
  EXPECT_EQ(std::string(out, 6), std::string("5000\0#", 6));
  EXPECT_EQ(num_to_ascii(wwn, 4, nullptr, 9), nullptr);
}

// fork_orphaned in the test process itself: the grandchild reports through a pipe and
// leaves with _exit so that nothing of the test framework runs twice.
TEST(ForkOrphaned, GrandchildIsAdoptedAndTheCallerGetsZero) {
  test::Pipe info, go;
  const pid_t caller = ::getpid();
  int rc = fork_orphaned();
  if (rc > 0) {
    int v = 0;
    go.get(v);  // the intermediate child is reaped by now
    for (int fact : {rc, static_cast<int>(::getpid()), static_cast<int>(::getppid())}) info.put(fact);
    ::_exit(0);
  }
  info.close_write();
  go.close_read();
  EXPECT_EQ(rc, 0);
  go.put(1);
  int facts[3] = {};
  for (int& fact : facts) ASSERT_TRUE(info.get(fact));
  EXPECT_EQ(facts[0], facts[1]) << "the grandchild gets its own pid";
  EXPECT_NE(facts[2], caller) << "the grandchild's parent is not the caller";
  EXPECT_GT(facts[2], 0);
  errno = 0;
  EXPECT_EQ(::waitpid(facts[1], nullptr, WNOHANG), -1) << "the caller cannot reap it";
  EXPECT_EQ(errno, ECHILD);
}

// Runs fork_orphaned in a child that has dropped to `uid` (used by nothing else) with at
// most `nproc` processes, so that the first or the second fork fails for real. Returns
// fork_orphaned's result, or 100 when the child could not drop privileges.
int fork_orphaned_limited(uid_t uid, rlim_t nproc) {
  pid_t pid = ::fork();
  if (pid == 0) {
    if (::setgid(uid) != 0 || ::setuid(uid) != 0) ::_exit(100);
    struct rlimit rl{nproc, nproc};
    if (::setrlimit(RLIMIT_NPROC, &rl) != 0) ::_exit(100);
    int rc = fork_orphaned();
    if (rc > 0) ::_exit(50);  // grandchild: the limit did not hold
    ::_exit(rc + 10);
  }
  int status = 0;
  if (pid < 0 || ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return 200;
  int code = WEXITSTATUS(status);
  return code >= 50 ? code : code - 10;
}

TEST(ForkOrphaned, FailedForksGiveMinusOneForTheFirstAndMinusTwoForTheSecond) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to take an unused uid";
  int first = fork_orphaned_limited(54321, 1);
  if (first == 100) GTEST_SKIP() << "cannot change uid here";
  EXPECT_EQ(first, -1);
  EXPECT_EQ(fork_orphaned_limited(54322, 2), -ENOENT);
}

class Uptime : public test::TraceTest {};

TEST_F(Uptime, SetWritesTheClocksUptimeReplacingTheFileAndGetReadsItBack) {
  clk.advance_ms(3'333'000);
  EXPECT_EQ(hal_get_system_uptime(), 4333);
  root.write("/var/run/last_uptime", "123456789012\nold tail\n");
  EXPECT_EQ(hal_set_last_uptime("/var/run/last_uptime"), 0);
  EXPECT_EQ(root.read("/var/run/last_uptime"), "4333\n");
  EXPECT_EQ(hal_get_last_uptime("/var/run/last_uptime"), 4333);
  EXPECT_EQ(hal_set_last_uptime("/no/such/dir/uptime"), -1);
  EXPECT_EQ(hal_set_last_uptime(nullptr), -1);
}

// The uptime file must not leak into programs another thread starts meanwhile: a reader
// caught waiting on a FIFO shows how it opened its descriptor.
TEST_F(Uptime, DescriptorsAreClosedOnExec) {
  std::string fifo = root.path("/var/run/up_fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  long got = -1;
  std::thread reader([&] { got = hal_get_last_uptime("/var/run/up_fifo"); });
  int w = ::open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
  ASSERT_GE(w, 0);
  std::string flags;
  for (int spin = 0; spin < 1'000'000 && flags.empty(); ++spin) {
    for (const auto& e : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code ec;
      int fd = std::stoi(e.path().filename().string());
      if (fd != w && std::filesystem::read_symlink(e.path(), ec).string() == fifo) {
        std::string info = test::read_file("/proc/self/fdinfo/" + std::to_string(fd));
        size_t at = info.find("flags:");
        if (at != std::string::npos) flags = info.substr(at + 6, info.find('\n', at) - at - 6);
      }
    }
    if (flags.empty()) ::sched_yield();
  }
  ASSERT_EQ(::write(w, "42\n", 3), 3);
  ::close(w);
  reader.join();
  EXPECT_EQ(got, 42);
  ASSERT_FALSE(flags.empty()) << "the reader's descriptor was never seen";
  EXPECT_NE(std::stoul(flags, nullptr, 8) & O_CLOEXEC, 0u) << flags;
}

TEST_F(Uptime, BadFilesReadAsZeroAndOnlyUnparsableOnesAreTraced) {
  struct Case {
    const char* content;  // nullptr: no file
    long value;
    bool traced;
  } cases[] = {{nullptr, 0, false}, {"", 0, true},       {"abc\n", 0, true},
               {"  -17 x\n", -17, false}, {"99abc", 99, false}};
  for (const Case& c : cases) {
    ::unlink(root.path(test::kLog).c_str());
    ::unlink(root.path("/var/run/up").c_str());
    if (c.content) root.write("/var/run/up", c.content);
    EXPECT_EQ(hal_get_last_uptime("/var/run/up"), c.value) << (c.content ? c.content : "none");
    EXPECT_EQ(messages(), c.traced ? Strings{"fscanf failed"} : Strings{})
        << (c.content ? c.content : "none");
  }
  EXPECT_EQ(hal_get_last_uptime(nullptr), 0);
}

}  // namespace
}  // namespace bayhal
