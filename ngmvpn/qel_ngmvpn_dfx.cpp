#include "qel_ngmvpn_dfx.h"

#include "platform/bounds.h"
#include "platform/kvo.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn.h"
#include "qel_ngmvpn_key.h"
#include "qel_ngmvpn_util.h"

#include <cstddef>
#include <cstdint>

static constexpr uint32_t QEL_NGMVPN_ADDR_TEXT_LEN = 47;
static constexpr uint32_t QEL_NGMVPN_IPV4_TEXT_LEN = 16;
static constexpr uint32_t QEL_NGMVPN_NUMBER_TEXT_LEN = 11;
static constexpr uint32_t QEL_NGMVPN_RD_TEXT_LEN = 24;
static constexpr uint32_t QEL_NGMVPN_ROUTE_TEXT_LEN = 256; /* a route, a community, a non-key */

static constexpr uint32_t QEL_NGMVPN_RD_FLAG_PLAIN = 0x1; /* uiRdFlags: the display form */

/* ---- texts: steps ---- */

/* A finished text to the caller's buffer, with its NUL. */
static uint32_t QEL_NGMVPN_PutText_(char *pcOut, uint32_t uiOutLen, const char *pcText, uint32_t uiLen)
{
    if (uiLen >= uiOutLen) {
        return QEL_ERR_SPACE;
    }
    QEL_Copy(pcOut, uiOutLen, pcText, uiLen);
    pcOut[uiLen] = '\0';
    return QEL_OK;
}

static void QEL_NGMVPN_StepList_(uint32_t *puiIndex, uint32_t *puiMore, uint32_t uiCount)
{
    *puiIndex += 1;
    *puiMore = uiCount > *puiIndex ? 1 : 0;
}

static void QEL_NGMVPN_EndText_(uint32_t *puiIndex, uint32_t *puiMore)
{
    *puiIndex = 0;
    *puiMore = 0;
}

/* Text of four host-order words of an IPv6 address. */
static void QEL_NGMVPN_HostAddr2Str_(const void *pvWords, char *pcBuf)
{
    KVO_IPV6_ADDR_S stAddr = {};
    QEL_Copy(&stAddr, sizeof(stAddr), pvWords, sizeof(stAddr));
    QEL_NGMVPN_ConvertKvoIPv6AddrInHost(&stAddr);
    (void)KVO_Inet_ntoa_b_ipv6_ex(stAddr, pcBuf, QEL_NGMVPN_ADDR_TEXT_LEN);
}

uint32_t QEL_NGMVPN_RdValueToStr(const QEL_RD_VALUE_S *pstRd, char *pcBuf, uint32_t uiBufLen)
{
    if (QEL_Missing(pstRd) || QEL_Missing(pcBuf)) {
        return QEL_ERR_NULL;
    }
    char acFirst[QEL_NGMVPN_IPV4_TEXT_LEN];
    char acSecond[QEL_NGMVPN_NUMBER_TEXT_LEN];
    char acThird[QEL_NGMVPN_NUMBER_TEXT_LEN];
    int32_t iLen = 0;
    switch (pstRd->usRdType) {
    case 0:
        iLen = snprintf_truncated_s(pcBuf, uiBufLen, "%s:%s", KVO_Uint32ToStr(pstRd->usAsn, acFirst, 10),
                                    KVO_Uint32ToStr(pstRd->uiAssigned, acSecond, 10));
        break;
    case 1:
        iLen = snprintf_truncated_s(pcBuf, uiBufLen, "%s:%s", KVO_IpAddrToStr(pstRd->uiAdmin, acFirst),
                                    KVO_Uint32ToStr(pstRd->usAssigned, acSecond, 10));
        break;
    case 2:
        /* kept: both halves are shown, also where the high one is 0; operators' scripts match on the dot */
        iLen = snprintf_truncated_s(pcBuf, uiBufLen, "%s.%s:%s", KVO_Uint32ToStr(pstRd->uiAdmin >> 16, acFirst, 10),
                                    KVO_Uint32ToStr(pstRd->uiAdmin & 0xFFFF, acSecond, 10),
                                    KVO_Uint32ToStr(pstRd->usAssigned, acThird, 10));
        break;
    default:
        return QEL_ERR_VALUE;
    }
    if (iLen < 0) {
        QEL_Report(static_cast<uint64_t>(iLen));
        return QEL_ERR_FAILED;
    }
    return QEL_OK;
}

char *QEL_NGMVPN_MpNlriAddr2Str(const QEL_ADDR_AT_S *pstAddr, uint8_t ucLen, uint32_t uiBufLen, char *pcBuf)
{
    static constexpr char acWildcard[QEL_NGMVPN_IPV4_TEXT_LEN] = "wildcard";
    const uint32_t uiNeed = ucLen == QEL_NGMVPN_ADDR_LEN_IPV6 ? QEL_NGMVPN_ADDR_TEXT_LEN : QEL_NGMVPN_IPV4_TEXT_LEN;
    if (QEL_Missing(pstAddr) || QEL_Missing(pcBuf)) {
        return pcBuf;
    }
    if (uiBufLen < uiNeed) {
        QEL_Report(uiBufLen);
        return pcBuf;
    }
    KVO_IPV6_ADDR_S stAddr = {};
    switch (ucLen) {
    case QEL_NGMVPN_ADDR_LEN_IPV4:
        return KVO_IpAddrToStr(QEL_Load32(pstAddr), pcBuf);
    case QEL_NGMVPN_ADDR_LEN_IPV6:
        QEL_Copy(&stAddr, sizeof(stAddr), pstAddr, sizeof(stAddr));
        QEL_NGMVPN_ConvertKvoIPv6AddrInNet(&stAddr);
        return KVO_Inet_ntoa_b_ipv6_ex(stAddr, pcBuf, QEL_NGMVPN_ADDR_TEXT_LEN);
    case 0:
        QEL_Copy(pcBuf, uiBufLen, acWildcard, sizeof(acWildcard));
        return pcBuf;
    default:
        QEL_Report(ucLen);
        return pcBuf;
    }
}

/* An address of a key as text, in a buffer of its own. */
typedef struct {
    char acText[QEL_NGMVPN_ADDR_TEXT_LEN];
} QEL_NGMVPN_ADDR_TEXT_S;

static const char *QEL_NGMVPN_AddrText_(QEL_NGMVPN_ADDR_TEXT_S *pstText, const QEL_ADDR_AT_S *pstAddr, uint8_t ucLen)
{
    *pstText = {};
    return QEL_NGMVPN_MpNlriAddr2Str(pstAddr, ucLen, sizeof(pstText->acText), pstText->acText);
}

/* ---- texts: routes ---- */

int32_t QEL_NGMVPN_MpNlriData2StrINTRAIPMSIAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                               uint32_t uiBufLen)
{
    QEL_NGMVPN_ADDR_TEXT_S stOrig;
    return snprintf_truncated_s(pcBuf, uiBufLen, "Route Type: Intra Ipmsi Ad %s/Orig Route Ip: %s ", pszRd,
                                QEL_NGMVPN_AddrText_(&stOrig, &pstKey->uKey.stIntraIpmsiAd.stOrigAddr,
                                                     pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen));
}

int32_t QEL_NGMVPN_MpNlriData2StrINTERIPMSIAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                               uint32_t uiBufLen)
{
    return snprintf_truncated_s(pcBuf, uiBufLen, "Route Type: Inter Ipmsi Ad %s/Source AS: %u ", pszRd,
                                pstKey->uKey.stInterIpmsiAd.uiSourceAs);
}

int32_t QEL_NGMVPN_MpNlriData2StrSPMSIAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                          uint32_t uiBufLen)
{
    QEL_NGMVPN_ADDR_TEXT_S stSrc;
    QEL_NGMVPN_ADDR_TEXT_S stGrp;
    QEL_NGMVPN_ADDR_TEXT_S stOrig;
    return snprintf_truncated_s(
        pcBuf, uiBufLen, "Route Type: Spmsi Ad %s/SourceAddr: %s GroupAddr: %s OrigRouteIp: %s ", pszRd,
        QEL_NGMVPN_AddrText_(&stSrc, &pstKey->uKey.stSpmsiAd.stSrcAddr, pstKey->uKey.stSpmsiAd.ucSrcAddrLen),
        QEL_NGMVPN_AddrText_(&stGrp, &pstKey->uKey.stSpmsiAd.stGrpAddr, pstKey->uKey.stSpmsiAd.ucGrpAddrLen),
        QEL_NGMVPN_AddrText_(&stOrig, &pstKey->uKey.stSpmsiAd.stOrigAddr, pstKey->uKey.stSpmsiAd.ucOrigAddrLen));
}

int32_t QEL_NGMVPN_MpNlriData2StrIPMSILEAFAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                              uint32_t uiBufLen)
{
    QEL_NGMVPN_ADDR_TEXT_S stOrig;
    QEL_NGMVPN_ADDR_TEXT_S stLeafText;
    return snprintf_truncated_s(
        pcBuf, uiBufLen, "Route Type: Leaf Ad %s/Remote OrigRoutIp: %s Local OrigRoutIp: %s ", pszRd,
        QEL_NGMVPN_AddrText_(&stOrig, &pstKey->uKey.stIpmsiLeafAd.stOrigAddr, pstKey->uKey.stIpmsiLeafAd.ucOrigAddrLen),
        QEL_NGMVPN_AddrText_(&stLeafText, &pstKey->uKey.stIpmsiLeafAd.stLeafAddr,
                             pstKey->uKey.stIpmsiLeafAd.ucLeafAddrLen));
}

int32_t QEL_NGMVPN_MpNlriData2StrSPMSILEAFAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                              uint32_t uiBufLen)
{
    QEL_NGMVPN_ADDR_TEXT_S stSrc;
    QEL_NGMVPN_ADDR_TEXT_S stGrp;
    QEL_NGMVPN_ADDR_TEXT_S stOrig;
    QEL_NGMVPN_ADDR_TEXT_S stLeafText;
    return snprintf_truncated_s(
        pcBuf, uiBufLen,
        "Route Type: Leaf Ad %s/RouteKey(SourceAddr: %s GroupAddr: %s OrigRouteIp: %s) OrigRouteIp: %s ", pszRd,
        QEL_NGMVPN_AddrText_(&stSrc, &pstKey->uKey.stSpmsiLeafAd.stSrcAddr, pstKey->uKey.stSpmsiLeafAd.ucSrcAddrLen),
        QEL_NGMVPN_AddrText_(&stGrp, &pstKey->uKey.stSpmsiLeafAd.stGrpAddr, pstKey->uKey.stSpmsiLeafAd.ucGrpAddrLen),
        QEL_NGMVPN_AddrText_(&stOrig, &pstKey->uKey.stSpmsiLeafAd.stOrigAddr, pstKey->uKey.stSpmsiLeafAd.ucOrigAddrLen),
        QEL_NGMVPN_AddrText_(&stLeafText, &pstKey->uKey.stSpmsiLeafAd.stLeafAddr,
                             pstKey->uKey.stSpmsiLeafAd.ucLeafAddrLen));
}

static int32_t QEL_NGMVPN_SourceActive2Str_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                            uint32_t uiBufLen)
{
    QEL_NGMVPN_ADDR_TEXT_S stSrc;
    QEL_NGMVPN_ADDR_TEXT_S stGrp;
    return snprintf_truncated_s(pcBuf, uiBufLen, "Route Type: SourceActive %s/SourceAddr: %s GroupAddr: %s ", pszRd,
                                QEL_NGMVPN_AddrText_(&stSrc, &pstKey->uKey.stSourceActiveAd.stSrcAddr,
                                                     pstKey->uKey.stSourceActiveAd.ucSrcAddrLen),
                                QEL_NGMVPN_AddrText_(&stGrp, &pstKey->uKey.stSourceActiveAd.stGrpAddr,
                                                     pstKey->uKey.stSourceActiveAd.ucGrpAddrLen));
}

static int32_t QEL_NGMVPN_CMulticast2Str_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                          uint32_t uiBufLen)
{
    QEL_NGMVPN_ADDR_TEXT_S stSrc;
    QEL_NGMVPN_ADDR_TEXT_S stGrp;
    return snprintf_truncated_s(pcBuf, uiBufLen,
                                "Route Type: CMulticastRoute %s/SourceAS: %u SourceAddr: %s GroupAddr: %s ", pszRd,
                                pstKey->uKey.stCMulticastRoute.uiSourceAs,
                                QEL_NGMVPN_AddrText_(&stSrc, &pstKey->uKey.stCMulticastRoute.stSrcAddr,
                                                     pstKey->uKey.stCMulticastRoute.ucSrcAddrLen),
                                QEL_NGMVPN_AddrText_(&stGrp, &pstKey->uKey.stCMulticastRoute.stGrpAddr,
                                                     pstKey->uKey.stCMulticastRoute.ucGrpAddrLen));
}

/* The route's text by key type; below 0 for a key type outside 1 to 8. */
static int32_t QEL_NGMVPN_Key2Str_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf, uint32_t uiBufLen)
{
    switch (pstKey->uiKeyType) {
    case QEL_NGMVPN_KEY_INTRA_IPMSI_AD:
        return QEL_NGMVPN_MpNlriData2StrINTRAIPMSIAD_(pstKey, pszRd, pcBuf, uiBufLen);
    case QEL_NGMVPN_KEY_INTER_IPMSI_AD:
        return QEL_NGMVPN_MpNlriData2StrINTERIPMSIAD_(pstKey, pszRd, pcBuf, uiBufLen);
    case QEL_NGMVPN_KEY_SPMSI_AD:
        return QEL_NGMVPN_MpNlriData2StrSPMSIAD_(pstKey, pszRd, pcBuf, uiBufLen);
    case QEL_NGMVPN_KEY_IPMSI_LEAF_AD:
        return QEL_NGMVPN_MpNlriData2StrIPMSILEAFAD_(pstKey, pszRd, pcBuf, uiBufLen);
    case QEL_NGMVPN_KEY_SPMSI_LEAF_AD:
        return QEL_NGMVPN_MpNlriData2StrSPMSILEAFAD_(pstKey, pszRd, pcBuf, uiBufLen);
    case QEL_NGMVPN_KEY_SOURCE_ACTIVE_AD:
        return QEL_NGMVPN_SourceActive2Str_(pstKey, pszRd, pcBuf, uiBufLen);
    case QEL_NGMVPN_KEY_SHARED_TREE_JOIN:
    case QEL_NGMVPN_KEY_SOURCE_TREE_JOIN:
        return QEL_NGMVPN_CMulticast2Str_(pstKey, pszRd, pcBuf, uiBufLen);
    default:
        return -1;
    }
}

static uint32_t QEL_NGMVPN_PutRouteText_(const QEL_ROUTE_INFO_S *pstRoute, char *pcBuf, char *pcOut, uint32_t uiOutLen)
{
    char acRd[QEL_NGMVPN_RD_TEXT_LEN] = {};
    /* kept: the RD shown is the route's section and not the key's, and one that has no text is shown as nothing */
    (void)QEL_NGMVPN_RdValueToStr(reinterpret_cast<const QEL_RD_VALUE_S *>(pstRoute->pucRd), acRd, sizeof(acRd));
    const int32_t iLen = QEL_NGMVPN_Key2Str_(QEL_NGMVPN_KeyOf_(pstRoute), acRd, pcBuf, QEL_NGMVPN_ROUTE_TEXT_LEN);
    if (iLen < 0) {
        return QEL_ERR_FAILED;
    }
    return QEL_NGMVPN_PutText_(pcOut, uiOutLen, pcBuf, static_cast<uint32_t>(iLen));
}

/* A cleared text buffer of 256 bytes; null after a report. */
static void *QEL_NGMVPN_TextBuf_(QEL_FAMILY_CTX_S *pstCtx)
{
    void *pvBuf = QEL_NGMVPN_Malloc(pstCtx, QEL_NGMVPN_ROUTE_TEXT_LEN);
    if (!QEL_Missing(pvBuf)) {
        QEL_Clear(pvBuf, QEL_NGMVPN_ROUTE_TEXT_LEN, QEL_NGMVPN_ROUTE_TEXT_LEN);
    }
    return pvBuf;
}

uint32_t QEL_NGMVPN_MpNlriData2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                   uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucRd == nullptr || pstRoute->pucKey == nullptr) {
        return QEL_ERR_ABSENT;
    }
    void *pvBuf = QEL_NGMVPN_TextBuf_(pstCtx);
    if (pvBuf == nullptr) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet = QEL_NGMVPN_PutRouteText_(pstRoute, static_cast<char *>(pvBuf), pcOut, uiOutLen);
    QEL_NGMVPN_Free(&pvBuf, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_EndText_(puiIndex, puiMore);
    return QEL_OK;
}

static uint32_t QEL_NGMVPN_PutNonKeyText_(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, char *pcBuf, char *pcOut,
                                          uint32_t uiOutLen)
{
    if ((pstNonKey->usFlags & QEL_NGMVPN_NONKEY_TYPE) == 0) {
        /* kept: a non-key without a type answers like exhausted memory; the host shows nothing either way */
        QEL_Report(pstNonKey->usFlags);
        return QEL_ERR_MEMORY;
    }
    const int32_t iLen = snprintf_truncated_s(pcBuf, QEL_NGMVPN_ROUTE_TEXT_LEN, "Route Type: %u", pstNonKey->uiKeyType);
    if (iLen < 0) {
        QEL_Report(static_cast<uint64_t>(iLen));
        return QEL_ERR_FAILED;
    }
    /* kept: the room is not tested; a text that does not fit is reported by the copy and not shown, with success */
    QEL_Copy(pcOut, uiOutLen, pcBuf, static_cast<size_t>(iLen) + 1);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_NonKey2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                               uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx) || QEL_Zero(pstRoute->uiValidMask & QEL_SECTION_NONKEY) ||
        QEL_Missing(pstRoute->pucNonKey)) {
        return QEL_ERR_NULL;
    }
    void *pvBuf = QEL_NGMVPN_TextBuf_(pstCtx);
    if (pvBuf == nullptr) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet =
        QEL_NGMVPN_PutNonKeyText_(reinterpret_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pstRoute->pucNonKey),
                                  static_cast<char *>(pvBuf), pcOut, uiOutLen);
    QEL_NGMVPN_Free(&pvBuf, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_EndText_(puiIndex, puiMore);
    return QEL_OK;
}

/* ---- texts: communities ---- */

static const char *QEL_NGMVPN_ExtCommLabel_(uint16_t usType)
{
    switch (usType & 0xFF) {
    case 2:
        return "RT";
    case 9:
        return "Source AS";
    case 10:
    case 11:
        return "Import RT";
    case 18:
        return "Segmented Next-Hop";
    default:
        return nullptr;
    }
}

/* The value of a community by its Type; returns the characters written, 0 for a Type without text. */
static int32_t QEL_NGMVPN_ExtCommValue2Str_(const QEL_EXTCOMM_S *pstExtComm, char *pcBuf, uint32_t uiBufLen,
                                            uint8_t ucAs4Plain)
{
    char acAddr[QEL_NGMVPN_IPV4_TEXT_LEN] = {};
    const uint32_t uiAdmin = pstExtComm->uiGlobalAdmin;
    switch (pstExtComm->usType >> 8) {
    case 0:
        return snprintf_truncated_s(pcBuf, uiBufLen, " <%u : %u>", static_cast<uint32_t>(pstExtComm->usGlobalAdmin),
                                    static_cast<uint32_t>(pstExtComm->uiLocalAdmin));
    case 1:
        return snprintf_truncated_s(pcBuf, uiBufLen, " <%s : %u>", KVO_IpAddrToStr(uiAdmin, acAddr),
                                    static_cast<uint32_t>(pstExtComm->usLocalAdmin));
    case 2:
        if (ucAs4Plain != 0 && (uiAdmin >> 16) != 0) {
            return snprintf_truncated_s(pcBuf, uiBufLen, " <%u : %u>", uiAdmin,
                                        static_cast<uint32_t>(pstExtComm->usLocalAdmin));
        }
        return snprintf_truncated_s(pcBuf, uiBufLen, " <%u.%u : %u>", uiAdmin >> 16, uiAdmin & 0xFFFF,
                                    static_cast<uint32_t>(pstExtComm->usLocalAdmin));
    default:
        return 0;
    }
}

uint32_t QEL_NGMVPN_ExtCommVal2Str(const QEL_EXTCOMM_S *pstExtComm, char *pcBuf, uint32_t uiBufLen, uint32_t *puiLen,
                                   uint8_t ucAs4Plain)
{
    if (QEL_Missing(pstExtComm) || QEL_Missing(pcBuf) || QEL_Missing(puiLen)) {
        return QEL_ERR_NULL;
    }
    const char *pszLabel = QEL_NGMVPN_ExtCommLabel_(pstExtComm->usType);
    const int32_t iLabel = pszLabel == nullptr ? 0 : snprintf_truncated_s(pcBuf, uiBufLen, "%s", pszLabel);
    if (iLabel < 0) {
        QEL_Report(static_cast<uint64_t>(iLabel));
        return QEL_ERR_FAILED;
    }
    const int32_t iValue =
        QEL_NGMVPN_ExtCommValue2Str_(pstExtComm, pcBuf + iLabel, uiBufLen - static_cast<uint32_t>(iLabel), ucAs4Plain);
    if (iValue < 0) {
        QEL_Report(static_cast<uint64_t>(iValue));
        return QEL_ERR_FAILED;
    }
    *puiLen = static_cast<uint32_t>(iLabel + iValue);
    return QEL_OK;
}

/* The community at the caller's place, through a cleared buffer, to the caller's text. */
static uint32_t QEL_NGMVPN_PutExtCommText_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiIndex, char *pcBuf, char *pcOut,
                                           uint32_t uiOutLen)
{
    const auto *pastList = reinterpret_cast<const QEL_EXTCOMM_S *>(pstRoute->pucExtComm);
    uint32_t uiLen = 0;
    const uint32_t uiRet =
        QEL_NGMVPN_ExtCommVal2Str(&pastList[uiIndex], pcBuf, QEL_NGMVPN_ROUTE_TEXT_LEN, &uiLen,
                                  static_cast<uint8_t>(pstRoute->uiRdFlags & QEL_NGMVPN_RD_FLAG_PLAIN));
    return uiRet != QEL_OK ? uiRet : QEL_NGMVPN_PutText_(pcOut, uiOutLen, pcBuf, uiLen);
}

/* Elements of the list from the caller's place on; none: *puiMore gets 0. */
static bool QEL_NGMVPN_AtListEnd_(const uint8_t *pucList, uint32_t uiCount, uint32_t uiIndex, uint32_t *puiMore)
{
    if (pucList != nullptr && uiCount > uiIndex) {
        return false;
    }
    *puiMore = 0;
    return true;
}

/* kept: the context is not checked here; without one the buffer cannot be had, which answers 3 */
uint32_t QEL_NGMVPN_ExtCommunity2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen,
                                     uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiCount = pstRoute->uiExtCommLen / static_cast<uint32_t>(sizeof(QEL_EXTCOMM_S));
    if (QEL_NGMVPN_AtListEnd_(pstRoute->pucExtComm, uiCount, *puiIndex, puiMore)) {
        return QEL_OK;
    }
    void *pvBuf = QEL_NGMVPN_TextBuf_(pstCtx);
    if (pvBuf == nullptr) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet = QEL_NGMVPN_PutExtCommText_(pstRoute, *puiIndex, static_cast<char *>(pvBuf), pcOut, uiOutLen);
    QEL_NGMVPN_Free(&pvBuf, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_StepList_(puiIndex, puiMore, uiCount);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatCfgExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                          uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiCount = pstRoute->uiExtCommLen / static_cast<uint32_t>(sizeof(QEL_EXTCOMM_S));
    if (QEL_NGMVPN_AtListEnd_(pstRoute->pucExtComm, uiCount, *puiIndex, puiMore)) {
        return QEL_OK;
    }
    char acBuf[QEL_NGMVPN_ROUTE_TEXT_LEN] = {};
    const uint32_t uiRet =
        QEL_NGMVPN_PutExtCommText_(pstRoute, *puiIndex, acBuf, reinterpret_cast<char *>(*ppucCursor), uiOutLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_StepList_(puiIndex, puiMore, uiCount);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_IPv6ExtCommVal2Str(const QEL_IPV6_EXTCOMM_S *pstExtComm, char *pcBuf, uint32_t uiBufLen,
                                       uint32_t *puiLen)
{
    if (QEL_Missing(pstExtComm) || QEL_Missing(pcBuf) || QEL_Missing(puiLen)) {
        return QEL_ERR_NULL;
    }
    *puiLen = 0;
    const uint32_t uiSubType = pstExtComm->usType & 0xFF;
    if (pstExtComm->usType >= 0x200 || (uiSubType != 2 && uiSubType != 10 && uiSubType != 11)) {
        return QEL_OK;
    }
    char acAddr[QEL_NGMVPN_ADDR_TEXT_LEN] = {};
    QEL_NGMVPN_HostAddr2Str_(pstExtComm->auiAddr, acAddr);
    const auto uiAdmin = static_cast<uint32_t>(pstExtComm->usLocalAdmin);
    const int32_t iLen = uiSubType == 2 ? snprintf_truncated_s(pcBuf, uiBufLen, "RT <%s . %u>", acAddr, uiAdmin)
                                        : snprintf_truncated_s(pcBuf, uiBufLen, "Import RT <%s . %u>", acAddr, uiAdmin);
    if (iLen < 0) {
        QEL_Report(static_cast<uint64_t>(iLen));
        return QEL_OK;
    }
    *puiLen = static_cast<uint32_t>(iLen);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatCfgIPv6ExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    /* kept: cleared first, so also where the text does not fit; the other list leaves the word then */
    *puiMore = 0;
    const uint32_t uiCount = pstRoute->uiIpv6ExtCommLen / static_cast<uint32_t>(sizeof(QEL_IPV6_EXTCOMM_S));
    if (QEL_NGMVPN_AtListEnd_(pstRoute->pucIpv6ExtComm, uiCount, *puiIndex, puiMore)) {
        return QEL_OK;
    }
    const auto *pastList = reinterpret_cast<const QEL_IPV6_EXTCOMM_S *>(pstRoute->pucIpv6ExtComm);
    char acBuf[QEL_NGMVPN_ATTR_TEXT_LEN] = {};
    uint32_t uiLen = 0;
    (void)QEL_NGMVPN_IPv6ExtCommVal2Str(&pastList[*puiIndex], acBuf, sizeof(acBuf), &uiLen);
    const uint32_t uiRet = QEL_NGMVPN_PutText_(reinterpret_cast<char *>(*ppucCursor), uiOutLen, acBuf, uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_StepList_(puiIndex, puiMore, uiCount);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_IPv6ExtCommunity2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen,
                                         uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pcOut) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    auto *pucOut = reinterpret_cast<uint8_t *>(pcOut);
    return QEL_NGMVPN_FormatCfgIPv6ExtCommunity(pstRoute, &pucOut, uiOutLen, puiIndex, puiMore);
}

/* ---- texts: PMSI tunnel ---- */

int32_t QEL_NGMVPN_BierPmsiToStr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl, char *pcBuf, uint32_t uiBufLen)
{
    if (QEL_Missing(pstTnl) || QEL_Missing(pcBuf)) {
        return -1;
    }
    char acPrefix[QEL_NGMVPN_ADDR_TEXT_LEN] = {};
    KVO_IPV6_ADDR_S stAddr = {};
    switch (pstTnl->uTnl.stBier.ucBfrPrefixLen) {
    case 4:
        (void)KVO_IpAddrToStr(QEL_Load32(&pstTnl->uTnl.stBier.stBfrPrefix), acPrefix);
        break;
    case 16:
        if (memcpy_s(&stAddr, sizeof(stAddr), &pstTnl->uTnl.stBier.stBfrPrefix, sizeof(stAddr)) != 0) {
            return -1;
        }
        QEL_NGMVPN_ConvertKvoIPv6AddrInNet(&stAddr);
        (void)KVO_Inet_ntoa_b_ipv6_ex(stAddr, acPrefix, sizeof(acPrefix));
        break;
    default:
        return 0;
    }
    const uint32_t uiLabel = pstTnl->uiLabel;
    return snprintf_truncated_s(pcBuf, uiBufLen,
                                " BIER, Label %u:%u:%u(%u), subdomain ID: %u, BFR ID: %u, BFR prefix: %s",
                                (uiLabel >> 16) & 0xFF, (uiLabel >> 8) & 0xFF, uiLabel & 0xFF, uiLabel,
                                static_cast<uint32_t>(pstTnl->uTnl.stBier.ucSubDomainId),
                                static_cast<uint32_t>(pstTnl->uTnl.stBier.usBfrId), acPrefix);
}

uint32_t QEL_NGMVPN_FillLdpOpaquePmsiDataToStr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl, char *pcBuf,
                                               uint32_t *puiSizeLeft, uint32_t *puiLen)
{
    if (QEL_Missing(pstTnl) || QEL_Missing(pcBuf) || QEL_Missing(puiSizeLeft) || QEL_Missing(puiLen)) {
        return QEL_ERR_NULL;
    }
    const uint8_t *pucOpaque = pstTnl->uTnl.stMldp.aucOpaque;
    /* the record ends behind 240 bytes; no text of 512 gets that far */
    for (uint32_t i = 0; i < pstTnl->uTnl.stMldp.usOpaqueLen && i < QEL_NGMVPN_OPAQUE_MAX; i++) {
        const int32_t iLen = snprintf_truncated_s(pcBuf, *puiSizeLeft, "%02x ", static_cast<uint32_t>(pucOpaque[i]));
        if (iLen < 0) {
            QEL_Report(static_cast<uint64_t>(iLen));
            return QEL_ERR_FAILED;
        }
        pcBuf += iLen;
        *puiSizeLeft -= static_cast<uint32_t>(iLen);
        *puiLen += static_cast<uint32_t>(iLen);
    }
    return QEL_OK;
}

/* The tunnel behind the flags: characters written, below 0 for a failure. *puiSizeLeft is the room at pcBuf, uiBufLen
 * that of the whole text. */
static int32_t QEL_NGMVPN_TnlBody2Str_(const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl, char *pcBuf, uint32_t uiSizeLeft,
                                       uint32_t uiBufLen)
{
    char acAddr[QEL_NGMVPN_IPV4_TEXT_LEN] = {};
    switch (pstTnl->ucTnlType) {
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        /* kept: the label's three parts are shown as 0 here and for mLDP, only BIER splits it; scripts know the text */
        return snprintf_truncated_s(
            pcBuf, uiSizeLeft,
            " RSVP-TE P2MP LSP, Label %u:%u:%u(%u), P2MP ID: 0x%x, Tunnel ID: %u, Extended tunnel ID: %s", 0U, 0U, 0U,
            pstTnl->uiLabel, pstTnl->uTnl.stRsvpTe.uiP2mpId, static_cast<uint32_t>(pstTnl->uTnl.stRsvpTe.usTunnelId),
            KVO_IpAddrToStr(pstTnl->uTnl.stRsvpTe.uiExtTunnelId, acAddr));
    case QEL_NGMVPN_TNL_MLDP_P2MP:
        return snprintf_truncated_s(pcBuf, uiSizeLeft,
                                    " mLDP P2MP LSP, Label %u:%u:%u(%u), Root node address: %s, Opaque value: ", 0U, 0U,
                                    0U, pstTnl->uiLabel, KVO_IpAddrToStr(pstTnl->uTnl.stMldp.uiRootAddr, acAddr));
    default:
        /* kept: the BIER text is bounded by the whole size, so one that is too long is refused where the others are
         * cut; the caller's buffer has room for it behind the flags */
        return QEL_NGMVPN_BierPmsiToStr(pstTnl, pcBuf, uiBufLen);
    }
}

uint32_t QEL_NGMVPN_PmsiDataToStr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl, char *pcBuf, uint32_t uiBufLen,
                                  uint32_t *puiLen)
{
    if (QEL_Missing(pstTnl) || QEL_Missing(pcBuf) || QEL_Missing(puiLen)) {
        return QEL_ERR_NULL;
    }
    if (pstTnl->ucTnlType != QEL_NGMVPN_TNL_RSVP_TE_P2MP && pstTnl->ucTnlType != QEL_NGMVPN_TNL_MLDP_P2MP &&
        pstTnl->ucTnlType != QEL_NGMVPN_TNL_BIER) {
        return QEL_NGMVPN_TNL_NOT_SHOWN;
    }
    int32_t iLen = snprintf_truncated_s(pcBuf, uiBufLen, "PMSI: Flags 0x%x,", static_cast<uint32_t>(pstTnl->ucFlags));
    if (iLen < 0) {
        QEL_Report(static_cast<uint64_t>(iLen));
        return QEL_ERR_FAILED;
    }
    uint32_t uiWritten = static_cast<uint32_t>(iLen);
    iLen = QEL_NGMVPN_TnlBody2Str_(pstTnl, pcBuf + uiWritten, uiBufLen - uiWritten, uiBufLen);
    if (iLen < 0) {
        QEL_Report(static_cast<uint64_t>(iLen));
        return QEL_ERR_FAILED;
    }
    uiWritten += static_cast<uint32_t>(iLen);
    if (pstTnl->ucTnlType == QEL_NGMVPN_TNL_MLDP_P2MP) {
        uint32_t uiSizeLeft = uiBufLen - uiWritten;
        const uint32_t uiRet =
            QEL_NGMVPN_FillLdpOpaquePmsiDataToStr(pstTnl, pcBuf + uiWritten, &uiSizeLeft, &uiWritten);
        if (uiRet != QEL_OK) {
            return uiRet;
        }
    }
    *puiLen += uiWritten;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_PmsiTnl2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucPmsi == nullptr) {
        return QEL_OK;
    }
    char acBuf[QEL_NGMVPN_ATTR_TEXT_LEN] = {};
    const uint32_t uiSize = uiOutLen < sizeof(acBuf) ? uiOutLen : static_cast<uint32_t>(sizeof(acBuf));
    uint32_t uiLen = 0;
    /* kept: whatever fails comes out as a text too long, a tunnel type that is not shown too; the configuration form
     * of this text answers success with nothing */
    if (QEL_NGMVPN_PmsiDataToStr(reinterpret_cast<const QEL_NGMVPN_PMSI_TNL_AT_S *>(pstRoute->pucPmsi), acBuf, uiSize,
                                 &uiLen) != QEL_OK) {
        return QEL_ERR_SPACE;
    }
    const uint32_t uiRet = QEL_NGMVPN_PutText_(pcOut, uiOutLen, acBuf, uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_EndText_(puiIndex, puiMore);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatCfgPmsiTnl(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucPmsi == nullptr) {
        return QEL_OK;
    }
    char acBuf[QEL_NGMVPN_ATTR_TEXT_LEN] = {};
    uint32_t uiLen = 0;
    /* kept: the code is not looked at, so a tunnel that is not shown gives an empty text and success; the display form
     * of this text answers 4 */
    (void)QEL_NGMVPN_PmsiDataToStr(reinterpret_cast<const QEL_NGMVPN_PMSI_TNL_AT_S *>(pstRoute->pucPmsi), acBuf,
                                   sizeof(acBuf), &uiLen);
    const uint32_t uiRet = QEL_NGMVPN_PutText_(reinterpret_cast<char *>(*ppucCursor), uiOutLen, acBuf, uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_EndText_(puiIndex, puiMore);
    return QEL_OK;
}

/* ---- texts: SIDs ---- */

static bool QEL_NGMVPN_BeginSidText_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiIndex,
                                     uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return false;
    }
    QEL_NGMVPN_EndText_(puiIndex, puiMore);
    **ppucCursor = 0;
    return true;
}

static uint32_t QEL_NGMVPN_PutSidText_(uint8_t *pucOut, uint32_t uiOutLen, const char *pcText, int32_t iLen)
{
    if (iLen <= 0) {
        return QEL_ERR_FAILED;
    }
    const auto uiLen = static_cast<uint32_t>(iLen);
    if (uiLen > uiOutLen) {
        return QEL_ERR_SPACE;
    }
    QEL_Copy(pucOut, uiOutLen, pcText, uiLen);
    /* kept: a text of exactly the room passes and its NUL stands one byte behind it, unlike every other text; hosts
     * give one byte more than they say */
    pucOut[uiLen] = 0;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatCfgPrefixSid(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                       uint32_t *puiIndex, uint32_t *puiMore)
{
    if (!QEL_NGMVPN_BeginSidText_(pstRoute, ppucCursor, puiIndex, puiMore)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_PFXSID_AT_S *pstSid = reinterpret_cast<const QEL_NGMVPN_PFXSID_AT_S *>(pstRoute->pucPfxSid);
    if (pstSid == nullptr || (pstSid->usEndpointBehavior != QEL_NGMVPN_BEHAVIOR_SRC_DT6 &&
                              pstSid->usEndpointBehavior != QEL_NGMVPN_BEHAVIOR_SRC_DT4)) {
        return QEL_OK;
    }
    const char *pszLabel = pstSid->usEndpointBehavior == QEL_NGMVPN_BEHAVIOR_SRC_DT4 ? "SRC-DT4 " : "SRC-DT6 ";
    char acAddr[QEL_NGMVPN_ADDR_TEXT_LEN] = {};
    char acBuf[QEL_NGMVPN_ATTR_TEXT_LEN] = {};
    QEL_NGMVPN_HostAddr2Str_(pstSid->auiSid, acAddr);
    const int32_t iLen = snprintf_truncated_s(acBuf, sizeof(acBuf), "%s%s", pszLabel, acAddr);
    return QEL_NGMVPN_PutSidText_(*ppucCursor, uiOutLen, acBuf, iLen);
}

uint32_t QEL_NGMVPN_FormatCfgMsid(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                  uint32_t *puiIndex, uint32_t *puiMore)
{
    if (!QEL_NGMVPN_BeginSidText_(pstRoute, ppucCursor, puiIndex, puiMore)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_MSID_AT_S *pstMsid = reinterpret_cast<const QEL_NGMVPN_MSID_AT_S *>(pstRoute->pucMsid);
    if (pstMsid == nullptr) {
        return QEL_OK;
    }
    char acAddr[QEL_NGMVPN_ADDR_TEXT_LEN] = {};
    char acBuf[QEL_NGMVPN_ATTR_TEXT_LEN] = {};
    QEL_NGMVPN_HostAddr2Str_(pstMsid->auiMsid, acAddr);
    const int32_t iLen =
        pstMsid->ucHasStructure != 0
            ? snprintf_truncated_s(acBuf, sizeof(acBuf), "%s, Prefix Len: %d, MSID Len: %d", acAddr,
                                   static_cast<int32_t>(pstMsid->ucPrefixLen), static_cast<int32_t>(pstMsid->ucMsidLen))
            : snprintf_truncated_s(acBuf, sizeof(acBuf), "%s, Prefix Len: --, MSID Len: --", acAddr);
    return QEL_NGMVPN_PutSidText_(*ppucCursor, uiOutLen, acBuf, iLen);
}

uint32_t QEL_NGMVPN_PfxSidAttr2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                   uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pcOut) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    auto *pucOut = reinterpret_cast<uint8_t *>(pcOut);
    return QEL_NGMVPN_FormatCfgPrefixSid(pstRoute, &pucOut, uiOutLen, puiIndex, puiMore);
}

uint32_t QEL_NGMVPN_MsidAttr2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                 uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pcOut) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    auto *pucOut = reinterpret_cast<uint8_t *>(pcOut);
    return QEL_NGMVPN_FormatCfgMsid(pstRoute, &pucOut, uiOutLen, puiIndex, puiMore);
}

/* ---- configuration records: addresses ---- */

void QEL_NGMVPN_PrefixToIpv4Ipv6(QEL_NGMVPN_CFG_PREFIX_S *pstPrefix, const QEL_ADDR_AT_S *pstAddr, uint32_t uiSize,
                                 uint8_t ucLen)
{
    if (QEL_Missing(pstPrefix) || QEL_Missing(pstAddr)) {
        return;
    }
    if (ucLen == 0) {
        return;
    }
    if (ucLen == QEL_NGMVPN_ADDR_LEN_IPV4 && uiSize >= sizeof(uint32_t)) {
        pstPrefix->uiIpv4Addr = QEL_Load32(pstAddr);
        pstPrefix->ucIpVersion = QEL_NGMVPN_CFG_IPV4;
    } else if (ucLen == QEL_NGMVPN_ADDR_LEN_IPV6 && uiSize >= sizeof(QEL_ADDR_S)) {
        QEL_Copy(pstPrefix->aucIpv6Addr, sizeof(pstPrefix->aucIpv6Addr), pstAddr, sizeof(QEL_ADDR_S));
        pstPrefix->ucIpVersion = QEL_NGMVPN_CFG_IPV6;
    } else {
        QEL_Report(ucLen);
    }
}

void QEL_NGMVPN_Ipv4Ipv6ToPrefix(QEL_ADDR_S *pstAddr, uint32_t uiSize, uint8_t *pucLen,
                                 const QEL_NGMVPN_CFG_PREFIX_S *pstPrefix)
{
    static constexpr uint8_t aucZero[sizeof(QEL_ADDR_S)] = {};
    if (QEL_Missing(pstAddr) || QEL_Missing(pucLen) || QEL_Missing(pstPrefix)) {
        return;
    }
    if (pstPrefix->ucIpVersion == QEL_NGMVPN_CFG_IPV4 && uiSize >= sizeof(uint32_t)) {
        pstAddr->uiIpv4 = pstPrefix->uiIpv4Addr;
        *pucLen = pstPrefix->uiIpv4Addr != 0 ? QEL_NGMVPN_ADDR_LEN_IPV4 : 0;
    } else if (pstPrefix->ucIpVersion == QEL_NGMVPN_CFG_IPV6 && uiSize >= sizeof(QEL_ADDR_S)) {
        /* kept: the zero address is none and leaves the field alone, where that of IPv4 is written over it */
        if (KVO_MemCmp(pstPrefix->aucIpv6Addr, aucZero, sizeof(aucZero)) == 0) {
            *pucLen = 0;
            return;
        }
        QEL_Copy(pstAddr, uiSize, pstPrefix->aucIpv6Addr, sizeof(pstPrefix->aucIpv6Addr));
        *pucLen = QEL_NGMVPN_ADDR_LEN_IPV6;
    } else {
        QEL_Report(pstPrefix->ucIpVersion);
    }
}

/* A record's address at an offset of the record. */
static QEL_NGMVPN_CFG_PREFIX_S *QEL_NGMVPN_PrefixAt_(uint8_t *pucRecord, uint32_t uiOffset)
{
    return reinterpret_cast<QEL_NGMVPN_CFG_PREFIX_S *>(pucRecord + uiOffset);
}

static void QEL_NGMVPN_PutPrefix_(uint8_t *pucRecord, uint32_t uiOffset, const QEL_ADDR_AT_S *pstAddr, uint8_t ucLen)
{
    QEL_NGMVPN_PrefixToIpv4Ipv6(QEL_NGMVPN_PrefixAt_(pucRecord, uiOffset), pstAddr, sizeof(*pstAddr), ucLen);
}

static void QEL_NGMVPN_TakePrefix_(const uint8_t *pucRecord, uint32_t uiOffset, QEL_ADDR_S *pstAddr, uint8_t *pucLen)
{
    QEL_NGMVPN_Ipv4Ipv6ToPrefix(pstAddr, sizeof(*pstAddr), pucLen,
                                reinterpret_cast<const QEL_NGMVPN_CFG_PREFIX_S *>(pucRecord + uiOffset));
}

/* ---- configuration records: parsing ---- */

uint32_t QEL_NGMVPN_ParseCfgRd(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                               QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen != QEL_NGMVPN_CFG_RD_LEN) {
        QEL_Report(uiLen);
        return QEL_ERR_NULL;
    }
    if (QEL_Load32(pucData) != 0) {
        return QEL_ERR_CFG_RD;
    }
    QEL_RD_VALUE_S stRd = {};
    QEL_Copy(&stRd, sizeof(stRd), pucData + QEL_NGMVPN_CFG_RD_AT, sizeof(stRd));
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiRdLen = sizeof(stRd);
    stView.pucRd = QEL_Bytes(&stRd);
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

/* An empty key of a type as configuration files it. */
static void QEL_NGMVPN_StartCfgKey_(QEL_NGMVPN_KEY_S *pstKey, uint32_t uiKeyType)
{
    QEL_Clear(pstKey, sizeof(*pstKey), sizeof(*pstKey));
    pstKey->uiKeyType = uiKeyType;
    pstKey->ucRdKind = QEL_NGMVPN_RD_KIND_CFG;
}

static uint32_t QEL_NGMVPN_OutputCfgKey_(const QEL_NGMVPN_KEY_S *pstKey, QEL_ROUTE_BLOCK_S **ppstResult,
                                         const QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiKeyLen = sizeof(*pstKey);
    stView.pucKey = QEL_Bytes(pstKey);
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_NGMVPN_ParseCfgIntraIpmsiAdKey(const uint8_t *pucData, uint32_t /* uiLen */,
                                            QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_KEY_S stKey;
    QEL_NGMVPN_StartCfgKey_(&stKey, QEL_NGMVPN_KEY_INTRA_IPMSI_AD);
    auto *pstAd = &stKey.uKey.stIntraIpmsiAd;
    switch (QEL_Load32(pucData + 4)) {
    case QEL_NGMVPN_CFG_FORM_INTRA_IPV4:
        /* kept: 0.0.0.0 stays an address of 32 bits here, where a record's prefix would make it none */
        pstAd->ucOrigAddrLen = QEL_NGMVPN_ADDR_LEN_IPV4;
        pstAd->stOrigAddr.uiIpv4 = QEL_Load32(pucData + 8);
        break;
    case QEL_NGMVPN_CFG_FORM_INTRA_IPV6:
        pstAd->ucOrigAddrLen = QEL_NGMVPN_ADDR_LEN_IPV6;
        QEL_Copy(&pstAd->stOrigAddr, sizeof(pstAd->stOrigAddr), pucData + 8, sizeof(pstAd->stOrigAddr));
        break;
    default:
        break;
    }
    return QEL_NGMVPN_OutputCfgKey_(&stKey, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseCfgInterIpmsiAdKey(const uint8_t *pucData, uint32_t /* uiLen */,
                                            QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_KEY_S stKey;
    QEL_NGMVPN_StartCfgKey_(&stKey, QEL_NGMVPN_KEY_INTER_IPMSI_AD);
    stKey.uKey.stInterIpmsiAd.uiSourceAs = QEL_Load32(pucData + 8);
    return QEL_NGMVPN_OutputCfgKey_(&stKey, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseCfgSpmsiAdKey(const uint8_t *pucData, uint32_t /* uiLen */, QEL_ROUTE_BLOCK_S **ppstResult,
                                       QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_KEY_S stKey;
    QEL_NGMVPN_StartCfgKey_(&stKey, QEL_NGMVPN_KEY_SPMSI_AD);
    auto *pstAd = &stKey.uKey.stSpmsiAd;
    QEL_NGMVPN_TakePrefix_(pucData, 8, &pstAd->stSrcAddr, &pstAd->ucSrcAddrLen);
    QEL_NGMVPN_TakePrefix_(pucData, 29, &pstAd->stGrpAddr, &pstAd->ucGrpAddrLen);
    QEL_NGMVPN_TakePrefix_(pucData, 50, &pstAd->stOrigAddr, &pstAd->ucOrigAddrLen);
    return QEL_NGMVPN_OutputCfgKey_(&stKey, ppstResult, pstCtx);
}

static void QEL_NGMVPN_CfgIpmsiLeafKey_(QEL_NGMVPN_KEY_S *pstKey, const uint8_t *pucData)
{
    QEL_NGMVPN_StartCfgKey_(pstKey, QEL_NGMVPN_KEY_IPMSI_LEAF_AD);
    auto *pstLeaf = &pstKey->uKey.stIpmsiLeafAd;
    QEL_NGMVPN_TakePrefix_(pucData, 8, &pstLeaf->stOrigAddr, &pstLeaf->ucOrigAddrLen);
    QEL_NGMVPN_TakePrefix_(pucData, 29, &pstLeaf->stLeafAddr, &pstLeaf->ucLeafAddrLen);
}

static void QEL_NGMVPN_CfgSpmsiLeafKey_(QEL_NGMVPN_KEY_S *pstKey, const uint8_t *pucData)
{
    QEL_NGMVPN_StartCfgKey_(pstKey, QEL_NGMVPN_KEY_SPMSI_LEAF_AD);
    auto *pstLeaf = &pstKey->uKey.stSpmsiLeafAd;
    QEL_NGMVPN_TakePrefix_(pucData, 8, &pstLeaf->stSrcAddr, &pstLeaf->ucSrcAddrLen);
    QEL_NGMVPN_TakePrefix_(pucData, 29, &pstLeaf->stGrpAddr, &pstLeaf->ucGrpAddrLen);
    QEL_NGMVPN_TakePrefix_(pucData, 50, &pstLeaf->stOrigAddr, &pstLeaf->ucOrigAddrLen);
    QEL_NGMVPN_TakePrefix_(pucData, 71, &pstLeaf->stLeafAddr, &pstLeaf->ucLeafAddrLen);
}

uint32_t QEL_NGMVPN_ParseCfgLeafAdKey(const uint8_t *pucData, uint32_t /* uiLen */, QEL_ROUTE_BLOCK_S **ppstResult,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    const uint32_t uiForm = QEL_Load32(pucData + 4);
    if (uiForm == QEL_NGMVPN_CFG_FORM_INTER_LEAF) {
        /* kept: success without a route; the form is written by nobody and read as nothing */
        return QEL_OK;
    }
    QEL_NGMVPN_KEY_S stKey;
    if (uiForm == QEL_NGMVPN_CFG_FORM_IPMSI_LEAF) {
        QEL_NGMVPN_CfgIpmsiLeafKey_(&stKey, pucData);
    } else {
        QEL_NGMVPN_CfgSpmsiLeafKey_(&stKey, pucData);
    }
    return QEL_NGMVPN_OutputCfgKey_(&stKey, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseCfgSourceActiveAdKey(const uint8_t *pucData, uint32_t /* uiLen */,
                                              QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_KEY_S stKey;
    QEL_NGMVPN_StartCfgKey_(&stKey, QEL_NGMVPN_KEY_SOURCE_ACTIVE_AD);
    auto *pstActive = &stKey.uKey.stSourceActiveAd;
    QEL_NGMVPN_TakePrefix_(pucData, 8, &pstActive->stSrcAddr, &pstActive->ucSrcAddrLen);
    QEL_NGMVPN_TakePrefix_(pucData, 29, &pstActive->stGrpAddr, &pstActive->ucGrpAddrLen);
    return QEL_NGMVPN_OutputCfgKey_(&stKey, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseCfgCMulticastRouteKey(const uint8_t *pucData, uint32_t /* uiLen */,
                                               QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_KEY_S stKey;
    QEL_NGMVPN_StartCfgKey_(&stKey, QEL_Load32(pucData) == QEL_NGMVPN_WIRE_SHARED_TREE_JOIN
                                        ? QEL_NGMVPN_KEY_SHARED_TREE_JOIN
                                        : QEL_NGMVPN_KEY_SOURCE_TREE_JOIN);
    auto *pstJoin = &stKey.uKey.stCMulticastRoute;
    pstJoin->uiSourceAs = QEL_Load32(pucData + 8);
    QEL_NGMVPN_TakePrefix_(pucData, 16, &pstJoin->stSrcAddr, &pstJoin->ucSrcAddrLen);
    QEL_NGMVPN_TakePrefix_(pucData, 37, &pstJoin->stGrpAddr, &pstJoin->ucGrpAddrLen);
    return QEL_NGMVPN_OutputCfgKey_(&stKey, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseCfgPrefix(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiRoute = QEL_Load32(pucData);
    switch (uiRoute) {
    case 1:
        return QEL_NGMVPN_ParseCfgIntraIpmsiAdKey(pucData, uiLen, ppstResult, pstCtx);
    case 2:
        return QEL_NGMVPN_ParseCfgInterIpmsiAdKey(pucData, uiLen, ppstResult, pstCtx);
    case 3:
        return QEL_NGMVPN_ParseCfgSpmsiAdKey(pucData, uiLen, ppstResult, pstCtx);
    case 4:
    case 8:
    case 9:
    case 10:
        return QEL_NGMVPN_ParseCfgLeafAdKey(pucData, uiLen, ppstResult, pstCtx);
    case 5:
        return QEL_NGMVPN_ParseCfgSourceActiveAdKey(pucData, uiLen, ppstResult, pstCtx);
    case 6:
    case 7:
        return QEL_NGMVPN_ParseCfgCMulticastRouteKey(pucData, uiLen, ppstResult, pstCtx);
    default:
        /* kept: an unknown route is reported and answered with success and no block; the host goes on without it */
        QEL_Report(uiRoute);
        return QEL_OK;
    }
}

/* ---- configuration records: formatting ---- */

static bool QEL_NGMVPN_CfgArgsMissing_(const uint8_t *pucSection, uint8_t *const *ppucCursor, uint32_t uiOutLen,
                                       const uint32_t *puiIndex, const uint32_t *puiMore)
{
    return QEL_Missing(pucSection) || QEL_Missing(ppucCursor) || QEL_Zero(uiOutLen) || QEL_Missing(puiIndex) ||
           QEL_Missing(puiMore);
}

void QEL_NGMVPN_SetVrfRdType(uint8_t *pucRd, uint32_t uiRdFlag)
{
    if (QEL_Missing(pucRd)) {
        return;
    }
    uint8_t ucForm = 1;
    if (QEL_Load16(pucRd) != 0) {
        ucForm = uiRdFlag != 0 ? 2 : 3;
    }
    pucRd[sizeof(QEL_RD_VALUE_S)] = ucForm;
}

uint32_t QEL_NGMVPN_FormatCfgRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_NGMVPN_CfgArgsMissing_(pstRoute->pucRd, ppucCursor, uiOutLen, puiIndex, puiMore)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen < QEL_NGMVPN_CFG_RD_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucRecord = *ppucCursor;
    uint8_t *pucRd = pucRecord + QEL_NGMVPN_CFG_RD_AT;
    QEL_Clear(pucRecord, uiOutLen, QEL_NGMVPN_CFG_RD_LEN);
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    if (pstKey != nullptr && pstKey->ucRdKind == QEL_NGMVPN_RD_KIND_KEY) {
        QEL_Copy(pucRd, sizeof(QEL_RD_VALUE_S), &pstKey->stRd, sizeof(QEL_RD_VALUE_S));
    } else {
        QEL_Copy(pucRd, sizeof(QEL_RD_VALUE_S), pstRoute->pucRd, pstRoute->uiRdLen);
    }
    QEL_NGMVPN_SetVrfRdType(pucRd, pstRoute->uiRdFlags & QEL_NGMVPN_RD_FLAG_PLAIN);
    QEL_NGMVPN_EndText_(puiIndex, puiMore);
    *ppucCursor += QEL_NGMVPN_CFG_RD_LEN;
    return QEL_OK;
}

/* ucAsForm of a source AS. */
static uint8_t QEL_NGMVPN_AsForm_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiSourceAs)
{
    return uiSourceAs > 65534 && (pstRoute->uiRdFlags & QEL_NGMVPN_RD_FLAG_PLAIN) != 0 ? 0 : 1;
}

static void QEL_NGMVPN_PutSourceAs_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut, uint32_t uiSourceAs)
{
    QEL_Store32(pucOut + 4, uiSourceAs);
    QEL_Store32(pucOut + 8, QEL_NGMVPN_AsForm_(pstRoute, uiSourceAs));
}

void QEL_NGMVPN_FormatCfgIntraIpmsiAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    if (pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen == QEL_NGMVPN_ADDR_LEN_IPV4) {
        QEL_Store32(pucOut, QEL_NGMVPN_CFG_FORM_INTRA_IPV4);
        QEL_Store32(pucOut + 4, pstKey->uKey.stIntraIpmsiAd.stOrigAddr.uiIpv4);
    } else if (pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen == QEL_NGMVPN_ADDR_LEN_IPV6) {
        QEL_Store32(pucOut, QEL_NGMVPN_CFG_FORM_INTRA_IPV6);
        QEL_Copy(pucOut + 4, sizeof(QEL_ADDR_S), &pstKey->uKey.stIntraIpmsiAd.stOrigAddr, sizeof(QEL_ADDR_S));
    }
}

void QEL_NGMVPN_FormatCfgInterIpmsiAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    QEL_Store32(pucOut, QEL_NGMVPN_CFG_FORM_INTER);
    QEL_NGMVPN_PutSourceAs_(pstRoute, pucOut, QEL_NGMVPN_KeyOf_(pstRoute)->uKey.stInterIpmsiAd.uiSourceAs);
}

/* kept: a form that no key type leads to; hosts may call it by name */
void QEL_NGMVPN_FormatCfgInterIpmsiLeafAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    QEL_Store32(pucOut, QEL_NGMVPN_CFG_FORM_INTER_LEAF);
    QEL_NGMVPN_PutSourceAs_(pstRoute, pucOut, QEL_NGMVPN_KeyOf_(pstRoute)->uKey.stInterIpmsiAd.uiSourceAs);
}

void QEL_NGMVPN_FormatCfgSpmsiAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    QEL_Store32(pucOut, QEL_NGMVPN_CFG_FORM_SPMSI);
    QEL_NGMVPN_PutPrefix_(pucOut, 4, &pstKey->uKey.stSpmsiAd.stSrcAddr, pstKey->uKey.stSpmsiAd.ucSrcAddrLen);
    QEL_NGMVPN_PutPrefix_(pucOut, 25, &pstKey->uKey.stSpmsiAd.stGrpAddr, pstKey->uKey.stSpmsiAd.ucGrpAddrLen);
    QEL_NGMVPN_PutPrefix_(pucOut, 46, &pstKey->uKey.stSpmsiAd.stOrigAddr, pstKey->uKey.stSpmsiAd.ucOrigAddrLen);
}

void QEL_NGMVPN_FormatCfgIntraIpmsiLeafAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    QEL_Store32(pucOut, QEL_NGMVPN_CFG_FORM_IPMSI_LEAF);
    QEL_NGMVPN_PutPrefix_(pucOut, 4, &pstKey->uKey.stIpmsiLeafAd.stOrigAddr, pstKey->uKey.stIpmsiLeafAd.ucOrigAddrLen);
    QEL_NGMVPN_PutPrefix_(pucOut, 25, &pstKey->uKey.stIpmsiLeafAd.stLeafAddr, pstKey->uKey.stIpmsiLeafAd.ucLeafAddrLen);
}

void QEL_NGMVPN_FormatCfgSpmsiLeafAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    QEL_Store32(pucOut, QEL_NGMVPN_CFG_FORM_SPMSI_LEAF);
    QEL_NGMVPN_PutPrefix_(pucOut, 4, &pstKey->uKey.stSpmsiLeafAd.stSrcAddr, pstKey->uKey.stSpmsiLeafAd.ucSrcAddrLen);
    QEL_NGMVPN_PutPrefix_(pucOut, 25, &pstKey->uKey.stSpmsiLeafAd.stGrpAddr, pstKey->uKey.stSpmsiLeafAd.ucGrpAddrLen);
    QEL_NGMVPN_PutPrefix_(pucOut, 46, &pstKey->uKey.stSpmsiLeafAd.stOrigAddr, pstKey->uKey.stSpmsiLeafAd.ucOrigAddrLen);
    QEL_NGMVPN_PutPrefix_(pucOut, 67, &pstKey->uKey.stSpmsiLeafAd.stLeafAddr, pstKey->uKey.stSpmsiLeafAd.ucLeafAddrLen);
}

void QEL_NGMVPN_FormatCfgSourceActiveAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    QEL_Store32(pucOut, QEL_NGMVPN_CFG_FORM_SOURCE_ACTIVE);
    QEL_NGMVPN_PutPrefix_(pucOut, 4, &pstKey->uKey.stSourceActiveAd.stSrcAddr,
                          pstKey->uKey.stSourceActiveAd.ucSrcAddrLen);
    QEL_NGMVPN_PutPrefix_(pucOut, 25, &pstKey->uKey.stSourceActiveAd.stGrpAddr,
                          pstKey->uKey.stSourceActiveAd.ucGrpAddrLen);
}

void QEL_NGMVPN_FormatCfgCMulticastRouteKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyOf_(pstRoute);
    /* kept: one form for both joins; a shared tree join comes back through the record's first word alone */
    QEL_Store32(pucOut, QEL_NGMVPN_CFG_FORM_CMULTICAST);
    QEL_NGMVPN_PutSourceAs_(pstRoute, pucOut, pstKey->uKey.stCMulticastRoute.uiSourceAs);
    QEL_NGMVPN_PutPrefix_(pucOut, 12, &pstKey->uKey.stCMulticastRoute.stSrcAddr,
                          pstKey->uKey.stCMulticastRoute.ucSrcAddrLen);
    QEL_NGMVPN_PutPrefix_(pucOut, 33, &pstKey->uKey.stCMulticastRoute.stGrpAddr,
                          pstKey->uKey.stCMulticastRoute.ucGrpAddrLen);
}

/* Writes the record of the key's type; false for a key type outside 1 to 8. */
static bool QEL_NGMVPN_PutCfgKey_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    switch (QEL_NGMVPN_KeyOf_(pstRoute)->uiKeyType) {
    case QEL_NGMVPN_KEY_INTRA_IPMSI_AD:
        QEL_NGMVPN_FormatCfgIntraIpmsiAdKey(pstRoute, pucOut);
        return true;
    case QEL_NGMVPN_KEY_INTER_IPMSI_AD:
        QEL_NGMVPN_FormatCfgInterIpmsiAdKey(pstRoute, pucOut);
        return true;
    case QEL_NGMVPN_KEY_SPMSI_AD:
        QEL_NGMVPN_FormatCfgSpmsiAdKey(pstRoute, pucOut);
        return true;
    case QEL_NGMVPN_KEY_IPMSI_LEAF_AD:
        QEL_NGMVPN_FormatCfgIntraIpmsiLeafAdKey(pstRoute, pucOut);
        return true;
    case QEL_NGMVPN_KEY_SPMSI_LEAF_AD:
        QEL_NGMVPN_FormatCfgSpmsiLeafAdKey(pstRoute, pucOut);
        return true;
    case QEL_NGMVPN_KEY_SOURCE_ACTIVE_AD:
        QEL_NGMVPN_FormatCfgSourceActiveAdKey(pstRoute, pucOut);
        return true;
    case QEL_NGMVPN_KEY_SHARED_TREE_JOIN:
    case QEL_NGMVPN_KEY_SOURCE_TREE_JOIN:
        QEL_NGMVPN_FormatCfgCMulticastRouteKey(pstRoute, pucOut);
        return true;
    default:
        return false;
    }
}

uint32_t QEL_NGMVPN_FormatCfgPrefix(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) ||
        QEL_NGMVPN_CfgArgsMissing_(pstRoute->pucKey, ppucCursor, uiOutLen, puiIndex, puiMore)) {
        return QEL_ERR_NULL;
    }
    /* kept: every form asks for and takes 89 bytes, also the intra-AS form that writes none of them */
    if (uiOutLen < QEL_NGMVPN_CFG_KEY_LEN) {
        return QEL_ERR_SPACE;
    }
    if (!QEL_NGMVPN_PutCfgKey_(pstRoute, *ppucCursor)) {
        QEL_Report(QEL_NGMVPN_KeyOf_(pstRoute)->uiKeyType);
        return QEL_ERR_FAILED;
    }
    QEL_NGMVPN_EndText_(puiIndex, puiMore);
    *ppucCursor += QEL_NGMVPN_CFG_KEY_LEN;
    return QEL_OK;
}
