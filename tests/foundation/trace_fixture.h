// Shared set-up for the tracer's tests: a sandbox root, a virtual clock in UTC and helpers
// to place the control file with a chosen modification time.
#pragma once
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/clock.h"
#include "tests/support/sandbox_root.h"

namespace bayhal::test {

inline constexpr char kControl[] = "/var/log/hal_lib.log.conf";
inline constexpr char kLog[] = "/var/log/hal_lib.log";
inline constexpr char kBak[] = "/var/log/hal_lib.log.bak";
inline constexpr char kLock[] = "/var/lock/hal_lib.log.lck";
// 2023-11-14 22:13:20 UTC
inline constexpr std::time_t kStart = 1700000000;

class TraceTest : public SandboxTest {
 protected:
  TraceTest() {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
  }

  // Writes the control file and gives it the modification time `mtime` (whole seconds).
  void control(const std::string& content, std::time_t mtime) {
    root.write(kControl, content);
    set_mtime(kControl, mtime);
  }
  void set_mtime(const char* appliance_path, std::time_t mtime) {
    struct timespec times[2] = {{mtime, 0}, {mtime, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, root.path(appliance_path).c_str(), times, 0), 0);
  }

  std::vector<std::string> lines(const char* appliance_path = kLog) const {
    std::vector<std::string> out;
    std::istringstream in(root.read(appliance_path));
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
  }
  // The message part of each line (what follows the "] " that closes the prefix).
  std::vector<std::string> messages(const char* appliance_path = kLog) const {
    std::vector<std::string> out;
    for (const std::string& l : lines(appliance_path)) {
      size_t at = l.find("] ");
      out.push_back(at == std::string::npos ? "<no prefix>" : l.substr(at + 2));
    }
    return out;
  }

  VirtualClock clk{kStart};
  ScopedClock scoped{clk};
};

}  // namespace bayhal::test
