/* bayhal HAL_Conf family. */
#ifndef BAYHAL_HAL_CONF_H
#define BAYHAL_HAL_CONF_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
