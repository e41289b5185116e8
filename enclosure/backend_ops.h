// The board and enclosure-services operations the enclosure registry reaches: back-end
// getinfo helpers, monitor starts, displays, and every operation an SE_* forwarder passes on.
//
// The registry calls them through one object so that the board back-end (LEDs, fans,
// microcontrollers, SES/SMP) can be installed when it exists. Until then each operation
// answers -1 with the "%s(%d): enc_sys_id = %s not implement.\n" trace.
#pragma once
#include <cstdint>

namespace bayhal {

class BackendOps {
 public:
  virtual ~BackendOps() = default;

  // ---- getinfo helpers ----
  virtual int pic_sys_start_monitor(const char* enc_sys_id, int flag);
  virtual int mcu_sys_start_monitor(const char* enc_sys_id, int flag);
  virtual int se_sys_get_board_sn(char* buf, int size);
  virtual int se_sys_set_board_sn(const char* serial);
  // Serial number from the microcontroller of an enclosure attached by USB.
  virtual int se_sys_get_enc_sn(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_get_mv_fw_version(const char* enc_sys_id, char* buf, int size);
  virtual int px_get_fw_version(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_get_real_enc_sys_id(const char* enc_sys_id, char* buf, int size);
  virtual int pd_sys_get_bsg_name_by_sg(const char* sg_name, char* buf, int size);
  virtual int se_sys_get_root_sas_address(const char* real_sys_id, uint64_t* address);

  // ---- attach ----
  virtual int se_sys_set_7_segment_led(const char* enc_sys_id, int enc_id);
  virtual int pic_sys_get_info_early(const char* enc_sys_id);
  virtual int se_sys_set_host_name(const char* enc_sys_id, const char* name, int length);
  virtual int prt_scan();
  virtual int fc_scan();

  // ---- regions, board facts ----
  virtual int se_sys_get_fan_region_name_id(int region, char* name, int size, int* type);
  virtual int se_sys_get_fan_pwm_min_max(int region, int* min_pwm, int* max_pwm);
  virtual int hm_set_fan_speed_by_pwm(int enc_id, int fan_index, int pwm);
  virtual int hal_mb_get_pcie_slot_num(const char* enc_sys_id, int* slot);
  // 1 with *count set when the board has temperature regions.
  virtual int hal_mb_is_temp_region_support(int* count);
  virtual int hal_mb_is_tbt_support();
  virtual int se_sys_px_get_display_name(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_set_reboot(const char* enc_sys_id);

  // ---- forwarded by identity ----
  virtual int se_sys_set_sas_hba_link_rate(const char* enc_sys_id, int phy, int rate);
  virtual int se_sys_clear_sas_hba_phy_err(const char* enc_sys_id, int phy);
  virtual int se_sys_send_heartbeat(const char* enc_sys_id);
  virtual int se_sys_set_buzzer(const char* enc_sys_id, int pattern);
  virtual int se_sys_enable_buzzer(const char* enc_sys_id, int enable);
  virtual int se_sys_get_friendly_name(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_set_friendly_name(const char* enc_sys_id, const char* name);
  virtual int se_sys_get_lcm_dev_name(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_get_connector_status(const char* enc_sys_id, int connector,
                                          uint32_t* status);
  virtual int se_sys_set_korv_phys_err_handling_of_ports(const char* enc_sys_id, int enable);
  virtual int se_sys_get_led_bv_ctrl_capability(const char* enc_sys_id, int* kind, int* levels);
  virtual int se_sys_get_led_scrollbar_support(const char* enc_sys_id, int* support);
  virtual int se_sys_get_pd_env_sensor_num(const char* enc_sys_id, int* count);
  virtual int se_sys_get_heat_source_bitmap(const char* enc_sys_id, uint32_t* bitmap);
  virtual int se_sys_check_mcu_support(const char* enc_sys_id);
  virtual int se_sys_check_mcu_is_spec3(const char* enc_sys_id);
  virtual int se_sys_check_mcu_is_spec4(const char* enc_sys_id);
  virtual int se_sys_get_mcu_version(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_check_mcu_need_update(const char* enc_sys_id);
  virtual int se_sys_ini_mcu_fan_num(const char* enc_sys_id);
  virtual int se_sys_ini_mcu_temp_num(const char* enc_sys_id);
  virtual int se_sys_set_mcu_auto_report(const char* enc_sys_id, int enable);
  virtual int se_sys_get_lcm_baud_type(const char* enc_sys_id, int* type);
  virtual int se_sys_upgrade_cpld_fw(const char* enc_sys_id, const char* image_path);
  virtual int se_sys_set_tbt_port_power(const char* enc_sys_id, int port, int on);
  virtual int se_sys_get_fan_disk_bitmap(const char* enc_sys_id, int region, uint32_t* bitmap);

  // ---- SMP, by the expander's bsg node ----
  virtual int se_sys_set_smp_sas_link_rate(const char* bsg_name, int phy, int rate);
  virtual int se_sys_clear_smp_sas_phy_error(const char* bsg_name, int phy);
  virtual int se_sys_control_smp_phy(const char* bsg_name, int phy, int operation);

  // ---- passed through unchanged ----
  virtual int se_sys_get_sas_all_ports_linkrate(int enc_id, int* rates, int count);
  virtual int se_sys_get_sas_address(int enc_id, uint64_t* address);
  virtual int se_sys_support_locate_led(int enc_id);
  virtual int se_sys_discover_exp();
  virtual int se_sys_get_lsi_sas_hba_info(char* buf, int size);
  virtual int se_sys_is_disk_data_collection_enabled();
  virtual int se_sys_set_disk_data_collection(int enable);
  virtual int se_sys_attached_tbt_jbod_count();
  virtual int se_sys_get_fan_cache_disk_bitmap(int enc_id, int region, uint32_t* bitmap);
  virtual int se_sys_get_fan_pcie_slot_bitmap(int enc_id, int region, uint32_t* bitmap);
};

// The operations in force (the pending defaults unless a back-end installed others).
BackendOps& backend_ops();
// Installs `ops` (not owned); nullptr restores the defaults.
void set_backend_ops(BackendOps* ops);

}  // namespace bayhal
