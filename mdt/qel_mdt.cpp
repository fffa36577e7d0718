#include "qel_mdt.h"

#include "platform/bounds.h"
#include "platform/kvo.h"
#include "platform/zvk.h"
#include "qel_byteorder.h"
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

/* Tables of types and handlers, each with its lookup. */

/* kept: what can be read and what can be written differs; 15 and the targets 18 to 21, 70 and 71 come in alone, 5 goes
 * out alone */
constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtMsgParseTbl[] = {
    {53, {.pfParseMsg = QEL_MDT_ParseRtPrefixTlv}}, {55, {.pfParseMsg = QEL_MDT_ParseRtPrefixTlv}},
    {59, {.pfParseMsg = QEL_MDT_ParseRtPrefixTlv}}, {61, {.pfParseMsg = QEL_MDT_ParseRtPrefixTlv}},
    {15, {.pfParseMsg = QEL_MDT_ParseRtPrefixTlv}}, {56, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},
    {57, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},      {18, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},
    {20, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},      {19, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},
    {21, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},      {70, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},
    {71, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetBgpiMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtMsgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtMsgFormatTbl[] = {
    {53, {.pfFormatMsg = QEL_MDT_FormatRtPrefixTlv}}, {55, {.pfFormatMsg = QEL_MDT_FormatRtPrefixTlv}},
    {59, {.pfFormatMsg = QEL_MDT_FormatRtPrefixTlv}}, {61, {.pfFormatMsg = QEL_MDT_FormatRtPrefixTlv}},
    {5, {.pfFormatMsg = QEL_MDT_FormatRtPrefixTlv}},  {56, {.pfFormatMsg = QEL_MDT_FormatIrtTlv}},
    {57, {.pfFormatMsg = QEL_MDT_FormatIrtTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetBgpiMsgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtMsgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtHaMsgParseTbl[] = {
    {3, {.pfParseMsg = QEL_MDT_ParseRtPrefixTlv}}, {5, {.pfParseMsg = QEL_MDT_ParseRtPrefixTlv}},
    {1, {.pfParseMsg = QEL_MDT_ParseRtPrefixTlv}}, {8, {.pfParseMsg = QEL_MDT_ParseRtPrefixTlv}},
    {6, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},      {7, {.pfParseMsg = QEL_MDT_ParseIrtTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetHaiMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtHaMsgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtHaMsgFormatTbl[] = {
    {3, {.pfFormatMsg = QEL_MDT_FormatRtPrefixTlv}}, {5, {.pfFormatMsg = QEL_MDT_FormatRtPrefixTlv}},
    {1, {.pfFormatMsg = QEL_MDT_FormatRtPrefixTlv}}, {8, {.pfFormatMsg = QEL_MDT_FormatRtPrefixTlv}},
    {6, {.pfFormatMsg = QEL_MDT_FormatIrtTlv}},      {7, {.pfFormatMsg = QEL_MDT_FormatIrtTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetHaiMsgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtHaMsgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtAttrMsgParseTbl[] = {
    {11, {.pfParseMsg = QEL_MDT_ParseRtExtCommunityTlv}},
    {21, {.pfParseMsg = QEL_MDT_ParseRtExtCommunityTlv}},
    {34, {.pfParseMsg = QEL_MDT_ParseRtNonKeyTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetAttrMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtAttrMsgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtAttrMsgFormatTbl[] = {
    {11, {.pfFormatMsg = QEL_MDT_FormatRtExtCommunityTlv}},
    {21, {.pfFormatMsg = QEL_MDT_FormatRtExtCommunityTlv}},
    {34, {.pfFormatMsg = QEL_MDT_FormatRtNonKeyTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetAttrMsgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtAttrMsgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtErtMsgParseTbl[] = {
    {11, {.pfParseAddAttrMsg = QEL_MDT_ParseAddAttrTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetErtMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtErtMsgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtCfgParseTbl[] = {
    {1, {.pfParseMsg = QEL_MDT_ParseCfgRd}},
    {2, {.pfParseMsg = QEL_MDT_ParseCfgPrefix}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetCfgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtCfgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtCfgFormatTbl[] = {
    {1, {.pfFormatCfg = QEL_MDT_FormatCfgRd}},
    {2, {.pfFormatCfg = QEL_MDT_FormatCfgPrefix}},
    {4, {.pfFormatCfg = QEL_MDT_FormatCfgExtCommunity}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetCfgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtCfgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtData2StrTbl[] = {
    {1, {.pfData2Str = QEL_MDT_MpNlriData2Str}},
    {2, {.pfData2Str = QEL_MDT_ExtCommunity2Str}},
    {8, {.pfData2Str = QEL_MDT_NonKey2Str}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetData2StrEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtData2StrTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtSetAttrTbl[] = {
    {16, {.pfSetAttr = QEL_MDT_SetExtCommunity}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetAttrSetEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtSetAttrTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtApplyActionTbl[] = {
    {6, {.pfApplyAction = QEL_MDT_ApplyExtCommunity}},  {7, {.pfApplyAction = QEL_MDT_ApplyExtCommunity}},
    {87, {.pfApplyAction = QEL_MDT_ApplyExtCommunity}}, {36, {.pfApplyAction = QEL_MDT_ApplyExtCommunity}},
    {37, {.pfApplyAction = QEL_MDT_ApplyExtCommunity}}, {38, {.pfApplyAction = QEL_MDT_ApplyExtCommunity}},
};

const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetApplyActionEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelMdtApplyActionTbl, uiType);
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
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_FindEntry(g_astQelMdtCmpDataTbl, uiCmpType);
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

QEL_HOT_PATH uint32_t QEL_MDT_OutputData(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_ROUTE_VIEW_S *pstView,
                                         uint32_t uiMemHandle)
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

/* Texts. */

static constexpr uint32_t QEL_MDT_RD_FLAG_PLAIN = 0x1; /* uiRdFlags: the display form */
static constexpr uint32_t QEL_MDT_EXTCOMM_LEN = sizeof(QEL_EXTCOMM_S);
static constexpr uint32_t QEL_MDT_IPV4_TEXT_LEN = 16;
static constexpr uint32_t QEL_MDT_NUMBER_TEXT_LEN = 11;
static constexpr uint32_t QEL_MDT_RD_TEXT_LEN = 24;
static constexpr uint32_t QEL_MDT_TEXT_LEN = 256; /* a route, a community */
static constexpr uint32_t QEL_MDT_CFG_TEXT_LEN = 512;
static constexpr uint8_t QEL_MDT_IPV4_BITS = 32;

static const QEL_MDT_KEY_AT_S *QEL_MDT_KeyOf_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return reinterpret_cast<const QEL_MDT_KEY_AT_S *>(pstRoute->pucKey);
}

/* A finished text to the caller's buffer, with its closing zero. */
static uint32_t QEL_MDT_PutText_(char *pcOut, uint32_t uiOutLen, const char *pcText, uint32_t uiLen)
{
    if (uiLen >= uiOutLen) {
        return QEL_ERR_SPACE;
    }
    QEL_Copy(pcOut, uiOutLen, pcText, uiLen);
    pcOut[uiLen] = '\0';
    return QEL_OK;
}

static void QEL_MDT_EndText_(uint32_t *puiIndex, uint32_t *puiMore)
{
    *puiIndex = 0;
    *puiMore = 0;
}

/* A cleared text buffer; null after a report. */
static void *QEL_MDT_TextBuf_(QEL_FAMILY_CTX_S *pstCtx)
{
    void *pvBuf = QEL_MDT_Malloc(pstCtx, QEL_MDT_TEXT_LEN);
    if (!QEL_Missing(pvBuf)) {
        QEL_Clear(pvBuf, QEL_MDT_TEXT_LEN, QEL_MDT_TEXT_LEN);
    }
    return pvBuf;
}

/* Appends to a text; what has no room is reported and left out. */
static void QEL_MDT_Append_(char *pcOut, uint32_t uiOutLen, const char *pszText)
{
    const int32_t iResult = strcat_s(pcOut, uiOutLen, pszText);
    if (iResult != 0) {
        QEL_Report(static_cast<uint64_t>(iResult));
    }
}

static void QEL_MDT_AppendNumber_(char *pcOut, uint32_t uiOutLen, uint32_t uiNumber)
{
    static constexpr uint32_t uiDecimal = 10;
    char acNumber[QEL_MDT_NUMBER_TEXT_LEN] = {};
    QEL_MDT_Append_(pcOut, uiOutLen, KVO_Uint32ToStr(uiNumber, acNumber, uiDecimal));
}

/* kept: a text that has no room is reported and the answer is success all the same; callers give enough */
uint32_t QEL_MDT_RdValueToStr(const QEL_RD_VALUE_S *pstRd, char *pcOut, uint32_t uiOutLen)
{
    if (QEL_Missing(pstRd) || QEL_Missing(pcOut)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen != 0) {
        pcOut[0] = '\0';
    }
    char acAddr[QEL_MDT_IPV4_TEXT_LEN] = {};
    uint32_t uiAssigned = pstRd->usAssigned;
    switch (pstRd->usRdType) {
    case 0:
        QEL_MDT_AppendNumber_(pcOut, uiOutLen, pstRd->usAsn);
        uiAssigned = pstRd->uiAssigned;
        break;
    case 1:
        QEL_MDT_Append_(pcOut, uiOutLen, KVO_IpAddrToStr(pstRd->uiAdmin, acAddr));
        break;
    case 2:
        QEL_MDT_AppendNumber_(pcOut, uiOutLen, pstRd->uiAdmin >> 16);
        QEL_MDT_Append_(pcOut, uiOutLen, ".");
        QEL_MDT_AppendNumber_(pcOut, uiOutLen, pstRd->uiAdmin & 0xFFFF);
        break;
    default:
        return QEL_ERR_VALUE;
    }
    QEL_MDT_Append_(pcOut, uiOutLen, ":");
    QEL_MDT_AppendNumber_(pcOut, uiOutLen, uiAssigned);
    return QEL_OK;
}

static uint32_t QEL_MDT_PutRouteText_(const QEL_ROUTE_INFO_S *pstRoute, char *pcBuf, char *pcOut, uint32_t uiOutLen)
{
    char acRd[QEL_MDT_RD_TEXT_LEN] = {};
    char acSource[QEL_MDT_IPV4_TEXT_LEN] = {};
    char acGroup[QEL_MDT_IPV4_TEXT_LEN] = {};
    /* kept: an RD that has no text is shown as nothing */
    (void)QEL_MDT_RdValueToStr(reinterpret_cast<const QEL_RD_VALUE_S *>(pstRoute->pucRd), acRd, sizeof(acRd));
    const QEL_MDT_KEY_AT_S *pstKey = QEL_MDT_KeyOf_(pstRoute);
    /* kept: a mask of 32 though routes have none, and a blank at the end; the host's commands show it so */
    const int32_t iLen =
        snprintf_truncated_s(pcBuf, QEL_MDT_TEXT_LEN, "<%s>, %s/32, Group Address: %s ", acRd,
                             KVO_IpAddrToStr(pstKey->uiSource, acSource), KVO_IpAddrToStr(pstKey->uiGroup, acGroup));
    if (iLen < 0) {
        return QEL_ERR_FAILED;
    }
    return QEL_MDT_PutText_(pcOut, uiOutLen, pcBuf, static_cast<uint32_t>(iLen));
}

uint32_t QEL_MDT_MpNlriData2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr || pstRoute->pucRd == nullptr) {
        return QEL_ERR_ABSENT;
    }
    void *pvBuf = QEL_MDT_TextBuf_(pstCtx);
    if (pvBuf == nullptr) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet = QEL_MDT_PutRouteText_(pstRoute, static_cast<char *>(pvBuf), pcOut, uiOutLen);
    QEL_MDT_Free(&pvBuf, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_MDT_EndText_(puiIndex, puiMore);
    return QEL_OK;
}

uint32_t QEL_MDT_NonKey2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                            uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx) || QEL_Missing(pstRoute->pucNonKey)) {
        return QEL_ERR_NULL;
    }
    const QEL_MDT_NONKEY_AT_S *pstNonKey = reinterpret_cast<const QEL_MDT_NONKEY_AT_S *>(pstRoute->pucNonKey);
    if ((pstNonKey->usFlags & QEL_MDT_NONKEY_SHARE_GROUP) == 0) {
        QEL_Report(pstNonKey->usFlags);
        return QEL_ERR_FAILED;
    }
    char acGroup[QEL_MDT_IPV4_TEXT_LEN] = {};
    /* kept: the result is not looked at; a text that does not fit is shown cut, with success */
    (void)snprintf_truncated_s(pcOut, uiOutLen, "Share Group: %s", KVO_IpAddrToStr(pstNonKey->uiShareGroup, acGroup));
    QEL_MDT_EndText_(puiIndex, puiMore);
    return QEL_OK;
}

/* The characters of a formatted piece; one that can't be formed is reported and has none. */
static uint32_t QEL_MDT_Characters_(int32_t iLen)
{
    if (iLen < 0) {
        QEL_Report(static_cast<uint64_t>(iLen));
        return 0;
    }
    return static_cast<uint32_t>(iLen);
}

/* kept: no word for a Segmented Next-Hop, though NG-MVPN has one, and one for a SoO; the host's commands show it so */
uint32_t QEL_MDT_ExtCommType2Str(char *pcOut, uint32_t uiOutLen, uint8_t ucSubType, uint8_t /* ucIgnored */)
{
    if (QEL_Missing(pcOut)) {
        return 0;
    }
    switch (ucSubType) {
    case 2:
        return QEL_MDT_Characters_(snprintf_truncated_s(pcOut, uiOutLen, "RT"));
    case 3:
        return QEL_MDT_Characters_(snprintf_truncated_s(pcOut, uiOutLen, "SoO"));
    case 9:
        return QEL_MDT_Characters_(snprintf_truncated_s(pcOut, uiOutLen, "Source AS"));
    case 10:
    case 11:
        return QEL_MDT_Characters_(snprintf_truncated_s(pcOut, uiOutLen, "Import RT"));
    default:
        return 0;
    }
}

/* The value by the Type octet; none for a Type above 2. */
static uint32_t QEL_MDT_ExtCommValue2Str_(const QEL_EXTCOMM_S *pstExtComm, char *pcOut, uint32_t uiOutLen,
                                          uint8_t ucAs4Plain)
{
    const uint32_t uiAdmin = pstExtComm->uiGlobalAdmin;
    const uint32_t uiAssigned = pstExtComm->usLocalAdmin;
    char acAddr[QEL_MDT_IPV4_TEXT_LEN] = {};
    switch (pstExtComm->usType >> 8) {
    case 0:
        return QEL_MDT_Characters_(snprintf_truncated_s(pcOut, uiOutLen, " <%u : %u>",
                                                        static_cast<uint32_t>(pstExtComm->usGlobalAdmin),
                                                        static_cast<uint32_t>(pstExtComm->uiLocalAdmin)));
    case 1:
        return QEL_MDT_Characters_(
            snprintf_truncated_s(pcOut, uiOutLen, " <%s : %u>", KVO_IpAddrToStr(uiAdmin, acAddr), uiAssigned));
    case 2:
        if (ucAs4Plain != 0 && (uiAdmin >> 16) != 0) {
            return QEL_MDT_Characters_(snprintf_truncated_s(pcOut, uiOutLen, " <%u : %u>", uiAdmin, uiAssigned));
        }
        return QEL_MDT_Characters_(
            snprintf_truncated_s(pcOut, uiOutLen, " <%u.%u : %u>", uiAdmin >> 16, uiAdmin & 0xFFFF, uiAssigned));
    default:
        return 0;
    }
}

uint32_t QEL_MDT_ExtCommVal2Str(const QEL_EXTCOMM_S *pstExtComm, char *pcOut, uint32_t uiOutLen, uint32_t *puiLen,
                                uint8_t ucAs4Plain)
{
    if (QEL_Missing(pstExtComm) || QEL_Missing(pcOut) || QEL_Missing(puiLen)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen != 0) {
        pcOut[0] = '\0';
    }
    const uint8_t ucSubType = static_cast<uint8_t>(pstExtComm->usType & 0xFF);
    const uint32_t uiWord = QEL_MDT_ExtCommType2Str(pcOut, uiOutLen, ucSubType, ucAs4Plain);
    *puiLen = uiWord + QEL_MDT_ExtCommValue2Str_(pstExtComm, pcOut + uiWord, uiOutLen - uiWord, ucAs4Plain);
    return QEL_OK;
}

/* A list at its end: *puiMore gets 0. */
static bool QEL_MDT_AtListEnd_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiIndex, uint32_t *puiMore)
{
    if (pstRoute->pucExtComm != nullptr && pstRoute->uiExtCommLen / QEL_MDT_EXTCOMM_LEN > uiIndex) {
        return false;
    }
    *puiMore = 0;
    return true;
}

/* The community at the caller's place, through a cleared buffer, to the caller's text; the place moves on. */
static uint32_t QEL_MDT_PutExtCommText_(const QEL_ROUTE_INFO_S *pstRoute, char *pcBuf, char *pcOut, uint32_t uiOutLen,
                                        uint32_t *puiIndex, uint32_t *puiMore)
{
    const auto *pastList = reinterpret_cast<const QEL_EXTCOMM_S *>(pstRoute->pucExtComm);
    uint32_t uiLen = 0;
    (void)QEL_MDT_ExtCommVal2Str(&pastList[*puiIndex], pcBuf, QEL_MDT_TEXT_LEN, &uiLen,
                                 static_cast<uint8_t>(pstRoute->uiRdFlags & QEL_MDT_RD_FLAG_PLAIN));
    const uint32_t uiRet = QEL_MDT_PutText_(pcOut, uiOutLen, pcBuf, uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *puiIndex += 1;
    *puiMore = pstRoute->uiExtCommLen / QEL_MDT_EXTCOMM_LEN > *puiIndex ? 1 : 0;
    return QEL_OK;
}

/* kept: the context is not checked here; without one the buffer cannot be had, which answers 3 */
uint32_t QEL_MDT_ExtCommunity2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                  uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    if (QEL_MDT_AtListEnd_(pstRoute, *puiIndex, puiMore)) {
        return QEL_OK;
    }
    void *pvBuf = QEL_MDT_TextBuf_(pstCtx);
    if (pvBuf == nullptr) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet =
        QEL_MDT_PutExtCommText_(pstRoute, static_cast<char *>(pvBuf), pcOut, uiOutLen, puiIndex, puiMore);
    QEL_MDT_Free(&pvBuf, pstCtx);
    return uiRet;
}

/* Configuration records. */

static constexpr uint32_t QEL_MDT_CFG_RD_LEN = 16;
static constexpr uint32_t QEL_MDT_CFG_RD_AT = 4;
static constexpr uint32_t QEL_MDT_CFG_PREFIX_LEN = 89;
static constexpr uint32_t QEL_MDT_CFG_PREFIX_USED = 16;
static constexpr uint32_t QEL_MDT_CFG_SOURCE_AT = 4;
static constexpr uint32_t QEL_MDT_CFG_GROUP_AT = 8;
static constexpr uint32_t QEL_MDT_CFG_MASK_AT = 12;

uint32_t QEL_MDT_ParseCfgRd(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                            QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen != QEL_MDT_CFG_RD_LEN) {
        QEL_Report(uiLen);
        return QEL_ERR_NULL;
    }
    if (QEL_Load32(pucData) != 0) {
        return QEL_ERR_CFG_RD;
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiRdLen = sizeof(QEL_RD_VALUE_S);
    stView.pucRd = pucData + QEL_MDT_CFG_RD_AT;
    return QEL_MDT_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

void QEL_MDT_SetVrfRdType(uint8_t *pucRd, uint32_t uiRdFlag)
{
    if (QEL_Missing(pucRd)) {
        return;
    }
    uint32_t uiForm = 1;
    if (QEL_Load16(pucRd) != 0) {
        uiForm = uiRdFlag != 0 ? 2 : 3;
    }
    QEL_Store32(pucRd + sizeof(QEL_RD_VALUE_S), uiForm); /* the form byte and three zero bytes */
}

static bool QEL_MDT_CfgArgsMissing_(const uint8_t *pucSection, uint8_t *const *ppucCursor, uint32_t uiOutLen,
                                    const uint32_t *puiIndex, const uint32_t *puiMore)
{
    return QEL_Missing(pucSection) || QEL_Missing(ppucCursor) || QEL_Zero(uiOutLen) || QEL_Missing(puiIndex) ||
           QEL_Missing(puiMore);
}

uint32_t QEL_MDT_FormatCfgRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                             uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_MDT_CfgArgsMissing_(pstRoute->pucRd, ppucCursor, uiOutLen, puiIndex, puiMore)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen < QEL_MDT_CFG_RD_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucRd = *ppucCursor + QEL_MDT_CFG_RD_AT;
    QEL_Store32(*ppucCursor, 0);
    QEL_Copy(pucRd, sizeof(QEL_RD_VALUE_S), pstRoute->pucRd, pstRoute->uiRdLen);
    QEL_MDT_SetVrfRdType(pucRd, pstRoute->uiRdFlags & QEL_MDT_RD_FLAG_PLAIN);
    QEL_MDT_EndText_(puiIndex, puiMore);
    *ppucCursor += QEL_MDT_CFG_RD_LEN;
    return QEL_OK;
}

/* kept: neither the length nor the mask of the record is looked at; older configurations hold other masks */
uint32_t QEL_MDT_ParseCfgPrefix(const uint8_t *pucData, uint32_t /* uiLen */, QEL_ROUTE_BLOCK_S **ppstResult,
                                QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_MDT_KEY_S stKey = {};
    stKey.uiSource = QEL_Load32(pucData + QEL_MDT_CFG_SOURCE_AT);
    stKey.uiGroup = QEL_Load32(pucData + QEL_MDT_CFG_GROUP_AT);
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiKeyLen = sizeof(stKey);
    stView.pucKey = QEL_Bytes(&stKey);
    return QEL_MDT_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_MDT_FormatCfgPrefix(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                 uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_MDT_CfgArgsMissing_(pstRoute->pucKey, ppucCursor, uiOutLen, puiIndex, puiMore)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen < QEL_MDT_CFG_PREFIX_LEN) {
        return QEL_ERR_SPACE;
    }
    /* kept: the record's tail stays as the caller gave it, and the cursor passes it; the other families fill it */
    uint8_t *pucRecord = *ppucCursor;
    QEL_Clear(pucRecord, uiOutLen, QEL_MDT_CFG_PREFIX_USED);
    const QEL_MDT_KEY_AT_S *pstKey = QEL_MDT_KeyOf_(pstRoute);
    pucRecord[0] = static_cast<uint8_t>(QEL_MDT_ROUTE_TYPE);
    QEL_Store32(pucRecord + QEL_MDT_CFG_SOURCE_AT, pstKey->uiSource);
    QEL_Store32(pucRecord + QEL_MDT_CFG_GROUP_AT, pstKey->uiGroup);
    pucRecord[QEL_MDT_CFG_MASK_AT] = QEL_MDT_IPV4_BITS;
    QEL_MDT_EndText_(puiIndex, puiMore);
    *ppucCursor += QEL_MDT_CFG_PREFIX_LEN;
    return QEL_OK;
}

/* kept: formatted with the caller's size, so that a text without room comes out cut and with success; in no table, and
 * nobody here calls it; hosts do */
uint32_t QEL_MDT_FormatCfgGrpAddr(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                  uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr) {
        return QEL_ERR_ABSENT;
    }
    char acBuf[QEL_MDT_CFG_TEXT_LEN] = {};
    char acGroup[QEL_MDT_IPV4_TEXT_LEN] = {};
    const uint32_t uiRoom = uiOutLen < sizeof(acBuf) ? uiOutLen : static_cast<uint32_t>(sizeof(acBuf));
    const int32_t iLen = snprintf_truncated_s(acBuf, uiRoom, "MDT group address: %s",
                                              KVO_IpAddrToStr(QEL_MDT_KeyOf_(pstRoute)->uiGroup, acGroup));
    if (iLen < 0 || QEL_MDT_PutText_(reinterpret_cast<char *>(*ppucCursor), uiOutLen, acBuf,
                                     static_cast<uint32_t>(iLen)) != QEL_OK) {
        QEL_Report(static_cast<uint64_t>(iLen));
        return QEL_ERR_FAILED;
    }
    QEL_MDT_EndText_(puiIndex, puiMore);
    return QEL_OK;
}

uint32_t QEL_MDT_FormatCfgExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                       uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    if (QEL_MDT_AtListEnd_(pstRoute, *puiIndex, puiMore)) {
        return QEL_OK;
    }
    char acBuf[QEL_MDT_TEXT_LEN] = {};
    return QEL_MDT_PutExtCommText_(pstRoute, acBuf, reinterpret_cast<char *>(*ppucCursor), uiOutLen, puiIndex, puiMore);
}

/* Import. */

/* A copy on the memory handle, for the host; null after a report. */
static uint8_t *QEL_MDT_CopyForHost_(const void *pvFrom, uint32_t uiLen, const QEL_FAMILY_CTX_S *pstCtx)
{
    auto *pucCopy = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (!QEL_Missing(pucCopy)) {
        QEL_Copy(pucCopy, uiLen, pvFrom, uiLen);
    }
    return pucCopy;
}

/* The share group is the one cross value of a route without route targets. */
static uint32_t QEL_MDT_TakeShareGroup_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiNext, uint8_t **ppucCross,
                                        uint32_t *puiCrossLen, uint32_t *puiCursor, uint32_t *puiMore,
                                        const QEL_FAMILY_CTX_S *pstCtx)
{
    const uint32_t uiShareGroup = reinterpret_cast<const QEL_MDT_NONKEY_AT_S *>(pstRoute->pucNonKey)->uiShareGroup;
    *ppucCross = QEL_MDT_CopyForHost_(&uiShareGroup, sizeof(uiShareGroup), pstCtx);
    if (*ppucCross == nullptr) {
        return QEL_ERR_MEMORY;
    }
    *puiCursor = uiNext;
    *puiCrossLen = sizeof(uiShareGroup);
    *puiMore = 0;
    return QEL_OK;
}

/* kept: the Sub-type octet alone makes a route target, whatever the Type */
static bool QEL_MDT_IsRt_(const uint8_t *pucElement)
{
    static constexpr uint8_t ucSubTypeRt = 2;
    return pucElement[0] == ucSubTypeRt;
}

/* Step: the next route target of the list from *puiCursor on, or the end of the walk. */
static uint32_t QEL_MDT_WalkCross_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCount, uint8_t **ppucCross,
                                   uint32_t *puiCrossLen, uint32_t *puiCursor, uint32_t *puiMore,
                                   const QEL_FAMILY_CTX_S *pstCtx)
{
    for (uint32_t i = *puiCursor; i < uiCount; i++) {
        const uint8_t *pucElement = pstRoute->pucExtComm + static_cast<size_t>(i) * QEL_MDT_EXTCOMM_LEN;
        if (!QEL_MDT_IsRt_(pucElement)) {
            continue;
        }
        *ppucCross = QEL_MDT_CopyForHost_(pucElement, QEL_MDT_EXTCOMM_LEN, pstCtx);
        if (*ppucCross == nullptr) {
            return QEL_ERR_MEMORY;
        }
        *puiCursor = i + 1;
        *puiCrossLen = QEL_MDT_EXTCOMM_LEN;
        /* kept: whatever the elements behind this one are, so that the last call of a walk may find nothing */
        *puiMore = i + 1 < uiCount ? 1 : 0;
        return QEL_OK;
    }
    if (*puiCursor == 0) {
        return QEL_MDT_TakeShareGroup_(pstRoute, uiCount, ppucCross, puiCrossLen, puiCursor, puiMore, pstCtx);
    }
    *puiCursor = uiCount;
    *puiCrossLen = 0;
    *puiMore = 0;
    return QEL_OK;
}

uint32_t QEL_MDT_GetCross(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                          uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: puiMore is not looked at; every host gives it */
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCross) || QEL_Missing(puiCrossLen) || QEL_Missing(puiCursor) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    *ppucCross = nullptr;
    if ((pstRoute->uiValidMask & QEL_SECTION_NONKEY) == 0 || pstRoute->pucNonKey == nullptr) {
        *puiCrossLen = 0;
        *puiMore = 0;
        return QEL_OK;
    }
    if (pstRoute->pucExtComm == nullptr) {
        return QEL_MDT_TakeShareGroup_(pstRoute, 0, ppucCross, puiCrossLen, puiCursor, puiMore, pstCtx);
    }
    const uint32_t uiCount = pstRoute->uiExtCommLen / QEL_MDT_EXTCOMM_LEN;
    if (uiCount <= *puiCursor) {
        return QEL_ERR_FAILED;
    }
    return QEL_MDT_WalkCross_(pstRoute, uiCount, ppucCross, puiCrossLen, puiCursor, puiMore, pstCtx);
}

/* Attributes for the host and for peers. */

uint32_t QEL_MDT_GetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucList, uint32_t *puiCount,
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
    uint8_t *pucList = QEL_MDT_CopyForHost_(pstRoute->pucExtComm, pstRoute->uiExtCommLen, pstCtx);
    if (pucList == nullptr) {
        return QEL_ERR_MEMORY;
    }
    *ppucList = pucList;
    *puiCount = pstRoute->uiExtCommLen / QEL_MDT_EXTCOMM_LEN;
    return QEL_OK;
}

uint32_t QEL_MDT_SetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCtrlFlag, QEL_ROUTE_BLOCK_S **ppstResult,
                                 QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint32_t uiDropNonTransitive = 0x1;
    static constexpr uint8_t ucNonTransitive = 0x40; /* of the Type octet (RFC 4360) */
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        *ppstResult = nullptr;
        return QEL_OK;
    }
    const uint16_t usLen = static_cast<uint16_t>(pstRoute->uiExtCommLen);
    auto *pucList = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, usLen, __FILE__, __LINE__));
    if (QEL_Missing(pucList)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pucList, usLen, usLen);
    uint32_t uiKept = 0;
    for (uint32_t uiAt = 0; uiAt + QEL_MDT_EXTCOMM_LEN <= usLen; uiAt += QEL_MDT_EXTCOMM_LEN) {
        const uint8_t *pucElement = pstRoute->pucExtComm + uiAt;
        if ((uiCtrlFlag & uiDropNonTransitive) == 0 || (pucElement[1] & ucNonTransitive) == 0) {
            const uint32_t uiTo = uiKept * QEL_MDT_EXTCOMM_LEN;
            QEL_Copy(pucList + uiTo, usLen - uiTo, pucElement, QEL_MDT_EXTCOMM_LEN);
            uiKept++;
        }
    }
    const uint32_t uiRet =
        QEL_MDT_OutputExtCommunity_(pucList, static_cast<uint16_t>(uiKept * QEL_MDT_EXTCOMM_LEN), ppstResult, pstCtx);
    ZVK_Free_F(pucList, __FILE__, __LINE__);
    return uiRet;
}

/* Policy: what the engine matches on. */

uint32_t QEL_MDT_ConstructRtpEntry(const QEL_ROUTE_INFO_S *pstRoute, QEL_RTP_ENTRY_S *pstRtpEntry)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pstRoute->pucKey) || QEL_Missing(pstRtpEntry)) {
        return QEL_ERR_NULL;
    }
    pstRtpEntry->uiRtpAddrType = 0;
    pstRtpEntry->stRtpAddr.uiIpv4 = QEL_MDT_KeyOf_(pstRoute)->uiSource;
    pstRtpEntry->uiRtpPrefixLen = QEL_MDT_IPV4_BITS;
    return QEL_OK;
}

static constexpr uint32_t QEL_MDT_MATCH_HDR_LEN = 4;
static constexpr uint16_t QEL_MDT_MATCH_RD_LEN = sizeof(QEL_RD_VALUE_S);
static constexpr uint16_t QEL_MDT_MATCH_IP_LEN = sizeof(uint32_t);

constexpr QEL_DISPATCH_ENTRY_S g_astQelMdtConstructMatchTbl[] = {
    {QEL_MDT_MATCH_RD, {.pfConstructMatch = QEL_MDT_ConstructMatchRd}},
    {QEL_MDT_MATCH_EXTCOMM, {.pfConstructMatch = QEL_MDT_ConstructMatchExtCommunity}},
    {QEL_MDT_MATCH_IP_GROUP, {.pfConstructMatch = QEL_MDT_ConstructMatchIpGroup}},
};

uint32_t QEL_MDT_CalcRtpMatchTlvLen(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint32_t *puiMatchLen)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(puiMatchLen)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiLen = (uiMatchMask & QEL_MDT_MATCH_RD) != 0 ? QEL_MDT_MATCH_HDR_LEN + QEL_MDT_MATCH_RD_LEN : 0;
    if ((uiMatchMask & QEL_MDT_MATCH_EXTCOMM) != 0) {
        if (pstRoute->pucExtComm == nullptr) {
            /* kept: a missing list empties the whole match, the RD's part too; so the engine learns that nothing can
             * match */
            return QEL_OK;
        }
        uiLen += static_cast<uint16_t>(pstRoute->uiExtCommLen) + QEL_MDT_MATCH_HDR_LEN;
    }
    uiLen += (uiMatchMask & QEL_MDT_MATCH_IP_GROUP) != 0 ? QEL_MDT_MATCH_HDR_LEN + QEL_MDT_MATCH_IP_LEN : 0;
    *puiMatchLen = uiLen;
    return QEL_OK;
}

/* Step: every wanted row writes its TLV. */
static uint32_t QEL_MDT_WriteMatch_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t *pucMatch,
                                    uint32_t uiLen, QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucCursor = pucMatch;
    uint32_t uiRemain = uiLen;
    for (const QEL_DISPATCH_ENTRY_S &stEntry : g_astQelMdtConstructMatchTbl) {
        if ((uiMatchMask & stEntry.uiType) != 0 &&
            stEntry.pfConstructMatch(pstRoute, &pucCursor, &uiRemain, pstCtx) != QEL_OK) {
            /* kept: whatever the handler's code; the engine asks for yes or no */
            return QEL_ERR_FAILED;
        }
    }
    return QEL_OK;
}

uint32_t QEL_MDT_ConstructMatch(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t **ppucMatch,
                                uint32_t *puiMatchLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucMatch) || QEL_Missing(puiMatchLen) || QEL_Missing(pstCtx) ||
        QEL_Zero(uiMatchMask)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiLen = 0;
    (void)QEL_MDT_CalcRtpMatchTlvLen(pstRoute, uiMatchMask, &uiLen);
    if (uiLen == 0) {
        return QEL_OK;
    }
    auto *pucMatch = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (QEL_Missing(pucMatch)) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet = QEL_MDT_WriteMatch_(pstRoute, uiMatchMask, pucMatch, uiLen, pstCtx);
    if (uiRet != QEL_OK) {
        ZVK_Free_F(pucMatch, __FILE__, __LINE__);
        pucMatch = nullptr;
        uiLen = 0;
    }
    *ppucMatch = pucMatch;
    *puiMatchLen = uiLen;
    return uiRet;
}

static void QEL_MDT_PutMatchHdr_(uint8_t *pucTlv, uint16_t usType, uint16_t usLen)
{
    QEL_StoreBe16(pucTlv, usType);
    QEL_StoreBe16(pucTlv + sizeof(usType), usLen);
}

/* Moves the cursor behind a TLV whose value has usLen bytes. */
static void QEL_MDT_PassMatchTlv_(uint8_t **ppucCursor, uint32_t *puiRemain, uint16_t usLen)
{
    *ppucCursor += QEL_MDT_MATCH_HDR_LEN + usLen;
    *puiRemain -= QEL_MDT_MATCH_HDR_LEN + usLen;
}

uint32_t QEL_MDT_ConstructMatchRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                  QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiRemain) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucRd == nullptr) {
        return QEL_ERR_ABSENT;
    }
    if (*puiRemain < QEL_MDT_MATCH_HDR_LEN + QEL_MDT_MATCH_RD_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_MDT_PutMatchHdr_(*ppucCursor, QEL_MDT_MATCH_TLV_RD, QEL_MDT_MATCH_RD_LEN);
    /* kept: the RD goes out as it stands, not in network order like the rest; the engine compares it so */
    QEL_Copy(*ppucCursor + QEL_MDT_MATCH_HDR_LEN, *puiRemain - QEL_MDT_MATCH_HDR_LEN, pstRoute->pucRd,
             QEL_MDT_MATCH_RD_LEN);
    QEL_MDT_PassMatchTlv_(ppucCursor, puiRemain, QEL_MDT_MATCH_RD_LEN);
    return QEL_OK;
}

uint32_t QEL_MDT_ConstructMatchExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                            QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiRemain) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        return QEL_OK;
    }
    const uint16_t usLen = static_cast<uint16_t>(pstRoute->uiExtCommLen);
    if (usLen + QEL_MDT_MATCH_HDR_LEN > *puiRemain) {
        return QEL_ERR_SPACE;
    }
    QEL_MDT_PutMatchHdr_(*ppucCursor, QEL_MDT_MATCH_TLV_EXTCOMM, usLen);
    QEL_ROUTE_INFO_S stList = {};
    stList.pucExtComm = pstRoute->pucExtComm;
    stList.uiExtCommLen = usLen;
    uint8_t *pucValue = *ppucCursor + QEL_MDT_MATCH_HDR_LEN;
    const uint32_t uiRet = QEL_MDT_FormatExtCommunity(&stList, &pucValue, *puiRemain - QEL_MDT_MATCH_HDR_LEN, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_MDT_PassMatchTlv_(ppucCursor, puiRemain, usLen);
    return QEL_OK;
}

/* kept: the context is not looked at by the two address rows */
static uint32_t QEL_MDT_ConstructMatchIp_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiKeyField, uint8_t **ppucCursor,
                                          uint32_t *puiRemain)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiRemain)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr) {
        return QEL_ERR_ABSENT;
    }
    if (*puiRemain < QEL_MDT_MATCH_HDR_LEN + QEL_MDT_MATCH_IP_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_MDT_PutMatchHdr_(*ppucCursor, QEL_MDT_MATCH_TLV_IP, QEL_MDT_MATCH_IP_LEN);
    QEL_StoreBe32(*ppucCursor + QEL_MDT_MATCH_HDR_LEN, QEL_Load32(pstRoute->pucKey + uiKeyField));
    QEL_MDT_PassMatchTlv_(ppucCursor, puiRemain, QEL_MDT_MATCH_IP_LEN);
    return QEL_OK;
}

uint32_t QEL_MDT_ConstructMatchIpGroup(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                       QEL_FAMILY_CTX_S * /* pstCtx */)
{
    return QEL_MDT_ConstructMatchIp_(pstRoute, offsetof(QEL_MDT_KEY_S, uiGroup), ppucCursor, puiRemain);
}

/* kept: in no table, and nobody here calls it; hosts do */
uint32_t QEL_MDT_ConstructMatchIpSource(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                        QEL_FAMILY_CTX_S * /* pstCtx */)
{
    return QEL_MDT_ConstructMatchIp_(pstRoute, offsetof(QEL_MDT_KEY_S, uiSource), ppucCursor, puiRemain);
}

/* Policy: actions on the community list. */

/* What becomes of attribute 16. */
typedef struct {
    uint8_t *pucApply;     /* the new list in host order; null: the host keeps what it has */
    uint16_t usTotalCount; /* elements in pucApply */
    bool bNoValue;         /* nothing is left: the host removes the attribute */
} QEL_MDT_NEW_LIST_S;

static void QEL_MDT_FreeIfHeld_(uint8_t **ppucMem, QEL_FAMILY_CTX_S *pstCtx)
{
    if (*ppucMem != nullptr) {
        void *pvMem = *ppucMem;
        QEL_MDT_Free(&pvMem, pstCtx);
        *ppucMem = nullptr;
    }
}

void QEL_MDT_GetExtCommAttrExcludeRT(const uint8_t *pucExtComm, uint16_t usCount, uint8_t *pucOut, uint16_t *pusOutLen)
{
    if (QEL_Missing(pucExtComm) || QEL_Missing(pucOut) || QEL_Missing(pusOutLen)) {
        return;
    }
    const uint32_t uiRoom = usCount * QEL_MDT_EXTCOMM_LEN;
    uint32_t uiOutLen = 0;
    for (uint32_t uiAt = 0; uiAt < uiRoom; uiAt += QEL_MDT_EXTCOMM_LEN) {
        if (!QEL_MDT_IsRt_(pucExtComm + uiAt)) {
            QEL_Copy(pucOut + uiOutLen, uiRoom - uiOutLen, pucExtComm + uiAt, QEL_MDT_EXTCOMM_LEN);
            uiOutLen += QEL_MDT_EXTCOMM_LEN;
        }
    }
    *pusOutLen = static_cast<uint16_t>(uiOutLen);
}

/* Step: the list of the action in host order; an empty value has none. */
static uint32_t QEL_MDT_TakeHostList_(const uint8_t *pucValue, uint32_t uiValueLen, uint8_t **ppucHost,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    if (uiValueLen == 0) {
        return QEL_OK;
    }
    /* with what stays of the route's list the length has to have 32 bits */
    if (uiValueLen > UINT32_MAX - UINT16_MAX) {
        QEL_Report(uiValueLen);
        return QEL_ERR_MEMORY;
    }
    *ppucHost = static_cast<uint8_t *>(QEL_MDT_Malloc(pstCtx, uiValueLen));
    if (QEL_Missing(*ppucHost)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Copy(*ppucHost, uiValueLen, pucValue, uiValueLen);
    QEL_MDT_ConvertExtCommunityNTOH(reinterpret_cast<QEL_EXTCOMM_S *>(*ppucHost), uiValueLen / QEL_MDT_EXTCOMM_LEN);
    return QEL_OK;
}

static uint16_t QEL_MDT_ListCount_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return static_cast<uint16_t>(pstRoute->uiExtCommLen / QEL_MDT_EXTCOMM_LEN);
}

/* Step: the route's list without its Route Targets; a list without a whole element has none. */
static uint32_t QEL_MDT_TakeTempList_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucTemp, uint16_t *pusTempLen,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_MDT_ListCount_(pstRoute) == 0) {
        return QEL_OK;
    }
    *ppucTemp = static_cast<uint8_t *>(QEL_MDT_Malloc(pstCtx, pstRoute->uiExtCommLen));
    if (QEL_Missing(*ppucTemp)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(*ppucTemp, pstRoute->uiExtCommLen, pstRoute->uiExtCommLen);
    QEL_MDT_GetExtCommAttrExcludeRT(pstRoute->pucExtComm, QEL_MDT_ListCount_(pstRoute), *ppucTemp, pusTempLen);
    return QEL_OK;
}

/* Step: the buffer of the new list. kept: no bytes are no memory, which answers 3, where NG-MVPN has answers of its
 * own; policies of this family rely on it */
static uint32_t QEL_MDT_NewApplyList_(uint32_t uiLen, uint32_t *puiRoom, QEL_MDT_NEW_LIST_S *pstNew,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: less than one element, alone, comes out of the clean-up as one; the octets that it lacks are zero */
    *puiRoom = uiLen != 0 && uiLen < QEL_MDT_EXTCOMM_LEN ? QEL_MDT_EXTCOMM_LEN : uiLen;
    pstNew->pucApply = static_cast<uint8_t *>(QEL_MDT_Malloc(pstCtx, *puiRoom));
    if (QEL_Missing(pstNew->pucApply)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pstNew->pucApply, *puiRoom, *puiRoom);
    return QEL_OK;
}

/* Step: what stays of the route's list and behind it the action's. */
static uint32_t QEL_MDT_JoinLists_(const uint8_t *pucTemp, uint16_t usTempLen, const uint8_t *pucHost,
                                   uint32_t uiValueLen, QEL_MDT_NEW_LIST_S *pstNew, QEL_FAMILY_CTX_S *pstCtx)
{
    uint32_t uiRoom = 0;
    const uint32_t uiRet = QEL_MDT_NewApplyList_(usTempLen + uiValueLen, &uiRoom, pstNew, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (usTempLen != 0) {
        QEL_Copy(pstNew->pucApply, uiRoom, pucTemp, usTempLen);
    }
    if (pucHost != nullptr) {
        QEL_Copy(pstNew->pucApply + usTempLen, uiRoom - usTempLen, pucHost, uiValueLen);
    }
    pstNew->usTotalCount = static_cast<uint16_t>(uiValueLen / QEL_MDT_EXTCOMM_LEN + usTempLen / QEL_MDT_EXTCOMM_LEN);
    return QEL_OK;
}

/* Step: the route's list, Route Targets included, and behind it the action's. */
static uint32_t QEL_MDT_AddExtComm_(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucHost, uint32_t uiValueLen,
                                    QEL_MDT_NEW_LIST_S *pstNew, QEL_FAMILY_CTX_S *pstCtx)
{
    const uint16_t usTempLen = static_cast<uint16_t>(QEL_MDT_ListCount_(pstRoute) * QEL_MDT_EXTCOMM_LEN);
    const uint32_t uiRet = QEL_MDT_JoinLists_(pstRoute->pucExtComm, usTempLen, pucHost, uiValueLen, pstNew, pstCtx);
    if (uiRet == QEL_OK && pucHost == nullptr) {
        /* kept: an empty value is no refusal; its copy fails, is reported, and the route's own list comes out */
        QEL_Copy(pstNew->pucApply + usTempLen, 0, pucHost, 0);
    }
    return uiRet;
}

static uint32_t QEL_MDT_ReplaceRt_(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucHost, uint32_t uiValueLen,
                                   QEL_MDT_NEW_LIST_S *pstNew, QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucTemp = nullptr;
    uint16_t usTempLen = 0;
    uint32_t uiRet = QEL_MDT_TakeTempList_(pstRoute, &pucTemp, &usTempLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    uiRet = QEL_MDT_JoinLists_(pucTemp, usTempLen, pucHost, uiValueLen, pstNew, pstCtx);
    QEL_MDT_FreeIfHeld_(&pucTemp, pstCtx);
    return uiRet;
}

static uint32_t QEL_MDT_DeleteRt_(const QEL_ROUTE_INFO_S *pstRoute, QEL_MDT_NEW_LIST_S *pstNew,
                                  QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucTemp = nullptr;
    uint16_t usTempLen = 0;
    uint32_t uiRet = QEL_MDT_TakeTempList_(pstRoute, &pucTemp, &usTempLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (usTempLen == 0) {
        pstNew->bNoValue = true;
    } else {
        uiRet = QEL_MDT_JoinLists_(pucTemp, usTempLen, nullptr, 0, pstNew, pstCtx);
    }
    QEL_MDT_FreeIfHeld_(&pucTemp, pstCtx);
    return uiRet;
}

/* Step: the new list of the action. */
static uint32_t QEL_MDT_BuildNewList_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                      uint32_t uiValueLen, QEL_MDT_NEW_LIST_S *pstNew, QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucHost = nullptr;
    uint32_t uiRet = QEL_MDT_TakeHostList_(pucValue, uiValueLen, &pucHost, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    /* kept: 38 is a second code of the add */
    if (uiActionType == QEL_MDT_ACTION_EXTCOMM_ADD || uiActionType == QEL_MDT_ACTION_EXTCOMM_ADD_OTHER) {
        uiRet = QEL_MDT_AddExtComm_(pstRoute, pucHost, uiValueLen, pstNew, pstCtx);
    } else if (uiActionType == QEL_MDT_ACTION_EXTCOMM_REPLACE) {
        uiRet = QEL_MDT_ReplaceRt_(pstRoute, pucHost, uiValueLen, pstNew, pstCtx);
    }
    QEL_MDT_FreeIfHeld_(&pucHost, pstCtx);
    /* kept: a delete makes the action's list as well and drops it; its inline buffer serves the next step, and a value
     * that can't be copied fails the action */
    if (uiActionType == QEL_MDT_ACTION_EXTCOMM_DELETE) {
        uiRet = QEL_MDT_DeleteRt_(pstRoute, pstNew, pstCtx);
    }
    return uiRet;
}

uint32_t QEL_MDT_ApplyExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                   uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: a missing value is refused by every action, also by a delete, which reads none; the engine passes one */
    if (QEL_Missing(pstRoute) || QEL_Missing(pucValue) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_MDT_NEW_LIST_S stNew = {};
    uint32_t uiRet = QEL_MDT_BuildNewList_(pstRoute, uiActionType, pucValue, uiValueLen, &stNew, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (stNew.bNoValue) {
        return QEL_MDT_BuildNoneValueOutput(ppstResult, pstCtx);
    }
    if (stNew.pucApply == nullptr) {
        /* kept: 36 and 37 are taken and change nothing; policies of older releases name them */
        *ppstResult = nullptr;
        return QEL_OK;
    }
    uiRet = QEL_MDT_CleanupExtCommunity(reinterpret_cast<QEL_EXTCOMM_S *>(stNew.pucApply), &stNew.usTotalCount, pstCtx);
    if (uiRet == QEL_OK) {
        uiRet = QEL_MDT_OutputExtCommunity_(
            stNew.pucApply, static_cast<uint16_t>(stNew.usTotalCount * QEL_MDT_EXTCOMM_LEN), ppstResult, pstCtx);
    }
    QEL_MDT_FreeIfHeld_(&stNew.pucApply, pstCtx);
    return uiRet;
}
