// Models of the board's I2C devices behind the I2C seam: an SMBus with devices at addresses,
// temperature sensors that answer one byte a register, and PMBus devices (power supplies
// and fan controllers) with pages, status words, LINEAR11 readings and fan commands.
#pragma once
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "transport/i2c_bus.h"

namespace bayhal::sim {

class SmbusDevice {
 public:
  virtual ~SmbusDevice() = default;
  // 0 or a negative errno, as the bus would report it.
  virtual int read(uint8_t command, bool word, uint16_t& value) = 0;
  virtual int write(uint8_t command, bool word, uint16_t value) = 0;
};

class I2cModel : public I2cBus {
 public:
  // Places `dev` (not owned) at `addr` of `bus`.
  void attach(int bus, uint8_t addr, SmbusDevice& dev) { devices_[{bus, addr}] = &dev; }
  int transfer(SmbusTransfer& t) override;

 private:
  std::map<std::pair<int, uint8_t>, SmbusDevice*> devices_;
};

// A sensor chip whose registers each hold one byte (degrees Celsius; 255 where no sensor
// is wired).
class ByteSensorModel : public SmbusDevice {
 public:
  uint8_t& reg(uint8_t command) { return regs_[command]; }
  int read(uint8_t command, bool word, uint16_t& value) override;
  int write(uint8_t command, bool word, uint16_t value) override;

 private:
  std::map<uint8_t, uint8_t> regs_;
};

// A PMBus device: a supply (one page) or a fan controller (a page a fan). A fan's rpm
// follows its duty command: `full_rpm` at 100 percent.
class PmbusModel : public SmbusDevice {
 public:
  struct Page {
    int temperature = 30;     // degrees
    int rpm = 0;
    int duty = 0;             // percent, FAN_COMMAND_1
    bool fan_fault = false;
    bool rpm_mode = false;    // FAN_CONFIG_1_2 bit 6
    uint16_t status_word = 0;
  };
  explicit PmbusModel(int pages = 1, int full_rpm = 0) : pages_(static_cast<size_t>(pages)), full_rpm_(full_rpm) {}

  Page& page(int n) { return pages_.at(static_cast<size_t>(n)); }
  int read(uint8_t command, bool word, uint16_t& value) override;
  int write(uint8_t command, bool word, uint16_t value) override;

 private:
  std::vector<Page> pages_;
  int full_rpm_;
  int current_ = 0;
};

}  // namespace bayhal::sim
