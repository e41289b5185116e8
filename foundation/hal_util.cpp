// Small helpers shared by every family.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/hal_common.h"
#include "foundation/clock.h"
#include "foundation/sysfs.h"
#include "foundation/sysroot.h"
#include "foundation/trusted_path.h"

#include "foundation/c_boundary.h"
#include "foundation/export.h"

BAYHAL_EXPORT char* num_to_ascii(const unsigned char* bytes, int count, char* out, int out_size) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%p, %d, %p, %d).\n", __func__,
            static_cast<const void*>(bytes), count, static_cast<void*>(out), out_size);
  if (out == nullptr || out_size <= 0) return out;
  std::memset(out, 0, static_cast<size_t>(out_size));
  if (bytes == nullptr) return out;
  // Callers size the output as 2 * count + 1; the cap only keeps a wrong caller in bounds.
  for (int i = 0; i < count && 2 * i + 2 < out_size; ++i)
    std::snprintf(out + 2 * i, 3, "%02X", bytes[i]);
  return out;
} BAYHAL_C_BOUNDARY(out)

BAYHAL_EXPORT int fork_orphaned(void) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", __func__);
  pid_t child = ::fork();
  if (child < 0) return -1;
  if (child == 0) {
    pid_t grandchild = ::fork();
    if (grandchild < 0) ::_exit(127);
    if (grandchild > 0) ::_exit(0);
    return static_cast<int>(::getpid());
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  if (!WIFEXITED(status)) return -1;
  return WEXITSTATUS(status) == 127 ? -ENOENT : 0;
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT long hal_get_system_uptime(void) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", __func__);
  return bayhal::clock().uptime();
} BAYHAL_C_BOUNDARY(0L)

// The uptime files live in "/tmp" and "/var": written by replacement, never through
// another user's link or file.
BAYHAL_EXPORT int hal_set_last_uptime(const char* path) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%s).\n", __func__, path ? path : "(null)");
  if (path == nullptr || path[0] != '/') return -1;
  bayhal::SysPath file(path);
  bayhal::Place place;
  bayhal::Refusal why;
  if (!file.ok() || bayhal::resolve_place(file.c_str(), true, place, &why) != 0) {
    if (errno == ELOOP)
      ERR_TRACE(HAL_TRACE_ERROR, "%s: %s leads through the symbolic link %s of uid %u; not written\n",
                __func__, path, why.name, static_cast<unsigned>(why.owner));
    return -1;
  }
  char text[32];
  int n = std::snprintf(text, sizeof text, "%ld\n", bayhal::clock().uptime());
  return bayhal::replace_at(__func__, path, place, {text, static_cast<size_t>(n)}, 0644, false);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT long hal_get_last_uptime(const char* path) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%s).\n", __func__, path ? path : "(null)");
  if (path == nullptr) return 0;
  auto text = bayhal::read_head(path, 64);
  if (!text) return 0;
  char* end = nullptr;
  long value = std::strtol(text->c_str(), &end, 10);
  if (end == text->c_str()) {
    ERR_TRACE(HAL_TRACE_ERROR, "fscanf failed\n");
    return 0;
  }
  return value;
} BAYHAL_C_BOUNDARY(0L)
