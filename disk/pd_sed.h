// The path every PD_SED_* operation takes to the self-encrypting-drive tool: the capability
// check, the control device, the argument checks, the appliance-wide lock, the queue depth
// around a locking change behind SAS, the run, the event log and the records afterwards.
//
// Passwords and PSIDs come from the caller and go straight into the tool's argv: nothing
// here copies one, formats one into a message or hands one to a shell. Command lines are
// traced with each secret shown as '***', and the tool's output is wiped after use.
#pragma once
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/secret.h"

namespace bayhal::disk {

inline constexpr const char* kSedInfoConf = "/tmp/.sedinfo.conf";
inline constexpr const char* kSedLog = "/var/log/sedutil.log";
inline constexpr const char* kSedLogLock = "/tmp/.sed_log_lock";
// Opal drives have at least eight locking ranges besides the global range 0.
inline constexpr int kSedMaxRange = 8;
// A longer password or PSID is refused; any byte but NUL is allowed.
inline constexpr size_t kSedMaxSecret = 1024;

// One line of the SED event log ("[function]..." messages), written under the log's lock,
// and traced (level 1 when `failure`, else level 8).
void sed_event_log(bool failure, const char* format, ...) __attribute__((format(printf, 2, 3)));

// One tool command: its option, its plain arguments, the caller's secrets (borrowed, never
// copied) and the control device, in the order the command line names them.
class SedCommand {
 public:
  explicit SedCommand(const char* option) { push(option, false); }
  SedCommand(const SedCommand&) = delete;
  SedCommand& operator=(const SedCommand&) = delete;
  SedCommand& arg(std::string text);
  SedCommand& number(long long n) { return arg(std::to_string(n)); }
  SedCommand& secret(const char* text) { return push(text, true); }
  SedCommand& device(const char* text) { return push(text, false); }
  // The null-ended arguments after the tool's path.
  const char* const* args() const { return argv_.data(); }
  // The command line as traces show it: each secret as '***'.
  std::string shown() const;
  // `text` with every secret of this command replaced by "***".
  std::string masked(std::string_view text) const;

 private:
  static constexpr size_t kMax = 8;
  SedCommand& push(const char* p, bool secret);
  std::array<std::string, kMax> plain_;
  std::array<const char*, kMax + 1> argv_{};
  std::array<bool, kMax> secret_{};
  size_t n_ = 0, plain_n_ = 0;
};

// What an operation does around its run.
enum SedStep : unsigned {
  kSedLocking = 1,     // changes locking: the queue depth is lowered around it behind SAS
  kSedUnlockTime = 2,  // records "port%d_sed_unlock_time" when it succeeded
  kSedRescan = 4,      // rescans the disk's capabilities when it succeeded
  kSedQuiet = 8,       // the tool's output is not wanted (the exit status decides)
};

// The tool's output of one run, wiped when it goes.
class SedOutput {
 public:
  SedOutput() : buf_(kCapacity) {}
  std::string_view text() const { return buf_.text(); }
  WipedBuffer& buffer() { return buf_; }

 private:
  // The tool's answers are a few lines; a device that says more is cut off here.
  static constexpr size_t kCapacity = 16 * 1024;
  WipedBuffer buf_;
};

// One operation on one disk, named by the exported function for its messages.
class SedDisk {
 public:
  // The capability check, then the control device; each failure is logged.
  SedDisk(const char* func, int enc_id, int port_id);
  explicit operator bool() const { return ok_; }
  const char* device() const { return device_; }

  // Argument checks, each logging what it refused.
  bool secret(const char* text);
  bool range(int range_id, int lowest);
  bool sectors(long long start, long long count);

  // Runs `cmd` under the appliance-wide lock. True when the tool exited 0; otherwise the
  // exit status is logged.
  bool run(const SedCommand& cmd, unsigned steps, SedOutput& out);
  // The run and the check of its output for `success`; then "[func]<device> <done>
  // successfully" and the records of `steps`. 0 or -1.
  int change(const SedCommand& cmd, unsigned steps, std::string_view success, const char* done);
  // Logs the success of a query. Returns `result`.
  int answered(const char* done, int result);
  // Output that does not say what the operation looks for: "[func]Parse err:<line>". -1.
  int parse_error(const SedCommand& cmd, std::string_view text);

 private:
  void after(unsigned steps);
  const char* func_;
  int enc_, port_;
  char device_[32] = "";
  bool ok_ = false;
};

}  // namespace bayhal::disk
