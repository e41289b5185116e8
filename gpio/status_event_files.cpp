#include "gpio/status_event_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "bayhal/ERR_TRACE.h"
#include "foundation/sysroot.h"
#include "foundation/trusted_path.h"
#include "foundation/unique_fd.h"

namespace bayhal::gpio {
namespace {

constexpr char kLedValue[] = "/var/ledvalue";
constexpr char kFormattingCount[] = "/var/ledvalue_formatting_count";
constexpr size_t kMaxRead = 64;

UniqueFd open_state_file(const char* path) {
  return open_trusted(sys_path(path).c_str(), O_RDWR | O_CREAT, 0700);
}

// The number at the start of the file (base detection as strtoul does); 0 when empty.
long long read_number(int fd, int base) {
  char buf[kMaxRead + 1];
  ssize_t n = ::pread(fd, buf, kMaxRead, 0);
  if (n <= 0) return 0;
  buf[n] = '\0';
  return std::strtoll(buf, nullptr, base);
}

// The bitmap is always ten characters and written by one pwrite at the start of the locked
// file (a file holding something longer is cut after it).
bool write_bitmap(int fd, unsigned bitmap) {
  char buf[16];
  int len = std::snprintf(buf, sizeof buf, "0x%08x", bitmap);
  return ::pwrite(fd, buf, len, 0) == len && ::ftruncate(fd, len) == 0;
}

// The counter is written to a new file renamed over the old one: the old value stays whole
// until the new one is complete.
bool write_counter(const char* who, int count) {
  Place place;
  char buf[16];
  int len = std::snprintf(buf, sizeof buf, "%d", count);
  if (resolve_place(sys_path(kFormattingCount).c_str(), false, place) != 0 ||
      replace_at(who, kFormattingCount, place, {buf, static_cast<size_t>(len)}, 0700, false) != 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s: fail to create /var/ledvalue_formatting_count!\n", who);
    return false;
  }
  return true;
}

}  // namespace

std::optional<EventUpdate> update_event_state(const char* who,
                                              const std::function<EventState(EventState)>& change) {
  UniqueFd value = open_state_file(kLedValue);
  UniqueFd counter = open_state_file(kFormattingCount);
  if (!value || !counter) return std::nullopt;
  while (::flock(value.get(), LOCK_EX) != 0)
    if (errno != EINTR) return std::nullopt;
  // Every writer renames a new counter over the old one: the file to read is the one the name
  // holds now, not the one it held before the lock was ours.
  counter = open_state_file(kFormattingCount);
  if (!counter) return std::nullopt;
  EventUpdate u;
  u.before.bitmap = static_cast<unsigned>(read_number(value.get(), 0));
  u.before.formatting = static_cast<int>(read_number(counter.get(), 10));
  counter.reset();
  u.after = change(u.before);
  write_counter(who, u.after.formatting);
  write_bitmap(value.get(), u.after.bitmap);
  ::flock(value.get(), LOCK_UN);
  return u;
}

}  // namespace bayhal::gpio
