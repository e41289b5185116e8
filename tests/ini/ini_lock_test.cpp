// The write lock: handles, the holder's own gets and sets, waiters, lock-file removal.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "bayhal/Ini_Conf.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

constexpr const char* kFile = "/tmp/.px_lock_file";

using IniLock = test::SandboxTest;

TEST_F(IniLock, HolderGetsAndSetsWithoutDeadlockOrLosingTheLock) {
  INI_CONF_LOCK* lock = Ini_Conf_Write_Lock_File(kFile);
  ASSERT_NE(lock, nullptr);
  EXPECT_TRUE(root.exists("/tmp/.px_lock_file.lck"));
  for (int i = 0; i < 5; ++i) EXPECT_GT(Ini_Conf_Set_Field_Int(kFile, "s", "n", i, 0), 0);
  int n = -1;
  EXPECT_GT(Ini_Conf_Get_Field_Int(kFile, "s", "n", &n, 0), 0);
  EXPECT_EQ(n, 4);
  // Still held: another process cannot take it now.
  pid_t child = ::fork();
  if (child == 0) {
    int fd = ::open(root.path("/tmp/.px_lock_file.lck").c_str(), O_RDWR);
    struct flock fl {};
    fl.l_type = F_WRLCK;
    fl.l_len = 1;
    ::_exit(::fcntl(fd, F_OFD_SETLK, &fl) == 0 ? 1 : 0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0) << "the lock was lost while the holder wrote";
  EXPECT_EQ(MVC_Lock_File_Removable_After_Unlock(lock), 1);
  EXPECT_EQ(Ini_Conf_Unlock_File(lock), 0);
  EXPECT_EQ(Ini_Conf_Remove_LCK_File(kFile), 0);
  EXPECT_FALSE(root.exists("/tmp/.px_lock_file.lck"));
}

TEST_F(IniLock, NestedTakeBySameThread) {
  INI_CONF_LOCK* outer = Ini_Conf_Write_Lock_File(kFile);
  INI_CONF_LOCK* inner = Ini_Conf_Write_Lock_File(kFile);
  ASSERT_NE(outer, nullptr);
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(Ini_Conf_Unlock_File(inner), 0);
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "s", "k", "v"), 0);
  EXPECT_EQ(Ini_Conf_Unlock_File(outer), 0);
}

TEST_F(IniLock, BadHandlesAreRefused) {
  EXPECT_EQ(Ini_Conf_Write_Lock_File(nullptr), nullptr);
  EXPECT_EQ(Ini_Conf_Write_Lock_File(""), nullptr);
  EXPECT_EQ(Ini_Conf_Write_Lock_File("/no/such/dir/file"), nullptr);
  EXPECT_LT(Ini_Conf_Unlock_File(nullptr), 0);
  EXPECT_EQ(MVC_Lock_File_Removable_After_Unlock(nullptr), 0);
  EXPECT_LT(Ini_Conf_Remove_LCK_File(nullptr), 0);
  EXPECT_EQ(Ini_Conf_Remove_LCK_File("/tmp/never_locked"), 0);
}

TEST_F(IniLock, HeldLockFileIsNotDeleted) {
  INI_CONF_LOCK* lock = Ini_Conf_Write_Lock_File(kFile);
  ASSERT_NE(lock, nullptr);
  EXPECT_LT(Ini_Conf_Remove_LCK_File(kFile), 0);
  std::thread other([] { EXPECT_LT(Ini_Conf_Remove_LCK_File(kFile), 0); });
  other.join();
  EXPECT_TRUE(root.exists("/tmp/.px_lock_file.lck"));
  Ini_Conf_Unlock_File(lock);
}

}  // namespace
}  // namespace bayhal
