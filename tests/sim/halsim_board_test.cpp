// The board's chips served by halsim: the library in this process reaches the daemon's
// register models through HAL_ROOT and the socket, as every other process does, and the
// daemon's view of the board (its "board" answer) shows what the library did.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "board/dispatch/se_sys.h"
#include "board/drivers/ec/ec.h"
#include "bayhal/model_conf.h"
#include "tests/sim/halsim_fixture.h"

namespace bayhal {
namespace {

class HalsimBoard : public test::HalsimDaemonTest {
 protected:
  nlohmann::json answer(const std::string& request) {
    std::string reply = control(request);
    return reply.empty() ? nlohmann::json() : nlohmann::json::parse(reply);
  }
};

TEST_F(HalsimBoard, TheEmbeddedControllerAnswersOverTheSocket) {
  serve();
  ASSERT_EQ(se_sys_setup_model_conf(nullptr), 0);  // the family's file links to this board's
  double t = 0;
  ASSERT_EQ(board::se_sys_get_temp("root", 0, &t), 0);
  EXPECT_EQ(t, 47.0);
  ASSERT_EQ(ec_sys_set_fan_speed(6, 255), 0);
  ASSERT_EQ(board::se_sys_blink_status_led("root", 0, 1), 0);
  nlohmann::json board = answer("board");
  EXPECT_EQ(board["status_led"], "red blinking");
  EXPECT_EQ(board["fans"][2], (nlohmann::json{{"index", 6}, {"rpm", 3200}}));
  EXPECT_EQ(board["protocol_errors"], 0);

  control("press usb_copy");
  int pressed = 0;
  ASSERT_EQ(board::se_sys_get_usb_button("root", &pressed), 0);
  EXPECT_EQ(pressed, 1);
  unsigned rpm = 0;
  int status = -1;
  ASSERT_EQ(board::se_sys_get_fan_speed("root", 6, &rpm, &status), 0);
  EXPECT_EQ(rpm, 3200u);
  EXPECT_EQ(status, 0);
  ASSERT_EQ(board::se_sys_get_power_supply_status("root", 2, &status), 0);
  EXPECT_EQ(status, 0);
  ASSERT_EQ(board::se_sys_get_usb_button("root", &pressed), 0);
  // Every access is logged under the process that made it.
  nlohmann::json log = answer("board log 4");
  ASSERT_EQ(log["accesses"].size(), 4u);
  EXPECT_EQ(log["accesses"][3], (nlohmann::json{::getpid(), 0x68, "in", 0x04}));
  EXPECT_EQ(answer("press power")["error"], "the board has no button 'power'");
}

TEST_F(HalsimBoard, TheSuperIoPinsAndItsHardwareMonitorServeTheLibrary) {
  serve("sio_sample.ini");
  uint16_t id = 0;
  ASSERT_EQ(sio_sys_get_chip_id(&id), 0);
  EXPECT_EQ(id, 0x8772);
  ASSERT_EQ(board::se_sys_set_status_led("root", 1, 1), 0);
  ASSERT_EQ(board::se_sys_blink_power_led("root", 1), 0);
  ASSERT_EQ(board::se_sys_set_ident_led("root", 1), 0);
  // Each input of the front panel, pressed and let go (the cover opened and closed).
  struct Input {
    const char *name, *io_key;
    int (*read)(const char*, int*);
  } inputs[] = {{"usb_copy", "USB_COPY_BUTTON", board::se_sys_get_usb_button},
                {"reset", "RESET_BUTTON", board::se_sys_get_reset_button},
                {"eject", "EJECT_BUTTON", board::se_sys_get_ejt_button},
                {"case_cover", "CASE_COVER", board::se_sys_get_case_status}};
  for (const Input& in : inputs)
    for (bool down : {true, false}) {
      ASSERT_EQ(answer(std::string(down ? "press " : "release ") + in.name)["pressed"], down) << in.name;
      int state = -1;
      ASSERT_EQ(in.read("root", &state), 0) << in.name;
      EXPECT_EQ(state, down ? 1 : 0) << in.name;
      EXPECT_EQ(answer("board")["buttons"][in.io_key], down) << in.name;
    }
  double t = 0;
  ASSERT_EQ(board::se_sys_get_temp("root", 0, &t), 0);  // CPU: hwmon channel 1
  EXPECT_EQ(t, 44.0);
  // The fan turns as fast as the PWM the library writes.
  ASSERT_EQ(sio_sys_set_fan_pwm(2, 255), 0);
  nlohmann::json board = answer("board");
  EXPECT_EQ(board["leds"]["STATUS_GREEN_LED"], "on");
  EXPECT_EQ(board["leds"]["POWER_LED"], "blinking (engine 1)");
  EXPECT_EQ(board["leds"]["IDENT_LED"], "on");
  EXPECT_EQ(board["configuration_mode"], false);
  EXPECT_EQ(board["fans"][1], (nlohmann::json{{"channel", 2}, {"rpm", 1900}, {"pwm", 255}}));
  unsigned rpm = 0;
  int status = -1;
  ASSERT_EQ(board::se_sys_get_fan_speed("root", 0, &rpm, &status), 0);  // system fan 1: channel 2
  EXPECT_EQ(rpm, 1900u);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace bayhal
