/* bayhal SE family: the enclosure registry.
 *
 * Every enclosure the appliance knows (the appliance itself, its pseudo-enclosures, external
 * units, PCIe cards) is one SE_ENC_INFO record in section "Enclosure_<id>" of /etc/hal.conf.
 * Callers own every buffer; strings are copied with an explicit size and always terminated.
 * Results: 0 success, -1 failure; lookups return an id or -1; tests return 1 or 0.
 */
#ifndef BAYHAL_SE_H
#define BAYHAL_SE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes the back-ends may keep inside a record; never stored in hal.conf. */
#define SE_ENC_BACKEND_AREA_SIZE 1024
#define SE_MAX_CONN_NUM 9
#define SE_MAX_EXTRA_FAN_REGION 2
/* Buffer size of a unique id (SE_Get_Unique_Id) and of a display name. */
#define SE_UNIQUE_ID_SIZE 33
#define SE_DISPLAY_NAME_SIZE 49
/* Entries a region array of SE_Get_FAN_Region_Enum / SE_Get_Temp_Region_Enum must hold. */
#define SE_MAX_FAN_REGIONS 8
#define SE_MAX_TEMP_REGIONS 16

/* protocol */
#define SE_PROTOCOL_NONE (-1)
#define SE_PROTOCOL_ROOT 0
#define SE_PROTOCOL_SATA 1
#define SE_PROTOCOL_USB 2
#define SE_PROTOCOL_SAS 3
#define SE_PROTOCOL_ISCSI 4
#define SE_PROTOCOL_PCIE 5
#define SE_PROTOCOL_TBT 6
#define SE_PROTOCOL_MMC 7
#define SE_PROTOCOL_ODD 8
#define SE_PROTOCOL_ZMC 9
#define SE_PROTOCOL_PX 10
#define SE_PROTOCOL_HZR 11
#define SE_PROTOCOL_MVS 12

/* capabilities */
#define SE_CAP_S3 0x40u
#define SE_CAP_NO_ESATA 0x200u
#define SE_CAP_SAS_ATTACHED 0x400u
#define SE_CAP_PCIE_SLOTS 0x8000u
#define SE_CAP_MCU 0x10000u
#define SE_CAP_MMC 0x80000u
#define SE_CAP_USB_JBOD 0x100000u
#define SE_CAP_ODD 0x200000u
#define SE_CAP_PIC 0x400000u
#define SE_CAP_TBT 0x800000u
#define SE_CAP_MONITOR_ARG 0x1000000u
#define SE_CAP_CACHE 0x8000000u
#define SE_CAP_INTERNAL 0x80000000u

/* status */
#define SE_STATUS_REMOVING 1

typedef struct SE_ENC_INFO {
  int32_t enc_id;
  int32_t stack_id;
  char enc_parent_sys_id[32];
  int32_t enc_parent_port_id;
  char enc_sys_id[32];
  char real_sys_id[32];
  char bsg_name[32];
  char wwn[33]; /* text when the first byte is a digit, else 8 raw bytes */
  char vendor[32];
  char model[41];
  char serial[33];
  char revision[17];
  uint32_t conn_status[SE_MAX_CONN_NUM];
  char saved_real_sys_id[32];
  char saved_bsg_name[32];
  uint64_t sas_address;
  unsigned char backend_area[SE_ENC_BACKEND_AREA_SIZE];
  int32_t status;
  uint32_t capabilities;
  uint32_t extended_capability;
  int32_t protocol;
  int32_t max_disk_num;
  int32_t max_fan_region;
  int32_t max_sys_temp_region;
  int32_t max_fan_num;
  int32_t max_cpu_fan_num;
  int32_t default_cpu_fan_count;
  int32_t factory_cpu_fan_count;
  int32_t max_sys_extra_region_count;
  int32_t region_max_fan_num[SE_MAX_EXTRA_FAN_REGION];
  int32_t max_temp_num;
  int32_t max_pcie_num;
  int32_t max_nic_num;
  int32_t max_conn_num;
  int32_t max_ujbod_num;
  int32_t max_cpu_num;
  uint32_t cache_port_bitmap;
  int32_t ss_max_channels;
  int32_t ss_free_channels;
  int32_t link_speed;
  int32_t px_bus_speed;
  int32_t mv_bus_speed;
  int32_t link_err_type;
} SE_ENC_INFO;

/* ---- Record and store ---- */

/* Reads the record of `enc_id` from hal.conf. Keys absent from the store leave the caller's
   fields as they were, so clear the record first when defaults matter. 0, or -1 when the
   record is null or "enc_id"/"enc_sys_id" are missing. */
int SE_Get_Info(int enc_id, SE_ENC_INFO *info);
/* "status", or -1 when absent. */
int SE_Get_Status(int enc_id);
/* 0 on success, -1 on failure. */
int SE_Set_Status(int enc_id, int status);
int SE_Get_Protocol(int enc_id);
int SE_Is_PX_JBOD(int enc_id);
int SE_Is_MV_JBOD(int enc_id);
int SE_Is_External_JBOD(int enc_id);
/* protocol 4, or capability bit 31 on an enclosure that is not an external JBOD. */
int SE_Is_Internal(int enc_id);
/* status 1: being removed. */
int SE_Is_Removing(int enc_id);

/* ---- Listing ---- */

/* Filter of SE_Enumerate: return 0 to keep an id, non-zero (e.g. -ENOENT) to skip it. */
typedef int (*SE_ENUM_CALLBACK)(int enc_id, void *arg);
/* Registered enclosure ids in ascending order, up to `capacity`, those the filter keeps (all
   without a filter). With a null array and a filter, visits every id and stores none.
   Returns the number stored. */
int SE_Enumerate(int *enc_ids, int capacity, SE_ENUM_CALLBACK filter, void *arg);

/* ---- Ids and the persistent map ---- */

/* The identity under which the persistent map remembers an enclosure, copied with strncpy
   semantics into `uid` (SE_UNIQUE_ID_SIZE bytes are enough). 0, or -1 for bad arguments. */
int SE_Get_Unique_Id(const SE_ENC_INFO *info, char *uid, int uid_size);
/* Marks the enclosure gone for good and forgets its persistent id. -1 releases the whole
   map. 0, or -1 when the id was not allocated. */
int SE_Release_Id(int enc_id);
/* 1 when `enc_id` is free in the persistent map; with -1, 1 when any id is free. */
int SE_Is_Id_Available(int enc_id);
/* Seeds hal.conf's in-use bitmap from the persistent map. 0, or -1 without a map. */
int SE_Import_Enc_Map(void);
/* Writes every registered enclosure into the persistent map. 0. */
int SE_Export_Enc_Map(void);
/* The display name the map keeps for `enc_id`. 0, or -1. */
int SE_Enc_Map_Get_Enc_Name(int enc_id, char *name, int size);

/* ---- Discovery, attach, detach, hot-swap ---- */

/* Hot-plug entry points. Attach registers the enclosure (its parent first), scans its disks
   and tags it for udev; notify 1 reports a refused daisy chain to the event log. 0, or the
   negative result of the attach. */
int SE_Sys_Attach(const char *enc_sys_id, int notify);
/* Marks the enclosure and its children as being removed (status 1). */
int SE_Sys_Pre_Detach(const char *enc_sys_id);
/* Removes the enclosure, its children first, and their disks. 0, or -1. */
int SE_Sys_Detach(const char *enc_sys_id);
/* Attaches every enclosure present and not registered, detaches every registered one that
   is no longer present. 0. */
int SE_Scan(void);
/* With a folder: writes every enclosure present into a separate store in that folder
   ("<dir>/hal.conf", "<dir>/enclosure_<id>.conf") and returns how many were written; the
   live store keeps its records. Without one: SE_Scan. -1 when the folder cannot be made. */
int SE_Rescan(const char *dir);
/* 1 once when device `dev_id` (a port, or 1000 * port + member) was present in the enclosure
   when it was last detached; 0 otherwise, and always 0 after SE_Release_Id. */
int SE_Hotswap_Check_PD(int enc_id, int dev_id);
/* Forgets the enclosure's hot-swap memory. */
int SE_Hotswap_Clear_Enc(int enc_id);

/* ---- Key readers: 0 / -1 unless stated ---- */

int SE_Get_Capability(int enc_id, uint32_t *cap);
int SE_Get_Ext_Capability(int enc_id, uint32_t *cap);
int SE_Get_Parent_Sys_Id(int enc_id, char *buf, int size);
int SE_Get_Parent_Port_Id(int enc_id, int *port);
/* Slot count; 0 when unknown. */
int SE_Get_PD_Port_Num(int enc_id);
/* Counts, 0 when unknown. */
int SE_Get_TEMP_Num(int enc_id);
int SE_Get_FAN_Num(int enc_id);
int SE_Get_CPU_FAN_Num(int enc_id);
int SE_Get_Factory_CPU_FAN_Count(int enc_id);
int SE_Get_Extran_FAN_Region_Num(int enc_id);
/* "default_cpu_fan_count", or "factory_cpu_fan_count" when no default is recorded. */
int SE_Get_Default_CPU_FAN_Count(int enc_id);
int SE_Get_Cacheable_Port_Bitmap(int enc_id, uint32_t *bitmap);
int SE_Get_Model(int enc_id, char *buf, int size);
/* The stored "wwn" text. */
int SE_Get_WWN(int enc_id, char *buf, int size);
/* The stored serial, else the board's; -1 for an unknown enclosure. */
int SE_Get_Serial_No(int enc_id, char *buf, int size);
/* Stores the serial (and, for the appliance, writes it to the board). */
int SE_Set_Serial_No(int enc_id, const char *serial);
/* 1 when the enclosure is registered. */
int SE_Is_Exist(int enc_id);
int SE_Get_Id_By_Sys_Id(const char *enc_sys_id, int *enc_id);
/* Disks registered in the enclosure's store (members of a multi-disk adapter each count). */
int SE_Get_PD_Num(int enc_id);

/* ---- Finders and tests ---- */

/* OR the ids (below 32) of the registered enclosures of a kind into *bitmap. 0, or -1. */
int SE_Get_Enc_Id_by_Protocol(uint32_t *bitmap, int protocol);
int SE_Get_KORV_Enc_Id(uint32_t *bitmap);
int SE_Get_RDISK_Enc_Id(uint32_t *bitmap);
int SE_Get_Pci_Cache_Enc_Id(uint32_t *bitmap);
/* Id of the appliance's cache / optical / memory-card enclosure, or -1. */
int SE_Get_Cache_Enc_Id(void);
int SE_Get_ODD_Enc_Id(void);
int SE_Get_MMC_Enc_Id(void);
int SE_Is_USB_JBOD(int enc_id);
int SE_Is_TB_JBOD(int enc_id);
int SE_Is_ZMC_JBOD(int enc_id);
int SE_Is_Relinking(int enc_id);
/* 0 appliance/cache/PCIe, 1 KORV, 2 RDISK, 3 external JBOD; -1 (and -1 returned) else. */
int SE_Get_Enc_Type(int enc_id, int *type);
/* The name logs use for an enclosure ("Host", "USB", "EXDR#<id>", ...). */
int SE_Get_Log_Name(int enc_id, char *buf, int size);
/* Removes "real_sys_id" when it equals `real_sys_id`; 0 also when it does not. */
int Clear_Real_Sys_Id_by_Enc_ID(int enc_id, const char *real_sys_id);
/* Reboots every registered SAS enclosure through SES. 0. */
int SE_Reboot(void);

/* ---- Fan and temperature regions ---- */

/* Regions with fans: 0 system, 1 CPU, 2.. extra. `regions` holds SE_MAX_FAN_REGIONS. */
int SE_Get_FAN_Region_Enum(int enc_id, int *regions, int *count);
int SE_Get_FAN_Region_FAN_Count(int enc_id, int region);
int SE_Get_FAN_Region_Name(int enc_id, int region, char *name, int size);
int SE_Get_FAN_Region_Type(int enc_id, int region, int *type);
int SE_Get_Temp_Region_Num(int enc_id);
/* `regions` holds SE_MAX_TEMP_REGIONS. */
int SE_Get_Temp_Region_Enum(int enc_id, int *regions, int *count);
/* Fan speed step of a region of the appliance, in percent (default 20). */
int SE_Get_FAN_Region_Stepping(int enc_id, int region, int *percent);
/* Sets the region's fans to min + percent * (max - min) / 100 of their PWM range. */
int SE_Set_FAN_Region_Stepping(int enc_id, int region, int percent);

/* ---- Forwarders to the enclosure's back-end: its result, -1 for an unknown id ---- */

int SE_Set_SAS_HBA_Link_Rate(int enc_id, int phy, int rate);
int SE_Clear_SAS_HBA_Phy_Err(int enc_id, int phy);
int SE_Send_Heartbeat(int enc_id);
int SE_Set_Buzzer(int enc_id, int pattern);
int SE_Enable_Buzzer(int enc_id, int enable);
int SE_Get_Friendly_Name(int enc_id, char *name, int size);
int SE_Set_Friendly_Name(int enc_id, const char *name);
int SE_Get_LCM_Dev_Name(int enc_id, char *name, int size);
int SE_Get_Connector_Status(int enc_id, int connector, uint32_t *status);
int SE_Set_KORV_Phys_Err_Handling_Of_Ports(int enc_id, int enable);
int SE_Get_LED_BV_Ctrl_Capability(int enc_id, int *kind, int *levels);
int SE_Get_LED_Scrollbar_Support(int enc_id, int *support);
int SE_Get_PD_Env_Sensor_Num(int enc_id, int *count);
int SE_Get_Heat_Source_Bitmap(int enc_id, uint32_t *bitmap);
int SE_Check_MCU_Support(int enc_id);
int SE_Check_MCU_Is_Spec3(int enc_id);
int SE_Check_MCU_Is_Spec4(int enc_id);
int SE_Get_MCU_Version(int enc_id, char *version, int size);
int SE_Check_MCU_Need_Update(int enc_id);
int SE_Ini_MCU_FAN_Num(int enc_id);
int SE_Ini_MCU_Temp_Num(int enc_id);
int SE_Set_MCU_Auto_Report(int enc_id, int enable);
int SE_Get_LCM_Baud_Type(int enc_id, int *type);
int SE_Upgrade_CPLD_FW(int enc_id, const char *image_path);
int SE_Set_TBT_Port_Power(int enc_id, int port, int on);
int SE_Get_FAN_Disk_Bitmap(int enc_id, int region, uint32_t *bitmap);
/* SMP, through the expander's bsg node. */
int SE_Set_SMP_SAS_Link_Rate(int enc_id, int phy, int rate);
int SE_Clear_SMP_SAS_Phy_Error(int enc_id, int phy);
int SE_Control_SMP_Phy(int enc_id, int phy, int operation);
int SE_Get_SAS_All_Ports_Linkrate(const char *enc_sys_id, int *rates, int count);
int SE_Get_SAS_Address(int enc_id, uint64_t *address);
int SE_Support_Locate_Led(int enc_id);
int SE_Discover_Exp(void);
int SE_Get_LSI_SAS_HBA_Info(char *info, int size);
int SE_Is_Disk_Data_Collection_Enabled(void);
int SE_Set_Disk_Data_Collection(int enable);
int SE_Attached_TBT_JBOD_Count(void);
int SE_Get_FAN_Cache_Disk_Bitmap(int enc_id, int region, uint32_t *bitmap);
int SE_Get_FAN_PCIE_Slot_Bitmap(int enc_id, int region, uint32_t *bitmap);

#ifdef __cplusplus
}
#endif

#endif
