#include "qel_ngmvpn_cross.h"

#include "platform/kvo.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn.h"
#include "qel_ngmvpn_nlri.h"
#include "qel_ngmvpn_util.h"

#include <cstdint>
#include <cstring>

static constexpr uint16_t QEL_NGMVPN_TYPE_RT_AS2 = 0x0002;
static constexpr uint16_t QEL_NGMVPN_TYPE_RT_IP4 = 0x0102;
static constexpr uint16_t QEL_NGMVPN_TYPE_RT_AS4 = 0x0202;
static constexpr uint16_t QEL_NGMVPN_TYPE_RT_IMPORT = 0x010B;
static constexpr uint16_t QEL_NGMVPN_TYPE_RT_GTM = 0xFFFF;
static constexpr uint8_t QEL_NGMVPN_SUB_TYPE_RT = 2;

/* A route target of either length. */
typedef union {
    uint8_t aucBytes[QEL_NGMVPN_CROSS_IPV6_RT_LEN]; /* first, so that an empty initialiser clears all of it */
    QEL_EXTCOMM_S stRt;
    QEL_IPV6_EXTCOMM_S stIpv6Rt;
} QEL_NGMVPN_RT_U;

/* A bounded copy to an offset of a buffer of uiRoom bytes; an offset behind its end is a failed copy. */
static void QEL_NGMVPN_PutAt_(uint8_t *pucOut, uint32_t uiRoom, uint32_t uiOffset, const uint8_t *pucFrom,
                              uint32_t uiLen)
{
    const uint32_t uiAt = (uiOffset < uiRoom) ? uiOffset : uiRoom;
    QEL_Copy(pucOut + uiAt, uiRoom - uiAt, pucFrom, uiLen);
}

/* Cross values of a route. */

static const QEL_NGMVPN_NONKEY_AT_S *QEL_NGMVPN_NonKeyOf_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return reinterpret_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pstRoute->pucNonKey);
}

static bool QEL_NGMVPN_HasNonKey_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return pstRoute->pucNonKey != nullptr && (pstRoute->uiValidMask & QEL_SECTION_NONKEY) != 0;
}

/* The copied RD is there and eight zero bytes. */
static bool QEL_NGMVPN_IsRdZero_(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey)
{
    const uint8_t *pucRd = QEL_Bytes(&pstNonKey->stRd);
    return (pstNonKey->usFlags & QEL_NGMVPN_NONKEY_RD) != 0 && QEL_Load32(pucRd) == 0 && QEL_Load32(pucRd + 4) == 0;
}

static bool QEL_NGMVPN_IsCMulticast_(uint32_t uiKeyType)
{
    return uiKeyType == QEL_NGMVPN_KEY_SHARED_TREE_JOIN || uiKeyType == QEL_NGMVPN_KEY_SOURCE_TREE_JOIN;
}

static uint32_t QEL_NGMVPN_ExtCommCount_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return (pstRoute->pucExtComm != nullptr) ? pstRoute->uiExtCommLen / QEL_NGMVPN_CROSS_RT_LEN : 0;
}

static uint32_t QEL_NGMVPN_Ipv6ExtCommCount_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return (pstRoute->pucIpv6ExtComm != nullptr) ? pstRoute->uiIpv6ExtCommLen / QEL_NGMVPN_CROSS_IPV6_RT_LEN : 0;
}

const uint8_t *QEL_NGMVPN_GetCrossExtComm(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiCursor, uint32_t *puiElemLen)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(puiCursor) || QEL_Missing(puiElemLen)) {
        return nullptr;
    }
    const uint32_t uiCount = QEL_NGMVPN_ExtCommCount_(pstRoute);
    const uint32_t uiIpv6Count = QEL_NGMVPN_Ipv6ExtCommCount_(pstRoute);
    const uint32_t uiIndex = *puiCursor;
    if (uiIndex >= uiCount + uiIpv6Count) {
        return nullptr;
    }
    *puiCursor = uiIndex + 1;
    if (uiIndex < uiCount) {
        *puiElemLen = QEL_NGMVPN_CROSS_RT_LEN;
        return pstRoute->pucExtComm + size_t{uiIndex} * QEL_NGMVPN_CROSS_RT_LEN;
    }
    *puiElemLen = QEL_NGMVPN_CROSS_IPV6_RT_LEN;
    return pstRoute->pucIpv6ExtComm + size_t{uiIndex - uiCount} * QEL_NGMVPN_CROSS_IPV6_RT_LEN;
}

uint32_t QEL_NGMVPN_IsExtcommTypeRt(uint16_t usType)
{
    return (usType == QEL_NGMVPN_TYPE_RT_AS2 || usType == QEL_NGMVPN_TYPE_RT_IP4 || usType == QEL_NGMVPN_TYPE_RT_AS4)
               ? 1
               : 0;
}

uint32_t QEL_NGMVPN_IsNonKeyHasRt(const QEL_ROUTE_INFO_S *pstRoute, const QEL_NGMVPN_NONKEY_AT_S *pstNonKey)
{
    if (QEL_Missing(pstRoute)) {
        return 0;
    }
    if (pstNonKey == nullptr || (pstRoute->uiValidMask & QEL_SECTION_NONKEY) == 0 ||
        (pstNonKey->usFlags & QEL_NGMVPN_NONKEY_TYPE) == 0) {
        return 0;
    }
    uint32_t uiCursor = 0;
    uint32_t uiElemLen = 0;
    const uint8_t *pucElem = QEL_NGMVPN_GetCrossExtComm(pstRoute, &uiCursor, &uiElemLen);
    while (pucElem != nullptr) {
        /* kept: the Sub-type alone, so a community that QEL_NGMVPN_IsExtcommTypeRt does not take for a route target
         * takes the marker of zeros away; the import tables of the host are keyed by what comes of it */
        if (pucElem[0] == QEL_NGMVPN_SUB_TYPE_RT) {
            return 1;
        }
        pucElem = QEL_NGMVPN_GetCrossExtComm(pstRoute, &uiCursor, &uiElemLen);
    }
    return 0;
}

/* The end of the walk: no value. */
static uint32_t QEL_NGMVPN_EndCross_(uint8_t **ppucCross, uint32_t *puiCrossLen, uint32_t *puiMore)
{
    *ppucCross = nullptr;
    *puiCrossLen = 0;
    *puiMore = 0;
    return QEL_OK;
}

/* Hands out a copy of the value. */
static uint32_t QEL_NGMVPN_NewCross_(const uint8_t *pucValue, uint32_t uiLen, uint8_t **ppucCross,
                                     uint32_t *puiCrossLen, uint32_t *puiMore, const QEL_FAMILY_CTX_S *pstCtx)
{
    void *pvCross = ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__);
    if (QEL_Missing(pvCross)) {
        /* kept: *puiMore stays as it was; the code alone ends the host's walk */
        return QEL_ERR_MEMORY;
    }
    QEL_Copy(pvCross, uiLen, pucValue, uiLen);
    *ppucCross = static_cast<uint8_t *>(pvCross);
    *puiCrossLen = uiLen;
    *puiMore = 1;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_GetRdCross(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                               uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint8_t aucGlobal[QEL_NGMVPN_CROSS_GTM_LEN] = {0, 0, 0, 0};
    static constexpr uint8_t aucOther[QEL_NGMVPN_CROSS_GTM_LEN] = {0xFF, 0xFF, 0xFF, 0xFF};
    if (QEL_Missing(ppucCross) || QEL_Missing(puiCrossLen) || QEL_Missing(pstCtx) || QEL_Missing(pstRoute) ||
        QEL_Missing(pstRoute->pucNonKey) || QEL_Missing(puiCursor) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = QEL_NGMVPN_NonKeyOf_(pstRoute);
    const bool bGlobal = QEL_NGMVPN_IsRdZero_(pstNonKey) && QEL_NGMVPN_IsNonKeyHasRt(pstRoute, pstNonKey) == 0;
    const uint32_t uiRet = QEL_NGMVPN_NewCross_(bGlobal ? aucGlobal : aucOther, QEL_NGMVPN_CROSS_GTM_LEN, ppucCross,
                                                puiCrossLen, puiMore, pstCtx);
    if (uiRet == QEL_OK) {
        *puiCursor += 1;
    }
    return uiRet;
}

void QEL_NGMVPN_SetImpRtTypeNonKeyRDZero(uint16_t *pusRt, uint32_t uiSize, uint32_t uiLen)
{
    if (QEL_Missing(pusRt)) {
        return;
    }
    if (uiSize < sizeof(*pusRt)) {
        QEL_Report(uiSize);
        return;
    }
    if (uiLen > uiSize || uiLen < sizeof(uint16_t)) {
        return;
    }
    /* kept: the last two bytes in memory, also where the Local Administrator has four bytes, of which they are the
     * upper half; what peers hold in their tables was made by the same rule */
    const uint16_t usLocalAdmin = QEL_Load16(QEL_Bytes(pusRt) + uiLen - sizeof(uint16_t));
    QEL_Store16(pusRt, (usLocalAdmin == 0) ? QEL_NGMVPN_TYPE_RT_GTM : QEL_NGMVPN_TYPE_RT_IMPORT);
}

void QEL_NGMVPN_SetCmcastImpRtType(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, uint16_t *pusRt, uint32_t uiSize,
                                   uint32_t uiLen)
{
    if (QEL_Missing(pstNonKey) || QEL_Missing(pusRt)) {
        return;
    }
    if (QEL_NGMVPN_IsRdZero_(pstNonKey)) {
        QEL_NGMVPN_SetImpRtTypeNonKeyRDZero(pusRt, uiSize, uiLen);
        return;
    }
    if (uiSize < sizeof(*pusRt)) {
        QEL_Report(uiSize);
        return;
    }
    QEL_Store16(pusRt, QEL_NGMVPN_TYPE_RT_IMPORT);
}

/* The next element that is a route target, or null at the end of the lists. The cursor counts uiMarkers values before
 * the elements, moves behind those that were looked at and stays where it is behind the end of the lists. */
static const uint8_t *QEL_NGMVPN_NextRt_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiCursor, uint32_t uiMarkers,
                                         uint32_t *puiElemLen)
{
    uint32_t uiIndex = *puiCursor - uiMarkers;
    const uint32_t uiCount = QEL_NGMVPN_ExtCommCount_(pstRoute);
    for (; uiIndex < uiCount; uiIndex++) {
        const uint8_t *pucElem = pstRoute->pucExtComm + size_t{uiIndex} * QEL_NGMVPN_CROSS_RT_LEN;
        if (QEL_NGMVPN_IsExtcommTypeRt(QEL_Load16(pucElem)) != 0) {
            *puiCursor = uiIndex + 1 + uiMarkers;
            *puiElemLen = QEL_NGMVPN_CROSS_RT_LEN;
            return pucElem;
        }
    }
    const uint32_t uiEnd = uiCount + QEL_NGMVPN_Ipv6ExtCommCount_(pstRoute);
    for (; uiIndex < uiEnd; uiIndex++) {
        const uint8_t *pucElem = pstRoute->pucIpv6ExtComm + size_t{uiIndex - uiCount} * QEL_NGMVPN_CROSS_IPV6_RT_LEN;
        if (QEL_NGMVPN_IsExtcommTypeRt(QEL_Load16(pucElem)) != 0) {
            *puiCursor = uiIndex + 1 + uiMarkers;
            *puiElemLen = QEL_NGMVPN_CROSS_IPV6_RT_LEN;
            return pucElem;
        }
    }
    *puiCursor = uiIndex + uiMarkers;
    return nullptr;
}

/* The value of a C-multicast route: the element under a type word of its own. */
static uint32_t QEL_NGMVPN_NewJoinCross_(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, const uint8_t *pucElem,
                                         uint32_t uiLen, uint8_t **ppucCross, uint32_t *puiCrossLen, uint32_t *puiMore,
                                         const QEL_FAMILY_CTX_S *pstCtx)
{
    alignas(uint16_t) QEL_NGMVPN_RT_U uRt = {};
    void *pvRt = &uRt;
    QEL_Copy(pvRt, sizeof(uRt), pucElem, uiLen);
    QEL_NGMVPN_SetCmcastImpRtType(pstNonKey, static_cast<uint16_t *>(pvRt), sizeof(uRt), uiLen);
    return QEL_NGMVPN_NewCross_(uRt.aucBytes, uiLen, ppucCross, puiCrossLen, puiMore, pstCtx);
}

/* The value of a Leaf A-D route. */
static uint32_t QEL_NGMVPN_NewLeafCross_(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, const uint8_t *pucElem,
                                         uint32_t uiLen, uint8_t **ppucCross, uint32_t *puiCrossLen, uint32_t *puiMore,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t aucValue[UINT8_MAX];
    memset(aucValue, 0, QEL_NGMVPN_CROSS_MAX_LEN);
    /* kept: the length is that of a byte and wraps for an impossible key length; no value is longer for the host */
    uiLen = static_cast<uint8_t>(QEL_NGMVPN_GetLeafCross(pstNonKey, pucElem, uiLen, aucValue, pstCtx));
    if (uiLen > QEL_NGMVPN_CROSS_MAX_LEN) {
        /* The room of the builder is the first QEL_NGMVPN_CROSS_MAX_LEN bytes; a length above it, from a key length
         * that no key has, reads on in zeros. */
        memset(aucValue + QEL_NGMVPN_CROSS_MAX_LEN, 0, sizeof(aucValue) - QEL_NGMVPN_CROSS_MAX_LEN);
    }
    return QEL_NGMVPN_NewCross_(aucValue, uiLen, ppucCross, puiCrossLen, puiMore, pstCtx);
}

/* The value of the next route target behind uiMarkers markers. */
static uint32_t QEL_NGMVPN_NextCross_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                                      uint32_t *puiCursor, uint32_t uiMarkers, uint32_t *puiMore,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCross) || QEL_Missing(puiCrossLen) || QEL_Missing(puiCursor) ||
        QEL_Missing(pstCtx) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = QEL_NGMVPN_NonKeyOf_(pstRoute);
    const bool bNonKey = QEL_NGMVPN_HasNonKey_(pstRoute);
    *ppucCross = nullptr;
    if (!bNonKey || (pstNonKey->usFlags & QEL_NGMVPN_NONKEY_TYPE) == 0) {
        return QEL_NGMVPN_EndCross_(ppucCross, puiCrossLen, puiMore);
    }
    uint32_t uiLen = 0;
    const uint8_t *pucElem = QEL_NGMVPN_NextRt_(pstRoute, puiCursor, uiMarkers, &uiLen);
    if (pucElem == nullptr) {
        return QEL_NGMVPN_EndCross_(ppucCross, puiCrossLen, puiMore);
    }
    if (QEL_NGMVPN_IsCMulticast_(pstNonKey->uiKeyType)) {
        return QEL_NGMVPN_NewJoinCross_(pstNonKey, pucElem, uiLen, ppucCross, puiCrossLen, puiMore, pstCtx);
    }
    if (pstNonKey->uiKeyType == QEL_NGMVPN_KEY_IPMSI_LEAF_AD || pstNonKey->uiKeyType == QEL_NGMVPN_KEY_SPMSI_LEAF_AD) {
        return QEL_NGMVPN_NewLeafCross_(pstNonKey, pucElem, uiLen, ppucCross, puiCrossLen, puiMore, pstCtx);
    }
    return QEL_NGMVPN_NewCross_(pucElem, uiLen, ppucCross, puiCrossLen, puiMore, pstCtx);
}

uint32_t QEL_NGMVPN_GetCross(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                             uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_NextCross_(pstRoute, ppucCross, puiCrossLen, puiCursor, 0, puiMore, pstCtx);
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_GetCrossGtm(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross,
                                             uint32_t *puiCrossLen, uint32_t *puiCursor, uint32_t *puiMore,
                                             QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(puiCursor)) {
        return QEL_ERR_NULL;
    }
    if (!QEL_NGMVPN_HasNonKey_(pstRoute)) {
        if (QEL_Missing(ppucCross) || QEL_Missing(puiCrossLen) || QEL_Missing(puiMore)) {
            return QEL_ERR_NULL;
        }
        return QEL_NGMVPN_EndCross_(ppucCross, puiCrossLen, puiMore);
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = QEL_NGMVPN_NonKeyOf_(pstRoute);
    /* kept: C-multicast routes yield no marker, with an RD of zeros neither; their own type word tells it instead */
    if ((pstNonKey->usFlags & QEL_NGMVPN_NONKEY_RD) == 0 || QEL_NGMVPN_IsCMulticast_(pstNonKey->uiKeyType)) {
        return QEL_NGMVPN_NextCross_(pstRoute, ppucCross, puiCrossLen, puiCursor, 0, puiMore, pstCtx);
    }
    if (*puiCursor == 0) {
        return QEL_NGMVPN_GetRdCross(pstRoute, ppucCross, puiCrossLen, puiCursor, puiMore, pstCtx);
    }
    return QEL_NGMVPN_NextCross_(pstRoute, ppucCross, puiCrossLen, puiCursor, 1, puiMore, pstCtx);
}

/* The type octets of S-PMSI keys in instances with addresses of either kind; 0: none. */
static uint8_t QEL_NGMVPN_Ipv4IrtType_(uint8_t ucKeyLen)
{
    switch (ucKeyLen) {
    case 14:
    case 18:
    case 22:
        return QEL_NGMVPN_IRT_SPMSI;
    case 26:
    case 30:
    case 34:
        return QEL_NGMVPN_IRT_SPMSI_ORIG6;
    default:
        return 0;
    }
}

static uint8_t QEL_NGMVPN_Ipv6IrtType_(uint8_t ucKeyLen)
{
    switch (ucKeyLen) {
    case 14:
    case 30:
    case 46:
        return QEL_NGMVPN_IRT_SPMSI;
    case 26:
    case 42:
    case 58:
        return QEL_NGMVPN_IRT_SPMSI_V6_ORIG6;
    default:
        return 0;
    }
}

uint32_t QEL_NGMVPN_AddIrtType(uint8_t *pucOut, uint8_t ucKeyLen, uint16_t usInstanceKind)
{
    /* kept: 1 also where nothing is written; the octet stays 0 then, and callers go on with the value */
    static constexpr uint32_t uiAlways = 1;
    if (QEL_Missing(pucOut)) {
        return uiAlways;
    }
    if (ucKeyLen == 12 || ucKeyLen == 24) { /* RD and originator, whatever the instance */
        *pucOut = (ucKeyLen == 12) ? QEL_NGMVPN_IRT_INTRA : QEL_NGMVPN_IRT_INTRA_ORIG6;
        return uiAlways;
    }
    uint8_t ucType = 0;
    if (usInstanceKind == QEL_NGMVPN_KIND_MVRF_IPV4 || usInstanceKind == QEL_NGMVPN_KIND_MVPN_IPV4) {
        ucType = QEL_NGMVPN_Ipv4IrtType_(ucKeyLen);
    } else if (usInstanceKind == QEL_NGMVPN_KIND_MVRF_IPV6 || usInstanceKind == QEL_NGMVPN_KIND_MVPN_IPV6) {
        ucType = QEL_NGMVPN_Ipv6IrtType_(ucKeyLen);
    }
    if (ucType != 0) {
        *pucOut = ucType;
    }
    return uiAlways;
}

/* What QEL_NGMVPN_IsMvrfComp and QEL_NGMVPN_IsMvpnComp say of a context that is there. */
static bool QEL_NGMVPN_IsMvrf_(const QEL_FAMILY_CTX_S *pstCtx)
{
    return pstCtx->usInstanceKind == QEL_NGMVPN_KIND_MVRF_IPV4 || pstCtx->usInstanceKind == QEL_NGMVPN_KIND_MVRF_IPV6;
}

static bool QEL_NGMVPN_IsMvpn_(const QEL_FAMILY_CTX_S *pstCtx)
{
    return pstCtx->usInstanceKind == QEL_NGMVPN_KIND_MVPN_IPV4 || pstCtx->usInstanceKind == QEL_NGMVPN_KIND_MVPN_IPV6;
}

/* Brings the element in uRt to the byte order and the type word that the instance's Leaf A-D values have. */
static void QEL_NGMVPN_ConvertLeafRt_(QEL_NGMVPN_RT_U *puRt, uint32_t uiElemLen, const QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_NGMVPN_IsMvpn_(pstCtx)) {
        /* kept: host order here, wire order in every other instance; values are searched byte for byte as they stand */
        puRt->stRt.usType = QEL_NGMVPN_TYPE_RT_IMPORT;
        return;
    }
    if (uiElemLen == QEL_NGMVPN_CROSS_RT_LEN) {
        QEL_NGMVPN_ConvertRTValueHTON(&puRt->stRt, uiElemLen);
        return;
    }
    if (uiElemLen == QEL_NGMVPN_CROSS_IPV6_RT_LEN && puRt->stIpv6Rt.usType == QEL_NGMVPN_TYPE_RT_AS2) {
        /* kept: a 20-byte route target of Type 0 goes into a private IRT under Type 1; stored values have it so */
        puRt->stIpv6Rt.usType = QEL_NGMVPN_TYPE_RT_IP4;
    }
    QEL_NGMVPN_ConvertIPv6RTValueHTON(&puRt->stIpv6Rt, sizeof(puRt->stIpv6Rt));
}

uint32_t QEL_NGMVPN_GetLeafCross(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, const uint8_t *pucElem, uint32_t uiElemLen,
                                 uint8_t *pucOut, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstNonKey) || QEL_Missing(pucElem) || QEL_Missing(pucOut) || QEL_Missing(pstCtx)) {
        return 0;
    }
    uint32_t uiPos = 0;
    uint8_t ucKeyLen = 0;
    if (QEL_NGMVPN_IsMvrf_(pstCtx)) {
        ucKeyLen = pstNonKey->aucEmbeddedKey[1];
        (void)QEL_NGMVPN_AddIrtType(pucOut, ucKeyLen, pstCtx->usInstanceKind);
        uiPos = 1;
        QEL_NGMVPN_AddRouteKey(pucOut + uiPos, &pstNonKey->aucEmbeddedKey[2], &ucKeyLen, pstCtx->usInstanceKind);
    }
    QEL_NGMVPN_RT_U uRt = {};
    if (uiElemLen > sizeof(uRt)) {
        QEL_Report(uiElemLen);
        return uiPos;
    }
    QEL_Copy(&uRt, sizeof(uRt), pucElem, uiElemLen);
    QEL_NGMVPN_ConvertLeafRt_(&uRt, uiElemLen, pstCtx);
    QEL_NGMVPN_PutAt_(pucOut, QEL_NGMVPN_CROSS_MAX_LEN, uiPos + ucKeyLen, uRt.aucBytes, uiElemLen);
    return uiPos + ucKeyLen + uiElemLen;
}

/* Compare of cross values. */

/* Equality of two values of one length, 4 or more; the last octets are compared by words that may overlap. */
static bool QEL_NGMVPN_IsSame_(const uint8_t *pucA, const uint8_t *pucB, uint32_t uiLen)
{
    if (uiLen < 8) {
        return QEL_Load32(pucA) == QEL_Load32(pucB) && QEL_Load32(pucA + uiLen - 4) == QEL_Load32(pucB + uiLen - 4);
    }
    const uint8_t *pucLast = pucA + uiLen - 8;
    const uint8_t *pucLastB = pucB + uiLen - 8;
    for (; pucA < pucLast; pucA += 8, pucB += 8) {
        if (!QEL_Same8(pucA, pucB)) {
            return false;
        }
    }
    return QEL_Same8(pucLast, pucLastB);
}

/* QEL_NGMVPN_CmpAttr of two values that are there. The service is the faster one where they are long. */
static int32_t QEL_NGMVPN_CmpValues_(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    static constexpr uint32_t uiWord = 8;
    static constexpr uint32_t uiLong = 32;
    if (uiLenA == uiLenB && uiLenA >= uiWord && uiLenA < uiLong &&
        QEL_NGMVPN_IsSame_(QEL_Bytes(pvA), QEL_Bytes(pvB), uiLenA)) {
        return QEL_CMP_EQUAL;
    }
    return QEL_NGMVPN_CmpAttr(pvA, uiLenA, pvB, uiLenB);
}

/* The compare of values that are not found equal by their octets. */
[[gnu::noinline, gnu::nonnull]] QEL_HOT_PATH static int32_t QEL_NGMVPN_CmpOther_(const void *pvA, uint32_t uiLenA,
                                                                                 const void *pvB, uint32_t uiLenB)
{
    if (QEL_NGMVPN_IsCmpPrivateCross(uiLenA, uiLenB) == 0) {
        return QEL_NGMVPN_CmpAttr(pvA, uiLenA, pvB, uiLenB);
    }
    return QEL_NGMVPN_CmpPrivateCross(pvA, uiLenA, pvB, uiLenB);
}

QEL_HOT_PATH int32_t QEL_NGMVPN_CmpCross(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    if (uiLenA < QEL_NGMVPN_CROSS_GTM_LEN || uiLenB < QEL_NGMVPN_CROSS_GTM_LEN) {
        QEL_Report((uiLenA < QEL_NGMVPN_CROSS_GTM_LEN) ? uiLenA : uiLenB);
        return QEL_CMP_FAILED;
    }
    /* Up to this length no value is a private one, and what is the same is equal. */
    if (uiLenA == uiLenB && uiLenA <= QEL_NGMVPN_CROSS_IPV6_RT_LEN &&
        QEL_NGMVPN_IsSame_(QEL_Bytes(pvA), QEL_Bytes(pvB), uiLenA)) {
        return QEL_CMP_EQUAL;
    }
    return QEL_NGMVPN_CmpOther_(pvA, uiLenA, pvB, uiLenB);
}

int32_t QEL_NGMVPN_CmpCrossAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                uint32_t /* uiCmpType */, uint32_t /* uiAttrType */)
{
    return QEL_NGMVPN_CmpCross(pvA, uiLenA, pvB, uiLenB);
}

uint32_t QEL_NGMVPN_IsCmpPrivateCross(uint32_t uiLenA, uint32_t uiLenB)
{
    const bool bRt = uiLenA == QEL_NGMVPN_CROSS_RT_LEN || uiLenA == QEL_NGMVPN_CROSS_IPV6_RT_LEN;
    return (bRt && uiLenA == uiLenB) ? 0 : 1;
}

int32_t QEL_NGMVPN_CmpPrivateCross(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (uiLenA == QEL_NGMVPN_CROSS_GTM_LEN || uiLenB == QEL_NGMVPN_CROSS_GTM_LEN) {
        return QEL_NGMVPN_CmpGtmRdZero(pvA, uiLenA, pvB, uiLenB);
    }
    int32_t iResult = QEL_CMP_EQUAL;
    if (QEL_NGMVPN_CmpLeafCross4ISSU(pvA, uiLenA, pvB, uiLenB, &iResult) != 0) {
        return iResult;
    }
    if (uiLenA == uiLenB && QEL_NGMVPN_IsLeafSearch(QEL_Bytes(pvA), uiLenA) != 0) {
        return QEL_NGMVPN_IsExtCommunityMatch(QEL_Bytes(pvA), uiLenA, QEL_Bytes(pvB), uiLenB);
    }
    return QEL_NGMVPN_CmpAttr(pvA, uiLenA, pvB, uiLenB);
}

int32_t QEL_NGMVPN_CmpGtmRdZero(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    return QEL_NGMVPN_CmpAttr(pvA, uiLenA, pvB, uiLenB);
}

uint32_t QEL_NGMVPN_CmpLeafCross4ISSU(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                      int32_t *piResult)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB) || QEL_Missing(piResult)) {
        return 0;
    }
    /* kept: one way round only, and for these three lengths; the older peer of an in-service upgrade asks so */
    if (uiLenA != QEL_NGMVPN_CROSS_RT_LEN || (uiLenB != 55 && uiLenB != 31 && uiLenB != 21) ||
        QEL_NGMVPN_CheckLeafCross(QEL_Bytes(pvA)) == 0) {
        return 0;
    }
    QEL_EXTCOMM_S stRt = {};
    QEL_NGMVPN_GetImportRtFromPrivateIRT(QEL_Bytes(pvB), uiLenB, &stRt);
    *piResult = QEL_NGMVPN_CmpValues_(pvA, uiLenA, &stRt, sizeof(stRt));
    return 1;
}

uint32_t QEL_NGMVPN_CheckLeafCross(const uint8_t *pucA)
{
    if (QEL_Missing(pucA)) {
        return 0;
    }
    return (QEL_Load16(pucA) == QEL_NGMVPN_TYPE_RT_IMPORT && QEL_Load16(pucA + 6) == 0) ? 1 : 0;
}

void QEL_NGMVPN_GetImportRtFromPrivateIRT(const uint8_t *pucIrt, uint32_t uiLen, QEL_EXTCOMM_S *pstRt)
{
    if (QEL_Missing(pucIrt) || QEL_Missing(pstRt)) {
        return;
    }
    if (uiLen < sizeof(*pstRt)) {
        QEL_Report(uiLen);
        return;
    }
    /* kept: the value stays in the private IRT's wire order, the type word is put in host order; the older peer's value
     * is equal to exactly that */
    QEL_Copy(pstRt, sizeof(*pstRt), pucIrt + uiLen - sizeof(*pstRt), sizeof(*pstRt));
    pstRt->usType = QEL_NGMVPN_TYPE_RT_IMPORT;
}

uint32_t QEL_NGMVPN_IsLeafSearch(const uint8_t *pucA, uint32_t uiLen)
{
    if (QEL_Missing(pucA)) {
        return 0;
    }
    /* kept: six forms of all that there are; values of the others are searched under their own numbers */
    switch (uiLen) {
    case 21:
        return (pucA[0] == QEL_NGMVPN_IRT_INTRA) ? 1 : 0;
    case 31:
        return (pucA[0] == QEL_NGMVPN_IRT_SPMSI) ? 1 : 0;
    case 45:
        return (pucA[0] == QEL_NGMVPN_IRT_INTRA_ORIG6) ? 1 : 0;
    case 55:
        return (pucA[0] == QEL_NGMVPN_IRT_SPMSI || pucA[0] == QEL_NGMVPN_IRT_SPMSI_ORIG6) ? 1 : 0;
    case 79:
        return (pucA[0] == QEL_NGMVPN_IRT_SPMSI_V6_ORIG6) ? 1 : 0;
    default:
        return 0;
    }
}

/* Where an S-PMSI private IRT of full shape with IPv4 addresses has its fields. */
static constexpr uint32_t QEL_NGMVPN_IRT_RD_AT = 1;
static constexpr uint32_t QEL_NGMVPN_IRT_SOURCE_AT = 10;
static constexpr uint32_t QEL_NGMVPN_IRT_GROUP_AT = 15;
static constexpr uint32_t QEL_NGMVPN_IRT_ORIGINATOR_AT = 19;
static constexpr uint32_t QEL_NGMVPN_IRT_FULL_LEN = 31;

int32_t QEL_NGMVPN_IsExtCommunityMatch(const uint8_t *pucA, uint32_t uiLenA, const uint8_t *pucB, uint32_t uiLenB)
{
    if (QEL_Missing(pucA) || QEL_Missing(pucB)) {
        return QEL_CMP_EQUAL;
    }
    if (uiLenA >= QEL_NGMVPN_IRT_FULL_LEN && QEL_NGMVPN_NeedSkipAddress(pucA, uiLenA, pucB, uiLenB) != 0 &&
        QEL_NGMVPN_IsExtCommMatchExclAddr(pucA, pucB) != 0) {
        return QEL_CMP_EQUAL;
    }
    uint8_t aucStored[QEL_NGMVPN_CROSS_MAX_LEN] = {};
    if (uiLenA > sizeof(aucStored)) {
        /* kept: reported and called equal; a failure code would be no order to a host that sorts by it */
        QEL_Report(uiLenA);
        return QEL_CMP_EQUAL;
    }
    QEL_Copy(aucStored, sizeof(aucStored), pucA, uiLenA);
    /* kept: the stored side alone is renumbered, so a stored value is not equal to itself; hosts search by keys only */
    QEL_NGMVPN_PrivateExtCommTypeTrans(pucA, aucStored);
    return QEL_NGMVPN_CmpValues_(aucStored, uiLenA, pucB, uiLenA);
}

uint32_t QEL_NGMVPN_NeedSkipAddress(const uint8_t *pucA, uint32_t uiLenA, const uint8_t *pucB, uint32_t uiLenB)
{
    if (QEL_Missing(pucA) || QEL_Missing(pucB)) {
        return 0;
    }
    if (uiLenA <= QEL_NGMVPN_IRT_GROUP_AT || uiLenB <= QEL_NGMVPN_IRT_GROUP_AT) {
        return 0;
    }
    const bool bStored = pucA[0] == QEL_NGMVPN_IRT_SPMSI || pucA[0] == QEL_NGMVPN_IRT_SPMSI_ORIG6;
    const bool bSearch = pucB[0] == 0 || pucB[0] == 4;
    /* kept: the first octet stands for the whole address, so an address that begins with 0 counts as none; the import
     * tables are searched by this rule on both sides */
    const bool bStoredNames = pucA[QEL_NGMVPN_IRT_SOURCE_AT] != 0 || pucA[QEL_NGMVPN_IRT_GROUP_AT] != 0;
    const bool bSearchNames = pucB[QEL_NGMVPN_IRT_SOURCE_AT] != 0 || pucB[QEL_NGMVPN_IRT_GROUP_AT] != 0;
    return (bStored && bSearch && bStoredNames && !bSearchNames) ? 1 : 0;
}

uint32_t QEL_NGMVPN_IsExtCommMatchExclAddr(const uint8_t *pucA, const uint8_t *pucB)
{
    static constexpr uint32_t uiTailLen = 12; /* originator and route target */
    /* kept: asks a stored value for a search number that it never has, so an IPv6 originator is matched by 12 octets
     * too; widening it would lose matches that hosts have today */
    static constexpr uint8_t ucLongTailType = 4;
    static constexpr uint32_t uiLongTailLen = 36;
    if (QEL_Missing(pucA) || QEL_Missing(pucB)) {
        return 0;
    }
    const uint32_t uiLen = (pucA[0] == ucLongTailType) ? uiLongTailLen : uiTailLen;
    return (QEL_Same8(pucA + QEL_NGMVPN_IRT_RD_AT, pucB + QEL_NGMVPN_IRT_RD_AT) &&
            QEL_NGMVPN_IsSame_(pucA + QEL_NGMVPN_IRT_ORIGINATOR_AT, pucB + QEL_NGMVPN_IRT_ORIGINATOR_AT, uiLen))
               ? 1
               : 0;
}

void QEL_NGMVPN_PrivateExtCommTypeTrans(const uint8_t *pucA, uint8_t *pucOut)
{
    if (QEL_Missing(pucA) || QEL_Missing(pucOut)) {
        return;
    }
    switch (pucA[0]) {
    case QEL_NGMVPN_IRT_SPMSI:
        *pucOut = 0;
        break;
    case QEL_NGMVPN_IRT_INTRA:
        *pucOut = 1;
        break;
    case QEL_NGMVPN_IRT_SPMSI_ORIG6:
        *pucOut = 4;
        break;
    case QEL_NGMVPN_IRT_INTRA_ORIG6:
        *pucOut = 5;
        break;
    case QEL_NGMVPN_IRT_SPMSI_V6_ORIG6:
        *pucOut = 6;
        break;
    default:
        *pucOut = pucA[0];
        break;
    }
}

/* IRT TLVs. */

static uint32_t QEL_NGMVPN_OutputIrt_(const uint8_t *pucCross, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                      const QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiCrossLen = uiLen;
    stView.pucCross = pucCross;
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_NGMVPN_ParseIrtTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen < QEL_NGMVPN_CROSS_GTM_LEN) {
        QEL_Report(uiLen);
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_RT_U uValue = {};
    const uint8_t *pucCross = uValue.aucBytes;
    uint32_t uiRet = QEL_OK;
    switch (uiLen) {
    case QEL_NGMVPN_CROSS_IPV6_RT_LEN:
        uiRet = QEL_NGMVPN_GetIPv6RtValue(&pucData, &uValue.stIpv6Rt);
        break;
    case QEL_NGMVPN_CROSS_RT_LEN:
        uiRet = QEL_NGMVPN_GetRtValue(&pucData, &uValue.stRt);
        break;
    case QEL_NGMVPN_CROSS_GTM_LEN:
        uiRet = QEL_NGMVPN_GetGtmRdZeroValue(&pucData, uValue.aucBytes);
        break;
    default:
        /* kept: an empty view, which the block builder refuses without a report; hosts count reports as faults */
        pucCross = nullptr;
        uiLen = 0;
        break;
    }
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_NGMVPN_OutputIrt_(pucCross, uiLen, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseVrfIrtTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint32_t uiIntraLen = 20;
    static constexpr uint32_t uiSpmsiLen = 54;
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    uint8_t aucTyped[uiSpmsiLen + 1] = {};
    if (uiLen == uiIntraLen || uiLen == uiSpmsiLen) {
        /* kept: the search numbers 1 and 0, not the numbers of stored values; such a TLV is compared as a search key */
        aucTyped[0] = (uiLen == uiIntraLen) ? 1 : 0;
        QEL_Copy(&aucTyped[1], sizeof(aucTyped) - 1, pucData, uiLen);
        pucData = aucTyped;
        uiLen += 1;
    }
    if (uiLen <= QEL_NGMVPN_CROSS_IPV6_RT_LEN) {
        QEL_Report(uiLen);
        return QEL_ERR_NULL;
    }
    return QEL_NGMVPN_OutputIrt_(pucData, uiLen, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_FormatIrtTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                 QEL_FAMILY_CTX_S * /* pstCtx */)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucCross == nullptr) {
        return QEL_OK;
    }
    const uint32_t uiLen = pstRoute->uiCrossLen;
    if (uiLen < QEL_NGMVPN_CROSS_GTM_LEN) {
        /* kept: reported and written all the same; the reader at the far end refuses it */
        QEL_Report(uiLen);
    }
    if (uiLen > uiMaxLen) {
        return QEL_ERR_SPACE;
    }
    QEL_NGMVPN_RT_U uRt = {};
    /* kept: a private IRT goes out as it stands, its route target is in wire order already */
    const uint8_t *pucValue = pstRoute->pucCross;
    if (uiLen == QEL_NGMVPN_CROSS_RT_LEN || uiLen == QEL_NGMVPN_CROSS_IPV6_RT_LEN) {
        QEL_Copy(&uRt, sizeof(uRt), pucValue, uiLen);
        pucValue = uRt.aucBytes;
    }
    if (uiLen == QEL_NGMVPN_CROSS_RT_LEN) {
        QEL_NGMVPN_ConvertRTValueHTON(&uRt.stRt, sizeof(uRt.stRt));
    } else if (uiLen == QEL_NGMVPN_CROSS_IPV6_RT_LEN) {
        QEL_NGMVPN_ConvertIPv6RTValueHTON(&uRt.stIpv6Rt, sizeof(uRt.stIpv6Rt));
    }
    QEL_Copy(*ppucCursor, uiMaxLen, pucValue, uiLen);
    *ppucCursor += uiLen;
    return QEL_OK;
}

/* Route keys of private IRTs: the RD, then length octets with their addresses, the originator without one. */

static constexpr uint8_t QEL_NGMVPN_IPV4_LEN = 4;
static constexpr uint8_t QEL_NGMVPN_IPV6_LEN = 16;
static constexpr uint8_t QEL_NGMVPN_FULL_KEY_LEN = 22;
static constexpr uint8_t QEL_NGMVPN_FULL_KEY_ORIG6_LEN = 34;

/* Fills the words for a key whose addresses have ucAddrLen octets; the shortest one is RD, two length octets and an
 * IPv4 originator. */
static void QEL_NGMVPN_FillWcType_(const uint8_t *pucKey, uint8_t ucKeyLen, uint8_t ucAddrLen,
                                   QEL_NGMVPN_WC_TYPE_S *pstWc)
{
    static constexpr uint32_t uiShortest = sizeof(QEL_RD_VALUE_S) + 2 + QEL_NGMVPN_IPV4_LEN;
    static constexpr uint32_t uiOrig6More = QEL_NGMVPN_IPV6_LEN - QEL_NGMVPN_IPV4_LEN;
    const uint32_t uiOneAddr = uiShortest + ucAddrLen;
    const uint32_t uiTwoAddrs = uiOneAddr + ucAddrLen;
    const bool bOrig4 = ucKeyLen == uiShortest || ucKeyLen == uiOneAddr || ucKeyLen == uiTwoAddrs;
    const bool bOrig6 = ucKeyLen == uiShortest + uiOrig6More || ucKeyLen == uiOneAddr + uiOrig6More ||
                        ucKeyLen == uiTwoAddrs + uiOrig6More;
    if (!bOrig4 && !bOrig6) {
        return;
    }
    pstWc->bOrigIpv6 = bOrig6 ? 1 : 0;
    const uint32_t uiOrig4Len = bOrig6 ? ucKeyLen - uiOrig6More : ucKeyLen;
    if (uiOrig4Len == uiShortest) {
        pstWc->bStarStar = 1;
    } else if (uiOrig4Len == uiOneAddr) {
        const uint8_t *pucSrcLen = pucKey + sizeof(QEL_RD_VALUE_S);
        if (pucSrcLen[0] == 0 && pucSrcLen[1] != 0) {
            pstWc->bStarG = 1;
        }
        if (pucSrcLen[0] != 0 && pucSrcLen[1 + ucAddrLen] == 0) {
            pstWc->bSourceStar = 1;
        }
    }
}

static bool QEL_NGMVPN_WcArgsMissing_(const uint8_t *pucOut, const uint8_t *pucKey, const uint8_t *pucKeyLen,
                                      const QEL_NGMVPN_WC_TYPE_S *pstWc)
{
    return QEL_Missing(pucOut) || QEL_Missing(pucKey) || QEL_Missing(pucKeyLen) || QEL_Missing(pstWc);
}

void QEL_NGMVPN_GetIPv4WcType(const uint8_t *pucOut, const uint8_t *pucKey, uint16_t usInstanceKind,
                              const uint8_t *pucKeyLen, QEL_NGMVPN_WC_TYPE_S *pstWc)
{
    if (QEL_NGMVPN_WcArgsMissing_(pucOut, pucKey, pucKeyLen, pstWc)) {
        return;
    }
    if (usInstanceKind == QEL_NGMVPN_KIND_MVRF_IPV4 || usInstanceKind == QEL_NGMVPN_KIND_MVPN_IPV4) {
        QEL_NGMVPN_FillWcType_(pucKey, *pucKeyLen, QEL_NGMVPN_IPV4_LEN, pstWc);
    }
}

void QEL_NGMVPN_GetIPv6WcType(const uint8_t *pucOut, const uint8_t *pucKey, uint16_t usInstanceKind,
                              const uint8_t *pucKeyLen, QEL_NGMVPN_WC_TYPE_S *pstWc)
{
    if (QEL_NGMVPN_WcArgsMissing_(pucOut, pucKey, pucKeyLen, pstWc)) {
        return;
    }
    if (usInstanceKind == QEL_NGMVPN_KIND_MVRF_IPV6 || usInstanceKind == QEL_NGMVPN_KIND_MVPN_IPV6) {
        QEL_NGMVPN_FillWcType_(pucKey, *pucKeyLen, QEL_NGMVPN_IPV6_LEN, pstWc);
    }
}

void QEL_NGMVPN_AddRouteKey(uint8_t *pucOut, const uint8_t *pucKey, uint8_t *pucKeyLen, uint16_t usInstanceKind)
{
    if (QEL_Missing(pucOut) || QEL_Missing(pucKey) || QEL_Missing(pucKeyLen)) {
        return;
    }
    QEL_NGMVPN_WC_TYPE_S stWc = {};
    QEL_NGMVPN_GetIPv4WcType(pucOut, pucKey, usInstanceKind, pucKeyLen, &stWc);
    QEL_NGMVPN_GetIPv6WcType(pucOut, pucKey, usInstanceKind, pucKeyLen, &stWc);
    const bool bWildcard = stWc.bStarStar != 0 || stWc.bStarG != 0 || stWc.bSourceStar != 0;
    /* kept: one instance kind of the four alone expands wildcard keys; its peers keep and search the short ones */
    if (bWildcard && usInstanceKind == QEL_NGMVPN_KIND_MVRF_IPV4) {
        QEL_NGMVPN_ChangeRouteKeyFormat(pucOut, pucKey, pucKeyLen, &stWc);
        return;
    }
    QEL_Copy(pucOut, QEL_NGMVPN_IRT_KEY_MAX_LEN, pucKey, *pucKeyLen);
}

void QEL_NGMVPN_ChangeRouteKeyFormat(uint8_t *pucOut, const uint8_t *pucKey, uint8_t *pucKeyLen,
                                     const QEL_NGMVPN_WC_TYPE_S *pstWc)
{
    uint8_t aucFull[QEL_NGMVPN_FULL_KEY_ORIG6_LEN] = {};
    if (QEL_NGMVPN_WcArgsMissing_(pucOut, pucKey, pucKeyLen, pstWc)) {
        return;
    }
    if (pstWc->bStarStar != 0) {
        QEL_NGMVPN_RouteKeyWildCardSet(pstWc, pucKey, aucFull, sizeof(aucFull));
    } else if (pstWc->bStarG != 0) {
        QEL_NGMVPN_RouteKeyWildCardGSet(pstWc, pucKey, aucFull, sizeof(aucFull));
    } else if (pstWc->bSourceStar != 0) {
        QEL_NGMVPN_RouteKeyWildCardSSet(pstWc, pucKey, aucFull, sizeof(aucFull));
    } else {
        /* kept: reported, and a key of zeros is written; no caller comes here without a wildcard */
        QEL_Report(0);
    }
    const uint8_t ucLen = (pstWc->bOrigIpv6 != 0) ? QEL_NGMVPN_FULL_KEY_ORIG6_LEN : QEL_NGMVPN_FULL_KEY_LEN;
    QEL_Copy(pucOut, ucLen, aucFull, ucLen);
    *pucKeyLen = ucLen;
}

/* A field of a wildcard key and its place in the full shape. */
typedef struct {
    uint8_t ucFrom;
    uint8_t ucTo;
    uint8_t ucLen; /* 0: the originator */
} QEL_NGMVPN_WC_FIELD_S;

/* Behind the RD an IPv4 key has at most three fields; unused ones end the list with a place of 0. */
typedef struct {
    QEL_NGMVPN_WC_FIELD_S astFields[3];
} QEL_NGMVPN_WC_MAP_S;

static void QEL_NGMVPN_SetWcFields_(const QEL_NGMVPN_WC_MAP_S *pstMap, const QEL_NGMVPN_WC_TYPE_S *pstWc,
                                    const uint8_t *pucKey, uint8_t *pucOut, uint32_t uiSize)
{
    if (QEL_Missing(pstWc) || QEL_Missing(pucKey) || QEL_Missing(pucOut)) {
        return;
    }
    const uint8_t ucOrigLen = (pstWc->bOrigIpv6 != 0) ? QEL_NGMVPN_IPV6_LEN : QEL_NGMVPN_IPV4_LEN;
    QEL_NGMVPN_PutAt_(pucOut, uiSize, 0, pucKey, sizeof(QEL_RD_VALUE_S));
    for (const QEL_NGMVPN_WC_FIELD_S &stField : pstMap->astFields) {
        if (stField.ucTo != 0) {
            QEL_NGMVPN_PutAt_(pucOut, uiSize, stField.ucTo, pucKey + stField.ucFrom,
                              (stField.ucLen != 0) ? stField.ucLen : ucOrigLen);
        }
    }
}

void QEL_NGMVPN_RouteKeyWildCardSet(const QEL_NGMVPN_WC_TYPE_S *pstWc, const uint8_t *pucKey, uint8_t *pucOut,
                                    uint32_t uiSize)
{
    static constexpr QEL_NGMVPN_WC_MAP_S stMap = {{{10, 18, 0}}};
    QEL_NGMVPN_SetWcFields_(&stMap, pstWc, pucKey, pucOut, uiSize);
}

void QEL_NGMVPN_RouteKeyWildCardGSet(const QEL_NGMVPN_WC_TYPE_S *pstWc, const uint8_t *pucKey, uint8_t *pucOut,
                                     uint32_t uiSize)
{
    static constexpr QEL_NGMVPN_WC_MAP_S stMap = {{{9, 13, 1}, {10, 14, QEL_NGMVPN_IPV4_LEN}, {14, 18, 0}}};
    QEL_NGMVPN_SetWcFields_(&stMap, pstWc, pucKey, pucOut, uiSize);
}

void QEL_NGMVPN_RouteKeyWildCardSSet(const QEL_NGMVPN_WC_TYPE_S *pstWc, const uint8_t *pucKey, uint8_t *pucOut,
                                     uint32_t uiSize)
{
    /* kept: the originator lands in the group's place and its own stays zero; stored values of (S,*) routes look so on
     * every peer */
    static constexpr QEL_NGMVPN_WC_MAP_S stMap = {{{8, 8, 1}, {9, 9, QEL_NGMVPN_IPV4_LEN}, {14, 14, 0}}};
    QEL_NGMVPN_SetWcFields_(&stMap, pstWc, pucKey, pucOut, uiSize);
}
