#include "qel_ngmvpn_segment_policy.h"

#include "qel_check.h"
#include "qel_ngmvpn_nlri.h"

int32_t QEL_NGMVPN_CmpImportAttr(const void *pvA, uint32_t /* uiLenA */, const void *pvB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstA = static_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(pvA);
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstB = static_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(pvB);
    int32_t iResult = QEL_NGMVPN_CmpKey(&pstA->stKey, sizeof(QEL_NGMVPN_KEY_S), &pstB->stKey, sizeof(QEL_NGMVPN_KEY_S));
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    iResult = QEL_NGMVPN_CmpRd(&pstA->stKey.stRd, sizeof(QEL_RD_VALUE_S), &pstB->stKey.stRd, sizeof(QEL_RD_VALUE_S));
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    if (pstA->uiPolicyId != pstB->uiPolicyId) {
        return pstA->uiPolicyId > pstB->uiPolicyId ? QEL_CMP_GREATER : QEL_CMP_LESS;
    }
    return QEL_CMP_EQUAL;
}
