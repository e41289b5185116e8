/* bayhal HAL_MB family. */
#ifndef BAYHAL_HAL_MB_H
#define BAYHAL_HAL_MB_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
