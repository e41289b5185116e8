#include "foundation/command_runner.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

using test::SandboxTest;

class CommandRunnerTest : public SandboxTest {};

TEST_F(CommandRunnerTest, ShellFormsRunStandInsUnderRootAndCaptureOutputAndStatus) {
  root.stand_in("/sbin/udevadm");
  EXPECT_EQ(exit_code_of(runner().shell("/sbin/udevadm control --env=a=b | /bin/cat >/dev/null")), 0);
  EXPECT_EQ(root.calls("udevadm"), std::vector<std::string>{"control --env=a=b"});
  root.stand_in("/sbin/dmidecode", "Option 1: Thunderbolt\n", 3);
  std::string out;
  int status = runner().shell_read("/sbin/dmidecode -q -t 12 | /bin/grep \"Option 1\"", out);
  EXPECT_EQ(out, "Option 1: Thunderbolt\n");
  EXPECT_EQ(exit_code_of(status), 0);  // grep's status: the last command of the pipe
  out.clear();
  EXPECT_EQ(exit_code_of(runner().shell_read("/sbin/dmidecode", out)), 3);
}

TEST_F(CommandRunnerTest, ArgvFormNeverInterpretsCallerText) {
  root.stand_in("/sbin/log_tool");
  std::string hostile = "x'; touch " + root.path("/pwned") + "; echo '";
  EXPECT_EQ(runner().exec({"/sbin/log_tool", "-t", hostile}), 0);
  EXPECT_FALSE(root.exists("/pwned"));
  ASSERT_EQ(root.calls("log_tool").size(), 1u);
  EXPECT_EQ(root.calls("log_tool")[0], "-t " + hostile);
}

TEST_F(CommandRunnerTest, QuotedTextStaysOneWordThroughTheShell) {
  root.stand_in("/sbin/echoer");
  std::string hostile = "a b'$(touch " + root.path("/pwned") + ")'\"c";
  runner().shell("/sbin/echoer " + shell_quote(hostile));
  EXPECT_FALSE(root.exists("/pwned"));
  EXPECT_EQ(root.calls("echoer"), std::vector<std::string>{hostile});
}

// A sandbox never reaches the host's management programs: without a stand-in they are "not
// found", while ordinary system tools stay the real ones. Signals show as 128 + number.
TEST_F(CommandRunnerTest, HostManagementProgramsAreNeverRunUnderARoot) {
  ASSERT_EQ(::access("/bin/sh", X_OK), 0);
  EXPECT_EQ(reroot_command_line("/sbin/sh -c true"), root.dir() + "/sbin/sh -c true");
  EXPECT_EQ(WEXITSTATUS(runner().shell("/sbin/nonexistent-tool 2>/dev/null")), 127);
  EXPECT_EQ(runner().exec({"/usr/sbin/nonexistent-tool"}), 127);
  EXPECT_EQ(runner().exec({"/etc/init.d/pd_attach", "0", "3"}), 127);
  EXPECT_EQ(runner().exec({"/bin/sh", "-c", "exit 3"}), 3);
  EXPECT_EQ(runner().exec({"/sbin/does-not-exist"}), 127);
  EXPECT_EQ(runner().exec({"/bin/sh", "-c", "kill -9 $$"}), 128 + 9);
  EXPECT_EQ(runner().exec({}), -1);
}

// Lines written for bash run with bash's meaning under any /bin/sh: "&>" must not put the
// command in the background (its status and output would escape), ">&FILE" must not be a
// syntax error, "|&" must carry standard error down the pipe.
TEST_F(CommandRunnerTest, BashRedirectionsKeepTheirMeaning) {
  root.write("/sbin/noisy", "#!/bin/sh\necho out\necho err >&2\nexit 3\n");
  ::chmod(root.path("/sbin/noisy").c_str(), 0755);
  struct Case {
    const char* line;
    const char* output;
    int status;
  } cases[] = {
      {"/sbin/noisy &>/dev/null", "", 3},
      {"/sbin/noisy >&/dev/null", "", 3},
      {"/sbin/noisy >& /dev/null; echo $?", "3\n", 0},
      {"/sbin/noisy |& /bin/sort", "err\nout\n", 0},
      {"/sbin/noisy 2>/dev/null >&2", "", 3},
      {"/sbin/noisy 2 >& 1 2>/dev/null", "out\n", 3},
      {"echo '&>x' \"|&\" \\&", "&>x |& &\n", 0},
  };
  for (const Case& c : cases) {
    std::string out;
    int status = runner().shell_read(c.line, out);
    EXPECT_EQ(out, c.output) << c.line;
    EXPECT_EQ(exit_code_of(status), c.status) << c.line;
  }
  EXPECT_EQ(posix_redirections("a &>>log; b>&f; c 2>&1 >&-; d&&e||f"),
            "a >>log 2>&1; b>f 2>&1; c 2>&1 >&-; d&&e||f");
}

TEST(RerootCommandLine, OnlyCommandPositionsAreRewritten) {
  test::SandboxRoot root;
  root.stand_in("/sbin/tool");
  std::string r = root.dir();
  EXPECT_EQ(reroot_command_line("/sbin/tool /sbin/tool; /sbin/tool|/sbin/tool"),
            r + "/sbin/tool /sbin/tool; " + r + "/sbin/tool|" + r + "/sbin/tool");
  EXPECT_EQ(reroot_command_line("echo '/sbin/tool' 2>/dev/null"),
            "echo '/sbin/tool' 2>/dev/null");
  EXPECT_EQ(reroot_command_line("/bin/true && /sbin/tool &"),
            "/bin/true && " + r + "/sbin/tool &");
}

}  // namespace
}  // namespace bayhal
