#include "qel_ngmvpn_segment_importattr.h"

#include "platform/bounds.h"
#include "qel_byteorder.h"
#include "qel_check.h"
#include "qel_ngmvpn_attribute_msg.h"
#include "qel_ngmvpn_attribute_pkt.h"
#include "qel_ngmvpn_segment_parsemsg.h"
#include "qel_ngmvpn_util.h"

#include <cstddef>
#include <cstdint>

QEL_AT_ANY_ADDRESS(QEL_NGMVPN_SEG_ATTR_S, QEL_NGMVPN_SEG_ATTR_AT_S);

/* Places in the value, from its start; those of a key type in the order of its fields. */
static constexpr uint32_t QEL_NGMVPN_AT_KEY_AREA = 4;
static constexpr uint32_t QEL_NGMVPN_AT_INTRA_ORIG = 4;
static constexpr uint32_t QEL_NGMVPN_AT_SRC_LEN = 4;
static constexpr uint32_t QEL_NGMVPN_AT_SRC = 8;
static constexpr uint32_t QEL_NGMVPN_AT_GRP_LEN = 24;
static constexpr uint32_t QEL_NGMVPN_AT_KEY_FAMILY = 27;
static constexpr uint32_t QEL_NGMVPN_AT_GRP = 28;
static constexpr uint32_t QEL_NGMVPN_AT_SPMSI_ORIG = 44;
static constexpr uint32_t QEL_NGMVPN_AT_RD = 92;
static_assert(QEL_NGMVPN_AT_RD + sizeof(QEL_RD_VALUE_S) == QEL_NGMVPN_IMPORT_VALUE_KEY_LEN);

/* Places in the head of one set of attributes, from its own start. */
static constexpr uint32_t QEL_NGMVPN_AT_SEG_SNH = 4;
static constexpr uint32_t QEL_NGMVPN_AT_SEG_PMSI_OFFSET = 12;
static constexpr uint32_t QEL_NGMVPN_AT_SEG_PMSI_LEN = 14;
static constexpr uint32_t QEL_NGMVPN_SEG_HEAD_LEN = 16;

static constexpr uint32_t QEL_NGMVPN_POLICY_WORD_LEN = 4;
/* Key and policy id: the key's functions refuse anything shorter. */
static constexpr uint32_t QEL_NGMVPN_LEAST_LEN = QEL_NGMVPN_IMPORT_VALUE_KEY_LEN + QEL_NGMVPN_POLICY_WORD_LEN;

static constexpr uint32_t QEL_NGMVPN_RSVP_TE_WIRE_LEN = 17;
static constexpr uint32_t QEL_NGMVPN_MLDP_WIRE_BASE = 15;
static constexpr uint32_t QEL_NGMVPN_BIER_IPV4_WIRE_LEN = 12;
static constexpr uint32_t QEL_NGMVPN_BIER_IPV6_WIRE_LEN = 24;
static constexpr uint8_t QEL_NGMVPN_BFR_PREFIX_IPV4 = 4;

/* ---- writing ---- */

/* The RD at the end of the key area, on which the cursor stands; it moves behind the RD. */
static void QEL_NGMVPN_PutKeyAreaRd_(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr, uint8_t **ppucCursor)
{
    uint8_t *pucRd = *ppucCursor + (QEL_NGMVPN_AT_RD - QEL_NGMVPN_AT_KEY_AREA);
    QEL_Copy(pucRd, sizeof(QEL_RD_VALUE_S), &pstAttr->stKey.stRd, sizeof(QEL_RD_VALUE_S));
    QEL_NGMVPN_ConvertRDValueHTON(reinterpret_cast<QEL_RD_VALUE_S *>(pucRd));
    *ppucCursor = pucRd + sizeof(QEL_RD_VALUE_S);
}

/* kept: four words in network order whatever the family, so that an IPv6 address, which the record holds as the wire
 * has it, goes out turned; the reader turns it back */
static void QEL_NGMVPN_PutAddrWords_(uint8_t *pucTo, const QEL_ADDR_AT_S *pstAddr)
{
    const uint8_t *pucFrom = QEL_Bytes(pstAddr);
    for (uint32_t i = 0; i < sizeof(QEL_ADDR_S); i += sizeof(uint32_t)) {
        QEL_StoreBe32(pucTo + i, QEL_Load32(pucFrom + i));
    }
}

static void QEL_NGMVPN_TakeAddrWords_(QEL_ADDR_S *pstAddr, const uint8_t *pucFrom)
{
    for (uint32_t i = 0; i < sizeof(QEL_ADDR_S); i += sizeof(uint32_t)) {
        QEL_Store32(&pstAddr->aucIpv6[i], QEL_LoadBe32(pucFrom + i));
    }
}

/* kept: an IPv6 originator is refused; the value has four octets for it, and the far end reads four */
static bool QEL_NGMVPN_IsIpv4Originator_(uint8_t ucOrigAddrLen)
{
    if (ucOrigAddrLen == QEL_NGMVPN_ADDR_LEN_IPV4) {
        return true;
    }
    QEL_Report(ucOrigAddrLen);
    return false;
}

uint32_t QEL_NGMVPN_FormatImportAttrNlriIntraIpmsiAd_(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr, uint8_t **ppucCursor)
{
    if (!QEL_NGMVPN_IsIpv4Originator_(pstAttr->stKey.uKey.stIntraIpmsiAd.ucOrigAddrLen)) {
        return QEL_ERR_FAILED;
    }
    uint8_t *pucValue = *ppucCursor - QEL_NGMVPN_AT_KEY_AREA;
    QEL_StoreBe32(pucValue + QEL_NGMVPN_AT_INTRA_ORIG, pstAttr->stKey.uKey.stIntraIpmsiAd.stOrigAddr.uiIpv4);
    QEL_NGMVPN_PutKeyAreaRd_(pstAttr, ppucCursor);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatImportAttrNlriSpmsiAd_(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr, uint8_t **ppucCursor)
{
    if (!QEL_NGMVPN_IsIpv4Originator_(pstAttr->stKey.uKey.stSpmsiAd.ucOrigAddrLen)) {
        return QEL_ERR_FAILED;
    }
    uint8_t *pucValue = *ppucCursor - QEL_NGMVPN_AT_KEY_AREA;
    pucValue[QEL_NGMVPN_AT_SRC_LEN] = pstAttr->stKey.uKey.stSpmsiAd.ucSrcAddrLen;
    QEL_NGMVPN_PutAddrWords_(pucValue + QEL_NGMVPN_AT_SRC, &pstAttr->stKey.uKey.stSpmsiAd.stSrcAddr);
    pucValue[QEL_NGMVPN_AT_GRP_LEN] = pstAttr->stKey.uKey.stSpmsiAd.ucGrpAddrLen;
    pucValue[QEL_NGMVPN_AT_KEY_FAMILY] = pstAttr->stKey.uKey.stSpmsiAd.ucKeyAddrFamily;
    QEL_NGMVPN_PutAddrWords_(pucValue + QEL_NGMVPN_AT_GRP, &pstAttr->stKey.uKey.stSpmsiAd.stGrpAddr);
    QEL_StoreBe32(pucValue + QEL_NGMVPN_AT_SPMSI_ORIG, pstAttr->stKey.uKey.stSpmsiAd.stOrigAddr.uiIpv4);
    QEL_NGMVPN_PutKeyAreaRd_(pstAttr, ppucCursor);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatImportAttrNlri(const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr, uint8_t **ppucCursor,
                                         uint32_t uiMaxLen, QEL_FAMILY_CTX_S * /* pstCtx */)
{
    /* kept: 104 octets asked for and 100 taken, in the reader too, which has the code of a short room for a short value
     */
    if (uiMaxLen < QEL_NGMVPN_LEAST_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucCursor = *ppucCursor;
    QEL_StoreBe32(pucCursor, pstAttr->stKey.uiKeyType);
    pucCursor += QEL_NGMVPN_AT_KEY_AREA;
    uint32_t uiRet = QEL_ERR_VALUE;
    if (pstAttr->stKey.uiKeyType == QEL_NGMVPN_KEY_INTRA_IPMSI_AD) {
        uiRet = QEL_NGMVPN_FormatImportAttrNlriIntraIpmsiAd_(pstAttr, &pucCursor);
    } else if (pstAttr->stKey.uiKeyType == QEL_NGMVPN_KEY_SPMSI_AD) {
        uiRet = QEL_NGMVPN_FormatImportAttrNlriSpmsiAd_(pstAttr, &pucCursor);
    }
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *ppucCursor = pucCursor;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatPmsiRsvpTeImportAttr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstPmsi, uint8_t **ppucCursor,
                                               uint32_t uiMaxLen)
{
    if (uiMaxLen < QEL_NGMVPN_RSVP_TE_WIRE_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_NGMVPN_FormatPmsiTnlRsvpTe_(ppucCursor, pstPmsi);
    return QEL_OK;
}

uint32_t QEL_NGMVPN_FormatPmsiLdpImportAttr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstPmsi, uint32_t uiPmsiLen,
                                            uint8_t **ppucCursor, uint32_t uiMaxLen)
{
    if (uiMaxLen < QEL_NGMVPN_MLDP_WIRE_BASE + pstPmsi->uTnl.stMldp.usOpaqueLen) {
        return QEL_ERR_SPACE;
    }
    return QEL_NGMVPN_FormatPmsiTnlMldp_(ppucCursor, pstPmsi, uiPmsiLen);
}

uint32_t QEL_NGMVPN_FormatPmsiBierImportAttr(const QEL_NGMVPN_PMSI_TNL_AT_S *pstPmsi, uint8_t **ppucCursor,
                                             uint32_t uiMaxLen)
{
    const uint32_t uiNeed = pstPmsi->uTnl.stBier.ucBfrPrefixLen == QEL_NGMVPN_BFR_PREFIX_IPV4
                                ? QEL_NGMVPN_BIER_IPV4_WIRE_LEN
                                : QEL_NGMVPN_BIER_IPV6_WIRE_LEN;
    if (uiMaxLen < uiNeed) {
        return QEL_ERR_SPACE;
    }
    (void)QEL_NGMVPN_FormatPmsiTnlBier_(ppucCursor, pstPmsi);
    return QEL_OK;
}

static uint32_t QEL_NGMVPN_PutImportTnlIdentifier_(const QEL_NGMVPN_PMSI_TNL_AT_S *pstPmsi, uint32_t uiPmsiLen,
                                                   uint8_t **ppucCursor, uint32_t uiMaxLen)
{
    switch (pstPmsi->ucTnlType) {
    case QEL_NGMVPN_TNL_MLDP_P2MP:
        return QEL_NGMVPN_FormatPmsiLdpImportAttr(pstPmsi, uiPmsiLen, ppucCursor, uiMaxLen);
    case QEL_NGMVPN_TNL_BIER:
        return QEL_NGMVPN_FormatPmsiBierImportAttr(pstPmsi, ppucCursor, uiMaxLen);
    case QEL_NGMVPN_TNL_RSVP_TE_P2MP:
        return QEL_NGMVPN_FormatPmsiRsvpTeImportAttr(pstPmsi, ppucCursor, uiMaxLen);
    default:
        QEL_Report(pstPmsi->ucTnlType);
        return QEL_ERR_FAILED;
    }
}

uint32_t QEL_NGMVPN_FormatImportAttrPmsi(const QEL_NGMVPN_PMSI_TNL_AT_S *pstPmsi, uint32_t uiPmsiLen,
                                         uint8_t **ppucCursor, uint32_t uiMaxLen)
{
    if (QEL_Missing(pstPmsi) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    if (uiMaxLen < QEL_NGMVPN_PMSI_HEADER_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucCursor = *ppucCursor;
    QEL_NGMVPN_FormatPmsiTnlHeader_(&pucCursor, pstPmsi);
    const uint32_t uiRet = QEL_NGMVPN_PutImportTnlIdentifier_(pstPmsi, uiPmsiLen, &pucCursor, uiMaxLen);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *ppucCursor = pucCursor;
    return QEL_OK;
}

/* The value while it is written. */
typedef struct {
    const uint8_t *pucStart;
    uint8_t *pucCursor;
    uint32_t uiMaxLen;
    QEL_FAMILY_CTX_S *pstCtx;
} QEL_NGMVPN_IMPORT_WRITER_S;

static uint32_t QEL_NGMVPN_Written_(const QEL_NGMVPN_IMPORT_WRITER_S *pstWriter)
{
    return static_cast<uint32_t>(pstWriter->pucCursor - pstWriter->pucStart);
}

static uint32_t QEL_NGMVPN_RoomLeft_(const QEL_NGMVPN_IMPORT_WRITER_S *pstWriter)
{
    return pstWriter->uiMaxLen - QEL_NGMVPN_Written_(pstWriter);
}

/* Key, policy id, policy info. */
static uint32_t QEL_NGMVPN_PutImportKey_(QEL_NGMVPN_IMPORT_WRITER_S *pstWriter,
                                         const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr)
{
    uint32_t uiRet =
        QEL_NGMVPN_FormatImportAttrNlri(pstAttr, &pstWriter->pucCursor, pstWriter->uiMaxLen, pstWriter->pstCtx);
    if (uiRet != QEL_OK) {
        /* kept: another function's name, here and in the reader; operators search their logs for the words as they are
         */
        QEL_NGMVPN_Debug(pstWriter->pstCtx, __LINE__,
                         "QEL_NGMVPN_FormatImportAttrTlv failed, because FormatMcImportRouteNlri %d", uiRet);
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstWriter->pstCtx, __LINE__, "QEL_NGMVPN_FormatImportAttrTlv: nlri(%d).",
                     QEL_NGMVPN_Written_(pstWriter));
    if (QEL_NGMVPN_RoomLeft_(pstWriter) < QEL_NGMVPN_POLICY_WORD_LEN) {
        return QEL_ERR_SPACE;
    }
    QEL_StoreBe32(pstWriter->pucCursor, pstAttr->uiPolicyId);
    pstWriter->pucCursor += QEL_NGMVPN_POLICY_WORD_LEN;
    uiRet = QEL_NGMVPN_FormatPlyInfoTlv(&pstAttr->stPlyInfo, &pstWriter->pucCursor, QEL_NGMVPN_RoomLeft_(pstWriter),
                                        pstWriter->pstCtx);
    if (uiRet != QEL_OK) {
        QEL_NGMVPN_Debug(pstWriter->pstCtx, __LINE__,
                         "QEL_NGMVPN_FormatImportAttrTlv failed, because FormatPlyInfoTlv %d", uiRet);
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstWriter->pstCtx, __LINE__, "QEL_NGMVPN_FormatImportAttrTlv: plyInfo(%d).",
                     QEL_NGMVPN_Written_(pstWriter));
    return QEL_OK;
}

/* The head of one set; its name is the log's. */
static uint32_t QEL_NGMVPN_PutSegHead_(QEL_NGMVPN_IMPORT_WRITER_S *pstWriter, const QEL_NGMVPN_SEG_ATTR_AT_S *pstSeg,
                                       const char *pszName)
{
    if (QEL_NGMVPN_RoomLeft_(pstWriter) < QEL_NGMVPN_SEG_HEAD_LEN) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucHead = pstWriter->pucCursor;
    /* kept: one octet of the flags, and the three behind it stay as the buffer holds them; the reader skips them */
    pucHead[0] = static_cast<uint8_t>(pstSeg->uiAttrFlag);
    uint8_t *pucSnh = pucHead + QEL_NGMVPN_AT_SEG_SNH;
    QEL_Copy(pucSnh, QEL_NGMVPN_SNH_LEN, pstSeg->aucSnh, QEL_NGMVPN_SNH_LEN);
    QEL_NGMVPN_ConvertExtCommunityHTON(reinterpret_cast<QEL_EXTCOMM_S *>(pucSnh), 1);
    QEL_StoreBe16(pucHead + QEL_NGMVPN_AT_SEG_PMSI_OFFSET, pstSeg->usPmsiOffset);
    QEL_StoreBe16(pucHead + QEL_NGMVPN_AT_SEG_PMSI_LEN, pstSeg->usPmsiLen);
    pstWriter->pucCursor += QEL_NGMVPN_SEG_HEAD_LEN;
    QEL_NGMVPN_Debug(pstWriter->pstCtx, __LINE__, "QEL_NGMVPN_FormatImportAttrTlv: %s attr(%d).", pszName,
                     QEL_NGMVPN_Written_(pstWriter));
    return QEL_OK;
}

/* The tunnel of one set as a TLV of that type, if the set has one. */
static uint32_t QEL_NGMVPN_PutSegPmsi_(QEL_NGMVPN_IMPORT_WRITER_S *pstWriter, const QEL_ROUTE_INFO_S *pstRoute,
                                       const QEL_NGMVPN_SEG_ATTR_AT_S *pstSeg, uint16_t usTlvType, const char *pszName)
{
    if (pstSeg->usPmsiLen == 0) {
        return QEL_OK;
    }
    if (pstSeg->usPmsiLen + QEL_NGMVPN_TLV_HEADER_LEN > QEL_NGMVPN_RoomLeft_(pstWriter)) {
        return QEL_ERR_SPACE;
    }
    uint8_t *pucHeader = pstWriter->pucCursor;
    QEL_StoreBe16(pucHeader, usTlvType);
    pstWriter->pucCursor += QEL_NGMVPN_TLV_HEADER_LEN;
    const uint32_t uiRoom = QEL_NGMVPN_RoomLeft_(pstWriter);
    uint32_t uiRet = QEL_OK;
    if (usTlvType == QEL_NGMVPN_TLV_ORIG_PMSI) {
        uiRet = QEL_NGMVPN_FormatPmsiTnlTlv(pstRoute, &pstWriter->pucCursor, uiRoom, pstWriter->pstCtx);
    } else {
        const uint8_t *pucPmsi =
            QEL_Bytes(pstRoute->pstImportAttr) + QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN + pstSeg->usPmsiOffset;
        uiRet = QEL_NGMVPN_FormatImportAttrPmsi(reinterpret_cast<const QEL_NGMVPN_PMSI_TNL_AT_S *>(pucPmsi),
                                                pstSeg->usPmsiLen, &pstWriter->pucCursor, uiRoom);
    }
    if (uiRet != QEL_OK) {
        /* kept: one name for both writers; operators search their logs for the words as they are */
        QEL_NGMVPN_Debug(pstWriter->pstCtx, __LINE__,
                         "QEL_NGMVPN_FormatImportAttrTlv failed, because FormatPmsiTnlTlv %d", uiRet);
        return uiRet;
    }
    const auto lLen = pstWriter->pucCursor - pucHeader - static_cast<ptrdiff_t>(QEL_NGMVPN_TLV_HEADER_LEN);
    QEL_StoreBe16(pucHeader + sizeof(usTlvType), static_cast<uint16_t>(lLen));
    QEL_NGMVPN_Debug(pstWriter->pstCtx, __LINE__, "QEL_NGMVPN_FormatImportAttrTlv: %s pmsi(%d).", pszName,
                     QEL_NGMVPN_Written_(pstWriter));
    return QEL_OK;
}

static uint32_t QEL_NGMVPN_PutImportAttr_(QEL_NGMVPN_IMPORT_WRITER_S *pstWriter, const QEL_ROUTE_INFO_S *pstRoute)
{
    const QEL_NGMVPN_IMPORT_ATTR_AT_S *pstAttr = pstRoute->pstImportAttr;
    uint32_t uiRet = QEL_NGMVPN_PutImportKey_(pstWriter, pstAttr);
    if (uiRet == QEL_OK) {
        uiRet = QEL_NGMVPN_PutSegHead_(pstWriter, &pstAttr->stOriginalAttr, "orgi");
    }
    if (uiRet == QEL_OK) {
        uiRet = QEL_NGMVPN_PutSegHead_(pstWriter, &pstAttr->stReplacedAttr, "replace");
    }
    if (uiRet == QEL_OK) {
        uiRet = QEL_NGMVPN_PutSegPmsi_(pstWriter, pstRoute, &pstAttr->stOriginalAttr, QEL_NGMVPN_TLV_ORIG_PMSI, "orgi");
    }
    if (uiRet == QEL_OK) {
        uiRet = QEL_NGMVPN_PutSegPmsi_(pstWriter, pstRoute, &pstAttr->stReplacedAttr, QEL_NGMVPN_TLV_PMSI, "replace");
    }
    return uiRet;
}

uint32_t QEL_NGMVPN_FormatImportAttrTlv(const QEL_ROUTE_INFO_S *pstRoute, uint8_t **ppucCursor, uint32_t uiMaxLen,
                                        QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pstRoute) || QEL_Missing(pstRoute->pstImportAttr) || QEL_Missing(ppucCursor)) {
        return QEL_ERR_NULL;
    }
    /* kept: without a non-key nothing is written, though none of it is; hosts mark routes that have no message so */
    if (pstRoute->pucNonKey == nullptr) {
        return QEL_OK;
    }
    /* kept: the words of these logs as they are ("ipmort", "orgi", "formate"); operators search for them */
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatImportAttrTlv: input ipmort_pmsi");
    /* kept: the record's length, not the value's, has to fit; hosts offer more than either */
    if (pstRoute->uiImportAttrLen > uiMaxLen) {
        return QEL_ERR_SPACE;
    }
    QEL_NGMVPN_IMPORT_WRITER_S stWriter = {*ppucCursor, *ppucCursor, uiMaxLen, pstCtx};
    const uint32_t uiRet = QEL_NGMVPN_PutImportAttr_(&stWriter, pstRoute);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    *ppucCursor = stWriter.pucCursor;
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatImportAttrTlv: formate len(%d).",
                     QEL_NGMVPN_Written_(&stWriter));
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_FormatImportAttrTlv: format result");
    return QEL_OK;
}

/* ---- reading ---- */

uint32_t QEL_NGMVPN_ParseImportAttrNlri(const uint8_t **ppucCursor, uint32_t uiLen, QEL_NGMVPN_IMPORT_ATTR_S *pstAttr,
                                        QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(pstAttr) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (uiLen < QEL_NGMVPN_LEAST_LEN) {
        return QEL_ERR_SPACE;
    }
    const uint8_t *pucValue = *ppucCursor;
    QEL_NGMVPN_KEY_S *pstKey = &pstAttr->stKey;
    pstKey->uiKeyType = QEL_LoadBe32(pucValue);
    if (pstKey->uiKeyType == QEL_NGMVPN_KEY_INTRA_IPMSI_AD) {
        pstKey->uKey.stIntraIpmsiAd.ucOrigAddrLen = QEL_NGMVPN_ADDR_LEN_IPV4;
        pstKey->uKey.stIntraIpmsiAd.stOrigAddr.uiIpv4 = QEL_LoadBe32(pucValue + QEL_NGMVPN_AT_INTRA_ORIG);
    } else if (pstKey->uiKeyType == QEL_NGMVPN_KEY_SPMSI_AD) {
        pstKey->uKey.stSpmsiAd.ucSrcAddrLen = pucValue[QEL_NGMVPN_AT_SRC_LEN];
        QEL_NGMVPN_TakeAddrWords_(&pstKey->uKey.stSpmsiAd.stSrcAddr, pucValue + QEL_NGMVPN_AT_SRC);
        pstKey->uKey.stSpmsiAd.ucGrpAddrLen = pucValue[QEL_NGMVPN_AT_GRP_LEN];
        pstKey->uKey.stSpmsiAd.ucKeyAddrFamily = pucValue[QEL_NGMVPN_AT_KEY_FAMILY];
        QEL_NGMVPN_TakeAddrWords_(&pstKey->uKey.stSpmsiAd.stGrpAddr, pucValue + QEL_NGMVPN_AT_GRP);
        pstKey->uKey.stSpmsiAd.ucOrigAddrLen = QEL_NGMVPN_ADDR_LEN_IPV4;
        pstKey->uKey.stSpmsiAd.stOrigAddr.uiIpv4 = QEL_LoadBe32(pucValue + QEL_NGMVPN_AT_SPMSI_ORIG);
    } else {
        return QEL_ERR_VALUE;
    }
    pstKey->ucRdKind = QEL_NGMVPN_RD_KIND_KEY;
    const uint8_t *pucRd = pucValue + QEL_NGMVPN_AT_RD;
    const uint32_t uiRet = QEL_NGMVPN_ParseBgpRd(&pucRd, &pstKey->stRd, sizeof(pstKey->stRd), pstKey);
    *ppucCursor = pucValue + QEL_NGMVPN_IMPORT_VALUE_KEY_LEN;
    /* kept: not the code that an RD has on the wire, and the cursor behind the key; the host gives the record up */
    return uiRet == QEL_OK ? QEL_OK : QEL_ERR_VALUE;
}

/* Reads the tunnel into the record and copies what a route holds of it. */
static uint32_t QEL_NGMVPN_TakeImportPmsi_(const uint8_t **ppucCursor, uint16_t usTlvLen, QEL_NGMVPN_PMSI_TNL_S *pstTnl,
                                           uint8_t *pucOut, uint16_t *pusOutLen)
{
    uint32_t uiSectionLen = 0;
    const uint8_t *pucCursor = *ppucCursor;
    const uint32_t uiRet = QEL_NGMVPN_ReadPmsiTnl_(&pucCursor, usTlvLen, pstTnl, &uiSectionLen);
    if (uiRet == QEL_ERR_PMSI_FLAGS) {
        return QEL_ERR_IMPORT_PMSI;
    }
    if (uiRet != QEL_OK && uiRet != QEL_ERR_TNL_NOT_CARRIED) {
        return uiRet;
    }
    if (uiRet == QEL_OK) {
        QEL_Copy(pucOut, sizeof(*pstTnl), pstTnl, uiSectionLen);
        *pusOutLen = static_cast<uint16_t>(uiSectionLen);
    }
    /* kept: a tunnel that is not carried is no failure and leaves no length; the caller reports the difference and goes
     * on, so that the record keeps its other half */
    *ppucCursor = pucCursor;
    return QEL_OK;
}

uint32_t QEL_NGMVPN_ParseImportAttrPmsiTnl(const uint8_t **ppucCursor, uint16_t usTlvLen, uint8_t *pucOut,
                                           uint16_t *pusOutLen, QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(ppucCursor) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    if (usTlvLen < QEL_NGMVPN_PMSI_HEADER_LEN) {
        return QEL_ERR_IMPORT_PMSI_LEN;
    }
    void *pvTnl = QEL_NGMVPN_Malloc(pstCtx, sizeof(QEL_NGMVPN_PMSI_TNL_S));
    if (QEL_Missing(pvTnl)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pvTnl, sizeof(QEL_NGMVPN_PMSI_TNL_S), sizeof(QEL_NGMVPN_PMSI_TNL_S));
    const uint32_t uiRet = QEL_NGMVPN_TakeImportPmsi_(ppucCursor, usTlvLen, static_cast<QEL_NGMVPN_PMSI_TNL_S *>(pvTnl),
                                                      pucOut, pusOutLen);
    QEL_NGMVPN_Free(&pvTnl, pstCtx);
    return uiRet;
}

/* The value while it is read. */
typedef struct {
    const uint8_t *pucStart;
    const uint8_t *pucCursor;
    const uint8_t *pucEnd;
    QEL_FAMILY_CTX_S *pstCtx;
} QEL_NGMVPN_IMPORT_READER_S;

static uint32_t QEL_NGMVPN_OctetsLeft_(const QEL_NGMVPN_IMPORT_READER_S *pstReader)
{
    return static_cast<uint32_t>(pstReader->pucEnd - pstReader->pucCursor);
}

static uint32_t QEL_NGMVPN_OctetsRead_(const QEL_NGMVPN_IMPORT_READER_S *pstReader)
{
    return static_cast<uint32_t>(pstReader->pucCursor - pstReader->pucStart);
}

/* True, after a report, if fewer octets than that are left. */
static bool QEL_NGMVPN_IsShort_(const QEL_NGMVPN_IMPORT_READER_S *pstReader, uint32_t uiNeed)
{
    const uint32_t uiLeft = QEL_NGMVPN_OctetsLeft_(pstReader);
    if (uiLeft >= uiNeed) {
        return false;
    }
    QEL_Report(uiLeft);
    return true;
}

static uint32_t QEL_NGMVPN_TakeSegHead_(QEL_NGMVPN_IMPORT_READER_S *pstReader, QEL_NGMVPN_SEG_ATTR_S *pstSeg)
{
    if (QEL_NGMVPN_IsShort_(pstReader, QEL_NGMVPN_SEG_HEAD_LEN)) {
        return QEL_ERR_TLV;
    }
    const uint8_t *pucHead = pstReader->pucCursor;
    pstSeg->uiAttrFlag = pucHead[0];
    QEL_Copy(pstSeg->aucSnh, sizeof(pstSeg->aucSnh), pucHead + QEL_NGMVPN_AT_SEG_SNH, QEL_NGMVPN_SNH_LEN);
    QEL_NGMVPN_ConvertExtCommunityNTOH(reinterpret_cast<QEL_EXTCOMM_S *>(pstSeg->aucSnh), 1);
    pstSeg->usPmsiOffset = QEL_LoadBe16(pucHead + QEL_NGMVPN_AT_SEG_PMSI_OFFSET);
    pstSeg->usPmsiLen = QEL_LoadBe16(pucHead + QEL_NGMVPN_AT_SEG_PMSI_LEN);
    pstReader->pucCursor += QEL_NGMVPN_SEG_HEAD_LEN;
    return QEL_OK;
}

/* The record's fixed part. */
static uint32_t QEL_NGMVPN_TakeImportHead_(QEL_NGMVPN_IMPORT_READER_S *pstReader, QEL_NGMVPN_IMPORT_ATTR_S *pstFixed)
{
    uint32_t uiRet = QEL_NGMVPN_ParseImportAttrNlri(&pstReader->pucCursor, QEL_NGMVPN_OctetsLeft_(pstReader), pstFixed,
                                                    pstReader->pstCtx);
    if (uiRet != QEL_OK) {
        QEL_NGMVPN_Debug(pstReader->pstCtx, __LINE__,
                         "QEL_NGMVPN_ParseImportAttrTlv failed, because FormatMcImportRouteNlri %d", uiRet);
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstReader->pstCtx, __LINE__, "QEL_NGMVPN_ParseImportAttrTlv: nlri(%d).",
                     QEL_NGMVPN_OctetsRead_(pstReader));
    if (QEL_NGMVPN_IsShort_(pstReader, QEL_NGMVPN_POLICY_WORD_LEN)) {
        return QEL_ERR_TLV;
    }
    pstFixed->uiPolicyId = QEL_LoadBe32(pstReader->pucCursor);
    pstReader->pucCursor += QEL_NGMVPN_POLICY_WORD_LEN;
    if (QEL_NGMVPN_IsShort_(pstReader, QEL_NGMVPN_PLY_INFO_LEN)) {
        return QEL_ERR_TLV;
    }
    QEL_NGMVPN_ReadPlyInfo_(&pstReader->pucCursor, &pstFixed->stPlyInfo);
    uiRet = QEL_NGMVPN_TakeSegHead_(pstReader, &pstFixed->stOriginalAttr);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    return QEL_NGMVPN_TakeSegHead_(pstReader, &pstFixed->stReplacedAttr);
}

/* The tunnel of one set, if it has one, into the record's room for it; the set's name is the log's. */
static uint32_t QEL_NGMVPN_TakeSegPmsi_(QEL_NGMVPN_IMPORT_READER_S *pstReader, uint16_t usTlvType,
                                        const QEL_NGMVPN_SEG_ATTR_S *pstSeg, const char *pszName, uint8_t *pucRoom,
                                        uint32_t uiRoom)
{
    /* kept: asked for whether a tunnel comes or not, so that a value that ends behind its heads or behind its original
     * tunnel is refused; senders give the value's length with what follows it */
    if (QEL_NGMVPN_IsShort_(pstReader, QEL_NGMVPN_TLV_HEADER_LEN)) {
        return QEL_ERR_TLV;
    }
    QEL_NGMVPN_Debug(pstReader->pstCtx, __LINE__, "QEL_NGMVPN_ParseImportAttrTlv %s usPmsiLen(%d)", pszName,
                     pstSeg->usPmsiLen);
    if (pstSeg->usPmsiLen == 0) {
        return QEL_OK;
    }
    /* kept: another type is reported, and the tunnel is read all the same; so is, below, another length */
    const uint16_t usFoundType = QEL_LoadBe16(pstReader->pucCursor);
    if (usFoundType != usTlvType) {
        QEL_Report(usFoundType);
    }
    const uint16_t usTlvLen = QEL_LoadBe16(pstReader->pucCursor + sizeof(usFoundType));
    pstReader->pucCursor += QEL_NGMVPN_TLV_HEADER_LEN;
    if (QEL_NGMVPN_IsShort_(pstReader, usTlvLen)) {
        return QEL_ERR_TLV;
    }
    QEL_NGMVPN_PMSI_TNL_S stTnl;
    uint16_t usOutLen = 0;
    const uint32_t uiRet = QEL_NGMVPN_ParseImportAttrPmsiTnl(
        &pstReader->pucCursor, usTlvLen, reinterpret_cast<uint8_t *>(&stTnl), &usOutLen, pstReader->pstCtx);
    if (uiRet != QEL_OK) {
        /* kept: a writer's name in the reader; operators search their logs for the words as they are */
        QEL_NGMVPN_Debug(pstReader->pstCtx, __LINE__,
                         "QEL_NGMVPN_ParseImportAttrTlv failed, because FormatPmsiTnlTlv %d", uiRet);
        return uiRet;
    }
    if (usOutLen != 0) {
        QEL_Copy(pucRoom, uiRoom, &stTnl, usOutLen);
    }
    if (usOutLen != pstSeg->usPmsiLen) {
        QEL_Report(usOutLen);
    }
    QEL_NGMVPN_Debug(pstReader->pstCtx, __LINE__, "QEL_NGMVPN_ParseImportAttrTlv %s 2 usPmsiLen(%d)", pszName,
                     pstSeg->usPmsiLen);
    return QEL_OK;
}

/* Both tunnels into the record of uiAttrLen bytes, and its block. */
static uint32_t QEL_NGMVPN_OutputImportRecord_(QEL_NGMVPN_IMPORT_READER_S *pstReader, QEL_NGMVPN_IMPORT_ATTR_S *pstAttr,
                                               uint16_t usAttrLen, QEL_ROUTE_BLOCK_S **ppstResult)
{
    const uint32_t uiRoom = usAttrLen - QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN;
    uint32_t uiRet = QEL_NGMVPN_TakeSegPmsi_(pstReader, QEL_NGMVPN_TLV_ORIG_PMSI, &pstAttr->stOriginalAttr,
                                             "stOriginalAttr", pstAttr->aucPmsiData, uiRoom);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const uint32_t uiOffset = pstAttr->stOriginalAttr.usPmsiLen;
    const bool bHasRoom = uiOffset < uiRoom;
    uiRet =
        QEL_NGMVPN_TakeSegPmsi_(pstReader, QEL_NGMVPN_TLV_PMSI, &pstAttr->stReplacedAttr, "stReplacedAttr",
                                bHasRoom ? &pstAttr->aucPmsiData[uiOffset] : nullptr, bHasRoom ? uiRoom - uiOffset : 0);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    QEL_NGMVPN_Debug(pstReader->pstCtx, __LINE__, "QEL_NGMVPN_ParseImportAttrTlv: replace pmsi(%d).",
                     QEL_NGMVPN_OctetsRead_(pstReader));
    return QEL_NGMVPN_OutputAttrData(QEL_ATTR_FLAG_IMPORT, QEL_ATTR_TYPE_IMPORT, QEL_Bytes(pstAttr), usAttrLen,
                                     ppstResult, pstReader->pstCtx);
}

uint32_t QEL_NGMVPN_ParseImportAttrTlv(const uint8_t *pucData, uint32_t uiLen, QEL_ROUTE_BLOCK_S **ppstResult,
                                       QEL_FAMILY_CTX_S *pstCtx)
{
    if (QEL_Missing(pucData) || QEL_Missing(ppstResult) || QEL_Missing(pstCtx)) {
        return QEL_ERR_NULL;
    }
    QEL_NGMVPN_IMPORT_ATTR_S stFixed;
    QEL_Clear(&stFixed, sizeof(stFixed), sizeof(stFixed));
    QEL_NGMVPN_Debug(pstCtx, __LINE__, "QEL_NGMVPN_ParseImportAttrTlv: pMsg");
    QEL_NGMVPN_IMPORT_READER_S stReader = {pucData, pucData, pucData + uiLen, pstCtx};
    if (QEL_NGMVPN_IsShort_(&stReader, QEL_NGMVPN_LEAST_LEN)) {
        return QEL_ERR_TLV;
    }
    uint32_t uiRet = QEL_NGMVPN_TakeImportHead_(&stReader, &stFixed);
    if (uiRet != QEL_OK) {
        return uiRet;
    }
    const auto usAttrLen = static_cast<uint16_t>(QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN + stFixed.stOriginalAttr.usPmsiLen +
                                                 stFixed.stReplacedAttr.usPmsiLen);
    void *pvAttr = nullptr;
    if (usAttrLen >= QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN) {
        pvAttr = QEL_NGMVPN_Malloc(pstCtx, usAttrLen);
    }
    if (QEL_Missing(pvAttr)) {
        return QEL_ERR_MEMORY;
    }
    QEL_Clear(pvAttr, usAttrLen, usAttrLen);
    QEL_Copy(pvAttr, usAttrLen, &stFixed, QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN);
    uiRet = QEL_NGMVPN_OutputImportRecord_(&stReader, static_cast<QEL_NGMVPN_IMPORT_ATTR_S *>(pvAttr), usAttrLen,
                                           ppstResult);
    QEL_NGMVPN_Free(&pvAttr, pstCtx);
    return uiRet;
}
