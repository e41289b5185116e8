// Pending defaults of the back-end operations: each reports that it is not implemented.
#include "enclosure/backend_ops.h"

#include <atomic>

#include "bayhal/ERR_TRACE.h"

namespace bayhal {
namespace {

int pending(const char* op, int line, const char* enc_sys_id) {
  ERR_TRACE(HAL_TRACE_ERROR, "%s(%d): enc_sys_id = %s not implement.\n", op, line,
            enc_sys_id != nullptr ? enc_sys_id : "");
  return -1;
}

BackendOps default_ops;
std::atomic<BackendOps*> installed{nullptr};

}  // namespace

BackendOps& backend_ops() {
  BackendOps* ops = installed.load(std::memory_order_acquire);
  return ops != nullptr ? *ops : default_ops;
}

void set_backend_ops(BackendOps* ops) { installed.store(ops, std::memory_order_release); }

// Names in the trace are the operation's own, as the back-end would print them.

int BackendOps::pic_sys_start_monitor(const char* enc_sys_id, int /*flag*/) {
  return pending("pic_sys_start_monitor", __LINE__, enc_sys_id);
}

int BackendOps::mcu_sys_start_monitor(const char* enc_sys_id, int /*flag*/) {
  return pending("mcu_sys_start_monitor", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_board_sn(char* /*buf*/, int /*size*/) {
  return pending("se_sys_get_board_sn", __LINE__, nullptr);
}

int BackendOps::se_sys_set_board_sn(const char* /*serial*/) {
  return pending("se_sys_set_board_sn", __LINE__, nullptr);
}

int BackendOps::se_sys_get_enc_sn(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return pending("se_sys_get_enc_sn", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_mv_fw_version(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return pending("se_sys_get_mv_fw_version", __LINE__, enc_sys_id);
}

int BackendOps::px_get_fw_version(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return pending("px_get_fw_version", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_real_enc_sys_id(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return pending("se_sys_get_real_enc_sys_id", __LINE__, enc_sys_id);
}

int BackendOps::pd_sys_get_bsg_name_by_sg(const char* sg_name, char* /*buf*/, int /*size*/) {
  return pending("pd_sys_get_bsg_name_by_sg", __LINE__, sg_name);
}

int BackendOps::se_sys_get_root_sas_address(const char* real_sys_id, uint64_t* /*address*/) {
  return pending("se_sys_get_root_sas_address", __LINE__, real_sys_id);
}

int BackendOps::se_sys_set_7_segment_led(const char* enc_sys_id, int /*enc_id*/) {
  return pending("se_sys_set_7_segment_led", __LINE__, enc_sys_id);
}

int BackendOps::pic_sys_get_info_early(const char* enc_sys_id) {
  return pending("pic_sys_get_info_early", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_set_host_name(const char* enc_sys_id, const char* /*name*/, int /*length*/) {
  return pending("se_sys_set_host_name", __LINE__, enc_sys_id);
}

int BackendOps::prt_scan() {
  return pending("prt_scan", __LINE__, nullptr);
}

int BackendOps::fc_scan() {
  return pending("fc_scan", __LINE__, nullptr);
}

int BackendOps::se_sys_get_fan_region_name_id(int /*region*/, char* /*name*/, int /*size*/, int* /*type*/) {
  return pending("se_sys_get_fan_region_name_id", __LINE__, nullptr);
}

int BackendOps::se_sys_get_fan_pwm_min_max(int /*region*/, int* /*min_pwm*/, int* /*max_pwm*/) {
  return pending("se_sys_get_fan_pwm_min_max", __LINE__, nullptr);
}

int BackendOps::hm_set_fan_speed_by_pwm(int /*enc_id*/, int /*fan_index*/, int /*pwm*/) {
  return pending("hm_set_fan_speed_by_pwm", __LINE__, nullptr);
}

int BackendOps::hal_mb_get_pcie_slot_num(const char* enc_sys_id, int* /*slot*/) {
  return pending("hal_mb_get_pcie_slot_num", __LINE__, enc_sys_id);
}

int BackendOps::hal_mb_is_temp_region_support(int* /*count*/) {
  return pending("hal_mb_is_temp_region_support", __LINE__, nullptr);
}

int BackendOps::hal_mb_is_tbt_support() {
  return pending("hal_mb_is_tbt_support", __LINE__, nullptr);
}

int BackendOps::se_sys_px_get_display_name(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return pending("se_sys_px_get_display_name", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_set_reboot(const char* enc_sys_id) {
  return pending("se_sys_set_reboot", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_set_sas_hba_link_rate(const char* enc_sys_id, int /*phy*/, int /*rate*/) {
  return pending("se_sys_set_sas_hba_link_rate", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_clear_sas_hba_phy_err(const char* enc_sys_id, int /*phy*/) {
  return pending("se_sys_clear_sas_hba_phy_err", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_send_heartbeat(const char* enc_sys_id) {
  return pending("se_sys_send_heartbeat", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_set_buzzer(const char* enc_sys_id, int /*pattern*/) {
  return pending("se_sys_set_buzzer", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_enable_buzzer(const char* enc_sys_id, int /*enable*/) {
  return pending("se_sys_enable_buzzer", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_friendly_name(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return pending("se_sys_get_friendly_name", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_set_friendly_name(const char* enc_sys_id, const char* /*name*/) {
  return pending("se_sys_set_friendly_name", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_lcm_dev_name(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return pending("se_sys_get_lcm_dev_name", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_connector_status(const char* enc_sys_id, int /*connector*/, uint32_t* /*status*/) {
  return pending("se_sys_get_connector_status", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_set_korv_phys_err_handling_of_ports(const char* enc_sys_id, int /*enable*/) {
  return pending("se_sys_set_korv_phys_err_handling_of_ports", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_led_bv_ctrl_capability(const char* enc_sys_id, int* /*kind*/, int* /*levels*/) {
  return pending("se_sys_get_led_bv_ctrl_capability", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_led_scrollbar_support(const char* enc_sys_id, int* /*support*/) {
  return pending("se_sys_get_led_scrollbar_support", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_pd_env_sensor_num(const char* enc_sys_id, int* /*count*/) {
  return pending("se_sys_get_pd_env_sensor_num", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_heat_source_bitmap(const char* enc_sys_id, uint32_t* /*bitmap*/) {
  return pending("se_sys_get_heat_source_bitmap", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_check_mcu_support(const char* enc_sys_id) {
  return pending("se_sys_check_mcu_support", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_check_mcu_is_spec3(const char* enc_sys_id) {
  return pending("se_sys_check_mcu_is_spec3", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_check_mcu_is_spec4(const char* enc_sys_id) {
  return pending("se_sys_check_mcu_is_spec4", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_mcu_version(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return pending("se_sys_get_mcu_version", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_check_mcu_need_update(const char* enc_sys_id) {
  return pending("se_sys_check_mcu_need_update", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_ini_mcu_fan_num(const char* enc_sys_id) {
  return pending("se_sys_ini_mcu_fan_num", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_ini_mcu_temp_num(const char* enc_sys_id) {
  return pending("se_sys_ini_mcu_temp_num", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_set_mcu_auto_report(const char* enc_sys_id, int /*enable*/) {
  return pending("se_sys_set_mcu_auto_report", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_lcm_baud_type(const char* enc_sys_id, int* /*type*/) {
  return pending("se_sys_get_lcm_baud_type", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_upgrade_cpld_fw(const char* enc_sys_id, const char* /*image_path*/) {
  return pending("se_sys_upgrade_cpld_fw", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_set_tbt_port_power(const char* enc_sys_id, int /*port*/, int /*on*/) {
  return pending("se_sys_set_tbt_port_power", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_get_fan_disk_bitmap(const char* enc_sys_id, int /*region*/, uint32_t* /*bitmap*/) {
  return pending("se_sys_get_fan_disk_bitmap", __LINE__, enc_sys_id);
}

int BackendOps::se_sys_set_smp_sas_link_rate(const char* bsg_name, int /*phy*/, int /*rate*/) {
  return pending("se_sys_set_smp_sas_link_rate", __LINE__, bsg_name);
}

int BackendOps::se_sys_clear_smp_sas_phy_error(const char* bsg_name, int /*phy*/) {
  return pending("se_sys_clear_smp_sas_phy_error", __LINE__, bsg_name);
}

int BackendOps::se_sys_control_smp_phy(const char* bsg_name, int /*phy*/, int /*operation*/) {
  return pending("se_sys_control_smp_phy", __LINE__, bsg_name);
}

int BackendOps::se_sys_get_sas_all_ports_linkrate(int /*enc_id*/, int* /*rates*/, int /*count*/) {
  return pending("se_sys_get_sas_all_ports_linkrate", __LINE__, nullptr);
}

int BackendOps::se_sys_get_sas_address(int /*enc_id*/, uint64_t* /*address*/) {
  return pending("se_sys_get_sas_address", __LINE__, nullptr);
}

int BackendOps::se_sys_support_locate_led(int /*enc_id*/) {
  return pending("se_sys_support_locate_led", __LINE__, nullptr);
}

int BackendOps::se_sys_discover_exp() {
  return pending("se_sys_discover_exp", __LINE__, nullptr);
}

int BackendOps::se_sys_get_lsi_sas_hba_info(char* /*buf*/, int /*size*/) {
  return pending("se_sys_get_lsi_sas_hba_info", __LINE__, nullptr);
}

int BackendOps::se_sys_is_disk_data_collection_enabled() {
  return pending("se_sys_is_disk_data_collection_enabled", __LINE__, nullptr);
}

int BackendOps::se_sys_set_disk_data_collection(int /*enable*/) {
  return pending("se_sys_set_disk_data_collection", __LINE__, nullptr);
}

int BackendOps::se_sys_attached_tbt_jbod_count() {
  return pending("se_sys_attached_tbt_jbod_count", __LINE__, nullptr);
}

int BackendOps::se_sys_get_fan_cache_disk_bitmap(int /*enc_id*/, int /*region*/, uint32_t* /*bitmap*/) {
  return pending("se_sys_get_fan_cache_disk_bitmap", __LINE__, nullptr);
}

int BackendOps::se_sys_get_fan_pcie_slot_bitmap(int /*enc_id*/, int /*region*/, uint32_t* /*bitmap*/) {
  return pending("se_sys_get_fan_pcie_slot_bitmap", __LINE__, nullptr);
}

}  // namespace bayhal
