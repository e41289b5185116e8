// Forwarders of the SE_* interface: the enclosure id becomes its identity (or its expander's
// bsg node), and the back-end operation of the same name does the work.
#include <string>

#include "bayhal/ERR_TRACE.h"
#include "bayhal/SE.h"
#include "board/board_services.h"
#include "enclosure/enc_conf.h"
#include "enclosure/enc_ids.h"
#include "enclosure/enc_store.h"
#include "ext_enclosure/ses_services.h"
#include "foundation/c_boundary.h"
#include "foundation/export.h"
#include "mcu/mcu_services.h"

using namespace bayhal;

namespace {

// `args_ok`: the caller's outputs are usable; checked after the entry trace, so that a call
// with a bad argument is in the log too.
template <typename Op>
int by_identity(const char* func, int enc_id, bool args_ok, Op op) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", func, enc_id);
  char sys_id[32];
  if (!args_ok || se_lookup_sys_id(enc_id, sys_id, sizeof sys_id) < 0) return -1;
  return op(sys_id);
}

// SMP requests go to the expander's bsg node.
template <typename Op>
int by_bsg(const char* func, int enc_id, Op op) {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with (%d).\n", func, enc_id);
  auto bsg = enc_get_text(enc_id, "bsg_name");
  if (!bsg || bsg->empty()) return -1;
  return op(bsg->c_str());
}

void entry(const char* func) { ERR_TRACE(HAL_TRACE_ENTRY, "%s: is called.\n", func); }

}  // namespace

#define SE_FORWARD(func, enc_id, services, call) SE_FORWARD_IF(true, func, enc_id, services, call)
#define SE_FORWARD_IF(args_ok, func, enc_id, services, call) \
  by_identity(func, enc_id, args_ok, [&](const char* id) { return services().call; })

BAYHAL_EXPORT int SE_Set_SAS_HBA_Link_Rate(int enc_id, int phy, int rate) try {
  return SE_FORWARD(__func__, enc_id, board_services, se_sys_set_sas_hba_link_rate(id, phy, rate));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Clear_SAS_HBA_Phy_Err(int enc_id, int phy) try {
  return SE_FORWARD(__func__, enc_id, board_services, se_sys_clear_sas_hba_phy_err(id, phy));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Send_Heartbeat(int enc_id) try {
  return SE_FORWARD(__func__, enc_id, mcu_services, se_sys_send_heartbeat(id));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Set_Buzzer(int enc_id, int pattern) try {
  return SE_FORWARD(__func__, enc_id, board_services, se_sys_set_buzzer(id, pattern));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Enable_Buzzer(int enc_id, int enable) try {
  return SE_FORWARD(__func__, enc_id, board_services, se_sys_enable_buzzer(id, enable));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_Friendly_Name(int enc_id, char* name, int size) try {
  return SE_FORWARD_IF(name != nullptr && size >= 1, __func__, enc_id,
                       mcu_services, se_sys_get_friendly_name(id, name, size));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Set_Friendly_Name(int enc_id, const char* name) try {
  return SE_FORWARD_IF(name != nullptr, __func__, enc_id,
                       mcu_services, se_sys_set_friendly_name(id, name));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_LCM_Dev_Name(int enc_id, char* name, int size) try {
  return SE_FORWARD_IF(name != nullptr && size >= 1, __func__, enc_id,
                       mcu_services, se_sys_get_lcm_dev_name(id, name, size));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_Connector_Status(int enc_id, int connector, uint32_t* status) try {
  return SE_FORWARD_IF(status != nullptr, __func__, enc_id,
                       ses_services, se_sys_get_connector_status(id, connector, status));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Set_KORV_Phys_Err_Handling_Of_Ports(int enc_id, int enable) try {
  return SE_FORWARD(__func__, enc_id, ses_services, se_sys_set_korv_phys_err_handling_of_ports(id, enable));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_LED_BV_Ctrl_Capability(int enc_id, int* kind, int* levels) try {
  return SE_FORWARD_IF(kind != nullptr && levels != nullptr, __func__, enc_id,
                       board_services, se_sys_get_led_bv_ctrl_capability(id, kind, levels));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_LED_Scrollbar_Support(int enc_id, int* support) try {
  return SE_FORWARD_IF(support != nullptr, __func__, enc_id,
                       board_services, se_sys_get_led_scrollbar_support(id, support));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_PD_Env_Sensor_Num(int enc_id, int* count) try {
  return SE_FORWARD_IF(count != nullptr, __func__, enc_id,
                       board_services, se_sys_get_pd_env_sensor_num(id, count));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_Heat_Source_Bitmap(int enc_id, uint32_t* bitmap) try {
  return SE_FORWARD_IF(bitmap != nullptr, __func__, enc_id,
                       board_services, se_sys_get_heat_source_bitmap(id, bitmap));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Check_MCU_Support(int enc_id) try {
  return SE_FORWARD(__func__, enc_id, mcu_services, se_sys_check_mcu_support(id));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Check_MCU_Is_Spec3(int enc_id) try {
  return SE_FORWARD(__func__, enc_id, mcu_services, se_sys_check_mcu_is_spec3(id));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Check_MCU_Is_Spec4(int enc_id) try {
  return SE_FORWARD(__func__, enc_id, mcu_services, se_sys_check_mcu_is_spec4(id));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_MCU_Version(int enc_id, char* version, int size) try {
  return SE_FORWARD_IF(version != nullptr && size >= 1, __func__, enc_id,
                       mcu_services, se_sys_get_mcu_version(id, version, size));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Check_MCU_Need_Update(int enc_id) try {
  return SE_FORWARD(__func__, enc_id, mcu_services, se_sys_check_mcu_need_update(id));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Ini_MCU_FAN_Num(int enc_id) try {
  return SE_FORWARD(__func__, enc_id, mcu_services, se_sys_ini_mcu_fan_num(id));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Ini_MCU_Temp_Num(int enc_id) try {
  return SE_FORWARD(__func__, enc_id, mcu_services, se_sys_ini_mcu_temp_num(id));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Set_MCU_Auto_Report(int enc_id, int enable) try {
  return SE_FORWARD(__func__, enc_id, mcu_services, se_sys_set_mcu_auto_report(id, enable));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_LCM_Baud_Type(int enc_id, int* type) try {
  return SE_FORWARD_IF(type != nullptr, __func__, enc_id,
                       mcu_services, se_sys_get_lcm_baud_type(id, type));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Upgrade_CPLD_FW(int enc_id, const char* image_path) try {
  return SE_FORWARD_IF(image_path != nullptr, __func__, enc_id,
                       board_services, se_sys_upgrade_cpld_fw(id, image_path));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Set_TBT_Port_Power(int enc_id, int port, int on) try {
  return SE_FORWARD(__func__, enc_id, board_services, se_sys_set_tbt_port_power(id, port, on));
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_FAN_Disk_Bitmap(int enc_id, int region, uint32_t* bitmap) try {
  return SE_FORWARD_IF(bitmap != nullptr, __func__, enc_id,
                       board_services, se_sys_get_fan_disk_bitmap(id, region, bitmap));
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Set_SMP_SAS_Link_Rate(int enc_id, int phy, int rate) try {
  return by_bsg(__func__, enc_id, [&](const char* bsg) {
    return ses_services().se_sys_set_smp_sas_link_rate(bsg, phy, rate);
  });
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Clear_SMP_SAS_Phy_Error(int enc_id, int phy) try {
  return by_bsg(__func__, enc_id, [&](const char* bsg) {
    return ses_services().se_sys_clear_smp_sas_phy_error(bsg, phy);
  });
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Control_SMP_Phy(int enc_id, int phy, int operation) try {
  return by_bsg(__func__, enc_id, [&](const char* bsg) {
    return ses_services().se_sys_control_smp_phy(bsg, phy, operation);
  });
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_SAS_All_Ports_Linkrate(const char* enc_sys_id, int* rates, int count) try {
  ERR_TRACE(HAL_TRACE_ENTRY, "%s: got called with enc_sys_id(%s).\n", __func__,
            enc_sys_id != nullptr ? enc_sys_id : "(null)");
  if (rates == nullptr || count < 1) return -1;
  int enc_id = se_lookup_id(enc_sys_id);
  if (enc_id < 0) return -1;
  return ses_services().se_sys_get_sas_all_ports_linkrate(enc_id, rates, count);
} BAYHAL_C_BOUNDARY(-1)

BAYHAL_EXPORT int SE_Get_SAS_Address(int enc_id, uint64_t* address) try {
  entry(__func__);
  if (address == nullptr) return -1;
  return ses_services().se_sys_get_sas_address(enc_id, address);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Support_Locate_Led(int enc_id) try {
  entry(__func__);
  return board_services().se_sys_support_locate_led(enc_id);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Discover_Exp(void) try {
  entry(__func__);
  return ses_services().se_sys_discover_exp();
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_LSI_SAS_HBA_Info(char* info, int size) try {
  entry(__func__);
  if (info == nullptr || size < 1) return -1;
  return board_services().se_sys_get_lsi_sas_hba_info(info, size);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Is_Disk_Data_Collection_Enabled(void) try {
  entry(__func__);
  return board_services().se_sys_is_disk_data_collection_enabled();
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Set_Disk_Data_Collection(int enable) try {
  entry(__func__);
  return board_services().se_sys_set_disk_data_collection(enable);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Attached_TBT_JBOD_Count(void) try {
  entry(__func__);
  return board_services().se_sys_attached_tbt_jbod_count();
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_FAN_Cache_Disk_Bitmap(int enc_id, int region, uint32_t* bitmap) try {
  entry(__func__);
  if (bitmap == nullptr) return -1;
  return board_services().se_sys_get_fan_cache_disk_bitmap(enc_id, region, bitmap);
} BAYHAL_C_BOUNDARY(-1)
BAYHAL_EXPORT int SE_Get_FAN_PCIE_Slot_Bitmap(int enc_id, int region, uint32_t* bitmap) try {
  entry(__func__);
  if (bitmap == nullptr) return -1;
  return board_services().se_sys_get_fan_pcie_slot_bitmap(enc_id, region, bitmap);
} BAYHAL_C_BOUNDARY(-1)
