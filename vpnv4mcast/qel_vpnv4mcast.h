/* Frame of the VPNv4 multicast family: construction, the operations of its descriptor, result blocks. */
#ifndef QEL_VPNV4MCAST_H
#define QEL_VPNV4MCAST_H

#include "qel_family.h"
#include "qel_vpnv4mcast_cross.h"
#include "qel_vpnv4mcast_irt.h"
#include "qel_vpnv4mcast_records.h"

QEL_EXTERN_C_BEGIN

/* The host's mark of an NLRI without label, beside the path attribute types. */
#define QEL_VPNV4MCAST_ATTR_TYPE_NO_LABEL UINT32_C(256)

/* Match types, the bits of uiMatchMask, and TLV types of the match buffer. A TLV is type and length of the value, two
 * octets each in network order, and the value. */
#define QEL_VPNV4MCAST_MATCH_EXTCOMM UINT32_C(0x4)
#define QEL_VPNV4MCAST_MATCH_RD UINT32_C(0x800)
#define QEL_VPNV4MCAST_MATCH_TLV_EXTCOMM UINT16_C(11)
#define QEL_VPNV4MCAST_MATCH_TLV_RD UINT16_C(13)

/* Action codes. 36 and 37 are accepted and change nothing; 38 adds as 7 does. */
#define QEL_VPNV4MCAST_ACTION_EXTCOMM_REPLACE UINT32_C(6)
#define QEL_VPNV4MCAST_ACTION_EXTCOMM_ADD UINT32_C(7)
#define QEL_VPNV4MCAST_ACTION_EXTCOMM_ADD_OTHER UINT32_C(38)
#define QEL_VPNV4MCAST_ACTION_EXTCOMM_DELETE UINT32_C(87)

/* Tables of type codes and handlers. */
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastPktParseTbl[4];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastPktFormatTbl[4];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastHaMsgParseTbl[6];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastHaMsgFormatTbl[6];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastAttrMsgParseTbl[2];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastAttrMsgFormatTbl[2];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastCfgParseTbl[2];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastCfgFormatTbl[3];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastData2StrTbl[2];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastCmpDataTbl[5];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastSetAttrTbl[1];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastApplyActionTbl[6];
extern const QEL_DISPATCH_ENTRY_S g_astQelVpnV4McastConstructMatchTbl[2];

/* Step of construction: the HA message types. */
void QEL_VPNV4MCAST_ConstructHaMsgTlv(QEL_FAMILY_DESC_S *pstDesc);

/* Operations of the descriptor; their contracts stand with the pointer types in qel_family.h. */
uint32_t QEL_VPNV4MCAST_ParsePkt(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t uiIgnored, uint32_t uiAttrType,
                                 QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_FormatPkt(QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint8_t **ppucCursor,
                                  uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_SetAttr(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint32_t uiCtrlFlag,
                                QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_ParseMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                 QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_ParseHaMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                   QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_ParseAttrMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                     QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_ParseCfg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                 QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_FormatMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                  uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_FormatHaMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                    uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_FormatAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                      uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_FormatCfg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, uint8_t **ppucCursor,
                                  uint32_t uiOutLen, uint32_t *puiIndex, uint32_t *puiMore);
uint32_t QEL_VPNV4MCAST_ConstructRtpEntry(const QEL_ROUTE_INFO_S *pstRoute, QEL_RTP_ENTRY_S *pstRtpEntry);
uint32_t QEL_VPNV4MCAST_ParseAddAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                        uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_GetRouteType(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiRouteType);
uint32_t QEL_VPNV4MCAST_ConstructMatch(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t **ppucMatch,
                                       uint32_t *puiMatchLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_ApplyAction(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                    uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_GetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucList, uint32_t *puiCount,
                                        QEL_FAMILY_CTX_S *pstCtx);
int32_t QEL_VPNV4MCAST_CmpData(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType);
uint32_t QEL_VPNV4MCAST_Data2Str(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, char *pcOut, uint32_t uiOutLen,
                                 uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_SetRtCount(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *pauiCount, uint32_t uiCountNum,
                                   uint32_t uiAdd, uint32_t uiDelta);
uint32_t QEL_VPNV4MCAST_GetRtCount(const uint32_t *pauiCount, uint32_t uiCountNum, uint32_t uiType, uint32_t *puiCount);
uint32_t QEL_VPNV4MCAST_GetLabelType(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiLabelType, uint32_t *puiCount,
                                     uint32_t *puiReserved);

/* Rows of the dispatch tables by type code, or null. */
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetData2StrEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetCfgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetCfgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetAttrMsgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetAttrMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetHaiMsgFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetHaiMsgParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetDataCmpEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetPktFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetPktParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetAttrSetEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_VPNV4MCAST_GetApplyActionEntry(uint32_t uiType);

/* Builds a block of the view's sections on the memory handle; the host owns it. QEL_ERR_ARGUMENT for a view without a
 * byte to write, QEL_ERR_ALLOC with *ppstBlock as it was. */
uint32_t QEL_VPNV4MCAST_OutputData(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_VPNV4MCAST_VIEW_S *pstView,
                                   uint32_t uiMemHandle);
/* The block's total length in bytes, header included. */
uint32_t QEL_VPNV4MCAST_CalcOutputLen(const QEL_VPNV4MCAST_VIEW_S *pstView, uint32_t *puiLen);
/* Steps: append one section. *puiRemain is the space left, *pusOffset the next write offset. */
uint32_t QEL_VPNV4MCAST_OutputRd(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_VPNV4MCAST_VIEW_S *pstView,
                                 uint16_t *pusOffset);
uint32_t QEL_VPNV4MCAST_OutputKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain,
                                  const QEL_VPNV4MCAST_VIEW_S *pstView, uint16_t *pusOffset);
uint32_t QEL_VPNV4MCAST_OutputLabel(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain,
                                    const QEL_VPNV4MCAST_VIEW_S *pstView, uint16_t *pusOffset);
uint32_t QEL_VPNV4MCAST_OutputAttr(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain,
                                   const QEL_VPNV4MCAST_VIEW_S *pstView, uint16_t *pusOffset);
/* A 32-byte block that says that attribute 16 carries no value. */
uint32_t QEL_VPNV4MCAST_BuildNoneValueOutput(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_FAMILY_CTX_S *pstCtx);

/* Routes on the wire (RFC 8277 label, RFC 4364 RD): bit length, label, RD, prefix octets. uiLen is what is left of the
 * attribute; *puiMore gets 1 while octets remain behind the route. QEL_ERR_NLRI_MALFORMED moves nothing;
 * QEL_ERR_NLRI_REFUSED, for an RD type above 2, sets *puiMore and leaves the cursor on the route's prefix. A null
 * argument, a null cursor or uiLen 0: QEL_ERR_NULL. */
uint32_t QEL_VPNV4MCAST_ParseMpNlri(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                    uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* The form without a label; its block has no label section. */
uint32_t QEL_VPNV4MCAST_ParseMpNlriWithoutLabel(const uint8_t **ppucCursor, uint32_t uiLen,
                                                QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                                QEL_FAMILY_CTX_S *pstCtx);
/* Step of both, with checked arguments: uiLabelFlag 1 or 0. */
uint32_t QEL_VPNV4MCAST_ParseMpNlri_(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                     uint32_t *puiMore, uint32_t uiLabelFlag, QEL_FAMILY_CTX_S *pstCtx);
/* Step: a block of RD, key and, unless null, label. */
uint32_t QEL_VPNV4MCAST_Output(QEL_ROUTE_BLOCK_S **ppstResult, const QEL_RD_VALUE_S *pstRd, uint32_t uiRdLen,
                               const QEL_VPNV4MCAST_KEY_S *pstKey, const uint32_t *puiLabel, QEL_FAMILY_CTX_S *pstCtx);
/* Writes the route with its label and shifts uiMplsLabel of the record left by 4. QEL_ERR_ABSENT without key or label,
 * QEL_ERR_SPACE without room. A missing RD is reported. */
uint32_t QEL_VPNV4MCAST_FormatMpNlri(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     QEL_FAMILY_CTX_S *pstCtx);
/* The form without a label; the record stays as it is. */
uint32_t QEL_VPNV4MCAST_FormatMpNlriWithoutLabel(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                                 QEL_FAMILY_CTX_S *pstCtx);
/* Step: the leading ucCount octets of a host-order prefix, four at most. */
void QEL_VPNV4MCAST_PutPrefixBytes(uint8_t **ppucCursor, uint8_t ucCount, uint32_t uiPrefix);

/* An RD (RFC 4364) from the cursor to host order. *puiResult gets 0; for a type above 2 QEL_ERR_VALUE, with the cursor
 * unmoved and the value as on the wire. */
void QEL_VPNV4MCAST_GET_RD_VALUE(const uint8_t **ppucCursor, QEL_RD_VALUE_S *pstRd, uint32_t *puiResult);
/* The same back to network order, in place; of an unknown type the type word alone. */
void QEL_VPNV4MCAST_ConvertRDValueHTON(QEL_RD_VALUE_S *pstRd);

/* Values of messages, without a TLV header, in network order. */
/* RD, prefix and mask length, 16 bytes exactly. QEL_ERR_NLRI_MALFORMED for another length, QEL_ERR_NLRI_REFUSED for an
 * RD type above 2. */
uint32_t QEL_VPNV4MCAST_ParseRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                         QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_FormatRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                          QEL_FAMILY_CTX_S *pstCtx);
/* Names without work: a label travels in no message. Return QEL_OK. */
uint32_t QEL_VPNV4MCAST_ParseRtLabelTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                        QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_FormatRtLabelTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                         QEL_FAMILY_CTX_S *pstCtx);
/* A community list as it stands, neither sorted nor stripped of duplicates; an odd tail stays. QEL_ERR_EXTCOMM_TLV for
 * less than one element. */
uint32_t QEL_VPNV4MCAST_ParseExtCommunityTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                             QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_FormatExtCommunityTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              QEL_FAMILY_CTX_S *pstCtx);

/* Compares of two sections: -1, 0, 1, or -2 after a report. RD and key need lengths of 8, labels of 4. A key of
 * QEL_VPNV4MCAST_ANY_LENGTH equals every length of its prefix. Attributes: the shorter one first, then by bytes. */
int32_t QEL_VPNV4MCAST_CmpRd(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_VPNV4MCAST_CmpKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_VPNV4MCAST_CmpLabel(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_VPNV4MCAST_CmpAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
/* Orders communities; lengths of 8 at least. */
int32_t QEL_VPNV4MCAST_CmpExtCommunity(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);

/* Extended communities attribute (RFC 4360): QEL_OK, QEL_ERR_EXTCOMM_EMPTY or QEL_ERR_EXTCOMM_LEN. */
uint32_t QEL_VPNV4MCAST_CheckExtCommLen(uint32_t uiLen);
/* The attribute to a block with the list in host order, sorted and free of duplicates; *puiMore gets 0. */
uint32_t QEL_VPNV4MCAST_ParseExtCommunity(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                          uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* The route's list to network order; no list: QEL_OK, nothing written. QEL_ERR_SPACE, QEL_ERR_MEMORY. */
uint32_t QEL_VPNV4MCAST_FormatExtCommunity(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                           QEL_FAMILY_CTX_S *pstCtx);
/* Every element of a list in place; each undoes the other. */
void QEL_VPNV4MCAST_ConvertExtCommunityNTOH(QEL_EXTCOMM_S *pastList, uint32_t uiCount);
void QEL_VPNV4MCAST_ConvertExtCommunityHTON(QEL_EXTCOMM_S *pastList, uint32_t uiCount);
/* Exchange sort in place. QEL_ERR_ALLOC without scratch memory. */
uint32_t QEL_VPNV4MCAST_SortExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t usCount, QEL_FAMILY_CTX_S *pstCtx);
/* Drops repeated elements of a sorted list; *pusCount gets what is left, 1 for an empty list. */
uint32_t QEL_VPNV4MCAST_RemoveDupExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx);
/* Sort, then drop repeated elements. */
uint32_t QEL_VPNV4MCAST_CleanupExtCommunity(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx);

/* Configuration records, in host order. */
/* The RD of a 16-byte record to the RD section, as it stands. QEL_ERR_NULL after a report for another length,
 * QEL_ERR_CFG_RD for a first word other than 0. */
uint32_t QEL_VPNV4MCAST_ParseCfgRd(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_VPNV4MCAST_FormatCfgRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    uint32_t *puiIndex, uint32_t *puiMore);
/* Prefix and mask length of a prefix record to the key section, the bits behind the length cleared; uiLen is not
 * looked at. */
uint32_t QEL_VPNV4MCAST_ParseCfgPrefix(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                       QEL_FAMILY_CTX_S *pstCtx);
/* Writes 12 bytes of the record and moves the cursor by the 89 that it has; QEL_ERR_SPACE for less room. */
uint32_t QEL_VPNV4MCAST_FormatCfgPrefix(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                        uint32_t *puiIndex, uint32_t *puiMore);
/* The text of the community at *puiIndex to the cursor, which does not move; *puiMore 1 asks for the next call. */
uint32_t QEL_VPNV4MCAST_FormatCfgExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              uint32_t *puiIndex, uint32_t *puiMore);
/* The form byte behind the RD of an RD record and its three zero bytes: 1 for an RD of type 0, else 2 with the flag and
 * 3 without. */
void QEL_VPNV4MCAST_SetVrfRdType(uint8_t *pucRd, uint32_t uiRdFlag);

/* Display texts, closed by a zero byte. QEL_ERR_SPACE for a text that does not fit, QEL_ERR_MEMORY. */
uint32_t QEL_VPNV4MCAST_MpNlriData2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen,
                                       uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* One community per call, as QEL_VPNV4MCAST_FormatCfgExtCommunity. */
uint32_t QEL_VPNV4MCAST_ExtCommunity2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen,
                                         uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* QEL_ERR_VALUE, with an empty text, for an RD type above 2. */
uint32_t QEL_VPNV4MCAST_RdValueToStr(const QEL_RD_VALUE_S *pstRd, char *pcOut, uint32_t uiOutLen);
/* Word and value; *puiLen gets the characters of both. ucAs4Plain 0 shows four-octet AS numbers with a dot. */
uint32_t QEL_VPNV4MCAST_ExtCommVal2Str(const QEL_EXTCOMM_S *pstExtComm, char *pcOut, uint32_t uiOutLen,
                                       uint32_t *puiLen, uint8_t ucAs4Plain);

/* The outgoing community list as a block; with bit 0 of uiCtrlFlag without its non-transitive elements. */
uint32_t QEL_VPNV4MCAST_SetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCtrlFlag,
                                        QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);

/* Stores the bytes that the match buffer needs. No community list where uiMatchMask asks for one: QEL_OK, nothing
 * stored. */
uint32_t QEL_VPNV4MCAST_CalcRtpMatchTlvLen(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask,
                                           uint32_t *puiMatchLen);
/* Handlers of the match types: one TLV at the cursor, which moves behind it; *puiRemain, the room at the cursor in
 * bytes, goes down by as much. QEL_ERR_ABSENT without the section, QEL_ERR_SPACE without room. */
uint32_t QEL_VPNV4MCAST_ConstructMatchRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                         QEL_FAMILY_CTX_S *pstCtx);
/* The list in network order; without a list QEL_OK and nothing. QEL_ERR_MEMORY. */
uint32_t QEL_VPNV4MCAST_ConstructMatchExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                   uint32_t *puiRemain, QEL_FAMILY_CTX_S *pstCtx);

/* The handler of every action: a block with the route's new community list, sorted and free of duplicates; a block
 * without a value when a delete leaves nothing; null for an action that changes nothing. The value is a list in network
 * order. QEL_ERR_MEMORY, also for an empty value where nothing else is left. A delete that leaves something keeps its
 * work buffer. */
uint32_t QEL_VPNV4MCAST_ApplyExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType,
                                          const uint8_t *pucValue, uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                          QEL_FAMILY_CTX_S *pstCtx);
/* Step: the elements of a list that are no Route Targets; pucOut has room for all usCount of them. */
void QEL_VPNV4MCAST_GetExtCommAttrExcludeRT(const uint8_t *pucExtComm, uint16_t usCount, uint8_t *pucOut,
                                            uint16_t *pusOutLen);

/* Scratch memory for one call: the context's inline buffer for one request of at most 256 bytes at a time, else the
 * heap. Null: size 0, no memory, or (reported) no context. */
void *QEL_VPNV4MCAST_Malloc(QEL_FAMILY_CTX_S *pstCtx, uint32_t uiSize);
void QEL_VPNV4MCAST_Free(void **ppvMem, QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
