/* Frame of the MDT family: construction, the operations of its descriptor, result blocks. */
#ifndef QEL_MDT_H
#define QEL_MDT_H

#include "qel_family.h"
#include "qel_mdt_records.h"
#include "qel_mdtpkt.h"

QEL_EXTERN_C_BEGIN

/* Match types, the bits of uiMatchMask, and TLV types of the match buffer. A TLV is type and length of the value, two
 * octets each in network order, and the value. */
#define QEL_MDT_MATCH_EXTCOMM UINT32_C(0x4)
#define QEL_MDT_MATCH_RD UINT32_C(0x800)
#define QEL_MDT_MATCH_IP_GROUP UINT32_C(0x80000)
#define QEL_MDT_MATCH_TLV_EXTCOMM UINT16_C(11)
#define QEL_MDT_MATCH_TLV_RD UINT16_C(13)
#define QEL_MDT_MATCH_TLV_IP UINT16_C(33)

/* Action codes. 36 and 37 are accepted and change nothing; 38 adds as 7 does. */
#define QEL_MDT_ACTION_EXTCOMM_REPLACE UINT32_C(6)
#define QEL_MDT_ACTION_EXTCOMM_ADD UINT32_C(7)
#define QEL_MDT_ACTION_EXTCOMM_ADD_OTHER UINT32_C(38)
#define QEL_MDT_ACTION_EXTCOMM_DELETE UINT32_C(87)

/* Tables of type codes and handlers; those of path attributes and of the compares stand in qel_mdtpkt.h. */
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtMsgParseTbl[13];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtMsgFormatTbl[7];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtHaMsgParseTbl[6];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtHaMsgFormatTbl[6];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtAttrMsgParseTbl[3];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtAttrMsgFormatTbl[3];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtErtMsgParseTbl[1];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtCfgParseTbl[2];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtCfgFormatTbl[3];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtData2StrTbl[3];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtSetAttrTbl[1];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtApplyActionTbl[6];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtConstructMatchTbl[3];

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

/* Configuration records, in host order. */
/* The RD of a 16-byte record to the RD section, as it stands. QEL_ERR_NULL after a report for another length,
 * QEL_ERR_CFG_RD for a first word other than 0. */
uint32_t QEL_MDT_ParseCfgRd(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                            QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_FormatCfgRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                             uint32_t *puiIndex, uint32_t *puiMore);
/* Source and group of a prefix record to the key section; uiLen is not looked at. */
uint32_t QEL_MDT_ParseCfgPrefix(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                QEL_FAMILY_CTX_S *pstCtx);
/* Writes 16 bytes of the record and moves the cursor by the 89 that it has; QEL_ERR_SPACE for less room. */
uint32_t QEL_MDT_FormatCfgPrefix(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                 uint32_t *puiIndex, uint32_t *puiMore);
/* The text of the community at *puiIndex to the cursor, which does not move; *puiMore 1 asks for the next call. */
uint32_t QEL_MDT_FormatCfgExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                       uint32_t *puiIndex, uint32_t *puiMore);
/* The text of the group to the cursor, which does not move; cut to the room. In no table: hosts call it themselves. */
uint32_t QEL_MDT_FormatCfgGrpAddr(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                  uint32_t *puiIndex, uint32_t *puiMore);
/* The form byte behind the RD of an RD record and its three zero bytes: 1 for an RD of type 0, else 2 with the flag and
 * 3 without. */
void QEL_MDT_SetVrfRdType(uint8_t *pucRd, uint32_t uiRdFlag);

/* Display texts, closed by a zero byte. QEL_ERR_SPACE for a text that does not fit, QEL_ERR_MEMORY. */
uint32_t QEL_MDT_MpNlriData2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* One community per call, as QEL_MDT_FormatCfgExtCommunity. */
uint32_t QEL_MDT_ExtCommunity2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                  uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* The share group; cut to the room. QEL_ERR_FAILED after a report for a non-key without one. */
uint32_t QEL_MDT_NonKey2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                            uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* QEL_ERR_VALUE, with an empty text, for an RD type above 2. */
uint32_t QEL_MDT_RdValueToStr(const QEL_RD_VALUE_S *pstRd, char *pcOut, uint32_t uiOutLen);
/* The word of a community by the low byte of its type; returns the characters written, 0 for a type without a word. */
uint32_t QEL_MDT_ExtCommType2Str(char *pcOut, uint32_t uiOutLen, uint8_t ucSubType, uint8_t ucIgnored);
/* Word and value; *puiLen gets the characters of both. ucAs4Plain 0 shows four-octet AS numbers with a dot. */
uint32_t QEL_MDT_ExtCommVal2Str(const QEL_EXTCOMM_S *pstExtComm, char *pcOut, uint32_t uiOutLen, uint32_t *puiLen,
                                uint8_t ucAs4Plain);

/* The outgoing community list as a block; with bit 0 of uiCtrlFlag without its non-transitive elements. */
uint32_t QEL_MDT_SetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCtrlFlag, QEL_ROUTE_BLOCK_S **ppstResult,
                                 QEL_FAMILY_CTX_S *pstCtx);

/* Stores the bytes that the match buffer needs. No community list where uiMatchMask asks for one: QEL_OK, nothing
 * stored. */
uint32_t QEL_MDT_CalcRtpMatchTlvLen(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint32_t *puiMatchLen);
/* Handlers of the match types: one TLV at the cursor, which moves behind it; *puiRemain, the room at the cursor in
 * bytes, goes down by as much. QEL_ERR_ABSENT without the section, QEL_ERR_SPACE without room. */
uint32_t QEL_MDT_ConstructMatchRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                  QEL_FAMILY_CTX_S *pstCtx);
/* The list in network order; without a list QEL_OK and nothing. QEL_ERR_MEMORY. */
uint32_t QEL_MDT_ConstructMatchExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                            QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_ConstructMatchIpGroup(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                       QEL_FAMILY_CTX_S *pstCtx);
/* The same with the source. In no table: hosts call it themselves. */
uint32_t QEL_MDT_ConstructMatchIpSource(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                        QEL_FAMILY_CTX_S *pstCtx);

/* The handler of every action: a block with the route's new community list, sorted and free of duplicates; a block
 * without a value when a delete leaves nothing; null for an action that changes nothing. The value is a list in network
 * order. QEL_ERR_MEMORY, also for an empty value where nothing else is left. */
uint32_t QEL_MDT_ApplyExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                   uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
/* Step: the elements of a list that are no Route Targets; pucOut has room for all usCount of them. */
void QEL_MDT_GetExtCommAttrExcludeRT(const uint8_t *pucExtComm, uint16_t usCount, uint8_t *pucOut, uint16_t *pusOutLen);

/* Scratch memory for one call: the context's inline buffer for one request of at most 256 bytes at a time, else the
 * heap. Null: size 0, no memory, or (reported) no context. */
void *QEL_MDT_Malloc(QEL_FAMILY_CTX_S *pstCtx, uint32_t uiSize);
void QEL_MDT_Free(void **ppvMem, QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
