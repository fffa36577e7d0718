#include "qel_ngmvpn_intercomp_msg.h"

#include "platform/bounds.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn.h"
#include "qel_ngmvpn_attribute_msg.h"
#include "qel_ngmvpn_attribute_pkt.h"
#include "qel_ngmvpn_key.h"
#include "qel_ngmvpn_nlri.h"
#include "qel_ngmvpn_util.h"

#include <cstddef>
#include <cstdint>

/* TLV headers. */

typedef struct {
    uint16_t usTlvType;
    uint16_t usTlvLen;
} QEL_NGMVPN_TLV_S;

static QEL_NGMVPN_TLV_S QEL_NGMVPN_TakeTlv_(const uint8_t **ppucCursor)
{
    const QEL_NGMVPN_TLV_S stTlv = {QEL_LoadBe16(*ppucCursor), QEL_LoadBe16(*ppucCursor + 2)};
    *ppucCursor += QEL_NGMVPN_TLV_HEADER_LEN;
    return stTlv;
}

static void QEL_NGMVPN_PutTlv_(uint8_t **ppucCursor, uint16_t usTlvType, uint16_t usTlvLen)
{
    QEL_StoreBe16(*ppucCursor, usTlvType);
    QEL_StoreBe16(*ppucCursor + 2, usTlvLen);
    *ppucCursor += QEL_NGMVPN_TLV_HEADER_LEN;
}

/* Route prefixes: reading. */

static constexpr uint32_t QEL_NGMVPN_PREFIX_HEADER_LEN = 2; /* route type, NLRI length */
static constexpr uint8_t QEL_NGMVPN_PREFIX_NLRI_MIN = 10;
static constexpr uint8_t QEL_NGMVPN_PREFIX_NLRI_MAX = 76;
static constexpr uint32_t QEL_NGMVPN_RD_KIND_TLV_LEN = 4;
static constexpr uint8_t QEL_NGMVPN_RD_KIND_SECTION = 1; /* the RD stands in the RD section alone */

/* The tests of every route prefix ahead of its route type. */
static uint32_t QEL_NGMVPN_CheckRtPrefix_(const uint8_t *pucData, uint32_t uiLen)
{
    if (uiLen < QEL_NGMVPN_PREFIX_HEADER_LEN || pucData[1] > uiLen - QEL_NGMVPN_PREFIX_HEADER_LEN) {
        return QEL_ERR_ARGUMENT;
    }
    return pucData[1] < QEL_NGMVPN_PREFIX_NLRI_MIN || pucData[1] > QEL_NGMVPN_PREFIX_NLRI_MAX ? QEL_ERR_NLRI_MALFORMED
                                                                                              : QEL_OK;
}

static uint32_t QEL_NGMVPN_ParseCheckedRtPrefix_(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                                 uint8_t ucRdKind, QEL_FAMILY_CTX_S *pstCtx)
{
    const uint8_t *pucCursor = pucData + QEL_NGMVPN_PREFIX_HEADER_LEN;
    uint32_t uiMore = 0;
    return QEL_NGMVPN_ParseNlriOfType_(pucData[0], &pucCursor, pucData[1], uiLen - QEL_NGMVPN_PREFIX_HEADER_LEN,
                                       ppstResult, &uiMore, ucRdKind, pstCtx);
}

uint32_t QEL_NGMVPN_ParseRtPrefixTlvNew(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                        QEL_FAMILY_CTX_S *pstCtx, uint32_t uiMsgKind, uint8_t ucDefault)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiRet = QEL_NGMVPN_CheckRtPrefix_(pucData, uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    uint8_t ucRdKind = 0;
    /* kept: a fault of the message kind is reported even where the route type is then refused; hosts count reports */
    QEL_NGMVPN_ParseMsgTypeSwitchRdType(pucData[0], &ucRdKind, uiMsgKind, ucDefault);
    return QEL_NGMVPN_ParseCheckedRtPrefix_(pucData, uiLen, ppstResult, ucRdKind, pstCtx);
}

void QEL_NGMVPN_SetMVpnRdKeyType(uint8_t *pucRdKind, const QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_NGMVPN_IsMvpnComp(pstCtx) != 0) {
        *pucRdKind = QEL_NGMVPN_RD_KIND_KEY;
    }
}

/* The older HA form. ucLastByComponent is the last route type whose RD kind goes by the component; the kind of those
 * behind it is 2 everywhere. */
static uint32_t QEL_NGMVPN_ParseOldRtPrefix_(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                             uint8_t ucLastByComponent, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const uint32_t uiRet = QEL_NGMVPN_CheckRtPrefix_(pucData, uiLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    uint8_t ucRdKind = QEL_NGMVPN_RD_KIND_SECTION;
    if (pucData[0] <= ucLastByComponent) {
        QEL_NGMVPN_SetMVpnRdKeyType(&ucRdKind, pstCtx);
    } else {
        ucRdKind = QEL_NGMVPN_RD_KIND_KEY;
    }
    return QEL_NGMVPN_ParseCheckedRtPrefix_(pucData, uiLen, ppstResult, ucRdKind, pstCtx);
}

uint32_t QEL_NGMVPN_ParseRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                     QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseOldRtPrefix_(pucData, uiLen, ppstResult, QEL_NGMVPN_WIRE_SPMSI_AD, pstCtx);
}

/* kept: route types 4 to 7 go by the component here and not in QEL_NGMVPN_ParseRtPrefixTlv; standby boards hold such
 * routes under either kind */
uint32_t QEL_NGMVPN_ParseRtPrefixTlvGlbalISSU(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                              QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseOldRtPrefix_(pucData, uiLen, ppstResult, QEL_NGMVPN_WIRE_SOURCE_TREE_JOIN, pstCtx);
}

uint32_t QEL_NGMVPN_MvpnParseFromMvrfRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                                 QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseRtPrefixTlvNew(pucData, uiLen, ppstResult, pstCtx, QEL_NGMVPN_MSG_KIND_MVRF_TO_MVPN, 0);
}

uint32_t QEL_NGMVPN_MvrfParseFromMvpnRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                                 QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseRtPrefixTlvNew(pucData, uiLen, ppstResult, pstCtx, QEL_NGMVPN_MSG_KIND_MVPN_TO_MVRF, 0);
}

uint32_t QEL_NGMVPN_MvrfParseFromMcRtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                               QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx) || QEL_Zero(uiLen)) {
        return QEL_ERR_NULL;
    }
    const uint8_t *pucCursor = pucData;
    const QEL_NGMVPN_TLV_S stTlv = QEL_NGMVPN_TakeTlv_(&pucCursor);
    if (stTlv.usTlvType != QEL_NGMVPN_TLV_RT_PREFIX) {
        QEL_Report(stTlv.usTlvType);
        return QEL_ERR_NLRI_MALFORMED;
    }
    /* kept: the header's length is believed, whatever the message's is; the multicast component fills its messages up
     */
    return QEL_NGMVPN_ParseRtPrefixTlvNew(pucCursor, stTlv.usTlvLen, ppstResult, pstCtx, QEL_NGMVPN_MSG_KIND_MC_TO_MVRF,
                                          0);
}

uint32_t QEL_NGMVPN_ParseRtTypeTlv(const uint8_t **ppucCursor, uint8_t *pucRdKind, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(pucRdKind) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    *pucRdKind = **ppucCursor;
    /* kept: four bytes whatever the TLV's header says; the writer knows no other length */
    *ppucCursor += QEL_NGMVPN_RD_KIND_TLV_LEN;
    return QEL_OK;
}

typedef uint32_t (*QEL_NGMVPN_OLD_PREFIX_F)(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                            QEL_FAMILY_CTX_S *pstCtx);

/* The header at the cursor of a message that has uiTaken bytes up to the end of that header; false, after a report, if
 * header or value do not lie inside the message. */
static bool QEL_NGMVPN_TakeHaTlv_(const uint8_t **ppucCursor, uint32_t uiLen, uint32_t uiTaken,
                                  QEL_NGMVPN_TLV_S *pstTlv)
{
    if (uiLen < uiTaken) {
        QEL_Report(uiLen);
        return false;
    }
    *pstTlv = QEL_NGMVPN_TakeTlv_(ppucCursor);
    if (pstTlv->usTlvLen > uiLen - uiTaken) {
        QEL_Report(pstTlv->usTlvLen);
        return false;
    }
    return true;
}

/* The RD kind TLV, whose value stands at the cursor, and the route prefix TLV behind it. */
static uint32_t QEL_NGMVPN_ParseHaRdKind_(const uint8_t *pucCursor, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                          QEL_FAMILY_CTX_S *pstCtx)
{
    uint8_t ucRdKind = 0;
    QEL_NGMVPN_TLV_S stTlv = {};
    (void)QEL_NGMVPN_ParseRtTypeTlv(&pucCursor, &ucRdKind, pstCtx);
    if (!QEL_NGMVPN_TakeHaTlv_(&pucCursor, uiLen, 2 * QEL_NGMVPN_TLV_HEADER_LEN + QEL_NGMVPN_RD_KIND_TLV_LEN, &stTlv)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_SetMVpnRdKeyType(&ucRdKind, pstCtx);
    if (stTlv.usTlvType != QEL_NGMVPN_TLV_RT_PREFIX) {
        QEL_Report(stTlv.usTlvType);
        return QEL_ERR_NLRI_MALFORMED;
    }
    return QEL_NGMVPN_ParseRtPrefixTlvNew(pucCursor, stTlv.usTlvLen, ppstResult, pstCtx, QEL_NGMVPN_MSG_KIND_HA,
                                          ucRdKind);
}

/* Both HA handlers; pfParseOld reads the older forms. */
static uint32_t QEL_NGMVPN_ParseHaRtPrefix_(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                            QEL_FAMILY_CTX_S *pstCtx, QEL_NGMVPN_OLD_PREFIX_F pfParseOld)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx) || QEL_Zero(uiLen)) {
        return QEL_ERR_NULL;
    }
    /* kept: this one octet tells the older form, which starts with its route type, from a TLV header, which starts
     * with 0; backups of older releases send it */
    if (pucData[0] >= QEL_NGMVPN_WIRE_INTRA_IPMSI_AD && pucData[0] <= QEL_NGMVPN_WIRE_SOURCE_TREE_JOIN) {
        return pfParseOld(pucData, uiLen, ppstResult, pstCtx);
    }
    const uint8_t *pucCursor = pucData;
    QEL_NGMVPN_TLV_S stTlv = {};
    if (!QEL_NGMVPN_TakeHaTlv_(&pucCursor, uiLen, QEL_NGMVPN_TLV_HEADER_LEN, &stTlv)) {
        return QEL_ERR_NULL;
    }
    switch (stTlv.usTlvType) {
    case QEL_NGMVPN_TLV_RT_PREFIX:
        return pfParseOld(pucCursor, stTlv.usTlvLen, ppstResult, pstCtx);
    case QEL_NGMVPN_TLV_RD_KIND:
        return QEL_NGMVPN_ParseHaRdKind_(pucCursor, uiLen, ppstResult, pstCtx);
    default:
        QEL_Report(stTlv.usTlvType);
        return QEL_ERR_NLRI_MALFORMED;
    }
}

uint32_t QEL_NGMVPN_ParseHARtPrefixTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                       QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseHaRtPrefix_(pucData, uiLen, ppstResult, pstCtx, QEL_NGMVPN_ParseRtPrefixTlv);
}

uint32_t QEL_NGMVPN_ParseHARtPrefixTlvGlbal(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                            QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParseHaRtPrefix_(pucData, uiLen, ppstResult, pstCtx, QEL_NGMVPN_ParseRtPrefixTlvGlbalISSU);
}

/* Route prefixes: writing. */

uint32_t QEL_NGMVPN_FormatRtPrefixTlvNew(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                         QEL_FAMILY_CTX_S *pstCtx, uint32_t uiMsgKind)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    /* kept: the key is not looked for; a route without one is never sent, and hosts know no code for it here. The kind
     * changes nothing in the bytes: the receiver alone decides where the RD belongs */
    return QEL_NGMVPN_FormatNlriOfKey_(pstRoute, ppucCursor, uiOutLen, uiMsgKind);
}

uint32_t QEL_NGMVPN_MvrfFormatToMvpnRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_FormatRtPrefixTlvNew(pstRoute, ppucCursor, uiOutLen, pstCtx, QEL_NGMVPN_MSG_FORM_MVRF_TO_MVPN);
}

uint32_t QEL_NGMVPN_MvpnFormatToMvrfRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_FormatRtPrefixTlvNew(pstRoute, ppucCursor, uiOutLen, pstCtx, QEL_NGMVPN_MSG_FORM_MVPN_TO_MVRF);
}

/* The route prefix TLV; uiOutLen is the room behind its header. The cursor stays on failure. */
static uint32_t QEL_NGMVPN_PutRtPrefixTlv_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                           QEL_FAMILY_CTX_S *pstCtx, uint32_t uiMsgKind)
{
    uint8_t *pucHeader = *ppucCursor;
    QEL_StoreBe16(pucHeader, QEL_NGMVPN_TLV_RT_PREFIX);
    uint8_t *pucValue = pucHeader + QEL_NGMVPN_TLV_HEADER_LEN;
    uint8_t *pucLocal = pucValue;
    const uint32_t uiRet = QEL_NGMVPN_FormatRtPrefixTlvNew(pstRoute, &pucLocal, uiOutLen, pstCtx, uiMsgKind);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_StoreBe16(pucHeader + 2, static_cast<uint16_t>(pucLocal - pucValue));
    *ppucCursor = pucLocal;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_MvrfFormatToMcRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                              QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen < QEL_NGMVPN_TLV_HEADER_LEN) {
        return QEL_ERR_SPACE;
    }
    /* kept: the room behind the header is counted in 16 bits; no message is longer, and a larger room wraps */
    return QEL_NGMVPN_PutRtPrefixTlv_(pstRoute, ppucCursor, static_cast<uint16_t>(uiOutLen - QEL_NGMVPN_TLV_HEADER_LEN),
                                      pstCtx, QEL_NGMVPN_MSG_FORM_MVRF_TO_MC);
}

uint32_t QEL_NGMVPN_MvpnORMvrfFormatToHaRtPrefixTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                                    uint32_t uiOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint32_t uiHeadLen = 2 * QEL_NGMVPN_TLV_HEADER_LEN + QEL_NGMVPN_RD_KIND_TLV_LEN;
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen < uiHeadLen) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucLocal = *ppucCursor;
    QEL_NGMVPN_PutTlv_(&pucLocal, QEL_NGMVPN_TLV_RD_KIND, QEL_NGMVPN_RD_KIND_TLV_LEN);
    QEL_Clear(pucLocal, QEL_NGMVPN_RD_KIND_TLV_LEN, QEL_NGMVPN_RD_KIND_TLV_LEN);
    pucLocal[0] = QEL_NGMVPN_KeyOf_(pstRoute)->ucRdKind;
    pucLocal += QEL_NGMVPN_RD_KIND_TLV_LEN;
    const uint32_t uiRet =
        QEL_NGMVPN_PutRtPrefixTlv_(pstRoute, &pucLocal, uiOutLen - uiHeadLen, pstCtx, QEL_NGMVPN_MSG_FORM_HA);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *ppucCursor = pucLocal;
    return QEL_OK;
}

/* Route paths: the readers of one attribute. */

static constexpr uint32_t QEL_NGMVPN_WORDS_IPV6 = 4;

/* Gives scratch memory back; null is nothing to give back. */
static void QEL_NGMVPN_Drop_(uint8_t *pucMem, QEL_FAMILY_CTX_S *pstCtx)
{
    if (pucMem != nullptr) {
        void *pvMem = pucMem;
        QEL_NGMVPN_Free(&pvMem, pstCtx);
    }
}

/* Cleared scratch memory, or null after a report. */
static void *QEL_NGMVPN_Scratch_(uint32_t uiSize, QEL_FAMILY_CTX_S *pstCtx)
{
    void *pvMem = QEL_NGMVPN_Malloc(pstCtx, uiSize);
    if (QEL_Missing(pvMem)) {
        return nullptr;
    }
    QEL_Clear(pvMem, uiSize, uiSize);
    return pvMem;
}

/* What a reader made if it succeeded, else null and the memory given back. */
static uint8_t *QEL_NGMVPN_Made_(void *pvMem, uint32_t uiRet, QEL_FAMILY_CTX_S *pstCtx)
{
    auto *pucMem = static_cast<uint8_t *>(pvMem);
    if (uiRet == QEL_OK) {
        return pucMem;
    }
    QEL_NGMVPN_Drop_(pucMem, pstCtx);
    return nullptr;
}

/* A list of whole elements as it stands, in scratch memory; null: it is not one, or, after a report, no memory. */
static void *QEL_NGMVPN_CopyOfList_(const uint8_t *pucList, uint16_t usTlvLen, uint16_t usElement,
                                    QEL_FAMILY_CTX_S *pstCtx)
{
    if (usTlvLen < usElement || usTlvLen % usElement != 0) {
        return nullptr;
    }
    void *pvList = QEL_NGMVPN_Scratch_(usTlvLen, pstCtx);
    if (pvList != nullptr) {
        QEL_Copy(pvList, usTlvLen, pucList, usTlvLen);
    }
    return pvList;
}

uint8_t *QEL_NGMVPN_ParseRoutePathExtComTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                            QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint16_t usElement = sizeof(QEL_EXTCOMM_S);
    void *pvList = QEL_NGMVPN_CopyOfList_(*ppucCursor, usTlvLen, usElement, pstCtx);
    if (pvList == nullptr) {
        return nullptr;
    }
    auto *pastList = static_cast<QEL_EXTCOMM_S *>(pvList);
    auto usCount = static_cast<uint16_t>(usTlvLen / usElement);
    QEL_NGMVPN_ConvertExtCommunityNTOH(pastList, usCount);
    const uint32_t uiRet = QEL_NGMVPN_CleanupExtCommunity(pastList, &usCount, pstCtx);
    if (uiRet == QEL_OK) {
        *pusAttrLen = static_cast<uint16_t>(usCount * usElement);
        *ppucCursor += usTlvLen;
    }
    return QEL_NGMVPN_Made_(pvList, uiRet, pstCtx);
}

uint8_t *QEL_NGMVPN_ParseRoutePathIPv6ExtComTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                                QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint16_t usElement = sizeof(QEL_IPV6_EXTCOMM_S);
    /* kept: the length is cleared first here, the 8-byte reader leaves it alone; callers go by the pointer */
    *pusAttrLen = 0;
    void *pvList = QEL_NGMVPN_CopyOfList_(*ppucCursor, usTlvLen, usElement, pstCtx);
    if (pvList == nullptr) {
        return nullptr;
    }
    auto *pastList = static_cast<QEL_IPV6_EXTCOMM_S *>(pvList);
    auto usCount = static_cast<uint16_t>(usTlvLen / usElement);
    QEL_NGMVPN_ConvertIPv6ExtCommunityNTOH(pastList, usCount);
    const uint32_t uiRet = QEL_NGMVPN_CleanupIPv6ExtCommunity(pastList, &usCount, pstCtx);
    if (uiRet == QEL_OK) {
        *pusAttrLen = static_cast<uint16_t>(usCount * usElement);
        *ppucCursor += usTlvLen;
    }
    return QEL_NGMVPN_Made_(pvList, uiRet, pstCtx);
}

uint8_t *QEL_NGMVPN_ParseRoutePathPmsiTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                          QEL_FAMILY_CTX_S *pstCtx)
{
    if (usTlvLen < QEL_NGMVPN_PMSI_HEADER_LEN) {
        return nullptr;
    }
    void *pvTnl = QEL_NGMVPN_Scratch_(sizeof(QEL_NGMVPN_PMSI_TNL_S), pstCtx);
    if (pvTnl == nullptr) {
        return nullptr;
    }
    const uint8_t *pucLocal = *ppucCursor;
    uint32_t uiSectionLen = 0;
    /* kept: a tunnel that is not carried is no different from a faulty one here, and is not stepped over; the loop
     * around reads on in its bytes */
    const uint32_t uiRet =
        QEL_NGMVPN_ReadPmsiTnl_(&pucLocal, usTlvLen, static_cast<QEL_NGMVPN_PMSI_TNL_S *>(pvTnl), &uiSectionLen);
    if (uiRet == QEL_OK) {
        *pusAttrLen = static_cast<uint16_t>(uiSectionLen);
        *ppucCursor = pucLocal;
    }
    return QEL_NGMVPN_Made_(pvTnl, uiRet, pstCtx);
}

uint32_t QEL_NGMVPN_ParsePktRoutePathPrefixSid_(const uint8_t **ppucCursor, QEL_FAMILY_CTX_S *pstCtx)
{
    return QEL_NGMVPN_ParsePktPrefixSid_(ppucCursor, pstCtx) == QEL_OK ? QEL_OK : QEL_ERR_FAILED;
}

/* kept: this reader and the next leave the cursor at the value, so such a TLV works as the last one of a message alone;
 * senders put it there */
uint8_t *QEL_NGMVPN_ParseRoutePathPfxSidTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                            QEL_FAMILY_CTX_S *pstCtx)
{
    if (usTlvLen != QEL_NGMVPN_PFXSID_ATTR_LEN) {
        *pusAttrLen = 0;
        return nullptr;
    }
    /* kept: never the inline buffer, here and for the MSID, though it is given back like one; the host's memory
     * accounts show one allocation for each */
    void *pvSid = ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, sizeof(QEL_NGMVPN_PFXSID_S), __FILE__, __LINE__);
    if (QEL_Missing(pvSid)) {
        return nullptr;
    }
    const uint8_t *pucLocal = *ppucCursor;
    const uint32_t uiRet = QEL_NGMVPN_ParsePktRoutePathPrefixSid_(&pucLocal, pstCtx);
    if (uiRet == QEL_OK) {
        QEL_NGMVPN_FillPfxSid_(static_cast<QEL_NGMVPN_PFXSID_S *>(pvSid), *ppucCursor);
        *pusAttrLen = sizeof(QEL_NGMVPN_PFXSID_S);
    }
    return QEL_NGMVPN_Made_(pvSid, uiRet, pstCtx);
}

static constexpr uint16_t QEL_NGMVPN_MSID_LEN = 20;
static constexpr uint16_t QEL_NGMVPN_MSID_STRUCTURE_LEN = 8; /* the one sub-sub-TLV, header included */
static constexpr uint8_t QEL_NGMVPN_MSID_HEADER_LEN = 3;     /* not counted by the sub-TLV's length */
static constexpr uint8_t QEL_NGMVPN_MSID_STRUCTURE_VALUE_LEN = 5;

uint32_t QEL_NGMVPN_ParsePktRoutePathMsidSubTlv_(const uint8_t **ppucCursor, QEL_NGMVPN_MSID_S *pstMsid)
{
    const uint8_t *pucTlv = *ppucCursor;
    const uint16_t usLen = QEL_LoadBe16(pucTlv + 1);
    /* kept: either length goes with either attribute; senders have mixed them up, and the record keeps the bytes */
    if (pucTlv[0] != 1 || (usLen != QEL_NGMVPN_MSID_LEN - QEL_NGMVPN_MSID_HEADER_LEN &&
                           usLen != QEL_NGMVPN_MSID_LEN + QEL_NGMVPN_MSID_STRUCTURE_LEN - QEL_NGMVPN_MSID_HEADER_LEN)) {
        return QEL_ERR_FAILED;
    }
    QEL_NGMVPN_TakeSid_(pstMsid->auiMsid, pucTlv + 4);
    *ppucCursor += QEL_NGMVPN_MSID_LEN;
    return QEL_OK;
}

/* kept: a sub-sub-TLV of another type fails here and is stepped over in the attribute of an update */
uint32_t QEL_NGMVPN_ParsePktRoutePathMsidSubSubTlv_(const uint8_t **ppucCursor, const uint8_t *pucEnd,
                                                    QEL_NGMVPN_MSID_S *pstMsid)
{
    const uint8_t *pucTlv = *ppucCursor;
    if (pucTlv >= pucEnd) {
        return QEL_OK;
    }
    if (pucEnd - pucTlv < QEL_NGMVPN_MSID_STRUCTURE_LEN || pucTlv[0] != 1 ||
        QEL_LoadBe16(pucTlv + 1) != QEL_NGMVPN_MSID_STRUCTURE_VALUE_LEN) {
        return QEL_ERR_FAILED;
    }
    pstMsid->ucPrefixLen = pucTlv[4];
    pstMsid->ucMsidLen = pucTlv[5];
    pstMsid->ucHasStructure = 1;
    *ppucCursor += QEL_NGMVPN_MSID_STRUCTURE_LEN;
    return QEL_OK;
}

static uint32_t QEL_NGMVPN_FillMsid_(const uint8_t *pucAttr, uint16_t usLen, QEL_NGMVPN_MSID_S *pstMsid)
{
    const uint8_t *pucLocal = pucAttr;
    uint32_t uiRet = QEL_NGMVPN_ParsePktRoutePathMsidSubTlv_(&pucLocal, pstMsid);
    if (uiRet == QEL_OK) {
        uiRet = QEL_NGMVPN_ParsePktRoutePathMsidSubSubTlv_(&pucLocal, pucAttr + usLen, pstMsid);
    }
    if (uiRet == QEL_OK) {
        QEL_Copy(pstMsid->aucRawAttr, usLen, pucAttr, usLen);
    }
    return uiRet;
}

uint8_t *QEL_NGMVPN_ParseRoutePathMsidTlv(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                          QEL_FAMILY_CTX_S *pstCtx)
{
    if (usTlvLen != QEL_NGMVPN_MSID_LEN && usTlvLen != QEL_NGMVPN_MSID_LEN + QEL_NGMVPN_MSID_STRUCTURE_LEN) {
        *pusAttrLen = 0;
        return nullptr;
    }
    const auto usSize = static_cast<uint16_t>(sizeof(QEL_NGMVPN_MSID_S) + usTlvLen);
    void *pvMsid = ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, usSize, __FILE__, __LINE__);
    if (QEL_Missing(pvMsid)) {
        return nullptr;
    }
    QEL_Clear(pvMsid, usSize, usSize);
    const uint32_t uiRet = QEL_NGMVPN_FillMsid_(*ppucCursor, usTlvLen, static_cast<QEL_NGMVPN_MSID_S *>(pvMsid));
    if (uiRet == QEL_OK) {
        *pusAttrLen = usSize;
    }
    return QEL_NGMVPN_Made_(pvMsid, uiRet, pstCtx);
}

/* Route paths: the TLV handlers. */

typedef uint8_t *(*QEL_NGMVPN_ATTR_READER_F)(const uint8_t **ppucCursor, uint16_t usTlvLen, uint16_t *pusAttrLen,
                                             QEL_FAMILY_CTX_S *pstCtx);

/* The shape of the attribute handlers. kept: the first attribute of a message wins; the next is reported and left under
 * the cursor, and peers are used to what is read there */
static void QEL_NGMVPN_TakeAttr_(QEL_NGMVPN_ATTR_READER_F pfReader, uint8_t ucAttrFlag, uint8_t ucAttrType,
                                 const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                 QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx)
{
    if (*ppucAttrData != nullptr) {
        QEL_Report(usTlvLen);
        return;
    }
    uint16_t usAttrLen = 0;
    uint8_t *pucAttr = pfReader(ppucCursor, usTlvLen, &usAttrLen, pstCtx);
    if (pucAttr == nullptr) {
        return;
    }
    *ppucAttrData = pucAttr;
    pstView->ucAttrFlag = ucAttrFlag;
    pstView->ucAttrType = ucAttrType;
    pstView->usAttrLen = usAttrLen;
    pstView->pucAttr = pucAttr;
}

void QEL_NGMVPN_ParseRoutePathExtComTlvPmsi_(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                             QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_TakeAttr_(QEL_NGMVPN_ParseRoutePathPmsiTlv, QEL_ATTR_FLAG_PMSI, QEL_ATTR_TYPE_PMSI, ppucCursor, usTlvLen,
                         ppucAttrData, pstView, pstCtx);
}

void QEL_NGMVPN_ParseRoutePathExtComTlvRtImportOrSnh_(const uint8_t **ppucCursor, uint16_t usTlvLen,
                                                      uint8_t **ppucAttrData, QEL_ROUTE_VIEW_S *pstView,
                                                      QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_TakeAttr_(QEL_NGMVPN_ParseRoutePathExtComTlv, QEL_ATTR_FLAG_EXTCOMM, QEL_ATTR_TYPE_EXTCOMM, ppucCursor,
                         usTlvLen, ppucAttrData, pstView, pstCtx);
}

void QEL_NGMVPN_ParseRoutePathExtComTlvRt6Import_(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                                  QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_TakeAttr_(QEL_NGMVPN_ParseRoutePathIPv6ExtComTlv, QEL_ATTR_FLAG_IPV6_EXTCOMM, QEL_ATTR_TYPE_IPV6_EXTCOMM,
                         ppucCursor, usTlvLen, ppucAttrData, pstView, pstCtx);
}

void QEL_NGMVPN_ParseRoutePathExtComTlvPfxSid_(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                               QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_TakeAttr_(QEL_NGMVPN_ParseRoutePathPfxSidTlv, QEL_ATTR_FLAG_PFXSID, QEL_ATTR_TYPE_PFXSID, ppucCursor,
                         usTlvLen, ppucAttrData, pstView, pstCtx);
}

void QEL_NGMVPN_ParseRoutePathExtComTlvMsid_(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t **ppucAttrData,
                                             QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_NGMVPN_TakeAttr_(QEL_NGMVPN_ParseRoutePathMsidTlv, QEL_ATTR_FLAG_MSID, QEL_ATTR_TYPE_MSID, ppucCursor, usTlvLen,
                         ppucAttrData, pstView, pstCtx);
}

/* An IPv6 address of a message as four host-order words, and back; the record's field may stand anywhere. */
static void QEL_NGMVPN_SwapWords_(void *pvTo, const void *pvFrom)
{
    for (size_t i = 0; i < QEL_NGMVPN_WORDS_IPV6 * sizeof(uint32_t); i += sizeof(uint32_t)) {
        QEL_Store32(static_cast<uint8_t *>(pvTo) + i, QEL_LoadBe32(QEL_Bytes(pvFrom) + i));
    }
}

void QEL_NGMVPN_ParseMcRoutePathNh(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t ** /* ppucAttrData */,
                                   QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx)
{
    static constexpr uint16_t usIpv4Len = 8;
    if (pstView->pucNonKey == nullptr) {
        pstView->pucNonKey = static_cast<const uint8_t *>(QEL_NGMVPN_Scratch_(sizeof(QEL_NGMVPN_NONKEY_S), pstCtx));
    }
    if (pstView->pucNonKey == nullptr) {
        return;
    }
    /* the view's non-key is this handler's own scratch memory */
    auto *pstNonKey = reinterpret_cast<QEL_NGMVPN_NONKEY_S *>(const_cast<uint8_t *>(pstView->pucNonKey));
    const uint8_t *pucValue = *ppucCursor;
    pstNonKey->usFlags |= QEL_NGMVPN_NONKEY_USER_DATA;
    pstNonKey->uiUserValue = pucValue[4];
    /* kept: every length but 8 is taken for the IPv6 form, whose address may end behind the value; senders pad */
    if (usTlvLen == usIpv4Len) {
        pstNonKey->usUserAddrLen = 4;
        pstNonKey->stUserAddr.uiIpv4 = QEL_LoadBe32(pucValue);
    } else {
        pstNonKey->usUserAddrLen = 16;
        QEL_NGMVPN_SwapWords_(&pstNonKey->stUserAddr, pucValue + 8);
    }
    pstView->uiNonKeyLen = sizeof(*pstNonKey);
    *ppucCursor += usTlvLen;
}

/* Step: the TLVs of a message, until one of them or less than one octet behind a header is left over. kept: the count
 * goes by the lengths, in 16 bits, and the place by what the handlers have read, so a TLV that nobody reads is read
 * again as the next header; peers are used to what comes of it */
static uint32_t QEL_NGMVPN_WalkRoutePath_(const uint8_t *pucData, uint32_t uiLen, uint8_t **ppucAttrData,
                                          QEL_ROUTE_VIEW_S *pstView, QEL_FAMILY_CTX_S *pstCtx)
{
    const uint8_t *pucCursor = pucData;
    auto usRemain = static_cast<uint16_t>(uiLen);
    for (;;) {
        const QEL_NGMVPN_TLV_S stTlv = QEL_NGMVPN_TakeTlv_(&pucCursor);
        usRemain = static_cast<uint16_t>(usRemain - QEL_NGMVPN_TLV_HEADER_LEN);
        if (usRemain == 0 || stTlv.usTlvLen == 0 || stTlv.usTlvLen > usRemain) {
            QEL_Report(stTlv.usTlvLen);
            return QEL_ERR_TLV;
        }
        const QEL_DISPATCH_ENTRY_S *pstEntry = QEL_NGMVPN_GetParseMcRoutePathEntry(stTlv.usTlvType);
        if (pstEntry != nullptr && pstEntry->pfParseRoutePath != nullptr) {
            pstEntry->pfParseRoutePath(&pucCursor, stTlv.usTlvLen, ppucAttrData, pstView, pstCtx);
        }
        if (stTlv.usTlvLen >= usRemain) {
            return QEL_OK;
        }
        usRemain = static_cast<uint16_t>(usRemain - stTlv.usTlvLen);
        if (usRemain <= QEL_NGMVPN_TLV_HEADER_LEN) {
            return QEL_OK;
        }
    }
}

uint32_t QEL_NGMVPN_ParseMcRoutePathTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                        QEL_FAMILY_CTX_S *pstCtx)
{
    QEL_ROUTE_VIEW_S stView = {};
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen < QEL_NGMVPN_TLV_HEADER_LEN) {
        QEL_Report(uiLen);
        return QEL_ERR_TLV;
    }
    uint8_t *pucAttrData = nullptr;
    uint32_t uiRet = QEL_NGMVPN_WalkRoutePath_(pucData, uiLen, &pucAttrData, &stView, pstCtx);
    if (uiRet == QEL_OK) {
        uiRet = QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
    }
    QEL_NGMVPN_Drop_(const_cast<uint8_t *>(stView.pucNonKey), pstCtx);
    QEL_NGMVPN_Drop_(pucAttrData, pstCtx);
    return uiRet;
}

/* Route paths: writing. */

/* The route's non-key section if it has one with a key type, else null. */
static const QEL_NGMVPN_NONKEY_AT_S *QEL_NGMVPN_TypedNonKeyOf_(const QEL_ROUTE_INFO_S *pstRoute)
{
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = reinterpret_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pstRoute->pucNonKey);
    if ((pstRoute->uiValidMask & QEL_SECTION_NONKEY) == 0 || pstNonKey == nullptr) {
        return nullptr;
    }
    return (pstNonKey->usFlags & QEL_NGMVPN_NONKEY_TYPE) != 0 ? pstNonKey : nullptr;
}

uint32_t QEL_NGMVPN_FormatRoutePathMsidTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                           const uint8_t *pucEnd, QEL_FAMILY_CTX_S * /* pstCtx */)
{
    const QEL_NGMVPN_MSID_AT_S *pstMsid = reinterpret_cast<const QEL_NGMVPN_MSID_AT_S *>(pstRoute->pucMsid);
    if (pstMsid == nullptr) {
        return QEL_OK;
    }
    const bool bStructure = pstMsid->ucHasStructure != 0;
    const uint16_t usLen = bStructure ? QEL_NGMVPN_MSID_LEN + QEL_NGMVPN_MSID_STRUCTURE_LEN : QEL_NGMVPN_MSID_LEN;
    if (usLen + QEL_NGMVPN_TLV_HEADER_LEN > static_cast<size_t>(pucEnd - *ppucCursor)) {
        return QEL_ERR_SPACE;
    }
    QEL_NGMVPN_PutTlv_(ppucCursor, QEL_NGMVPN_TLV_MSID, usLen);
    /* kept: rebuilt from the fields, not written as received; reserved octets and unknown sub-sub-TLVs end here */
    uint8_t *pucValue = *ppucCursor;
    pucValue[0] = 1;
    QEL_StoreBe16(pucValue + 1, static_cast<uint16_t>(usLen - QEL_NGMVPN_MSID_HEADER_LEN));
    pucValue[3] = 0;
    QEL_NGMVPN_SwapWords_(pucValue + 4, pstMsid->auiMsid);
    if (bStructure) {
        uint8_t *pucStructure = pucValue + QEL_NGMVPN_MSID_LEN;
        pucStructure[0] = 1;
        QEL_StoreBe16(pucStructure + 1, QEL_NGMVPN_MSID_STRUCTURE_VALUE_LEN);
        pucStructure[3] = 0;
        pucStructure[4] = pstMsid->ucPrefixLen;
        pucStructure[5] = pstMsid->ucMsidLen;
        QEL_StoreBe16(pucStructure + 6, 0);
    }
    *ppucCursor += usLen;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatRoutePathPfxSidTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor,
                                             const uint8_t *pucEnd, QEL_FAMILY_CTX_S * /* pstCtx */)
{
    if (pstRoute->pucPfxSid == nullptr) {
        return QEL_OK;
    }
    if (static_cast<size_t>(pucEnd - *ppucCursor) < QEL_NGMVPN_TLV_HEADER_LEN + QEL_NGMVPN_PFXSID_ATTR_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_NGMVPN_PutTlv_(ppucCursor, QEL_NGMVPN_TLV_PREFIX_SID, QEL_NGMVPN_PFXSID_ATTR_LEN);
    QEL_Copy(*ppucCursor, static_cast<size_t>(pucEnd - *ppucCursor),
             pstRoute->pucPfxSid + offsetof(QEL_NGMVPN_PFXSID_S, aucRawTlv), QEL_NGMVPN_PFXSID_ATTR_LEN);
    *ppucCursor += QEL_NGMVPN_PFXSID_ATTR_LEN;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatPmsiTnlTlv_(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, const uint8_t *pucEnd,
                                      QEL_FAMILY_CTX_S *pstCtx)
{
    /* kept: the route's own tunnel decides whether there is a TLV, and an import attribute's one may be what goes in */
    if (pstRoute->pucPmsi == nullptr) {
        return QEL_OK;
    }
    const auto ulRoom = static_cast<size_t>(pucEnd - *ppucCursor);
    if (ulRoom < QEL_NGMVPN_TLV_HEADER_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucHeader = *ppucCursor;
    QEL_StoreBe16(pucHeader, QEL_NGMVPN_TLV_PMSI);
    uint8_t *pucValue = pucHeader + QEL_NGMVPN_TLV_HEADER_LEN;
    uint8_t *pucLocal = pucValue;
    const uint32_t uiRet = QEL_NGMVPN_FormatPmsiTnlTlv(
        pstRoute, &pucLocal, static_cast<uint32_t>(ulRoom - QEL_NGMVPN_TLV_HEADER_LEN), pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_StoreBe16(pucHeader + 2, static_cast<uint16_t>(pucLocal - pucValue));
    *ppucCursor = pucLocal;
    return QEL_OK;
}

const uint8_t *QEL_NGMVPN_FormatExtComTlvGetExtCommunity_(const QEL_ROUTE_INFO_S *pstRoute, uint16_t usTlvType,
                                                          uint32_t *puiLen)
{
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstImport = pstRoute->pstImportAttr;
    if (pstImport != nullptr) {
        /* kept: whether or not the Segmented Next-Hop is marked valid, and for every TLV type */
        *puiLen = QEL_NGMVPN_SNH_LEN;
        return pstImport->stOriginalAttr.aucSnh;
    }
    const bool bIpv6 = usTlvType == QEL_NGMVPN_TLV_RT6_IMPORT;
    *puiLen = bIpv6 ? pstRoute->uiIpv6ExtCommLen : pstRoute->uiExtCommLen;
    return bIpv6 ? pstRoute->pucIpv6ExtComm : pstRoute->pucExtComm;
}

/* The first element with that Sub-type octet, or null. kept: the Type is not looked at; policies count on unknown kinds
 */
static const uint8_t *QEL_NGMVPN_FindSubType_(const uint8_t *pucList, uint32_t uiCount, uint16_t usElement,
                                              uint8_t ucSubType)
{
    for (uint32_t i = 0; i < uiCount; i++) {
        const uint8_t *pucElement = pucList + static_cast<size_t>(i) * usElement;
        if (static_cast<uint8_t>(QEL_Load16(pucElement)) == ucSubType) {
            return pucElement;
        }
    }
    return nullptr;
}

uint32_t QEL_NGMVPN_FormatExtComTlv(const QEL_ROUTE_INFO_S *pstRoute, uint16_t usTlvType, uint8_t ucSubType,
                                    uint8_t **ppucCursor, uint16_t usMaxLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    uint32_t uiListLen = 0;
    const uint8_t *pucList = QEL_NGMVPN_FormatExtComTlvGetExtCommunity_(pstRoute, usTlvType, &uiListLen);
    if (pucList == nullptr) {
        return QEL_OK;
    }
    const bool bIpv6 = usTlvType == QEL_NGMVPN_TLV_RT6_IMPORT;
    const uint16_t usElement = bIpv6 ? sizeof(QEL_IPV6_EXTCOMM_S) : sizeof(QEL_EXTCOMM_S);
    const uint8_t *pucElement = QEL_NGMVPN_FindSubType_(pucList, uiListLen / usElement, usElement, ucSubType);
    if (pucElement == nullptr) {
        return QEL_OK;
    }
    if (usMaxLen < usElement + QEL_NGMVPN_TLV_HEADER_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_NGMVPN_PutTlv_(ppucCursor, usTlvType, usElement);
    QEL_Copy(*ppucCursor, usElement, pucElement, usElement);
    if (bIpv6) {
        QEL_NGMVPN_ConvertIPv6ExtCommunityHTON(reinterpret_cast<QEL_IPV6_EXTCOMM_S *>(*ppucCursor), 1);
    } else {
        QEL_NGMVPN_ConvertExtCommunityHTON(reinterpret_cast<QEL_EXTCOMM_S *>(*ppucCursor), 1);
    }
    *ppucCursor += usElement;
    return QEL_OK;
}

/* Step: the TLVs of a route with that key type, on a local cursor. */
static uint32_t QEL_NGMVPN_PutRoutePath_(const QEL_ROUTE_INFO_S *pstRoute, uint32_t uiKeyType, uint8_t **ppucCursor,
                                         const uint8_t *pucEnd, QEL_FAMILY_CTX_S *pstCtx)
{
    uint32_t uiRet = QEL_NGMVPN_FormatRoutePathMsidTlv(pstRoute, ppucCursor, pucEnd, pstCtx);
    if (uiRet == QEL_OK) {
        uiRet = QEL_NGMVPN_FormatRoutePathPfxSidTlv(pstRoute, ppucCursor, pucEnd, pstCtx);
    }
    if (uiRet == QEL_OK) {
        uiRet = QEL_NGMVPN_FormatPmsiTnlTlv_(pstRoute, ppucCursor, pucEnd, pstCtx);
    }
    if (uiRet == QEL_OK && QEL_NGMVPN_IsPmsiAd_(uiKeyType)) {
        const auto ulRoom = static_cast<size_t>(pucEnd - *ppucCursor);
        uiRet = QEL_NGMVPN_FormatExtComTlv(pstRoute, QEL_NGMVPN_TLV_SNH, QEL_NGMVPN_SUBTYPE_SNH, ppucCursor,
                                           ulRoom < UINT16_MAX ? static_cast<uint16_t>(ulRoom) : UINT16_MAX, pstCtx);
    }
    return uiRet;
}

uint32_t QEL_NGMVPN_FormatRoutePathTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                       QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiOutLen < QEL_NGMVPN_TLV_HEADER_LEN) {
        return QEL_ERR_SPACE;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = QEL_NGMVPN_TypedNonKeyOf_(pstRoute);
    if (pstNonKey == nullptr) {
        QEL_Report(pstRoute->uiValidMask);
        return QEL_ERR_ARGUMENT;
    }
    uint8_t *pucLocal = *ppucCursor;
    const uint32_t uiRet =
        QEL_NGMVPN_PutRoutePath_(pstRoute, pstNonKey->uiKeyType, &pucLocal, pucLocal + uiOutLen, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *ppucCursor = pucLocal;
    return QEL_OK;
}

/* Non-keys: reading. */

static constexpr uint16_t QEL_NGMVPN_USER_DATA_IPV4_LEN = 8;
static constexpr uint16_t QEL_NGMVPN_USER_DATA_IPV6_LEN = 24;

static void QEL_NGMVPN_TakeUserData_(const uint8_t *pucValue, uint16_t usTlvLen, QEL_NGMVPN_NONKEY_S *pstNonKey)
{
    if (usTlvLen == QEL_NGMVPN_USER_DATA_IPV4_LEN) {
        pstNonKey->usUserAddrLen = 4;
        pstNonKey->stUserAddr.uiIpv4 = QEL_LoadBe32(pucValue);
    } else {
        pstNonKey->usUserAddrLen = 16;
        QEL_NGMVPN_SwapWords_(&pstNonKey->stUserAddr, pucValue + 8);
    }
    pstNonKey->uiUserValue = QEL_LoadBe32(pucValue + 4);
}

/* One sub-TLV, whose value stands at pucValue. */
static uint32_t QEL_NGMVPN_TakeNonKeyTlv_(const uint8_t *pucValue, const QEL_NGMVPN_TLV_S *pstTlv,
                                          QEL_NGMVPN_NONKEY_S *pstNonKey)
{
    const uint16_t usTlvLen = pstTlv->usTlvLen;
    switch (pstTlv->usTlvType) {
    case QEL_NGMVPN_NONKEY_TLV_TYPE:
        if (usTlvLen < sizeof(uint32_t)) {
            QEL_Report(usTlvLen);
            return QEL_ERR_FAILED;
        }
        pstNonKey->uiKeyType = QEL_LoadBe32(pucValue);
        return QEL_OK;
    case QEL_NGMVPN_NONKEY_TLV_USER_DATA:
        if (usTlvLen != QEL_NGMVPN_USER_DATA_IPV4_LEN && usTlvLen != QEL_NGMVPN_USER_DATA_IPV6_LEN) {
            QEL_Report(usTlvLen);
            return QEL_ERR_FAILED;
        }
        QEL_NGMVPN_TakeUserData_(pucValue, usTlvLen, pstNonKey);
        return QEL_OK;
    case QEL_NGMVPN_NONKEY_TLV_EMBEDDED_KEY:
        QEL_Copy(pstNonKey->aucEmbeddedKey, sizeof(pstNonKey->aucEmbeddedKey), pucValue,
                 usTlvLen < QEL_NGMVPN_EMBEDDED_KEY_LEN ? usTlvLen : QEL_NGMVPN_EMBEDDED_KEY_LEN);
        return QEL_OK;
    case QEL_NGMVPN_NONKEY_TLV_RD:
        /* kept: eight bytes whatever the length says; senders of shorter ones exist, and their RD is the next bytes' */
        QEL_Copy(&pstNonKey->stRd, sizeof(pstNonKey->stRd), pucValue, sizeof(pstNonKey->stRd));
        return QEL_OK;
    default:
        return QEL_ERR_FAILED;
    }
}

/* The long form of the message. kept: its count of bytes is only asked not to be 0, and its flags are believed whatever
 * sub-TLVs follow; older senders fill both in their own way */
static uint32_t QEL_NGMVPN_TakeNonKey_(const uint8_t *pucData, uint32_t uiLen, QEL_NGMVPN_NONKEY_S *pstNonKey)
{
    const uint8_t *pucCursor = pucData;
    const QEL_NGMVPN_TLV_S stHeader = QEL_NGMVPN_TakeTlv_(&pucCursor);
    pstNonKey->usFlags = stHeader.usTlvType;
    if (QEL_Zero(stHeader.usTlvLen)) {
        return QEL_ERR_FAILED;
    }
    uint32_t uiRemain = uiLen - QEL_NGMVPN_TLV_HEADER_LEN;
    while (uiRemain >= QEL_NGMVPN_TLV_HEADER_LEN) {
        const QEL_NGMVPN_TLV_S stTlv = QEL_NGMVPN_TakeTlv_(&pucCursor);
        const uint32_t uiSize = QEL_NGMVPN_TLV_HEADER_LEN + stTlv.usTlvLen;
        if (uiSize > uiRemain) {
            QEL_Report(uiSize);
            return QEL_ERR_FAILED;
        }
        const uint32_t uiRet = QEL_NGMVPN_TakeNonKeyTlv_(pucCursor, &stTlv, pstNonKey);
        if (uiRet != QEL_OK) {
            return uiRet;
        }
        pucCursor += stTlv.usTlvLen;
        uiRemain -= uiSize;
    }
    return QEL_OK;
}

/* A block of the non-key alone. */
static uint32_t QEL_NGMVPN_OutputNonKeyAlone_(const QEL_NGMVPN_NONKEY_S *pstNonKey, QEL_ROUTE_BLOCK_S **ppstResult,
                                              const QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.uiNonKeyLen = sizeof(*pstNonKey);
    stView.pucNonKey = QEL_Bytes(pstNonKey);
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

uint32_t QEL_NGMVPN_ParseRtNonKeyTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                     QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_NONKEY_S stNonKey = {};
    if (uiLen == 1) {
        stNonKey.usFlags = QEL_NGMVPN_NONKEY_TYPE;
        stNonKey.uiKeyType = pucData[0];
    } else if (uiLen < QEL_NGMVPN_TLV_HEADER_LEN) {
        return QEL_ERR_FAILED;
    } else {
        const uint32_t uiRet = QEL_NGMVPN_TakeNonKey_(pucData, uiLen, &stNonKey);
        if (uiRet != QEL_OK) {
            return uiRet;
        }
    }
    return QEL_NGMVPN_OutputNonKeyAlone_(&stNonKey, ppstResult, pstCtx);
}

/* Non-keys: writing. */

/* The header of a sub-TLV and its value's place; null: no room. *puiRemain, the room at the cursor, goes down by both.
 */
static uint8_t *QEL_NGMVPN_BeginNonKeyTlv_(uint8_t **ppucCursor, uint32_t *puiRemain, uint16_t usTlvType,
                                           uint16_t usTlvLen)
{
    const uint32_t uiSize = QEL_NGMVPN_TLV_HEADER_LEN + usTlvLen;
    if (*puiRemain < uiSize) {
        return nullptr;
    }
    QEL_NGMVPN_PutTlv_(ppucCursor, usTlvType, usTlvLen);
    uint8_t *pucValue = *ppucCursor;
    *ppucCursor += usTlvLen;
    *puiRemain -= uiSize;
    return pucValue;
}

static uint32_t QEL_NGMVPN_PutKeyType_(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, uint8_t **ppucCursor,
                                       uint32_t *puiRemain)
{
    uint8_t *pucValue =
        QEL_NGMVPN_BeginNonKeyTlv_(ppucCursor, puiRemain, QEL_NGMVPN_NONKEY_TLV_TYPE, sizeof(pstNonKey->uiKeyType));
    if (pucValue == nullptr) {
        return QEL_ERR_SPACE;
    }
    QEL_StoreBe32(pucValue, pstNonKey->uiKeyType);
    return QEL_OK;
}

static uint32_t QEL_NGMVPN_PutUserData_(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, uint8_t **ppucCursor,
                                        uint32_t *puiRemain)
{
    const bool bIpv4 = pstNonKey->usUserAddrLen == 4;
    uint8_t *pucValue =
        QEL_NGMVPN_BeginNonKeyTlv_(ppucCursor, puiRemain, QEL_NGMVPN_NONKEY_TLV_USER_DATA,
                                   bIpv4 ? QEL_NGMVPN_USER_DATA_IPV4_LEN : QEL_NGMVPN_USER_DATA_IPV6_LEN);
    if (pucValue == nullptr) {
        return QEL_ERR_SPACE;
    }
    if (bIpv4) {
        QEL_StoreBe32(pucValue, pstNonKey->stUserAddr.uiIpv4);
    } else {
        /* kept: the four bytes at the front keep what the buffer held; readers do not look at them */
        QEL_NGMVPN_SwapWords_(pucValue + 8, pstNonKey->stUserAddr.aucIpv6);
    }
    QEL_StoreBe32(pucValue + 4, pstNonKey->uiUserValue);
    return QEL_OK;
}

/* A field as it stands. */
static uint32_t QEL_NGMVPN_PutField_(uint16_t usTlvType, const void *pvField, uint16_t usLen, uint8_t **ppucCursor,
                                     uint32_t *puiRemain)
{
    uint8_t *pucValue = QEL_NGMVPN_BeginNonKeyTlv_(ppucCursor, puiRemain, usTlvType, usLen);
    if (pucValue == nullptr) {
        return QEL_ERR_SPACE;
    }
    QEL_Copy(pucValue, usLen, pvField, usLen);
    return QEL_OK;
}

/* Step: the sub-TLVs of the fields that are valid, in the order of their bits. */
static uint32_t QEL_NGMVPN_PutNonKeyTlvs_(const QEL_NGMVPN_NONKEY_AT_S *pstNonKey, uint8_t **ppucCursor,
                                          uint32_t uiRemain)
{
    const uint16_t usFlags = pstNonKey->usFlags;
    uint32_t uiRet = QEL_OK;
    if ((usFlags & QEL_NGMVPN_NONKEY_TYPE) != 0) {
        uiRet = QEL_NGMVPN_PutKeyType_(pstNonKey, ppucCursor, &uiRemain);
    }
    if (uiRet == QEL_OK && (usFlags & QEL_NGMVPN_NONKEY_USER_DATA) != 0) {
        uiRet = QEL_NGMVPN_PutUserData_(pstNonKey, ppucCursor, &uiRemain);
    }
    if (uiRet == QEL_OK && (usFlags & QEL_NGMVPN_NONKEY_EMBEDDED_KEY) != 0) {
        uiRet = QEL_NGMVPN_PutField_(QEL_NGMVPN_NONKEY_TLV_EMBEDDED_KEY, pstNonKey->aucEmbeddedKey,
                                     sizeof(pstNonKey->aucEmbeddedKey), ppucCursor, &uiRemain);
    }
    if (uiRet == QEL_OK && (usFlags & QEL_NGMVPN_NONKEY_RD) != 0) {
        /* kept: the RD travels in host order, unlike everything around it; both ends are the same router */
        uiRet = QEL_NGMVPN_PutField_(QEL_NGMVPN_NONKEY_TLV_RD, &pstNonKey->stRd, sizeof(pstNonKey->stRd), ppucCursor,
                                     &uiRemain);
    }
    return uiRet;
}

uint32_t QEL_NGMVPN_FormatRtNonKeyTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiOutLen,
                                      QEL_FAMILY_CTX_S * /* pstCtx */)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    /* kept: the pointer alone tells, the section's bit is not asked as elsewhere; hosts send half-built routes here */
    if (pstRoute->pucNonKey == nullptr) {
        return QEL_OK;
    }
    if (uiOutLen < QEL_NGMVPN_TLV_HEADER_LEN) {
        return QEL_ERR_SPACE;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = reinterpret_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pstRoute->pucNonKey);
    uint8_t *pucHeader = *ppucCursor;
    QEL_StoreBe16(pucHeader, pstNonKey->usFlags);
    uint8_t *pucTlvs = pucHeader + QEL_NGMVPN_TLV_HEADER_LEN;
    uint8_t *pucLocal = pucTlvs;
    const uint32_t uiRet = QEL_NGMVPN_PutNonKeyTlvs_(pstNonKey, &pucLocal, uiOutLen - QEL_NGMVPN_TLV_HEADER_LEN);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_StoreBe16(pucHeader + 2, static_cast<uint16_t>(pucLocal - pucTlvs));
    *ppucCursor = pucLocal;
    return QEL_OK;
}

/* What another component adds to a route that is there already. */

/* kept: RD and user data that the route had are not taken over, and the length is not looked at; the other component
 * sends whole records */
uint32_t QEL_NGMVPN_ParseNonkeyTlv(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t /* uiLen */,
                                   QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstOld = QEL_NGMVPN_TypedNonKeyOf_(pstRoute);
    if (pstOld == nullptr) {
        return QEL_OK;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstAdded = reinterpret_cast<const QEL_NGMVPN_NONKEY_AT_S *>(pucData);
    QEL_NGMVPN_NONKEY_S stNew = {};
    stNew.usFlags = QEL_NGMVPN_NONKEY_TYPE;
    stNew.uiKeyType = pstOld->uiKeyType;
    if ((pstOld->usFlags & QEL_NGMVPN_NONKEY_EMBEDDED_KEY) != 0) {
        stNew.usFlags |= QEL_NGMVPN_NONKEY_EMBEDDED_KEY;
        QEL_Copy(stNew.aucEmbeddedKey, sizeof(stNew.aucEmbeddedKey), pstOld->aucEmbeddedKey,
                 sizeof(stNew.aucEmbeddedKey));
    }
    if ((pstAdded->usFlags & QEL_NGMVPN_NONKEY_USER_DATA) != 0) {
        /* kept: the address comes without its length; the host knows it from the message that it made this of */
        stNew.usFlags |= QEL_NGMVPN_NONKEY_USER_DATA;
        QEL_Copy(&stNew.stUserAddr, sizeof(stNew.stUserAddr), pstAdded->stUserAddr.aucIpv6, sizeof(stNew.stUserAddr));
        stNew.uiUserValue = pstAdded->uiUserValue;
    }
    if ((pstAdded->usFlags & QEL_NGMVPN_NONKEY_RD) != 0) {
        stNew.usFlags |= QEL_NGMVPN_NONKEY_RD;
        stNew.stRd = pstAdded->stRd;
    }
    return QEL_NGMVPN_OutputNonKeyAlone_(&stNew, ppstResult, pstCtx);
}

/* Step: both lists behind each other in a cleared buffer of usTotal bytes. Lists that do not fit 16 bits together are
 * reported and left out. */
static void QEL_NGMVPN_JoinLists_(uint8_t *pucWork, uint16_t usTotal, const uint8_t *pucOld, uint32_t uiOldLen,
                                  const uint8_t *pucAdded, uint32_t uiAddedLen)
{
    const uint32_t uiAt = uiOldLen < usTotal ? uiOldLen : usTotal;
    if (uiOldLen != 0) {
        QEL_Copy(pucWork, usTotal, pucOld, uiOldLen);
    }
    if (uiAddedLen != 0) {
        QEL_Copy(pucWork + uiAt, usTotal - uiAt, pucAdded, uiAddedLen);
    }
}

/* Step: the joined list, cleaned up, as a block. kept: nothing is swapped, unlike in a message from a peer; both lists
 * are in host order already */
static uint32_t QEL_NGMVPN_OutputJoined_(uint8_t *pucWork, uint16_t usTotal, QEL_ROUTE_BLOCK_S **ppstResult,
                                         QEL_FAMILY_CTX_S *pstCtx)
{
    auto usCount = static_cast<uint16_t>(usTotal / sizeof(QEL_EXTCOMM_S));
    const uint32_t uiRet = QEL_NGMVPN_CleanupExtCommunity(reinterpret_cast<QEL_EXTCOMM_S *>(pucWork), &usCount, pstCtx);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_ROUTE_VIEW_S stView = {};
    stView.ucAttrFlag = QEL_ATTR_FLAG_EXTCOMM;
    stView.ucAttrType = QEL_ATTR_TYPE_EXTCOMM;
    stView.usAttrLen = static_cast<uint16_t>(usCount * sizeof(QEL_EXTCOMM_S));
    stView.pucAttr = pucWork;
    return QEL_NGMVPN_OutputData(ppstResult, &stView, pstCtx->uiMemHandle);
}

/* Whether routes of that key type take on communities of another component. kept: the others go out all the same, with
 * their own list cleaned; the host waits for a block */
static bool QEL_NGMVPN_TakesCommunities_(uint32_t uiKeyType)
{
    return uiKeyType != QEL_NGMVPN_KEY_IPMSI_LEAF_AD && uiKeyType != QEL_NGMVPN_KEY_SPMSI_LEAF_AD &&
           uiKeyType != QEL_NGMVPN_KEY_SHARED_TREE_JOIN && uiKeyType != QEL_NGMVPN_KEY_SOURCE_TREE_JOIN;
}

uint32_t QEL_NGMVPN_ParseAddAttrTlv(const QEL_ROUTE_INFO_S *pstRoute, const uint8_t *pucData, uint32_t uiLen,
                                    QEL_ROUTE_BLOCK_S **ppstResult, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    const QEL_NGMVPN_NONKEY_AT_S *pstNonKey = QEL_NGMVPN_TypedNonKeyOf_(pstRoute);
    if (pstNonKey == nullptr) {
        return QEL_OK;
    }
    const uint32_t uiOldLen = pstRoute->pucExtComm != nullptr ? pstRoute->uiExtCommLen : 0;
    const uint32_t uiAddedLen = QEL_NGMVPN_TakesCommunities_(pstNonKey->uiKeyType) ? uiLen : 0;
    /* kept: the sum goes round at 16 bits; an attribute has no more */
    const auto usTotal = static_cast<uint16_t>(uiOldLen + uiAddedLen);
    if (usTotal == 0) {
        return QEL_OK;
    }
    /* kept: less than one element comes out of the clean-up as one; the octets that it lacks are zero */
    const uint32_t uiRoom = usTotal < sizeof(QEL_EXTCOMM_S) ? static_cast<uint32_t>(sizeof(QEL_EXTCOMM_S)) : usTotal;
    auto *pucWork = static_cast<uint8_t *>(ZVK_SimpleAlloc_F(pstCtx->uiMemHandle, uiRoom, __FILE__, __LINE__));
    if (QEL_Missing(pucWork)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pucWork, uiRoom, uiRoom);
    QEL_NGMVPN_JoinLists_(pucWork, usTotal, pstRoute->pucExtComm, uiOldLen, pucData, uiAddedLen);
    const uint32_t uiRet = QEL_NGMVPN_OutputJoined_(pucWork, usTotal, ppstResult, pstCtx);
    ZVK_Free_F(pucWork, __FILE__, __LINE__);
    return uiRet;
}
