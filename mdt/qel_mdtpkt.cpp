#include "qel_mdtpkt.h"

#include "platform/bounds.h"
#include "platform/kvo.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_mdt.h"

#include <cstddef>
#include <cstdint>

static constexpr uint32_t QEL_MDT_RD_LEN = sizeof(QEL_RD_VALUE_S);
static constexpr uint32_t QEL_MDT_KEY_LEN = sizeof(QEL_MDT_KEY_S);
static constexpr uint32_t QEL_MDT_NONKEY_LEN = sizeof(QEL_MDT_NONKEY_S);
static constexpr uint32_t QEL_MDT_EXTCOMM_LEN = sizeof(QEL_EXTCOMM_S);
static constexpr uint32_t QEL_MDT_PREFIX_LEN = 16; /* RD, source, group */
static constexpr uint8_t QEL_MDT_NLRI_BITS = 128;

/* ---- tables ---- */

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtPktParseTbl[] = {
    {14, {.pfParsePkt = QEL_MDT_ParseMpNlri}},
    {15, {.pfParsePkt = QEL_MDT_ParseMpNlri}},
    {16, {.pfParsePkt = QEL_MDT_ParseExtCommunity}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetPktParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtPktParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtPktFormatTbl[] = {
    {14, {.pfFormatPkt = QEL_MDT_FormatMpNlri}},
    {15, {.pfFormatPkt = QEL_MDT_FormatMpNlri}},
    {16, {.pfFormatPkt = QEL_MDT_FormatExtCommunity}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetPktFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtPktFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtCmpDataTbl[] = {
    {1, {.pfCmpData = QEL_MDT_CmpRd}},     {2, {.pfCmpData = QEL_MDT_CmpKey}},
    {4, {.pfCmpData = QEL_MDT_CmpNonKey}}, {16, {.pfCmpData = QEL_MDT_CmpExtCommunity}},
    {8, {.pfCmpData = QEL_MDT_CmpAttr}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetDataCmpEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtCmpDataTbl, uiType);
}

/* ---- byte order ---- */

/* The six bytes behind a type word: 16 and 32 bits, or 32 and 16 bits. */
static void QEL_MDT_SwapAs2_(uint8_t *pucValue)
{
    QEL_SwapAt16(pucValue);
    QEL_SwapAt32(pucValue + sizeof(uint16_t));
}

static void QEL_MDT_SwapIp4_(uint8_t *pucValue)
{
    QEL_SwapAt32(pucValue);
    QEL_SwapAt16(pucValue + sizeof(uint32_t));
}

/* False, with nothing swapped, for an RD type above 2. */
static bool QEL_MDT_SwapRdValue_(uint16_t usRdType, QEL_RD_VALUE_S *pstRd)
{
    switch (usRdType) {
    case 0:
        QEL_MDT_SwapAs2_(pstRd->aucValue);
        return true;
    case 1:
    case 2:
        QEL_MDT_SwapIp4_(pstRd->aucValue);
        return true;
    default:
        return false;
    }
}

/* False, with nothing swapped, for a type that is no import target. kept: 0xFFFF is none here, though NG-MVPN takes it
 * for one; the two families are sent different targets */
static bool QEL_MDT_SwapRtValue_(uint16_t usType, QEL_EXTCOMM_S *pstRt)
{
    switch (usType) {
    case 0x0002:
        QEL_MDT_SwapAs2_(pstRt->aucValue);
        return true;
    case 0x0102:
    case 0x0202:
    case 0x010A:
    case 0x010B:
        QEL_MDT_SwapIp4_(pstRt->aucValue);
        return true;
    default:
        return false;
    }
}

void QEL_MDT_GET_RD_VALUE(const uint8_t **ppucCursor, QEL_RD_VALUE_S *pstRd, uint32_t *puiResult)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(pstRd) || QEL_Missing(puiResult)) {
        return;
    }
    QEL_Copy(pstRd, sizeof(*pstRd), *ppucCursor, sizeof(*pstRd));
    pstRd->usRdType = QEL_Swap16(pstRd->usRdType);
    if (!QEL_MDT_SwapRdValue_(pstRd->usRdType, pstRd)) {
        *puiResult = QEL_ERR_VALUE;
        return;
    }
    *ppucCursor += sizeof(*pstRd);
    *puiResult = QEL_OK;
}

void QEL_MDT_GET_RT_VALUE(const uint8_t **ppucCursor, QEL_EXTCOMM_S *pstRt, uint32_t *puiResult)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(pstRt) || QEL_Missing(puiResult)) {
        return;
    }
    QEL_Copy(pstRt, sizeof(*pstRt), *ppucCursor, sizeof(*pstRt));
    pstRt->usType = QEL_Swap16(pstRt->usType);
    if (!QEL_MDT_SwapRtValue_(pstRt->usType, pstRt)) {
        *puiResult = QEL_ERR_VALUE;
        return;
    }
    *ppucCursor += sizeof(*pstRt);
    *puiResult = QEL_OK;
}

void QEL_MDT_ConvertRDValueHTON(QEL_RD_VALUE_S *pstRd)
{
    if (QEL_Missing(pstRd)) {
        return;
    }
    (void)QEL_MDT_SwapRdValue_(pstRd->usRdType, pstRd);
    pstRd->usRdType = QEL_Swap16(pstRd->usRdType);
}

void QEL_MDT_ConvertRTValueHTON(QEL_EXTCOMM_S *pstRt)
{
    if (QEL_Missing(pstRt)) {
        return;
    }
    (void)QEL_MDT_SwapRtValue_(pstRt->usType, pstRt);
    pstRt->usType = QEL_Swap16(pstRt->usType);
}

/* kept: a list swaps the value of every type and knows two exceptions, a single target swaps listed types alone; the
 * wire needs both, folding them would change unknown communities on their way through */
static void QEL_MDT_SwapListValue_(uint16_t usType, QEL_EXTCOMM_S *pstExtComm)
{
    if (usType == 0x0002 || usType == 0x0009) {
        QEL_MDT_SwapAs2_(pstExtComm->aucValue);
    } else {
        QEL_MDT_SwapIp4_(pstExtComm->aucValue);
    }
}

void QEL_MDT_ConvertExtCommunityNTOH(QEL_EXTCOMM_S *pastList, uint32_t uiCount)
{
    if (QEL_Missing(pastList)) {
        return;
    }
    for (uint32_t i = 0; i < uiCount; i++) {
        pastList[i].usType = QEL_Swap16(pastList[i].usType);
        QEL_MDT_SwapListValue_(pastList[i].usType, &pastList[i]);
    }
}

void QEL_MDT_ConvertExtCommunityHTON(QEL_EXTCOMM_S *pastList, uint32_t uiCount)
{
    if (QEL_Missing(pastList)) {
        return;
    }
    for (uint32_t i = 0; i < uiCount; i++) {
        QEL_MDT_SwapListValue_(pastList[i].usType, &pastList[i]);
        pastList[i].usType = QEL_Swap16(pastList[i].usType);
    }
}

/* ---- routes ---- */

/* Source and group behind the RD, and the block of the three records. */
static uint32_t QEL_MDT_OutputRoute_(const QEL_RD_VALUE_S *pstRd, const uint8_t *pucAddrs,
                                     QEL_ROUTE_BLOCK_S **ppstResult, const QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_MDT_KEY_S stKey = {};
    stKey.uiSource = QEL_LoadBe32(pucAddrs);
    stKey.uiGroup = QEL_LoadBe32(pucAddrs + sizeof(uint32_t));
    QEL_MDT_NONKEY_S stNonKey = {};
    stNonKey.usFlags = QEL_MDT_NONKEY_SHARE_GROUP;
    /* kept: the group a second time; as share group it imports the route, in the key it takes no part in the order */
    stNonKey.uiShareGroup = stKey.uiGroup;
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiRdLen = sizeof(*pstRd);
    stView.pucRd = QEL_Bytes(pstRd);
    stView.uiKeyLen = sizeof(stKey);
    stView.pucKey = QEL_Bytes(&stKey);
    stView.uiNonKeyLen = sizeof(stNonKey);
    stView.pucNonKey = QEL_Bytes(&stNonKey);
    return QEL_MDT_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

QEL_HOT_PATH uint32_t QEL_MDT_ParseMpNlri(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                          uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Zero(uiLen) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint8_t *pucCursor = *ppucCursor;
    const uint32_t uiOctets = (*pucCursor + UINT32_C(7)) >> 3;
    const uint32_t uiRest = uiLen - 1;
    /* kept: any bit length that rounds up to 16 octets passes and is not looked at again; speakers that send 121 to
     * 127 are answered with 128 */
    if (uiOctets != QEL_MDT_PREFIX_LEN || uiOctets > uiRest) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    pucCursor++;
    QEL_RD_VALUE_S stRd;
    uint32_t uiRdResult = QEL_OK;
    QEL_MDT_GET_RD_VALUE(&pucCursor, &stRd, &uiRdResult);
    if (uiRdResult != QEL_OK) {
        /* kept: the cursor is left on the route's source address and not behind the route; the core knows */
        *ppucCursor = pucCursor + QEL_MDT_RD_LEN;
        *puiMore = uiRest == QEL_MDT_PREFIX_LEN ? 0 : 1;
        return QEL_ERR_NLRI_REFUSED;
    }
    const uint32_t uiRet = QEL_MDT_OutputRoute_(&stRd, pucCursor, ppstResult, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *puiMore = uiRest == QEL_MDT_PREFIX_LEN ? 0 : 1;
    *ppucCursor += QEL_MDT_NLRI_LEN;
    return QEL_OK;
}

/* RD, source and group in network order; there is room for them. */
static void QEL_MDT_PutRoute_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut)
{
    const QEL_MDT_KEY_AT_S *pstKey = reinterpret_cast<const QEL_MDT_KEY_AT_S *>(pstRoute->pucKey);
    QEL_Copy(pucOut, QEL_MDT_RD_LEN, pstRoute->pucRd, QEL_MDT_RD_LEN);
    QEL_MDT_ConvertRDValueHTON(reinterpret_cast<QEL_RD_VALUE_S *>(pucOut));
    QEL_StoreBe32(pucOut + QEL_MDT_RD_LEN, pstKey->uiSource);
    QEL_StoreBe32(pucOut + QEL_MDT_RD_LEN + sizeof(uint32_t), pstKey->uiGroup);
}

uint32_t QEL_MDT_FormatMpNlri(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                              QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr || pstRoute->pucRd == nullptr) {
        return QEL_ERR_ABSENT;
    }
    if (uiOutLen < QEL_MDT_NLRI_LEN) {
        return QEL_ERR_SPACE;
    }
    **ppucCursor = QEL_MDT_NLRI_BITS;
    QEL_MDT_PutRoute_(pstRoute, *ppucCursor + 1);
    *ppucCursor += QEL_MDT_NLRI_LEN;
    return QEL_OK;
}

uint32_t QEL_MDT_ParseRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                  QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    /* kept: too short is refused without a report, too long is taken; older senders put more behind the group */
    if (uiLen < QEL_MDT_PREFIX_LEN) {
        return QEL_ERR_ARGUMENT;
    }
    const uint8_t *pucCursor = pucData;
    QEL_RD_VALUE_S stRd;
    uint32_t uiRdResult = QEL_OK;
    QEL_MDT_GET_RD_VALUE(&pucCursor, &stRd, &uiRdResult);
    if (uiRdResult != QEL_OK) {
        return QEL_ERR_NLRI_REFUSED;
    }
    return QEL_MDT_OutputRoute_(&stRd, pucCursor, ppstResult, pstCtx);
}

uint32_t QEL_MDT_FormatRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                   QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr || pstRoute->pucRd == nullptr) {
        return QEL_ERR_ABSENT;
    }
    if (uiOutLen < QEL_MDT_PREFIX_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_MDT_PutRoute_(pstRoute, *ppucCursor);
    *ppucCursor += QEL_MDT_PREFIX_LEN;
    return QEL_OK;
}

/* ---- compares ---- */

static int32_t QEL_MDT_Order_(uint32_t uiA, uint32_t uiB)
{
    if (uiA == uiB) {
        return QEL_CMP_EQUAL;
    }
    return uiA < uiB ? QEL_CMP_LESS : QEL_CMP_GREATER;
}

/* True, after a report, unless both are records of that length. */
static bool QEL_MDT_NotRecords_(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiLen)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return true;
    }
    if (uiLenA != uiLen || uiLenB != uiLen) {
        QEL_Report(uiLenA != uiLen ? uiLenA : uiLenB);
        return true;
    }
    return false;
}

/* kept: the two words as they lie in memory and not the fields of the RD's type; tables were filled in this order */
int32_t QEL_MDT_CmpRd(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_MDT_NotRecords_(pvA, uiLenA, pvB, uiLenB, QEL_MDT_RD_LEN)) {
        return QEL_CMP_FAILED;
    }
    const int32_t iFirst = QEL_MDT_Order_(QEL_Load32(pvA), QEL_Load32(pvB));
    if (iFirst != QEL_CMP_EQUAL) {
        return iFirst;
    }
    return QEL_MDT_Order_(QEL_Load32(QEL_Bytes(pvA) + sizeof(uint32_t)), QEL_Load32(QEL_Bytes(pvB) + sizeof(uint32_t)));
}

/* kept: the source alone makes the key, routes with other groups replace one another; a source has one MDT group */
int32_t QEL_MDT_CmpKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_MDT_NotRecords_(pvA, uiLenA, pvB, uiLenB, QEL_MDT_KEY_LEN)) {
        return QEL_CMP_FAILED;
    }
    return QEL_MDT_Order_(static_cast<const QEL_MDT_KEY_AT_S *>(pvA)->uiSource,
                          static_cast<const QEL_MDT_KEY_AT_S *>(pvB)->uiSource);
}

/* kept: the flags take no part; a route whose group became valid is no other route */
int32_t QEL_MDT_CmpNonKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_MDT_NotRecords_(pvA, uiLenA, pvB, uiLenB, QEL_MDT_NONKEY_LEN)) {
        return QEL_CMP_FAILED;
    }
    return QEL_MDT_Order_(static_cast<const QEL_MDT_NONKEY_AT_S *>(pvA)->uiShareGroup,
                          static_cast<const QEL_MDT_NONKEY_AT_S *>(pvB)->uiShareGroup);
}

static int32_t QEL_MDT_Sign_(int32_t iResult)
{
    return (iResult > 0) - (iResult < 0);
}

int32_t QEL_MDT_CmpAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    if (uiLenA != uiLenB) {
        return QEL_MDT_Order_(uiLenA, uiLenB);
    }
    return QEL_MDT_Sign_(KVO_MemCmp(pvA, pvB, uiLenA));
}

/* kept: the value is read by its Type octet's high byte and not by the layout that the list conversion chose; lists are
 * stored in this order */
static int32_t QEL_MDT_CmpElement_(const QEL_EXTCOMM_S *pstA, const QEL_EXTCOMM_S *pstB)
{
    int32_t iResult = QEL_MDT_Order_(pstA->usType & 0xFF, pstB->usType & 0xFF);
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    iResult = QEL_MDT_Order_(pstA->usType >> 8, pstB->usType >> 8);
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    const uint32_t uiType = pstA->usType >> 8;
    if (uiType == 1 || uiType == 2) {
        iResult = QEL_MDT_Order_(pstA->uiGlobalAdmin, pstB->uiGlobalAdmin);
        return iResult != QEL_CMP_EQUAL ? iResult : QEL_MDT_Order_(pstA->usLocalAdmin, pstB->usLocalAdmin);
    }
    iResult = QEL_MDT_Order_(pstA->usGlobalAdmin, pstB->usGlobalAdmin);
    return iResult != QEL_CMP_EQUAL ? iResult : QEL_MDT_Order_(pstA->uiLocalAdmin, pstB->uiLocalAdmin);
}

int32_t QEL_MDT_CmpExtCommunity(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    if (uiLenA != uiLenB) {
        return QEL_MDT_Order_(uiLenA, uiLenB);
    }
    if (uiLenA != QEL_MDT_EXTCOMM_LEN) {
        /* kept: the reverse of every other order here; import tables hold share groups so */
        return -QEL_MDT_Sign_(KVO_MemCmp(pvA, pvB, uiLenA));
    }
    return QEL_MDT_CmpElement_(static_cast<const QEL_EXTCOMM_S *>(pvA), static_cast<const QEL_EXTCOMM_S *>(pvB));
}

/* ---- extended communities ---- */

uint32_t QEL_MDT_CheckExtCommLen(uint32_t uiLen)
{
    if (uiLen == 0) {
        return QEL_ERR_EXTCOMM_EMPTY;
    }
    return uiLen % QEL_MDT_EXTCOMM_LEN == 0 ? QEL_OK : QEL_ERR_EXTCOMM_LEN;
}

uint32_t QEL_MDT_SortExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t usCount, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    void *pvScratch = QEL_MDT_Malloc(pstCtx, QEL_MDT_EXTCOMM_LEN);
    if (QEL_Missing(pvScratch)) {
        return QEL_ERR_ALLOC;
    }
    for (uint32_t i = 0; i + 1 < usCount; i++) {
        for (uint32_t j = i + 1; j < usCount; j++) {
            /* kept: a failed compare, -2, is no exchange and no failure; a list is never lost to its order */
            if (QEL_MDT_CmpExtCommunity(&pastList[i], QEL_MDT_EXTCOMM_LEN, &pastList[j], QEL_MDT_EXTCOMM_LEN) ==
                QEL_CMP_GREATER) {
                QEL_Copy(pvScratch, QEL_MDT_EXTCOMM_LEN, &pastList[i], QEL_MDT_EXTCOMM_LEN);
                QEL_Copy(&pastList[i], (usCount - i) * size_t{QEL_MDT_EXTCOMM_LEN}, &pastList[j], QEL_MDT_EXTCOMM_LEN);
                QEL_Copy(&pastList[j], (usCount - j) * size_t{QEL_MDT_EXTCOMM_LEN}, pvScratch, QEL_MDT_EXTCOMM_LEN);
            }
        }
    }
    QEL_MDT_Free(&pvScratch, pstCtx);
    return QEL_OK;
}

/* kept: bytes decide here and fields in the sort, whose grouping makes equal elements stand together; an empty list
 * comes out with a count of 1, and no caller gives one */
uint32_t QEL_MDT_RemoveDupExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pusCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiKept = 0;
    for (uint32_t j = 1; j < *pusCount; j++) {
        if (KVO_MemCmp(&pastList[j], &pastList[uiKept], QEL_MDT_EXTCOMM_LEN) == 0) {
            continue;
        }
        uiKept++;
        if (uiKept != j) {
            QEL_Copy(&pastList[uiKept], (*pusCount - uiKept) * size_t{QEL_MDT_EXTCOMM_LEN}, &pastList[j],
                     QEL_MDT_EXTCOMM_LEN);
        }
    }
    *pusCount = static_cast<uint16_t>(uiKept + 1);
    return QEL_OK;
}

QEL_HOT_PATH uint32_t QEL_MDT_CleanupExtCommunity(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pusCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiRet = QEL_MDT_SortExtCommunitys(pastList, *pusCount, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_MDT_RemoveDupExtCommunitys(pastList, pusCount, pstCtx);
}

uint32_t QEL_MDT_OutputExtCommunity_(const uint8_t *pucList, uint16_t usLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                     const QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_EXTCOMM;
    stView.ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    stView.usAttrLen = usLen;
    stView.pucAttr = pucList;
    return QEL_MDT_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

/* Step: the wire list in the work buffer to host order, cleaned up, to a block. */
static uint32_t QEL_MDT_TakeList_(uint8_t *pucWork, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                  QEL_FAMILY_CTX_S *pstCtx)
{
    auto *pastList = reinterpret_cast<QEL_EXTCOMM_S *>(pucWork);
    uint16_t usCount = static_cast<uint16_t>(uiLen / QEL_MDT_EXTCOMM_LEN);
    QEL_MDT_ConvertExtCommunityNTOH(pastList, usCount);
    const uint32_t uiRet = QEL_MDT_CleanupExtCommunity(pastList, &usCount, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_MDT_OutputExtCommunity_(pucWork, static_cast<uint16_t>(usCount * QEL_MDT_EXTCOMM_LEN), ppstResult,
                                       pstCtx);
}

QEL_HOT_PATH uint32_t QEL_MDT_ParseExtCommunity(const uint8_t **ppucCursor, uint32_t uiLen,
                                                QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                                QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiRet = QEL_MDT_CheckExtCommLen(uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    auto *pucWork = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (QEL_Missing(pucWork)) {
        return QEL_ERR_ALLOC;
    }
    QEL_Clear(pucWork, uiLen, uiLen);
    QEL_Copy(pucWork, uiLen, *ppucCursor, uiLen);
    uiRet = QEL_MDT_TakeList_(pucWork, uiLen, ppstResult, pstCtx);
    ZVK_Free_F(pucWork, __FILE__, __LINE__);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *puiMore = 0;
    *ppucCursor += uiLen;
    return QEL_OK;
}

/* Step: the route's list through a copy, which is put in network order, to the cursor. */
static void QEL_MDT_PutList_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucCopy, uint16_t usLen, uint8_t **ppucCursor,
                             uint32_t uiOutLen)
{
    QEL_Copy(pucCopy, usLen, pstRoute->pucExtComm, usLen);
    QEL_MDT_ConvertExtCommunityHTON(reinterpret_cast<QEL_EXTCOMM_S *>(pucCopy), usLen / QEL_MDT_EXTCOMM_LEN);
    QEL_Copy(*ppucCursor, uiOutLen, pucCopy, usLen);
    *ppucCursor += usLen;
}

uint32_t QEL_MDT_FormatExtCommunity(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        return QEL_OK;
    }
    /* kept: the low 16 bits, as a path attribute has no more */
    const uint16_t usLen = static_cast<uint16_t>(pstRoute->uiExtCommLen);
    if (usLen > uiOutLen) {
        return QEL_ERR_SPACE;
    }
    auto *pucCopy = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, usLen, __FILE__, __LINE__));
    if (QEL_Missing(pucCopy)) {
        return QEL_ERR_MEMORY;
    }
    QEL_MDT_PutList_(pstRoute, pucCopy, usLen, ppucCursor, uiOutLen);
    ZVK_Free_F(pucCopy, __FILE__, __LINE__);
    return QEL_OK;
}

/* kept: no clean-up here, unlike the path attribute: order, duplicates and an odd tail are the sender's */
uint32_t QEL_MDT_ParseRtExtCommunityTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                        QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen < QEL_MDT_EXTCOMM_LEN) {
        return QEL_ERR_EXTCOMM_TLV;
    }
    void *pvCopy = QEL_MDT_Malloc(pstCtx, uiLen);
    if (QEL_Missing(pvCopy)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Copy(pvCopy, uiLen, pucData, uiLen);
    QEL_MDT_ConvertExtCommunityNTOH(static_cast<QEL_EXTCOMM_S *>(pvCopy), uiLen / QEL_MDT_EXTCOMM_LEN);
    const uint32_t uiRet =
        QEL_MDT_OutputExtCommunity_(QEL_Bytes(pvCopy), static_cast<uint16_t>(uiLen), ppstResult, pstCtx);
    QEL_MDT_Free(&pvCopy, pstCtx);
    return uiRet;
}

/* kept: the context is not checked; without one the copy cannot be had, which answers 3 */
uint32_t QEL_MDT_FormatRtExtCommunityTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        return QEL_OK;
    }
    const uint16_t usLen = static_cast<uint16_t>(pstRoute->uiExtCommLen);
    if (usLen > uiOutLen) {
        return QEL_ERR_SPACE;
    }
    void *pvCopy = QEL_MDT_Malloc(pstCtx, usLen);
    if (QEL_Missing(pvCopy)) {
        return QEL_ERR_MEMORY;
    }
    QEL_MDT_PutList_(pstRoute, static_cast<uint8_t *>(pvCopy), usLen, ppucCursor, uiOutLen);
    QEL_MDT_Free(&pvCopy, pstCtx);
    return QEL_OK;
}

uint32_t QEL_MDT_ParseAddAttrTlv(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                 QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiOldLen = pstRoute->pucExtComm != nullptr ? pstRoute->uiExtCommLen : 0;
    const uint16_t usNewLen = static_cast<uint16_t>(uiOldLen + uiLen);
    auto *pucNew = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, usNewLen, __FILE__, __LINE__));
    if (QEL_Missing(pucNew)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pucNew, usNewLen, usNewLen);
    if (pstRoute->pucExtComm != nullptr) {
        QEL_Copy(pucNew, usNewLen, pstRoute->pucExtComm, uiOldLen);
    }
    /* kept: neither swapped nor sorted nor freed of duplicates; the sender has done it */
    const uint32_t uiAt = uiOldLen < usNewLen ? uiOldLen : usNewLen;
    QEL_Copy(pucNew + uiAt, usNewLen - uiAt, pucData, uiLen);
    const uint32_t uiRet = QEL_MDT_OutputExtCommunity_(pucNew, usNewLen, ppstResult, pstCtx);
    ZVK_Free_F(pucNew, __FILE__, __LINE__);
    return uiRet;
}

/* ---- import targets ---- */

static constexpr uint32_t QEL_MDT_SHARE_GROUP_LEN = sizeof(uint32_t);

uint32_t QEL_MDT_ParseIrtTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                             QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiShareGroup = 0;
    QEL_EXTCOMM_S stRt = {};
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiCrossLen = uiLen;
    if (uiLen == QEL_MDT_SHARE_GROUP_LEN) {
        uiShareGroup = QEL_LoadBe32(pucData);
        stView.pucCross = QEL_Bytes(&uiShareGroup);
    } else if (uiLen == QEL_MDT_EXTCOMM_LEN) {
        const uint8_t *pucCursor = pucData;
        uint32_t uiRtResult = QEL_OK;
        QEL_MDT_GET_RT_VALUE(&pucCursor, &stRt, &uiRtResult);
        if (uiRtResult != QEL_OK) {
            return uiRtResult;
        }
        stView.pucCross = QEL_Bytes(&stRt);
    } else {
        QEL_Report(uiLen);
        return QEL_ERR_ARGUMENT;
    }
    return QEL_MDT_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

/* kept: the context is not looked at; hosts format without one */
uint32_t QEL_MDT_FormatIrtTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                              QEL_FAMILY_CTX_S * /* pstCtx */)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucCross == nullptr) {
        return QEL_OK;
    }
    if (pstRoute->uiCrossLen > uiOutLen) {
        return QEL_ERR_SPACE;
    }
    if (pstRoute->uiCrossLen == QEL_MDT_EXTCOMM_LEN) {
        QEL_EXTCOMM_S stRt = {};
        QEL_Copy(&stRt, sizeof(stRt), pstRoute->pucCross, sizeof(stRt));
        QEL_MDT_ConvertRTValueHTON(&stRt);
        QEL_Copy(*ppucCursor, uiOutLen, &stRt, sizeof(stRt));
    } else if (pstRoute->uiCrossLen == QEL_MDT_SHARE_GROUP_LEN) {
        QEL_StoreBe32(*ppucCursor, QEL_Load32(pstRoute->pucCross));
    } else {
        QEL_Report(pstRoute->uiCrossLen);
        return QEL_ERR_ARGUMENT;
    }
    *ppucCursor += pstRoute->uiCrossLen;
    return QEL_OK;
}

/* ---- non-key ---- */

static constexpr uint32_t QEL_MDT_TLV_HDR_LEN = 4;
static constexpr uint16_t QEL_MDT_SUB_TLV_SHARE_GROUP = 1;
static constexpr uint16_t QEL_MDT_SUB_TLV_LEN = QEL_MDT_TLV_HDR_LEN + QEL_MDT_SHARE_GROUP_LEN;

/* The last share group among the sub-TLVs, or 0. kept: each sub-TLV counts for 8 bytes of the rest, in 16 bits, while
 * the walk steps by its own length; a rest that is no multiple of 8 wraps, and the end of the value ends the walk */
static uint32_t QEL_MDT_WalkSubTlvs_(const uint8_t *pucSubTlv, const uint8_t *pucEnd, uint16_t usRest)
{
    uint32_t uiShareGroup = 0;
    while (usRest != 0 && pucEnd - pucSubTlv >= QEL_MDT_SUB_TLV_LEN) {
        const uint32_t uiStep = QEL_MDT_TLV_HDR_LEN + QEL_LoadBe16(pucSubTlv + sizeof(uint16_t));
        if (QEL_LoadBe16(pucSubTlv) != QEL_MDT_SUB_TLV_SHARE_GROUP || pucEnd - pucSubTlv < uiStep) {
            break;
        }
        usRest = static_cast<uint16_t>(usRest - QEL_MDT_SUB_TLV_LEN);
        uiShareGroup = QEL_LoadBe32(pucSubTlv + QEL_MDT_TLV_HDR_LEN);
        pucSubTlv += uiStep;
    }
    return uiShareGroup;
}

uint32_t QEL_MDT_ParseRtNonKeyTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                  QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData)) {
        return QEL_ERR_NULL;
    }
    if (uiLen < QEL_MDT_TLV_HDR_LEN) {
        return QEL_ERR_FAILED;
    }
    const uint16_t usSubTlvLen = QEL_LoadBe16(pucData + sizeof(uint16_t));
    if (usSubTlvLen == 0) {
        /* kept: what the writer makes of a route without share group can't be read back; readers of both sides agree */
        QEL_Report(usSubTlvLen);
        return QEL_ERR_FAILED;
    }
    QEL_MDT_NONKEY_S stNonKey = {};
    stNonKey.usFlags = QEL_LoadBe16(pucData);
    stNonKey.uiShareGroup = QEL_MDT_WalkSubTlvs_(pucData + QEL_MDT_TLV_HDR_LEN, pucData + uiLen,
                                                 static_cast<uint16_t>(uiLen - QEL_MDT_TLV_HDR_LEN));
    if (QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiNonKeyLen = sizeof(stNonKey);
    stView.pucNonKey = QEL_Bytes(&stNonKey);
    return QEL_MDT_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_MDT_FormatRtNonKeyTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                   QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucNonKey == nullptr) {
        return QEL_ERR_ABSENT;
    }
    if (uiOutLen < QEL_MDT_TLV_HDR_LEN) {
        return QEL_ERR_SPACE;
    }
    const QEL_MDT_NONKEY_AT_S *pstNonKey = reinterpret_cast<const QEL_MDT_NONKEY_AT_S *>(pstRoute->pucNonKey);
    uint8_t *pucOut = *ppucCursor;
    uint16_t usSubTlvLen = 0;
    QEL_StoreBe16(pucOut, pstNonKey->usFlags);
    if ((pstNonKey->usFlags & QEL_MDT_NONKEY_SHARE_GROUP) != 0) {
        if (uiOutLen - QEL_MDT_TLV_HDR_LEN < QEL_MDT_SUB_TLV_LEN) {
            /* kept: the flags stay written behind an unmoved cursor */
            return QEL_ERR_SPACE;
        }
        usSubTlvLen = QEL_MDT_SUB_TLV_LEN;
        uint8_t *pucSubTlv = pucOut + QEL_MDT_TLV_HDR_LEN;
        QEL_StoreBe16(pucSubTlv, QEL_MDT_SUB_TLV_SHARE_GROUP);
        QEL_StoreBe16(pucSubTlv + sizeof(uint16_t), QEL_MDT_SHARE_GROUP_LEN);
        QEL_StoreBe32(pucSubTlv + QEL_MDT_TLV_HDR_LEN, pstNonKey->uiShareGroup);
    }
    QEL_StoreBe16(pucOut + sizeof(uint16_t), usSubTlvLen);
    *ppucCursor += QEL_MDT_TLV_HDR_LEN + usSubTlvLen;
    return QEL_OK;
}
