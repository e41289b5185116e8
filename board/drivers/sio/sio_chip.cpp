#include "board/drivers/sio/sio_chip.h"

#include <atomic>
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "board/drivers/ioport/port_access.h"
#include "board/drivers/sio/sio.h"
#include "model/board_keys.h"
#include "transport/port_io.h"

namespace bayhal {
namespace {

constexpr uint8_t kIt87ConfigControl = 0x02;  // writing 0x02 returns the chip to normal mode
constexpr uint8_t kFintekExitKey = 0xAA;

// The chips "System Enclosure"/SIO_DEVICE may name.
constexpr SioChip kChips[] = {
    {"F71869A", 0, {0x87, 0x87}, 2, SioLeave::kAaToIndex, &kFintekIndexedPins, &kFintekRecovery},
    {"IT87", 1, {0x87, 0x01, 0x55, 0x55}, 4, SioLeave::kRegister02, &kIt87Pins, &kIt87Recovery},
    {"F81866A", 2, {0x87, 0x87}, 2, SioLeave::kAaToIndex, &kFintekDirectPins, &kFintekRecovery},
    {"NCT5523", -1, {0x87, 0x87}, 2, SioLeave::kAaToIndex, nullptr, &kNct5523Recovery},
};

// GPIO base per family code, 0 until read.
std::atomic<uint16_t> g_base[3];

std::atomic<uint16_t>* base_slot(const SioChip& chip) {
  return chip.family >= 0 && chip.family < 3 ? &g_base[chip.family] : nullptr;
}

}  // namespace

std::optional<SioPin> SioPin::from_number(int number) {
  if (number < 0 || number > 99 || number % 10 > 7) return std::nullopt;
  return SioPin{number / 10, number % 10};
}

const SioChip* sio_chip_by_name(std::string_view name) {
  for (const SioChip& c : kChips)
    if (c.name == name) return &c;
  return nullptr;
}

const SioChip* sio_board_chip(const char* func) {
  auto device = model::board_key(model::BoardKey::kSioDevice);
  const SioChip* chip = device ? sio_chip_by_name(*device) : nullptr;
  if (chip == nullptr && func != nullptr) ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): NOT implement.\n", func, __LINE__);
  return chip;
}

SioConfig::SioConfig(const SioChip& chip, const char* func) : chip_(chip) {
  if (port_permit(kSioIndexPort, 2, func) != 0) return;
  for (uint8_t i = 0; i < chip.enter_len; ++i) port_io().outb(chip.enter[i], kSioIndexPort);
  entered_ = true;
}

uint8_t SioConfig::read(uint8_t reg) {
  port_io().outb(reg, kSioIndexPort);
  return port_io().inb(kSioDataPort);
}

void SioConfig::write(uint8_t reg, uint8_t value) {
  port_io().outb(reg, kSioIndexPort);
  port_io().outb(value, kSioDataPort);
}

void SioConfig::set_bits(uint8_t reg, uint8_t mask, bool on) {
  uint8_t v = read(reg);
  write(reg, on ? static_cast<uint8_t>(v | mask) : static_cast<uint8_t>(v & ~mask));
}

uint16_t SioConfig::read16(uint8_t reg) {
  uint16_t high = read(reg);
  return static_cast<uint16_t>(high << 8 | read(static_cast<uint8_t>(reg + 1)));
}

void SioConfig::leave() {
  if (!entered_) return;
  entered_ = false;
  if (chip_.leave == SioLeave::kRegister02)
    write(kIt87ConfigControl, 0x02);
  else
    port_io().outb(kFintekExitKey, kSioIndexPort);
}

SioSession::SioSession(const SioChip& chip, const char* func) : lock_(BoardLockId::kSio) {
  if (!lock_.held()) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", func, __LINE__);
    return;
  }
  cfg_.emplace(chip, func);
}

uint16_t sio_gpio_base(SioConfig& cfg) {
  const SioChip& chip = cfg.chip();
  std::atomic<uint16_t>* slot = base_slot(chip);
  if (slot == nullptr || chip.pins == nullptr) return 0;
  if (uint16_t b = slot->load(std::memory_order_relaxed); b != 0) return b;
  cfg.select(chip.pins->ldn);
  if (chip.pins->activate) cfg.write(kSioActivate, 1);
  uint16_t b = cfg.read16(chip.pins->base_reg);
  slot->store(b, std::memory_order_relaxed);
  return b;
}

uint16_t sio_cached_gpio_base(const SioChip& chip) {
  std::atomic<uint16_t>* slot = base_slot(chip);
  return slot ? slot->load(std::memory_order_relaxed) : 0;
}

void sio_reset_caches() {
  for (auto& b : g_base) b.store(0);
}

int sio_sys_get_chip_id(uint16_t* id) {
  if (id == nullptr) return -1;
  *id = 0;
  const SioChip* chip = sio_board_chip(__func__);
  if (chip == nullptr) return -1;
  if (chip->family < 0) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): NOT implement.\n", __func__, __LINE__);
    return -1;
  }
  SioSession s(*chip, __func__);
  if (!s.ok()) return -1;
  *id = s.cfg().read16(kSioChipIdHigh);
  return 0;
}

}  // namespace bayhal
