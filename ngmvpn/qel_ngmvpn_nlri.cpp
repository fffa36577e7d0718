#include "qel_ngmvpn_nlri.h"

#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn.h"
#include "qel_ngmvpn_key.h"
#include "qel_ngmvpn_segment_policy.h"
#include "qel_ngmvpn_util.h"

#include <string.h>

#define QEL_NLRI_HEADER_LEN UINT32_C(2)
#define QEL_NLRI_LEN_MIN UINT32_C(10)
#define QEL_NLRI_LEN_MAX UINT32_C(76)
#define QEL_NLRI_RD_LEN UINT8_C(8)
#define QEL_NLRI_AS_LEN UINT8_C(4)
#define QEL_NLRI_IPV4_LEN UINT8_C(4)
#define QEL_NLRI_IPV6_LEN UINT8_C(16)

/* Address families, of a key, an address and an instance. */
#define QEL_NLRI_FAMILY_NONE UINT8_C(0)
#define QEL_NLRI_FAMILY_IPV4 UINT8_C(1)
#define QEL_NLRI_FAMILY_IPV6 UINT8_C(2)

/* The records of a route under construction. */
typedef struct {
    QEL_NGMVPN_KEY_S stKey;
    QEL_NGMVPN_NONKEY_S stNonKey;
} QEL_NGMVPN_NLRI_RECORDS_S;

/* A route while it is read: its place in the attribute. The records stand apart, since they go on to other files and
 * the place does not: it can stay in registers. */
typedef struct {
    QEL_NGMVPN_NLRI_RECORDS_S *pstRoute;
    const uint8_t *pucBody; /* behind the two header octets */
    const uint8_t *pucCursor;
    uint32_t uiNlriLen;
    uint32_t uiRemain; /* octets from pucBody to the end of the attribute */
    uint16_t usSrcFamily;
    uint16_t usGrpFamily;
    uint8_t ucOctets; /* octets of RD and addresses so far; the sum tests add in 8 bits */
} QEL_NGMVPN_NLRI_S;

/* ---- parsing: steps ---- */

static inline void QEL_NGMVPN_StartNlri_(QEL_NGMVPN_NLRI_S *pstNlri, QEL_NGMVPN_NLRI_RECORDS_S *pstRoute,
                                         const uint8_t *pucBody, uint32_t uiNlriLen, uint32_t uiRemain,
                                         uint32_t uiKeyType, uint8_t ucRdKind)
{
    *pstNlri = {pstRoute, pucBody, pucBody, uiNlriLen, uiRemain, 0, 0, 0};
    QEL_ClearLocal(pstRoute, sizeof(*pstRoute));
    pstRoute->stKey.uiKeyType = uiKeyType;
    pstRoute->stKey.ucRdKind = ucRdKind;
    pstRoute->stNonKey.uiKeyType = uiKeyType;
    pstRoute->stNonKey.usFlags = QEL_NGMVPN_NONKEY_TYPE;
}

/* Whether the next octets lie inside the attribute; they may belong to the route behind this one. */
static inline bool QEL_NGMVPN_HasOctets_(const QEL_NGMVPN_NLRI_S *pstNlri, uint32_t uiOctets)
{
    return uiOctets <= pstNlri->uiRemain - static_cast<uint32_t>(pstNlri->pucCursor - pstNlri->pucBody);
}

/* Whether the length octet at the cursor and the octets that QEL_NGMVPN_GetAddrAndLen takes with it lie inside. */
static inline bool QEL_NGMVPN_HasAddr_(const QEL_NGMVPN_NLRI_S *pstNlri, uint8_t ucFamilyHint)
{
    if (!QEL_NGMVPN_HasOctets_(pstNlri, 1)) {
        return false;
    }
    const uint8_t ucLen = *pstNlri->pucCursor;
    if (ucLen == QEL_NGMVPN_ADDR_LEN_IPV4 || (ucLen == 0 && ucFamilyHint == QEL_NLRI_FAMILY_IPV4)) {
        return QEL_NGMVPN_HasOctets_(pstNlri, 1 + QEL_NLRI_IPV4_LEN);
    }
    if (ucLen == QEL_NGMVPN_ADDR_LEN_IPV6 || (ucLen == 0 && ucFamilyHint == QEL_NLRI_FAMILY_IPV6)) {
        return QEL_NGMVPN_HasOctets_(pstNlri, 1 + QEL_NLRI_IPV6_LEN);
    }
    return true;
}

/* kept: uiRemain does not count the route's own header octets and uiNlriLen + 2 does, so one or two octets behind a
 * route do not make another; hosts stop their walk by it. */
static inline void QEL_NGMVPN_SkipNlri_(const uint8_t **ppucCursor, uint32_t uiOctets, uint32_t uiNlriLen,
                                        uint32_t uiRemain, uint32_t *puiMore)
{
    *ppucCursor += uiOctets;
    *puiMore = uiNlriLen + QEL_NLRI_HEADER_LEN < uiRemain ? 1 : 0;
}

/* The RD to host order. QEL_ERR_NLRI_REFUSED: its type is above 2. */
static inline uint32_t QEL_NGMVPN_ReadRd_(QEL_NGMVPN_NLRI_S *pstNlri)
{
    if (!QEL_NGMVPN_HasOctets_(pstNlri, QEL_NLRI_RD_LEN)) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint8_t *pucWire = pstNlri->pucCursor;
    QEL_RD_VALUE_S *pstRd = &pstNlri->pstRoute->stKey.stRd;
    pstRd->usRdType = QEL_LoadBe16(pucWire);
    switch (pstRd->usRdType) {
    case 0:
        pstRd->usAsn = QEL_LoadBe16(pucWire + offsetof(QEL_RD_VALUE_S, usAsn));
        pstRd->uiAssigned = QEL_LoadBe32(pucWire + offsetof(QEL_RD_VALUE_S, uiAssigned));
        break;
    case 1:
    case 2:
        pstRd->uiAdmin = QEL_LoadBe32(pucWire + offsetof(QEL_RD_VALUE_S, uiAdmin));
        pstRd->usAssigned = QEL_LoadBe16(pucWire + offsetof(QEL_RD_VALUE_S, usAssigned));
        break;
    default:
        return QEL_ERR_NLRI_REFUSED;
    }
    pstNlri->pucCursor += QEL_NLRI_RD_LEN;
    pstNlri->ucOctets = QEL_NLRI_RD_LEN;
    return QEL_OK;
}

/* The prologue of every route but the Leaf A-D ones. */
static inline uint32_t QEL_NGMVPN_BeginRoute_(QEL_NGMVPN_NLRI_S *pstNlri, QEL_NGMVPN_NLRI_RECORDS_S *pstRoute,
                                              const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                              uint32_t *puiMore, uint32_t uiKeyType, uint8_t ucRdKind)
{
    QEL_NGMVPN_StartNlri_(pstNlri, pstRoute, *ppucCursor, uiNlriLen, uiRemain, uiKeyType, ucRdKind);
    const uint32_t uiRet = QEL_NGMVPN_ReadRd_(pstNlri);
    if (uiRet == QEL_OK) {
        QEL_NGMVPN_ParseNlriSetRdNonKey(&pstNlri->pstRoute->stKey, &pstNlri->pstRoute->stNonKey);
    } else if (uiRet == QEL_ERR_NLRI_REFUSED) {
        QEL_NGMVPN_SkipNlri_(ppucCursor, uiNlriLen, uiNlriLen, uiRemain, puiMore);
    }
    return uiRet;
}

/* The RD of a Leaf A-D route, which its embedded route holds. */
static inline uint32_t QEL_NGMVPN_ReadLeafRd_(QEL_NGMVPN_NLRI_S *pstNlri, const uint8_t **ppucCursor, uint32_t *puiMore)
{
    const uint32_t uiRet = QEL_NGMVPN_ReadRd_(pstNlri);
    if (uiRet == QEL_ERR_NLRI_REFUSED) {
        /* kept: this lands two octets behind the route, so the rest of the attribute is read out of step; the host's
         * further reading depends on it. With no more to come the place may lie past the attribute's end; nothing is
         * read there. */
        QEL_NGMVPN_SkipNlri_(ppucCursor, QEL_NLRI_HEADER_LEN + pstNlri->uiNlriLen, pstNlri->uiNlriLen,
                             pstNlri->uiRemain, puiMore);
    }
    return uiRet;
}

static inline uint32_t QEL_NGMVPN_ReadAddr_(QEL_NGMVPN_NLRI_S *pstNlri, QEL_ADDR_S *pstAddr, uint8_t *pucLen,
                                            uint8_t ucFamilyHint, uint16_t *pusFamily)
{
    if (!QEL_NGMVPN_HasAddr_(pstNlri, ucFamilyHint)) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    uint8_t ucConsumed = 0;
    uint32_t uiRet = QEL_OK;
    QEL_NGMVPN_GetAddrAndLen(&pstNlri->pucCursor, pstAddr, pucLen, &ucConsumed, ucFamilyHint, &uiRet, pusFamily);
    pstNlri->ucOctets = static_cast<uint8_t>(pstNlri->ucOctets + ucConsumed);
    return uiRet;
}

static inline uint32_t QEL_NGMVPN_ReadSrcGrp_(QEL_NGMVPN_NLRI_S *pstNlri, QEL_ADDR_S *pstSrc, uint8_t *pucSrcLen,
                                              QEL_ADDR_S *pstGrp, uint8_t *pucGrpLen, uint8_t ucFamilyHint)
{
    const uint32_t uiRet = QEL_NGMVPN_ReadAddr_(pstNlri, pstSrc, pucSrcLen, ucFamilyHint, &pstNlri->usSrcFamily);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_NGMVPN_ReadAddr_(pstNlri, pstGrp, pucGrpLen, ucFamilyHint, &pstNlri->usGrpFamily);
}

/* kept: the lengths at which a wildcard could only stand with its zero octets; nothing else tells its two forms apart.
 */
static inline uint8_t QEL_NGMVPN_SpmsiFamily_(uint32_t uiLen)
{
    switch (uiLen) {
    case 22:
    case 34:
        return QEL_NLRI_FAMILY_IPV4;
    case 46:
    case 58:
        return QEL_NLRI_FAMILY_IPV6;
    default:
        return QEL_NLRI_FAMILY_NONE;
    }
}

/* kept: the route's length alone decides, so a (*, G) route of 42 octets with an IPv6 originator fails its sum test;
 * peers of this system rely on the same table. */
static inline uint32_t QEL_NGMVPN_SpmsiOrigiLen_(uint32_t uiNlriLen)
{
    return uiNlriLen == 26 || uiNlriLen == 30 || uiNlriLen == 34 || uiNlriLen == 58 ? QEL_NLRI_IPV6_LEN
                                                                                    : QEL_NLRI_IPV4_LEN;
}

static inline void QEL_NGMVPN_TakeIpv4_(const uint8_t **ppucCursor, QEL_ADDR_S *pstAddr)
{
    pstAddr->uiIpv4 = QEL_LoadBe32(*ppucCursor);
    *ppucCursor += QEL_NLRI_IPV4_LEN;
}

static inline void QEL_NGMVPN_TakeIpv6_(const uint8_t **ppucCursor, QEL_ADDR_S *pstAddr)
{
    memcpy(pstAddr->aucIpv6, *ppucCursor, QEL_NLRI_IPV6_LEN);
    *ppucCursor += QEL_NLRI_IPV6_LEN;
}

/* An address without length octet, of 4 or 16 octets. Returns its length byte. */
static inline uint8_t QEL_NGMVPN_TakeAddr_(const uint8_t **ppucCursor, QEL_ADDR_S *pstAddr, bool bIpv6)
{
    if (bIpv6) {
        QEL_NGMVPN_TakeIpv6_(ppucCursor, pstAddr);
        return QEL_NGMVPN_ADDR_LEN_IPV6;
    }
    QEL_NGMVPN_TakeIpv4_(ppucCursor, pstAddr);
    return QEL_NGMVPN_ADDR_LEN_IPV4;
}

static inline bool QEL_NGMVPN_IsZeroIpv6_(const QEL_ADDR_S *pstAddr)
{
    uint32_t uiBits = 0;
    for (uint32_t i = 0; i < QEL_NLRI_IPV6_LEN; i += QEL_NLRI_IPV4_LEN) {
        uiBits |= QEL_Load32(&pstAddr->aucIpv6[i]);
    }
    return uiBits == 0;
}

/* The tail of every parser. */
static inline uint32_t QEL_NGMVPN_EndRoute_(const QEL_NGMVPN_NLRI_S *pstNlri, const uint8_t **ppucCursor,
                                            QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: a block that cannot be built loses the route quietly, the host reads on behind it. */
    (void)QEL_NGMVPN_OutPutRoute(&pstNlri->pstRoute->stKey, &pstNlri->pstRoute->stNonKey, pstNlri->uiNlriLen,
                                 pstNlri->uiRemain, ppstResult, puiMore, pstCtx);
    *ppucCursor = pstNlri->pucBody + pstNlri->uiNlriLen;
    return QEL_OK;
}

/* The same behind source and group: the sum test and the family test come first. */
static inline uint32_t QEL_NGMVPN_EndSrcGrpRoute_(const QEL_NGMVPN_NLRI_S *pstNlri, const uint8_t **ppucCursor,
                                                  QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                                  QEL_FAMILY_CTX_S *pstCtx)
{
    if (pstNlri->ucOctets != pstNlri->uiNlriLen) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint32_t uiRet =
        QEL_NGMVPN_CheckPktAddrFamily(pstNlri->usGrpFamily, pstNlri->usSrcFamily, pstCtx->usAddrFamily);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_NGMVPN_EndRoute_(pstNlri, ppucCursor, ppstResult, puiMore, pstCtx);
}

/* ---- parsing ---- */

uint32_t QEL_NGMVPN_ParseNlriOfType_(uint32_t uiRouteType, const uint8_t **ppucCursor, uint32_t uiNlriLen,
                                     uint32_t uiRemain, QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                     uint8_t ucRdKind, QEL_FAMILY_CTX_S *pstCtx)
{
    switch (uiRouteType) {
    case QEL_NGMVPN_WIRE_INTRA_IPMSI_AD:
        return QEL_NGMVPN_ParseBgpIntraIpmsiAd(ppucCursor, uiNlriLen, uiRemain, ppstResult, puiMore, ucRdKind, pstCtx);
    case QEL_NGMVPN_WIRE_INTER_IPMSI_AD:
        return QEL_NGMVPN_ParseBgpInterIpmsiAd(ppucCursor, uiNlriLen, uiRemain, ppstResult, puiMore, ucRdKind, pstCtx);
    case QEL_NGMVPN_WIRE_SPMSI_AD:
        return QEL_NGMVPN_ParseBgpSpmsiAd(ppucCursor, uiNlriLen, uiRemain, ppstResult, puiMore, ucRdKind, pstCtx);
    case QEL_NGMVPN_WIRE_LEAF_AD:
        return QEL_NGMVPN_ParseBgpLeafAd(ppucCursor, uiNlriLen, uiRemain, ppstResult, puiMore, ucRdKind, pstCtx);
    case QEL_NGMVPN_WIRE_SOURCE_ACTIVE_AD:
        return QEL_NGMVPN_ParseBgpSourceActiveAd(ppucCursor, uiNlriLen, uiRemain, ppstResult, puiMore, ucRdKind,
                                                 pstCtx);
    case QEL_NGMVPN_WIRE_SHARED_TREE_JOIN:
    case QEL_NGMVPN_WIRE_SOURCE_TREE_JOIN:
        return QEL_NGMVPN_ParseBgpCMulticastRoute(uiRouteType, ppucCursor, uiNlriLen, uiRemain, ppstResult, puiMore,
                                                  ucRdKind, pstCtx);
    default:
        return QEL_ERR_VALUE;
    }
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_ParseMpNlri(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                             uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen < QEL_NLRI_HEADER_LEN) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint8_t *pucCursor = *ppucCursor + QEL_NLRI_HEADER_LEN;
    const uint8_t ucType = (*ppucCursor)[0];
    const uint32_t uiNlriLen = (*ppucCursor)[1];
    const uint32_t uiRemain = uiLen - QEL_NLRI_HEADER_LEN;
    if (uiNlriLen > uiRemain || uiNlriLen < QEL_NLRI_LEN_MIN || uiNlriLen > QEL_NLRI_LEN_MAX) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    uint8_t ucKind = 0;
    QEL_NGMVPN_ParseMsgTypeSwitchRdType(ucType, &ucKind, QEL_NGMVPN_MSG_KIND_PKT, 0);
    uint32_t uiRet = QEL_ERR_NLRI_REFUSED;
    if (ucType < QEL_NGMVPN_WIRE_INTRA_IPMSI_AD || ucType > QEL_NGMVPN_WIRE_SOURCE_TREE_JOIN) {
        QEL_NGMVPN_SkipNlri_(&pucCursor, uiNlriLen, uiNlriLen, uiRemain, puiMore);
    } else {
        uiRet =
            QEL_NGMVPN_ParseNlriOfType_(ucType, &pucCursor, uiNlriLen, uiRemain, ppstResult, puiMore, ucKind, pstCtx);
    }
    /* kept: a parser that fails early leaves its cursor, so the host's one stands just behind the route's header, from
     * where the host decides whether to give the attribute up. */
    *ppucCursor = pucCursor;
    return uiRet;
}

/* kept: neither a zero originator nor the instance's address family is looked at here; such routes are taken. */
uint32_t QEL_NGMVPN_ParseBgpIntraIpmsiAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                         QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    const bool bIpv6 = uiNlriLen == QEL_NLRI_RD_LEN + QEL_NLRI_IPV6_LEN;
    if ((!bIpv6 && uiNlriLen != QEL_NLRI_RD_LEN + QEL_NLRI_IPV4_LEN) || uiRemain < uiNlriLen) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    QEL_NGMVPN_NLRI_RECORDS_S stRoute;
    QEL_NGMVPN_NLRI_S stNlri;
    const uint32_t uiRet = QEL_NGMVPN_BeginRoute_(&stNlri, &stRoute, ppucCursor, uiNlriLen, uiRemain, puiMore,
                                                  QEL_NGMVPN_KEY_INTRA_IPMSI_AD, ucRdKind);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    stRoute.stKey.uKey.stIntraIpmsiAd.ucOrigAddrLen =
        QEL_NGMVPN_TakeAddr_(&stNlri.pucCursor, &stRoute.stKey.uKey.stIntraIpmsiAd.stOrigAddr, bIpv6);
    return QEL_NGMVPN_EndRoute_(&stNlri, ppucCursor, ppstResult, puiMore, pstCtx);
}

uint32_t QEL_NGMVPN_ParseBgpInterIpmsiAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                         QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiNlriLen != QEL_NLRI_RD_LEN + QEL_NLRI_AS_LEN || uiRemain < uiNlriLen) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    QEL_NGMVPN_NLRI_RECORDS_S stRoute;
    QEL_NGMVPN_NLRI_S stNlri;
    const uint32_t uiRet = QEL_NGMVPN_BeginRoute_(&stNlri, &stRoute, ppucCursor, uiNlriLen, uiRemain, puiMore,
                                                  QEL_NGMVPN_KEY_INTER_IPMSI_AD, ucRdKind);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    stRoute.stKey.uKey.stInterIpmsiAd.uiSourceAs = QEL_LoadBe32(stNlri.pucCursor);
    return QEL_NGMVPN_EndRoute_(&stNlri, ppucCursor, ppstResult, puiMore, pstCtx);
}

uint32_t QEL_NGMVPN_ParseBgpSpmsiAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                    QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiNlriLen < 14 || uiNlriLen > 58) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    QEL_NGMVPN_NLRI_RECORDS_S stRoute;
    QEL_NGMVPN_NLRI_S stNlri;
    uint32_t uiRet = QEL_NGMVPN_BeginRoute_(&stNlri, &stRoute, ppucCursor, uiNlriLen, uiRemain, puiMore,
                                            QEL_NGMVPN_KEY_SPMSI_AD, ucRdKind);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    auto *pstSpmsi = &stRoute.stKey.uKey.stSpmsiAd;
    pstSpmsi->ucKeyAddrFamily = QEL_NGMVPN_SpmsiFamily_(uiNlriLen);
    uiRet = QEL_NGMVPN_ReadSrcGrp_(&stNlri, &pstSpmsi->stSrcAddr, &pstSpmsi->ucSrcAddrLen, &pstSpmsi->stGrpAddr,
                                   &pstSpmsi->ucGrpAddrLen, pstSpmsi->ucKeyAddrFamily);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (!QEL_NGMVPN_HasOctets_(&stNlri, QEL_NGMVPN_SpmsiOrigiLen_(uiNlriLen))) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint32_t uiOrigi = QEL_NGMVPN_ParseBgpSpmsiAdOrigiRouterIp_(uiNlriLen, &stNlri.pucCursor, &stRoute.stKey);
    stNlri.ucOctets = static_cast<uint8_t>(stNlri.ucOctets + uiOrigi);
    return QEL_NGMVPN_EndSrcGrpRoute_(&stNlri, ppucCursor, ppstResult, puiMore, pstCtx);
}

uint32_t QEL_NGMVPN_ParseBgpLeafAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                   QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                   QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiNlriLen < QEL_NLRI_HEADER_LEN) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "NGMVPN_ParseBgpLeafAd, pkt nlri len err %d", uiNlriLen);
        return QEL_ERR_NLRI_MALFORMED;
    }
    if (uiRemain < 1) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    switch (**ppucCursor) {
    case QEL_NGMVPN_WIRE_INTRA_IPMSI_AD:
        return QEL_NGMVPN_ParseIntraIpmsiLeaf(ppucCursor, uiNlriLen, uiRemain, ppstResult, puiMore, ucRdKind, pstCtx);
    case QEL_NGMVPN_WIRE_SPMSI_AD:
        return QEL_NGMVPN_ParseSpmsiLeaf(ppucCursor, uiNlriLen, uiRemain, ppstResult, puiMore, ucRdKind, pstCtx);
    default:
        /* kept: not stepped over, unlike an unknown route type; the host stops where the route's body begins. */
        return QEL_ERR_NLRI_REFUSED;
    }
}

/* The embedded length of a Leaf A-D route of an I-PMSI. */
static inline uint32_t QEL_NGMVPN_ReadIpmsiInnerLen_(QEL_NGMVPN_NLRI_S *pstNlri, uint32_t uiWanted,
                                                     const QEL_FAMILY_CTX_S *pstCtx)
{
    if (!QEL_NGMVPN_HasOctets_(pstNlri, QEL_NLRI_HEADER_LEN)) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint32_t uiInnerLen = pstNlri->pucBody[1];
    if (uiInnerLen != uiWanted) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ParseIntraIpmsiLeaf, intra ad len err %d", uiInnerLen);
        return QEL_ERR_NLRI_MALFORMED;
    }
    if (!QEL_NGMVPN_HasOctets_(pstNlri, QEL_NLRI_HEADER_LEN + uiInnerLen)) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    pstNlri->pstRoute->stNonKey.usFlags = QEL_NGMVPN_NONKEY_TYPE | QEL_NGMVPN_NONKEY_EMBEDDED_KEY;
    QEL_Copy(pstNlri->pstRoute->stNonKey.aucEmbeddedKey, QEL_NGMVPN_EMBEDDED_KEY_LEN, pstNlri->pucBody,
             QEL_NLRI_HEADER_LEN + uiInnerLen);
    pstNlri->pucCursor += QEL_NLRI_HEADER_LEN;
    return QEL_OK;
}

/* kept: neither here nor in the S-PMSI form does the non-key get a copy of the RD; its readers take that as the mark of
 * a Leaf A-D route. */
uint32_t QEL_NGMVPN_ParseIntraIpmsiLeaf(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                        QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                        QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiNlriLen != 18 && uiNlriLen != 42) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ParseIntraIpmsiLeaf, ipmsi leaf ad len err %d", uiNlriLen);
        return QEL_ERR_NLRI_MALFORMED;
    }
    const bool bIpv6 = uiNlriLen == 42;
    const uint32_t uiAddrLen = bIpv6 ? QEL_NLRI_IPV6_LEN : QEL_NLRI_IPV4_LEN;
    QEL_NGMVPN_NLRI_RECORDS_S stRoute;
    QEL_NGMVPN_NLRI_S stNlri;
    QEL_NGMVPN_StartNlri_(&stNlri, &stRoute, *ppucCursor, uiNlriLen, uiRemain, QEL_NGMVPN_KEY_IPMSI_LEAF_AD, ucRdKind);
    uint32_t uiRet = QEL_NGMVPN_ReadIpmsiInnerLen_(&stNlri, QEL_NLRI_RD_LEN + uiAddrLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    uiRet = QEL_NGMVPN_ReadLeafRd_(&stNlri, ppucCursor, puiMore);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (!QEL_NGMVPN_HasOctets_(&stNlri, 2 * uiAddrLen)) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    auto *pstLeaf = &stRoute.stKey.uKey.stIpmsiLeafAd;
    pstLeaf->ucOrigAddrLen = QEL_NGMVPN_TakeAddr_(&stNlri.pucCursor, &pstLeaf->stOrigAddr, bIpv6);
    pstLeaf->ucLeafAddrLen = QEL_NGMVPN_TakeAddr_(&stNlri.pucCursor, &pstLeaf->stLeafAddr, bIpv6);
    return QEL_NGMVPN_EndRoute_(&stNlri, ppucCursor, ppstResult, puiMore, pstCtx);
}

/* The head of a Leaf A-D route of an S-PMSI: the embedded length and the RD. */
static inline uint32_t QEL_NGMVPN_BeginSpmsiLeaf_(QEL_NGMVPN_NLRI_S *pstNlri, const uint8_t **ppucCursor,
                                                  uint32_t *puiMore, uint32_t *puiIsV6, const QEL_FAMILY_CTX_S *pstCtx)
{
    if (!QEL_NGMVPN_HasOctets_(pstNlri, QEL_NLRI_HEADER_LEN)) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint32_t uiInnerLen = pstNlri->pucBody[1];
    if (QEL_NGMVPN_GetUndTypeBySpmsiLeafAdKeyLen(uiInnerLen, pstNlri->uiNlriLen, puiIsV6, pstCtx) != 1) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    pstNlri->pucCursor += QEL_NLRI_HEADER_LEN;
    pstNlri->pstRoute->stKey.uKey.stSpmsiLeafAd.ucKeyAddrFamily = QEL_NGMVPN_SpmsiFamily_(uiInnerLen);
    return QEL_NGMVPN_ReadLeafRd_(pstNlri, ppucCursor, puiMore);
}

uint32_t QEL_NGMVPN_ParseSpmsiLeaf(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                   QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                   QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiNlriLen < 20 || uiNlriLen > QEL_NLRI_LEN_MAX) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ParseSpmsiLeaf, spmsi leaf ad len err %u", uiNlriLen);
        return QEL_ERR_NLRI_MALFORMED;
    }
    QEL_NGMVPN_NLRI_RECORDS_S stRoute;
    QEL_NGMVPN_NLRI_S stNlri;
    QEL_NGMVPN_StartNlri_(&stNlri, &stRoute, *ppucCursor, uiNlriLen, uiRemain, QEL_NGMVPN_KEY_SPMSI_LEAF_AD, ucRdKind);
    uint32_t uiIsV6 = 0;
    uint32_t uiRet = QEL_NGMVPN_BeginSpmsiLeaf_(&stNlri, ppucCursor, puiMore, &uiIsV6, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    auto *pstLeaf = &stRoute.stKey.uKey.stSpmsiLeafAd;
    uiRet = QEL_NGMVPN_ReadSrcGrp_(&stNlri, &pstLeaf->stSrcAddr, &pstLeaf->ucSrcAddrLen, &pstLeaf->stGrpAddr,
                                   &pstLeaf->ucGrpAddrLen, pstLeaf->ucKeyAddrFamily);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (!QEL_NGMVPN_HasOctets_(&stNlri, 2 * (uiIsV6 != 0 ? QEL_NLRI_IPV6_LEN : QEL_NLRI_IPV4_LEN))) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint32_t uiOrigi = QEL_NGMVPN_ParseSpmsiLeafOriginRouterIp_(uiIsV6, &stNlri.pucCursor, &stRoute.stKey);
    stNlri.ucOctets = static_cast<uint8_t>(stNlri.ucOctets + uiOrigi);
    if (stNlri.ucOctets != stNlri.pucBody[1]) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    QEL_NGMVPN_FormatSpmsiRoutekey(&stRoute.stKey, &stRoute.stNonKey, pstCtx);
    uiRet = QEL_NGMVPN_CheckPktAddrFamily(stNlri.usGrpFamily, stNlri.usSrcFamily, pstCtx->usAddrFamily);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_NGMVPN_EndRoute_(&stNlri, ppucCursor, ppstResult, puiMore, pstCtx);
}

uint32_t QEL_NGMVPN_ParseBgpSourceActiveAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                           QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                           QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiNlriLen < 10 || uiNlriLen > 42) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    QEL_NGMVPN_NLRI_RECORDS_S stRoute;
    QEL_NGMVPN_NLRI_S stNlri;
    uint32_t uiRet = QEL_NGMVPN_BeginRoute_(&stNlri, &stRoute, ppucCursor, uiNlriLen, uiRemain, puiMore,
                                            QEL_NGMVPN_KEY_SOURCE_ACTIVE_AD, ucRdKind);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    auto *pstActive = &stRoute.stKey.uKey.stSourceActiveAd;
    uiRet = QEL_NGMVPN_ReadSrcGrp_(&stNlri, &pstActive->stSrcAddr, &pstActive->ucSrcAddrLen, &pstActive->stGrpAddr,
                                   &pstActive->ucGrpAddrLen, QEL_NLRI_FAMILY_NONE);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_NGMVPN_EndSrcGrpRoute_(&stNlri, ppucCursor, ppstResult, puiMore, pstCtx);
}

uint32_t QEL_NGMVPN_ParseBgpCMulticastRoute(uint32_t uiRouteType, const uint8_t **ppucCursor, uint32_t uiNlriLen,
                                            uint32_t uiRemain, QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                            uint8_t ucRdKind, QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiNlriLen < 14 || uiNlriLen > 46) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint32_t uiKeyType = uiRouteType == QEL_NGMVPN_WIRE_SHARED_TREE_JOIN ? QEL_NGMVPN_KEY_SHARED_TREE_JOIN
                                                                               : QEL_NGMVPN_KEY_SOURCE_TREE_JOIN;
    QEL_NGMVPN_NLRI_RECORDS_S stRoute;
    QEL_NGMVPN_NLRI_S stNlri;
    uint32_t uiRet =
        QEL_NGMVPN_BeginRoute_(&stNlri, &stRoute, ppucCursor, uiNlriLen, uiRemain, puiMore, uiKeyType, ucRdKind);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (!QEL_NGMVPN_HasOctets_(&stNlri, QEL_NLRI_AS_LEN)) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    auto *pstJoin = &stRoute.stKey.uKey.stCMulticastRoute;
    pstJoin->uiSourceAs = QEL_LoadBe32(stNlri.pucCursor);
    stNlri.pucCursor += QEL_NLRI_AS_LEN;
    stNlri.ucOctets = QEL_NLRI_RD_LEN + QEL_NLRI_AS_LEN;
    uiRet = QEL_NGMVPN_ReadSrcGrp_(&stNlri, &pstJoin->stSrcAddr, &pstJoin->ucSrcAddrLen, &pstJoin->stGrpAddr,
                                   &pstJoin->ucGrpAddrLen, QEL_NLRI_FAMILY_NONE);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_NGMVPN_EndSrcGrpRoute_(&stNlri, ppucCursor, ppstResult, puiMore, pstCtx);
}

void QEL_NGMVPN_GetAddrAndLen(const uint8_t **ppucCursor, QEL_ADDR_S *pstAddr, uint8_t *pucLen, uint8_t *pucConsumed,
                              uint8_t ucFamilyHint, uint32_t *puiRet, uint16_t *pusFamily)
{
    *pucLen = **ppucCursor;
    *ppucCursor += 1;
    switch (*pucLen) {
    case QEL_NGMVPN_ADDR_LEN_IPV4:
        QEL_NGMVPN_TakeIpv4_(ppucCursor, pstAddr);
        *pucConsumed = 1 + QEL_NLRI_IPV4_LEN;
        *pusFamily = QEL_NLRI_FAMILY_IPV4;
        *puiRet = pstAddr->uiIpv4 == 0 ? QEL_ERR_NLRI_REFUSED : QEL_OK;
        break;
    case QEL_NGMVPN_ADDR_LEN_IPV6:
        QEL_NGMVPN_TakeIpv6_(ppucCursor, pstAddr);
        *pucConsumed = 1 + QEL_NLRI_IPV6_LEN;
        *pusFamily = QEL_NLRI_FAMILY_IPV6;
        *puiRet = QEL_OK;
        if (QEL_NGMVPN_IsZeroIpv6_(pstAddr)) {
            /* kept: the cursor stays before a zero IPv6 address, but behind a zero IPv4 one; callers see it. */
            *ppucCursor -= QEL_NLRI_IPV6_LEN;
            *puiRet = QEL_ERR_NLRI_REFUSED;
        }
        break;
    case 0:
        QEL_NGMVPN_GetAddrAndLenWhenZero(ppucCursor, pstAddr, pucLen, pucConsumed, ucFamilyHint, puiRet, pusFamily);
        break;
    default:
        *puiRet = QEL_ERR_NLRI_MALFORMED;
        break;
    }
}

/* The length octet has been read: it stays 0, with or without the zero octets that the hint says stand behind it. */
void QEL_NGMVPN_GetAddrAndLenWhenZero(const uint8_t **ppucCursor, QEL_ADDR_S *pstAddr, uint8_t * /* pucLen */,
                                      uint8_t *pucConsumed, uint8_t ucFamilyHint, uint32_t *puiRet, uint16_t *pusFamily)
{
    switch (ucFamilyHint) {
    case QEL_NLRI_FAMILY_NONE:
        *pucConsumed = 1;
        *pusFamily = QEL_NLRI_FAMILY_NONE;
        *puiRet = QEL_OK;
        break;
    case QEL_NLRI_FAMILY_IPV4:
        QEL_NGMVPN_TakeIpv4_(ppucCursor, pstAddr);
        *pucConsumed = 1 + QEL_NLRI_IPV4_LEN;
        *pusFamily = QEL_NLRI_FAMILY_IPV4;
        *puiRet = pstAddr->uiIpv4 == 0 ? QEL_OK : QEL_ERR_NLRI_MALFORMED;
        break;
    case QEL_NLRI_FAMILY_IPV6:
        QEL_NGMVPN_TakeIpv6_(ppucCursor, pstAddr);
        *pucConsumed = 1 + QEL_NLRI_IPV6_LEN;
        *pusFamily = QEL_NLRI_FAMILY_IPV6;
        *puiRet = QEL_NGMVPN_IsZeroIpv6_(pstAddr) ? QEL_OK : QEL_ERR_NLRI_MALFORMED;
        break;
    default:
        *puiRet = QEL_ERR_NLRI_MALFORMED;
        break;
    }
}

uint32_t QEL_NGMVPN_CheckPktAddrFamily(uint16_t usGrpFamily, uint16_t usSrcFamily, uint16_t usAddrFamily)
{
    uint16_t usOther = 0;
    if (usAddrFamily == QEL_NLRI_FAMILY_IPV4) {
        usOther = QEL_NLRI_FAMILY_IPV6;
    } else if (usAddrFamily == QEL_NLRI_FAMILY_IPV6) {
        usOther = QEL_NLRI_FAMILY_IPV4;
    } else {
        return QEL_OK;
    }
    return usGrpFamily == usOther || usSrcFamily == usOther ? QEL_ERR_NLRI_REFUSED : QEL_OK;
}

void QEL_NGMVPN_ParseNlriSetRdNonKey(const QEL_NGMVPN_KEY_AT_S *pstKey, QEL_NGMVPN_NONKEY_S *pstNonKey)
{
    pstNonKey->stRd = pstKey->stRd;
    pstNonKey->usFlags |= QEL_NGMVPN_NONKEY_RD;
}

void QEL_NGMVPN_ParseMsgTypeSwitchRdType(uint32_t uiRouteType, uint8_t *pucRdKind, uint32_t uiMsgKind,
                                         uint8_t ucDefault)
{
    *pucRdKind = 1;
    switch (uiMsgKind) {
    case 1:
    case QEL_NGMVPN_MSG_KIND_PKT:
    case 12: /* kept: nothing here sends it; hosts do */
        *pucRdKind = QEL_NGMVPN_RD_KIND_KEY;
        break;
    case 5:
        if (QEL_NGMVPN_RDCheckIsKey(uiRouteType) == 0) {
            *pucRdKind = QEL_NGMVPN_RD_KIND_KEY;
        }
        break;
    case 6:
        break;
    case 11:
        *pucRdKind = ucDefault;
        break;
    default:
        QEL_Report(uiMsgKind);
        break;
    }
}

/* kept: the name reads opposite to what it gives; its callers test for 0. */
uint32_t QEL_NGMVPN_RDCheckIsKey(uint32_t uiRouteType)
{
    return uiRouteType >= QEL_NGMVPN_WIRE_LEAF_AD && uiRouteType <= QEL_NGMVPN_WIRE_SOURCE_TREE_JOIN ? 0 : 1;
}

/* Octets of the originator and of the leaf address behind an embedded route of that length; 0: not known. */
static inline uint32_t QEL_NGMVPN_LeafAddrLen_(uint32_t uiInnerLen, uint16_t usInstanceKind)
{
    if (usInstanceKind == QEL_NGMVPN_KIND_MVRF_IPV4 || usInstanceKind == QEL_NGMVPN_KIND_MVPN_IPV4) {
        switch (uiInnerLen) {
        case 14:
        case 18:
        case 22:
            return QEL_NLRI_IPV4_LEN;
        case 26:
        case 30:
        case 34:
            return QEL_NLRI_IPV6_LEN;
        default:
            return 0;
        }
    }
    if (usInstanceKind == QEL_NGMVPN_KIND_MVRF_IPV6 || usInstanceKind == QEL_NGMVPN_KIND_MVPN_IPV6) {
        switch (uiInnerLen) {
        case 14:
        case 30:
        case 46:
            return QEL_NLRI_IPV4_LEN;
        case 26:
        case 42:
        case 58:
            return QEL_NLRI_IPV6_LEN;
        default:
            return 0;
        }
    }
    return 0;
}

uint32_t QEL_NGMVPN_GetUndTypeBySpmsiLeafAdKeyLen(uint32_t uiInnerLen, uint32_t uiNlriLen, uint32_t *puiIsV6,
                                                  const QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiInnerLen < 14 || uiInnerLen > 58) {
        QEL_Report(uiInnerLen);
        return 0;
    }
    const uint32_t uiAddrLen = QEL_NGMVPN_LeafAddrLen_(uiInnerLen, pstCtx->usInstanceKind);
    /* kept: where the size is not known the length must be that of 16-octet addresses, yet the parse goes on with
     * four-octet ones and ends, as a rule, at the sum test; peers see that code. */
    const uint32_t uiLeafLen = uiAddrLen == QEL_NLRI_IPV4_LEN ? QEL_NLRI_IPV4_LEN : QEL_NLRI_IPV6_LEN;
    if (uiNlriLen != QEL_NLRI_HEADER_LEN + uiInnerLen + uiLeafLen) {
        return 0;
    }
    *puiIsV6 = uiAddrLen == QEL_NLRI_IPV6_LEN ? 1 : 0;
    return 1;
}

uint32_t QEL_NGMVPN_ParseBgpSpmsiAdOrigiRouterIp_(uint32_t uiNlriLen, const uint8_t **ppucCursor,
                                                  QEL_NGMVPN_KEY_S *pstKey)
{
    const uint32_t uiOrigiLen = QEL_NGMVPN_SpmsiOrigiLen_(uiNlriLen);
    pstKey->uKey.stSpmsiAd.ucOrigAddrLen =
        QEL_NGMVPN_TakeAddr_(ppucCursor, &pstKey->uKey.stSpmsiAd.stOrigAddr, uiOrigiLen == QEL_NLRI_IPV6_LEN);
    return uiOrigiLen;
}

uint32_t QEL_NGMVPN_ParseSpmsiLeafOriginRouterIp_(uint32_t uiIsV6, const uint8_t **ppucCursor, QEL_NGMVPN_KEY_S *pstKey)
{
    auto *pstLeaf = &pstKey->uKey.stSpmsiLeafAd;
    const bool bIpv6 = uiIsV6 != 0;
    pstLeaf->ucOrigAddrLen = QEL_NGMVPN_TakeAddr_(ppucCursor, &pstLeaf->stOrigAddr, bIpv6);
    pstLeaf->ucLeafAddrLen = QEL_NGMVPN_TakeAddr_(ppucCursor, &pstLeaf->stLeafAddr, bIpv6);
    return bIpv6 ? QEL_NLRI_IPV6_LEN : QEL_NLRI_IPV4_LEN;
}

uint32_t QEL_NGMVPN_GetRouteType(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiRouteType)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pstRoute->pucKey)) {
        *puiRouteType = 0;
        return QEL_ERR_ARGUMENT;
    }
    static constexpr uint8_t aucWireType[] = {
        0,
        QEL_NGMVPN_WIRE_INTRA_IPMSI_AD,
        QEL_NGMVPN_WIRE_INTER_IPMSI_AD,
        QEL_NGMVPN_WIRE_SPMSI_AD,
        QEL_NGMVPN_WIRE_LEAF_AD,
        QEL_NGMVPN_WIRE_LEAF_AD,
        QEL_NGMVPN_WIRE_SOURCE_ACTIVE_AD,
        QEL_NGMVPN_WIRE_SHARED_TREE_JOIN,
        QEL_NGMVPN_WIRE_SOURCE_TREE_JOIN,
    };
    const uint32_t uiKeyType = QEL_NGMVPN_KeyOf_(pstRoute)->uiKeyType;
    *puiRouteType = uiKeyType < sizeof(aucWireType) ? aucWireType[uiKeyType] : 0;
    return QEL_OK;
}

/* ---- formatting: steps ---- */

/* kept: one test against the largest form of the route type, whatever this route needs; hosts offer the largest. */
static inline uint32_t QEL_NGMVPN_CheckOut_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *const *ppucCursor,
                                            uint32_t uiOutLen, uint32_t uiLargest)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    return uiOutLen < uiLargest ? QEL_ERR_SPACE : QEL_OK;
}

/* kept: the RD section has to be there even where the key's RD is written; hosts rely on the refusal. */
static inline uint32_t QEL_NGMVPN_CheckOutAndRd_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *const *ppucCursor,
                                                 uint32_t uiOutLen, uint32_t uiLargest)
{
    const uint32_t uiRet = QEL_NGMVPN_CheckOut_(pstRoute, ppucCursor, uiOutLen, uiLargest);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_Missing(pstRoute->pucRd) ? QEL_ERR_NULL : QEL_OK;
}

/* The host-order RD that the route is written with. */
static inline const uint8_t *QEL_NGMVPN_RdOf_(const QEL_ROUTE_INFO_S *pstRoute, const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    return pstKey->ucRdKind == QEL_NGMVPN_RD_KIND_KEY ? QEL_Bytes(&pstKey->stRd) : pstRoute->pucRd;
}

static inline void QEL_NGMVPN_PutOctet_(uint8_t **ppucCursor, uint8_t ucOctet)
{
    **ppucCursor = ucOctet;
    *ppucCursor += 1;
}

static inline void QEL_NGMVPN_PutIpv4_(uint8_t **ppucCursor, const QEL_ADDR_AT_S *pstAddr)
{
    QEL_StoreBe32(*ppucCursor, pstAddr->uiIpv4);
    *ppucCursor += QEL_NLRI_IPV4_LEN;
}

static inline void QEL_NGMVPN_PutIpv6_(uint8_t **ppucCursor, const QEL_ADDR_AT_S *pstAddr)
{
    memcpy(*ppucCursor, pstAddr->aucIpv6, QEL_NLRI_IPV6_LEN);
    *ppucCursor += QEL_NLRI_IPV6_LEN;
}

/* An address without length octet, of 4 or 16 octets. */
static inline void QEL_NGMVPN_PutAddr_(uint8_t **ppucCursor, const QEL_ADDR_AT_S *pstAddr, bool bIpv6)
{
    if (bIpv6) {
        QEL_NGMVPN_PutIpv6_(ppucCursor, pstAddr);
    } else {
        QEL_NGMVPN_PutIpv4_(ppucCursor, pstAddr);
    }
}

static inline void QEL_NGMVPN_PutWord_(uint8_t **ppucCursor, uint32_t uiWord)
{
    QEL_StoreBe32(*ppucCursor, uiWord);
    *ppucCursor += sizeof(uiWord);
}

/* Route type, length and RD. Returns the place of the length octet. */
static inline uint8_t *QEL_NGMVPN_PutHead_(uint8_t **ppucCursor, uint8_t ucRouteType, uint8_t ucLen,
                                           const uint8_t *pucRd)
{
    QEL_NGMVPN_PutOctet_(ppucCursor, ucRouteType);
    uint8_t *pucLenAt = *ppucCursor;
    QEL_NGMVPN_PutOctet_(ppucCursor, ucLen);
    /* kept: a missing RD fails the copy, and the octets that stood there go out swapped; the route is still written. */
    QEL_Copy(*ppucCursor, QEL_NLRI_RD_LEN, pucRd, QEL_NLRI_RD_LEN);
    QEL_NGMVPN_ConvertRDValueHTON(reinterpret_cast<QEL_RD_VALUE_S *>(*ppucCursor));
    *ppucCursor += QEL_NLRI_RD_LEN;
    return pucLenAt;
}

/* Returns the octets written, in 8 bits. */
static inline uint8_t QEL_NGMVPN_PutSrcGrp_(uint8_t **ppucCursor, const QEL_ADDR_AT_S *pstSrc, uint8_t ucSrcLen,
                                            const QEL_ADDR_AT_S *pstGrp, uint8_t ucGrpLen, uint8_t ucFamilyHint)
{
    uint8_t ucSrcOctets = 0;
    uint8_t ucGrpOctets = 0;
    QEL_NGMVPN_SetAddrAndLen(ppucCursor, pstSrc, ucSrcLen, &ucSrcOctets, ucFamilyHint);
    QEL_NGMVPN_SetAddrAndLen(ppucCursor, pstGrp, ucGrpLen, &ucGrpOctets, ucFamilyHint);
    return static_cast<uint8_t>(ucSrcOctets + ucGrpOctets);
}

/* The S-PMSI route that a Leaf A-D key of that kind answers. Returns its length octet. */
static inline uint8_t QEL_NGMVPN_PutInnerSpmsi_(uint8_t **ppucCursor, const QEL_NGMVPN_KEY_AT_S *pstKey,
                                                const uint8_t *pucRd)
{
    const bool bIpv6 = pstKey->uKey.stSpmsiLeafAd.ucOrigAddrLen != QEL_NGMVPN_ADDR_LEN_IPV4;
    uint8_t *pucLenAt = QEL_NGMVPN_PutHead_(ppucCursor, QEL_NGMVPN_WIRE_SPMSI_AD, 0, pucRd);
    const uint8_t ucOctets =
        QEL_NGMVPN_PutSrcGrp_(ppucCursor, &pstKey->uKey.stSpmsiLeafAd.stSrcAddr,
                              pstKey->uKey.stSpmsiLeafAd.ucSrcAddrLen, &pstKey->uKey.stSpmsiLeafAd.stGrpAddr,
                              pstKey->uKey.stSpmsiLeafAd.ucGrpAddrLen, pstKey->uKey.stSpmsiLeafAd.ucKeyAddrFamily);
    QEL_NGMVPN_PutAddr_(ppucCursor, &pstKey->uKey.stSpmsiLeafAd.stOrigAddr, bIpv6);
    *pucLenAt = static_cast<uint8_t>(ucOctets + QEL_NLRI_RD_LEN + (bIpv6 ? QEL_NLRI_IPV6_LEN : QEL_NLRI_IPV4_LEN));
    return *pucLenAt;
}

/* ---- formatting ---- */

/* kept: written anew from the key, where the I-PMSI form copies the wire's octets; hosts compare both as they are. */
void QEL_NGMVPN_FormatSpmsiRoutekey(const QEL_NGMVPN_KEY_AT_S *pstKey, QEL_NGMVPN_NONKEY_S *pstNonKey,
                                    QEL_FAMILY_CTX_S * /* pstCtx */)
{
    pstNonKey->usFlags |= QEL_NGMVPN_NONKEY_EMBEDDED_KEY;
    uint8_t *pucCursor = pstNonKey->aucEmbeddedKey;
    (void)QEL_NGMVPN_PutInnerSpmsi_(&pucCursor, pstKey, QEL_Bytes(&pstKey->stRd));
}

uint32_t QEL_NGMVPN_FormatNlriOfKey_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     uint32_t uiMsgForm)
{
    switch (QEL_NGMVPN_KeyOf_(pstRoute)->uiKeyType) {
    case QEL_NGMVPN_KEY_INTRA_IPMSI_AD:
        return QEL_NGMVPN_FormatBgpIntraIpmsiAdNlri(pstRoute, ppucCursor, uiOutLen, uiMsgForm);
    case QEL_NGMVPN_KEY_INTER_IPMSI_AD:
        return QEL_NGMVPN_FormatBgpInterIpmsiAdNlri(pstRoute, ppucCursor, uiOutLen, uiMsgForm);
    case QEL_NGMVPN_KEY_SPMSI_AD:
        return QEL_NGMVPN_FormatBgpSpmsiAdNlri(pstRoute, ppucCursor, uiOutLen, uiMsgForm);
    case QEL_NGMVPN_KEY_IPMSI_LEAF_AD:
    case QEL_NGMVPN_KEY_SPMSI_LEAF_AD:
        return QEL_NGMVPN_FormatBgpLeafAdNlri(pstRoute, ppucCursor, uiOutLen, uiMsgForm);
    case QEL_NGMVPN_KEY_SOURCE_ACTIVE_AD:
        return QEL_NGMVPN_FormatBgpSourceActiveAdNlri(pstRoute, ppucCursor, uiOutLen, uiMsgForm);
    case QEL_NGMVPN_KEY_SHARED_TREE_JOIN:
    case QEL_NGMVPN_KEY_SOURCE_TREE_JOIN:
        return QEL_NGMVPN_FormatBgpCMulticastRouteNlri(pstRoute, ppucCursor, uiOutLen, uiMsgForm);
    default:
        return QEL_ERR_VALUE;
    }
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_FormatMpNlri(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr) {
        return QEL_ERR_ABSENT;
    }
    return QEL_NGMVPN_FormatNlriOfKey_(pstRoute, ppucCursor, uiOutLen, QEL_NGMVPN_MSG_FORM_PKT);
}

uint32_t QEL_NGMVPN_FormatBgpIntraIpmsiAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              uint32_t /* uiMsgForm */)
{
    const uint32_t uiRet = QEL_NGMVPN_CheckOut_(pstRoute, ppucCursor, uiOutLen, 26);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    /* kept: a length byte other than 32 and 128 gives the length of the IPv4 form in front of 16 octets; receivers of
     * such keys know it. */
    const uint8_t ucOrigAddrLen = pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen;
    const uint8_t ucLen = ucOrigAddrLen == QEL_NGMVPN_ADDR_LEN_IPV6 ? QEL_NLRI_RD_LEN + QEL_NLRI_IPV6_LEN
                                                                    : QEL_NLRI_RD_LEN + QEL_NLRI_IPV4_LEN;
    uint8_t *pucCursor = *ppucCursor;
    (void)QEL_NGMVPN_PutHead_(&pucCursor, QEL_NGMVPN_WIRE_INTRA_IPMSI_AD, ucLen, QEL_NGMVPN_RdOf_(pstRoute, pstKey));
    QEL_NGMVPN_PutAddr_(&pucCursor, &pstKey->uKey.stIntraIpmsiAd.stOrigAddr, ucOrigAddrLen != QEL_NGMVPN_ADDR_LEN_IPV4);
    *ppucCursor = pucCursor;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatBgpInterIpmsiAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              uint32_t /* uiMsgForm */)
{
    const uint32_t uiRet = QEL_NGMVPN_CheckOutAndRd_(pstRoute, ppucCursor, uiOutLen, 14);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    uint8_t *pucCursor = *ppucCursor;
    (void)QEL_NGMVPN_PutHead_(&pucCursor, QEL_NGMVPN_WIRE_INTER_IPMSI_AD, QEL_NLRI_RD_LEN + QEL_NLRI_AS_LEN,
                              QEL_NGMVPN_RdOf_(pstRoute, pstKey));
    QEL_NGMVPN_PutWord_(&pucCursor, pstKey->uKey.stInterIpmsiAd.uiSourceAs);
    *ppucCursor = pucCursor;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatBgpSpmsiAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                         uint32_t /* uiMsgForm */)
{
    const uint32_t uiRet = QEL_NGMVPN_CheckOutAndRd_(pstRoute, ppucCursor, uiOutLen, 60);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    const bool bIpv6 = pstKey->uKey.stSpmsiAd.ucOrigAddrLen == QEL_NGMVPN_ADDR_LEN_IPV6;
    uint8_t *pucCursor = *ppucCursor;
    uint8_t *pucLenAt =
        QEL_NGMVPN_PutHead_(&pucCursor, QEL_NGMVPN_WIRE_SPMSI_AD, 0, QEL_NGMVPN_RdOf_(pstRoute, pstKey));
    const uint8_t ucOctets = QEL_NGMVPN_PutSrcGrp_(
        &pucCursor, &pstKey->uKey.stSpmsiAd.stSrcAddr, pstKey->uKey.stSpmsiAd.ucSrcAddrLen,
        &pstKey->uKey.stSpmsiAd.stGrpAddr, pstKey->uKey.stSpmsiAd.ucGrpAddrLen, pstKey->uKey.stSpmsiAd.ucKeyAddrFamily);
    QEL_NGMVPN_PutAddr_(&pucCursor, &pstKey->uKey.stSpmsiAd.stOrigAddr, bIpv6);
    *pucLenAt = static_cast<uint8_t>(ucOctets + QEL_NLRI_RD_LEN + (bIpv6 ? QEL_NLRI_IPV6_LEN : QEL_NLRI_IPV4_LEN));
    *ppucCursor = pucCursor;
    return QEL_OK;
}

/* The embedded route is written from the key; the non-key's copy of it is not looked at. */
uint32_t QEL_NGMVPN_FormatBgpLeafAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                        uint32_t /* uiMsgForm */)
{
    const uint32_t uiRet = QEL_NGMVPN_CheckOutAndRd_(pstRoute, ppucCursor, uiOutLen, 78);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    uint8_t *pucCursor = *ppucCursor;
    QEL_NGMVPN_PutOctet_(&pucCursor, QEL_NGMVPN_WIRE_LEAF_AD);
    if (pstKey->uiKeyType == QEL_NGMVPN_KEY_IPMSI_LEAF_AD) {
        (void)QEL_NGMVPN_FormatBgpLeafAdNlriIPMSILEAFAD_(pstRoute, pstKey, &pucCursor);
    } else {
        const bool bIpv6 = pstKey->uKey.stSpmsiLeafAd.ucOrigAddrLen != QEL_NGMVPN_ADDR_LEN_IPV4;
        uint8_t *pucLenAt = pucCursor;
        QEL_NGMVPN_PutOctet_(&pucCursor, 0);
        const uint8_t ucInnerLen = QEL_NGMVPN_PutInnerSpmsi_(&pucCursor, pstKey, QEL_NGMVPN_RdOf_(pstRoute, pstKey));
        QEL_NGMVPN_PutAddr_(&pucCursor, &pstKey->uKey.stSpmsiLeafAd.stLeafAddr, bIpv6);
        *pucLenAt =
            static_cast<uint8_t>(QEL_NLRI_HEADER_LEN + ucInnerLen + (bIpv6 ? QEL_NLRI_IPV6_LEN : QEL_NLRI_IPV4_LEN));
    }
    *ppucCursor = pucCursor;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatBgpLeafAdNlriIPMSILEAFAD_(const QEL_ROUTE_INFO_S *pstRoute, const QEL_NGMVPN_KEY_AT_S *pstKey,
                                                    uint8_t **ppucCursor)
{
    const bool bIpv6 = pstKey->uKey.stIpmsiLeafAd.ucOrigAddrLen != QEL_NGMVPN_ADDR_LEN_IPV4;
    QEL_NGMVPN_PutOctet_(ppucCursor, bIpv6 ? 42 : 18);
    (void)QEL_NGMVPN_PutHead_(ppucCursor, QEL_NGMVPN_WIRE_INTRA_IPMSI_AD, bIpv6 ? 24 : 12,
                              QEL_NGMVPN_RdOf_(pstRoute, pstKey));
    QEL_NGMVPN_PutAddr_(ppucCursor, &pstKey->uKey.stIpmsiLeafAd.stOrigAddr, bIpv6);
    QEL_NGMVPN_PutAddr_(ppucCursor, &pstKey->uKey.stIpmsiLeafAd.stLeafAddr, bIpv6);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatBgpSourceActiveAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiOutLen, uint32_t /* uiMsgForm */)
{
    const uint32_t uiRet = QEL_NGMVPN_CheckOutAndRd_(pstRoute, ppucCursor, uiOutLen, 44);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    uint8_t *pucCursor = *ppucCursor;
    uint8_t *pucLenAt =
        QEL_NGMVPN_PutHead_(&pucCursor, QEL_NGMVPN_WIRE_SOURCE_ACTIVE_AD, 0, QEL_NGMVPN_RdOf_(pstRoute, pstKey));
    const uint8_t ucOctets = QEL_NGMVPN_PutSrcGrp_(
        &pucCursor, &pstKey->uKey.stSourceActiveAd.stSrcAddr, pstKey->uKey.stSourceActiveAd.ucSrcAddrLen,
        &pstKey->uKey.stSourceActiveAd.stGrpAddr, pstKey->uKey.stSourceActiveAd.ucGrpAddrLen, QEL_NLRI_FAMILY_NONE);
    *pucLenAt = static_cast<uint8_t>(ucOctets + QEL_NLRI_RD_LEN);
    *ppucCursor = pucCursor;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatBgpCMulticastRouteNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                 uint32_t uiOutLen, uint32_t /* uiMsgForm */)
{
    const uint32_t uiRet = QEL_NGMVPN_CheckOutAndRd_(pstRoute, ppucCursor, uiOutLen, 48);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    const uint8_t ucType = pstKey->uiKeyType == QEL_NGMVPN_KEY_SHARED_TREE_JOIN ? QEL_NGMVPN_WIRE_SHARED_TREE_JOIN
                                                                                : QEL_NGMVPN_WIRE_SOURCE_TREE_JOIN;
    uint8_t *pucCursor = *ppucCursor;
    uint8_t *pucLenAt = QEL_NGMVPN_PutHead_(&pucCursor, ucType, 0, QEL_NGMVPN_RdOf_(pstRoute, pstKey));
    QEL_NGMVPN_PutWord_(&pucCursor, pstKey->uKey.stCMulticastRoute.uiSourceAs);
    const uint8_t ucOctets = QEL_NGMVPN_PutSrcGrp_(
        &pucCursor, &pstKey->uKey.stCMulticastRoute.stSrcAddr, pstKey->uKey.stCMulticastRoute.ucSrcAddrLen,
        &pstKey->uKey.stCMulticastRoute.stGrpAddr, pstKey->uKey.stCMulticastRoute.ucGrpAddrLen, QEL_NLRI_FAMILY_NONE);
    *pucLenAt = static_cast<uint8_t>(ucOctets + QEL_NLRI_RD_LEN + QEL_NLRI_AS_LEN);
    *ppucCursor = pucCursor;
    return QEL_OK;
}

void QEL_NGMVPN_SetAddrAndLen(uint8_t **ppucCursor, const QEL_ADDR_AT_S *pstAddr, uint8_t ucLen, uint8_t *pucConsumed,
                              uint8_t ucFamilyHint)
{
    QEL_NGMVPN_PutOctet_(ppucCursor, ucLen);
    if (ucLen == 0 && ucFamilyHint == QEL_NLRI_FAMILY_NONE) {
        *pucConsumed = 1;
        return;
    }
    if (ucLen != 0 && ucLen != QEL_NGMVPN_ADDR_LEN_IPV4 && ucLen != QEL_NGMVPN_ADDR_LEN_IPV6) {
        /* kept: the octet stays and is not counted, so the route goes out short with a length that misses it; the
         * report is the only sign. */
        QEL_Report(ucLen);
        return;
    }
    const bool bIpv4 = ucLen == QEL_NGMVPN_ADDR_LEN_IPV4 || (ucLen == 0 && ucFamilyHint == QEL_NLRI_FAMILY_IPV4);
    QEL_NGMVPN_PutAddr_(ppucCursor, pstAddr, !bIpv4);
    *pucConsumed = 1 + (bIpv4 ? QEL_NLRI_IPV4_LEN : QEL_NLRI_IPV6_LEN);
}

/* ---- comparison ---- */

static inline int32_t QEL_NGMVPN_CmpNumber_(uint32_t uiA, uint32_t uiB)
{
    if (uiA == uiB) {
        return QEL_CMP_EQUAL;
    }
    return uiA > uiB ? QEL_CMP_GREATER : QEL_CMP_LESS;
}

static inline int32_t QEL_NGMVPN_CmpBytes_(const void *pvA, const void *pvB, uint32_t uiLen)
{
    const int32_t iResult = KVO_MemCmp(pvA, pvB, uiLen);
    if (iResult == 0) {
        return QEL_CMP_EQUAL;
    }
    return iResult > 0 ? QEL_CMP_GREATER : QEL_CMP_LESS;
}

/* Whether a compare's arguments are two sections of that length. */
static inline bool QEL_NGMVPN_AreSections_(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                           uint32_t uiLen)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return false;
    }
    if (uiLenA != uiLen || uiLenB != uiLen) {
        QEL_Report(uiLenA != uiLen ? uiLenA : uiLenB);
        return false;
    }
    return true;
}

/* Every address of a key stands this far behind its length byte. */
#define QEL_NLRI_ADDR_BEHIND_LEN 4

/* The addresses of two keys in order, each length before its 16 bytes; the offsets are those of the length bytes.
 * The whole field counts, whatever its length says. A null key is reported: QEL_CMP_FAILED. */
static inline int32_t QEL_NGMVPN_CmpAddrs_(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB,
                                           const size_t *pulOffsets, size_t ulCount)
{
    if (QEL_Missing(pstKeyA) || QEL_Missing(pstKeyB)) {
        return QEL_CMP_FAILED;
    }
    for (size_t i = 0; i < ulCount; ++i) {
        const uint8_t *pucA = QEL_Bytes(pstKeyA) + pulOffsets[i];
        const uint8_t *pucB = QEL_Bytes(pstKeyB) + pulOffsets[i];
        const int32_t iResult = QEL_NGMVPN_CmpNumber_(*pucA, *pucB);
        if (iResult != QEL_CMP_EQUAL) {
            return iResult;
        }
        pucA += QEL_NLRI_ADDR_BEHIND_LEN;
        pucB += QEL_NLRI_ADDR_BEHIND_LEN;
        if (!QEL_Same16(pucA, pucB)) {
            return QEL_NGMVPN_CmpBytes_(pucA, pucB, sizeof(QEL_ADDR_S));
        }
    }
    return QEL_CMP_EQUAL;
}

/* kept: the order is that of the words as they lie in memory, type and start of the value together, not of the RD's
 * fields; hosts hold tables in this order. */
int32_t QEL_NGMVPN_CmpRd(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (!QEL_NGMVPN_AreSections_(pvA, uiLenA, pvB, uiLenB, sizeof(QEL_RD_VALUE_S))) {
        return QEL_CMP_FAILED;
    }
    const uint8_t *pucA = QEL_Bytes(pvA);
    const uint8_t *pucB = QEL_Bytes(pvB);
    const int32_t iResult = QEL_NGMVPN_CmpNumber_(QEL_Load32(pucA), QEL_Load32(pucB));
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    return QEL_NGMVPN_CmpNumber_(QEL_Load32(pucA + sizeof(uint32_t)), QEL_Load32(pucB + sizeof(uint32_t)));
}

QEL_HOT_PATH int32_t QEL_NGMVPN_CmpKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (!QEL_NGMVPN_AreSections_(pvA, uiLenA, pvB, uiLenB, sizeof(QEL_NGMVPN_KEY_S))) {
        return QEL_CMP_FAILED;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKeyA = static_cast<const QEL_NGMVPN_KEY_AT_S *>(pvA);
    const QEL_NGMVPN_KEY_AT_S *pstKeyB = static_cast<const QEL_NGMVPN_KEY_AT_S *>(pvB);
    int32_t iResult = QEL_NGMVPN_CmpNumber_(pstKeyA->uiKeyType, pstKeyB->uiKeyType);
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    iResult = QEL_NGMVPN_CmpNlriRD(pstKeyA, pstKeyB);
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    switch (pstKeyA->uiKeyType) {
    case QEL_NGMVPN_KEY_INTRA_IPMSI_AD:
        return QEL_NGMVPN_CmpIntraIpmsiAdKey(pstKeyA, pstKeyB);
    case QEL_NGMVPN_KEY_INTER_IPMSI_AD:
        return QEL_NGMVPN_CmpInterIpmsiAdKey(pstKeyA, pstKeyB);
    case QEL_NGMVPN_KEY_SPMSI_AD:
        return QEL_NGMVPN_CmpSpmsiAdKey(pstKeyA, pstKeyB);
    case QEL_NGMVPN_KEY_IPMSI_LEAF_AD:
        return QEL_NGMVPN_CmpIpmsiLeafAdKey(pstKeyA, pstKeyB);
    case QEL_NGMVPN_KEY_SPMSI_LEAF_AD:
        return QEL_NGMVPN_CmpSpmsiLeafAdKey(pstKeyA, pstKeyB);
    case QEL_NGMVPN_KEY_SOURCE_ACTIVE_AD:
        return QEL_NGMVPN_CmpSourceActiveAdKey(pstKeyA, pstKeyB);
    case QEL_NGMVPN_KEY_SHARED_TREE_JOIN:
    case QEL_NGMVPN_KEY_SOURCE_TREE_JOIN:
        return QEL_NGMVPN_CmpCMulticastRouteKey(pstKeyA, pstKeyB);
    default:
        /* kept: keys of a type that nobody knows are all one key. */
        return QEL_CMP_EQUAL;
    }
}

/* kept: usFlags takes no part; hosts count two non-keys as one that differ in nothing else. */
int32_t QEL_NGMVPN_CmpNonKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (!QEL_NGMVPN_AreSections_(pvA, uiLenA, pvB, uiLenB, sizeof(QEL_NGMVPN_NONKEY_S))) {
        return QEL_CMP_FAILED;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstA = static_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pvA);
    const QEL_NGMVPN_NONKEY_AT_S *pstB = static_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pvB);
    int32_t iResult = QEL_NGMVPN_CmpNumber_(pstA->uiKeyType, pstB->uiKeyType);
    if (iResult == QEL_CMP_EQUAL) {
        iResult = QEL_NGMVPN_CmpNumber_(pstA->usUserAddrLen, pstB->usUserAddrLen);
    }
    if (iResult == QEL_CMP_EQUAL) {
        iResult = QEL_NGMVPN_CmpBytes_(&pstA->stUserAddr, &pstB->stUserAddr, sizeof(QEL_ADDR_S));
    }
    if (iResult == QEL_CMP_EQUAL) {
        iResult = QEL_NGMVPN_CmpNumber_(pstA->uiUserValue, pstB->uiUserValue);
    }
    if (iResult == QEL_CMP_EQUAL) {
        iResult = QEL_NGMVPN_CmpBytes_(&pstA->stRd, &pstB->stRd, sizeof(QEL_RD_VALUE_S));
    }
    if (iResult == QEL_CMP_EQUAL) {
        iResult = QEL_NGMVPN_CmpBytes_(pstA->aucEmbeddedKey, pstB->aucEmbeddedKey, QEL_NGMVPN_EMBEDDED_KEY_LEN);
    }
    return iResult;
}

int32_t QEL_NGMVPN_CmpAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    const int32_t iResult = QEL_NGMVPN_CmpNumber_(uiLenA, uiLenB);
    return iResult != QEL_CMP_EQUAL ? iResult : QEL_NGMVPN_CmpBytes_(pvA, pvB, uiLenA);
}

int32_t QEL_NGMVPN_CmpRdAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                             uint32_t /* uiCmpType */, uint32_t /* uiAttrType */)
{
    return QEL_NGMVPN_CmpRd(pvA, uiLenA, pvB, uiLenB);
}

int32_t QEL_NGMVPN_CmpKeyAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                              uint32_t /* uiCmpType */, uint32_t /* uiAttrType */)
{
    return QEL_NGMVPN_CmpKey(pvA, uiLenA, pvB, uiLenB);
}

int32_t QEL_NGMVPN_CmpNonKeyAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                 uint32_t /* uiCmpType */, uint32_t /* uiAttrType */)
{
    return QEL_NGMVPN_CmpNonKey(pvA, uiLenA, pvB, uiLenB);
}

int32_t QEL_NGMVPN_CmpAttrNew(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                              uint32_t /* uiCmpType */, uint32_t uiAttrType)
{
    if (uiAttrType == QEL_ATTR_TYPE_IMPORT) {
        /* kept: the second length is not looked at; records of one route may differ in size. */
        return QEL_NGMVPN_CmpImportAttr(pvA, uiLenA, pvB);
    }
    return QEL_NGMVPN_CmpAttr(pvA, uiLenA, pvB, uiLenB);
}

/* kept: RDs count only where both keys hold one as key; kinds 0 and 3 fit any, so a configured key finds its route. */
int32_t QEL_NGMVPN_CmpNlriRD(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB)
{
    const uint8_t ucKindA = pstKeyA->ucRdKind;
    const uint8_t ucKindB = pstKeyB->ucRdKind;
    if (ucKindA == 0 || ucKindB == 0 || ucKindB == 3 || ucKindA == 3 || (ucKindA == 1 && ucKindB == 1)) {
        return QEL_CMP_EQUAL;
    }
    if (ucKindA != ucKindB) {
        return QEL_NGMVPN_CmpNumber_(ucKindA, ucKindB);
    }
    if (QEL_Same8(&pstKeyA->stRd, &pstKeyB->stRd)) {
        return QEL_CMP_EQUAL;
    }
    return QEL_NGMVPN_CmpBytes_(&pstKeyA->stRd, &pstKeyB->stRd, sizeof(QEL_RD_VALUE_S));
}

int32_t QEL_NGMVPN_CmpIntraIpmsiAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB)
{
    static constexpr size_t aulOffsets[] = {offsetof(QEL_NGMVPN_KEY_S, uKey.stIntraIpmsiAd.ucOrigAddrLen)};
    return QEL_NGMVPN_CmpAddrs_(pstKeyA, pstKeyB, aulOffsets, 1);
}

int32_t QEL_NGMVPN_CmpInterIpmsiAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB)
{
    if (QEL_Missing(pstKeyA) || QEL_Missing(pstKeyB)) {
        return QEL_CMP_FAILED;
    }
    return QEL_NGMVPN_CmpNumber_(pstKeyA->uKey.stInterIpmsiAd.uiSourceAs, pstKeyB->uKey.stInterIpmsiAd.uiSourceAs);
}

/* kept: ucKeyAddrFamily takes no part, here nor in the Leaf A-D form; it tells how a route was written, not which. */
int32_t QEL_NGMVPN_CmpSpmsiAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB)
{
    static constexpr size_t aulOffsets[] = {offsetof(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.ucSrcAddrLen),
                                            offsetof(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.ucGrpAddrLen),
                                            offsetof(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.ucOrigAddrLen)};
    return QEL_NGMVPN_CmpAddrs_(pstKeyA, pstKeyB, aulOffsets, 3);
}

int32_t QEL_NGMVPN_CmpIpmsiLeafAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB)
{
    static constexpr size_t aulOffsets[] = {offsetof(QEL_NGMVPN_KEY_S, uKey.stIpmsiLeafAd.ucOrigAddrLen),
                                            offsetof(QEL_NGMVPN_KEY_S, uKey.stIpmsiLeafAd.ucLeafAddrLen)};
    return QEL_NGMVPN_CmpAddrs_(pstKeyA, pstKeyB, aulOffsets, 2);
}

int32_t QEL_NGMVPN_CmpSpmsiLeafAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB)
{
    static constexpr size_t aulOffsets[] = {offsetof(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.ucSrcAddrLen),
                                            offsetof(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.ucGrpAddrLen),
                                            offsetof(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.ucOrigAddrLen),
                                            offsetof(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.ucLeafAddrLen)};
    return QEL_NGMVPN_CmpAddrs_(pstKeyA, pstKeyB, aulOffsets, 4);
}

int32_t QEL_NGMVPN_CmpSourceActiveAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB)
{
    static constexpr size_t aulOffsets[] = {offsetof(QEL_NGMVPN_KEY_S, uKey.stSourceActiveAd.ucSrcAddrLen),
                                            offsetof(QEL_NGMVPN_KEY_S, uKey.stSourceActiveAd.ucGrpAddrLen)};
    return QEL_NGMVPN_CmpAddrs_(pstKeyA, pstKeyB, aulOffsets, 2);
}

int32_t QEL_NGMVPN_CmpCMulticastRouteKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB)
{
    if (QEL_Missing(pstKeyA) || QEL_Missing(pstKeyB)) {
        return QEL_CMP_FAILED;
    }
    const int32_t iResult =
        QEL_NGMVPN_CmpNumber_(pstKeyA->uKey.stCMulticastRoute.uiSourceAs, pstKeyB->uKey.stCMulticastRoute.uiSourceAs);
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    static constexpr size_t aulOffsets[] = {offsetof(QEL_NGMVPN_KEY_S, uKey.stCMulticastRoute.ucSrcAddrLen),
                                            offsetof(QEL_NGMVPN_KEY_S, uKey.stCMulticastRoute.ucGrpAddrLen)};
    return QEL_NGMVPN_CmpAddrs_(pstKeyA, pstKeyB, aulOffsets, 2);
}

/* Whether a compare's arguments are two elements of at least that size. */
static inline bool QEL_NGMVPN_AreElements_(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                           uint32_t uiLen)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return false;
    }
    if (uiLenA < uiLen || uiLenB < uiLen) {
        QEL_Report(uiLenA < uiLen ? uiLenA : uiLenB);
        return false;
    }
    return true;
}

/* Communities stand together by Sub-type, the low byte of the type word, and only then by Type. */
static int32_t QEL_NGMVPN_CmpCommType_(uint16_t usTypeA, uint16_t usTypeB)
{
    return QEL_NGMVPN_CmpNumber_(QEL_Swap16(usTypeA), QEL_Swap16(usTypeB));
}

int32_t QEL_NGMVPN_CmpExtCommunity(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (!QEL_NGMVPN_AreElements_(pvA, uiLenA, pvB, uiLenB, sizeof(QEL_EXTCOMM_S))) {
        return QEL_CMP_FAILED;
    }
    const auto *pstA = static_cast<const QEL_EXTCOMM_S *>(pvA);
    const auto *pstB = static_cast<const QEL_EXTCOMM_S *>(pvB);
    int32_t iResult = QEL_NGMVPN_CmpCommType_(pstA->usType, pstB->usType);
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    const uint32_t uiType = pstA->usType >> 8;
    if (uiType == 1 || uiType == 2) {
        iResult = QEL_NGMVPN_CmpNumber_(pstA->uiGlobalAdmin, pstB->uiGlobalAdmin);
        return iResult != QEL_CMP_EQUAL ? iResult : QEL_NGMVPN_CmpNumber_(pstA->usLocalAdmin, pstB->usLocalAdmin);
    }
    /* kept: any other type compares as 16 and 32 bits, though a list swaps most of them as 32 and 16; lists already
     * stored are in this order */
    iResult = QEL_NGMVPN_CmpNumber_(pstA->usGlobalAdmin, pstB->usGlobalAdmin);
    return iResult != QEL_CMP_EQUAL ? iResult : QEL_NGMVPN_CmpNumber_(pstA->uiLocalAdmin, pstB->uiLocalAdmin);
}

int32_t QEL_NGMVPN_CmpIPv6ExtCommunity(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (!QEL_NGMVPN_AreElements_(pvA, uiLenA, pvB, uiLenB, sizeof(QEL_IPV6_EXTCOMM_S))) {
        return QEL_CMP_FAILED;
    }
    const auto *pstA = static_cast<const QEL_IPV6_EXTCOMM_S *>(pvA);
    const auto *pstB = static_cast<const QEL_IPV6_EXTCOMM_S *>(pvB);
    int32_t iResult = QEL_NGMVPN_CmpCommType_(pstA->usType, pstB->usType);
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    const uint32_t uiType = pstA->usType >> 8;
    const uint32_t uiSubType = pstA->usType & 0xFF;
    /* kept: not the types whose value a list swaps; the order of stored lists hangs on it */
    if (uiType > 1 || (uiSubType != 2 && uiSubType != 11)) {
        return QEL_NGMVPN_CmpBytes_(pstA->auiAddr, pstB->auiAddr, sizeof(QEL_IPV6_EXTCOMM_S) - sizeof(uint16_t));
    }
    for (uint32_t i = 0; i < 4; i++) {
        iResult = QEL_NGMVPN_CmpNumber_(pstA->auiAddr[i], pstB->auiAddr[i]);
        if (iResult != QEL_CMP_EQUAL) {
            return iResult;
        }
    }
    return QEL_NGMVPN_CmpNumber_(pstA->usLocalAdmin, pstB->usLocalAdmin);
}

/* ---- advertisement ---- */

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCheckRouteToAdvTbl[] = {
    {QEL_NGMVPN_KEY_INTRA_IPMSI_AD, {.pfCheckRoute = QEL_NGMVPN_CheckIntraAd2Adv}},
    {QEL_NGMVPN_KEY_INTER_IPMSI_AD, {.pfCheckRoute = QEL_NGMVPN_CheckInterAd2Adv}},
    {QEL_NGMVPN_KEY_SPMSI_AD, {.pfCheckRoute = QEL_NGMVPN_CheckSpmsiAd2Adv}},
    {QEL_NGMVPN_KEY_IPMSI_LEAF_AD, {.pfCheckRoute = QEL_NGMVPN_CheckIntraLeafAd2Adv}},
    {QEL_NGMVPN_KEY_SPMSI_LEAF_AD, {.pfCheckRoute = QEL_NGMVPN_CheckSpmsiLeafAd2Adv}},
    {QEL_NGMVPN_KEY_SOURCE_ACTIVE_AD, {.pfCheckRoute = QEL_NGMVPN_CheckSrcActiveAd2Adv}},
    {QEL_NGMVPN_KEY_SHARED_TREE_JOIN, {.pfCheckRoute = QEL_NGMVPN_CheckSharedTreeAd2Adv}},
    {QEL_NGMVPN_KEY_SOURCE_TREE_JOIN, {.pfCheckRoute = QEL_NGMVPN_CheckSourceTreeAd2Adv}},
};

uint32_t QEL_NGMVPN_CheckRouteForAdv(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCheckType, uint32_t *puiAdv)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(puiAdv) || QEL_Missing(pstRoute->pucKey)) {
        return QEL_ERR_NULL;
    }
    if (uiCheckType != QEL_NGMVPN_CHECK_PEER) {
        /* kept: passed without a look at the route; hosts ask so where they have decided already */
        *puiAdv = 1;
        return QEL_OK;
    }
    *puiAdv = 0;
    if (pstRoute->uiUserDataKind != QEL_USER_DATA_PEER || pstRoute->uiUserDataLen != sizeof(QEL_PEER_S) ||
        pstRoute->pstUserData == nullptr) {
        return QEL_OK;
    }
    QEL_PEER_S stPeer;
    memcpy(&stPeer, pstRoute->pstUserData, sizeof(stPeer));
    if (stPeer.uiPeerMode != 0) {
        *puiAdv = stPeer.ucRouteAddrLen == stPeer.ucPeerAddrLen ? 1 : 0;
        return QEL_OK;
    }
    *puiAdv = QEL_NGMVPN_CheckRoute(pstRoute, &stPeer, QEL_NGMVPN_KeyOf_(pstRoute));
    return QEL_OK;
}

uint32_t QEL_NGMVPN_CheckRoute(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstUserData,
                               const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pstUserData) || QEL_Missing(pstKey)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_FindEntry(g_astQelNgmvpnCheckRouteToAdvTbl, pstKey->uiKeyType);
    if (pstEntry == nullptr) {
        /* kept: a type without row passes, unlike in the other tables; nothing new is held back by an old library */
        return 1;
    }
    if (pstEntry->pfCheckRoute == nullptr) {
        QEL_Report(pstEntry->uiType);
        return 1;
    }
    return pstEntry->pfCheckRoute(pstRoute, pstUserData, pstKey);
}

/* Whether an address of that length byte is of the peer's family. kept: every peer but one of 4 octets counts as IPv6,
 * while a C-multicast route asks for 16; which routes an odd peer gets depends on it */
static uint32_t QEL_NGMVPN_FitsPeer_(const QEL_PEER_S *pstPeer, uint8_t ucAddrLen)
{
    const uint8_t ucWanted =
        pstPeer->ucPeerAddrLen == QEL_NLRI_IPV4_LEN ? QEL_NGMVPN_ADDR_LEN_IPV4 : QEL_NGMVPN_ADDR_LEN_IPV6;
    return ucAddrLen == ucWanted ? 1 : 0;
}

uint32_t QEL_NGMVPN_CheckIntraAd2Adv(const QEL_ROUTE_INFO_S * /* pstRoute */, const QEL_PEER_S *pstPeer,
                                     const void *pvKey)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = static_cast<const QEL_NGMVPN_KEY_AT_S *>(pvKey);
    return QEL_NGMVPN_FitsPeer_(pstPeer, pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen);
}

uint32_t QEL_NGMVPN_CheckInterAd2Adv(const QEL_ROUTE_INFO_S * /* pstRoute */, const QEL_PEER_S * /* pstPeer */,
                                     const void * /* pvKey */)
{
    return 1;
}

uint32_t QEL_NGMVPN_CheckSpmsiAd2Adv(const QEL_ROUTE_INFO_S * /* pstRoute */, const QEL_PEER_S *pstPeer,
                                     const void *pvKey)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = static_cast<const QEL_NGMVPN_KEY_AT_S *>(pvKey);
    return QEL_NGMVPN_FitsPeer_(pstPeer, pstKey->uKey.stSpmsiAd.ucOrigAddrLen);
}

uint32_t QEL_NGMVPN_CheckIntraLeafAd2Adv(const QEL_ROUTE_INFO_S * /* pstRoute */, const QEL_PEER_S *pstPeer,
                                         const void *pvKey)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = static_cast<const QEL_NGMVPN_KEY_AT_S *>(pvKey);
    return QEL_NGMVPN_FitsPeer_(pstPeer, pstKey->uKey.stIpmsiLeafAd.ucLeafAddrLen);
}

uint32_t QEL_NGMVPN_CheckSpmsiLeafAd2Adv(const QEL_ROUTE_INFO_S * /* pstRoute */, const QEL_PEER_S *pstPeer,
                                         const void *pvKey)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = static_cast<const QEL_NGMVPN_KEY_AT_S *>(pvKey);
    return QEL_NGMVPN_FitsPeer_(pstPeer, pstKey->uKey.stSpmsiLeafAd.ucLeafAddrLen);
}

uint32_t QEL_NGMVPN_CheckSrcActiveAd2Adv(const QEL_ROUTE_INFO_S * /* pstRoute */, const QEL_PEER_S * /* pstPeer */,
                                         const void * /* pvKey */)
{
    return 1;
}

uint32_t QEL_NGMVPN_CheckSharedTreeAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer,
                                          const void * /* pvKey */)
{
    return QEL_NGMVPN_CheckCmcastRoute2Adv(pstRoute, pstPeer);
}

uint32_t QEL_NGMVPN_CheckSourceTreeAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer,
                                          const void * /* pvKey */)
{
    return QEL_NGMVPN_CheckCmcastRoute2Adv(pstRoute, pstPeer);
}

uint32_t QEL_NGMVPN_CheckCmcastRoute2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstUserData)
{
    if (pstRoute->pucExtComm != nullptr && pstUserData->ucPeerAddrLen == QEL_NLRI_IPV4_LEN) {
        return QEL_NGMVPN_IsExistImportRtInIPv4ExtComm(pstRoute);
    }
    if (pstRoute->pucIpv6ExtComm == nullptr) {
        return 0;
    }
    return pstUserData->ucPeerAddrLen == QEL_NLRI_IPV6_LEN ? 1 : 0;
}

static bool QEL_NGMVPN_IsImportRt_(uint16_t usType)
{
    return usType == 0x0102 || usType == 0x010A || usType == 0x010B;
}

uint32_t QEL_NGMVPN_IsExistImportRtInIPv4ExtComm(const QEL_ROUTE_INFO_S *pstRoute)
{
    static constexpr uint32_t uiElementLen = sizeof(QEL_EXTCOMM_S);
    if (QEL_Zero(pstRoute->uiExtCommLen)) {
        return 0;
    }
    if (pstRoute->uiExtCommLen % uiElementLen != 0) {
        QEL_Report(pstRoute->uiExtCommLen);
        return 0;
    }
    const uint32_t uiCount = pstRoute->uiExtCommLen / uiElementLen;
    uint32_t uiAt = 0;
    /* kept: step i moves on by i elements, so that elements 0, 1, 3, 6, 10 and so on are looked at alone; which
     * C-multicast routes leave a router depends on it. The list ends the walk. */
    for (uint32_t i = 0; i < uiCount; i++) {
        uiAt += i;
        if (uiAt >= uiCount) {
            return 0;
        }
        if (QEL_NGMVPN_IsImportRt_(QEL_Load16(pstRoute->pucExtComm + static_cast<size_t>(uiAt) * uiElementLen))) {
            return 1;
        }
    }
    return 0;
}
