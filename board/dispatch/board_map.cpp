#include "board/dispatch/board_map.h"

#include "board/dispatch/dispatch.h"
#include "board/dispatch/resolve.h"

namespace bayhal::board {
namespace {

bool offers_temp(const Driver& d) { return d.get_temp != nullptr; }
bool offers_fan(const Driver& d) { return d.get_fan_speed != nullptr; }
bool offers_command(const Driver& d) { return d.send_command != nullptr; }

// Whether the chip offers what the function needs (the command-protocol controllers: their
// commands).
bool offers(Function f, Family family, const Driver& d) {
  bool commands = family == Family::kPic || family == Family::kMcu;
  switch (f) {
    case Function::kStatusRedLed:
    case Function::kStatusGreenLed:
      return commands ? offers_command(d) : d.set_status_led != nullptr;
    case Function::kPowerLed:
      return family == Family::kPic ? offers_command(d) : d.set_led != nullptr;
    case Function::kUsbLed:
    case Function::kBreathLed:
    case Function::k10GLed:
    case Function::kJbodConnectLed:
    case Function::kStandbyLed:
    case Function::kIdentLed: return d.set_led != nullptr;
    case Function::kLedBrightness: return d.set_led_brightness != nullptr;
    case Function::kResetButton:
    case Function::kUsbCopyButton:
    case Function::kEjectButton:
    case Function::kCaseCover: return d.get_button != nullptr;
    case Function::kPowerSupply1:
    case Function::kPowerSupply2: return d.get_power_supply_status != nullptr;
    case Function::kPowerRecovery: return d.set_power_recovery != nullptr;
    case Function::kBuzzer: return d.beep != nullptr;
    case Function::kCount: break;
  }
  return false;
}

// Whether a function a chip serves is supported, or why not.
void settle(FunctionView& v, std::optional<Family> family, bool offered, std::string why = {}) {
  if (!family) {
    v.reason = !why.empty() ? why : !v.value ? "not described" : "value not accepted";
    return;
  }
  v.chip = family_name(*family);
  v.supported = offered;
  if (!offered) v.reason = "driver not built";
}

FunctionView slot_view(const char* group, int index, const Resolution& r,
                       bool (*offered)(const Driver&)) {
  FunctionView v;
  v.group = group;
  v.name = std::string(group) + " " + std::to_string(index);
  v.index = index;
  v.section = r.section;
  v.key = r.key;
  v.value = r.value;
  v.channel = r.slot.channel;
  std::optional<Family> family;
  if (r.slot.hm_type > 0) family = family_of(r.slot.hm_type);
  if (family == Family::kI2c && r.value)
    v.address = address_behind(*r.value, kChoiceI2c, 0x03, 0x77).value_or(-1);
  settle(v, family, family && offered(driver(*family)), r.why);
  return v;
}

const char* group_of(Function f) {
  switch (f) {
    case Function::kResetButton:
    case Function::kUsbCopyButton:
    case Function::kEjectButton:
    case Function::kCaseCover: return "button";
    case Function::kPowerSupply1:
    case Function::kPowerSupply2: return "power supply";
    case Function::kPowerRecovery:
    case Function::kBuzzer: return "setting";
    default: return "LED";
  }
}

}  // namespace

std::vector<FunctionView> board_map() {
  std::vector<FunctionView> out;
  for (int i = 0; i < kTempSlots; ++i) {
    Resolution r = resolve_temp(i);
    if (!r.key.empty()) out.push_back(slot_view("temperature", i, r, offers_temp));
  }
  for (int i = 0; i < kFanSlots; ++i) {
    Resolution r = resolve_fan(i, "board_map");
    if (r.key.empty()) continue;
    FunctionView v = slot_view("fan", i, r, offers_fan);
    v.slot = r.slot_value;
    out.push_back(std::move(v));
  }
  for (int i = 0; i < static_cast<int>(Function::kCount); ++i) {
    auto f = static_cast<Function>(i);
    FunctionInfo info = function_info(f);
    model::BoardKeyName key = model::board_key_name(info.key);
    Selection s = select_function(f);
    FunctionView v;
    v.group = group_of(f);
    v.name = info.name;
    v.section = key.section;
    v.key = key.key;
    v.value = s.value;
    // I2C devices and I/O ports are addresses; GPIO lines are channels.
    bool addressed = s.choice != nullptr && s.choice->family != Family::kGpio;
    (addressed ? v.address : v.channel) = s.channel;
    std::optional<Family> family;
    if (s.choice != nullptr) family = family_of(*s.choice);
    settle(v, family, family && offers(f, *family, driver(*family)));
    out.push_back(std::move(v));
  }
  return out;
}

}  // namespace bayhal::board
