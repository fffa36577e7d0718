#include "qel_mdt.h"

#include "platform/zvk.h"
#include "qel_check.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

static constexpr uint8_t QEL_MDT_FAMILY_CODE = 1;
static constexpr uint32_t QEL_MDT_ROUTE_TYPE = 11;

/* Construction. */

/* Copies a list of type codes and returns its count byte. */
static uint8_t QEL_MDT_CopyTypes_(uint32_t *pauiTypes, const uint32_t *pauiFrom, size_t ulBytes)
{
    memcpy(pauiTypes, pauiFrom, ulBytes);
    return static_cast<uint8_t>(ulBytes / sizeof(uint32_t));
}

static void QEL_MDT_InitTypes_(QEL_FAMILY_DESC_S *pstDesc)
{
    static constexpr uint32_t auiPktTypes[] = {14, 15, 16};
    /* kept: 70 stands twice and 71 not at all, though messages of type 71 are read; the host sees this list */
    static constexpr uint32_t auiMsgTypes[] = {53, 55, 59, 61, 56, 57, 5, 15, 18, 20, 19, 21, 70, 70};
    static constexpr uint32_t auiHaMsgTypes[] = {3, 5, 1, 8, 6, 7};
    static constexpr uint32_t auiAttrMsgTypes[] = {11, 21, 34};

    pstDesc->ucFamilyCode = QEL_MDT_FAMILY_CODE;
    pstDesc->ucPktAttrCount = QEL_MDT_CopyTypes_(pstDesc->auiPktAttrTypes, auiPktTypes, sizeof(auiPktTypes));
    pstDesc->ucMsgTlvCount = QEL_MDT_CopyTypes_(pstDesc->auiMsgTlvTypes, auiMsgTypes, sizeof(auiMsgTypes));
    pstDesc->ucHaMsgTlvCount = QEL_MDT_CopyTypes_(pstDesc->auiHaMsgTlvTypes, auiHaMsgTypes, sizeof(auiHaMsgTypes));
    pstDesc->ucAttrMsgTlvCount =
        QEL_MDT_CopyTypes_(pstDesc->auiAttrMsgTlvTypes, auiAttrMsgTypes, sizeof(auiAttrMsgTypes));
}

static void QEL_MDT_InitPolicy_(QEL_FAMILY_DESC_S *pstDesc)
{
    /* RD, extended community and IP group; the third mask has no RD */
    static constexpr uint32_t auiMatchTypes[] = {0x80804, 0x80804, 0x80004};
    static constexpr uint32_t auiActionBits[] = {0xC0, 0x70, 0x800000, 0};
    static constexpr uint32_t auiActions[] = {6, 7, 36, 37, 38, 87};
    static_assert(sizeof(auiMatchTypes) < sizeof(pstDesc->auiMatchTypeMask));
    static_assert(sizeof(auiActionBits) == sizeof(pstDesc->auiActionTypeBits));

    memcpy(pstDesc->auiMatchTypeMask, auiMatchTypes, sizeof(auiMatchTypes));
    memcpy(pstDesc->auiActionTypeBits, auiActionBits, sizeof(auiActionBits));
    pstDesc->ucPolicyActionCount = QEL_MDT_CopyTypes_(pstDesc->auiPolicyActionTypes, auiActions, sizeof(auiActions));
    pstDesc->ucApplyActionCount = QEL_MDT_CopyTypes_(pstDesc->auiApplyActionTypes, auiActions, sizeof(auiActions));
}

static void QEL_MDT_InitCallBack_(QEL_FAMILY_DESC_S *pstDesc)
{
    pstDesc->pfParsePkt = QEL_MDT_ParsePkt;
    pstDesc->pfFormatPkt = QEL_MDT_FormatPkt;
    pstDesc->pfSetAttr = QEL_MDT_SetAttr;
    pstDesc->pfParseMsg = QEL_MDT_ParseMsg;
    pstDesc->pfFormatMsg = QEL_MDT_FormatMsg;
    pstDesc->pfParseHaMsg = QEL_MDT_ParseHaMsg;
    pstDesc->pfFormatHaMsg = QEL_MDT_FormatHaMsg;
    pstDesc->pfParseAttrMsg = QEL_MDT_ParseAttrMsg;
    pstDesc->pfFormatAttrMsg = QEL_MDT_FormatAttrMsg;
    pstDesc->pfParseCfg = QEL_MDT_ParseCfg;
    pstDesc->pfFormatCfg = QEL_MDT_FormatCfg;
    pstDesc->pfConstructRtpEntry = QEL_MDT_ConstructRtpEntry;
    pstDesc->pfParseAddAttrMsg = QEL_MDT_ParseAddAttrMsg;
    pstDesc->pfGetRouteType = QEL_MDT_GetRouteType;
    pstDesc->pfConstructMatch = QEL_MDT_ConstructMatch;
    pstDesc->pfApplyAction = QEL_MDT_ApplyAction;
    pstDesc->pfGetCross = QEL_MDT_GetCross;
    pstDesc->pfGetExtCommunity = QEL_MDT_GetExtCommunity;
    pstDesc->pfCmpData = QEL_MDT_CmpData;
    pstDesc->pfData2Str = QEL_MDT_Data2Str;
    pstDesc->pfSetRtCount = QEL_MDT_SetRtCount;
    pstDesc->pfGetRtCount = QEL_MDT_GetRtCount;
    /* kept: the one spare slot that is written; the others belong to the host, which sees the difference */
    pstDesc->pfSpare30 = nullptr;
}

QEL_FAMILY_CTX_S *QEL_MDT_Construct(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle)
{
    if (QEL_Missing(pstDesc) || QEL_Zero(uiMemHandle)) {
        return nullptr;
    }
    /* the first part of the record alone: no field behind it may be touched in this family */
    auto *pstCtx =
        static_cast<QEL_FAMILY_CTX_S *>(ZVK_SimpleAlloc_F(uiMemHandle, QEL_FAMILY_CTX_BASE_LEN, __FILE__, __LINE__));
    if (QEL_Missing(pstCtx)) {
        return nullptr;
    }
    QEL_Clear(pstCtx, QEL_FAMILY_CTX_BASE_LEN, QEL_FAMILY_CTX_BASE_LEN);
    pstCtx->uiMemHandle = uiMemHandle;
    pstCtx->uiInlineBufUsed = 0;
    pstDesc->uiAddrFamily = 0;

    QEL_MDT_InitTypes_(pstDesc);
    QEL_MDT_InitPolicy_(pstDesc);
    QEL_MDT_InitCallBack_(pstDesc);
    return pstCtx;
}

void QEL_MDT_Destruct(QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstCtx)) {
        return;
    }
    ZVK_Free_F(pstCtx, __FILE__, __LINE__);
}

/* Scratch memory. */

void *QEL_MDT_Malloc(QEL_FAMILY_CTX_S *pstCtx, uint32_t uiSize)
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

void QEL_MDT_Free(void **ppvMem, QEL_FAMILY_CTX_S *pstCtx)
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

/* The rows of the lookups below come with their handlers. */

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetErtMsgParseEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetData2StrEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetCfgFormatEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetCfgParseEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetAttrMsgFormatEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetAttrMsgParseEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetHaiMsgFormatEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetHaiMsgParseEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetBgpiMsgFormatEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetBgpiMsgParseEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetDataCmpEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetPktFormatEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetPktParseEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetAttrSetEntry(uint32_t /* uiType */)
{
    return nullptr;
}

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetApplyActionEntry(uint32_t /* uiType */)
{
    return nullptr;
}

/* The operations: check the pointers, find the row, go on in its handler. The codes for a type without a handler are
 * not the same for all operations; the host tells the operations apart by them. */

uint32_t QEL_MDT_ParsePkt(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t /* uiIgnored */, uint32_t uiAttrType,
                          QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen == 0) {
        return QEL_OK;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_MDT_GetPktParseEntry(uiAttrType);
    if (pstEntry == nullptr || pstEntry->pfParsePkt == nullptr) {
        /* kept: an unknown attribute is no error, so that the host may offer every attribute of an update */
        return QEL_OK;
    }
    return pstEntry->pfParsePkt(ppucCursor, uiLen, ppstResult, puiMore, pstCtx);
}

uint32_t QEL_MDT_FormatPkt(QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint8_t **ppucCursor, uint32_t uiOutLen,
                           QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: the context is not checked here, nor in the HA and attribute messages; hosts format without one */
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_MDT_GetPktFormatEntry(uiAttrType);
    if (pstEntry == nullptr || pstEntry->pfFormatPkt == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfFormatPkt(pstRoute, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_MDT_SetAttr(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint32_t uiCtrlFlag,
                         QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_MDT_GetAttrSetEntry(uiAttrType);
    if (pstEntry == nullptr || pstEntry->pfSetAttr == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfSetAttr(pstRoute, uiCtrlFlag, ppstResult, pstCtx);
}

/* Finds the row of a type code. */
typedef const QEL_DISPATCH_ENTRY_S *(*QEL_MDT_LOOKUP_F)(uint32_t uiType);

/* The body of the readers that differ in their table alone. Inlined, so that the handler is one jump away. */
__attribute__((always_inline)) static inline uint32_t
QEL_MDT_ParseTlv_(QEL_MDT_LOOKUP_F pfLookup, const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                  QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = pfLookup(uiTlvType);
    if (pstEntry == nullptr || pstEntry->pfParseMsg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfParseMsg(pucData, uiLen, ppstResult, pstCtx);
}

uint32_t QEL_MDT_ParseMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                          QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_MDT_ParseTlv_(QEL_MDT_GetBgpiMsgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

uint32_t QEL_MDT_ParseHaMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                            QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_MDT_ParseTlv_(QEL_MDT_GetHaiMsgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

uint32_t QEL_MDT_ParseAttrMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                              QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_MDT_ParseTlv_(QEL_MDT_GetAttrMsgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

uint32_t QEL_MDT_ParseCfg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                          QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_MDT_ParseTlv_(QEL_MDT_GetCfgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

/* The body of the writers that differ in their table alone; the context may be null. */
__attribute__((always_inline)) static inline uint32_t QEL_MDT_FormatTlv_(QEL_MDT_LOOKUP_F pfLookup,
                                                                         const QEL_ROUTE_INFO_S *pstRoute,
                                                                         uint32_t uiTlvType, uint8_t **ppucCursor,
                                                                         uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = pfLookup(uiTlvType);
    if (pstEntry == nullptr || pstEntry->pfFormatMsg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfFormatMsg(pstRoute, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_MDT_FormatMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                           uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_MDT_GetBgpiMsgFormatEntry(uiTlvType);
    if (pstEntry == nullptr || pstEntry->pfFormatMsg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfFormatMsg(pstRoute, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_MDT_FormatHaMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                             uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_MDT_FormatTlv_(QEL_MDT_GetHaiMsgFormatEntry, pstRoute, uiTlvType, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_MDT_FormatAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                               uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_MDT_FormatTlv_(QEL_MDT_GetAttrMsgFormatEntry, pstRoute, uiTlvType, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_MDT_FormatCfg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, uint8_t **ppucCursor, uint32_t uiOutLen,
                           uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_MDT_GetCfgFormatEntry(uiType);
    if (pstEntry == nullptr || pstEntry->pfFormatCfg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfFormatCfg(pstRoute, ppucCursor, uiOutLen, puiIndex, puiMore);
}

uint32_t QEL_MDT_ParseAddAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                 uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: the route is not checked; the handler knows what to do without one */
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_MDT_GetErtMsgParseEntry(uiTlvType);
    if (pstEntry == nullptr || pstEntry->pfParseAddAttrMsg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfParseAddAttrMsg(pstRoute, pucData, uiLen, ppstResult, pstCtx);
}

uint32_t QEL_MDT_ApplyAction(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                             uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pucValue) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_MDT_GetApplyActionEntry(uiActionType);
    if (pstEntry == nullptr || pstEntry->pfApplyAction == nullptr) {
        return QEL_ERR_NO_ACTION;
    }
    return pstEntry->pfApplyAction(pstRoute, uiActionType, pucValue, uiValueLen, ppstResult, pstCtx);
}

int32_t QEL_MDT_CmpData(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_MDT_GetDataCmpEntry(uiCmpType);
    if (pstEntry == nullptr || pstEntry->pfCmpData == nullptr) {
        return QEL_CMP_FAILED;
    }
    return pstEntry->pfCmpData(pvA, uiLenA, pvB, uiLenB);
}

uint32_t QEL_MDT_Data2Str(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, char *pcOut, uint32_t uiOutLen,
                          uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_MDT_GetData2StrEntry(uiType);
    if (pstEntry == nullptr || pstEntry->pfData2Str == nullptr) {
        return QEL_ERR_NO_DATA2STR;
    }
    return pstEntry->pfData2Str(pstRoute, pcOut, uiOutLen, puiIndex, puiMore, pstCtx);
}

/* Route type and route counter. */

/* kept: the type is the same for every route, and neither argument is checked; hosts ask without a route */
uint32_t QEL_MDT_GetRouteType(const QEL_ROUTE_INFO_S * /* pstRoute */, uint32_t *puiRouteType)
{
    *puiRouteType = QEL_MDT_ROUTE_TYPE;
    return QEL_OK;
}

/* kept: the refusal is not reported and the number of counters is not looked at; the host keeps a single one here */
uint32_t QEL_MDT_SetRtCount(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *pauiCount, uint32_t /* uiCountNum */,
                            uint32_t uiAdd, uint32_t uiDelta)
{
    if (pstRoute == nullptr || pstRoute->pucKey == nullptr) {
        return QEL_ERR_ARGUMENT;
    }
    if (uiAdd != 0) {
        pauiCount[0] += uiDelta;
    } else {
        pauiCount[0] -= uiDelta;
    }
    return QEL_OK;
}

/* kept: nothing is checked, and the one counter answers for every type */
uint32_t QEL_MDT_GetRtCount(const uint32_t *pauiCount, uint32_t /* uiCountNum */, uint32_t /* uiType */,
                            uint32_t *puiCount)
{
    *puiCount = pauiCount[0];
    return QEL_OK;
}

/* Result blocks. */

uint32_t QEL_MDT_CalcOutputLen(const QEL_ROUTE_VIEW_S *pstView, uint32_t *puiLen)
{
    if (QEL_Missing(pstView) || QEL_Missing(puiLen)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiLen = sizeof(QEL_ROUTE_BLOCK_S);
    uiLen += (pstView->pucRd != nullptr) ? pstView->uiRdLen : 0;
    uiLen += (pstView->pucKey != nullptr) ? pstView->uiKeyLen : 0;
    uiLen += (pstView->pucNonKey != nullptr) ? pstView->uiNonKeyLen : 0;
    uiLen += (pstView->pucCross != nullptr) ? pstView->uiCrossLen : 0;
    uiLen += (pstView->pucAttr != nullptr) ? pstView->usAttrLen : 0;
    if (uiLen == sizeof(QEL_ROUTE_BLOCK_S)) {
        return QEL_ERR_NULL;
    }
    *puiLen = uiLen;
    return QEL_OK;
}

/* Whether the lengths of a view really add up to that total. A sum that went round would have the sections written
 * behind a block too small for them. */
static inline bool QEL_MDT_AddsUp_(const QEL_ROUTE_VIEW_S *pstView, uint32_t uiTotal)
{
    uint64_t ullLen = sizeof(QEL_ROUTE_BLOCK_S);
    ullLen += (pstView->pucRd != nullptr) ? pstView->uiRdLen : 0;
    ullLen += (pstView->pucKey != nullptr) ? pstView->uiKeyLen : 0;
    ullLen += (pstView->pucNonKey != nullptr) ? pstView->uiNonKeyLen : 0;
    ullLen += (pstView->pucCross != nullptr) ? pstView->uiCrossLen : 0;
    ullLen += (pstView->pucAttr != nullptr) ? pstView->usAttrLen : 0;
    return ullLen == uiTotal;
}

static inline bool QEL_MDT_OutputArgsMissing_(const QEL_ROUTE_BLOCK_S *pstBlock, const uint32_t *puiRemain,
                                              const QEL_ROUTE_VIEW_S *pstView, const uint16_t *pusOffset)
{
    return QEL_Missing(pstBlock) || QEL_Missing(puiRemain) || QEL_Missing(pstView) || QEL_Missing(pusOffset);
}

/* A section of the view and the words of the block's header that tell its place. */
typedef struct {
    uint32_t uiBit;
    uint32_t uiLen;
    const uint8_t *pucData;
    uint16_t *pusHdrOffset;
    uint16_t *pusHdrLen;
} QEL_MDT_SECTION_S;

/* Appends a section; false if it is absent or no space is left. */
static inline bool QEL_MDT_OutputSection_(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, uint16_t *pusOffset,
                                          const QEL_MDT_SECTION_S &stSection)
{
    /* kept: an empty section at the very end of a block sets no bit; elsewhere it does, and hosts tell by it */
    if (stSection.pucData == nullptr || *puiRemain == 0) {
        return false;
    }
    pstBlock->uiValidMask |= stSection.uiBit;
    *stSection.pusHdrOffset = *pusOffset;
    *stSection.pusHdrLen = static_cast<uint16_t>(stSection.uiLen);
    QEL_Copy(reinterpret_cast<uint8_t *>(pstBlock) + *pusOffset, *puiRemain, stSection.pucData, stSection.uiLen);
    *puiRemain -= stSection.uiLen;
    *pusOffset = static_cast<uint16_t>(*pusOffset + stSection.uiLen);
    return true;
}

uint32_t QEL_MDT_OutputRd(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                          uint16_t *pusOffset)
{
    if (QEL_MDT_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    (void)QEL_MDT_OutputSection_(
        pstBlock, puiRemain, pusOffset,
        {QEL_SECTION_RD, pstView->uiRdLen, pstView->pucRd, &pstBlock->usRdOffset, &pstBlock->usRdLen});
    return QEL_OK;
}

uint32_t QEL_MDT_OutputKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                           uint16_t *pusOffset)
{
    if (QEL_MDT_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    (void)QEL_MDT_OutputSection_(
        pstBlock, puiRemain, pusOffset,
        {QEL_SECTION_KEY, pstView->uiKeyLen, pstView->pucKey, &pstBlock->usKeyOffset, &pstBlock->usKeyLen});
    return QEL_OK;
}

uint32_t QEL_MDT_OutputNonKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                              uint16_t *pusOffset)
{
    if (QEL_MDT_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    (void)QEL_MDT_OutputSection_(pstBlock, puiRemain, pusOffset,
                                 {QEL_SECTION_NONKEY, pstView->uiNonKeyLen, pstView->pucNonKey,
                                  &pstBlock->usNonKeyOffset, &pstBlock->usNonKeyLen});
    return QEL_OK;
}

uint32_t QEL_MDT_OutputAttr(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                            uint16_t *pusOffset)
{
    if (QEL_MDT_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    if (QEL_MDT_OutputSection_(
            pstBlock, puiRemain, pusOffset,
            {QEL_SECTION_ATTR, pstView->usAttrLen, pstView->pucAttr, &pstBlock->usAttrOffset, &pstBlock->usAttrLen})) {
        pstBlock->ucAttrFlag = pstView->ucAttrFlag;
        pstBlock->ucAttrType = pstView->ucAttrType;
    }
    return QEL_OK;
}

uint32_t QEL_MDT_OutputCross(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                             uint16_t *pusOffset)
{
    if (QEL_MDT_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    (void)QEL_MDT_OutputSection_(
        pstBlock, puiRemain, pusOffset,
        {QEL_SECTION_CROSS, pstView->uiCrossLen, pstView->pucCross, &pstBlock->usCrossOffset, &pstBlock->usCrossLen});
    return QEL_OK;
}

uint32_t QEL_MDT_OutputData(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_ROUTE_VIEW_S *pstView, uint32_t uiMemHandle)
{
    if (QEL_Missing(ppstBlock) || QEL_Missing(pstView) || QEL_Zero(uiMemHandle)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiTotal = 0;
    const uint32_t uiRet = QEL_MDT_CalcOutputLen(pstView, &uiTotal);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    /* kept: a sum that wrapped to less than a header is answered with success and no block; nothing may be allocated
     * for it */
    if (uiTotal <= sizeof(QEL_ROUTE_BLOCK_S)) {
        return QEL_OK;
    }
    if (!QEL_MDT_AddsUp_(pstView, uiTotal)) {
        QEL_Report(uiTotal);
        return QEL_ERR_ALLOC;
    }
    auto *pstBlock = static_cast<QEL_ROUTE_BLOCK_S *>(ZVK_SimpleAlloc_F(uiMemHandle, uiTotal, __FILE__, __LINE__));
    if (QEL_Missing(pstBlock)) {
        return QEL_ERR_ALLOC;
    }
    QEL_Clear(pstBlock, uiTotal, uiTotal);
    uint16_t usOffset = sizeof(QEL_ROUTE_BLOCK_S);
    uint32_t uiRemain = uiTotal - usOffset;
    (void)QEL_MDT_OutputRd(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_MDT_OutputKey(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_MDT_OutputNonKey(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_MDT_OutputAttr(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_MDT_OutputCross(pstBlock, &uiRemain, pstView, &usOffset);
    *ppstBlock = pstBlock;
    return QEL_OK;
}

uint32_t QEL_MDT_BuildNoneValueOutput(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppstBlock) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    auto *pstBlock = static_cast<QEL_ROUTE_BLOCK_S *>(
        ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, sizeof(QEL_ROUTE_BLOCK_S), __FILE__, __LINE__));
    *ppstBlock = pstBlock;
    if (pstBlock == nullptr) {
        /* kept: no report, though NG-MVPN reports the same failure; the host counts reports */
        return QEL_ERR_ALLOC;
    }
    QEL_Clear(pstBlock, sizeof(*pstBlock), sizeof(*pstBlock));
    pstBlock->uiValidMask = QEL_SECTION_ATTR;
    pstBlock->ucAttrFlag = QEL_ATTR_FLAG_EXTCOMM;
    pstBlock->ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    pstBlock->usAttrOffset = 0;
    pstBlock->usAttrLen = 0;
    return QEL_OK;
}

/* Operations without a table whose bodies are still to come: their checks, and the answer of a type without handler. */

uint32_t QEL_MDT_ConstructRtpEntry(const QEL_ROUTE_INFO_S *pstRoute, QEL_RTP_ENTRY_S *pstRtpEntry)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pstRoute->pucKey) || QEL_Missing(pstRtpEntry)) {
        return QEL_ERR_NULL;
    }
    return QEL_ERR_NO_ENTRY;
}

uint32_t QEL_MDT_ConstructMatch(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t **ppucMatch,
                                uint32_t *puiMatchLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucMatch) || QEL_Missing(puiMatchLen) || QEL_Missing(pstCtx) ||
        QEL_Zero(uiMatchMask)) {
        return QEL_ERR_NULL;
    }
    return QEL_ERR_NO_ENTRY;
}

uint32_t QEL_MDT_GetCross(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                          uint32_t *puiCursor, uint32_t * /* puiMore */, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCross) || QEL_Missing(puiCrossLen) || QEL_Missing(puiCursor) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    return QEL_ERR_NO_ENTRY;
}

uint32_t QEL_MDT_GetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucList, uint32_t *puiCount,
                                 QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucList) || QEL_Missing(puiCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    return QEL_ERR_NO_ENTRY;
}
