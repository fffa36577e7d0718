/* Attribute message 40: a whole import attribute record as one flat value, between components and to the standby board.
 * Only IPv4 originators travel in this form. */
#ifndef QEL_NGMVPN_SEGMENT_IMPORTATTR_H
#define QEL_NGMVPN_SEGMENT_IMPORTATTR_H

#include "qel_family.h"
#include "qel_ngmvpn_attr_records.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

/* Octets of the value: key type, key area, RD; the same with the policy id, the policy info and both attribute heads.
 */
#define QEL_NGMVPN_IMPORT_VALUE_KEY_LEN UINT32_C(100)
#define QEL_NGMVPN_IMPORT_VALUE_HEAD_LEN UINT32_C(148)

/* Handlers of attribute message 40. The writer gives QEL_OK and writes nothing for a route without a non-key section;
 * QEL_ERR_SPACE, QEL_ERR_FAILED (IPv6 originator, tunnel not carried), QEL_ERR_VALUE (key type). The reader gives
 * QEL_ERR_TLV for a short value, four octets behind each part included; QEL_ERR_MEMORY; QEL_ERR_VALUE (key type, RD
 * type); QEL_ERR_IMPORT_PMSI, QEL_ERR_IMPORT_PMSI_LEN and the codes of QEL_NGMVPN_ParseTnlIdentifier. */
uint32_t QEL_NGMVPN_FormatImportAttrTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                        QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseImportAttrTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                       QEL_FAMILY_CTX_S *pstCtx);

/* Steps of the writer: the first 100 octets, by key type. Octets that carry nothing keep what the buffer holds. The
 * cursor moves on success alone. */
uint32_t QEL_NGMVPN_FormatImportAttrNlri(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr, uint8_t **ppucCursor,
                                         uint32_t uiMaxLen, QEL_FAMILY_CTX_S *pstCtx);
/* The key area: the cursor stands behind the key type and is moved by 96. */
uint32_t QEL_NGMVPN_FormatImportAttrNlriIntraIpmsiAd_(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr, uint8_t **ppucCursor);
uint32_t QEL_NGMVPN_FormatImportAttrNlriSpmsiAd_(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr, uint8_t **ppucCursor);
/* The replaced tunnel: flags, type, label, identifier. uiMaxLen is the room for all of it, in the three forms too,
 * whose cursor stands on the identifier, behind five octets. uiPmsiLen: length of the record. The cursor moves on
 * success alone. */
uint32_t QEL_NGMVPN_FormatImportAttrPmsi(const QEL_NGMVPN_PMSI_TNL_AT_S *pstPmsi, uint32_t uiPmsiLen,
                                         uint8_t **ppucCursor, uint32_t uiMaxLen);
uint32_t QEL_NGMVPN_FormatPmsiRsvpTeImportAttr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstPmsi, uint8_t **ppucCursor,
                                               uint32_t uiMaxLen);
uint32_t QEL_NGMVPN_FormatPmsiLdpImportAttr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstPmsi, uint32_t uiPmsiLen,
                                            uint8_t **ppucCursor, uint32_t uiMaxLen);
uint32_t QEL_NGMVPN_FormatPmsiBierImportAttr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstPmsi, uint8_t **ppucCursor,
                                             uint32_t uiMaxLen);

/* Steps of the reader: the first 100 octets; the cursor is moved behind them also for an RD type above 2. */
uint32_t QEL_NGMVPN_ParseImportAttrNlri(const uint8_t **ppucCursor, uint32_t uiLen, QEL_NGMVPN_IMPORT_ATTR_S *pstAttr,
                                        QEL_FAMILY_CTX_S *pstCtx);
/* One tunnel of usTlvLen octets. pucOut has room for a whole QEL_NGMVPN_PMSI_TNL_S; *pusOutLen gets the length that the
 * record takes in a route. A well-formed tunnel that is not carried gives QEL_OK, is stepped over, and neither pucOut
 * nor *pusOutLen is written. */
uint32_t QEL_NGMVPN_ParseImportAttrPmsiTnl(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t *pucOut,
                                           uint16_t *pusOutLen, QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
