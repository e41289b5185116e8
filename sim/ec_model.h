// The IT8528 embedded controller as the ports see it: two host interfaces (data 0x62 /
// status-command 0x66 and data 0x68 / 0x6C) in front of a 16-bit register space. The
// status bits gate the exchange as on the chip: a byte written while the input buffer is
// still full is lost, a data read with nothing in the output buffer returns the stale latch,
// and both count as protocol errors. The controller takes each byte at once, or with a
// latency after that many status reads; stay_busy() keeps it from ever taking one.
//
// Behind the registers: fans whose speed follows the duty written (full duty gives the fan's
// top speed), a status LED, the USB copy button, two power supplies and the buzzer.
#pragma once
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "sim/port_bus.h"

namespace bayhal::sim {

class EcModel : public PortDevice {
 public:
  static constexpr uint16_t kData = 0x68, kStatus = 0x6C;
  static constexpr uint16_t kData1 = 0x62, kStatus1 = 0x66;

  EcModel();
  // Claims both interfaces.
  void attach_to(PortBus& bus);

  uint8_t& reg(uint16_t addr) { return regs_[addr]; }

  // Exchange behaviour.
  void set_latency(int status_reads) { latency_ = status_reads; }
  void stay_busy(bool busy) { busy_ = busy; }
  // An answer nobody collected waits in the output buffer of the used interface.
  void leave_stale_byte(uint8_t value);
  int protocol_errors() const { return errors_; }

  // Board facts.
  void set_temperature(int index, uint8_t celsius);
  // A fan at fan index `index` whose full duty gives `max_rpm` (0: no fan fitted).
  void fit_fan(int index, unsigned max_rpm);
  unsigned fan_rpm(int index) const;
  void set_firmware(std::string_view text);
  void press_usb_button(bool down);
  void set_power_good(int supply, bool good);
  void set_eup_capable(bool capable);
  // The status LED register (0 off, 1 green, 2 red, 3 green blink, 4 red blink, 5 both).
  uint8_t status_led() const { return regs_[0x0155]; }
  // Every value written to the buzzer register, in order.
  const std::vector<uint8_t>& buzzer_writes() const { return buzzer_; }
  // The beeps heard, timed on the clock seam (virtual time in tests): how long each sounded
  // and the silence before it (0 for the first).
  struct Beep {
    long long ms;
    long long after_ms;
  };
  std::vector<Beep> beeps() const;

  uint8_t in(uint16_t port) override;
  void out(uint16_t port, uint8_t value) override;

 private:
  enum class Expect { kCommand, kFunc, kIndex, kData };
  struct Interface {
    bool input_full = false;
    bool output_full = false;
    uint8_t input = 0;
    bool input_is_command = false;
    uint8_t output = 0;
    int countdown = 0;
    Expect expect = Expect::kCommand;
    uint8_t func = 0, index = 0;
  };

  std::vector<uint8_t> regs_;
  std::array<Interface, 2> ifs_;
  std::array<unsigned, 36> max_rpm_{};
  std::vector<uint8_t> buzzer_;
  std::vector<long long> buzzer_at_us_;  // when each buzzer write came
  int latency_ = 0;
  bool busy_ = false;
  int errors_ = 0;

  static int which(uint16_t port) { return port == kData || port == kStatus ? 1 : 0; }
  void take_input(Interface& i);
  void write_register(uint16_t addr, uint8_t value);
  void update_fans();
};

}  // namespace bayhal::sim
