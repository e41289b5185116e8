/* bayhal PD family, disk health: SMART readings of ATA, SAS and NVMe disks, their cache,
 * per-enclosure SMART settings, the warning policy and self-tests. Included by PD.h.
 *
 * A disk is addressed by (enclosure id, port id). Results: 0 on success, -1 on failure,
 * -2 where a cache file is missing; tests return 1 or 0. Nothing here wakes a disk that
 * sleeps: a rotating disk in standby is not read (PD_SMART_Update_Info).
 */
#ifndef BAYHAL_PD_SMART_H
#define BAYHAL_PD_SMART_H

#ifdef __cplusplus
extern "C" {
#endif

#define PD_SMART_NAME_LEN 64     /* attribute names, terminator included */
#define PD_SMART_MAX_ATTRS 255   /* attributes one reading or cache may hold */

/* Disk kinds of a reading (PD_SMART_INFO.type); the record type of an NVMe disk is 4 too. */
#define PD_SMART_TYPE_ATA 0
#define PD_SMART_TYPE_SAS 1
#define PD_SMART_TYPE_NVME 4

/* One attribute as the device readers return it. NVMe and SAS readers fill the same
   entries with their own documented names (docs/smart.md). */
typedef struct PD_SMART_ATTR {
  unsigned int id;
  char name[PD_SMART_NAME_LEN];
  unsigned short status_flag;      /* the attribute's flags word */
  unsigned short reserved;         /* always 0xFFFF */
  unsigned char value;             /* normalised current value */
  unsigned char worst;
  unsigned char thresh;            /* 0 when none is listed */
  unsigned long long raw;          /* raw value (attribute 194: low 16 bits) */
} PD_SMART_ATTR;

/* Health verdicts of a reading (PD_SMART_INFO.verdict). */
#define PD_SMART_VERDICT_UNKNOWN (-1) /* the disk did not say */
#define PD_SMART_VERDICT_GOOD 0
#define PD_SMART_VERDICT_WARNING 1    /* a warning-policy attribute or the temperature is over
                                         its limit */
#define PD_SMART_VERDICT_ERROR 2      /* "SMART error": the disk predicts its failure */

/* Bits of PD_SMART_INFO.state. */
#define PD_SMART_STATE_STANDBY 0x0001      /* the last attempt found the disk asleep: the
                                              reading is the one taken before */
#define PD_SMART_STATE_BAD_CHECKSUM 0x0002 /* the data page's checksum byte is wrong */

/* Bits of PD_SMART_INFO.warnings: the warning-policy attributes over their limits, and the
   temperature over its threshold. */
#define PD_SMART_WARN_5 0x01
#define PD_SMART_WARN_187 0x02
#define PD_SMART_WARN_188 0x04
#define PD_SMART_WARN_197 0x08
#define PD_SMART_WARN_198 0x10
#define PD_SMART_WARN_TEMPERATURE 0x20

/* Self-test status codes (ATA's, which the SAS and NVMe readers translate to). */
#define PD_SMART_TEST_DONE 0            /* the last test completed without error */
#define PD_SMART_TEST_ABORTED 1         /* by the host */
#define PD_SMART_TEST_INTERRUPTED 2     /* by a reset */
#define PD_SMART_TEST_FATAL 3
#define PD_SMART_TEST_IN_PROGRESS 15

/* One attribute of a reading as the cache keeps it. */
typedef struct PD_SMART_ENTRY {
  unsigned int id;
  char name[PD_SMART_NAME_LEN];
  unsigned char value;
  unsigned char worst;
  unsigned char threshold;
  unsigned long long raw;
  unsigned short flags;
} PD_SMART_ENTRY;

/* A reading: thirteen header integers (the cache's first line, in this order) and `count`
   entries, in one allocation that the caller frees with free(). */
typedef struct PD_SMART_INFO {
  int count;           /* attribute entries that follow */
  int type;            /* PD_SMART_TYPE_* */
  int verdict;         /* PD_SMART_VERDICT_* */
  int temperature;     /* degrees Celsius; -1 unknown */
  int test_status;     /* PD_SMART_TEST_* (the last or running self-test) */
  int test_progress;   /* percent done of a running test; 100 when none runs; -1 unknown */
  int short_minutes;   /* the disk's polling times; -1 unknown */
  int extended_minutes;
  int read_time;       /* when the disk was read (seconds since the epoch) */
  int state;           /* PD_SMART_STATE_* (written in hexadecimal) */
  int skipped;         /* reads skipped since then because the disk was asleep */
  int warnings;        /* PD_SMART_WARN_* */
  int notify_event;    /* the caller's current notify event */
  PD_SMART_ENTRY attrs[];
} PD_SMART_INFO;

/* ---- The device readers, by disk type ---- */

/* SMART of an ATA disk (SATA, or behind a bridge that passes ATA commands): the verdict
   (0 passed, 1 threshold exceeded), up to `size` entries, the self-test status and progress
   and the short and extended polling times (minutes). Returns the number of entries, or -1.
   Disks of the RAID enclosures ("px") are not supported (-1). */
int PD_SMART_Get_ATA_Info(int enc_id, int port_id, int *verdict, PD_SMART_ATTR *list, int size,
                          int *test_status, int *test_progress, int *short_minutes,
                          int *extended_minutes);
/* The same from an NVMe disk's SMART / Health Information and self-test logs, and from a
   SAS disk's log pages. */
int PD_SMART_Get_NVME_Info(int enc_id, int port_id, int *verdict, PD_SMART_ATTR *list,
                           int size, int *test_status, int *test_progress, int *short_minutes,
                           int *extended_minutes);
int PD_SMART_Get_SAS_Info(int enc_id, int port_id, int *verdict, PD_SMART_ATTR *list, int size,
                          int *test_status, int *test_progress, int *short_minutes,
                          int *extended_minutes);

/* Reads the disk (by its type) into a new reading and writes it to the cache, unless the disk
   is a rotating one in standby: then the cached reading comes back with
   PD_SMART_STATE_STANDBY set and its `skipped` count raised, and the disk is not touched
   (-2 when there is no cached reading either). The caller frees *out. 0, -1 or -2. */
int PD_SMART_Update_Info(int enc_id, int port_id, PD_SMART_INFO **out);

/* Self-test modes of PD_Set_Self_Test_Mode. */
#define PD_SELF_TEST_SHORT 1
#define PD_SELF_TEST_EXTENDED 2
#define PD_SELF_TEST_ABORT 127
/* Starts (or aborts) a self-test through the reader of the disk's type (0 ATA, 1 SAS, 4
   NVMe) and records it as the disk's last test. 0 or -1. */
int PD_Set_Self_Test_Mode(int enc_id, int port_id, int mode);

/* ---- The cache: "/tmp/smart/smart_<enc>_<port>.info" ---- */

/* 0; -2 when there is no cache file; -1 when it cannot be read or does not parse. */
int PD_SMART_Read_Info(int enc_id, int port_id, PD_SMART_INFO **out);
int PD_SMART_Write_Info(int enc_id, int port_id, const PD_SMART_INFO *info);
/* Deletes the cache file; 0 when there is none. */
int PD_SMART_Clear_Info(int enc_id, int port_id);
/* Power-on hours from the cache: attribute 9 of an ATA disk, "Power On Hours" of SAS and
   NVMe disks. 0 or -1. */
int PD_SMART_Get_Power_On_Hours(int enc_id, int port_id, unsigned long long *hours);
int PD_SMART_Get_Current_Notify_Event(int enc_id, int port_id, int *event);
int PD_SMART_Set_Current_Notify_Event(int enc_id, int port_id, int event);
/* 1 when the cached verdict is "SMART error", else 0. */
int PD_SMART_Is_Error(int enc_id, int port_id);

typedef struct PD_SMART_SUMMARY {
  int port_id;
  char identity[64];        /* "vendor model serial" */
  int temperature;          /* -1 unknown */
  long long capacity_gb;    /* decimal gigabytes, as drive makers count */
  int last_test_type;       /* -1 never */
  long long last_test_time; /* seconds since the epoch; 0 never */
  int verdict;
  int test_status;
} PD_SMART_SUMMARY;
/* From the cache and the disk's record. 0, -2 (no cache) or -1. */
int PD_SMART_Get_Summary(int enc_id, int port_id, PD_SMART_SUMMARY *summary);

/* ---- Settings: "/etc/config/smart.conf" (enclosure 0), "/etc/config/smart_<enc>.conf" ---- */

/* The temperature threshold in °C: default 55, or 70 for a disk that does not rotate. */
int PD_SMART_Get_Temp_Thres(int enc_id, int port_id, unsigned char *celsius);
int PD_SMART_Get_Temp_Thres_F(int enc_id, int port_id, int *fahrenheit);
int PD_SMART_Is_Temp_Thresh_Enabled(int enc_id, int port_id);
/* type 1: the short schedule, else the extended one. */
int PD_SMART_Is_Schedule_Enabled(int enc_id, int port_id, int type);
/* The packed schedule's five bytes, most significant first; -1 when none is stored. */
int PD_SMART_Get_Test_Schedule(int enc_id, int port_id, int type, unsigned char *b1,
                               unsigned char *b2, unsigned char *b3, unsigned char *b4,
                               unsigned char *b5);
int PD_SMART_Get_Last_Test_Type(int enc_id, int port_id, int *type);
int PD_SMART_Get_Last_Test_Time(int enc_id, int port_id, long long *seconds);

typedef struct PD_SMART_CONF {
  int port_id;
  int temp_thres_enabled;
  int temp_thres;           /* °C */
  int temp_thres_f;         /* °F */
  int last_test_type;
  int short_enabled;
  unsigned long long short_schedule;
  int extended_enabled;
  unsigned long long extended_schedule;
} PD_SMART_CONF;
int PD_SMART_Get_Conf(int enc_id, int port_id, PD_SMART_CONF *conf);

/* ---- Warning policy: "/etc/config/smart_warning.conf", read from its copy in /tmp ---- */

#define PD_SMART_WARNING_ATTRS 5 /* attributes 5, 187, 188, 197, 198 in this order */
typedef struct PD_SMART_WARNING_CONF {
  int policy;
  struct {
    int enable;
    int value;               /* warn when the raw value exceeds it */
  } attr[PD_SMART_WARNING_ATTRS];
} PD_SMART_WARNING_CONF;
int PD_SMART_WARNING_SET_CONF(const PD_SMART_WARNING_CONF *conf);
/* The first read on an appliance writes the default (197 and 198 enabled) and its copy. */
int PD_SMART_WARNING_GET_CONF(PD_SMART_WARNING_CONF *conf);

#ifdef __cplusplus
}
#endif

#endif
