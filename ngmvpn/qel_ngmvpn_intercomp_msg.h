/* Messages of the NG-MVPN family between router components and to the standby board: route prefixes, route paths,
 * non-keys. A TLV of theirs has a header of four bytes, type and length of the value in network order, and no padding.
 * Message buffers stay readable for QEL_MSG_READ_SLACK bytes behind their end. */
#ifndef QEL_NGMVPN_INTERCOMP_MSG_H
#define QEL_NGMVPN_INTERCOMP_MSG_H

#include "qel_family.h"
#include "qel_ngmvpn_attr_records.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

#define QEL_NGMVPN_TLV_HEADER_LEN UINT32_C(4)

/* TLV types of the route prefix messages. */
#define QEL_NGMVPN_TLV_RT_PREFIX UINT16_C(11)
#define QEL_NGMVPN_TLV_RD_KIND UINT16_C(21)

/* TLV types of the route path messages. */
#define QEL_NGMVPN_TLV_PMSI UINT16_C(12)
#define QEL_NGMVPN_TLV_RT_IMPORT UINT16_C(13)
#define QEL_NGMVPN_TLV_NEXT_HOP UINT16_C(14)
#define QEL_NGMVPN_TLV_SNH UINT16_C(15)
#define QEL_NGMVPN_TLV_RT6_IMPORT UINT16_C(22)
#define QEL_NGMVPN_TLV_PREFIX_SID UINT16_C(23)
#define QEL_NGMVPN_TLV_MSID UINT16_C(24)

/* Sub-TLV types of the non-key message. */
#define QEL_NGMVPN_NONKEY_TLV_TYPE UINT16_C(1)
#define QEL_NGMVPN_NONKEY_TLV_USER_DATA UINT16_C(2)
#define QEL_NGMVPN_NONKEY_TLV_EMBEDDED_KEY UINT16_C(4)
#define QEL_NGMVPN_NONKEY_TLV_RD UINT16_C(16)

/* uiMsgKind of route prefix messages: where a route comes from and on which component it is read. */
#define QEL_NGMVPN_MSG_KIND_MVRF_TO_MVPN UINT32_C(1)
#define QEL_NGMVPN_MSG_KIND_MC_TO_MVRF UINT32_C(5)
#define QEL_NGMVPN_MSG_KIND_MVPN_TO_MVRF UINT32_C(6)
#define QEL_NGMVPN_MSG_KIND_HA UINT32_C(11)

/* uiMsgKind that the writers of route prefixes name themselves with. */
#define QEL_NGMVPN_MSG_FORM_MVPN_TO_MVRF UINT32_C(3)
#define QEL_NGMVPN_MSG_FORM_MVRF_TO_MC UINT32_C(7)
#define QEL_NGMVPN_MSG_FORM_MVRF_TO_MVPN UINT32_C(8)
#define QEL_NGMVPN_MSG_FORM_HA UINT32_C(11)

/* ---- Route prefixes. ---- */

/* Reads a route prefix, the NLRI of one route, into a block of RD, key and non-key; uiMsgKind and ucDefault choose its
 * ucRdKind (QEL_NGMVPN_ParseMsgTypeSwitchRdType). QEL_ERR_ARGUMENT: the NLRI is longer than the uiLen bytes;
 * QEL_ERR_NLRI_MALFORMED: its length is not 10 to 76; QEL_ERR_VALUE: no such route type; else the answer of the route
 * type's parser. */
uint32_t QEL_NGMVPN_ParseRtPrefixTlvNew(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                        QEL_FAMILY_CTX_S *pstCtx, uint32_t uiMsgKind, uint8_t ucDefault);
/* The same for the older HA form, whose ucRdKind depends on the component and, in the first function, for route types 4
 * to 7 is 2 everywhere. */
uint32_t QEL_NGMVPN_ParseRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                     QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseRtPrefixTlvGlbalISSU(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                              QEL_FAMILY_CTX_S *pstCtx);

/* Message handlers: bare route prefixes. */
uint32_t QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                                 QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                                 QEL_FAMILY_CTX_S *pstCtx);
/* Message handler: a route prefix in a TLV, whose length is believed without a look at uiLen. A TLV of another type is
 * reported, QEL_ERR_NLRI_MALFORMED; uiLen 0 is reported, QEL_ERR_NULL. */
uint32_t QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                               QEL_FAMILY_CTX_S *pstCtx);
/* HA message handlers: RD kind and route prefix in TLVs, or one of the older forms: the route prefix in a TLV alone, or
 * bare. Reported: uiLen 0 or a TLV beyond the message's end, QEL_ERR_NULL; another TLV, QEL_ERR_NLRI_MALFORMED. */
uint32_t QEL_NGMVPN_ParseHARtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                       QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseHARtPrefixTlvGlbal(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                            QEL_FAMILY_CTX_S *pstCtx);
/* Step: reads the value of the RD kind TLV, four bytes. */
uint32_t QEL_NGMVPN_ParseRtTypeTlv(const uint8_t **ppucCursor, uint8_t *pucRdKind, QEL_FAMILY_CTX_S *pstCtx);
/* Step: on an instance of the Mvpn component the RD belongs to the key; else *pucRdKind stays. */
void QEL_NGMVPN_SetMVpnRdKeyType(uint8_t *pucRdKind, const QEL_FAMILY_CTX_S *pstCtx);

/* Writes the route's NLRI in wire form by its key type; uiMsgKind takes no part. The route has a key. QEL_ERR_VALUE:
 * key type outside 1 to 8; else the answer of the route type's formatter. */
uint32_t QEL_NGMVPN_FormatRtPrefixTlvNew(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                         QEL_FAMILY_CTX_S *pstCtx, uint32_t uiMsgKind);
/* Message handlers: the bare route prefix, the same bytes in both. */
uint32_t QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_MvpnFormatToMvrfRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
/* Message handler: the route prefix in a TLV. HA message handler: the route's ucRdKind in a TLV ahead of that. The
 * cursor stays on failure. */
uint32_t QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                    uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);

/* ---- Route paths. ---- */

/* Message handler: TLVs with next hop and one attribute, into a block of non-key and attribute. QEL_ERR_TLV, reported:
 * a message without a header or with a TLV that is empty or longer than what is left. An attribute that can't be read
 * is left out, and what follows it is read from its own bytes. */
uint32_t QEL_NGMVPN_ParseMcRoutePathTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                        QEL_FAMILY_CTX_S *pstCtx);

/* TLV handlers of it; the cursor stands at the value of usTlvLen bytes. The next hop goes to the view's non-key,
 * scratch memory of its own; the cursor moves by usTlvLen, whatever has been read. */
void QEL_NGMVPN_ParseMcRoutePathNh(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                   QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx);
/* An attribute: read to scratch memory, which *ppucAttrData holds from then on, and put into the view. A second one is
 * reported and refused. */
void QEL_NGMVPN_ParseRoutePathExtComTlvPmsi_(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                             QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx);
void QEL_NGMVPN_ParseRoutePathExtComTlvRtImportOrSnh_(const uint8_t **ppucCursor, uint16_t usTlvLen,
                                                      uint8_t **ppucAttrData, QEL_ROUTE_VIEW_S *pstView,
                                                      QEL_FAMILY_CTX_S *pstCtx);
void QEL_NGMVPN_ParseRoutePathExtComTlvRt6Import_(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                                  QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx);
void QEL_NGMVPN_ParseRoutePathExtComTlvPfxSid_(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                               QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx);
void QEL_NGMVPN_ParseRoutePathExtComTlvMsid_(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                             QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx);

/* Readers of one attribute: the section's bytes in scratch memory, to be given back with QEL_NGMVPN_Free, and their
 * number in *pusAttrLen; or null. The cursor moves behind a list or tunnel that was read, never otherwise.
 * *pusAttrLen stays on failure, but for a wrong usTlvLen of the last two and any failure of the IPv6 list, where it
 * gets 0. */
uint8_t *QEL_NGMVPN_ParseRoutePathExtComTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                            QEL_FAMILY_CTX_S *pstCtx);
uint8_t *QEL_NGMVPN_ParseRoutePathIPv6ExtComTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                                QEL_FAMILY_CTX_S *pstCtx);
uint8_t *QEL_NGMVPN_ParseRoutePathPmsiTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                          QEL_FAMILY_CTX_S *pstCtx);
uint8_t *QEL_NGMVPN_ParseRoutePathPfxSidTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                            QEL_FAMILY_CTX_S *pstCtx);
uint8_t *QEL_NGMVPN_ParseRoutePathMsidTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                          QEL_FAMILY_CTX_S *pstCtx);
/* Steps of the last two, on a local cursor: QEL_OK or QEL_ERR_FAILED. The cursor ends at the SID; behind the MSID,
 * whose length is not held against the attribute's; behind the one sub-sub-TLV that may stand there. */
uint32_t QEL_NGMVPN_ParsePktRoutePathPrefixSid_(const uint8_t **ppucCursor, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParsePktRoutePathMsidSubTlv_(const uint8_t **ppucCursor, QEL_NGMVPN_MSID_S *pstMsid);
uint32_t QEL_NGMVPN_ParsePktRoutePathMsidSubSubTlv_(const uint8_t **ppucCursor, const uint8_t *pucEnd,
                                                    QEL_NGMVPN_MSID_S *pstMsid);

/* Message handler: MSID, Prefix-SID, PMSI tunnel and, for key types 1 and 3, Segmented Next-Hop of the route, each in
 * its TLV. QEL_ERR_ARGUMENT, reported: no non-key section or no key type in it. The cursor stays on failure. */
uint32_t QEL_NGMVPN_FormatRoutePathTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                       QEL_FAMILY_CTX_S *pstCtx);
/* Writes the first community of the route with that Sub-type octet as a TLV: from the Segmented Next-Hop of the
 * original attributes if the route has an import attribute, else from the IPv6 list for TLV type 22 and from the
 * extended community list for the others. No such community: QEL_OK and nothing written. */
uint32_t QEL_NGMVPN_FormatExtComTlv(const QEL_ROUTE_INFO_S *pstRoute, uint16_t usTlvType, uint8_t ucSubType,
                                    uint8_t **ppucCursor, uint16_t usMaxLen, QEL_FAMILY_CTX_S *pstCtx);
/* Step: the list and its length in bytes; null: none. */
const uint8_t *QEL_NGMVPN_FormatExtComTlvGetExtCommunity_(const QEL_ROUTE_INFO_S *pstRoute, uint16_t usTlvType,
                                                          uint32_t *puiLen);
/* Steps: one attribute as a TLV; pucEnd is the end of the buffer. A route without it gives QEL_OK and writes nothing.
 * The MSID is rebuilt from its fields, the others go as they were received. */
uint32_t QEL_NGMVPN_FormatPmsiTnlTlv_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, const uint8_t *pucEnd,
                                      QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatRoutePathPfxSidTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                             const uint8_t *pucEnd, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatRoutePathMsidTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                           const uint8_t *pucEnd, QEL_FAMILY_CTX_S *pstCtx);

/* ---- Non-keys. ---- */

/* Attribute message handler: a non-key in sub-TLVs, or its key type in one byte, into a block of the non-key alone.
 * QEL_ERR_FAILED: no byte, two or three bytes, or a faulty or unknown sub-TLV. */
uint32_t QEL_NGMVPN_ParseRtNonKeyTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                     QEL_FAMILY_CTX_S *pstCtx);
/* Attribute message handler: writes the route's non-key; a route without one gives QEL_OK and writes nothing. pstCtx is
 * not read. */
uint32_t QEL_NGMVPN_FormatRtNonKeyTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                      QEL_FAMILY_CTX_S *pstCtx);

/* Handlers of pfParseAddAttrMsg. A route without a non-key, or with one without a key type, gives QEL_OK and no block.
 * The first adds communities, uiLen bytes in host order, to the route's list and hands the list out, sorted and free of
 * duplicates; key types 4, 5, 7 and 8 take none on. An empty list gives QEL_OK and no block; QEL_ERR_MEMORY. */
uint32_t QEL_NGMVPN_ParseAddAttrTlv(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                    QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
/* The second adds user data and RD of the QEL_NGMVPN_NONKEY_S at pucData, at any address, to key type and embedded key
 * of the route's non-key; uiLen is not read. */
uint32_t QEL_NGMVPN_ParseNonkeyTlv(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                   QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
