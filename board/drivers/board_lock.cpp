#include "board/drivers/board_lock.h"

#include <sys/ipc.h>
#include <sys/sem.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <mutex>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "foundation/sysroot.h"

namespace bayhal {
namespace {

constexpr int kTries = 3;

// A private key for a sandbox root: FNV-1a of the root's real path and the production key,
// kept positive and away from IPC_PRIVATE and the production keys.
key_t derived_key(const std::string& root, key_t base) {
  char real[PATH_MAX];
  std::string path = ::realpath(root.c_str(), real) != nullptr ? real : root;
  uint32_t h = 2166136261u;
  auto mix = [&h](unsigned char c) { h = (h ^ c) * 16777619u; };
  for (char c : path) mix(static_cast<unsigned char>(c));
  for (int i = 0; i < 4; ++i) mix(static_cast<unsigned char>(base >> (8 * i)));
  auto key = static_cast<key_t>(h & 0x7FFFFFFF);
  if (key == IPC_PRIVATE || key == kSioLockKey || key == kEcLockKey) key ^= 0x5A5A0000;
  return key;
}

// Keys and set ids of the current root, cached per process. The id is an optimisation over
// opening the set on every take; a set removed behind our back is opened again.
class LockTable {
 public:
  struct Entry {
    key_t key;
    int semid;
  };

  Entry get(BoardLockId id) {
    std::lock_guard g(mu_);
    refresh();
    return entries_[index(id)];
  }
  void remember(BoardLockId id, key_t key, int semid) {
    std::lock_guard g(mu_);
    Entry& e = entries_[index(id)];
    if (e.key == key) e.semid = semid;
  }

 private:
  std::mutex mu_;
  bool valid_ = false;
  std::string root_;
  Entry entries_[2] = {{kSioLockKey, -1}, {kEcLockKey, -1}};

  static int index(BoardLockId id) { return id == BoardLockId::kSio ? 0 : 1; }
  void refresh() {
    std::string_view root = sys_root();
    if (valid_ && root == root_) return;
    root_.assign(root);
    valid_ = true;
    key_t sio = root_.empty() ? kSioLockKey : derived_key(root_, kSioLockKey);
    key_t ec = root_.empty() ? kEcLockKey : derived_key(root_, kEcLockKey);
    entries_[0] = {sio, -1};
    entries_[1] = {ec, -1};
  }
};

LockTable g_locks;

// Create-or-open: the process that creates the set initialises it to 1; a set that cannot
// be initialised is removed again, so nobody waits on a lock that can never be given.
int open_set(key_t key) {
  int id = ::semget(key, 1, IPC_CREAT | IPC_EXCL | 0666);
  if (id >= 0) {
    if (::semctl(id, 0, SETVAL, 1) != 0) {
      ::semctl(id, 0, IPC_RMID);
      return -1;
    }
    return id;
  }
  if (errno != EEXIST) return -1;
  return ::semget(key, 1, IPC_CREAT | 0666);
}

int change(int semid, short delta) {
  sembuf op{0, delta, SEM_UNDO};
  return ::semop(semid, &op, 1);
}

// The set id taken, or -1.
int acquire(BoardLockId which, const char* func) {
  for (int attempt = 0; attempt < kTries; ++attempt) {
    LockTable::Entry e = g_locks.get(which);
    int id = e.semid >= 0 ? e.semid : open_set(e.key);
    if (id < 0) continue;
    if (change(id, -1) == 0) {
      if (id != e.semid) g_locks.remember(which, e.key, id);
      return id;
    }
    g_locks.remember(which, e.key, -1);  // removed or interrupted: open it afresh
  }
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): get semaphore fail.\n", func, __LINE__);
  return -1;
}

int release(BoardLockId which) {
  LockTable::Entry e = g_locks.get(which);
  int id = e.semid >= 0 ? e.semid : ::semget(e.key, 1, 0);
  return id >= 0 && change(id, 1) == 0 ? 0 : -1;
}

}  // namespace

key_t board_lock_key(BoardLockId id) { return g_locks.get(id).key; }

int acquire_sio_lock() { return acquire(BoardLockId::kSio, __func__) >= 0 ? 0 : -1; }
int release_sio_lock() { return release(BoardLockId::kSio); }
int acquire_ec_lock() { return acquire(BoardLockId::kEc, __func__) >= 0 ? 0 : -1; }
int release_ec_lock() { return release(BoardLockId::kEc); }

BoardLock::BoardLock(BoardLockId id)
    : semid_(acquire(id, id == BoardLockId::kSio ? "acquire_sio_lock" : "acquire_ec_lock")) {}

// Given back on the set it was taken from, whatever happened to the table since.
BoardLock::~BoardLock() {
  if (semid_ >= 0) change(semid_, 1);
}

int board_locks_remove() { return board_locks_remove(sys_root()); }

int board_locks_remove(std::string_view root) {
  while (!root.empty() && root.back() == '/') root.remove_suffix(1);
  if (root.empty()) return -1;
  int rc = 0;
  std::string r(root);
  for (key_t key : {derived_key(r, kSioLockKey), derived_key(r, kEcLockKey)}) {
    int id = ::semget(key, 1, 0);
    if (id >= 0 && ::semctl(id, 0, IPC_RMID) != 0) rc = -1;
  }
  for (BoardLockId which : {BoardLockId::kSio, BoardLockId::kEc}) {
    LockTable::Entry e = g_locks.get(which);
    g_locks.remember(which, e.key, -1);
  }
  return rc;
}

}  // namespace bayhal
