// The store's per-file write lock. Each store file F has a lock file "F.lck" beside the file
// actually written (a store reached through a link is locked where the link leads, so
// writers through either name exclude each other), and it is never renamed, so the lock
// outlives every rewrite of F.
//
// Open-file-description locks (F_OFD_SETLKW) belong to one open of the lock file, not to
// the process: threads that each open it exclude each other, and closing some other
// descriptor of the file cannot drop them (the trap of classic fcntl locks). Every lock is
// released by an explicit unlock, never by a close: a child forked meanwhile holds a copy
// of the descriptor, which would otherwise keep the lock for as long as the child lives.
// A per-process table remembers which thread holds which lock file through a handle, so
// that thread's own gets and sets of that file go through without deadlocking on itself.
//
// Lock byte 0 is the lock; a waiter holds a shared lock on byte 1 while it waits, which
// is how a holder learns whether anyone is waiting.
//
// Lock files are made 0600: a user who could open one could hold it for ever and starve
// every writer. One the library did not make (another user's, a FIFO, a link) is replaced.
#pragma once
#include <sys/types.h>

#include <compare>
#include <string>

#include "foundation/trusted_path.h"
#include "foundation/unique_fd.h"

namespace bayhal::ini {

// A lock file's identity: its device and inode.
struct LockId {
  dev_t dev = 0;
  ino_t ino = 0;
  auto operator<=>(const LockId&) const = default;
};

// The lock file of a store, open.
struct LockFile {
  UniqueFd fd;
  LockId id;
};

// The name of the store's lock file ("<name>.lck"); false when too long (traced as `who`).
bool lock_name(const char* who, const Place& store, char (&name)[NAME_MAX + 1]);
// Opens, creating as needed, the lock file `name` in `dir`; false (traced as `who`) when it
// cannot be had.
bool open_lock(const char* who, int dir, const char* name, LockFile& out);
// Blocks until `lf` holds the exclusive lock and is still the file at its path (a holder
// may delete the lock file while others wait: it is then opened again). False on error.
bool take_lock(const char* who, int dir, const char* name, LockFile& lf);
// Releases the lock of a descriptor that took it.
void unlock(const UniqueFd& fd);
// True when some other open of the lock file waits for it.
bool has_waiters(const UniqueFd& fd);

// True when the calling thread holds the lock file `id` through an Ini_Conf_Write_Lock_File
// handle.
bool held_by_this_thread(const LockId& id);

// The write lock around one store update: taken unless this thread already holds it, and
// released explicitly.
class WriteLock {
 public:
  WriteLock(const char* who, const Place& store);
  ~WriteLock() { unlock(fd_); }
  WriteLock(const WriteLock&) = delete;
  WriteLock& operator=(const WriteLock&) = delete;
  bool ok() const { return ok_; }

 private:
  UniqueFd fd_;
  bool ok_ = false;
};

// An exclusive lock on a lock file of its own, such as "/var/lock/buzzer.lck" (a host
// path): the same protections and the same explicit release as a store's lock.
class PathLock {
 public:
  explicit PathLock(const std::string& host_path);
  ~PathLock() { unlock(fd_); }
  PathLock(const PathLock&) = delete;
  PathLock& operator=(const PathLock&) = delete;
  bool ok() const { return fd_.valid(); }

 private:
  UniqueFd fd_;
};

}  // namespace bayhal::ini
