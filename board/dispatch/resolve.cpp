#include "board/dispatch/resolve.h"

#include <array>

#include "bayhal/ERR_TRACE.h"

namespace bayhal::board {
namespace {

using model::BoardKey;

// ---- the values each key accepts, in the order tried ----

constexpr Choice kCpuTemp[] = {kChoiceThermalZone, kChoiceSio, kChoiceDts, kChoiceEc};
constexpr Choice kSystemTemp[] = {kChoiceSio, kChoicePic, kChoiceMcu, kChoiceEc};
constexpr Choice kSupplySensors[] = {kChoiceI2c, kChoiceEc};
constexpr Choice kEnvTemp[] = {kChoiceI2c, kChoiceEc, kChoiceSio, kChoiceMcu};
constexpr Choice kFanUnit[] = {kChoiceSio, kChoicePic, kChoiceMcu, kChoiceI2c, kChoiceEc};

constexpr Choice kStatusLed[] = {kChoiceSio, kChoicePic,  kChoiceMcu,
                                 kChoiceIoPort, kChoiceEc, kChoiceCpld};
constexpr Choice kStatusLedBlink[] = {kChoiceSio, kChoicePic, kChoiceMcu, kChoiceEc, kChoiceCpld};
constexpr Choice kPowerLed[] = {kChoiceSio, kChoicePic};
constexpr Choice kUsbLed[] = {kChoiceSio, kChoicePic, kChoiceMcu, kChoiceEc};
constexpr Choice kBreathLed[] = {kChoicePic};
constexpr Choice k10GLed[] = {kChoiceSio, kChoiceEc};
constexpr Choice kJbodLed[] = {kChoiceSio, kChoiceEc, kChoiceMcu};
constexpr Choice kBrightness[] = {kChoiceSio, kChoiceEc, kChoicePic, kChoiceMcu};
constexpr Choice kButton[] = {kChoiceSio, kChoiceSoc, kChoiceGpio, kChoiceEc};
constexpr Choice kSupplyStatus[] = {kChoiceSio, kChoiceSoc, kChoiceI2c, kChoiceGpio, kChoiceEc};
constexpr Choice kRecovery[] = {kChoiceSio, kChoiceIch, kChoicePic, kChoiceMcu, kChoiceEc};
constexpr Choice kBuzzer[] = {kChoiceEc};
constexpr Choice kStandbyLed[] = {kChoiceSio, kChoicePic};
constexpr Choice kIdentLed[] = {kChoiceSio, kChoicePic, kChoiceMcu};
constexpr Choice kCaseCover[] = {kChoiceSio, kChoiceGpio, kChoiceEc};

struct FunctionRow {
  FunctionInfo info;
  std::span<const Choice> accepted;
  std::span<const Choice> blink;  // empty: as `accepted`
};

// In Function order.
const std::array<FunctionRow, static_cast<size_t>(Function::kCount)> kFunctions = {{
    {{"status LED red", BoardKey::kStatusRedLed}, kStatusLed, kStatusLedBlink},
    {{"status LED green", BoardKey::kStatusGreenLed}, kStatusLed, kStatusLedBlink},
    {{"power LED", BoardKey::kPowerLed}, kPowerLed, {}},
    {{"USB LED", BoardKey::kUsbLed}, kUsbLed, {}},
    {{"breath LED", BoardKey::kBreathLed}, kBreathLed, {}},
    {{"10G LED", BoardKey::k10GLed}, k10GLed, {}},
    {{"JBOD connect LED", BoardKey::kJbodConnectLed}, kJbodLed, {}},
    {{"LED brightness", BoardKey::kLedBvInterface}, kBrightness, {}},
    {{"reset button", BoardKey::kResetButton}, kButton, {}},
    {{"USB copy button", BoardKey::kUsbCopyButton}, kButton, {}},
    {{"power supply 1", BoardKey::kRedundantPower1}, kSupplyStatus, {}},
    {{"power supply 2", BoardKey::kRedundantPower2}, kSupplyStatus, {}},
    {{"power recovery", BoardKey::kPwrRecoveryUnit}, kRecovery, {}},
    {{"buzzer", BoardKey::kBuzzerUnit}, kBuzzer, {}},
    {{"standby LED", BoardKey::kStandbyLed}, kStandbyLed, {}},
    {{"ident LED", BoardKey::kIdentLed}, kIdentLed, {}},
    {{"eject button", BoardKey::kEjectButton}, kButton, {}},
    {{"case cover", BoardKey::kCaseCover}, kCaseCover, {}},
}};

// ---- temperatures ----

struct TempUnit {
  BoardKey key;
  std::span<const Choice> accepted;
};

std::optional<TempUnit> temp_unit(int index) {
  if (index == 0 || index == 1) return TempUnit{BoardKey::kCpuTempUnit, kCpuTemp};
  if (index >= 5 && index <= 7) return TempUnit{BoardKey::kSystemTempUnit, kSystemTemp};
  if (index == 10 || index == 11) return TempUnit{model::redundant_power_key(index - 9), kSupplySensors};
  if (index >= 15 && index < kTempSlots) return TempUnit{BoardKey::kEnvTempUnit, kEnvTemp};
  return std::nullopt;
}

// The channel of a temperature slot; nullopt marks it unsupported.
std::optional<int> temp_channel(int index, int hm_type, std::string_view value) {
  std::optional<int> after = number_after(value, ':');
  if (index <= 1) return hm_type == kHmEc ? std::optional<int>(index) : after;
  if (index <= 7) {
    switch (hm_type) {
      case kHmSio: return after;
      case kHmPic: return -1;
      case kHmMcu: return after ? *after + 4 : index;
      default: return index - 5;  // EC
    }
  }
  if (index <= 11) return hm_type == kHmI2c ? index - 9 : index - 10;
  switch (hm_type) {
    case kHmI2c: return (index - 15) * 2;
    case kHmEc: return index - 15;
    case kHmSio: return static_cast<int>(model::env_temp_id(index - 14).value_or(index - 15));
    default: return index;  // MCU
  }
}

void describe(Resolution& r, BoardKey key) {
  model::BoardKeyName name = model::board_key_name(key);
  r.section = name.section;
  r.key = name.key;
  r.value = model::board_key(key);
}

// ---- fans ----

struct FanPlace {
  std::string section;  // of FAN_UNIT and FAN_<n>
  int n;
};

std::optional<FanPlace> fan_place(int index) {
  using model::FanGroup;
  if (index >= 0 && index <= 4) return FanPlace{model::fan_section(FanGroup::kSystem), index + 1};
  if (index == 6 || index == 7) return FanPlace{model::fan_section(FanGroup::kCpu), index - 5};
  if (index >= 20 && index < kFanSlots)
    return FanPlace{model::fan_section(FanGroup::kRegion, fan_region(index)), (index - 20) % 10 + 1};
  return std::nullopt;
}

Slot unsupported() { return Slot{kHmUnsupported, -1}; }

}  // namespace

Resolution resolve_temp(int index) {
  Resolution r;
  auto unit = temp_unit(index);
  if (!unit) return r;
  describe(r, unit->key);
  r.slot = unsupported();
  if (!r.value) return r;
  const Choice* c = select_choice(*r.value, unit->accepted, Case::kIgnored);
  if (c == nullptr) return r;
  if (auto channel = temp_channel(index, c->hm_type, *r.value))
    r.slot = Slot{c->hm_type, *channel};
  else
    r.why = "no channel in the value";
  return r;
}

model::FanGroup fan_group(int index) {
  if (index == 6 || index == 7) return model::FanGroup::kCpu;
  if (index >= 20) return model::FanGroup::kRegion;
  return model::FanGroup::kSystem;
}

int fan_region(int index) { return index >= 20 ? (index - 20) / 10 + 1 : 0; }

Resolution resolve_fan(int index, const char* who) {
  Resolution r;
  bool supply = index == 10 || index == 11;
  auto place = fan_place(index);
  if (!supply && !place) return r;
  if (supply) {
    describe(r, model::redundant_power_key(index - 9));
  } else {
    r.section = place->section;
    r.key = "FAN_UNIT";
    r.value = model::fan_unit(place->section);
  }
  r.slot = unsupported();
  if (!r.value) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): System Error.\n", who, __LINE__);
    return r;
  }
  const Choice* c =
      select_choice(*r.value, supply ? std::span<const Choice>(kSupplySensors) : kFanUnit,
                    Case::kIgnored);
  if (c == nullptr) {
    ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): hm_type = %s not implement.\n", who, __LINE__,
              r.value->c_str());
    return r;
  }
  if (supply) {
    r.slot = Slot{c->hm_type, c->hm_type == kHmI2c ? index - 9 : index + 1};
    return r;
  }
  std::string slot_key = "FAN_" + std::to_string(place->n);
  r.slot_value = model::fan_slot(place->section, place->n);
  if (!r.slot_value) {
    r.why = slot_key + " not described";
    return r;
  }
  if (auto channel = number_after(*r.slot_value, 'I'))
    r.slot = Slot{c->hm_type, *channel};
  else
    r.why = slot_key + " has no channel";
  return r;
}

FunctionInfo function_info(Function f) { return kFunctions[static_cast<size_t>(f)].info; }

Function status_led_function(int led) {
  return led == 1 ? Function::kStatusGreenLed : Function::kStatusRedLed;
}

Selection select_function(Function f, bool blink) {
  const FunctionRow& row = kFunctions[static_cast<size_t>(f)];
  Selection s;
  s.value = model::board_key(row.info.key);
  if (!s.value) {
    // A board without the key dims its LEDs through the Super I/O.
    if (f == Function::kLedBrightness) s.choice = &kChoiceSio;
    return s;
  }
  std::span<const Choice> accepted = blink && !row.blink.empty() ? row.blink : row.accepted;
  s.choice = select_choice(*s.value, accepted, Case::kSensitive);
  if (s.choice == nullptr) return s;
  switch (s.choice->family) {
    case Family::kIoPort: s.channel = address_behind(*s.value, *s.choice, 1, 0xFFFF).value_or(-1); break;
    case Family::kI2c: s.channel = address_behind(*s.value, *s.choice, 0x03, 0x77).value_or(-1); break;
    case Family::kGpio: s.channel = number_after(*s.value, ':').value_or(-1); break;
    default: break;
  }
  return s;
}

}  // namespace bayhal::board
