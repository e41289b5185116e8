#include "disk/smart_cache.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/PD.h"
#include "foundation/sysroot.h"
#include "foundation/trusted_path.h"
#include "foundation/unique_fd.h"

namespace bayhal::disk {
namespace {

constexpr char kDir[] = "/tmp/smart";
constexpr char kLock[] = "/var/lock/smart_tmp.lck";
constexpr size_t kMaxCache = 64 * 1024;  // 255 attribute lines of the longest kind fit

std::string cache_path(int enc_id, int port_id) {
  char name[64];
  std::snprintf(name, sizeof name, "%s/smart_%d_%d.info", kDir, enc_id, port_id);
  return sys_path(name);
}

// A whole-file record lock on the shared lock file, released when the object goes. Locks
// of one open (OFD) are used: another thread's close of the same file cannot drop them.
class CacheLock {
 public:
  CacheLock(const char* who, bool write) {
    std::string path = sys_path(kLock);
    fd_ = open_trusted(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0700);
    struct flock fl {};
    fl.l_type = write ? F_WRLCK : F_RDLCK;
    fl.l_whence = SEEK_SET;
    int rc = -1;
    if (fd_) do rc = ::fcntl(fd_.get(), F_OFD_SETLKW, &fl); while (rc != 0 && errno == EINTR);
    if (rc != 0) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot lock %s: %s\n", who, path.c_str(), std::strerror(errno));
      fd_.reset();
    }
  }
  bool ok() const { return fd_.valid(); }

 private:
  UniqueFd fd_;
};

// The file's text, in this thread's buffer: 1 read, 0 missing, -1 error (too large
// included). A regular file gives all it has in one read. The read is the plain open (no
// link as the file itself): what someone planted can at most be a wrong reading, which the
// parser bounds, while every write and the lock go through the trusted resolution.
int load(const std::string& path, std::string_view& text) {
  thread_local std::unique_ptr<char[]> buf(new char[kMaxCache + 1]);
  UniqueFd fd(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!fd) return errno == ENOENT ? 0 : -1;
  ssize_t n;
  do n = ::read(fd.get(), buf.get(), kMaxCache + 1); while (n < 0 && errno == EINTR);
  if (n < 0 || static_cast<size_t>(n) > kMaxCache) return -1;
  text = std::string_view(buf.get(), static_cast<size_t>(n));
  return 1;
}

// Reads and parses; `locked` when the caller holds the lock (a failure is then final).
int read_parsed(const char* who, const std::string& path, SmartInfoPtr& out, bool locked) {
  std::string_view text;
  int rc = load(path, text);
  if (rc == 0) return -2;
  if (rc > 0 && (out = smart_cache_parse(text))) return 0;
  if (locked) ERR_TRACE(HAL_TRACE_ERROR, "%s: fgets %s NULL!\n", who, path.c_str());
  return -1;
}

// "/tmp" is everyone's: the cache is never written through another user's link or file.
int write_locked(const char* who, const std::string& path, const PD_SMART_INFO& info) {
  Place place;
  if (resolve_place(path.c_str(), false, place) != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot write %s: %s\n", who, path.c_str(), std::strerror(errno));
    return -1;
  }
  return replace_at(who, path.c_str(), place, smart_cache_format(info), 0644, false);
}

bool make_dir(const char* who) {
  std::string dir = sys_path(kDir);
  if (::mkdir(dir.c_str(), 0700) == 0 || errno == EEXIST) return true;
  ERR_TRACE(HAL_TRACE_ERROR, "%s: can't create directory %s!\n", who, dir.c_str());
  return false;
}

// Names that would break the line format (a comma or a line break) are refused.
bool writable(const char* who, const PD_SMART_INFO& info) {
  if (info.count < 0 || info.count > PD_SMART_MAX_ATTRS) return false;
  for (int k = 0; k < info.count; ++k) {
    const char* name = info.attrs[k].name;
    size_t len = strnlen(name, sizeof info.attrs[k].name);
    if (len == sizeof info.attrs[k].name || std::strpbrk(name, ",\n\r") != nullptr) {
      ERR_TRACE(HAL_TRACE_ERROR, "%s: attribute %u has a name the cache cannot hold\n", who,
                info.attrs[k].id);
      return false;
    }
  }
  return true;
}

}  // namespace

int smart_cache_read(const char* who, int enc_id, int port_id, SmartInfoPtr& out) {
  std::string path = cache_path(enc_id, port_id);
  int rc = read_parsed(who, path, out, false);
  if (rc != -1) return rc;
  // Caught a writer in the middle: wait for it.
  CacheLock lock(who, false);
  if (!lock.ok()) return -1;
  return read_parsed(who, path, out, true);
}

int smart_cache_write(const char* who, int enc_id, int port_id, const PD_SMART_INFO& info) {
  ERR_TRACE(HAL_TRACE_INFO, "%-30s(%05d): port_id = %d\n", who, __LINE__, port_id);
  if (!writable(who, info) || !make_dir(who)) return -1;
  CacheLock lock(who, true);
  if (!lock.ok()) return -1;
  return write_locked(who, cache_path(enc_id, port_id), info);
}

int smart_cache_update(const char* who, int enc_id, int port_id,
                       const std::function<void(PD_SMART_INFO&)>& change) {
  CacheLock lock(who, true);
  if (!lock.ok()) return -1;
  std::string path = cache_path(enc_id, port_id);
  SmartInfoPtr info;
  int rc = read_parsed(who, path, info, true);
  if (rc != 0) return rc;
  change(*info);
  return write_locked(who, path, *info);
}

}  // namespace bayhal::disk
