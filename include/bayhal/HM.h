/* bayhal HM family. */
#ifndef BAYHAL_HM_H
#define BAYHAL_HM_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
