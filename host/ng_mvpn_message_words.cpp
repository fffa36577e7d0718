#include "host/ng_mvpn_message_words.h"

#include "host/listing.h"
#include "host/message_words.h"
#include "host/ng_mvpn_words.h"
#include "host/tlv.h"
#include "ngmvpn/qel_ngmvpn_cross.h"
#include "ngmvpn/qel_ngmvpn_intercomp_msg.h"
#include "ngmvpn/qel_ngmvpn_segment_parsemsg.h"
#include "qel_byteorder.h"

#include <cstddef>
#include <cstring>

namespace qel::host {
namespace {

// The attribute message whose value a TLV of a route path has; 0: it carries no attribute.
std::uint32_t attribute_message_of(std::uint16_t tlv_type)
{
    switch (tlv_type) {
    case QEL_NGMVPN_TLV_PMSI:
    case QEL_NGMVPN_TLV_ORIG_PMSI:
        return 25;
    case QEL_NGMVPN_TLV_RT_IMPORT:
    case QEL_NGMVPN_TLV_SNH:
    case QEL_NGMVPN_TLV_ORIG_SNH:
        return 11;
    case QEL_NGMVPN_TLV_RT6_IMPORT:
        return 50;
    case QEL_NGMVPN_TLV_PREFIX_SID:
        return 43;
    case QEL_NGMVPN_TLV_MSID:
        return 59;
    default:
        return 0;
    }
}

void append_rd_kind(Buffer &out, std::uint8_t kind)
{
    append(out, "RD kind ");
    append_number(out, kind);
    append(out, kind == QEL_NGMVPN_RD_KIND_KEY ? ", the RD is part of the key" : ", the RD stands beside the key");
}

void append_prefix(Buffer &out, Octets prefix)
{
    append(out, "route prefix");
    if (!prefix.empty()) {
        append(out, ", ");
        append(out, ng_mvpn_type_name(prefix[0]));
    }
}

// Attributes are read back through the family, and shown as it displays them.
void append_attribute(Buffer &out, const Family &family, std::uint32_t type, Octets value)
{
    QEL_ROUTE_BLOCK_S *block = nullptr;
    const std::uint32_t code = family.desc().pfParseAttrMsg(value.data(), static_cast<std::uint32_t>(value.size()),
                                                            type, &block, family.ctx());
    const BlockPtr owner(code == QEL_OK ? block : nullptr);
    if (owner == nullptr) {
        append_hex(out, value);
        return;
    }
    QEL_ROUTE_INFO_S info{};
    place_sections(info, *owner);
    AttributeView view(family, info);
    append_communities(out, view);
    append_ipv6_communities(out, view);
    append_tunnel(out, view);
    append_prefix_sid(out, view);
    append_msid(out, view);
}

// An address word with the user value behind it, or four octets without meaning, that value, and four address words.
// The value has as many octets as `value` says it takes.
void append_user_address(Buffer &out, Octets octets, std::size_t value)
{
    if (octets.size() == 8) {
        append_ipv4(out, QEL_LoadBe32(octets.data()));
    } else if (octets.size() == 24) {
        append_ipv6(out, octets.data() + 8);
    } else {
        append_hex(out, octets);
        return;
    }
    append(out, ", value ");
    append_number(out, value == 1 ? octets[4] : QEL_LoadBe32(octets.data() + 4));
}

// The instruction to replace a tunnel: one octet of type, three without meaning, root and template.
void append_replacement(Buffer &out, Octets value)
{
    append(out, "replacement type ");
    append_number(out, value[0]);
    append(out, ", root ");
    append_ipv4(out, QEL_LoadBe32(value.data() + 4));
    append(out, ", template ");
    append_number(out, QEL_LoadBe32(value.data() + 8));
}

bool is_replacement(std::uint16_t type, Octets value)
{
    return (type == QEL_NGMVPN_TLV_PLY_INFO || type == QEL_NGMVPN_TLV_ORIG_PMSI_RPL_INFO) &&
           value.size() == QEL_NGMVPN_PLY_INFO_LEN;
}

void append_path(Parts &parts, const Delivery &delivery)
{
    append_rest(parts, for_each_tlv(delivery.octets, [&](std::uint16_t type, Octets value) {
                    Buffer &out = begin_tlv(parts, type, value.size());
                    if (type == QEL_NGMVPN_TLV_NEXT_HOP) {
                        append(out, "next hop ");
                        append_user_address(out, value, 1);
                    } else if (is_replacement(type, value)) {
                        append_replacement(out, value);
                    } else if (const std::uint32_t message = attribute_message_of(type); message != 0) {
                        append_attribute(out, *delivery.family, message, value);
                    } else {
                        append_hex(out, value);
                    }
                }));
}

void append_target(Buffer &out, const Family &family, Octets value)
{
    append(out, "import target: ");
    QEL_ROUTE_BLOCK_S *block = nullptr;
    static constexpr std::uint32_t kTarget = 56;
    const bool is_short = value.size() <= QEL_NGMVPN_CROSS_IPV6_RT_LEN;
    const std::uint32_t code = is_short
                                   ? family.desc().pfParseMsg(value.data(), static_cast<std::uint32_t>(value.size()),
                                                              kTarget, &block, family.ctx())
                                   : QEL_ERR_FAILED;
    const BlockPtr owner(code == QEL_OK ? block : nullptr);
    QEL_ROUTE_INFO_S info{};
    if (owner != nullptr) {
        place_sections(info, *owner);
        value = {info.pucCross, info.uiCrossLen};
    }
    append_ng_mvpn_cross(out, family, value); // a private one travels as it stands
}

void append_non_key_tlv(Buffer &out, std::uint16_t type, Octets value)
{
    if (type == QEL_NGMVPN_NONKEY_TLV_TYPE && value.size() == sizeof(std::uint32_t)) {
        append(out, "key type ");
        append_number(out, QEL_LoadBe32(value.data()));
    } else if (type == QEL_NGMVPN_NONKEY_TLV_USER_DATA) {
        append(out, "next hop ");
        append_user_address(out, value, sizeof(std::uint32_t));
    } else if (type == QEL_NGMVPN_NONKEY_TLV_RD && value.size() == sizeof(QEL_RD_VALUE_S)) {
        QEL_RD_VALUE_S rd; // travels in host order
        std::memcpy(&rd, value.data(), sizeof(rd));
        append(out, "RD ");
        append_rd(out, rd);
    } else {
        append(out, type == QEL_NGMVPN_NONKEY_TLV_EMBEDDED_KEY ? "embedded key " : "");
        append_hex(out, value);
    }
}

void append_route_message(Parts &parts, const Delivery &delivery)
{
    // A wrapped route begins with a TLV type below 256, a bare one with its own type.
    if (!delivery.octets.empty() && delivery.octets[0] != 0) {
        append_prefix(parts.begin(), delivery.octets);
    } else {
        append_rest(parts, for_each_tlv(delivery.octets, [&](std::uint16_t type, Octets value) {
                        Buffer &out = begin_tlv(parts, type, value.size());
                        if (type == QEL_NGMVPN_TLV_RD_KIND && !value.empty()) {
                            append_rd_kind(out, value[0]);
                        } else if (type == QEL_NGMVPN_TLV_RT_PREFIX) {
                            append_prefix(out, value);
                        } else if (type == QEL_NGMVPN_TLV_POLICY_ID && value.size() == sizeof(std::uint32_t)) {
                            append(out, "policy ");
                            append_number(out, QEL_LoadBe32(value.data()));
                        } else {
                            append_hex(out, value);
                        }
                    }));
    }
    if (delivery.read != nullptr && delivery.read->usKeyOffset != 0) {
        const auto *key = reinterpret_cast<const std::uint8_t *>(delivery.read) + delivery.read->usKeyOffset;
        Buffer &out = parts.begin();
        append(out, "read with ");
        append_rd_kind(out, key[offsetof(QEL_NGMVPN_KEY_S, ucRdKind)]);
    }
}

} // namespace

void append_ng_mvpn_message(Parts &parts, const Delivery &delivery)
{
    switch (content_of(delivery.carrier, delivery.type)) {
    case MessageContent::route:
        return append_route_message(parts, delivery);
    case MessageContent::path:
        return append_path(parts, delivery);
    case MessageContent::target:
        return append_target(parts.begin(), *delivery.family, delivery.octets);
    case MessageContent::attribute:
        return append_attribute(parts.begin(), *delivery.family, delivery.type, delivery.octets);
    case MessageContent::non_key:
        return append_non_key(parts, delivery.octets, append_non_key_tlv);
    default:
        return append_rest(parts, delivery.octets);
    }
}

} // namespace qel::host
