// What the registries ask of the board back-end: the board's serial number, fan regions
// and their PWM range, the PCIe and Thunderbolt facts of the main board, the 7-segment
// display, buzzer and LEDs, SAS HBA ports, and the vendor-private expansion-unit back-ends
// (PX RAID enclosures) that stage 1 of the board dispatch hands whole enclosures to.
//
// Until the board back-end implements an operation it answers -1 with the
// "%s(%d): enc_sys_id = %s not implement.\n" trace.
#pragma once
#include <cstdint>

#include "foundation/seam.h"

namespace bayhal {

class BoardServices {
 public:
  virtual ~BoardServices() = default;

  virtual int se_sys_get_board_sn(char* buf, int size);
  virtual int se_sys_set_board_sn(const char* serial);
  virtual int px_get_fw_version(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_set_7_segment_led(const char* enc_sys_id, int enc_id);
  virtual int prt_scan();
  virtual int fc_scan();
  virtual int se_sys_get_fan_region_name_id(int region, char* name, int size, int* type);
  virtual int se_sys_get_fan_pwm_min_max(int region, int* min_pwm, int* max_pwm);
  virtual int hm_set_fan_speed_by_pwm(int enc_id, int fan_index, int pwm);
  virtual int hal_mb_get_pcie_slot_num(const char* enc_sys_id, int* slot);
// 1 with *count set when the board has temperature regions.
  virtual int hal_mb_is_temp_region_support(int* count);
  virtual int hal_mb_is_tbt_support();
  virtual int se_sys_px_get_display_name(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_set_sas_hba_link_rate(const char* enc_sys_id, int phy, int rate);
  virtual int se_sys_clear_sas_hba_phy_err(const char* enc_sys_id, int phy);
  virtual int se_sys_set_buzzer(const char* enc_sys_id, int pattern);
  virtual int se_sys_enable_buzzer(const char* enc_sys_id, int enable);
  virtual int se_sys_get_led_bv_ctrl_capability(const char* enc_sys_id, int* kind, int* levels);
  virtual int se_sys_get_led_scrollbar_support(const char* enc_sys_id, int* support);
  virtual int se_sys_get_pd_env_sensor_num(const char* enc_sys_id, int* count);
  virtual int se_sys_get_heat_source_bitmap(const char* enc_sys_id, uint32_t* bitmap);
  virtual int se_sys_upgrade_cpld_fw(const char* enc_sys_id, const char* image_path);
  virtual int se_sys_set_tbt_port_power(const char* enc_sys_id, int port, int on);
  virtual int se_sys_get_fan_disk_bitmap(const char* enc_sys_id, int region, uint32_t* bitmap);
  virtual int se_sys_support_locate_led(int enc_id);
  virtual int se_sys_get_lsi_sas_hba_info(char* buf, int size);
  virtual int se_sys_is_disk_data_collection_enabled();
  virtual int se_sys_set_disk_data_collection(int enable);
  virtual int se_sys_attached_tbt_jbod_count();
  virtual int se_sys_get_fan_cache_disk_bitmap(int enc_id, int region, uint32_t* bitmap);
  virtual int se_sys_get_fan_pcie_slot_bitmap(int enc_id, int region, uint32_t* bitmap);
};

// The services in force (the pending defaults unless a back-end or a test installed others).
BoardServices& board_services();
// Installs `s` (not owned); nullptr restores the defaults.
void set_board_services(BoardServices* s);
using ScopedBoardServices = ScopedSeam<BoardServices, set_board_services>;

}  // namespace bayhal
