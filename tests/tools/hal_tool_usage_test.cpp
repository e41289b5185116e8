// hal_tool as a user meets it when something is wrong: bad usage exits 2 and a failure 1,
// each with one line on stderr that says why, and with --json the same in the envelope.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
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

class HalToolUsage : public SandboxTest {
 protected:
  struct Case {
    std::vector<std::string> args;
    std::string says;
  };
  // Each case fails with `code`, one line on stderr holding `says` and no colour off a
  // terminal; the same with --json prints the envelope with that line in it.
  void expect_all(const std::vector<Case>& cases, int code) {
    for (const Case& c : cases) {
      std::string what = c.args.empty() ? "(no arguments)" : c.args.front() + (c.args.size() > 1 ? " " + c.args[1] : "");
      ProcessResult r = hal_tool(c.args, root.dir());
      EXPECT_EQ(r.exit_code, code) << what << ": " << r.err;
      EXPECT_EQ(lines(r.err), 1u) << what << ": " << r.err;
      EXPECT_NE(r.err.find(c.says), std::string::npos) << what << ": " << r.err;
      EXPECT_EQ(r.err.rfind("hal_tool: ", 0), 0u) << what;
      EXPECT_EQ(r.err.find('\033'), std::string::npos) << what;
      if (code == 2) {
        EXPECT_TRUE(r.out.empty()) << what << ": " << r.out;
      }

      std::vector<std::string> args = c.args;
      args.push_back("--json");
      ProcessResult j = hal_tool(args, root.dir());
      auto doc = nlohmann::json::parse(j.out, nullptr, false);
      ASSERT_FALSE(doc.is_discarded()) << what << ": " << j.out;
      EXPECT_EQ(doc["json_format_version"], nlohmann::json({1, 0}));
      EXPECT_EQ(doc["hal_tool"]["exit_status"], code) << what;
      EXPECT_EQ(j.exit_code, code) << what;
      ASSERT_EQ(doc["hal_tool"]["messages"].size(), 1u) << what << ": " << j.out;
      EXPECT_NE(doc["hal_tool"]["messages"][0]["text"].get<std::string>().find(c.says), std::string::npos) << what;
    }
  }
};

TEST_F(HalToolUsage, BadUsageIsOneLineAndExitTwo) {
  expect_all({
                 {{}, "A subcommand is required"},
                 {{"frobnicate"}, "unknown command 'frobnicate'"},
                 {{"verison"}, "unknown command 'verison'; did you mean 'version'?"},
                 {{"enc", "lsit"}, "unknown command 'lsit' for 'enc'; did you mean 'list'?"},
                 {{"enc", "list", "--jsn"}, "unknown option '--jsn' for 'enc list'; did you mean '--json'?"},
                 {{"--colour", "version"}, "did you mean '--color'?"},
                 {{"buzzer_locate"}, "state is required"},
                 {{"buzzer_locate", "maybe"}, "bad buzzer_locate state 'maybe': expected on or off"},
                 {{"speaker_locate", "on", "hello", "again"}, "unexpected argument 'again' for 'speaker_locate'"},
                 {{"trace", "0xZZ", "m"}, "bad trace level '0xZZ'"},
                 {{"conf", "get", "/etc/hal.conf"}, "section is required"},
                 {{"disk", "info", "0-3"}, "bad bay '0-3': expected ENC/PORT"},
                 {{"disk", "info", "0/99999999999999999999"}, "PORT from 0 to 65535"},
                 {{"disk", "info", "root", "3"}, "did you mean 'root/3'?"},
                 {{"disk", "attach", "root", "sd c"}, "bad disk 'sd c'"},
                 {{"enc", "info", "a b"}, "bad enclosure 'a b'"},
             },
             2);
}

TEST_F(HalToolUsage, WhatDoesNotExistIsExitOneWithTheReason) {
  root.write("/etc/odd.conf", "[S]\nk = v\nthis is not a key\n");
  const std::string r = root.dir();
  expect_all({
                 {{"--root", "/nonexistent/root", "version"}, "system root /nonexistent/root: No such file or directory"},
                 {{"enc", "list"}, "no enclosure registry: " + r + "/etc/hal.conf: No such file or directory"},
                 {{"disk", "list"}, "the appliance has not booted"},
                 {{"disk", "info", "0/3"}, "no enclosure registry"},
                 {{"enc", "map"}, "cannot read " + r + "/etc/config/enclosure.map: No such file or directory"},
                 // The line that is not INI is passed over, as the store does.
                 {{"conf", "get", "/etc/odd.conf", "S", "x"}, "no key 'x' in [S] of " + r + "/etc/odd.conf"},
                 {{"conf", "get", "/etc/odd.conf", "T", "k"}, "no section [T] in " + r + "/etc/odd.conf"},
                 {{"conf", "bitmap", "/etc/none.conf", "S", "k"}, "cannot read " + r + "/etc/none.conf"},
                 {{"model", "show"}, "cannot read " + r + "/etc/model.conf"},
                 {{"disk", "scan", "root"}, "no kernel device tree at " + r + "/sys/block"},
                 {{"lcm_locate", "off"}, "lcm_locate: not supported on this board: the front-panel display"},
             },
             1);
}

// A scan that leaves a present enclosure out (here: its store folder cannot be made, a file
// stands in its place) fails, though it lists what it found.
TEST_F(HalToolUsage, AScanThatLeavesAnEnclosureOutIsExitOne) {
  std::filesystem::remove_all(root.path("/etc/config"));
  root.write("/etc/config", "");
  root.write("/etc/hal.conf", "[Index]\n");
  expect_all({{{"enc", "scan"}, "enc scan: an enclosure present could not be attached"}}, 1);
}

TEST_F(HalToolUsage, HelpVersionAndColourOnRequest) {
  ProcessResult help = hal_tool({"--help"}, root.dir());
  EXPECT_EQ(help.exit_code, 0);
  for (const char* cmd : {"boot", "enc", "disk", "conf", "buzzer_locate", "speaker_locate", "BAY is ENC/PORT"})
    EXPECT_NE(help.out.find(cmd), std::string::npos) << cmd;
  ProcessResult sub = hal_tool({"disk", "info", "--help"}, root.dir());
  EXPECT_NE(sub.out.find("BAY: ENC/PORT"), std::string::npos) << sub.out;
  ProcessResult version = hal_tool({"--version"}, root.dir());
  EXPECT_EQ(version.out.rfind("hal_tool ", 0), 0u) << version.out;
  ProcessResult colour = hal_tool({"--color", "always", "frobnicate"}, root.dir());
  EXPECT_EQ(colour.err.rfind("\033[1;31mhal_tool:\033[0m", 0), 0u) << colour.err;
}

}  // namespace
}  // namespace bayhal::test
