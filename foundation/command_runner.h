// The command-runner seam. Two forms:
//  - shell form, for the fixed command lines the system specifies ("/sbin/udevadm ...");
//    system()/popen() semantics, with the bash redirections those lines were written with
//    ("&>", ">&FILE", "|&") kept meaning what they mean in bash, whatever /bin/sh is;
//  - argv form, for anything that carries text a caller or a device controls: no shell.
// Under a system root, an absolute program path ("/sbin/udevadm") runs the stand-in at
// "$HAL_ROOT/sbin/udevadm" when one exists there, so tests record what the library runs.
#pragma once
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace bayhal {

class CommandRunner {
 public:
  virtual ~CommandRunner() = default;
  // Runs `line` with /bin/sh -c and waits. Returns the wait status as system() does,
  // -1 when the shell could not be started.
  virtual int shell(const std::string& line) = 0;
  // Runs `line` with /bin/sh -c and captures its standard output (popen "r").
  // Returns the wait status, -1 when it could not be started.
  virtual int shell_read(const std::string& line, std::string& output) = 0;
  // Runs argv[0] with arguments, no shell, and waits. Captures standard output when
  // `output` is given. Returns the exit code (0-255), 128+signal, or -1 on spawn failure.
  virtual int exec(const std::vector<std::string>& argv, std::string* output = nullptr) = 0;
  // Argv form for arguments that may be secrets (a password, a PSID): `argv` (null-ended,
  // argv[0] the program) reaches the program in place and is never copied, so its owner
  // alone holds the text and can wipe it. Standard input and error are /dev/null. Standard
  // output fills `out` (what does not fit is read and dropped; *out_len gets the count
  // kept), or goes to /dev/null when `out` is empty. Returns the wait status, -1 when the
  // program could not be started. The default serves runners that only record: it hands
  // the words to exec() and wipes its copies.
  virtual int exec_secret(const char* const* argv, std::span<char> out, size_t* out_len);
};

// The runner in force (the real one unless a test installed another).
CommandRunner& runner();
// Installs `r` (not owned); nullptr restores the real runner.
void set_runner(CommandRunner* r);

// Rewrites each absolute program path at a command position of a shell line to its
// stand-in under the system root when that stand-in exists.
std::string reroot_command_line(std::string_view line);

// The same line with bash's both-streams redirections in their POSIX spelling, so that
// /bin/sh (dash, busybox) runs it as bash would: "&>W" and ">&W" become ">W 2>&1", "&>>W"
// becomes ">>W 2>&1", "|&" becomes "2>&1 |". Quoted text and fd duplications (">&2",
// "2>&1", ">&-") are left alone.
std::string posix_redirections(std::string_view line);

// Single-quotes `text` for /bin/sh so that it always stays one word.
std::string shell_quote(std::string_view text);

// Exit code of a wait status as shell() returns it; -1 when it did not exit normally.
int exit_code_of(int wait_status);

}  // namespace bayhal
