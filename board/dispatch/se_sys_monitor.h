// The hardware monitor's back-end operations beyond readings and levels (se_sys.h): fans by
// PWM, the level table a fan follows, the NIC sensor, the voltage query that no board
// answers, the embedded controller's automatic fan control, and the board functions whose
// chips speak a private protocol (they answer the documented failure; README "Not supported").
#pragma once
#include <optional>
#include <vector>

#include "board/drivers/ec/ec.h"
#include "model/board_keys.h"

namespace bayhal::board {

// PWM 0..255 written to the fan's chip as it is (no level table); index as se_sys_set_fan_speed
// but without -1.
int se_sys_set_fan_pwm(const char* enc_sys_id, int index, int pwm);
// The level table a root fan follows (FAN_LEVEL_<n> of that group's section); nullopt when
// its chip takes the level itself or the fan is not described.
struct LevelTable {
  model::FanGroup group;
  int region;
};
std::optional<LevelTable> se_sys_fan_level_table(int index);
// The fans index -1 stands for: system fans, CPU fans, then the regions' fans.
std::vector<int> configured_fans();
// The embedded controller's own number of a root fan; -1 when the EC does not drive it.
int se_sys_ec_fan_index(int index);

// MIN_PWM and MAX_PWM of a fan region's section (0 "System FAN", 1 "CPU FAN", 2 and 3
// "System FAN Region 1" and "2"); -1 when either is missing.
int se_sys_get_fan_pwm_min_max(int region, int* min_pwm, int* max_pwm);

// Always -1: no board of the family reports voltages.
int se_sys_get_voltage(const char* enc_sys_id, int index, double* volts);
// The sensor of network interface eth<nic> (root only), whole degrees.
int se_sys_get_nic_temp(const char* enc_sys_id, int nic, double* celsius);

// ---- the embedded controller's automatic fan control (root with an EC only) ----
enum class EcTable : int { kPwm, kTemp };
// Loads a scheme's PWM (0..255) or temperature (degrees) points.
int se_sys_init_ec_fan_table(const char* enc_sys_id, EcScheme scheme, EcTable table,
                             const int* values, int count);
enum class EcFanMode : int { kAuto, kCustom, kManual };
// Hands the group of fan `index` to the scheme's own table, the loaded one, or a fixed PWM.
int se_sys_set_ec_fan_mode(const char* enc_sys_id, EcScheme scheme, int index, EcFanMode mode,
                           int pwm);

// ---- private protocols: the documented failure ----
// Embedded-controller only: -1 without a message when the board has none.
int se_sys_temperature_calibrate(const char* enc_sys_id, int index, double celsius);
int se_sys_cpu_temp_feedback(const char* enc_sys_id, double celsius);
int se_sys_init_temp(const char* enc_sys_id);
int se_sys_init_temp_offset(const char* enc_sys_id, int index, int offset);
// The others.
int se_sys_set_fan_led(const char* enc_sys_id, int on);
int se_sys_set_fanerror_led(const char* enc_sys_id, int on);
int se_sys_set_overheat_led(const char* enc_sys_id, int on);
int se_sys_set_pwb_mode(const char* enc_sys_id, int mode);
int se_sys_get_pwb_status(const char* enc_sys_id, int* status);
int se_sys_set_wol(const char* enc_sys_id, int on);
int se_sys_get_wol(const char* enc_sys_id, int* on);
int se_sys_set_c2f_to_cmos(const char* enc_sys_id, int value);
int se_sys_get_c2f_from_cmos(const char* enc_sys_id, int* value);
int se_sys_init_audio_board(const char* enc_sys_id);

}  // namespace bayhal::board
