#include <cerrno>
#include <cstring>

#include "board/dispatch/se_sys.h"
#include "board/drivers/ec/ec.h"
#include "board/drivers/ec/ec_mailbox.h"
#include "sim/ec_model.h"
#include "tests/board/chip_fixture.h"

namespace bayhal {
namespace {

class EcTest : public test::ChipTest {
 protected:
  EcTest() {
    ec.attach_to(bus);
    describe("[System Enclosure]\nSIO_DEVICE = IT8528\n[System IO]\nSYSTEM_BUZZER_FREQ = 60\n");
  }
  int status_reads() const {
    int n = 0;
    for (const sim::PortAccess& a : bus.log()) n += a.port == kEcCommand && !a.write;
    return n;
  }
  sim::EcModel ec;
};

// A stale answer left in the output buffer is drained first, so a read never returns it.
TEST_F(EcTest, TemperatureIndexesReachTheirRegistersAndOthersFailWithoutAnAccess) {
  for (int index : {0, 1, 5, 6, 7, 10, 11, 15, 38}) ec.set_temperature(index, static_cast<uint8_t>(20 + index));
  ec.leave_stale_byte(77);
  for (int index : {0, 1, 5, 6, 7, 10, 11, 15, 38}) {
    double t = 0;
    EXPECT_EQ(ec_sys_get_temperature(index, &t), 0) << index;
    EXPECT_EQ(t, 20 + index) << index;
  }
  EXPECT_EQ(ec.protocol_errors(), 0);
  accesses();
  for (int index : {-1, 2, 4, 8, 12, 14, 39}) {
    double t = 5;
    EXPECT_EQ(ec_sys_get_temperature(index, &t), -1) << index;
    EXPECT_EQ(t, 0.0);
  }
  EXPECT_EQ(accesses(), 0u);
}

TEST_F(EcTest, DutyAndPwmConvertInIntegerArithmeticAndTheFanFollows) {
  ec.fit_fan(6, 3000);
  struct Case {
    int pwm_written;
    int percent;
    int pwm_read;
    unsigned rpm;
  };
  for (Case c : {Case{255, 100, 255, 3000}, Case{128, 50, 127, 1500}, Case{0, 0, 0, 0}, Case{3, 1, 2, 30}}) {
    ASSERT_EQ(ec_sys_set_fan_speed(6, c.pwm_written), 0);
    EXPECT_EQ(ec.reg(0x0223), 0x10);  // CPU fans in manual mode
    EXPECT_EQ(ec.reg(0x024B), c.percent) << c.pwm_written;
    int pwm = -2;
    ASSERT_EQ(ec_sys_get_fan_pwm(6, &pwm), 0);
    EXPECT_EQ(pwm, c.pwm_read);
    unsigned rpm = 1;
    int status = -1;
    ASSERT_EQ(ec_sys_get_fan_speed(6, &rpm), 0);
    ASSERT_EQ(ec_sys_get_fan_status(6, &status), 0);
    EXPECT_EQ(rpm, c.rpm);
    EXPECT_EQ(status, c.rpm > 0 ? 0 : 1);
  }
  EXPECT_EQ(ec_sys_set_fan_speed(6, 256), -1);
  EXPECT_EQ(ec.protocol_errors(), 0);
}

TEST_F(EcTest, FanGroupsMapIndexesToTheirRegisters) {
  for (int fan : {0, 4, 7, 20, 25, 31}) ec.fit_fan(fan, 1000u + static_cast<unsigned>(fan));
  ec.fit_fan(11, 4100);
  for (int fan : {0, 4, 7, 20, 25, 31, 11}) {
    ASSERT_EQ(ec_sys_set_fan_speed(fan, 255), fan == 11 ? -1 : 0) << fan;
    unsigned rpm = 0;
    ASSERT_EQ(ec_sys_get_fan_speed(fan, &rpm), 0) << fan;
    EXPECT_EQ(rpm, ec.fan_rpm(fan)) << fan;
    EXPECT_GE(rpm, 1000u) << fan;
  }
  accesses();
  int status = 9;
  EXPECT_EQ(ec_sys_get_fan_status(10, &status), 0);  // a supply's fan: never asked
  EXPECT_EQ(status, 0);
  EXPECT_EQ(accesses(), 0u);
  for (int fan : {5, 8, 12, 26, 36}) {
    unsigned rpm = 7;
    EXPECT_EQ(ec_sys_get_fan_speed(fan, &rpm), -1) << fan;
    EXPECT_EQ(ec_sys_get_fan_status(fan, &status), -1) << fan;
    EXPECT_EQ(rpm, 0u);
  }
  EXPECT_EQ(accesses(), 0u);
}

TEST_F(EcTest, PowerRecoveryModesMapToTheRegisterBothWays) {
  struct Case {
    int mode;
    int rc;
    uint8_t reg;
  };
  for (Case c : {Case{0, 0, 2}, Case{2, 0, 1}, Case{3, 0, 0}, Case{1, -1, 0}, Case{4, -1, 0}}) {
    ec.reg(0x0016) = 9;
    accesses();
    EXPECT_EQ(ec_sys_set_power_recovery_mode(c.mode), c.rc) << c.mode;
    if (c.rc != 0) {
      EXPECT_EQ(accesses(), 0u);  // refused before the lock or a port
      continue;
    }
    EXPECT_EQ(ec.reg(0x0016), c.reg);
    int mode = -5;
    ASSERT_EQ(ec_sys_get_power_recovery_mode(&mode), 0);
    EXPECT_EQ(mode, c.mode);
  }
  ec.reg(0x0016) = 3;
  int mode = 0;
  EXPECT_EQ(ec_sys_get_power_recovery_mode(&mode), -1);
  EXPECT_EQ(mode, -1);
}

TEST_F(EcTest, ABusyControllerTimesOutAfterExactlyThePollBudget) {
  ec.stay_busy(true);
  double t = 3;
  EXPECT_EQ(ec_sys_get_temperature(0, &t), -EBUSY);
  EXPECT_EQ(t, 0.0);
  EXPECT_EQ(status_reads(), 1 + kEcPolls);  // the drain check, then the budget
  EXPECT_EQ(vclock.sleeps(), kEcPolls);
  EXPECT_EQ(vclock.slept_us(), kEcPolls * kEcPollUs);
  // The lock was given back: the next operation goes through once the controller answers.
  ec.stay_busy(false);
  ec.set_latency(3);
  ec.set_temperature(5, 31);
  EXPECT_EQ(ec_sys_get_temperature(5, &t), 0);
  EXPECT_EQ(t, 31.0);
}

TEST_F(EcTest, PortsOutsideTheInterfacesAndRefusedPermissionFail) {
  EXPECT_EQ(ec_send_byte(0x70, 1), -ENXIO);
  uint8_t v;
  EXPECT_EQ(ec_recv_byte(0x64, &v), -ENXIO);
  bus.refuse_permission(EPERM);
  EXPECT_EQ(ec_sys_get_internal_reg(0x0155, &v), -1);
  EXPECT_EQ(bus.violations(), 0);
}

TEST_F(EcTest, PanelRegistersCarryLedsButtonSuppliesAndFirmware) {
  struct Led {
    int (*op)(int, int);
    int led, on;
    int rc;
    uint8_t reg;
  };
  for (Led c : {Led{ec_sys_set_status_led, 0, 1, 0, 2}, Led{ec_sys_set_status_led, 1, 1, 0, 1},
                Led{ec_sys_set_status_led, 1, 0, 0, 0}, Led{ec_sys_blink_status_led, 1, 1, 0, 3},
                Led{ec_sys_blink_status_led, 0, 1, 0, 4}, Led{ec_sys_blink_status_led, 2, 1, 0, 5},
                Led{ec_sys_set_status_led, 2, 1, -1, 5}, Led{ec_sys_blink_status_led, 3, 1, -1, 5}}) {
    EXPECT_EQ(c.op(c.led, c.on), c.rc);
    EXPECT_EQ(ec.status_led(), c.reg);
  }
  for (bool down : {true, false}) {
    int pressed = -2;
    ec.press_usb_button(down);
    ASSERT_EQ(ec_sys_get_usb_button(&pressed), 0);
    EXPECT_EQ(pressed, down ? 1 : 0);
  }
  ec.set_power_good(1, true);
  int good = 5, bad = 5;
  ASSERT_EQ(ec_sys_get_power_supply_status(1, &good), 0);
  ASSERT_EQ(ec_sys_get_power_supply_status(2, &bad), 0);
  EXPECT_EQ(std::pair(good, bad), std::pair(0, -1));
  EXPECT_EQ(ec_sys_get_power_supply_status(3, &good), -1);

  ec.set_firmware("QE28V123");
  char fw[9];
  ASSERT_EQ(ec_sys_get_fw_version(fw, sizeof fw), 0);
  EXPECT_STREQ(fw, "QE28V123");
  EXPECT_EQ(ec_sys_get_fw_version(fw, 7), -1);

  ec.reg(0x0245) = 0x01;
  ASSERT_EQ(ec_sys_set_led_by_pwm(40), 0);
  EXPECT_EQ(ec.reg(0x0243), 40);
  EXPECT_EQ(ec.reg(0x0245), 0x11);
  EXPECT_EQ(ec.reg(0x0246), 40);
  EXPECT_EQ(ec_sys_set_led_by_pwm(101), -1);
}

TEST_F(EcTest, EupNeedsTheCapabilityAndTouchesOnlyItsBit) {
  int on = 3;
  EXPECT_EQ(ec_sys_get_eup_state(&on), -1);
  EXPECT_EQ(ec_sys_set_eup_state(1), -1);
  EXPECT_EQ(ec.reg(0x0121), 0);
  ec.set_eup_capable(true);
  ec.reg(0x0121) = 0x41;
  ASSERT_EQ(ec_sys_set_eup_state(1), 0);
  EXPECT_EQ(ec.reg(0x0121), 0x49);
  ASSERT_EQ(ec_sys_get_eup_state(&on), 0);
  EXPECT_EQ(on, 1);
  ASSERT_EQ(ec_sys_set_eup_state(0), 0);
  EXPECT_EQ(ec.reg(0x0121), 0x41);
}

TEST_F(EcTest, TheBuzzerSoundsForItsModesTimeAtTheDescribedFrequency) {
  ASSERT_EQ(ec_sys_set_buzzer(0), 0);
  EXPECT_EQ(vclock.slept_ms(), 500);
  ASSERT_EQ(ec_sys_set_buzzer(1), 0);
  EXPECT_EQ(vclock.slept_ms(), 1500);
  EXPECT_EQ(ec.buzzer_writes(), (std::vector<uint8_t>{60, 0, 60, 0}));
  EXPECT_EQ(ec_sys_set_buzzer(2), -1);
  describe("[System IO]\nSYSTEM_BUZZER_FREQ = 101\n");
  EXPECT_EQ(ec_sys_set_buzzer(0), -1);
  EXPECT_EQ(ec.buzzer_writes().size(), 4u);
  // A pattern played on it: long, 0.5 s, short, 0.25 s, short, timed as the model heard it.
  describe("[System IO]\nSYSTEM_BUZZER_UNIT = EC\nSYSTEM_BUZZER_FREQ = 60\n");
  ASSERT_EQ(board::se_sys_set_buzzer("root", 12), 0);
  auto beeps = ec.beeps();
  ASSERT_EQ(beeps.size(), 5u);
  EXPECT_EQ(std::vector<long long>({beeps[2].ms, beeps[2].after_ms, beeps[3].ms, beeps[3].after_ms,
                                    beeps[4].ms, beeps[4].after_ms}),
            std::vector<long long>({1000, 0, 500, 500, 500, 250}));
}

}  // namespace
}  // namespace bayhal
