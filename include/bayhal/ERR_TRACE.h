/* bayhal tracing: the library's one diagnostic channel.
 *
 * ERR_TRACE(level, format, ...) appends one line to the trace log when `level` ANDed with
 * the mask of the control file "/var/log/hal_lib.log.conf" (default 0xFFCB) is non-zero.
 * Returns 0, or -1 only when the lock file cannot be opened. Never allocates on the heap.
 */
#ifndef BAYHAL_ERR_TRACE_H
#define BAYHAL_ERR_TRACE_H

#ifdef __cplusplus
extern "C" {
#endif

#define HAL_TRACE_ERROR 0x1u
#define HAL_TRACE_WARN 0x2u
#define HAL_TRACE_ENTRY 0x4u
#define HAL_TRACE_INFO 0x8u
#define HAL_TRACE_DEVICE 0x10u
#define HAL_TRACE_VERBOSE 0x20u
#define HAL_TRACE_ALWAYS 0xFFFFu

int ERR_TRACE(unsigned int level, const char *format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;

#ifdef __cplusplus
}
#endif

#endif
