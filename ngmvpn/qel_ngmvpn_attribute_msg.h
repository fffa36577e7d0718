/* Attribute messages of the NG-MVPN family: one path attribute of a route as the value of a message, in its wire form.
 * The handlers neither read nor write a TLV header. */
#ifndef QEL_NGMVPN_ATTRIBUTE_MSG_H
#define QEL_NGMVPN_ATTRIBUTE_MSG_H

#include "qel_family.h"
#include "qel_ngmvpn_attr_records.h"

QEL_EXTERN_C_BEGIN

/* The list as it came, host order, neither sorted nor freed of duplicates; bytes behind the last whole element go along
 * unswapped. QEL_ERR_EXTCOMM_TLV: less than one element; QEL_ERR_MEMORY. */
uint32_t QEL_NGMVPN_ParseRtExtCommunityTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                           QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseRtIPv6ExtCommunityTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                               QEL_FAMILY_CTX_S *pstCtx);
/* The attributes 22, 40 and 66 with the codes of their packet parsers. A tunnel that is not carried fails too. */
uint32_t QEL_NGMVPN_ParsePmsiTnlTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                    QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseRtPfxSidTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                     QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseRtMsidTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   QEL_FAMILY_CTX_S *pstCtx);

/* The route's list in network order; a route without one gives QEL_OK and writes nothing, also without a context.
 * QEL_ERR_SPACE; QEL_ERR_MEMORY, also for a list of 0 bytes and without a context. */
uint32_t QEL_NGMVPN_FormatExtCommunityTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                          QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatIPv6ExtCommunityTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              QEL_FAMILY_CTX_S *pstCtx);
/* As QEL_NGMVPN_FormatPrefixSid and QEL_NGMVPN_FormatMsid. */
uint32_t QEL_NGMVPN_FormatRtPfxSidTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                      QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatRtMsidTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    QEL_FAMILY_CTX_S *pstCtx);
/* The tunnel that QEL_NGMVPN_GetPmsiTnlFromTlv names; without one QEL_OK and nothing written. pstCtx is not read.
 * QEL_ERR_SPACE; QEL_ERR_FAILED, reported: a tunnel type that is not carried, or an opaque value longer than the
 * record. The cursor stays on failure. */
uint32_t QEL_NGMVPN_FormatPmsiTnlTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     QEL_FAMILY_CTX_S *pstCtx);
/* Step: the BIER identifier; uiOutLen is the room of the whole attribute, whose first five bytes are written. */
uint32_t QEL_NGMVPN_FormatPmsiTnlTlvTnlBier_(uint8_t **ppucCursor, const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl,
                                             uint32_t uiOutLen);
/* The tunnel record to write and its length in bytes: that of the original attributes if the route has an import
 * attribute, else the route's own, null if it has none. A null argument is reported, null. */
const QEL_NGMVPN_PMSI_TNL_AT_S *QEL_NGMVPN_GetPmsiTnlFromTlv(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiPmsiLen);

QEL_EXTERN_C_END

#endif
