// The board's chips shared by real processes: halsim serves one Super I/O chip, two children
// switch LEDs on it at the same time through the library, and the chip's access log shows
// that neither ever cut into the other's configuration sequence.
#include <gtest/gtest.h>

#include "board/dispatch/se_sys.h"
#include "tests/support/child_process.h"
#include "tests/tools/appliance.h"

namespace bayhal::test {
namespace {

const std::string kSioScenario = std::string(BAYHAL_SOURCE_DIR) + "/examples/appliances/sio_sample.ini";

// IT87 GPIO set 5 (pins 52, 53) at the base the firmware left: 0x0A00 + 4.
constexpr int kLedPort = 0x0A04;

TEST_F(ApplianceTest, TwoProcessesSwitchingLedsNeverInterleaveTheirPortSequences) {
  start(kSioScenario);
  ASSERT_EQ(halsim({"board", "clear"}).exit_code, 0);
  constexpr int kSwitches = 30;
  int failed = run_children(2, [](int i) {
    for (int n = 0; n < kSwitches; ++n)
      if (board::se_sys_set_status_led("root", i, n % 2) != 0) return 1;
    return 0;
  });
  ASSERT_EQ(failed, 0);
  ProcessResult r = halsim({"--json", "board", "log", "100000"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const nlohmann::json accesses = nlohmann::json::parse(r.out)["board"]["accesses"];
  // Each switch runs from the configuration key (0x87 to 0x2E) to the write of the LED's
  // port; a run of one process's accesses must hold whole switches only.
  int runs = 0, switches = 0;
  for (size_t at = 0; at < accesses.size();) {
    size_t end = at;
    while (end < accesses.size() && accesses[end][0] == accesses[at][0]) ++end;
    ++runs;
    const nlohmann::json& first = accesses[at];
    const nlohmann::json& last = accesses[end - 1];
    EXPECT_EQ(first, (nlohmann::json{first[0], 0x2E, "out", 0x87})) << "run " << runs << " starts inside a switch";
    EXPECT_EQ(last[1], kLedPort) << "run " << runs << " ends inside a switch";
    EXPECT_EQ(last[2], "out");
    for (size_t k = at; k < end; ++k) switches += accesses[k] == nlohmann::json{first[0], 0x2E, "out", 0x87};
    at = end;
  }
  EXPECT_EQ(switches, 2 * kSwitches);
  EXPECT_GE(runs, 2);
}

}  // namespace
}  // namespace bayhal::test
