// Stage 2 of the board dispatch: from the root board's chip keys in the model description to
// a chip (hm_type or family) and a channel. Pure reading, no driver called and nothing
// cached here (board/dispatch/caches.h keeps the answers), so hal_tool shows exactly what a
// call would resolve.
#pragma once
#include <optional>
#include <string>

#include "board/dispatch/selector.h"
#include "model/board_keys.h"

namespace bayhal::board {

inline constexpr int kTempSlots = 39;  // temperature indexes 0..38
inline constexpr int kFanSlots = 36;   // fan indexes 0..35

// One slot of the temperature or fan map: hm_type 0 unresolved, -1 unsupported.
struct Slot {
  int hm_type = kHmUnresolved;
  int channel = -1;
};

// A resolved slot and the key it was read from, for the ones who show it.
struct Resolution {
  Slot slot;
  std::string section;  // empty for an index without a unit
  std::string key;
  std::optional<std::string> value;
  std::optional<std::string> slot_value;  // fans: FAN_<n>
  std::string why;                        // what made the slot unsupported
};

// The temperature index map: 0-1 CPU, 5-7 system, 10-11 supplies, 15-38 environment.
// Indexes without a unit stay unresolved.
Resolution resolve_temp(int index);
// The fan index map: 0-4 system, 6-7 CPU, 10-11 supplies, 20-35 regions. Traces a missing
// FAN_UNIT ("System Error") and an unknown unit ("not implement") under `who`.
Resolution resolve_fan(int index, const char* who = "root_get_fan_index");
// The fan group and region of a fan index (for its level table).
model::FanGroup fan_group(int index);
int fan_region(int index);  // 1 or 2 for region fans, else 0

// A board function chosen by one "System IO" or "System Enclosure" key.
enum class Function : int {
  kStatusRedLed,
  kStatusGreenLed,
  kPowerLed,
  kUsbLed,
  kBreathLed,
  k10GLed,
  kJbodConnectLed,
  kLedBrightness,
  kResetButton,
  kUsbCopyButton,
  kPowerSupply1,
  kPowerSupply2,
  kPowerRecovery,
  kBuzzer,
  kStandbyLed,
  kIdentLed,
  kEjectButton,
  kCaseCover,
  kCount,
};

struct FunctionInfo {
  std::string_view name;  // as hal_tool shows it
  model::BoardKey key;
};
FunctionInfo function_info(Function f);

// What a function's key selects.
struct Selection {
  const Choice* choice = nullptr;  // nullptr: the value is not one the function accepts
  std::optional<std::string> value;
  int channel = -1;                // I/O port, GPIO line, I2C address: see docs/board.md
};
// The key's value matched against the values the function accepts, in their order.
// `blink` narrows the status LEDs to what blinking accepts (no IOPORT).
Selection select_function(Function f, bool blink = false);
// The function of status LED 0 (red) or 1 (green); both (2) follow the red one's chip.
Function status_led_function(int led);

}  // namespace bayhal::board
