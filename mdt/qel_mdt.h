/* Frame of the MDT family: construction, the operations of its descriptor, result blocks. */
#ifndef QEL_MDT_H
#define QEL_MDT_H

#include "qel_family.h"
#include "qel_mdt_records.h"

QEL_EXTERN_C_BEGIN

/* Operations of the descriptor; their contracts stand with the pointer types in qel_family.h. */
uint32_t QEL_MDT_ParsePkt(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t uiIgnored, uint32_t uiAttrType,
                          QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_FormatPkt(QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint8_t **ppucCursor, uint32_t uiOutLen,
                           QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_SetAttr(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint32_t uiCtrlFlag,
                         QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_ParseMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                          QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_ParseHaMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                            QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_ParseAttrMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                              QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_ParseCfg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                          QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_FormatMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                           uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_FormatHaMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                             uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_FormatAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                               uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_FormatCfg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, uint8_t **ppucCursor, uint32_t uiOutLen,
                           uint32_t *puiIndex, uint32_t *puiMore);
uint32_t QEL_MDT_ConstructRtpEntry(const QEL_ROUTE_INFO_S *pstRoute, QEL_RTP_ENTRY_S *pstRtpEntry);
uint32_t QEL_MDT_ParseAddAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                 uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_GetRouteType(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiRouteType);
uint32_t QEL_MDT_ConstructMatch(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t **ppucMatch,
                                uint32_t *puiMatchLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_ApplyAction(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                             uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_GetCross(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                          uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_GetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucList, uint32_t *puiCount,
                                 QEL_FAMILY_CTX_S *pstCtx);
int32_t QEL_MDT_CmpData(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType);
uint32_t QEL_MDT_Data2Str(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, char *pcOut, uint32_t uiOutLen,
                          uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_SetRtCount(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *pauiCount, uint32_t uiCountNum, uint32_t uiAdd,
                            uint32_t uiDelta);
uint32_t QEL_MDT_GetRtCount(const uint32_t *pauiCount, uint32_t uiCountNum, uint32_t uiType, uint32_t *puiCount);

/* Rows of the dispatch tables by type code, or null. */
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetErtMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetData2StrEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetCfgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetCfgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetAttrMsgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetAttrMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetHaiMsgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetHaiMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetBgpiMsgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetBgpiMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetDataCmpEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetPktFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetPktParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetAttrSetEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetApplyActionEntry(uint32_t uiType);

/* Builds a block of the view's sections on the memory handle; the host owns it. QEL_ERR_NULL also for a view without a
 * byte to write, QEL_ERR_ALLOC with *ppstBlock as it was. */
uint32_t QEL_MDT_OutputData(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_ROUTE_VIEW_S *pstView, uint32_t uiMemHandle);
/* The block's total length in bytes, header included. */
uint32_t QEL_MDT_CalcOutputLen(const QEL_ROUTE_VIEW_S *pstView, uint32_t *puiLen);
/* Steps: append one section. *puiRemain is the space left, *pusOffset the next write offset. */
uint32_t QEL_MDT_OutputRd(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                          uint16_t *pusOffset);
uint32_t QEL_MDT_OutputKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                           uint16_t *pusOffset);
uint32_t QEL_MDT_OutputNonKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                              uint16_t *pusOffset);
uint32_t QEL_MDT_OutputAttr(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                            uint16_t *pusOffset);
uint32_t QEL_MDT_OutputCross(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                             uint16_t *pusOffset);
/* A 32-byte block that says that attribute 16 carries no value. */
uint32_t QEL_MDT_BuildNoneValueOutput(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_FAMILY_CTX_S *pstCtx);

/* Scratch memory for one call: the context's inline buffer for one request of at most 256 bytes at a time, else the
 * heap. Null: size 0, no memory, or (reported) no context. */
void *QEL_MDT_Malloc(QEL_FAMILY_CTX_S *pstCtx, uint32_t uiSize);
void QEL_MDT_Free(void **ppvMem, QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
