#include "tests/support/sandbox_root.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "board/drivers/board_lock.h"
#include "foundation/err_trace.h"
#include "tests/support/test_files.h"

namespace bayhal::test {

namespace fs = std::filesystem;

SandboxRoot::SandboxRoot() {
  std::string tmpl = (fs::temp_directory_path() / "bayhal-root-XXXXXX").string();
  char* made = ::mkdtemp(tmpl.data());
  if (made == nullptr) throw std::runtime_error("mkdtemp failed");
  dir_ = made;
  for (const char* d : {"etc/config", "tmp", "var/log", "var/lock", "var/run", "run", "sys",
                        "dev", "sbin", "bin", "proc", "calls"})
    fs::create_directories(fs::path(dir_) / d);
  // The kernel log is a plain file here so tests can read what the logger reported.
  write("/dev/kmsg", "");
  if (const char* old = std::getenv("HAL_ROOT")) {
    had_old_root_ = true;
    old_root_ = old;
  }
  ::setenv("HAL_ROOT", dir_.c_str(), 1);
  trace_reset_state();
}

SandboxRoot::~SandboxRoot() {
  board_locks_remove();  // the root's own semaphores, should anything have made them
  if (had_old_root_)
    ::setenv("HAL_ROOT", old_root_.c_str(), 1);
  else
    ::unsetenv("HAL_ROOT");
  trace_reset_state();
  std::error_code ec;
  if (std::getenv("BAYHAL_KEEP_ROOT") == nullptr) fs::remove_all(dir_, ec);
}

std::string SandboxRoot::path(std::string_view p) const {
  std::string out = dir_;
  if (p.empty() || p.front() != '/') out += '/';
  out.append(p);
  return out;
}

void SandboxRoot::write(std::string_view p, std::string_view content) const {
  write_file(path(p), content);
}

std::string SandboxRoot::read(std::string_view p) const { return read_file(path(p)); }

bool SandboxRoot::exists(std::string_view p) const {
  struct stat st {};
  return ::lstat(path(p).c_str(), &st) == 0;
}

void SandboxRoot::mkdir(std::string_view p) const { fs::create_directories(path(p)); }

void SandboxRoot::symlink(std::string_view target, std::string_view p) const {
  fs::path link(path(p));
  fs::create_directories(link.parent_path());
  std::error_code ec;
  fs::remove(link, ec);
  fs::create_symlink(std::string(target), link);
}

void SandboxRoot::stand_in(std::string_view program, std::string_view stdout_text,
                           int exit_code) const {
  std::string name = fs::path(std::string(program)).filename().string();
  std::string script = "#!/bin/sh\necho \"$*\" >> '" + dir_ + "/calls/" + name + ".log'\n";
  if (!stdout_text.empty()) {
    write("/calls/" + name + ".out", stdout_text);
    script += "cat '" + dir_ + "/calls/" + name + ".out'\n";
  }
  script += "exit " + std::to_string(exit_code) + "\n";
  write(program, script);
  ::chmod(path(program).c_str(), 0755);
}

std::vector<std::string> SandboxRoot::calls(std::string_view name) const {
  std::vector<std::string> lines;
  std::istringstream in(read("/calls/" + std::string(name) + ".log"));
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

SandboxTest::SandboxTest() = default;

}  // namespace bayhal::test
