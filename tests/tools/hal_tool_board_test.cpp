// hal_tool board: each board function's chip and channel as the model description names
// them, why an unsupported one is not, and live readings with --read.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/sandbox_root.h"
#include "tests/tools/run_process.h"

namespace bayhal::test {
namespace {

class HalToolBoard : public SandboxTest {
 protected:
  nlohmann::json board(std::vector<std::string> args = {}) {
    std::vector<std::string> argv{HAL_TOOL_PATH, "--root", root.dir(), "--json", "board"};
    argv.insert(argv.end(), args.begin(), args.end());
    ProcessResult r = run_process(argv, {});
    EXPECT_EQ(r.exit_code, 0) << r.err;
    return nlohmann::json::parse(r.out, nullptr, false)["board"];
  }
  static const nlohmann::json* row(const nlohmann::json& b, const std::string& name) {
    for (const auto& f : b["functions"])
      if (f["name"] == name) return &f;
    return nullptr;
  }
};

TEST_F(HalToolBoard, ShowsChipChannelAndWhyAFunctionIsNotSupported) {
  root.write("/etc/model.conf",
             "[System Enclosure]\nCPU_TEMP_UNIT = DTS:1\nSYSTEM_TEMP_UNIT = SIO\nMCU_SPEC = SPEC4\n"
             "[System IO]\nRESET_BUTTON = SOC\nREDUNDANT_POWER_1 = I2C:0x58\nPOWER_LED = LM\n");
  root.write("/sys/class/hwmon/hwmon0/name", "coretemp\n");
  root.write("/sys/class/hwmon/hwmon0/temp1_input", "48000\n");
  nlohmann::json b = board({"--read"});
  EXPECT_EQ(b["ec"], false);
  EXPECT_EQ(b["mcu_spec"], 4);
  struct Row {
    const char* name;
    const char* chip;  // nullptr: none
    int channel;
    bool supported;
    const char* reason;
  } rows[] = {
      {"temperature 0", "DTS", 1, true, nullptr},
      {"temperature 5", nullptr, -1, false, "no channel in the value"},
      {"reset button", "SOC", -1, false, "driver not built"},
      {"power supply 1", "I2C", -1, true, nullptr},
      {"power LED", nullptr, -1, false, "value not accepted"},
  };
  for (const Row& r : rows) {
    const nlohmann::json* f = row(b, r.name);
    ASSERT_NE(f, nullptr) << r.name;
    EXPECT_EQ((*f)["chip"], r.chip ? nlohmann::json(r.chip) : nlohmann::json()) << r.name;
    EXPECT_EQ((*f)["channel"], r.channel >= 0 ? nlohmann::json(r.channel) : nlohmann::json()) << r.name;
    EXPECT_EQ((*f)["supported"], r.supported) << r.name;
    EXPECT_EQ((*f)["reason"], r.reason ? nlohmann::json(r.reason) : nlohmann::json()) << r.name;
  }
  EXPECT_EQ((*row(b, "power supply 1"))["address"], "0x58");
  EXPECT_EQ((*row(b, "temperature 0"))["celsius"], 48);
  EXPECT_EQ(row(b, "fan 0"), nullptr);  // not described: only with --all
  nlohmann::json all = board({"--all"});
  const nlohmann::json* fan = row(all, "fan 0");
  ASSERT_NE(fan, nullptr);
  EXPECT_EQ((*fan)["reason"], "not described");
}

}  // namespace
}  // namespace bayhal::test
