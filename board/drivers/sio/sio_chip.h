// Inside the Super I/O driver: one row per chip (how to enter and leave configuration
// mode, how its pins and its power-recovery setting are reached) and the configuration-mode
// session every operation runs in. A new chip is a new row in sio_chip.cpp.
#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "board/drivers/board_lock.h"

namespace bayhal {

inline constexpr uint16_t kSioIndexPort = 0x2E;
inline constexpr uint16_t kSioDataPort = 0x2F;

// Configuration registers every family shares.
enum SioReg : uint8_t {
  kSioLdnSelect = 0x07,
  kSioChipIdHigh = 0x20,
  kSioChipIdLow = 0x21,
  kSioActivate = 0x30,
  kSioBaseHigh = 0x60,
  kSioBaseLow = 0x61,
};

class SioConfig;
struct SioChip;

// A pin as the model description names it: "SIO:52" is group 5, bit 2.
struct SioPin {
  int group = 0;
  int bit = 0;
  static std::optional<SioPin> from_number(int number);
};

// How a family reaches its pins: the logical device whose base register pair gives the
// GPIO ports, and the access routines. `blink` is null on chips without a blink engine.
struct SioPinDriver {
  uint8_t ldn;
  uint8_t base_reg;  // high byte; the low byte follows
  bool activate;     // the device must be switched on (register 0x30) before use
  int (*get)(const SioChip& chip, SioPin pin, int* value);
  int (*set)(const SioChip& chip, SioPin pin, int value);
  int (*blink)(const SioChip& chip, SioPin pin, int engine);
};

// Where a family keeps its AC power-recovery setting. Modes are the library's (0, 2, 3),
// checked before these are called; they run inside configuration mode.
struct SioRecovery {
  int (*set)(SioConfig& cfg, const SioRecovery& r, int mode);
  int (*get)(SioConfig& cfg, const SioRecovery& r, int* mode);
  uint8_t ldn;
  uint8_t reg;
  uint8_t shift;  // field chips: the two-bit field's lowest bit
};

enum class SioLeave : uint8_t { kAaToIndex, kRegister02 };

struct SioChip {
  std::string_view name;  // "/etc/model.conf" SIO_DEVICE
  int family;             // 0 F71869A, 1 IT87, 2 F81866A; -1: power recovery only
  std::array<uint8_t, 4> enter;
  uint8_t enter_len;
  SioLeave leave;
  const SioPinDriver* pins;       // null: no pins
  const SioRecovery* recovery;    // null: no power-recovery setting
};

// The families' pin and recovery rows (sio_gpio.cpp, sio_recovery.cpp).
extern const SioPinDriver kIt87Pins, kFintekIndexedPins, kFintekDirectPins;
extern const SioRecovery kIt87Recovery, kFintekRecovery, kNct5523Recovery;

// The row of a SIO_DEVICE value; nullptr when no chip has that name.
const SioChip* sio_chip_by_name(std::string_view name);
// The board's chip from the model description; nullptr (traced as "NOT implement" under
// `func` unless it is null) when SIO_DEVICE is missing or names no chip.
const SioChip* sio_board_chip(const char* func);

// Configuration mode for the lifetime of the object. REQUIRES: the Super I/O lock held.
class SioConfig {
 public:
  SioConfig(const SioChip& chip, const char* func);
  ~SioConfig() { leave(); }
  SioConfig(const SioConfig&) = delete;
  SioConfig& operator=(const SioConfig&) = delete;

  bool ok() const { return entered_; }
  uint8_t read(uint8_t reg);
  void write(uint8_t reg, uint8_t value);
  void select(uint8_t ldn) { write(kSioLdnSelect, ldn); }
  // Read-modify-write of the bits of `mask`: set when `on`, cleared otherwise.
  void set_bits(uint8_t reg, uint8_t mask, bool on);
  // Big-endian pair (reg, reg + 1), as the base and id registers are.
  uint16_t read16(uint8_t reg);
  // Leaves early, so runtime ports can be used while the lock is still held.
  void leave();
  const SioChip& chip() const { return chip_; }

 private:
  const SioChip& chip_;
  bool entered_ = false;
};

// The Super I/O lock and configuration mode together, as nearly every operation needs
// them. A lock that cannot be taken is traced as "System Error" under `func`.
class SioSession {
 public:
  SioSession(const SioChip& chip, const char* func);
  bool ok() const { return cfg_.has_value() && cfg_->ok(); }
  SioConfig& cfg() { return *cfg_; }

 private:
  BoardLock lock_;
  std::optional<SioConfig> cfg_;
};

// A family's GPIO base address: read once per process inside configuration mode (which
// selects its logical device), then cached; 0 when it reads as 0.
uint16_t sio_gpio_base(SioConfig& cfg);
// The cached base without configuration mode; 0 when not read yet.
uint16_t sio_cached_gpio_base(const SioChip& chip);

}  // namespace bayhal
