// The words of a scenario's line, and what they stand for on the wire.
#pragma once

#include "host/ng_mvpn_route.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qel::host {

// What is wrong with a line.
class ScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// 4 or 16 octets in network order; none for a wildcard.
std::vector<std::uint8_t> address_octets(const MvpnAddress &address);

// Goes through the words of a line; '#' begins a comment. What is missing or not understood throws ScenarioError.
class ScenarioWords {
public:
    explicit ScenarioWords(std::string_view line);

    bool more() const { return at_ < words_.size(); }
    // Takes the next word if it is this one.
    bool take(std::string_view word);
    // The next word; `what` names what it has to be.
    std::string_view next(std::string_view what);
    // Everything that is left, without blanks.
    std::string rest();
    void end() const;

    std::uint32_t number(std::string_view what, std::uint32_t largest);
    MvpnAddress address(std::string_view what);
    // The address in host order; an IPv6 one is a mistake.
    std::uint32_t ipv4(std::string_view what);
    std::string rd();
    std::array<std::uint8_t, 8> route_target();
    // ADDRESS or ADDRESS:N, a Segmented Next-Hop community.
    std::array<std::uint8_t, 8> segmented_next_hop();
    std::vector<std::uint8_t> octets(std::string_view what);

    // "rsvp-te P2MP-ID TUNNEL-ID EXTENDED-ID", "mldp ROOT OPAQUE", "bier SUB-DOMAIN BFR-ID PREFIX", "octets HEX":
    // the PMSI tunnel attribute's value.
    std::vector<std::uint8_t> tunnel();
    // "intra RD ORIGINATOR", "spmsi RD SOURCE GROUP ORIGINATOR", "leaf RD ORIGINATOR LEAF", "source-active RD SOURCE
    // GROUP": the route as it stands in MP_REACH_NLRI.
    std::vector<std::uint8_t> route();
    // "[rt TARGET]... [snh ADDRESS[:N]]... [community HEX]... [tunnel TUNNEL]": path attributes as on the wire.
    std::vector<std::uint8_t> attributes();

private:
    std::vector<std::uint8_t> rd_octets();

    std::vector<std::string> words_;
    std::size_t at_ = 0;
};

} // namespace qel::host
