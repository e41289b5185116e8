// The board back-end behind the registries: the operations the dispatch offers, and pending
// defaults (not implemented yet) for the others.
#include "board/board_services.h"

#include <atomic>

#include "board/dispatch/se_sys.h"
#include "board/dispatch/se_sys_monitor.h"
#include "foundation/pending.h"

namespace bayhal {
namespace {

BoardServices pending_services;
std::atomic<BoardServices*> installed{nullptr};

}  // namespace

BoardServices& board_services() {
  BoardServices* s = installed.load(std::memory_order_acquire);
  return s != nullptr ? *s : pending_services;
}

void set_board_services(BoardServices* s) { installed.store(s, std::memory_order_release); }

// Names in the trace are the operation's own, as the back-end would print them.

int BoardServices::se_sys_get_board_sn(char* /*buf*/, int /*size*/) {
  return not_implemented("se_sys_get_board_sn", __LINE__, nullptr);
}

int BoardServices::se_sys_set_board_sn(const char* /*serial*/) {
  return not_implemented("se_sys_set_board_sn", __LINE__, nullptr);
}

int BoardServices::px_get_fw_version(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return not_implemented("px_get_fw_version", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_set_7_segment_led(const char* enc_sys_id, int /*enc_id*/) {
  return not_implemented("se_sys_set_7_segment_led", __LINE__, enc_sys_id);
}

int BoardServices::prt_scan() {
  return not_implemented("prt_scan", __LINE__, nullptr);
}

int BoardServices::fc_scan() {
  return not_implemented("fc_scan", __LINE__, nullptr);
}

int BoardServices::se_sys_get_fan_region_name_id(int /*region*/, char* /*name*/, int /*size*/, int* /*type*/) {
  return not_implemented("se_sys_get_fan_region_name_id", __LINE__, nullptr);
}

int BoardServices::se_sys_get_fan_pwm_min_max(int region, int* min_pwm, int* max_pwm) {
  return board::se_sys_get_fan_pwm_min_max(region, min_pwm, max_pwm);
}

// The registry asks for its own board only; enclosure 0 is always the appliance ("root").
int BoardServices::hm_set_fan_speed_by_pwm(int enc_id, int fan_index, int pwm) {
  if (enc_id != 0) return not_implemented("hm_set_fan_speed_by_pwm", __LINE__, nullptr);
  return board::se_sys_set_fan_pwm("root", fan_index, pwm);
}

int BoardServices::hal_mb_get_pcie_slot_num(const char* enc_sys_id, int* /*slot*/) {
  return not_implemented("hal_mb_get_pcie_slot_num", __LINE__, enc_sys_id);
}

int BoardServices::hal_mb_is_temp_region_support(int* /*count*/) {
  return not_implemented("hal_mb_is_temp_region_support", __LINE__, nullptr);
}

int BoardServices::hal_mb_is_tbt_support() {
  return not_implemented("hal_mb_is_tbt_support", __LINE__, nullptr);
}

int BoardServices::se_sys_px_get_display_name(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return not_implemented("se_sys_px_get_display_name", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_set_sas_hba_link_rate(const char* enc_sys_id, int /*phy*/, int /*rate*/) {
  return not_implemented("se_sys_set_sas_hba_link_rate", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_clear_sas_hba_phy_err(const char* enc_sys_id, int /*phy*/) {
  return not_implemented("se_sys_clear_sas_hba_phy_err", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_set_buzzer(const char* enc_sys_id, int pattern) {
  return board::se_sys_set_buzzer(enc_sys_id, pattern);
}

int BoardServices::se_sys_enable_buzzer(const char* enc_sys_id, int /*enable*/) {
  return not_implemented("se_sys_enable_buzzer", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_get_led_bv_ctrl_capability(const char* enc_sys_id, int* kind, int* levels) {
  return board::se_sys_get_led_brightness_ctrl_capability(enc_sys_id, kind, levels);
}

int BoardServices::se_sys_get_led_scrollbar_support(const char* enc_sys_id, int* support) {
  int rc = board::se_sys_check_led_brightness_scrollbar(enc_sys_id);
  if (rc < 0) return -1;
  *support = rc;
  return 0;
}

int BoardServices::se_sys_get_pd_env_sensor_num(const char* enc_sys_id, int* /*count*/) {
  return not_implemented("se_sys_get_pd_env_sensor_num", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_get_heat_source_bitmap(const char* enc_sys_id, uint32_t* /*bitmap*/) {
  return not_implemented("se_sys_get_heat_source_bitmap", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_upgrade_cpld_fw(const char* enc_sys_id, const char* /*image_path*/) {
  return not_implemented("se_sys_upgrade_cpld_fw", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_set_tbt_port_power(const char* enc_sys_id, int /*port*/, int /*on*/) {
  return not_implemented("se_sys_set_tbt_port_power", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_get_fan_disk_bitmap(const char* enc_sys_id, int /*region*/, uint32_t* /*bitmap*/) {
  return not_implemented("se_sys_get_fan_disk_bitmap", __LINE__, enc_sys_id);
}

int BoardServices::se_sys_support_locate_led(int /*enc_id*/) {
  return not_implemented("se_sys_support_locate_led", __LINE__, nullptr);
}

int BoardServices::se_sys_get_lsi_sas_hba_info(char* /*buf*/, int /*size*/) {
  return not_implemented("se_sys_get_lsi_sas_hba_info", __LINE__, nullptr);
}

int BoardServices::se_sys_is_disk_data_collection_enabled() {
  return not_implemented("se_sys_is_disk_data_collection_enabled", __LINE__, nullptr);
}

int BoardServices::se_sys_set_disk_data_collection(int /*enable*/) {
  return not_implemented("se_sys_set_disk_data_collection", __LINE__, nullptr);
}

int BoardServices::se_sys_attached_tbt_jbod_count() {
  return not_implemented("se_sys_attached_tbt_jbod_count", __LINE__, nullptr);
}

int BoardServices::se_sys_get_fan_cache_disk_bitmap(int /*enc_id*/, int /*region*/, uint32_t* /*bitmap*/) {
  return not_implemented("se_sys_get_fan_cache_disk_bitmap", __LINE__, nullptr);
}

int BoardServices::se_sys_get_fan_pcie_slot_bitmap(int /*enc_id*/, int /*region*/, uint32_t* /*bitmap*/) {
  return not_implemented("se_sys_get_fan_pcie_slot_bitmap", __LINE__, nullptr);
}

}  // namespace bayhal
