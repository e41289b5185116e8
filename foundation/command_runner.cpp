#include "foundation/command_runner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

#include "foundation/secret.h"
#include "foundation/sysroot.h"
#include "foundation/unique_fd.h"

extern char** environ;

namespace bayhal {
namespace {

bool is_command_boundary(char c) {
  return c == ' ' || c == '\t' || c == '|' || c == ';' || c == '&' || c == '(' || c == '`' ||
         c == '\n';
}

// The appliance's own management programs and scripts. Under a system root they run only as
// stand-ins: a sandboxed library must never reach the host's udev, disks or services.
bool is_appliance_program(std::string_view program) {
  for (std::string_view dir : {"/sbin/", "/usr/sbin/", "/etc/", "/usr/local/"})
    if (program.starts_with(dir)) return true;
  return false;
}

std::string resolve_program(std::string_view program) {
  if (program.empty() || program.front() != '/' || sys_root().empty()) return std::string(program);
  std::string candidate = sys_path(program);
  struct stat st {};
  if (::stat(candidate.c_str(), &st) == 0 && S_ISREG(st.st_mode)) return candidate;
  // Without a stand-in the rooted path is kept: the call then fails as "not found".
  if (is_appliance_program(program)) return candidate;
  return std::string(program);
}

int wait_for(pid_t pid) {
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

void read_all(int fd, std::string& out) {
  char buf[4096];
  for (;;) {
    ssize_t n = ::read(fd, buf, sizeof buf);
    if (n > 0) {
      out.append(buf, static_cast<size_t>(n));
    } else if (n == 0 || errno != EINTR) {
      return;
    }
  }
}

// Spawns argv with stdout to a pipe when `output` is wanted. Returns the wait status.
int spawn_and_wait(const std::vector<std::string>& argv, std::string* output) {
  if (argv.empty()) return -1;
  std::vector<char*> args;
  args.reserve(argv.size() + 1);
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  int pipefd[2] = {-1, -1};
  if (output != nullptr) {
    if (::pipe2(pipefd, O_CLOEXEC) != 0) {
      posix_spawn_file_actions_destroy(&actions);
      return -1;
    }
    posix_spawn_file_actions_adddup2(&actions, pipefd[1], STDOUT_FILENO);
  }
  UniqueFd read_end(pipefd[0]);
  UniqueFd write_end(pipefd[1]);
  pid_t pid = 0;
  int rc = ::posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) return -1;
  write_end.reset();
  if (output != nullptr) read_all(read_end.get(), *output);
  return wait_for(pid);
}

// Reads `fd` to its end into `out`, keeping what fits; the count kept.
size_t read_bounded(int fd, std::span<char> out) {
  size_t kept = 0;
  char drop[512];
  for (;;) {
    bool room = kept < out.size();
    ssize_t n = room ? ::read(fd, out.data() + kept, out.size() - kept) : ::read(fd, drop, sizeof drop);
    if (n > 0) {
      if (room) kept += static_cast<size_t>(n);
    } else if (n == 0 || errno != EINTR) {
      break;
    }
  }
  wipe(drop, sizeof drop);
  return kept;
}

// Runs `argv` in place with /dev/null for standard input and error, standard output into
// `out` (or /dev/null when it is empty). The wait status.
int spawn_secret(const char* program, const char* const* argv, std::span<char> out,
                 size_t* out_len) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  int pipefd[2] = {-1, -1};
  if (!out.empty()) {
    if (::pipe2(pipefd, O_CLOEXEC) != 0) {
      posix_spawn_file_actions_destroy(&actions);
      return -1;
    }
    posix_spawn_file_actions_adddup2(&actions, pipefd[1], STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  }
  UniqueFd read_end(pipefd[0]);
  UniqueFd write_end(pipefd[1]);
  pid_t pid = 0;
  int rc = ::posix_spawn(&pid, program, &actions, nullptr, const_cast<char* const*>(argv), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) return -1;
  write_end.reset();
  size_t kept = out.empty() ? 0 : read_bounded(read_end.get(), out);
  if (out_len != nullptr) *out_len = kept;
  return wait_for(pid);
}

std::vector<std::string> shell_argv(const std::string& line) {
  return {"/bin/sh", "-c", reroot_command_line(posix_redirections(line))};
}

class RealRunner : public CommandRunner {
 public:
  int shell(const std::string& line) override { return spawn_and_wait(shell_argv(line), nullptr); }
  int shell_read(const std::string& line, std::string& output) override {
    return spawn_and_wait(shell_argv(line), &output);
  }
  int exec(const std::vector<std::string>& argv, std::string* output) override {
    if (argv.empty()) return -1;
    std::vector<std::string> resolved(argv);
    resolved[0] = resolve_program(argv[0]);
    // The shell's convention for a program that cannot be run.
    if (::access(resolved[0].c_str(), X_OK) != 0) return 127;
    int status = spawn_and_wait(resolved, output);
    if (status < 0) return -1;
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
  }
  int exec_secret(const char* const* argv, std::span<char> out, size_t* out_len) override {
    if (out_len != nullptr) *out_len = 0;
    if (argv == nullptr || argv[0] == nullptr) return -1;
    std::string program = resolve_program(argv[0]);
    if (::access(program.c_str(), X_OK) != 0) return 127 << 8;  // as a shell reports it
    return spawn_secret(program.c_str(), argv, out, out_len);
  }
};

RealRunner g_real;
std::atomic<CommandRunner*> g_runner{&g_real};

}  // namespace

int CommandRunner::exec_secret(const char* const* argv, std::span<char> out, size_t* out_len) {
  if (out_len != nullptr) *out_len = 0;
  std::vector<std::string> words;
  for (; argv != nullptr && *argv != nullptr; ++argv) words.emplace_back(*argv);
  std::string captured;
  int code = exec(words, out.empty() ? nullptr : &captured);
  size_t n = std::min(captured.size(), out.size());
  std::copy_n(captured.data(), n, out.data());
  if (out_len != nullptr) *out_len = n;
  wipe(captured.data(), captured.size());
  for (auto& w : words) wipe(w.data(), w.size());
  if (code < 0) return -1;
  return code >= 128 ? code - 128 : code << 8;
}

CommandRunner& runner() { return *g_runner.load(std::memory_order_acquire); }

void set_runner(CommandRunner* r) { g_runner.store(r ? r : &g_real, std::memory_order_release); }

std::string reroot_command_line(std::string_view line) {
  if (sys_root().empty()) return std::string(line);
  std::string out;
  out.reserve(line.size() + 64);
  char quote = 0;
  bool at_command = true;
  size_t i = 0;
  while (i < line.size()) {
    char c = line[i];
    if (quote != 0) {
      out.push_back(c);
      if (c == quote) quote = 0;
      ++i;
      continue;
    }
    if (c == '\'' || c == '"') {
      quote = c;
      at_command = false;
      out.push_back(c);
      ++i;
      continue;
    }
    if (at_command && c == '/') {
      size_t end = i;
      while (end < line.size() && !is_command_boundary(line[end])) ++end;
      out += resolve_program(line.substr(i, end - i));
      at_command = false;
      i = end;
      continue;
    }
    if (is_command_boundary(c)) {
      // Only separators start a new command; a blank keeps the current state.
      if (c != ' ' && c != '\t') at_command = true;
    } else {
      at_command = false;
    }
    out.push_back(c);
    ++i;
  }
  return out;
}

namespace {

bool ends_word(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == ';' || c == '&' || c == '|' || c == '(' ||
         c == ')' || c == '<' || c == '>';
}

// End of the shell word that starts at `i`, quotes and escapes included.
size_t word_end(std::string_view line, size_t i) {
  char quote = 0;
  for (; i < line.size(); ++i) {
    char c = line[i];
    if (quote != 0) {
      if (c == quote)
        quote = 0;
      else if (c == '\\' && quote == '"')
        ++i;
    } else if (c == '\'' || c == '"') {
      quote = c;
    } else if (c == '\\') {
      ++i;
    } else if (ends_word(c)) {
      break;
    }
  }
  return std::min(i, line.size());
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// ">&2", ">&-": a duplication, which POSIX shells read as bash does.
bool is_fd_word(std::string_view w) {
  return w == "-" || (!w.empty() && std::all_of(w.begin(), w.end(), is_digit));
}

}  // namespace

std::string posix_redirections(std::string_view line) {
  std::string out;
  out.reserve(line.size() + 16);
  char quote = 0;
  size_t i = 0;
  while (i < line.size()) {
    char c = line[i];
    // Quoted and escaped text is copied as it stands.
    if (quote != 0) {
      out.push_back(c);
      if (c == quote)
        quote = 0;
      else if (c == '\\' && quote == '"' && i + 1 < line.size())
        out.push_back(line[++i]);
      ++i;
      continue;
    }
    if (c == '\'' || c == '"') {
      quote = c;
      out.push_back(c);
      ++i;
      continue;
    }
    if (c == '\\') {
      out.append(line.substr(i, 2));
      i += 2;
      continue;
    }
    std::string_view rest = line.substr(i);
    if (rest.starts_with("&&") || rest.starts_with("||")) {
      out.append(rest.substr(0, 2));
      i += 2;
      continue;
    }
    if (rest.starts_with("|&")) {
      out += " 2>&1 |";
      i += 2;
      continue;
    }
    size_t op = rest.starts_with("&>>") ? 3 : rest.starts_with("&>") ? 2 : 0;
    bool gt_amp = op == 0 && rest.starts_with(">&") && (i == 0 || !is_digit(line[i - 1]));
    if (gt_amp) op = 2;
    if (op != 0) {
      size_t w = i + op;
      while (w < line.size() && (line[w] == ' ' || line[w] == '\t')) ++w;
      size_t e = word_end(line, w);
      std::string_view word = line.substr(w, e - w);
      if (!word.empty() && !(gt_amp && is_fd_word(word))) {
        out += op == 3 ? ">>" : ">";
        out.append(word);
        out += " 2>&1";
        i = e;
        continue;
      }
    }
    out.push_back(c);
    ++i;
  }
  return out;
}

std::string shell_quote(std::string_view text) {
  std::string out = "'";
  for (char c : text) {
    if (c == '\'')
      out += "'\\''";
    else
      out.push_back(c);
  }
  out.push_back('\'');
  return out;
}

int exit_code_of(int wait_status) {
  if (wait_status < 0 || !WIFEXITED(wait_status)) return -1;
  return WEXITSTATUS(wait_status);
}

}  // namespace bayhal
