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

#ifdef __cplusplus
}
#endif

#endif
