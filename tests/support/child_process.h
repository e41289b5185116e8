// Real child processes for the multi-process tests: fork, run a function, report its
// exit code. Children leave with _exit so no test-framework state runs twice.
#pragma once
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace bayhal::test {

// Forks a child that runs `body` and exits with its result.
inline pid_t spawn(const std::function<int()>& body) {
  pid_t pid = ::fork();
  if (pid == 0) ::_exit(body());
  return pid;
}

// Exit code of a child, or -1 when it did not exit normally.
inline int join(pid_t pid) {
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs `body(i)` for i = 0..n-1 in n children at once and waits for them all; the number
// of children that did not exit 0 (a fork that failed counts too).
inline int run_children(int n, const std::function<int(int)>& body) {
  std::vector<pid_t> kids;
  int failed = 0;
  for (int i = 0; i < n; ++i) {
    pid_t pid = spawn([&body, i] { return body(i); });
    if (pid < 0)
      ++failed;
    else
      kids.push_back(pid);
  }
  for (pid_t pid : kids)
    if (join(pid) != 0) ++failed;
  return failed;
}

// True when `body` returns in a child allowed `cpu_seconds` of processor time. A bounded
// call needs a tiny fraction of it; an unbounded loop is stopped by the kernel (SIGXCPU).
inline bool returns_with_cpu_limit(int cpu_seconds, const std::function<void()>& body) {
  return join(spawn([&] {
           rlimit limit{static_cast<rlim_t>(cpu_seconds), static_cast<rlim_t>(cpu_seconds)};
           ::setrlimit(RLIMIT_CPU, &limit);
           body();
           return 0;
         })) == 0;
}

// True when some process waits for a record lock (a "->" line of /proc/locks), on the file
// at `host_path` when one is given.
inline bool someone_waits_for_lock(const std::string& host_path = "") {
  std::string ino;
  struct stat st {};
  if (!host_path.empty()) {
    if (::stat(host_path.c_str(), &st) != 0) return false;
    ino = ":" + std::to_string(st.st_ino) + " ";
  }
  std::ifstream in("/proc/locks");
  for (std::string line; std::getline(in, line);)
    if (line.find("->") != std::string::npos && line.find(ino) != std::string::npos) return true;
  return false;
}

// A pipe whose ends close with the object.
struct Pipe {
  int fd[2] = {-1, -1};
  Pipe() { (void)!::pipe(fd); }
  ~Pipe() {
    close_read();
    close_write();
  }
  void close_read() {
    if (fd[0] >= 0) ::close(fd[0]);
    fd[0] = -1;
  }
  void close_write() {
    if (fd[1] >= 0) ::close(fd[1]);
    fd[1] = -1;
  }
  bool put(int v) { return ::write(fd[1], &v, sizeof v) == sizeof v; }
  // Blocks for one value; false at end of stream.
  bool get(int& v) {
    size_t got = 0;
    while (got < sizeof v) {
      ssize_t n = ::read(fd[0], reinterpret_cast<char*>(&v) + got, sizeof v - got);
      if (n <= 0) return false;
      got += static_cast<size_t>(n);
    }
    return true;
  }
};

}  // namespace bayhal::test
