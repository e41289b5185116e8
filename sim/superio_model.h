// A Super I/O chip as the ports see it: configuration space behind index 0x2E / data 0x2F,
// open only after the family's entry key and closed by its exit; logical devices selected
// by register 0x07; the GPIO ports at the base address its GPIO device holds. Pins are
// open-drain lines: a driven pin pulls its line to its latch, a pressed button pulls it low.
// LEDs hang on active-low pins and can blink through the IT87 blink engines.
#pragma once
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "sim/port_bus.h"

namespace bayhal::sim {

class SuperIoModel : public PortDevice {
 public:
  enum class Chip { kF71869A, kIt87, kF81866A, kNct5523 };
  enum class Led { kOff, kOn, kBlink1, kBlink2 };

  static constexpr uint16_t kIndex = 0x2E;
  static constexpr uint16_t kData = 0x2F;

  // `gpio_base` is what the firmware left in the GPIO device's base registers.
  explicit SuperIoModel(Chip chip, uint16_t chip_id = 0, uint16_t gpio_base = 0x0A00);
  // The chip of a SIO_DEVICE name; false when none.
  static bool chip_by_name(std::string_view name, Chip& chip);

  // Claims the configuration ports and the GPIO ports.
  void attach_to(PortBus& bus);

  // Register `r` of logical device `ldn` (registers below 0x30 are global).
  uint8_t& reg(uint8_t ldn, uint8_t r);
  bool in_config() const { return in_config_; }
  // Times the configuration mode was entered.
  int entries() const { return entries_; }

  // Pins by the chip's own numbering (group * 10 + bit: 52 is GP52 / GPIO52).
  void press(int pin, bool down);
  // The LED on an active-low pin.
  Led led(int pin) const;
  // The line level of a pin (true = high).
  bool line(int pin) const;

  uint8_t in(uint16_t port) override;
  void out(uint16_t port, uint8_t value) override;

 private:
  Chip chip_;
  uint16_t gpio_base_;
  std::vector<uint8_t> key_;
  size_t key_pos_ = 0;
  bool in_config_ = false;
  int entries_ = 0;
  uint8_t index_ = 0;
  std::array<uint8_t, 0x30> global_{};
  std::array<std::array<uint8_t, 256>, 16> ldn_{};
  std::array<uint8_t, 8> latch_{};     // output latches per group
  std::array<uint8_t, 8> external_{};  // bits held low from outside (buttons)
  uint8_t fintek_index_ = 0;

  uint8_t& config(uint8_t r);
  void config_write(uint8_t value);
  bool driven(int group, int bit) const;
  uint8_t group_level(int group) const;
  // Runtime GPIO ports of this chip: first port and count; count 0 when it has none.
  unsigned gpio_ports() const;
  uint8_t gpio_in(uint16_t offset);
  void gpio_out(uint16_t offset, uint8_t value);
};

}  // namespace bayhal::sim
