/* Path attributes of the NG-MVPN family on the wire: extended communities (16, RFC 4360; 25, RFC 5701), PMSI tunnel
 * (22, RFC 6514), Prefix-SID (40, RFC 8669 and RFC 9252), MSID (66). */
#ifndef QEL_NGMVPN_ATTRIBUTE_PKT_H
#define QEL_NGMVPN_ATTRIBUTE_PKT_H

#include "qel_family.h"
#include "qel_ngmvpn_attr_records.h"

QEL_EXTERN_C_BEGIN

/* Flags, tunnel type and label ahead of a tunnel identifier. */
#define QEL_NGMVPN_PMSI_HEADER_LEN UINT32_C(5)

/* QEL_OK for a whole number of 8-byte elements, QEL_ERR_EXTCOMM_EMPTY for 0 bytes, else QEL_ERR_EXTCOMM_LEN. */
uint32_t QEL_NGMVPN_CheckExtCommLen(uint32_t uiLen);

/* Handlers of attributes 16 and 25: the list, sorted and free of duplicates, host order, as an attribute section. The
 * cursor moves by uiLen whatever the clean-up removed; *puiMore gets 0. */
uint32_t QEL_NGMVPN_ParseExtCommunity(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                      uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseIPv6ExtCommunity(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                          uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Write the route's list in network order; a route without one writes nothing. QEL_ERR_SPACE, QEL_ERR_MEMORY. */
uint32_t QEL_NGMVPN_FormatExtCommunity(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                       QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatIPv6ExtCommunity(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                           QEL_FAMILY_CTX_S *pstCtx);

/* Handler of attribute 22. A well-formed tunnel that is not carried gives QEL_ERR_PMSI_IDENT with the cursor moved
 * behind it and *puiMore 0; every refusal leaves the cursor alone. */
uint32_t QEL_NGMVPN_ParsePmsiTnl(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                 uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Step: reads an attribute of at least five bytes into a cleared record; the cursor ends behind what was read.
 * QEL_ERR_PMSI_FLAGS and the codes of QEL_NGMVPN_ParseTnlIdentifier, which gets the rest. */
uint32_t QEL_NGMVPN_ReadPmsiTnl_(const uint8_t **ppucCursor, uint32_t uiLen, QEL_NGMVPN_PMSI_TNL_S *pstTnl,
                                 uint32_t *puiSectionLen);
/* Reads the tunnel identifier of uiLen bytes of the type in pstTnl; *puiSectionLen gets the length that the record
 * takes in a route. QEL_ERR_TNL_NOT_CARRIED: well formed, stepped over. */
uint32_t QEL_NGMVPN_ParseTnlIdentifier(const uint8_t **ppucCursor, QEL_NGMVPN_PMSI_TNL_S *pstTnl, uint32_t uiLen,
                                       uint32_t *puiSectionLen);
/* Steps of it: BIER (7 or 19 bytes), and the fixed part of a mLDP P2MP identifier, read as it is checked. */
uint32_t QEL_NGMVPN_ParseTnlIdentifierTunnelBier_(const uint8_t **ppucCursor, uint32_t uiLen,
                                                  QEL_NGMVPN_PMSI_TNL_S *pstTnl);
uint32_t QEL_NGMVPN_CheckTnlIdentifierTunnelLdpP2mp(QEL_NGMVPN_PMSI_TNL_S *pstTnl, const uint8_t **ppucCursor,
                                                    uint32_t uiLen);
/* Writes the tunnel; pstCtx is not read. QEL_ERR_SPACE; QEL_ERR_FAILED for a record that contradicts its length. */
uint32_t QEL_NGMVPN_FormatPmsiTnl(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                  QEL_FAMILY_CTX_S *pstCtx);
/* Steps: flags, type and label, five bytes; the RSVP-TE identifier; the mLDP one, where an opaque value that doesn't
 * fit the record of uiPmsiLen bytes is reported, QEL_ERR_FAILED; the BIER one, which returns the bytes written, 7
 * or 19. */
void QEL_NGMVPN_FormatPmsiTnlHeader_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl);
void QEL_NGMVPN_FormatPmsiTnlRsvpTe_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl);
uint32_t QEL_NGMVPN_FormatPmsiTnlMldp_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl,
                                       uint32_t uiPmsiLen);
uint32_t QEL_NGMVPN_FormatPmsiTnlBier_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl);
/* Wire bytes that the record needs, 0 for null. */
uint32_t QEL_NGMVPN_GetPmsiTnlFmtNeedLen(const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl);

/* Handler of attribute 40, exactly 28 bytes: one SRv6 service TLV with one SID information sub-TLV. */
uint32_t QEL_NGMVPN_ParsePrefixSid(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Step: checks the two headers and leaves the cursor at the SID. */
uint32_t QEL_NGMVPN_ParsePktPrefixSid_(const uint8_t **ppucCursor, QEL_FAMILY_CTX_S *pstCtx);
/* Steps: 16 wire bytes as four host-order words; a record from an attribute whose headers have been checked. */
void QEL_NGMVPN_TakeSid_(uint32_t *pauiSid, const uint8_t *pucWire);
void QEL_NGMVPN_FillPfxSid_(QEL_NGMVPN_PFXSID_S *pstSid, const uint8_t *pucAttr);
uint32_t QEL_NGMVPN_FormatPrefixSid(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    QEL_FAMILY_CTX_S *pstCtx);

/* Handler of attribute 66, 20 or 28 bytes. Every broken rule gives QEL_ERR_MSID. */
uint32_t QEL_NGMVPN_ParseMsid(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                              uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Steps: the sub-TLV up to and with the MSID, and the sub-sub-TLVs behind it; pucEnd is the attribute's end. */
uint32_t QEL_NGMVPN_ParsePktMsid_(const uint8_t **ppucCursor, const uint8_t *pucEnd, QEL_NGMVPN_MSID_S *pstMsid);
uint32_t QEL_NGMVPN_ParsePktMsidSubSubTlv_(const uint8_t **ppucCursor, const uint8_t *pucEnd,
                                           QEL_NGMVPN_MSID_S *pstMsid);
/* Writes the attribute as it was received. QEL_ERR_ARGUMENT: the record has no attribute bytes behind its head. */
uint32_t QEL_NGMVPN_FormatMsid(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                               QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
