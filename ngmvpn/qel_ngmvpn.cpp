#include "qel_ngmvpn.h"

#include "platform/bounds.h"
#include "qel_check.h"
#include "qel_ngmvpn_attribute_msg.h"
#include "qel_ngmvpn_attribute_pkt.h"
#include "qel_ngmvpn_cross.h"
#include "qel_ngmvpn_dfx.h"
#include "qel_ngmvpn_intercomp_msg.h"
#include "qel_ngmvpn_nlri.h"
#include "qel_ngmvpn_policy.h"
#include "qel_ngmvpn_segment_importattr.h"
#include "qel_ngmvpn_segment_parsemsg.h"
#include "qel_ngmvpn_segment_policy.h"
#include "qel_ngmvpn_util.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

static constexpr uint8_t QEL_NGMVPN_FAMILY_CODE = 6;
static constexpr uint16_t QEL_NGMVPN_ADDR_FAMILY_IPV4 = 1;

/* Construction. */

/* Copies a list of type codes and returns its count byte. */
static uint8_t QEL_NGMVPN_CopyTypes_(uint32_t *pauiTypes, const uint32_t *pauiFrom, size_t ulBytes)
{
    memcpy(pauiTypes, pauiFrom, ulBytes);
    return static_cast<uint8_t>(ulBytes / sizeof(uint32_t));
}

void QEL_NGMVPN_InitPktTlv(QEL_FAMILY_DESC_S *pstDesc)
{
    static constexpr uint32_t auiTypes[] = {14, 15, 16, 22, 25, 40, 66};
    pstDesc->ucPktAttrCount = QEL_NGMVPN_CopyTypes_(pstDesc->auiPktAttrTypes, auiTypes, sizeof(auiTypes));
}

void QEL_NGMVPN_InitMsgTlv(QEL_FAMILY_DESC_S *pstDesc)
{
    static constexpr uint32_t auiTypes[] = {53, 55, 59, 61, 56, 57, 5, 6, 15, 16, 18, 20, 19, 21, 137, 138, 157, 158};
    pstDesc->ucMsgTlvCount = QEL_NGMVPN_CopyTypes_(pstDesc->auiMsgTlvTypes, auiTypes, sizeof(auiTypes));
}

void QEL_NGMVPN_InitHaMsgTlv(QEL_FAMILY_DESC_S *pstDesc)
{
    static constexpr uint32_t auiTypes[] = {1, 3, 5, 6, 7, 8, 10, 11};
    pstDesc->ucHaMsgTlvCount = QEL_NGMVPN_CopyTypes_(pstDesc->auiHaMsgTlvTypes, auiTypes, sizeof(auiTypes));
}

void QEL_NGMVPN_InitAttrMsgTlv(QEL_FAMILY_DESC_S *pstDesc)
{
    static constexpr uint32_t auiTypes[] = {11, 21, 25, 34, 40, 50, 51, 43, 59};
    pstDesc->ucFamilyCode = QEL_NGMVPN_FAMILY_CODE;
    pstDesc->ucAttrMsgTlvCount = QEL_NGMVPN_CopyTypes_(pstDesc->auiAttrMsgTlvTypes, auiTypes, sizeof(auiTypes));
}

void QEL_NGMVPN_InitPolicy(QEL_FAMILY_DESC_S *pstDesc)
{
    /* RD, extended community, MVPN route type, SNH extended community, originator IP */
    static constexpr uint32_t uiMatchTypes = 0x300904;
    static constexpr uint32_t auiActionBits[] = {0xC0, 0x20000000, 0x800000, 0};
    static constexpr uint32_t auiTypes[] = {6, 7, 61, 87};
    static_assert(sizeof(auiActionBits) == sizeof(pstDesc->auiActionTypeBits));

    pstDesc->ucPolicyActionCount = 0;
    pstDesc->auiMatchTypeMask[0] = uiMatchTypes;
    pstDesc->auiMatchTypeMask[1] = uiMatchTypes;
    pstDesc->auiMatchTypeMask[2] = uiMatchTypes;
    memcpy(pstDesc->auiActionTypeBits, auiActionBits, sizeof(auiActionBits));
    pstDesc->ucApplyActionCount = QEL_NGMVPN_CopyTypes_(pstDesc->auiApplyActionTypes, auiTypes, sizeof(auiTypes));
}

void QEL_NGMVPN_InitCallBack(QEL_FAMILY_DESC_S *pstDesc)
{
    pstDesc->pfParsePkt = QEL_NGMVPN_ParsePkt;
    pstDesc->pfFormatPkt = QEL_NGMVPN_FormatPkt;
    pstDesc->pfSetAttr = QEL_NGMVPN_SetAttr;
    pstDesc->pfSetAttrAfterPlcy = QEL_NGMVPN_SetAttrAfterPlcy;
    pstDesc->pfParseMsg = QEL_NGMVPN_ParseMsg;
    pstDesc->pfFormatMsg = QEL_NGMVPN_FormatMsg;
    pstDesc->pfParseHaMsg = QEL_NGMVPN_ParseHaMsg;
    pstDesc->pfFormatHaMsg = QEL_NGMVPN_FormatHaMsg;
    pstDesc->pfParseAttrMsg = QEL_NGMVPN_ParseAttrMsg;
    pstDesc->pfFormatAttrMsg = QEL_NGMVPN_FormatAttrMsg;
    pstDesc->pfParseCfg = QEL_NGMVPN_ParseCfg;
    pstDesc->pfFormatCfg = QEL_NGMVPN_FormatCfg;
    pstDesc->pfConstructRtpEntry = QEL_NGMVPN_ConstructRtpEntry;
    pstDesc->pfParseAddAttrMsg = QEL_NGMVPN_ParseAddAttrMsg;
    pstDesc->pfGetRouteType = QEL_NGMVPN_GetRouteType;
    pstDesc->pfGetCmcastNhpUserData = QEL_NGMVPN_GetCmcastNhpUserData;
    pstDesc->pfConstructMatch = QEL_NGMVPN_ConstructMatch;
    pstDesc->pfApplyAction = QEL_NGMVPN_ApplyAction;
    pstDesc->pfGetCross = QEL_NGMVPN_GetCrossGtm;
    pstDesc->pfGetExtCommunity = QEL_NGMVPN_GetExtCommunity;
    pstDesc->pfCmpData = QEL_NGMVPN_CmpData;
    pstDesc->pfData2Str = QEL_NGMVPN_Data2Str;
    pstDesc->pfSetRtCount = QEL_NGMVPN_SetRtCount;
    pstDesc->pfGetRtCount = QEL_NGMVPN_GetRtCount;
    pstDesc->pfCheckRouteForAdv = QEL_NGMVPN_CheckRouteForAdv;
    /* kept: the one spare slot that is written; the others belong to the host, which sees the difference */
    pstDesc->pfSpare30 = nullptr;
    pstDesc->pfSetRelayNextHop = QEL_NGMVPN_SetRelayNextHop;
    pstDesc->pfCmpDataForAttrType = QEL_NGMVPN_CmpDataForAttrType;
    pstDesc->pfCheckAttrByType = QEL_NGMVPN_CheckAttrByType;
    pstDesc->pfSetLibDebug = QEL_NGMVPN_SetLibDebug;
    pstDesc->pfGetIntraNlriKeyByUserData = QEL_NGMVPN_GetIntraNlriKeyByUserData;
}

QEL_FAMILY_CTX_S *QEL_NGMVPN_Construct(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle)
{
    if (QEL_Missing(pstDesc) || QEL_Zero(uiMemHandle)) {
        return nullptr;
    }
    auto *pstCtx =
        static_cast<QEL_FAMILY_CTX_S *>(ZVK_SimpleAlloc_F(uiMemHandle, sizeof(QEL_FAMILY_CTX_S), __FILE__, __LINE__));
    if (QEL_Missing(pstCtx)) {
        return nullptr;
    }
    /* kept: a failed clear is not reported here; the other families report theirs, and the host counts reports */
    (void)memset_s(pstCtx, sizeof(*pstCtx), 0, sizeof(*pstCtx));
    pstCtx->uiMemHandle = uiMemHandle;
    pstCtx->uiInlineBufUsed = 0;
    pstCtx->usAddrFamily = static_cast<uint16_t>(pstDesc->uiAddrFamily);
    pstDesc->uiAddrFamily = 0;

    QEL_NGMVPN_InitPktTlv(pstDesc);
    QEL_NGMVPN_InitMsgTlv(pstDesc);
    QEL_NGMVPN_InitHaMsgTlv(pstDesc);
    QEL_NGMVPN_InitAttrMsgTlv(pstDesc);
    QEL_NGMVPN_InitPolicy(pstDesc);
    QEL_NGMVPN_InitCallBack(pstDesc);
    return pstCtx;
}

/* An instance for one component: its code depends on the address side. */
static QEL_FAMILY_CTX_S *QEL_NGMVPN_ConstructKind_(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle,
                                                   uint16_t usKindIpv4, uint16_t usKindIpv6)
{
    QEL_FAMILY_CTX_S *pstCtx = QEL_NGMVPN_Construct(pstDesc, uiMemHandle);
    if (pstCtx != nullptr) {
        pstCtx->usInstanceKind = (pstCtx->usAddrFamily == QEL_NGMVPN_ADDR_FAMILY_IPV4) ? usKindIpv4 : usKindIpv6;
    }
    return pstCtx;
}

QEL_FAMILY_CTX_S *QEL_NGMVPN_Construct4Mvrf(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle)
{
    return QEL_NGMVPN_ConstructKind_(pstDesc, uiMemHandle, QEL_NGMVPN_KIND_MVRF_IPV4, QEL_NGMVPN_KIND_MVRF_IPV6);
}

QEL_FAMILY_CTX_S *QEL_NGMVPN_Construct4Mvpn(QEL_FAMILY_DESC_S *pstDesc, uint32_t uiMemHandle)
{
    return QEL_NGMVPN_ConstructKind_(pstDesc, uiMemHandle, QEL_NGMVPN_KIND_MVPN_IPV4, QEL_NGMVPN_KIND_MVPN_IPV6);
}

void QEL_NGMVPN_Destruct(QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstCtx)) {
        return;
    }
    ZVK_Free_F(pstCtx, __FILE__, __LINE__);
}

static uint32_t QEL_NGMVPN_IsKind_(const QEL_FAMILY_CTX_S *pstCtx, uint16_t usKindIpv4, uint16_t usKindIpv6)
{
    if (QEL_Missing(pstCtx)) {
        return 0;
    }
    return (pstCtx->usInstanceKind == usKindIpv4 || pstCtx->usInstanceKind == usKindIpv6) ? 1 : 0;
}

uint32_t QEL_NGMVPN_IsMvrfComp(const QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_IsKind_(pstCtx, QEL_NGMVPN_KIND_MVRF_IPV4, QEL_NGMVPN_KIND_MVRF_IPV6);
}

uint32_t QEL_NGMVPN_IsMvpnComp(const QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_IsKind_(pstCtx, QEL_NGMVPN_KIND_MVPN_IPV4, QEL_NGMVPN_KIND_MVPN_IPV6);
}

/* Dispatch tables and their lookups. */

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnPktParseTbl[] = {
    {14, {.pfParsePkt = QEL_NGMVPN_ParseMpNlri}},
    {15, {.pfParsePkt = QEL_NGMVPN_ParseMpNlri}},
    {16, {.pfParsePkt = QEL_NGMVPN_ParseExtCommunity}},
    {22, {.pfParsePkt = QEL_NGMVPN_ParsePmsiTnl}},
    {25, {.pfParsePkt = QEL_NGMVPN_ParseIPv6ExtCommunity}},
    {40, {.pfParsePkt = QEL_NGMVPN_ParsePrefixSid}},
    {66, {.pfParsePkt = QEL_NGMVPN_ParseMsid}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetPktParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnPktParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnPktFormatTbl[] = {
    {14, {.pfFormatPkt = QEL_NGMVPN_FormatMpNlri}},
    {15, {.pfFormatPkt = QEL_NGMVPN_FormatMpNlri}},
    {16, {.pfFormatPkt = QEL_NGMVPN_FormatExtCommunity}},
    {22, {.pfFormatPkt = QEL_NGMVPN_FormatPmsiTnl}},
    {25, {.pfFormatPkt = QEL_NGMVPN_FormatIPv6ExtCommunity}},
    {40, {.pfFormatPkt = QEL_NGMVPN_FormatPrefixSid}},
    {66, {.pfFormatPkt = QEL_NGMVPN_FormatMsid}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetPktFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnPktFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCmpDataTbl[] = {
    {1, {.pfCmpData = QEL_NGMVPN_CmpRd}},     /* RD */
    {2, {.pfCmpData = QEL_NGMVPN_CmpKey}},    /* key */
    {4, {.pfCmpData = QEL_NGMVPN_CmpNonKey}}, /* non-key */
    {16, {.pfCmpData = QEL_NGMVPN_CmpCross}}, /* cross value */
    {8, {.pfCmpData = QEL_NGMVPN_CmpAttr}},   /* attribute */
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetDataCmpEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnCmpDataTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCmpAttrDataTbl[] = {
    {1, {.pfCmpDataForAttrType = QEL_NGMVPN_CmpRdAttr}},     /* RD */
    {2, {.pfCmpDataForAttrType = QEL_NGMVPN_CmpKeyAttr}},    /* key */
    {4, {.pfCmpDataForAttrType = QEL_NGMVPN_CmpNonKeyAttr}}, /* non-key */
    {16, {.pfCmpDataForAttrType = QEL_NGMVPN_CmpCrossAttr}}, /* cross value */
    {8, {.pfCmpDataForAttrType = QEL_NGMVPN_CmpAttrNew}},    /* attribute */
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetDataCmpAttrEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnCmpAttrDataTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnData2StrTbl[] = {
    {1, {.pfData2Str = QEL_NGMVPN_MpNlriData2Str}},
    {2, {.pfData2Str = QEL_NGMVPN_ExtCommunity2Str}},
    {4, {.pfData2Str = QEL_NGMVPN_PmsiTnl2Str}},
    {8, {.pfData2Str = QEL_NGMVPN_NonKey2Str}},
    {256, {.pfData2Str = QEL_NGMVPN_IPv6ExtCommunity2Str}},
    {512, {.pfData2Str = QEL_NGMVPN_PfxSidAttr2Str}},
    {1024, {.pfData2Str = QEL_NGMVPN_MsidAttr2Str}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetData2StrEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnData2StrTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCfgFormatTbl[] = {
    {1, {.pfFormatCfg = QEL_NGMVPN_FormatCfgRd}},
    {2, {.pfFormatCfg = QEL_NGMVPN_FormatCfgPrefix}},
    {4, {.pfFormatCfg = QEL_NGMVPN_FormatCfgExtCommunity}},
    {8, {.pfFormatCfg = QEL_NGMVPN_FormatCfgPmsiTnl}},
    {64, {.pfFormatCfg = QEL_NGMVPN_FormatCfgIPv6ExtCommunity}},
    {128, {.pfFormatCfg = QEL_NGMVPN_FormatCfgPrefixSid}},
    {256, {.pfFormatCfg = QEL_NGMVPN_FormatCfgMsid}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetCfgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnCfgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnCfgParseTbl[] = {
    {1, {.pfParseMsg = QEL_NGMVPN_ParseCfgRd}},
    {2, {.pfParseMsg = QEL_NGMVPN_ParseCfgPrefix}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetCfgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnCfgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnHaMsgFormatTbl[] = {
    {1, {.pfFormatMsg = QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv}},
    {3, {.pfFormatMsg = QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv}},
    {5, {.pfFormatMsg = QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv}},
    {8, {.pfFormatMsg = QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv}},
    {6, {.pfFormatMsg = QEL_NGMVPN_FormatIrtTlv}},
    {7, {.pfFormatMsg = QEL_NGMVPN_FormatIrtTlv}},
    {10, {.pfFormatMsg = QEL_NGMVPN_FormatIrtTlv}},
    {11, {.pfFormatMsg = QEL_NGMVPN_FormatIrtTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetHaiMsgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnHaMsgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnHaMsgParseTbl[] = {
    {1, {.pfParseMsg = QEL_NGMVPN_ParseHARtPrefixTlv}},      /* route prefix */
    {3, {.pfParseMsg = QEL_NGMVPN_ParseHARtPrefixTlv}},      /* route prefix */
    {5, {.pfParseMsg = QEL_NGMVPN_ParseHARtPrefixTlv}},      /* route prefix */
    {8, {.pfParseMsg = QEL_NGMVPN_ParseHARtPrefixTlvGlbal}}, /* route prefix */
    {6, {.pfParseMsg = QEL_NGMVPN_ParseIrtTlv}},             /* route target */
    {7, {.pfParseMsg = QEL_NGMVPN_ParseIrtTlv}},             /* route target */
    {10, {.pfParseMsg = QEL_NGMVPN_ParseVrfIrtTlv}},         /* private IRT */
    {11, {.pfParseMsg = QEL_NGMVPN_ParseVrfIrtTlv}},         /* private IRT */
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetHaiMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnHaMsgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnMsgFormatTbl[] = {
    {53, {.pfFormatMsg = QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv}}, /* route prefix to Mvpn */
    {55, {.pfFormatMsg = QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv}}, /* route prefix to Mvpn */
    {59, {.pfFormatMsg = QEL_NGMVPN_MvpnFormatToMvrfRtPrefixTlv}}, /* route prefix to Mvrf */
    {61, {.pfFormatMsg = QEL_NGMVPN_MvpnFormatToMvrfRtPrefixTlv}}, /* route prefix to Mvrf */
    {5, {.pfFormatMsg = QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv}},    /* route prefix to Mc */
    {6, {.pfFormatMsg = QEL_NGMVPN_FormatRoutePathTlv}},           /* route path to Mc */
    {56, {.pfFormatMsg = QEL_NGMVPN_FormatIrtTlv}},
    {57, {.pfFormatMsg = QEL_NGMVPN_FormatIrtTlv}},
    {137, {.pfFormatMsg = QEL_NGMVPN_FormatMcImportRouteKeyTlv}},   /* import route's key to Mc */
    {138, {.pfFormatMsg = QEL_NGMVPN_FormatMcImportRouteNoKeyTlv}}, /* import route's attributes to Mc */
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetBgpiMsgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnMsgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnMsgParseTbl[] = {
    {53, {.pfParseMsg = QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv}}, /* route prefix from Mvrf */
    {55, {.pfParseMsg = QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv}}, /* route prefix from Mvrf */
    {59, {.pfParseMsg = QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv}}, /* route prefix from Mvpn */
    {61, {.pfParseMsg = QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv}}, /* route prefix from Mvpn */
    {15, {.pfParseMsg = QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv}},   /* route prefix from Mc */
    {16, {.pfParseMsg = QEL_NGMVPN_ParseMcRoutePathTlv}},          /* route path from Mc */
    {56, {.pfParseMsg = QEL_NGMVPN_ParseIrtTlv}},                  /* route target */
    {57, {.pfParseMsg = QEL_NGMVPN_ParseIrtTlv}},                  /* route target */
    {18, {.pfParseMsg = QEL_NGMVPN_ParseIrtTlv}},                  /* route target */
    {20, {.pfParseMsg = QEL_NGMVPN_ParseIrtTlv}},                  /* route target */
    {19, {.pfParseMsg = QEL_NGMVPN_ParseIrtTlv}},                  /* route target */
    {21, {.pfParseMsg = QEL_NGMVPN_ParseIrtTlv}},                  /* route target */
    {157, {.pfParseMsg = QEL_NGMVPN_ParseVrfIrtTlv}},              /* private IRT */
    {158, {.pfParseMsg = QEL_NGMVPN_ParseVrfIrtTlv}},              /* private IRT */
    {137, {.pfParseMsg = QEL_NGMVPN_ParseMcImportRouteKeyTlv}},    /* import route's key from Mc */
    {138, {.pfParseMsg = QEL_NGMVPN_ParseMcImportRouteNoKeyTlv}},  /* import route's attributes from Mc */
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetBgpiMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnMsgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnSetAttrTbl[] = {
    {16, {.pfSetAttr = QEL_NGMVPN_SetExtCommunity}},
    {3, {.pfSetAttr = QEL_NGMVPN_SetNexthop}},
    {8, {.pfSetAttr = QEL_NGMVPN_SetCommunity}},
    {22, {.pfSetAttr = QEL_NGMVPN_SetPmsi}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetAttrSetEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnSetAttrTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnApplyActionTbl[] = {
    {6, {.pfApplyAction = QEL_NGMVPN_ApplyExtCommunity}},
    {7, {.pfApplyAction = QEL_NGMVPN_ApplyExtCommunity}},
    {87, {.pfApplyAction = QEL_NGMVPN_ApplyExtCommunity}},
    {61, {.pfApplyAction = QEL_NGMVPN_ApplyAttrRplInfo}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetApplyActionEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnApplyActionTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnErtMsgParseTbl[] = {
    {11, {.pfParseAddAttrMsg = QEL_NGMVPN_ParseAddAttrTlv}},
    {34, {.pfParseAddAttrMsg = QEL_NGMVPN_ParseNonkeyTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetErtMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnErtMsgParseTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnParseRoutePathTbl[] = {
    {14, {.pfParseRoutePath = QEL_NGMVPN_ParseMcRoutePathNh}},
    {13, {.pfParseRoutePath = QEL_NGMVPN_ParseRoutePathExtComTlvRtImportOrSnh_}},
    {15, {.pfParseRoutePath = QEL_NGMVPN_ParseRoutePathExtComTlvRtImportOrSnh_}},
    {12, {.pfParseRoutePath = QEL_NGMVPN_ParseRoutePathExtComTlvPmsi_}},
    {22, {.pfParseRoutePath = QEL_NGMVPN_ParseRoutePathExtComTlvRt6Import_}},
    {23, {.pfParseRoutePath = QEL_NGMVPN_ParseRoutePathExtComTlvPfxSid_}},
    {24, {.pfParseRoutePath = QEL_NGMVPN_ParseRoutePathExtComTlvMsid_}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetParseMcRoutePathEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnParseRoutePathTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnAttrMsgFormatTbl[] = {
    {11, {.pfFormatMsg = QEL_NGMVPN_FormatExtCommunityTlv}},
    {21, {.pfFormatMsg = QEL_NGMVPN_FormatExtCommunityTlv}},
    {25, {.pfFormatMsg = QEL_NGMVPN_FormatPmsiTnlTlv}},
    {34, {.pfFormatMsg = QEL_NGMVPN_FormatRtNonKeyTlv}},
    {40, {.pfFormatMsg = QEL_NGMVPN_FormatImportAttrTlv}},
    {50, {.pfFormatMsg = QEL_NGMVPN_FormatIPv6ExtCommunityTlv}},
    {51, {.pfFormatMsg = QEL_NGMVPN_FormatIPv6ExtCommunityTlv}},
    {43, {.pfFormatMsg = QEL_NGMVPN_FormatRtPfxSidTlv}},
    {59, {.pfFormatMsg = QEL_NGMVPN_FormatRtMsidTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetAttrMsgFormatEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnAttrMsgFormatTbl, uiType);
}

constexpr QEL_DISPATCH_ENTRY_S g_astQelNgmvpnAttrMsgParseTbl[] = {
    {11, {.pfParseMsg = QEL_NGMVPN_ParseRtExtCommunityTlv}},
    {21, {.pfParseMsg = QEL_NGMVPN_ParseRtExtCommunityTlv}},
    {25, {.pfParseMsg = QEL_NGMVPN_ParsePmsiTnlTlv}},
    {34, {.pfParseMsg = QEL_NGMVPN_ParseRtNonKeyTlv}},
    {40, {.pfParseMsg = QEL_NGMVPN_ParseImportAttrTlv}},
    {50, {.pfParseMsg = QEL_NGMVPN_ParseRtIPv6ExtCommunityTlv}},
    {51, {.pfParseMsg = QEL_NGMVPN_ParseRtIPv6ExtCommunityTlv}},
    {43, {.pfParseMsg = QEL_NGMVPN_ParseRtPfxSidTlv}},
    {59, {.pfParseMsg = QEL_NGMVPN_ParseRtMsidTlv}},
};

const QEL_DISPATCH_ENTRY_S *QEL_NGMVPN_GetAttrMsgParseEntry(uint32_t uiType)
{
    return QEL_FindEntry(g_astQelNgmvpnAttrMsgParseTbl, uiType);
}

/* The operations: check the pointers, find the row, go on in its handler. kept: the codes for a type without a handler
 * are not the same for all operations; the host tells the operations apart by them. */

uint32_t QEL_NGMVPN_ParsePkt(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t /* uiIgnored */, uint32_t uiAttrType,
                             QEL_ROUTE_BLOCK_S **ppstResult, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(ppstResult) || QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen == 0) {
        return QEL_OK;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetPktParseEntry(uiAttrType);
    if (pstEntry == nullptr || pstEntry->pfParsePkt == nullptr) {
        /* kept: an unknown attribute is no error, so that the host may offer every attribute of an update */
        return QEL_OK;
    }
    return pstEntry->pfParsePkt(ppucCursor, uiLen, ppstResult, puiMore, pstCtx);
}

uint32_t QEL_NGMVPN_FormatPkt(QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint8_t **ppucCursor, uint32_t uiOutLen,
                              QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: the context is not checked here, nor in the HA and attribute messages; hosts format without one */
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetPktFormatEntry(uiAttrType);
    if (pstEntry == nullptr || pstEntry->pfFormatPkt == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfFormatPkt(pstRoute, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_NGMVPN_SetAttr(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiAttrType, uint32_t uiCtrlFlag,
                            QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetAttrSetEntry(uiAttrType);
    if (pstEntry == nullptr || pstEntry->pfSetAttr == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfSetAttr(pstRoute, uiCtrlFlag, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                             QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstMsgParseEntry = QEL_NGMVPN_GetBgpiMsgParseEntry(uiTlvType);
    if (pstMsgParseEntry == nullptr || pstMsgParseEntry->pfParseMsg == nullptr) {
        /* kept: "if NULL"; operators search their logs for the words as they are */
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ParseMsg failed, pstMsgParseEntry or pstMsgParseEntry->pfParseMsg if NULL");
        return QEL_ERR_NO_ENTRY;
    }
    return pstMsgParseEntry->pfParseMsg(pucData, uiLen, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_FormatMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                              uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstMsgFormatEntry = QEL_NGMVPN_GetBgpiMsgFormatEntry(uiTlvType);
    if (pstMsgFormatEntry == nullptr || pstMsgFormatEntry->pfFormatMsg == nullptr) {
        /* kept: "Success" in a failure; operators search their logs for the words as they are */
        QEL_NGMVPN_Debug(pstCtx, __LINE__,
                         "FormatMsg Success, pstMsgFormatEntry or pstMsgFormatEntry->pfFormatMsg is NULL");
        return QEL_ERR_NO_ENTRY;
    }
    return pstMsgFormatEntry->pfFormatMsg(pstRoute, ppucCursor, uiOutLen, pstCtx);
}

/* Finds the row of a type code. */
typedef const QEL_DISPATCH_ENTRY_S *(*QEL_NGMVPN_LOOKUP_F)(uint32_t uiType);

/* The body of the readers that differ in their table alone. Inlined, so that the handler is one jump away. */
__attribute__((always_inline)) static inline uint32_t
QEL_NGMVPN_ParseTlv_(QEL_NGMVPN_LOOKUP_F pfLookup, const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                     QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = pfLookup(uiTlvType);
    if (pstEntry == nullptr || pstEntry->pfParseMsg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfParseMsg(pucData, uiLen, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseHaMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                               QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseTlv_(QEL_NGMVPN_GetHaiMsgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseAttrMsg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType,
                                 QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseTlv_(QEL_NGMVPN_GetAttrMsgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ParseCfg(const uint8_t *pucData, uint32_t uiLen, uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult,
                             QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseTlv_(QEL_NGMVPN_GetCfgParseEntry, pucData, uiLen, uiTlvType, ppstResult, pstCtx);
}

/* The body of the writers that differ in their table alone; the context may be null. */
__attribute__((always_inline)) static inline uint32_t QEL_NGMVPN_FormatTlv_(QEL_NGMVPN_LOOKUP_F pfLookup,
                                                                            const QEL_ROUTE_INFO_S *pstRoute,
                                                                            uint32_t uiTlvType, uint8_t **ppucCursor,
                                                                            uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = pfLookup(uiTlvType);
    if (pstEntry == nullptr || pstEntry->pfFormatMsg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfFormatMsg(pstRoute, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_NGMVPN_FormatHaMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_FormatTlv_(QEL_NGMVPN_GetHaiMsgFormatEntry, pstRoute, uiTlvType, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_NGMVPN_FormatAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiTlvType, uint8_t **ppucCursor,
                                  uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_FormatTlv_(QEL_NGMVPN_GetAttrMsgFormatEntry, pstRoute, uiTlvType, ppucCursor, uiOutLen, pstCtx);
}

uint32_t QEL_NGMVPN_FormatCfg(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, uint8_t **ppucCursor,
                              uint32_t uiOutLen, uint32_t *puiIndex, uint32_t *puiMore)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(puiIndex) || QEL_Missing(puiMore)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetCfgFormatEntry(uiType);
    if (pstEntry == nullptr || pstEntry->pfFormatCfg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfFormatCfg(pstRoute, ppucCursor, uiOutLen, puiIndex, puiMore);
}

uint32_t QEL_NGMVPN_ParseAddAttrMsg(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                    uint32_t uiTlvType, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: the route is not checked; the handlers know what to do without one */
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetErtMsgParseEntry(uiTlvType);
    if (pstEntry == nullptr || pstEntry->pfParseAddAttrMsg == nullptr) {
        return QEL_ERR_NO_ENTRY;
    }
    return pstEntry->pfParseAddAttrMsg(pstRoute, pucData, uiLen, ppstResult, pstCtx);
}

uint32_t QEL_NGMVPN_ApplyAction(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pucValue) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetApplyActionEntry(uiActionType);
    if (pstEntry == nullptr || pstEntry->pfApplyAction == nullptr) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "Process ApplyAction, ApplyActionEntry or ApplyAction is NULL");
        return QEL_ERR_NO_ACTION;
    }
    return pstEntry->pfApplyAction(pstRoute, uiActionType, pucValue, uiValueLen, ppstResult, pstCtx);
}

int32_t QEL_NGMVPN_CmpData(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB, uint32_t uiCmpType)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetDataCmpEntry(uiCmpType);
    if (pstEntry == nullptr || pstEntry->pfCmpData == nullptr) {
        return QEL_CMP_FAILED;
    }
    return pstEntry->pfCmpData(pvA, uiLenA, pvB, uiLenB);
}

int32_t QEL_NGMVPN_CmpDataForAttrType(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB,
                                      uint32_t uiCmpType, uint32_t uiAttrType)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetDataCmpAttrEntry(uiCmpType);
    if (pstEntry == nullptr || pstEntry->pfCmpDataForAttrType == nullptr) {
        return QEL_CMP_FAILED;
    }
    return pstEntry->pfCmpDataForAttrType(pvA, uiLenA, pvB, uiLenB, uiCmpType, uiAttrType);
}

uint32_t QEL_NGMVPN_Data2Str(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiType, char *pcOut, uint32_t uiOutLen,
                             uint32_t *puiIndex, uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pcOut) || QEL_Missing(puiIndex) || QEL_Missing(puiMore) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetData2StrEntry(uiType);
    if (pstEntry == nullptr || pstEntry->pfData2Str == nullptr) {
        return QEL_ERR_NO_DATA2STR;
    }
    return pstEntry->pfData2Str(pstRoute, pcOut, uiOutLen, puiIndex, puiMore, pstCtx);
}

/* Route counters: one word per key type, word 0 unused. */

static constexpr uint32_t QEL_NGMVPN_RT_COUNT_NUM = 9;

/* kept: the refusals of the two counter operations are not reported; the host probes with them */
uint32_t QEL_NGMVPN_SetRtCount(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *pauiCount, uint32_t uiCountNum,
                               uint32_t uiAdd, uint32_t uiDelta)
{
    if (pstRoute == nullptr || pstRoute->pucKey == nullptr || uiCountNum < QEL_NGMVPN_RT_COUNT_NUM) {
        return QEL_ERR_ARGUMENT;
    }
    const uint32_t uiKeyType = reinterpret_cast<const QEL_NGMVPN_KEY_AT_S *>(pstRoute->pucKey)->uiKeyType;
    if (uiKeyType < QEL_NGMVPN_KEY_INTRA_IPMSI_AD || uiKeyType > QEL_NGMVPN_KEY_SOURCE_TREE_JOIN) {
        return QEL_ERR_FAILED;
    }
    if (uiAdd != 0) {
        pauiCount[uiKeyType] += uiDelta;
    } else {
        pauiCount[uiKeyType] -= uiDelta;
    }
    return QEL_OK;
}

uint32_t QEL_NGMVPN_GetRtCount(const uint32_t *pauiCount, uint32_t uiCountNum, uint32_t uiType, uint32_t *puiCount)
{
    if (uiCountNum < QEL_NGMVPN_RT_COUNT_NUM) {
        return QEL_ERR_ARGUMENT;
    }
    switch (uiType) {
    case 1:
    case 2:
    case 3:
        *puiCount = pauiCount[uiType];
        break;
    case 4: /* both Leaf A-D forms */
        *puiCount = pauiCount[QEL_NGMVPN_KEY_IPMSI_LEAF_AD] + pauiCount[QEL_NGMVPN_KEY_SPMSI_LEAF_AD];
        break;
    case 5:
    case 6:
    case 7:
        *puiCount = pauiCount[uiType + 1];
        break;
    case 8:
        *puiCount = pauiCount[QEL_NGMVPN_KEY_IPMSI_LEAF_AD];
        break;
    case 9:
        *puiCount = pauiCount[QEL_NGMVPN_KEY_SPMSI_LEAF_AD];
        break;
    default:
        break;
    }
    return QEL_OK;
}

/* Result blocks. */

/* A cleared block of uiLen bytes, or null after a report. */
static QEL_ROUTE_BLOCK_S *QEL_NGMVPN_NewBlock_(uint32_t uiMemHandle, uint32_t uiLen)
{
    void *pvBlock = ZVK_SimpleAlloc_F(uiMemHandle, uiLen, __FILE__, __LINE__);
    if (QEL_Missing(pvBlock)) {
        return nullptr;
    }
    QEL_Clear(pvBlock, uiLen, uiLen);
    return static_cast<QEL_ROUTE_BLOCK_S *>(pvBlock);
}

uint32_t QEL_NGMVPN_CalcOutputLen(const QEL_ROUTE_VIEW_S *pstView, uint32_t *puiLen)
{
    if (QEL_Missing(pstView) || QEL_Missing(puiLen)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiLen = sizeof(QEL_ROUTE_BLOCK_S);
    uiLen += (pstView->pucRd != nullptr) ? pstView->uiRdLen : 0;
    uiLen += (pstView->pucKey != nullptr) ? pstView->uiKeyLen : 0;
    uiLen += (pstView->pucNonKey != nullptr) ? pstView->uiNonKeyLen : 0;
    uiLen += (pstView->pucCross != nullptr) ? pstView->uiCrossLen : 0;
    uiLen += (pstView->pucAttr != nullptr) ? pstView->usAttrLen : 0;
    if (uiLen == sizeof(QEL_ROUTE_BLOCK_S)) {
        return QEL_ERR_NULL;
    }
    *puiLen = uiLen;
    return QEL_OK;
}

/* Whether the lengths of a view really add up to that total. A sum that went round would have the sections written
 * behind a block too small for them. */
static inline bool QEL_NGMVPN_AddsUp_(const QEL_ROUTE_VIEW_S *pstView, uint32_t uiTotal)
{
    uint64_t ullLen = sizeof(QEL_ROUTE_BLOCK_S);
    ullLen += (pstView->pucRd != nullptr) ? pstView->uiRdLen : 0;
    ullLen += (pstView->pucKey != nullptr) ? pstView->uiKeyLen : 0;
    ullLen += (pstView->pucNonKey != nullptr) ? pstView->uiNonKeyLen : 0;
    ullLen += (pstView->pucCross != nullptr) ? pstView->uiCrossLen : 0;
    ullLen += (pstView->pucAttr != nullptr) ? pstView->usAttrLen : 0;
    return ullLen == uiTotal;
}

static inline bool QEL_NGMVPN_OutputArgsMissing_(const QEL_ROUTE_BLOCK_S *pstBlock, const uint32_t *puiRemain,
                                                 const QEL_ROUTE_VIEW_S *pstView, const uint16_t *pusOffset)
{
    return QEL_Missing(pstBlock) || QEL_Missing(puiRemain) || QEL_Missing(pstView) || QEL_Missing(pusOffset);
}

/* A section of the view and the words of the block's header that tell its place. */
typedef struct {
    uint32_t uiBit;
    uint32_t uiLen;
    const uint8_t *pucData;
    uint16_t *pusHdrOffset;
    uint16_t *pusHdrLen;
} QEL_NGMVPN_SECTION_S;

/* Appends a section; false if it is absent or no space is left. */
static inline bool QEL_NGMVPN_OutputSection_(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, uint16_t *pusOffset,
                                             const QEL_NGMVPN_SECTION_S &stSection)
{
    /* kept: an empty section at the very end of a block sets no bit; elsewhere it does, and hosts tell by it */
    if (stSection.pucData == nullptr || *puiRemain == 0) {
        return false;
    }
    pstBlock->uiValidMask |= stSection.uiBit;
    *stSection.pusHdrOffset = *pusOffset;
    *stSection.pusHdrLen = static_cast<uint16_t>(stSection.uiLen);
    QEL_Copy(reinterpret_cast<uint8_t *>(pstBlock) + *pusOffset, *puiRemain, stSection.pucData, stSection.uiLen);
    *puiRemain -= stSection.uiLen;
    *pusOffset = static_cast<uint16_t>(*pusOffset + stSection.uiLen);
    return true;
}

uint32_t QEL_NGMVPN_OutputRd(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                             uint16_t *pusOffset)
{
    if (QEL_NGMVPN_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    (void)QEL_NGMVPN_OutputSection_(
        pstBlock, puiRemain, pusOffset,
        {QEL_SECTION_RD, pstView->uiRdLen, pstView->pucRd, &pstBlock->usRdOffset, &pstBlock->usRdLen});
    return QEL_OK;
}

uint32_t QEL_NGMVPN_OutputKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                              uint16_t *pusOffset)
{
    if (QEL_NGMVPN_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    (void)QEL_NGMVPN_OutputSection_(
        pstBlock, puiRemain, pusOffset,
        {QEL_SECTION_KEY, pstView->uiKeyLen, pstView->pucKey, &pstBlock->usKeyOffset, &pstBlock->usKeyLen});
    return QEL_OK;
}

uint32_t QEL_NGMVPN_OutputNonKey(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                                 uint16_t *pusOffset)
{
    if (QEL_NGMVPN_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    (void)QEL_NGMVPN_OutputSection_(pstBlock, puiRemain, pusOffset,
                                    {QEL_SECTION_NONKEY, pstView->uiNonKeyLen, pstView->pucNonKey,
                                     &pstBlock->usNonKeyOffset, &pstBlock->usNonKeyLen});
    return QEL_OK;
}

uint32_t QEL_NGMVPN_OutputAttr(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                               uint16_t *pusOffset)
{
    if (QEL_NGMVPN_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    if (QEL_NGMVPN_OutputSection_(
            pstBlock, puiRemain, pusOffset,
            {QEL_SECTION_ATTR, pstView->usAttrLen, pstView->pucAttr, &pstBlock->usAttrOffset, &pstBlock->usAttrLen})) {
        pstBlock->ucAttrFlag = pstView->ucAttrFlag;
        pstBlock->ucAttrType = pstView->ucAttrType;
    }
    return QEL_OK;
}

uint32_t QEL_NGMVPN_OutputCross(QEL_ROUTE_BLOCK_S *pstBlock, uint32_t *puiRemain, const QEL_ROUTE_VIEW_S *pstView,
                                uint16_t *pusOffset)
{
    if (QEL_NGMVPN_OutputArgsMissing_(pstBlock, puiRemain, pstView, pusOffset)) {
        return QEL_ERR_NULL;
    }
    (void)QEL_NGMVPN_OutputSection_(
        pstBlock, puiRemain, pusOffset,
        {QEL_SECTION_CROSS, pstView->uiCrossLen, pstView->pucCross, &pstBlock->usCrossOffset, &pstBlock->usCrossLen});
    return QEL_OK;
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_OutputData(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_ROUTE_VIEW_S *pstView,
                                            uint32_t uiMemHandle)
{
    if (QEL_Missing(ppstBlock) || QEL_Missing(pstView) || QEL_Zero(uiMemHandle)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiTotal = 0;
    const uint32_t uiRet = QEL_NGMVPN_CalcOutputLen(pstView, &uiTotal);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    /* kept: a sum that wrapped to less than a header is answered with success and no block; nothing may be allocated
     * for it */
    if (uiTotal <= sizeof(QEL_ROUTE_BLOCK_S)) {
        return QEL_OK;
    }
    if (!QEL_NGMVPN_AddsUp_(pstView, uiTotal)) {
        QEL_Report(uiTotal);
        return QEL_ERR_ALLOC;
    }
    QEL_ROUTE_BLOCK_S *pstBlock = QEL_NGMVPN_NewBlock_(uiMemHandle, uiTotal);
    if (pstBlock == nullptr) {
        return QEL_ERR_ALLOC;
    }
    uint16_t usOffset = sizeof(QEL_ROUTE_BLOCK_S);
    uint32_t uiRemain = uiTotal - usOffset;
    (void)QEL_NGMVPN_OutputRd(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_NGMVPN_OutputKey(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_NGMVPN_OutputNonKey(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_NGMVPN_OutputAttr(pstBlock, &uiRemain, pstView, &usOffset);
    (void)QEL_NGMVPN_OutputCross(pstBlock, &uiRemain, pstView, &usOffset);
    *ppstBlock = pstBlock;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_BuildNoneValueOutput(QEL_ROUTE_BLOCK_S **ppstBlock, const QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppstBlock) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_ROUTE_BLOCK_S *pstBlock = QEL_NGMVPN_NewBlock_(pstCtx->uiMemHandle, sizeof(QEL_ROUTE_BLOCK_S));
    *ppstBlock = pstBlock;
    if (pstBlock == nullptr) {
        return QEL_ERR_ALLOC;
    }
    pstBlock->uiValidMask = QEL_SECTION_ATTR;
    pstBlock->ucAttrFlag = QEL_ATTR_FLAG_EXTCOMM;
    pstBlock->ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    pstBlock->usAttrOffset = 0;
    pstBlock->usAttrLen = 0;
    return QEL_OK;
}

/* The view of a parsed route's records; either may be missing. */
static inline QEL_ROUTE_VIEW_S QEL_NGMVPN_ViewOf_(const QEL_NGMVPN_KEY_S *pstKey, const QEL_NGMVPN_NONKEY_S *pstNonKey)
{
    QEL_ROUTE_VIEW_S stView = {};
    if (pstKey != nullptr) {
        stView.uiKeyLen = sizeof(*pstKey);
        stView.pucKey = QEL_Bytes(pstKey);
        stView.uiRdLen = sizeof(pstKey->stRd);
        stView.pucRd = QEL_Bytes(&pstKey->stRd);
    }
    if (pstNonKey != nullptr) {
        stView.uiNonKeyLen = sizeof(*pstNonKey);
        stView.pucNonKey = QEL_Bytes(pstNonKey);
    }
    return stView;
}

/* Builds the block of a parsed route, or reports why there is none. */
static inline uint32_t QEL_NGMVPN_OutPutView_(const QEL_ROUTE_VIEW_S *pstView, uint32_t uiNlriLen, uint32_t uiRemain,
                                              QEL_ROUTE_BLOCK_S **ppstBlock, uint32_t *puiMore,
                                              const QEL_FAMILY_CTX_S *pstCtx)
{
    const uint32_t uiRet = QEL_NGMVPN_OutputData(ppstBlock, pstView, pstCtx->uiMemHandle);
    if (uiRet != QEL_OK) {
        QEL_Report(uiRet);
        return uiRet;
    }
    /* kept: the two header octets are counted twice, so that a rest of one or two octets is no route to come back for;
     * hosts rely on where the calls end */
    *puiMore = (uiNlriLen + 2 < uiRemain) ? 1 : 0;
    return QEL_OK;
}

QEL_HOT_PATH uint32_t QEL_NGMVPN_OutPutRoute(const QEL_NGMVPN_KEY_S *pstKey, const QEL_NGMVPN_NONKEY_S *pstNonKey,
                                             uint32_t uiNlriLen, uint32_t uiRemain, QEL_ROUTE_BLOCK_S **ppstBlock,
                                             uint32_t *puiMore, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(puiMore) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (pstKey != nullptr && pstNonKey != nullptr) [[likely]] {
        /* The same as below. Here the compiler knows every length and makes one straight run of it. */
        const QEL_ROUTE_VIEW_S stView = QEL_NGMVPN_ViewOf_(pstKey, pstNonKey);
        return QEL_NGMVPN_OutPutView_(&stView, uiNlriLen, uiRemain, ppstBlock, puiMore, pstCtx);
    }
    const QEL_ROUTE_VIEW_S stView = QEL_NGMVPN_ViewOf_(pstKey, pstNonKey);
    return QEL_NGMVPN_OutPutView_(&stView, uiNlriLen, uiRemain, ppstBlock, puiMore, pstCtx);
}
