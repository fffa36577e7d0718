/* A BGP core in miniature that knows qel-mcast as it is installed: every family is constructed, reads a route, writes
 * it back, compares, imports, shows, and is destroyed. Each octet is held against what it has to be. Ends with 0. */
#include "services.h"

#include "mdt/qel_mdt.h"
#include "ngmvpn/qel_ngmvpn.h"
#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_records.h"
#include "platform/zvk.h"
#include "qel_family.h"
#include "vpnv4mcast/qel_vpnv4mcast.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#define MP_REACH_NLRI 14U
#define EXT_COMMUNITIES 16U
#define PMSI_TUNNEL 22U
#define SECTIONS_MAX 3
#define CROSSES_MAX 3

static uint32_t g_uiChecks;
static uint32_t g_uiFailures;
static const char *g_pszFamily;

static void check(int bHolds, const char *pszWhat, int iLine)
{
    ++g_uiChecks;
    if (!bHolds) {
        ++g_uiFailures;
        (void)fprintf(stderr, "host.c:%d: %s: %s\n", iLine, g_pszFamily, pszWhat);
    }
}
#define CHECK(holds) check((holds), #holds, __LINE__)

static void check_octets(const void *pvGot, uint32_t uiGot, const void *pvWant, uint32_t uiWant, const char *pszWhat)
{
    ++g_uiChecks;
    if (pvGot != NULL && uiGot == uiWant && memcmp(pvGot, pvWant, uiWant) == 0) {
        return;
    }
    ++g_uiFailures;
    (void)fprintf(stderr, "host.c: %s: %s:\n got ", g_pszFamily, pszWhat);
    for (uint32_t i = 0; pvGot != NULL && i < uiGot; ++i) {
        (void)fprintf(stderr, " %02x", ((const uint8_t *)pvGot)[i]);
    }
    (void)fprintf(stderr, "\n want");
    for (uint32_t i = 0; i < uiWant; ++i) {
        (void)fprintf(stderr, " %02x", ((const uint8_t *)pvWant)[i]);
    }
    (void)fprintf(stderr, "\n");
}

/* Octets that somebody else holds. */
typedef struct {
    const void *pvData;
    uint32_t uiLen;
} OCTETS_S;
#define OCTETS(array)                                                                                                  \
    {                                                                                                                  \
        (array), sizeof(array)                                                                                         \
    }

/* A route on the wire and all that has to become of it. */
typedef struct {
    const char *pszName;
    QEL_FAMILY_CTX_S *(*pfConstruct)(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle);
    void (*pfDestruct)(QEL_FAMILY_CTX_S *pstCtx);
    uint32_t uiAddrFamily;
    uint32_t uiFamilyCode;
    OCTETS_S stWire;
    OCTETS_S stGreater; /* another route, whose key stands behind this one's */
    OCTETS_S stRd;      /* the sections of the block */
    OCTETS_S stKey;
    OCTETS_S stNonKey;
    OCTETS_S stLabel;
    OCTETS_S stWireList; /* attribute 16 of its update, and the list in host order */
    OCTETS_S stList;
    OCTETS_S astCross[CROSSES_MAX]; /* one per call, an empty one ends them */
    const char *pszText;
    const char *pszListText;
    uint32_t uiMoreBehindLast; /* the call that gives the last cross value asks for one more */
} ROUTE_S;

/* The block that has to come: header and sections without gaps. */
typedef struct {
    uint8_t aucBytes[512];
    uint32_t uiLen;
} WANTED_S;

static void want_section(WANTED_S *pstWant, QEL_ROUTE_BLOCK_S *pstHead, const OCTETS_S *pstFrom, uint32_t uiBit,
                         uint16_t *pusOffset, uint16_t *pusLen)
{
    if (pstFrom->uiLen == 0) {
        return;
    }
    memcpy(pstWant->aucBytes + pstWant->uiLen, pstFrom->pvData, pstFrom->uiLen);
    pstHead->uiValidMask |= uiBit;
    *pusOffset = (uint16_t)pstWant->uiLen;
    *pusLen = (uint16_t)pstFrom->uiLen;
    pstWant->uiLen += pstFrom->uiLen;
}

static void want_block(WANTED_S *pstWant, const ROUTE_S *pstRoute, const OCTETS_S *pstAttr, uint8_t ucFlag,
                       uint8_t ucType)
{
    static const ROUTE_S stNothing;
    const ROUTE_S *pstFrom = pstRoute != NULL ? pstRoute : &stNothing;
    const OCTETS_S stNone = {NULL, 0};
    QEL_ROUTE_BLOCK_S stHead;
    memset(&stHead, 0, sizeof(stHead));
    memset(pstWant, 0, sizeof(*pstWant));
    pstWant->uiLen = sizeof(stHead);
    want_section(pstWant, &stHead, &pstFrom->stRd, QEL_SECTION_RD, &stHead.usRdOffset, &stHead.usRdLen);
    want_section(pstWant, &stHead, &pstFrom->stKey, QEL_SECTION_KEY, &stHead.usKeyOffset, &stHead.usKeyLen);
    want_section(pstWant, &stHead, &pstFrom->stNonKey, QEL_SECTION_NONKEY, &stHead.usNonKeyOffset, &stHead.usNonKeyLen);
    want_section(pstWant, &stHead, &pstFrom->stLabel, QEL_SECTION_LABEL, &stHead.usLabelOffset, &stHead.usLabelLen);
    want_section(pstWant, &stHead, pstAttr != NULL ? pstAttr : &stNone, QEL_SECTION_ATTR, &stHead.usAttrOffset,
                 &stHead.usAttrLen);
    stHead.ucAttrFlag = ucFlag;
    stHead.ucAttrType = ucType;
    memcpy(pstWant->aucBytes, &stHead, sizeof(stHead));
}

/* Reads one attribute value whole; the block is the caller's. */
static QEL_ROUTE_BLOCK_S *read_attribute(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx, uint32_t uiType,
                                         const OCTETS_S *pstWire, const WANTED_S *pstWant)
{
    const uint8_t *pucCursor = pstWire->pvData;
    QEL_ROUTE_BLOCK_S *pstBlock = NULL;
    uint32_t uiMore = 0;
    CHECK(pstDesc->pfParsePkt(&pucCursor, pstWire->uiLen, 0, uiType, &pstBlock, &uiMore, pstCtx) == QEL_OK);
    CHECK(pucCursor == (const uint8_t *)pstWire->pvData + pstWire->uiLen);
    CHECK(uiMore == 0);
    if (pstWant != NULL) {
        check_octets(pstBlock, pstBlock != NULL ? pstWant->uiLen : 0, pstWant->aucBytes, pstWant->uiLen,
                     "result block");
    }
    return pstBlock;
}

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
    pstRoute->uiLabelLen = pstBlock->usLabelLen;
    if (pstBlock->usLabelLen == sizeof(pstRoute->uiMplsLabel)) {
        memcpy(&pstRoute->uiMplsLabel, (const uint8_t *)pstBlock + pstBlock->usLabelOffset,
               sizeof(pstRoute->uiMplsLabel));
    }
    pstRoute->uiPolicyId = QEL_POLICY_ID_NONE;
}

static void write_attribute(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx, QEL_ROUTE_INFO_S *pstRoute,
                            uint32_t uiType, const OCTETS_S *pstWire)
{
    uint8_t aucOut[128];
    uint8_t *pucCursor = aucOut;
    memset(aucOut, 0xee, sizeof(aucOut));
    CHECK(pstDesc->pfFormatPkt(pstRoute, uiType, &pucCursor, sizeof(aucOut), pstCtx) == QEL_OK);
    check_octets(aucOut, (uint32_t)(pucCursor - aucOut), pstWire->pvData, pstWire->uiLen, "octets on the wire");
}

static void compare(const QEL_FAMILY_DESC_S *pstDesc, const QEL_ROUTE_INFO_S *pstLow, const QEL_ROUTE_INFO_S *pstHigh)
{
    CHECK(pstDesc->pfCmpData(pstLow->pucRd, pstLow->uiRdLen, pstHigh->pucRd, pstHigh->uiRdLen, QEL_SECTION_RD) == 0);
    CHECK(pstDesc->pfCmpData(pstLow->pucKey, pstLow->uiKeyLen, pstLow->pucKey, pstLow->uiKeyLen, QEL_SECTION_KEY) == 0);
    CHECK(pstDesc->pfCmpData(pstLow->pucKey, pstLow->uiKeyLen, pstHigh->pucKey, pstHigh->uiKeyLen, QEL_SECTION_KEY) ==
          -1);
    CHECK(pstDesc->pfCmpData(pstHigh->pucKey, pstHigh->uiKeyLen, pstLow->pucKey, pstLow->uiKeyLen, QEL_SECTION_KEY) ==
          1);
    CHECK(pstDesc->pfCmpData(pstLow->pucKey, 8, pstLow->pucKey, 8, 64) == QEL_CMP_FAILED);
}

static void import(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx, const QEL_ROUTE_INFO_S *pstInfo,
                   const ROUTE_S *pstRoute)
{
    uint32_t uiCursor = 0;
    for (uint32_t i = 0; i < CROSSES_MAX && pstRoute->astCross[i].uiLen != 0; ++i) {
        const int bLast = i + 1 == CROSSES_MAX || pstRoute->astCross[i + 1].uiLen == 0;
        uint8_t *pucCross = NULL;
        uint32_t uiLen = 0;
        uint32_t uiMore = 7;
        CHECK(pstDesc->pfGetCross(pstInfo, &pucCross, &uiLen, &uiCursor, &uiMore, pstCtx) == QEL_OK);
        CHECK(uiMore == (bLast ? pstRoute->uiMoreBehindLast : 1));
        check_octets(pucCross, uiLen, pstRoute->astCross[i].pvData, pstRoute->astCross[i].uiLen, "cross value");
        ZVK_Free_F(pucCross, __FILE__, __LINE__);
    }
    if (pstRoute->uiMoreBehindLast != 0) {
        uint8_t aucNothing[1];
        uint8_t *pucCross = aucNothing;
        uint32_t uiLen = 7;
        uint32_t uiMore = 7;
        CHECK(pstDesc->pfGetCross(pstInfo, &pucCross, &uiLen, &uiCursor, &uiMore, pstCtx) == QEL_OK);
        CHECK(pucCross == NULL && uiLen == 0 && uiMore == 0);
    }
}

static void show(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx, const QEL_ROUTE_INFO_S *pstInfo,
                 uint32_t uiType, const char *pszWant)
{
    char acText[512];
    uint32_t uiIndex = 0;
    uint32_t uiMore = 7;
    memset(acText, 0, sizeof(acText));
    CHECK(pstDesc->pfData2Str(pstInfo, uiType, acText, sizeof(acText), &uiIndex, &uiMore, pstCtx) == QEL_OK);
    CHECK(uiMore == 0);
    check_octets(acText, (uint32_t)strlen(acText), pszWant, (uint32_t)strlen(pszWant), "text");
}

/* What holds for all families: an attribute that nobody knows, and an argument that is missing. */
static void refuse(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx, QEL_ROUTE_INFO_S *pstInfo)
{
    uint8_t aucOut[8];
    uint8_t *pucOut = aucOut;
    const uint32_t uiAsserts = g_stServices.uiAsserts;
    CHECK(pstDesc->pfFormatPkt(pstInfo, 200, &pucOut, sizeof(aucOut), pstCtx) == QEL_ERR_NO_ENTRY);
    CHECK(g_stServices.uiAsserts == uiAsserts);
    CHECK(pstDesc->pfFormatPkt(NULL, MP_REACH_NLRI, &pucOut, sizeof(aucOut), pstCtx) == QEL_ERR_NULL);
    CHECK(g_stServices.uiAsserts == uiAsserts + 1);
    CHECK(pucOut == aucOut);
    g_stServices.uiAsserts = uiAsserts;
}

static void walk(const ROUTE_S *pstRoute, const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx)
{
    WANTED_S stWant;
    QEL_ROUTE_INFO_S stInfo;
    QEL_ROUTE_INFO_S stGreater;
    want_block(&stWant, pstRoute, NULL, 0, 0);
    QEL_ROUTE_BLOCK_S *pstBlock = read_attribute(pstDesc, pstCtx, MP_REACH_NLRI, &pstRoute->stWire, &stWant);
    QEL_ROUTE_BLOCK_S *pstHigh = read_attribute(pstDesc, pstCtx, MP_REACH_NLRI, &pstRoute->stGreater, NULL);
    want_block(&stWant, NULL, &pstRoute->stList, QEL_ATTR_FLAG_EXTCOMM, QEL_ATTR_TYPE_EXTCOMM);
    QEL_ROUTE_BLOCK_S *pstList = read_attribute(pstDesc, pstCtx, EXT_COMMUNITIES, &pstRoute->stWireList, &stWant);
    if (pstBlock != NULL && pstHigh != NULL && pstList != NULL) {
        expand(pstBlock, &stInfo);
        expand(pstHigh, &stGreater);
        const uint32_t uiLabel = stInfo.uiMplsLabel;
        write_attribute(pstDesc, pstCtx, &stInfo, MP_REACH_NLRI, &pstRoute->stWire);
        CHECK(stInfo.uiMplsLabel == uiLabel << 4); /* kept: the writer leaves the label shifted, peers see it so */
        expand(pstBlock, &stInfo);
        stInfo.pucExtComm = section(pstList, QEL_SECTION_ATTR, pstList->usAttrOffset);
        stInfo.uiExtCommLen = pstList->usAttrLen;
        write_attribute(pstDesc, pstCtx, &stInfo, EXT_COMMUNITIES, &pstRoute->stWireList);
        compare(pstDesc, &stInfo, &stGreater);
        import(pstDesc, pstCtx, &stInfo, pstRoute);
        show(pstDesc, pstCtx, &stInfo, 1, pstRoute->pszText);
        show(pstDesc, pstCtx, &stInfo, 2, pstRoute->pszListText);
        refuse(pstDesc, pstCtx, &stInfo);
    }
    ZVK_Free_F(pstBlock, __FILE__, __LINE__);
    ZVK_Free_F(pstHigh, __FILE__, __LINE__);
    ZVK_Free_F(pstList, __FILE__, __LINE__);
}

static void run(const ROUTE_S *pstRoute, void (*pfFurther)(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx))
{
    QEL_FAMILY_DESC_S stDesc;
    g_pszFamily = pstRoute->pszName;
    memset(&stDesc, 0, sizeof(stDesc));
    stDesc.uiAddrFamily = pstRoute->uiAddrFamily;
    QEL_FAMILY_CTX_S *pstCtx = pstRoute->pfConstruct(&stDesc, MEM_HANDLE);
    CHECK(pstCtx != NULL);
    if (pstCtx == NULL) {
        return;
    }
    CHECK(stDesc.uiAddrFamily == 0);
    CHECK(stDesc.ucFamilyCode == pstRoute->uiFamilyCode);
    walk(pstRoute, &stDesc, pstCtx);
    if (pfFurther != NULL) {
        pfFurther(&stDesc, pstCtx);
    }
    CHECK(g_stServices.uiLive == 1); /* the context */
    pstRoute->pfDestruct(pstCtx);
    CHECK(g_stServices.uiLive == 0);
    CHECK(g_stServices.uiAsserts == 0);
    CHECK(g_stServices.uiMisuse == 0);
}

/* RD 100:1 and the target 192.0.2.1:7, as wire octets and in host order. */
#define WIRE_RD 0, 0, 0, 100, 0, 0, 0, 1
#define WIRE_TARGET 0x01, 0x02, 192, 0, 2, 1, 0, 7
#define HOST_TARGET 0x02, 0x01, 1, 2, 0, 192, 7, 0
static const uint8_t g_aucRd[] = {0, 0, 100, 0, 1, 0, 0, 0};
static const uint8_t g_aucWireTarget[] = {WIRE_TARGET};
static const uint8_t g_aucTarget[] = {HOST_TARGET};
static const char g_acTargetText[] = "RT <192.0.2.1 : 7>";

static void set_rd(QEL_RD_VALUE_S *pstRd)
{
    pstRd->usRdType = 0;
    pstRd->usAsn = 100;
    pstRd->uiAssigned = 1;
}

/* The records of an NG-MVPN route of this type, but for what tells it from others; the flag says what its non-key has
 * beside the type. */
static void begin_records(QEL_NGMVPN_KEY_S *pstKey, QEL_NGMVPN_NONKEY_S *pstNonKey, uint32_t uiType, uint16_t usFlag)
{
    memset(pstKey, 0, sizeof(*pstKey));
    pstKey->uiKeyType = uiType;
    set_rd(&pstKey->stRd);
    pstKey->ucRdKind = QEL_NGMVPN_RD_KIND_KEY;
    memset(pstNonKey, 0, sizeof(*pstNonKey));
    pstNonKey->usFlags = (uint16_t)(QEL_NGMVPN_NONKEY_TYPE | usFlag);
    pstNonKey->uiKeyType = uiType;
    if (usFlag == QEL_NGMVPN_NONKEY_RD) {
        set_rd(&pstNonKey->stRd);
    }
}

/* What the NG-MVPN routes have in common: the RD, the records, the list of one target. */
static ROUTE_S ngmvpn_route(const QEL_NGMVPN_KEY_S *pstKey, const QEL_NGMVPN_NONKEY_S *pstNonKey)
{
    const ROUTE_S stRoute = {
        .pfDestruct = QEL_NGMVPN_Destruct,
        .uiFamilyCode = 6,
        .stRd = OCTETS(g_aucRd),
        .stKey = {pstKey, sizeof(*pstKey)},
        .stNonKey = {pstNonKey, sizeof(*pstNonKey)},
        .stWireList = OCTETS(g_aucWireTarget),
        .stList = OCTETS(g_aucTarget),
        .pszListText = g_acTargetText,
        .uiMoreBehindLast = 1,
    };
    return stRoute;
}

/* Source Tree Join: the instance of the VPN's backbone side gives the target in the form of a join. */
static void source_tree_join(const char *pszName, QEL_FAMILY_CTX_S *(*pfConstruct)(QEL_FAMILY_DESC_S *, uint32_t),
                             void (*pfFurther)(const QEL_FAMILY_DESC_S *, QEL_FAMILY_CTX_S *))
{
    static const uint8_t aucWire[] = {7, 22, WIRE_RD, 0, 0, 251, 244, 32, 10, 1, 0, 1, 32, 232, 1, 1, 1};
    static const uint8_t aucGreater[] = {7, 22, WIRE_RD, 0, 0, 251, 244, 32, 10, 1, 0, 1, 32, 232, 1, 1, 2};
    static const uint8_t aucCross[] = {0x0b, 0x01, 1, 2, 0, 192, 7, 0};
    QEL_NGMVPN_KEY_S stKey;
    QEL_NGMVPN_NONKEY_S stNonKey;
    begin_records(&stKey, &stNonKey, QEL_NGMVPN_KEY_SOURCE_TREE_JOIN, QEL_NGMVPN_NONKEY_RD);
    stKey.uKey.stCMulticastRoute.uiSourceAs = 64500;
    stKey.uKey.stCMulticastRoute.ucSrcAddrLen = 32;
    stKey.uKey.stCMulticastRoute.stSrcAddr.uiIpv4 = UINT32_C(0x0a010001);
    stKey.uKey.stCMulticastRoute.ucGrpAddrLen = 32;
    stKey.uKey.stCMulticastRoute.stGrpAddr.uiIpv4 = UINT32_C(0xe8010101);
    ROUTE_S stRoute = ngmvpn_route(&stKey, &stNonKey);
    stRoute.pszName = pszName;
    stRoute.pfConstruct = pfConstruct;
    stRoute.uiAddrFamily = 1;
    stRoute.stWire = (OCTETS_S)OCTETS(aucWire);
    stRoute.stGreater = (OCTETS_S)OCTETS(aucGreater);
    stRoute.astCross[0] = (OCTETS_S)OCTETS(aucCross);
    stRoute.pszText = "Route Type: CMulticastRoute 100:1/SourceAS: 64500 SourceAddr: 10.1.0.1 GroupAddr: 232.1.1.1 ";
    run(&stRoute, pfFurther);
}

/* Leaf A-D of an Intra-AS I-PMSI route: an instance of the VPN's side is found by the route that is answered. */
static void leaf(void)
{
    static const uint8_t aucWire[] = {4, 18, 1, 12, WIRE_RD, 10, 0, 0, 1, 10, 0, 0, 2};
    static const uint8_t aucGreater[] = {4, 18, 1, 12, WIRE_RD, 10, 0, 0, 1, 10, 0, 0, 3};
    static const uint8_t aucEmbedded[] = {1, 12, WIRE_RD, 10, 0, 0, 1};
    static const uint8_t aucCross[] = {3, WIRE_RD, 10, 0, 0, 1, WIRE_TARGET};
    QEL_NGMVPN_KEY_S stKey;
    QEL_NGMVPN_NONKEY_S stNonKey;
    begin_records(&stKey, &stNonKey, QEL_NGMVPN_KEY_IPMSI_LEAF_AD, QEL_NGMVPN_NONKEY_EMBEDDED_KEY);
    stKey.uKey.stIpmsiLeafAd.ucOrigAddrLen = 32;
    stKey.uKey.stIpmsiLeafAd.stOrigAddr.uiIpv4 = UINT32_C(0x0a000001);
    stKey.uKey.stIpmsiLeafAd.ucLeafAddrLen = 32;
    stKey.uKey.stIpmsiLeafAd.stLeafAddr.uiIpv4 = UINT32_C(0x0a000002);
    memcpy(stNonKey.aucEmbeddedKey, aucEmbedded, sizeof(aucEmbedded));
    ROUTE_S stRoute = ngmvpn_route(&stKey, &stNonKey);
    stRoute.pszName = "NG-MVPN for Mvrf";
    stRoute.pfConstruct = QEL_NGMVPN_Construct4Mvrf;
    stRoute.uiAddrFamily = 1;
    stRoute.stWire = (OCTETS_S)OCTETS(aucWire);
    stRoute.stGreater = (OCTETS_S)OCTETS(aucGreater);
    stRoute.astCross[0] = (OCTETS_S)OCTETS(aucCross);
    stRoute.pszText = "Route Type: Leaf Ad 100:1/Remote OrigRoutIp: 10.0.0.1 Local OrigRoutIp: 10.0.0.2 ";
    run(&stRoute, NULL);
}

/* Intra-AS I-PMSI A-D with an IPv6 originator: a marker, then the target as it stands. */
static void intra(void)
{
    static const uint8_t aucWire[] = {1, 24, WIRE_RD, 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    static const uint8_t aucGreater[] = {1, 24, WIRE_RD, 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
    static const uint8_t aucMarker[] = {0xff, 0xff, 0xff, 0xff};
    QEL_NGMVPN_KEY_S stKey;
    QEL_NGMVPN_NONKEY_S stNonKey;
    begin_records(&stKey, &stNonKey, QEL_NGMVPN_KEY_INTRA_IPMSI_AD, QEL_NGMVPN_NONKEY_RD);
    stKey.uKey.stIntraIpmsiAd.ucOrigAddrLen = 128;
    memcpy(stKey.uKey.stIntraIpmsiAd.stOrigAddr.aucIpv6, aucWire + 10, 16);
    ROUTE_S stRoute = ngmvpn_route(&stKey, &stNonKey);
    stRoute.pszName = "NG-MVPN, IPv6";
    stRoute.pfConstruct = QEL_NGMVPN_Construct;
    stRoute.uiAddrFamily = 2;
    stRoute.stWire = (OCTETS_S)OCTETS(aucWire);
    stRoute.stGreater = (OCTETS_S)OCTETS(aucGreater);
    stRoute.astCross[0] = (OCTETS_S)OCTETS(aucMarker);
    stRoute.astCross[1] = (OCTETS_S)OCTETS(g_aucTarget);
    stRoute.pszText = "Route Type: Intra Ipmsi Ad 100:1/Orig Route Ip: 2001:db8::1 ";
    run(&stRoute, NULL);
}

/* A tunnel attribute there and back, the debug output, and a table read by its own name. */
static void tunnel_and_debug(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx)
{
    static const uint8_t aucWire[] = {1, 1, 0, 0, 16, 0, 0, 0, 5, 0, 0, 0, 17, 192, 0, 2, 1}; /* RSVP-TE P2MP LSP */
    static const OCTETS_S stWire = OCTETS(aucWire);
    static const char acLog[] = "ParseMsg failed, pstMsgParseEntry or pstMsgParseEntry->pfParseMsg if NULL";
    QEL_ROUTE_INFO_S stInfo;
    QEL_ROUTE_BLOCK_S *pstBlock = read_attribute(pstDesc, pstCtx, PMSI_TUNNEL, &stWire, NULL);
    CHECK(pstBlock != NULL && pstBlock->ucAttrFlag == QEL_ATTR_FLAG_PMSI && pstBlock->ucAttrType == QEL_ATTR_TYPE_PMSI);
    if (pstBlock != NULL) {
        memset(&stInfo, 0, sizeof(stInfo));
        stInfo.pucPmsi = section(pstBlock, QEL_SECTION_ATTR, pstBlock->usAttrOffset);
        stInfo.uiPmsiLen = pstBlock->usAttrLen;
        write_attribute(pstDesc, pstCtx, &stInfo, PMSI_TUNNEL, &stWire);
        CHECK(pstDesc->pfCmpData(stInfo.pucPmsi, stInfo.uiPmsiLen, stInfo.pucPmsi, stInfo.uiPmsiLen,
                                 QEL_SECTION_ATTR) == 0);
    }
    ZVK_Free_F(pstBlock, __FILE__, __LINE__);

    pstBlock = NULL;
    CHECK(pstDesc->pfParseMsg(aucWire, sizeof(aucWire), 200, &pstBlock, pstCtx) == QEL_ERR_NO_ENTRY);
    CHECK(g_stServices.uiDebugs == 0);
    CHECK(pstDesc->pfSetLibDebug(21, 22, pstCtx) == QEL_OK);
    CHECK(pstDesc->pfParseMsg(aucWire, sizeof(aucWire), 200, &pstBlock, pstCtx) == QEL_ERR_NO_ENTRY);
    CHECK(pstBlock == NULL);
    CHECK(g_stServices.uiDebugs == 1 && g_stServices.uiDebugModule == 21 && g_stServices.uiDebugHandle == 22);
    CHECK(strncmp(g_stServices.acDebug, "[MCAST][Line:", 13) == 0);
    CHECK(strstr(g_stServices.acDebug, "]:") != NULL && strcmp(strstr(g_stServices.acDebug, "]:") + 2, acLog) == 0);

    /* the row that the library finds is the row that the host sees, and holds the handler that the host can call */
    CHECK(QEL_NGMVPN_GetPktParseEntry(MP_REACH_NLRI) == &g_astQelNgmvpnPktParseTbl[0]);
    CHECK(g_astQelNgmvpnPktParseTbl[0].pfParsePkt == QEL_NGMVPN_ParseMpNlri);
    CHECK(pstDesc->pfParsePkt == QEL_NGMVPN_ParsePkt);
}

/* The data MDT of a group: without a target it is imported by its share group. */
static void mdt(void)
{
    static const uint8_t aucWire[] = {0x80, WIRE_RD, 10, 0, 0, 1, 239, 1, 1, 1};
    static const uint8_t aucGreater[] = {0x80, WIRE_RD, 10, 0, 0, 2, 239, 1, 1, 1};
    static const uint8_t aucKey[] = {1, 0, 0, 10, 1, 1, 1, 239};
    static const uint8_t aucNonKey[] = {1, 0, 0, 0, 1, 1, 1, 239};
    static const uint8_t aucWireList[] = {0x00, 0x09, 0xfd, 0xe9, 0, 0, 0, 0}; /* Source AS 65001 */
    static const uint8_t aucList[] = {0x09, 0x00, 0xe9, 0xfd, 0, 0, 0, 0};
    static const uint8_t aucCross[] = {1, 1, 1, 239};
    const ROUTE_S stRoute = {
        .pszName = "MDT",
        .pfConstruct = QEL_MDT_Construct,
        .pfDestruct = QEL_MDT_Destruct,
        .uiAddrFamily = 1,
        .uiFamilyCode = 1,
        .stWire = OCTETS(aucWire),
        .stGreater = OCTETS(aucGreater),
        .stRd = OCTETS(g_aucRd),
        .stKey = OCTETS(aucKey),
        .stNonKey = OCTETS(aucNonKey),
        .stWireList = OCTETS(aucWireList),
        .stList = OCTETS(aucList),
        .astCross = {OCTETS(aucCross)},
        .pszText = "<100:1>, 10.0.0.1/32, Group Address: 239.1.1.1 ",
        .pszListText = "Source AS <65001 : 0>",
    };
    run(&stRoute, NULL);
}

static void label(const QEL_FAMILY_DESC_S *pstDesc, QEL_FAMILY_CTX_S *pstCtx)
{
    static const uint8_t aucLow[] = {100, 0, 0, 0};
    static const uint8_t aucHigh[] = {101, 0, 0, 0};
    QEL_ROUTE_INFO_S stInfo;
    uint32_t uiType = 0;
    uint32_t uiCount = 0;
    uint32_t uiReserved = 0;
    (void)pstCtx;
    memset(&stInfo, 0, sizeof(stInfo));
    CHECK(pstDesc->pfCmpData(aucLow, sizeof(aucLow), aucHigh, sizeof(aucHigh), QEL_SECTION_LABEL) == -1);
    CHECK(pstDesc->pfGetLabelType(&stInfo, &uiType, &uiCount, &uiReserved) == QEL_OK);
    CHECK(uiType == 3 && uiCount == 1);
}

static void vpnv4_multicast(void)
{
    static const uint8_t aucWire[] = {0x68, 0x00, 0x06, 0x40, WIRE_RD, 10, 1};
    static const uint8_t aucGreater[] = {0x68, 0x00, 0x06, 0x40, WIRE_RD, 10, 2};
    static const uint8_t aucKey[] = {0, 0, 1, 10, 16, 0, 0, 0};
    static const uint8_t aucLabel[] = {100, 0, 0, 0};
    const ROUTE_S stRoute = {
        .pszName = "VPNv4 multicast",
        .pfConstruct = QEL_VPNV4MCAST_Construct,
        .pfDestruct = QEL_VPNV4MCAST_Destruct,
        .uiAddrFamily = 1,
        .uiFamilyCode = 1,
        .stWire = OCTETS(aucWire),
        .stGreater = OCTETS(aucGreater),
        .stRd = OCTETS(g_aucRd),
        .stKey = OCTETS(aucKey),
        .stLabel = OCTETS(aucLabel),
        .stWireList = OCTETS(g_aucWireTarget),
        .stList = OCTETS(g_aucTarget),
        .astCross = {OCTETS(g_aucTarget)},
        .pszText = "10.1.0.0/16(<100:1> 100)",
        .pszListText = g_acTargetText,
    };
    run(&stRoute, label);
}

int main(void)
{
    source_tree_join("NG-MVPN for Mvpn", QEL_NGMVPN_Construct4Mvpn, tunnel_and_debug);
    source_tree_join("NG-MVPN", QEL_NGMVPN_Construct, NULL);
    leaf();
    intra();
    mdt();
    vpnv4_multicast();
    (void)printf("%" PRIu32 " checks, %" PRIu32 " failed, %" PRIu32 " allocations\n", g_uiChecks, g_uiFailures,
                 g_stServices.uiAllocations);
    return g_uiFailures == 0 && g_uiChecks > 150 ? 0 : 1;
}
