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

#ifdef __cplusplus
}
#endif

#endif
