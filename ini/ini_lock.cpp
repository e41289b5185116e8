#include "ini/ini_lock.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "ini/ini_file.h"

namespace bayhal::ini {
namespace {

constexpr off_t kLockByte = 0;
constexpr off_t kWaiterByte = 1;

int ofd_lock(int fd, short type, off_t start, bool wait) {
  struct flock fl {};
  fl.l_type = type;
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = 1;
  int rc;
  do {
    rc = ::fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &fl);
  } while (rc < 0 && errno == EINTR);
  return rc;
}

// Still the file at the path: not deleted, not replaced by a newer lock file.
bool is_current(const LockFile& lf, int dir, const char* name) {
  struct stat st {};
  return ::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) == 0 && st.st_dev == lf.id.dev &&
         st.st_ino == lf.id.ino;
}

struct Holder {
  pid_t pid;
  pid_t tid;
  int depth;
};

// Locks held through handles, by lock file. A mutex only guards the table itself; it is
// never held while waiting for a file lock, and a fork never copies it taken (the
// handlers below), or a child would hang on its first write.
struct HeldTable {
  std::mutex mu;
  std::map<LockId, Holder> by_id;
};

HeldTable& held() {
  static HeldTable t;
  static const int registered = ::pthread_atfork([] { held().mu.lock(); },
                                                 [] { held().mu.unlock(); },
                                                 [] { held().mu.unlock(); });
  (void)registered;
  return t;
}

bool is_me(const Holder& h) { return h.pid == ::getpid() && h.tid == ::gettid(); }

}  // namespace

bool lock_name(const char* who, const Place& store, char (&name)[NAME_MAX + 1]) {
  int n = std::snprintf(name, sizeof name, "%s.lck", store.name);
  if (n > 0 && static_cast<size_t>(n) < sizeof name) return true;
  ERR_TRACE(HAL_TRACE_ERROR, "%s: the lock file name of %s is too long\n", who, store.name);
  return false;
}

bool open_lock(const char* who, int dir, const char* name, LockFile& out) {
  Refusal why;
  struct stat st {};
  out.fd = open_trusted_at(dir, name, O_RDWR | O_CREAT, 0600, &why, &st);
  if (!out.fd) {
    if (errno == EPERM)
      ERR_TRACE(HAL_TRACE_ERROR, "%s: lock file %s belongs to uid %u and cannot be replaced\n",
                who, why.name, static_cast<unsigned>(why.owner));
    else
      ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot open %s: %s\n", who, name, std::strerror(errno));
    return false;
  }
  out.id = {st.st_dev, st.st_ino};
  return true;
}

bool take_lock(const char* who, int dir, const char* name, LockFile& lf) {
  for (int attempt = 0;; ++attempt) {
    if (ofd_lock(lf.fd.get(), F_WRLCK, kLockByte, false) != 0) {
      if (errno != EAGAIN && errno != EACCES) {
        ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot lock %s: %s\n", who, name, std::strerror(errno));
        return false;
      }
      // Announce ourselves as a waiter for as long as we wait.
      ofd_lock(lf.fd.get(), F_RDLCK, kWaiterByte, true);
      int rc = ofd_lock(lf.fd.get(), F_WRLCK, kLockByte, true);
      int err = errno;
      ofd_lock(lf.fd.get(), F_UNLCK, kWaiterByte, false);
      if (rc != 0) {
        ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot lock %s: %s\n", who, name, std::strerror(err));
        return false;
      }
    }
    if (is_current(lf, dir, name)) return true;
    // The holder before us deleted the file we waited on; lock the one at the path now.
    unlock(lf.fd);
    if (attempt > 1000) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: %s keeps being replaced\n", who, name);
      return false;
    }
    if (!open_lock(who, dir, name, lf)) return false;
  }
}

void unlock(const UniqueFd& fd) {
  if (fd) ofd_lock(fd.get(), F_UNLCK, kLockByte, false);
}

bool has_waiters(const UniqueFd& fd) {
  struct flock fl {};
  fl.l_type = F_WRLCK;
  fl.l_whence = SEEK_SET;
  fl.l_start = kWaiterByte;
  fl.l_len = 1;
  if (::fcntl(fd.get(), F_OFD_GETLK, &fl) != 0) return true;  // unknown: assume someone
  return fl.l_type != F_UNLCK;
}

bool held_by_this_thread(const LockId& id) {
  HeldTable& t = held();
  std::lock_guard<std::mutex> g(t.mu);
  auto it = t.by_id.find(id);
  return it != t.by_id.end() && is_me(it->second);
}

WriteLock::WriteLock(const char* who, const Place& store) {
  char name[NAME_MAX + 1];
  LockFile lf;
  if (!lock_name(who, store, name) || !open_lock(who, store.dir.get(), name, lf)) return;
  if (held_by_this_thread(lf.id)) {
    ok_ = true;
    return;
  }
  if (!take_lock(who, store.dir.get(), name, lf)) return;
  fd_ = std::move(lf.fd);
  ok_ = true;
}

PathLock::PathLock(const std::string& host_path) {
  Place p;
  LockFile lf;
  if (resolve_place(host_path.c_str(), false, p) != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot reach %s: %s\n", __func__, host_path.c_str(),
              std::strerror(errno));
    return;
  }
  if (open_lock(__func__, p.dir.get(), p.name, lf) && take_lock(__func__, p.dir.get(), p.name, lf))
    fd_ = std::move(lf.fd);
}

}  // namespace bayhal::ini

// The exported handle: one open of the lock file, or a nested take by the same thread.
struct Ini_Conf_Lock {
  bayhal::ini::LockId id;
  std::string shown;  // the store, for traces
  bayhal::UniqueFd fd;
  pid_t pid = 0;
  pid_t tid = 0;  // the thread the lock was taken for
  bool nested = false;
};

namespace {

using bayhal::ini::held;
using bayhal::ini::Holder;

}  // namespace

BAYHAL_EXPORT INI_CONF_LOCK* Ini_Conf_Write_Lock_File(const char* file) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with file(%s).\n", __func__, file ? file : "(null)");
  bayhal::Place store;
  if (!bayhal::ini::store_place(__func__, file, store)) return nullptr;
  char name[NAME_MAX + 1];
  bayhal::ini::LockFile lf;
  if (!bayhal::ini::lock_name(__func__, store, name) ||
      !bayhal::ini::open_lock(__func__, store.dir.get(), name, lf))
    return nullptr;
  auto lock = std::make_unique<Ini_Conf_Lock>();
  lock->id = lf.id;
  lock->shown = file;
  lock->pid = ::getpid();
  lock->tid = ::gettid();
  auto& t = held();
  {
    std::lock_guard<std::mutex> g(t.mu);
    auto it = t.by_id.find(lf.id);
    if (it != t.by_id.end() && bayhal::ini::is_me(it->second)) {
      ++it->second.depth;
      lock->nested = true;
      return lock.release();
    }
  }
  if (!bayhal::ini::take_lock(__func__, store.dir.get(), name, lf)) return nullptr;
  lock->id = lf.id;
  lock->fd = std::move(lf.fd);
  std::lock_guard<std::mutex> g(t.mu);
  t.by_id[lock->id] = Holder{::getpid(), ::gettid(), 1};
  return lock.release();
} BAYHAL_C_BOUNDARY(nullptr)

BAYHAL_EXPORT int Ini_Conf_Unlock_File(INI_CONF_LOCK* lock) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", __func__);
  if (lock == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no lock handle given\n", __func__);
    return -1;
  }
  std::unique_ptr<Ini_Conf_Lock> owned(lock);
  if (owned->pid != ::getpid()) {
    // A forked child's copy: the lock belongs to the parent, leave it there.
    ERR_TRACE(HAL_TRACE_ERROR, "%s: handle of %s belongs to process %d\n", __func__,
              owned->shown.c_str(), static_cast<int>(owned->pid));
    return -1;
  }
  auto& t = held();
  {
    std::lock_guard<std::mutex> g(t.mu);
    auto it = t.by_id.find(owned->id);
    bool ours = it != t.by_id.end() && it->second.pid == owned->pid &&
                it->second.tid == owned->tid;
    if (owned->nested) {
      if (ours && it->second.depth > 1) --it->second.depth;
      return 0;
    }
    // Forget the holder before letting go: the next holder may be another thread of ours,
    // and its entry must not be erased by this one.
    if (ours) t.by_id.erase(it);
  }
  bayhal::ini::unlock(owned->fd);
  return 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int MVC_Lock_File_Removable_After_Unlock(INI_CONF_LOCK* lock) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called.\n", __func__);
  if (lock == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no lock handle given\n", __func__);
    return 0;
  }
  if (lock->nested) return 0;  // the outer handle still holds it
  return bayhal::ini::has_waiters(lock->fd) ? 0 : 1;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int Ini_Conf_Remove_LCK_File(const char* file) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with file(%s).\n", __func__, file ? file : "(null)");
  bayhal::Place store;
  if (!bayhal::ini::store_place(__func__, file, store)) return -1;
  char name[NAME_MAX + 1];
  if (!bayhal::ini::lock_name(__func__, store, name)) return -1;
  int dir = store.dir.get();
  bayhal::UniqueFd fd(::openat(dir, name, O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!fd && errno == ENOENT) return 0;
  struct stat a {};
  if (!fd && errno != ELOOP) return -1;
  if (!fd || (::fstat(fd.get(), &a) == 0 && !S_ISREG(a.st_mode))) {
    // A link or a FIFO someone put there is no lock of ours: it goes.
    return ::unlinkat(dir, name, 0) == 0 || errno == ENOENT ? 0 : -1;
  }
  if (bayhal::ini::held_by_this_thread({a.st_dev, a.st_ino})) {
    // Deleted under a holder, the next comer would create a fresh file and get in too.
    ERR_TRACE(HAL_TRACE_ERROR, "%s: %s is still held by this thread; unlock first\n", __func__,
              name);
    return -1;
  }
  // Delete only while holding it, so nobody is inside on the file we unlink.
  struct flock fl {};
  fl.l_type = F_WRLCK;
  fl.l_whence = SEEK_SET;
  fl.l_start = 0;
  fl.l_len = 1;
  if (::fcntl(fd.get(), F_OFD_SETLK, &fl) != 0) {
    ERR_TRACE(HAL_TRACE_WARN, "%s: %s is held, not deleted\n", __func__, name);
    return -1;
  }
  struct stat b {};
  if (::fstatat(dir, name, &b, AT_SYMLINK_NOFOLLOW) != 0 || a.st_ino != b.st_ino ||
      a.st_dev != b.st_dev)
    return 0;  // already deleted (and perhaps re-created by someone who now uses it)
  int rc = ::unlinkat(dir, name, 0);
  int err = errno;
  fl.l_type = F_UNLCK;
  ::fcntl(fd.get(), F_OFD_SETLK, &fl);
  if (rc != 0 && err != ENOENT) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot delete %s: %s\n", __func__, name, std::strerror(err));
    return -1;
  }
  return 0;
} BAYHAL_C_BOUNDARY(-1)
