#include "qel_vpnv4mcast_irt.h"

#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_vpnv4mcast.h"

#include <cstdint>

static constexpr uint32_t QEL_VPNV4MCAST_IRT_LEN = sizeof(QEL_EXTCOMM_S);

/* kept: the import types 0x010A and 0x010B are no targets here, and an unknown type has the code 2; MDT differs in
 * both */
uint32_t QEL_VPNV4MCAST_GetRtValue(const uint8_t **ppucCursor, QEL_EXTCOMM_S *pstRt)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(pstRt)) {
        return QEL_ERR_NULL;
    }
    QEL_Copy(pstRt, sizeof(*pstRt), *ppucCursor, sizeof(*pstRt));
    pstRt->usType = QEL_Swap16(pstRt->usType);
    switch (pstRt->usType) {
    case 0x0002:
        pstRt->usGlobalAdmin = QEL_Swap16(pstRt->usGlobalAdmin);
        pstRt->uiLocalAdmin = QEL_Swap32(pstRt->uiLocalAdmin);
        break;
    case 0x0102:
    case 0x0202:
        pstRt->uiGlobalAdmin = QEL_Swap32(pstRt->uiGlobalAdmin);
        pstRt->usLocalAdmin = QEL_Swap16(pstRt->usLocalAdmin);
        break;
    default:
        return QEL_ERR_ARGUMENT;
    }
    *ppucCursor += sizeof(*pstRt);
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_ParseIrtTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    /* kept: a wrong length is not reported here, though it is on the way out */
    if (uiLen != QEL_VPNV4MCAST_IRT_LEN) {
        return QEL_ERR_ARGUMENT;
    }
    const uint8_t *pucCursor = pucData;
    QEL_EXTCOMM_S stRt;
    const uint32_t uiRet = QEL_VPNV4MCAST_GetRtValue(&pucCursor, &stRt);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_VPNV4MCAST_VIEW_S stView = {};
    stView.uiCrossLen = sizeof(stRt);
    stView.pucCross = QEL_Bytes(&stRt);
    return QEL_VPNV4MCAST_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

/* kept: the context is not looked at, and a type that is no target is swapped like a community; the family has no
 * conversion of a single target */
uint32_t QEL_VPNV4MCAST_FormatIrtTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     QEL_FAMILY_CTX_S * /* pstCtx */)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucCross == nullptr) {
        return QEL_OK;
    }
    /* kept: the room goes ahead of the length, and a wrong length is reported; hosts tell the two codes apart */
    if (pstRoute->uiCrossLen > uiOutLen) {
        return QEL_ERR_SPACE;
    }
    if (pstRoute->uiCrossLen != QEL_VPNV4MCAST_IRT_LEN) {
        QEL_Report(pstRoute->uiCrossLen);
        return QEL_ERR_ARGUMENT;
    }
    QEL_EXTCOMM_S stRt;
    QEL_Copy(&stRt, sizeof(stRt), pstRoute->pucCross, sizeof(stRt));
    QEL_VPNV4MCAST_ConvertExtCommunityHTON(&stRt, 1);
    QEL_Copy(*ppucCursor, uiOutLen, &stRt, sizeof(stRt));
    *ppucCursor += sizeof(stRt);
    return QEL_OK;
}
