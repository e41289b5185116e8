// The write lock: handles, the holder's own gets and sets, waiters, lock-file removal.
#include <fcntl.h>
#include <unistd.h>

#include <sys/mman.h>

#include <atomic>
#include <thread>
#include <vector>

#include "bayhal/Ini_Conf.h"
#include "tests/support/child_process.h"
#include "tests/support/sandbox_root.h"

namespace bayhal {
namespace {

constexpr const char* kFile = "/tmp/.px_lock_file";

using test::join;
using test::Pipe;
using test::spawn;

// Counters every process sees: how many are inside the lock now, and how often two were.
struct Shared {
  std::atomic<int> inside{0};
  std::atomic<int> overlaps{0};
  std::atomic<int> done{0};
};

Shared* map_shared() {
  void* p = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                   -1, 0);
  return new (p) Shared;
}

void enter(Shared* s) {
  if (s->inside.fetch_add(1) != 0) s->overlaps.fetch_add(1);
}
void leave(Shared* s) { s->inside.fetch_sub(1); }

// Spins (yielding, no sleep) until `ready` holds; false if it never did.
template <typename Ready>
bool wait_for(Ready&& ready) {
  for (long i = 0; i < 5'000'000; ++i) {
    if (ready()) return true;
    ::sched_yield();
  }
  return false;
}

using IniLock = test::SandboxTest;

TEST_F(IniLock, HolderGetsAndSetsWithoutDeadlockOrLosingTheLock) {
  INI_CONF_LOCK* lock = Ini_Conf_Write_Lock_File(kFile);
  ASSERT_NE(lock, nullptr);
  EXPECT_TRUE(root.exists("/tmp/.px_lock_file.lck"));
  for (int i = 0; i < 5; ++i) EXPECT_GT(Ini_Conf_Set_Field_Int(kFile, "s", "n", i, 0), 0);
  int n = -1;
  EXPECT_GT(Ini_Conf_Get_Field_Int(kFile, "s", "n", &n, 0), 0);
  EXPECT_EQ(n, 4);
  // Closing some other descriptor of the lock file (the classic fcntl trap) changes nothing.
  ::close(::open(root.path("/tmp/.px_lock_file.lck").c_str(), O_RDWR));
  // Still held: another process cannot take it now.
  EXPECT_EQ(join(spawn([&] {
              int fd = ::open(root.path("/tmp/.px_lock_file.lck").c_str(), O_RDWR);
              struct flock fl {};
              fl.l_type = F_WRLCK;
              fl.l_len = 1;
              return ::fcntl(fd, F_OFD_SETLK, &fl) == 0 ? 1 : 0;
            })),
            0)
      << "the lock was lost while the holder wrote";
  EXPECT_EQ(MVC_Lock_File_Removable_After_Unlock(lock), 1);
  EXPECT_EQ(Ini_Conf_Unlock_File(lock), 0);
  EXPECT_EQ(Ini_Conf_Remove_LCK_File(kFile), 0);
  EXPECT_FALSE(root.exists("/tmp/.px_lock_file.lck"));
}

TEST_F(IniLock, NestingBadHandlesAndAHeldLockFile) {
  INI_CONF_LOCK* outer = Ini_Conf_Write_Lock_File(kFile);
  INI_CONF_LOCK* inner = Ini_Conf_Write_Lock_File(kFile);
  ASSERT_NE(outer, nullptr);
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(Ini_Conf_Unlock_File(inner), 0);
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "s", "k", "v"), 0);
  // Held: neither this thread nor another may delete its file.
  EXPECT_LT(Ini_Conf_Remove_LCK_File(kFile), 0);
  std::thread other([] { EXPECT_LT(Ini_Conf_Remove_LCK_File(kFile), 0); });
  other.join();
  EXPECT_TRUE(root.exists("/tmp/.px_lock_file.lck"));
  EXPECT_EQ(Ini_Conf_Unlock_File(outer), 0);

  EXPECT_EQ(Ini_Conf_Write_Lock_File(nullptr), nullptr);
  EXPECT_EQ(Ini_Conf_Write_Lock_File(""), nullptr);
  EXPECT_EQ(Ini_Conf_Write_Lock_File("/no/such/dir/file"), nullptr);
  EXPECT_LT(Ini_Conf_Unlock_File(nullptr), 0);
  EXPECT_EQ(MVC_Lock_File_Removable_After_Unlock(nullptr), 0);
  EXPECT_LT(Ini_Conf_Remove_LCK_File(nullptr), 0);
  EXPECT_EQ(Ini_Conf_Remove_LCK_File("/tmp/never_locked"), 0);
}

TEST_F(IniLock, RemovableOnlyWithoutWaiters) {
  INI_CONF_LOCK* lock = Ini_Conf_Write_Lock_File(kFile);
  ASSERT_NE(lock, nullptr);
  EXPECT_EQ(MVC_Lock_File_Removable_After_Unlock(lock), 1);
  Pipe got;
  pid_t waiter = spawn([&] {
    INI_CONF_LOCK* l = Ini_Conf_Write_Lock_File(kFile);
    got.put(1);
    return l != nullptr && Ini_Conf_Unlock_File(l) == 0 ? 0 : 1;
  });
  ASSERT_TRUE(wait_for([&] { return MVC_Lock_File_Removable_After_Unlock(lock) == 0; }))
      << "a waiting process was not seen";
  got.close_write();
  EXPECT_EQ(Ini_Conf_Unlock_File(lock), 0);
  int v = 0;
  EXPECT_TRUE(got.get(v));
  EXPECT_EQ(join(waiter), 0);
  lock = Ini_Conf_Write_Lock_File(kFile);
  EXPECT_EQ(MVC_Lock_File_Removable_After_Unlock(lock), 1) << "the old waiter still counts";
  Ini_Conf_Unlock_File(lock);
}

TEST_F(IniLock, DeletingTheLockFileUnderAWaiterNeverLetsTwoIn) {
  Shared* sh = map_shared();
  // A (this process) holds the lock while its file is deleted; from then on the file at
  // the path is a new one, so only B and C are counted.
  INI_CONF_LOCK* lock = Ini_Conf_Write_Lock_File(kFile);
  ASSERT_NE(lock, nullptr);
  // B waits on the lock file that is about to be deleted.
  pid_t b = spawn([&] {
    INI_CONF_LOCK* l = Ini_Conf_Write_Lock_File(kFile);
    enter(sh);
    leave(sh);
    return l != nullptr && Ini_Conf_Unlock_File(l) == 0 ? 0 : 1;
  });
  ASSERT_TRUE(wait_for([&] { return MVC_Lock_File_Removable_After_Unlock(lock) == 0; }));
  ::unlink(root.path("/tmp/.px_lock_file.lck").c_str());
  // C comes later, finds no lock file, creates a new one and gets in.
  Pipe c_in, c_release;
  pid_t c = spawn([&] {
    INI_CONF_LOCK* l = Ini_Conf_Write_Lock_File(kFile);
    if (l == nullptr) return 1;
    c_in.put(1);
    enter(sh);
    // Hold until told; meanwhile B must end up waiting on this new file.
    int go = 0;
    c_release.get(go);
    if (!wait_for([&] { return MVC_Lock_File_Removable_After_Unlock(l) == 0; })) return 2;
    leave(sh);
    return Ini_Conf_Unlock_File(l) == 0 ? 0 : 3;
  });
  int v = 0;
  ASSERT_TRUE(c_in.get(v));
  EXPECT_EQ(Ini_Conf_Unlock_File(lock), 0);  // B wakes on the deleted file and must retry
  c_release.put(1);
  EXPECT_EQ(join(c), 0);
  EXPECT_EQ(join(b), 0);
  EXPECT_EQ(sh->overlaps.load(), 0) << "two holders were inside at once";
}

TEST_F(IniLock, ProcessesThatDeleteTheLockFileAfterUseStayExclusive) {
  Shared* sh = map_shared();
  std::vector<pid_t> kids;
  for (int p = 0; p < 4; ++p)
    kids.push_back(spawn([&, p] {
      for (int i = 0; i < 150; ++i) {
        INI_CONF_LOCK* l = Ini_Conf_Write_Lock_File(kFile);
        if (l == nullptr) return 1;
        enter(sh);
        int n = 0;
        Ini_Conf_Get_Field_Int(kFile, "count", "n", &n, 0);
        if (Ini_Conf_Set_Field_Int(kFile, "count", "n", n + 1, 0) <= 0) return 2;
        leave(sh);
        // The documented way to clean up after a long update.
        bool removable = MVC_Lock_File_Removable_After_Unlock(l) == 1;
        Ini_Conf_Unlock_File(l);
        if (removable || (i + p) % 7 == 0) Ini_Conf_Remove_LCK_File(kFile);
      }
      return 0;
    }));
  for (pid_t k : kids) EXPECT_EQ(join(k), 0);
  EXPECT_EQ(sh->overlaps.load(), 0);
  int n = 0;
  EXPECT_GT(Ini_Conf_Get_Field_Int(kFile, "count", "n", &n, 0), 0);
  EXPECT_EQ(n, 4 * 150) << "an increment was lost";
}

TEST_F(IniLock, ThreadsOfOneProcessExcludeEachOther) {
  Shared sh;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i) {
        INI_CONF_LOCK* l = Ini_Conf_Write_Lock_File(kFile);
        ASSERT_NE(l, nullptr);
        enter(&sh);
        int n = 0;
        Ini_Conf_Get_Field_Int(kFile, "count", "n", &n, 0);
        EXPECT_GT(Ini_Conf_Set_Field_Int(kFile, "count", "n", n + 1, 0), 0);
        leave(&sh);
        Ini_Conf_Unlock_File(l);
        // A plain set from another thread waits for the holder instead of slipping in.
        EXPECT_GT(Ini_Conf_Bitmap_Set_Bit(kFile, "bits", "b", i), -1);
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(sh.overlaps.load(), 0);
  int n = 0;
  EXPECT_GT(Ini_Conf_Get_Field_Int(kFile, "count", "n", &n, 0), 0);
  EXPECT_EQ(n, 400);
}

// A child forked while another thread is inside a write gets a copy of that write's lock
// descriptor; once the write is over, the store must be free whatever the child does.
TEST_F(IniLock, AForkDuringAWriteLeavesTheStoreUnlocked) {
  std::string lock = root.path("/tmp/.px_lock_file.lck");
  // The lock file exists before any child looks, however late the writer thread starts.
  ASSERT_GT(Ini_Conf_Set_Field_Int(kFile, "s", "n", -1, 0), 0);
  std::atomic<bool> stop{false};
  std::thread writer([&] {
    for (int i = 0; !stop; ++i) Ini_Conf_Set_Field_Int(kFile, "s", "n", i, 0);
  });
  Pipe go;
  std::vector<pid_t> kids;
  for (int k = 0; k < 40; ++k)
    kids.push_back(spawn([&] {
      go.close_write();
      int v = 0;
      go.get(v);  // end of stream: the writer thread has finished
      int fd = ::open(lock.c_str(), O_RDWR | O_CLOEXEC);
      struct flock fl {};
      fl.l_type = F_WRLCK;
      fl.l_len = 1;
      if (fd < 0 || ::fcntl(fd, F_OFD_GETLK, &fl) != 0) return 2;
      return fl.l_type == F_UNLCK ? 0 : 1;
    }));
  stop = true;
  writer.join();
  go.close_write();
  int locked = 0;
  for (pid_t k : kids) locked += join(k) != 0;
  EXPECT_EQ(locked, 0) << "children that still hold the store locked";
}

TEST_F(IniLock, OtherProcessSetWaitsForTheHolder) {
  INI_CONF_LOCK* lock = Ini_Conf_Write_Lock_File(kFile);
  ASSERT_NE(lock, nullptr);
  pid_t setter = spawn([] { return Ini_Conf_Set_Field(kFile, "s", "from", "child") > 0 ? 0 : 1; });
  ASSERT_TRUE(wait_for([&] { return MVC_Lock_File_Removable_After_Unlock(lock) == 0; }));
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "s", "from", "holder"), 0);
  EXPECT_GT(Ini_Conf_Set_Field(kFile, "s", "holder_only", "1"), 0);
  Ini_Conf_Unlock_File(lock);
  EXPECT_EQ(join(setter), 0);
  EXPECT_EQ(root.read(kFile), "[s]\nfrom = child\nholder_only = 1\n");
}

}  // namespace
}  // namespace bayhal
