// The system root: every absolute path the library touches is resolved under HAL_ROOT
// (unset or empty = "/"), so a test or the demo runs the whole library inside a directory.
// A relative HAL_ROOT is made absolute against the working directory at its first use and
// stays so for the life of the process.
// The one exception is live process entries, "/proc/self/..." and "/proc/<pid>/...": they
// describe this machine's processes, which a directory tree cannot stand in for.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace bayhal {

// The root without a trailing slash; empty when it is "/".
std::string_view sys_root();

// Resolved path in a fixed buffer: no heap, for hot paths such as tracing.
class SysPath {
 public:
  explicit SysPath(std::string_view path);
  const char* c_str() const { return buf_; }
  std::string_view view() const { return {buf_, len_}; }
  // False when the resolved path did not fit (it is then empty and every use fails).
  bool ok() const { return ok_; }

 private:
  char buf_[4096];
  size_t len_ = 0;
  bool ok_ = true;
};

// Resolved path as a string. Relative paths are returned unchanged.
std::string sys_path(std::string_view path);

// The path as the appliance names it, for a path already under the root (inverse of
// sys_path); unchanged when it is not under the root.
std::string strip_root(std::string_view resolved);

// True for the paths that are never re-rooted (live process entries).
bool is_unrooted_path(std::string_view path);

}  // namespace bayhal
