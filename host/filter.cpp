#include "host/filter.h"

#include "host/text.h"
#include "qel_byteorder.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>
#include <utility>

#include <arpa/inet.h>

namespace qel::host {
namespace {

constexpr std::uint32_t kMax16 = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint32_t kMax32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::string_view kTargetLabel = "RT";
constexpr std::uint8_t kTargetSubType = 2; // RFC 4360, section 4

std::optional<std::uint32_t> number(std::string_view text, std::uint32_t highest)
{
    std::uint32_t value = 0;
    const char *end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || at != end || value > highest) {
        return std::nullopt;
    }
    return value;
}

// "H.L"
std::optional<std::uint32_t> dotted_as(std::string_view text)
{
    const std::size_t dot = text.find('.');
    if (dot == std::string_view::npos) {
        return std::nullopt;
    }
    const auto high = number(text.substr(0, dot), kMax16);
    const auto low = number(text.substr(dot + 1), kMax16);
    return high && low ? std::optional(*high << 16 | *low) : std::nullopt;
}

// The three forms of an administrator with its number.
struct Administered {
    enum class Form { as2, as4, ipv4 };
    Form form;
    std::uint32_t global;
    std::uint32_t local;
};

std::optional<Administered> administered(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view global = text.substr(0, colon);
    const std::string_view local = text.substr(colon + 1);
    Administered out{Administered::Form::as4, 0, 0};
    const std::optional<MvpnAddress> address = flow_address(global);
    if (address && address->kind == MvpnAddress::Kind::ipv4) {
        out.form = Administered::Form::ipv4;
        out.global = address->value.uiIpv4;
    } else if (const auto dotted = dotted_as(global)) {
        out.global = *dotted;
    } else if (const auto plain = number(global, kMax32)) {
        out.form = *plain > kMax16 ? Administered::Form::as4 : Administered::Form::as2;
        out.global = *plain;
    } else {
        return std::nullopt;
    }
    const auto value = number(local, out.form == Administered::Form::as2 ? kMax32 : kMax16);
    if (!value) {
        return std::nullopt;
    }
    out.local = *value;
    return out;
}

// A displayed community without brackets and blanks.
void squeeze(Buffer &out, std::string_view text)
{
    for (const char c : text) {
        if (c != ' ' && c != '<' && c != '>') {
            out.push_back(c);
        }
    }
}

// What a user gave, squeezed and without the label.
std::string_view target_text(Buffer &squeezed, std::string_view text)
{
    squeeze(squeezed, text);
    std::string_view target(squeezed.data(), squeezed.size());
    if (target.substr(0, kTargetLabel.size()) == kTargetLabel) {
        target.remove_prefix(kTargetLabel.size());
    }
    return target;
}

bool is_target(std::string_view text, std::string_view wanted)
{
    if (text.substr(0, kTargetLabel.size()) != kTargetLabel) {
        return false;
    }
    Buffer squeezed;
    squeeze(squeezed, text.substr(kTargetLabel.size()));
    return std::string_view(squeezed.data(), squeezed.size()) == wanted;
}

bool same(const MvpnAddress &a, const MvpnAddress &b)
{
    if (a.kind != b.kind) {
        return false;
    }
    switch (a.kind) {
    case MvpnAddress::Kind::ipv4:
        return a.value.uiIpv4 == b.value.uiIpv4;
    case MvpnAddress::Kind::ipv6:
        return std::memcmp(a.value.aucIpv6, b.value.aucIpv6, sizeof(a.value.aucIpv6)) == 0;
    default:
        return true;
    }
}

} // namespace

bool RouteFilter::accepts(const RouteValues &route) const
{
    if (types && (*types >> wire_type(route) & 1) == 0) {
        return false;
    }
    if ((source && !same(*source, source_of(route))) || (group && !same(*group, group_of(route)))) {
        return false;
    }
    if (!rd) {
        return true;
    }
    Buffer text;
    append_rd(text, rd_of(route));
    return std::string_view(text.data(), text.size()) == *rd;
}

bool RouteFilter::accepts_targets(AttributeView &attributes) const
{
    const auto any = [&](Shown what, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            if (is_target(attributes.text(what, i), *route_target)) {
                return true;
            }
        }
        return false;
    };
    return !route_target || any(Shown::communities, community_count(attributes.info())) ||
           any(Shown::ipv6_communities, ipv6_community_count(attributes.info()));
}

std::optional<std::string> canonical_rd(std::string_view text)
{
    const std::size_t unknown = text.find(":0x");
    if (unknown != std::string_view::npos) {
        const auto type = number(text.substr(0, unknown), kMax16);
        std::string digits(text.substr(unknown + 3));
        std::transform(digits.begin(), digits.end(), digits.begin(),
                       [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c; });
        if (!type || digits.size() != 12 || digits.find_first_not_of("0123456789abcdef") != std::string::npos) {
            return std::nullopt;
        }
        return fmt::format("{}:0x{}", *type, digits);
    }
    const std::optional<Administered> parts = administered(text);
    if (!parts) {
        return std::nullopt;
    }
    Buffer out;
    if (parts->form == Administered::Form::ipv4) {
        append_ipv4(out, parts->global);
    } else {
        append_number(out, parts->global);
    }
    out.push_back(':');
    append_number(out, parts->local);
    return fmt::to_string(out);
}

std::optional<std::string> canonical_route_target(std::string_view text)
{
    Buffer squeezed;
    const std::string_view target = target_text(squeezed, text);
    Buffer out;
    if (std::count(target.begin(), target.end(), ':') > 1) {
        const std::size_t dot = target.rfind('.');
        const auto address = flow_address(target.substr(0, dot));
        const auto local = dot == std::string_view::npos ? std::nullopt : number(target.substr(dot + 1), kMax16);
        if (!address || !local) {
            return std::nullopt;
        }
        append_ipv6(out, address->value.aucIpv6);
        out.push_back('.');
        append_number(out, *local);
        return fmt::to_string(out);
    }
    const std::optional<Administered> parts = administered(target);
    if (!parts) {
        return std::nullopt;
    }
    switch (parts->form) {
    case Administered::Form::ipv4:
        append_ipv4(out, parts->global);
        break;
    case Administered::Form::as2:
        append_number(out, parts->global);
        break;
    case Administered::Form::as4:
        append_number(out, parts->global >> 16);
        out.push_back('.');
        append_number(out, parts->global & kMax16);
        break;
    }
    out.push_back(':');
    append_number(out, parts->local);
    return fmt::to_string(out);
}

std::optional<std::array<std::uint8_t, 8>> route_target_octets(std::string_view text)
{
    Buffer squeezed;
    const std::optional<Administered> parts = administered(target_text(squeezed, text));
    if (!parts) {
        return std::nullopt;
    }
    std::array<std::uint8_t, 8> out{};
    out[1] = kTargetSubType;
    if (parts->form == Administered::Form::as2) {
        QEL_StoreBe16(out.data() + 2, static_cast<std::uint16_t>(parts->global));
        QEL_StoreBe32(out.data() + 4, parts->local);
        return out;
    }
    out[0] = parts->form == Administered::Form::ipv4 ? 1 : 2;
    QEL_StoreBe32(out.data() + 2, parts->global);
    QEL_StoreBe16(out.data() + 6, static_cast<std::uint16_t>(parts->local));
    return out;
}

std::optional<std::uint32_t> route_types(std::string_view text)
{
    std::uint32_t types = 0;
    for (;;) {
        const std::size_t comma = text.find(',');
        const auto type = number(text.substr(0, comma), kNgMvpnTypes);
        if (!type || *type == 0) {
            return std::nullopt;
        }
        types |= 1U << *type;
        if (comma == std::string_view::npos) {
            return types;
        }
        text.remove_prefix(comma + 1);
    }
}

std::optional<MvpnAddress> flow_address(std::string_view text)
{
    MvpnAddress out;
    if (text == "*") {
        out.kind = MvpnAddress::Kind::wildcard;
        return out;
    }
    const std::string terminated(text);
    std::array<std::uint8_t, 16> octets{};
    if (::inet_pton(AF_INET, terminated.c_str(), octets.data()) == 1) {
        out.kind = MvpnAddress::Kind::ipv4;
        out.value.uiIpv4 = QEL_LoadBe32(octets.data());
        return out;
    }
    if (::inet_pton(AF_INET6, terminated.c_str(), octets.data()) == 1) {
        out.kind = MvpnAddress::Kind::ipv6;
        std::memcpy(out.value.aucIpv6, octets.data(), octets.size());
        return out;
    }
    return std::nullopt;
}

} // namespace qel::host
