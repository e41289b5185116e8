#include "foundation/sysroot.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "bayhal/Ini_Conf.h"

#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

class SysRootRelative : public test::SandboxTest {};

TEST(SysRoot, UnsetOrEmptyRootIsSlash) {
  ::unsetenv("HAL_ROOT");
  EXPECT_EQ(sys_path("/etc/hal.conf"), "/etc/hal.conf");
  ::setenv("HAL_ROOT", "", 1);
  EXPECT_EQ(sys_path("/etc/hal.conf"), "/etc/hal.conf");
  ::setenv("HAL_ROOT", "/", 1);
  EXPECT_EQ(sys_path("/etc/hal.conf"), "/etc/hal.conf");
  ::unsetenv("HAL_ROOT");
}

TEST(SysRoot, AbsolutePathsMoveUnderRootButLiveProcessEntriesDoNot) {
  ::setenv("HAL_ROOT", "/tmp/r1/", 1);
  EXPECT_EQ(sys_path("/etc/hal.conf"), "/tmp/r1/etc/hal.conf");
  EXPECT_EQ(std::string(SysPath("/sys/block").c_str()), "/tmp/r1/sys/block");
  EXPECT_EQ(sys_path("/proc/cpuinfo"), "/tmp/r1/proc/cpuinfo");
  EXPECT_EQ(sys_path("/proc/1234/comm"), "/proc/1234/comm");
  EXPECT_EQ(sys_path("/proc/self/fd"), "/proc/self/fd");
  EXPECT_EQ(sys_path("relative/x"), "relative/x");
  EXPECT_EQ(strip_root("/tmp/r1/etc/x"), "/etc/x");
  EXPECT_EQ(strip_root("/elsewhere/x"), "/elsewhere/x");
  ::setenv("HAL_ROOT", "/tmp/r2", 1);
  EXPECT_EQ(sys_path("/etc/hal.conf"), "/tmp/r2/etc/hal.conf");
  ::unsetenv("HAL_ROOT");
}

TEST(SysRoot, OverlongPathIsRefusedNotTruncated) {
  ::setenv("HAL_ROOT", "/tmp/r", 1);
  std::string longpath = "/" + std::string(5000, 'a');
  SysPath p(longpath);
  EXPECT_FALSE(p.ok());
  EXPECT_STREQ(p.c_str(), "");
  ::unsetenv("HAL_ROOT");
}

// A relative root is taken against the working directory once: a caller that changes
// directory afterwards still reaches the same files, and what the library writes (here a
// store file) lands under the absolute root.
TEST_F(SysRootRelative, IsResolvedOnceAgainstTheWorkingDirectory) {
  std::filesystem::path sandbox(root.dir());
  std::filesystem::path old_cwd = std::filesystem::current_path();
  std::filesystem::current_path(sandbox.parent_path());
  ::setenv("HAL_ROOT", sandbox.filename().c_str(), 1);
  EXPECT_EQ(sys_path("/etc/hal.conf"), root.dir() + "/etc/hal.conf");
  EXPECT_GT(Ini_Conf_Set_Field("/etc/config/x.conf", "S", "k", "v"), 0);
  std::filesystem::current_path(root.path("/etc"));
  char value[8] = {};
  EXPECT_GT(Ini_Conf_Get_Field("/etc/config/x.conf", "S", "k", value, sizeof value), 0);
  EXPECT_STREQ(value, "v");
  EXPECT_EQ(strip_root(root.dir() + "/etc/x"), "/etc/x");
  EXPECT_NE(root.read("/etc/config/x.conf").find("k = v"), std::string::npos);
  std::filesystem::current_path(old_cwd);
}

}  // namespace
}  // namespace bayhal
