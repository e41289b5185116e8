// Runs a program as a separate process and collects its exit code and output.
#pragma once
#include <string>
#include <vector>

namespace bayhal::test {

struct ProcessResult {
  int exit_code = -1;  // 128 + signal when killed
  std::string out;
  std::string err;
};

// Runs `argv` with the environment of this process plus `env` ("NAME=value"; "NAME=" with
// nothing after it removes NAME) and waits for it. A program name without a slash is
// looked up in PATH (as `env` sets it).
ProcessResult run_process(const std::vector<std::string>& argv,
                          const std::vector<std::string>& env = {});

}  // namespace bayhal::test
