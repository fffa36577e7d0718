#include "host/route.h"

#include "platform/zvk.h"
#include "qel_byteorder.h"

#include <algorithm>
#include <utility>

namespace qel::host {

namespace {

// The sections that lie in a block. A label is a plain value.
enum Slot : std::size_t { rd, key, non_key, cross, ext_comm, pmsi, import_attr, ipv6_ext_comm, pfx_sid, msid, no_slot };

Slot attribute_slot(std::uint8_t flag, std::uint8_t type)
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

void set_section(QEL_ROUTE_INFO_S &info, Slot slot, const std::uint8_t *data, std::uint32_t length)
{
    const auto set = [&](const std::uint8_t *&field, std::uint32_t &field_length) {
        field = data;
        field_length = length;
    };
    switch (slot) {
    case rd:
        return set(info.pucRd, info.uiRdLen);
    case key:
        return set(info.pucKey, info.uiKeyLen);
    case non_key:
        return set(info.pucNonKey, info.uiNonKeyLen);
    case cross:
        return set(info.pucCross, info.uiCrossLen);
    case ext_comm:
        return set(info.pucExtComm, info.uiExtCommLen);
    case pmsi:
        return set(info.pucPmsi, info.uiPmsiLen);
    case import_attr:
        // The record may stand at any address; its readers know.
        info.pstImportAttr = static_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(static_cast<const void *>(data));
        info.uiImportAttrLen = length;
        return;
    case ipv6_ext_comm:
        return set(info.pucIpv6ExtComm, info.uiIpv6ExtCommLen);
    case pfx_sid:
        return set(info.pucPfxSid, info.uiPfxSidLen);
    case msid:
        return set(info.pucMsid, info.uiMsidLen);
    case no_slot:
        return;
    }
}

void update_mask(QEL_ROUTE_INFO_S &info, bool has_label)
{
    std::uint32_t mask = has_label ? QEL_SECTION_LABEL : 0;
    mask |= info.pucRd != nullptr ? QEL_SECTION_RD : 0;
    mask |= info.pucKey != nullptr ? QEL_SECTION_KEY : 0;
    mask |= info.pucNonKey != nullptr ? QEL_SECTION_NONKEY : 0;
    mask |= info.pucCross != nullptr ? QEL_SECTION_CROSS : 0;
    const bool has_attribute = info.pucExtComm != nullptr || info.pucPmsi != nullptr || info.pstImportAttr != nullptr ||
                               info.pucIpv6ExtComm != nullptr || info.pucPfxSid != nullptr || info.pucMsid != nullptr;
    mask |= has_attribute ? QEL_SECTION_ATTR : 0;
    info.uiValidMask = mask;
}

// place_sections(), and `placed(slot, present)` for every section that the block tells of and a route has.
template <class Placed> void place(QEL_ROUTE_INFO_S &info, const QEL_ROUTE_BLOCK_S &block, Placed placed)
{
    const auto *start = reinterpret_cast<const std::uint8_t *>(&block);
    const auto take = [&](std::uint32_t section, Slot slot, std::uint16_t offset, std::uint16_t length) {
        if ((block.uiValidMask & section) != 0 && slot != no_slot) {
            const bool present = offset != 0; // a section that is told of and stands nowhere is taken away
            set_section(info, slot, present ? start + offset : nullptr, present ? length : 0);
            placed(slot, present);
        }
    };
    take(QEL_SECTION_RD, rd, block.usRdOffset, block.usRdLen);
    take(QEL_SECTION_KEY, key, block.usKeyOffset, block.usKeyLen);
    take(QEL_SECTION_NONKEY, non_key, block.usNonKeyOffset, block.usNonKeyLen);
    take(QEL_SECTION_CROSS, cross, block.usCrossOffset, block.usCrossLen);
    take(QEL_SECTION_ATTR, attribute_slot(block.ucAttrFlag, block.ucAttrType), block.usAttrOffset, block.usAttrLen);

    bool has_label = (info.uiValidMask & QEL_SECTION_LABEL) != 0;
    if ((block.uiValidMask & QEL_SECTION_LABEL) != 0 && block.usLabelLen >= sizeof(std::uint32_t)) {
        info.uiLabelLen = block.usLabelLen;
        info.uiMplsLabel = QEL_Load32(start + block.usLabelOffset);
        has_label = true;
    }
    update_mask(info, has_label);
}

} // namespace

void place_sections(QEL_ROUTE_INFO_S &info, const QEL_ROUTE_BLOCK_S &block)
{
    place(info, block, [](Slot, bool) {});
}

void BlockFree::operator()(void *block) const noexcept
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
    for (std::size_t slot = 0; slot < kSlots; ++slot) {
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

void Route::own(std::size_t slot, QEL_ROUTE_BLOCK_S *block)
{
    static_assert(kSlots == no_slot);
    QEL_ROUTE_BLOCK_S *before = std::exchange(owners_[slot], block);
    if (before != nullptr && !owns(before)) {
        BlockFree{}(before);
    }
}

void Route::add(BlockPtr block)
{
    if (block == nullptr) {
        return;
    }
    QEL_ROUTE_BLOCK_S *held = block.release();
    bool used = false;
    place(info_, *held, [&](Slot slot, bool present) {
        own(slot, present ? held : nullptr);
        used = used || present;
    });
    if (!used) {
        BlockFree{}(held);
    }
}

std::vector<BlockPtr> Route::take_blocks()
{
    std::vector<BlockPtr> out;
    for (std::size_t slot = 0; slot < kSlots; ++slot) {
        QEL_ROUTE_BLOCK_S *block = std::exchange(owners_[slot], nullptr);
        if (block != nullptr && !owns(block)) {
            out.emplace_back(block);
        }
    }
    info_ = Route().info_;
    return out;
}

} // namespace qel::host
