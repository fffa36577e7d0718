#include "qel_ngmvpn_segment_policy.h"

#include "platform/bounds.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn.h"
#include "qel_ngmvpn_key.h"
#include "qel_ngmvpn_nlri.h"
#include "qel_ngmvpn_util.h"

#include <cstddef>
#include <cstdint>

static constexpr uint32_t QEL_NGMVPN_ELEMENT_LEN = sizeof(QEL_EXTCOMM_S);
static constexpr uint32_t QEL_NGMVPN_PMSI_LEN_MIN = 5;

/* Places in the value of action 61. kept: what stands between them is not read, and they are read whatever the length
 * says; the engine keeps more there */
static constexpr uint32_t QEL_NGMVPN_ACTION_PLY_TYPE_AT = 0;
static constexpr uint32_t QEL_NGMVPN_ACTION_ROOT_IP_AT = 4;
static constexpr uint32_t QEL_NGMVPN_ACTION_TEMP_ID_AT = 20;

/* Segmented Next-Hop in community lists. */

/* The place of the first one in the list, or the list's length. */
static uint32_t QEL_NGMVPN_FindSnh_(const uint8_t *pucExtComm, uint32_t uiExtCommLen)
{
    for (uint32_t uiAt = 0; uiExtCommLen - uiAt >= QEL_NGMVPN_ELEMENT_LEN; uiAt += QEL_NGMVPN_ELEMENT_LEN) {
        /* kept: the Sub-type octet alone makes a Segmented Next-Hop, whatever the Type; the other components agree */
        if (pucExtComm[uiAt] == QEL_NGMVPN_SUBTYPE_SNH) {
            return uiAt;
        }
    }
    return uiExtCommLen;
}

uint32_t QEL_NGMVPN_GetSnhExtCom(const uint8_t *pucExtComm, uint32_t uiExtCommLen, uint8_t *pucSnh,
                                 QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucSnh) || QEL_Missing(pucExtComm)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiAt = QEL_NGMVPN_FindSnh_(pucExtComm, uiExtCommLen);
    if (uiAt == uiExtCommLen) {
        return QEL_ERR_FAILED;
    }
    QEL_Copy(pucSnh, QEL_NGMVPN_SNH_LEN, pucExtComm + uiAt, QEL_NGMVPN_SNH_LEN);
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_GetSnhExtCom Success");
    return QEL_OK;
}

uint32_t QEL_NGMVPN_CheckSnhExist(const QEL_ROUTE_INFO_S *pstRoute)
{
    if (QEL_Missing(pstRoute)) {
        return QEL_ERR_NULL;
    }
    if (pstRoute->pucExtComm == nullptr) {
        return 0;
    }
    return QEL_NGMVPN_FindSnh_(pstRoute->pucExtComm, pstRoute->uiExtCommLen) != pstRoute->uiExtCommLen ? 1 : 0;
}

uint32_t QEL_NGMVPN_ExtComReplaceSnh(const uint8_t *pucSnh, uint8_t *pucExtComm, uint32_t uiExtCommLen)
{
    if (QEL_Missing(pucSnh) || QEL_Missing(pucExtComm)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiAt = QEL_NGMVPN_FindSnh_(pucExtComm, uiExtCommLen);
    if (uiAt == uiExtCommLen) {
        QEL_Report(uiExtCommLen);
        return QEL_ERR_FAILED;
    }
    /* kept: the first one alone, though a removal drops them all; a list with two is left with one that is old */
    QEL_Copy(pucExtComm + uiAt, uiExtCommLen - uiAt, pucSnh, QEL_NGMVPN_SNH_LEN);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_ExtComRemoveSnh(uint8_t *pucExtComm, uint32_t uiExtCommLen, uint16_t *pusOutLen)
{
    if (QEL_Missing(pucExtComm) || QEL_Missing(pusOutLen)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiOutLen = 0;
    for (uint32_t uiAt = 0; uiExtCommLen - uiAt >= QEL_NGMVPN_ELEMENT_LEN; uiAt += QEL_NGMVPN_ELEMENT_LEN) {
        if (pucExtComm[uiAt] == QEL_NGMVPN_SUBTYPE_SNH) {
            continue;
        }
        if (memmove_s(pucExtComm + uiOutLen, uiExtCommLen - uiOutLen, pucExtComm + uiAt, QEL_NGMVPN_ELEMENT_LEN) != 0) {
            QEL_Report(uiAt);
        }
        uiOutLen += QEL_NGMVPN_ELEMENT_LEN;
    }
    *pusOutLen = static_cast<uint16_t>(uiOutLen);
    return QEL_OK;
}

/* A copy of the list from the memory handle, or null after a report. */
static uint8_t *QEL_NGMVPN_CopyList_(const uint8_t *pucExtComm, uint32_t uiExtCommLen, const QEL_FAMILY_CTX_S *pstCtx)
{
    auto *pucCopy = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiExtCommLen, __FILE__, __LINE__));
    if (QEL_Missing(pucCopy)) {
        return nullptr;
    }
    QEL_Copy(pucCopy, uiExtCommLen, pucExtComm, uiExtCommLen);
    return pucCopy;
}

uint32_t QEL_NGMVPN_ReplaceSnhExtComm(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucExtComm,
                                      uint32_t uiExtCommLen, uint8_t **ppucOut, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pucExtComm) || QEL_Missing(ppucOut) || QEL_Missing(pstCtx) ||
        QEL_Missing(pstRoute->pstImportAttr)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr = pstRoute->pstImportAttr;
    if ((pstAttr->stReplacedAttr.uiAttrFlag & QEL_NGMVPN_SEG_SNH) == 0) {
        return QEL_OK;
    }
    uint8_t *pucCopy = QEL_NGMVPN_CopyList_(pucExtComm, uiExtCommLen, pstCtx);
    if (pucCopy == nullptr) {
        return QEL_ERR_MEMORY;
    }
    if (QEL_NGMVPN_ExtComReplaceSnh(pstAttr->stReplacedAttr.aucSnh, pucCopy, uiExtCommLen) != QEL_OK) {
        ZVK_Free_F(pucCopy, __FILE__, __LINE__);
        QEL_Report(uiExtCommLen);
        return QEL_ERR_FAILED;
    }
    *ppucOut = pucCopy;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetExtCommunity replace SNH.");
    return QEL_OK;
}

uint32_t QEL_NGMVPN_ProcExtCommunityEbgpPeer(const uint8_t *pucExtComm, uint32_t uiExtCommLen, uint32_t uiCtrlFlag,
                                             uint8_t **ppucOut, uint16_t *pusOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucExtComm) || QEL_Missing(ppucOut) || QEL_Missing(pusOutLen) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    *ppucOut = nullptr;
    *pusOutLen = 0;
    /* kept: both bits together mean no EBGP peer, as neither does; the Segmented Next-Hop stays */
    const uint32_t uiEbgp = uiCtrlFlag & QEL_NGMVPN_CTRL_EBGP;
    if (uiEbgp == 0 || uiEbgp == QEL_NGMVPN_CTRL_EBGP) {
        return QEL_OK;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ProcExtCommunityEbgpPeer Ebgp peer.");
    uint8_t *pucCopy = QEL_NGMVPN_CopyList_(pucExtComm, uiExtCommLen, pstCtx);
    if (pucCopy == nullptr) {
        return QEL_ERR_MEMORY;
    }
    if (QEL_NGMVPN_ExtComRemoveSnh(pucCopy, uiExtCommLen, pusOutLen) != QEL_OK) {
        ZVK_Free_F(pucCopy, __FILE__, __LINE__);
        QEL_Report(uiExtCommLen);
        return QEL_ERR_FAILED;
    }
    *ppucOut = pucCopy;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetExtCommunity remove SNH.");
    return QEL_OK;
}

/* Import attribute records. */

/* Makes a record the attribute section of the view. */
static void QEL_NGMVPN_ViewRecord_(QEL_ROUTE_VIEW_S *pstView, const void *pvRecord, uint32_t uiLen)
{
    pstView->ucAttrFlag = QEL_ATTR_FLAG_IMPORT;
    pstView->ucAttrType = QEL_ATTR_TYPE_IMPORT;
    pstView->usAttrLen = static_cast<uint16_t>(uiLen);
    pstView->pucAttr = QEL_Bytes(pvRecord);
}

/* The length of a record that holds so many bytes of PMSI, or 0 for one that has gone round in 16 bits. */
static uint16_t QEL_NGMVPN_RecordLen_(uint32_t uiPmsiLen)
{
    const uint16_t usLen = static_cast<uint16_t>(uiPmsiLen + QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN);
    return usLen < QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN ? 0 : usLen;
}

/* Copies a PMSI into a record of usRecordLen bytes; one that does not fit what is left behind uiOffset is reported. */
static void QEL_NGMVPN_CopyPmsi_(QEL_NGMVPN_IMPORT_ATTR_S *pstRecord, uint16_t usRecordLen, uint32_t uiOffset,
                                 const uint8_t *pucPmsi, uint32_t uiPmsiLen)
{
    if (uiPmsiLen == 0) {
        return;
    }
    const uint32_t uiRoom = usRecordLen - static_cast<uint32_t>(QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN);
    const uint32_t uiAt = uiOffset < uiRoom ? uiOffset : uiRoom;
    QEL_Copy(pstRecord->aucPmsiData + uiAt, uiRoom - uiAt, pucPmsi, uiPmsiLen);
}

/* Step: what the route brought, in a cleared record. */
static void QEL_NGMVPN_FillOriginal_(QEL_NGMVPN_IMPORT_ATTR_S *pstRecord, uint16_t usRecordLen,
                                     const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucValue, const uint8_t *pucSnh)
{
    QEL_NGMVPN_SEG_ATTR_S *pstOriginal = &pstRecord->stOriginalAttr;
    pstOriginal->uiAttrFlag = QEL_NGMVPN_SEG_SET | QEL_NGMVPN_SEG_SNH | QEL_NGMVPN_SEG_PMSI;
    QEL_Copy(&pstRecord->stKey, sizeof(pstRecord->stKey), pstRoute->pucKey, pstRoute->uiKeyLen);
    pstRecord->uiPolicyId = pstRoute->uiPolicyId;
    pstRecord->stPlyInfo.uiPlyType = QEL_LoadBe32(pucValue + QEL_NGMVPN_ACTION_PLY_TYPE_AT);
    pstRecord->stPlyInfo.uiRootIp = QEL_LoadBe32(pucValue + QEL_NGMVPN_ACTION_ROOT_IP_AT);
    pstRecord->stPlyInfo.uiTempId = QEL_LoadBe32(pucValue + QEL_NGMVPN_ACTION_TEMP_ID_AT);
    QEL_Copy(pstOriginal->aucSnh, sizeof(pstOriginal->aucSnh), pucSnh, QEL_NGMVPN_SNH_LEN);
    pstOriginal->usPmsiOffset = 0;
    pstOriginal->usPmsiLen = static_cast<uint16_t>(pstRoute->uiPmsiLen);
    QEL_NGMVPN_CopyPmsi_(pstRecord, usRecordLen, 0, pstRoute->pucPmsi, pstRoute->uiPmsiLen);
}

/* Step: the record as a block. */
static uint32_t QEL_NGMVPN_OutputOriginal_(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucValue,
                                           const uint8_t *pucSnh, QEL_ROUTE_BLOCK_S **ppstResult,
                                           QEL_FAMILY_CTX_S *pstCtx)
{
    const uint16_t usLen = QEL_NGMVPN_RecordLen_(pstRoute->uiPmsiLen);
    void *pvRecord = usLen != 0 ? QEL_NGMVPN_Malloc(pstCtx, usLen) : nullptr;
    if (QEL_Missing(pvRecord)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pvRecord, usLen, usLen);
    QEL_NGMVPN_FillOriginal_(static_cast<QEL_NGMVPN_IMPORT_ATTR_S *>(pvRecord), usLen, pstRoute, pucValue, pucSnh);
    QEL_ROUTE_VIEW_S stView = {};
    QEL_NGMVPN_ViewRecord_(&stView, pvRecord, usLen);
    const uint32_t uiRet = QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "ApplyAttrRplInfo Success, uiRetCode is %d", static_cast<int32_t>(uiRet));
    QEL_NGMVPN_Free(&pvRecord, pstCtx);
    return uiRet;
}

uint32_t QEL_NGMVPN_ApplyAttrRplInfo(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiActionType, const uint8_t *pucValue,
                                     uint32_t uiValueLen, QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute)) {
        return QEL_ERR_NULL;
    }
    if (uiActionType != QEL_NGMVPN_ACTION_ATTR_REPLACE) {
        QEL_Report(uiActionType);
        return QEL_ERR_NULL;
    }
    if (QEL_Missing(pucValue) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx) || QEL_Zero(uiValueLen) ||
        QEL_Missing(pstRoute->pucKey)) {
        return QEL_ERR_NULL;
    }
    if (!QEL_NGMVPN_IsPmsiAd_(QEL_NGMVPN_KeyOf_(pstRoute)->uiKeyType)) {
        return QEL_OK;
    }
    if (pstRoute->pucPmsi == nullptr || pstRoute->pucExtComm == nullptr) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ApplyAttrRplInfo Success, PMSITNL or EXTCOMMUNITY is NULL");
        return QEL_OK;
    }
    uint8_t aucSnh[QEL_NGMVPN_SNH_LEN] = {};
    if (QEL_NGMVPN_GetSnhExtCom(pstRoute->pucExtComm, pstRoute->uiExtCommLen, aucSnh, pstCtx) != QEL_OK) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ApplyAttrRplInfo Success, GetSnhExtCom is NULL");
        return QEL_OK;
    }
    if (pstRoute->uiPolicyId == QEL_POLICY_ID_NONE) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "ApplyAttrRplInfo Success, PolicyId is 0xffffffff.");
        return QEL_OK;
    }
    if (QEL_Zero(pstRoute->uiPmsiLen)) {
        return QEL_ERR_FAILED;
    }
    return QEL_NGMVPN_OutputOriginal_(pstRoute, pucValue, aucSnh, ppstResult, pstCtx);
}

/* Compares. */

int32_t QEL_NGMVPN_CmpPmsi(const void *pvA, uint32_t uiLenA, const void *pvB, uint32_t uiLenB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    if (uiLenA < QEL_NGMVPN_PMSI_LEN_MIN || uiLenB < QEL_NGMVPN_PMSI_LEN_MIN) {
        QEL_Report(uiLenA < QEL_NGMVPN_PMSI_LEN_MIN ? uiLenA : uiLenB);
        return QEL_CMP_FAILED;
    }
    return QEL_NGMVPN_CmpAttr(pvA, uiLenA, pvB, uiLenB);
}

int32_t QEL_NGMVPN_CmpPmsiAttr(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstA, const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstB,
                               QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstA) || QEL_Missing(pstB)) {
        return QEL_CMP_FAILED;
    }
    /* kept: a side without PMSI counts as equal; the other two compares decide about such a route */
    if ((pstA->stOriginalAttr.uiAttrFlag & pstB->stOriginalAttr.uiAttrFlag & QEL_NGMVPN_SEG_PMSI) == 0) {
        QEL_Report(pstA->stOriginalAttr.uiAttrFlag);
        return QEL_CMP_EQUAL;
    }
    const int32_t iResult =
        QEL_NGMVPN_CmpPmsi(pstA->aucPmsiData + pstA->stOriginalAttr.usPmsiOffset, pstA->stOriginalAttr.usPmsiLen,
                           pstB->aucPmsiData + pstB->stOriginalAttr.usPmsiOffset, pstB->stOriginalAttr.usPmsiLen);
    /* kept: "SNH CMP PMSI" as it is; operators search their logs for the words */
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "SetAttrAfterPlcy SNH CMP PMSI: %d.", iResult);
    return iResult;
}

/* kept: community and tunnel take no part; records that differ in them alone are one route to the host's tables */
int32_t QEL_NGMVPN_CmpImportAttr(const void *pvA, uint32_t /* uiLenA */, const void *pvB)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return QEL_CMP_FAILED;
    }
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstA = static_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(pvA);
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstB = static_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(pvB);
    int32_t iResult = QEL_NGMVPN_CmpKey(&pstA->stKey, sizeof(QEL_NGMVPN_KEY_S), &pstB->stKey, sizeof(QEL_NGMVPN_KEY_S));
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    iResult = QEL_NGMVPN_CmpRd(&pstA->stKey.stRd, sizeof(QEL_RD_VALUE_S), &pstB->stKey.stRd, sizeof(QEL_RD_VALUE_S));
    if (iResult != QEL_CMP_EQUAL) {
        return iResult;
    }
    if (pstA->uiPolicyId != pstB->uiPolicyId) {
        return pstA->uiPolicyId > pstB->uiPolicyId ? QEL_CMP_GREATER : QEL_CMP_LESS;
    }
    return QEL_CMP_EQUAL;
}

/* The sign of a byte compare of the policy infos, and of the original Segmented Next-Hops. */
static int32_t QEL_NGMVPN_CmpPlyInfo_(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstA, const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstB)
{
    return QEL_NGMVPN_CmpAttr(&pstA->stPlyInfo, sizeof(pstA->stPlyInfo), &pstB->stPlyInfo, sizeof(pstB->stPlyInfo));
}

static int32_t QEL_NGMVPN_CmpOriginalSnh_(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstA,
                                          const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstB)
{
    return QEL_NGMVPN_CmpAttr(pstA->stOriginalAttr.aucSnh, QEL_NGMVPN_SNH_LEN, pstB->stOriginalAttr.aucSnh,
                              QEL_NGMVPN_SNH_LEN);
}

/* kept: the replaced attributes are left out; an answer of the multicast component does not make another attribute */
uint32_t QEL_NGMVPN_CheckAttrByType(const void *pvA, uint32_t /* uiLenA */, const void *pvB, uint32_t /* uiLenB */,
                                    uint32_t uiAttrType)
{
    if (QEL_Missing(pvA) || QEL_Missing(pvB)) {
        return 1;
    }
    if (uiAttrType != QEL_ATTR_TYPE_IMPORT) {
        QEL_Report(uiAttrType);
        return 1;
    }
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstA = static_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(pvA);
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstB = static_cast<const QEL_NGMVPN_IMPORT_ATTR_AT_S *>(pvB);
    if (QEL_NGMVPN_CmpKey(&pstA->stKey, sizeof(QEL_NGMVPN_KEY_S), &pstB->stKey, sizeof(QEL_NGMVPN_KEY_S)) !=
            QEL_CMP_EQUAL ||
        pstA->uiPolicyId != pstB->uiPolicyId || QEL_NGMVPN_CmpPlyInfo_(pstA, pstB) != QEL_CMP_EQUAL ||
        QEL_NGMVPN_CmpOriginalSnh_(pstA, pstB) != QEL_CMP_EQUAL) {
        return 1;
    }
    const int32_t iResult =
        QEL_NGMVPN_CmpAttr(pstA->aucPmsiData + pstA->stOriginalAttr.usPmsiOffset, pstA->stOriginalAttr.usPmsiLen,
                           pstB->aucPmsiData + pstB->stOriginalAttr.usPmsiOffset, pstB->stOriginalAttr.usPmsiLen);
    return iResult != QEL_CMP_EQUAL ? 1 : 0;
}

/* The decision after policy. */

/* What becomes of a route: one row of the decision. */
typedef struct {
    uint32_t uiRetCode;
    bool bNeedProc;                      /* the multicast component has to be asked */
    QEL_ROUTE_VIEW_S stView;             /* the record that the route now carries */
    QEL_NGMVPN_IMPORT_ATTR_S *pstMerged; /* that record, if it was made for the purpose */
} QEL_NGMVPN_PLCY_ROW_S;

uint32_t QEL_NGMVPN_CheckNeedReplaceSnh(const QEL_ROUTE_INFO_S *pstOld, const QEL_ROUTE_INFO_S *pstNew,
                                        uint32_t uiCtrlFlag, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstOld) || QEL_Missing(pstNew) || QEL_Missing(pstNew->pucKey)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiKeyType = QEL_NGMVPN_KeyOf_(pstNew)->uiKeyType;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "SetAttrAfterPlcy: route type(%d), uiCtrlFlag(%x).",
                     static_cast<int32_t>(uiKeyType), uiCtrlFlag);
    if (!QEL_NGMVPN_IsPmsiAd_(uiKeyType)) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "SetAttrAfterPlcy Success + NEED_PROC(N) + output(NULL), for type %d",
                         static_cast<int32_t>(uiKeyType));
        return 1;
    }
    if ((uiCtrlFlag & QEL_NGMVPN_CTRL_NO_REPLACE) != 0) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__,
                         "SetAttrAfterPlcy Success + NEED_PROC(N) + output(NULL),route from local/ebgp or to ebgp");
        return 1;
    }
    if (pstNew->pstImportAttr != nullptr) {
        return 0;
    }
    if (pstOld->pstImportAttr != nullptr) {
        QEL_Report(pstOld->uiImportAttrLen);
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__,
                     "SetAttrAfterPlcy Success + NEED_PROC(N) + output(NULL), new import_pmsi is NULL");
    return 1;
}

uint32_t QEL_NGMVPN_SetAttrAfterPlcyWhenPlcyOrSnhDiff(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstNewAttr,
                                                      const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstOldAttr,
                                                      QEL_NGMVPN_IMPORT_ATTR_S **ppstMerged, QEL_ROUTE_VIEW_S *pstView,
                                                      QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstNewAttr) || QEL_Missing(pstOldAttr) || QEL_Missing(ppstMerged) || QEL_Missing(pstView) ||
        QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint16_t usNewPmsiLen = pstNewAttr->stOriginalAttr.usPmsiLen;
    const uint16_t usOldPmsiLen = pstOldAttr->stReplacedAttr.usPmsiLen;
    const uint16_t usLen = QEL_NGMVPN_RecordLen_(static_cast<uint32_t>(usNewPmsiLen) + usOldPmsiLen);
    /* kept: from the memory handle, never scratch of the context; hosts account for it */
    void *pvMerged = usLen != 0 ? ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, usLen, __FILE__, __LINE__) : nullptr;
    if (pvMerged == nullptr) {
        /* kept: not reported here and the code is dropped; the missing record is reported where the block is built */
        return QEL_PLCY_DENY;
    }
    QEL_Clear(pvMerged, usLen, usLen);
    auto *pstMerged = static_cast<QEL_NGMVPN_IMPORT_ATTR_S *>(pvMerged);
    *ppstMerged = pstMerged;
    QEL_Copy(pstMerged, usLen, pstNewAttr, QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN);
    QEL_NGMVPN_CopyPmsi_(pstMerged, usLen, 0, pstNewAttr->aucPmsiData, usNewPmsiLen);
    QEL_NGMVPN_SEG_ATTR_S *pstReplaced = &pstMerged->stReplacedAttr;
    /* kept: what the old set does not hold stays the new record's, under the old flags; readers go by the flags */
    pstReplaced->uiAttrFlag = pstOldAttr->stReplacedAttr.uiAttrFlag;
    if ((pstReplaced->uiAttrFlag & QEL_NGMVPN_SEG_SNH) != 0) {
        QEL_Copy(pstReplaced->aucSnh, sizeof(pstReplaced->aucSnh), pstOldAttr->stReplacedAttr.aucSnh,
                 QEL_NGMVPN_SNH_LEN);
    }
    if ((pstReplaced->uiAttrFlag & QEL_NGMVPN_SEG_PMSI) != 0) {
        pstReplaced->usPmsiOffset = usNewPmsiLen;
        pstReplaced->usPmsiLen = usOldPmsiLen;
        /* kept: found behind the original PMSI, not by its own offset, which other components leave at 0 */
        QEL_NGMVPN_CopyPmsi_(pstMerged, usLen, usNewPmsiLen,
                             pstOldAttr->aucPmsiData + pstOldAttr->stOriginalAttr.usPmsiLen, usOldPmsiLen);
    }
    QEL_NGMVPN_ViewRecord_(pstView, pstMerged, usLen);
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "1.2: SetAttrAfterPlcy SUCCESS + NEED_PROC(Y) + output(OLD+NEW)");
    return QEL_OK;
}

/* Whether the route arrived as before, with the same policy info. All three compares run, for their log. */
static bool QEL_NGMVPN_IsUnchanged_(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstOldAttr,
                                    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstNewAttr, QEL_FAMILY_CTX_S *pstCtx)
{
    const int32_t iPly = QEL_NGMVPN_CmpPlyInfo_(pstOldAttr, pstNewAttr);
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "SetAttrAfterPlcy PlyInfo CMP RESULT: %d.", iPly);
    const int32_t iSnh = QEL_NGMVPN_CmpOriginalSnh_(pstOldAttr, pstNewAttr);
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "SetAttrAfterPlcy SNH CMP RESULT: %d.", iSnh);
    const int32_t iPmsi = QEL_NGMVPN_CmpPmsiAttr(pstOldAttr, pstNewAttr, pstCtx);
    return iPly == QEL_CMP_EQUAL && iSnh == QEL_CMP_EQUAL && iPmsi == QEL_CMP_EQUAL;
}

/* Step: the rows of a route that the multicast component has not answered for; false if it has. */
static bool QEL_NGMVPN_DecideUnanswered_(const QEL_ROUTE_INFO_S *pstOld, const QEL_ROUTE_INFO_S *pstNew,
                                         QEL_NGMVPN_PLCY_ROW_S *pstRow, QEL_FAMILY_CTX_S *pstCtx)
{
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstOldAttr = pstOld->pstImportAttr;
    if (pstOldAttr == nullptr) {
        /* kept: the blank at the end; operators search their logs for the words as they are */
        QEL_NGMVPN_Debug(pstCtx, __LINE__,
                         "SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW), old import_pmsi is NULL ");
    } else if ((pstOldAttr->stReplacedAttr.uiAttrFlag & QEL_NGMVPN_SEG_SET) == 0) {
        QEL_NGMVPN_Debug(
            pstCtx, __LINE__,
            "SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW), in old import_pmsi,replace attr is not exist");
    } else {
        return false;
    }
    pstRow->uiRetCode = QEL_PLCY_DENY;
    pstRow->bNeedProc = true;
    QEL_NGMVPN_ViewRecord_(&pstRow->stView, pstNew->pstImportAttr, pstNew->uiImportAttrLen);
    return true;
}

/* Step: the rows of a route with an answer that holds a replacing Segmented Next-Hop. */
static void QEL_NGMVPN_DecideReplaced_(const QEL_ROUTE_INFO_S *pstOld, const QEL_ROUTE_INFO_S *pstNew, bool bUnchanged,
                                       QEL_NGMVPN_PLCY_ROW_S *pstRow, QEL_FAMILY_CTX_S *pstCtx)
{
    pstRow->uiRetCode = QEL_OK;
    pstRow->bNeedProc = !bUnchanged;
    if (bUnchanged) {
        QEL_NGMVPN_ViewRecord_(&pstRow->stView, pstOld->pstImportAttr, pstOld->uiImportAttrLen);
        QEL_NGMVPN_Debug(pstCtx, __LINE__,
                         "1.1: SetAttrAfterPlcy SUCCESS + NEED_PROC(N) + output(OLD),Replace snh and pmsi success !");
        return;
    }
    (void)QEL_NGMVPN_SetAttrAfterPlcyWhenPlcyOrSnhDiff(pstNew->pstImportAttr, pstOld->pstImportAttr, &pstRow->pstMerged,
                                                       &pstRow->stView, pstCtx);
}

/* Step: the rows of a route with an answer that holds none. */
static void QEL_NGMVPN_DecideNotReplaced_(const QEL_ROUTE_INFO_S *pstNew, bool bUnchanged,
                                          QEL_NGMVPN_PLCY_ROW_S *pstRow, QEL_FAMILY_CTX_S *pstCtx)
{
    pstRow->uiRetCode = bUnchanged ? QEL_PLCY_WITHDRAW : QEL_PLCY_DENY;
    pstRow->bNeedProc = !bUnchanged;
    QEL_NGMVPN_ViewRecord_(&pstRow->stView, pstNew->pstImportAttr, pstNew->uiImportAttrLen);
    if (bUnchanged) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__,
                         "2.1: SetAttrAfterPlcy WITHDRAW + NEED_PROC(N) + output(NEW), in old import_pmsi,replace snh "
                         "attr is not exist");
    } else {
        QEL_NGMVPN_Debug(pstCtx, __LINE__,
                         "2.2: SetAttrAfterPlcy DENY + NEED_PROC(Y) + output(NEW),origi plyinfo is refresh");
    }
}

/* Step: the row's record as a block; false after a report if it can't be built. */
static bool QEL_NGMVPN_OutputRow_(const QEL_NGMVPN_PLCY_ROW_S *pstRow, QEL_ROUTE_BLOCK_S **ppstResult,
                                  const QEL_FAMILY_CTX_S *pstCtx)
{
    const uint32_t uiRet = QEL_NGMVPN_OutputData(ppstResult, &pstRow->stView, pstCtx->uiMemHandle);
    if (uiRet != QEL_OK) {
        QEL_Report(uiRet);
        return false;
    }
    if (pstRow->bNeedProc) {
        (*ppstResult)->usNeedProc |= QEL_NEED_PROC;
    }
    return true;
}

uint32_t QEL_NGMVPN_SetAttrAfterPlcy(const QEL_ROUTE_INFO_S *pstOld, const QEL_ROUTE_INFO_S *pstNew,
                                     uint32_t /* uiIgnored */, uint32_t uiCtrlFlag, QEL_ROUTE_BLOCK_S **ppstResult,
                                     QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstOld) || QEL_Missing(pstNew) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (QEL_NGMVPN_CheckNeedReplaceSnh(pstOld, pstNew, uiCtrlFlag, pstCtx) != 0) {
        return QEL_OK;
    }
    /* kept: a block that can't be built gives success in every row; the host sees a route that is not concerned */
    QEL_NGMVPN_PLCY_ROW_S stRow = {};
    if (QEL_NGMVPN_DecideUnanswered_(pstOld, pstNew, &stRow, pstCtx)) {
        /* kept: without the line of the result; operators tell these rows by their own line alone */
        return QEL_NGMVPN_OutputRow_(&stRow, ppstResult, pstCtx) ? stRow.uiRetCode : QEL_OK;
    }
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstOldAttr = pstOld->pstImportAttr;
    const bool bUnchanged = QEL_NGMVPN_IsUnchanged_(pstOldAttr, pstNew->pstImportAttr, pstCtx);
    if ((pstOldAttr->stReplacedAttr.uiAttrFlag & QEL_NGMVPN_SEG_SNH) != 0) {
        QEL_NGMVPN_DecideReplaced_(pstOld, pstNew, bUnchanged, &stRow, pstCtx);
    } else {
        QEL_NGMVPN_DecideNotReplaced_(pstNew, bUnchanged, &stRow, pstCtx);
    }
    const bool bBuilt = QEL_NGMVPN_OutputRow_(&stRow, ppstResult, pstCtx);
    if (stRow.pstMerged != nullptr) {
        ZVK_Free_F(stRow.pstMerged, __FILE__, __LINE__);
    }
    if (!bBuilt) {
        return QEL_OK;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "SetAttrAfterPlcy Success, uiRetCode is %d",
                     static_cast<int32_t>(stRow.uiRetCode));
    return stRow.uiRetCode;
}

/* Outgoing values. */

uint32_t QEL_NGMVPN_SetPmsi(const QEL_ROUTE_INFO_S *pstRoute, uint32_t /* uiIgnored */, QEL_ROUTE_BLOCK_S **ppstResult,
                            QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetPmsi.");
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_PMSI;
    stView.ucAttrType = QEL_ATTR_TYPE_PMSI;
    stView.usAttrLen = pstRoute->pucPmsi != nullptr ? static_cast<uint16_t>(pstRoute->uiPmsiLen) : uint16_t{0};
    stView.pucAttr = pstRoute->pucPmsi;
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr = pstRoute->pstImportAttr;
    if (pstAttr != nullptr && (pstAttr->stReplacedAttr.uiAttrFlag & QEL_NGMVPN_SEG_PMSI) != 0) {
        stView.usAttrLen = pstAttr->stReplacedAttr.usPmsiLen;
        stView.pucAttr = pstAttr->aucPmsiData + pstAttr->stReplacedAttr.usPmsiOffset;
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetPmsi replace pmsi.");
    }
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_NGMVPN_SetRelayNextHop(const QEL_ROUTE_INFO_S *pstRoute, uint32_t *puiNextHop, uint32_t *puiHasNextHop,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pstCtx) || QEL_Missing(pstRoute->pucKey) || QEL_Missing(puiNextHop) ||
        QEL_Missing(puiHasNextHop)) {
        return QEL_ERR_NULL;
    }
    *puiHasNextHop = 0;
    const uint32_t uiKeyType = QEL_NGMVPN_KeyOf_(pstRoute)->uiKeyType;
    if (!QEL_NGMVPN_IsPmsiAd_(uiKeyType)) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetRelayNextHop Success, type(%d)",
                         static_cast<int32_t>(uiKeyType));
        return QEL_OK;
    }
    if (pstRoute->pucExtComm == nullptr) {
        QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetRelayNextHop Success, EXTCOMMUNITY is NULL");
        return QEL_OK;
    }
    QEL_EXTCOMM_S stSnh = {};
    if (QEL_NGMVPN_GetSnhExtCom(pstRoute->pucExtComm, pstRoute->uiExtCommLen, reinterpret_cast<uint8_t *>(&stSnh),
                                pstCtx) != QEL_OK) {
        return QEL_OK;
    }
    *puiHasNextHop = 1;
    *puiNextHop = stSnh.uiGlobalAdmin;
    /* kept: "NetHop"; operators search their logs for the words as they are */
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_SetRelayNextHop Success, NetHop: 0x%x", *puiNextHop);
    return QEL_OK;
}
