/* A host in C: every public header in one C11 translation unit, every family constructed, driven through its
 * descriptor and destroyed. */
#include "c_host.h"

#include "mdt/qel_mdt.h"
#include "mdt/qel_mdt_records.h"
#include "mdt/qel_mdtpkt.h"
#include "ngmvpn/qel_ngmvpn.h"
#include "ngmvpn/qel_ngmvpn_attr_records.h"
#include "ngmvpn/qel_ngmvpn_attribute_msg.h"
#include "ngmvpn/qel_ngmvpn_attribute_pkt.h"
#include "ngmvpn/qel_ngmvpn_cross.h"
#include "ngmvpn/qel_ngmvpn_dfx.h"
#include "ngmvpn/qel_ngmvpn_intercomp_msg.h"
#include "ngmvpn/qel_ngmvpn_key.h"
#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_policy.h"
#include "ngmvpn/qel_ngmvpn_records.h"
#include "ngmvpn/qel_ngmvpn_segment_importattr.h"
#include "ngmvpn/qel_ngmvpn_segment_parsemsg.h"
#include "ngmvpn/qel_ngmvpn_segment_policy.h"
#include "ngmvpn/qel_ngmvpn_util.h"
#include "platform/bounds.h"
#include "platform/ksx.h"
#include "platform/kvo.h"
#include "platform/zvk.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_codes.h"
#include "qel_family.h"
#include "qel_layout.h"
#include "qel_route.h"
#include "vpnv4mcast/qel_vpnv4mcast.h"
#include "vpnv4mcast/qel_vpnv4mcast_cross.h"
#include "vpnv4mcast/qel_vpnv4mcast_irt.h"
#include "vpnv4mcast/qel_vpnv4mcast_records.h"

#include <string.h>

#define ADDR_FAMILY_IPV4 1U
#define MP_REACH_NLRI 14U
#define UNKNOWN_TYPE 200U

typedef struct {
    const char *pszName;
    QEL_FAMILY_CTX_S *(*pfConstruct)(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle);
    void (*pfDestruct)(QEL_FAMILY_CTX_S *pstCtx);
    int bHasKind;
} FAMILY_S;

static const FAMILY_S g_astFamilies[C_HOST_FAMILIES] = {
    {"NG-MVPN", QEL_NGMVPN_Construct, QEL_NGMVPN_Destruct, 1},
    {"NG-MVPN for Mvrf", QEL_NGMVPN_Construct4Mvrf, QEL_NGMVPN_Destruct, 1},
    {"NG-MVPN for Mvpn", QEL_NGMVPN_Construct4Mvpn, QEL_NGMVPN_Destruct, 1},
    {"MDT", QEL_MDT_Construct, QEL_MDT_Destruct, 0},
    {"VPNv4 multicast", QEL_VPNV4MCAST_Construct, QEL_VPNV4MCAST_Destruct, 0},
};

/* Calls that every family must bear, through the descriptor alone. */
static void visit(const FAMILY_S *pstFamily, const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx,
                  C_HOST_FAMILY_S *pstSeen)
{
    static const uint8_t aucData[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const uint8_t *pucIn = aucData;
    uint8_t aucOut[32];
    uint8_t *pucOut = aucOut;
    QEL_ROUTE_BLOCK_S *pstBlock = NULL;
    QEL_ROUTE_INFO_S stRoute;
    uint32_t uiMore = 0;

    memset(&stRoute, 0, sizeof(stRoute));
    pstSeen->uiFamilyCode = pstDesc->ucFamilyCode;
    pstSeen->uiPktAttrCount = pstDesc->ucPktAttrCount;
    pstSeen->uiInstanceKind = pstFamily->bHasKind ? pstCtx->usInstanceKind : 0;
    pstSeen->uiUnknownParse = pstDesc->pfParsePkt(&pucIn, sizeof(aucData), 0, UNKNOWN_TYPE, &pstBlock, &uiMore, pstCtx);
    pstSeen->uiUnknownFormat = pstDesc->pfFormatPkt(&stRoute, UNKNOWN_TYPE, &pucOut, sizeof(aucOut), pstCtx);
    pstSeen->iUnknownCompare = pstDesc->pfCmpData(aucData, 8, aucData, 8, UNKNOWN_TYPE);
    if (!pstFamily->bHasKind) { /* these two answer for every route, the NG-MVPN one reads a key */
        (void)pstDesc->pfGetRouteType(&stRoute, &pstSeen->uiRouteType);
    }
    pstSeen->uiHasLabelType = pstDesc->pfGetLabelType != NULL;
}

void c_host_visit_families(C_HOST_FAMILY_S astFamilies[C_HOST_FAMILIES])
{
    for (uint32_t i = 0; i < C_HOST_FAMILIES; ++i) {
        QEL_FAMILY_DESC_S stDesc;
        memset(&stDesc, 0, sizeof(stDesc));
        memset(&astFamilies[i], 0, sizeof(astFamilies[i]));
        stDesc.uiAddrFamily = ADDR_FAMILY_IPV4;
        astFamilies[i].pszName = g_astFamilies[i].pszName;
        QEL_FAMILY_CTX_S *pstCtx = g_astFamilies[i].pfConstruct(&stDesc, C_HOST_MEM_HANDLE);
        if (pstCtx == NULL) {
            continue;
        }
        astFamilies[i].uiConstructed = 1;
        visit(&g_astFamilies[i], &stDesc, pstCtx, &astFamilies[i]);
        g_astFamilies[i].pfDestruct(pstCtx);
    }
}

/* A section of a block, or null if the block doesn't have it. */
static const uint8_t *section(const QEL_ROUTE_BLOCK_S *pstBlock, uint32_t uiBit, uint16_t usOffset)
{
    return (pstBlock->uiValidMask & uiBit) != 0 ? (const uint8_t *)pstBlock + usOffset : NULL;
}

static void expand(const QEL_ROUTE_BLOCK_S *pstBlock, QEL_ROUTE_INFO_S *pstRoute)
{
    memset(pstRoute, 0, sizeof(*pstRoute));
    pstRoute->uiValidMask = pstBlock->uiValidMask;
    pstRoute->uiRdLen = pstBlock->usRdLen;
    pstRoute->pucRd = section(pstBlock, QEL_SECTION_RD, pstBlock->usRdOffset);
    pstRoute->uiKeyLen = pstBlock->usKeyLen;
    pstRoute->pucKey = section(pstBlock, QEL_SECTION_KEY, pstBlock->usKeyOffset);
    pstRoute->uiNonKeyLen = pstBlock->usNonKeyLen;
    pstRoute->pucNonKey = section(pstBlock, QEL_SECTION_NONKEY, pstBlock->usNonKeyOffset);
    pstRoute->uiPolicyId = QEL_POLICY_ID_NONE;
}

static void note_record(const QEL_ROUTE_INFO_S *pstRoute, C_HOST_TRIP_S *pstTrip)
{
    QEL_NGMVPN_KEY_S stKey;
    QEL_RD_VALUE_S stRd;
    pstTrip->uiValidMask = pstRoute->uiValidMask;
    if (pstRoute->pucKey != NULL && pstRoute->uiKeyLen == sizeof(stKey)) {
        memcpy(&stKey, pstRoute->pucKey, sizeof(stKey));
        pstTrip->uiKeyType = stKey.uiKeyType;
        pstTrip->uiSourceAs = stKey.uKey.stCMulticastRoute.uiSourceAs;
        pstTrip->uiSource = stKey.uKey.stCMulticastRoute.stSrcAddr.uiIpv4;
        pstTrip->uiGroup = stKey.uKey.stCMulticastRoute.stGrpAddr.uiIpv4;
    }
    if (pstRoute->pucRd != NULL && pstRoute->uiRdLen == sizeof(stRd)) {
        memcpy(&stRd, pstRoute->pucRd, sizeof(stRd));
        pstTrip->uiRdType = stRd.usRdType;
        pstTrip->uiRdAsn = stRd.usAsn;
        pstTrip->uiRdAssigned = stRd.uiAssigned;
    }
}

static int32_t compare(const QEL_FAMILY_DESC_S *pstDesc, const uint8_t *pucA, uint32_t uiLenA, const uint8_t *pucB,
                       uint32_t uiLenB, uint32_t uiKind)
{
    return pstDesc->pfCmpData(pucA, uiLenA, pucB, uiLenB, uiKind);
}

static QEL_ROUTE_BLOCK_S *parse(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx, const uint8_t *pucNlri,
                                uint32_t uiLen, C_HOST_TRIP_S *pstTrip)
{
    const uint8_t *pucCursor = pucNlri;
    QEL_ROUTE_BLOCK_S *pstBlock = NULL;
    pstTrip->uiMore = UINT32_MAX;
    pstTrip->uiParsed = pstDesc->pfParsePkt(&pucCursor, uiLen, 0, MP_REACH_NLRI, &pstBlock, &pstTrip->uiMore, pstCtx);
    pstTrip->uiRead = (uint32_t)(pucCursor - pucNlri);
    return pstBlock;
}

static void there_and_back(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx, const QEL_ROUTE_BLOCK_S *pstOne,
                           const QEL_ROUTE_BLOCK_S *pstOther, C_HOST_TRIP_S *pstTrip)
{
    QEL_ROUTE_INFO_S stOne;
    QEL_ROUTE_INFO_S stOther;
    uint8_t *pucCursor = pstTrip->aucOut;

    expand(pstOne, &stOne);
    expand(pstOther, &stOther);
    note_record(&stOne, pstTrip);
    pstTrip->uiFormatted = pstDesc->pfFormatPkt(&stOne, MP_REACH_NLRI, &pucCursor, sizeof(pstTrip->aucOut), pstCtx);
    pstTrip->uiWritten = (uint32_t)(pucCursor - pstTrip->aucOut);
    pstTrip->iCmpRd = compare(pstDesc, stOne.pucRd, stOne.uiRdLen, stOther.pucRd, stOther.uiRdLen, QEL_SECTION_RD);
    pstTrip->iCmpKey =
        compare(pstDesc, stOne.pucKey, stOne.uiKeyLen, stOther.pucKey, stOther.uiKeyLen, QEL_SECTION_KEY);
    pstTrip->iCmpNonKey = compare(pstDesc, stOne.pucNonKey, stOne.uiNonKeyLen, stOther.pucNonKey, stOther.uiNonKeyLen,
                                  QEL_SECTION_NONKEY);
}

void c_host_round_trip(const uint8_t *pucNlri, uint32_t uiLen, C_HOST_TRIP_S *pstTrip)
{
    QEL_FAMILY_DESC_S stDesc;
    memset(&stDesc, 0, sizeof(stDesc));
    memset(pstTrip, 0, sizeof(*pstTrip));
    stDesc.uiAddrFamily = ADDR_FAMILY_IPV4;
    QEL_FAMILY_CTX_S *pstCtx = QEL_NGMVPN_Construct4Mvpn(&stDesc, C_HOST_MEM_HANDLE);
    if (pstCtx == NULL) {
        return;
    }
    QEL_ROUTE_BLOCK_S *pstOne = parse(&stDesc, pstCtx, pucNlri, uiLen, pstTrip);
    QEL_ROUTE_BLOCK_S *pstOther = parse(&stDesc, pstCtx, pucNlri, uiLen, pstTrip);
    if (pstOne != NULL && pstOther != NULL) {
        there_and_back(&stDesc, pstCtx, pstOne, pstOther, pstTrip);
    }
    ZVK_Free_F(pstOne, __FILE__, __LINE__);
    ZVK_Free_F(pstOther, __FILE__, __LINE__);
    QEL_NGMVPN_Destruct(pstCtx);
}

uint32_t c_host_first_pkt_parse_type(void)
{
    return g_astQelNgmvpnPktParseTbl[0].uiType;
}

uint32_t c_host_lookup_finds_the_table_row(void)
{
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetPktParseEntry(MP_REACH_NLRI);
    return pstEntry == &g_astQelNgmvpnPktParseTbl[0] && pstEntry->pfParsePkt == QEL_NGMVPN_ParseMpNlri;
}
