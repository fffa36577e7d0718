/* A route's key as the family's own sources read it. Internal; C hosts see an empty header. */
#ifndef QEL_NGMVPN_KEY_H
#define QEL_NGMVPN_KEY_H

#include "qel_ngmvpn_records.h"

#ifdef __cplusplus

/* The key section, which has to be there. */
static inline const QEL_NGMVPN_KEY_AT_S *QEL_NGMVPN_KeyOf_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return reinterpret_cast<const QEL_NGMVPN_KEY_AT_S *>(pstRoute->pucKey);
}

/* Intra I-PMSI and S-PMSI A-D routes: the key types that differ in bit 0x2 alone. */
static inline bool QEL_NGMVPN_IsPmsiAd_(uint32_t uiKeyType)
{
    return (uiKeyType & ~UINT32_C(2)) == QEL_NGMVPN_KEY_INTRA_IPMSI_AD;
}

#endif

#endif
