#include "foundation/trusted_path.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "bayhal/ERR_TRACE.h"

namespace bayhal {
namespace {

constexpr int kMaxLinks = 40;

bool ours(uid_t uid) { return uid == 0 || uid == ::geteuid(); }

void refuse(Refusal* why, const char* name, uid_t owner) {
  if (why == nullptr) return;
  std::snprintf(why->name, sizeof why->name, "%s", name);
  why->owner = owner;
}

// One path component of at most NAME_MAX bytes into `name`; false when too long.
bool take_name(const char* comp, size_t len, char (&name)[NAME_MAX + 1]) {
  if (len > NAME_MAX) return false;
  std::memcpy(name, comp, len);
  name[len] = '\0';
  return true;
}

bool is_dot_name(const char* n) { return std::strcmp(n, ".") == 0 || std::strcmp(n, "..") == 0; }

int open_root() { return ::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC); }

// Puts the target of the link `link` in front of what is left of `pending` (from `rest`).
bool splice_link(int link, char (&pending)[PATH_MAX], size_t rest) {
  char target[PATH_MAX];
  ssize_t n = ::readlinkat(link, "", target, sizeof target);
  if (n <= 0 || static_cast<size_t>(n) >= sizeof target) {
    if (n >= 0) errno = ENAMETOOLONG;
    return false;
  }
  size_t len = static_cast<size_t>(n);
  size_t tail = std::strlen(pending + rest);
  if (len + 1 + tail >= sizeof target) {
    errno = ENAMETOOLONG;
    return false;
  }
  if (tail > 0) {
    target[len++] = '/';
    std::memcpy(target + len, pending + rest, tail);
    len += tail;
  }
  target[len] = '\0';
  std::memcpy(pending, target, len + 1);
  return true;
}

// The component-by-component resolution, for paths that hold a symbolic link.
int walk(const char* path, bool follow_last, Place& out, Refusal* why) {
  char pending[PATH_MAX];
  size_t plen = std::strlen(path);
  if (plen >= sizeof pending) {
    errno = ENAMETOOLONG;
    return -1;
  }
  std::memcpy(pending, path, plen + 1);
  UniqueFd cur(open_root());
  if (!cur) return -1;
  size_t pos = 0;
  int links = 0;
  for (;;) {
    while (pending[pos] == '/') ++pos;
    size_t len = std::strcspn(pending + pos, "/");
    char name[NAME_MAX + 1];
    if (len == 0) {
      errno = EISDIR;
      return -1;
    }
    if (!take_name(pending + pos, len, name)) {
      errno = ENAMETOOLONG;
      return -1;
    }
    size_t next = pos + len;
    while (pending[next] == '/') ++next;
    bool last = pending[next] == '\0';
    if (last && is_dot_name(name)) {
      errno = EISDIR;
      return -1;
    }
    UniqueFd fd;
    if (!last || follow_last) fd.reset(::openat(cur.get(), name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (last && (!follow_last || (!fd && errno == ENOENT))) {
      out.dir = std::move(cur);
      std::memcpy(out.name, name, len + 1);
      return 0;
    }
    struct stat st {};
    if (!fd || ::fstat(fd.get(), &st) != 0) return -1;
    if (S_ISLNK(st.st_mode)) {
      struct stat dir {};
      if (::fstat(cur.get(), &dir) != 0) return -1;
      if (!trusted_link(dir, st) || ++links > kMaxLinks) {
        refuse(why, name, st.st_uid);
        errno = ELOOP;
        return -1;
      }
      if (!splice_link(fd.get(), pending, next)) return -1;
      pos = 0;
      if (pending[0] == '/') cur.reset(open_root());
      if (!cur) return -1;
      continue;
    }
    if (last) {
      out.dir = std::move(cur);
      std::memcpy(out.name, name, len + 1);
      return 0;
    }
    if (!S_ISDIR(st.st_mode)) {
      errno = ENOTDIR;
      return -1;
    }
    cur = std::move(fd);
    pos = next;
  }
}

// openat2 refusing every symbolic link: the common case, one system call.
int open_without_links(int dir, const char* path, int flags, mode_t mode) {
  struct open_how how {};
  how.flags = static_cast<unsigned long long>(flags);
  how.mode = (flags & O_CREAT) != 0 ? mode : 0;
  how.resolve = RESOLVE_NO_SYMLINKS;
  return static_cast<int>(::syscall(SYS_openat2, dir, path, &how, sizeof how));
}

// A name beside `name` nobody can guess: "<name>.tmp.<random>".
bool random_temp_name(const char* name, char (&tmp)[NAME_MAX + 1]) {
  unsigned long long r = 0;
  if (::getrandom(&r, sizeof r, GRND_NONBLOCK) != sizeof r)
    r ^= static_cast<unsigned long long>(::getpid()) * 0x9E3779B97F4A7C15ull ^
         reinterpret_cast<uintptr_t>(&r);
  int n = std::snprintf(tmp, sizeof tmp, "%s.tmp.%016llx", name, r);
  return n > 0 && static_cast<size_t>(n) < sizeof tmp;
}

// Creates the temporary for `p` with O_EXCL: "<name>.tmp", or a random name when a file
// already there may not be deleted.
UniqueFd create_temp(const Place& p, mode_t mode, char (&tmp)[NAME_MAX + 1]) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  int n = std::snprintf(tmp, sizeof tmp, "%s.tmp", p.name);
  if (n <= 0 || static_cast<size_t>(n) >= sizeof tmp) {
    errno = ENAMETOOLONG;
    return {};
  }
  for (int attempt = 0; attempt < 8; ++attempt) {
    UniqueFd fd(::openat(p.dir.get(), tmp, kFlags, mode));
    if (fd || errno != EEXIST) return fd;
    // A killed writer's leftover or a planted name: only the lock holder writes here, so
    // it goes; if we may not delete it, a name nobody can guess is used instead.
    if (attempt == 0 && ::unlinkat(p.dir.get(), tmp, 0) == 0) continue;
    if (!random_temp_name(p.name, tmp)) {
      errno = ENAMETOOLONG;
      return {};
    }
  }
  errno = EEXIST;
  return {};
}

bool write_all(int fd, std::string_view data) {
  while (!data.empty()) {
    ssize_t n = ::write(fd, data.data(), data.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

}  // namespace

bool trusted_link(const struct stat& dir, const struct stat& link) {
  return ours(link.st_uid) && ours(dir.st_uid) && (dir.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool trusted_file(const struct stat& st) {
  return S_ISREG(st.st_mode) && st.st_nlink == 1 && ours(st.st_uid);
}

int resolve_place(const char* path, bool follow_last, Place& out, Refusal* why) {
  if (path == nullptr || path[0] != '/') {
    errno = EINVAL;
    return -1;
  }
  const char* slash = std::strrchr(path, '/');
  const char* last = slash + 1;
  if (*last == '\0' || is_dot_name(last)) {
    errno = EISDIR;
    return -1;
  }
  char dir[PATH_MAX];
  size_t dlen = slash == path ? 1 : static_cast<size_t>(slash - path);
  if (dlen >= sizeof dir || !take_name(last, std::strlen(last), out.name)) {
    errno = ENAMETOOLONG;
    return -1;
  }
  std::memcpy(dir, path, dlen);
  dir[dlen] = '\0';
  out.dir.reset(open_without_links(AT_FDCWD, dir, O_PATH | O_DIRECTORY | O_CLOEXEC, 0));
  if (!out.dir) {
    if (errno != ELOOP && errno != ENOSYS) return -1;
    return walk(path, follow_last, out, why);
  }
  struct stat st {};
  if (!follow_last || ::fstatat(out.dir.get(), out.name, &st, AT_SYMLINK_NOFOLLOW) != 0 ||
      !S_ISLNK(st.st_mode))
    return 0;
  return walk(path, true, out, why);
}

UniqueFd open_trusted_at(int dir, const char* name, int flags, mode_t mode, Refusal* why,
                         struct stat* st_out) {
  int base = flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  for (int attempt = 0; attempt < 8; ++attempt) {
    UniqueFd fd(::openat(dir, name, base, mode));
    struct stat st {};
    if (fd) {
      if (::fstat(fd.get(), &st) != 0) return {};
      if (trusted_file(st)) {
        if (st_out != nullptr) *st_out = st;
        return fd;
      }
      fd.reset();
      // Ours but deleted since we opened it (a lock file its holder removed): take the
      // one at the name now.
      if (S_ISREG(st.st_mode) && st.st_nlink == 0 && ours(st.st_uid)) continue;
    } else if (errno == ELOOP || errno == EACCES || (errno == EEXIST && (base & O_EXCL) != 0)) {
      // A link (the kernel may answer EACCES for another user's link in a sticky
      // directory), or a file we may not open: only an untrusted one is replaced.
      int err = errno;
      if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0 || trusted_file(st)) {
        if (err == EEXIST) {  // someone else made a good one meanwhile: use it
          base &= ~O_EXCL;
          continue;
        }
        errno = err;
        return {};
      }
    } else {
      return {};
    }
    refuse(why, name, st.st_uid);
    if ((flags & O_CREAT) == 0) break;
    // Delete only what was judged: if the name changed meanwhile, judge again.
    struct stat now {};
    if (::fstatat(dir, name, &now, AT_SYMLINK_NOFOLLOW) == 0 &&
        (now.st_dev != st.st_dev || now.st_ino != st.st_ino))
      continue;
    if (::unlinkat(dir, name, 0) != 0 && errno != ENOENT) break;
    base |= O_EXCL;
  }
  errno = EPERM;
  return {};
}

UniqueFd open_trusted(const char* path, int flags, mode_t mode, Refusal* why,
                      struct stat* st_out) {
  constexpr int kAdded = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  UniqueFd fd(open_without_links(AT_FDCWD, path, flags | kAdded, mode));
  if (fd) {
    struct stat st {};
    if (::fstat(fd.get(), &st) == 0 && trusted_file(st)) {
      if (st_out != nullptr) *st_out = st;
      return fd;
    }
    fd.reset();
  } else if (errno != ELOOP && errno != ENOSYS && errno != EACCES) {
    return {};
  }
  // A link on the way, or something that is not ours at the end: the careful way. The file
  // itself is never reached through a link: one there is replaced like any untrusted file.
  Place p;
  if (resolve_place(path, false, p, why) != 0) return {};
  return open_trusted_at(p.dir.get(), p.name, flags, mode, why, st_out);
}

int replace_at(const char* who, const char* shown, const Place& p, std::string_view data,
               mode_t mode, bool durable) {
  char tmp[NAME_MAX + 1];
  UniqueFd fd = create_temp(p, mode, tmp);
  if (!fd) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot create a temporary for %s: %s\n", who, shown,
              std::strerror(errno));
    return -1;
  }
  const char* step = "write";
  bool ok = write_all(fd.get(), data) && (!durable || ::fsync(fd.get()) == 0);
  if (ok) {
    // O_CREAT's mode is trimmed by the umask; a chmod is a journalled metadata change, so it
    // is made only when the mode really differs.
    struct stat st {};
    if (::fstat(fd.get(), &st) != 0 || (st.st_mode & 07777) != mode) ::fchmod(fd.get(), mode);
    step = "replace";
    ok = ::close(fd.release()) == 0 && ::renameat(p.dir.get(), tmp, p.dir.get(), p.name) == 0;
  }
  if (!ok) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: cannot %s %s: %s\n", who, step, shown, std::strerror(errno));
    fd.reset();
    ::unlinkat(p.dir.get(), tmp, 0);
    return -1;
  }
  if (durable) {
    UniqueFd d(::openat(p.dir.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (d) ::fsync(d.get());
  }
  return 0;
}

int make_parent_dirs(const char* path, mode_t mode) {
  char dir[PATH_MAX];
  size_t len = std::strlen(path);
  if (len >= sizeof dir || path[0] != '/') {
    errno = len >= sizeof dir ? ENAMETOOLONG : EINVAL;
    return -1;
  }
  std::memcpy(dir, path, len + 1);
  for (char* slash = std::strchr(dir + 1, '/'); slash != nullptr; slash = std::strchr(slash + 1, '/')) {
    *slash = '\0';
    int rc = ::mkdir(dir, mode);
    *slash = '/';
    if (rc != 0 && errno != EEXIST) return -1;
  }
  return 0;
}

}  // namespace bayhal
