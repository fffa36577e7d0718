#include "host/scenario_words.h"

#include "host/filter.h"
#include "host/update_writer.h"
#include "ngmvpn/qel_ngmvpn_attr_records.h"
#include "ngmvpn/qel_ngmvpn_records.h"
#include "qel_byteorder.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>

namespace qel::host {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kIpv4Transitive = 1; // an address specific community
constexpr std::uint8_t kMldpFecP2mp = 6;
constexpr std::size_t kMaxRouteBody = UINT8_MAX;

void append_be(Bytes &out, std::uint32_t value, unsigned octets)
{
    while (octets-- > 0) {
        out.push_back(static_cast<std::uint8_t>(value >> (8 * octets)));
    }
}

void append_all(Bytes &out, const Bytes &more)
{
    out.insert(out.end(), more.begin(), more.end());
}

void append_address_octets(Bytes &out, const MvpnAddress &address)
{
    append_all(out, address_octets(address));
}

// Source or group, behind its length in bits.
void append_flow_address(Bytes &out, const MvpnAddress &address)
{
    const Bytes::size_type at = out.size();
    out.push_back(0);
    append_address_octets(out, address);
    out[at] = static_cast<std::uint8_t>(8 * (out.size() - at - 1));
}

Bytes with_head(std::uint8_t type, const Bytes &body)
{
    Bytes out{type, static_cast<std::uint8_t>(std::min(body.size(), kMaxRouteBody))};
    append_all(out, body);
    return out;
}

int digit_of(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::optional<Bytes> octets_of(std::string_view hex)
{
    if (hex.starts_with("0x")) {
        hex.remove_prefix(2);
    }
    Bytes out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        const int high = digit_of(hex[i]);
        const int low = digit_of(hex[i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        out.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    return hex.size() % 2 == 0 ? std::optional(out) : std::nullopt;
}

} // namespace

Bytes address_octets(const MvpnAddress &address)
{
    Bytes out;
    if (address.kind == MvpnAddress::Kind::ipv4) {
        append_be(out, address.value.uiIpv4, 4);
    } else if (address.kind == MvpnAddress::Kind::ipv6) {
        out.assign(std::begin(address.value.aucIpv6), std::end(address.value.aucIpv6));
    }
    return out;
}

ScenarioWords::ScenarioWords(std::string_view line)
{
    constexpr std::string_view blanks = " \t\r";
    line = line.substr(0, line.find('#'));
    while (true) {
        const std::size_t begin = line.find_first_not_of(blanks);
        if (begin == std::string_view::npos) {
            return;
        }
        const std::size_t end = std::min(line.find_first_of(blanks, begin), line.size());
        words_.emplace_back(line.substr(begin, end - begin));
        line.remove_prefix(end);
    }
}

bool ScenarioWords::take(std::string_view word)
{
    const bool is_it = more() && words_[at_] == word;
    at_ += is_it ? 1U : 0U;
    return is_it;
}

std::string_view ScenarioWords::next(std::string_view what)
{
    if (!more()) {
        throw ScenarioError(fmt::format("{} is missing", what));
    }
    return words_[at_++];
}

std::string ScenarioWords::rest()
{
    std::string out;
    while (more()) {
        out += words_[at_++];
    }
    return out;
}

void ScenarioWords::end() const
{
    if (more()) {
        throw ScenarioError(fmt::format("'{}' is one word too many", words_[at_]));
    }
}

std::uint32_t ScenarioWords::number(std::string_view what, std::uint32_t largest)
{
    const std::string_view word = next(what);
    std::uint32_t out = 0;
    const auto [last, error] = std::from_chars(word.data(), word.data() + word.size(), out);
    if (error != std::errc() || last != word.data() + word.size() || out > largest) {
        throw ScenarioError(fmt::format("{}: '{}' is no number from 0 to {}", what, word, largest));
    }
    return out;
}

MvpnAddress ScenarioWords::address(std::string_view what)
{
    const std::string_view word = next(what);
    const std::optional<MvpnAddress> out = flow_address(word);
    if (!out) {
        throw ScenarioError(fmt::format("{}: '{}' is no address", what, word));
    }
    return *out;
}

std::uint32_t ScenarioWords::ipv4(std::string_view what)
{
    const MvpnAddress out = address(what);
    if (out.kind != MvpnAddress::Kind::ipv4) {
        throw ScenarioError(fmt::format("{}: '{}' is no IPv4 address", what, words_[at_ - 1]));
    }
    return out.value.uiIpv4;
}

std::string ScenarioWords::rd()
{
    const std::string_view word = next("a route distinguisher");
    std::optional<std::string> out = canonical_rd(word);
    if (!out) {
        throw ScenarioError(fmt::format("'{}' is no route distinguisher", word));
    }
    return *out;
}

std::array<std::uint8_t, 8> ScenarioWords::route_target()
{
    const std::string_view word = next("a route target");
    const auto out = route_target_octets(word);
    if (!out) {
        throw ScenarioError(fmt::format("'{}' is no route target", word));
    }
    return *out;
}

// The forms of an RD are those of a route target, type and value.
Bytes ScenarioWords::rd_octets()
{
    const std::string_view word = next("a route distinguisher");
    const auto target = route_target_octets(word);
    if (!target) {
        throw ScenarioError(fmt::format("'{}' is no route distinguisher", word));
    }
    Bytes out{0, (*target)[0]};
    out.insert(out.end(), target->begin() + 2, target->end());
    return out;
}

std::array<std::uint8_t, 8> ScenarioWords::segmented_next_hop()
{
    const std::string_view word = next("a segmented next hop");
    const std::string full = std::string(word) + (word.find(':') == std::string_view::npos ? ":0" : "");
    auto out = route_target_octets(full);
    if (!out || (*out)[0] != kIpv4Transitive) {
        throw ScenarioError(fmt::format("'{}' is no segmented next hop", word));
    }
    (*out)[1] = QEL_NGMVPN_SUBTYPE_SNH;
    return *out;
}

Bytes ScenarioWords::octets(std::string_view what)
{
    const std::string_view word = next(what);
    std::optional<Bytes> out = octets_of(word);
    if (!out) {
        throw ScenarioError(fmt::format("{}: '{}' are no octets in hex", what, word));
    }
    return *out;
}

Bytes ScenarioWords::tunnel()
{
    const std::string_view kind = next("a kind of tunnel");
    Bytes out{0, 0, 0, 0, 0};
    if (kind == "rsvp-te") {
        out[1] = QEL_NGMVPN_TNL_RSVP_TE_P2MP;
        append_be(out, number("P2MP ID", UINT32_MAX), 4);
        append_be(out, number("tunnel ID", UINT16_MAX), 4); // two reserved octets in front
        append_be(out, ipv4("extended tunnel ID"), 4);
    } else if (kind == "mldp") {
        out[1] = QEL_NGMVPN_TNL_MLDP_P2MP;
        out.insert(out.end(), {kMldpFecP2mp, 0, 1, 4});
        append_be(out, ipv4("root"), 4);
        const Bytes opaque = octets("opaque value");
        append_be(out, static_cast<std::uint32_t>(opaque.size()), 2);
        append_all(out, opaque);
    } else if (kind == "bier") {
        out[1] = QEL_NGMVPN_TNL_BIER;
        append_be(out, number("sub-domain", UINT8_MAX), 1);
        append_be(out, number("BFR-id", UINT16_MAX), 2);
        append_address_octets(out, address("BFR prefix"));
    } else if (kind == "octets") {
        out = octets("tunnel");
    } else {
        throw ScenarioError(fmt::format("'{}' is no kind of tunnel: rsvp-te, mldp, bier or octets", kind));
    }
    return out;
}

Bytes ScenarioWords::route()
{
    const std::string_view kind = next("a kind of route");
    if (kind == "intra") {
        Bytes body = rd_octets();
        append_address_octets(body, address("originator"));
        return with_head(QEL_NGMVPN_WIRE_INTRA_IPMSI_AD, body);
    }
    if (kind == "spmsi" || kind == "source-active") {
        Bytes body = rd_octets();
        append_flow_address(body, address("source"));
        append_flow_address(body, address("group"));
        if (kind != "spmsi") {
            return with_head(QEL_NGMVPN_WIRE_SOURCE_ACTIVE_AD, body);
        }
        append_address_octets(body, address("originator"));
        return with_head(QEL_NGMVPN_WIRE_SPMSI_AD, body);
    }
    if (kind == "leaf") {
        Bytes answered = rd_octets();
        append_address_octets(answered, address("originator"));
        Bytes body = with_head(QEL_NGMVPN_WIRE_INTRA_IPMSI_AD, answered);
        append_address_octets(body, address("leaf"));
        return with_head(QEL_NGMVPN_WIRE_LEAF_AD, body);
    }
    if (kind == "octets") {
        return octets("route");
    }
    throw ScenarioError(fmt::format("'{}' is no kind of route: intra, spmsi, leaf, source-active or octets", kind));
}

Bytes ScenarioWords::attributes()
{
    Bytes communities;
    std::optional<Bytes> pmsi;
    const auto add = [&](const auto &octets) { communities.insert(communities.end(), octets.begin(), octets.end()); };
    while (more()) {
        if (take("rt")) {
            add(route_target());
        } else if (take("snh")) {
            add(segmented_next_hop());
        } else if (take("community")) {
            add(octets("community"));
        } else if (take("tunnel")) {
            pmsi = tunnel();
        } else {
            throw ScenarioError(fmt::format("'{}' is no attribute: rt, snh, community or tunnel", words_[at_]));
        }
    }
    Bytes out;
    if (!communities.empty()) {
        append_attribute(out, kOptionalTransitive, QEL_ATTR_TYPE_EXTCOMM, communities);
    }
    if (pmsi) {
        append_attribute(out, kOptionalTransitive, QEL_ATTR_TYPE_PMSI, *pmsi);
    }
    return out;
}

} // namespace qel::host
