// The values a model key may take to name a chip, and how a value is read: a fixed-length
// prefix compare against each accepted value in its order (with or without case), and the
// numbers a value carries behind a mark ("SIO:2", "I2C:0x4c", a fan slot's "...I3").
#pragma once
#include <optional>
#include <span>
#include <string_view>

#include "board/driver.h"

namespace bayhal::board {

struct Choice {
  std::string_view token;  // compared over its own length
  int hm_type;             // 0 where the value has no hm_type (IOPORT, CPLD, ICH)
  Family family;           // MCU means "MCU or EMCU by the MCU spec"
};

inline constexpr Choice kChoiceSio{"SIO", kHmSio, Family::kSio};
inline constexpr Choice kChoiceSoc{"SOC", kHmSoc, Family::kSoc};
inline constexpr Choice kChoiceI2c{"I2C", kHmI2c, Family::kI2c};
inline constexpr Choice kChoicePic{"PIC", kHmPic, Family::kPic};
inline constexpr Choice kChoiceGpio{"GPIO", kHmGpio, Family::kGpio};
inline constexpr Choice kChoiceMcu{"MCU", kHmMcu, Family::kMcu};
inline constexpr Choice kChoiceDts{"DTS", kHmDts, Family::kDts};
inline constexpr Choice kChoiceEc{"EC", kHmEc, Family::kEc};
inline constexpr Choice kChoiceThermalZone{"THERMAL_ZONE", kHmThermalZone, Family::kThermalZone};
inline constexpr Choice kChoiceIoPort{"IOPORT", 0, Family::kIoPort};
inline constexpr Choice kChoiceCpld{"CPLD", 0, Family::kCpld};
inline constexpr Choice kChoiceIch{"ICH", 0, Family::kIch};

enum class Case { kSensitive, kIgnored };

// The first of `accepted` whose token begins `value`; nullptr when none does.
const Choice* select_choice(std::string_view value, std::span<const Choice> accepted, Case c);

// The decimal number right behind the first `mark` of `value`; nullopt when `value` has no
// mark or no digits follow it.
std::optional<int> number_after(std::string_view value, char mark);
// The address that follows a value's token ("I2C:0x4c", "IOPORT:0x4e4"; the ':' may be left
// out), decimal or 0x-hexadecimal, within [lo, hi]; nullopt otherwise.
std::optional<int> address_behind(std::string_view value, const Choice& token, int lo, int hi);

}  // namespace bayhal::board
