#include "qel_ngmvpn_util.h"

#include "platform/bounds.h"
#include "platform/ksx.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn_nlri.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

/* Scratch memory. */

void *QEL_NGMVPN_Malloc(QEL_FAMILY_CTX_S *pstCtx, uint32_t uiSize)
{
    if (QEL_Missing(pstCtx)) {
        return nullptr;
    }
    if (uiSize == 0) {
        return nullptr;
    }
    if (uiSize <= QEL_INLINE_BUF_LEN && pstCtx->uiInlineBufUsed == 0) {
        pstCtx->uiInlineBufUsed = 1;
        return pstCtx->aucInlineBuf;
    }
    return ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiSize, __FILE__, __LINE__);
}

void QEL_NGMVPN_Free(void **ppvMem, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppvMem) || QEL_Missing(*ppvMem) || QEL_Missing(pstCtx)) {
        return;
    }
    if (*ppvMem == pstCtx->aucInlineBuf) {
        if (pstCtx->uiInlineBufUsed == 0) {
            QEL_Report(pstCtx->uiInlineBufUsed);
        }
        pstCtx->uiInlineBufUsed = 0;
    } else {
        ZVK_Free_F(*ppvMem, __FILE__, __LINE__);
    }
    *ppvMem = nullptr;
}

/* Debug output. */

static constexpr size_t QEL_NGMVPN_DEBUG_TEXT_LEN = 700;
static constexpr uint32_t QEL_NGMVPN_DEBUG_CODE = 0x879AC001;

uint32_t QEL_NGMVPN_SetLibDebug(uint32_t uiDebugModule, uint32_t uiDebugHandle, QEL_FAMILY_CTX_S *pstCtx)
{
    if (pstCtx != nullptr) {
        pstCtx->uiDebugModule = uiDebugModule;
        pstCtx->uiDebugHandle = uiDebugHandle;
    }
    return QEL_OK;
}

void QEL_NGMVPN_Debug(const QEL_FAMILY_CTX_S *pstCtx, uint32_t uiLine, const char *pszFormat, ...)
{
    char acText[QEL_NGMVPN_DEBUG_TEXT_LEN];
    /* kept: the buffer is cleared before anything is asked, also while debug output is off; its cost is accounted for
     */
    QEL_Clear(acText, sizeof(acText), sizeof(acText));
    if (pstCtx == nullptr || pstCtx->uiDebugHandle == 0) {
        return;
    }
    (void)snprintf_truncated_s(acText, sizeof(acText), "[MCAST][Line:%u]:", uiLine);
    const uint32_t uiUsed = KVO_StrLen(acText);
    va_list stArgs;
    va_start(stArgs, pszFormat);
    const int32_t iResult = vsnprintf_truncated_s(acText + uiUsed, sizeof(acText) - uiUsed, pszFormat, stArgs);
    va_end(stArgs);
    if (iResult == -1) {
        QEL_Report(static_cast<uint64_t>(iResult));
    }
    KSX_Debug(pstCtx->uiDebugModule, pstCtx->uiDebugHandle, "NULL", QEL_NGMVPN_DEBUG_CODE, "%s", acText);
}

void QEL_NGMVPN_Print_Mem(const QEL_FAMILY_CTX_S *pstCtx, const uint8_t *pucData, uint32_t uiLen)
{
    static constexpr uint32_t uiGroup = 8;
    if (QEL_Missing(pucData)) {
        return;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "-----------------------BEGIN(%d bytes)-----------------------",
                     static_cast<int32_t>(uiLen));
    /* kept: a last group of less than eight bytes is not shown; callers choose their lines by the length */
    for (uint32_t uiGroups = uiLen / uiGroup; uiGroups > 0; uiGroups--) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "Data: %02x %02x %02x %02x %02x %02x %02x %02x", pucData[0], pucData[1],
                         pucData[2], pucData[3], pucData[4], pucData[5], pucData[6], pucData[7]);
        pucData += uiGroup;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "------------------------END(%d bytes)------------------------",
                     static_cast<int32_t>(uiLen));
}

void QEL_NGMVPN_Print_LogInfo(const char * /* pszFormat */, ...) {}

/* Byte order of RDs and route targets. */

/* The value of an 8-byte element behind its type word: 16 then 32 bits. */
static void QEL_NGMVPN_SwapAs2Value_(void *pvElement)
{
    auto *pucElement = static_cast<uint8_t *>(pvElement);
    QEL_SwapAt16(pucElement + 2);
    QEL_SwapAt32(pucElement + 4);
}

/* The other layout: 32 then 16 bits. */
static void QEL_NGMVPN_SwapIp4Value_(void *pvElement)
{
    auto *pucElement = static_cast<uint8_t *>(pvElement);
    QEL_SwapAt32(pucElement + 2);
    QEL_SwapAt16(pucElement + 6);
}

void QEL_NGMVPN_ConvertRDValueHTON(QEL_RD_VALUE_S *pstRd)
{
    if (QEL_Missing(pstRd)) {
        return;
    }
    const uint16_t usRdType = pstRd->usRdType;
    pstRd->usRdType = QEL_Swap16(usRdType);
    if (usRdType == 0) {
        QEL_NGMVPN_SwapAs2Value_(pstRd);
    } else if (usRdType == 1 || usRdType == 2) {
        QEL_NGMVPN_SwapIp4Value_(pstRd);
    }
}

/* The types of the 8-byte form that are route targets here. */
static bool QEL_NGMVPN_IsRtType_(uint32_t uiType)
{
    switch (uiType) {
    case 0x0002:
    case 0x0102:
    case 0x0202:
    case 0x010A:
    case 0x010B:
    case 0xFFFF:
        return true;
    default:
        return false;
    }
}

/* kept: only listed types have their value swapped, while a whole community list swaps every type (0x0009 differs);
 * import targets on the wire depend on it */
void QEL_NGMVPN_ConvertRtValuebyType(uint32_t uiRtType, QEL_EXTCOMM_S *pstRt)
{
    if (QEL_Missing(pstRt)) {
        return;
    }
    if (uiRtType == 0x0002) {
        QEL_NGMVPN_SwapAs2Value_(pstRt);
    } else if (QEL_NGMVPN_IsRtType_(uiRtType)) {
        QEL_NGMVPN_SwapIp4Value_(pstRt);
    }
}

/* Whether there is an element and room for it; what is missing is reported. */
static bool QEL_NGMVPN_HoldsRt_(const void *pvRt, uint32_t uiSize, uint32_t uiElement)
{
    if (QEL_Missing(pvRt)) {
        return false;
    }
    if (uiSize < uiElement) {
        QEL_Report(uiSize);
        return false;
    }
    return true;
}

QEL_HOT_PATH void QEL_NGMVPN_ConvertRTValueHTON(QEL_EXTCOMM_S *pstRt, uint32_t uiSize)
{
    if (!QEL_NGMVPN_HoldsRt_(pstRt, uiSize, sizeof(*pstRt))) {
        return;
    }
    const uint16_t usType = pstRt->usType;
    pstRt->usType = QEL_Swap16(usType);
    QEL_NGMVPN_ConvertRtValuebyType(usType, pstRt);
}

/* The types of the 20-byte form that are route targets here. kept: 0x000B is one and 0x0202 is none, unlike in the
 * 8-byte form; the wire has no other */
static bool QEL_NGMVPN_IsIPv6RtType_(uint16_t usType)
{
    switch (usType) {
    case 0x000B:
    case 0x0002:
    case 0x0102:
    case 0x010A:
    case 0x010B:
    case 0xFFFF:
        return true;
    default:
        return false;
    }
}

/* kept: the type word is not looked at, here nor in the HTON form; the callers have judged it by their lists */
void QEL_NGMVPN_ConvertIPv6RtValuebyType(uint32_t /* uiRtType */, QEL_IPV6_EXTCOMM_S *pstRt)
{
    if (QEL_Missing(pstRt)) {
        return;
    }
    for (size_t i = 0; i < 4; i++) {
        pstRt->auiAddr[i] = QEL_Swap32(pstRt->auiAddr[i]);
    }
    pstRt->usLocalAdmin = QEL_Swap16(pstRt->usLocalAdmin);
}

void QEL_NGMVPN_ConvertIPv6RtValueHTONbyType(uint32_t uiRtType, QEL_IPV6_EXTCOMM_S *pstRt)
{
    QEL_NGMVPN_ConvertIPv6RtValuebyType(uiRtType, pstRt);
}

void QEL_NGMVPN_ConvertIPv6RTValueNTOH(QEL_IPV6_EXTCOMM_S *pstRt)
{
    if (QEL_Missing(pstRt)) {
        return;
    }
    pstRt->usType = QEL_Swap16(pstRt->usType);
    if (QEL_NGMVPN_IsIPv6RtType_(pstRt->usType)) {
        QEL_NGMVPN_ConvertIPv6RtValuebyType(pstRt->usType, pstRt);
    }
}

QEL_HOT_PATH void QEL_NGMVPN_ConvertIPv6RTValueHTON(QEL_IPV6_EXTCOMM_S *pstRt, uint32_t uiSize)
{
    if (!QEL_NGMVPN_HoldsRt_(pstRt, uiSize, sizeof(*pstRt))) {
        return;
    }
    const uint16_t usType = pstRt->usType;
    pstRt->usType = QEL_Swap16(usType);
    if (QEL_NGMVPN_IsIPv6RtType_(usType)) {
        QEL_NGMVPN_ConvertIPv6RtValueHTONbyType(usType, pstRt);
    }
}

/* Byte order of IPv6 addresses. */

static void QEL_NGMVPN_SwapHalves_(KVO_IPV6_ADDR_S *pstAddr)
{
    for (size_t i = 0; i < sizeof(pstAddr->aucAddr); i += sizeof(uint16_t)) {
        QEL_SwapAt16(pstAddr->aucAddr + i);
    }
}

/* kept: the two are not each other's reverse; they start from different forms and meet in the platform's */
void QEL_NGMVPN_ConvertKvoIPv6AddrInHost(KVO_IPV6_ADDR_S *pstAddr)
{
    if (QEL_Missing(pstAddr)) {
        return;
    }
    for (size_t i = 0; i < sizeof(pstAddr->aucAddr); i += sizeof(uint32_t)) {
        QEL_SwapAt32(pstAddr->aucAddr + i);
    }
    QEL_NGMVPN_SwapHalves_(pstAddr);
}

void QEL_NGMVPN_ConvertKvoIPv6AddrInNet(KVO_IPV6_ADDR_S *pstAddr)
{
    if (QEL_Missing(pstAddr)) {
        return;
    }
    QEL_NGMVPN_SwapHalves_(pstAddr);
}

/* Values from a cursor. */

uint32_t QEL_NGMVPN_GetRtValue(const uint8_t **ppucCursor, QEL_EXTCOMM_S *pstRt)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(pstRt)) {
        return QEL_ERR_NULL;
    }
    QEL_Copy(pstRt, sizeof(*pstRt), *ppucCursor, sizeof(*pstRt));
    pstRt->usType = QEL_Swap16(pstRt->usType);
    if (!QEL_NGMVPN_IsRtType_(pstRt->usType)) {
        return QEL_ERR_VALUE;
    }
    QEL_NGMVPN_ConvertRtValuebyType(pstRt->usType, pstRt);
    *ppucCursor += sizeof(*pstRt);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_GetIPv6RtValue(const uint8_t **ppucCursor, QEL_IPV6_EXTCOMM_S *pstRt)
{
    if (QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    /* kept: a failed copy ends the work here, in QEL_NGMVPN_GetRtValue it does not; callers pass the code on */
    const int32_t iResult = memcpy_s(pstRt, sizeof(*pstRt), *ppucCursor, sizeof(*pstRt));
    if (iResult != 0) {
        QEL_Report(static_cast<uint64_t>(iResult));
        return QEL_ERR_FAILED;
    }
    pstRt->usType = QEL_Swap16(pstRt->usType);
    if (!QEL_NGMVPN_IsIPv6RtType_(pstRt->usType)) {
        return QEL_ERR_VALUE;
    }
    QEL_NGMVPN_ConvertIPv6RtValuebyType(pstRt->usType, pstRt);
    *ppucCursor += sizeof(*pstRt);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_GetGtmRdZeroValue(const uint8_t **ppucCursor, void *pvOut)
{
    static constexpr uint32_t uiMarkerLen = 4;
    if (QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    QEL_Copy(pvOut, uiMarkerLen, *ppucCursor, uiMarkerLen);
    *ppucCursor += uiMarkerLen;
    return QEL_OK;
}

/* Extended community lists. */

/* kept: a list swaps the value of every type and knows two exceptions, a single route target swaps listed types alone;
 * the wire needs both, folding them would change unknown communities on their way through */
static void QEL_NGMVPN_SwapListValue_(uint16_t usType, QEL_EXTCOMM_S *pstExtComm)
{
    if (usType == 0x0002 || usType == 0x0009) {
        QEL_NGMVPN_SwapAs2Value_(pstExtComm);
    } else {
        QEL_NGMVPN_SwapIp4Value_(pstExtComm);
    }
}

void QEL_NGMVPN_ConvertExtCommunityNTOH(QEL_EXTCOMM_S *pastList, uint32_t uiCount)
{
    if (QEL_Missing(pastList)) {
        return;
    }
    for (uint32_t i = 0; i < uiCount; i++) {
        pastList[i].usType = QEL_Swap16(pastList[i].usType);
        QEL_NGMVPN_SwapListValue_(pastList[i].usType, &pastList[i]);
    }
}

void QEL_NGMVPN_ConvertExtCommunityHTON(QEL_EXTCOMM_S *pastList, uint32_t uiCount)
{
    if (QEL_Missing(pastList)) {
        return;
    }
    for (uint32_t i = 0; i < uiCount; i++) {
        QEL_NGMVPN_SwapListValue_(pastList[i].usType, &pastList[i]);
        pastList[i].usType = QEL_Swap16(pastList[i].usType);
    }
}

void QEL_NGMVPN_ConvertIPv6ExtCommunityNTOH(QEL_IPV6_EXTCOMM_S *pastList, uint32_t uiCount)
{
    if (QEL_Missing(pastList)) {
        return;
    }
    for (uint32_t i = 0; i < uiCount; i++) {
        QEL_NGMVPN_ConvertIPv6RTValueNTOH(&pastList[i]);
    }
}

void QEL_NGMVPN_ConvertIPv6ExtCommunityHTON(QEL_IPV6_EXTCOMM_S *pastList, uint32_t uiCount)
{
    if (QEL_Missing(pastList)) {
        return;
    }
    for (uint32_t i = 0; i < uiCount; i++) {
        QEL_NGMVPN_ConvertIPv6RTValueHTON(&pastList[i], sizeof(pastList[i]));
    }
}

/* The exchange itself; every copy is bounded by what the list has from its target on. */
static void QEL_NGMVPN_Exchange_(uint8_t *pucI, uint8_t *pucJ, const uint8_t *pucEnd, uint32_t uiSize, void *pvScratch)
{
    QEL_Copy(pvScratch, uiSize, pucI, uiSize);
    QEL_Copy(pucI, static_cast<size_t>(pucEnd - pucI), pucJ, uiSize);
    QEL_Copy(pucJ, static_cast<size_t>(pucEnd - pucJ), pvScratch, uiSize);
}

uint32_t QEL_NGMVPN_SortExtCommunitys_(uint8_t *pucList, uint16_t usCount, uint32_t uiSize,
                                       int32_t (*pfCmp)(const void *pvA, uint32_t uiLenA, const void *pvB,
                                                        uint32_t uiLenB),
                                       QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucList) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    void *pvScratch = QEL_NGMVPN_Malloc(pstCtx, uiSize);
    if (QEL_Missing(pvScratch)) {
        return QEL_ERR_ALLOC;
    }
    uint8_t *pucEnd = pucList + static_cast<size_t>(usCount) * uiSize;
    for (uint32_t i = 0; i + 1 < usCount; i++) {
        uint8_t *pucI = pucList + static_cast<size_t>(i) * uiSize;
        for (uint8_t *pucJ = pucI + uiSize; pucJ < pucEnd; pucJ += uiSize) {
            /* kept: a failed compare, -2, is no exchange and no failure; a list is never lost to its order */
            if (pfCmp(pucI, uiSize, pucJ, uiSize) == QEL_CMP_GREATER) {
                QEL_NGMVPN_Exchange_(pucI, pucJ, pucEnd, uiSize, pvScratch);
            }
        }
    }
    QEL_NGMVPN_Free(&pvScratch, pstCtx);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_SortExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t usCount, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_SortExtCommunitys_(reinterpret_cast<uint8_t *>(pastList), usCount, sizeof(QEL_EXTCOMM_S),
                                         QEL_NGMVPN_CmpExtCommunity, pstCtx);
}

uint32_t QEL_NGMVPN_SortIPv6ExtCommunitys(QEL_IPV6_EXTCOMM_S *pastList, uint16_t usCount, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_SortExtCommunitys_(reinterpret_cast<uint8_t *>(pastList), usCount, sizeof(QEL_IPV6_EXTCOMM_S),
                                         QEL_NGMVPN_CmpIPv6ExtCommunity, pstCtx);
}

/* kept: bytes decide here and fields in the sort, whose grouping makes equal elements stand together; an empty list
 * comes out with a count of 1, and no caller gives one */
static void QEL_NGMVPN_RemoveDup_(uint8_t *pucList, uint32_t uiSize, uint16_t *pusCount)
{
    uint32_t uiKept = 0;
    for (uint32_t j = 1; j < *pusCount; j++) {
        const uint8_t *pucJ = pucList + static_cast<size_t>(j) * uiSize;
        if (KVO_MemCmp(pucJ, pucList + static_cast<size_t>(uiKept) * uiSize, uiSize) == 0) {
            continue;
        }
        uiKept++;
        if (uiKept != j) {
            QEL_Copy(pucList + static_cast<size_t>(uiKept) * uiSize, static_cast<size_t>(*pusCount - uiKept) * uiSize,
                     pucJ, uiSize);
        }
    }
    *pusCount = static_cast<uint16_t>(uiKept + 1);
}

uint32_t QEL_NGMVPN_RemoveDupExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pusCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_RemoveDup_(reinterpret_cast<uint8_t *>(pastList), sizeof(*pastList), pusCount);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_RemoveDupIPv6ExtCommunitys(QEL_IPV6_EXTCOMM_S *pastList, uint16_t *pusCount,
                                               QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pusCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_RemoveDup_(reinterpret_cast<uint8_t *>(pastList), sizeof(*pastList), pusCount);
    return QEL_OK;
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_CleanupExtCommunity(QEL_EXTCOMM_S *pastList, uint16_t *pusCount,
                                                     QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pusCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiRet = QEL_NGMVPN_SortExtCommunitys(pastList, *pusCount, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_NGMVPN_RemoveDupExtCommunitys(pastList, pusCount, pstCtx);
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_CleanupIPv6ExtCommunity(QEL_IPV6_EXTCOMM_S *pastList, uint16_t *pusCount,
                                                         QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pusCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiRet = QEL_NGMVPN_SortIPv6ExtCommunitys(pastList, *pusCount, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_NGMVPN_RemoveDupIPv6ExtCommunitys(pastList, pusCount, pstCtx);
}
