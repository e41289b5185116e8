// Pending defaults: each operation reports that it is not implemented yet.
#include "mcu/mcu_services.h"

#include <atomic>

#include "foundation/pending.h"

namespace bayhal {
namespace {

McuServices pending_services;
std::atomic<McuServices*> installed{nullptr};

}  // namespace

McuServices& mcu_services() {
  McuServices* s = installed.load(std::memory_order_acquire);
  return s != nullptr ? *s : pending_services;
}

void set_mcu_services(McuServices* s) { installed.store(s, std::memory_order_release); }

// Names in the trace are the operation's own, as the back-end would print them.

int McuServices::pic_sys_start_monitor(const char* enc_sys_id, int /*flag*/) {
  return not_implemented("pic_sys_start_monitor", __LINE__, enc_sys_id);
}

int McuServices::mcu_sys_start_monitor(const char* enc_sys_id, int /*flag*/) {
  return not_implemented("mcu_sys_start_monitor", __LINE__, enc_sys_id);
}

int McuServices::se_sys_get_enc_sn(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return not_implemented("se_sys_get_enc_sn", __LINE__, enc_sys_id);
}

int McuServices::se_sys_get_mv_fw_version(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return not_implemented("se_sys_get_mv_fw_version", __LINE__, enc_sys_id);
}

int McuServices::pic_sys_get_info_early(const char* enc_sys_id) {
  return not_implemented("pic_sys_get_info_early", __LINE__, enc_sys_id);
}

int McuServices::se_sys_set_host_name(const char* enc_sys_id, const char* /*name*/, int /*length*/) {
  return not_implemented("se_sys_set_host_name", __LINE__, enc_sys_id);
}

int McuServices::se_sys_send_heartbeat(const char* enc_sys_id) {
  return not_implemented("se_sys_send_heartbeat", __LINE__, enc_sys_id);
}

int McuServices::se_sys_get_friendly_name(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return not_implemented("se_sys_get_friendly_name", __LINE__, enc_sys_id);
}

int McuServices::se_sys_set_friendly_name(const char* enc_sys_id, const char* /*name*/) {
  return not_implemented("se_sys_set_friendly_name", __LINE__, enc_sys_id);
}

int McuServices::se_sys_get_lcm_dev_name(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return not_implemented("se_sys_get_lcm_dev_name", __LINE__, enc_sys_id);
}

int McuServices::se_sys_check_mcu_support(const char* enc_sys_id) {
  return not_implemented("se_sys_check_mcu_support", __LINE__, enc_sys_id);
}

int McuServices::se_sys_check_mcu_is_spec3(const char* enc_sys_id) {
  return not_implemented("se_sys_check_mcu_is_spec3", __LINE__, enc_sys_id);
}

int McuServices::se_sys_check_mcu_is_spec4(const char* enc_sys_id) {
  return not_implemented("se_sys_check_mcu_is_spec4", __LINE__, enc_sys_id);
}

int McuServices::se_sys_get_mcu_version(const char* enc_sys_id, char* /*buf*/, int /*size*/) {
  return not_implemented("se_sys_get_mcu_version", __LINE__, enc_sys_id);
}

int McuServices::se_sys_check_mcu_need_update(const char* enc_sys_id) {
  return not_implemented("se_sys_check_mcu_need_update", __LINE__, enc_sys_id);
}

int McuServices::se_sys_ini_mcu_fan_num(const char* enc_sys_id) {
  return not_implemented("se_sys_ini_mcu_fan_num", __LINE__, enc_sys_id);
}

int McuServices::se_sys_ini_mcu_temp_num(const char* enc_sys_id) {
  return not_implemented("se_sys_ini_mcu_temp_num", __LINE__, enc_sys_id);
}

int McuServices::se_sys_set_mcu_auto_report(const char* enc_sys_id, int /*enable*/) {
  return not_implemented("se_sys_set_mcu_auto_report", __LINE__, enc_sys_id);
}

int McuServices::se_sys_get_lcm_baud_type(const char* enc_sys_id, int* /*type*/) {
  return not_implemented("se_sys_get_lcm_baud_type", __LINE__, enc_sys_id);
}

}  // namespace bayhal
