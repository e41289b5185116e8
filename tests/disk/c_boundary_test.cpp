// No C++ exception reaches a C caller: whatever a layer below throws, the exported function
// answers its failure value and traces which function failed and why.
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "bayhal/PD.h"
#include "bayhal/SE.h"
#include "board/board_services.h"
#include "enclosure/disk_registry_link.h"
#include "foundation/err_trace.h"
#include "tests/disk/disk_fixture.h"

namespace bayhal::test {
namespace {

struct ThrowingDisks : FakeDiskBackend {
  int getinfo(const char*, const char*, PD_INFO*) override { throw std::runtime_error("boom"); }
};
struct ThrowingLink : DiskRegistryLink {
  int scan(int, const char*) override { throw std::bad_alloc(); }
  int detach_by_dev_id(int, int) override { return 0; }
  int dev_id_of_port(int, int, int*) override { return -1; }
};
struct ThrowingBoard : BoardServices {
  int se_sys_set_buzzer(const char*, int) override { throw 42; }
};

TEST_F(SandboxTest, ExceptionsBelowBecomeTheFailureValueAndATrace) {
  root.write("/etc/model.conf", "[System Enclosure]\nMAX_DISK_NUM = 4\n");
  ThrowingDisks disks;
  ThrowingLink link;
  ThrowingBoard board;
  ScopedSeam<DiskBackend, set_disk_backend> with_disks(disks);
  ScopedDiskRegistryLink with_link(link);
  ScopedBoardServices with_board(board);
  struct Case {
    const char* func;
    std::function<int()> call;
    const char* what;
  } cases[] = {
      {"SE_Sys_Attach", [] { return SE_Sys_Attach("root", 0); }, "std::bad_alloc"},
      // The appliance is registered now, before its disk scan threw.
      {"PD_Sys_Attach", [] { return PD_Sys_Attach("root", "sdb"); }, "boom"},
      {"SE_Set_Buzzer", [] { return SE_Set_Buzzer(0, 3); }, "unknown exception"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.func);
    EXPECT_EQ(c.call(), -1);
    EXPECT_NE(root.read(trace_log_path()).find(std::string(c.func) + ": internal error: " + c.what),
              std::string::npos);
  }
}

}  // namespace
}  // namespace bayhal::test
