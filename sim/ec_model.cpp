#include "sim/ec_model.h"

#include <algorithm>

#include "foundation/clock.h"

namespace bayhal::sim {
namespace {

constexpr uint8_t kCmdRegister = 0x88;
constexpr uint8_t kWriteFlag = 0x80;
constexpr uint16_t kBuzzer = 0x0249;
constexpr uint16_t kPowerGood = 0x0045;
constexpr uint16_t kCapability = 0x0101;
constexpr uint16_t kButtons = 0x0143;
constexpr uint16_t kFirmware = 0x0308;

// The controller's fan groups, as its firmware lays them out.
struct Group {
  int first, count;
  uint16_t duty, running, speed;  // speed: high byte at speed + 2k, low byte after it
};
constexpr Group kGroups[] = {
    {0, 5, 0x022E, 0x0242, 0x0624},
    {6, 2, 0x024B, 0x0244, 0x0620},
    {20, 6, 0x022F, 0x0259, 0x0644},
    {30, 6, 0x023B, 0x025A, 0x062C},
};
// Power-supply fans run at their own speed: (index, high byte, low byte).
constexpr uint16_t kSupplyFans[2][3] = {{10, 0x065B, 0x065A}, {11, 0x065E, 0x065D}};

uint16_t temperature_reg(int index) {
  if (index == 0 || index == 1) return static_cast<uint16_t>(0x0600 + index);
  if (index >= 5 && index <= 7) return static_cast<uint16_t>(0x0602 + index - 5);
  if (index == 10) return 0x0659;
  if (index == 11) return 0x065C;
  if (index >= 15 && index <= 38) return static_cast<uint16_t>(index + 0x05F7);
  return 0;
}

}  // namespace

EcModel::EcModel() : regs_(0x10000, 0) {
  regs_[0x0016] = 2;  // power on when AC returns
  for (const Group& g : kGroups) regs_[g.duty] = 50;
}

void EcModel::attach_to(PortBus& bus) {
  bus.attach(kData1, 1, *this);
  bus.attach(kStatus1, 1, *this);
  bus.attach(kData, 1, *this);
  bus.attach(kStatus, 1, *this);
}

void EcModel::leave_stale_byte(uint8_t value) {
  ifs_[1].output = value;
  ifs_[1].output_full = true;
}

void EcModel::set_temperature(int index, uint8_t celsius) {
  if (uint16_t r = temperature_reg(index)) regs_[r] = celsius;
}

void EcModel::fit_fan(int index, unsigned max_rpm) {
  if (index < 0 || index >= static_cast<int>(max_rpm_.size())) return;
  max_rpm_[static_cast<size_t>(index)] = max_rpm;
  for (const auto& s : kSupplyFans)
    if (s[0] == index) {
      regs_[s[1]] = static_cast<uint8_t>(max_rpm >> 8);
      regs_[s[2]] = static_cast<uint8_t>(max_rpm);
    }
  update_fans();
}

unsigned EcModel::fan_rpm(int index) const {
  for (const Group& g : kGroups)
    if (index >= g.first && index < g.first + g.count) {
      auto k = static_cast<uint16_t>(2 * (index - g.first));
      return regs_[g.speed + k] * 256u + regs_[g.speed + k + 1];
    }
  for (const auto& s : kSupplyFans)
    if (s[0] == index) return regs_[s[1]] * 256u + regs_[s[2]];
  return 0;
}

void EcModel::update_fans() {
  for (const Group& g : kGroups) {
    unsigned duty = std::min<unsigned>(regs_[g.duty], 100);
    uint8_t running = 0;
    for (int k = 0; k < g.count; ++k) {
      unsigned rpm = max_rpm_[static_cast<size_t>(g.first + k)] * duty / 100;
      if (max_rpm_[static_cast<size_t>(g.first + k)] == 0) continue;  // not fitted
      regs_[g.speed + 2 * k] = static_cast<uint8_t>(rpm >> 8);
      regs_[g.speed + 2 * k + 1] = static_cast<uint8_t>(rpm);
      if (rpm > 0) running = static_cast<uint8_t>(running | 1u << k);
    }
    regs_[g.running] = running;
  }
}

void EcModel::set_firmware(std::string_view text) {
  for (size_t i = 0; i < 8; ++i) regs_[kFirmware + i] = i < text.size() ? static_cast<uint8_t>(text[i]) : 0;
}

void EcModel::press_usb_button(bool down) {
  regs_[kButtons] = down ? static_cast<uint8_t>(regs_[kButtons] | 0x04) : static_cast<uint8_t>(regs_[kButtons] & ~0x04);
}

void EcModel::set_power_good(int supply, bool good) {
  auto bit = static_cast<uint8_t>(1u << supply);
  regs_[kPowerGood] = good ? static_cast<uint8_t>(regs_[kPowerGood] | bit) : static_cast<uint8_t>(regs_[kPowerGood] & ~bit);
}

void EcModel::set_eup_capable(bool capable) {
  regs_[kCapability] = capable ? static_cast<uint8_t>(regs_[kCapability] | 0x08) : static_cast<uint8_t>(regs_[kCapability] & ~0x08);
}

std::vector<EcModel::Beep> EcModel::beeps() const {
  std::vector<Beep> out;
  long long started = -1, ended = -1;
  for (size_t i = 0; i < buzzer_.size(); ++i) {
    long long at = buzzer_at_us_[i];
    if (buzzer_[i] != 0 && started < 0) {
      started = at;
    } else if (buzzer_[i] == 0 && started >= 0) {
      out.push_back({(at - started) / 1000, ended < 0 ? 0 : (started - ended) / 1000});
      ended = at;
      started = -1;
    }
  }
  return out;
}

void EcModel::write_register(uint16_t addr, uint8_t value) {
  regs_[addr] = value;
  if (addr == kBuzzer) {
    buzzer_.push_back(value);
    buzzer_at_us_.push_back(bayhal::clock().monotonic_us());
  }
  for (const Group& g : kGroups)
    if (addr == g.duty) update_fans();
}

void EcModel::take_input(Interface& i) {
  i.input_full = false;
  if (i.input_is_command) {
    if (i.input == kCmdRegister) {
      i.expect = Expect::kFunc;
    } else {
      ++errors_;
      i.expect = Expect::kCommand;
    }
    return;
  }
  switch (i.expect) {
    case Expect::kCommand:
      ++errors_;  // data without a command
      break;
    case Expect::kFunc:
      i.func = i.input;
      i.expect = Expect::kIndex;
      break;
    case Expect::kIndex:
      i.index = i.input;
      if (i.func & kWriteFlag) {
        i.expect = Expect::kData;
        break;
      }
      if (i.output_full) ++errors_;  // the last answer was never collected
      i.output = regs_[static_cast<uint16_t>(i.func << 8 | i.index)];
      i.output_full = true;
      i.expect = Expect::kCommand;
      break;
    case Expect::kData:
      write_register(static_cast<uint16_t>((i.func & ~kWriteFlag) << 8 | i.index), i.input);
      i.expect = Expect::kCommand;
      break;
  }
}

uint8_t EcModel::in(uint16_t port) {
  Interface& i = ifs_[static_cast<size_t>(which(port))];
  if (port == kStatus || port == kStatus1) {
    if (i.input_full && !busy_) {
      if (i.countdown > 0)
        --i.countdown;
      else
        take_input(i);
    }
    return static_cast<uint8_t>((i.output_full ? 0x01 : 0) | (i.input_full || busy_ ? 0x02 : 0));
  }
  if (!i.output_full) ++errors_;
  i.output_full = false;
  return i.output;
}

void EcModel::out(uint16_t port, uint8_t value) {
  Interface& i = ifs_[static_cast<size_t>(which(port))];
  if (i.input_full || busy_) {
    ++errors_;  // the controller had not taken the last byte: this one is lost
    return;
  }
  i.input = value;
  i.input_is_command = port == kStatus || port == kStatus1;
  i.input_full = true;
  i.countdown = latency_;
  if (latency_ == 0) take_input(i);  // a quick controller has it before anyone looks
}

}  // namespace bayhal::sim
