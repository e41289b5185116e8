/* bayhal small shared helpers, used across the families. */
#ifndef BAYHAL_HAL_COMMON_H
#define BAYHAL_HAL_COMMON_H

#ifdef __cplusplus
extern "C" {
#endif

/* Clears `out` (size bytes), then appends each byte as two upper-case hex digits.
   REQUIRES: out_size >= 2 * count + 1. Returns out. */
char *num_to_ascii(const unsigned char *bytes, int count, char *out, int out_size);

/* Double fork. Returns a positive pid in the detached grandchild (adopted by init);
   in the caller 0 when the intermediate child exited normally, -2 when its own fork
   failed (exit 127), -1 when the first fork or the wait failed or it was killed. */
int fork_orphaned(void);

/* Seconds since boot; 0 on failure. */
long hal_get_system_uptime(void);
/* Writes the current uptime as "%ld\n" to `path`; 0, or -1 when it cannot be opened. */
int hal_set_last_uptime(const char *path);
/* Reads one "%ld" from `path`; 0 when missing or unparsable. */
long hal_get_last_uptime(const char *path);

#ifdef __cplusplus
}
#endif

#endif
