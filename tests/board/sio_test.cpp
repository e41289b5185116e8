#include <string>

#include "board/dispatch/se_sys.h"
#include "board/drivers/sio/sio.h"
#include "sim/superio_model.h"
#include "tests/board/chip_fixture.h"

namespace bayhal {
namespace {

using Chip = sim::SuperIoModel::Chip;
using Led = sim::SuperIoModel::Led;

// A board with one chip on a bus of its own; fitting another replaces the board.
class SioTest : public test::ChipTest {
 protected:
  struct Rig {
    explicit Rig(Chip chip) : model(chip) { model.attach_to(bus); }
    sim::PortBus bus;
    sim::SuperIoModel model;
  };
  sim::SuperIoModel& fit(Chip chip, const char* name, std::string io = "") {
    rig_ = std::make_unique<Rig>(chip);
    set_port_io(&rig_->bus);
    sio_reset_caches();
    describe(std::string("[System Enclosure]\nSIO_DEVICE = ") + name + "\n[System IO]\n" + io);
    return rig_->model;
  }
  int violations() const { return rig_->bus.violations(); }
  std::unique_ptr<Rig> rig_;
};

TEST_F(SioTest, EachFamilyEntersItsConfigurationModeForTheChipIdAndLeavesIt) {
  struct Case {
    Chip chip;
    const char* name;
    int rc;
    uint16_t id;
  };
  for (Case c : {Case{Chip::kF71869A, "F71869A", 0, 0x0814}, Case{Chip::kIt87, "IT87", 0, 0x8772},
                 Case{Chip::kF81866A, "F81866A", 0, 0x1010}, Case{Chip::kNct5523, "NCT5523", -1, 0}}) {
    sim::SuperIoModel& model = fit(c.chip, c.name);
    uint16_t id = 1;
    EXPECT_EQ(sio_sys_get_chip_id(&id), c.rc) << c.name;
    EXPECT_EQ(id, c.id) << c.name;
    EXPECT_EQ(model.entries(), c.rc == 0 ? 1 : 0) << c.name;
    EXPECT_FALSE(model.in_config()) << c.name;
    EXPECT_EQ(violations(), 0);
  }
  describe("[System Enclosure]\nSIO_DEVICE = W83627\n");
  uint16_t id = 1;
  EXPECT_EQ(sio_sys_get_chip_id(&id), -1);
}

TEST_F(SioTest, PinsAreActiveLowOnEveryFamilyAndTheBaseIsReadOnce) {
  struct Case {
    Chip chip;
    const char* name;
    int led_pin, button_pin;
  };
  for (Case c : {Case{Chip::kIt87, "IT87", 52, 21}, Case{Chip::kF71869A, "F71869A", 34, 7},
                 Case{Chip::kF81866A, "F81866A", 45, 13}}) {
    sim::SuperIoModel& m = fit(c.chip, c.name);
    int v = -1;
    for (int on : {1, 0}) {
      ASSERT_EQ(sio_sys_set_gpio_val(c.led_pin, on), 0) << c.name;
      EXPECT_EQ(m.led(c.led_pin), on ? Led::kOn : Led::kOff) << c.name;
      m.press(c.button_pin, on == 1);
      ASSERT_EQ(sio_sys_get_gpio_val(c.button_pin, &v), 0);
      EXPECT_EQ(v, on) << c.name;
    }
    int entries = m.entries();
    ASSERT_EQ(sio_sys_get_gpio_val(c.button_pin, &v), 0);
    EXPECT_EQ(m.entries(), entries) << c.name << ": a read with the base cached needs no configuration mode";
    EXPECT_FALSE(m.in_config());
  }
  EXPECT_EQ(sio_sys_set_gpio_val(58, 1), -1);  // no bit 8
  EXPECT_EQ(violations(), 0);
}

TEST_F(SioTest, TheIt87BlinkEngineTakesThePinFromTheSecondEngineAndFintekHasNone) {
  sim::SuperIoModel& m = fit(Chip::kIt87, "IT87",
                             "STATUS_RED_LED = SIO:52\nSTATUS_GREEN_LED = SIO:53\nPOWER_LED = sio:54\n");
  ASSERT_EQ(board::se_sys_blink_status_led("root", 2, 1), 0);
  EXPECT_EQ(m.led(52), Led::kBlink1);
  EXPECT_EQ(m.led(53), Led::kBlink2);
  ASSERT_EQ(board::se_sys_blink_status_led("root", 1, 1), 0);  // green moves to engine 1
  EXPECT_EQ(m.reg(7, 0xF8), 0x2B);                // bit 3 | group 5 << 3
  EXPECT_EQ(m.reg(7, 0xF9), 0);
  EXPECT_EQ(m.reg(7, 0xFA), 0);
  EXPECT_EQ(m.reg(7, 0xFB), 1);
  EXPECT_EQ(m.led(53), Led::kBlink1);
  ASSERT_EQ(board::se_sys_set_status_led("root", 1, 1), 0);  // steady again
  EXPECT_EQ(m.led(53), Led::kOn);
  ASSERT_EQ(board::se_sys_blink_status_led("root", 0, 0), 0);  // red stops blinking, off
  EXPECT_EQ(m.led(52), Led::kOff);
  EXPECT_EQ(board::se_sys_set_power_led("root", 1), -1);  // "sio" is not "SIO"
  EXPECT_EQ(m.led(54), Led::kOff);
  // Fintek chips have no blink engine: their pins are set only.
  sim::SuperIoModel& f = fit(Chip::kF71869A, "F71869A", "STATUS_RED_LED = SIO:34\n");
  EXPECT_EQ(board::se_sys_blink_status_led("root", 0, 1), -1);
  EXPECT_EQ(board::se_sys_set_status_led("root", 0, 1), 0);
  EXPECT_EQ(f.led(34), Led::kOn);
}

TEST_F(SioTest, PowerRecoveryModesOnEveryFamily) {
  struct Case {
    Chip chip;
    const char* name;
    uint8_t ldn, reg_a, reg_b;  // IT87: the two registers; others: one register twice
    uint8_t mask;
    uint8_t on, last, off;  // the register bits for modes 0, 2, 3
  };
  for (Case c : {Case{Chip::kIt87, "IT87", 4, 0xF2, 0xF4, 0x20, 0x20 << 0, 0, 0},
                 Case{Chip::kF71869A, "F71869A", 0x0A, 0xF4, 0xF4, 0x06, 0x02, 0x04, 0},
                 Case{Chip::kF81866A, "F81866A", 0x0A, 0xF4, 0xF4, 0x06, 0x02, 0x04, 0},
                 Case{Chip::kNct5523, "NCT5523", 0x0A, 0xE4, 0xE4, 0x60, 0x20, 0x40, 0}}) {
    sim::SuperIoModel& m = fit(c.chip, c.name);
    m.reg(c.ldn, c.reg_a) = 0x81;  // bits around the field stay
    for (int mode : {0, 2, 3}) {
      ASSERT_EQ(sio_sys_set_power_recovery_mode(mode), 0) << c.name << mode;
      uint8_t want = mode == 0 ? c.on : mode == 2 ? c.last : c.off;
      EXPECT_EQ(m.reg(c.ldn, c.reg_a) & c.mask, want) << c.name << " mode " << mode;
      if (c.chip == Chip::kIt87) {
        EXPECT_EQ(m.reg(c.ldn, c.reg_b) & c.mask, mode == 2 ? 0x20 : 0);
      }
      EXPECT_EQ(m.reg(c.ldn, c.reg_a) & 0x81, 0x81);
      int got = -1;
      ASSERT_EQ(sio_sys_get_power_recovery_mode(&got), 0);
      EXPECT_EQ(got, mode) << c.name;
    }
    int entries = m.entries();
    EXPECT_EQ(sio_sys_set_power_recovery_mode(1), -1);
    EXPECT_EQ(m.entries(), entries);
    EXPECT_FALSE(m.in_config());
  }
}

TEST_F(SioTest, HardwareMonitorReadingsComeFromHwmon0) {
  fit(Chip::kIt87, "IT87");
  const std::string dev = "/sys/class/hwmon/hwmon0/device/";
  root.write(dev + "temp1_input", "130000\n");
  root.write(dev + "temp2_input", "41500\n");
  double t = 0;
  ASSERT_EQ(sio_sys_get_temperature(1, &t), 0);
  EXPECT_EQ(t, -126.0);  // deliberately a signed byte
  ASSERT_EQ(sio_sys_get_temperature(2, &t), 0);
  EXPECT_EQ(t, 41.0);
  EXPECT_EQ(sio_sys_get_temperature(3, &t), -1);
  EXPECT_EQ(t, 0.0);

  struct Fan {
    const char* pwm;
    const char* rpm;
    int status;
  };
  for (Fan f : {Fan{"0", "0", 0}, Fan{"120", "0", 1}, Fan{"120", "1400", 0}}) {
    root.write(dev + "pwm1", f.pwm);
    root.write(dev + "fan1_input", f.rpm);
    unsigned rpm = 1;
    int status = -1;
    ASSERT_EQ(sio_sys_get_fan_speed(1, &rpm, &status), 0);
    EXPECT_EQ(status, f.status) << f.pwm << " " << f.rpm;
  }
  ASSERT_EQ(sio_sys_set_fan_pwm(1, 200), 0);
  EXPECT_EQ(root.read(dev + "pwm1"), "200");
  EXPECT_FALSE(root.exists(dev + "pwm1_enable"));  // manual mode is a Fintek step only
}

TEST_F(SioTest, FintekFansAreSwitchedToManualFirstAndReportTheirAlarm) {
  fit(Chip::kF71869A, "F71869A");
  const std::string dev = "/sys/class/hwmon/hwmon0/device/";
  root.write(dev + "fan2_input", "0");
  root.write(dev + "fan2_alarm", "1");
  root.write(dev + "pwm2", "0");
  unsigned rpm;
  int status = 0;
  ASSERT_EQ(sio_sys_get_fan_speed(2, &rpm, &status), 0);
  EXPECT_EQ(status, 1);
  root.write(dev + "pwm2_enable", "2");
  ASSERT_EQ(sio_sys_set_fan_pwm(2, 90), 0);
  EXPECT_EQ(root.read(dev + "pwm2_enable"), "1");
  EXPECT_EQ(root.read(dev + "pwm2"), "90");
  root.mkdir(dev + "pwm3_enable");  // a fan the driver keeps in automatic mode
  EXPECT_EQ(sio_sys_set_fan_pwm(3, 90), -1);
  EXPECT_FALSE(root.exists(dev + "pwm3"));
}

}  // namespace
}  // namespace bayhal
