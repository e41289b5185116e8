/* bayhal GPIO family. */
#ifndef BAYHAL_GPIO_H
#define BAYHAL_GPIO_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
