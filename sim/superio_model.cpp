#include "sim/superio_model.h"

namespace bayhal::sim {
namespace {

constexpr uint8_t kLdnSelect = 0x07;
constexpr uint8_t kIt87Gpio = 7;
constexpr uint8_t kFintekGpio = 6;
constexpr uint8_t kF81866Gpio = 8;

struct ChipRow {
  SuperIoModel::Chip chip;
  std::string_view name;
  uint16_t id;
  bool it87_key;
};

constexpr ChipRow kRows[] = {
    {SuperIoModel::Chip::kF71869A, "F71869A", 0x0814, false},
    {SuperIoModel::Chip::kIt87, "IT87", 0x8772, true},
    {SuperIoModel::Chip::kF81866A, "F81866A", 0x1010, false},
    {SuperIoModel::Chip::kNct5523, "NCT5523", 0xD452, false},
};

const ChipRow& row(SuperIoModel::Chip c) {
  for (const ChipRow& r : kRows)
    if (r.chip == c) return r;
  return kRows[0];
}

}  // namespace

bool SuperIoModel::chip_by_name(std::string_view name, Chip& chip) {
  for (const ChipRow& r : kRows)
    if (r.name == name) {
      chip = r.chip;
      return true;
    }
  return false;
}

SuperIoModel::SuperIoModel(Chip chip, uint16_t chip_id, uint16_t gpio_base)
    : chip_(chip), gpio_base_(gpio_base) {
  const ChipRow& r = row(chip);
  key_ = r.it87_key ? std::vector<uint8_t>{0x87, 0x01, 0x55, 0x55} : std::vector<uint8_t>{0x87, 0x87};
  uint16_t id = chip_id != 0 ? chip_id : r.id;
  global_[0x20] = static_cast<uint8_t>(id >> 8);
  global_[0x21] = static_cast<uint8_t>(id);
  latch_.fill(0xFF);
  auto base = [&](uint8_t ldn, uint8_t reg) {
    ldn_[ldn][reg] = static_cast<uint8_t>(gpio_base >> 8);
    ldn_[ldn][reg + 1] = static_cast<uint8_t>(gpio_base);
  };
  if (chip == Chip::kIt87) base(kIt87Gpio, 0x62);
  if (chip == Chip::kF71869A) {
    base(kFintekGpio, 0x60);
    for (int g = 0; g < 8; ++g) ldn_[kFintekGpio][0xF1 - 0x10 * g] = 0xFF;
  }
  if (chip == Chip::kF81866A) base(kF81866Gpio, 0x60);
}

unsigned SuperIoModel::gpio_ports() const {
  switch (chip_) {
    case Chip::kIt87: return 8;
    case Chip::kF71869A: return 7;  // index and data at base + 5 and base + 6
    case Chip::kF81866A: return 5;
    case Chip::kNct5523: return 0;
  }
  return 0;
}

void SuperIoModel::attach_to(PortBus& bus) {
  bus.attach(kIndex, 2, *this);
  if (unsigned n = gpio_ports()) bus.attach(gpio_base_, n, *this);
}

uint8_t& SuperIoModel::reg(uint8_t ldn, uint8_t r) {
  return r < global_.size() ? global_[r] : ldn_[ldn & 0x0F][r];
}

uint8_t& SuperIoModel::config(uint8_t r) { return reg(global_[kLdnSelect], r); }

void SuperIoModel::config_write(uint8_t value) {
  if (chip_ == Chip::kIt87 && index_ == 0x02) {
    if (value & 0x02) in_config_ = false;  // return to the "wait for key" state
    return;
  }
  if (index_ == 0x20 || index_ == 0x21) return;  // the id is read-only
  config(index_) = value;
}

bool SuperIoModel::driven(int group, int bit) const {
  switch (chip_) {
    case Chip::kIt87:
      return group >= 1 && (ldn_[kIt87Gpio][0xC0 + group - 1] >> bit & 1);
    case Chip::kF71869A:
      return ldn_[kFintekGpio][0xF0 - 0x10 * group] >> bit & 1;
    default:
      return true;
  }
}

uint8_t SuperIoModel::group_level(int group) const {
  uint8_t latch = chip_ == Chip::kF71869A ? ldn_[kFintekGpio][0xF1 - 0x10 * group] : latch_[group];
  uint8_t level = 0;
  for (int b = 0; b < 8; ++b) {
    bool high = !driven(group, b) || (latch >> b & 1);
    if (external_[group] >> b & 1) high = false;
    if (high) level = static_cast<uint8_t>(level | 1u << b);
  }
  return level;
}

bool SuperIoModel::line(int pin) const {
  if (pin < 0 || pin > 79) return true;
  return group_level(pin / 10) >> (pin % 10) & 1;
}

void SuperIoModel::press(int pin, bool down) {
  if (pin < 0 || pin > 79) return;
  auto bit = static_cast<uint8_t>(1u << (pin % 10));
  uint8_t& e = external_[pin / 10];
  e = down ? static_cast<uint8_t>(e | bit) : static_cast<uint8_t>(e & ~bit);
}

SuperIoModel::Led SuperIoModel::led(int pin) const {
  int group = pin / 10, bit = pin % 10;
  if (chip_ == Chip::kIt87 && !driven(group, bit)) {
    auto code = static_cast<uint8_t>(bit | group << 3);
    if (ldn_[kIt87Gpio][0xF8] == code) return Led::kBlink1;
    if (ldn_[kIt87Gpio][0xFA] == code) return Led::kBlink2;
    return Led::kOff;
  }
  return driven(group, bit) && !line(pin) ? Led::kOn : Led::kOff;
}

uint8_t SuperIoModel::gpio_in(uint16_t offset) {
  switch (chip_) {
    case Chip::kIt87:
      return group_level(offset + 1);
    case Chip::kF81866A:
      return group_level(offset);
    case Chip::kF71869A: {
      if (!(ldn_[kFintekGpio][0x30] & 1)) return 0xFF;  // device not activated
      if (offset != 6) return 0xFF;
      int group = (0xF0 - (fintek_index_ & 0xF0)) / 0x10;
      if ((fintek_index_ & 0x0F) == 2 && group >= 0 && group < 8) return group_level(group);
      return ldn_[kFintekGpio][fintek_index_];
    }
    case Chip::kNct5523:
      break;
  }
  return 0xFF;
}

void SuperIoModel::gpio_out(uint16_t offset, uint8_t value) {
  switch (chip_) {
    case Chip::kIt87:
      latch_[offset + 1] = value;
      break;
    case Chip::kF81866A:
      latch_[offset] = value;
      break;
    case Chip::kF71869A:
      if (!(ldn_[kFintekGpio][0x30] & 1)) return;
      if (offset == 5) fintek_index_ = value;
      if (offset == 6 && (fintek_index_ & 0x0F) != 2) ldn_[kFintekGpio][fintek_index_] = value;
      break;
    case Chip::kNct5523:
      break;
  }
}

uint8_t SuperIoModel::in(uint16_t port) {
  if (port == kData) return in_config_ ? config(index_) : 0xFF;
  if (port == kIndex) return 0xFF;
  return gpio_in(static_cast<uint16_t>(port - gpio_base_));
}

void SuperIoModel::out(uint16_t port, uint8_t value) {
  if (port == kIndex) {
    if (in_config_) {
      if (value == 0xAA && chip_ != Chip::kIt87) {
        in_config_ = false;
        return;
      }
      index_ = value;
      return;
    }
    key_pos_ = value == key_[key_pos_] ? key_pos_ + 1 : (value == key_[0] ? 1 : 0);
    if (key_pos_ == key_.size()) {
      in_config_ = true;
      ++entries_;
      key_pos_ = 0;
    }
    return;
  }
  if (port == kData) {
    if (in_config_) config_write(value);
    return;
  }
  gpio_out(static_cast<uint16_t>(port - gpio_base_), value);
}

}  // namespace bayhal::sim
