// The HM_* family through its C interface: enclosure lookup, neutral outputs on every failure,
// the Super I/O's hwmon files, fan levels and PWM, and the embedded controller's fan tables.
#include <string>
#include <vector>

#include "bayhal/HM.h"
#include "bayhal/SE.h"
#include "board/dispatch/fan_levels.h"
#include "sim/ec_model.h"
#include "tests/board/board_fixture.h"
#include "tests/board/chip_fixture.h"

namespace bayhal {
namespace {

using Log = std::vector<std::string>;
const std::string kDev = "/sys/class/hwmon/hwmon0/device/";

class HmTest : public test::ChipTest {
 protected:
  HmTest() {
    root.write("/etc/hal.conf", "[Enclosure_0]\nenc_id = 0\nenc_sys_id = root\n");
    board::reset_fan_levels();
    test::calls() = test::Calls{};
  }
  ~HmTest() override { board::reset_fan_levels(); }
  std::string trace() const { return root.read("/var/log/hal_lib.log"); }
};

TEST_F(HmTest, Hwmon0FilesThatCannotBeReadFailWithTheOutputsNeutral) {
  describe(
      "[System Enclosure]\nSIO_DEVICE = IT87\nSYSTEM_TEMP_UNIT = SIO:1\n"
      "[System FAN]\nFAN_UNIT = SIO\nFAN_1 = I1\n");
  struct Case {
    const char* content;  // nullptr: the file is missing
    int rc;
    double celsius;
    unsigned rpm;
  };
  const Case cases[] = {
      {"130000\n", 0, -126, 130000},  // a signed byte, deliberately
      {"41999", 0, 41, 41999},
      {nullptr, -1, 0, 0},
      {"", -1, 0, 0},
      {"fast\n", -1, 0, 0},
      {"12abc", -1, 0, 0},
      {"99999999999999999999", -1, 0, 0},  // beyond 64 bits
      {"000000000000000000000000000000001", -1, 0, 0},  // longer than 32 bytes
  };
  root.write(kDev + "pwm1", "100");
  for (const Case& c : cases) {
    for (const char* f : {"temp1_input", "fan1_input"}) {
      if (c.content)
        root.write(kDev + f, c.content);
      else
        std::remove(root.path(kDev + f).c_str());
    }
    double t = 99;
    unsigned rpm = 99;
    int status = 99;
    EXPECT_EQ(HM_Get_Temperature(0, 5, &t), c.rc) << (c.content ? c.content : "missing");
    EXPECT_EQ(t, c.celsius);
    EXPECT_EQ(HM_Get_Fan(0, 0, &rpm, &status), c.rc) << (c.content ? c.content : "missing");
    EXPECT_EQ(rpm, c.rpm);
    EXPECT_EQ(status, 0);
  }
  EXPECT_NE(trace().find("sio_sys_get_temperature("), std::string::npos);
  EXPECT_NE(trace().find("): System Error"), std::string::npos);
}

TEST_F(HmTest, AnEnclosureThatIsNotRegisteredFailsWithTheOutputsNeutral) {
  describe("[System Enclosure]\nSIO_DEVICE = IT87\nSYSTEM_TEMP_UNIT = SIO:1\n");
  root.write(kDev + "temp1_input", "40000");
  double t = 99;
  unsigned rpm = 99;
  int status = 99, mode = 99;
  EXPECT_EQ(HM_Get_Temperature(3, 5, &t), -1);
  EXPECT_EQ(HM_Get_Fan(-1, 0, &rpm, &status), -1);
  EXPECT_EQ(HM_Get_Power_Recovery_Mode(7, &mode), -1);
  EXPECT_EQ(t, 0.0);
  EXPECT_EQ(rpm, 0u);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(mode, 0);
  EXPECT_EQ(HM_Get_Temperature(0, 5, &t), 0);
  EXPECT_EQ(t, 40.0);
  double v = 99;
  EXPECT_EQ(HM_Get_Voltage(0, 1, &v), -1);
  EXPECT_EQ(v, 0.0);
  EXPECT_NE(trace().find("se_sys_get_voltage(") , std::string::npos);
  EXPECT_NE(trace().find("got called,enc_sys_id = root, index = 1, NOT implement"), std::string::npos);
}

// Level n is FAN_LEVEL_<n> of the table the fan's chip follows: the embedded controller's
// fans their own group's, every other chip's "System FAN"'s.
TEST_F(HmTest, FansFollowTheLevelTableOfTheirChipAndTakePwmAsItIs) {
  test::Recording<board::Family::kSio> sio;
  test::Recording<board::Family::kEc> ec;
  struct Case {
    const char* unit;
    int index;
    int level;
    int rc;
    Log log;
  };
  const Case cases[] = {
      {"EC", 20, 3, 0, {"EC pwm 20/20=90"}},
      {"EC", 6, 3, 0, {"EC pwm 6/6=150"}},
      {"SIO", 20, 3, 0, {"SIO pwm 20/21=30"}},
      {"SIO", 6, 3, 0, {"SIO pwm 6/7=30"}},
      {"SIO", 20, 9, -1, {}},
      {"SIO", 20, 5, -1, {}},  // no FAN_LEVEL_5 anywhere: the fan is left alone
  };
  for (const Case& c : cases) {
    std::string u = c.unit;
    describe("[System FAN]\nFAN_UNIT = " + u + "\nFAN_LEVEL_3 = 30\n[CPU FAN]\nFAN_UNIT = " + u +
             "\nFAN_1 = I7\nFAN_LEVEL_3 = 150\n[System FAN Region 1]\nFAN_UNIT = " + u +
             "\nFAN_1 = I21\nFAN_LEVEL_3 = 90\n");
    board::reset_fan_levels();
    test::calls().log.clear();
    EXPECT_EQ(HM_Set_Fan_Speed(0, c.index, c.level), c.rc) << u << " " << c.index;
    EXPECT_EQ(test::calls().log, c.log) << u << " " << c.index << " level " << c.level;
  }
  test::calls().log.clear();
  EXPECT_EQ(HM_Set_Fan_Speed_By_PWM(0, 20, 77), 0);
  EXPECT_EQ(HM_Set_Fan_Speed_By_PWM(0, 20, 256), -1);
  EXPECT_EQ(HM_Set_Fan_Speed_By_PWM(0, 12, 77), -1);  // no such fan
  // A region's stepping spreads over its MIN_PWM..MAX_PWM and sets its first fan.
  root.write(kModelConf, root.read(kModelConf) + "MIN_PWM = 50\nMAX_PWM = 250\n");
  EXPECT_EQ(SE_Set_FAN_Region_Stepping(0, 2, 30), 0);
  EXPECT_EQ(SE_Set_FAN_Region_Stepping(0, 1, 30), -1);  // "CPU FAN" gives no range
  EXPECT_EQ(test::calls().log, (Log{"SIO pwm 20/21=77", "SIO pwm 20/21=110"}));
}

class HmEcTest : public HmTest {
 protected:
  HmEcTest() { model.attach_to(bus); }
  sim::EcModel model;
  void board(const std::string& more = "") {
    describe("[System Enclosure]\nSIO_DEVICE = IT8528\n[System FAN Region 1]\nFAN_UNIT = EC\n"
             "FAN_1 = I21\n[System FAN]\nFAN_UNIT = EC\nFAN_1 = I1\n" + more);
  }
};

// The tables go to the scheme's block (percent for PWM, degrees) and a scheme's mode to the
// mode register of the fan's group; a table of the wrong size or range touches nothing.
TEST_F(HmEcTest, FanTablesReachTheirRegistersAndModesTheFansGroup) {
  board();
  const int pwm4[] = {0, 64, 128, 255}, temp4[] = {30, 40, 50, 60};
  const int pwm7[] = {10, 20, 40, 80, 120, 200, 255}, temp7[] = {20, 30, 40, 50, 60, 70, 80};
  ASSERT_EQ(HM_Init_EC_QFan_PWM(0, pwm4, HM_EC_QFAN_POINTS), 0);
  ASSERT_EQ(HM_Init_EC_QFan_Auto_Temp(0, temp4, HM_EC_QFAN_POINTS), 0);
  ASSERT_EQ(HM_Set_EC_TFAN_Parameters(0, pwm4, temp4, HM_EC_TFAN_POINTS), 0);
  ASSERT_EQ(HM_Init_EC_7Level_PWM(0, pwm7, HM_EC_7LEVEL_POINTS), 0);
  ASSERT_EQ(HM_Init_EC_7Level_Temp(0, temp7, HM_EC_7LEVEL_POINTS), 0);
  auto regs = [&](uint16_t first, int n) {
    std::vector<int> v;
    for (int i = 0; i < n; ++i) v.push_back(model.reg(static_cast<uint16_t>(first + i)));
    return v;
  };
  EXPECT_EQ(regs(0x0270, 8), (std::vector<int>{0, 25, 50, 100, 30, 40, 50, 60}));
  EXPECT_EQ(regs(0x0278, 8), (std::vector<int>{0, 25, 50, 100, 30, 40, 50, 60}));
  EXPECT_EQ(regs(0x0280, 7), (std::vector<int>{3, 7, 15, 31, 47, 78, 100}));
  EXPECT_EQ(regs(0x0288, 7), (std::vector<int>{20, 30, 40, 50, 60, 70, 80}));

  struct Mode {
    int (*set)(int, int);
    int index;
    uint16_t reg;
    int value;
  };
  for (Mode m : {Mode{HM_Set_EC_QFan_Auto, 20, 0x0221, 1}, Mode{HM_Set_EC_QFan_Custom, 0, 0x0220, 2},
                 Mode{HM_Set_EC_TFan_Auto, 20, 0x0221, 3}, Mode{HM_Set_EC_TFan_Custom, 20, 0x0221, 4},
                 Mode{HM_Set_EC_7Level_Auto, 0, 0x0220, 5}, Mode{HM_Set_EC_7Level_Custom, 0, 0x0220, 6}}) {
    ASSERT_EQ(m.set(0, m.index), 0);
    EXPECT_EQ(model.reg(m.reg), m.value);
  }
  ASSERT_EQ(HM_Set_EC_7Level_Manual(0, 20, 255), 0);
  EXPECT_EQ(model.reg(0x0221), 0x10);
  EXPECT_EQ(model.reg(0x022F), 100);

  accesses();
  const int too_hot[] = {30, 40, 50, 128};
  EXPECT_EQ(HM_Init_EC_QFan_PWM(0, pwm4, 3), -1);
  EXPECT_EQ(HM_Init_EC_QFan_Auto_Temp(0, too_hot, 4), -1);
  EXPECT_EQ(HM_Init_EC_7Level_PWM(0, nullptr, 7), -1);
  EXPECT_EQ(HM_Set_EC_QFan_Auto(0, 30), -1);  // not a fan the board describes
  EXPECT_EQ(accesses(), 0u);
}

TEST_F(HmEcTest, EmbeddedControllerOnlyFunctionsAreSilentWithoutOne) {
  describe("[System Enclosure]\nSIO_DEVICE = IT87\n");
  const int pwm4[] = {0, 64, 128, 255};
  int on = 9;
  EXPECT_EQ(HM_Init_EC_QFan_PWM(0, pwm4, 4), -1);
  EXPECT_EQ(HM_Get_EUP_State(0, &on), -1);
  EXPECT_EQ(on, 0);
  EXPECT_EQ(HM_Temperature_Calibrate(0, 5, 40.0), -1);
  EXPECT_EQ(accesses(), 0u);
  EXPECT_EQ(trace().find("not implement"), std::string::npos);
  board();
  EXPECT_EQ(HM_Temperature_Calibrate(0, 5, 40.0), -1);  // the controller's registers are private
  EXPECT_NE(trace().find("se_sys_temperature_calibrate("), std::string::npos) << trace();
}

}  // namespace
}  // namespace bayhal
