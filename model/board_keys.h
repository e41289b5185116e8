// The typed reader of the model description's board keys: which chip serves each board
// function ("System IO", the temperature and fan units of "System Enclosure" and the fan
// sections), the fan tables and the region maps; the sibling of model_keys.h for the board.
// Each key is spelled here once; absent keys come back as nullopt (or 0 for counts).
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bayhal::model {

// Keys whose value names the chip of one board function.
enum class BoardKey : int {
  kStatusRedLed,     // "System IO" / STATUS_RED_LED
  kStatusGreenLed,   // "System IO" / STATUS_GREEN_LED
  kPowerLed,         // "System IO" / POWER_LED
  kUsbLed,           // "System IO" / FRONT_USB_LED
  kBreathLed,        // "System IO" / FRONT_BREATH_LED
  k10GLed,           // "System IO" / 10G_LED
  kJbodConnectLed,   // "System IO" / JBOD_CONNECT_LED
  kLedBvCtrl,        // "System IO" / LED_BV_CTRL
  kLedBvInterface,   // "System IO" / LED_BV_INTERFACE
  kResetButton,      // "System IO" / RESET_BUTTON
  kUsbCopyButton,    // "System IO" / USB_COPY_BUTTON
  kBuzzerUnit,       // "System IO" / SYSTEM_BUZZER_UNIT
  kRedundantPower1,  // "System IO" / REDUNDANT_POWER_1
  kRedundantPower2,  // "System IO" / REDUNDANT_POWER_2
  kCpuTempUnit,      // "System Enclosure" / CPU_TEMP_UNIT
  kSystemTempUnit,   // "System Enclosure" / SYSTEM_TEMP_UNIT
  kEnvTempUnit,      // "System Enclosure" / ENV_TEMP_UNIT
  kPwrRecoveryUnit,  // "System Enclosure" / PWR_RECOVERY_UNIT
  kMcuSpec,          // "System Enclosure" / MCU_SPEC
  kSioDevice,        // "System Enclosure" / SIO_DEVICE
  // Front-panel functions the appliance's own descriptions add.
  kStandbyLed,       // "System IO" / STANDBY_LED
  kIdentLed,         // "System IO" / IDENT_LED
  kEjectButton,      // "System IO" / EJECT_BUTTON
  kCaseCover,        // "System IO" / CASE_COVER
  kCount,
};

struct BoardKeyName {
  std::string_view section;
  std::string_view key;
};
BoardKeyName board_key_name(BoardKey key);
// The key's value as written; nullopt when absent.
std::optional<std::string> board_key(BoardKey key);
// REDUNDANT_POWER_<n> for supply n (1 or 2).
BoardKey redundant_power_key(int n);

// "System IO" / LED_BV_SCROLLBAR: 0 when the brightness has no scroll bar; nullopt when absent.
std::optional<long long> led_bv_scrollbar();
// "System IO" / MAX_BUTTON_NUM; 0 when absent.
int max_button_num();

// "System IO" / SYSTEM_BUZZER_FREQ: the embedded controller's buzzer frequency value.
std::optional<long long> system_buzzer_freq();

// The fan index space: system fans 0-5, CPU fans 6-9, region r's fans 20 + 10 (r - 1) on,
// for the system and CPU groups and two extra regions. The fan counts below are bounded by it.
inline constexpr int kMaxSystemFans = 6;
inline constexpr int kMaxCpuFans = 4;
inline constexpr int kMaxFanRegions = 4;
inline constexpr int kMaxRegionFans = 10;
// Buttons are reported as a count; no board has nearly this many.
inline constexpr int kMaxButtons = 32;

// "System Enclosure": MAX_FAN_NUM, MAX_CPU_FAN_NUM, ENV_TEMP<n>_ID (CAP: model_keys.h).
int max_fan_num();
int max_cpu_fan_num();
std::optional<long long> env_temp_id(int n);

// The fan sections: "System FAN", "CPU FAN", "System FAN Region <r>" (r from 1).
enum class FanGroup : int { kSystem, kCpu, kRegion };
std::string fan_section(FanGroup group, int region = 0);
// FAN_UNIT and FAN_<n> of a fan section.
std::optional<std::string> fan_unit(std::string_view section);
std::optional<std::string> fan_slot(std::string_view section, int n);
// FAN_LEVEL_<level>: the PWM of that level; nullopt when absent.
std::optional<long long> fan_level_pwm(std::string_view section, int level);
// MIN_PWM and MAX_PWM of a fan section: the range a region's stepping spreads over.
std::optional<long long> fan_min_pwm(std::string_view section);
std::optional<long long> fan_max_pwm(std::string_view section);
// MAX_REGION_NUM of "FAN Region" and MAX_FAN_NUM of "System FAN Region <r>"; 0 when absent.
int max_region_num();
int region_max_fan_num(int region);

// SYS_TEMP_MONITOR_BITMAP of "System Temp Region <r>" (r from 1).
std::optional<long long> sys_temp_monitor_bitmap(int region);
// REGION_NAME of "System Temp Region <r>"; the region numbers r that have a section.
std::optional<std::string> temp_region_name(int region);
std::vector<int> temp_regions();

// "System Enclosure": MAX_CPU_NUM (1 when absent) and MAX_TEMP_NUM.
int max_cpu_num();
std::optional<long long> max_temp_num();

}  // namespace bayhal::model
