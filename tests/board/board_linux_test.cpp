// The families Linux serves, through the dispatch: I2C sensors, PMBus supplies and fan
// controllers on the I2C model, GPIO lines on the GPIO model, and the CPU sensors' files
// under the sandbox root.
#include "board/dispatch/se_sys.h"
#include "board/drivers/i2c/pmbus.h"
#include "sim/gpio_model.h"
#include "sim/i2c_model.h"
#include "tests/board/board_fixture.h"

namespace bayhal::test {
namespace {

using namespace board;

class BoardLinuxTest : public BoardTest {};

TEST_F(BoardLinuxTest, I2cSensorsSuppliesAndFanControllers) {
  root.write("/sys/bus/i2c/devices/i2c-0/name", "Synopsys DesignWare I2C adapter\n");
  root.write("/sys/bus/i2c/devices/i2c-3/name", "SMBus I801 adapter at f040\n");
  model(
      "[System Enclosure]\nENV_TEMP_UNIT = I2C:0x4c\n"
      "[System IO]\nREDUNDANT_POWER_1 = I2C:0x58\nREDUNDANT_POWER_2 = I2C:0x59\n"
      "[System FAN]\nFAN_UNIT = I2C:0x52\nFAN_1 = I0\nFAN_2 = I1\nFAN_LEVEL_2 = 128\n");
  sim::I2cModel bus;
  sim::ByteSensorModel sensors;
  sensors.reg(0) = 41;
  sensors.reg(2) = 255;  // nothing wired to the second sensor
  sim::PmbusModel supply1, supply2, fans(2, 4000);
  supply1.page(0).temperature = 45;
  supply1.page(0).rpm = 3000;
  supply2.page(0).status_word = pmbus::kPowerGoodNegated;
  fans.page(1).fan_fault = true;
  fans.page(0).rpm_mode = true;
  bus.attach(3, 0x4c, sensors);
  bus.attach(3, 0x58, supply1);
  bus.attach(3, 0x59, supply2);
  bus.attach(3, 0x52, fans);
  ScopedI2cBus scoped(bus);

  // Sensor 16 reads 255 (nothing wired); the second supply reports its default.
  EXPECT_EQ(temp(15) + "|" + temp(16) + "|" + temp(10) + "|" + temp(11), "0 41|-1 0|0 45|0 30");
  EXPECT_EQ(psu(1) + "|" + psu(2), "0 0|0 -1");
  EXPECT_EQ(se_sys_set_fan_speed("root", 0, 2), 0);  // 128 of 255: 50 percent
  EXPECT_FALSE(fans.page(0).rpm_mode);
  EXPECT_EQ(fan(0) + "|" + pwm(0) + "|" + fan(1), "0 2000 0|0 127|0 0 1");
  EXPECT_EQ(fan(10) + "|" + pwm(10), "0 3000 0|-1 -1");
  EXPECT_TRUE(traced("Cannot get POWER FAN PWM."));
}

TEST_F(BoardLinuxTest, GpioButtonsAndPowerGoodLines) {
  model("[System IO]\nRESET_BUTTON = GPIO:4\nREDUNDANT_POWER_1 = GPIO:7\nREDUNDANT_POWER_2 = GPIO:40\n");
  sim::GpioModel gpio;
  gpio.add_chip("/dev/gpiochip0", 32);
  ScopedGpioLines scoped(gpio);
  int state = 0;
  EXPECT_EQ(se_sys_get_reset_button("root", &state), 0);
  EXPECT_EQ(state, 0);
  gpio.set_level("/dev/gpiochip0", 4, false);  // pressed: pulled low
  EXPECT_EQ(se_sys_get_reset_button("root", &state), 0);
  EXPECT_EQ(state, 1);
  EXPECT_EQ(psu(1), "0 0");
  gpio.set_level("/dev/gpiochip0", 7, false);
  EXPECT_EQ(psu(1) + "|" + psu(2).substr(0, 2), "0 -1|-1");  // no line 40
}

TEST_F(BoardLinuxTest, CpuSensorsReadCoretempAndThermalZones) {
  root.write("/sys/class/hwmon/hwmon0/name", "acpitz\n");
  root.write("/sys/class/hwmon/hwmon0/temp1_input", "27800\n");
  root.write("/sys/class/hwmon/hwmon1/name", "coretemp\n");
  root.write("/sys/class/hwmon/hwmon1/temp1_input", "52900\n");
  root.write("/sys/class/thermal/thermal_zone2/temp", "47500\n");
  struct Row {
    const char* unit;
    const char* reading;
  } rows[] = {{"DTS:1", "0 52"}, {"THERMAL_ZONE:2", "0 47"}, {"DTS:3", "-1 0"}, {"THERMAL_ZONE:0", "-1 0"}};
  for (const Row& r : rows) {
    fresh_process();
    model(std::string("[System Enclosure]\nCPU_TEMP_UNIT = ") + r.unit + "\n");
    EXPECT_EQ(temp(0), r.reading) << r.unit;
  }
}

}  // namespace
}  // namespace bayhal::test
