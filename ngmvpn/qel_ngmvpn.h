/* Frame of the NG-MVPN family: construction, the operations of its descriptor, dispatch tables, result blocks. */
#ifndef QEL_NGMVPN_H
#define QEL_NGMVPN_H

#include "qel_family.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

/* Tables of type codes and handlers. */
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnPktParseTbl[7];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnPktFormatTbl[7];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnData2StrTbl[7];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCfgFormatTbl[7];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCfgParseTbl[2];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnMsgParseTbl[16];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnMsgFormatTbl[10];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnHaMsgParseTbl[8];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnHaMsgFormatTbl[8];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnAttrMsgParseTbl[9];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnAttrMsgFormatTbl[9];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnErtMsgParseTbl[2];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnParseRoutePathTbl[7];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCmpDataTbl[5];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCmpAttrDataTbl[5];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnSetAttrTbl[4];
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnApplyActionTbl[4];

/* Steps of construction, each filling its part of the descriptor. */
void QEL_NGMVPN_InitPktTlv(QEL_FAMILY_DESC_S *pstDesc);
void QEL_NGMVPN_InitMsgTlv(QEL_FAMILY_DESC_S *pstDesc);
void QEL_NGMVPN_InitHaMsgTlv(QEL_FAMILY_DESC_S *pstDesc);
void QEL_NGMVPN_InitAttrMsgTlv(QEL_FAMILY_DESC_S *pstDesc);
void QEL_NGMVPN_InitPolicy(QEL_FAMILY_DESC_S *pstDesc);
void QEL_NGMVPN_InitCallBack(QEL_FAMILY_DESC_S *pstDesc);

/* 1 if the instance serves that component, else 0; both 0 after plain construction. */
uint32_t QEL_NGMVPN_IsMvrfComp(const QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_IsMvpnComp(const QEL_FAMILY_CTX_S *pstCtx);

/* Operations of the descriptor; their contracts stand with the pointer types in qel_family.h. */
uint32_t QEL_NGMVPN_ParsePkt(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t uiIgnored, uint32_t uiAttrType,
                             QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatPkt(QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint8_t **ppucCursor, uint32_t uiOutLen,
                              QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_SetAttr(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint32_t uiCtrlFlag,
                            QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                             QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseHaMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                               QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseAttrMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                 QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseCfg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                             QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                              uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatHaMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                  uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatCfg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, uint8_t **ppucCursor,
                              uint32_t uiOutLen, uint32_t *puiIndex, uint32_t *puiMore);
uint32_t QEL_NGMVPN_ParseAddAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                    uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ApplyAction(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
int32_t QEL_NGMVPN_CmpData(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType);
uint32_t QEL_NGMVPN_Data2Str(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, char *pcOut, uint32_t uiOutLen,
                             uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_SetRtCount(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *pauiCount, uint32_t uiCountNum,
                               uint32_t uiAdd, uint32_t uiDelta);
uint32_t QEL_NGMVPN_GetRtCount(const uint32_t *pauiCount, uint32_t uiCountNum, uint32_t uiType, uint32_t *puiCount);
int32_t QEL_NGMVPN_CmpDataForAttrType(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                      uint32_t uiCmpType, uint32_t uiAttrType);

/* Rows of the dispatch tables by type code, or null. */
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetErtMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetParseMcRoutePathEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetData2StrEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetCfgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetCfgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetAttrMsgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetAttrMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetHaiMsgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetHaiMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetBgpiMsgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetBgpiMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetDataCmpAttrEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetDataCmpEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetPktFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetPktParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetAttrSetEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetApplyActionEntry(uint32_t uiType);

/* Builds a block of the view's sections on the memory handle; the host owns it. QEL_ERR_NULL also for a view without a
 * byte to write, QEL_ERR_ALLOC with *ppstBlock as it was. */
uint32_t QEL_NGMVPN_OutputData(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_ROUTE_VIEW_S *pstView, uint32_t uiMemHandle);
/* The block's total length in bytes, header included. */
uint32_t QEL_NGMVPN_CalcOutputLen(const QEL_ROUTE_VIEW_S *pstView, uint32_t *puiLen);
/* Steps: append one section. *puiRemain is the space left, *pusOffset the next write offset. */
uint32_t QEL_NGMVPN_OutputRd(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                             uint16_t *pusOffset);
uint32_t QEL_NGMVPN_OutputKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                              uint16_t *pusOffset);
uint32_t QEL_NGMVPN_OutputNonKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                                 uint16_t *pusOffset);
uint32_t QEL_NGMVPN_OutputAttr(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                               uint16_t *pusOffset);
uint32_t QEL_NGMVPN_OutputCross(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                                uint16_t *pusOffset);
/* A 32-byte block that says that attribute 16 carries no value. */
uint32_t QEL_NGMVPN_BuildNoneValueOutput(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_FAMILY_CTX_S *pstCtx);
/* The NLRI parsers' shortcut: a block of RD, key and non-key; either record may be null. uiRemain is the attribute's
 * length behind the route's two header octets; *puiMore gets 1 if more than two octets follow the route, else 0, and
 * stays on failure. */
uint32_t QEL_NGMVPN_OutPutRoute(const QEL_NGMVPN_KEY_S *pstKey, const QEL_NGMVPN_NONKEY_S *pstNonKey,
                                uint32_t uiNlriLen, uint32_t uiRemain, QEL_ROUTE_BLOCK_S **ppstBlock, uint32_t *puiMore,
                                QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
