#include "ini/ini_lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"

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
bool is_current(int fd, const std::string& path) {
  struct stat a {}, b {};
  if (::fstat(fd, &a) != 0 || ::stat(path.c_str(), &b) != 0) return false;
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

struct Holder {
  pid_t pid;
  pid_t tid;
  int depth;
};

// Locks held through handles, by lock path. A mutex only guards the table itself; it is
// never held while waiting for a file lock.
struct HeldTable {
  std::mutex mu;
  std::unordered_map<std::string, Holder> by_path;
};

HeldTable& held() {
  static HeldTable t;
  return t;
}

bool is_me(const Holder& h) { return h.pid == ::getpid() && h.tid == ::gettid(); }

}  // namespace

std::string lock_path_of(std::string_view resolved_store) {
  std::string p(resolved_store);
  p += ".lck";
  return p;
}

UniqueFd lock_exclusive(const std::string& lock_path) {
  for (int attempt = 0;; ++attempt) {
    UniqueFd fd(::open(lock_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (!fd) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot open %s: %s\n", __func__, lock_path.c_str(),
                std::strerror(errno));
      return {};
    }
    if (ofd_lock(fd.get(), F_WRLCK, kLockByte, false) != 0) {
      if (errno != EAGAIN && errno != EACCES) {
        ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot lock %s: %s\n", __func__, lock_path.c_str(),
                  std::strerror(errno));
        return {};
      }
      // Announce ourselves as a waiter for as long as we wait.
      ofd_lock(fd.get(), F_RDLCK, kWaiterByte, true);
      int rc = ofd_lock(fd.get(), F_WRLCK, kLockByte, true);
      int err = errno;
      ofd_lock(fd.get(), F_UNLCK, kWaiterByte, false);
      if (rc != 0) {
        ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot lock %s: %s\n", __func__, lock_path.c_str(),
                  std::strerror(err));
        return {};
      }
    }
    if (is_current(fd.get(), lock_path)) return fd;
    // The holder before us deleted the file we waited on; lock the one at the path now.
    if (attempt > 1000) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: %s keeps being replaced\n", __func__, lock_path.c_str());
      return {};
    }
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

bool held_by_this_thread(const std::string& lock_path) {
  HeldTable& t = held();
  std::lock_guard<std::mutex> g(t.mu);
  auto it = t.by_path.find(lock_path);
  return it != t.by_path.end() && is_me(it->second);
}

WriteLock::WriteLock(const std::string& lock_path) {
  if (held_by_this_thread(lock_path)) {
    ok_ = true;
    return;
  }
  fd_ = lock_exclusive(lock_path);
  ok_ = fd_.valid();
}

}  // namespace bayhal::ini

// The exported handle: one open of the lock file, or a nested take by the same thread.
struct Ini_Conf_Lock {
  std::string lock_path;
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
  if (file == nullptr || *file == '\0') {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no file given\n", __func__);
    return nullptr;
  }
  bayhal::SysPath path(file);
  if (!path.ok()) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: path too long: %s\n", __func__, file);
    return nullptr;
  }
  auto lock = std::make_unique<Ini_Conf_Lock>();
  lock->lock_path = bayhal::ini::lock_path_of(path.view());
  lock->pid = ::getpid();
  lock->tid = ::gettid();
  auto& t = held();
  {
    std::lock_guard<std::mutex> g(t.mu);
    auto it = t.by_path.find(lock->lock_path);
    if (it != t.by_path.end() && bayhal::ini::is_me(it->second)) {
      ++it->second.depth;
      lock->nested = true;
      return lock.release();
    }
  }
  lock->fd = bayhal::ini::lock_exclusive(lock->lock_path);
  if (!lock->fd) return nullptr;
  std::lock_guard<std::mutex> g(t.mu);
  t.by_path[lock->lock_path] = Holder{::getpid(), ::gettid(), 1};
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
              owned->lock_path.c_str(), static_cast<int>(owned->pid));
    return -1;
  }
  auto& t = held();
  {
    std::lock_guard<std::mutex> g(t.mu);
    auto it = t.by_path.find(owned->lock_path);
    bool ours = it != t.by_path.end() && it->second.pid == owned->pid &&
                it->second.tid == owned->tid;
    if (owned->nested) {
      if (ours && it->second.depth > 1) --it->second.depth;
      return 0;
    }
    // Forget the holder before letting go: the next holder may be another thread of ours,
    // and its entry must not be erased by this one.
    if (ours) t.by_path.erase(it);
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
  if (file == nullptr || *file == '\0') {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: no file given\n", __func__);
    return -1;
  }
  bayhal::SysPath path(file);
  if (!path.ok()) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: path too long: %s\n", __func__, file);
    return -1;
  }
  std::string lock_path = bayhal::ini::lock_path_of(path.view());
  if (bayhal::ini::held_by_this_thread(lock_path)) {
    // Deleted under a holder, the next comer would create a fresh file and get in too.
    ERR_TRACE(HAL_TRACE_ERROR, "%s: %s is still held by this thread; unlock first\n", __func__,
              lock_path.c_str());
    return -1;
  }
  // Delete only while holding it, so nobody is inside on the file we unlink.
  bayhal::UniqueFd fd(::open(lock_path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
  if (!fd) return errno == ENOENT ? 0 : -1;
  struct flock fl {};
  fl.l_type = F_WRLCK;
  fl.l_whence = SEEK_SET;
  fl.l_start = 0;
  fl.l_len = 1;
  if (::fcntl(fd.get(), F_OFD_SETLK, &fl) != 0) {
    ERR_TRACE(HAL_TRACE_WARN, "%s: %s is held, not deleted\n", __func__, lock_path.c_str());
    return -1;
  }
  struct stat a {}, b {};
  if (::fstat(fd.get(), &a) != 0 || ::stat(lock_path.c_str(), &b) != 0 ||
      a.st_ino != b.st_ino || a.st_dev != b.st_dev)
    return 0;  // already deleted (and perhaps re-created by someone who now uses it)
  if (::unlink(lock_path.c_str()) != 0 && errno != ENOENT) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot delete %s: %s\n", __func__, lock_path.c_str(),
              std::strerror(errno));
    return -1;
  }
  return 0;
} BAYHAL_C_BOUNDARY(-1)
