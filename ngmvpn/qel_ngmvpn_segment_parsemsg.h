/* Import routes of a segmentation point, between BGP and the multicast component: message 137 carries a route's key
 * with its policy id, message 138 behind it the route's attributes. A message is a list of TLVs, each a type and a
 * length of its value, two octets each; everything is in network order. */
#ifndef QEL_NGMVPN_SEGMENT_PARSEMSG_H
#define QEL_NGMVPN_SEGMENT_PARSEMSG_H

#include "qel_family.h"
#include "qel_ngmvpn_intercomp_msg.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

QEL_AT_ANY_ADDRESS(QEL_NGMVPN_PLY_INFO_S, QEL_NGMVPN_PLY_INFO_AT_S);

/* TLV types of the import route messages beside those of route prefixes and route paths. */
#define QEL_NGMVPN_TLV_POLICY_ID UINT16_C(16)
#define QEL_NGMVPN_TLV_PLY_INFO UINT16_C(17)
#define QEL_NGMVPN_TLV_ORIG_PMSI_RPL_INFO UINT16_C(18)
#define QEL_NGMVPN_TLV_ORIG_SNH UINT16_C(19)
#define QEL_NGMVPN_TLV_ORIG_PMSI UINT16_C(20)

/* Sub-type octet of the Route Targets that a Leaf A-D route goes out with. */
#define QEL_NGMVPN_EXTCOMM_SUB_RT UINT8_C(2)

#define QEL_NGMVPN_PLY_INFO_LEN UINT32_C(12)

/* What the TLVs of message 138 hold, host order, each in scratch memory of the context; null and 0 where the message
 * has none. */
typedef struct {
    uint8_t *pucRtImport;  /* 13 */
    uint8_t *pucOrigSnh;   /* 19 */
    uint8_t *pucPlyInfo;   /* 18: a QEL_NGMVPN_PLY_INFO_S */
    uint8_t *pucOrigPmsi;  /* 20 */
    uint8_t *pucSnh;       /* 15 */
    uint8_t *pucPmsi;      /* 12 */
    uint8_t *pucRt6Import; /* 22 */
    uint8_t *pucPrefixSid; /* 23 */
    uint8_t *pucMsid;      /* 24 */
    uint16_t usRtImportLen;
    uint16_t usOrigSnhLen;
    uint16_t usPlyInfoLen;
    uint16_t usOrigPmsiLen;
    uint16_t usSnhLen;
    uint16_t usPmsiLen;
    uint16_t usRt6ImportLen;
    uint16_t usPrefixSidLen;
    uint16_t usMsidLen;
} QEL_NGMVPN_SEG_NOKEY_S;
QEL_ASSERT_OFFSET(QEL_NGMVPN_SEG_NOKEY_S, usRtImportLen, 9 * sizeof(uint8_t *));
QEL_ASSERT_OFFSET(QEL_NGMVPN_SEG_NOKEY_S, usMsidLen, 9 * sizeof(uint8_t *) + 16);

/* A TLV of message 138: its name in the log, its places in QEL_NGMVPN_SEG_NOKEY_S, its reader. */
typedef struct {
    uint32_t uiTlvType;
    uint32_t uiIndex;
    const char *pszName;
    uint32_t uiLenOffset;
    uint32_t uiDataOffset;
    uint8_t *(*pfParse)(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen, QEL_FAMILY_CTX_S *pstCtx);
} QEL_NGMVPN_NOKEY_TLV_S;
extern const QEL_NGMVPN_NOKEY_TLV_S g_qelNgmvpnParseRouteNokeyTlvArgMap[9];

/* Message 137: a block of RD, key, non-key and, for route types 1 and 3, an import attribute record of fixed length.
 * uiLen is not read, the TLV's own length rules. QEL_ERR_ARGUMENT: the route is longer than the TLV;
 * QEL_ERR_NLRI_MALFORMED, QEL_ERR_NLRI_REFUSED; QEL_ERR_VALUE: another route type than 1, 3 and 4. */
uint32_t QEL_NGMVPN_ParseMcImportRouteKeyTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                             QEL_FAMILY_CTX_S *pstCtx);
/* Message 138: a block with one plain attribute (16, 25, 40 or 66), or, if it has none, the block of message 137 in
 * *ppstResult replaced with one that carries the complete import attribute record. A plain attribute's block
 * overwrites *ppstResult; what stood there stays the host's. QEL_ERR_TLV: malformed list; QEL_ERR_FAILED: unknown TLV;
 * QEL_ERR_ARGUMENT: no block of message 137; QEL_ERR_MEMORY. */
uint32_t QEL_NGMVPN_ParseMcImportRouteNoKeyTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                               QEL_FAMILY_CTX_S *pstCtx);

/* Steps of message 137. The cursor stands on the RD; uiRemainLen is the TLV's length without the route's two header
 * octets. QEL_OK also where the block could not be built. */
uint32_t QEL_NGMVPN_ParseBgpIntraIpmsiAdKey(const uint8_t **ppucCursor, uint8_t ucNlriLen, uint32_t uiRemainLen,
                                            QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore,
                                            QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseBgpSpmsiAdKey(const uint8_t **ppucCursor, uint8_t ucNlriLen, uint32_t uiRemainLen,
                                       QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);
/* Reads an RD into *pstRd of uiSize bytes and into the key. QEL_ERR_NLRI_REFUSED with the cursor unmoved for a type
 * above 2. */
uint32_t QEL_NGMVPN_ParseBgpRd(const uint8_t **ppucCursor, QEL_RD_VALUE_S *pstRd, uint32_t uiSize,
                               QEL_NGMVPN_KEY_S *pstKey);
/* Reads the policy id TLV; a wrong type or length is reported, not refused. Returns QEL_OK. */
uint32_t QEL_NGMVPN_ParseBgpPolicyID(const uint8_t **ppucCursor, QEL_NGMVPN_IMPORT_ATTR_S *pstKey);
/* Builds the block; each of the three records may be null. *puiMore stays on failure. */
uint32_t QEL_NGMVPN_OutPutNlriKey(const QEL_NGMVPN_IMPORT_ATTR_S *pstKey, const QEL_NGMVPN_NONKEY_S *pstNonKey,
                                  const QEL_RD_VALUE_S *pstRd, uint8_t ucNlriLen, uint32_t uiRemainLen,
                                  QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx);

/* Steps of message 138: the list, one TLV of it, the policy info of TLV 18. */
uint32_t QEL_NGMVPN_ParseRouteNokeyTlv(const uint8_t *pucData, uint16_t usRemainLen,
                                       QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_ParseRouteNokeyTlvElement(uint16_t usTlvType, QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey,
                                              const uint8_t **ppucCursor, uint16_t usTlvLen, QEL_FAMILY_CTX_S *pstCtx);
uint8_t *QEL_NGMVPN_ParsePmsiRplInfo(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                     QEL_FAMILY_CTX_S *pstCtx);
/* Step: the twelve octets of a policy info. */
void QEL_NGMVPN_ReadPlyInfo_(const uint8_t **ppucCursor, QEL_NGMVPN_PLY_INFO_S *pstPlyInfo);
/* A block of one attribute. */
uint32_t QEL_NGMVPN_OutputAttrData(uint8_t ucAttrFlag, uint8_t ucAttrType, const uint8_t *pucData, uint16_t usAttrLen,
                                   QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);
/* The complete record on the memory handle, from the block of message 137 in *ppstBlock; free it with ZVK_Free_F. */
uint32_t QEL_NGMVPN_ConstructImportAttr(QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, QEL_ROUTE_BLOCK_S **ppstBlock,
                                        QEL_NGMVPN_IMPORT_ATTR_S **ppstAttr, uint16_t *pusAttrLen,
                                        QEL_FAMILY_CTX_S *pstCtx);
/* Replaces *ppstBlock with a block that carries the complete record; on failure *ppstBlock stays. */
uint32_t QEL_NGMVPN_OutputImportAttr_(QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, QEL_ROUTE_BLOCK_S **ppstBlock,
                                      QEL_FAMILY_CTX_S *pstCtx);
/* Frees what is held and leaves null pointers. */
void QEL_NGMVPN_FreeSegNokeyStc(QEL_NGMVPN_SEG_NOKEY_S *pstSegNokey, QEL_FAMILY_CTX_S *pstCtx);

/* Message 137 towards the multicast component, routes of types 1, 3, 4 and 5. Where the route has an import attribute
 * record, that record's key and policy id go out. QEL_ERR_SPACE: less room than the largest form of the route type
 * takes; QEL_ERR_VALUE: another route type; QEL_ERR_ARGUMENT: a record on a route not 1 or 3, none on one not 4 or 5.
 */
uint32_t QEL_NGMVPN_FormatMcImportRouteKeyTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                              QEL_FAMILY_CTX_S *pstCtx);
/* Message 138: PMSI, SNH and policy info of the record's original attributes, or a Leaf A-D route's Route Targets. */
uint32_t QEL_NGMVPN_FormatMcImportRouteNoKeyTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiMaxLen, QEL_FAMILY_CTX_S *pstCtx);

/* Steps of message 137: the route with its two header octets; uiMaxLen is tested against the largest form. */
uint32_t QEL_NGMVPN_FormatMcImportRouteNlri(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                            QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatBgpIntraIpmsiAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                 uint32_t uiMaxLen, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatBgpSpmsiAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                            QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatBgpLeafAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                           QEL_FAMILY_CTX_S *pstCtx);
/* Steps of the above, without a test of the room. The last returns the length of what it wrote, not a code. */
uint32_t QEL_NGMVPN_FillBgpSpmsiAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                          const QEL_NGMVPN_KEY_AT_S *pstKey);
uint32_t QEL_NGMVPN_FormatBgpIpmsiLeafAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                const QEL_NGMVPN_KEY_AT_S *pstKey);
uint32_t QEL_NGMVPN_FormatBgpSpmsiLeafAdNlriKey(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                const QEL_NGMVPN_KEY_AT_S *pstKey);
uint32_t QEL_NGMVPN_FormatMcImportRoutePlyIdTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiMaxLen, QEL_FAMILY_CTX_S *pstCtx);

/* Steps of message 138. */
uint32_t QEL_NGMVPN_FormatPmsiAdAttrs(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                      QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_FormatLeafAdExtCom(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                       QEL_FAMILY_CTX_S *pstCtx);
/* The policy info as a value of 12 octets, without a TLV header; octets 1 to 3 stay as the buffer holds them. */
uint32_t QEL_NGMVPN_FormatPlyInfoTlv(const QEL_NGMVPN_PLY_INFO_AT_S *pstPlyInfo, uint8_t **ppucCursor,
                                     uint32_t uiMaxLen, QEL_FAMILY_CTX_S *pstCtx);

/* Both answer 'is not': 0 for key types 1 and 3, and for 4 and 5, else 1. */
uint32_t QEL_NGMVPN_CheckIspmsiAd(uint32_t uiKeyType);
uint32_t QEL_NGMVPN_CheckIsLeafAd(uint32_t uiKeyType);

QEL_EXTERN_C_END

#endif
