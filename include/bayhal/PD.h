/* bayhal PD family. */
#ifndef BAYHAL_PD_H
#define BAYHAL_PD_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
