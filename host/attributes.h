// What the path attributes of an UPDATE say of its routes: the sections that the family made of them, their texts, and
// the values in them.
#pragma once

#include "host/family.h"
#include "host/route.h"
#include "host/update.h"
#include "ngmvpn/qel_ngmvpn_attr_records.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace qel::host {

// A well-formed PMSI tunnel attribute that becomes no section: a tunnel of a type that the family does not carry, or
// the word that there is no tunnel.
struct NotCarriedTunnel {
    std::size_t offset = 0; // of the value in the message
    Octets octets;          // the value, at least its five fixed octets

    std::uint8_t flags() const { return octets[0]; }
    std::uint8_t type() const { return octets[1]; }
    std::uint32_t label() const;
};

// What pfData2Str is asked for.
enum class Shown : std::uint32_t {
    communities = 2,
    tunnel = 4,
    ipv6_communities = 256,
    prefix_sid = 512,
    msid = 1024,
};

// An extended community (RFC 4360). The values are the wire's, also where the family's list holds other ones.
struct Community {
    enum class Form : std::uint8_t { as2, ipv4, as4, other };

    std::uint16_t type = 0; // Type and Sub-type
    Form form = Form::other;
    std::uint32_t global = 0; // AS number or address; of `other` nothing
    std::uint32_t local = 0;
    std::array<std::uint8_t, 6> octets{}; // the value
};

// What the attributes of an expanded route say. Made where it is needed; the family and the route have to stay.
class AttributeView {
public:
    AttributeView(const Family &family, const QEL_ROUTE_INFO_S &info) : family_(&family), info_(&info) {}

    const QEL_ROUTE_INFO_S &info() const { return *info_; }
    // The text of one element as the family displays it, also where that is nothing. Holds until the next call.
    std::string_view text(Shown what, std::size_t index = 0);
    Community community(std::size_t index) const;

private:
    const Family *family_;
    const QEL_ROUTE_INFO_S *info_;
    std::array<char, 513> text_; // the family may write one octet behind the room that it is told of
};

// The attributes of one UPDATE. The announced routes come to stand beside them, one after the other.
class UpdateAttributes {
public:
    // Forgets everything; `family` displays what is added from now on.
    void reset(const Family *family);

    // False, and the block is freed, if there is a section of its kind already: the first one counts (RFC 7606,
    // section 3).
    bool add(BlockPtr block);
    void add_not_carried(const NotCarriedTunnel &tunnel) { not_carried_.push_back(tunnel); }
    void add_wire(const PathAttribute &attribute) { wire_.push_back(attribute); }

    const QEL_ROUTE_INFO_S &info() const { return route_.info(); }
    const std::vector<NotCarriedTunnel> &not_carried() const { return not_carried_; }
    // Nothing if no family displays them, and then there are none.
    std::optional<AttributeView> view() const;
    // Hands out the blocks and forgets them.
    std::vector<BlockPtr> take_blocks() { return route_.take_blocks(); }
    // Every path attribute that was kept as it came.
    const std::vector<PathAttribute> &wire() const { return wire_; }
    bool empty() const;

private:
    const Family *family_ = nullptr;
    Route route_;
    std::vector<NotCarriedTunnel> not_carried_;
    std::vector<PathAttribute> wire_;
};

// An IPv6 address specific extended community (RFC 5701).
struct Ipv6Community {
    std::uint16_t type = 0;
    std::array<std::uint8_t, 18> octets{}; // address and local administrator

    std::uint16_t local() const;
};

struct PrefixSid {
    std::array<std::uint8_t, 16> sid{};
    std::uint16_t behavior = 0;
};

struct Msid {
    std::array<std::uint8_t, 16> msid{};
    bool has_structure = false; // and so these two:
    std::uint8_t prefix_len = 0;
    std::uint8_t msid_len = 0;
};

std::size_t community_count(const QEL_ROUTE_INFO_S &info);
std::size_t ipv6_community_count(const QEL_ROUTE_INFO_S &info);
Ipv6Community ipv6_community(const QEL_ROUTE_INFO_S &info, std::size_t index);
std::optional<QEL_NGMVPN_PMSI_TNL_S> pmsi_tunnel(const QEL_ROUTE_INFO_S &info);
std::optional<PrefixSid> prefix_sid(const QEL_ROUTE_INFO_S &info);
std::optional<Msid> msid(const QEL_ROUTE_INFO_S &info);

// "mLDP P2MP LSP" and so on (RFC 6514, section 5; RFC 8556).
std::string_view tunnel_type_name(std::uint8_t type);

} // namespace qel::host
