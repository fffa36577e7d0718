/* Replacement of a route's tunnel and Segmented Next-Hop at a segmentation point (RFC 7524). The import attribute
 * record travels with a route of key type 1 or 3; the other types pass through as they are. */
#ifndef QEL_NGMVPN_SEGMENT_POLICY_H
#define QEL_NGMVPN_SEGMENT_POLICY_H

#include "qel_family.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

/* Action code of QEL_NGMVPN_ApplyAttrRplInfo. */
#define QEL_NGMVPN_ACTION_ATTR_REPLACE UINT32_C(61)

/* uiCtrlFlag. Any of the three in QEL_NGMVPN_CTRL_NO_REPLACE: the route comes from a local source or an EBGP peer, or
 * goes to one. One of the two in QEL_NGMVPN_CTRL_EBGP without the other: it goes to an EBGP peer. */
#define QEL_NGMVPN_CTRL_DROP_NON_TRANSITIVE UINT32_C(0x1)
#define QEL_NGMVPN_CTRL_NO_REPLACE UINT32_C(0x2801)
#define QEL_NGMVPN_CTRL_EBGP UINT32_C(0x2001)

/* Handler of action 61: a block with the import attribute record of the route, its original attributes set alone.
 * pucValue is big-endian: policy type at octet 0, root address at 4, template id at 20; 24 octets are read, whatever
 * uiValueLen says. QEL_OK and no block for a route of another type, without tunnel, community list or Segmented
 * Next-Hop, and for a route of no policy. QEL_ERR_NULL also for another uiActionType, uiValueLen 0 and a route without
 * key; QEL_ERR_FAILED for a tunnel of 0 bytes; QEL_ERR_MEMORY. */
uint32_t QEL_NGMVPN_ApplyAttrRplInfo(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                     uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);

/* The family's pfSetAttrAfterPlcy. pstOld is the route as it stood before policy, pstNew the route after it. Gives
 * QEL_OK, QEL_PLCY_DENY or QEL_PLCY_WITHDRAW with a block of the record that the route now carries, QEL_NEED_PROC set
 * in it when the multicast component has to be asked. QEL_OK without a block: the route is not concerned, or the block
 * can't be built (reported). */
uint32_t QEL_NGMVPN_SetAttrAfterPlcy(const QEL_ROUTE_INFO_S *pstOld, const QEL_ROUTE_INFO_S *pstNew, uint32_t uiIgnored,
                                     uint32_t uiCtrlFlag, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx);

/* Step: 0 if the decision has to be made, 1 if the route is not concerned. QEL_ERR_NULL also for a new route without
 * key. */
uint32_t QEL_NGMVPN_CheckNeedReplaceSnh(const QEL_ROUTE_INFO_S *pstOld, const QEL_ROUTE_INFO_S *pstNew,
                                        uint32_t uiCtrlFlag, QEL_FAMILY_CTX_S *pstCtx);

/* Step: the merged record, the new one with the old one's replaced attributes, from the memory handle; the caller frees
 * *ppstMerged. *pstView gets it as attribute section. QEL_PLCY_DENY without memory, both outputs as they were and
 * nothing reported. */
uint32_t QEL_NGMVPN_SetAttrAfterPlcyWhenPlcyOrSnhDiff(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstNewAttr,
                                                      const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstOldAttr,
                                                      QEL_NGMVPN_IMPORT_ATTR_S **ppstMerged, QEL_ROUTE_VIEW_S *pstView,
                                                      QEL_FAMILY_CTX_S *pstCtx);

/* Compares two PMSI records: the shorter is the smaller. -2 after a report for a null pointer or a length below 5. */
int32_t QEL_NGMVPN_CmpPmsi(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB);
/* Compares the original PMSIs of two records; one that holds none equals any, after a report. */
int32_t QEL_NGMVPN_CmpPmsiAttr(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstA, const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstB,
                               QEL_FAMILY_CTX_S *pstCtx);
/* Compares two import attribute records by key, RD and policy id: 1, 0, -1, or -2 after a report for a null pointer.
 * Records that differ in community or tunnel alone are equal. uiLenA is not read. */
int32_t QEL_NGMVPN_CmpImportAttr(const void *pvA, uint32_t uiLenA, const void *pvB);
/* The family's pfCheckAttrByType: 0 if two import attribute records have the same key, policy, Segmented Next-Hop and
 * original PMSI, else 1; the replaced attributes are not looked at. 1 after a report for a null pointer or a uiAttrType
 * other than QEL_ATTR_TYPE_IMPORT. */
uint32_t QEL_NGMVPN_CheckAttrByType(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                    uint32_t uiAttrType);

/* Lists of extended communities in host order, uiExtCommLen bytes; a rest of less than one element is not looked at. */
/* Copies the first Segmented Next-Hop, 8 bytes, to pucSnh. QEL_ERR_FAILED: there is none. */
uint32_t QEL_NGMVPN_GetSnhExtCom(const uint8_t *pucExtComm, uint32_t uiExtCommLen, uint8_t *pucSnh,
                                 QEL_FAMILY_CTX_S *pstCtx);
/* 1 if the route's list holds a Segmented Next-Hop, else 0. */
uint32_t QEL_NGMVPN_CheckSnhExist(const QEL_ROUTE_INFO_S *pstRoute);
/* Overwrites the first Segmented Next-Hop with the 8 bytes at pucSnh. QEL_ERR_FAILED after a report: there is none. */
uint32_t QEL_NGMVPN_ExtComReplaceSnh(const uint8_t *pucSnh, uint8_t *pucExtComm, uint32_t uiExtCommLen);
/* Drops every Segmented Next-Hop in place; *pusOutLen gets the bytes that stay. */
uint32_t QEL_NGMVPN_ExtComRemoveSnh(uint8_t *pucExtComm, uint32_t uiExtCommLen, uint16_t *pusOutLen);
/* A copy of the list with the replaced Segmented Next-Hop of the route's record in the place of its own, from the
 * memory handle; the caller frees *ppucOut. The route has a record; one without a replaced Segmented Next-Hop gives
 * QEL_OK and leaves *ppucOut alone, as QEL_ERR_MEMORY and QEL_ERR_FAILED (none in the list) do. */
uint32_t QEL_NGMVPN_ReplaceSnhExtComm(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucExtComm,
                                      uint32_t uiExtCommLen, uint8_t **ppucOut, QEL_FAMILY_CTX_S *pstCtx);
/* For an EBGP peer, a copy of the list without Segmented Next-Hop, *pusOutLen bytes of it in use, from the memory
 * handle; the caller frees *ppucOut. No EBGP peer: QEL_OK, null and 0. QEL_ERR_MEMORY, QEL_ERR_FAILED: null. */
uint32_t QEL_NGMVPN_ProcExtCommunityEbgpPeer(const uint8_t *pucExtComm, uint32_t uiExtCommLen, uint32_t uiCtrlFlag,
                                             uint8_t **ppucOut, uint16_t *pusOutLen, QEL_FAMILY_CTX_S *pstCtx);

/* Handler of attribute 22 in pfSetAttr: the replaced tunnel if the route's record holds one, else the route's own. */
uint32_t QEL_NGMVPN_SetPmsi(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiIgnored, QEL_ROUTE_BLOCK_S **ppstResult,
                            QEL_FAMILY_CTX_S *pstCtx);

/* The family's pfSetRelayNextHop: 1 and the global administrator of the Segmented Next-Hop, as the element holds it; 0
 * and *puiNextHop as it was where there is none. Returns QEL_OK. */
uint32_t QEL_NGMVPN_SetRelayNextHop(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiNextHop, uint32_t *puiHasNextHop,
                                    QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
