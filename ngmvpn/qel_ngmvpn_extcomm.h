/* The order of community lists as numbers, for the compares and the sorts. Internal; C hosts see an empty header. */
#ifndef QEL_NGMVPN_EXTCOMM_H
#define QEL_NGMVPN_EXTCOMM_H

#include "qel_route.h"

#ifdef __cplusplus

#include <cstdint>

QEL_EXTERN_C_BEGIN

/* What an element weighs: it stands below another if it weighs less, and is equal to it, octet for octet, if it weighs
 * the same. */
uint64_t QEL_NGMVPN_Weight_(const QEL_EXTCOMM_S *pstExtComm);

/* The same of an IPv6 element, whose weight has as many octets as itself. */
typedef struct {
    uint64_t aullHigh[2];
    uint32_t uiLow;
} QEL_NGMVPN_IPV6_WEIGHT_S;

QEL_NGMVPN_IPV6_WEIGHT_S QEL_NGMVPN_IPv6Weight_(const QEL_IPV6_EXTCOMM_S *pstExtComm);
bool QEL_NGMVPN_WeighsLess_(const QEL_NGMVPN_IPV6_WEIGHT_S &stA, const QEL_NGMVPN_IPV6_WEIGHT_S &stB);

QEL_EXTERN_C_END

#endif

#endif
