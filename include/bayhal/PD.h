/* bayhal PD family: the disk registry.
 *
 * A disk is addressed by (enclosure id, port id). Its record, PD_INFO, is one flat,
 * caller-allocated value without pointers; its fields are stored as the keys of one section
 * of the enclosure's disk store "/etc/enclosure_%d.conf" (boot-device disks: "/etc/hal.conf").
 * Results: 0 on success, -1 on failure; lookups return an id or -1; tests return 1 or 0.
 */
#ifndef BAYHAL_PD_H
#define BAYHAL_PD_H

#ifdef __cplusplus
extern "C" {
#endif

/* Port id ranges within an enclosure. */
#define PD_SLOT_PORT_ID_MIN 1          /* ordinary disks in a slot: 1..100, "PhysicalDisk_%d" */
#define PD_SLOT_PORT_ID_MAX 100
#define PD_VIRTUAL_PORT_ID_MIN 101     /* hardware-RAID virtual disks: "VirtualDisk_%d", id-100 */
#define PD_VIRTUAL_PORT_ID_MAX 999
#define PD_VIRTUAL_PORT_ID_BASE 100
#define PD_MEMBER_PORT_ID_MIN 1000     /* member k of the device in slot p: 1000 * p + k */
#define PD_MEMBER_PORT_ID_FACTOR 1000
#define PD_MEMBER_MAX_COUNT 4          /* k is 0..3 */
#define PD_MEMBER_GROUP_PORT_MAX 31    /* member groups are enumerated for slots 0..31 only */
#define PD_MAX_PORT_ID_IN_BITMAP 999   /* "pd_bitmap" covers port ids 0..999 */

/* The iSCSI pseudo-enclosure "root_iscsi": its disk count is a hard cap. */
#define PD_ISCSI_ENC_ID 31
/* Enclosure ids 0..31 are the appliance's own (internal) enclosures. */
#define PD_MAX_INTERNAL_ENC_ID 31

/* Global disk id: (enclosure id << 16) | (port id & 0xffff). */
#define PD_GLOBAL_ID(enc_id, port_id) (((enc_id) << 16) | ((port_id)&0xffff))

/* Capability bits of PD_INFO.capabilities. */
#define PD_CAP_WWN 0x00000001u           /* the disk reports a WWN */
#define PD_CAP_SMART 0x00000002u         /* SMART supported */
#define PD_CAP_SELF_TEST 0x00000004u     /* self-test supported and model not blacklisted */
#define PD_CAP_SSD 0x00000008u           /* does not rotate */
#define PD_CAP_SERIAL 0x00000010u        /* a serial number was read */
#define PD_CAP_BOOT_DISK 0x00000020u     /* boot-device disk: "BootDisk_%d" in /etc/hal.conf */
#define PD_CAP_SMART_ATA 0x00000040u     /* SMART supported (set with 0x2 for ATA) */
#define PD_CAP_TRIM 0x00000200u          /* TRIM / dataset management */
#define PD_CAP_CACHEABLE 0x00000400u     /* the slot may serve as cache */
#define PD_CAP_ATT_PHY 0x00001000u       /* the attached phy was found */
#define PD_CAP_SCSI 0x00002000u          /* SCSI/SAS disk */
#define PD_CAP_WWN_BLACKLISTED 0x00004000u /* model on the WWN blacklist: WWN not trusted */
#define PD_CAP_VIRTUAL 0x00080000u       /* virtual disk of a hardware RAID enclosure */
#define PD_CAP_SED 0x40000000u           /* self-encrypting drive */
#define PD_CAP_HAS_MEMBERS 0x80000000u   /* the device has member disks (ids 1000 * port + k) */

/* Interface type codes of PD_INFO.type. */
#define PD_TYPE_ATA 0
#define PD_TYPE_SCSI 1
#define PD_TYPE_USB 2
#define PD_TYPE_NVME 4

/* Adapter kinds of PD_INFO.adapter_kind: discovery presets PD_ADAPTER_DEFAULT; the two RAID
   kinds mark disks of a hardware-RAID adapter. */
#define PD_ADAPTER_RAID_A 4
#define PD_ADAPTER_RAID_B 6
#define PD_ADAPTER_DEFAULT 9

/* Field sizes of PD_INFO. */
#define PD_NAME_LEN 32
#define PD_WWN_LEN 36
#define PD_MODEL_LEN 41
#define PD_SERIAL_LEN 33
#define PD_REVISION_LEN 16

/* The disk record: the in-memory form of one disk section. Field order and sizes are fixed
   (x86-64 and aarch64 Linux: 464 bytes, capacity at offset 400) so records can be copied
   whole between components. */
typedef struct PD_INFO {
  int port_id;                      /* "port_id": id within the enclosure */
  int att_phy_id;                   /* "att_phy_id": expander/HBA phy, -1 when none */
  char pd_sys_id[PD_NAME_LEN];      /* "pd_sys_id": stable system name ("sdb", "nvme0n1") */
  char enc_sys_id[PD_NAME_LEN];     /* "enc_sys_id": the enclosure's identity string */
  char pd_sys_name[PD_NAME_LEN];    /* "pd_sys_name": block device path ("/dev/sdb") */
  char pd_ctrl_name[PD_NAME_LEN];   /* "pd_ctrl_name": pass-through device ("/dev/sg1") */
  char pd_bus_name[PD_NAME_LEN];    /* "pd_bus_name": bus address */
  unsigned char wwn[PD_WWN_LEN];    /* binary WWN as the drive reports it */
  int wwn_len;                      /* valid bytes in wwn (not stored) */
  int type;                         /* "type": PD_TYPE_* */
  int form;                         /* "form": form-factor code */
  int link_speed;                   /* "link_speed": negotiated link speed code */
  int max_link_speed;               /* "max_link_speed": the slot's maximum */
  int pd_max_link_speed;            /* "pd_max_link_speed": the disk's own maximum */
  char read_speed[PD_NAME_LEN];     /* "read_speed": last measured, "none" when never */
  char vendor[PD_NAME_LEN];         /* "vendor" */
  char model[PD_MODEL_LEN];         /* "model" */
  char serial_no[PD_SERIAL_LEN];    /* "serial_no" */
  char revision[PD_REVISION_LEN];   /* "revision": firmware revision */
  int protocol_ver;                 /* "protocol_ver" */
  int status;                       /* "status" */
  unsigned int capabilities;        /* "capabilities": PD_CAP_* bits, unsigned decimal */
  int sector_size;                  /* "sector_size": logical sector size in bytes */
  long long capacity;               /* "capacity": in sectors, written with "%lld" */
  int rotation_speed;               /* "rotation_speed": 0 for a disk that does not rotate */
  int hw_raid_disk_bitmap;          /* "hw_raid_disk_bitmap": virtual disk members */
  int hw_raid_spare_bitmap;         /* "hw_raid_spare_bitmap": virtual disk spares */
  int hw_raid_type;                 /* "hw_raid_type": RAID level code */
  char pd_driver_name[PD_NAME_LEN]; /* "pd_driver_name": kernel driver, stored when set */
  int adapter_kind;                 /* PD_ADAPTER_* (not stored) */
} PD_INFO;

/* ---- Store ---- */

/* Copies a disk's section and index keys into the history store
   "/etc/enclosure_%d_del.conf". 0, or -1 when the disk has no "pd_sys_id". */
int PD_Remove_and_Backup_Section(int enc_id, int port_id);

/* 1 when (vendor, model) is listed in the WWN blacklist "/etc/disk_wwn_blacklist.list":
   such models report WWNs that are not unique, so the registry does not index them by it.
   vendor may be NULL (matches any vendor pattern). 0 otherwise. */
int Disk_Is_WWN_Blacklisted(const char *vendor, const char *model);
/* 1 when (vendor, model) is listed in "/etc/disk_selftest_blacklist.list". */
int Disk_Is_SelfTest_Blacklisted(const char *vendor, const char *model);

/* ---- Attach and detach (hot-plug entry points) ---- */

/* Registers disk `pd_sys_id` (kernel name, e.g. "sdb") of enclosure `enc_sys_id` ("root")
   and tags it for the device manager. 0, or the negative result of the attach (-2: the
   device is not one to register). */
int PD_Sys_Attach(const char *enc_sys_id, const char *pd_sys_id);
/* Removes the disk, keeping its history. 0, or a negative result. */
int PD_Sys_Detach(const char *enc_sys_id, const char *pd_sys_id);
/* Sets the command-timeout latency of an ATA disk (type 0). 0 or -1. */
int PD_Set_ATA_IO_Latency(const PD_INFO *info);

/* ---- Query ---- */

/* Fills the whole record. 0, or -1 when the disk is not registered. */
int PD_Get_Info(int enc_id, int port_id, PD_INFO *info);

/* Capability filter modes of PD_Enumerate_By_Cap. */
#define PD_CAP_MODE_NONE 0 /* none of the mask bits set */
#define PD_CAP_MODE_ANY 1  /* at least one mask bit set */
#define PD_CAP_MODE_ALL 2  /* every mask bit set */
#define PD_CAP_MODE_ALWAYS 3

/* Return non-zero to leave a disk out of the list. */
typedef int (*PD_ENUM_CALLBACK)(int enc_id, int port_id, void *arg);
/* Lists port ids of the enclosure's disks whose capabilities pass (mask, mode) and the
   callback, then member disks (1000 * port + k) of multi-disk devices in ports 0 to 31.
   At most `size` ids are stored; a NULL list only counts. Returns the count, -1 on error. */
int PD_Enumerate_By_Cap(int enc_id, unsigned int cap_mask, int mode, int *port_ids, int size,
                        PD_ENUM_CALLBACK callback, void *arg);
/* Every disk of the enclosure. */
int PD_Enumerate(int enc_id, int *port_ids, int size);
/* Every disk of every registered enclosure, as global ids PD_GLOBAL_ID(enc, port). */
int PD_Enumerate_All(int *global_ids, int size);

/* Virtual disks of a hardware-RAID enclosure are addressed by their number n (section
   "VirtualDisk_%d", port id n + 100). */
int VD_Enumerate(int enc_id, int *numbers, int size);
int VD_Is_Exist(int enc_id, int number);
/* Fills the record of virtual disk n. 0, or -1 when its section has no "port_id". */
int VD_Get_Info(int enc_id, int number, PD_INFO *info);
int VD_Get_WWN(int enc_id, int number, char *buf, int size);

/* One-key getters. Texts: the length copied (0 or more), negative when the disk or the
   key is missing (the buffer is then empty). Numbers: 0 or -1. */
int PD_Get_Serial_No(int enc_id, int port_id, char *buf, int size);
int PD_Get_Vendor(int enc_id, int port_id, char *buf, int size);
int PD_Get_Model(int enc_id, int port_id, char *buf, int size);
int PD_Get_Sys_Name(int enc_id, int port_id, char *buf, int size);
int PD_Get_Sys_Name_From_History(int enc_id, int port_id, char *buf, int size);
int PD_Get_WWN(int enc_id, int port_id, char *buf, int size);
int PD_Get_Ctrl_Name(int enc_id, int port_id, char *buf, int size);
int PD_Get_Bus_Name(int enc_id, int port_id, char *buf, int size);
int PD_Get_Capacity(int enc_id, int port_id, long long *capacity, int *sector_size);
int PD_Get_Link_Speed(int enc_id, int port_id, int *speed);
int PD_Get_Max_Link_Speed(int enc_id, int port_id, int *speed);
int PD_Get_PD_Max_Link_Speed(int enc_id, int port_id, int *speed);
/* Speeds as text with their unit word ("850.0 MB/sec"); "none" when never measured, "fail"
   when the measurement failed. The store keeps KB/sec as a number. */
int PD_Get_Read_Speed(int enc_id, int port_id, char *buf, int size);
int PD_Get_Write_Speed(int enc_id, int port_id, char *buf, int size);
int PD_Get_Read_IOPS(int enc_id, int port_id, char *buf, int size);
int PD_Get_Write_IOPS(int enc_id, int port_id, char *buf, int size);
/* 1 when the disk's section holds "port_id", else 0. */
int PD_Is_Exist(int enc_id, int port_id);
/* Boot-device disk n ("BootDisk_%d" of /etc/hal.conf). */
int PD_Get_Boot_Disk_Serial_No(int number, char *buf, int size);
int PD_Get_Boot_Disk_Capacity(int number, long long *capacity, int *sector_size);

/* Translations. Lookups return the port id or -1. */
int PD_Get_Id_By_Sys_Id(int enc_id, const char *pd_sys_id);
int PD_Get_Id_By_Sys_Id_From_History(int enc_id, const char *pd_sys_id);
int PD_Get_Sys_Id_By_Port_Id(int enc_id, int port_id, char *buf, int size);
int PD_Get_Id_By_Sys_Name(int enc_id, const char *sys_name);
int PD_Get_Id_By_Sys_Name_From_History(int enc_id, const char *sys_name);
/* Port id of a device name ("/dev/sdb" or "sdb") in the live store, else in history. */
int PD_Get_Id_By_Enc_Conf(int enc_id, const char *dev_name);
/* Device numbers: 0 or -1. */
int PD_Get_Id_By_Dev_No(int major, int minor, int *enc_id, int *port_id);
int PD_Get_Dev_No_By_Id(int enc_id, int port_id, int *major, int *minor);
int PD_Get_Dev_No_By_Sys_Name(const char *sys_name, int *major, int *minor);
int PD_Get_Sys_Name_By_Dev_No(int major, int minor, char *buf, int size);
int PD_Get_Serial_No_By_Dev_No(int major, int minor, char *buf, int size);
int PD_Get_WWN_By_Dev_No(int major, int minor, char *buf, int size);
/* Through the enclosure WWN index. 0 or -1. */
int PD_Get_Sys_Name_By_WWN(const char *wwn, char *buf, int size);
int PD_Get_Ctrl_Name_By_WWN(const char *wwn, char *buf, int size);

/* Tests: 1 or 0. */
int PD_Is_In_Root(int enc_id);
int PD_Is_In_Root_Cache(int enc_id);
int PD_Is_In_Root_PCIe(int enc_id);
int PD_Is_In_Root_By_Dev_No(int major, int minor);
int PD_Is_In_Root_Cache_By_Dev_No(int major, int minor);
int PD_Is_In_Root_PCIe_By_Dev_No(int major, int minor);
int PD_Is_In_Front_Of_Root_USB(int enc_id, int port_id);
int PD_Is_Attached_Behind_SAS(int enc_id, int port_id);
int PD_Check_Attach_To_SAS_HBA_Directly(int enc_id, int port_id);
/* Hardware-RAID mode of a disk; -1 when it has none. */
int PD_Get_SR_Mode(int enc_id, int port_id);

/* Boot disk: the device name with "p" appended when it ends in a digit. 0 or -1. */
int PD_Get_Boot_Disk(char *buf, int size);
int PD_Get_Boot_Disk_At_Startup(char *buf, int size);
/* Block devices that may be the boot disk (names under /sys/block beginning "sd", "vd",
   "xvd" or "nvme"): up to max strings allocated with malloc, freed by the caller. */
int PD_Boot_Enumerate(char **names, int max);

/* Names shown to people. 0 or -1; PD_Get_Dev_Slot_Name returns 1 when a slot name was
   used, 0 otherwise, -1 on error. */
int PD_Get_Slot_Name(int enc_id, int port_id, char *buf, int size);
int PD_Get_Log_Name(int enc_id, int port_id, char *buf, int size);
int PD_Get_Dev_Slot_Name(int enc_id, int port_id, char *buf, int size);
/* Who owns an optical drive: a pass-through owner, the drive's owner, or "DRO". 0 or -1. */
int PD_Get_ODD_Owner(int enc_id, int port_id, char *buf, int size);

/* Asks discovery again what the disk can do and stores its "capabilities" (the bits the
   registry sets itself are kept). 0 or -1. */
int PD_Rescan_Capabilities(int enc_id, int port_id);
/* Sets the queue depth of the disk's block device. 0 or -1. */
int PD_Reconfig_Queue_Depth(int enc_id, int port_id, int depth);

/* ---- Self-encrypting drives (TCG Opal) ----
   Every operation runs "/sbin/sedutil-cli" (one run at a time on the appliance) and fails
   at once for a disk without PD_CAP_SED. Passwords and PSIDs are NUL-terminated byte
   strings of 1 to 1024 bytes, used for the one call: the library passes them to the tool
   as single arguments (never through a shell), logs none and keeps none. Range 0 is the
   drive's global range; ranges 1 to 8 can be set up. Results: 0 on success, -1 on failure;
   the tests 1 or 0, -1 when the drive could not be asked. The reason of a failure is in
   "/var/log/sedutil.log". */
int PD_SED_Is_Supported(int enc_id, int port_id);
int PD_SED_Is_Initialized(int enc_id, int port_id);
int PD_SED_Is_Locked(int enc_id, int port_id);
/* Takes ownership of the drive and activates its locking with `password`. */
int PD_SED_Initialize(int enc_id, int port_id, const char *password);
int PD_SED_MBR_Enable(int enc_id, int port_id, int on, const char *password);
/* The first sector and the length (in sectors) of a locking range. */
int PD_SED_Display_Range(int enc_id, int port_id, int range_id, const char *password,
                         long long *start, long long *length);
/* Sets a range (1 to 8) up as an unlocked range of `count` sectors from `start`. */
int PD_SED_Setup_Range(int enc_id, int port_id, int range_id, long long start, long long count,
                       const char *password);
int PD_SED_Remove_Range(int enc_id, int port_id, int range_id, const char *password);
int PD_SED_Range_Is_Enabled(int enc_id, int port_id, int range_id, const char *password);
int PD_SED_Range_Is_Locked(int enc_id, int port_id, int range_id, const char *password);
int PD_SED_Enable_Range(int enc_id, int port_id, int range_id, const char *password);
int PD_SED_Disable_Range(int enc_id, int port_id, int range_id, const char *password);
int PD_SED_Lock_Range(int enc_id, int port_id, int range_id, const char *password);
int PD_SED_Unlock_Range(int enc_id, int port_id, int range_id, const char *password);
/* Changes the Admin1 password. */
int PD_SED_Change_Password(int enc_id, int port_id, const char *old_password,
                           const char *new_password);
/* 0 when the drive accepts `password`, else -1; nothing is printed. */
int PD_SED_Verify_Password(int enc_id, int port_id, const char *password);
/* Reverts the drive's locking, keeping its data. */
int PD_SED_Factory_Reset_With_Password(int enc_id, int port_id, const char *password);
/* Reverts the drive to its factory state with the PSID printed on it: ALL DATA IS LOST. */
int PD_SED_Factory_Reset_With_PSID(int enc_id, int port_id, const char *psid);

#ifdef __cplusplus
}
#endif

#include "PD_SMART.h"

#endif
