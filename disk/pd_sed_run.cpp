// One SED operation's way to the tool and back: checks, lock, queue depth, run, event log,
// records.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>
#include <span>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/Ini_Conf.h"
#include "bayhal/PD.h"
#include "disk/pd_sed.h"
#include "disk/sed_output.h"
#include "disk_sys/disk_backend.h"
#include "disk_sys/pd_sys.h"
#include "foundation/clock.h"
#include "foundation/sysroot.h"
#include "foundation/text.h"
#include "foundation/trusted_path.h"
#include "foundation/unique_fd.h"
#include "ini/named_lock.h"

namespace bayhal::disk {
namespace {

std::string info_section(int enc_id) { return "enc" + std::to_string(enc_id); }
std::string info_key(int port_id, const char* what) {
  return "port" + std::to_string(port_id) + "_sed_" + what;
}

void append_log_line(std::string_view line) {
  ini::NamedLock lock("sed_event_log", kSedLogLock);
  if (!lock.ok()) return;
  UniqueFd fd = open_trusted(sys_path(kSedLog).c_str(), O_WRONLY | O_APPEND | O_CREAT, 0644);
  if (!fd) return;
  if (::write(fd.get(), line.data(), line.size()) < 0) return;
}

// The disk's queue depth lowered for the length of a locking change when it sits behind a
// SAS expander or HBA, where commands still queued across the change fail. The depth it had
// is kept in the run-time facts until it is back, so a run that died half-way is repaired
// by the next one instead of becoming the new normal.
class QueueDepthGuard {
 public:
  QueueDepthGuard(int enc_id, int port_id) : enc_(enc_id), port_(port_id) {
    if (PD_Is_Attached_Behind_SAS(enc_id, port_id) != 1) return;
    if (PD_Get_Sys_Name(enc_id, port_id, sys_name_, sizeof sys_name_) <= 0) return;
    std::string section = info_section(enc_), key = info_key(port_, "ori_queue_depth");
    int depth = -1;
    if (Ini_Conf_Get_Field_Int(kSedInfoConf, section.c_str(), key.c_str(), &depth, 0) <= 0 || depth <= 0) {
      depth = disk_backend().queue_depth(sys_name_);
      if (depth <= 0) return;
      Ini_Conf_Set_Field_Int(kSedInfoConf, section.c_str(), key.c_str(), depth, 0);
    }
    original_ = depth;
    PD_Reconfig_Queue_Depth(enc_, port_, 1);
  }
  ~QueueDepthGuard() {
    if (original_ <= 0) return;
    if (PD_Reconfig_Queue_Depth(enc_, port_, original_) == 0)
      Ini_Conf_Remove_Field(kSedInfoConf, info_section(enc_).c_str(), info_key(port_, "ori_queue_depth").c_str());
  }
  QueueDepthGuard(const QueueDepthGuard&) = delete;
  QueueDepthGuard& operator=(const QueueDepthGuard&) = delete;

 private:
  int enc_, port_;
  char sys_name_[PD_NAME_LEN] = "";
  int original_ = -1;
};

}  // namespace

void sed_event_log(bool failure, const char* format, ...) {
  char message[512];
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(message, sizeof message, format, ap);
  va_end(ap);
  ERR_TRACE(failure ? HAL_TRACE_ERROR : HAL_TRACE_INFO, "%s", message);
  std::time_t now = clock().now();
  struct tm tm {};
  char stamp[32] = "";
  if (::localtime_r(&now, &tm) != nullptr) std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S ", &tm);
  std::string_view text = message;
  if (text.ends_with('\n')) text.remove_suffix(1);
  std::string line = std::string(stamp) + std::string(text) + "\n";
  append_log_line(line);
}

SedCommand& SedCommand::arg(std::string text) {
  if (plain_n_ == plain_.size()) return *this;
  plain_[plain_n_] = std::move(text);
  return push(plain_[plain_n_++].c_str(), false);
}

SedCommand& SedCommand::push(const char* p, bool secret) {
  if (n_ < kMax) {
    argv_[n_] = p;
    secret_[n_] = secret;
    ++n_;
  }
  return *this;
}

std::string SedCommand::shown() const {
  std::string line = kSedTool;
  for (size_t i = 0; i < n_; ++i) {
    line += ' ';
    line += secret_[i] ? "'***'" : argv_[i];
  }
  return line + " 2>/dev/null";
}

std::string SedCommand::masked(std::string_view text) const {
  std::string out(text);
  for (size_t i = 0; i < n_; ++i) {
    if (!secret_[i] || *argv_[i] == '\0') continue;
    std::string_view s = argv_[i];
    for (size_t at = out.find(s); at != std::string::npos; at = out.find(s, at + 3)) out.replace(at, s.size(), "***");
  }
  return out;
}

SedDisk::SedDisk(const char* func, int enc_id, int port_id) : func_(func), enc_(enc_id), port_(port_id) {
  if (PD_SED_Is_Supported(enc_id, port_id) != 1) {
    sed_event_log(true, "[%s]%d:%d is not a self-encrypting drive\n", func_, enc_, port_);
    return;
  }
  if (PD_Get_Ctrl_Name(enc_id, port_id, device_, sizeof device_) <= 0) {
    sed_event_log(true, "[%s]%d:%d get pd_ctrl_name error\n", func_, enc_, port_);
    return;
  }
  ok_ = true;
}

bool SedDisk::secret(const char* text) {
  if (!ok_) return false;
  if (text == nullptr || *text == '\0') {
    sed_event_log(true, "[%s]%s passwd = NULL\n", func_, device_);
    return ok_ = false;
  }
  if (::strnlen(text, kSedMaxSecret + 1) > kSedMaxSecret) {
    sed_event_log(true, "[%s]%s passwd longer than %zu bytes\n", func_, device_, kSedMaxSecret);
    return ok_ = false;
  }
  return true;
}

bool SedDisk::range(int range_id, int lowest) {
  if (!ok_) return false;
  if (range_id >= lowest && range_id <= kSedMaxRange) return true;
  sed_event_log(true, "[%s]%s range_id=%d error\n", func_, device_, range_id);
  return ok_ = false;
}

bool SedDisk::sectors(long long start, long long count) {
  if (!ok_) return false;
  long long capacity = 0;
  bool fits = start >= 0 && count > 0 && start <= LLONG_MAX - count;
  if (fits && PD_Get_Capacity(enc_, port_, &capacity, nullptr) == 0 && capacity > 0)
    fits = start + count <= capacity;
  if (fits) return true;
  sed_event_log(true, "[%s]%s sector error, start_sector=%lli size_sector=%lli\n", func_, device_, start, count);
  return ok_ = false;
}

bool SedDisk::run(const SedCommand& cmd, unsigned steps, SedOutput& out) {
  if (!ok_) return false;
  int status;
  {
    ini::NamedLock lock(func_, kSedLockFile, true);
    if (!lock.ok()) {
      sed_event_log(true, "[%s]%s can't lock %s\n", func_, device_, kSedLockFile);
      return false;
    }
    std::optional<QueueDepthGuard> depth;
    if (steps & kSedLocking) depth.emplace(enc_, port_);
    ERR_TRACE(HAL_TRACE_INFO, "%s: %s\n", func_, cmd.shown().c_str());
    size_t len = 0;
    auto space = (steps & kSedQuiet) ? std::span<char>() : out.buffer().space();
    status = disk_backend().sed_command(cmd.args(), space, &len);
    out.buffer().set_size(len);
  }
  if (status == 0) return true;
  int code = status < 0 ? -1 : WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  int signal = status >= 0 && WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  sed_event_log(true, "[%s]Warning: %s Exit status = (%d,%d)!\n", func_, cmd.shown().c_str(), code, signal);
  return false;
}

int SedDisk::change(const SedCommand& cmd, unsigned steps, std::string_view success, const char* done) {
  SedOutput out;
  if (!run(cmd, steps, out)) return -1;
  if (sed_line_with(out.text(), success).empty()) return parse_error(cmd, out.text());
  sed_event_log(false, "[%s]%s %s successfully\n", func_, device_, done);
  after(steps);
  return 0;
}

int SedDisk::answered(const char* done, int result) {
  sed_event_log(false, "[%s]%s %s successfully\n", func_, device_, done);
  return result;
}

int SedDisk::parse_error(const SedCommand& cmd, std::string_view text) {
  std::string shown = cmd.masked(first_line(trim(text)).substr(0, 200));
  sed_event_log(true, "[%s]Parse err:%s\n", func_, shown.c_str());
  return -1;
}

void SedDisk::after(unsigned steps) {
  if (steps & kSedUnlockTime) {
    std::string now = std::to_string(static_cast<long long>(clock().now()));
    Ini_Conf_Set_Field(kSedInfoConf, info_section(enc_).c_str(), info_key(port_, "unlock_time").c_str(), now.c_str());
  }
  if (steps & kSedRescan) PD_Rescan_Capabilities(enc_, port_);
}

}  // namespace bayhal::disk
