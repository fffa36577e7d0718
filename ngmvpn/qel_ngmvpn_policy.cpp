#include "qel_ngmvpn_policy.h"

#include "platform/bounds.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn.h"
#include "qel_ngmvpn_attribute_pkt.h"
#include "qel_ngmvpn_key.h"
#include "qel_ngmvpn_nlri.h"
#include "qel_ngmvpn_segment_policy.h"
#include "qel_ngmvpn_util.h"

#include <cstddef>
#include <cstdint>

static constexpr uint32_t QEL_NGMVPN_MATCH_HDR_LEN = 4;
static constexpr uint16_t QEL_NGMVPN_MATCH_RD_LEN = sizeof(QEL_RD_VALUE_S);
static constexpr uint16_t QEL_NGMVPN_MATCH_MVPN_TYPE_LEN = 1;
static constexpr uint16_t QEL_NGMVPN_MATCH_ORIGI_IP_LEN = 4;

/* The policy engine's prefix entry. */

uint32_t QEL_NGMVPN_ConstructRtpEntry(const QEL_ROUTE_INFO_S *pstRoute, QEL_RTP_ENTRY_S *pstRtpEntry)
{
    static constexpr uint32_t uiIpv4 = 0;
    static constexpr uint32_t uiIpv6 = 1;
    if (QEL_Missing(pstRoute) || QEL_Missing(pstRoute->pucKey) || QEL_Missing(pstRtpEntry)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    if (pstKey->uiKeyType != QEL_NGMVPN_KEY_INTRA_IPMSI_AD) {
        /* kept: set here and cleared nowhere; an entry belongs to the engine, which hands out fresh ones */
        pstRtpEntry->usRtpFlags |= QEL_NGMVPN_RTP_NO_PREFIX;
        return QEL_OK;
    }
    const QEL_ADDR_AT_S *pstOrigAddr = &pstKey->uKey.stIntraIpmsiAd.stOrigAddr;
    if (pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen == QEL_NGMVPN_ADDR_LEN_IPV4) {
        pstRtpEntry->uiRtpAddrType = uiIpv4;
        pstRtpEntry->uiRtpPrefixLen = QEL_NGMVPN_ADDR_LEN_IPV4;
        pstRtpEntry->stRtpAddr.uiIpv4 = pstOrigAddr->uiIpv4;
        return QEL_OK;
    }
    /* kept: every length but 32 counts as IPv6, also none at all; the engine's prefix lists are written for it */
    pstRtpEntry->uiRtpAddrType = uiIpv6;
    QEL_Copy(&pstRtpEntry->stRtpAddr, sizeof(pstRtpEntry->stRtpAddr), pstOrigAddr, sizeof(*pstOrigAddr));
    pstRtpEntry->uiRtpPrefixLen = QEL_NGMVPN_ADDR_LEN_IPV6;
    return QEL_OK;
}

/* Match buffer. */

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnConstructMatchTbl[] = {
    {QEL_NGMVPN_MATCH_RD, {.pfConstructMatch = QEL_NGMVPN_ConstructMatchRd}},
    {QEL_NGMVPN_MATCH_EXTCOMM, {.pfConstructMatch = QEL_NGMVPN_ConstructMatchExtCommunity}},
    {QEL_NGMVPN_MATCH_SNH_EXTCOMM, {.pfConstructMatch = QEL_NGMVPN_ConstructMatchSnhExtCommunity}},
    {QEL_NGMVPN_MATCH_MVPN_TYPE, {.pfConstructMatch = QEL_NGMVPN_ConstructMatchMvpnType}},
    {QEL_NGMVPN_MATCH_ORIGI_IP, {.pfConstructMatch = QEL_NGMVPN_ConstructMatchOrigiIp}},
};

uint32_t QEL_NGMVPN_CalcRtpMatchTlvLen(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint32_t *puiMatchLen)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pstRoute->pucKey) || QEL_Missing(puiMatchLen)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiWanted = uiMatchMask;
    if (!QEL_NGMVPN_IsPmsiAd_(QEL_NGMVPN_KeyOf_(pstRoute)->uiKeyType)) {
        uiWanted &= QEL_NGMVPN_MATCH_RD | QEL_NGMVPN_MATCH_EXTCOMM;
    }
    /* kept: a missing list empties the whole match, the RD's part too: so the engine learns that nothing can match */
    if ((uiWanted & (QEL_NGMVPN_MATCH_EXTCOMM | QEL_NGMVPN_MATCH_SNH_EXTCOMM)) != 0 &&
        pstRoute->pucExtComm == nullptr) {
        return QEL_OK;
    }
    const uint32_t uiListLen = pstRoute->uiExtCommLen + QEL_NGMVPN_MATCH_HDR_LEN;
    uint32_t uiLen = 0;
    uiLen += (uiWanted & QEL_NGMVPN_MATCH_RD) != 0 ? QEL_NGMVPN_MATCH_HDR_LEN + QEL_NGMVPN_MATCH_RD_LEN : 0;
    uiLen += (uiWanted & QEL_NGMVPN_MATCH_EXTCOMM) != 0 ? uiListLen : 0;
    uiLen += (uiWanted & QEL_NGMVPN_MATCH_SNH_EXTCOMM) != 0 ? uiListLen : 0;
    uiLen +=
        (uiWanted & QEL_NGMVPN_MATCH_MVPN_TYPE) != 0 ? QEL_NGMVPN_MATCH_HDR_LEN + QEL_NGMVPN_MATCH_MVPN_TYPE_LEN : 0;
    /* kept: counted for an IPv6 originator as well, which writes nothing: the last octets are the allocator's, and the
     * engine is used to the length */
    uiLen += (uiWanted & QEL_NGMVPN_MATCH_ORIGI_IP) != 0 ? QEL_NGMVPN_MATCH_HDR_LEN + QEL_NGMVPN_MATCH_ORIGI_IP_LEN : 0;
    *puiMatchLen = uiLen;
    return QEL_OK;
}

/* Step: every wanted row writes its TLV. */
static uint32_t QEL_NGMVPN_WriteMatch_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t *pucMatch,
                                       uint32_t uiLen, QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucCursor = pucMatch;
    uint32_t uiRemain = uiLen;
    for (const QEL_DISPATCH_ENTRY_S &stEntry : g_astQelNgmvpnConstructMatchTbl) {
        if ((uiMatchMask & stEntry.uiType) != 0 &&
            stEntry.pfConstructMatch(pstRoute, &pucCursor, &uiRemain, pstCtx) != QEL_OK) {
            /* kept: whatever the handler's code, no RD and no room alike; the engine asks for yes or no */
            return QEL_ERR_FAILED;
        }
    }
    return QEL_OK;
}

uint32_t QEL_NGMVPN_ConstructMatch(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t **ppucMatch,
                                   uint32_t *puiMatchLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucMatch) || QEL_Missing(puiMatchLen) || QEL_Missing(pstCtx) ||
        QEL_Zero(uiMatchMask)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiLen = 0;
    /* kept: the length alone decides; a route without key is reported there and has nothing to match */
    (void)QEL_NGMVPN_CalcRtpMatchTlvLen(pstRoute, uiMatchMask, &uiLen);
    if (uiLen == 0) {
        return QEL_OK;
    }
    auto *pucMatch = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (QEL_Missing(pucMatch)) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet = QEL_NGMVPN_WriteMatch_(pstRoute, uiMatchMask, pucMatch, uiLen, pstCtx);
    if (uiRet != QEL_OK) {
        ZVK_Free_F(pucMatch, __FILE__, __LINE__);
        pucMatch = nullptr;
        uiLen = 0;
    }
    *ppucMatch = pucMatch;
    *puiMatchLen = uiLen;
    return uiRet;
}

static bool QEL_NGMVPN_MatchArgsMissing_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                         const uint32_t *puiRemain, const QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiRemain) || QEL_Missing(pstCtx);
}

static void QEL_NGMVPN_WriteMatchHdr_(uint8_t *pucTlv, uint16_t usType, uint16_t usLen)
{
    QEL_StoreBe16(pucTlv, usType);
    QEL_StoreBe16(pucTlv + sizeof(usType), usLen);
}

/* Moves the cursor behind a TLV whose value has usLen bytes. */
static void QEL_NGMVPN_PassMatchTlv_(uint8_t **ppucCursor, uint32_t *puiRemain, uint16_t usLen)
{
    *ppucCursor += QEL_NGMVPN_MATCH_HDR_LEN + usLen;
    *puiRemain -= QEL_NGMVPN_MATCH_HDR_LEN + usLen;
}

uint32_t QEL_NGMVPN_ConstructMatchRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                     QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_NGMVPN_MatchArgsMissing_(pstRoute, ppucCursor, puiRemain, pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucRd == nullptr) {
        return QEL_ERR_ABSENT;
    }
    if (*puiRemain < QEL_NGMVPN_MATCH_HDR_LEN + QEL_NGMVPN_MATCH_RD_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_NGMVPN_WriteMatchHdr_(*ppucCursor, QEL_NGMVPN_MATCH_TLV_RD, QEL_NGMVPN_MATCH_RD_LEN);
    /* kept: the RD goes out as it stands, not in network order like the rest; the engine compares it so */
    QEL_Copy(*ppucCursor + QEL_NGMVPN_MATCH_HDR_LEN, *puiRemain - QEL_NGMVPN_MATCH_HDR_LEN, pstRoute->pucRd,
             QEL_NGMVPN_MATCH_RD_LEN);
    QEL_NGMVPN_PassMatchTlv_(ppucCursor, puiRemain, QEL_NGMVPN_MATCH_RD_LEN);
    return QEL_OK;
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_ConstructMatchExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                            uint32_t *puiRemain, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_NGMVPN_MatchArgsMissing_(pstRoute, ppucCursor, puiRemain, pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        return QEL_OK;
    }
    /* kept: the low 16 bits of a length that the length step counts whole; the header's length word has no more */
    const uint16_t usLen = static_cast<uint16_t>(pstRoute->uiExtCommLen);
    if (usLen + QEL_NGMVPN_MATCH_HDR_LEN > *puiRemain) {
        return QEL_ERR_SPACE;
    }
    QEL_NGMVPN_WriteMatchHdr_(*ppucCursor, QEL_NGMVPN_MATCH_TLV_EXTCOMM, usLen);
    QEL_ROUTE_INFO_S stList = {};
    stList.pucExtComm = pstRoute->pucExtComm;
    stList.uiExtCommLen = usLen;
    uint8_t *pucValue = *ppucCursor + QEL_NGMVPN_MATCH_HDR_LEN;
    const uint32_t uiRet =
        QEL_NGMVPN_FormatExtCommunity(&stList, &pucValue, *puiRemain - QEL_NGMVPN_MATCH_HDR_LEN, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_PassMatchTlv_(ppucCursor, puiRemain, usLen);
    return QEL_OK;
}

/* kept: the whole list once more, not the Segmented Next-Hop alone; a policy tells the two by the match type that it
 * asked with */
uint32_t QEL_NGMVPN_ConstructMatchSnhExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                  uint32_t *puiRemain, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_NGMVPN_MatchArgsMissing_(pstRoute, ppucCursor, puiRemain, pstCtx) || QEL_Missing(pstRoute->pucKey)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiKeyType = QEL_NGMVPN_KeyOf_(pstRoute)->uiKeyType;
    if (!QEL_NGMVPN_IsPmsiAd_(uiKeyType)) {
        return QEL_OK;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "ConstructMatchSnhExtCommunity type(%d)", static_cast<int32_t>(uiKeyType));
    return QEL_NGMVPN_ConstructMatchExtCommunity(pstRoute, ppucCursor, puiRemain, pstCtx);
}

uint32_t QEL_NGMVPN_ConstructMatchMvpnType(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                           QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_NGMVPN_MatchArgsMissing_(pstRoute, ppucCursor, puiRemain, pstCtx) || QEL_Missing(pstRoute->pucKey)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiKeyType = QEL_NGMVPN_KeyOf_(pstRoute)->uiKeyType;
    if (!QEL_NGMVPN_IsPmsiAd_(uiKeyType)) {
        return QEL_OK;
    }
    if (*puiRemain < QEL_NGMVPN_MATCH_HDR_LEN + QEL_NGMVPN_MATCH_MVPN_TYPE_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_NGMVPN_WriteMatchHdr_(*ppucCursor, QEL_NGMVPN_MATCH_TLV_MVPN_TYPE, QEL_NGMVPN_MATCH_MVPN_TYPE_LEN);
    (*ppucCursor)[QEL_NGMVPN_MATCH_HDR_LEN] = static_cast<uint8_t>(uiKeyType);
    QEL_NGMVPN_PassMatchTlv_(ppucCursor, puiRemain, QEL_NGMVPN_MATCH_MVPN_TYPE_LEN);
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "ConstructMatchMvpnType type(%d)", static_cast<int32_t>(uiKeyType));
    return QEL_OK;
}

uint32_t QEL_NGMVPN_ConstructMatchOrigiIp(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                          QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_NGMVPN_MatchArgsMissing_(pstRoute, ppucCursor, puiRemain, pstCtx) || QEL_Missing(pstRoute->pucKey)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    if (!QEL_NGMVPN_IsPmsiAd_(pstKey->uiKeyType)) {
        return QEL_OK;
    }
    const bool bIntra = pstKey->uiKeyType == QEL_NGMVPN_KEY_INTRA_IPMSI_AD;
    const uint8_t ucAddrLen = bIntra ? pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen : pstKey->uKey.stSpmsiAd.ucOrigAddrLen;
    const QEL_ADDR_AT_S *pstOrigAddr =
        bIntra ? &pstKey->uKey.stIntraIpmsiAd.stOrigAddr : &pstKey->uKey.stSpmsiAd.stOrigAddr;
    const uint32_t uiOrigiIp = pstOrigAddr->uiIpv4;
    /* kept: an originator that is not written needs its room all the same, as the length step counts it */
    if (*puiRemain < QEL_NGMVPN_MATCH_HDR_LEN + QEL_NGMVPN_MATCH_ORIGI_IP_LEN) {
        return QEL_ERR_SPACE;
    }
    if (ucAddrLen != QEL_NGMVPN_ADDR_LEN_IPV4) {
        return QEL_OK;
    }
    QEL_NGMVPN_WriteMatchHdr_(*ppucCursor, QEL_NGMVPN_MATCH_TLV_ORIGI_IP, QEL_NGMVPN_MATCH_ORIGI_IP_LEN);
    QEL_StoreBe32(*ppucCursor + QEL_NGMVPN_MATCH_HDR_LEN, uiOrigiIp);
    QEL_NGMVPN_PassMatchTlv_(ppucCursor, puiRemain, QEL_NGMVPN_MATCH_ORIGI_IP_LEN);
    if (bIntra) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ConstructMatchOrigiIp type 1 origiIp(%d)", static_cast<int32_t>(uiOrigiIp));
    } else {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ConstructMatchOrigiIp type 3 origiIp(%d)", static_cast<int32_t>(uiOrigiIp));
    }
    return QEL_OK;
}

/* Actions on the community list. */

static constexpr uint32_t QEL_NGMVPN_EXTCOMM_LEN = sizeof(QEL_EXTCOMM_S);

/* What becomes of attribute 16. */
typedef struct {
    uint8_t *pucApply;     /* the new list in host order; null: the host keeps what it has */
    uint16_t usTotalCount; /* elements in pucApply */
    bool bNoValue;         /* nothing is left: the host removes the attribute */
} QEL_NGMVPN_NEW_LIST_S;

void QEL_NGMVPN_FreeTempValue(uint8_t **ppucValue, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucValue) || *ppucValue == nullptr) {
        return;
    }
    void *pvMem = *ppucValue;
    QEL_NGMVPN_Free(&pvMem, pstCtx);
    *ppucValue = static_cast<uint8_t *>(pvMem);
}

uint32_t QEL_NGMVPN_InitHostAction(uint32_t uiValueLen, uint8_t **ppucHost, const uint8_t *pucValue,
                                   QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucHost) || QEL_Missing(pucValue) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiValueLen == 0) {
        return QEL_OK;
    }
    /* with what stays of the route's list the length has to have 32 bits */
    if (uiValueLen > UINT32_MAX - UINT16_MAX) {
        QEL_Report(uiValueLen);
        return QEL_ERR_MEMORY;
    }
    auto *pucHost = static_cast<uint8_t *>(QEL_NGMVPN_Malloc(pstCtx, uiValueLen));
    if (QEL_Missing(pucHost)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Copy(pucHost, uiValueLen, pucValue, uiValueLen);
    QEL_NGMVPN_ConvertExtCommunityNTOH(reinterpret_cast<QEL_EXTCOMM_S *>(pucHost), uiValueLen / QEL_NGMVPN_EXTCOMM_LEN);
    *ppucHost = pucHost;
    return QEL_OK;
}

void QEL_NGMVPN_GetExtCommAttrExcludeRT(const uint8_t *pucExtComm, uint16_t usCount, uint8_t *pucOut,
                                        uint16_t *pusOutLen)
{
    static constexpr uint8_t ucSubTypeRt = 2;
    if (QEL_Missing(pucExtComm) || QEL_Missing(pucOut) || QEL_Missing(pusOutLen)) {
        return;
    }
    const uint32_t uiRoom = usCount * QEL_NGMVPN_EXTCOMM_LEN;
    uint32_t uiOutLen = 0;
    for (uint32_t i = 0; i < usCount; i++) {
        const uint8_t *pucElement = pucExtComm + static_cast<size_t>(i) * QEL_NGMVPN_EXTCOMM_LEN;
        /* kept: the Sub-type octet alone makes a Route Target, whatever the Type; policies count on unknown kinds */
        if (pucElement[0] != ucSubTypeRt) {
            QEL_Copy(pucOut + uiOutLen, uiRoom - uiOutLen, pucElement, QEL_NGMVPN_EXTCOMM_LEN);
            uiOutLen += QEL_NGMVPN_EXTCOMM_LEN;
        }
    }
    *pusOutLen = static_cast<uint16_t>(uiOutLen);
}

uint32_t QEL_NGMVPN_InitTempExtCommValue(const uint8_t *pucExtComm, uint32_t uiExtCommLen, uint8_t **ppucTemp,
                                         uint16_t *pusTempLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucTemp) || QEL_Missing(pusTempLen) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    /* kept: elements are counted in 16 bits, the action's too; an attribute has fewer and no buffer grows by more */
    const uint16_t usCount = static_cast<uint16_t>(uiExtCommLen / QEL_NGMVPN_EXTCOMM_LEN);
    if (usCount == 0) {
        return QEL_OK;
    }
    auto *pucTemp = static_cast<uint8_t *>(QEL_NGMVPN_Malloc(pstCtx, uiExtCommLen));
    if (QEL_Missing(pucTemp)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pucTemp, uiExtCommLen, uiExtCommLen);
    QEL_NGMVPN_GetExtCommAttrExcludeRT(pucExtComm, usCount, pucTemp, pusTempLen);
    *ppucTemp = pucTemp;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_InitApplyExtComm(uint8_t **ppucApply, uint32_t uiLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucApply) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    auto *pucApply = static_cast<uint8_t *>(QEL_NGMVPN_Malloc(pstCtx, uiLen));
    if (QEL_Missing(pucApply)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pucApply, uiLen, uiLen);
    *ppucApply = pucApply;
    return QEL_OK;
}

/* Step: the new list is what stays of the route's and behind it the action's; both may be empty. */
static uint32_t QEL_NGMVPN_JoinLists_(const uint8_t *pucStay, uint16_t usStayLen, const uint8_t *pucHost,
                                      uint32_t uiHostLen, QEL_NGMVPN_NEW_LIST_S *pstNew, QEL_FAMILY_CTX_S *pstCtx)
{
    const uint32_t uiLen = usStayLen + uiHostLen;
    if (uiLen == 0) {
        pstNew->bNoValue = true;
        return QEL_OK;
    }
    /* kept: less than one element, alone, comes out of the clean-up as one; the octets that it lacks are zero */
    const uint32_t uiRoom = uiLen < QEL_NGMVPN_EXTCOMM_LEN ? QEL_NGMVPN_EXTCOMM_LEN : uiLen;
    const uint32_t uiRet = QEL_NGMVPN_InitApplyExtComm(&pstNew->pucApply, uiRoom, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (usStayLen != 0) {
        QEL_Copy(pstNew->pucApply, uiRoom, pucStay, usStayLen);
    }
    if (pucHost != nullptr) {
        QEL_Copy(pstNew->pucApply + usStayLen, uiRoom - usStayLen, pucHost, uiHostLen);
    }
    pstNew->usTotalCount =
        static_cast<uint16_t>(uiHostLen / QEL_NGMVPN_EXTCOMM_LEN + usStayLen / QEL_NGMVPN_EXTCOMM_LEN);
    return QEL_OK;
}

/* Step: the route's list, Route Targets included, and the action's. */
static uint32_t QEL_NGMVPN_AddExtComm_(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucHost, uint32_t uiHostLen,
                                       QEL_NGMVPN_NEW_LIST_S *pstNew, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Zero(uiHostLen)) {
        return QEL_ERR_NULL;
    }
    const uint16_t usCount = static_cast<uint16_t>(pstRoute->uiExtCommLen / QEL_NGMVPN_EXTCOMM_LEN);
    const uint16_t usStayLen = static_cast<uint16_t>(usCount * QEL_NGMVPN_EXTCOMM_LEN);
    return QEL_NGMVPN_JoinLists_(pstRoute->pucExtComm, usStayLen, pucHost, uiHostLen, pstNew, pstCtx);
}

/* Step: the action's list in the place of the route's Route Targets. */
static uint32_t QEL_NGMVPN_ReplaceRt_(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucHost, uint32_t uiHostLen,
                                      QEL_NGMVPN_NEW_LIST_S *pstNew, QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucTemp = nullptr;
    uint16_t usTempLen = 0;
    uint32_t uiRet =
        QEL_NGMVPN_InitTempExtCommValue(pstRoute->pucExtComm, pstRoute->uiExtCommLen, &pucTemp, &usTempLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    uiRet = QEL_NGMVPN_JoinLists_(pucTemp, usTempLen, pucHost, uiHostLen, pstNew, pstCtx);
    QEL_NGMVPN_FreeTempValue(&pucTemp, pstCtx);
    return uiRet;
}

/* Step: the new list of the action. */
static uint32_t QEL_NGMVPN_BuildNewList_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType,
                                         const uint8_t *pucValue, uint32_t uiValueLen, QEL_NGMVPN_NEW_LIST_S *pstNew,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucHost = nullptr;
    uint32_t uiRet = QEL_NGMVPN_InitHostAction(uiValueLen, &pucHost, pucValue, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (uiActionType == QEL_NGMVPN_ACTION_EXTCOMM_ADD) {
        uiRet = QEL_NGMVPN_AddExtComm_(pstRoute, pucHost, uiValueLen, pstNew, pstCtx);
    } else if (uiActionType == QEL_NGMVPN_ACTION_EXTCOMM_REPLACE) {
        uiRet = QEL_NGMVPN_ReplaceRt_(pstRoute, pucHost, uiValueLen, pstNew, pstCtx);
    }
    QEL_NGMVPN_FreeTempValue(&pucHost, pstCtx);
    /* kept: a delete makes the action's list as well and drops it; its inline buffer serves the next step, and a value
     * that can't be copied fails the action */
    if (uiActionType == QEL_NGMVPN_ACTION_EXTCOMM_DELETE) {
        uiRet = QEL_NGMVPN_ReplaceRt_(pstRoute, nullptr, 0, pstNew, pstCtx);
    }
    return uiRet;
}

/* Step: the new list, cleaned up, as a block. */
static uint32_t QEL_NGMVPN_OutputNewList_(QEL_NGMVPN_NEW_LIST_S *pstNew, QEL_ROUTE_BLOCK_S **ppstResult,
                                          QEL_FAMILY_CTX_S *pstCtx)
{
    const uint32_t uiRet = QEL_NGMVPN_CleanupExtCommunity(reinterpret_cast<QEL_EXTCOMM_S *>(pstNew->pucApply),
                                                          &pstNew->usTotalCount, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ApplyExtCommunity, outPut ext");
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_EXTCOMM;
    stView.ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    stView.usAttrLen = static_cast<uint16_t>(pstNew->usTotalCount * QEL_NGMVPN_EXTCOMM_LEN);
    stView.pucAttr = pstNew->pucApply;
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_ApplyExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType,
                                                   const uint8_t *pucValue, uint32_t uiValueLen,
                                                   QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: a missing value is refused by a delete too, which reads none; the engine always passes one */
    if (QEL_Missing(pstRoute) || QEL_Missing(pucValue) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ApplyExtCommunity, action input");
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ApplyExtCommunity, origi ext");
    QEL_NGMVPN_NEW_LIST_S stNew = {};
    uint32_t uiRet = QEL_NGMVPN_BuildNewList_(pstRoute, uiActionType, pucValue, uiValueLen, &stNew, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (stNew.bNoValue) {
        return QEL_NGMVPN_BuildNoneValueOutput(ppstResult, pstCtx);
    }
    /* kept: an unknown action gives no block, where a list that became empty gives one without value: here the host
     * keeps the attribute, there it removes it */
    if (stNew.pucApply == nullptr) {
        *ppstResult = nullptr;
        return QEL_OK;
    }
    uiRet = QEL_NGMVPN_OutputNewList_(&stNew, ppstResult, pstCtx);
    QEL_NGMVPN_FreeTempValue(&stNew.pucApply, pstCtx);
    return uiRet;
}

/* Attributes of an outgoing route. */

/* The community list that goes out. */
typedef struct {
    const uint8_t *pucList;
    uint16_t usLen;
    uint8_t *pucCopy; /* the list's memory where it is not the route's own, from the memory handle */
} QEL_NGMVPN_OUT_LIST_S;

/* Step: the list without the elements that do not go to the peer, as a block. kept: a list that this rule empties has
 * the code of an empty view, one that the removal of the Segmented Next-Hop empties succeeds; hosts tell the two apart
 */
static uint32_t QEL_NGMVPN_OutputAllowed_(const QEL_NGMVPN_OUT_LIST_S *pstList, uint32_t uiCtrlFlag,
                                          QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint8_t ucNonTransitive = 0x40;
    const uint32_t uiLen = pstList->usLen;
    auto *pucOut = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (QEL_Missing(pucOut)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pucOut, uiLen, uiLen);
    const bool bDrop = (uiCtrlFlag & QEL_NGMVPN_CTRL_DROP_NON_TRANSITIVE) != 0;
    uint32_t uiOutLen = 0;
    for (uint32_t uiAt = 0; uiLen - uiAt >= QEL_NGMVPN_EXTCOMM_LEN; uiAt += QEL_NGMVPN_EXTCOMM_LEN) {
        const uint8_t *pucElement = pstList->pucList + uiAt;
        if (!bDrop || (pucElement[1] & ucNonTransitive) == 0) {
            QEL_Copy(pucOut + uiOutLen, uiLen - uiOutLen, pucElement, QEL_NGMVPN_EXTCOMM_LEN);
            uiOutLen += QEL_NGMVPN_EXTCOMM_LEN;
        }
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_EXTCOMM;
    stView.ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    stView.usAttrLen = static_cast<uint16_t>(uiOutLen);
    stView.pucAttr = pucOut;
    const uint32_t uiRet = QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
    ZVK_Free_F(pucOut, __FILE__, __LINE__);
    return uiRet;
}

/* Step: the list of a route without record that holds a Segmented Next-Hop; false if nothing goes out. */
static bool QEL_NGMVPN_DropSnhForEbgp_(QEL_NGMVPN_OUT_LIST_S *pstList, uint32_t uiCtrlFlag, QEL_FAMILY_CTX_S *pstCtx)
{
    uint16_t usLeft = 0;
    if (QEL_NGMVPN_ProcExtCommunityEbgpPeer(pstList->pucList, pstList->usLen, uiCtrlFlag, &pstList->pucCopy, &usLeft,
                                            pstCtx) != QEL_OK) {
        /* kept: without memory the attribute goes out of the update, and nobody but the log hears of it */
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetExtCommunity Err.");
        return false;
    }
    if (pstList->pucCopy != nullptr && usLeft == 0) {
        /* kept: "replace" in a removal; operators search their logs for the words as they are */
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetExtCommunity after replace SNH, no extcomm.");
        return false;
    }
    if (pstList->pucCopy != nullptr) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetExtCommunity remove SNH, ebgpflag(0x%x).", uiCtrlFlag);
        pstList->pucList = pstList->pucCopy;
        pstList->usLen = usLeft;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetExtCommunity after ebgp proc.");
    return true;
}

uint32_t QEL_NGMVPN_SetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCtrlFlag,
                                    QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        *ppstResult = nullptr;
        return QEL_OK;
    }
    QEL_NGMVPN_OUT_LIST_S stList = {pstRoute->pucExtComm, static_cast<uint16_t>(pstRoute->uiExtCommLen), nullptr};
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetExtCommunity input uiCtrl: 0x%x", uiCtrlFlag);
    bool bGoesOut = true;
    /* kept: a route with a record keeps a Segmented Next-Hop towards an EBGP peer, replaced or not; the record says
     * that this router stitches the tunnel */
    if (pstRoute->pstImportAttr != nullptr) {
        const uint32_t uiRet =
            QEL_NGMVPN_ReplaceSnhExtComm(pstRoute, stList.pucList, stList.usLen, &stList.pucCopy, pstCtx);
        if (uiRet != QEL_OK) {
            /* kept: told as missing memory whatever failed; hosts know no other refusal of this attribute */
            QEL_Report(uiRet);
            return QEL_ERR_MEMORY;
        }
        stList.pucList = stList.pucCopy != nullptr ? stList.pucCopy : stList.pucList;
    } else if (QEL_NGMVPN_CheckSnhExist(pstRoute) == 1) {
        bGoesOut = QEL_NGMVPN_DropSnhForEbgp_(&stList, uiCtrlFlag, pstCtx);
    }
    uint32_t uiRet = QEL_OK;
    if (bGoesOut) {
        uiRet = QEL_NGMVPN_OutputAllowed_(&stList, uiCtrlFlag, ppstResult, pstCtx);
    } else {
        *ppstResult = nullptr;
    }
    if (stList.pucCopy != nullptr) {
        ZVK_Free_F(stList.pucCopy, __FILE__, __LINE__);
    }
    return uiRet;
}

/* A value as a block. kept: without flag and type, unlike the other attributes; hosts know it by what they asked for */
static uint32_t QEL_NGMVPN_OutputBare_(const void *pvValue, uint16_t usLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                       const QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_ROUTE_VIEW_S stView = {};
    stView.usAttrLen = usLen;
    stView.pucAttr = QEL_Bytes(pvValue);
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

/* The route's non-key if its type and user data fields are valid, else null. */
static const QEL_NGMVPN_NONKEY_AT_S *QEL_NGMVPN_UserDataOf_(const QEL_ROUTE_INFO_S *pstRoute)
{
    static constexpr uint16_t usWanted = QEL_NGMVPN_NONKEY_TYPE | QEL_NGMVPN_NONKEY_USER_DATA;
    if ((pstRoute->uiValidMask & QEL_SECTION_NONKEY) == 0 || pstRoute->pucNonKey == nullptr) {
        return nullptr;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = reinterpret_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pstRoute->pucNonKey);
    return (pstNonKey->usFlags & usWanted) == usWanted ? pstNonKey : nullptr;
}

uint32_t QEL_NGMVPN_SetNexthop(const QEL_ROUTE_INFO_S *pstRoute, uint32_t /* uiCtrlFlag */,
                               QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint16_t usIpv4Len = sizeof(uint32_t);
    uint8_t aucAddr[sizeof(QEL_ADDR_S)] = {};
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    *ppstResult = nullptr;
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = QEL_NGMVPN_UserDataOf_(pstRoute);
    if (pstNonKey == nullptr ||
        (pstNonKey->usUserAddrLen != usIpv4Len && pstNonKey->usUserAddrLen != sizeof(aucAddr))) {
        return QEL_OK;
    }
    QEL_Copy(aucAddr, sizeof(aucAddr), &pstNonKey->stUserAddr, pstNonKey->usUserAddrLen);
    /* kept: 16 bytes for an IPv4 address too, zeros behind it; hosts tell the two apart by the zeros */
    return QEL_NGMVPN_OutputBare_(aucAddr, sizeof(aucAddr), ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_SetCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t /* uiCtrlFlag */,
                                 QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint32_t uiMayBeExported = 1;
    static constexpr uint32_t uiNoExport = 0xFFFFFF01;
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = QEL_NGMVPN_UserDataOf_(pstRoute);
    if (pstNonKey == nullptr || pstNonKey->uiUserValue == uiMayBeExported) {
        *ppstResult = nullptr;
        return QEL_OK;
    }
    return QEL_NGMVPN_OutputBare_(&uiNoExport, sizeof(uiNoExport), ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_GetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucList, uint32_t *puiCount,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucList) || QEL_Missing(puiCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        *ppucList = nullptr;
        *puiCount = 0;
        return QEL_OK;
    }
    const uint32_t uiLen = pstRoute->uiExtCommLen;
    auto *pucList = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (QEL_Missing(pucList)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Copy(pucList, uiLen, pstRoute->pucExtComm, uiLen);
    *ppucList = pucList;
    *puiCount = uiLen / QEL_NGMVPN_EXTCOMM_LEN;
    return QEL_OK;
}

/* User data of next-hop lookups. */

static constexpr uint32_t QEL_NGMVPN_NHP_ADDR_LEN = sizeof(QEL_ADDR_S);
static_assert(QEL_NGMVPN_NHP_ADDR_AT + QEL_NGMVPN_NHP_ADDR_LEN == QEL_NGMVPN_NHP_DATA_LEN);

static void QEL_NGMVPN_PutNhpRd_(uint8_t *pucData, const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    QEL_Copy(pucData + QEL_NGMVPN_NHP_RD_AT, sizeof(QEL_RD_VALUE_S), &pstKey->stRd, sizeof(QEL_RD_VALUE_S));
}

void QEL_NGMVPN_GetCmcastNhpUserDataForIntraAd(uint8_t *pucData, const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    if (QEL_Missing(pucData) || QEL_Missing(pstKey)) {
        return;
    }
    const QEL_ADDR_AT_S *pstOrigAddr = &pstKey->uKey.stIntraIpmsiAd.stOrigAddr;
    QEL_NGMVPN_PutNhpRd_(pucData, pstKey);
    if (pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen == QEL_NGMVPN_ADDR_LEN_IPV4) {
        QEL_Store32(pucData, QEL_NGMVPN_NHP_IPV4);
        QEL_Store32(pucData + QEL_NGMVPN_NHP_ADDR_AT, pstOrigAddr->uiIpv4);
        return;
    }
    QEL_Store32(pucData, QEL_NGMVPN_NHP_IPV6);
    QEL_Copy(pucData + QEL_NGMVPN_NHP_ADDR_AT, QEL_NGMVPN_NHP_ADDR_LEN, pstOrigAddr, sizeof(*pstOrigAddr));
}

uint32_t QEL_NGMVPN_IsGtmBierV6CmcastDualRoot(const QEL_NGMVPN_KEY_AT_S *pstKey, const QEL_ROUTE_INFO_S *pstRoute)
{
    static constexpr QEL_RD_VALUE_S stGtmRd = {};
    if (QEL_Missing(pstKey) || QEL_Missing(pstRoute)) {
        return QEL_ERR_NULL;
    }
    if (QEL_NGMVPN_CmpRd(&pstKey->stRd, sizeof(stGtmRd), &stGtmRd, sizeof(stGtmRd)) != QEL_CMP_EQUAL) {
        return 0;
    }
    return pstRoute->uiIpv6ExtCommLen > sizeof(QEL_IPV6_EXTCOMM_S) ? 1 : 0;
}

void QEL_NGMVPN_GetCmcastNhpUserDataForCmcast(uint8_t *pucData, const QEL_NGMVPN_KEY_AT_S *pstKey,
                                              const QEL_ROUTE_INFO_S *pstRoute)
{
    if (QEL_Missing(pucData) || QEL_Missing(pstKey) || QEL_Missing(pstRoute)) {
        return;
    }
    QEL_NGMVPN_PutNhpRd_(pucData, pstKey);
    if (pstRoute->pucIpv6ExtComm == nullptr) {
        /* kept: the source AS stands where the address would, so the lookup takes it for one */
        QEL_Store32(pucData, QEL_NGMVPN_NHP_IPV4);
        QEL_Store32(pucData + QEL_NGMVPN_NHP_ADDR_AT, pstKey->uKey.stCMulticastRoute.uiSourceAs);
        return;
    }
    /* kept: a dual root gives zeros, the RD's bytes too, and not a failure: no single next hop */
    if (QEL_NGMVPN_IsGtmBierV6CmcastDualRoot(pstKey, pstRoute) == 1) {
        QEL_Clear(pucData, QEL_NGMVPN_NHP_DATA_LEN, QEL_NGMVPN_NHP_DATA_LEN);
        return;
    }
    const auto *pstElement = reinterpret_cast<const QEL_IPV6_EXTCOMM_S *>(pstRoute->pucIpv6ExtComm);
    QEL_Store32(pucData, QEL_NGMVPN_NHP_IPV6);
    for (uint32_t i = 0; i < sizeof(pstElement->auiAddr) / sizeof(uint32_t); i++) {
        QEL_StoreBe32(pucData + QEL_NGMVPN_NHP_ADDR_AT + i * sizeof(uint32_t), pstElement->auiAddr[i]);
    }
}

uint32_t QEL_NGMVPN_GetCmcastNhpUserData(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucData, uint32_t *puiLen,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucData) || QEL_Missing(puiLen) || QEL_Missing(pstCtx) ||
        QEL_Missing(pstRoute->pucKey)) {
        return QEL_ERR_NULL;
    }
    *ppucData = nullptr;
    *puiLen = 0;
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    const bool bIntra = pstKey->uiKeyType == QEL_NGMVPN_KEY_INTRA_IPMSI_AD;
    if (!bIntra && pstKey->uiKeyType != QEL_NGMVPN_KEY_SHARED_TREE_JOIN &&
        pstKey->uiKeyType != QEL_NGMVPN_KEY_SOURCE_TREE_JOIN) {
        return QEL_OK;
    }
    auto *pucData =
        static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, QEL_NGMVPN_NHP_DATA_LEN, __FILE__, __LINE__));
    if (QEL_Missing(pucData)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pucData, QEL_NGMVPN_NHP_DATA_LEN, QEL_NGMVPN_NHP_DATA_LEN);
    if (bIntra) {
        QEL_NGMVPN_GetCmcastNhpUserDataForIntraAd(pucData, pstKey);
    } else {
        QEL_NGMVPN_GetCmcastNhpUserDataForCmcast(pucData, pstKey, pstRoute);
    }
    *ppucData = pucData;
    *puiLen = QEL_NGMVPN_NHP_DATA_LEN;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_GetIntraNlriKeyByUserData(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                              QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_KEY_S stKey = {};
    QEL_ROUTE_VIEW_S stView = {};
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    /* kept: the very length that QEL_NGMVPN_GetCmcastNhpUserData produces is refused; hosts pass another one */
    if (uiLen == QEL_NGMVPN_NHP_DATA_LEN) {
        QEL_Report(uiLen);
        return QEL_ERR_NULL;
    }
    *ppstResult = nullptr;
    const uint8_t ucKind = pucData[0];
    if (ucKind > QEL_NGMVPN_NHP_IPV6) {
        return QEL_OK;
    }
    /* kept: the RD goes into its section alone; the key's own stays zero, so that it counts in no compare of keys */
    stKey.uiKeyType = QEL_NGMVPN_KEY_INTRA_IPMSI_AD;
    const bool bIpv4 = ucKind == QEL_NGMVPN_NHP_IPV4;
    stKey.uKey.stIntraIpmsiAd.ucOrigAddrLen = bIpv4 ? QEL_NGMVPN_ADDR_LEN_IPV4 : QEL_NGMVPN_ADDR_LEN_IPV6;
    QEL_Copy(&stKey.uKey.stIntraIpmsiAd.stOrigAddr, QEL_NGMVPN_NHP_ADDR_LEN, pucData + QEL_NGMVPN_NHP_ADDR_AT,
             bIpv4 ? sizeof(uint32_t) : QEL_NGMVPN_NHP_ADDR_LEN);
    stView.uiRdLen = sizeof(QEL_RD_VALUE_S);
    stView.pucRd = pucData + QEL_NGMVPN_NHP_RD_AT;
    stView.uiKeyLen = sizeof(stKey);
    stView.pucKey = QEL_Bytes(&stKey);
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}
