/* Cross values of the NG-MVPN family: the byte strings that say into which import scope a route falls, the TLVs that
 * move them between components, and the route keys inside private import route targets (IRTs). */
#ifndef QEL_NGMVPN_CROSS_H
#define QEL_NGMVPN_CROSS_H

#include "qel_family.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

/* Lengths of a cross value; they tell its form. */
#define QEL_NGMVPN_CROSS_GTM_LEN 4      /* global table marker: all 0x00, or all 0xFF */
#define QEL_NGMVPN_CROSS_RT_LEN 8       /* a QEL_EXTCOMM_S, host order */
#define QEL_NGMVPN_CROSS_IPV6_RT_LEN 20 /* a QEL_IPV6_EXTCOMM_S, host order */
#define QEL_NGMVPN_CROSS_MAX_LEN 79     /* private IRT, from 21 on: type octet, route key, route target in wire order */

/* The longest route key of a private IRT; the room that QEL_NGMVPN_AddRouteKey may fill. */
#define QEL_NGMVPN_IRT_KEY_MAX_LEN 58

/* The first octet of a stored private IRT, and what a search key has in its place. */
#define QEL_NGMVPN_IRT_SPMSI UINT8_C(2)          /* S-PMSI key, IPv4 originator; searched as 0 */
#define QEL_NGMVPN_IRT_INTRA UINT8_C(3)          /* Intra I-PMSI key, IPv4 originator; searched as 1 */
#define QEL_NGMVPN_IRT_SPMSI_ORIG6 UINT8_C(7)    /* S-PMSI key, IPv4 addresses, IPv6 originator; searched as 4 */
#define QEL_NGMVPN_IRT_INTRA_ORIG6 UINT8_C(8)    /* Intra I-PMSI key, IPv6 originator; searched as 5 */
#define QEL_NGMVPN_IRT_SPMSI_V6_ORIG6 UINT8_C(9) /* S-PMSI key, IPv6 addresses, IPv6 originator; searched as 6 */

/* What is open in an S-PMSI key: 1 for the form that it has, else 0. */
typedef struct {
    uint32_t bStarStar;   /* (*,*) */
    uint32_t bStarG;      /* (*,G) */
    uint32_t bSourceStar; /* (S,*) */
    uint32_t bOrigIpv6;   /* the originator has 16 octets */
} QEL_NGMVPN_WC_TYPE_S;
QEL_ASSERT_SIZE(QEL_NGMVPN_WC_TYPE_S, 16);

/* The family's pfGetCross. The host sets *puiCursor to 0 and calls until *puiMore is 0; *ppucCross is then null and
 * *puiCrossLen 0. Each value is allocated on the context's memory handle and owned by the host. The cursor indexes the
 * route's communities, the 8-byte list before the 20-byte one, behind the marker where the route has one; the host does
 * not interpret it. QEL_ERR_MEMORY: no value, *puiMore not written. */
uint32_t QEL_NGMVPN_GetCrossGtm(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                                uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Its two workers: the next route target, as the route type and the instance want it, and the marker. */
uint32_t QEL_NGMVPN_GetCross(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                             uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_GetRdCross(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                               uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);

/* The community under the cursor, host order; *puiElemLen gets 8 or 20, the cursor moves by one. Null at the end of the
 * lists, with both left alone. */
const uint8_t *QEL_NGMVPN_GetCrossExtComm(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiCursor, uint32_t *puiElemLen);

/* 1 for a route target of the three Types, host order, else 0. */
uint32_t QEL_NGMVPN_IsExtcommTypeRt(uint16_t usType);
/* 1 if the route has a community whose Sub-type is that of a route target, whatever its Type; 0 also for a route
 * without a non-key section or with a non-key whose key type is not valid. */
uint32_t QEL_NGMVPN_IsNonKeyHasRt(const QEL_ROUTE_INFO_S *pstRoute, const QEL_NGMVPN_NONKEY_AT_S *pstNonKey);

/* Rewrite the type word, host order, of a C-multicast route's route target of uiLen bytes that stands at pusRt in a
 * buffer of uiSize bytes; a buffer of less than two bytes is reported and left alone. The second serves routes of the
 * global table. */
void QEL_NGMVPN_SetCmcastImpRtType(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, uint16_t *pusRt, uint32_t uiSize,
                                   uint32_t uiLen);
void QEL_NGMVPN_SetImpRtTypeNonKeyRDZero(uint16_t *pusRt, uint32_t uiSize, uint32_t uiLen);

/* Builds the cross value of a Leaf A-D route from its non-key and one community, uiElemLen bytes in host order, in the
 * QEL_NGMVPN_CROSS_MAX_LEN zeroed bytes of pucOut. Returns its length in bytes. An element above 20 bytes is reported;
 * the length is then that of the type octet alone. */
uint32_t QEL_NGMVPN_GetLeafCross(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, const uint8_t *pucElem, uint32_t uiElemLen,
                                 uint8_t *pucOut, QEL_FAMILY_CTX_S *pstCtx);
/* Writes the type octet of a private IRT whose key has ucKeyLen octets; a length that the instance does not know writes
 * nothing. Returns 1 always. */
uint32_t QEL_NGMVPN_AddIrtType(uint8_t *pucOut, uint8_t ucKeyLen, uint16_t usInstanceKind);

/* Compare of cross values of any form: 1, 0, -1, or -2 after a report for a null pointer or a length below 4. A is the
 * stored value, B the search key; the two are not exchangeable. The second form drops uiCmpType and uiAttrType. */
int32_t QEL_NGMVPN_CmpCross(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
int32_t QEL_NGMVPN_CmpCrossAttr(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType,
                                uint32_t uiAttrType);

/* Steps of that compare, each for non-null values. 0 if both values are route targets of one length, else 1. */
uint32_t QEL_NGMVPN_IsCmpPrivateCross(uint32_t uiLenA, uint32_t uiLenB);
int32_t QEL_NGMVPN_CmpPrivateCross(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
/* The shorter value is the smaller, then the order of the bytes. */
int32_t QEL_NGMVPN_CmpGtmRdZero(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
/* 1 if A is a value of an older peer and B a private IRT, and *piResult gets their order; else 0, *piResult stays. */
uint32_t QEL_NGMVPN_CmpLeafCross4ISSU(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                      int32_t *piResult);
/* 1 if the 8-byte value, host order, is an import route target with a Local Administrator of 0, else 0. */
uint32_t QEL_NGMVPN_CheckLeafCross(const uint8_t *pucA);
/* The last 8 of the uiLen octets of a private IRT as they stand, with the type word of an import route target. */
void QEL_NGMVPN_GetImportRtFromPrivateIRT(const uint8_t *pucIrt, uint32_t uiLen, QEL_EXTCOMM_S *pstRt);
/* 1 if length and type octet are those of a private IRT that searches find, else 0; null is reported, 0. */
uint32_t QEL_NGMVPN_IsLeafSearch(const uint8_t *pucA, uint32_t uiLen);
/* Order of a stored private IRT and a search key of the same length; 0 too if they match but for source and group. */
int32_t QEL_NGMVPN_IsExtCommunityMatch(const uint8_t *pucA, uint32_t uiLenA, const uint8_t *pucB, uint32_t uiLenB);
/* 1 if a stored S-PMSI value names a source or a group and the search key names neither; null is reported, 0. */
uint32_t QEL_NGMVPN_NeedSkipAddress(const uint8_t *pucA, uint32_t uiLenA, const uint8_t *pucB, uint32_t uiLenB);
/* 1 if RD, originator and route target of two S-PMSI values of at least 31 octets are equal; null is reported, 0. */
uint32_t QEL_NGMVPN_IsExtCommMatchExclAddr(const uint8_t *pucA, const uint8_t *pucB);
/* Stores at pucOut the search number of the type octet of the stored private IRT pucA; other octets as they are. */
void QEL_NGMVPN_PrivateExtCommTypeTrans(const uint8_t *pucA, uint8_t *pucOut);

/* Message handlers: the TLV's value to a block of one cross section. A length that is no cross value gives
 * QEL_ERR_NULL, in the first form without a report but for lengths below 4; QEL_ERR_VALUE: a type word that is no route
 * target. The second takes private IRTs, and completes those of 20 and of 54 octets with their missing type octet. */
uint32_t QEL_NGMVPN_ParseIrtTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseVrfIrtTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                   QEL_FAMILY_CTX_S *pstCtx);
/* Message handler: writes the route's cross value, route targets in wire order. No value: QEL_OK and nothing written.
 * QEL_ERR_SPACE: the value is longer than uiMaxLen. pstCtx is not read. */
uint32_t QEL_NGMVPN_FormatIrtTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                 QEL_FAMILY_CTX_S *pstCtx);

/* Writes a route key of *pucKeyLen octets, RD first, as a private IRT of the instance holds it; *pucKeyLen gets the
 * length written where that differs. Nothing is written after a report. */
void QEL_NGMVPN_AddRouteKey(uint8_t *pucOut, const uint8_t *pucKey, uint8_t *pucKeyLen, uint16_t usInstanceKind);
/* Writes a wildcard key of an IPv4 instance in the full shape, 22 octets or 34, and stores that length. */
void QEL_NGMVPN_ChangeRouteKeyFormat(uint8_t *pucOut, const uint8_t *pucKey, uint8_t *pucKeyLen,
                                     const QEL_NGMVPN_WC_TYPE_S *pstWc);
/* Fill the wildcard words, the first for IPv4 instances, the second for IPv6 ones; else, and for a length that no key
 * has, they stay. pucOut is not read. */
void QEL_NGMVPN_GetIPv4WcType(const uint8_t *pucOut, const uint8_t *pucKey, uint16_t usInstanceKind,
                              const uint8_t *pucKeyLen, QEL_NGMVPN_WC_TYPE_S *pstWc);
void QEL_NGMVPN_GetIPv6WcType(const uint8_t *pucOut, const uint8_t *pucKey, uint16_t usInstanceKind,
                              const uint8_t *pucKeyLen, QEL_NGMVPN_WC_TYPE_S *pstWc);
/* Copy the fields of a (*,*), a (*,G) and an (S,*) key of an IPv4 instance to their places in the full shape, in the
 * uiSize zeroed bytes of pucOut. */
void QEL_NGMVPN_RouteKeyWildCardSet(const QEL_NGMVPN_WC_TYPE_S *pstWc, const uint8_t *pucKey, uint8_t *pucOut,
                                    uint32_t uiSize);
void QEL_NGMVPN_RouteKeyWildCardGSet(const QEL_NGMVPN_WC_TYPE_S *pstWc, const uint8_t *pucKey, uint8_t *pucOut,
                                     uint32_t uiSize);
void QEL_NGMVPN_RouteKeyWildCardSSet(const QEL_NGMVPN_WC_TYPE_S *pstWc, const uint8_t *pucKey, uint8_t *pucOut,
                                     uint32_t uiSize);

QEL_EXTERN_C_END

#endif
