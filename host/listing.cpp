#include "host/listing.h"

#include "host/render.h"

namespace qel::host {
namespace {

// Widths that keep the columns of IPv4 routes straight; longer values push their line to the right.
constexpr std::size_t kNameWidth = 19;
constexpr std::size_t kRdWidth = 13;
constexpr std::size_t kAsWidth = 10;
constexpr std::size_t kAddressWidth = 15;
constexpr std::size_t kPrefixWidth = 18;

constexpr Palette kPlain{};
constexpr Palette kColours{"\x1b[1m", "\x1b[2m", "\x1b[32m", "\x1b[33m", "\x1b[31m", "\x1b[0m"};

// The fields of one line, each in its column.
class Columns {
public:
    Columns(Buffer &out, const Palette &colours, std::size_t first_width)
        : out_(out), colours_(colours), start_(out.size()), width_(first_width)
    {
    }

    // Two blanks behind the column before, the label, and what `write` makes of the value.
    template <class Write> void field(std::string_view label, std::size_t width, Write write)
    {
        pad_to(out_, start_, width_);
        append(out_, "  ");
        append_painted(out_, colours_, colours_.label, label);
        out_.push_back(' ');
        start_ = out_.size();
        width_ = width;
        write();
    }

    void address(std::string_view label, const MvpnAddress &address)
    {
        if (address.kind != MvpnAddress::Kind::absent) {
            field(label, kAddressWidth, [&] { append_address(out_, address); });
        }
    }

private:
    Buffer &out_;
    const Palette &colours_;
    std::size_t start_;
    std::size_t width_;
};

void append_columns(Buffer &out, const Palette &colours, const NgMvpnRoute &route)
{
    append_number(out, route.type);
    append(out, "  ");
    Columns columns(out, colours, kNameWidth);
    append(out, ng_mvpn_type_name(route.type));
    columns.field("RD", kRdWidth, [&] { append_rd(out, route.rd); });
    if (route.source_as) {
        columns.field("source AS", kAsWidth, [&] { append_number(out, *route.source_as); });
    }
    columns.address("source", route.source);
    columns.address("group", route.group);
    columns.address("originator", route.originator);
    columns.address("leaf", route.leaf);
    if (route.answers != 0) {
        columns.field("answers", 0, [&] { append(out, ng_mvpn_type_name(route.answers)); });
    }
    if (route.explicit_wildcard) {
        columns.field("wildcard", 0, [&] { append(out, "written out"); });
    }
}

// These families have one kind of route: its name stands where the others have a type.
Columns named_columns(Buffer &out, const Palette &colours, std::size_t form)
{
    const std::string_view name = route_form_name(form);
    Columns columns(out, colours, name.size());
    append(out, name);
    return columns;
}

void append_columns(Buffer &out, const Palette &colours, const MdtRoute &route)
{
    Columns columns = named_columns(out, colours, kFormMdt);
    columns.field("RD", kRdWidth, [&] { append_rd(out, route.rd); });
    columns.field("source", kAddressWidth, [&] { append_ipv4(out, route.source); });
    columns.field("group", kAddressWidth, [&] { append_ipv4(out, route.group); });
}

void append_columns(Buffer &out, const Palette &colours, const Vpnv4McastRoute &route)
{
    Columns columns = named_columns(out, colours, kFormVpnv4Mcast);
    columns.field("RD", kRdWidth, [&] { append_rd(out, route.rd); });
    columns.field("prefix", kPrefixWidth, [&] { append_prefix(out, route); });
    if (route.label) {
        columns.field("label", 0, [&] { append_number(out, *route.label); });
    }
}

void append_community(Buffer &out, std::string_view text, std::uint16_t type, Octets value)
{
    if (text.empty() || text.front() == ' ') {
        append_community_type(out, type);
        append(out, text);
    } else {
        append(out, text);
    }
    if (text.find('<') == std::string_view::npos) {
        out.push_back(' ');
        if (!text.empty()) {
            append_community_type(out, type);
            out.push_back(' ');
        }
        append_hex(out, value);
    }
}

// What `write(i)` makes of each element, with commas.
template <class Write> void append_elements(Buffer &out, std::size_t count, Write write)
{
    for (std::size_t i = 0; i < count; ++i) {
        append(out, i == 0 ? "" : ", ");
        write(i);
    }
}

} // namespace

const Palette &palette(bool colour)
{
    return colour ? kColours : kPlain;
}

void append_painted(Buffer &out, const Palette &colours, std::string_view colour, std::string_view text)
{
    append(out, colour);
    append(out, text);
    append(out, colours.off);
}

void append_route(Buffer &out, const Palette &colours, const RouteValues &route)
{
    std::visit([&](const auto &each) { append_columns(out, colours, each); }, route);
}

void append_community(Buffer &out, AttributeView &attributes, std::size_t index)
{
    const Community value = attributes.community(index);
    append_community(out, attributes.text(Shown::communities, index), value.type, value.octets);
}

void append_ipv6_community(Buffer &out, AttributeView &attributes, std::size_t index)
{
    const Ipv6Community value = ipv6_community(attributes.info(), index);
    append_community(out, attributes.text(Shown::ipv6_communities, index), value.type, value.octets);
}

void append_communities(Buffer &out, AttributeView &attributes)
{
    append_elements(out, community_count(attributes.info()),
                    [&](std::size_t i) { append_community(out, attributes, i); });
}

void append_ipv6_communities(Buffer &out, AttributeView &attributes)
{
    append_elements(out, ipv6_community_count(attributes.info()),
                    [&](std::size_t i) { append_ipv6_community(out, attributes, i); });
}

void append_tunnel(Buffer &out, AttributeView &attributes)
{
    if (const auto tunnel = pmsi_tunnel(attributes.info())) {
        const std::string_view text = attributes.text(Shown::tunnel);
        append(out, text.empty() ? tunnel_type_name(tunnel->ucTnlType) : text);
    }
}

void append_prefix_sid(Buffer &out, AttributeView &attributes)
{
    if (const auto sid = prefix_sid(attributes.info())) {
        const std::string_view text = attributes.text(Shown::prefix_sid);
        append(out, text);
        if (text.empty()) {
            append(out, "behavior ");
            append_number(out, sid->behavior);
            out.push_back(' ');
            append_ipv6(out, sid->sid.data());
        }
    }
}

void append_msid(Buffer &out, AttributeView &attributes)
{
    if (const auto sid = msid(attributes.info())) {
        const std::string_view text = attributes.text(Shown::msid);
        append(out, text);
        if (text.empty()) {
            append_ipv6(out, sid->msid.data());
        }
    }
}

void append_head(Buffer &out, const Palette &colours, const Origin &origin)
{
    append(out, colours.head);
    append_visible(out, origin.file);
    if (origin.number != 0) {
        append(out, "  ");
        append(out, unit_name(origin.unit));
        out.push_back(' ');
        append_number(out, origin.number);
    }
    append(out, colours.off);
    if (origin.time_ns) {
        append(out, "  ");
        append_time(out, *origin.time_ns);
    }
    if (!origin.from.empty() || !origin.to.empty()) {
        append(out, "  ");
        append_visible(out, origin.from);
        append(out, " -> ");
        append_visible(out, origin.to);
    }
    out.push_back('\n');
}

} // namespace qel::host
