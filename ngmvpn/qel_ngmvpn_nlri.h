/* MCAST-VPN routes (RFC 6514, section 4) of the NG-MVPN family: parsing, formatting, comparison, and whether a route
 * may be advertised to a peer. */
#ifndef QEL_NGMVPN_NLRI_H
#define QEL_NGMVPN_NLRI_H

#include "qel_family.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

/* uiMsgKind of QEL_NGMVPN_ParseMsgTypeSwitchRdType for a path attribute. */
#define QEL_NGMVPN_MSG_KIND_PKT UINT32_C(2)
/* uiMsgForm of the NLRI formatters for a path attribute. */
#define QEL_NGMVPN_MSG_FORM_PKT UINT32_C(2)

/* Handler of attributes 14 and 15: reads one route of the uiLen NLRI octets at the cursor into a block of RD, key and
 * non-key. *puiMore 1: another route may follow. QEL_ERR_NLRI_MALFORMED: give the attribute up.
 * QEL_ERR_NLRI_REFUSED: the route is not taken; it is stepped over for an unknown route type or an RD type above 2, in
 * a Leaf A-D route by two octets too many. A block that cannot be allocated loses the route quietly: QEL_OK. */
uint32_t QEL_NGMVPN_ParseMpNlri(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);

/* The parsers of the route types. The cursor stands behind the route's two header octets; uiNlriLen is the route's
 * length octet, uiRemain the octets from the cursor to the end of the attribute. */
uint32_t QEL_NGMVPN_ParseBgpIntraIpmsiAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                         QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                         QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseBgpInterIpmsiAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                         QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                         QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseBgpSpmsiAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                    QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                    QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseBgpLeafAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                   QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                   QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseIntraIpmsiLeaf(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                        QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                        QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseSpmsiLeaf(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                   QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                   QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseBgpSourceActiveAd(const uint8_t **ppucCursor, uint32_t uiNlriLen, uint32_t uiRemain,
                                           QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, uint8_t ucRdKind,
                                           QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseBgpCMulticastRoute(uint32_t uiRouteType, const uint8_t **ppucCursor, uint32_t uiNlriLen,
                                            uint32_t uiRemain, QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                            uint8_t ucRdKind, QEL_FAMILY_CTX_S *pstCtx);

/* The parser of the route type; QEL_ERR_VALUE: none. */
uint32_t QEL_NGMVPN_ParseNlriOfType_(uint32_t uiRouteType, const uint8_t **ppucCursor, uint32_t uiNlriLen,
                                     uint32_t uiRemain, QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                     uint8_t ucRdKind, QEL_FAMILY_CTX_S *pstCtx);

/* Reads one length-prefixed address. *pucLen gets the length octet, *pucConsumed the octets taken with it, *pusFamily
 * 1, 2 or 0 for a wildcard, *puiRet QEL_OK, QEL_ERR_NLRI_MALFORMED or, for a zero address, QEL_ERR_NLRI_REFUSED. The
 * caller makes sure that the octets are there. ucFamilyHint 1 or 2: a wildcard stands with its zero octets. */
void QEL_NGMVPN_GetAddrAndLen(const uint8_t **ppucCursor, QEL_ADDR_S *pstAddr, uint8_t *pucLen, uint8_t *pucConsumed,
                              uint8_t ucFamilyHint, uint32_t *puiRet, uint16_t *pusFamily);
void QEL_NGMVPN_GetAddrAndLenWhenZero(const uint8_t **ppucCursor, QEL_ADDR_S *pstAddr, uint8_t *pucLen,
                                      uint8_t *pucConsumed, uint8_t ucFamilyHint, uint32_t *puiRet,
                                      uint16_t *pusFamily);

/* QEL_ERR_NLRI_REFUSED if group or source are of the other family than the instance's, else QEL_OK. */
uint32_t QEL_NGMVPN_CheckPktAddrFamily(uint16_t usGrpFamily, uint16_t usSrcFamily, uint16_t usAddrFamily);

/* Copies the key's RD to the non-key and marks it valid. */
void QEL_NGMVPN_ParseNlriSetRdNonKey(const QEL_NGMVPN_KEY_AT_S *pstKey, QEL_NGMVPN_NONKEY_S *pstNonKey);

/* Stores the ucRdKind that a parser of the message kind uiMsgKind files a route with. */
void QEL_NGMVPN_ParseMsgTypeSwitchRdType(uint32_t uiRouteType, uint8_t *pucRdKind, uint32_t uiMsgKind,
                                         uint8_t ucDefault);
/* 0 for route numbers 4 to 7, else 1. */
uint32_t QEL_NGMVPN_RDCheckIsKey(uint32_t uiRouteType);

/* 1 if the embedded and the outer length of a Leaf A-D route of an S-PMSI fit each other; then *puiIsV6 tells whether
 * its originator and leaf address are 16 octets. Else 0, and *puiIsV6 is not written. */
uint32_t QEL_NGMVPN_GetUndTypeBySpmsiLeafAdKeyLen(uint32_t uiInnerLen, uint32_t uiNlriLen, uint32_t *puiIsV6,
                                                  const QEL_FAMILY_CTX_S *pstCtx);

/* Steps: the originator of an S-PMSI A-D route, the two addresses behind a Leaf A-D route's group; both return the
 * octets of one address, 4 or 16. */
uint32_t QEL_NGMVPN_ParseBgpSpmsiAdOrigiRouterIp_(uint32_t uiNlriLen, const uint8_t **ppucCursor,
                                                  QEL_NGMVPN_KEY_S *pstKey);
uint32_t QEL_NGMVPN_ParseSpmsiLeafOriginRouterIp_(uint32_t uiIsV6, const uint8_t **ppucCursor,
                                                  QEL_NGMVPN_KEY_S *pstKey);

/* Rebuilds the embedded S-PMSI route of a Leaf A-D key in wire form in aucEmbeddedKey and marks it valid. */
void QEL_NGMVPN_FormatSpmsiRoutekey(const QEL_NGMVPN_KEY_AT_S *pstKey, QEL_NGMVPN_NONKEY_S *pstNonKey,
                                    QEL_FAMILY_CTX_S *pstCtx);

/* Stores the wire's route type, 1 to 7, or 0 for a key type outside 1 to 8. No route or no key: 0 and
 * QEL_ERR_ARGUMENT. */
uint32_t QEL_NGMVPN_GetRouteType(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiRouteType);

/* Handler of attributes 14 and 15: writes the route at the cursor in wire form. uiOutLen is tested against the largest
 * form of the route type (QEL_ERR_SPACE). QEL_ERR_ABSENT: no key; QEL_ERR_VALUE: key type outside 1 to 8. */
uint32_t QEL_NGMVPN_FormatMpNlri(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                 QEL_FAMILY_CTX_S *pstCtx);

/* The formatters of the route types; uiMsgForm is not read. */
uint32_t QEL_NGMVPN_FormatBgpIntraIpmsiAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              uint32_t uiMsgForm);
uint32_t QEL_NGMVPN_FormatBgpInterIpmsiAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              uint32_t uiMsgForm);
uint32_t QEL_NGMVPN_FormatBgpSpmsiAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                         uint32_t uiMsgForm);
uint32_t QEL_NGMVPN_FormatBgpLeafAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                        uint32_t uiMsgForm);
uint32_t QEL_NGMVPN_FormatBgpSourceActiveAdNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiOutLen, uint32_t uiMsgForm);
uint32_t QEL_NGMVPN_FormatBgpCMulticastRouteNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                 uint32_t uiOutLen, uint32_t uiMsgForm);
/* The formatter of the type of the route's key, which has to be there; QEL_ERR_VALUE: none. */
uint32_t QEL_NGMVPN_FormatNlriOfKey_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                     uint32_t uiMsgForm);
/* Step: the I-PMSI form of a Leaf A-D route, from the outer length octet on. Returns QEL_OK. */
uint32_t QEL_NGMVPN_FormatBgpLeafAdNlriIPMSILEAFAD_(const QEL_ROUTE_INFO_S *pstRoute, const QEL_NGMVPN_KEY_AT_S *pstKey,
                                                    uint8_t **ppucCursor);

/* Writes one length-prefixed address; *pucConsumed gets the octets written. A length byte other than 0, 32 and 128 is
 * written, reported, and *pucConsumed stays. ucFamilyHint 1 or other than 0: a wildcard is written with its octets. */
void QEL_NGMVPN_SetAddrAndLen(uint8_t **ppucCursor, const QEL_ADDR_AT_S *pstAddr, uint8_t ucLen, uint8_t *pucConsumed,
                              uint8_t ucFamilyHint);

/* Compares: 1, 0, -1, or -2 after a report for a null pointer or a length that is not the section's. */
int32_t QEL_NGMVPN_CmpRd(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_NGMVPN_CmpKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_NGMVPN_CmpNonKey(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_NGMVPN_CmpAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
/* Communities in host order, sizes of at least one element: by Sub-type, then Type, then value. */
int32_t QEL_NGMVPN_CmpExtCommunity(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_NGMVPN_CmpIPv6ExtCommunity(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
/* The forms that pfCmpDataForAttrType reaches; the first three drop uiCmpType and uiAttrType. */
int32_t QEL_NGMVPN_CmpRdAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType,
                             uint32_t uiAttrType);
int32_t QEL_NGMVPN_CmpKeyAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType,
                              uint32_t uiAttrType);
int32_t QEL_NGMVPN_CmpNonKeyAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType,
                                 uint32_t uiAttrType);
int32_t QEL_NGMVPN_CmpAttrNew(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType,
                              uint32_t uiAttrType);

/* Steps of QEL_NGMVPN_CmpKey: RDs count only where both keys hold one as key. */
int32_t QEL_NGMVPN_CmpNlriRD(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB);
int32_t QEL_NGMVPN_CmpIntraIpmsiAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB);
int32_t QEL_NGMVPN_CmpInterIpmsiAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB);
int32_t QEL_NGMVPN_CmpSpmsiAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB);
int32_t QEL_NGMVPN_CmpIpmsiLeafAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB);
int32_t QEL_NGMVPN_CmpSpmsiLeafAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB);
int32_t QEL_NGMVPN_CmpSourceActiveAdKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB);
int32_t QEL_NGMVPN_CmpCMulticastRouteKey(const QEL_NGMVPN_KEY_AT_S *pstKeyA, const QEL_NGMVPN_KEY_AT_S *pstKeyB);

/* Key types and their advertisement checks. */
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCheckRouteToAdvTbl[8];

/* uiCheckType of pfCheckRouteForAdv that has the route looked at; any other passes it. */
#define QEL_NGMVPN_CHECK_PEER UINT32_C(2)

/* The family's pfCheckRouteForAdv. A route whose user data is no peer record is not advertised. In a peer mode other
 * than 0 the two address lengths of the peer record have to be equal, in mode 0 QEL_NGMVPN_CheckRoute decides. Returns
 * QEL_OK. */
uint32_t QEL_NGMVPN_CheckRouteForAdv(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCheckType, uint32_t *puiAdv);
/* The check of the key's type: 1 if the route may go to the peer, else 0; 1 for a type without a row. */
uint32_t QEL_NGMVPN_CheckRoute(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstUserData,
                               const QEL_NGMVPN_KEY_AT_S *pstKey);

/* The checks; pvKey is the key section. A-D routes pass if their originator, of a Leaf A-D route the leaf, is of the
 * peer's address family; Inter I-PMSI and Source Active A-D routes always; C-multicast routes by
 * QEL_NGMVPN_CheckCmcastRoute2Adv. */
uint32_t QEL_NGMVPN_CheckIntraAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer, const void *pvKey);
uint32_t QEL_NGMVPN_CheckInterAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer, const void *pvKey);
uint32_t QEL_NGMVPN_CheckSpmsiAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer, const void *pvKey);
uint32_t QEL_NGMVPN_CheckIntraLeafAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer,
                                         const void *pvKey);
uint32_t QEL_NGMVPN_CheckSpmsiLeafAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer,
                                         const void *pvKey);
uint32_t QEL_NGMVPN_CheckSrcActiveAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer,
                                         const void *pvKey);
uint32_t QEL_NGMVPN_CheckSharedTreeAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer,
                                          const void *pvKey);
uint32_t QEL_NGMVPN_CheckSourceTreeAd2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer,
                                          const void *pvKey);
/* Towards an IPv4 peer 1 if the community list, where there is one, holds an import target; else 1 if the peer is IPv6
 * and the route has IPv6 communities. */
uint32_t QEL_NGMVPN_CheckCmcastRoute2Adv(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstUserData);
/* 1 if an element that the walk meets is a Route Import community; it meets elements 0, 1, 3, 6, 10 and so on. A list
 * that is empty or no whole number of elements is reported, 0. */
uint32_t QEL_NGMVPN_IsExistImportRtInIPv4ExtComm(const QEL_ROUTE_INFO_S *pstRoute);

QEL_EXTERN_C_END

#endif
