// Site hook scripts, run in the background so the hot-plug handler is not held by them.
#include <sys/stat.h>

#include <string>

#include "bayhal/ERR_TRACE.h"
#include "disk/pd_hook.h"
#include "foundation/command_runner.h"
#include "foundation/sysroot.h"

namespace bayhal {

bool pd_run_hook(const char* script, int enc_id, int port_id, const char* name) {
  struct stat st {};
  if (::stat(SysPath(script).c_str(), &st) != 0 || !(st.st_mode & S_IXUSR)) return false;
  std::string ids = " " + std::to_string(enc_id) + " " + std::to_string(port_id) + " ";
  // The device name came from the kernel; it is quoted so it stays one word.
  std::string line = std::string(script) + ids + shell_quote(name) + " &";
  ERR_TRACE(HAL_TRACE_ENTRY, "%s %d %d %s &\n", script, enc_id, port_id, name);
  runner().shell(line);
  return true;
}

}  // namespace bayhal
