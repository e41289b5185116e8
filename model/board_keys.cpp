#include "model/board_keys.h"

#include <algorithm>
#include <array>

#include "foundation/store_files.h"
#include "ini/ini_store.h"
#include "model/model_keys.h"

namespace bayhal::model {
namespace {

constexpr std::string_view kSystemIo = "System IO";
constexpr std::string_view kSystemEnclosure = "System Enclosure";

// In BoardKey order.
constexpr std::array<BoardKeyName, static_cast<size_t>(BoardKey::kCount)> kKeys = {{
    {kSystemIo, "STATUS_RED_LED"},
    {kSystemIo, "STATUS_GREEN_LED"},
    {kSystemIo, "POWER_LED"},
    {kSystemIo, "FRONT_USB_LED"},
    {kSystemIo, "FRONT_BREATH_LED"},
    {kSystemIo, "10G_LED"},
    {kSystemIo, "JBOD_CONNECT_LED"},
    {kSystemIo, "LED_BV_CTRL"},
    {kSystemIo, "LED_BV_INTERFACE"},
    {kSystemIo, "RESET_BUTTON"},
    {kSystemIo, "USB_COPY_BUTTON"},
    {kSystemIo, "SYSTEM_BUZZER_UNIT"},
    {kSystemIo, "REDUNDANT_POWER_1"},
    {kSystemIo, "REDUNDANT_POWER_2"},
    {kSystemEnclosure, "CPU_TEMP_UNIT"},
    {kSystemEnclosure, "SYSTEM_TEMP_UNIT"},
    {kSystemEnclosure, "ENV_TEMP_UNIT"},
    {kSystemEnclosure, "PWR_RECOVERY_UNIT"},
    {kSystemEnclosure, "MCU_SPEC"},
    {kSystemEnclosure, "SIO_DEVICE"},
    {kSystemIo, "STANDBY_LED"},
    {kSystemIo, "IDENT_LED"},
    {kSystemIo, "EJECT_BUTTON"},
    {kSystemIo, "CASE_COVER"},
}};

std::optional<long long> number(std::string_view section, std::string_view key,
                                bool hex = false) {
  auto s = ini::read_section(kModelConf, section);
  if (!s) return std::nullopt;
  return s->get_int(key, hex);
}

// A count bounded by the room the board's index space gives it, whatever a hand edit says.
int count(std::string_view section, std::string_view key, int most) {
  return static_cast<int>(std::clamp<long long>(number(section, key).value_or(0), 0, most));
}

}  // namespace

BoardKeyName board_key_name(BoardKey key) { return kKeys[static_cast<size_t>(key)]; }

std::optional<std::string> board_key(BoardKey key) {
  BoardKeyName n = board_key_name(key);
  return model_key(n.section, n.key);
}

BoardKey redundant_power_key(int n) {
  return n == 2 ? BoardKey::kRedundantPower2 : BoardKey::kRedundantPower1;
}

std::optional<long long> system_buzzer_freq() { return number(kSystemIo, "SYSTEM_BUZZER_FREQ"); }
std::optional<long long> led_bv_scrollbar() { return number(kSystemIo, "LED_BV_SCROLLBAR"); }
int max_button_num() { return count(kSystemIo, "MAX_BUTTON_NUM", kMaxButtons); }

int max_fan_num() { return count(kSystemEnclosure, "MAX_FAN_NUM", kMaxSystemFans); }
int max_cpu_fan_num() { return count(kSystemEnclosure, "MAX_CPU_FAN_NUM", kMaxCpuFans); }
std::optional<long long> env_temp_id(int n) {
  return number(kSystemEnclosure, "ENV_TEMP" + std::to_string(n) + "_ID");
}

std::string fan_section(FanGroup group, int region) {
  switch (group) {
    case FanGroup::kSystem: return "System FAN";
    case FanGroup::kCpu: return "CPU FAN";
    case FanGroup::kRegion: break;
  }
  return "System FAN Region " + std::to_string(region);
}

std::optional<std::string> fan_unit(std::string_view section) { return model_key(section, "FAN_UNIT"); }
std::optional<std::string> fan_slot(std::string_view section, int n) {
  return model_key(section, "FAN_" + std::to_string(n));
}
std::optional<long long> fan_level_pwm(std::string_view section, int level) {
  return number(section, "FAN_LEVEL_" + std::to_string(level));
}

std::optional<long long> fan_min_pwm(std::string_view section) { return number(section, "MIN_PWM"); }
std::optional<long long> fan_max_pwm(std::string_view section) { return number(section, "MAX_PWM"); }

int max_region_num() { return count("FAN Region", "MAX_REGION_NUM", kMaxFanRegions); }
int region_max_fan_num(int region) {
  return count(fan_section(FanGroup::kRegion, region), "MAX_FAN_NUM", kMaxRegionFans);
}

std::optional<long long> sys_temp_monitor_bitmap(int region) {
  return number("System Temp Region " + std::to_string(region), "SYS_TEMP_MONITOR_BITMAP");
}

std::optional<std::string> temp_region_name(int region) {
  return model_key("System Temp Region " + std::to_string(region), "REGION_NAME");
}

std::vector<int> temp_regions() { return slot_numbers("System Temp Region"); }

int max_cpu_num() { return static_cast<int>(number(kSystemEnclosure, "MAX_CPU_NUM").value_or(1)); }
std::optional<long long> max_temp_num() { return number(kSystemEnclosure, "MAX_TEMP_NUM"); }

}  // namespace bayhal::model
