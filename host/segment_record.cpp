#include "host/segment_record.h"

#include "host/attributes.h"
#include "host/listing.h"
#include "host/text.h"
#include "ngmvpn/qel_ngmvpn_records.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstring>

namespace qel::host {
namespace {

QEL_NGMVPN_IMPORT_ATTR_S fixed_part(const std::vector<std::uint8_t> &record)
{
    QEL_NGMVPN_IMPORT_ATTR_S out{};
    std::memcpy(&out, record.data(), std::min<std::size_t>(record.size(), QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN));
    return out;
}

// The set's attributes beside a route, so that the family displays them.
std::string set_words(const Family &family, const std::vector<std::uint8_t> &record, const QEL_NGMVPN_SEG_ATTR_S &set)
{
    QEL_ROUTE_INFO_S shown{};
    AttributeView view(family, shown);
    Buffer out;
    if ((set.uiAttrFlag & QEL_NGMVPN_SEG_SNH) != 0) {
        shown.pucExtComm = set.aucSnh;
        shown.uiExtCommLen = sizeof(set.aucSnh);
        append_community(out, view, 0);
    } else {
        append(out, "no segmented next hop");
    }
    const std::size_t at = QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN + set.usPmsiOffset;
    if ((set.uiAttrFlag & QEL_NGMVPN_SEG_PMSI) != 0 && at + set.usPmsiLen <= record.size()) {
        shown.pucPmsi = record.data() + at;
        shown.uiPmsiLen = set.usPmsiLen;
        append(out, "; ");
        append(out, view.text(Shown::tunnel));
    } else {
        append(out, "; no tunnel");
    }
    std::string words = fmt::to_string(out);
    words.erase(words.find_last_not_of(' ') + 1);
    return words;
}

} // namespace

bool has_record(const QEL_ROUTE_BLOCK_S &block)
{
    return (block.uiValidMask & QEL_SECTION_ATTR) != 0 && block.ucAttrFlag == QEL_ATTR_FLAG_IMPORT &&
           block.ucAttrType == QEL_ATTR_TYPE_IMPORT && block.usAttrOffset != 0;
}

void place_record(QEL_ROUTE_INFO_S &route, const QEL_ROUTE_BLOCK_S *block)
{
    route.pstImportAttr = nullptr;
    route.uiImportAttrLen = 0;
    if (block != nullptr && has_record(*block)) {
        const auto *start = reinterpret_cast<const std::uint8_t *>(block);
        // The record may stand at any address; its readers know.
        route.pstImportAttr =
            static_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(static_cast<const void *>(start + block->usAttrOffset));
        route.uiImportAttrLen = block->usAttrLen;
        route.uiValidMask |= QEL_SECTION_ATTR;
    }
}

std::vector<std::uint8_t> record_octets(const QEL_ROUTE_INFO_S &route)
{
    const auto *start = static_cast<const std::uint8_t *>(static_cast<const void *>(route.pstImportAttr));
    return start != nullptr ? std::vector<std::uint8_t>(start, start + route.uiImportAttrLen)
                            : std::vector<std::uint8_t>();
}

std::vector<std::string> record_lines(const Family &family, const QEL_ROUTE_INFO_S &route)
{
    const std::vector<std::uint8_t> record = record_octets(route);
    if (record.empty()) {
        return {"none"};
    }
    const QEL_NGMVPN_IMPORT_ATTR_S fixed = fixed_part(record);
    Buffer root;
    append_ipv4(root, fixed.stPlyInfo.uiRootIp);
    const bool replaced = (fixed.stReplacedAttr.uiAttrFlag & QEL_NGMVPN_SEG_SET) != 0;
    return {fmt::format("policy {}, replacement type {}, root {}, template {}", fixed.uiPolicyId,
                        fixed.stPlyInfo.uiPlyType, fmt::to_string(root), fixed.stPlyInfo.uiTempId),
            "original: " + set_words(family, record, fixed.stOriginalAttr),
            "replaced: " + (replaced ? set_words(family, record, fixed.stReplacedAttr) : "not yet")};
}

} // namespace qel::host
