// The board's chip drivers: one table of operations per chip family, so that the back-end
// dispatch (board/dispatch) asks a family for a temperature, a fan or an LED without knowing
// how the chip does it. A family lacking an operation leaves it null; the dispatch then
// answers -1 with the "not implement" trace, the same answer as a family not built yet.
// docs/board.md lists what each family offers and what it receives.
#pragma once
#include <string_view>

namespace bayhal::board {

// Driver kinds as the model description's values select them (hm_type). 0 = not yet
// resolved, -1 = resolved but not supported; 9 is unused.
enum HmType : int {
  kHmUnsupported = -1,
  kHmUnresolved = 0,
  kHmSio = 1,
  kHmSoc = 2,
  kHmI2c = 3,
  kHmPic = 4,
  kHmGpio = 5,
  kHmMcu = 6,
  kHmDts = 7,
  kHmEc = 8,
  kHmThermalZone = 10,
};

// Every family with a table: the chips of the appliance's own board, then the back-ends of
// the expansion-unit kinds (stage 1 hands a whole enclosure to one of those).
enum class Family : int {
  kSio,          // Super I/O (hm_type 1)
  kSoc,          // SoC GPIO (2)
  kI2c,          // I2C/SMBus devices and PMBus supplies through i2c-dev (3)
  kPic,          // front-panel PIC microcontroller, command protocol (4)
  kGpio,         // Linux GPIO line through the GPIO character device (5)
  kMcu,          // board microcontroller, legacy command protocol (6, MCU spec not 3/4)
  kEmcu,         // board microcontroller, enhanced protocol (6, MCU spec 3 or 4)
  kDts,          // CPU digital thermal sensor through coretemp (7)
  kEc,           // embedded controller (8)
  kThermalZone,  // kernel thermal zone (10)
  kCpld,         // programmable logic on the board
  kIch,          // chipset power-recovery setting
  kIoPort,       // a raw I/O-port byte (status LEDs only)
  kBeeper,       // the board's own beeper
  kSes,          // SAS expander units (SCSI Enclosure Services)
  kUsbUnit,      // "usb_" expansion units
  kPx,           // "px_" RAID enclosures
  kMvs,          // "mvs_" JBOD series
  kTb,           // "tb_" Thunderbolt units
  kZmc,          // "zmc" M.2 cards
  kCount,
};

// Single-function LEDs of the front panel (ident: the enclosure's locate LED).
enum class Led : int { kPower, kUsb, kBreath, kBreathing, k10G, kJbodConnect, kStandby, kIdent, kCount };
// Buttons of the front panel, and the case cover's switch (1 open).
enum class Button : int { kReset, kUsbCopy, kEject, kCaseCover, kCount };

// Where an operation lands: what stage 1 and stage 2 resolved for it.
struct Target {
  const char* enc_sys_id = "root";
  // The function's index in the board's map: temperature 0-38, fan 0-35, supply 1-2,
  // status LED 0-2; -1 where the function has none.
  int index = -1;
  // The number the chip's own function takes (a hwmon channel, an EC fan, a GPIO line,
  // a zone, an SMBus register, an I/O port); -1 when the chip takes none.
  int channel = -1;
  int i2c_bus = -1;   // I2C: the board's bus number
  int i2c_addr = 0;   // I2C: the device's 7-bit address
  // The selecting key's value in the model description ("SIO:3", "I2C:0x58", ...), for
  // chips whose pins are named there; empty when no key selected the chip.
  std::string_view unit;
};

// One family's operations. Each returns 0 (or a non-negative value) on success and -1, or
// the chip's negative code, on failure; outputs were set neutral by the caller.
struct Driver {
  std::string_view name;  // as hal_tool shows it: "SIO", "EC", "I2C", ...

  // Sensors and fans. PWM is 0..255, a level 0..8, a fan status 0 running / 1 failed.
  int (*get_temp)(const Target&, double* celsius) = nullptr;
  int (*get_fan_speed)(const Target&, unsigned* rpm, int* status) = nullptr;
  // Chips that report a fan's state apart from its speed: read first, see docs/board.md.
  int (*get_fan_status)(const Target&, int* status) = nullptr;
  int (*get_fan_pwm)(const Target&, int* pwm) = nullptr;
  int (*set_fan_pwm)(const Target&, int pwm) = nullptr;
  int (*set_fan_level)(const Target&, int level) = nullptr;

  // Status LED: led 0 red, 1 green, 2 both (blink only); on 0 = off.
  int (*set_status_led)(const Target&, int led, int on) = nullptr;
  int (*blink_status_led)(const Target&, int led, int on) = nullptr;
  int (*set_led)(const Target&, Led led, int on) = nullptr;
  int (*blink_led)(const Target&, Led led, int on) = nullptr;
  int (*set_led_brightness)(const Target&, int percent) = nullptr;

  // 1 pressed, 0 released.
  int (*get_button)(const Target&, Button button, int* pressed) = nullptr;
  // Supply `index` (1 or 2): 0 good, -1 failed.
  int (*get_power_supply_status)(const Target&, int* status) = nullptr;

  // AC power recovery in the library's mode numbers (0, 2, 3; see docs/board.md).
  int (*get_power_recovery)(const Target&, int* mode) = nullptr;
  int (*set_power_recovery)(const Target&, int mode) = nullptr;
  // One beep: mode 0 short, 1 long.
  int (*beep)(const Target&, int mode) = nullptr;
  // Controllers driven by command numbers (PIC, legacy MCU).
  int (*send_command)(const Target&, int command) = nullptr;
  int (*get_eup)(const Target&, int* on) = nullptr;
  int (*set_eup)(const Target&, int on) = nullptr;
  // NUL-terminated text in buf[0..size).
  int (*get_fw_version)(const Target&, char* buf, int size) = nullptr;
};

// The table of `family`: the one registered in board/driver_registry.cpp unless a test
// installed another. Never null; a family not built has every operation null.
const Driver& driver(Family family);
// Installs `d` (not owned) for `family`; nullptr restores the registered table.
void set_driver(Family family, const Driver* d);

// Installs a table for a family for the lifetime of the guard.
class ScopedDriver {
 public:
  ScopedDriver(Family family, const Driver& d) : family_(family) { set_driver(family, &d); }
  ~ScopedDriver() { set_driver(family_, nullptr); }
  ScopedDriver(const ScopedDriver&) = delete;
  ScopedDriver& operator=(const ScopedDriver&) = delete;

 private:
  Family family_;
};

// The family's name ("SIO", "EC", ...), also for families not built.
std::string_view family_name(Family family);

}  // namespace bayhal::board
