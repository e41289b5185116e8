// GPIO pins of the Super I/O families. The board's LED and button lines are active-low:
// driving a pin to 1 pulls its line low, and a pin reads 1 while its line is low.
#include "bayhal/ERR_TRACE.h"
#include "board/drivers/ioport/port_access.h"
#include "board/drivers/sio/sio.h"
#include "board/drivers/sio/sio_chip.h"
#include "transport/port_io.h"

namespace bayhal {
namespace {

uint8_t bit_of(SioPin pin) { return static_cast<uint8_t>(1u << pin.bit); }

uint8_t active_low(uint8_t byte, SioPin pin, int value) {
  return value != 0 ? static_cast<uint8_t>(byte & ~bit_of(pin)) : static_cast<uint8_t>(byte | bit_of(pin));
}

int read_inverted(uint16_t port, SioPin pin, int* value, const char* func) {
  if (port_permit(port, 1, func) != 0) return -1;
  *value = (port_io().inb(port) & bit_of(pin)) ? 0 : 1;
  return 0;
}

int write_active_low(uint16_t port, SioPin pin, int value, const char* func) {
  if (port_permit(port, 1, func) != 0) return -1;
  port_io().outb(active_low(port_io().inb(port), pin, value), port);
  return 0;
}

// The base for a read: cached, else read in configuration mode. REQUIRES: the lock held.
uint16_t base_for_read(const SioChip& chip, const char* func) {
  if (uint16_t b = sio_cached_gpio_base(chip); b != 0) return b;
  SioConfig cfg(chip, func);
  return cfg.ok() ? sio_gpio_base(cfg) : 0;
}

int no_base(const char* func) {
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", func, __LINE__);
  return -1;
}

// IT87, logical device 7: simple-I/O set s (GP<s+1>x) is enabled by register 0xC0 + s and
// read and driven at base + s. The blink engines map a pin by its code bit | group << 3.
constexpr uint8_t kIt87Gpio = 7;
constexpr uint8_t kIt87SimpleIoEnable = 0xC0;
constexpr uint8_t kIt87Blink1Pin = 0xF8, kIt87Blink1Control = 0xF9;
constexpr uint8_t kIt87Blink2Pin = 0xFA, kIt87Blink2Control = 0xFB;

bool it87_pin_ok(SioPin pin) { return pin.group >= 1 && pin.group <= 8; }

int it87_set(const SioChip& chip, SioPin pin, int value) {
  if (!it87_pin_ok(pin)) return -1;
  auto set = static_cast<uint8_t>(pin.group - 1);
  SioSession s(chip, __func__);
  if (!s.ok()) return -1;
  s.cfg().select(kIt87Gpio);
  s.cfg().set_bits(static_cast<uint8_t>(kIt87SimpleIoEnable + set), bit_of(pin), true);
  uint16_t base = sio_gpio_base(s.cfg());
  s.cfg().leave();
  if (base == 0) return no_base(__func__);
  return write_active_low(static_cast<uint16_t>(base + set), pin, value, __func__);
}

int it87_get(const SioChip& chip, SioPin pin, int* value) {
  if (!it87_pin_ok(pin)) return -1;
  BoardLock lock(BoardLockId::kSio);
  if (!lock.held()) return no_base(__func__);
  uint16_t base = base_for_read(chip, __func__);
  if (base == 0) return no_base(__func__);
  return read_inverted(static_cast<uint16_t>(base + pin.group - 1), pin, value, __func__);
}

// Engine 1 takes the pin from engine 2 when that one drives it, so a pin never blinks
// twice; engine 2 is the second LED of a "both" blink.
int it87_blink(const SioChip& chip, SioPin pin, int engine) {
  if (!it87_pin_ok(pin) || (engine != 1 && engine != 2)) return -1;
  auto code = static_cast<uint8_t>(pin.bit | pin.group << 3);
  SioSession s(chip, __func__);
  if (!s.ok()) return -1;
  SioConfig& cfg = s.cfg();
  cfg.select(kIt87Gpio);
  cfg.set_bits(static_cast<uint8_t>(kIt87SimpleIoEnable + pin.group - 1), bit_of(pin), false);
  if (engine == 1) {
    if (cfg.read(kIt87Blink2Pin) == code) {
      cfg.write(kIt87Blink2Pin, 0);
      cfg.write(kIt87Blink2Control, 1);
    }
    cfg.write(kIt87Blink1Pin, code);
    cfg.write(kIt87Blink1Control, 0);
  } else {
    cfg.write(kIt87Blink2Pin, code);
    cfg.write(kIt87Blink2Control, 0);
  }
  return 0;
}

// Fintek F71869A, logical device 6: GPIO port p has its output-enable, output-data and
// pin-status registers at 0xF0, 0xF1, 0xF2 minus 0x10 p, reached through the index and
// data ports at base + 5 and base + 6.
constexpr uint16_t kFintekIndexOffset = 5;

uint8_t fintek_reg(SioPin pin, int which) {
  return static_cast<uint8_t>(0xF0 - 0x10 * pin.group + which);
}

bool fintek_indexed_pin_ok(SioPin pin) { return pin.group >= 0 && pin.group <= 7; }

// Read-modify-write (or read) of registers behind the index/data pair. REQUIRES: the lock.
class FintekWindow {
 public:
  FintekWindow(uint16_t base, const char* func)
      : index_(static_cast<uint16_t>(base + kFintekIndexOffset)),
        ok_(base != 0 && port_permit(index_, 2, func) == 0) {}
  bool ok() const { return ok_; }
  uint8_t read(uint8_t reg) {
    port_io().outb(reg, index_);
    return port_io().inb(static_cast<uint16_t>(index_ + 1));
  }
  void write(uint8_t reg, uint8_t v) {
    port_io().outb(reg, index_);
    port_io().outb(v, static_cast<uint16_t>(index_ + 1));
  }

 private:
  uint16_t index_;
  bool ok_;
};

int fintek_indexed_set(const SioChip& chip, SioPin pin, int value) {
  if (!fintek_indexed_pin_ok(pin)) return -1;
  SioSession s(chip, __func__);
  if (!s.ok()) return -1;
  uint16_t base = sio_gpio_base(s.cfg());
  s.cfg().leave();
  FintekWindow w(base, __func__);
  if (!w.ok()) return no_base(__func__);
  w.write(fintek_reg(pin, 0), static_cast<uint8_t>(w.read(fintek_reg(pin, 0)) | bit_of(pin)));
  w.write(fintek_reg(pin, 1), active_low(w.read(fintek_reg(pin, 1)), pin, value));
  return 0;
}

int fintek_indexed_get(const SioChip& chip, SioPin pin, int* value) {
  if (!fintek_indexed_pin_ok(pin)) return -1;
  BoardLock lock(BoardLockId::kSio);
  if (!lock.held()) return no_base(__func__);
  FintekWindow w(base_for_read(chip, __func__), __func__);
  if (!w.ok()) return no_base(__func__);
  *value = (w.read(fintek_reg(pin, 2)) & bit_of(pin)) ? 0 : 1;
  return 0;
}

// Fintek F81866A, logical device 8: five GPIO ports read and driven directly at base + p.
constexpr int kFintekDirectPorts = 5;

bool fintek_direct_pin_ok(SioPin pin) { return pin.group >= 0 && pin.group < kFintekDirectPorts; }

int fintek_direct_set(const SioChip& chip, SioPin pin, int value) {
  if (!fintek_direct_pin_ok(pin)) return -1;
  SioSession s(chip, __func__);
  if (!s.ok()) return -1;
  uint16_t base = sio_gpio_base(s.cfg());
  s.cfg().leave();
  if (base == 0 || port_permit(base, kFintekDirectPorts, __func__) != 0) return no_base(__func__);
  return write_active_low(static_cast<uint16_t>(base + pin.group), pin, value, __func__);
}

int fintek_direct_get(const SioChip& chip, SioPin pin, int* value) {
  if (!fintek_direct_pin_ok(pin)) return -1;
  BoardLock lock(BoardLockId::kSio);
  if (!lock.held()) return no_base(__func__);
  uint16_t base = base_for_read(chip, __func__);
  if (base == 0 || port_permit(base, kFintekDirectPorts, __func__) != 0) return no_base(__func__);
  return read_inverted(static_cast<uint16_t>(base + pin.group), pin, value, __func__);
}

// The board's chip and the pin behind `number`; nullptr when either is unusable.
const SioChip* pin_chip(int number, SioPin& pin, const char* func) {
  auto p = SioPin::from_number(number);
  if (!p) return nullptr;
  pin = *p;
  const SioChip* chip = sio_board_chip(func);
  if (chip != nullptr && chip->pins == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): NOT implement.\n", func, __LINE__);
    return nullptr;
  }
  return chip;
}

}  // namespace

const SioPinDriver kIt87Pins{kIt87Gpio, 0x62, false, it87_get, it87_set, it87_blink};
const SioPinDriver kFintekIndexedPins{6, 0x60, true, fintek_indexed_get, fintek_indexed_set, nullptr};
const SioPinDriver kFintekDirectPins{8, 0x60, false, fintek_direct_get, fintek_direct_set, nullptr};

int sio_sys_get_gpio_val(int number, int* value) {
  if (value == nullptr) return -1;
  *value = 0;
  SioPin pin;
  const SioChip* chip = pin_chip(number, pin, __func__);
  return chip ? chip->pins->get(*chip, pin, value) : -1;
}

int sio_sys_set_gpio_val(int number, int value) {
  SioPin pin;
  const SioChip* chip = pin_chip(number, pin, __func__);
  return chip ? chip->pins->set(*chip, pin, value) : -1;
}

int sio_sys_blink_gpio(int number, int engine) {
  SioPin pin;
  const SioChip* chip = pin_chip(number, pin, __func__);
  if (chip == nullptr) return -1;
  if (chip->pins->blink == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): NOT implement.\n", __func__, __LINE__);
    return -1;
  }
  return chip->pins->blink(*chip, pin, engine);
}

}  // namespace bayhal
