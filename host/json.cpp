#include "host/json.h"

#include "host/render.h"

namespace qel::host {
namespace {

// Nothing for a field that the route does not have.
void append_address_member(Buffer &out, std::string_view name, const MvpnAddress &address)
{
    if (address.kind == MvpnAddress::Kind::absent) {
        return;
    }
    append(out, ",\"");
    append(out, name);
    append(out, "\":\"");
    append_address(out, address);
    out.push_back('"');
}

// {"type":"0x0002","text":"..." and no brace behind it.
void append_community_start(Buffer &out, std::uint16_t type, std::string_view text)
{
    append(out, "{\"type\":\"");
    append_community_type(out, type);
    out.push_back('"');
    append_text_member(out, "text", text);
}

void append_key_members(Buffer &out, const NgMvpnRoute &route)
{
    if (route.source_as) {
        append_member(out, "source_as", *route.source_as);
    }
    append_address_member(out, "source", route.source);
    append_address_member(out, "group", route.group);
    append_address_member(out, "originator", route.originator);
    append_address_member(out, "leaf", route.leaf);
    if (route.answers != 0) {
        append_member(out, "answers", route.answers);
    }
    if (route.explicit_wildcard) {
        append(out, ",\"explicit_wildcard\":true");
    }
}

void append_key_members(Buffer &out, const MdtRoute &route)
{
    append_ipv4_member(out, "source", route.source);
    append_ipv4_member(out, "group", route.group);
}

void append_key_members(Buffer &out, const Vpnv4McastRoute &route)
{
    append(out, ",\"prefix\":\"");
    append_prefix(out, route);
    out.push_back('"');
    if (route.label) {
        append_member(out, "label", *route.label);
    }
}

} // namespace

void append_member(Buffer &out, std::string_view name, std::uint64_t value)
{
    append(out, ",\"");
    append(out, name);
    append(out, "\":");
    append_number(out, value);
}

void append_plain_member(Buffer &out, std::string_view name, std::string_view value)
{
    append(out, ",\"");
    append(out, name);
    append(out, "\":\"");
    append(out, value);
    out.push_back('"');
}

void append_text_member(Buffer &out, std::string_view name, std::string_view value)
{
    append(out, ",\"");
    append(out, name);
    append(out, "\":");
    append_json_string(out, value);
}

void append_hex_member(Buffer &out, std::string_view name, Octets octets)
{
    append(out, ",\"");
    append(out, name);
    append(out, "\":\"");
    append_hex(out, octets);
    out.push_back('"');
}

void append_ipv4_member(Buffer &out, std::string_view name, std::uint32_t address)
{
    append(out, ",\"");
    append(out, name);
    append(out, "\":\"");
    append_ipv4(out, address);
    out.push_back('"');
}

void append_ipv6_member(Buffer &out, std::string_view name, const std::uint8_t *address)
{
    append(out, ",\"");
    append(out, name);
    append(out, "\":\"");
    append_ipv6(out, address);
    out.push_back('"');
}

void append_community_object(Buffer &out, AttributeView &attributes, std::size_t index)
{
    const Community value = attributes.community(index);
    append_community_start(out, value.type, attributes.text(Shown::communities, index));
    switch (value.form) {
    case Community::Form::as2:
    case Community::Form::as4:
        append_member(out, "global", value.global);
        append_member(out, "local", value.local);
        break;
    case Community::Form::ipv4:
        append_ipv4_member(out, "global_ip", value.global);
        append_member(out, "local", value.local);
        break;
    case Community::Form::other:
        append_hex_member(out, "value", value.octets);
        break;
    }
    out.push_back('}');
}

void append_ipv6_community_object(Buffer &out, AttributeView &attributes, std::size_t index)
{
    const Ipv6Community value = ipv6_community(attributes.info(), index);
    append_community_start(out, value.type, attributes.text(Shown::ipv6_communities, index));
    append_ipv6_member(out, "address", value.octets.data());
    append_member(out, "local", value.local());
    out.push_back('}');
}

void append_origin_members(Buffer &out, const Origin &origin)
{
    append(out, ",\"file\":");
    append_json_string(out, origin.file);
    append_plain_member(out, "unit", unit_name(origin.unit));
    append_member(out, "number", origin.number);
    append_member(out, "offset", origin.offset);
    append(out, ",\"time\":");
    if (origin.time_ns) {
        out.push_back('"');
        append_time(out, *origin.time_ns);
        out.push_back('"');
    } else {
        append(out, "null");
    }
    if (!origin.from.empty()) {
        append(out, ",\"from\":");
        append_json_string(out, origin.from);
    }
    if (!origin.to.empty()) {
        append(out, ",\"to\":");
        append_json_string(out, origin.to);
    }
}

void append_route_members(Buffer &out, const RouteValues &route)
{
    if (wire_type(route) != 0) {
        append_member(out, "type", wire_type(route));
    }
    append_plain_member(out, "name", route_form_name(route_form(route)));
    append(out, ",\"rd\":\"");
    append_rd(out, rd_of(route));
    out.push_back('"');
    append_member(out, "rd_type", rd_of(route).usRdType);
    std::visit([&](const auto &each) { append_key_members(out, each); }, route);
}

} // namespace qel::host
