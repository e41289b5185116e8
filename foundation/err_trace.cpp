// ERR_TRACE: many processes append to one log, serialised by a record lock on a separate
// lock file so that rotation (a rename of the log) never races with a writer. The call
// must not allocate: it runs in signal-adjacent and out-of-memory paths of its callers.
#include "foundation/err_trace.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "bayhal/ERR_TRACE.h"
#include "foundation/clock.h"
#include "foundation/export.h"
#include "foundation/sysroot.h"
#include "foundation/trusted_path.h"

namespace bayhal {
namespace {

constexpr unsigned kDefaultMask = 0xFFCB;
constexpr char kControlFile[] = "/var/log/hal_lib.log.conf";
constexpr char kLockFile[] = "/var/lock/hal_lib.log.lck";
constexpr off_t kRotateAbove = 0x80000;
constexpr size_t kRecordSize = 1024;
constexpr size_t kControlLine = 256;

struct TraceState {
  unsigned mask = kDefaultMask;
  char path[128] = "/var/log/hal_lib.log";
  bool rotation = true;
  struct timespec stamp {};
};
TraceState g_state;

// The logger's own failures go to the kernel log; when that is not there either, they
// are dropped (there is nowhere left to say it).
void report_to_kmsg(const char* what, int line, int err) {
  char msg[256];
  int n = std::snprintf(msg, sizeof msg, "SysCallERR: [%s@%s:%d,errno=%d] %s\n\n", "ERR_TRACE",
                        "err_trace", line, err, what);
  if (n <= 0) return;
  SysPath kmsg("/dev/kmsg");
  int fd = ::open(kmsg.c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return;
  size_t len = static_cast<size_t>(n) < sizeof msg ? static_cast<size_t>(n) : sizeof msg - 1;
  (void)!::write(fd, msg, len);
  ::close(fd);
}

bool same_time(const struct timespec& a, const struct timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

void parse_control_line(char* line) {
  char* save = nullptr;
  char* mask = strtok_r(line, "\n:", &save);
  if (mask == nullptr) return;
  g_state.mask = static_cast<unsigned>(std::strtoul(mask, nullptr, 0));
  if (char* path = strtok_r(nullptr, "\n:", &save)) {
    std::snprintf(g_state.path, sizeof g_state.path, "%s", path);
    // A log an engineer redirected is never moved away behind their back.
    g_state.rotation = false;
  }
}

// Re-reads the control file when its modification time moved. The stamp is stored even
// when the file cannot be opened, so an unreadable file is not retried until it changes.
void reload_control_file() {
  SysPath control(kControlFile);
  struct stat st {};
  if (::stat(control.c_str(), &st) != 0 || same_time(st.st_mtim, g_state.stamp)) return;
  int fd = ::open(control.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd >= 0) {
    char line[kControlLine];
    ssize_t n = ::read(fd, line, sizeof line - 1);
    ::close(fd);
    line[n > 0 ? n : 0] = '\0';
    line[std::strcspn(line, "\n")] = '\0';  // only the first line counts
    parse_control_line(line);
  }
  g_state.stamp = st.st_mtim;
}

// A line break inside a record (from an argument, or a process name) would start a forged
// record: each becomes the two characters "\n" or "\r". Escapes [from, end) of `text` in
// place; returns the new end, at most `cap`.
template <size_t N>
size_t escape_line_breaks(char (&text)[N], size_t from, size_t end, size_t cap) {
  size_t first = from;
  while (first < end && text[first] != '\n' && text[first] != '\r') ++first;
  if (first == end) return end;
  char rest[N];
  std::memcpy(rest, text + first, end - first);
  size_t out = first;
  for (size_t i = 0; i < end - first; ++i) {
    char c = rest[i];
    bool brk = c == '\n' || c == '\r';
    if (out + (brk ? 2 : 1) > cap) break;
    if (brk) {
      text[out++] = '\\';
      c = c == '\n' ? 'n' : 'r';
    }
    text[out++] = c;
  }
  return out;
}

// True in the process's main thread. Once the main thread is known its pthread handle is
// compared, which spares a system call on every line; a forked child (another process id)
// or another thread asks the kernel.
bool in_main_thread(pid_t pid) {
  static std::atomic<pid_t> known_pid{0};
  static std::atomic<pthread_t> known_thread{};
  pthread_t self = ::pthread_self();
  if (known_pid.load(std::memory_order_acquire) == pid &&
      ::pthread_equal(known_thread.load(std::memory_order_relaxed), self))
    return true;
  if (::gettid() != pid) return false;
  known_thread.store(self, std::memory_order_relaxed);
  known_pid.store(pid, std::memory_order_release);
  return true;
}

// The process name as it is now: a process may rename itself (prctl) at any time. The
// main thread asks the kernel directly; another thread reads the main thread's name.
void process_name(pid_t pid, char (&name)[256]) {
  ssize_t n = 0;
  if (in_main_thread(pid)) {
    char comm[16] = "";
    if (::prctl(PR_GET_NAME, comm) == 0) {
      n = static_cast<ssize_t>(::strnlen(comm, sizeof comm));
      std::memcpy(name, comm, static_cast<size_t>(n));
    }
  } else {
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/comm", static_cast<int>(pid));
    int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
      n = ::read(fd, name, sizeof name - 1);
      ::close(fd);
    }
    // The last byte read is the kernel's newline; an empty read leaves an empty name.
    n = n > 0 ? n - 1 : 0;
  }
  name[escape_line_breaks(name, 0, static_cast<size_t>(n), sizeof name - 1)] = '\0';
}

// Writes `v` in decimal, right-aligned in `width` with `pad` (wider numbers are not cut).
char* put_number(char* p, unsigned long v, int width, char pad) {
  char digits[24];
  int n = 0;
  do {
    digits[n++] = static_cast<char>('0' + v % 10);
    v /= 10;
  } while (v != 0);
  for (int i = n; i < width; ++i) *p++ = pad;
  while (n > 0) *p++ = digits[--n];
  return p;
}

// "%04d-%02d-%02d %02d:%02d:%02d [%5d %-15s] " by hand: snprintf of the prefix was a fifth
// of the cost of a written line. Returns its length.
size_t format_prefix(char (&line)[kRecordSize], std::time_t now, pid_t pid) {
  struct tm tm {};
  localtime_r(&now, &tm);
  char name[256];
  process_name(pid, name);
  size_t name_len = std::strlen(name);
  if (tm.tm_year < -1900 || tm.tm_year > 9999 - 1900 || name_len > 255) {
    int p = std::snprintf(line, kRecordSize, "%04d-%02d-%02d %02d:%02d:%02d [%5d %-15s] ",
                          tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min,
                          tm.tm_sec, static_cast<int>(pid), name);
    return p > 0 ? std::min(static_cast<size_t>(p), kRecordSize - 1) : 0;
  }
  char* p = line;  // at most 19 + 2 + 10 + 1 + 255 + 2 characters: well inside the record
  p = put_number(p, static_cast<unsigned long>(tm.tm_year + 1900), 4, '0');
  *p++ = '-';
  p = put_number(p, static_cast<unsigned long>(tm.tm_mon + 1), 2, '0');
  *p++ = '-';
  p = put_number(p, static_cast<unsigned long>(tm.tm_mday), 2, '0');
  *p++ = ' ';
  p = put_number(p, static_cast<unsigned long>(tm.tm_hour), 2, '0');
  *p++ = ':';
  p = put_number(p, static_cast<unsigned long>(tm.tm_min), 2, '0');
  *p++ = ':';
  p = put_number(p, static_cast<unsigned long>(tm.tm_sec), 2, '0');
  *p++ = ' ';
  *p++ = '[';
  p = put_number(p, static_cast<unsigned long>(pid), 5, ' ');
  *p++ = ' ';
  std::memcpy(p, name, name_len);
  p += name_len;
  for (size_t i = name_len; i < 15; ++i) *p++ = ' ';
  *p++ = ']';
  *p++ = ' ';
  *p = '\0';
  return static_cast<size_t>(p - line);
}

// Builds prefix + message into `line`; returns the length including the single newline.
// A record is at most 1022 characters plus its newline, and a message's own trailing
// newline is folded into the one the record ends with.
size_t format_record(char (&line)[kRecordSize], std::time_t now, pid_t pid, const char* format,
                     va_list args) {
  size_t used = format_prefix(line, now, pid);
  int m = std::vsnprintf(line + used, kRecordSize - used, format, args);
  size_t counted = used + (m > 0 ? static_cast<size_t>(m) : 0);
  size_t text = counted < kRecordSize - 1 ? counted : kRecordSize - 1;
  if (text > 0 && line[text - 1] == '\n')
    --text;
  else if (counted >= kRecordSize - 1)
    text = kRecordSize - 2;  // no room left for the newline and terminator
  text = escape_line_breaks(line, used, text, kRecordSize - 2);
  line[text] = '\n';
  line[text + 1] = '\0';
  return text + 1;
}

bool set_lock(int fd, short type, int cmd) {
  struct flock fl {};
  fl.l_type = type;
  fl.l_whence = SEEK_SET;
  for (;;) {
    if (::fcntl(fd, cmd, &fl) == 0) return true;
    if (errno != EINTR) return false;
  }
}

// The log is never reached through another user's link or file (trusted_path.h), and it
// is not made writable for everyone. `st` is its status, for the size check.
int open_log(const char* log, struct stat& st) {
  return open_trusted(log, O_WRONLY | O_APPEND | O_CREAT, 0644, nullptr, &st).release();
}

// Opens the log for appending, first moving it to ".bak" when it has grown past the
// limit. Runs under the lock, so the size seen is the size of the file at the path.
// The size comes from the open descriptor: one path walk fewer on every written line.
int open_rotated_log(const char* log, bool may_rotate) {
  struct stat st {};
  int fd = open_log(log, st);
  if (fd < 0 || !g_state.rotation || !may_rotate || st.st_size <= kRotateAbove) return fd;
  char bak[sizeof(SysPath) + 8];
  std::snprintf(bak, sizeof bak, "%s.bak", log);
  if (::rename(log, bak) != 0) {
    report_to_kmsg("backup log file failed", __LINE__, errno);
    return fd;  // keep appending to the old file rather than lose the line
  }
  ::close(fd);
  return open_log(log, st);
}

void append_record(const char* line, size_t len, bool may_rotate) {
  SysPath log(g_state.path);
  int fd = open_rotated_log(log.c_str(), may_rotate);
  if (fd < 0) {
    report_to_kmsg("open log file failed", __LINE__, errno);
    return;
  }
  (void)!::write(fd, line, len);
  ::close(fd);
}

int trace_v(unsigned level, const char* format, va_list args) {
  reload_control_file();
  if ((level & g_state.mask) == 0) return 0;

  // The line is built before the lock is taken: the lock then covers only the size
  // check, the rotation and the append, and the stamp is the time of the call.
  char line[kRecordSize];
  size_t len =
      format_record(line, clock().now(), ::getpid(), format != nullptr ? format : "", args);

  // The lock file is made 0700 by whoever comes first; one another user made is replaced,
  // so nobody can hold root's traces up. A caller that may not use the lock (root's, for a
  // user process) still writes its line, unlocked: appends are whole lines, and only the
  // rotation needs the lock, which such a caller then leaves alone.
  SysPath lock_path(kLockFile);
  int lock = open_trusted(lock_path.c_str(), O_RDWR | O_CREAT, 0700).release();
  if (lock < 0) {
    if (errno != EACCES && errno != EPERM) {
      report_to_kmsg("open file lock failed", __LINE__, errno);
      return -1;
    }
    append_record(line, len, false);
    return 0;
  }
  if (!set_lock(lock, F_WRLCK, F_SETLKW)) report_to_kmsg("fcntl failed", __LINE__, errno);
  append_record(line, len, true);
  if (!set_lock(lock, F_UNLCK, F_SETLK)) report_to_kmsg("fcntl failed", __LINE__, errno);
  ::close(lock);
  return 0;
}

}  // namespace

void trace_reset_state() { g_state = TraceState{}; }
unsigned trace_mask() { return g_state.mask; }
const char* trace_log_path() { return g_state.path; }
bool trace_rotation_enabled() { return g_state.rotation; }

}  // namespace bayhal

BAYHAL_EXPORT int ERR_TRACE(unsigned int level, const char* format, ...) {
  // Callers trace between a failing call and their own use of errno.
  int saved_errno = errno;
  va_list args;
  va_start(args, format);
  int rc = -1;
  // The tracer cannot trace its own failure: an exception only makes the call fail.
  try {
    rc = bayhal::trace_v(level, format, args);
  } catch (...) {
  }
  va_end(args);
  errno = saved_errno;
  return rc;
}
