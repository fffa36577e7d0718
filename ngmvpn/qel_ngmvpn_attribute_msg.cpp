#include "qel_ngmvpn_attribute_msg.h"

#include "platform/bounds.h"
#include "qel_check.h"
#include "qel_ngmvpn.h"
#include "qel_ngmvpn_attribute_pkt.h"
#include "qel_ngmvpn_util.h"

#include <cstddef>
#include <cstdint>

/* Community lists. */

/* Lists of both kinds from the message as they came. kept: neither sorted nor freed of duplicates, and a length that is
 * no whole number of elements goes along, unlike in an update; the sender is the owner of the list's order */
static uint32_t QEL_NGMVPN_ParseListTlv_(const uint8_t *pucData, uint32_t uiLen, uint32_t uiElement,
                                         QEL_ROUTE_VIEW_S *pstView, QEL_ROUTE_BLOCK_S **ppstResult,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiLen < uiElement) {
        return QEL_ERR_EXTCOMM_TLV;
    }
    void *pvList = QEL_NGMVPN_Malloc(pstCtx, uiLen);
    if (QEL_Missing(pvList)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pvList, uiLen, uiLen);
    QEL_Copy(pvList, uiLen, pucData, uiLen);
    if (uiElement == sizeof(QEL_EXTCOMM_S)) {
        QEL_NGMVPN_ConvertExtCommunityNTOH(static_cast<QEL_EXTCOMM_S *>(pvList), uiLen / uiElement);
    } else {
        QEL_NGMVPN_ConvertIPv6ExtCommunityNTOH(static_cast<QEL_IPV6_EXTCOMM_S *>(pvList), uiLen / uiElement);
    }
    pstView->usAttrLen = static_cast<uint16_t>(uiLen);
    pstView->pucAttr = QEL_Bytes(pvList);
    const uint32_t uiRet = QEL_NGMVPN_OutputData(ppstResult, pstView, pstCtx->uiMemHandle);
    QEL_NGMVPN_Free(&pvList, pstCtx);
    return uiRet;
}

uint32_t QEL_NGMVPN_ParseRtExtCommunityTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                           QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_EXTCOMM;
    stView.ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    return QEL_NGMVPN_ParseListTlv_(pucData, uiLen, sizeof(QEL_EXTCOMM_S), &stView, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseRtIPv6ExtCommunityTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                               QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_IPV6_EXTCOMM;
    stView.ucAttrType = QEL_ATTR_TYPE_IPV6_EXTCOMM;
    return QEL_NGMVPN_ParseListTlv_(pucData, uiLen, sizeof(QEL_IPV6_EXTCOMM_S), &stView, ppstResult, pstCtx);
}

/* Writes a copy of the list in network order; the route's own list stays in host order. kept: the length is the low 16
 * bits of the route's; the context is not looked at, so that without one a list gives QEL_ERR_MEMORY; and a list of no
 * octets is answered like a failed allocation */
static uint32_t QEL_NGMVPN_FormatListTlv_(const uint8_t *pucList, uint16_t usLen, uint32_t uiElement,
                                          uint8_t **ppucCursor, uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (usLen > uiOutLen) {
        return QEL_ERR_SPACE;
    }
    void *pvCopy = QEL_NGMVPN_Malloc(pstCtx, usLen);
    if (QEL_Missing(pvCopy)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Copy(pvCopy, usLen, pucList, usLen);
    if (uiElement == sizeof(QEL_EXTCOMM_S)) {
        QEL_NGMVPN_ConvertExtCommunityHTON(static_cast<QEL_EXTCOMM_S *>(pvCopy), usLen / uiElement);
    } else {
        QEL_NGMVPN_ConvertIPv6ExtCommunityHTON(static_cast<QEL_IPV6_EXTCOMM_S *>(pvCopy), usLen / uiElement);
    }
    QEL_Copy(*ppucCursor, uiOutLen, pvCopy, usLen);
    QEL_NGMVPN_Free(&pvCopy, pstCtx);
    *ppucCursor += usLen;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatExtCommunityTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                          QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        return QEL_OK;
    }
    return QEL_NGMVPN_FormatListTlv_(pstRoute->pucExtComm, static_cast<uint16_t>(pstRoute->uiExtCommLen),
                                     sizeof(QEL_EXTCOMM_S), ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_NGMVPN_FormatIPv6ExtCommunityTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucIpv6ExtComm == nullptr) {
        return QEL_OK;
    }
    return QEL_NGMVPN_FormatListTlv_(pstRoute->pucIpv6ExtComm, static_cast<uint16_t>(pstRoute->uiIpv6ExtCommLen),
                                     sizeof(QEL_IPV6_EXTCOMM_S), ppucCursor, uiOutLen, pstCtx);
}

/* PMSI tunnel, Prefix-SID and MSID: the packet handlers on a cursor of their own. */

typedef uint32_t (*QEL_NGMVPN_PKT_READER_F)(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                            uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);

static uint32_t QEL_NGMVPN_ParseLikePkt_(QEL_NGMVPN_PKT_READER_F pfReader, const uint8_t *pucData, uint32_t uiLen,
                                         QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint8_t *pucCursor = pucData;
    uint32_t uiMore = 0;
    return pfReader(&pucCursor, uiLen, ppstResult, &uiMore, pstCtx);
}

/* kept: a well-formed tunnel that is not carried is a failure, as the cursor that tells it apart stays in here */
uint32_t QEL_NGMVPN_ParsePmsiTnlTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseLikePkt_(QEL_NGMVPN_ParsePmsiTnl, pucData, uiLen, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseRtPfxSidTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                     QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseLikePkt_(QEL_NGMVPN_ParsePrefixSid, pucData, uiLen, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseRtMsidTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseLikePkt_(QEL_NGMVPN_ParseMsid, pucData, uiLen, ppstResult, pstCtx);
}

/* The two packet handlers take a route that they may write, and do not. */

uint32_t QEL_NGMVPN_FormatRtPfxSidTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_FormatPrefixSid(const_cast<QEL_ROUTE_INFO_S *>(pstRoute), ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_NGMVPN_FormatRtMsidTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_FormatMsid(const_cast<QEL_ROUTE_INFO_S *>(pstRoute), ppucCursor, uiOutLen, pstCtx);
}

/* PMSI tunnel: writing. */

const QEL_NGMVPN_PMSI_TNL_AT_S *QEL_NGMVPN_GetPmsiTnlFromTlv(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiPmsiLen)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(puiPmsiLen)) {
        return nullptr;
    }
    /* kept: the import attribute overrides the route's own tunnel for every caller */
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstImport = pstRoute->pstImportAttr;
    if (pstImport == nullptr) {
        *puiPmsiLen = pstRoute->uiPmsiLen;
        return reinterpret_cast<const QEL_NGMVPN_PMSI_TNL_AT_S *>(pstRoute->pucPmsi);
    }
    *puiPmsiLen = pstImport->stOriginalAttr.usPmsiLen;
    return reinterpret_cast<const QEL_NGMVPN_PMSI_TNL_AT_S *>(pstImport->aucPmsiData +
                                                              pstImport->stOriginalAttr.usPmsiOffset);
}

uint32_t QEL_NGMVPN_FormatPmsiTnlTlvTnlBier_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl,
                                             uint32_t uiOutLen)
{
    if (uiOutLen < QEL_NGMVPN_GetPmsiTnlFmtNeedLen(pstTnl)) {
        return QEL_ERR_SPACE;
    }
    (void)QEL_NGMVPN_FormatPmsiTnlBier_(ppucCursor, pstTnl);
    return QEL_OK;
}

/* Step: the identifier behind the five bytes that are written, each type with its own test of the attribute's room. */
static uint32_t QEL_NGMVPN_FormatTnlIdentifierTlv_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl,
                                                   uint32_t uiPmsiLen, uint32_t uiOutLen)
{
    switch (pstTnl->ucTnlType) {
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        if (uiOutLen < QEL_NGMVPN_GetPmsiTnlFmtNeedLen(pstTnl)) {
            return QEL_ERR_SPACE;
        }
        QEL_NGMVPN_FormatPmsiTnlRsvpTe_(ppucCursor, pstTnl);
        return QEL_OK;
    case QEL_NGMVPN_TNL_MLDP_P2MP:
        if (uiOutLen < QEL_NGMVPN_GetPmsiTnlFmtNeedLen(pstTnl)) {
            return QEL_ERR_SPACE;
        }
        return QEL_NGMVPN_FormatPmsiTnlMldp_(ppucCursor, pstTnl, uiPmsiLen);
    case QEL_NGMVPN_TNL_BIER:
        return QEL_NGMVPN_FormatPmsiTnlTlvTnlBier_(ppucCursor, pstTnl, uiOutLen);
    default:
        /* kept: a failure here, with the five bytes left in the buffer, and five good bytes in an update */
        QEL_Report(pstTnl->ucTnlType);
        return QEL_ERR_FAILED;
    }
}

uint32_t QEL_NGMVPN_FormatPmsiTnlTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     QEL_FAMILY_CTX_S * /* pstCtx */)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiPmsiLen = 0;
    const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl = QEL_NGMVPN_GetPmsiTnlFromTlv(pstRoute, &uiPmsiLen);
    /* an import attribute whose tunnel is empty has none; behind it may stand nothing at all */
    if (pstTnl == nullptr || (pstRoute->pstImportAttr != nullptr && uiPmsiLen == 0)) {
        return QEL_OK;
    }
    if (uiOutLen < QEL_NGMVPN_PMSI_HEADER_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucLocal = *ppucCursor;
    QEL_NGMVPN_FormatPmsiTnlHeader_(&pucLocal, pstTnl);
    const uint32_t uiRet = QEL_NGMVPN_FormatTnlIdentifierTlv_(&pucLocal, pstTnl, uiPmsiLen, uiOutLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *ppucCursor = pucLocal;
    return QEL_OK;
}
