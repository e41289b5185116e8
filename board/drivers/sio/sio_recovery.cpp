// AC power recovery on the Super I/O chips. The library's modes: 0 power on when AC
// returns, 2 restore the state before the loss, 3 stay off.
#include "bayhal/ERR_TRACE.h"
#include "board/drivers/sio/sio.h"
#include "board/drivers/sio/sio_chip.h"

namespace bayhal {
namespace {

bool known_mode(int mode) { return mode == 0 || mode == 2 || mode == 3; }

// IT87, logical device 4 (environment controller): bit 5 of registers 0xF2 and 0xF4.
constexpr uint8_t kIt87PowerBit = 0x20;
constexpr uint8_t kIt87PowerState1 = 0xF2, kIt87PowerState2 = 0xF4;

int sio_it87_set_recovery_mode(SioConfig& cfg, const SioRecovery& r, int mode) {
  cfg.select(r.ldn);
  cfg.set_bits(kIt87PowerState1, kIt87PowerBit, mode == 0);
  cfg.set_bits(kIt87PowerState2, kIt87PowerBit, mode == 2);
  return 0;
}

int sio_it87_get_recovery_mode(SioConfig& cfg, const SioRecovery& r, int* mode) {
  cfg.select(r.ldn);
  bool first = cfg.read(kIt87PowerState1) & kIt87PowerBit;
  bool second = cfg.read(kIt87PowerState2) & kIt87PowerBit;
  if (first && second) return -1;
  *mode = first ? 0 : second ? 2 : 3;
  return 0;
}

// Fintek and Nuvoton chips keep the setting as a two-bit field of their ACPI device
// (logical device 0x0A): 0 stay off, 1 power on, 2 restore the last state (3 is reserved).
// Fintek: register 0xF4 bits 2-1; NCT5523: register 0xE4 bits 6-5.
constexpr uint8_t kFieldOff = 0, kFieldOn = 1, kFieldLast = 2;

uint8_t field_of(int mode) { return mode == 0 ? kFieldOn : mode == 2 ? kFieldLast : kFieldOff; }

int set_field(SioConfig& cfg, const SioRecovery& r, int mode) {
  cfg.select(r.ldn);
  uint8_t v = cfg.read(r.reg);
  auto mask = static_cast<uint8_t>(3u << r.shift);
  cfg.write(r.reg, static_cast<uint8_t>((v & ~mask) | field_of(mode) << r.shift));
  return 0;
}

int get_field(SioConfig& cfg, const SioRecovery& r, int* mode) {
  cfg.select(r.ldn);
  int field = cfg.read(r.reg) >> r.shift & 3;
  if (field == 3) return -1;
  *mode = field == kFieldOn ? 0 : field == kFieldLast ? 2 : 3;
  return 0;
}

const SioChip* recovery_chip(const char* func) {
  const SioChip* chip = sio_board_chip(func);
  if (chip != nullptr && chip->recovery == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): NOT implement.\n", func, __LINE__);
    return nullptr;
  }
  return chip;
}

}  // namespace

const SioRecovery kIt87Recovery{sio_it87_set_recovery_mode, sio_it87_get_recovery_mode, 4, 0, 0};
const SioRecovery kFintekRecovery{set_field, get_field, 0x0A, 0xF4, 1};
const SioRecovery kNct5523Recovery{set_field, get_field, 0x0A, 0xE4, 5};

int sio_sys_set_power_recovery_mode(int mode) {
  if (!known_mode(mode)) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", __func__, __LINE__);
    return -1;
  }
  const SioChip* chip = recovery_chip(__func__);
  if (chip == nullptr) return -1;
  SioSession s(*chip, __func__);
  return s.ok() ? chip->recovery->set(s.cfg(), *chip->recovery, mode) : -1;
}

int sio_sys_get_power_recovery_mode(int* mode) {
  if (mode == nullptr) return -1;
  *mode = -1;
  const SioChip* chip = recovery_chip(__func__);
  if (chip == nullptr) return -1;
  SioSession s(*chip, __func__);
  if (!s.ok()) return -1;
  if (chip->recovery->get(s.cfg(), *chip->recovery, mode) == 0) return 0;
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error\n", __func__, __LINE__);
  return -1;
}

}  // namespace bayhal
