/* What people read of NG-MVPN routes: display texts and configuration records. */
#ifndef QEL_NGMVPN_DFX_H
#define QEL_NGMVPN_DFX_H

#include "qel_family.h"
#include "qel_ngmvpn_attr_records.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

/* Bytes of the text of a PMSI tunnel, an IPv6 community, a Prefix-SID or an MSID, with its NUL. */
#define QEL_NGMVPN_ATTR_TEXT_LEN 512
/* QEL_NGMVPN_PmsiDataToStr: a tunnel type that has no text. */
#define QEL_NGMVPN_TNL_NOT_SHOWN UINT32_C(5)

/* Display handlers of pfData2Str. pcOut has uiOutLen bytes; the text is NUL-terminated, one list element per call:
 * *puiIndex is the caller's place, *puiMore 1 asks for the next call. QEL_ERR_SPACE for a text of uiOutLen or more. */
uint32_t QEL_NGMVPN_MpNlriData2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                   uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ExtCommunity2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen,
                                     uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_PmsiTnl2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_NonKey2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                               uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_IPv6ExtCommunity2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen,
                                         uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_PfxSidAttr2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                   uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_MsidAttr2Str(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                                 uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);

/* Text of an RD in host order; QEL_ERR_VALUE with nothing written for a type above 2. */
uint32_t QEL_NGMVPN_RdValueToStr(const QEL_RD_VALUE_S *pstRd, char *pcBuf, uint32_t uiBufLen);
/* Text of an address field of ucLen bits (0: "wildcard"); returns pcBuf, left as it was after a report. */
char *QEL_NGMVPN_MpNlriAddr2Str(const QEL_ADDR_AT_S *pstAddr, uint8_t ucLen, uint32_t uiBufLen, char *pcBuf);
/* Steps of the route text by key type; return the characters written, or below 0. */
int32_t QEL_NGMVPN_MpNlriData2StrINTRAIPMSIAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                               uint32_t uiBufLen);
int32_t QEL_NGMVPN_MpNlriData2StrINTERIPMSIAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                               uint32_t uiBufLen);
int32_t QEL_NGMVPN_MpNlriData2StrSPMSIAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                          uint32_t uiBufLen);
int32_t QEL_NGMVPN_MpNlriData2StrIPMSILEAFAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                              uint32_t uiBufLen);
int32_t QEL_NGMVPN_MpNlriData2StrSPMSILEAFAD_(const QEL_NGMVPN_KEY_AT_S *pstKey, const char *pszRd, char *pcBuf,
                                              uint32_t uiBufLen);
/* Text of one community; *puiLen gets the length written. ucAs4Plain shows a four-octet AS as one number. */
uint32_t QEL_NGMVPN_ExtCommVal2Str(const QEL_EXTCOMM_S *pstExtComm, char *pcBuf, uint32_t uiBufLen, uint32_t *puiLen,
                                   uint8_t ucAs4Plain);
uint32_t QEL_NGMVPN_IPv6ExtCommVal2Str(const QEL_IPV6_EXTCOMM_S *pstExtComm, char *pcBuf, uint32_t uiBufLen,
                                       uint32_t *puiLen);
/* Text of a tunnel; the length is added to *puiLen. pcBuf holds QEL_NGMVPN_ATTR_TEXT_LEN bytes whatever uiBufLen says:
 * the BIER text is bounded by uiBufLen behind the flags. QEL_NGMVPN_TNL_NOT_SHOWN with nothing written for another
 * tunnel type. */
uint32_t QEL_NGMVPN_PmsiDataToStr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl, char *pcBuf, uint32_t uiBufLen,
                                  uint32_t *puiLen);
/* Steps: BIER (characters written, or below 0), and the opaque value of a mLDP tunnel at the next free byte. */
int32_t QEL_NGMVPN_BierPmsiToStr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl, char *pcBuf, uint32_t uiBufLen);
uint32_t QEL_NGMVPN_FillLdpOpaquePmsiDataToStr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstTnl, char *pcBuf,
                                               uint32_t *puiSizeLeft, uint32_t *puiLen);

/* Configuration parse handlers: an RD record of 16 bytes, a key record. The result has an RD or a key section. */
uint32_t QEL_NGMVPN_ParseCfgRd(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                               QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseCfgPrefix(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   QEL_FAMILY_CTX_S *pstCtx);
/* Steps of QEL_NGMVPN_ParseCfgPrefix by the record's first word. */
uint32_t QEL_NGMVPN_ParseCfgIntraIpmsiAdKey(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                            QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseCfgInterIpmsiAdKey(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                            QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseCfgSpmsiAdKey(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                       QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseCfgLeafAdKey(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                      QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseCfgSourceActiveAdKey(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                              QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseCfgCMulticastRouteKey(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                               QEL_FAMILY_CTX_S *pstCtx);

/* Configuration format handlers. Record handlers move the output pointer behind the record (16 or 89 bytes), text
 * handlers write NUL-terminated text and leave it. The texts of Prefix-SID and MSID may be exactly uiOutLen long: the
 * host gives one byte more than it says. */
uint32_t QEL_NGMVPN_FormatCfgRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                uint32_t *puiIndex, uint32_t *puiMore);
uint32_t QEL_NGMVPN_FormatCfgPrefix(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                    uint32_t *puiIndex, uint32_t *puiMore);
uint32_t QEL_NGMVPN_FormatCfgExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                          uint32_t *puiIndex, uint32_t *puiMore);
uint32_t QEL_NGMVPN_FormatCfgPmsiTnl(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     uint32_t *puiIndex, uint32_t *puiMore);
uint32_t QEL_NGMVPN_FormatCfgIPv6ExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              uint32_t *puiIndex, uint32_t *puiMore);
uint32_t QEL_NGMVPN_FormatCfgPrefixSid(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                       uint32_t *puiIndex, uint32_t *puiMore);
uint32_t QEL_NGMVPN_FormatCfgMsid(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                  uint32_t *puiIndex, uint32_t *puiMore);
/* Steps of QEL_NGMVPN_FormatCfgPrefix: write one form of the record at pucOut; bytes not named stay as they were. The
 * inter-AS leaf form has no caller. */
void QEL_NGMVPN_FormatCfgIntraIpmsiAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut);
void QEL_NGMVPN_FormatCfgInterIpmsiAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut);
void QEL_NGMVPN_FormatCfgInterIpmsiLeafAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut);
void QEL_NGMVPN_FormatCfgSpmsiAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut);
void QEL_NGMVPN_FormatCfgIntraIpmsiLeafAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut);
void QEL_NGMVPN_FormatCfgSpmsiLeafAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut);
void QEL_NGMVPN_FormatCfgSourceActiveAdKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut);
void QEL_NGMVPN_FormatCfgCMulticastRouteKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t *pucOut);
/* Sets ucRdForm of an RD record, behind the RD at pucRd, by the RD's type and bit 0 of uiRdFlags. */
void QEL_NGMVPN_SetVrfRdType(uint8_t *pucRd, uint32_t uiRdFlag);

/* A key's address field to a record's address and back. uiSize is the field's size in bytes; a length or version that
 * is not known, or a field too small, is reported and changes nothing. On the way back the zero address means none. */
void QEL_NGMVPN_PrefixToIpv4Ipv6(QEL_NGMVPN_CFG_PREFIX_S *pstPrefix, const QEL_ADDR_AT_S *pstAddr, uint32_t uiSize,
                                 uint8_t ucLen);
void QEL_NGMVPN_Ipv4Ipv6ToPrefix(QEL_ADDR_S *pstAddr, uint32_t uiSize, uint8_t *pucLen,
                                 const QEL_NGMVPN_CFG_PREFIX_S *pstPrefix);

QEL_EXTERN_C_END

#endif
