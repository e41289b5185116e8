#include "sim/i2c_model.h"

#include <cerrno>

#include "board/drivers/i2c/pmbus.h"

namespace bayhal::sim {

namespace pmbus = board::pmbus;

int I2cModel::transfer(SmbusTransfer& t) {
  auto it = devices_.find({t.bus, t.addr});
  if (it == devices_.end()) return -ENXIO;
  bool word = t.op == SmbusOp::kReadWordData || t.op == SmbusOp::kWriteWordData;
  bool read = t.op == SmbusOp::kReadByteData || t.op == SmbusOp::kReadWordData;
  return read ? it->second->read(t.command, word, t.value) : it->second->write(t.command, word, t.value);
}

int ByteSensorModel::read(uint8_t command, bool word, uint16_t& value) {
  if (word) return -EIO;
  auto it = regs_.find(command);
  value = it == regs_.end() ? 0xFF : it->second;
  return 0;
}

int ByteSensorModel::write(uint8_t command, bool word, uint16_t value) {
  if (word) return -EIO;
  regs_[command] = static_cast<uint8_t>(value);
  return 0;
}

int PmbusModel::read(uint8_t command, bool word, uint16_t& value) {
  Page& p = pages_[static_cast<size_t>(current_)];
  switch (command) {
    case pmbus::kPage: value = static_cast<uint16_t>(current_); return word ? -EIO : 0;
    case pmbus::kFanConfig12: value = p.rpm_mode ? pmbus::kFan1InRpm : 0; return word ? -EIO : 0;
    case pmbus::kStatusFans12: value = p.fan_fault ? pmbus::kFan1Fault : 0; return word ? -EIO : 0;
    case pmbus::kStatusWord: value = p.status_word; return word ? 0 : -EIO;
    case pmbus::kReadTemperature1: value = pmbus::to_linear11(p.temperature); return word ? 0 : -EIO;
    case pmbus::kFanCommand1: value = pmbus::to_linear11(p.duty); return word ? 0 : -EIO;
    case pmbus::kReadFanSpeed1: {
      // Exponent 2: rpm in steps of four, up to 4092.
      int quarter = p.rpm / 4 > 1023 ? 1023 : p.rpm / 4;
      value = static_cast<uint16_t>((2u << 11) | static_cast<unsigned>(quarter));
      return word ? 0 : -EIO;
    }
    default: return -EIO;
  }
}

int PmbusModel::write(uint8_t command, bool word, uint16_t value) {
  switch (command) {
    case pmbus::kPage:
      if (word || value >= pages_.size()) return -EIO;
      current_ = value;
      return 0;
    case pmbus::kFanConfig12:
      if (word) return -EIO;
      pages_[static_cast<size_t>(current_)].rpm_mode = (value & pmbus::kFan1InRpm) != 0;
      return 0;
    case pmbus::kFanCommand1: {
      if (!word) return -EIO;
      Page& p = pages_[static_cast<size_t>(current_)];
      p.duty = static_cast<int>(pmbus::from_linear11(value));
      if (full_rpm_ > 0 && !p.fan_fault) p.rpm = full_rpm_ * p.duty / 100;
      return 0;
    }
    default: return -EIO;
  }
}

}  // namespace bayhal::sim
