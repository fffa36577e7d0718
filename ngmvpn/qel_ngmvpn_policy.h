/* Routing policy of the NG-MVPN family: what the policy engine matches on, the actions on the community list, the
 * values that a route's attributes go out with, and the user data of next-hop lookups. */
#ifndef QEL_NGMVPN_POLICY_H
#define QEL_NGMVPN_POLICY_H

#include "qel_family.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

/* Match types, the bits of uiMatchMask. */
#define QEL_NGMVPN_MATCH_EXTCOMM UINT32_C(0x4)
#define QEL_NGMVPN_MATCH_MVPN_TYPE UINT32_C(0x100)
#define QEL_NGMVPN_MATCH_RD UINT32_C(0x800)
#define QEL_NGMVPN_MATCH_SNH_EXTCOMM UINT32_C(0x100000)
#define QEL_NGMVPN_MATCH_ORIGI_IP UINT32_C(0x200000)

/* TLV types of the match buffer. A TLV is type and length of the value, two octets each in network order, and the
 * value. */
#define QEL_NGMVPN_MATCH_TLV_EXTCOMM UINT16_C(11)
#define QEL_NGMVPN_MATCH_TLV_RD UINT16_C(13)
#define QEL_NGMVPN_MATCH_TLV_MVPN_TYPE UINT16_C(38)
#define QEL_NGMVPN_MATCH_TLV_ORIGI_IP UINT16_C(39)

/* Action codes. */
#define QEL_NGMVPN_ACTION_EXTCOMM_REPLACE UINT32_C(6)
#define QEL_NGMVPN_ACTION_EXTCOMM_ADD UINT32_C(7)
#define QEL_NGMVPN_ACTION_EXTCOMM_DELETE UINT32_C(87)

/* Bit of usRtpFlags: the route has no prefix to match. */
#define QEL_NGMVPN_RTP_NO_PREFIX UINT16_C(0x8)

/* Match type bits and handlers, in the order of the TLVs in the buffer. */
extern const QEL_DISPATCH_ENTRY_S g_astQelNgmvpnConstructMatchTbl[5];

/* The family's pfConstructRtpEntry: the originator of an Intra I-PMSI A-D route, as a prefix of full length. Any other
 * route gets QEL_NGMVPN_RTP_NO_PREFIX set and nothing else. */
uint32_t QEL_NGMVPN_ConstructRtpEntry(const QEL_ROUTE_INFO_S *pstRoute, QEL_RTP_ENTRY_S *pstRtpEntry);

/* The family's pfConstructMatch: a buffer of match TLVs, which the host owns. A route that has nothing to match, or no
 * community list where uiMatchMask asks for it, gives QEL_OK and leaves both outputs alone. uiMatchMask 0 is reported,
 * QEL_ERR_NULL. QEL_ERR_MEMORY leaves the outputs alone; QEL_ERR_FAILED, with null and 0 stored, when a TLV can't be
 * written. */
uint32_t QEL_NGMVPN_ConstructMatch(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t **ppucMatch,
                                   uint32_t *puiMatchLen, QEL_FAMILY_CTX_S *pstCtx);
/* Stores the bytes that the match buffer needs. No community list where uiMatchMask asks for one: QEL_OK, nothing
 * stored. */
uint32_t QEL_NGMVPN_CalcRtpMatchTlvLen(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint32_t *puiMatchLen);

/* Handlers of the match types: one TLV at the cursor, which moves behind it; *puiRemain, the room at the cursor in
 * bytes, goes down by as much. QEL_ERR_SPACE: no room. Both stay on failure. */
/* The RD as it stands in memory. QEL_ERR_ABSENT: the route has none. */
uint32_t QEL_NGMVPN_ConstructMatchRd(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                     QEL_FAMILY_CTX_S *pstCtx);
/* The community list in network order; without a list QEL_OK and nothing. QEL_ERR_MEMORY. */
uint32_t QEL_NGMVPN_ConstructMatchExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                               uint32_t *puiRemain, QEL_FAMILY_CTX_S *pstCtx);
/* The same for Intra I-PMSI and S-PMSI A-D routes; QEL_OK and nothing for the others, as in the two handlers below. */
uint32_t QEL_NGMVPN_ConstructMatchSnhExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                  uint32_t *puiRemain, QEL_FAMILY_CTX_S *pstCtx);
/* The route type, one octet. */
uint32_t QEL_NGMVPN_ConstructMatchMvpnType(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                           QEL_FAMILY_CTX_S *pstCtx);
/* The originator in network order; QEL_OK and nothing for one that is not IPv4. */
uint32_t QEL_NGMVPN_ConstructMatchOrigiIp(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                          QEL_FAMILY_CTX_S *pstCtx);

/* Handler of the three actions on the community list. pucValue holds uiValueLen bytes of 8-byte elements in network
 * order; a rest of less than one element is not counted. The block carries the new list, sorted and free of duplicates,
 * in host order; a block without value tells the host to remove attribute 16. An unknown action stores null and gives
 * QEL_OK. QEL_ERR_NULL also for an add of 0 bytes, QEL_ERR_MEMORY without work memory, QEL_ERR_ALLOC without the sort's
 * scratch or the block. */
uint32_t QEL_NGMVPN_ApplyExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                      uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);

/* Steps of it. Every buffer that one of them makes is scratch memory: give it back with QEL_NGMVPN_FreeTempValue.
 * QEL_ERR_MEMORY: no buffer. */
/* The action's list in host order; 0 bytes give QEL_OK and leave *ppucHost alone. */
uint32_t QEL_NGMVPN_InitHostAction(uint32_t uiValueLen, uint8_t **ppucHost, const uint8_t *pucValue,
                                   QEL_FAMILY_CTX_S *pstCtx);
/* The route's list without Route Targets, in a buffer of uiExtCommLen bytes; *pusTempLen gets the bytes in use. A list
 * without a whole element gives QEL_OK and leaves both outputs alone. */
uint32_t QEL_NGMVPN_InitTempExtCommValue(const uint8_t *pucExtComm, uint32_t uiExtCommLen, uint8_t **ppucTemp,
                                         uint16_t *pusTempLen, QEL_FAMILY_CTX_S *pstCtx);
/* Copies the elements, host order, that are no Route Target of any kind; pucOut has room for usCount elements.
 * *pusOutLen gets the bytes copied. */
void QEL_NGMVPN_GetExtCommAttrExcludeRT(const uint8_t *pucExtComm, uint16_t usCount, uint8_t *pucOut,
                                        uint16_t *pusOutLen);
/* A cleared buffer of uiLen bytes. */
uint32_t QEL_NGMVPN_InitApplyExtComm(uint8_t **ppucApply, uint32_t uiLen, QEL_FAMILY_CTX_S *pstCtx);
/* Gives a buffer back and sets *ppucValue to null; one that is null already is left as it is, without report. */
void QEL_NGMVPN_FreeTempValue(uint8_t **ppucValue, QEL_FAMILY_CTX_S *pstCtx);

/* Handlers of pfSetAttr. A route without the value stores null and gives QEL_OK. */
/* Attribute 16: the community list, host order. The Segmented Next-Hop is replaced on a route with an import attribute
 * record, removed towards an EBGP peer on one without; a list that it leaves empty stores null. With
 * QEL_NGMVPN_CTRL_DROP_NON_TRANSITIVE the non-transitive elements are left out; a list that this leaves empty gives
 * QEL_ERR_NULL. QEL_ERR_MEMORY also for a list in which there is no Segmented Next-Hop to replace. */
uint32_t QEL_NGMVPN_SetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCtrlFlag,
                                    QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
/* Attribute 3: 16 bytes, the user address of the non-key; an IPv4 one, host order, in the first four. */
uint32_t QEL_NGMVPN_SetNexthop(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCtrlFlag, QEL_ROUTE_BLOCK_S **ppstResult,
                               QEL_FAMILY_CTX_S *pstCtx);
/* Attribute 8: the one community NO_EXPORT (RFC 1997), host order, unless the non-key's user value is 1. */
uint32_t QEL_NGMVPN_SetCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCtrlFlag, QEL_ROUTE_BLOCK_S **ppstResult,
                                 QEL_FAMILY_CTX_S *pstCtx);

/* The family's pfGetExtCommunity. No list: null and 0. QEL_ERR_MEMORY leaves both outputs alone. */
uint32_t QEL_NGMVPN_GetExtCommunity(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucList, uint32_t *puiCount,
                                    QEL_FAMILY_CTX_S *pstCtx);

/* User data of a next-hop lookup, 28 bytes: kind (32 bits, host order), the key's RD as it stands, address. */
#define QEL_NGMVPN_NHP_DATA_LEN 28
#define QEL_NGMVPN_NHP_RD_AT 4
#define QEL_NGMVPN_NHP_ADDR_AT 12
#define QEL_NGMVPN_NHP_IPV4 UINT32_C(0)
#define QEL_NGMVPN_NHP_IPV6 UINT32_C(1)

/* The family's pfGetCmcastNhpUserData, for key types 1, 7 and 8; null and 0 for the others and on QEL_ERR_MEMORY. */
uint32_t QEL_NGMVPN_GetCmcastNhpUserData(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucData, uint32_t *puiLen,
                                         QEL_FAMILY_CTX_S *pstCtx);
/* Steps: fill the cleared 28 bytes at pucData. An Intra I-PMSI A-D route: its originator. */
void QEL_NGMVPN_GetCmcastNhpUserDataForIntraAd(uint8_t *pucData, const QEL_NGMVPN_KEY_AT_S *pstKey);
/* A C-multicast route: without IPv6 communities the source AS of its key, else the address of the first IPv6 community
 * in wire order; all zero for a dual root. */
void QEL_NGMVPN_GetCmcastNhpUserDataForCmcast(uint8_t *pucData, const QEL_NGMVPN_KEY_AT_S *pstKey,
                                              const QEL_ROUTE_INFO_S *pstRoute);
/* 1 for a global table route (RD of zeros) with more than one IPv6 community, else 0. */
uint32_t QEL_NGMVPN_IsGtmBierV6CmcastDualRoot(const QEL_NGMVPN_KEY_AT_S *pstKey, const QEL_ROUTE_INFO_S *pstRoute);

/* The family's pfGetIntraNlriKeyByUserData: a block of RD and Intra I-PMSI A-D key. A kind octet above 1 stores null
 * and gives QEL_OK. uiLen QEL_NGMVPN_NHP_DATA_LEN is reported, QEL_ERR_NULL; any other is not looked at, 28 bytes are
 * read. */
uint32_t QEL_NGMVPN_GetIntraNlriKeyByUserData(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                              QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
