// The store's per-file write lock. Each store file F has a lock file "F.lck" beside it that
// is never renamed, so the lock outlives every rewrite of F.
//
// Open-file-description locks (F_OFD_SETLKW) belong to one open of the lock file, not to
// the process: threads that each open it exclude each other, and closing some other
// descriptor of the file cannot drop them (the trap of classic fcntl locks). A per-process
// table remembers which thread holds which lock through a handle, so that thread's own
// gets and sets of that file go through without deadlocking on itself.
//
// Lock byte 0 is the lock; a waiter holds a shared lock on byte 1 while it waits, which
// is how a holder learns whether anyone is waiting.
#pragma once
#include <string>
#include <string_view>

#include "foundation/unique_fd.h"

namespace bayhal::ini {

// "<resolved store path>.lck".
std::string lock_path_of(std::string_view resolved_store);

// Blocks until this open of `lock_path` holds the exclusive lock and is still the file
// at that path (a holder may delete the lock file while others wait). Invalid on error.
UniqueFd lock_exclusive(const std::string& lock_path);
// Releases the lock of an open taken by lock_exclusive (closing would do it too; the
// explicit unlock keeps a forked child's copy of the descriptor from holding it).
void unlock(const UniqueFd& fd);
// True when some other open of the lock file waits for it.
bool has_waiters(const UniqueFd& fd);

// True when the calling thread holds `lock_path` through an Ini_Conf_Write_Lock_File handle.
bool held_by_this_thread(const std::string& lock_path);

// The write lock around one store update: taken unless this thread already holds it.
class WriteLock {
 public:
  explicit WriteLock(const std::string& lock_path);
  bool ok() const { return ok_; }

 private:
  UniqueFd fd_;
  bool ok_ = false;
};

}  // namespace bayhal::ini
