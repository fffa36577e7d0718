#include "qel_vpnv4mcast_cross.h"

#include "platform/kvo.h"
#include "platform/zvk.h"
#include "qel_check.h"

#include <cstddef>
#include <cstdint>

static constexpr uint32_t QEL_VPNV4MCAST_CROSS_LEN = sizeof(QEL_EXTCOMM_S);
static constexpr uint8_t QEL_VPNV4MCAST_SUB_TYPE_RT = 2;

/* kept: no pointer is checked, a route needs no non-key, and one without route targets has no cross value; the other
 * families differ in all three */
uint32_t QEL_VPNV4MCAST_GetCross(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                                 uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    *ppucCross = nullptr;
    *puiCrossLen = 0;
    *puiMore = 0;
    if (pstRoute->pucExtComm == nullptr || pstRoute->uiExtCommLen == 0) {
        return QEL_OK;
    }
    const uint32_t uiCount = pstRoute->uiExtCommLen / QEL_VPNV4MCAST_CROSS_LEN;
    if (*puiCursor >= uiCount) {
        return QEL_ERR_FAILED;
    }
    for (uint32_t i = *puiCursor; i < uiCount; i++) {
        const uint8_t *pucElement = pstRoute->pucExtComm + static_cast<size_t>(i) * QEL_VPNV4MCAST_CROSS_LEN;
        if (pucElement[0] != QEL_VPNV4MCAST_SUB_TYPE_RT) {
            continue;
        }
        auto *pucCross = static_cast<uint8_t *>(
            ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, QEL_VPNV4MCAST_CROSS_LEN, __FILE__, __LINE__));
        if (QEL_Missing(pucCross)) {
            return QEL_ERR_MEMORY;
        }
        QEL_Copy(pucCross, QEL_VPNV4MCAST_CROSS_LEN, pucElement, QEL_VPNV4MCAST_CROSS_LEN);
        *ppucCross = pucCross;
        *puiCursor = i + 1;
        *puiCrossLen = QEL_VPNV4MCAST_CROSS_LEN;
        *puiMore = i + 1 < uiCount ? 1 : 0;
        return QEL_OK;
    }
    *puiCursor = uiCount;
    return QEL_OK;
}

/* kept: bytes as they lie in memory, not the fields of a community as in the other families; tables were filled so */
int32_t QEL_VPNV4MCAST_CmpCross(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    if (uiLenA != uiLenB) {
        return uiLenA < uiLenB ? QEL_CMP_LESS : QEL_CMP_GREATER;
    }
    const int32_t iResult = KVO_MemCmp(pvA, pvB, uiLenA);
    return (iResult > 0) - (iResult < 0);
}

uint32_t QEL_VPNV4MCAST_OutputCross(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain,
                                    const QEL_VPNV4MCAST_VIEW_S *pstView, uint16_t *pusOffset)
{
    if (QEL_Missing(pstBlock) || QEL_Missing(puiRemain) || QEL_Missing(pstView) || QEL_Missing(pusOffset)) {
        return QEL_ERR_NULL;
    }
    if (pstView->pucCross == nullptr || *puiRemain == 0) {
        return QEL_OK;
    }
    pstBlock->uiValidMask |= QEL_SECTION_CROSS;
    pstBlock->usCrossOffset = *pusOffset;
    pstBlock->usCrossLen = static_cast<uint16_t>(pstView->uiCrossLen);
    QEL_Copy(reinterpret_cast<uint8_t *>(pstBlock) + *pusOffset, *puiRemain, pstView->pucCross, pstView->uiCrossLen);
    *puiRemain -= pstView->uiCrossLen;
    *pusOffset = static_cast<uint16_t>(*pusOffset + pstView->uiCrossLen);
    return QEL_OK;
}
