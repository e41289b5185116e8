#include "foundation/sysroot.h"

#include <cstdlib>

#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

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

}  // namespace
}  // namespace bayhal
