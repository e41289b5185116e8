// hal_tool as a user meets it when typing wrong: bad usage exits 2 with one line on stderr
// and nothing on stdout; the locate forms the system calls are accepted and fail honestly.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/support/sandbox_root.h"
#include "tests/tools/run_process.h"

namespace bayhal::test {
namespace {

ProcessResult hal_tool(const std::vector<std::string>& args, const std::string& root) {
  std::vector<std::string> argv{HAL_TOOL_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  return run_process(argv, {"HAL_ROOT=" + root});
}

size_t lines(const std::string& s) { return static_cast<size_t>(std::count(s.begin(), s.end(), '\n')); }

class HalToolUsage : public SandboxTest {};

TEST_F(HalToolUsage, BadUsageIsOneLineAndExitTwo) {
  struct Case {
    std::vector<std::string> args;
    const char* says;
  };
  const std::vector<Case> cases = {
      {{}, "A subcommand is required"},
      {{"frobnicate"}, "unknown command 'frobnicate'"},
      {{"enc"}, "A subcommand is required"},
      {{"enc", "frobnicate"}, "unknown command 'frobnicate' for 'enc'"},
      {{"--root", "/nonexistent/root", "version"}, "is not a directory"},
      {{"--colour", "version"}, "--colour"},
      {{"buzzer_locate"}, "state is required"},
      {{"buzzer_locate", "maybe"}, "bad buzzer_locate state 'maybe': expected on or off"},
      {{"lcm_locate", "ON"}, "expected on or off"},
      {{"speaker_locate", "on", "hello", "again"}, "unexpected argument 'again' for 'speaker_locate'"},
      {{"buzzer_locate", "on", "loud"}, "unexpected argument 'loud'"},
      {{"trace", "0xZZ", "m"}, "bad level '0xZZ'"},
      {{"trace", "8"}, "message is required"},
      {{"conf", "get", "/etc/hal.conf"}, "section is required"},
  };
  for (const Case& c : cases) {
    ProcessResult r = hal_tool(c.args, root.dir());
    std::string what = c.args.empty() ? "(no arguments)" : c.args.front() + (c.args.size() > 1 ? " " + c.args[1] : "");
    EXPECT_EQ(r.exit_code, 2) << what << ": " << r.err;
    EXPECT_EQ(lines(r.err), 1u) << what << ": " << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << what << ": " << r.err;
    EXPECT_EQ(r.err.rfind("hal_tool: ", 0), 0u) << what;
    EXPECT_TRUE(r.out.empty()) << what << ": " << r.out;
  }
}

TEST_F(HalToolUsage, HelpIsNotAnError) {
  ProcessResult r = hal_tool({"--help"}, root.dir());
  EXPECT_EQ(r.exit_code, 0);
  for (const char* cmd : {"boot", "enc", "disk", "conf", "buzzer_locate", "lcm_locate", "speaker_locate"})
    EXPECT_NE(r.out.find(cmd), std::string::npos) << cmd;
}

TEST_F(HalToolUsage, LocateFormsAreAcceptedButNeedTheBoardServices) {
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"buzzer_locate", "on"},
                                             {"lcm_locate", "off"},
                                             {"speaker_locate", "on"},
                                             {"speaker_locate", "on", "locate_voice_1"}}) {
    ProcessResult r = hal_tool(args, root.dir());
    EXPECT_EQ(r.exit_code, 1) << args[0];
    EXPECT_NE(r.err.find(args[0] + ": not supported on this board yet"), std::string::npos) << r.err;
    EXPECT_EQ(lines(r.err), 1u);
  }
  ProcessResult j = hal_tool({"--json", "speaker_locate", "off", "v2"}, root.dir());
  EXPECT_EQ(j.exit_code, 1);
  auto doc = nlohmann::json::parse(j.out);
  EXPECT_EQ(doc["command"], "speaker_locate");
  EXPECT_EQ(doc["state"], "off");
  EXPECT_EQ(doc["voice"], "v2");
  EXPECT_EQ(doc["supported"], false);
}

}  // namespace
}  // namespace bayhal::test
