/* Replacement of a route's tunnel and Segmented Next-Hop at a segmentation point (RFC 7524). */
#ifndef QEL_NGMVPN_SEGMENT_POLICY_H
#define QEL_NGMVPN_SEGMENT_POLICY_H

#include "qel_family.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

/* Compares two import attribute records by key, RD and policy id: 1, 0, -1, or -2 after a report for a null pointer.
 * Records that differ in community or tunnel alone are equal. uiLenA is not read. */
int32_t QEL_NGMVPN_CmpImportAttr(const void *pvA, uint32_t uiLenA, const void *pvB);

QEL_EXTERN_C_END

#endif
