/* bayhal SE family. */
#ifndef BAYHAL_SE_H
#define BAYHAL_SE_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
