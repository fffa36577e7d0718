#include "host/channel.h"

#include <algorithm>
#include <array>
#include <span>

namespace qel::host {
namespace {

constexpr std::size_t kBriefTarget = 8;
constexpr std::size_t kIpv6Target = 20;

// An attribute message and the section that it carries; null: the import attribute, whose record has a type of its own.
struct AttributeMessage {
    std::uint32_t type;
    std::optional<Half> half; // of a pair
    const std::uint8_t *QEL_ROUTE_INFO_S::*section;
};

constexpr std::array<AttributeMessage, 9> kAttributeMessages{{
    {11, Half::first, &QEL_ROUTE_INFO_S::pucExtComm},
    {21, Half::second, &QEL_ROUTE_INFO_S::pucExtComm},
    {25, std::nullopt, &QEL_ROUTE_INFO_S::pucPmsi},
    {34, std::nullopt, &QEL_ROUTE_INFO_S::pucNonKey},
    {40, std::nullopt, nullptr},
    {43, std::nullopt, &QEL_ROUTE_INFO_S::pucPfxSid},
    {50, Half::first, &QEL_ROUTE_INFO_S::pucIpv6ExtComm},
    {51, Half::second, &QEL_ROUTE_INFO_S::pucIpv6ExtComm},
    {59, std::nullopt, &QEL_ROUTE_INFO_S::pucMsid},
}};

bool has_section(const QEL_ROUTE_INFO_S &route, const AttributeMessage &message)
{
    return message.section != nullptr ? route.*message.section != nullptr : route.pstImportAttr != nullptr;
}

std::span<const std::uint32_t> listed_types(const QEL_FAMILY_DESC_S &desc, Carrier carrier)
{
    switch (carrier) {
    case Carrier::message:
        return {desc.auiMsgTlvTypes, desc.ucMsgTlvCount};
    case Carrier::ha:
        return {desc.auiHaMsgTlvTypes, desc.ucHaMsgTlvCount};
    default:
        return {desc.auiAttrMsgTlvTypes, desc.ucAttrMsgTlvCount};
    }
}

// A component outside of the library understands what its peer sends.
bool speaks(const Port &port, Carrier carrier, std::uint32_t type)
{
    if (port.family == nullptr) {
        return true;
    }
    const std::span<const std::uint32_t> types = listed_types(port.family->desc(), carrier);
    return std::find(types.begin(), types.end(), type) != types.end();
}

QEL_FORMAT_TLV_F writer_of(const QEL_FAMILY_DESC_S &desc, Carrier carrier)
{
    switch (carrier) {
    case Carrier::message:
        return desc.pfFormatMsg;
    case Carrier::ha:
        return desc.pfFormatHaMsg;
    default:
        return desc.pfFormatAttrMsg;
    }
}

QEL_PARSE_TLV_F reader_of(const QEL_FAMILY_DESC_S &desc, Carrier carrier)
{
    switch (carrier) {
    case Carrier::message:
        return desc.pfParseMsg;
    case Carrier::ha:
        return desc.pfParseHaMsg;
    default:
        return desc.pfParseAttrMsg;
    }
}

bool is_global(const QEL_ROUTE_INFO_S &route)
{
    return route.pucRd != nullptr &&
           std::all_of(route.pucRd, route.pucRd + route.uiRdLen, [](std::uint8_t octet) { return octet == 0; });
}

// What a backup is told: routes, what belongs to them, and import targets.
constexpr Protocol kBackup{Carrier::ha, {1, 3, 5, 8}, Half::first, {{6, 7}, {6, 7}, {10, 11}}};

} // namespace

std::uint32_t RouteTypes::of(Change change, const QEL_ROUTE_INFO_S &route) const
{
    switch (change) {
    case Change::withdraw:
        return withdraw;
    case Change::refresh:
        return refresh;
    default:
        return global != 0 && is_global(route) ? global : announce;
    }
}

std::uint32_t TargetTypes::of(Change change, Octets value) const
{
    const Codes &codes = value.size() <= kBriefTarget ? brief : value.size() == kIpv6Target ? ipv6 : longer;
    return change == Change::withdraw ? codes.withdraw : codes.announce;
}

bool Channel::has_attribute(const QEL_ROUTE_INFO_S &route, std::uint32_t type, Half half)
{
    const auto *found = std::find_if(kAttributeMessages.begin(), kAttributeMessages.end(),
                                     [&](const AttributeMessage &message) { return message.type == type; });
    return found != kAttributeMessages.end() && found->half.value_or(half) == half && has_section(route, *found);
}

void Channel::show(Carrier carrier, std::uint32_t type, Octets octets, std::uint32_t code,
                   const QEL_ROUTE_BLOCK_S *read) const
{
    const Family *family = to_->family != nullptr ? to_->family : from_->family;
    courier_->show({from_->name, to_->name, carrier, type, octets, code, read, family});
}

MessageBuffer Channel::write(Carrier carrier, std::uint32_t type, const QEL_ROUTE_INFO_S &route) const
{
    if (!speaks(*from_, carrier, type) || !speaks(*to_, carrier, type)) {
        return MessageBuffer({});
    }
    const Family &family = *from_->family;
    MessageWriter &writer = courier_->writer();
    const std::uint32_t code = writer.write([&](std::uint8_t **cursor, std::uint32_t room) {
        return writer_of(family.desc(), carrier)(&route, type, cursor, room, family.ctx());
    });
    MessageBuffer message(writer.written());
    if (code != QEL_OK || (to_->family == nullptr && message.size() != 0)) {
        show(carrier, type, message.octets(), code, nullptr);
    }
    return message;
}

BlockPtr Channel::read(Carrier carrier, std::uint32_t type, const MessageBuffer &message) const
{
    const Family &family = *to_->family;
    QEL_ROUTE_BLOCK_S *block = nullptr;
    std::uint32_t code = reader_of(family.desc(), carrier)(message.data(), message.size(), type, &block, family.ctx());
    BlockPtr owner(code == QEL_OK ? block : nullptr);
    if (code == QEL_OK && owner == nullptr) {
        code = QEL_ERR_ALLOC; // a reader that has no memory for its route says that all is well
    }
    show(carrier, type, message.octets(), code, owner.get());
    return owner;
}

BlockPtr Channel::read(Carrier carrier, std::uint32_t type, Octets octets) const
{
    return speaks(*to_, carrier, type) ? read(carrier, type, MessageBuffer(octets)) : nullptr;
}

BlockPtr Channel::send(Carrier carrier, std::uint32_t type, const QEL_ROUTE_INFO_S &route) const
{
    const MessageBuffer message = write(carrier, type, route);
    return message.size() != 0 ? read(carrier, type, message) : nullptr;
}

Route Channel::send_route(const Protocol &protocol, const QEL_ROUTE_INFO_S &route, Change change) const
{
    Route out(send(protocol.carrier, protocol.route.of(change, route), route));
    if (change != Change::withdraw && has_key(out)) {
        for_each_attribute(protocol.half, route,
                           [&](std::uint32_t type) { out.add(send(Carrier::attribute, type, route)); });
    }
    return out;
}

void Channel::send_targets(const Protocol &protocol, const QEL_ROUTE_INFO_S &route, Change change) const
{
    for_each_target(protocol, route, change,
                    [&](std::uint32_t type, const QEL_ROUTE_INFO_S &target) { send(protocol.carrier, type, target); });
}

Route Mirror::tell(const QEL_ROUTE_INFO_S &route, Change change) const
{
    Route out = channel_.send_route(kBackup, route, change);
    channel_.send_targets(kBackup, route, change);
    return out;
}

} // namespace qel::host
