/* bayhal HM family: the hardware monitor of an enclosure's board (enclosure 0 is the
 * appliance): temperatures, fans, power-on settings and the embedded controller's automatic
 * fan control.
 *
 * Units: degrees Celsius (whole degrees, as a double); fan speed in rpm with a separate
 * status (0 running or stopped on purpose, 1 failed); PWM 0..255; fan level 0..8, the PWM of
 * FAN_LEVEL_<n> in the fan's section of /etc/model.conf.
 *
 * Indexes: temperatures 0-1 CPU, 5-7 system, 10-11 power supplies, 15-38 environment
 * sensors; fans 0-4 system, 6-7 CPU, 10-11 power supplies, 20-29 region 1, 30-35 region 2.
 *
 * Results: 0 success, -1 failure (also for an enclosure id that is not registered). Outputs
 * are set to their neutral values (0.0, 0 rpm, status 0, 0) before anything else, so a
 * failed call never leaves stale data.
 */
#ifndef BAYHAL_HM_H
#define BAYHAL_HM_H

#ifdef __cplusplus
extern "C" {
#endif

/* Points of the embedded controller's fan tables. */
#define HM_EC_QFAN_POINTS 4
#define HM_EC_TFAN_POINTS 4
#define HM_EC_7LEVEL_POINTS 7

/* ---- temperatures ---- */
int HM_Get_Temperature(int enc_id, int index, double *celsius);
/* The integer average of a temperature region's sensors (region from 0); a sensor that
   fails is left out. */
int HM_Get_Region_Temperature(int enc_id, int region, double *celsius);
/* The sensor of network interface eth<nic>. */
int HM_Get_NIC_Temperature(int enc_id, int nic, double *celsius);
/* No board reports voltages: always -1. */
int HM_Get_Voltage(int enc_id, int index, double *volts);
/* Embedded controller only; its calibration registers are private: -1. */
int HM_Temperature_Calibrate(int enc_id, int index, double celsius);
int HM_CPU_Temperature_Feedback(int enc_id, double celsius);
int HM_Init_Temp(int enc_id);
int HM_Init_Temp_Offset(int enc_id, int index, int offset);

/* ---- fans ---- */
int HM_Get_Fan(int enc_id, int index, unsigned int *rpm, int *status);
/* Level 0..8; index -1 sets every fan the model description configures and returns the
   result of the last one. */
int HM_Set_Fan_Speed(int enc_id, int index, int level);
/* PWM 0..255 as it is, without a level table. */
int HM_Set_Fan_Speed_By_PWM(int enc_id, int index, int pwm);

/* ---- LEDs and power-on settings ---- */
int HM_Set_Fan_Led(int enc_id, int on);
int HM_Set_FanError_Led(int enc_id, int on);
int HM_Set_Overheat_Led(int enc_id, int on);
/* Brightness 0..100 of the front LEDs. */
int HM_Set_LED_Brightness_By_PWM(int enc_id, int value);
/* EuP (lowest standby power), embedded controller only: 1 on, 0 off. */
int HM_Set_EUP_State(int enc_id, int on);
int HM_Get_EUP_State(int enc_id, int *on);
/* AC power recovery: 0 power on when AC returns, 2 the state before the loss, 3 stay off. */
int HM_Set_Power_Recovery_Mode(int enc_id, int mode);
int HM_Get_Power_Recovery_Mode(int enc_id, int *mode);
int HM_Set_Power_Button_Mode(int enc_id, int mode);
int HM_Get_Power_Button_Status(int enc_id, int *status);
int HM_Set_WOL(int enc_id, int on);
int HM_Get_WOL(int enc_id, int *on);
int HM_Set_C2F_Param(int enc_id, int value);
int HM_Get_C2F_Param(int enc_id, int *value);
int HM_Init_Audio_Board(int enc_id);

/* ---- the embedded controller's automatic fan control (docs/board.md) ----
   Tables hold exactly the scheme's points: PWM 0..255 or degrees 0..127, lowest first.
   Auto hands the group of fan `index` to the controller's own table of the scheme, Custom
   to the tables loaded, Manual to a fixed PWM. */
int HM_Init_EC_QFan_PWM(int enc_id, const int *pwm, int count);
int HM_Init_EC_QFan_Auto_Temp(int enc_id, const int *celsius, int count);
int HM_Set_EC_QFan_Auto(int enc_id, int index);
int HM_Set_EC_QFan_Custom(int enc_id, int index);
int HM_Set_EC_QFan_Manual(int enc_id, int index, int pwm);
int HM_Init_EC_TFan_PWM(int enc_id, const int *pwm, int count);
int HM_Init_EC_TFan_Parameter(int enc_id, const int *celsius, int count);
int HM_Set_EC_TFan_Auto(int enc_id, int index);
int HM_Set_EC_TFan_Custom(int enc_id, int index);
int HM_Set_EC_TFan_Manual(int enc_id, int index, int pwm);
/* Both TFan tables at once (pwm and celsius of `count` points each). */
int HM_Set_EC_TFAN_Parameters(int enc_id, const int *pwm, const int *celsius, int count);
int HM_Init_EC_7Level_PWM(int enc_id, const int *pwm, int count);
int HM_Init_EC_7Level_Temp(int enc_id, const int *celsius, int count);
int HM_Set_EC_7Level_Auto(int enc_id, int index);
int HM_Set_EC_7Level_Custom(int enc_id, int index);
int HM_Set_EC_7Level_Manual(int enc_id, int index, int pwm);

#ifdef __cplusplus
}
#endif

#endif
