/* bayhal Net family. */
#ifndef BAYHAL_NET_H
#define BAYHAL_NET_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
