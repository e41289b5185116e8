/* bayhal POE family. */
#ifndef BAYHAL_POE_H
#define BAYHAL_POE_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
