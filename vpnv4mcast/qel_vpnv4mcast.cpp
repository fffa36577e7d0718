#include "qel_vpnv4mcast.h"

#include "platform/bounds.h"
#include "platform/kvo.h"
#include "platform/zvk.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_vpnv4mcast_cross.h"
#include "qel_vpnv4mcast_irt.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

static constexpr uint8_t QEL_VPNV4MCAST_FAMILY_CODE = 1;
static constexpr uint32_t QEL_VPNV4MCAST_ROUTE_TYPE = 10;
static constexpr uint32_t QEL_VPNV4MCAST_LABEL_TYPE = 3;
static constexpr uint32_t QEL_VPNV4MCAST_LABEL_COUNT = 1;

/* Construction. */

/* Copies a list of type codes and returns its count byte. */
static uint8_t QEL_VPNV4MCAST_CopyTypes_(uint32_t *pauiTypes, const uint32_t *pauiFrom, size_t ulBytes)
{
    memcpy(pauiTypes, pauiFrom, ulBytes);
    return static_cast<uint8_t>(ulBytes / sizeof(uint32_t));
}

/* kept: in this order, which is not that of the other families; the host shows the list */
void QEL_VPNV4MCAST_ConstructHaMsgTlv(QEL_FAMILY_DESC_S *pstDesc)
{
    static constexpr uint32_t auiTypes[] = {1, 3, 5, 8, 6, 7};
    pstDesc->ucHaMsgTlvCount = QEL_VPNV4MCAST_CopyTypes_(pstDesc->auiHaMsgTlvTypes, auiTypes, sizeof(auiTypes));
}

static void QEL_VPNV4MCAST_InitTypes_(QEL_FAMILY_DESC_S *pstDesc)
{
    /* 256 is no attribute of BGP: it selects the NLRI form without a label */
    static constexpr uint32_t auiPktTypes[] = {14, 15, 16, 256};
    static constexpr uint32_t auiAttrMsgTypes[] = {11, 21};

    pstDesc->ucFamilyCode = QEL_VPNV4MCAST_FAMILY_CODE;
    pstDesc->ucPktAttrCount = QEL_VPNV4MCAST_CopyTypes_(pstDesc->auiPktAttrTypes, auiPktTypes, sizeof(auiPktTypes));
    pstDesc->ucMsgTlvCount = 0;
    QEL_VPNV4MCAST_ConstructHaMsgTlv(pstDesc);
    pstDesc->ucAttrMsgTlvCount =
        QEL_VPNV4MCAST_CopyTypes_(pstDesc->auiAttrMsgTlvTypes, auiAttrMsgTypes, sizeof(auiAttrMsgTypes));
}

static void QEL_VPNV4MCAST_InitPolicy_(QEL_FAMILY_DESC_S *pstDesc)
{
    /* kept: beside RD and extended community a bit 0x10 that no match row backs; the host sees it. The third mask has
     * no RD. */
    static constexpr uint32_t auiMatchTypes[] = {0x814, 0x814, 0x14};
    static constexpr uint32_t auiActionBits[] = {0xC0, 0x70, 0x800000, 0};
    static constexpr uint32_t auiActions[] = {6, 7, 36, 37, 38, 87};
    static_assert(sizeof(auiMatchTypes) < sizeof(pstDesc->auiMatchTypeMask));
    static_assert(sizeof(auiActionBits) == sizeof(pstDesc->auiActionTypeBits));

    memcpy(pstDesc->auiMatchTypeMask, auiMatchTypes, sizeof(auiMatchTypes));
    memcpy(pstDesc->auiActionTypeBits, auiActionBits, sizeof(auiActionBits));
    pstDesc->ucPolicyActionCount =
        QEL_VPNV4MCAST_CopyTypes_(pstDesc->auiPolicyActionTypes, auiActions, sizeof(auiActions));
    pstDesc->ucApplyActionCount =
        QEL_VPNV4MCAST_CopyTypes_(pstDesc->auiApplyActionTypes, auiActions, sizeof(auiActions));
}

static void QEL_VPNV4MCAST_InitCallBack_(QEL_FAMILY_DESC_S *pstDesc)
{
    pstDesc->pfParsePkt = QEL_VPNV4MCAST_ParsePkt;
    pstDesc->pfFormatPkt = QEL_VPNV4MCAST_FormatPkt;
    pstDesc->pfSetAttr = QEL_VPNV4MCAST_SetAttr;
    pstDesc->pfParseMsg = QEL_VPNV4MCAST_ParseMsg;
    pstDesc->pfFormatMsg = QEL_VPNV4MCAST_FormatMsg;
    pstDesc->pfParseHaMsg = QEL_VPNV4MCAST_ParseHaMsg;
    pstDesc->pfFormatHaMsg = QEL_VPNV4MCAST_FormatHaMsg;
    pstDesc->pfParseAttrMsg = QEL_VPNV4MCAST_ParseAttrMsg;
    pstDesc->pfFormatAttrMsg = QEL_VPNV4MCAST_FormatAttrMsg;
    pstDesc->pfParseCfg = QEL_VPNV4MCAST_ParseCfg;
    pstDesc->pfFormatCfg = QEL_VPNV4MCAST_FormatCfg;
    pstDesc->pfConstructRtpEntry = QEL_VPNV4MCAST_ConstructRtpEntry;
    pstDesc->pfParseAddAttrMsg = QEL_VPNV4MCAST_ParseAddAttrMsg;
    pstDesc->pfGetRouteType = QEL_VPNV4MCAST_GetRouteType;
    pstDesc->pfConstructMatch = QEL_VPNV4MCAST_ConstructMatch;
    pstDesc->pfApplyAction = QEL_VPNV4MCAST_ApplyAction;
    pstDesc->pfGetCross = QEL_VPNV4MCAST_GetCross;
    pstDesc->pfGetExtCommunity = QEL_VPNV4MCAST_GetExtCommunity;
    pstDesc->pfCmpData = QEL_VPNV4MCAST_CmpData;
    pstDesc->pfData2Str = QEL_VPNV4MCAST_Data2Str;
    pstDesc->pfSetRtCount = QEL_VPNV4MCAST_SetRtCount;
    pstDesc->pfGetRtCount = QEL_VPNV4MCAST_GetRtCount;
    pstDesc->pfGetLabelType = QEL_VPNV4MCAST_GetLabelType;
    /* kept: the one spare slot that is written; the others belong to the host, which sees the difference */
    pstDesc->pfSpare30 = nullptr;
}

QEL_FAMILY_CTX_S *QEL_VPNV4MCAST_Construct(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle)
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

    QEL_VPNV4MCAST_InitTypes_(pstDesc);
    QEL_VPNV4MCAST_InitPolicy_(pstDesc);
    QEL_VPNV4MCAST_InitCallBack_(pstDesc);
    return pstCtx;
}

void QEL_VPNV4MCAST_Destruct(QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstCtx)) {
        return;
    }
    ZVK_Free_F(pstCtx, __FILE__, __LINE__);
}

/* Scratch memory. */

void *QEL_VPNV4MCAST_Malloc(QEL_FAMILY_CTX_S *pstCtx, uint32_t uiSize)
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

void QEL_VPNV4MCAST_Free(void **ppvMem, QEL_FAMILY_CTX_S *pstCtx)
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

/* Tables of types and handlers, each with its lookup. The family has no message TLVs. */

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastPktParseTbl[] = {
    {14, {.pfParsePkt = QEL_VPNV4MCAST_ParseMpNlri}},
    {15, {.pfParsePkt = QEL_VPNV4MCAST_ParseMpNlri}},
    {16, {.pfParsePkt = QEL_VPNV4MCAST_ParseExtCommunity}},
    {256, {.pfParsePkt = QEL_VPNV4MCAST_ParseMpNlriWithoutLabel}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetPktParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastPktParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastPktFormatTbl[] = {
    {14, {.pfFormatPkt = QEL_VPNV4MCAST_FormatMpNlri}},
    {15, {.pfFormatPkt = QEL_VPNV4MCAST_FormatMpNlri}},
    {16, {.pfFormatPkt = QEL_VPNV4MCAST_FormatExtCommunity}},
    {256, {.pfFormatPkt = QEL_VPNV4MCAST_FormatMpNlriWithoutLabel}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetPktFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastPktFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastHaMsgParseTbl[] = {
    {1, {.pfParseMsg = QEL_VPNV4MCAST_ParseRtPrefixTlv}}, {3, {.pfParseMsg = QEL_VPNV4MCAST_ParseRtPrefixTlv}},
    {5, {.pfParseMsg = QEL_VPNV4MCAST_ParseRtPrefixTlv}}, {8, {.pfParseMsg = QEL_VPNV4MCAST_ParseRtPrefixTlv}},
    {6, {.pfParseMsg = QEL_VPNV4MCAST_ParseIrtTlv}},      {7, {.pfParseMsg = QEL_VPNV4MCAST_ParseIrtTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetHaiMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastHaMsgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastHaMsgFormatTbl[] = {
    {1, {.pfFormatMsg = QEL_VPNV4MCAST_FormatRtPrefixTlv}}, {3, {.pfFormatMsg = QEL_VPNV4MCAST_FormatRtPrefixTlv}},
    {5, {.pfFormatMsg = QEL_VPNV4MCAST_FormatRtPrefixTlv}}, {8, {.pfFormatMsg = QEL_VPNV4MCAST_FormatRtPrefixTlv}},
    {6, {.pfFormatMsg = QEL_VPNV4MCAST_FormatIrtTlv}},      {7, {.pfFormatMsg = QEL_VPNV4MCAST_FormatIrtTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetHaiMsgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastHaMsgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastAttrMsgParseTbl[] = {
    {11, {.pfParseMsg = QEL_VPNV4MCAST_ParseExtCommunityTlv}},
    {21, {.pfParseMsg = QEL_VPNV4MCAST_ParseExtCommunityTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetAttrMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastAttrMsgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastAttrMsgFormatTbl[] = {
    {11, {.pfFormatMsg = QEL_VPNV4MCAST_FormatExtCommunityTlv}},
    {21, {.pfFormatMsg = QEL_VPNV4MCAST_FormatExtCommunityTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetAttrMsgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastAttrMsgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastCfgParseTbl[] = {
    {1, {.pfParseMsg = QEL_VPNV4MCAST_ParseCfgRd}},
    {2, {.pfParseMsg = QEL_VPNV4MCAST_ParseCfgPrefix}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetCfgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastCfgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastCfgFormatTbl[] = {
    {1, {.pfFormatCfg = QEL_VPNV4MCAST_FormatCfgRd}},
    {2, {.pfFormatCfg = QEL_VPNV4MCAST_FormatCfgPrefix}},
    {4, {.pfFormatCfg = QEL_VPNV4MCAST_FormatCfgExtCommunity}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetCfgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastCfgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastData2StrTbl[] = {
    {1, {.pfData2Str = QEL_VPNV4MCAST_MpNlriData2Str}},
    {2, {.pfData2Str = QEL_VPNV4MCAST_ExtCommunity2Str}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetData2StrEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastData2StrTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastCmpDataTbl[] = {
    {1, {.pfCmpData = QEL_VPNV4MCAST_CmpRd}},     {2, {.pfCmpData = QEL_VPNV4MCAST_CmpKey}},
    {32, {.pfCmpData = QEL_VPNV4MCAST_CmpLabel}}, {8, {.pfCmpData = QEL_VPNV4MCAST_CmpAttr}},
    {16, {.pfCmpData = QEL_VPNV4MCAST_CmpCross}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetDataCmpEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastCmpDataTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastSetAttrTbl[] = {
    {16, {.pfSetAttr = QEL_VPNV4MCAST_SetExtCommunity}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetAttrSetEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastSetAttrTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastApplyActionTbl[] = {
    {6, {.pfApplyAction = QEL_VPNV4MCAST_ApplyExtCommunity}},
    {7, {.pfApplyAction = QEL_VPNV4MCAST_ApplyExtCommunity}},
    {87, {.pfApplyAction = QEL_VPNV4MCAST_ApplyExtCommunity}},
    {36, {.pfApplyAction = QEL_VPNV4MCAST_ApplyExtCommunity}},
    {37, {.pfApplyAction = QEL_VPNV4MCAST_ApplyExtCommunity}},
    {38, {.pfApplyAction = QEL_VPNV4MCAST_ApplyExtCommunity}},
};

const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetApplyActionEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelVpnV4McastApplyActionTbl, uiType);
}

/* The operations: check the pointers, find the row, go on in its handler. The codes for a type without a handler are
 * not the same for all operations; the host tells the operations apart by them. */

uint32_t QEL_VPNV4MCAST_ParsePkt(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t /* uiIgnored */,
                                 uint32_t uiAttrType, QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                 QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen == 0) {
        return QEL_OK;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_VPNV4MCAST_GetPktParseEntry(uiAttrType);
    if (pstEntry == nullptr || pstEntry->pfParsePkt == nullptr) {
        /* kept: an unknown attribute is no error, so that the host may offer every attribute of an update */
        return QEL_OK;
    }
    return pstEntry->pfParsePkt(ppucCursor, uiLen, ppstResult, puiMore, pstCtx);
}

uint32_t QEL_VPNV4MCAST_FormatPkt(QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint8_t **ppucCursor,
                                  uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: the context is not checked here, nor in the HA and attribute messages; hosts format without one */
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_VPNV4MCAST_GetPktFormatEntry(uiAttrType);
    if (pstEntry == nullptr || pstEntry->pfFormatPkt == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfFormatPkt(pstRoute, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_VPNV4MCAST_SetAttr(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint32_t uiCtrlFlag,
                                QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_VPNV4MCAST_GetAttrSetEntry(uiAttrType);
    if (pstEntry == nullptr || pstEntry->pfSetAttr == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfSetAttr(pstRoute, uiCtrlFlag, ppstResult, pstCtx);
}

/* Finds the row of a type code. */
typedef const QEL_DISPATCH_ENTRY_S *(*QEL_VPNV4MCAST_LOOKUP_F)(uint32_t uiType);

/* The body of the readers that differ in their table alone. Inlined, so that the handler is one jump away. */
__attribute__((always_inline)) static inline uint32_t
QEL_VPNV4MCAST_ParseTlv_(QEL_VPNV4MCAST_LOOKUP_F pfLookup, const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
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

/* kept: the family has no message TLVs, yet the slot is filled: every type is answered with success and no result */
uint32_t QEL_VPNV4MCAST_ParseMsg(const uint8_t *pucData, uint32_t /* uiLen */, uint32_t /* uiTlvType */,
                                 QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_ParseHaMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                   QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_VPNV4MCAST_ParseTlv_(QEL_VPNV4MCAST_GetHaiMsgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

uint32_t QEL_VPNV4MCAST_ParseAttrMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                     QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_VPNV4MCAST_ParseTlv_(QEL_VPNV4MCAST_GetAttrMsgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

uint32_t QEL_VPNV4MCAST_ParseCfg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                 QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_VPNV4MCAST_ParseTlv_(QEL_VPNV4MCAST_GetCfgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

/* The body of the writers that differ in their table alone; the context may be null. */
__attribute__((always_inline)) static inline uint32_t
QEL_VPNV4MCAST_FormatTlv_(QEL_VPNV4MCAST_LOOKUP_F pfLookup, const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType,
                          uint8_t **ppucCursor, uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
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

/* kept: as QEL_VPNV4MCAST_ParseMsg, every type is answered with success and nothing is written */
uint32_t QEL_VPNV4MCAST_FormatMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t /* uiTlvType */, uint8_t **ppucCursor,
                                  uint32_t /* uiOutLen */, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_FormatHaMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                    uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_VPNV4MCAST_FormatTlv_(QEL_VPNV4MCAST_GetHaiMsgFormatEntry, pstRoute, uiTlvType, ppucCursor, uiOutLen,
                                     pstCtx);
}

uint32_t QEL_VPNV4MCAST_FormatAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                      uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_VPNV4MCAST_FormatTlv_(QEL_VPNV4MCAST_GetAttrMsgFormatEntry, pstRoute, uiTlvType, ppucCursor, uiOutLen,
                                     pstCtx);
}

uint32_t QEL_VPNV4MCAST_FormatCfg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, uint8_t **ppucCursor,
                                  uint32_t uiOutLen, uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_VPNV4MCAST_GetCfgFormatEntry(uiType);
    if (pstEntry == nullptr || pstEntry->pfFormatCfg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfFormatCfg(pstRoute, ppucCursor, uiOutLen, puiIndex, puiMore);
}

/* kept: nothing is merged and nothing is checked, not even a null pointer; the host calls it for every family alike */
uint32_t QEL_VPNV4MCAST_ParseAddAttrMsg(const QEL_ROUTE_INFO_S * /* pstRoute */, const uint8_t * /* pucData */,
                                        uint32_t /* uiLen */, uint32_t /* uiTlvType */,
                                        QEL_ROUTE_BLOCK_S ** /* ppstResult */, QEL_FAMILY_CTX_S * /* pstCtx */)
{
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_ApplyAction(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                    uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: a missing value is refused for every action, also for those that do not read it; hosts always give one */
    if (QEL_Missing(pstRoute) || QEL_Missing(pucValue) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_VPNV4MCAST_GetApplyActionEntry(uiActionType);
    if (pstEntry == nullptr || pstEntry->pfApplyAction == nullptr) {
        return QEL_ERR_NO_ACTION;
    }
    return pstEntry->pfApplyAction(pstRoute, uiActionType, pucValue, uiValueLen, ppstResult, pstCtx);
}

int32_t QEL_VPNV4MCAST_CmpData(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_VPNV4MCAST_GetDataCmpEntry(uiCmpType);
    if (pstEntry == nullptr || pstEntry->pfCmpData == nullptr) {
        return QEL_CMP_FAILED;
    }
    return pstEntry->pfCmpData(pvA, uiLenA, pvB, uiLenB);
}

uint32_t QEL_VPNV4MCAST_Data2Str(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, char *pcOut, uint32_t uiOutLen,
                                 uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_VPNV4MCAST_GetData2StrEntry(uiType);
    if (pstEntry == nullptr || pstEntry->pfData2Str == nullptr) {
        return QEL_ERR_NO_DATA2STR;
    }
    return pstEntry->pfData2Str(pstRoute, pcOut, uiOutLen, puiIndex, puiMore, pstCtx);
}

/* Route type and route counter. */

/* kept: the type is the same for every route, and neither argument is checked; hosts ask without a route */
uint32_t QEL_VPNV4MCAST_GetRouteType(const QEL_ROUTE_INFO_S * /* pstRoute */, uint32_t *puiRouteType)
{
    *puiRouteType = QEL_VPNV4MCAST_ROUTE_TYPE;
    return QEL_OK;
}

/* kept: the refusal is not reported and the number of counters is not looked at; the host keeps a single one here */
uint32_t QEL_VPNV4MCAST_SetRtCount(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *pauiCount, uint32_t /* uiCountNum */,
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
uint32_t QEL_VPNV4MCAST_GetRtCount(const uint32_t *pauiCount, uint32_t /* uiCountNum */, uint32_t /* uiType */,
                                   uint32_t *puiCount)
{
    *puiCount = pauiCount[0];
    return QEL_OK;
}

/* kept: every route answers alike, one without a label too: labels of the host's kind 3, one of them */
uint32_t QEL_VPNV4MCAST_GetLabelType(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiLabelType, uint32_t *puiCount,
                                     uint32_t *puiReserved)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(puiLabelType) || QEL_Missing(puiCount) || QEL_Missing(puiReserved)) {
        return QEL_ERR_NULL;
    }
    *puiLabelType = QEL_VPNV4MCAST_LABEL_TYPE;
    *puiCount = QEL_VPNV4MCAST_LABEL_COUNT;
    *puiReserved = 0;
    return QEL_OK;
}

/* Result blocks. */

uint32_t QEL_VPNV4MCAST_CalcOutputLen(const QEL_VPNV4MCAST_VIEW_S *pstView, uint32_t *puiLen)
{
    if (QEL_Missing(pstView) || QEL_Missing(puiLen)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiLen = sizeof(QEL_ROUTE_BLOCK_S);
    uiLen += (pstView->pucRd != nullptr) ? pstView->uiRdLen : 0;
    uiLen += (pstView->pucKey != nullptr) ? pstView->uiKeyLen : 0;
    uiLen += (pstView->pucLabel != nullptr) ? pstView->uiLabelLen : 0;
    uiLen += (pstView->pucCross != nullptr) ? pstView->uiCrossLen : 0;
    uiLen += (pstView->pucAttr != nullptr) ? pstView->usAttrLen : 0;
    if (uiLen == sizeof(QEL_ROUTE_BLOCK_S)) {
        /* kept: the other families answer QEL_ERR_NULL to such a view; hosts tell the families apart by it */
        return QEL_ERR_ARGUMENT;
    }
    *puiLen = uiLen;
    return QEL_OK;
}

/* Whether the lengths of a view really add up to that total. A sum that went round would have the sections written
 * behind a block too small for them. */
static inline bool QEL_VPNV4MCAST_AddsUp_(const QEL_VPNV4MCAST_VIEW_S *pstView, uint32_t uiTotal)
{
    uint64_t ullLen = sizeof(QEL_ROUTE_BLOCK_S);
    ullLen += (pstView->pucRd != nullptr) ? pstView->uiRdLen : 0;
    ullLen += (pstView->pucKey != nullptr) ? pstView->uiKeyLen : 0;
    ullLen += (pstView->pucLabel != nullptr) ? pstView->uiLabelLen : 0;
    ullLen += (pstView->pucCross != nullptr) ? pstView->uiCrossLen : 0;
    ullLen += (pstView->pucAttr != nullptr) ? pstView->usAttrLen : 0;
    return ullLen == uiTotal;
}

/* A section of the view and the words of the block's header that tell its place. */
typedef struct {
    uint32_t uiLen;
    const uint8_t *pucData;
    uint16_t *pusHdrOffset;
    uint16_t *pusHdrLen;
} QEL_VPNV4MCAST_SECTION_S;

static inline QEL_VPNV4MCAST_SECTION_S QEL_VPNV4MCAST_SectionOf_(QEL_ROUTE_BLOCK_S *pstBlock,
                                                                 const QEL_VPNV4MCAST_VIEW_S *pstView, uint32_t uiBit)
{
    switch (uiBit) {
    case QEL_SECTION_RD:
        return {pstView->uiRdLen, pstView->pucRd, &pstBlock->usRdOffset, &pstBlock->usRdLen};
    case QEL_SECTION_KEY:
        return {pstView->uiKeyLen, pstView->pucKey, &pstBlock->usKeyOffset, &pstBlock->usKeyLen};
    case QEL_SECTION_LABEL:
        return {pstView->uiLabelLen, pstView->pucLabel, &pstBlock->usLabelOffset, &pstBlock->usLabelLen};
    default:
        return {pstView->usAttrLen, pstView->pucAttr, &pstBlock->usAttrOffset, &pstBlock->usAttrLen};
    }
}

/* Step of the next four: appends the section that the bit names, unless it is absent or no space is left. */
static inline uint32_t QEL_VPNV4MCAST_OutputSection_(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain,
                                                     const QEL_VPNV4MCAST_VIEW_S *pstView, uint16_t *pusOffset,
                                                     uint32_t uiBit)
{
    if (QEL_Missing(pstBlock) || QEL_Missing(puiRemain) || QEL_Missing(pstView) || QEL_Missing(pusOffset)) {
        return QEL_ERR_NULL;
    }
    const QEL_VPNV4MCAST_SECTION_S stSection = QEL_VPNV4MCAST_SectionOf_(pstBlock, pstView, uiBit);
    /* kept: an empty section at the very end of a block sets no bit; elsewhere it does, and hosts tell by it */
    if (stSection.pucData == nullptr || *puiRemain == 0) {
        return QEL_OK;
    }
    pstBlock->uiValidMask |= uiBit;
    *stSection.pusHdrOffset = *pusOffset;
    *stSection.pusHdrLen = static_cast<uint16_t>(stSection.uiLen);
    if (uiBit == QEL_SECTION_ATTR) {
        pstBlock->ucAttrFlag = pstView->ucAttrFlag;
        pstBlock->ucAttrType = pstView->ucAttrType;
    }
    QEL_Copy(reinterpret_cast<uint8_t *>(pstBlock) + *pusOffset, *puiRemain, stSection.pucData, stSection.uiLen);
    *puiRemain -= stSection.uiLen;
    *pusOffset = static_cast<uint16_t>(*pusOffset + stSection.uiLen);
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_OutputRd(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_VPNV4MCAST_VIEW_S *pstView,
                                 uint16_t *pusOffset)
{
    return QEL_VPNV4MCAST_OutputSection_(pstBlock, puiRemain, pstView, pusOffset, QEL_SECTION_RD);
}

uint32_t QEL_VPNV4MCAST_OutputKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain,
                                  const QEL_VPNV4MCAST_VIEW_S *pstView, uint16_t *pusOffset)
{
    return QEL_VPNV4MCAST_OutputSection_(pstBlock, puiRemain, pstView, pusOffset, QEL_SECTION_KEY);
}

uint32_t QEL_VPNV4MCAST_OutputLabel(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain,
                                    const QEL_VPNV4MCAST_VIEW_S *pstView, uint16_t *pusOffset)
{
    return QEL_VPNV4MCAST_OutputSection_(pstBlock, puiRemain, pstView, pusOffset, QEL_SECTION_LABEL);
}

uint32_t QEL_VPNV4MCAST_OutputAttr(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain,
                                   const QEL_VPNV4MCAST_VIEW_S *pstView, uint16_t *pusOffset)
{
    return QEL_VPNV4MCAST_OutputSection_(pstBlock, puiRemain, pstView, pusOffset, QEL_SECTION_ATTR);
}

QEL_HOT_PATH uint32_t QEL_VPNV4MCAST_OutputData(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_VPNV4MCAST_VIEW_S *pstView,
                                                uint32_t uiMemHandle)
{
    if (QEL_Missing(ppstBlock) || QEL_Missing(pstView) || QEL_Zero(uiMemHandle)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiTotal = 0;
    const uint32_t uiRet = QEL_VPNV4MCAST_CalcOutputLen(pstView, &uiTotal);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    /* kept: a sum that wrapped to less than a header is answered with success and no block; nothing may be allocated
     * for it */
    if (uiTotal <= sizeof(QEL_ROUTE_BLOCK_S)) {
        return QEL_OK;
    }
    if (!QEL_VPNV4MCAST_AddsUp_(pstView, uiTotal)) {
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
    (void)QEL_VPNV4MCAST_OutputRd(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_VPNV4MCAST_OutputKey(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_VPNV4MCAST_OutputLabel(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_VPNV4MCAST_OutputAttr(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_VPNV4MCAST_OutputCross(pstBlock, &uiRemain, pstView, &usOffset);
    *ppstBlock = pstBlock;
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_BuildNoneValueOutput(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_FAMILY_CTX_S *pstCtx)
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

/* Byte order. */

static constexpr uint32_t QEL_VPNV4MCAST_RD_LEN = sizeof(QEL_RD_VALUE_S);
static constexpr uint32_t QEL_VPNV4MCAST_KEY_LEN = sizeof(QEL_VPNV4MCAST_KEY_S);
static constexpr uint32_t QEL_VPNV4MCAST_EXTCOMM_LEN = sizeof(QEL_EXTCOMM_S);

/* The six bytes behind a type word: 16 and 32 bits, or 32 and 16 bits. */
static void QEL_VPNV4MCAST_SwapAs2_(uint8_t *pucValue)
{
    QEL_SwapAt16(pucValue);
    QEL_SwapAt32(pucValue + sizeof(uint16_t));
}

static void QEL_VPNV4MCAST_SwapIp4_(uint8_t *pucValue)
{
    QEL_SwapAt32(pucValue);
    QEL_SwapAt16(pucValue + sizeof(uint32_t));
}

/* False, with nothing swapped, for an RD type above 2. */
static bool QEL_VPNV4MCAST_SwapRdValue_(uint16_t usRdType, QEL_RD_VALUE_S *pstRd)
{
    switch (usRdType) {
    case 0:
        QEL_VPNV4MCAST_SwapAs2_(pstRd->aucValue);
        return true;
    case 1:
    case 2:
        QEL_VPNV4MCAST_SwapIp4_(pstRd->aucValue);
        return true;
    default:
        return false;
    }
}

void QEL_VPNV4MCAST_GET_RD_VALUE(const uint8_t **ppucCursor, QEL_RD_VALUE_S *pstRd, uint32_t *puiResult)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(pstRd) || QEL_Missing(puiResult)) {
        return;
    }
    QEL_Copy(pstRd, sizeof(*pstRd), *ppucCursor, sizeof(*pstRd));
    pstRd->usRdType = QEL_Swap16(pstRd->usRdType);
    if (!QEL_VPNV4MCAST_SwapRdValue_(pstRd->usRdType, pstRd)) {
        *puiResult = QEL_ERR_VALUE;
        return;
    }
    *ppucCursor += sizeof(*pstRd);
    *puiResult = QEL_OK;
}

void QEL_VPNV4MCAST_ConvertRDValueHTON(QEL_RD_VALUE_S *pstRd)
{
    if (QEL_Missing(pstRd)) {
        return;
    }
    (void)QEL_VPNV4MCAST_SwapRdValue_(pstRd->usRdType, pstRd);
    pstRd->usRdType = QEL_Swap16(pstRd->usRdType);
}

/* kept: a list swaps the value of every type and knows two exceptions, a single target swaps listed types alone; the
 * wire needs both, folding them would change unknown communities on their way through */
static void QEL_VPNV4MCAST_SwapListValue_(uint16_t usType, QEL_EXTCOMM_S *pstExtComm)
{
    if (usType == 0x0002 || usType == 0x0009) {
        QEL_VPNV4MCAST_SwapAs2_(pstExtComm->aucValue);
    } else {
        QEL_VPNV4MCAST_SwapIp4_(pstExtComm->aucValue);
    }
}

void QEL_VPNV4MCAST_ConvertExtCommunityNTOH(QEL_EXTCOMM_S *pastList, uint32_t uiCount)
{
    if (QEL_Missing(pastList)) {
        return;
    }
    for (uint32_t i = 0; i < uiCount; i++) {
        pastList[i].usType = QEL_Swap16(pastList[i].usType);
        QEL_VPNV4MCAST_SwapListValue_(pastList[i].usType, &pastList[i]);
    }
}

void QEL_VPNV4MCAST_ConvertExtCommunityHTON(QEL_EXTCOMM_S *pastList, uint32_t uiCount)
{
    if (QEL_Missing(pastList)) {
        return;
    }
    for (uint32_t i = 0; i < uiCount; i++) {
        QEL_VPNV4MCAST_SwapListValue_(pastList[i].usType, &pastList[i]);
        pastList[i].usType = QEL_Swap16(pastList[i].usType);
    }
}

/* Routes. */

static constexpr uint32_t QEL_VPNV4MCAST_LABEL_LEN = 3;    /* octets on the wire */
static constexpr uint32_t QEL_VPNV4MCAST_LABEL_BITS = 88;  /* label and RD, in front of the prefix */
static constexpr uint32_t QEL_VPNV4MCAST_PLAIN_BITS = 64;  /* RD alone */
static constexpr uint32_t QEL_VPNV4MCAST_PREFIX_BITS = 32; /* the longest prefix */
static constexpr uint32_t QEL_VPNV4MCAST_WIRE_NO_LABEL = 0xFFFFF;

static uint32_t QEL_VPNV4MCAST_Octets_(uint32_t uiBits)
{
    return (uiBits + 7) >> 3;
}

/* The network mask of a prefix length; 0 for a length that no prefix has. */
static uint32_t QEL_VPNV4MCAST_Mask_(uint32_t uiMaskLen)
{
    if (uiMaskLen == 0 || uiMaskLen > QEL_VPNV4MCAST_PREFIX_BITS) {
        return 0;
    }
    return UINT32_MAX << (QEL_VPNV4MCAST_PREFIX_BITS - uiMaskLen);
}

static const QEL_VPNV4MCAST_KEY_AT_S *QEL_VPNV4MCAST_KeyOf_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return reinterpret_cast<const QEL_VPNV4MCAST_KEY_AT_S *>(pstRoute->pucKey);
}

uint32_t QEL_VPNV4MCAST_Output(QEL_ROUTE_BLOCK_S **ppstResult, const QEL_RD_VALUE_S *pstRd, uint32_t uiRdLen,
                               const QEL_VPNV4MCAST_KEY_S *pstKey, const uint32_t *puiLabel, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_VPNV4MCAST_VIEW_S stView = {};
    stView.uiRdLen = uiRdLen;
    stView.pucRd = QEL_Bytes(pstRd);
    stView.uiKeyLen = sizeof(*pstKey);
    stView.pucKey = QEL_Bytes(pstKey);
    if (puiLabel != nullptr) {
        stView.uiLabelLen = sizeof(*puiLabel);
        stView.pucLabel = QEL_Bytes(puiLabel);
    }
    return QEL_VPNV4MCAST_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

/* kept: one label and no stack: three octets are taken, and neither the bottom-of-stack bit nor the rest of the low
 * nibble is looked at; a label of ones alone stands for none */
static uint32_t QEL_VPNV4MCAST_TakeLabel_(const uint8_t *pucCursor)
{
    const uint32_t uiLabel = ((static_cast<uint32_t>(pucCursor[0]) << 16) | QEL_LoadBe16(pucCursor + 1)) >> 4;
    return uiLabel == QEL_VPNV4MCAST_WIRE_NO_LABEL ? QEL_VPNV4MCAST_NO_LABEL : uiLabel;
}

/* The prefix octets to a host-order word; bits behind the prefix length never reach it. */
static uint32_t QEL_VPNV4MCAST_TakePrefix_(const uint8_t *pucCursor, uint32_t uiMaskLen)
{
    uint32_t uiPrefix = 0;
    QEL_Copy(&uiPrefix, sizeof(uiPrefix), pucCursor, QEL_VPNV4MCAST_Octets_(uiMaskLen));
    return QEL_Swap32(uiPrefix) & QEL_VPNV4MCAST_Mask_(uiMaskLen);
}

QEL_HOT_PATH uint32_t QEL_VPNV4MCAST_ParseMpNlri_(const uint8_t **ppucCursor, uint32_t uiLen,
                                                  QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                                  uint32_t uiLabelFlag, QEL_FAMILY_CTX_S *pstCtx)
{
    const uint32_t uiLowest = uiLabelFlag != 0 ? QEL_VPNV4MCAST_LABEL_BITS : QEL_VPNV4MCAST_PLAIN_BITS;
    const uint8_t *pucCursor = *ppucCursor;
    const uint32_t uiBits = *pucCursor++;
    const uint32_t uiOctets = QEL_VPNV4MCAST_Octets_(uiBits);
    const uint32_t uiRest = uiLen - 1;
    if (uiOctets > uiRest || uiBits < uiLowest || uiBits > uiLowest + QEL_VPNV4MCAST_PREFIX_BITS) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint32_t uiMore = uiOctets < uiRest ? 1 : 0;
    uint32_t uiLabel = 0;
    if (uiLabelFlag != 0) {
        uiLabel = QEL_VPNV4MCAST_TakeLabel_(pucCursor);
        pucCursor += QEL_VPNV4MCAST_LABEL_LEN;
    }
    QEL_RD_VALUE_S stRd;
    uint32_t uiRdResult = QEL_OK;
    QEL_VPNV4MCAST_GET_RD_VALUE(&pucCursor, &stRd, &uiRdResult);
    if (uiRdResult != QEL_OK) {
        /* kept: the cursor is left on the route's prefix and not behind the route; the core knows */
        *ppucCursor = pucCursor + QEL_VPNV4MCAST_RD_LEN;
        *puiMore = uiMore;
        return QEL_ERR_NLRI_REFUSED;
    }
    QEL_VPNV4MCAST_KEY_S stKey = {};
    stKey.uiMaskLen = uiBits - uiLowest;
    stKey.uiPrefix = QEL_VPNV4MCAST_TakePrefix_(pucCursor, stKey.uiMaskLen);
    const uint32_t uiRet =
        QEL_VPNV4MCAST_Output(ppstResult, &stRd, sizeof(stRd), &stKey, uiLabelFlag != 0 ? &uiLabel : nullptr, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *puiMore = uiMore;
    *ppucCursor += 1 + uiOctets;
    return QEL_OK;
}

static bool QEL_VPNV4MCAST_NlriArgsMissing_(const uint8_t **ppucCursor, uint32_t uiLen,
                                            QEL_ROUTE_BLOCK_S *const *ppstResult, const uint32_t *puiMore,
                                            const QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_Missing(ppucCursor) || QEL_Missing(*ppucCursor) || QEL_Missing(ppstResult) || QEL_Zero(uiLen) ||
           QEL_Missing(puiMore) || QEL_Missing(pstCtx);
}

uint32_t QEL_VPNV4MCAST_ParseMpNlri(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                    uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_VPNV4MCAST_NlriArgsMissing_(ppucCursor, uiLen, ppstResult, puiMore, pstCtx)) {
        return QEL_ERR_NULL;
    }
    return QEL_VPNV4MCAST_ParseMpNlri_(ppucCursor, uiLen, ppstResult, puiMore, 1, pstCtx);
}

uint32_t QEL_VPNV4MCAST_ParseMpNlriWithoutLabel(const uint8_t **ppucCursor, uint32_t uiLen,
                                                QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                                QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_VPNV4MCAST_NlriArgsMissing_(ppucCursor, uiLen, ppstResult, puiMore, pstCtx)) {
        return QEL_ERR_NULL;
    }
    return QEL_VPNV4MCAST_ParseMpNlri_(ppucCursor, uiLen, ppstResult, puiMore, 0, pstCtx);
}

/* Octets of a prefix on the wire, by the low byte of its length; never more than its word has. */
static uint8_t QEL_VPNV4MCAST_PrefixOctets_(uint32_t uiMaskLen)
{
    const uint32_t uiOctets = QEL_VPNV4MCAST_Octets_(uiMaskLen & 0xFF);
    return static_cast<uint8_t>(uiOctets < sizeof(uint32_t) ? uiOctets : sizeof(uint32_t));
}

void QEL_VPNV4MCAST_PutPrefixBytes(uint8_t **ppucCursor, uint8_t ucCount, uint32_t uiPrefix)
{
    if (ucCount == 0) {
        return;
    }
    const uint8_t ucOctets = ucCount < sizeof(uiPrefix) ? ucCount : static_cast<uint8_t>(sizeof(uiPrefix));
    const uint32_t uiWire = QEL_Swap32(uiPrefix);
    QEL_Copy(*ppucCursor, ucOctets, &uiWire, ucOctets);
    *ppucCursor += ucOctets;
}

/* Whether a route with uiBits in front of its prefix has room. kept: the sum is of 32 bits, so that the any-length
 * wildcard wraps to a small number; what is written is tested as well */
static bool QEL_VPNV4MCAST_HasRoom_(uint32_t uiMaskLen, uint32_t uiBits, uint32_t uiOutLen)
{
    return QEL_VPNV4MCAST_Octets_(uiMaskLen + uiBits) + 1 <= uiOutLen &&
           1 + QEL_VPNV4MCAST_Octets_(uiBits) + QEL_VPNV4MCAST_PrefixOctets_(uiMaskLen) <= uiOutLen;
}

/* RD and prefix, the end of both forms. kept: a missing RD is no refusal; its copy fails and is reported */
static void QEL_VPNV4MCAST_PutRdAndPrefix_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut, uint8_t **ppucCursor)
{
    const QEL_VPNV4MCAST_KEY_AT_S *pstKey = QEL_VPNV4MCAST_KeyOf_(pstRoute);
    QEL_Copy(pucOut, QEL_VPNV4MCAST_RD_LEN, pstRoute->pucRd, QEL_VPNV4MCAST_RD_LEN);
    QEL_VPNV4MCAST_ConvertRDValueHTON(reinterpret_cast<QEL_RD_VALUE_S *>(pucOut));
    pucOut += QEL_VPNV4MCAST_RD_LEN;
    QEL_VPNV4MCAST_PutPrefixBytes(&pucOut, QEL_VPNV4MCAST_PrefixOctets_(pstKey->uiMaskLen), pstKey->uiPrefix);
    *ppucCursor = pucOut;
}

uint32_t QEL_VPNV4MCAST_FormatMpNlri(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr || pstRoute->uiLabelLen == 0) {
        return QEL_ERR_ABSENT;
    }
    const uint32_t uiMaskLen = QEL_VPNV4MCAST_KeyOf_(pstRoute)->uiMaskLen;
    if (!QEL_VPNV4MCAST_HasRoom_(uiMaskLen, QEL_VPNV4MCAST_LABEL_BITS, uiOutLen)) {
        return QEL_ERR_SPACE;
    }
    /* kept: the shifted label goes back into the host's record, so that the next format of the record writes another
     * one; the host gives the label anew each time. The low nibble, with the bottom-of-stack bit, goes out as zero;
     * peers of this family do not look at it */
    pstRoute->uiMplsLabel <<= 4;
    uint8_t *pucOut = *ppucCursor;
    pucOut[0] = static_cast<uint8_t>(uiMaskLen + QEL_VPNV4MCAST_LABEL_BITS);
    QEL_StoreBe16(pucOut + 1, static_cast<uint16_t>(pstRoute->uiMplsLabel >> 8));
    pucOut[QEL_VPNV4MCAST_LABEL_LEN] = static_cast<uint8_t>(pstRoute->uiMplsLabel);
    QEL_VPNV4MCAST_PutRdAndPrefix_(pstRoute, pucOut + 1 + QEL_VPNV4MCAST_LABEL_LEN, ppucCursor);
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_FormatMpNlriWithoutLabel(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                                 QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr) {
        return QEL_ERR_ABSENT;
    }
    const uint32_t uiMaskLen = QEL_VPNV4MCAST_KeyOf_(pstRoute)->uiMaskLen;
    if (!QEL_VPNV4MCAST_HasRoom_(uiMaskLen, QEL_VPNV4MCAST_PLAIN_BITS, uiOutLen)) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucOut = *ppucCursor;
    pucOut[0] = static_cast<uint8_t>(uiMaskLen + QEL_VPNV4MCAST_PLAIN_BITS);
    QEL_VPNV4MCAST_PutRdAndPrefix_(pstRoute, pucOut + 1, ppucCursor);
    return QEL_OK;
}

/* The route in messages: RD, prefix and mask length, a word each behind the RD. */

static constexpr uint32_t QEL_VPNV4MCAST_PREFIX_LEN = 16;

uint32_t QEL_VPNV4MCAST_ParseRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    /* kept: longer values are refused as well, with a route's code and no report; MDT takes them, and a tail here is
     * another version's message */
    if (uiLen != QEL_VPNV4MCAST_PREFIX_LEN) {
        return QEL_ERR_NLRI_MALFORMED;
    }
    const uint8_t *pucCursor = pucData;
    QEL_RD_VALUE_S stRd;
    uint32_t uiRdResult = QEL_OK;
    QEL_VPNV4MCAST_GET_RD_VALUE(&pucCursor, &stRd, &uiRdResult);
    if (uiRdResult != QEL_OK) {
        return QEL_ERR_NLRI_REFUSED;
    }
    /* kept: neither masked nor bounded, the any-length wildcard has to pass */
    QEL_VPNV4MCAST_KEY_S stKey = {};
    stKey.uiPrefix = QEL_LoadBe32(pucCursor);
    stKey.uiMaskLen = QEL_LoadBe32(pucCursor + sizeof(uint32_t));
    return QEL_VPNV4MCAST_Output(ppstResult, &stRd, sizeof(stRd), &stKey, nullptr, pstCtx);
}

uint32_t QEL_VPNV4MCAST_FormatRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                          QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr) {
        return QEL_ERR_ABSENT;
    }
    if (uiOutLen < QEL_VPNV4MCAST_PREFIX_LEN) {
        return QEL_ERR_SPACE;
    }
    /* kept: as on the wire, a missing RD is a copy that fails and is reported, no refusal; backups have such routes */
    const QEL_VPNV4MCAST_KEY_AT_S *pstKey = QEL_VPNV4MCAST_KeyOf_(pstRoute);
    uint8_t *pucOut = *ppucCursor;
    QEL_Copy(pucOut, QEL_VPNV4MCAST_RD_LEN, pstRoute->pucRd, QEL_VPNV4MCAST_RD_LEN);
    QEL_VPNV4MCAST_ConvertRDValueHTON(reinterpret_cast<QEL_RD_VALUE_S *>(pucOut));
    QEL_StoreBe32(pucOut + QEL_VPNV4MCAST_RD_LEN, pstKey->uiPrefix);
    QEL_StoreBe32(pucOut + QEL_VPNV4MCAST_RD_LEN + sizeof(uint32_t), pstKey->uiMaskLen);
    *ppucCursor += QEL_VPNV4MCAST_PREFIX_LEN;
    return QEL_OK;
}

/* kept: exported and in no table; no message of the family carries a label of its own, hosts link the names */
uint32_t QEL_VPNV4MCAST_ParseRtLabelTlv(const uint8_t * /* pucData */, uint32_t /* uiLen */,
                                        QEL_ROUTE_BLOCK_S ** /* ppstResult */, QEL_FAMILY_CTX_S * /* pstCtx */)
{
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_FormatRtLabelTlv(const QEL_ROUTE_INFO_S * /* pstRoute */, uint8_t ** /* ppucCursor */,
                                         uint32_t /* uiOutLen */, QEL_FAMILY_CTX_S * /* pstCtx */)
{
    return QEL_OK;
}

/* Compares. */

static int32_t QEL_VPNV4MCAST_Order_(uint32_t uiA, uint32_t uiB)
{
    if (uiA == uiB) {
        return QEL_CMP_EQUAL;
    }
    return uiA < uiB ? QEL_CMP_LESS : QEL_CMP_GREATER;
}

/* True, after a report, unless both are records of that length. */
static bool QEL_VPNV4MCAST_NotRecords_(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                       uint32_t uiLen)
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
int32_t QEL_VPNV4MCAST_CmpRd(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_VPNV4MCAST_NotRecords_(pvA, uiLenA, pvB, uiLenB, QEL_VPNV4MCAST_RD_LEN)) {
        return QEL_CMP_FAILED;
    }
    const int32_t iFirst = QEL_VPNV4MCAST_Order_(QEL_Load32(pvA), QEL_Load32(pvB));
    if (iFirst != QEL_CMP_EQUAL) {
        return iFirst;
    }
    return QEL_VPNV4MCAST_Order_(QEL_Load32(QEL_Bytes(pvA) + sizeof(uint32_t)),
                                 QEL_Load32(QEL_Bytes(pvB) + sizeof(uint32_t)));
}

/* kept: a key of any length equals every length of its prefix, so that this is no total order beside such keys; the
 * host looks routes up with them and stores none */
int32_t QEL_VPNV4MCAST_CmpKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_VPNV4MCAST_NotRecords_(pvA, uiLenA, pvB, uiLenB, QEL_VPNV4MCAST_KEY_LEN)) {
        return QEL_CMP_FAILED;
    }
    const QEL_VPNV4MCAST_KEY_AT_S *pstA = static_cast<const QEL_VPNV4MCAST_KEY_AT_S *>(pvA);
    const QEL_VPNV4MCAST_KEY_AT_S *pstB = static_cast<const QEL_VPNV4MCAST_KEY_AT_S *>(pvB);
    const int32_t iPrefix = QEL_VPNV4MCAST_Order_(pstA->uiPrefix, pstB->uiPrefix);
    if (iPrefix != QEL_CMP_EQUAL) {
        return iPrefix;
    }
    if (pstA->uiMaskLen == QEL_VPNV4MCAST_ANY_LENGTH || pstB->uiMaskLen == QEL_VPNV4MCAST_ANY_LENGTH) {
        return QEL_CMP_EQUAL;
    }
    return QEL_VPNV4MCAST_Order_(pstA->uiMaskLen, pstB->uiMaskLen);
}

int32_t QEL_VPNV4MCAST_CmpLabel(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_VPNV4MCAST_NotRecords_(pvA, uiLenA, pvB, uiLenB, sizeof(uint32_t))) {
        return QEL_CMP_FAILED;
    }
    return QEL_VPNV4MCAST_Order_(QEL_Load32(pvA), QEL_Load32(pvB));
}

static int32_t QEL_VPNV4MCAST_Sign_(int32_t iResult)
{
    return (iResult > 0) - (iResult < 0);
}

int32_t QEL_VPNV4MCAST_CmpAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    if (uiLenA != uiLenB) {
        return QEL_VPNV4MCAST_Order_(uiLenA, uiLenB);
    }
    return QEL_VPNV4MCAST_Sign_(KVO_MemCmp(pvA, pvB, uiLenA));
}

/* kept: the value is read by its Type octet's high byte and not by the layout that the list conversion chose; lists are
 * stored in this order */
static int32_t QEL_VPNV4MCAST_CmpElement_(const QEL_EXTCOMM_S *pstA, const QEL_EXTCOMM_S *pstB)
{
    int32_t iResult = QEL_VPNV4MCAST_Order_(pstA->usType & 0xFF, pstB->usType & 0xFF);
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    iResult = QEL_VPNV4MCAST_Order_(pstA->usType >> 8, pstB->usType >> 8);
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    const uint32_t uiType = pstA->usType >> 8;
    if (uiType == 1 || uiType == 2) {
        iResult = QEL_VPNV4MCAST_Order_(pstA->uiGlobalAdmin, pstB->uiGlobalAdmin);
        return iResult != QEL_CMP_EQUAL ? iResult : QEL_VPNV4MCAST_Order_(pstA->usLocalAdmin, pstB->usLocalAdmin);
    }
    iResult = QEL_VPNV4MCAST_Order_(pstA->usGlobalAdmin, pstB->usGlobalAdmin);
    return iResult != QEL_CMP_EQUAL ? iResult : QEL_VPNV4MCAST_Order_(pstA->uiLocalAdmin, pstB->uiLocalAdmin);
}

int32_t QEL_VPNV4MCAST_CmpExtCommunity(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    if (uiLenA < QEL_VPNV4MCAST_EXTCOMM_LEN || uiLenB < QEL_VPNV4MCAST_EXTCOMM_LEN) {
        QEL_Report(uiLenA < QEL_VPNV4MCAST_EXTCOMM_LEN ? uiLenA : uiLenB);
        return QEL_CMP_FAILED;
    }
    if (uiLenA != uiLenB) {
        return QEL_VPNV4MCAST_Order_(uiLenA, uiLenB);
    }
    if (uiLenA != QEL_VPNV4MCAST_EXTCOMM_LEN) {
        /* kept: the reverse of every other order here, though no caller of the library gives such lengths */
        return -QEL_VPNV4MCAST_Sign_(KVO_MemCmp(pvA, pvB, uiLenA));
    }
    return QEL_VPNV4MCAST_CmpElement_(static_cast<const QEL_EXTCOMM_S *>(pvA), static_cast<const QEL_EXTCOMM_S *>(pvB));
}

/* Extended communities. */

uint32_t QEL_VPNV4MCAST_CheckExtCommLen(uint32_t uiLen)
{
    if (uiLen == 0) {
        return QEL_ERR_EXTCOMM_EMPTY;
    }
    return uiLen % QEL_VPNV4MCAST_EXTCOMM_LEN == 0 ? QEL_OK : QEL_ERR_EXTCOMM_LEN;
}

uint32_t QEL_VPNV4MCAST_SortExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t usCount, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    void *pvScratch = QEL_VPNV4MCAST_Malloc(pstCtx, QEL_VPNV4MCAST_EXTCOMM_LEN);
    if (QEL_Missing(pvScratch)) {
        return QEL_ERR_ALLOC;
    }
    for (uint32_t i = 0; i + 1 < usCount; i++) {
        for (uint32_t j = i + 1; j < usCount; j++) {
            /* kept: a failed compare, -2, is no exchange and no failure; a list is never lost to its order */
            if (QEL_VPNV4MCAST_CmpExtCommunity(&pastList[i], QEL_VPNV4MCAST_EXTCOMM_LEN, &pastList[j],
                                               QEL_VPNV4MCAST_EXTCOMM_LEN) == QEL_CMP_GREATER) {
                QEL_Copy(pvScratch, QEL_VPNV4MCAST_EXTCOMM_LEN, &pastList[i], QEL_VPNV4MCAST_EXTCOMM_LEN);
                QEL_Copy(&pastList[i], (usCount - i) * size_t{QEL_VPNV4MCAST_EXTCOMM_LEN}, &pastList[j],
                         QEL_VPNV4MCAST_EXTCOMM_LEN);
                QEL_Copy(&pastList[j], (usCount - j) * size_t{QEL_VPNV4MCAST_EXTCOMM_LEN}, pvScratch,
                         QEL_VPNV4MCAST_EXTCOMM_LEN);
            }
        }
    }
    QEL_VPNV4MCAST_Free(&pvScratch, pstCtx);
    return QEL_OK;
}

/* kept: bytes decide here and fields in the sort, whose grouping makes equal elements stand together; an empty list
 * comes out with a count of 1, and no caller gives one */
uint32_t QEL_VPNV4MCAST_RemoveDupExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pusCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiKept = 0;
    for (uint32_t j = 1; j < *pusCount; j++) {
        if (KVO_MemCmp(&pastList[j], &pastList[uiKept], QEL_VPNV4MCAST_EXTCOMM_LEN) == 0) {
            continue;
        }
        uiKept++;
        if (uiKept != j) {
            QEL_Copy(&pastList[uiKept], (*pusCount - uiKept) * size_t{QEL_VPNV4MCAST_EXTCOMM_LEN}, &pastList[j],
                     QEL_VPNV4MCAST_EXTCOMM_LEN);
        }
    }
    *pusCount = static_cast<uint16_t>(uiKept + 1);
    return QEL_OK;
}

QEL_HOT_PATH uint32_t QEL_VPNV4MCAST_CleanupExtCommunity(QEL_EXTCOMM_S *pastList, uint16_t *pusCount,
                                                         QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pastList) || QEL_Missing(pusCount) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiRet = QEL_VPNV4MCAST_SortExtCommunitys(pastList, *pusCount, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_VPNV4MCAST_RemoveDupExtCommunitys(pastList, pusCount, pstCtx);
}

static uint32_t QEL_VPNV4MCAST_OutputExtCommunity_(const uint8_t *pucList, uint16_t usLen,
                                                   QEL_ROUTE_BLOCK_S **ppstResult, const QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_VPNV4MCAST_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_EXTCOMM;
    stView.ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    stView.usAttrLen = usLen;
    stView.pucAttr = pucList;
    return QEL_VPNV4MCAST_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

/* Step: the wire list in the work buffer to host order, cleaned up, to a block. */
static uint32_t QEL_VPNV4MCAST_TakeList_(uint8_t *pucWork, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    auto *pastList = reinterpret_cast<QEL_EXTCOMM_S *>(pucWork);
    uint16_t usCount = static_cast<uint16_t>(uiLen / QEL_VPNV4MCAST_EXTCOMM_LEN);
    QEL_VPNV4MCAST_ConvertExtCommunityNTOH(pastList, usCount);
    const uint32_t uiRet = QEL_VPNV4MCAST_CleanupExtCommunity(pastList, &usCount, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_VPNV4MCAST_OutputExtCommunity_(pucWork, static_cast<uint16_t>(usCount * QEL_VPNV4MCAST_EXTCOMM_LEN),
                                              ppstResult, pstCtx);
}

QEL_HOT_PATH uint32_t QEL_VPNV4MCAST_ParseExtCommunity(const uint8_t **ppucCursor, uint32_t uiLen,
                                                       QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                                       QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiRet = QEL_VPNV4MCAST_CheckExtCommLen(uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    auto *pucWork = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (QEL_Missing(pucWork)) {
        return QEL_ERR_ALLOC;
    }
    QEL_Clear(pucWork, uiLen, uiLen);
    QEL_Copy(pucWork, uiLen, *ppucCursor, uiLen);
    uiRet = QEL_VPNV4MCAST_TakeList_(pucWork, uiLen, ppstResult, pstCtx);
    ZVK_Free_F(pucWork, __FILE__, __LINE__);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *puiMore = 0;
    *ppucCursor += uiLen;
    return QEL_OK;
}

/* Step: the route's list through a copy, which is put in network order, to the cursor. */
static void QEL_VPNV4MCAST_PutList_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucCopy, uint16_t usLen,
                                    uint8_t **ppucCursor, uint32_t uiOutLen)
{
    QEL_Copy(pucCopy, usLen, pstRoute->pucExtComm, usLen);
    QEL_VPNV4MCAST_ConvertExtCommunityHTON(reinterpret_cast<QEL_EXTCOMM_S *>(pucCopy),
                                           usLen / QEL_VPNV4MCAST_EXTCOMM_LEN);
    QEL_Copy(*ppucCursor, uiOutLen, pucCopy, usLen);
    *ppucCursor += usLen;
}

uint32_t QEL_VPNV4MCAST_FormatExtCommunity(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
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
    QEL_VPNV4MCAST_PutList_(pstRoute, pucCopy, usLen, ppucCursor, uiOutLen);
    ZVK_Free_F(pucCopy, __FILE__, __LINE__);
    return QEL_OK;
}

/* kept: no clean-up here, unlike the path attribute: order, duplicates and an odd tail are the sender's */
uint32_t QEL_VPNV4MCAST_ParseExtCommunityTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                             QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen < QEL_VPNV4MCAST_EXTCOMM_LEN) {
        return QEL_ERR_EXTCOMM_TLV;
    }
    void *pvCopy = QEL_VPNV4MCAST_Malloc(pstCtx, uiLen);
    if (QEL_Missing(pvCopy)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Copy(pvCopy, uiLen, pucData, uiLen);
    QEL_VPNV4MCAST_ConvertExtCommunityNTOH(static_cast<QEL_EXTCOMM_S *>(pvCopy), uiLen / QEL_VPNV4MCAST_EXTCOMM_LEN);
    const uint32_t uiRet =
        QEL_VPNV4MCAST_OutputExtCommunity_(QEL_Bytes(pvCopy), static_cast<uint16_t>(uiLen), ppstResult, pstCtx);
    QEL_VPNV4MCAST_Free(&pvCopy, pstCtx);
    return uiRet;
}

/* kept: the context is not checked; without one the copy cannot be had, which answers 3 */
uint32_t QEL_VPNV4MCAST_FormatExtCommunityTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
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
    void *pvCopy = QEL_VPNV4MCAST_Malloc(pstCtx, usLen);
    if (QEL_Missing(pvCopy)) {
        return QEL_ERR_MEMORY;
    }
    QEL_VPNV4MCAST_PutList_(pstRoute, static_cast<uint8_t *>(pvCopy), usLen, ppucCursor, uiOutLen);
    QEL_VPNV4MCAST_Free(&pvCopy, pstCtx);
    return QEL_OK;
}

/* Texts. */

static constexpr uint32_t QEL_VPNV4MCAST_RD_FLAG_PLAIN = 0x1; /* uiRdFlags: the display form */
static constexpr uint32_t QEL_VPNV4MCAST_IPV4_TEXT_LEN = 16;
static constexpr uint32_t QEL_VPNV4MCAST_NUMBER_TEXT_LEN = 11;
static constexpr uint32_t QEL_VPNV4MCAST_RD_TEXT_LEN = 24;
static constexpr uint32_t QEL_VPNV4MCAST_TEXT_LEN = 256; /* a route, a community */

/* A finished text to the caller's buffer, with its closing zero. */
static uint32_t QEL_VPNV4MCAST_PutText_(char *pcOut, uint32_t uiOutLen, const char *pcText, uint32_t uiLen)
{
    if (uiLen >= uiOutLen) {
        return QEL_ERR_SPACE;
    }
    QEL_Copy(pcOut, uiOutLen, pcText, uiLen);
    pcOut[uiLen] = '\0';
    return QEL_OK;
}

static void QEL_VPNV4MCAST_EndText_(uint32_t *puiIndex, uint32_t *puiMore)
{
    *puiIndex = 0;
    *puiMore = 0;
}

/* A cleared text buffer; null after a report. */
static void *QEL_VPNV4MCAST_TextBuf_(QEL_FAMILY_CTX_S *pstCtx)
{
    void *pvBuf = QEL_VPNV4MCAST_Malloc(pstCtx, QEL_VPNV4MCAST_TEXT_LEN);
    if (!QEL_Missing(pvBuf)) {
        QEL_Clear(pvBuf, QEL_VPNV4MCAST_TEXT_LEN, QEL_VPNV4MCAST_TEXT_LEN);
    }
    return pvBuf;
}

/* Appends to a text; what has no room is reported and left out. */
static void QEL_VPNV4MCAST_Append_(char *pcOut, uint32_t uiOutLen, const char *pszText)
{
    const int32_t iResult = strcat_s(pcOut, uiOutLen, pszText);
    if (iResult != 0) {
        QEL_Report(static_cast<uint64_t>(iResult));
    }
}

static void QEL_VPNV4MCAST_AppendNumber_(char *pcOut, uint32_t uiOutLen, uint32_t uiNumber)
{
    static constexpr uint32_t uiDecimal = 10;
    char acNumber[QEL_VPNV4MCAST_NUMBER_TEXT_LEN] = {};
    QEL_VPNV4MCAST_Append_(pcOut, uiOutLen, KVO_Uint32ToStr(uiNumber, acNumber, uiDecimal));
}

/* kept: a text that has no room is reported and the answer is success all the same; callers give enough */
uint32_t QEL_VPNV4MCAST_RdValueToStr(const QEL_RD_VALUE_S *pstRd, char *pcOut, uint32_t uiOutLen)
{
    if (QEL_Missing(pstRd) || QEL_Missing(pcOut)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen != 0) {
        pcOut[0] = '\0';
    }
    char acAddr[QEL_VPNV4MCAST_IPV4_TEXT_LEN] = {};
    uint32_t uiAssigned = pstRd->usAssigned;
    switch (pstRd->usRdType) {
    case 0:
        QEL_VPNV4MCAST_AppendNumber_(pcOut, uiOutLen, pstRd->usAsn);
        uiAssigned = pstRd->uiAssigned;
        break;
    case 1:
        QEL_VPNV4MCAST_Append_(pcOut, uiOutLen, KVO_IpAddrToStr(pstRd->uiAdmin, acAddr));
        break;
    case 2:
        QEL_VPNV4MCAST_AppendNumber_(pcOut, uiOutLen, pstRd->uiAdmin >> 16);
        QEL_VPNV4MCAST_Append_(pcOut, uiOutLen, ".");
        QEL_VPNV4MCAST_AppendNumber_(pcOut, uiOutLen, pstRd->uiAdmin & 0xFFFF);
        break;
    default:
        return QEL_ERR_VALUE;
    }
    QEL_VPNV4MCAST_Append_(pcOut, uiOutLen, ":");
    QEL_VPNV4MCAST_AppendNumber_(pcOut, uiOutLen, uiAssigned);
    return QEL_OK;
}

/* kept: no blank behind the text, the key's own length even where no prefix has it, and the missing label as its
 * number; operators' scripts read it so */
static int32_t QEL_VPNV4MCAST_Route2Str_(const QEL_ROUTE_INFO_S *pstRoute, char *pcBuf)
{
    char acRd[QEL_VPNV4MCAST_RD_TEXT_LEN] = {};
    char acPrefix[QEL_VPNV4MCAST_IPV4_TEXT_LEN] = {};
    /* kept: an RD that has no text is shown as nothing */
    (void)QEL_VPNV4MCAST_RdValueToStr(reinterpret_cast<const QEL_RD_VALUE_S *>(pstRoute->pucRd), acRd, sizeof(acRd));
    const QEL_VPNV4MCAST_KEY_AT_S *pstKey = QEL_VPNV4MCAST_KeyOf_(pstRoute);
    const char *pszPrefix = KVO_IpAddrToStr(pstKey->uiPrefix, acPrefix);
    const uint32_t uiMaskLen = pstKey->uiMaskLen;
    if (pstRoute->uiLabelLen != 0) {
        return snprintf_truncated_s(pcBuf, QEL_VPNV4MCAST_TEXT_LEN, "%s/%u(<%s> %u)", pszPrefix, uiMaskLen, acRd,
                                    pstRoute->uiMplsLabel);
    }
    return snprintf_truncated_s(pcBuf, QEL_VPNV4MCAST_TEXT_LEN, "%s/%u(<%s>)", pszPrefix, uiMaskLen, acRd);
}

static uint32_t QEL_VPNV4MCAST_PutRouteText_(const QEL_ROUTE_INFO_S *pstRoute, char *pcBuf, char *pcOut,
                                             uint32_t uiOutLen)
{
    const int32_t iLen = QEL_VPNV4MCAST_Route2Str_(pstRoute, pcBuf);
    if (iLen < 0) {
        return QEL_ERR_FAILED;
    }
    return QEL_VPNV4MCAST_PutText_(pcOut, uiOutLen, pcBuf, static_cast<uint32_t>(iLen));
}

uint32_t QEL_VPNV4MCAST_MpNlriData2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen,
                                       uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucKey == nullptr || pstRoute->pucRd == nullptr) {
        return QEL_ERR_ABSENT;
    }
    void *pvBuf = QEL_VPNV4MCAST_TextBuf_(pstCtx);
    if (pvBuf == nullptr) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet = QEL_VPNV4MCAST_PutRouteText_(pstRoute, static_cast<char *>(pvBuf), pcOut, uiOutLen);
    QEL_VPNV4MCAST_Free(&pvBuf, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_VPNV4MCAST_EndText_(puiIndex, puiMore);
    return QEL_OK;
}

/* kept: the two import types are told apart here, the other families show one word for both */
static const char *QEL_VPNV4MCAST_ExtCommWord_(uint16_t usType)
{
    switch (usType & 0xFF) {
    case 2:
        return "RT";
    case 3:
        return "SoO";
    case 9:
        return "Source AS";
    case 10:
        return "Import RT(type:0x0A)";
    case 11:
        return "Import RT(type:0x0B)";
    default:
        return nullptr;
    }
}

/* The characters of a formatted piece; one that can't be formed is reported and has none. */
static uint32_t QEL_VPNV4MCAST_Characters_(int32_t iLen)
{
    if (iLen < 0) {
        QEL_Report(static_cast<uint64_t>(iLen));
        return 0;
    }
    return static_cast<uint32_t>(iLen);
}

/* The value by the Type octet; none for a Type above 2. */
static uint32_t QEL_VPNV4MCAST_ExtCommValue2Str_(const QEL_EXTCOMM_S *pstExtComm, char *pcOut, uint32_t uiOutLen,
                                                 uint8_t ucAs4Plain)
{
    const uint32_t uiAdmin = pstExtComm->uiGlobalAdmin;
    const uint32_t uiAssigned = pstExtComm->usLocalAdmin;
    char acAddr[QEL_VPNV4MCAST_IPV4_TEXT_LEN] = {};
    switch (pstExtComm->usType >> 8) {
    case 0:
        return QEL_VPNV4MCAST_Characters_(snprintf_truncated_s(pcOut, uiOutLen, " <%u : %u>",
                                                               static_cast<uint32_t>(pstExtComm->usGlobalAdmin),
                                                               static_cast<uint32_t>(pstExtComm->uiLocalAdmin)));
    case 1:
        return QEL_VPNV4MCAST_Characters_(
            snprintf_truncated_s(pcOut, uiOutLen, " <%s : %u>", KVO_IpAddrToStr(uiAdmin, acAddr), uiAssigned));
    case 2:
        if (ucAs4Plain != 0 && (uiAdmin >> 16) != 0) {
            return QEL_VPNV4MCAST_Characters_(snprintf_truncated_s(pcOut, uiOutLen, " <%u : %u>", uiAdmin, uiAssigned));
        }
        return QEL_VPNV4MCAST_Characters_(
            snprintf_truncated_s(pcOut, uiOutLen, " <%u.%u : %u>", uiAdmin >> 16, uiAdmin & 0xFFFF, uiAssigned));
    default:
        return 0;
    }
}

uint32_t QEL_VPNV4MCAST_ExtCommVal2Str(const QEL_EXTCOMM_S *pstExtComm, char *pcOut, uint32_t uiOutLen,
                                       uint32_t *puiLen, uint8_t ucAs4Plain)
{
    if (QEL_Missing(pstExtComm) || QEL_Missing(pcOut) || QEL_Missing(puiLen)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen != 0) {
        pcOut[0] = '\0';
    }
    const char *pszWord = QEL_VPNV4MCAST_ExtCommWord_(pstExtComm->usType);
    const uint32_t uiWord =
        pszWord == nullptr ? 0 : QEL_VPNV4MCAST_Characters_(snprintf_truncated_s(pcOut, uiOutLen, "%s", pszWord));
    *puiLen = uiWord + QEL_VPNV4MCAST_ExtCommValue2Str_(pstExtComm, pcOut + uiWord, uiOutLen - uiWord, ucAs4Plain);
    return QEL_OK;
}

/* A list at its end: *puiMore gets 0. */
static bool QEL_VPNV4MCAST_AtListEnd_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiIndex, uint32_t *puiMore)
{
    if (pstRoute->pucExtComm != nullptr && pstRoute->uiExtCommLen / QEL_VPNV4MCAST_EXTCOMM_LEN > uiIndex) {
        return false;
    }
    *puiMore = 0;
    return true;
}

/* The community at the caller's place, through a cleared buffer, to the caller's text; the place moves on. */
static uint32_t QEL_VPNV4MCAST_PutExtCommText_(const QEL_ROUTE_INFO_S *pstRoute, char *pcBuf, char *pcOut,
                                               uint32_t uiOutLen, uint32_t *puiIndex, uint32_t *puiMore)
{
    const auto *pastList = reinterpret_cast<const QEL_EXTCOMM_S *>(pstRoute->pucExtComm);
    uint32_t uiLen = 0;
    (void)QEL_VPNV4MCAST_ExtCommVal2Str(&pastList[*puiIndex], pcBuf, QEL_VPNV4MCAST_TEXT_LEN, &uiLen,
                                        static_cast<uint8_t>(pstRoute->uiRdFlags & QEL_VPNV4MCAST_RD_FLAG_PLAIN));
    const uint32_t uiRet = QEL_VPNV4MCAST_PutText_(pcOut, uiOutLen, pcBuf, uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *puiIndex += 1;
    *puiMore = pstRoute->uiExtCommLen / QEL_VPNV4MCAST_EXTCOMM_LEN > *puiIndex ? 1 : 0;
    return QEL_OK;
}

/* kept: the context is not checked here; without one the buffer cannot be had, which answers 3 */
uint32_t QEL_VPNV4MCAST_ExtCommunity2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen,
                                         uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    if (QEL_VPNV4MCAST_AtListEnd_(pstRoute, *puiIndex, puiMore)) {
        return QEL_OK;
    }
    void *pvBuf = QEL_VPNV4MCAST_TextBuf_(pstCtx);
    if (pvBuf == nullptr) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet =
        QEL_VPNV4MCAST_PutExtCommText_(pstRoute, static_cast<char *>(pvBuf), pcOut, uiOutLen, puiIndex, puiMore);
    QEL_VPNV4MCAST_Free(&pvBuf, pstCtx);
    return uiRet;
}

/* Configuration records. */

static constexpr uint32_t QEL_VPNV4MCAST_CFG_RD_LEN = 16;
static constexpr uint32_t QEL_VPNV4MCAST_CFG_RD_AT = 4;
static constexpr uint32_t QEL_VPNV4MCAST_CFG_PREFIX_LEN = 89;
static constexpr uint32_t QEL_VPNV4MCAST_CFG_PREFIX_USED = 12;
static constexpr uint32_t QEL_VPNV4MCAST_CFG_PREFIX_AT = 4;
static constexpr uint32_t QEL_VPNV4MCAST_CFG_MASK_LEN_AT = 8;

uint32_t QEL_VPNV4MCAST_ParseCfgRd(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen != QEL_VPNV4MCAST_CFG_RD_LEN) {
        QEL_Report(uiLen);
        return QEL_ERR_NULL;
    }
    if (QEL_Load32(pucData) != 0) {
        return QEL_ERR_CFG_RD;
    }
    QEL_VPNV4MCAST_VIEW_S stView = {};
    stView.uiRdLen = sizeof(QEL_RD_VALUE_S);
    stView.pucRd = pucData + QEL_VPNV4MCAST_CFG_RD_AT;
    return QEL_VPNV4MCAST_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

void QEL_VPNV4MCAST_SetVrfRdType(uint8_t *pucRd, uint32_t uiRdFlag)
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

static bool QEL_VPNV4MCAST_CfgArgsMissing_(const uint8_t *pucSection, uint8_t *const *ppucCursor, uint32_t uiOutLen,
                                           const uint32_t *puiIndex, const uint32_t *puiMore)
{
    return QEL_Missing(pucSection) || QEL_Missing(ppucCursor) || QEL_Zero(uiOutLen) || QEL_Missing(puiIndex) ||
           QEL_Missing(puiMore);
}

uint32_t QEL_VPNV4MCAST_FormatCfgRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) ||
        QEL_VPNV4MCAST_CfgArgsMissing_(pstRoute->pucRd, ppucCursor, uiOutLen, puiIndex, puiMore)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen < QEL_VPNV4MCAST_CFG_RD_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucRd = *ppucCursor + QEL_VPNV4MCAST_CFG_RD_AT;
    QEL_Store32(*ppucCursor, 0);
    QEL_Copy(pucRd, sizeof(QEL_RD_VALUE_S), pstRoute->pucRd, pstRoute->uiRdLen);
    QEL_VPNV4MCAST_SetVrfRdType(pucRd, pstRoute->uiRdFlags & QEL_VPNV4MCAST_RD_FLAG_PLAIN);
    QEL_VPNV4MCAST_EndText_(puiIndex, puiMore);
    *ppucCursor += QEL_VPNV4MCAST_CFG_RD_LEN;
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_ParseCfgPrefix(const uint8_t *pucData, uint32_t /* uiLen */, QEL_ROUTE_BLOCK_S **ppstResult,
                                       QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_VPNV4MCAST_KEY_S stKey = {};
    stKey.uiPrefix = QEL_Load32(pucData + QEL_VPNV4MCAST_CFG_PREFIX_AT);
    stKey.uiMaskLen = QEL_Load32(pucData + QEL_VPNV4MCAST_CFG_MASK_LEN_AT);
    /* kept: a length that no prefix has clears the whole address and stays itself; the any-length wildcard keeps it */
    if (stKey.uiMaskLen != QEL_VPNV4MCAST_ANY_LENGTH) {
        stKey.uiPrefix &= QEL_VPNV4MCAST_Mask_(stKey.uiMaskLen);
    }
    QEL_VPNV4MCAST_VIEW_S stView = {};
    stView.uiKeyLen = sizeof(stKey);
    stView.pucKey = QEL_Bytes(&stKey);
    return QEL_VPNV4MCAST_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_VPNV4MCAST_FormatCfgPrefix(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                        uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) ||
        QEL_VPNV4MCAST_CfgArgsMissing_(pstRoute->pucKey, ppucCursor, uiOutLen, puiIndex, puiMore)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen < QEL_VPNV4MCAST_CFG_PREFIX_LEN) {
        return QEL_ERR_SPACE;
    }
    /* kept: the record's tail, a mask length octet of other families in it, stays as the caller gave it, and the cursor
     * passes it; the length is the word in front */
    uint8_t *pucRecord = *ppucCursor;
    QEL_Clear(pucRecord, uiOutLen, QEL_VPNV4MCAST_CFG_PREFIX_USED);
    const QEL_VPNV4MCAST_KEY_AT_S *pstKey = QEL_VPNV4MCAST_KeyOf_(pstRoute);
    pucRecord[0] = static_cast<uint8_t>(QEL_VPNV4MCAST_ROUTE_TYPE);
    QEL_Store32(pucRecord + QEL_VPNV4MCAST_CFG_PREFIX_AT, pstKey->uiPrefix);
    QEL_Store32(pucRecord + QEL_VPNV4MCAST_CFG_MASK_LEN_AT, pstKey->uiMaskLen);
    QEL_VPNV4MCAST_EndText_(puiIndex, puiMore);
    *ppucCursor += QEL_VPNV4MCAST_CFG_PREFIX_LEN;
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_FormatCfgExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    if (QEL_VPNV4MCAST_AtListEnd_(pstRoute, *puiIndex, puiMore)) {
        return QEL_OK;
    }
    char acBuf[QEL_VPNV4MCAST_TEXT_LEN] = {};
    return QEL_VPNV4MCAST_PutExtCommText_(pstRoute, acBuf, reinterpret_cast<char *>(*ppucCursor), uiOutLen, puiIndex,
                                          puiMore);
}

/* Attributes for the host and for peers. */

/* A copy on the memory handle, for the host; null after a report. */
static uint8_t *QEL_VPNV4MCAST_CopyForHost_(const void *pvFrom, uint32_t uiLen, const QEL_FAMILY_CTX_S *pstCtx)
{
    auto *pucCopy = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (!QEL_Missing(pucCopy)) {
        QEL_Copy(pucCopy, uiLen, pvFrom, uiLen);
    }
    return pucCopy;
}

uint32_t QEL_VPNV4MCAST_GetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucList, uint32_t *puiCount,
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
    uint8_t *pucList = QEL_VPNV4MCAST_CopyForHost_(pstRoute->pucExtComm, pstRoute->uiExtCommLen, pstCtx);
    if (pucList == nullptr) {
        return QEL_ERR_MEMORY;
    }
    *ppucList = pucList;
    *puiCount = pstRoute->uiExtCommLen / QEL_VPNV4MCAST_EXTCOMM_LEN;
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_SetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCtrlFlag,
                                        QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
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
    for (uint32_t uiAt = 0; uiAt + QEL_VPNV4MCAST_EXTCOMM_LEN <= usLen; uiAt += QEL_VPNV4MCAST_EXTCOMM_LEN) {
        const uint8_t *pucElement = pstRoute->pucExtComm + uiAt;
        if ((uiCtrlFlag & uiDropNonTransitive) == 0 || (pucElement[1] & ucNonTransitive) == 0) {
            const uint32_t uiTo = uiKept * QEL_VPNV4MCAST_EXTCOMM_LEN;
            QEL_Copy(pucList + uiTo, usLen - uiTo, pucElement, QEL_VPNV4MCAST_EXTCOMM_LEN);
            uiKept++;
        }
    }
    /* kept: a list of which nothing stays is answered like any view without a byte; hosts keep the route back by it */
    const uint32_t uiRet = QEL_VPNV4MCAST_OutputExtCommunity_(
        pucList, static_cast<uint16_t>(uiKept * QEL_VPNV4MCAST_EXTCOMM_LEN), ppstResult, pstCtx);
    ZVK_Free_F(pucList, __FILE__, __LINE__);
    return uiRet;
}

/* Policy: what the engine matches on. */

uint32_t QEL_VPNV4MCAST_ConstructRtpEntry(const QEL_ROUTE_INFO_S *pstRoute, QEL_RTP_ENTRY_S *pstRtpEntry)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pstRoute->pucKey) || QEL_Missing(pstRtpEntry)) {
        return QEL_ERR_NULL;
    }
    /* kept: the length is the key's own, the any-length wildcard too, and the flags stay the host's; MDT says 32 */
    const QEL_VPNV4MCAST_KEY_AT_S *pstKey = QEL_VPNV4MCAST_KeyOf_(pstRoute);
    pstRtpEntry->uiRtpAddrType = 0;
    pstRtpEntry->stRtpAddr.uiIpv4 = pstKey->uiPrefix;
    pstRtpEntry->uiRtpPrefixLen = pstKey->uiMaskLen;
    return QEL_OK;
}

static constexpr uint32_t QEL_VPNV4MCAST_MATCH_HDR_LEN = 4;
static constexpr uint16_t QEL_VPNV4MCAST_MATCH_RD_LEN = sizeof(QEL_RD_VALUE_S);

/* kept: the host may ask with one more bit, 0x10, which has no row and brings nothing */
constexpr QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastConstructMatchTbl[] = {
    {QEL_VPNV4MCAST_MATCH_RD, {.pfConstructMatch = QEL_VPNV4MCAST_ConstructMatchRd}},
    {QEL_VPNV4MCAST_MATCH_EXTCOMM, {.pfConstructMatch = QEL_VPNV4MCAST_ConstructMatchExtCommunity}},
};

uint32_t QEL_VPNV4MCAST_CalcRtpMatchTlvLen(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask,
                                           uint32_t *puiMatchLen)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(puiMatchLen)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiLen =
        (uiMatchMask & QEL_VPNV4MCAST_MATCH_RD) != 0 ? QEL_VPNV4MCAST_MATCH_HDR_LEN + QEL_VPNV4MCAST_MATCH_RD_LEN : 0;
    if ((uiMatchMask & QEL_VPNV4MCAST_MATCH_EXTCOMM) != 0) {
        if (pstRoute->pucExtComm == nullptr) {
            /* kept: a missing list empties the whole match, the RD's part too; so the engine learns that nothing can
             * match */
            return QEL_OK;
        }
        uiLen += static_cast<uint16_t>(pstRoute->uiExtCommLen) + QEL_VPNV4MCAST_MATCH_HDR_LEN;
    }
    *puiMatchLen = uiLen;
    return QEL_OK;
}

/* Step: every wanted row writes its TLV. */
static uint32_t QEL_VPNV4MCAST_WriteMatch_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t *pucMatch,
                                           uint32_t uiLen, QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucCursor = pucMatch;
    uint32_t uiRemain = uiLen;
    for (const QEL_DISPATCH_ENTRY_S &stEntry : g_astQelVpnV4McastConstructMatchTbl) {
        if ((uiMatchMask & stEntry.uiType) != 0 &&
            stEntry.pfConstructMatch(pstRoute, &pucCursor, &uiRemain, pstCtx) != QEL_OK) {
            /* kept: whatever the handler's code; the engine asks for yes or no */
            return QEL_ERR_FAILED;
        }
    }
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_ConstructMatch(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t **ppucMatch,
                                       uint32_t *puiMatchLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucMatch) || QEL_Missing(puiMatchLen) || QEL_Missing(pstCtx) ||
        QEL_Zero(uiMatchMask)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiLen = 0;
    (void)QEL_VPNV4MCAST_CalcRtpMatchTlvLen(pstRoute, uiMatchMask, &uiLen);
    if (uiLen == 0) {
        return QEL_OK;
    }
    auto *pucMatch = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiLen, __FILE__, __LINE__));
    if (QEL_Missing(pucMatch)) {
        return QEL_ERR_MEMORY;
    }
    const uint32_t uiRet = QEL_VPNV4MCAST_WriteMatch_(pstRoute, uiMatchMask, pucMatch, uiLen, pstCtx);
    if (uiRet != QEL_OK) {
        ZVK_Free_F(pucMatch, __FILE__, __LINE__);
        pucMatch = nullptr;
        uiLen = 0;
    }
    *ppucMatch = pucMatch;
    *puiMatchLen = uiLen;
    return uiRet;
}

static void QEL_VPNV4MCAST_PutMatchHdr_(uint8_t *pucTlv, uint16_t usType, uint16_t usLen)
{
    QEL_StoreBe16(pucTlv, usType);
    QEL_StoreBe16(pucTlv + sizeof(usType), usLen);
}

/* Moves the cursor behind a TLV whose value has usLen bytes. */
static void QEL_VPNV4MCAST_PassMatchTlv_(uint8_t **ppucCursor, uint32_t *puiRemain, uint16_t usLen)
{
    *ppucCursor += QEL_VPNV4MCAST_MATCH_HDR_LEN + usLen;
    *puiRemain -= QEL_VPNV4MCAST_MATCH_HDR_LEN + usLen;
}

uint32_t QEL_VPNV4MCAST_ConstructMatchRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiRemain) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucRd == nullptr) {
        return QEL_ERR_ABSENT;
    }
    if (*puiRemain < QEL_VPNV4MCAST_MATCH_HDR_LEN + QEL_VPNV4MCAST_MATCH_RD_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_VPNV4MCAST_PutMatchHdr_(*ppucCursor, QEL_VPNV4MCAST_MATCH_TLV_RD, QEL_VPNV4MCAST_MATCH_RD_LEN);
    /* kept: the RD goes out as it stands, not in network order like the rest; the engine compares it so */
    QEL_Copy(*ppucCursor + QEL_VPNV4MCAST_MATCH_HDR_LEN, *puiRemain - QEL_VPNV4MCAST_MATCH_HDR_LEN, pstRoute->pucRd,
             QEL_VPNV4MCAST_MATCH_RD_LEN);
    QEL_VPNV4MCAST_PassMatchTlv_(ppucCursor, puiRemain, QEL_VPNV4MCAST_MATCH_RD_LEN);
    return QEL_OK;
}

uint32_t QEL_VPNV4MCAST_ConstructMatchExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                   uint32_t *puiRemain, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiRemain) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        return QEL_OK;
    }
    const uint16_t usLen = static_cast<uint16_t>(pstRoute->uiExtCommLen);
    if (usLen + QEL_VPNV4MCAST_MATCH_HDR_LEN > *puiRemain) {
        return QEL_ERR_SPACE;
    }
    QEL_VPNV4MCAST_PutMatchHdr_(*ppucCursor, QEL_VPNV4MCAST_MATCH_TLV_EXTCOMM, usLen);
    QEL_ROUTE_INFO_S stList = {};
    stList.pucExtComm = pstRoute->pucExtComm;
    stList.uiExtCommLen = usLen;
    uint8_t *pucValue = *ppucCursor + QEL_VPNV4MCAST_MATCH_HDR_LEN;
    const uint32_t uiRet =
        QEL_VPNV4MCAST_FormatExtCommunity(&stList, &pucValue, *puiRemain - QEL_VPNV4MCAST_MATCH_HDR_LEN, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_VPNV4MCAST_PassMatchTlv_(ppucCursor, puiRemain, usLen);
    return QEL_OK;
}

/* Policy: actions on the community list. */

/* kept: the Sub-type octet alone makes a route target, whatever the Type */
static bool QEL_VPNV4MCAST_IsRt_(const uint8_t *pucElement)
{
    static constexpr uint8_t ucSubTypeRt = 2;
    return pucElement[0] == ucSubTypeRt;
}

/* What becomes of attribute 16. */
typedef struct {
    uint8_t *pucApply;     /* the new list in host order; null: the host keeps what it has */
    uint16_t usTotalCount; /* elements in pucApply */
    bool bNoValue;         /* nothing is left: the host removes the attribute */
} QEL_VPNV4MCAST_NEW_LIST_S;

static void QEL_VPNV4MCAST_FreeIfHeld_(uint8_t **ppucMem, QEL_FAMILY_CTX_S *pstCtx)
{
    if (*ppucMem != nullptr) {
        void *pvMem = *ppucMem;
        QEL_VPNV4MCAST_Free(&pvMem, pstCtx);
        *ppucMem = nullptr;
    }
}

void QEL_VPNV4MCAST_GetExtCommAttrExcludeRT(const uint8_t *pucExtComm, uint16_t usCount, uint8_t *pucOut,
                                            uint16_t *pusOutLen)
{
    if (QEL_Missing(pucExtComm) || QEL_Missing(pucOut) || QEL_Missing(pusOutLen)) {
        return;
    }
    const uint32_t uiRoom = usCount * QEL_VPNV4MCAST_EXTCOMM_LEN;
    uint32_t uiOutLen = 0;
    for (uint32_t uiAt = 0; uiAt < uiRoom; uiAt += QEL_VPNV4MCAST_EXTCOMM_LEN) {
        if (!QEL_VPNV4MCAST_IsRt_(pucExtComm + uiAt)) {
            QEL_Copy(pucOut + uiOutLen, uiRoom - uiOutLen, pucExtComm + uiAt, QEL_VPNV4MCAST_EXTCOMM_LEN);
            uiOutLen += QEL_VPNV4MCAST_EXTCOMM_LEN;
        }
    }
    *pusOutLen = static_cast<uint16_t>(uiOutLen);
}

/* Step: the list of the action in host order; an empty value has none. */
static uint32_t QEL_VPNV4MCAST_TakeHostList_(const uint8_t *pucValue, uint32_t uiValueLen, uint8_t **ppucHost,
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
    *ppucHost = static_cast<uint8_t *>(QEL_VPNV4MCAST_Malloc(pstCtx, uiValueLen));
    if (QEL_Missing(*ppucHost)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Copy(*ppucHost, uiValueLen, pucValue, uiValueLen);
    QEL_VPNV4MCAST_ConvertExtCommunityNTOH(reinterpret_cast<QEL_EXTCOMM_S *>(*ppucHost),
                                           uiValueLen / QEL_VPNV4MCAST_EXTCOMM_LEN);
    return QEL_OK;
}

static uint16_t QEL_VPNV4MCAST_ListCount_(const QEL_ROUTE_INFO_S *pstRoute)
{
    return static_cast<uint16_t>(pstRoute->uiExtCommLen / QEL_VPNV4MCAST_EXTCOMM_LEN);
}

/* Step: the route's list without its Route Targets; a list without a whole element has none. */
static uint32_t QEL_VPNV4MCAST_TakeTempList_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucTemp, uint16_t *pusTempLen,
                                             QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_VPNV4MCAST_ListCount_(pstRoute) == 0) {
        return QEL_OK;
    }
    *ppucTemp = static_cast<uint8_t *>(QEL_VPNV4MCAST_Malloc(pstCtx, pstRoute->uiExtCommLen));
    if (QEL_Missing(*ppucTemp)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(*ppucTemp, pstRoute->uiExtCommLen, pstRoute->uiExtCommLen);
    QEL_VPNV4MCAST_GetExtCommAttrExcludeRT(pstRoute->pucExtComm, QEL_VPNV4MCAST_ListCount_(pstRoute), *ppucTemp,
                                           pusTempLen);
    return QEL_OK;
}

/* Step: the buffer of the new list. kept: no bytes are no memory, which answers 3, where NG-MVPN has answers of its
 * own; policies of this family rely on it */
static uint32_t QEL_VPNV4MCAST_NewApplyList_(uint32_t uiLen, uint32_t *puiRoom, QEL_VPNV4MCAST_NEW_LIST_S *pstNew,
                                             QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: less than one element, alone, comes out of the clean-up as one; the octets that it lacks are zero */
    *puiRoom = uiLen != 0 && uiLen < QEL_VPNV4MCAST_EXTCOMM_LEN ? QEL_VPNV4MCAST_EXTCOMM_LEN : uiLen;
    pstNew->pucApply = static_cast<uint8_t *>(QEL_VPNV4MCAST_Malloc(pstCtx, *puiRoom));
    if (QEL_Missing(pstNew->pucApply)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pstNew->pucApply, *puiRoom, *puiRoom);
    return QEL_OK;
}

/* Step: what stays of the route's list and behind it the action's. */
static uint32_t QEL_VPNV4MCAST_JoinLists_(const uint8_t *pucTemp, uint16_t usTempLen, const uint8_t *pucHost,
                                          uint32_t uiValueLen, QEL_VPNV4MCAST_NEW_LIST_S *pstNew,
                                          QEL_FAMILY_CTX_S *pstCtx)
{
    uint32_t uiRoom = 0;
    const uint32_t uiRet = QEL_VPNV4MCAST_NewApplyList_(usTempLen + uiValueLen, &uiRoom, pstNew, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (usTempLen != 0) {
        QEL_Copy(pstNew->pucApply, uiRoom, pucTemp, usTempLen);
    }
    if (pucHost != nullptr) {
        QEL_Copy(pstNew->pucApply + usTempLen, uiRoom - usTempLen, pucHost, uiValueLen);
    }
    pstNew->usTotalCount =
        static_cast<uint16_t>(uiValueLen / QEL_VPNV4MCAST_EXTCOMM_LEN + usTempLen / QEL_VPNV4MCAST_EXTCOMM_LEN);
    return QEL_OK;
}

/* Step: the route's list, Route Targets included, and behind it the action's. */
static uint32_t QEL_VPNV4MCAST_AddExtComm_(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucHost,
                                           uint32_t uiValueLen, QEL_VPNV4MCAST_NEW_LIST_S *pstNew,
                                           QEL_FAMILY_CTX_S *pstCtx)
{
    const uint16_t usTempLen = static_cast<uint16_t>(QEL_VPNV4MCAST_ListCount_(pstRoute) * QEL_VPNV4MCAST_EXTCOMM_LEN);
    const uint32_t uiRet =
        QEL_VPNV4MCAST_JoinLists_(pstRoute->pucExtComm, usTempLen, pucHost, uiValueLen, pstNew, pstCtx);
    if (uiRet == QEL_OK && pucHost == nullptr) {
        /* kept: an empty value is no refusal; its copy fails, is reported, and the route's own list comes out */
        QEL_Copy(pstNew->pucApply + usTempLen, 0, pucHost, 0);
    }
    return uiRet;
}

static uint32_t QEL_VPNV4MCAST_ReplaceRt_(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucHost, uint32_t uiValueLen,
                                          QEL_VPNV4MCAST_NEW_LIST_S *pstNew, QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucTemp = nullptr;
    uint16_t usTempLen = 0;
    uint32_t uiRet = QEL_VPNV4MCAST_TakeTempList_(pstRoute, &pucTemp, &usTempLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    uiRet = QEL_VPNV4MCAST_JoinLists_(pucTemp, usTempLen, pucHost, uiValueLen, pstNew, pstCtx);
    QEL_VPNV4MCAST_FreeIfHeld_(&pucTemp, pstCtx);
    return uiRet;
}

/* kept: what is left of the list stays in a work buffer that is never given back: the inline buffer is lent out from
 * then on, or the memory is lost; the host's accounts of this family are balanced for it */
static uint32_t QEL_VPNV4MCAST_DeleteRt_(const QEL_ROUTE_INFO_S *pstRoute, QEL_VPNV4MCAST_NEW_LIST_S *pstNew,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucTemp = nullptr;
    uint16_t usTempLen = 0;
    const uint32_t uiRet = QEL_VPNV4MCAST_TakeTempList_(pstRoute, &pucTemp, &usTempLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (usTempLen == 0) {
        pstNew->bNoValue = true;
        QEL_VPNV4MCAST_FreeIfHeld_(&pucTemp, pstCtx);
        return QEL_OK;
    }
    return QEL_VPNV4MCAST_JoinLists_(pucTemp, usTempLen, nullptr, 0, pstNew, pstCtx);
}

/* Step: the new list of the action. */
static uint32_t QEL_VPNV4MCAST_BuildNewList_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType,
                                             const uint8_t *pucValue, uint32_t uiValueLen,
                                             QEL_VPNV4MCAST_NEW_LIST_S *pstNew, QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t *pucHost = nullptr;
    uint32_t uiRet = QEL_VPNV4MCAST_TakeHostList_(pucValue, uiValueLen, &pucHost, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (uiActionType == QEL_VPNV4MCAST_ACTION_EXTCOMM_ADD || uiActionType == QEL_VPNV4MCAST_ACTION_EXTCOMM_ADD_OTHER) {
        uiRet = QEL_VPNV4MCAST_AddExtComm_(pstRoute, pucHost, uiValueLen, pstNew, pstCtx);
    } else if (uiActionType == QEL_VPNV4MCAST_ACTION_EXTCOMM_REPLACE) {
        uiRet = QEL_VPNV4MCAST_ReplaceRt_(pstRoute, pucHost, uiValueLen, pstNew, pstCtx);
    }
    QEL_VPNV4MCAST_FreeIfHeld_(&pucHost, pstCtx);
    /* kept: a delete makes the action's list as well and drops it; its inline buffer serves the next step, and a value
     * that can't be copied fails the action */
    if (uiActionType == QEL_VPNV4MCAST_ACTION_EXTCOMM_DELETE) {
        uiRet = QEL_VPNV4MCAST_DeleteRt_(pstRoute, pstNew, pstCtx);
    }
    return uiRet;
}

uint32_t QEL_VPNV4MCAST_ApplyExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType,
                                          const uint8_t *pucValue, uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                          QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pucValue) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_VPNV4MCAST_NEW_LIST_S stNew = {};
    uint32_t uiRet = QEL_VPNV4MCAST_BuildNewList_(pstRoute, uiActionType, pucValue, uiValueLen, &stNew, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    if (stNew.bNoValue) {
        return QEL_VPNV4MCAST_BuildNoneValueOutput(ppstResult, pstCtx);
    }
    /* kept: the actions 36 and 37 are accepted and change nothing; policies name them, and no other answer lets the
     * route pass as it is */
    if (stNew.pucApply == nullptr) {
        *ppstResult = nullptr;
        return QEL_OK;
    }
    uiRet = QEL_VPNV4MCAST_CleanupExtCommunity(reinterpret_cast<QEL_EXTCOMM_S *>(stNew.pucApply), &stNew.usTotalCount,
                                               pstCtx);
    if (uiRet == QEL_OK) {
        uiRet = QEL_VPNV4MCAST_OutputExtCommunity_(
            stNew.pucApply, static_cast<uint16_t>(stNew.usTotalCount * QEL_VPNV4MCAST_EXTCOMM_LEN), ppstResult, pstCtx);
    }
    QEL_VPNV4MCAST_FreeIfHeld_(&stNew.pucApply, pstCtx);
    return uiRet;
}
