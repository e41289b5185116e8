#include "foundation/sysroot.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "bayhal/Ini_Conf.h"

#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

class SysRootRelative : public test::SandboxTest {};

// Absolute paths move under the root, live process entries and relative paths do not, and
// an overlong result is refused rather than cut.
TEST(SysRoot, PathsUnderEachRoot) {
  struct Case {
    const char* root;  // nullptr: unset
    std::string path;
    std::string want;
  } cases[] = {
      {nullptr, "/etc/hal.conf", "/etc/hal.conf"},   {"", "/etc/hal.conf", "/etc/hal.conf"},
      {"/", "/etc/hal.conf", "/etc/hal.conf"},       {"/tmp/r1/", "/etc/hal.conf", "/tmp/r1/etc/hal.conf"},
      {"/tmp/r1", "/proc/cpuinfo", "/tmp/r1/proc/cpuinfo"},
      {"/tmp/r1", "/proc/1234/comm", "/proc/1234/comm"}, {"/tmp/r1", "/proc/self/fd", "/proc/self/fd"},
      {"/tmp/r1", "relative/x", "relative/x"},       {"/tmp/r2", "/sys/block", "/tmp/r2/sys/block"},
      {"/tmp/r", "/" + std::string(5000, 'a'), ""},
  };
  for (const Case& c : cases) {
    if (c.root)
      ::setenv("HAL_ROOT", c.root, 1);
    else
      ::unsetenv("HAL_ROOT");
    SysPath p(c.path);
    EXPECT_EQ(p.c_str(), c.want) << c.path;
    EXPECT_EQ(p.ok(), !c.want.empty());
    EXPECT_EQ(p.ok() ? sys_path(c.path) : "", c.want);
  }
  ::setenv("HAL_ROOT", "/tmp/r1/", 1);
  EXPECT_EQ(strip_root("/tmp/r1/etc/x"), "/etc/x");
  EXPECT_EQ(strip_root("/elsewhere/x"), "/elsewhere/x");
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
