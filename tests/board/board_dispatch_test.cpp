// The se_sys_* operations over recording chip families: stage 1, the index maps, the caches
// and the selections each operation makes.
#include "board/board_services.h"
#include "board/dispatch/se_sys.h"
#include "foundation/clock.h"
#include "tests/board/board_fixture.h"

namespace bayhal::test {
namespace {

using namespace board;
using Log = std::vector<std::string>;

class BoardDispatchTest : public BoardTest {};

TEST_F(BoardDispatchTest, TemperaturesOutsideTheMapFailAndLeaveZero) {
  Recording<Family::kEc> ec;
  model("[System Enclosure]\nCPU_TEMP_UNIT = EC\nENV_TEMP_UNIT = EC\n");
  for (int index : {3, 39, -1, 12}) EXPECT_EQ(temp(index), "-1 0") << index;
  EXPECT_EQ(temp(38), "0 40");
  EXPECT_EQ(calls().log, (Log{"EC temp 38/38"}));
}

TEST_F(BoardDispatchTest, StageOneTakesEachOperationsOwnBranches) {
  Recording<Family::kUsbUnit> usb;
  Recording<Family::kMvs> mvs;
  Recording<Family::kPx> px;
  double t = 0;
  int pwm = 0;
  EXPECT_EQ(se_sys_get_temp("usb2-1", 5, &t), -1);
  EXPECT_TRUE(traced("se_sys_get_temp(") && traced("enc_sys_id = usb2-1 not implement.\n"));
  EXPECT_EQ(se_sys_get_temp("usb_2-1", 5, &t), 0);
  EXPECT_EQ(se_sys_set_status_led("mvs_a", 1, 1), 0);
  EXPECT_EQ(se_sys_blink_status_led("mvs_a", 1, 1), -1);  // JBOD series: set only
  EXPECT_EQ(se_sys_get_fan_pwm("px_1", 0, &pwm), -1);     // RAID enclosure: no PWM
  EXPECT_EQ(pwm, -1);
  EXPECT_EQ(se_sys_set_power_recovery_mode("usb_2-1", 0), -1);  // root only
  EXPECT_EQ(se_sys_set_fan_speed("root_usb", 0, 1), -1);
  EXPECT_TRUE(traced("se_sys_set_fan_speed(") && traced("):NOT implement\n"));
  EXPECT_EQ(calls().log, (Log{"USB unit temp 5/-1", "MVS led 1=1"}));
}

TEST_F(BoardDispatchTest, FanLevelNineFailsBeforeAnyLookup) {
  EXPECT_EQ(se_sys_set_fan_speed("no_such_unit", 0, 9), -1);
  EXPECT_EQ(se_sys_set_fan_speed("root", -1, -1), -1);
  EXPECT_FALSE(traced("NOT implement"));
}

TEST_F(BoardDispatchTest, CachesResolveOnceAndRememberWhatIsUnsupported) {
  Recording<Family::kEc> ec;
  Recording<Family::kDts> dts;
  model("[System Enclosure]\nCPU_TEMP_UNIT = EC\n");
  // No SYSTEM_TEMP_UNIT: index 5 is unsupported, and stays so while the process lives.
  EXPECT_EQ(temp(0), "0 40");
  EXPECT_EQ(temp(5), "-1 0");
  model("[System Enclosure]\nCPU_TEMP_UNIT = DTS:1\nSYSTEM_TEMP_UNIT = EC\n");
  EXPECT_EQ(temp(0), "0 40");
  EXPECT_EQ(temp(5), "-1 0");
  EXPECT_EQ(calls().log, (Log{"EC temp 0/0", "EC temp 0/0"}));
  fresh_process();
  EXPECT_EQ(temp(0), "0 40");
  EXPECT_EQ(temp(5), "0 40");
  EXPECT_EQ(calls().log, (Log{"DTS temp 0/1", "EC temp 5/5"}));
}

TEST_F(BoardDispatchTest, AllFansIndexSetsExactlyTheConfiguredFans) {
  Recording<Family::kEc> ec;
  model(
      "[System Enclosure]\nMAX_FAN_NUM = 2\nMAX_CPU_FAN_NUM = 1\n"
      "[FAN Region]\nMAX_REGION_NUM = 3\n"
      "[System FAN]\nFAN_UNIT = EC\nFAN_1 = I1\nFAN_2 = I2\nFAN_3 = I3\nFAN_LEVEL_4 = 128\n"
      "[CPU FAN]\nFAN_UNIT = EC\nFAN_1 = I7\nFAN_2 = I8\nFAN_LEVEL_4 = 200\n"
      "[System FAN Region 1]\nFAN_UNIT = EC\nMAX_FAN_NUM = 2\nFAN_1 = I21\nFAN_2 = I22\n"
      "FAN_3 = I23\nFAN_LEVEL_4 = 90\n"
      "[System FAN Region 2]\nFAN_UNIT = EC\nMAX_FAN_NUM = 1\nFAN_1 = I31\nFAN_LEVEL_4 = 70\n");
  EXPECT_EQ(se_sys_set_fan_speed("root", -1, 4), 0);
  EXPECT_EQ(calls().log, (Log{"EC pwm 0/0=128", "EC pwm 1/1=128", "EC pwm 6/6=200",
                              "EC pwm 20/20=90", "EC pwm 21/21=90"}));
  calls().log.clear();
  calls().result = -5;
  EXPECT_EQ(se_sys_set_fan_speed("root", 30, 4), -5);  // one fan; the driver's code passes back
  EXPECT_EQ(calls().log, (Log{"EC pwm 30/30=70"}));
}

TEST_F(BoardDispatchTest, StatusLedsSelectTheirChipAndCommands) {
  Recording<Family::kPic> pic;
  Recording<Family::kMcu> mcu;
  Recording<Family::kEmcu> emcu;
  Recording<Family::kIoPort> ioport;
  Recording<Family::kEc> ec;
  struct Row {
    const char* red;
    const char* green;
    const char* spec;
    int led, on;
    bool blink;
    int rc;
    Log log;
  } rows[] = {
      {"PIC", "PIC", "", 0, 1, false, 0, {"PIC cmd 89", "PIC cmd 87"}},
      {"PIC", "PIC", "", 2, 1, true, 0, {"PIC cmd 89", "PIC cmd 88"}},
      {"MCU", "MCU", "MCU", 1, 0, false, 0, {"MCU cmd 89", "MCU cmd 89"}},
      {"MCU", "MCU", "SPEC4", 1, 1, false, 0, {"EMCU led 1=1"}},
      {"IOPORT:0x4e4", "EC", "", 0, 1, false, 0, {"IOPORT led 0=1 @1252"}},
      {"IOPORT", "EC", "", 0, 1, false, -1, {}},  // no port to write
      {"IOPORT:0x4e4", "EC", "", 0, 1, true, -1, {}},  // a port cannot blink
      {"EC", "IOPORT:0x4e4", "", 2, 1, true, -1, {}},  // both: hybrid
      {"EC", "EC", "", 2, 1, true, 0, {"EC blink 2=1"}},
      {"ec", "EC", "", 0, 1, false, -1, {}},  // LED values keep their case
      {"EC", "EC", "", 3, 1, false, -1, {}},
  };
  for (const Row& r : rows) {
    fresh_process();
    model(std::string("[System IO]\nSTATUS_RED_LED = ") + r.red + "\nSTATUS_GREEN_LED = " +
          r.green + "\n[System Enclosure]\nMCU_SPEC = " + r.spec + "\n");
    int rc = r.blink ? se_sys_blink_status_led("root", r.led, r.on)
                     : se_sys_set_status_led("root", r.led, r.on);
    EXPECT_EQ(rc, r.rc) << r.red << " led " << r.led;
    EXPECT_EQ(calls().log, r.log) << r.red << " led " << r.led;
  }
  EXPECT_TRUE(traced("): hybrid_method = 1 not implement.\n"));
  EXPECT_TRUE(traced("): conf_val = ec not implement.\n"));
}

TEST_F(BoardDispatchTest, LedBrightnessNeedsADimmableBoard) {
  Recording<Family::kEc> ec;
  struct Row {
    const char* ctrl;
    int kind, levels, rc;
  } rows[] = {{"GPIO", 0, 0, -1}, {"PWM", 1, 3, 0}, {"PWM:5", 1, 5, 0}};
  for (const Row& r : rows) {
    model(std::string("[System IO]\nLED_BV_INTERFACE = EC\nLED_BV_CTRL = ") + r.ctrl + "\n");
    int kind = -9, levels = -9;
    EXPECT_EQ(board_services().se_sys_get_led_bv_ctrl_capability("root", &kind, &levels), 0);
    EXPECT_EQ(kind, r.kind) << r.ctrl;
    EXPECT_EQ(levels, r.levels) << r.ctrl;
    EXPECT_EQ(se_sys_set_led_brightness_by_pwm("root", 50), r.rc) << r.ctrl;
  }
  EXPECT_EQ(se_sys_set_led_brightness_by_pwm("root", 101), -1);
  EXPECT_TRUE(traced("): System Error: cap = 0, value = 50.\n"));
  EXPECT_EQ(calls().log, (Log{"EC brightness 50", "EC brightness 50"}));
}

TEST_F(BoardDispatchTest, McuSpecAndEmbeddedControllerPresence) {
  struct Row {
    const char* model;
    int rc, spec, ec;
  } rows[] = {
      {"MCU_SPEC = spec3\nSIO_DEVICE = it8528\n", 0, 3, 1},
      {"MCU_SPEC = CPLD\nSIO_DEVICE = IT87\n", 0, 0, 0},
      {"CAP = 0x10000\n", 0, -1, 0},
      {"CAP = 0x400000\n", -1, 0, 0},
      {"MCU_SPEC = SPEC9\n", -1, 0, 0},
  };
  for (const Row& r : rows) {
    model(std::string("[System Enclosure]\n") + r.model);
    int spec = 7, ec = 7;
    EXPECT_EQ(se_sys_ck_mcu_sp_and_get_spec("root", &spec), r.rc) << r.model;
    EXPECT_EQ(spec, r.spec) << r.model;
    EXPECT_EQ(se_sys_check_ec_support("root", &ec), 0);
    EXPECT_EQ(ec, r.ec) << r.model;
  }
  int spec = 0;
  EXPECT_EQ(se_sys_ck_mcu_sp_and_get_spec("tb_1", &spec), -1);
  EXPECT_TRUE(traced("): Unknow enc_sys_id tb_1\n"));
}

TEST_F(BoardDispatchTest, BuzzerPlaysOnTheDeviceTheBoardHas) {
  Recording<Family::kPic> pic;
  Recording<Family::kMcu> mcu;
  Recording<Family::kEmcu> emcu;
  Recording<Family::kEc> ec;
  Recording<Family::kBeeper> beeper;
  VirtualClock clk;
  ScopedClock scoped(clk);
  struct Row {
    const char* model;
    int pattern;
    Log log;
    long long slept_ms;
  } rows[] = {
      {"[System Enclosure]\nCAP = 0x410000\n", 3, {"PIC cmd 259"}, 0},
      {"[System Enclosure]\nCAP = 0x10000\n", 101, {"MCU cmd 357"}, 0},
      {"[System Enclosure]\nMCU_SPEC = SPEC3\n", 12, {"EMCU beep 1", "EMCU beep 0", "EMCU beep 0"}, 2750},
      {"[System IO]\nSYSTEM_BUZZER_UNIT = EC\n", 12, {"EC beep 1", "EC beep 0", "EC beep 0"}, 750},
      {"[System IO]\nSYSTEM_BUZZER_UNIT = EC\n", 9, {"EC beep 1", "EC beep 1", "EC beep 1"}, 4000},
      {"[System IO]\nSYSTEM_BUZZER_UNIT = EC\n", 21, {}, 0},
      {"[System IO]\nSYSTEM_BUZZER_UNIT = EC\n", 101, {"EC beep 0"}, 0},
      {"[System IO]\n", 100, {"BEEPER beep 1"}, 0},
  };
  root.mkdir("/var/lock");
  for (const Row& r : rows) {
    fresh_process();
    model(r.model);
    long long before = clk.slept_ms();
    EXPECT_EQ(se_sys_set_buzzer("root", r.pattern), 0) << r.model;
    EXPECT_EQ(calls().log, r.log) << r.model << " pattern " << r.pattern;
    EXPECT_EQ(clk.slept_ms() - before, r.slept_ms) << r.model << " pattern " << r.pattern;
  }
}

TEST_F(BoardDispatchTest, RegionTemperatureAveragesItsSensors) {
  Recording<Family::kEc> ec;
  model(
      "[System Enclosure]\nSYSTEM_TEMP_UNIT = EC\n"
      "[System Temp Region 1]\nSYS_TEMP_MONITOR_BITMAP = 11\n");  // bits 0, 1, 3: 5, 6, 8
  double t = 0;
  EXPECT_EQ(se_sys_get_region_temp("root", 0, &t), 0);
  EXPECT_EQ(t, 40.0);
  EXPECT_EQ(calls().log, (Log{"EC temp 5/5", "EC temp 6/6"}));
  EXPECT_TRUE(traced("fail to get temp index 8. sys_temp_count 2 total_sys_temp_value 80"));
  EXPECT_EQ(se_sys_get_region_temp("root", 1, &t), 0);  // no bitmap: index 6 alone
  EXPECT_EQ(calls().log.back(), "EC temp 6/6");
}

TEST_F(BoardDispatchTest, PowerRecoveryAndButtonsFollowTheirUnit) {
  Recording<Family::kEmcu> emcu;
  Recording<Family::kGpio> gpio;
  model(
      "[System Enclosure]\nPWR_RECOVERY_UNIT = MCU\nMCU_SPEC = SPEC3\n"
      "[System IO]\nRESET_BUTTON = GPIO:5\nUSB_COPY_BUTTON = SOC\n");
  EXPECT_EQ(se_sys_set_power_recovery_mode("root", 0), 0);
  int state = 0;
  EXPECT_EQ(se_sys_get_reset_button("root", &state), 0);
  EXPECT_EQ(state, 1);
  EXPECT_EQ(se_sys_get_usb_button("root", &state), -1);  // SoC GPIO: not built
  EXPECT_EQ(state, -1);
  EXPECT_TRUE(traced("): hm_type = 2 not implement.\n"));
  EXPECT_EQ(calls().log, (Log{"EMCU recovery 0", "GPIO button -1/5"}));
  model("[System Enclosure]\nPWR_RECOVERY_UNIT = NCT\n");
  EXPECT_EQ(se_sys_set_power_recovery_mode("root", 2), -1);
  EXPECT_TRUE(traced("): NOT implement.\n"));
}

}  // namespace
}  // namespace bayhal::test
