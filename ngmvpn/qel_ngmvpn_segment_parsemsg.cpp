#include "qel_ngmvpn_segment_parsemsg.h"

#include "platform/bounds.h"
#include "platform/zvk.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn.h"
#include "qel_ngmvpn_attribute_msg.h"
#include "qel_ngmvpn_key.h"
#include "qel_ngmvpn_nlri.h"
#include "qel_ngmvpn_util.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

static constexpr uint32_t QEL_NGMVPN_NLRI_HEADER_LEN = 2; /* route type, length */
static constexpr uint32_t QEL_NGMVPN_RD_LEN = sizeof(QEL_RD_VALUE_S);
static constexpr uint32_t QEL_NGMVPN_IPV4_LEN = 4;
static constexpr uint32_t QEL_NGMVPN_IPV6_LEN = 16;
static constexpr uint16_t QEL_NGMVPN_POLICY_ID_LEN = 4;

/* ---- message 137, parsing ---- */

uint32_t QEL_NGMVPN_ParseBgpRd(const uint8_t **ppucCursor, QEL_RD_VALUE_S *pstRd, uint32_t uiSize,
                               QEL_NGMVPN_KEY_S *pstKey)
{
    QEL_Copy(pstRd, uiSize, *ppucCursor, QEL_NGMVPN_RD_LEN);
    pstRd->usRdType = QEL_Swap16(pstRd->usRdType);
    switch (pstRd->usRdType) {
    case 0:
        pstRd->usAsn = QEL_Swap16(pstRd->usAsn);
        pstRd->uiAssigned = QEL_Swap32(pstRd->uiAssigned);
        break;
    case 1:
    case 2:
        pstRd->uiAdmin = QEL_Swap32(pstRd->uiAdmin);
        pstRd->usAssigned = QEL_Swap16(pstRd->usAssigned);
        break;
    default:
        return QEL_ERR_NLRI_REFUSED;
    }
    *ppucCursor += QEL_NGMVPN_RD_LEN;
    pstKey->ucRdKind = QEL_NGMVPN_RD_KIND_KEY;
    pstKey->stRd = *pstRd;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_ParseBgpPolicyID(const uint8_t **ppucCursor, QEL_NGMVPN_IMPORT_ATTR_S *pstKey)
{
    const uint8_t *pucTlv = *ppucCursor;
    const uint16_t usTlvType = QEL_LoadBe16(pucTlv);
    const uint16_t usTlvLen = QEL_LoadBe16(pucTlv + sizeof(usTlvType));
    /* kept: another TLV in this place is reported and its first four octets are the policy id all the same; the
     * multicast component has no way to learn of a refusal */
    if (usTlvType != QEL_NGMVPN_TLV_POLICY_ID) {
        QEL_Report(usTlvType);
    }
    if (usTlvLen != QEL_NGMVPN_POLICY_ID_LEN) {
        QEL_Report(usTlvLen);
    }
    pstKey->uiPolicyId = QEL_LoadBe32(pucTlv + QEL_NGMVPN_TLV_HEADER_LEN);
    *ppucCursor += QEL_NGMVPN_TLV_HEADER_LEN + QEL_NGMVPN_POLICY_ID_LEN;
    return QEL_OK;
}

/* Whether more follows the route. kept: the two header octets are counted twice, as for a path attribute; hosts rely on
 * where the calls end. */
static uint32_t QEL_NGMVPN_MoreBehind_(uint8_t ucNlriLen, uint32_t uiRemainLen)
{
    return ucNlriLen + QEL_NGMVPN_NLRI_HEADER_LEN < uiRemainLen ? 1 : 0;
}

uint32_t QEL_NGMVPN_OutPutNlriKey(const QEL_NGMVPN_IMPORT_ATTR_S *pstKey, const QEL_NGMVPN_NONKEY_S *pstNonKey,
                                  const QEL_RD_VALUE_S *pstRd, uint8_t ucNlriLen, uint32_t uiRemainLen,
                                  QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_ROUTE_VIEW_S stView = {};
    if (pstRd != nullptr) {
        stView.uiRdLen = QEL_NGMVPN_RD_LEN;
        stView.pucRd = QEL_Bytes(pstRd);
    }
    if (pstKey != nullptr) {
        stView.uiKeyLen = sizeof(pstKey->stKey);
        stView.pucKey = QEL_Bytes(&pstKey->stKey);
        stView.ucAttrFlag = QEL_ATTR_FLAG_IMPORT;
        stView.ucAttrType = QEL_ATTR_TYPE_IMPORT;
        stView.usAttrLen = QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN;
        stView.pucAttr = QEL_Bytes(pstKey);
    }
    if (pstNonKey != nullptr) {
        stView.uiNonKeyLen = sizeof(*pstNonKey);
        stView.pucNonKey = QEL_Bytes(pstNonKey);
    }
    const uint32_t uiRet = QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
    if (uiRet != QEL_OK) {
        QEL_Report(uiRet);
        return uiRet;
    }
    *puiMore = QEL_NGMVPN_MoreBehind_(ucNlriLen, uiRemainLen);
    return QEL_OK;
}

/* An import route's key while it is read. */
typedef struct {
    QEL_NGMVPN_IMPORT_ATTR_S *pstAttr; /* the fixed part alone */
    QEL_RD_VALUE_S stRd;
    uint8_t ucNlriLen;
    uint32_t uiRemainLen;
} QEL_NGMVPN_IMPORT_KEY_S;

/* The prologue of both route types: the RD. */
static uint32_t QEL_NGMVPN_BeginImportKey_(QEL_NGMVPN_IMPORT_KEY_S *pstImport, const uint8_t **ppucCursor,
                                           uint32_t uiKeyType, uint32_t *puiMore)
{
    QEL_NGMVPN_IMPORT_ATTR_S *pstAttr = pstImport->pstAttr;
    QEL_Clear(pstAttr, sizeof(*pstAttr), sizeof(*pstAttr));
    const uint32_t uiRet =
        QEL_NGMVPN_ParseBgpRd(ppucCursor, &pstImport->stRd, sizeof(pstImport->stRd), &pstAttr->stKey);
    if (uiRet != QEL_OK) {
        *ppucCursor += pstImport->ucNlriLen;
        *puiMore = QEL_NGMVPN_MoreBehind_(pstImport->ucNlriLen, pstImport->uiRemainLen);
        return uiRet;
    }
    pstAttr->stReplacedAttr.uiAttrFlag |= QEL_NGMVPN_SEG_SET;
    pstAttr->stKey.uiKeyType = uiKeyType;
    return QEL_OK;
}

/* The tail of both: non-key, policy id, block. */
static void QEL_NGMVPN_EndImportKey_(const QEL_NGMVPN_IMPORT_KEY_S *pstImport, const uint8_t **ppucCursor,
                                     QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_NONKEY_S stNonKey;
    QEL_Clear(&stNonKey, sizeof(stNonKey), sizeof(stNonKey));
    stNonKey.usFlags |= QEL_NGMVPN_NONKEY_TYPE;
    stNonKey.uiKeyType = pstImport->pstAttr->stKey.uiKeyType;
    (void)QEL_NGMVPN_ParseBgpPolicyID(ppucCursor, pstImport->pstAttr);
    /* kept: a block that cannot be built loses the route quietly; the multicast component does not send it again */
    (void)QEL_NGMVPN_OutPutNlriKey(pstImport->pstAttr, &stNonKey, &pstImport->stRd, pstImport->ucNlriLen,
                                   pstImport->uiRemainLen, ppstResult, puiMore, pstCtx);
}

uint32_t QEL_NGMVPN_ParseBgpIntraIpmsiAdKey(const uint8_t **ppucCursor, uint8_t ucNlriLen, uint32_t uiRemainLen,
                                            QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const bool bIpv6 = ucNlriLen == QEL_NGMVPN_RD_LEN + QEL_NGMVPN_IPV6_LEN;
    if ((!bIpv6 && ucNlriLen != QEL_NGMVPN_RD_LEN + QEL_NGMVPN_IPV4_LEN) || uiRemainLen < ucNlriLen) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    QEL_NGMVPN_IMPORT_ATTR_S stAttr;
    QEL_NGMVPN_IMPORT_KEY_S stImport = {&stAttr, {}, ucNlriLen, uiRemainLen};
    const uint32_t uiRet = QEL_NGMVPN_BeginImportKey_(&stImport, ppucCursor, QEL_NGMVPN_KEY_INTRA_IPMSI_AD, puiMore);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    auto *pstIntra = &stAttr.stKey.uKey.stIntraIpmsiAd;
    if (bIpv6) {
        pstIntra->ucOrigAddrLen = QEL_NGMVPN_ADDR_LEN_IPV6;
        memcpy(pstIntra->stOrigAddr.aucIpv6, *ppucCursor, QEL_NGMVPN_IPV6_LEN);
        *ppucCursor += QEL_NGMVPN_IPV6_LEN;
    } else {
        pstIntra->ucOrigAddrLen = QEL_NGMVPN_ADDR_LEN_IPV4;
        pstIntra->stOrigAddr.uiIpv4 = QEL_LoadBe32(*ppucCursor);
        *ppucCursor += QEL_NGMVPN_IPV4_LEN;
    }
    QEL_NGMVPN_EndImportKey_(&stImport, ppucCursor, ppstResult, puiMore, pstCtx);
    /* kept: the policy id without a sign here and with one below; operators search their logs for it as it is */
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ParseBgpIntraIpmsiAdKey success, policy id %u", stAttr.uiPolicyId);
    return QEL_OK;
}

/* Which family's zero octets a wildcard of an S-PMSI A-D route of that length has behind it. */
static uint8_t QEL_NGMVPN_SpmsiKeyFamily_(uint8_t ucNlriLen)
{
    if (ucNlriLen == 22 || ucNlriLen == 34) {
        return 1;
    }
    return ucNlriLen == 46 || ucNlriLen == 58 ? 2 : 0;
}

/* Source and group: the octets that they took in *pucOctets, the group's family in *pusGrpFamily. */
static uint32_t QEL_NGMVPN_ParseImportSrcGrp_(const uint8_t **ppucCursor, QEL_NGMVPN_KEY_S *pstKey, uint8_t *pucOctets,
                                              uint16_t *pusGrpFamily)
{
    auto *pstSpmsi = &pstKey->uKey.stSpmsiAd;
    uint8_t ucSrcOctets = 0;
    uint8_t ucGrpOctets = 0;
    uint16_t usSrcFamily = 0;
    uint32_t uiRet = QEL_OK;
    QEL_NGMVPN_GetAddrAndLen(ppucCursor, &pstSpmsi->stSrcAddr, &pstSpmsi->ucSrcAddrLen, &ucSrcOctets,
                             pstSpmsi->ucKeyAddrFamily, &uiRet, &usSrcFamily);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_GetAddrAndLen(ppucCursor, &pstSpmsi->stGrpAddr, &pstSpmsi->ucGrpAddrLen, &ucGrpOctets,
                             pstSpmsi->ucKeyAddrFamily, &uiRet, pusGrpFamily);
    *pucOctets = static_cast<uint8_t>(ucSrcOctets + ucGrpOctets);
    return uiRet;
}

uint32_t QEL_NGMVPN_ParseBgpSpmsiAdKey(const uint8_t **ppucCursor, uint8_t ucNlriLen, uint32_t uiRemainLen,
                                       QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    /* kept: not held against the TLV's length, unlike an Intra I-PMSI route; the message's reader has done so */
    if (ucNlriLen < 14 || ucNlriLen > 58) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    QEL_NGMVPN_IMPORT_ATTR_S stAttr;
    QEL_NGMVPN_IMPORT_KEY_S stImport = {&stAttr, {}, ucNlriLen, uiRemainLen};
    uint32_t uiRet = QEL_NGMVPN_BeginImportKey_(&stImport, ppucCursor, QEL_NGMVPN_KEY_SPMSI_AD, puiMore);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    stAttr.stKey.uKey.stSpmsiAd.ucKeyAddrFamily = QEL_NGMVPN_SpmsiKeyFamily_(ucNlriLen);
    uint8_t ucOctets = 0;
    uint16_t usGrpFamily = 0;
    uiRet = QEL_NGMVPN_ParseImportSrcGrp_(ppucCursor, &stAttr.stKey, &ucOctets, &usGrpFamily);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const uint32_t uiOrigi = QEL_NGMVPN_ParseBgpSpmsiAdOrigiRouterIp_(ucNlriLen, ppucCursor, &stAttr.stKey);
    if (static_cast<uint8_t>(QEL_NGMVPN_RD_LEN + ucOctets + uiOrigi) != ucNlriLen) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    /* kept: the group's family stands for the source's too; sources of the other family get in here alone */
    uiRet = QEL_NGMVPN_CheckPktAddrFamily(usGrpFamily, usGrpFamily, pstCtx->usAddrFamily);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_EndImportKey_(&stImport, ppucCursor, ppstResult, puiMore, pstCtx);
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ParseBgpSpmsiAdKey success, policy id %d", stAttr.uiPolicyId);
    return QEL_OK;
}

/* The route of message 137 by its type; the cursor stands behind its two header octets. */
static uint32_t QEL_NGMVPN_ParseImportRoute_(uint8_t ucRouteType, const uint8_t *pucNlri, uint8_t ucNlriLen,
                                             uint32_t uiRemainLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                             QEL_FAMILY_CTX_S *pstCtx)
{
    uint32_t uiMore = 0;
    switch (ucRouteType) {
    case QEL_NGMVPN_WIRE_SPMSI_AD:
        return QEL_NGMVPN_ParseBgpSpmsiAdKey(&pucNlri, ucNlriLen, uiRemainLen, ppstResult, &uiMore, pstCtx);
    case QEL_NGMVPN_WIRE_LEAF_AD:
        /* kept: neither a record nor the policy id behind the route; a leaf route is never replaced */
        return QEL_NGMVPN_ParseBgpLeafAd(&pucNlri, ucNlriLen, uiRemainLen, ppstResult, &uiMore, QEL_NGMVPN_RD_KIND_KEY,
                                         pstCtx);
    default:
        return QEL_NGMVPN_ParseBgpIntraIpmsiAdKey(&pucNlri, ucNlriLen, uiRemainLen, ppstResult, &uiMore, pstCtx);
    }
}

uint32_t QEL_NGMVPN_ParseMcImportRouteKeyTlv(const uint8_t *pucData, uint32_t /* uiLen */,
                                             QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    /* kept: the message's own length is not looked at, and a TLV length below 2 wraps to one that every route fits; the
     * lengths below bound what is read to less than the slack behind a message */
    const uint32_t uiRemainLen = QEL_LoadBe16(pucData + 2) - QEL_NGMVPN_NLRI_HEADER_LEN;
    const uint8_t *pucNlri = pucData + QEL_NGMVPN_TLV_HEADER_LEN;
    const uint8_t ucRouteType = pucNlri[0];
    const uint8_t ucNlriLen = pucNlri[1];
    if (ucNlriLen > uiRemainLen) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMcImportRouteKeyTlv failed, ucNlriLen(%d), uiRemainLen(%d)", ucNlriLen,
                         uiRemainLen);
        return QEL_ERR_ARGUMENT;
    }
    /* kept: 52, so that an S-PMSI route of 58 octets, which the writer sends, is refused; senders are tested so */
    if (ucNlriLen < 10 || ucNlriLen > 52) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMcImportRouteKeyTlv failed, ucNlriLen is %d", ucNlriLen);
        return QEL_ERR_NLRI_MALFORMED;
    }
    if (ucRouteType != QEL_NGMVPN_WIRE_INTRA_IPMSI_AD && ucRouteType != QEL_NGMVPN_WIRE_SPMSI_AD &&
        ucRouteType != QEL_NGMVPN_WIRE_LEAF_AD) {
        /* kept: "RD_TYPE" for a route type; operators search their logs for the words as they are */
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMcImportRouteKeyTlv failed, DISCARDERR_RD_TYPE");
        return QEL_ERR_VALUE;
    }
    const uint32_t uiRet = QEL_NGMVPN_ParseImportRoute_(ucRouteType, pucNlri + QEL_NGMVPN_NLRI_HEADER_LEN, ucNlriLen,
                                                        uiRemainLen, ppstResult, pstCtx);
    /* kept: "Success" whatever the code; operators search their logs for the words as they are */
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMcImportRouteKeyTlv Success, uiRetCode is %u", uiRet);
    return uiRet;
}

/* ---- message 138, parsing ---- */

void QEL_NGMVPN_ReadPlyInfo_(const uint8_t **ppucCursor, QEL_NGMVPN_PLY_INFO_S *pstPlyInfo)
{
    /* kept: one octet of the policy type, and the three behind it are not looked at; senders leave there what they like
     */
    const uint8_t *pucValue = *ppucCursor;
    pstPlyInfo->uiPlyType = pucValue[0];
    pstPlyInfo->uiRootIp = QEL_LoadBe32(pucValue + 4);
    pstPlyInfo->uiTempId = QEL_LoadBe32(pucValue + 8);
    *ppucCursor += QEL_NGMVPN_PLY_INFO_LEN;
}

uint8_t *QEL_NGMVPN_ParsePmsiRplInfo(const uint8_t **ppucCursor, uint16_t /* usTlvLen */, uint16_t *pusAttrLen,
                                     QEL_FAMILY_CTX_S *pstCtx)
{
    void *pvPlyInfo = QEL_NGMVPN_Malloc(pstCtx, sizeof(QEL_NGMVPN_PLY_INFO_S));
    if (QEL_Missing(pvPlyInfo)) {
        return nullptr;
    }
    /* kept: twelve octets are read and passed over whatever the TLV's length says; the list behind a shorter TLV goes
     * out of step, and its senders are tested against that */
    QEL_NGMVPN_ReadPlyInfo_(ppucCursor, static_cast<QEL_NGMVPN_PLY_INFO_S *>(pvPlyInfo));
    *pusAttrLen = sizeof(QEL_NGMVPN_PLY_INFO_S);
    return static_cast<uint8_t *>(pvPlyInfo);
}

#define QEL_NGMVPN_NOKEY_PLACES(name)                                                                                  \
    offsetof(QEL_NGMVPN_SEG_NOKEY_S, us##name##Len), offsetof(QEL_NGMVPN_SEG_NOKEY_S, puc##name)

constexpr QEL_NGMVPN_NOKEY_TLV_S g_qelNgmvpnParseRouteNokeyTlvArgMap[] = {
    {QEL_NGMVPN_TLV_RT_IMPORT, 0, "TLV_QEL_MCAST_XRMI_TLV_RT_IMPORT", QEL_NGMVPN_NOKEY_PLACES(RtImport),
     QEL_NGMVPN_ParseRoutePathExtComTlv},
    {QEL_NGMVPN_TLV_ORIG_SNH, 1, "TLV_QEL_MCAST_XRMI_TLV_ORIGI_SNH", QEL_NGMVPN_NOKEY_PLACES(OrigSnh),
     QEL_NGMVPN_ParseRoutePathExtComTlv},
    {QEL_NGMVPN_TLV_ORIG_PMSI_RPL_INFO, 2, "TLV_QEL_MCAST_XRMI_TLV_ORIGI_PMSI_RPL_INFO",
     QEL_NGMVPN_NOKEY_PLACES(PlyInfo), QEL_NGMVPN_ParsePmsiRplInfo},
    {QEL_NGMVPN_TLV_ORIG_PMSI, 3, "TLV_QEL_MCAST_XRMI_TLV_ORIGI_PMSI", QEL_NGMVPN_NOKEY_PLACES(OrigPmsi),
     QEL_NGMVPN_ParseRoutePathPmsiTlv},
    {QEL_NGMVPN_TLV_SNH, 4, "TLV_QEL_MCAST_XRMI_TLV_SNH", QEL_NGMVPN_NOKEY_PLACES(Snh),
     QEL_NGMVPN_ParseRoutePathExtComTlv},
    {QEL_NGMVPN_TLV_PMSI, 5, "TLV_QEL_MCAST_XRMI_TLV_PMSI", QEL_NGMVPN_NOKEY_PLACES(Pmsi),
     QEL_NGMVPN_ParseRoutePathPmsiTlv},
    {QEL_NGMVPN_TLV_RT6_IMPORT, 6, "TLV_QEL_MCAST_XRMI_TLV_RT6_IMPORT", QEL_NGMVPN_NOKEY_PLACES(Rt6Import),
     QEL_NGMVPN_ParseRoutePathIPv6ExtComTlv},
    {QEL_NGMVPN_TLV_PREFIX_SID, 7, "TLV_QEL_MCAST_XRMI_TLV_PREFIX_SID", QEL_NGMVPN_NOKEY_PLACES(PrefixSid),
     QEL_NGMVPN_ParseRoutePathPfxSidTlv},
    {QEL_NGMVPN_TLV_MSID, 8, "TLV_QEL_MCAST_XRMI_TLV_MSID", QEL_NGMVPN_NOKEY_PLACES(Msid),
     QEL_NGMVPN_ParseRoutePathMsidTlv},
};

#undef QEL_NGMVPN_NOKEY_PLACES

static uint8_t **QEL_NGMVPN_NokeyData_(QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, const QEL_NGMVPN_NOKEY_TLV_S &stRow)
{
    return reinterpret_cast<uint8_t **>(reinterpret_cast<uint8_t *>(pstSegNokey) + stRow.uiDataOffset);
}

void QEL_NGMVPN_FreeSegNokeyStc(QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, QEL_FAMILY_CTX_S *pstCtx)
{
    for (const QEL_NGMVPN_NOKEY_TLV_S &stRow : g_qelNgmvpnParseRouteNokeyTlvArgMap) {
        uint8_t **ppucData = QEL_NGMVPN_NokeyData_(pstSegNokey, stRow);
        if (*ppucData != nullptr) {
            void *pvData = *ppucData;
            QEL_NGMVPN_Free(&pvData, pstCtx);
            *ppucData = nullptr;
        }
    }
}

uint32_t QEL_NGMVPN_ParseRouteNokeyTlvElement(uint16_t usTlvType, QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey,
                                              const uint8_t **ppucCursor, uint16_t usTlvLen, QEL_FAMILY_CTX_S *pstCtx)
{
    for (const QEL_NGMVPN_NOKEY_TLV_S &stRow : g_qelNgmvpnParseRouteNokeyTlvArgMap) {
        if (stRow.uiTlvType != usTlvType) {
            continue;
        }
        uint16_t usAttrLen = 0;
        uint8_t *pucAttr = stRow.pfParse(ppucCursor, usTlvLen, &usAttrLen, pstCtx);
        if (pucAttr == nullptr) {
            /* kept: no failure, and the cursor stays at the value, whose first octets are the next header; senders are
             * tested against where the list ends then */
            QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMcImportRouteNoKeyTlv fail, %s, usTlvLen(%d), usAttrLen(%d).",
                             stRow.pszName, usTlvLen, usAttrLen);
            return QEL_OK;
        }
        /* kept: a TLV that comes twice leaves its first memory behind; the accounts of the host know that loss */
        QEL_Store16(reinterpret_cast<uint8_t *>(pstSegNokey) + stRow.uiLenOffset, usAttrLen);
        *QEL_NGMVPN_NokeyData_(pstSegNokey, stRow) = pucAttr;
        return QEL_OK;
    }
    QEL_Report(usTlvType);
    return QEL_ERR_FAILED;
}

uint32_t QEL_NGMVPN_ParseRouteNokeyTlv(const uint8_t *pucData, uint16_t usRemainLen,
                                       QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, QEL_FAMILY_CTX_S *pstCtx)
{
    if (usRemainLen < QEL_NGMVPN_TLV_HEADER_LEN) {
        QEL_Report(usRemainLen);
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMcImportRouteNoKeyTlv fail, usRemainLen is %d", usRemainLen);
        return QEL_ERR_TLV;
    }
    const uint8_t *pucCursor = pucData;
    const uint8_t *pucEnd = pucData + usRemainLen;
    /* kept: what remains is counted by the TLV lengths, while the readers alone move the cursor, by more or by nothing;
     * senders are tested against where such a list ends. So a header has to lie inside the message, and a value may not
     * go on behind the slack. */
    uint32_t uiRemain = usRemainLen;
    for (;;) {
        uint16_t usTlvType = 0;
        uint16_t usTlvLen = 0;
        ptrdiff_t lReadable = 0; /* of the value, the slack behind the message included */
        if (pucEnd - pucCursor >= static_cast<ptrdiff_t>(QEL_NGMVPN_TLV_HEADER_LEN)) {
            usTlvType = QEL_LoadBe16(pucCursor);
            usTlvLen = QEL_LoadBe16(pucCursor + sizeof(usTlvType));
            pucCursor += QEL_NGMVPN_TLV_HEADER_LEN;
            lReadable = pucEnd - pucCursor + QEL_MSG_READ_SLACK;
        }
        uiRemain -= QEL_NGMVPN_TLV_HEADER_LEN;
        if (uiRemain == 0 || usTlvLen > uiRemain || usTlvLen == 0 || usTlvLen > lReadable) {
            QEL_Report(usTlvLen);
            QEL_NGMVPN_Debug(pstCtx, __LINE__,
                             "ParseMcImportRouteNoKeyTlv fail, parse para invalid,usTlvLen(%d), usRemainLen(%d), "
                             "usTlvLen(%d).",
                             usTlvLen, uiRemain, usTlvLen);
            QEL_NGMVPN_FreeSegNokeyStc(pstSegNokey, pstCtx);
            return QEL_ERR_TLV;
        }
        const uint32_t uiRet =
            QEL_NGMVPN_ParseRouteNokeyTlvElement(usTlvType, pstSegNokey, &pucCursor, usTlvLen, pstCtx);
        if (uiRet != QEL_OK) {
            return uiRet;
        }
        uiRemain -= usTlvLen;
        /* kept: less than a header and one octet is no TLV and no fault; senders pad */
        if (uiRemain <= QEL_NGMVPN_TLV_HEADER_LEN) {
            return QEL_OK;
        }
    }
}

uint32_t QEL_NGMVPN_OutputAttrData(uint8_t ucAttrFlag, uint8_t ucAttrType, const uint8_t *pucData, uint16_t usAttrLen,
                                   QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = ucAttrFlag;
    stView.ucAttrType = ucAttrType;
    stView.usAttrLen = usAttrLen;
    stView.pucAttr = pucData;
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

/* The complete record, cleared before. Its fixed part comes from the block of message 137, the rest from the TLVs. */
static void QEL_NGMVPN_FillImportAttr_(const QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, const QEL_ROUTE_BLOCK_S *pstBlock,
                                       QEL_NGMVPN_IMPORT_ATTR_S *pstAttr, uint32_t uiPmsiRoom)
{
    QEL_NGMVPN_SEG_ATTR_S *pstOriginal = &pstAttr->stOriginalAttr;
    QEL_NGMVPN_SEG_ATTR_S *pstReplaced = &pstAttr->stReplacedAttr;
    QEL_Copy(pstAttr, QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN, QEL_Bytes(pstBlock) + pstBlock->usAttrOffset,
             QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN);
    if (pstSegNokey->pucPlyInfo != nullptr) {
        QEL_Copy(&pstAttr->stPlyInfo, sizeof(pstAttr->stPlyInfo), pstSegNokey->pucPlyInfo, sizeof(pstAttr->stPlyInfo));
    }
    /* kept: of a list of communities the first alone, whatever it is; the list has been sorted, and the multicast
     * component sends one */
    if (pstSegNokey->pucOrigSnh != nullptr) {
        pstOriginal->uiAttrFlag |= QEL_NGMVPN_SEG_SNH;
        QEL_Copy(pstOriginal->aucSnh, sizeof(pstOriginal->aucSnh), pstSegNokey->pucOrigSnh, QEL_NGMVPN_SNH_LEN);
    }
    if (pstSegNokey->pucOrigPmsi != nullptr) {
        pstOriginal->uiAttrFlag |= QEL_NGMVPN_SEG_PMSI;
        pstOriginal->usPmsiOffset = 0;
        pstOriginal->usPmsiLen = pstSegNokey->usOrigPmsiLen;
        QEL_Copy(pstAttr->aucPmsiData, uiPmsiRoom, pstSegNokey->pucOrigPmsi, pstSegNokey->usOrigPmsiLen);
    }
    if (pstSegNokey->pucSnh != nullptr) {
        pstReplaced->uiAttrFlag |= QEL_NGMVPN_SEG_SNH;
        QEL_Copy(pstReplaced->aucSnh, sizeof(pstReplaced->aucSnh), pstSegNokey->pucSnh, QEL_NGMVPN_SNH_LEN);
    }
    if (pstSegNokey->pucPmsi != nullptr) {
        /* kept: behind the length that the record states, also where it came without the tunnel; readers go by it */
        const uint16_t usOffset = pstOriginal->usPmsiLen;
        const uint32_t uiRoom = usOffset < uiPmsiRoom ? uiPmsiRoom - usOffset : 0;
        pstReplaced->usPmsiOffset = usOffset;
        pstReplaced->uiAttrFlag |= QEL_NGMVPN_SEG_PMSI;
        pstReplaced->usPmsiLen = pstSegNokey->usPmsiLen;
        QEL_Copy(uiRoom != 0 ? &pstAttr->aucPmsiData[usOffset] : nullptr, uiRoom, pstSegNokey->pucPmsi,
                 pstSegNokey->usPmsiLen);
    }
}

uint32_t QEL_NGMVPN_ConstructImportAttr(QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, QEL_ROUTE_BLOCK_S **ppstBlock,
                                        QEL_NGMVPN_IMPORT_ATTR_S **ppstAttr, uint16_t *pusAttrLen,
                                        QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppstBlock) || QEL_Missing(*ppstBlock)) {
        return QEL_ERR_ARGUMENT;
    }
    const auto usAttrLen =
        static_cast<uint16_t>(QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN + pstSegNokey->usOrigPmsiLen + pstSegNokey->usPmsiLen);
    void *pvAttr = nullptr;
    if (usAttrLen >= QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN) {
        pvAttr = ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, usAttrLen, __FILE__, __LINE__);
    }
    if (QEL_Missing(pvAttr)) {
        QEL_NGMVPN_FreeSegNokeyStc(pstSegNokey, pstCtx);
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pvAttr, usAttrLen, usAttrLen);
    *ppstAttr = static_cast<QEL_NGMVPN_IMPORT_ATTR_S *>(pvAttr);
    *pusAttrLen = usAttrLen;
    QEL_NGMVPN_FillImportAttr_(pstSegNokey, *ppstBlock, *ppstAttr, usAttrLen - QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_OutputImportAttr_(QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, QEL_ROUTE_BLOCK_S **ppstBlock,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_IMPORT_ATTR_S *pstAttr = nullptr;
    uint16_t usAttrLen = 0;
    uint32_t uiRet = QEL_NGMVPN_ConstructImportAttr(pstSegNokey, ppstBlock, &pstAttr, &usAttrLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_ROUTE_BLOCK_S *pstOld = *ppstBlock;
    const uint8_t *pucOld = QEL_Bytes(pstOld);
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiRdLen = QEL_NGMVPN_RD_LEN;
    stView.pucRd = pucOld + pstOld->usRdOffset;
    stView.uiKeyLen = sizeof(QEL_NGMVPN_KEY_S);
    stView.pucKey = pucOld + pstOld->usKeyOffset;
    stView.uiNonKeyLen = sizeof(QEL_NGMVPN_NONKEY_S);
    stView.pucNonKey = pucOld + pstOld->usNonKeyOffset;
    stView.ucAttrFlag = QEL_ATTR_FLAG_IMPORT;
    stView.ucAttrType = QEL_ATTR_TYPE_IMPORT;
    stView.usAttrLen = usAttrLen;
    stView.pucAttr = QEL_Bytes(pstAttr);
    const uint32_t uiKeyType = pstAttr->stKey.uiKeyType;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMcImportRouteNoKeyTlv input type(%d).", uiKeyType);
    uiRet = QEL_NGMVPN_OutputData(ppstBlock, &stView, pstCtx->uiMemHandle);
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMcImportRouteNoKeyTlv output type(%d).", uiKeyType);
    if (uiRet == QEL_OK) {
        ZVK_Free_F(pstOld, __FILE__, __LINE__);
    }
    ZVK_Free_F(pstAttr, __FILE__, __LINE__);
    return uiRet;
}

/* kept: one message, one attribute; the others of the list are dropped, and the host sends one message for each. A
 * plain attribute overwrites the pointer to the block of the key message, which stays the host's */
static uint32_t QEL_NGMVPN_OutputNokey_(QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, QEL_ROUTE_BLOCK_S **ppstResult,
                                        QEL_FAMILY_CTX_S *pstCtx)
{
    if (pstSegNokey->pucRtImport != nullptr) {
        return QEL_NGMVPN_OutputAttrData(QEL_ATTR_FLAG_EXTCOMM, QEL_ATTR_TYPE_EXTCOMM, pstSegNokey->pucRtImport,
                                         pstSegNokey->usRtImportLen, ppstResult, pstCtx);
    }
    if (pstSegNokey->pucRt6Import != nullptr) {
        return QEL_NGMVPN_OutputAttrData(QEL_ATTR_FLAG_IPV6_EXTCOMM, QEL_ATTR_TYPE_IPV6_EXTCOMM,
                                         pstSegNokey->pucRt6Import, pstSegNokey->usRt6ImportLen, ppstResult, pstCtx);
    }
    if (pstSegNokey->pucPrefixSid != nullptr) {
        return QEL_NGMVPN_OutputAttrData(QEL_ATTR_FLAG_PFXSID, QEL_ATTR_TYPE_PFXSID, pstSegNokey->pucPrefixSid,
                                         pstSegNokey->usPrefixSidLen, ppstResult, pstCtx);
    }
    if (pstSegNokey->pucMsid != nullptr) {
        return QEL_NGMVPN_OutputAttrData(QEL_ATTR_FLAG_MSID, QEL_ATTR_TYPE_MSID, pstSegNokey->pucMsid,
                                         pstSegNokey->usMsidLen, ppstResult, pstCtx);
    }
    return QEL_NGMVPN_OutputImportAttr_(pstSegNokey, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseMcImportRouteNoKeyTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                               QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_SEG_NOKEY_S stSegNokey;
    QEL_Clear(&stSegNokey, sizeof(stSegNokey), sizeof(stSegNokey));
    uint32_t uiRet = QEL_NGMVPN_ParseRouteNokeyTlv(pucData, static_cast<uint16_t>(uiLen), &stSegNokey, pstCtx);
    if (uiRet != QEL_OK) {
        /* kept: behind an unknown TLV what has been read stays unfreed; the accounts of the host know that loss */
        return uiRet;
    }
    uiRet = QEL_NGMVPN_OutputNokey_(&stSegNokey, ppstResult, pstCtx);
    QEL_NGMVPN_FreeSegNokeyStc(&stSegNokey, pstCtx);
    /* kept: "success" whatever the code; operators search their logs for the words as they are */
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMcImportRouteNoKeyTlv success, uiRetCode is %d", uiRet);
    return uiRet;
}

/* ---- message 137, formatting ---- */

/* The key that goes out: the import attribute record's if the route has one. */
static const QEL_NGMVPN_KEY_AT_S *QEL_NGMVPN_KeyToSend_(const QEL_ROUTE_INFO_S *pstRoute)
{
    if (pstRoute->pstImportAttr != nullptr) {
        const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr = pstRoute->pstImportAttr;
        return &pstAttr->stKey;
    }
    return QEL_NGMVPN_KeyOf_(pstRoute);
}

static int32_t QEL_NGMVPN_IsImportPmsi_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return pstRoute->pstImportAttr != nullptr ? 1 : 0;
}

/* What every form asks before it writes: its arguments, room for its largest size, a key. Null: *puiRet is the form's
 * answer. */
static const QEL_NGMVPN_KEY_AT_S *QEL_NGMVPN_BeginForm_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                        uint32_t uiMaxLen, uint32_t uiLargest,
                                                        const QEL_FAMILY_CTX_S *pstCtx, uint32_t *puiRet)
{
    *puiRet = QEL_ERR_NULL;
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return nullptr;
    }
    /* kept: tested against the largest form of the route type, whatever this route takes; hosts offer the largest */
    *puiRet = QEL_ERR_SPACE;
    if (uiMaxLen < uiLargest) {
        return nullptr;
    }
    /* kept: with neither key nothing is written and nothing is wrong; the caller that has a say has refused before */
    *puiRet = QEL_OK;
    return QEL_NGMVPN_KeyToSend_(pstRoute);
}

static void QEL_NGMVPN_PutOctet_(uint8_t **ppucCursor, uint8_t ucOctet)
{
    **ppucCursor = ucOctet;
    *ppucCursor += 1;
}

static void QEL_NGMVPN_PutAddr_(uint8_t **ppucCursor, const QEL_ADDR_AT_S *pstAddr, bool bIpv6)
{
    if (bIpv6) {
        memcpy(*ppucCursor, pstAddr->aucIpv6, QEL_NGMVPN_IPV6_LEN);
        *ppucCursor += QEL_NGMVPN_IPV6_LEN;
    } else {
        QEL_StoreBe32(*ppucCursor, pstAddr->uiIpv4);
        *ppucCursor += QEL_NGMVPN_IPV4_LEN;
    }
}

/* The host-order RD that the route is written with, or null. */
static const uint8_t *QEL_NGMVPN_RdToSend_(const QEL_ROUTE_INFO_S *pstRoute, const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    return pstKey->ucRdKind == QEL_NGMVPN_RD_KIND_KEY ? QEL_Bytes(&pstKey->stRd) : pstRoute->pucRd;
}

static void QEL_NGMVPN_PutRd_(uint8_t **ppucCursor, const uint8_t *pucRd)
{
    QEL_Copy(*ppucCursor, QEL_NGMVPN_RD_LEN, pucRd, QEL_NGMVPN_RD_LEN);
    QEL_NGMVPN_ConvertRDValueHTON(reinterpret_cast<QEL_RD_VALUE_S *>(*ppucCursor));
    *ppucCursor += QEL_NGMVPN_RD_LEN;
}

/* Route type, length and RD of an Intra I-PMSI A-D route, by itself or inside a Leaf A-D route. */
static uint32_t QEL_NGMVPN_PutIntraHead_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                         const QEL_NGMVPN_KEY_AT_S *pstKey, bool bIpv6)
{
    QEL_NGMVPN_PutOctet_(ppucCursor, QEL_NGMVPN_WIRE_INTRA_IPMSI_AD);
    QEL_NGMVPN_PutOctet_(ppucCursor, QEL_NGMVPN_RD_LEN + (bIpv6 ? QEL_NGMVPN_IPV6_LEN : QEL_NGMVPN_IPV4_LEN));
    const uint8_t *pucRd = QEL_NGMVPN_RdToSend_(pstRoute, pstKey);
    if (QEL_Missing(pucRd)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_PutRd_(ppucCursor, pucRd);
    return QEL_OK;
}

/* Source and group of both S-PMSI keys, whose fields begin alike. Returns the octets written. */
static uint8_t QEL_NGMVPN_PutKeySrcGrp_(uint8_t **ppucCursor, const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    uint8_t ucSrcOctets = 0;
    uint8_t ucGrpOctets = 0;
    QEL_NGMVPN_SetAddrAndLen(ppucCursor, &pstKey->uKey.stSpmsiAd.stSrcAddr, pstKey->uKey.stSpmsiAd.ucSrcAddrLen,
                             &ucSrcOctets, pstKey->uKey.stSpmsiAd.ucKeyAddrFamily);
    QEL_NGMVPN_SetAddrAndLen(ppucCursor, &pstKey->uKey.stSpmsiAd.stGrpAddr, pstKey->uKey.stSpmsiAd.ucGrpAddrLen,
                             &ucGrpOctets, pstKey->uKey.stSpmsiAd.ucKeyAddrFamily);
    return static_cast<uint8_t>(ucSrcOctets + ucGrpOctets);
}

uint32_t QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                 uint32_t uiMaxLen, QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint32_t uiLargest = QEL_NGMVPN_NLRI_HEADER_LEN + QEL_NGMVPN_RD_LEN + QEL_NGMVPN_IPV6_LEN;
    uint32_t uiRet = QEL_OK;
    const QEL_NGMVPN_KEY_AT_S *pstKey =
        QEL_NGMVPN_BeginForm_(pstRoute, ppucCursor, uiMaxLen, uiLargest, pstCtx, &uiRet);
    if (pstKey == nullptr) {
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey, IsImportPmsi(%d), type(%d).",
                     QEL_NGMVPN_IsImportPmsi_(pstRoute), pstKey->uiKeyType);
    /* kept: an originator is IPv6 by a length of 128 in both A-D routes and by any length but 32 in both leaf routes; a
     * key with neither length has always gone out so */
    const bool bIpv6 = pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen == QEL_NGMVPN_ADDR_LEN_IPV6;
    uint8_t *pucCursor = *ppucCursor;
    uiRet = QEL_NGMVPN_PutIntraHead_(pstRoute, &pucCursor, pstKey, bIpv6);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_PutAddr_(&pucCursor, &pstKey->uKey.stIntraIpmsiAd.stOrigAddr, bIpv6);
    *ppucCursor = pucCursor;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey Success.");
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FillBgpSpmsiAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                          const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    const bool bIpv6 = pstKey->uKey.stSpmsiAd.ucOrigAddrLen == QEL_NGMVPN_ADDR_LEN_IPV6;
    uint8_t *pucCursor = *ppucCursor;
    QEL_NGMVPN_PutOctet_(&pucCursor, QEL_NGMVPN_WIRE_SPMSI_AD);
    uint8_t *pucLenAt = pucCursor;
    QEL_NGMVPN_PutOctet_(&pucCursor, 0);
    const uint8_t *pucRd = QEL_NGMVPN_RdToSend_(pstRoute, pstKey);
    if (QEL_Missing(pucRd)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_PutRd_(&pucCursor, pucRd);
    const uint8_t ucOctets = QEL_NGMVPN_PutKeySrcGrp_(&pucCursor, pstKey);
    QEL_NGMVPN_PutAddr_(&pucCursor, &pstKey->uKey.stSpmsiAd.stOrigAddr, bIpv6);
    *pucLenAt =
        static_cast<uint8_t>(QEL_NGMVPN_RD_LEN + ucOctets + (bIpv6 ? QEL_NGMVPN_IPV6_LEN : QEL_NGMVPN_IPV4_LEN));
    *ppucCursor = pucCursor;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatBgpSpmsiAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                            QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint32_t uiLargest = 60;
    uint32_t uiRet = QEL_OK;
    const QEL_NGMVPN_KEY_AT_S *pstKey =
        QEL_NGMVPN_BeginForm_(pstRoute, ppucCursor, uiMaxLen, uiLargest, pstCtx, &uiRet);
    if (pstKey == nullptr) {
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatBgpSpmsiAdNlriKey, IsImportPmsi(%d), type(%d).",
                     QEL_NGMVPN_IsImportPmsi_(pstRoute), pstKey->uiKeyType);
    uiRet = QEL_NGMVPN_FillBgpSpmsiAdNlriKey(pstRoute, ppucCursor, pstKey);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatBgpSpmsiAdNlriKey success.");
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatBgpIpmsiLeafAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    const bool bIpv6 = pstKey->uKey.stIpmsiLeafAd.ucOrigAddrLen != QEL_NGMVPN_ADDR_LEN_IPV4;
    uint8_t *pucCursor = *ppucCursor;
    const uint32_t uiRet = QEL_NGMVPN_PutIntraHead_(pstRoute, &pucCursor, pstKey, bIpv6);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_PutAddr_(&pucCursor, &pstKey->uKey.stIpmsiLeafAd.stOrigAddr, bIpv6);
    QEL_NGMVPN_PutAddr_(&pucCursor, &pstKey->uKey.stIpmsiLeafAd.stLeafAddr, bIpv6);
    *ppucCursor = pucCursor;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatBgpSpmsiLeafAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    const bool bIpv6 = pstKey->uKey.stSpmsiLeafAd.ucOrigAddrLen != QEL_NGMVPN_ADDR_LEN_IPV4;
    const uint32_t uiAddrLen = bIpv6 ? QEL_NGMVPN_IPV6_LEN : QEL_NGMVPN_IPV4_LEN;
    QEL_NGMVPN_PutOctet_(ppucCursor, QEL_NGMVPN_WIRE_SPMSI_AD);
    uint8_t *pucLenAt = *ppucCursor;
    QEL_NGMVPN_PutOctet_(ppucCursor, 0);
    /* kept: a missing RD is not refused, unlike in the other forms; the failed copy is reported, the octets that stood
     * there go out swapped, and the route is still written, as the answer is a length */
    QEL_NGMVPN_PutRd_(ppucCursor, QEL_NGMVPN_RdToSend_(pstRoute, pstKey));
    const uint8_t ucOctets = QEL_NGMVPN_PutKeySrcGrp_(ppucCursor, pstKey);
    QEL_NGMVPN_PutAddr_(ppucCursor, &pstKey->uKey.stSpmsiLeafAd.stOrigAddr, bIpv6);
    QEL_NGMVPN_PutAddr_(ppucCursor, &pstKey->uKey.stSpmsiLeafAd.stLeafAddr, bIpv6);
    *pucLenAt = static_cast<uint8_t>(QEL_NGMVPN_RD_LEN + ucOctets + uiAddrLen);
    return QEL_NGMVPN_NLRI_HEADER_LEN + *pucLenAt + uiAddrLen;
}

/* A Leaf A-D route behind its route type octet. */
static uint32_t QEL_NGMVPN_PutLeafBody_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                        const QEL_NGMVPN_KEY_AT_S *pstKey)
{
    static constexpr uint8_t ucIpv4LeafLen = QEL_NGMVPN_NLRI_HEADER_LEN + QEL_NGMVPN_RD_LEN + 2 * QEL_NGMVPN_IPV4_LEN;
    uint8_t *pucLenAt = *ppucCursor;
    if (pstKey->uiKeyType == QEL_NGMVPN_KEY_IPMSI_LEAF_AD) {
        /* kept: the length of the IPv4 form stands in front of an IPv6 one too, which takes more; the multicast
         * component goes by the inner length */
        QEL_NGMVPN_PutOctet_(ppucCursor, ucIpv4LeafLen);
        return QEL_NGMVPN_FormatBgpIpmsiLeafAdNlriKey(pstRoute, ppucCursor, pstKey);
    }
    QEL_NGMVPN_PutOctet_(ppucCursor, 0);
    *pucLenAt = static_cast<uint8_t>(QEL_NGMVPN_FormatBgpSpmsiLeafAdNlriKey(pstRoute, ppucCursor, pstKey));
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatBgpLeafAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                           QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint32_t uiLargest = 78;
    uint32_t uiRet = QEL_OK;
    const QEL_NGMVPN_KEY_AT_S *pstKey =
        QEL_NGMVPN_BeginForm_(pstRoute, ppucCursor, uiMaxLen, uiLargest, pstCtx, &uiRet);
    if (pstKey == nullptr) {
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatBgpLeafAdNlriKey, IsImportPmsi(%d), type(%d).",
                     QEL_NGMVPN_IsImportPmsi_(pstRoute), pstKey->uiKeyType);
    uint8_t *pucCursor = *ppucCursor;
    QEL_NGMVPN_PutOctet_(&pucCursor, QEL_NGMVPN_WIRE_LEAF_AD);
    uiRet = QEL_NGMVPN_PutLeafBody_(pstRoute, &pucCursor, pstKey);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *ppucCursor = pucCursor;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatBgpLeafAdNlriKey success");
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatMcImportRouteNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                            QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyToSend_(pstRoute);
    if (QEL_Missing(pstKey)) {
        return QEL_ERR_NULL;
    }
    /* kept: the name of one route type for all; operators search their logs for the words as they are */
    if (QEL_NGMVPN_IsImportPmsi_(pstRoute) != 0) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey Import pmsi, type(%d).",
                         pstKey->uiKeyType);
    } else {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey type(%d).", pstKey->uiKeyType);
    }
    switch (pstKey->uiKeyType) {
    case QEL_NGMVPN_KEY_INTRA_IPMSI_AD:
        return QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey(pstRoute, ppucCursor, uiMaxLen, pstCtx);
    case QEL_NGMVPN_KEY_SPMSI_AD:
        return QEL_NGMVPN_FormatBgpSpmsiAdNlriKey(pstRoute, ppucCursor, uiMaxLen, pstCtx);
    case QEL_NGMVPN_KEY_IPMSI_LEAF_AD:
    case QEL_NGMVPN_KEY_SPMSI_LEAF_AD:
        return QEL_NGMVPN_FormatBgpLeafAdNlriKey(pstRoute, ppucCursor, uiMaxLen, pstCtx);
    default:
        return QEL_ERR_VALUE;
    }
}

/* kept: the names of the two read opposite to what they give; callers test for 0. */
uint32_t QEL_NGMVPN_CheckIspmsiAd(uint32_t uiKeyType)
{
    return QEL_NGMVPN_IsPmsiAd_(uiKeyType) ? 0 : 1;
}

uint32_t QEL_NGMVPN_CheckIsLeafAd(uint32_t uiKeyType)
{
    return uiKeyType == QEL_NGMVPN_KEY_IPMSI_LEAF_AD || uiKeyType == QEL_NGMVPN_KEY_SPMSI_LEAF_AD ? 0 : 1;
}

uint32_t QEL_NGMVPN_FormatMcImportRoutePlyIdTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiMaxLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiMaxLen < QEL_NGMVPN_TLV_HEADER_LEN + QEL_NGMVPN_POLICY_ID_LEN) {
        return QEL_ERR_SPACE;
    }
    const QEL_NGMVPN_KEY_AT_S *pstKey = QEL_NGMVPN_KeyToSend_(pstRoute);
    if (QEL_Missing(pstKey)) {
        return QEL_ERR_ARGUMENT;
    }
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr = pstRoute->pstImportAttr;
    const uint32_t uiIsNot =
        pstAttr != nullptr ? QEL_NGMVPN_CheckIspmsiAd(pstKey->uiKeyType) : QEL_NGMVPN_CheckIsLeafAd(pstKey->uiKeyType);
    if (uiIsNot != 0) {
        QEL_Report(pstKey->uiKeyType);
        return QEL_ERR_ARGUMENT;
    }
    const uint32_t uiPolicyId = pstAttr != nullptr ? pstAttr->uiPolicyId : pstRoute->uiPolicyId;
    /* kept: 'none' is reported of a record and sent all the same; the multicast component must answer for the route */
    if (pstAttr != nullptr && uiPolicyId == QEL_POLICY_ID_NONE) {
        QEL_Report(uiPolicyId);
    }
    QEL_StoreBe16(*ppucCursor, QEL_NGMVPN_TLV_POLICY_ID);
    QEL_StoreBe16(*ppucCursor + 2, QEL_NGMVPN_POLICY_ID_LEN);
    QEL_StoreBe32(*ppucCursor + QEL_NGMVPN_TLV_HEADER_LEN, uiPolicyId);
    *ppucCursor += QEL_NGMVPN_TLV_HEADER_LEN + QEL_NGMVPN_POLICY_ID_LEN;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatMcImportRoutePlyIdTlv success, policy id %d", uiPolicyId);
    return QEL_OK;
}

/* A TLV's type; its length is filled in when the value is there. Returns the place of the header. */
static uint8_t *QEL_NGMVPN_BeginTlv_(uint8_t **ppucCursor, uint16_t usTlvType)
{
    uint8_t *pucHeader = *ppucCursor;
    QEL_StoreBe16(pucHeader, usTlvType);
    *ppucCursor += QEL_NGMVPN_TLV_HEADER_LEN;
    return pucHeader;
}

static void QEL_NGMVPN_EndTlv_(uint8_t *pucHeader, const uint8_t *pucCursor)
{
    const ptrdiff_t lLen = pucCursor - pucHeader - static_cast<ptrdiff_t>(QEL_NGMVPN_TLV_HEADER_LEN);
    QEL_StoreBe16(pucHeader + sizeof(uint16_t), static_cast<uint16_t>(lLen));
}

/* The room that the community writer is told, which counts in 16 bits. */
static uint16_t QEL_NGMVPN_Room16_(uint32_t uiRoom)
{
    return uiRoom < UINT16_MAX ? static_cast<uint16_t>(uiRoom) : UINT16_MAX;
}

/* What is left of the room of a writer that began at pucStart. */
static uint32_t QEL_NGMVPN_RoomLeft_(uint32_t uiMaxLen, const uint8_t *pucStart, const uint8_t *pucCursor)
{
    return uiMaxLen - static_cast<uint32_t>(pucCursor - pucStart);
}

uint32_t QEL_NGMVPN_FormatMcImportRouteKeyTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                              QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiMaxLen < QEL_NGMVPN_TLV_HEADER_LEN) {
        /* kept: "Success" in a failure; operators search their logs for the words as they are */
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "FormatMcImportRouteKeyTlv Success, MaxLen is %d", uiMaxLen);
        return QEL_ERR_SPACE;
    }
    uint8_t *pucCursor = *ppucCursor;
    uint8_t *pucHeader = QEL_NGMVPN_BeginTlv_(&pucCursor, QEL_NGMVPN_TLV_RT_PREFIX);
    uint32_t uiRet =
        QEL_NGMVPN_FormatMcImportRouteNlri(pstRoute, &pucCursor, uiMaxLen - QEL_NGMVPN_TLV_HEADER_LEN, pstCtx);
    if (uiRet != QEL_OK) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "FormatMcImportRouteKeyTlv failed, because FormatMcImportRouteNlri %d",
                         uiRet);
        return uiRet;
    }
    QEL_NGMVPN_EndTlv_(pucHeader, pucCursor);
    uiRet = QEL_NGMVPN_FormatMcImportRoutePlyIdTlv(pstRoute, &pucCursor,
                                                   QEL_NGMVPN_RoomLeft_(uiMaxLen, *ppucCursor, pucCursor), pstCtx);
    if (uiRet != QEL_OK) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "FormatMcImportRouteKeyTlv failed, because FormatMcImportRoutePlyIdTlv %d",
                         uiRet);
        return uiRet;
    }
    *ppucCursor = pucCursor;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatMcImportRouteKeyTlv success, uiRetCode is %d", uiRet);
    return QEL_OK;
}

/* ---- message 138, formatting ---- */

uint32_t QEL_NGMVPN_FormatPlyInfoTlv(const QEL_NGMVPN_PLY_INFO_AT_S *pstPlyInfo, uint8_t **ppucCursor,
                                     uint32_t uiMaxLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstPlyInfo) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    if (uiMaxLen < QEL_NGMVPN_PLY_INFO_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucValue = *ppucCursor;
    /* kept: octets 1 to 3 stay as the buffer holds them; a host that wants zeros there clears it */
    pucValue[0] = static_cast<uint8_t>(pstPlyInfo->uiPlyType);
    QEL_StoreBe32(pucValue + 4, pstPlyInfo->uiRootIp);
    QEL_StoreBe32(pucValue + 8, pstPlyInfo->uiTempId);
    *ppucCursor += QEL_NGMVPN_PLY_INFO_LEN;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatPlyInfoTlv success, type %d, RootIp %d, TempId %d.",
                     pstPlyInfo->uiPlyType, pstPlyInfo->uiRootIp, pstPlyInfo->uiTempId);
    return QEL_OK;
}

/* The tunnel's TLV; the caller has room for its header. */
static uint32_t QEL_NGMVPN_PutPmsi_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiRoom,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucHeader = QEL_NGMVPN_BeginTlv_(ppucCursor, QEL_NGMVPN_TLV_PMSI);
    const uint32_t uiRet =
        QEL_NGMVPN_FormatPmsiTnlTlv(pstRoute, ppucCursor, uiRoom - QEL_NGMVPN_TLV_HEADER_LEN, pstCtx);
    if (uiRet != QEL_OK) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "FormatMcImportRouteNoKeyTlv failed, because FormatPmsiTnlTlv %d", uiRet);
        return uiRet;
    }
    QEL_NGMVPN_EndTlv_(pucHeader, *ppucCursor);
    return QEL_OK;
}

/* The policy info's TLV. */
static uint32_t QEL_NGMVPN_PutPlyInfo_(const QEL_NGMVPN_PLY_INFO_AT_S *pstPlyInfo, uint8_t **ppucCursor,
                                       uint32_t uiRoom, QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiRoom < QEL_NGMVPN_TLV_HEADER_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucHeader = QEL_NGMVPN_BeginTlv_(ppucCursor, QEL_NGMVPN_TLV_PLY_INFO);
    const uint32_t uiRet =
        QEL_NGMVPN_FormatPlyInfoTlv(pstPlyInfo, ppucCursor, uiRoom - QEL_NGMVPN_TLV_HEADER_LEN, pstCtx);
    if (uiRet != QEL_OK) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "FormatMcImportRouteNoKeyTlv failed, because FormatPlyInfoTlv %d", uiRet);
        return uiRet;
    }
    QEL_NGMVPN_EndTlv_(pucHeader, *ppucCursor);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatPmsiAdAttrs(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr = pstRoute->pstImportAttr;
    uint8_t *pucCursor = *ppucCursor;
    uint32_t uiRet = QEL_NGMVPN_PutPmsi_(pstRoute, &pucCursor, uiMaxLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    /* kept: the record's community goes out without a look at the flag that says whether it is valid; its Sub-type
     * decides, and a cleared one has none. */
    uiRet =
        QEL_NGMVPN_FormatExtComTlv(pstRoute, QEL_NGMVPN_TLV_SNH, QEL_NGMVPN_SUBTYPE_SNH, &pucCursor,
                                   QEL_NGMVPN_Room16_(QEL_NGMVPN_RoomLeft_(uiMaxLen, *ppucCursor, pucCursor)), pstCtx);
    if (uiRet != QEL_OK) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "FormatMcImportRouteNoKeyTlv failed, because FormatExtComTlv %d", uiRet);
        return uiRet;
    }
    uiRet = QEL_NGMVPN_PutPlyInfo_(&pstAttr->stPlyInfo, &pucCursor,
                                   QEL_NGMVPN_RoomLeft_(uiMaxLen, *ppucCursor, pucCursor), pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *ppucCursor = pucCursor;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatLeafAdExtCom(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                       QEL_FAMILY_CTX_S *pstCtx)
{
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = reinterpret_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pstRoute->pucNonKey);
    if ((pstNonKey->usFlags & QEL_NGMVPN_NONKEY_TYPE) == 0) {
        QEL_Report(pstNonKey->usFlags);
        return QEL_ERR_ARGUMENT;
    }
    uint8_t *pucCursor = *ppucCursor;
    uint32_t uiRet = QEL_NGMVPN_FormatExtComTlv(pstRoute, QEL_NGMVPN_TLV_RT_IMPORT, QEL_NGMVPN_EXTCOMM_SUB_RT,
                                                &pucCursor, QEL_NGMVPN_Room16_(uiMaxLen), pstCtx);
    if (uiRet != QEL_OK) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "FormatMcImportRouteNoKeyTlv failed, because FormatExtComTlv %d", uiRet);
        return uiRet;
    }
    uiRet =
        QEL_NGMVPN_FormatExtComTlv(pstRoute, QEL_NGMVPN_TLV_RT6_IMPORT, QEL_NGMVPN_EXTCOMM_SUB_RT, &pucCursor,
                                   QEL_NGMVPN_Room16_(QEL_NGMVPN_RoomLeft_(uiMaxLen, *ppucCursor, pucCursor)), pstCtx);
    if (uiRet != QEL_OK) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "FormatMcImportRouteNoKeyTlv failed(IPv6) because FormatExtComTlv %d",
                         uiRet);
        return uiRet;
    }
    *ppucCursor = pucCursor;
    return QEL_OK;
}

/* Whether the route has a non-key section of a Leaf A-D route. */
static bool QEL_NGMVPN_HasLeafNonKey_(const QEL_ROUTE_INFO_S *pstRoute)
{
    if ((pstRoute->uiValidMask & QEL_SECTION_NONKEY) == 0 || pstRoute->pucNonKey == nullptr) {
        return false;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = reinterpret_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pstRoute->pucNonKey);
    return QEL_NGMVPN_CheckIsLeafAd(pstNonKey->uiKeyType) == 0;
}

uint32_t QEL_NGMVPN_FormatMcImportRouteNoKeyTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiMaxLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiMaxLen < QEL_NGMVPN_TLV_HEADER_LEN) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "FormatMcImportRouteNoKeyTlv failed, MaxLen is %d", uiMaxLen);
        return QEL_ERR_SPACE;
    }
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr = pstRoute->pstImportAttr;
    const bool bAllowed = pstAttr != nullptr ? QEL_NGMVPN_CheckIspmsiAd(pstAttr->stKey.uiKeyType) == 0
                                             : QEL_NGMVPN_HasLeafNonKey_(pstRoute);
    if (!bAllowed) {
        QEL_Report(pstRoute->uiValidMask);
        return QEL_ERR_ARGUMENT;
    }
    const uint32_t uiRet = pstAttr != nullptr ? QEL_NGMVPN_FormatPmsiAdAttrs(pstRoute, ppucCursor, uiMaxLen, pstCtx)
                                              : QEL_NGMVPN_FormatLeafAdExtCom(pstRoute, ppucCursor, uiMaxLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatMcImportRouteNoKeyTlv success, uiRetCode is %d", uiRet);
    return QEL_OK;
}
