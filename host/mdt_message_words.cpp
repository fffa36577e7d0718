#include "host/mdt_message_words.h"

#include "host/community_words.h"
#include "host/message_words.h"
#include "mdt/qel_mdt_records.h"
#include "mdt/qel_mdtpkt.h"
#include "qel_byteorder.h"

#include <cstddef>
#include <cstring>

namespace qel::host {
namespace {

constexpr std::size_t kPrefix = 16;
constexpr std::size_t kSource = 8;
constexpr std::size_t kGroup = 12;
constexpr std::uint16_t kTlvShareGroup = 1;

void append_share_group(Buffer &out, std::uint32_t group)
{
    append(out, "share group ");
    append_ipv4(out, group);
}

void append_prefix(Buffer &out, Octets octets)
{
    append(out, "route prefix, ");
    if (octets.size() != kPrefix) {
        return append_hex(out, octets);
    }
    const std::uint8_t *cursor = octets.data();
    QEL_RD_VALUE_S rd;
    std::uint32_t code = 0;
    QEL_MDT_GET_RD_VALUE(&cursor, &rd, &code);
    if (code != 0) {
        return append_hex(out, octets);
    }
    append(out, "RD ");
    append_rd(out, rd);
    append(out, ", source ");
    append_ipv4(out, QEL_LoadBe32(octets.data() + kSource));
    append(out, ", group ");
    append_ipv4(out, QEL_LoadBe32(octets.data() + kGroup));
}

// A reader of a route makes a share group of its group.
void append_route_message(Parts &parts, const Delivery &delivery)
{
    append_prefix(parts.begin(), delivery.octets);
    if (delivery.read == nullptr || delivery.read->usNonKeyOffset == 0 ||
        delivery.read->usNonKeyLen != sizeof(QEL_MDT_NONKEY_S)) {
        return;
    }
    QEL_MDT_NONKEY_S non_key;
    std::memcpy(&non_key, reinterpret_cast<const std::uint8_t *>(delivery.read) + delivery.read->usNonKeyOffset,
                sizeof(non_key));
    if ((non_key.usFlags & QEL_MDT_NONKEY_SHARE_GROUP) != 0) {
        Buffer &out = parts.begin();
        append(out, "read with ");
        append_share_group(out, non_key.uiShareGroup);
    }
}

void append_target(Buffer &out, const Family &family, Octets value)
{
    append(out, "import target: ");
    if (value.size() == sizeof(std::uint32_t)) {
        append_share_group(out, QEL_LoadBe32(value.data()));
    } else if (value.size() == sizeof(QEL_EXTCOMM_S)) {
        append_wire_communities(out, family, value);
    } else {
        append_hex(out, value);
    }
}

void append_non_key_tlv(Buffer &out, std::uint16_t type, Octets value)
{
    if (type == kTlvShareGroup && value.size() == sizeof(std::uint32_t)) {
        append_share_group(out, QEL_LoadBe32(value.data()));
    } else {
        append_hex(out, value);
    }
}

} // namespace

void append_mdt_message(Parts &parts, const Delivery &delivery)
{
    switch (content_of(delivery.carrier, delivery.type)) {
    case MessageContent::route:
        return append_route_message(parts, delivery);
    case MessageContent::target:
        return append_target(parts.begin(), *delivery.family, delivery.octets);
    case MessageContent::attribute:
        return append_wire_communities(parts.begin(), *delivery.family, delivery.octets);
    case MessageContent::non_key:
        return append_non_key(parts, delivery.octets, append_non_key_tlv);
    default:
        return append_rest(parts, delivery.octets);
    }
}

} // namespace qel::host
