#include "qel_ngmvpn_attribute_pkt.h"

#include "platform/bounds.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn.h"
#include "qel_ngmvpn_util.h"

#include <cstddef>
#include <cstdint>

/* Extended communities and IPv6 extended communities. */

uint32_t QEL_NGMVPN_CheckExtCommLen(uint32_t uiLen)
{
    if (uiLen == 0) {
        return QEL_ERR_EXTCOMM_EMPTY;
    }
    return uiLen % sizeof(QEL_EXTCOMM_S) == 0 ? QEL_OK : QEL_ERR_EXTCOMM_LEN;
}

/* The wire list in the work buffer to host order, sorted and free of duplicates. */
static uint32_t QEL_NGMVPN_TakeList_(uint8_t *pucWork, uint32_t uiElement, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiElement == sizeof(QEL_EXTCOMM_S)) {
        auto *pastList = reinterpret_cast<QEL_EXTCOMM_S *>(pucWork);
        QEL_NGMVPN_ConvertExtCommunityNTOH(pastList, *pusCount);
        return QEL_NGMVPN_CleanupExtCommunity(pastList, pusCount, pstCtx);
    }
    auto *pastList = reinterpret_cast<QEL_IPV6_EXTCOMM_S *>(pucWork);
    QEL_NGMVPN_ConvertIPv6ExtCommunityNTOH(pastList, *pusCount);
    return QEL_NGMVPN_CleanupIPv6ExtCommunity(pastList, pusCount, pstCtx);
}

static uint32_t QEL_NGMVPN_OutputList_(uint8_t *pucWork, uint32_t uiLen, uint32_t uiElement, QEL_ROUTE_VIEW_S *pstView,
                                       QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: the count has 16 bits; no path attribute has more elements, and what is behind is not looked at */
    uint16_t usCount = static_cast<uint16_t>(uiLen / uiElement);
    const uint32_t uiRet = QEL_NGMVPN_TakeList_(pucWork, uiElement, &usCount, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    pstView->usAttrLen = static_cast<uint16_t>(usCount * uiElement);
    pstView->pucAttr = pucWork;
    return QEL_NGMVPN_OutputData(ppstResult, pstView, pstCtx->uiMemHandle);
}

/* Both community attributes, behind their length tests: the label of the section stands in the view. */
static uint32_t QEL_NGMVPN_ParseList_(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t uiElement,
                                      QEL_ROUTE_VIEW_S *pstView, QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    auto *pucWork = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (QEL_Missing(pucWork)) {
        return QEL_ERR_ALLOC;
    }
    QEL_Clear(pucWork, uiLen, uiLen);
    QEL_Copy(pucWork, uiLen, *ppucCursor, uiLen);
    const uint32_t uiRet = QEL_NGMVPN_OutputList_(pucWork, uiLen, uiElement, pstView, ppstResult, pstCtx);
    ZVK_Free_F(pucWork, __FILE__, __LINE__);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *puiMore = 0;
    *ppucCursor += uiLen;
    return QEL_OK;
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_ParseExtCommunity(const uint8_t **ppucCursor, uint32_t uiLen,
                                                   QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                                   QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiRet = QEL_NGMVPN_CheckExtCommLen(uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_EXTCOMM;
    stView.ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    return QEL_NGMVPN_ParseList_(ppucCursor, uiLen, sizeof(QEL_EXTCOMM_S), &stView, ppstResult, puiMore, pstCtx);
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_ParseIPv6ExtCommunity(const uint8_t **ppucCursor, uint32_t uiLen,
                                                       QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                                       QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    /* kept: an empty attribute has the code of a broken length here, and a code of its own in attribute 16; the core
     * tells the two apart */
    if (uiLen < sizeof(QEL_IPV6_EXTCOMM_S) || uiLen % sizeof(QEL_IPV6_EXTCOMM_S) != 0) {
        return QEL_ERR_EXTCOMM_LEN;
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_IPV6_EXTCOMM;
    stView.ucAttrType = QEL_ATTR_TYPE_IPV6_EXTCOMM;
    return QEL_NGMVPN_ParseList_(ppucCursor, uiLen, sizeof(QEL_IPV6_EXTCOMM_S), &stView, ppstResult, puiMore, pstCtx);
}

/* Writes a copy of the list in network order; the route's own list stays in host order. kept: the length is the low 16
 * bits of the route's, as a path attribute has no more. */
static uint32_t QEL_NGMVPN_FormatList_(const uint8_t *pucList, uint16_t usLen, uint32_t uiElement, uint8_t **ppucCursor,
                                       uint32_t uiOutLen, const QEL_FAMILY_CTX_S *pstCtx)
{
    if (usLen > uiOutLen) {
        return QEL_ERR_SPACE;
    }
    auto *pucCopy = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, usLen, __FILE__, __LINE__));
    if (QEL_Missing(pucCopy)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Copy(pucCopy, usLen, pucList, usLen);
    const uint32_t uiCount = usLen / uiElement;
    if (uiElement == sizeof(QEL_EXTCOMM_S)) {
        QEL_NGMVPN_ConvertExtCommunityHTON(reinterpret_cast<QEL_EXTCOMM_S *>(pucCopy), uiCount);
    } else {
        QEL_NGMVPN_ConvertIPv6ExtCommunityHTON(reinterpret_cast<QEL_IPV6_EXTCOMM_S *>(pucCopy), uiCount);
    }
    /* kept: a rest of less than one element goes out as it stands; the length is the route's own */
    QEL_Copy(*ppucCursor, uiOutLen, pucCopy, usLen);
    ZVK_Free_F(pucCopy, __FILE__, __LINE__);
    *ppucCursor += usLen;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatExtCommunity(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                       QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        return QEL_OK;
    }
    return QEL_NGMVPN_FormatList_(pstRoute->pucExtComm, static_cast<uint16_t>(pstRoute->uiExtCommLen),
                                  sizeof(QEL_EXTCOMM_S), ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_NGMVPN_FormatIPv6ExtCommunity(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                           QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucIpv6ExtComm == nullptr) {
        return QEL_OK;
    }
    return QEL_NGMVPN_FormatList_(pstRoute->pucIpv6ExtComm, static_cast<uint16_t>(pstRoute->uiIpv6ExtCommLen),
                                  sizeof(QEL_IPV6_EXTCOMM_S), ppucCursor, uiOutLen, pstCtx);
}

/* PMSI tunnel. */

static constexpr uint8_t QEL_NGMVPN_PMSI_UNKNOWN_FLAGS = 0xDE; /* all but 0x01 and 0x20 */
static constexpr uint32_t QEL_NGMVPN_RSVP_TE_IDENT_LEN = 12;
static constexpr uint32_t QEL_NGMVPN_MLDP_FIXED_LEN = 10;
static constexpr uint32_t QEL_NGMVPN_MLDP_IDENT_MAX = 250;
static constexpr uint32_t QEL_NGMVPN_BIER_IPV4_IDENT_LEN = 7;
static constexpr uint32_t QEL_NGMVPN_BIER_IPV6_IDENT_LEN = 19;
static constexpr uint8_t QEL_NGMVPN_OCTETS_IPV4 = 4;
static constexpr uint8_t QEL_NGMVPN_OCTETS_IPV6 = 16;

static uint32_t QEL_NGMVPN_LoadBe24_(const uint8_t *pucFrom)
{
    return (static_cast<uint32_t>(pucFrom[0]) << 16) | QEL_LoadBe16(pucFrom + 1);
}

static uint32_t QEL_NGMVPN_ParseTnlIdentifierRsvpTe_(const uint8_t **ppucCursor, uint32_t uiLen,
                                                     QEL_NGMVPN_PMSI_TNL_S *pstTnl)
{
    if (uiLen != QEL_NGMVPN_RSVP_TE_IDENT_LEN) {
        return QEL_ERR_PMSI_LEN;
    }
    const uint8_t *pucCursor = *ppucCursor;
    pstTnl->uTnl.stRsvpTe.uiP2mpId = QEL_LoadBe32(pucCursor);
    pstTnl->uTnl.stRsvpTe.usReserved = QEL_LoadBe16(pucCursor + 4);
    pstTnl->uTnl.stRsvpTe.usTunnelId = QEL_LoadBe16(pucCursor + 6);
    pstTnl->uTnl.stRsvpTe.uiExtTunnelId = QEL_LoadBe32(pucCursor + 8);
    if (pstTnl->uTnl.stRsvpTe.usReserved != 0) {
        return QEL_ERR_PMSI_IDENT;
    }
    *ppucCursor += QEL_NGMVPN_RSVP_TE_IDENT_LEN;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_CheckTnlIdentifierTunnelLdpP2mp(QEL_NGMVPN_PMSI_TNL_S *pstTnl, const uint8_t **ppucCursor,
                                                    uint32_t uiLen)
{
    if (uiLen < QEL_NGMVPN_MLDP_FIXED_LEN || uiLen > QEL_NGMVPN_MLDP_IDENT_MAX) {
        return QEL_ERR_PMSI_LEN;
    }
    auto *pstMldp = &pstTnl->uTnl.stMldp;
    const uint8_t *pucCursor = *ppucCursor;
    pstMldp->ucFecType = pucCursor[0];
    pstMldp->usAddrFamily = QEL_LoadBe16(pucCursor + 1);
    if (pstMldp->usAddrFamily != 1 && pstMldp->usAddrFamily != 2) {
        return QEL_ERR_PMSI_IDENT;
    }
    pstMldp->ucAddrLen = pucCursor[3];
    if (pstMldp->ucAddrLen != (pstMldp->usAddrFamily == 1 ? QEL_NGMVPN_OCTETS_IPV4 : QEL_NGMVPN_OCTETS_IPV6)) {
        return QEL_ERR_PMSI_LEN;
    }
    /* kept: the root is read as four octets in both families, so that an IPv6 root's next two octets are taken for the
     * opaque length; the record has room for a word, and the far end reads it so */
    pstMldp->uiRootAddr = QEL_LoadBe32(pucCursor + 4);
    pstMldp->usOpaqueLen = QEL_LoadBe16(pucCursor + 8);
    *ppucCursor += QEL_NGMVPN_MLDP_FIXED_LEN;
    const uint32_t uiSum = pstMldp->usOpaqueLen + 6U + pstMldp->ucAddrLen;
    return uiSum == uiLen ? QEL_OK : QEL_ERR_PMSI_LEN;
}

static uint32_t QEL_NGMVPN_ParseTnlIdentifierMldp_(const uint8_t **ppucCursor, uint32_t uiLen,
                                                   QEL_NGMVPN_PMSI_TNL_S *pstTnl, uint32_t *puiSectionLen)
{
    const uint8_t *pucCursor = *ppucCursor;
    const uint32_t uiRet = QEL_NGMVPN_CheckTnlIdentifierTunnelLdpP2mp(pstTnl, &pucCursor, uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const uint16_t usOpaqueLen = pstTnl->uTnl.stMldp.usOpaqueLen;
    QEL_Copy(pstTnl->uTnl.stMldp.aucOpaque, sizeof(pstTnl->uTnl.stMldp.aucOpaque), pucCursor, usOpaqueLen);
    *puiSectionLen += usOpaqueLen;
    *ppucCursor = pucCursor + usOpaqueLen;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_ParseTnlIdentifierTunnelBier_(const uint8_t **ppucCursor, uint32_t uiLen,
                                                  QEL_NGMVPN_PMSI_TNL_S *pstTnl)
{
    if (uiLen != QEL_NGMVPN_BIER_IPV4_IDENT_LEN && uiLen != QEL_NGMVPN_BIER_IPV6_IDENT_LEN) {
        return QEL_ERR_PMSI_LEN;
    }
    auto *pstBier = &pstTnl->uTnl.stBier;
    const uint8_t *pucCursor = *ppucCursor;
    pstBier->ucSubDomainId = pucCursor[0];
    pstBier->usBfrId = QEL_LoadBe16(pucCursor + 1);
    if (uiLen == QEL_NGMVPN_BIER_IPV4_IDENT_LEN) {
        pstBier->ucBfrPrefixLen = QEL_NGMVPN_OCTETS_IPV4;
        pstBier->stBfrPrefix.uiIpv4 = QEL_LoadBe32(pucCursor + 3);
    } else {
        pstBier->ucBfrPrefixLen = QEL_NGMVPN_OCTETS_IPV6;
        QEL_Copy(pstBier->stBfrPrefix.aucIpv6, sizeof(pstBier->stBfrPrefix.aucIpv6), pucCursor + 3,
                 QEL_NGMVPN_OCTETS_IPV6);
    }
    *ppucCursor += uiLen;
    return QEL_OK;
}

/* A well-formed tunnel that is not carried: the cursor moves behind it. */
static uint32_t QEL_NGMVPN_StepOverTnl_(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t uiLowest,
                                        uint32_t uiHighest)
{
    if (uiLen < uiLowest || uiLen > uiHighest) {
        return QEL_ERR_PMSI_LEN;
    }
    *ppucCursor += uiLen;
    return QEL_ERR_TNL_NOT_CARRIED;
}

static uint32_t QEL_NGMVPN_TnlSectionLen_(uint8_t ucTnlType, uint32_t uiLen)
{
    switch (ucTnlType) {
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        return QEL_NGMVPN_PMSI_SECTION_RSVP_TE;
    case QEL_NGMVPN_TNL_MLDP_P2MP:
        return QEL_NGMVPN_PMSI_SECTION_MLDP_BASE;
    case QEL_NGMVPN_TNL_BIER:
        return uiLen == QEL_NGMVPN_BIER_IPV4_IDENT_LEN ? QEL_NGMVPN_PMSI_SECTION_BIER_IPV4
                                                       : QEL_NGMVPN_PMSI_SECTION_BIER_IPV6;
    default:
        return offsetof(QEL_NGMVPN_PMSI_TNL_S, uTnl);
    }
}

uint32_t QEL_NGMVPN_ParseTnlIdentifier(const uint8_t **ppucCursor, QEL_NGMVPN_PMSI_TNL_S *pstTnl, uint32_t uiLen,
                                       uint32_t *puiSectionLen)
{
    *puiSectionLen = QEL_NGMVPN_TnlSectionLen_(pstTnl->ucTnlType, uiLen);
    switch (pstTnl->ucTnlType) {
    case QEL_NGMVPN_TNL_NONE:
        return uiLen == 0 ? QEL_ERR_PMSI_NO_TUNNEL : QEL_ERR_PMSI_LEN;
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        return QEL_NGMVPN_ParseTnlIdentifierRsvpTe_(ppucCursor, uiLen, pstTnl);
    case QEL_NGMVPN_TNL_MLDP_P2MP:
        return QEL_NGMVPN_ParseTnlIdentifierMldp_(ppucCursor, uiLen, pstTnl, puiSectionLen);
    case QEL_NGMVPN_TNL_PIM_SSM:
    case QEL_NGMVPN_TNL_PIM_SM:
    case QEL_NGMVPN_TNL_BIDIR_PIM:
        return QEL_NGMVPN_StepOverTnl_(ppucCursor, uiLen, 8, 8);
    case QEL_NGMVPN_TNL_INGRESS_REPLICATION:
        /* kept: the four-octet form alone; an IPv6 ingress replication tunnel is refused and not stepped over */
        return QEL_NGMVPN_StepOverTnl_(ppucCursor, uiLen, 4, 4);
    case QEL_NGMVPN_TNL_MLDP_MP2MP:
        return QEL_NGMVPN_StepOverTnl_(ppucCursor, uiLen, QEL_NGMVPN_MLDP_FIXED_LEN, QEL_NGMVPN_MLDP_IDENT_MAX);
    case QEL_NGMVPN_TNL_BIER:
        return QEL_NGMVPN_ParseTnlIdentifierTunnelBier_(ppucCursor, uiLen, pstTnl);
    default:
        return QEL_NGMVPN_StepOverTnl_(ppucCursor, uiLen, 0, UINT32_MAX);
    }
}

uint32_t QEL_NGMVPN_ReadPmsiTnl_(const uint8_t **ppucCursor, uint32_t uiLen, QEL_NGMVPN_PMSI_TNL_S *pstTnl,
                                 uint32_t *puiSectionLen)
{
    const uint8_t *pucHeader = *ppucCursor;
    pstTnl->ucFlags = pucHeader[0];
    if ((pstTnl->ucFlags & QEL_NGMVPN_PMSI_UNKNOWN_FLAGS) != 0) {
        return QEL_ERR_PMSI_FLAGS;
    }
    pstTnl->ucTnlType = pucHeader[1];
    /* kept: the 24 bits as they stand, not shifted to a label; the low four come back on the wire */
    pstTnl->uiLabel = QEL_NGMVPN_LoadBe24_(pucHeader + 2);
    *ppucCursor += QEL_NGMVPN_PMSI_HEADER_LEN;
    return QEL_NGMVPN_ParseTnlIdentifier(ppucCursor, pstTnl, uiLen - QEL_NGMVPN_PMSI_HEADER_LEN, puiSectionLen);
}

/* Reads the attribute into the record and hands it out; *ppucLocal ends behind what was read. */
static uint32_t QEL_NGMVPN_TakePmsiTnl_(const uint8_t **ppucLocal, uint32_t uiLen, QEL_NGMVPN_PMSI_TNL_S *pstTnl,
                                        QEL_ROUTE_BLOCK_S **ppstResult, const QEL_FAMILY_CTX_S *pstCtx)
{
    uint32_t uiSectionLen = 0;
    const uint32_t uiRet = QEL_NGMVPN_ReadPmsiTnl_(ppucLocal, uiLen, pstTnl, &uiSectionLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_PMSI;
    stView.ucAttrType = QEL_ATTR_TYPE_PMSI;
    stView.usAttrLen = static_cast<uint16_t>(uiSectionLen);
    stView.pucAttr = QEL_Bytes(pstTnl);
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_NGMVPN_ParsePmsiTnl(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                 uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen < QEL_NGMVPN_PMSI_HEADER_LEN) {
        return QEL_ERR_PMSI_LEN;
    }
    void *pvTnl = QEL_NGMVPN_Malloc(pstCtx, sizeof(QEL_NGMVPN_PMSI_TNL_S));
    if (QEL_Missing(pvTnl)) {
        return QEL_ERR_ALLOC;
    }
    QEL_Clear(pvTnl, sizeof(QEL_NGMVPN_PMSI_TNL_S), sizeof(QEL_NGMVPN_PMSI_TNL_S));
    const uint8_t *pucLocal = *ppucCursor;
    const uint32_t uiRet =
        QEL_NGMVPN_TakePmsiTnl_(&pucLocal, uiLen, static_cast<QEL_NGMVPN_PMSI_TNL_S *>(pvTnl), ppstResult, pstCtx);
    QEL_NGMVPN_Free(&pvTnl, pstCtx);
    /* kept: a tunnel that is not carried is passed over with the code of a refused identifier; the core tells the two
     * apart by the moved cursor */
    if (uiRet != QEL_OK && uiRet != QEL_ERR_TNL_NOT_CARRIED) {
        return uiRet;
    }
    *puiMore = 0;
    *ppucCursor = pucLocal;
    return uiRet == QEL_OK ? QEL_OK : QEL_ERR_PMSI_IDENT;
}

uint32_t QEL_NGMVPN_GetPmsiTnlFmtNeedLen(const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl)
{
    if (pstTnl == nullptr) {
        return 0;
    }
    switch (pstTnl->ucTnlType) {
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        return QEL_NGMVPN_PMSI_HEADER_LEN + QEL_NGMVPN_RSVP_TE_IDENT_LEN;
    case QEL_NGMVPN_TNL_MLDP_P2MP:
        return QEL_NGMVPN_PMSI_HEADER_LEN + QEL_NGMVPN_MLDP_FIXED_LEN + pstTnl->uTnl.stMldp.usOpaqueLen;
    case QEL_NGMVPN_TNL_BIER:
        return QEL_NGMVPN_PMSI_HEADER_LEN + (pstTnl->uTnl.stBier.ucBfrPrefixLen == QEL_NGMVPN_OCTETS_IPV4
                                                 ? QEL_NGMVPN_BIER_IPV4_IDENT_LEN
                                                 : QEL_NGMVPN_BIER_IPV6_IDENT_LEN);
    default:
        return QEL_NGMVPN_PMSI_HEADER_LEN;
    }
}

void QEL_NGMVPN_FormatPmsiTnlHeader_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl)
{
    uint8_t *pucCursor = *ppucCursor;
    pucCursor[0] = pstTnl->ucFlags;
    pucCursor[1] = pstTnl->ucTnlType;
    pucCursor[2] = static_cast<uint8_t>(pstTnl->uiLabel >> 16);
    QEL_StoreBe16(pucCursor + 3, static_cast<uint16_t>(pstTnl->uiLabel));
    *ppucCursor += QEL_NGMVPN_PMSI_HEADER_LEN;
}

void QEL_NGMVPN_FormatPmsiTnlRsvpTe_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl)
{
    uint8_t *pucCursor = *ppucCursor;
    QEL_StoreBe32(pucCursor, pstTnl->uTnl.stRsvpTe.uiP2mpId);
    QEL_StoreBe16(pucCursor + 4, 0); /* kept: 0 whatever the record holds there; receivers refuse anything else */
    QEL_StoreBe16(pucCursor + 6, pstTnl->uTnl.stRsvpTe.usTunnelId);
    QEL_StoreBe32(pucCursor + 8, pstTnl->uTnl.stRsvpTe.uiExtTunnelId);
    *ppucCursor += QEL_NGMVPN_RSVP_TE_IDENT_LEN;
}

uint32_t QEL_NGMVPN_FormatPmsiTnlMldp_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl, uint32_t uiPmsiLen)
{
    uint8_t *pucCursor = *ppucCursor;
    const uint16_t usOpaqueLen = pstTnl->uTnl.stMldp.usOpaqueLen;
    pucCursor[0] = pstTnl->uTnl.stMldp.ucFecType;
    QEL_StoreBe16(pucCursor + 1, pstTnl->uTnl.stMldp.usAddrFamily);
    pucCursor[3] = pstTnl->uTnl.stMldp.ucAddrLen;
    QEL_StoreBe32(pucCursor + 4, pstTnl->uTnl.stMldp.uiRootAddr);
    QEL_StoreBe16(pucCursor + 8, usOpaqueLen);
    if (usOpaqueLen + QEL_NGMVPN_PMSI_HEADER_LEN + QEL_NGMVPN_MLDP_FIXED_LEN > uiPmsiLen) {
        QEL_Report(uiPmsiLen);
        return QEL_ERR_FAILED;
    }
    /* kept: an opaque value above 240 bytes is not copied, only reported, and the cursor moves by its length all the
     * same; the length octets have been promised to the reader */
    QEL_Copy(pucCursor + QEL_NGMVPN_MLDP_FIXED_LEN, QEL_NGMVPN_OPAQUE_MAX, pstTnl->uTnl.stMldp.aucOpaque, usOpaqueLen);
    *ppucCursor += QEL_NGMVPN_MLDP_FIXED_LEN + usOpaqueLen;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatPmsiTnlBier_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl)
{
    uint8_t *pucCursor = *ppucCursor;
    const auto *pucPrefix = QEL_Bytes(&pstTnl->uTnl.stBier.stBfrPrefix);
    pucCursor[0] = pstTnl->uTnl.stBier.ucSubDomainId;
    QEL_StoreBe16(pucCursor + 1, pstTnl->uTnl.stBier.usBfrId);
    /* kept: any prefix length but 4 counts as 16, here and in the need; the two must agree */
    uint32_t uiLen = QEL_NGMVPN_BIER_IPV6_IDENT_LEN;
    if (pstTnl->uTnl.stBier.ucBfrPrefixLen == QEL_NGMVPN_OCTETS_IPV4) {
        QEL_StoreBe32(pucCursor + 3, QEL_Load32(pucPrefix));
        uiLen = QEL_NGMVPN_BIER_IPV4_IDENT_LEN;
    } else {
        QEL_Copy(pucCursor + 3, QEL_NGMVPN_OCTETS_IPV6, pucPrefix, QEL_NGMVPN_OCTETS_IPV6);
    }
    *ppucCursor += uiLen;
    return uiLen;
}

static uint32_t QEL_NGMVPN_FormatTnlIdentifier_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl,
                                                uint32_t uiPmsiLen)
{
    switch (pstTnl->ucTnlType) {
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        QEL_NGMVPN_FormatPmsiTnlRsvpTe_(ppucCursor, pstTnl);
        return QEL_OK;
    case QEL_NGMVPN_TNL_MLDP_P2MP:
        return QEL_NGMVPN_FormatPmsiTnlMldp_(ppucCursor, pstTnl, uiPmsiLen);
    case QEL_NGMVPN_TNL_BIER:
        QEL_NGMVPN_FormatPmsiTnlBier_(ppucCursor, pstTnl);
        return QEL_OK;
    default:
        return QEL_OK;
    }
}

uint32_t QEL_NGMVPN_FormatPmsiTnl(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                  QEL_FAMILY_CTX_S * /* pstCtx */)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl = reinterpret_cast<const QEL_NGMVPN_PMSI_TNL_AT_S *>(pstRoute->pucPmsi);
    const uint32_t uiNeed = QEL_NGMVPN_GetPmsiTnlFmtNeedLen(pstTnl);
    if (uiNeed == 0) {
        return QEL_OK;
    }
    if (uiNeed > uiOutLen) {
        return QEL_ERR_SPACE;
    }
    /* kept: a refusal leaves the caller's cursor alone although octets have been written behind it; it goes on from
     * there */
    uint8_t *pucLocal = *ppucCursor;
    QEL_NGMVPN_FormatPmsiTnlHeader_(&pucLocal, pstTnl);
    const uint32_t uiRet = QEL_NGMVPN_FormatTnlIdentifier_(&pucLocal, pstTnl, pstRoute->uiPmsiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const auto ulWritten = static_cast<size_t>(pucLocal - *ppucCursor);
    if (ulWritten > uiOutLen) {
        QEL_Report(ulWritten);
        return QEL_ERR_FAILED;
    }
    *ppucCursor = pucLocal;
    return QEL_OK;
}

/* Prefix-SID. */

/* Where the fields of the attribute stand; the reserved octets and the SID flags are not read. */
static constexpr uint32_t QEL_NGMVPN_PFXSID_SUBTLV_AT = 4;
static constexpr uint32_t QEL_NGMVPN_PFXSID_SID_AT = 8;
static constexpr uint32_t QEL_NGMVPN_PFXSID_BEHAVIOR_AT = 25;
static constexpr uint8_t QEL_NGMVPN_SRV6_L3_SERVICE_TLV = 5; /* RFC 9252, section 2 */
static constexpr uint8_t QEL_NGMVPN_SRV6_SID_INFO_SUBTLV = 1;
static constexpr uint16_t QEL_NGMVPN_SRV6_L3_SERVICE_LEN = 25;
static constexpr uint16_t QEL_NGMVPN_SRV6_SID_INFO_LEN = 21;

void QEL_NGMVPN_TakeSid_(uint32_t *pauiSid, const uint8_t *pucWire)
{
    static constexpr size_t ulSidLen = 4 * sizeof(uint32_t);
    QEL_Copy(pauiSid, ulSidLen, pucWire, ulSidLen);
    for (uint32_t uiWord = 0; uiWord < 4; uiWord++) {
        pauiSid[uiWord] = QEL_Swap32(pauiSid[uiWord]);
    }
}

uint32_t QEL_NGMVPN_ParsePktPrefixSid_(const uint8_t **ppucCursor, QEL_FAMILY_CTX_S * /* pstCtx */)
{
    const uint8_t *pucTlv = *ppucCursor;
    const uint8_t *pucSubTlv = pucTlv + QEL_NGMVPN_PFXSID_SUBTLV_AT;
    if (pucTlv[0] != QEL_NGMVPN_SRV6_L3_SERVICE_TLV) {
        return QEL_ERR_NO_ENTRY;
    }
    if (QEL_LoadBe16(pucTlv + 1) != QEL_NGMVPN_SRV6_L3_SERVICE_LEN) {
        return QEL_ERR_PFXSID_TLV;
    }
    if (pucSubTlv[0] != QEL_NGMVPN_SRV6_SID_INFO_SUBTLV) {
        return QEL_ERR_NO_ENTRY;
    }
    if (QEL_LoadBe16(pucSubTlv + 1) != QEL_NGMVPN_SRV6_SID_INFO_LEN) {
        return QEL_ERR_PFXSID_TLV;
    }
    *ppucCursor += QEL_NGMVPN_PFXSID_SID_AT;
    return QEL_OK;
}

void QEL_NGMVPN_FillPfxSid_(QEL_NGMVPN_PFXSID_S *pstSid, const uint8_t *pucAttr)
{
    QEL_NGMVPN_TakeSid_(pstSid->auiSid, pucAttr + QEL_NGMVPN_PFXSID_SID_AT);
    QEL_Copy(pstSid->aucRawTlv, sizeof(pstSid->aucRawTlv), pucAttr, QEL_NGMVPN_PFXSID_ATTR_LEN);
    pstSid->usEndpointBehavior = QEL_LoadBe16(pucAttr + QEL_NGMVPN_PFXSID_BEHAVIOR_AT);
    pstSid->usReserved = 0;
}

static uint32_t QEL_NGMVPN_TakePrefixSid_(const uint8_t *pucAttr, QEL_NGMVPN_PFXSID_S *pstSid,
                                          QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    const uint8_t *pucSid = pucAttr;
    const uint32_t uiRet = QEL_NGMVPN_ParsePktPrefixSid_(&pucSid, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_FillPfxSid_(pstSid, pucAttr);
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_PFXSID;
    stView.ucAttrType = QEL_ATTR_TYPE_PFXSID;
    stView.usAttrLen = sizeof(QEL_NGMVPN_PFXSID_S);
    stView.pucAttr = QEL_Bytes(pstSid);
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_NGMVPN_ParsePrefixSid(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen != QEL_NGMVPN_PFXSID_ATTR_LEN) {
        return QEL_ERR_PFXSID_LEN;
    }
    auto *pstSid = static_cast<QEL_NGMVPN_PFXSID_S *>(
        ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, sizeof(QEL_NGMVPN_PFXSID_S), __FILE__, __LINE__));
    if (QEL_Missing(pstSid)) {
        return QEL_ERR_ALLOC;
    }
    const uint32_t uiRet = QEL_NGMVPN_TakePrefixSid_(*ppucCursor, pstSid, ppstResult, pstCtx);
    ZVK_Free_F(pstSid, __FILE__, __LINE__);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *puiMore = 0;
    *ppucCursor += QEL_NGMVPN_PFXSID_ATTR_LEN;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatPrefixSid(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucPfxSid == nullptr) {
        return QEL_OK;
    }
    if (uiOutLen < QEL_NGMVPN_PFXSID_ATTR_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_Copy(*ppucCursor, uiOutLen, pstRoute->pucPfxSid + offsetof(QEL_NGMVPN_PFXSID_S, aucRawTlv),
             QEL_NGMVPN_PFXSID_ATTR_LEN);
    *ppucCursor += QEL_NGMVPN_PFXSID_ATTR_LEN;
    return QEL_OK;
}

/* MSID. */

static constexpr uint32_t QEL_NGMVPN_MSID_ATTR_LEN = 20; /* with one structure sub-sub-TLV: 28 */
static constexpr uint32_t QEL_NGMVPN_MSID_STRUCTURE_BIT = 0x08;
static constexpr uint32_t QEL_NGMVPN_MSID_TLV_HEADER_LEN = 3;
static constexpr uint16_t QEL_NGMVPN_MSID_SUBTLV_MIN = 17;
static constexpr uint16_t QEL_NGMVPN_MSID_STRUCTURE_LEN = 5;

uint32_t QEL_NGMVPN_ParsePktMsid_(const uint8_t **ppucCursor, const uint8_t *pucEnd, QEL_NGMVPN_MSID_S *pstMsid)
{
    const uint8_t *pucTlv = *ppucCursor;
    const auto uiAttrLen = static_cast<uint32_t>(pucEnd - pucTlv);
    if (pucTlv[0] != 1) {
        return QEL_ERR_MSID;
    }
    const uint16_t usLen = QEL_LoadBe16(pucTlv + 1);
    if (usLen < QEL_NGMVPN_MSID_SUBTLV_MIN || usLen + QEL_NGMVPN_MSID_TLV_HEADER_LEN != uiAttrLen) {
        return QEL_ERR_MSID;
    }
    QEL_NGMVPN_TakeSid_(pstMsid->auiMsid, pucTlv + 4);
    *ppucCursor += QEL_NGMVPN_MSID_ATTR_LEN;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_ParsePktMsidSubSubTlv_(const uint8_t **ppucCursor, const uint8_t *pucEnd,
                                           QEL_NGMVPN_MSID_S *pstMsid)
{
    while (*ppucCursor < pucEnd) {
        const uint8_t *pucTlv = *ppucCursor;
        const auto uiLeft = static_cast<uint32_t>(pucEnd - pucTlv);
        if (uiLeft < QEL_NGMVPN_MSID_TLV_HEADER_LEN) {
            return QEL_ERR_MSID;
        }
        const uint16_t usLen = QEL_LoadBe16(pucTlv + 1);
        if (usLen > uiLeft - QEL_NGMVPN_MSID_TLV_HEADER_LEN) {
            return QEL_ERR_MSID;
        }
        if (pucTlv[0] == 1) {
            if (usLen != QEL_NGMVPN_MSID_STRUCTURE_LEN) {
                return QEL_ERR_MSID;
            }
            pstMsid->ucPrefixLen = pucTlv[4];
            pstMsid->ucMsidLen = pucTlv[5];
            pstMsid->ucHasStructure = 1;
        }
        *ppucCursor += QEL_NGMVPN_MSID_TLV_HEADER_LEN + usLen;
    }
    return QEL_OK;
}

static uint32_t QEL_NGMVPN_TakeMsid_(const uint8_t *pucAttr, uint32_t uiLen, QEL_NGMVPN_MSID_S *pstMsid,
                                     QEL_ROUTE_BLOCK_S **ppstResult, const QEL_FAMILY_CTX_S *pstCtx)
{
    const uint8_t *pucCursor = pucAttr;
    uint32_t uiRet = QEL_NGMVPN_ParsePktMsid_(&pucCursor, pucAttr + uiLen, pstMsid);
    if (uiRet == QEL_OK) {
        uiRet = QEL_NGMVPN_ParsePktMsidSubSubTlv_(&pucCursor, pucAttr + uiLen, pstMsid);
    }
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_Copy(pstMsid->aucRawAttr, uiLen, pucAttr, uiLen);
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_MSID;
    stView.ucAttrType = QEL_ATTR_TYPE_MSID;
    stView.usAttrLen = static_cast<uint16_t>(sizeof(QEL_NGMVPN_MSID_S) + uiLen);
    stView.pucAttr = QEL_Bytes(pstMsid);
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_NGMVPN_ParseMsid(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                              uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if ((uiLen & ~QEL_NGMVPN_MSID_STRUCTURE_BIT) != QEL_NGMVPN_MSID_ATTR_LEN) {
        return QEL_ERR_MSID;
    }
    auto *pstMsid = static_cast<QEL_NGMVPN_MSID_S *>(ZVK_SimpleAlloc_F(
        pstCtx->uiMemHandle, uiLen + static_cast<uint32_t>(sizeof(QEL_NGMVPN_MSID_S)), __FILE__, __LINE__));
    if (QEL_Missing(pstMsid)) {
        return QEL_ERR_ALLOC;
    }
    QEL_Clear(pstMsid, sizeof(QEL_NGMVPN_MSID_S), sizeof(QEL_NGMVPN_MSID_S));
    const uint32_t uiRet = QEL_NGMVPN_TakeMsid_(*ppucCursor, uiLen, pstMsid, ppstResult, pstCtx);
    ZVK_Free_F(pstMsid, __FILE__, __LINE__);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *puiMore = 0;
    *ppucCursor += uiLen;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatMsid(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                               QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucMsid == nullptr) {
        return QEL_OK;
    }
    if (pstRoute->uiMsidLen <= sizeof(QEL_NGMVPN_MSID_S)) {
        return QEL_ERR_ARGUMENT;
    }
    const uint32_t uiLen = pstRoute->uiMsidLen - static_cast<uint32_t>(sizeof(QEL_NGMVPN_MSID_S));
    if (uiLen > uiOutLen) {
        return QEL_ERR_SPACE;
    }
    QEL_Copy(*ppucCursor, uiOutLen, pstRoute->pucMsid + sizeof(QEL_NGMVPN_MSID_S), uiLen);
    *ppucCursor += uiLen;
    return QEL_OK;
}
