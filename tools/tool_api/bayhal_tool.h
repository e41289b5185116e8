/* libbayhal's interface for its own programs: what hal_tool shows that the exported families
   do not (discovery without registering, the model set-up's report, store diagnostics, the
   system root). Plain C like the families, exported under the version node BAYHAL_PRIVATE;
   not installed, and free to change from one release to the next. No call throws. */
#ifndef BAYHAL_TOOL_H
#define BAYHAL_TOOL_H

#include "bayhal/PD.h"

#ifdef __cplusplus
extern "C" {
#endif

#define BAYHAL_TOOL_API __attribute__((visibility("default")))

/* The host path of an appliance path under the system root, and back. The length written,
   or -1 when it does not fit in `size`. */
BAYHAL_TOOL_API int bayhal_tool_host_path(const char *path, char *buf, int size);
BAYHAL_TOOL_API int bayhal_tool_appliance_path(const char *host_path, char *buf, int size);

/* The trace log (host path) and mask as the tracer now sees them; -1 when buf is too small. */
BAYHAL_TOOL_API int bayhal_tool_trace_log(char *buf, int size, unsigned *mask);

typedef void (*bayhal_tool_name_fn)(void *arg, const char *name);
typedef void (*bayhal_tool_pair_fn)(void *arg, const char *key, const char *value);

/* Store files, read as the library reads them (lines that are not INI are passed over).
   read_section calls `each` for every key of the section in file order; section_names for
   every section name. Result: 1 read; 0 no such section (read_section); -1 the file cannot
   be read (*err is the errno). */
BAYHAL_TOOL_API int bayhal_tool_read_section(const char *file, const char *section,
                                             bayhal_tool_pair_fn each, void *arg, int *err);
BAYHAL_TOOL_API int bayhal_tool_section_names(const char *file, bayhal_tool_name_fn each,
                                              void *arg, int *err);

/* Discovery, registering nothing. enclosures_present: `each` for every enclosure identity
   present; the count, or -1. disks_present: `each` for every disk discovery finds in the
   enclosure, with its bay, its kernel name, the probe's result (0; -2 not a disk to
   register; -1 failed) and the record read (valid when the result is 0); the count, or -1
   when the enclosure's kind has no disk discovery. */
BAYHAL_TOOL_API int bayhal_tool_enclosures_present(bayhal_tool_name_fn each, void *arg);
typedef void (*bayhal_tool_disk_fn)(void *arg, int port_id, const char *pd_sys_id, int probe,
                                    const PD_INFO *info);
BAYHAL_TOOL_API int bayhal_tool_disks_present(const char *enc_sys_id, bayhal_tool_disk_fn each,
                                              void *arg);

/* se_sys_setup_model_conf with its report: the file chosen (NULL when kept), each fix-up,
   the memory step's verdict and each memory slot read. */
typedef struct {
  const char *locator, *bank, *type, *manufacturer, *part_number, *serial;
  int installed, size_mb, speed_mts;
} BAYHAL_TOOL_MODULE;
typedef struct {
  void (*chosen)(void *arg, const char *file);
  void (*fixup)(void *arg, const char *name, int changed, const char *detail);
  void (*memory)(void *arg, int sane, const BAYHAL_TOOL_MODULE *modules, int count);
} BAYHAL_TOOL_SETUP_REPORT;
BAYHAL_TOOL_API int bayhal_tool_model_setup(const char **message,
                                            const BAYHAL_TOOL_SETUP_REPORT *report, void *arg);

/* The root board's functions as the model description resolves them now (no per-process
   cache): `each` once per function. Texts are NULL where there is none: the key's value when
   the key is absent, `slot` except for fans, `chip` when no chip is named, `reason` when the
   function is supported; index, channel and address (an I2C device or I/O port) -1 where
   there is none. The count, or -1. */
typedef struct {
  const char *group, *name, *section, *key, *value, *slot, *chip, *reason;
  int index, channel, address, supported;
} BAYHAL_TOOL_BOARD_FUNCTION;
typedef void (*bayhal_tool_board_fn)(void *arg, const BAYHAL_TOOL_BOARD_FUNCTION *function);
BAYHAL_TOOL_API int bayhal_tool_board_map(bayhal_tool_board_fn each, void *arg);
/* Reads root temperature `index` (degrees in *value) or fan `index` (rpm in *value, *status
   0 running or 1 failed) through the board back-end; its result (0, or negative). */
BAYHAL_TOOL_API int bayhal_tool_board_temp(int index, double *value);
BAYHAL_TOOL_API int bayhal_tool_board_fan(int index, double *value, int *status);
/* Everything the hardware monitor reads of enclosure `enc_id`'s board, sensor by sensor, as
   HM_* would read it (the enclosure looked up once): `each` once per sensor. kind is
   "temperature", "region", "fan" or "power supply"; index the temperature or fan index, the
   region from 0 or the supply (1, 2); rc the reading's result (0 read); celsius for
   temperatures and regions; rpm and status (0 running, 1 failed) for fans, status 0 good or
   -1 failed for supplies; pwm_rc and pwm (0-255) for fans whose PWM can be read; level the
   fan level that PWM is, or -1. The count, or -1 when the enclosure is not registered. */
typedef struct {
  const char *kind, *name;
  int index, rc;
  double celsius;
  unsigned rpm;
  int status, pwm_rc, pwm, level;
} BAYHAL_TOOL_SENSOR;
typedef void (*bayhal_tool_sensor_fn)(void *arg, const BAYHAL_TOOL_SENSOR *sensor);
BAYHAL_TOOL_API int bayhal_tool_monitor(int enc_id, bayhal_tool_sensor_fn each, void *arg);
/* Facts of the root board: 1 or 0 for the embedded controller; the MCU spec, or -2 when the
   model description gives none. */
BAYHAL_TOOL_API int bayhal_tool_board_facts(int *ec, int *mcu_spec);

/* The board's chips at register level (docs/board.md): an embedded-controller register (a
   16-bit address) read or written, its firmware version; the Super I/O chip's id, a GPIO pin
   read (set < 0: *value 1 while the line is low) or driven (set 0 or 1), a pin handed to a
   blink engine. 0, or the driver's code: -EBUSY (the controller did not answer in time),
   -ENXIO, -1 (refused: see the library log). */
BAYHAL_TOOL_API int bayhal_tool_ec_get_reg(unsigned reg, unsigned char *value);
BAYHAL_TOOL_API int bayhal_tool_ec_set_reg(unsigned reg, unsigned char value);
BAYHAL_TOOL_API int bayhal_tool_ec_fw_version(char *buf, int size);
BAYHAL_TOOL_API int bayhal_tool_sio_chip_id(unsigned *id);
BAYHAL_TOOL_API int bayhal_tool_sio_gpio(int pin, int set, int *value);
BAYHAL_TOOL_API int bayhal_tool_sio_blink(int pin, int engine);

/* SMART pages decoded on their own, as the device path decodes a live disk's: a SMART READ
   DATA page and its READ THRESHOLDS page (512 bytes each) into up to `size` entries. The
   verdict is what RETURN STATUS would say of these attributes (0 passed, 1 threshold
   exceeded). The number of entries, or -1 when a page is shorter than 512 bytes. */
typedef struct {
  int verdict, temperature, test_status, test_progress, short_minutes, extended_minutes;
  int checksum_ok, thresholds_checksum_ok;
} BAYHAL_TOOL_SMART_PAGES;
BAYHAL_TOOL_API int bayhal_tool_smart_decode(const unsigned char *data, int data_len,
                                             const unsigned char *thresholds, int thresholds_len,
                                             PD_SMART_ATTR *list, int size,
                                             BAYHAL_TOOL_SMART_PAGES *out);
/* The identity in an IDENTIFY DEVICE page: 0, or -1 when it is not one. */
typedef struct {
  char model[41], serial[21], firmware[9];
  int rotation; /* rpm, 0 solid state, -1 not reported */
} BAYHAL_TOOL_ATA_IDENTITY;
BAYHAL_TOOL_API int bayhal_tool_ata_identity(const unsigned char *page, int len,
                                             BAYHAL_TOOL_ATA_IDENTITY *out);

#ifdef __cplusplus
}
#endif

#endif
