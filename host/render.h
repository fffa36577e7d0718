// How the decoder shows what it finds: as text for people, as JSON for programs.
#pragma once

#include "host/attributes.h"
#include "host/family.h"
#include "host/input.h"
#include "host/output.h"
#include "host/route_values.h"
#include "host/update.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string_view>

namespace qel::host {

// Octets of a message that became no route or record.
struct Trouble {
    WalkStep::Kind kind = WalkStep::Kind::refused; // refused, lost or unread
    std::uint8_t attribute = 0;
    std::uint32_t code = 0; // if refused
    std::size_t offset = 0; // in the message
    Octets octets;
};

// What was seen over a whole run.
struct Summary {
    struct RouteCount {
        std::uint64_t announced = 0;
        std::uint64_t withdrawn = 0;
    };

    std::array<std::uint64_t, 6> messages{}; // by BGP type; 0: any other
    std::uint64_t bare_attributes = 0;
    std::uint64_t updates_shown = 0;
    std::uint64_t updates_without_family = 0;
    std::uint64_t updates_without_match = 0; // left out by the filter
    std::uint64_t end_of_rib = 0;
    std::uint64_t not_decoded = 0;        // MP attributes of families that are only named
    std::uint64_t attributes_offered = 0; // to a family, MP attributes not counted
    std::uint64_t tunnels_not_carried = 0;
    std::array<RouteCount, kRouteForms> routes{};   // by route_form()
    std::optional<std::uint64_t> routes_matched;    // if there is a filter
    std::map<std::uint32_t, std::uint64_t> refused; // by code
    std::uint64_t lost = 0;
    std::uint64_t unread = 0;
    std::uint64_t problems = 0;
    std::uint64_t assertions = 0;
    std::uint64_t blocks_leaked = 0;

    // Everything was read and nothing refused.
    bool clean() const { return refused.empty() && lost == 0 && unread == 0 && problems == 0; }
};

// Calls come as begin_update, attributes, trouble of attributes, then for each MP attribute begin_nlri, its routes and
// trouble, end_nlri, then end_update; problem and summary stand outside of an update. An end without `keep` takes back
// everything since its begin.
class Renderer {
public:
    virtual ~Renderer() = default;
    virtual void begin_update(const Origin &origin) = 0;
    virtual void attributes(UpdateAttributes &attributes) = 0;
    virtual void attribute_trouble(const Trouble &trouble) = 0;
    virtual void begin_nlri(const FamilyInfo &family, const MpAttribute &mp) = 0;
    // `offset` is the route's first octet in the message, `octets` are those of the route.
    virtual void route(std::size_t offset, Octets octets, const RouteValues &route) = 0;
    virtual void trouble(const Trouble &trouble) = 0;
    virtual void end_nlri(bool keep) = 0;
    virtual void end_update(bool keep) = 0;
    virtual void problem(const Origin &origin, std::string_view text) = 0;
    virtual void summary(const Summary &summary) = 0;
};

// `raw`: with the octets of every route and attribute.
std::unique_ptr<Renderer> make_text_renderer(Output &out, bool colour, bool raw = false);
std::unique_ptr<Renderer> make_json_renderer(Output &out, bool raw = false);
// Passes the summary on and nothing else.
std::unique_ptr<Renderer> make_summary_renderer(std::unique_ptr<Renderer> renderer);

// Shared by the renderers.
std::string_view unit_name(Origin::Unit unit);
inline bool is_announcement(const MpAttribute &mp)
{
    return mp.attribute == kAttrMpReach;
}
// "file: packet 12" in front of what is said of a message.
void append_place(Buffer &out, const Origin &origin);
// MP_UNREACH_NLRI without a route (RFC 4724, section 2).
inline bool is_end_of_rib(const MpAttribute &mp)
{
    return mp.attribute == kAttrMpUnreach && mp.nlri.empty();
}
// Addresses of 4 or 16 octets, or a global and a link-local one of 16 each; of VPNv4 multicast also one behind an RD of
// zero; any other next hop in hex behind 0x.
std::size_t next_hop_count(const MpAttribute &mp);
void append_next_hop(Buffer &out, const MpAttribute &mp, std::size_t index);
void append_address(Buffer &out, const MvpnAddress &address);
// "10.1.0.0/16"
void append_prefix(Buffer &out, const Vpnv4McastRoute &route);
// "0x0002"
void append_community_type(Buffer &out, std::uint16_t type);

} // namespace qel::host
