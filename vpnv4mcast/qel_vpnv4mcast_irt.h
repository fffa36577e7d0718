/* Import targets of the VPNv4 multicast family in messages: one route target of 8 bytes in network order. */
#ifndef QEL_VPNV4MCAST_IRT_H
#define QEL_VPNV4MCAST_IRT_H

#include "qel_family.h"
#include "qel_vpnv4mcast_records.h"

QEL_EXTERN_C_BEGIN

/* A route target (RFC 4360) from the cursor to host order. QEL_ERR_ARGUMENT, with the cursor unmoved and the value as
 * on the wire, for a type other than 0x0002, 0x0102 and 0x0202. */
uint32_t QEL_VPNV4MCAST_GetRtValue(const uint8_t **ppucCursor, QEL_EXTCOMM_S *pstRt);
/* The target as the cross section of a block. QEL_ERR_ARGUMENT for a length other than 8, without a report. */
uint32_t QEL_VPNV4MCAST_ParseIrtTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                    QEL_FAMILY_CTX_S *pstCtx);
/* The cross section; none: QEL_OK, nothing written. QEL_ERR_SPACE; QEL_ERR_ARGUMENT after a report for a length other
 * than 8. */
uint32_t QEL_VPNV4MCAST_FormatIrtTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
