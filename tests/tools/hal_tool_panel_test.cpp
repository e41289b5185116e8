// hal_tool's front panel and bay LEDs on the simulated appliance: the LED the controller
// shows, a bay's locate LED lit and read back on its kernel attribute, a bay without a path
// refused with the reason, and the buzzer's locate beeper started and stopped.
#include <gtest/gtest.h>

#include <signal.h>

#include "tests/tools/appliance.h"

namespace bayhal::test {
namespace {

using nlohmann::json;

class HalToolPanel : public ApplianceTest {
 protected:
  void SetUp() override {
    start();
    ASSERT_EQ(hal_tool({"boot"}).exit_code, 0);
  }
  std::string board_led() { return query_board()["status_led"]; }
  json query_board() {
    ProcessResult r = halsim({"--json", "board"});
    return json::parse(r.out)["board"];
  }
};

TEST_F(HalToolPanel, BayLocateLedsLightOnTheirKernelAttributes) {
  json bays = query({"disk", "led", "0"})["leds"];
  ASSERT_EQ(bays.size(), 8u);
  EXPECT_EQ(bays[2]["path"], "AHCI em_message of host2");
  EXPECT_EQ(bays[2]["reads_back"], true);

  json on = query({"locate", "0", "3", "on"})["locate"];
  EXPECT_EQ(on["read_back"], true);
  EXPECT_EQ(root.read("/sys/class/scsi_host/host2/em_message"), "0x80000");
  EXPECT_EQ(query({"locate", "root", "3", "off"})["locate"]["read_back"], false);

  json nvme = query({"disk", "led", "root_cache", "1", "fault", "on"})["leds"];
  EXPECT_EQ(nvme["path"], "PCI slot m2a attention");
  EXPECT_EQ(nvme["state"]["fault"], true);
  EXPECT_EQ(root.read("/sys/bus/pci/slots/m2a/attention"), "1");

  ProcessResult usb = hal_tool({"locate", "root_usb", "1", "on"});
  EXPECT_EQ(usb.exit_code, 1);
  EXPECT_NE(usb.err.find("no LED path"), std::string::npos) << usb.err;
}

TEST_F(HalToolPanel, StatusLedEventsAndBuzzerLocate) {
  EXPECT_EQ(query({"led", "status", "red", "blink"})["led"]["result"], 0);
  EXPECT_EQ(board_led(), "red blinking");
  EXPECT_EQ(query({"led", "event", "0x1000", "on"})["led"]["bitmap"], "0x00001000");
  EXPECT_EQ(board_led(), "red");
  EXPECT_EQ(query({"led", "event", "0", "off"})["led"]["bitmap"], "0x00000000");
  EXPECT_EQ(board_led(), "green");
  EXPECT_EQ(hal_tool({"led", "status", "both", "on"}).exit_code, 2);
  EXPECT_EQ(hal_tool({"led", "power", "on"}).exit_code, 1);  // the controller has no power LED

  json located = query({"buzzer_locate", "on"})["locate"];
  int pid = located["pid"];
  ASSERT_GT(pid, 0);
  EXPECT_EQ(query({"buzzer_locate", "on"})["locate"]["pid"], pid);  // one beeper only
  EXPECT_EQ(query({"buzzer_locate", "off"})["locate"]["pid"], nullptr);
  EXPECT_NE(::kill(pid, 0), 0);
  EXPECT_FALSE(root.exists("/var/run/buzzer_locate.pid"));
  EXPECT_EQ(hal_tool({"lcm_locate", "on"}).exit_code, 1);
}

}  // namespace
}  // namespace bayhal::test
