/* The contract between the BGP core and a multicast address family: the descriptor that construction fills, the
 * private context, and the operations that the core reaches through the descriptor. */
#ifndef QEL_FAMILY_H
#define QEL_FAMILY_H

#include "qel_codes.h"
#include "qel_route.h"

QEL_EXTERN_C_BEGIN

#define QEL_TYPE_LIST_MAX 20
#define QEL_INLINE_BUF_LEN 256

/* Messages between components, policy action values and next-hop user data come from trusted senders, and some readers
 * go past a value: the host keeps such a buffer readable for this many bytes behind its end. */
#define QEL_MSG_READ_SLACK 128

/* Private context of one family instance: made by construction on the host's memory handle, owned by the host until it
 * calls the family's Destruct. Not protected against concurrent calls. The MDT and VPNv4 multicast families allocate
 * the first QEL_FAMILY_CTX_BASE_LEN bytes alone. */
typedef struct {
    uint32_t uiMemHandle;     /* every block that the library makes for the host is taken from it */
    uint32_t uiInlineBufUsed; /* 1 while aucInlineBuf is lent out */
    uint8_t aucInlineBuf[QEL_INLINE_BUF_LEN];
    uint16_t usAddrFamily;   /* NG-MVPN only: low half of the descriptor's uiAddrFamily as the host gave it */
    uint16_t usInstanceKind; /* NG-MVPN only: component code, 0 after plain construction */
    uint32_t uiDebugModule;  /* NG-MVPN only */
    uint32_t uiDebugHandle;  /* NG-MVPN only: 0 means that debug output is off */
} QEL_FAMILY_CTX_S;
#define QEL_FAMILY_CTX_BASE_LEN 264
QEL_ASSERT_SIZE(QEL_FAMILY_CTX_S, 276);
QEL_ASSERT_OFFSET(QEL_FAMILY_CTX_S, aucInlineBuf, 8);
QEL_ASSERT_OFFSET(QEL_FAMILY_CTX_S, usAddrFamily, QEL_FAMILY_CTX_BASE_LEN);

/* Operations. Unless an operation says otherwise: a null argument is reported with ZVK_Assert and answered with
 * QEL_ERR_NULL; ppucCursor is moved behind what was read or written; uiOutLen is the room at the write cursor in bytes;
 * *ppstResult receives a block that the host owns. On failure it is left alone, or null where the step that makes the
 * block says so: it never points at anything that is not the host's. */

/* Reads one path attribute value of uiLen bytes, or one route of it. *puiMore 1: call again with what is left. An
 * attribute type that the family does not know, and uiLen 0, give 0 and write nothing. */
typedef uint32_t (*QEL_PARSE_PKT_F)(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t uiIgnored, uint32_t uiAttrType,
                                    QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Writes a path attribute value. The route is not const: VPNv4 multicast writes uiMplsLabel back. */
typedef uint32_t (*QEL_FORMAT_PKT_F)(QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint8_t **ppucCursor,
                                     uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
/* Works out the outgoing value of an attribute; uiCtrlFlag holds the host's control flags. */
typedef uint32_t (*QEL_SET_ATTR_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint32_t uiCtrlFlag,
                                   QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
/* Decides what becomes of a route after policy: 0, QEL_PLCY_DENY or QEL_PLCY_WITHDRAW. */
typedef uint32_t (*QEL_SET_ATTR_AFTER_PLCY_F)(const QEL_ROUTE_INFO_S *pstOld, const QEL_ROUTE_INFO_S *pstNew,
                                              uint32_t uiIgnored, uint32_t uiCtrlFlag, QEL_ROUTE_BLOCK_S **ppstResult,
                                              QEL_FAMILY_CTX_S *pstCtx);
/* Reads the value of a message TLV, of an attribute message or of a configuration record. */
typedef uint32_t (*QEL_PARSE_TLV_F)(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                    QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
/* Writes the value of a message TLV or of an attribute message. */
typedef uint32_t (*QEL_FORMAT_TLV_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                     uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx);
/* Writes a configuration record, one list element per call: *puiIndex is the caller's place, *puiMore 1 asks for the
 * next call. */
typedef uint32_t (*QEL_FORMAT_CFG_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, uint8_t **ppucCursor,
                                     uint32_t uiOutLen, uint32_t *puiIndex, uint32_t *puiMore);
/* Fills the policy engine's prefix entry. */
typedef uint32_t (*QEL_CONSTRUCT_RTP_ENTRY_F)(const QEL_ROUTE_INFO_S *pstRoute, QEL_RTP_ENTRY_S *pstRtpEntry);
/* Merges a message into what the host already holds of the route. */
typedef uint32_t (*QEL_PARSE_ADD_ATTR_MSG_F)(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                             uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                                             QEL_FAMILY_CTX_S *pstCtx);
/* Stores the family's route type number. */
typedef uint32_t (*QEL_GET_ROUTE_TYPE_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiRouteType);
/* Makes the user data of a next-hop lookup; the host owns *ppucData. */
typedef uint32_t (*QEL_GET_CMCAST_NHP_USER_DATA_F)(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucData,
                                                   uint32_t *puiLen, QEL_FAMILY_CTX_S *pstCtx);
/* Makes the flat match buffer of the policy engine; the host owns *ppucMatch. */
typedef uint32_t (*QEL_CONSTRUCT_MATCH_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiMatchMask, uint8_t **ppucMatch,
                                          uint32_t *puiMatchLen, QEL_FAMILY_CTX_S *pstCtx);
/* Carries out a policy action; pucValue holds uiValueLen bytes in wire order. */
typedef uint32_t (*QEL_APPLY_ACTION_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                       uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
/* Hands out the route's cross values, one per call; the host owns *ppucCross. */
typedef uint32_t (*QEL_GET_CROSS_F)(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCross, uint32_t *puiCrossLen,
                                    uint32_t *puiCursor, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Hands out a copy of the extended community list, *puiCount elements in host order; the host owns *ppucList. */
typedef uint32_t (*QEL_GET_EXT_COMMUNITY_F)(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucList, uint32_t *puiCount,
                                            QEL_FAMILY_CTX_S *pstCtx);
/* Compares two sections or attributes of the kind uiCmpType: -1, 0, 1, or -2 for a failed check. */
typedef int32_t (*QEL_CMP_DATA_F)(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                  uint32_t uiCmpType);
typedef int32_t (*QEL_CMP_DATA_FOR_ATTR_TYPE_F)(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                                uint32_t uiCmpType, uint32_t uiAttrType);
/* Shows a route or an attribute as text in pcOut of uiOutLen bytes, one list element per call. */
typedef uint32_t (*QEL_DATA2STR_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, char *pcOut, uint32_t uiOutLen,
                                   uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Adds uiDelta to the route's counter, or takes it off when uiAdd is 0. The host owns the uiCountNum counters. */
typedef uint32_t (*QEL_SET_RT_COUNT_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *pauiCount, uint32_t uiCountNum,
                                       uint32_t uiAdd, uint32_t uiDelta);
typedef uint32_t (*QEL_GET_RT_COUNT_F)(const uint32_t *pauiCount, uint32_t uiCountNum, uint32_t uiType,
                                       uint32_t *puiCount);
/* Stores 1 in *puiAdv if the route may be advertised to the peer of its user data, else 0. */
typedef uint32_t (*QEL_CHECK_ROUTE_FOR_ADV_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCheckType, uint32_t *puiAdv);
typedef uint32_t (*QEL_GET_LABEL_TYPE_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiLabelType, uint32_t *puiCount,
                                         uint32_t *puiReserved);
/* Stores the next hop that the Segmented Next-Hop community carries. */
typedef uint32_t (*QEL_SET_RELAY_NEXT_HOP_F)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiNextHop,
                                             uint32_t *puiHasNextHop, QEL_FAMILY_CTX_S *pstCtx);
/* 0: the two attributes of type uiAttrType are equal, 1: they differ or a check failed. */
typedef uint32_t (*QEL_CHECK_ATTR_BY_TYPE_F)(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                             uint32_t uiAttrType);
/* Turns debug output on (a handle of the platform's debug service) or off (0). A null context does nothing. */
typedef uint32_t (*QEL_SET_LIB_DEBUG_F)(uint32_t uiDebugModule, uint32_t uiDebugHandle, QEL_FAMILY_CTX_S *pstCtx);
/* Turns next-hop user data back into a route with RD and key. */
typedef uint32_t (*QEL_GET_INTRA_NLRI_KEY_BY_USER_DATA_F)(const uint8_t *pucData, uint32_t uiLen,
                                                          QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
typedef void (*QEL_SPARE_F)(void);

/* The host-owned descriptor of a family. The host presents it zeroed but for uiAddrFamily; construction fills what the
 * family has and leaves the rest as it was. Every list has room for 20 entries, its count byte tells how many are used.
 * The library never reads a descriptor again after construction. */
typedef struct {
    uint32_t uiAddrFamily; /* in: 1 IPv4, other values the IPv6 side (NG-MVPN only); out: 0 */
    uint8_t ucFamilyCode;
    uint8_t ucPktAttrCount;
    uint8_t ucMsgTlvCount;
    uint8_t ucHaMsgTlvCount;
    uint8_t ucAttrMsgTlvCount;
    uint8_t ucPolicyActionCount;
    uint8_t ucApplyActionCount;
    uint32_t auiPktAttrTypes[QEL_TYPE_LIST_MAX];
    uint32_t auiMsgTlvTypes[QEL_TYPE_LIST_MAX];
    uint32_t auiHaMsgTlvTypes[QEL_TYPE_LIST_MAX];
    uint32_t auiAttrMsgTlvTypes[QEL_TYPE_LIST_MAX];
    uint32_t auiMatchTypeMask[6];
    uint32_t auiActionTypeBits[4]; /* action type t is bit (t mod 32) of word (t / 32) */
    uint32_t auiPolicyActionTypes[QEL_TYPE_LIST_MAX];
    uint32_t auiApplyActionTypes[QEL_TYPE_LIST_MAX];
    QEL_PARSE_PKT_F pfParsePkt;                                        /* slot 0 */
    QEL_FORMAT_PKT_F pfFormatPkt;                                      /* slot 1 */
    QEL_SET_ATTR_F pfSetAttr;                                          /* slot 2 */
    QEL_SET_ATTR_AFTER_PLCY_F pfSetAttrAfterPlcy;                      /* slot 3 */
    QEL_PARSE_TLV_F pfParseMsg;                                        /* slot 4 */
    QEL_FORMAT_TLV_F pfFormatMsg;                                      /* slot 5 */
    QEL_PARSE_TLV_F pfParseHaMsg;                                      /* slot 6 */
    QEL_FORMAT_TLV_F pfFormatHaMsg;                                    /* slot 7 */
    QEL_PARSE_TLV_F pfParseAttrMsg;                                    /* slot 8 */
    QEL_FORMAT_TLV_F pfFormatAttrMsg;                                  /* slot 9 */
    QEL_PARSE_TLV_F pfParseCfg;                                        /* slot 10 */
    QEL_FORMAT_CFG_F pfFormatCfg;                                      /* slot 11 */
    QEL_CONSTRUCT_RTP_ENTRY_F pfConstructRtpEntry;                     /* slot 12 */
    QEL_PARSE_ADD_ATTR_MSG_F pfParseAddAttrMsg;                        /* slot 13 */
    QEL_GET_ROUTE_TYPE_F pfGetRouteType;                               /* slot 14 */
    QEL_GET_CMCAST_NHP_USER_DATA_F pfGetCmcastNhpUserData;             /* slot 15 */
    QEL_CONSTRUCT_MATCH_F pfConstructMatch;                            /* slot 16 */
    QEL_SPARE_F pfSpare17;                                             /* slot 17 */
    QEL_APPLY_ACTION_F pfApplyAction;                                  /* slot 18 */
    QEL_GET_CROSS_F pfGetCross;                                        /* slot 19 */
    QEL_GET_EXT_COMMUNITY_F pfGetExtCommunity;                         /* slot 20 */
    QEL_CMP_DATA_F pfCmpData;                                          /* slot 21 */
    QEL_DATA2STR_F pfData2Str;                                         /* slot 22 */
    QEL_SET_RT_COUNT_F pfSetRtCount;                                   /* slot 23 */
    QEL_GET_RT_COUNT_F pfGetRtCount;                                   /* slot 24 */
    QEL_CHECK_ROUTE_FOR_ADV_F pfCheckRouteForAdv;                      /* slot 25 */
    QEL_GET_LABEL_TYPE_F pfGetLabelType;                               /* slot 26 */
    QEL_SPARE_F pfSpare27;                                             /* slot 27 */
    QEL_SPARE_F pfSpare28;                                             /* slot 28 */
    QEL_SPARE_F pfSpare29;                                             /* slot 29 */
    QEL_SPARE_F pfSpare30;                                             /* slot 30, written 0 */
    QEL_SPARE_F pfSpare31;                                             /* slot 31 */
    QEL_SPARE_F pfSpare32;                                             /* slot 32 */
    QEL_SPARE_F pfSpare33;                                             /* slot 33 */
    QEL_SET_RELAY_NEXT_HOP_F pfSetRelayNextHop;                        /* slot 34 */
    QEL_CMP_DATA_FOR_ATTR_TYPE_F pfCmpDataForAttrType;                 /* slot 35 */
    QEL_CHECK_ATTR_BY_TYPE_F pfCheckAttrByType;                        /* slot 36 */
    QEL_SPARE_F pfSpare37;                                             /* slot 37 */
    QEL_SET_LIB_DEBUG_F pfSetLibDebug;                                 /* slot 38 */
    QEL_SPARE_F pfSpare39;                                             /* slot 39 */
    QEL_SPARE_F pfSpare40;                                             /* slot 40 */
    QEL_SPARE_F pfSpare41;                                             /* slot 41 */
    QEL_SPARE_F pfSpare42;                                             /* slot 42 */
    QEL_SPARE_F pfSpare43;                                             /* slot 43 */
    QEL_GET_INTRA_NLRI_KEY_BY_USER_DATA_F pfGetIntraNlriKeyByUserData; /* slot 44 */
} QEL_FAMILY_DESC_S;
#define QEL_OPERATION_SLOTS 45
QEL_ASSERT_OFFSET(QEL_FAMILY_DESC_S, auiPktAttrTypes, 12);
QEL_ASSERT_OFFSET(QEL_FAMILY_DESC_S, auiMatchTypeMask, 332);
QEL_ASSERT_OFFSET(QEL_FAMILY_DESC_S, auiActionTypeBits, 356);
QEL_ASSERT_OFFSET(QEL_FAMILY_DESC_S, auiPolicyActionTypes, 372);
QEL_ASSERT_OFFSET(QEL_FAMILY_DESC_S, auiApplyActionTypes, 452);
QEL_STATIC_ASSERT(sizeof(QEL_FAMILY_DESC_S) - offsetof(QEL_FAMILY_DESC_S, pfParsePkt) ==
                      QEL_OPERATION_SLOTS * sizeof(QEL_SPARE_F),
                  "the descriptor has 45 operation slots");

/* One row of a dispatch table. The operation finds the row by uiType and calls the member that belongs to its table
 * with the shortened argument list; the handler's result is the operation's result. */
typedef struct {
    uint32_t uiType;
    union {
        uint32_t (*pfParsePkt)(const uint8_t **ppucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                               uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
        uint32_t (*pfFormatPkt)(QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                QEL_FAMILY_CTX_S *pstCtx);
        /* messages, HA messages, attribute messages, configuration records */
        uint32_t (*pfParseMsg)(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                               QEL_FAMILY_CTX_S *pstCtx);
        /* messages, HA messages, attribute messages */
        uint32_t (*pfFormatMsg)(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                QEL_FAMILY_CTX_S *pstCtx);
        uint32_t (*pfFormatCfg)(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                uint32_t *puiIndex, uint32_t *puiMore);
        uint32_t (*pfData2Str)(const QEL_ROUTE_INFO_S *pstRoute, char *pcOut, uint32_t uiOutLen, uint32_t *puiIndex,
                               uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
        uint32_t (*pfSetAttr)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiCtrlFlag, QEL_ROUTE_BLOCK_S **ppstResult,
                              QEL_FAMILY_CTX_S *pstCtx);
        uint32_t (*pfApplyAction)(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                  uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
        uint32_t (*pfParseAddAttrMsg)(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                      QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
        int32_t (*pfCmpData)(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
        int32_t (*pfCmpDataForAttrType)(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                        uint32_t uiCmpType, uint32_t uiAttrType);
        uint32_t (*pfConstructMatch)(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t *puiRemain,
                                     QEL_FAMILY_CTX_S *pstCtx);
        uint32_t (*pfCheckRoute)(const QEL_ROUTE_INFO_S *pstRoute, const QEL_PEER_S *pstPeer, const void *pvKey);
        void (*pfParseRoutePath)(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                 QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx);
    };
} QEL_DISPATCH_ENTRY_S;
QEL_ASSERT_OFFSET(QEL_DISPATCH_ENTRY_S, pfParsePkt, 8);
QEL_ASSERT_SIZE(QEL_DISPATCH_ENTRY_S, 16);

/* Construction fills *pstDesc and returns the new context, or null after ZVK_Assert: null descriptor, memory handle 0,
 * no memory. The three NG-MVPN forms give the same descriptor and differ in the component that the instance serves. */
QEL_FAMILY_CTX_S *QEL_NGMVPN_Construct(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle);
QEL_FAMILY_CTX_S *QEL_NGMVPN_Construct4Mvrf(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle);
QEL_FAMILY_CTX_S *QEL_NGMVPN_Construct4Mvpn(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle);
QEL_FAMILY_CTX_S *QEL_MDT_Construct(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle);
QEL_FAMILY_CTX_S *QEL_VPNV4MCAST_Construct(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle);

/* Destruction releases the context and nothing else. A null context is reported and ignored. */
void QEL_NGMVPN_Destruct(QEL_FAMILY_CTX_S *pstCtx);
void QEL_MDT_Destruct(QEL_FAMILY_CTX_S *pstCtx);
void QEL_VPNV4MCAST_Destruct(QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
