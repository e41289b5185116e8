// What the registries ask of the microcontrollers of the appliance and its expansion
// units (front-panel PIC, board MCU, the LCM display): their monitors, versions, names and
// counts.
//
// Until the microcontroller layer implements an operation it answers -1 with the
// "%s(%d): enc_sys_id = %s not implement.\n" trace.
#pragma once
#include <cstdint>

#include "foundation/seam.h"

namespace bayhal {

class McuServices {
 public:
  virtual ~McuServices() = default;

  virtual int pic_sys_start_monitor(const char* enc_sys_id, int flag);
  virtual int mcu_sys_start_monitor(const char* enc_sys_id, int flag);
// Serial number from the microcontroller of an enclosure attached by USB.
  virtual int se_sys_get_enc_sn(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_get_mv_fw_version(const char* enc_sys_id, char* buf, int size);
  virtual int pic_sys_get_info_early(const char* enc_sys_id);
  virtual int se_sys_set_host_name(const char* enc_sys_id, const char* name, int length);
  virtual int se_sys_send_heartbeat(const char* enc_sys_id);
  virtual int se_sys_get_friendly_name(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_set_friendly_name(const char* enc_sys_id, const char* name);
  virtual int se_sys_get_lcm_dev_name(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_check_mcu_support(const char* enc_sys_id);
  virtual int se_sys_check_mcu_is_spec3(const char* enc_sys_id);
  virtual int se_sys_check_mcu_is_spec4(const char* enc_sys_id);
  virtual int se_sys_get_mcu_version(const char* enc_sys_id, char* buf, int size);
  virtual int se_sys_check_mcu_need_update(const char* enc_sys_id);
  virtual int se_sys_ini_mcu_fan_num(const char* enc_sys_id);
  virtual int se_sys_ini_mcu_temp_num(const char* enc_sys_id);
  virtual int se_sys_set_mcu_auto_report(const char* enc_sys_id, int enable);
  virtual int se_sys_get_lcm_baud_type(const char* enc_sys_id, int* type);
};

// The services in force (the pending defaults unless a back-end or a test installed others).
McuServices& mcu_services();
// Installs `s` (not owned); nullptr restores the defaults.
void set_mcu_services(McuServices* s);
using ScopedMcuServices = ScopedSeam<McuServices, set_mcu_services>;

}  // namespace bayhal
