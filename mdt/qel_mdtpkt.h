/* Bytes of the MDT family: routes and communities on the wire and in messages, and the compares of their records. */
#ifndef QEL_MDTPKT_H
#define QEL_MDTPKT_H

#include "qel_family.h"
#include "qel_mdt_records.h"

QEL_EXTERN_C_BEGIN

/* The NLRI (RFC 6037, section 3.5): bit length 128, RD, IPv4 source and IPv4 group, in network order. */
#define QEL_MDT_NLRI_LEN UINT32_C(17)

extern const QEL_DISPATCH_ENTRY_S g_astQelMdtPktParseTbl[3];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtPktFormatTbl[3];
extern const QEL_DISPATCH_ENTRY_S g_astQelMdtCmpDataTbl[5];

/* Rows of these tables by attribute type and by section bit, or null. */
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetPktParseEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetPktFormatEntry(uint32_t uiType);
const QEL_DISPATCH_ENTRY_S *QEL_MDT_GetDataCmpEntry(uint32_t uiType);

/* Reads one route; uiLen is what is left of the attribute. *puiMore gets 1 while octets remain behind the route.
 * QEL_ERR_NLRI_MALFORMED moves nothing; QEL_ERR_NLRI_REFUSED, for an RD type above 2, sets *puiMore and leaves the
 * cursor on the route's source address. A null argument or uiLen 0: QEL_ERR_NULL. */
uint32_t QEL_MDT_ParseMpNlri(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                             uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Writes the route in QEL_MDT_NLRI_LEN octets. QEL_ERR_ABSENT without key or RD, QEL_ERR_SPACE without room. */
uint32_t QEL_MDT_FormatMpNlri(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                              QEL_FAMILY_CTX_S *pstCtx);

/* An RD (RFC 4364) from the cursor to host order. *puiResult gets 0; for a type above 2 QEL_ERR_VALUE, with the cursor
 * unmoved and the value as on the wire. */
void QEL_MDT_GET_RD_VALUE(const uint8_t **ppucCursor, QEL_RD_VALUE_S *pstRd, uint32_t *puiResult);
/* A route target from the cursor to host order. *puiResult gets 0; for a type that is no import target QEL_ERR_VALUE,
 * with the cursor unmoved and the value as on the wire. */
void QEL_MDT_GET_RT_VALUE(const uint8_t **ppucCursor, QEL_EXTCOMM_S *pstRt, uint32_t *puiResult);
/* The same back to network order, in place; of an unknown type the type word alone. */
void QEL_MDT_ConvertRDValueHTON(QEL_RD_VALUE_S *pstRd);
void QEL_MDT_ConvertRTValueHTON(QEL_EXTCOMM_S *pstRt);

/* Compares of two sections: -1, 0, 1, or -2 after a report. RD, key and non-key need lengths of 8. The key's order is
 * its source's alone, the non-key's its share group's alone. Attributes: the shorter one first, then by bytes. */
int32_t QEL_MDT_CmpRd(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_MDT_CmpKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_MDT_CmpNonKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_MDT_CmpAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
/* Orders communities, and cross values of any length: the shorter first; equal lengths other than 8 by bytes, the
 * greater one first. */
int32_t QEL_MDT_CmpExtCommunity(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);

/* Extended communities attribute (RFC 4360): QEL_OK, QEL_ERR_EXTCOMM_EMPTY or QEL_ERR_EXTCOMM_LEN. */
uint32_t QEL_MDT_CheckExtCommLen(uint32_t uiLen);
/* The attribute to a block with the list in host order, sorted and free of duplicates; *puiMore gets 0. */
uint32_t QEL_MDT_ParseExtCommunity(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* The route's list to network order; no list: QEL_OK, nothing written. QEL_ERR_SPACE, QEL_ERR_MEMORY. */
uint32_t QEL_MDT_FormatExtCommunity(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    QEL_FAMILY_CTX_S *pstCtx);
/* Every element of a list in place; each undoes the other. */
void QEL_MDT_ConvertExtCommunityNTOH(QEL_EXTCOMM_S *pastList, uint32_t uiCount);
void QEL_MDT_ConvertExtCommunityHTON(QEL_EXTCOMM_S *pastList, uint32_t uiCount);
/* Exchange sort in place. QEL_ERR_ALLOC without scratch memory. */
uint32_t QEL_MDT_SortExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t usCount, QEL_FAMILY_CTX_S *pstCtx);
/* Drops repeated elements of a sorted list; *pusCount gets what is left, 1 for an empty list. */
uint32_t QEL_MDT_RemoveDupExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx);
/* Sort, then drop repeated elements. */
uint32_t QEL_MDT_CleanupExtCommunity(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx);

/* Step: a block whose attribute section is a community list of usLen bytes. */
uint32_t QEL_MDT_OutputExtCommunity_(const uint8_t *pucList, uint16_t usLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                     const QEL_FAMILY_CTX_S *pstCtx);

/* Values of messages between components, without a TLV header, in network order. */
/* RD, source and group, 16 bytes; more are ignored. QEL_ERR_ARGUMENT for less, QEL_ERR_NLRI_REFUSED for an RD type
 * above 2. */
uint32_t QEL_MDT_ParseRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                  QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_FormatRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                   QEL_FAMILY_CTX_S *pstCtx);
/* Import target: a share group of 4 bytes or a route target of 8, the cross section. QEL_ERR_ARGUMENT after a report
 * for another length. */
uint32_t QEL_MDT_ParseIrtTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                             QEL_FAMILY_CTX_S *pstCtx);
/* The cross section; none: QEL_OK, nothing written. */
uint32_t QEL_MDT_FormatIrtTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                              QEL_FAMILY_CTX_S *pstCtx);
/* A community list as it stands, neither sorted nor stripped of duplicates; an odd tail stays. QEL_ERR_EXTCOMM_TLV for
 * less than one element. */
uint32_t QEL_MDT_ParseRtExtCommunityTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                        QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_FormatRtExtCommunityTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                         QEL_FAMILY_CTX_S *pstCtx);
/* The non-key: flags, length of the sub-TLVs, and the share group as sub-TLV 1. QEL_ERR_FAILED for less than 4 bytes
 * and, after a report, for a value without sub-TLVs. */
uint32_t QEL_MDT_ParseRtNonKeyTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                  QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_MDT_FormatRtNonKeyTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                   QEL_FAMILY_CTX_S *pstCtx);
/* The route's community list with uiLen bytes of pucData behind it, both as they stand. */
uint32_t QEL_MDT_ParseAddAttrTlv(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                 QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
