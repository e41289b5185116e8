// The embedded controller's register map (16-bit addresses: high byte "func", low byte
// "index"). One table for the fans: a new fan group is a new row.
#pragma once
#include <cstdint>
#include <optional>

namespace bayhal::ec_reg {

inline constexpr uint16_t kPowerRecovery = 0x0016;  // 2 power on, 1 last state, 0 stay off
inline constexpr uint16_t kPowerGood = 0x0045;      // bit n: supply n good
inline constexpr uint16_t kCapability = 0x0101;     // bit 3: EuP supported
inline constexpr uint16_t kEupState = 0x0121;       // bit 3: EuP enabled
inline constexpr uint16_t kButtons = 0x0143;        // bit 2: USB copy button pressed
inline constexpr uint16_t kStatusLed = 0x0155;
inline constexpr uint16_t kLedBrightness = 0x0243;
inline constexpr uint16_t kLedControl = 0x0245;     // bit 4: brightness by PWM
inline constexpr uint16_t kLedBrightness2 = 0x0246;
inline constexpr uint16_t kBuzzer = 0x0249;         // frequency while sounding, 0 silent
inline constexpr uint16_t kFirmwareVersion = 0x0308;  // eight bytes of text
inline constexpr int kFirmwareVersionLen = 8;

inline constexpr uint8_t kEupBit = 0x08;
inline constexpr uint8_t kUsbButtonBit = 0x04;
inline constexpr uint8_t kLedByPwmBit = 0x10;
inline constexpr uint8_t kFanManual = 0x10;

// Values of the status LED register.
enum StatusLed : uint8_t {
  kLedOff = 0, kLedGreen = 1, kLedRed = 2, kLedGreenBlink = 3, kLedRedBlink = 4, kLedBothBlink = 5,
};

// A fan group: fans first..first+count-1, each fan k of the group with its speed at
// speed_high + 2k (high byte) and speed_low + 2k (low byte). Power-supply fans have no mode,
// duty or running register (0).
struct FanGroup {
  int first;
  int count;
  uint16_t mode;
  uint16_t duty;     // percent
  uint16_t running;  // bit k set: fan k turns
  uint16_t speed_high;
  uint16_t speed_low;
};

inline constexpr FanGroup kFanGroups[] = {
    {0, 5, 0x0220, 0x022E, 0x0242, 0x0624, 0x0625},   // system
    {6, 2, 0x0223, 0x024B, 0x0244, 0x0620, 0x0621},   // CPU
    {20, 6, 0x0221, 0x022F, 0x0259, 0x0644, 0x0645},  // region 1
    {30, 6, 0x0222, 0x023B, 0x025A, 0x062C, 0x062D},  // region 2
    {10, 1, 0, 0, 0, 0x065B, 0x065A},                 // power supply 1
    {11, 1, 0, 0, 0, 0x065E, 0x065D},                 // power supply 2
};

inline constexpr const FanGroup* fan_group(int index) {
  for (const FanGroup& g : kFanGroups)
    if (index >= g.first && index < g.first + g.count) return &g;
  return nullptr;
}

// The register of a temperature index; nullopt for an index without one.
inline constexpr std::optional<uint16_t> temperature(int index) {
  if (index == 0 || index == 1) return static_cast<uint16_t>(0x0600 + index);
  if (index >= 5 && index <= 7) return static_cast<uint16_t>(0x0602 + index - 5);
  if (index == 10) return 0x0659;
  if (index == 11) return 0x065C;
  if (index >= 15 && index <= 38) return static_cast<uint16_t>(index + 0x05F7);
  return std::nullopt;
}

}  // namespace bayhal::ec_reg

// The controller's automatic fan control: three schemes, each a PWM table (in percent, like
// the duty registers) and a temperature table (degrees), and the mode value that hands a fan
// group to the scheme, written to the group's mode register. "Auto" follows the controller's
// own table of the scheme, "custom" the tables the host loaded. This block is the layout of
// this library and its controller model; it has not been checked against a board's firmware.
namespace bayhal::ec_reg {

struct FanScheme {
  const char* name;
  uint16_t pwm;   // first PWM point
  uint16_t temp;  // first temperature point
  int points;
  uint8_t auto_mode;
  uint8_t custom_mode;
};

inline constexpr FanScheme kQFan{"QFan", 0x0270, 0x0274, 4, 0x01, 0x02};
inline constexpr FanScheme kTFan{"TFan", 0x0278, 0x027C, 4, 0x03, 0x04};
inline constexpr FanScheme k7Level{"7-level", 0x0280, 0x0288, 7, 0x05, 0x06};

}  // namespace bayhal::ec_reg
