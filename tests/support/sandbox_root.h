// A system root in a fresh temporary directory, installed as HAL_ROOT for one test.
#pragma once
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace bayhal::test {

class SandboxRoot {
 public:
  SandboxRoot();
  ~SandboxRoot();
  SandboxRoot(const SandboxRoot&) = delete;
  SandboxRoot& operator=(const SandboxRoot&) = delete;

  const std::string& dir() const { return dir_; }
  // Host path of an appliance path ("/etc/hal.conf" -> "<dir>/etc/hal.conf").
  std::string path(std::string_view appliance_path) const;

  // Writes a file (creating parent folders) at an appliance path.
  void write(std::string_view appliance_path, std::string_view content) const;
  // Reads a whole file; empty when missing.
  std::string read(std::string_view appliance_path) const;
  bool exists(std::string_view appliance_path) const;
  void mkdir(std::string_view appliance_path) const;
  void symlink(std::string_view target, std::string_view appliance_path) const;

  // Installs an executable stand-in at an appliance path (e.g. "/sbin/udevadm") that
  // appends its arguments, one invocation per line, to "<dir>/calls/<name>.log", prints
  // `stdout_text` and exits with `exit_code`.
  void stand_in(std::string_view program, std::string_view stdout_text = "",
                int exit_code = 0) const;
  // Lines recorded by a stand-in (each line: the arguments joined by single spaces).
  std::vector<std::string> calls(std::string_view program_name) const;

 private:
  std::string dir_;
  std::string old_root_;
  bool had_old_root_ = false;
};

// A gtest fixture that gives every test its own root and a clean tracer.
class SandboxTest : public ::testing::Test {
 protected:
  SandboxTest();
  SandboxRoot root;
};

}  // namespace bayhal::test
