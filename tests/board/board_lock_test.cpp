#include "board/drivers/board_lock.h"

#include <signal.h>
#include <sys/sem.h>

#include <cstdlib>

#include "tests/support/child_process.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

int semval(key_t key) {
  int id = ::semget(key, 1, 0);
  return id < 0 ? -1 : ::semctl(id, 0, GETVAL);
}

TEST(BoardLock, ProductionKeysAtRootAndPrivateKeysPerSandbox) {
  key_t first_sio, first_ec;
  {
    test::SandboxRoot a;
    first_sio = board_lock_key(BoardLockId::kSio);
    first_ec = board_lock_key(BoardLockId::kEc);
    test::SandboxRoot b;
    EXPECT_NE(board_lock_key(BoardLockId::kSio), first_sio);
  }
  for (key_t k : {first_sio, first_ec}) EXPECT_TRUE(k != kSioLockKey && k != kEcLockKey && k > 0);
  EXPECT_NE(first_sio, first_ec);
  const char* saved = std::getenv("HAL_ROOT");
  ::unsetenv("HAL_ROOT");
  EXPECT_EQ(board_lock_key(BoardLockId::kSio), 0x483);
  EXPECT_EQ(board_lock_key(BoardLockId::kEc), 0x4543);
  EXPECT_EQ(board_locks_remove(), -1);  // the appliance's own locks are never removed
  if (saved) ::setenv("HAL_ROOT", saved, 1);
}

TEST(BoardLock, AHolderKilledWithTheLockDoesNotBlockTheNext) {
  test::SandboxRoot root;
  key_t key = board_lock_key(BoardLockId::kEc);
  test::Pipe ready;
  pid_t holder = test::spawn([&] {
    if (acquire_ec_lock() != 0) return 1;
    ready.put(1);
    for (;;) ::pause();
  });
  int v = 0;
  ASSERT_TRUE(ready.get(v));
  EXPECT_EQ(semval(key), 0);
  ::kill(holder, SIGKILL);
  EXPECT_EQ(test::join(holder), -1);
  EXPECT_EQ(semval(key), 1);  // SEM_UNDO gave it back
  ASSERT_EQ(acquire_ec_lock(), 0);
  EXPECT_EQ(semval(key), 0);
  EXPECT_EQ(release_ec_lock(), 0);
  EXPECT_EQ(board_locks_remove(), 0);
  EXPECT_EQ(semval(key), -1);
}

TEST(BoardLock, ASetRemovedBehindTheProcessIsMadeAgain) {
  test::SandboxRoot root;
  ASSERT_EQ(acquire_sio_lock(), 0);
  ASSERT_EQ(release_sio_lock(), 0);
  key_t key = board_lock_key(BoardLockId::kSio);
  ASSERT_EQ(::semctl(::semget(key, 1, 0), 0, IPC_RMID), 0);  // an administrator's ipcrm
  {
    BoardLock lock(BoardLockId::kSio);
    EXPECT_TRUE(lock.held());
    EXPECT_EQ(semval(key), 0);
  }
  EXPECT_EQ(semval(key), 1);
}

}  // namespace
}  // namespace bayhal
