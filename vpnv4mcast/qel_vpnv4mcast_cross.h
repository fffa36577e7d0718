/* Route import of the VPNv4 multicast family: the route targets of a route are its cross values. */
#ifndef QEL_VPNV4MCAST_CROSS_H
#define QEL_VPNV4MCAST_CROSS_H

#include "qel_family.h"
#include "qel_vpnv4mcast_records.h"

QEL_EXTERN_C_BEGIN

/* The family's pfGetCross: one route target per call, 8 bytes in host order, which the host owns. *puiCursor is 0 at
 * the first call; *puiMore 1 asks for the next. A walk's last call may find nothing: null and 0. QEL_ERR_FAILED behind
 * the end of the list, QEL_ERR_MEMORY. No pointer is checked. */
uint32_t QEL_VPNV4MCAST_GetCross(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                                 uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* The shorter one first, then by bytes as they lie in memory; -2 after a report for a null pointer. */
int32_t QEL_VPNV4MCAST_CmpCross(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
/* Step of a result block: appends the cross section. *puiRemain is the space left, *pusOffset the next write offset. */
uint32_t QEL_VPNV4MCAST_OutputCross(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain,
                                    const QEL_VPNV4MCAST_VIEW_S *pstView, uint16_t *pusOffset);

QEL_EXTERN_C_END

#endif
