#include "host/route.h"

#include "platform/zvk.h"
#include "qel_byteorder.h"

#include <algorithm>
#include <utility>

namespace qel::host {

void BlockFree::operator()(QEL_ROUTE_BLOCK_S *block) const noexcept
{
    ZVK_Free_F(block, __FILE__, __LINE__);
}

Route::Route()
{
    info_.uiPolicyId = QEL_POLICY_ID_NONE;
}

Route::Route(BlockPtr block) : Route()
{
    add(std::move(block));
}

Route::~Route()
{
    release();
}

Route::Route(Route &&other) noexcept
    : info_(std::exchange(other.info_, Route().info_)), owners_(std::exchange(other.owners_, {}))
{
}

Route &Route::operator=(Route &&other) noexcept
{
    if (this != &other) {
        release();
        info_ = std::exchange(other.info_, Route().info_);
        owners_ = std::exchange(other.owners_, {});
    }
    return *this;
}

void Route::release() noexcept
{
    for (std::size_t slot = 0; slot < no_slot; ++slot) {
        QEL_ROUTE_BLOCK_S *block = std::exchange(owners_[slot], nullptr);
        if (block != nullptr && !owns(block)) {
            BlockFree{}(block);
        }
    }
}

bool Route::owns(const QEL_ROUTE_BLOCK_S *block) const
{
    return std::find(owners_.begin(), owners_.end(), block) != owners_.end();
}

void Route::own(Slot slot, QEL_ROUTE_BLOCK_S *block)
{
    QEL_ROUTE_BLOCK_S *before = std::exchange(owners_[slot], block);
    if (before != nullptr && !owns(before)) {
        BlockFree{}(before);
    }
}

Route::Slot Route::attribute_slot(std::uint8_t flag, std::uint8_t type)
{
    struct Row {
        std::uint8_t flag;
        std::uint8_t type;
        Slot slot;
    };
    static constexpr std::array<Row, 6> rows{{
        {QEL_ATTR_FLAG_EXTCOMM, QEL_ATTR_TYPE_EXTCOMM, ext_comm},
        {QEL_ATTR_FLAG_PMSI, QEL_ATTR_TYPE_PMSI, pmsi},
        {QEL_ATTR_FLAG_IMPORT, QEL_ATTR_TYPE_IMPORT, import_attr},
        {QEL_ATTR_FLAG_IPV6_EXTCOMM, QEL_ATTR_TYPE_IPV6_EXTCOMM, ipv6_ext_comm},
        {QEL_ATTR_FLAG_PFXSID, QEL_ATTR_TYPE_PFXSID, pfx_sid},
        {QEL_ATTR_FLAG_MSID, QEL_ATTR_TYPE_MSID, msid},
    }};
    for (const Row &row : rows) {
        if (row.flag == flag && row.type == type) {
            return row.slot;
        }
    }
    return no_slot;
}

void Route::set_section(Slot slot, const std::uint8_t *data, std::uint32_t length)
{
    const auto set = [&](const std::uint8_t *&field, std::uint32_t &field_length) {
        field = data;
        field_length = length;
    };
    switch (slot) {
    case rd:
        return set(info_.pucRd, info_.uiRdLen);
    case key:
        return set(info_.pucKey, info_.uiKeyLen);
    case non_key:
        return set(info_.pucNonKey, info_.uiNonKeyLen);
    case cross:
        return set(info_.pucCross, info_.uiCrossLen);
    case ext_comm:
        return set(info_.pucExtComm, info_.uiExtCommLen);
    case pmsi:
        return set(info_.pucPmsi, info_.uiPmsiLen);
    case import_attr:
        // The record may stand at any address; its readers know.
        info_.pstImportAttr = static_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(static_cast<const void *>(data));
        info_.uiImportAttrLen = length;
        return;
    case ipv6_ext_comm:
        return set(info_.pucIpv6ExtComm, info_.uiIpv6ExtCommLen);
    case pfx_sid:
        return set(info_.pucPfxSid, info_.uiPfxSidLen);
    case msid:
        return set(info_.pucMsid, info_.uiMsidLen);
    case no_slot:
        return;
    }
}

void Route::update_mask(bool has_label)
{
    std::uint32_t mask = has_label ? QEL_SECTION_LABEL : 0;
    mask |= info_.pucRd != nullptr ? QEL_SECTION_RD : 0;
    mask |= info_.pucKey != nullptr ? QEL_SECTION_KEY : 0;
    mask |= info_.pucNonKey != nullptr ? QEL_SECTION_NONKEY : 0;
    mask |= info_.pucCross != nullptr ? QEL_SECTION_CROSS : 0;
    const bool has_attribute = info_.pucExtComm != nullptr || info_.pucPmsi != nullptr ||
                               info_.pstImportAttr != nullptr || info_.pucIpv6ExtComm != nullptr ||
                               info_.pucPfxSid != nullptr || info_.pucMsid != nullptr;
    mask |= has_attribute ? QEL_SECTION_ATTR : 0;
    info_.uiValidMask = mask;
}

void Route::add(BlockPtr block)
{
    if (block == nullptr) {
        return;
    }
    const QEL_ROUTE_BLOCK_S header = *block;
    const auto *start = reinterpret_cast<const std::uint8_t *>(block.get());
    QEL_ROUTE_BLOCK_S *held = block.release();
    bool used = false;
    const auto take = [&](std::uint32_t section, Slot slot, std::uint16_t offset, std::uint16_t length) {
        if ((header.uiValidMask & section) != 0 && slot != no_slot) {
            const bool present = offset != 0; // a section that is told of and stands nowhere is taken away
            set_section(slot, present ? start + offset : nullptr, present ? length : 0);
            own(slot, present ? held : nullptr);
            used = used || present;
        }
    };
    take(QEL_SECTION_RD, rd, header.usRdOffset, header.usRdLen);
    take(QEL_SECTION_KEY, key, header.usKeyOffset, header.usKeyLen);
    take(QEL_SECTION_NONKEY, non_key, header.usNonKeyOffset, header.usNonKeyLen);
    take(QEL_SECTION_CROSS, cross, header.usCrossOffset, header.usCrossLen);
    take(QEL_SECTION_ATTR, attribute_slot(header.ucAttrFlag, header.ucAttrType), header.usAttrOffset, header.usAttrLen);

    bool has_label = (info_.uiValidMask & QEL_SECTION_LABEL) != 0;
    if ((header.uiValidMask & QEL_SECTION_LABEL) != 0 && header.usLabelLen >= sizeof(std::uint32_t)) {
        info_.uiLabelLen = header.usLabelLen;
        info_.uiMplsLabel = QEL_Load32(start + header.usLabelOffset);
        has_label = true;
    }
    update_mask(has_label);
    if (!used) {
        BlockFree{}(held);
    }
}

} // namespace qel::host
